#pragma once

#include "settings/RKSecretStore.h"

// The desktop's keyring through QtKeychain: the Secret Service (GNOME's
// keyring, KeePassXC, ...) or KWallet on Plasma, over the session bus. Each
// call waits for the keyring's answer, at most 20 seconds (a keyring that
// asks the user to unlock it may take that long); no answer is a failure.
class RKKeychainSecretStore : public RKSecretStore
{
public:
    bool write(const QString& key, const QString& secret) override;
    std::optional<QString> read(const QString& key) override;
};
