#pragma once

#include <QString>

#include <optional>

// Where profile passwords are kept apart from the settings file: the
// desktop's keyring. The front ends install one; without one (and in tests)
// passwords stay in the settings file, which only its owner can read.
class RKSecretStore
{
public:
    virtual ~RKSecretStore() = default;

    // Stores the secret under key; false when no keyring took it.
    virtual bool write(const QString& key, const QString& secret) = 0;
    // The secret stored under key; nullopt when no keyring answers or it has none.
    virtual std::optional<QString> read(const QString& key) = 0;

    // The installed store, or nullptr.
    static RKSecretStore* current();
    // Not owned; nullptr removes it.
    static void setCurrent(RKSecretStore* store);
};
