#pragma once

#include "platform/RKKeyedRecord.h"
#include "settings/RKProfileSetting.h"
#include "settings/RKUnArchiveProfileSetting.h"

#include <QByteArray>
#include <QList>
#include <QSet>
#include <QString>

#include <optional>

// The whole persistent state: both profile lists, the four profile
// identifiers and the password key combination. Never shared: every reader
// loads its own object with Setting() and writes the whole object back with
// commit(). Stored through QSettings (user scope) as one value under
// "RKCONSTANTS_USERDEFAULT_SETTING", in a file only its owner can read. With
// a keyring (RKSecretStore) profile passwords are kept there, and the file
// holds only a mark in their place; without one they stay in the file. What
// a newer version wrote and this one does not know is kept and written back
// unchanged.
class RKSetting
{
public:
    // A profile of a class this program does not know (a newer version's).
    // It is not shown; it is written back where it stood: after the known
    // profile that preceded it, first when none did, last once that one is
    // gone.
    struct KeptProfile
    {
        bool atStart = false;
        QString afterProfileID;
        RKKeyedRecord record;
    };

    QList<RKProfileSetting> archiveProfiles;
    QString activeArchiveProfileID;
    QString finderDragArchiveProfileID;
    QList<RKUnArchiveProfileSetting> unArchiveProfiles;
    QString activeUnArchiveProfileID;
    QString finderDragUnArchiveProfileID;
    quint64 passwordShotcutCode = 0;
    qint64 passwordShotcutFlags = 0;
    QList<KeptProfile> keptArchiveProfiles;
    QList<KeptProfile> keptUnArchiveProfiles;
    // Keys of the settings object this program does not know.
    RKKeyedRecord otherKeys;
    // Archive profiles whose password is in the keyring but could not be read
    // (empty here); their mark is written back as it was.
    QSet<QString> passwordsInKeyring;

    // init: a new object holding the factory defaults; nothing is stored.
    RKSetting();

    // A new object loaded from the store. When nothing is stored, or what is
    // stored does not decode, the factory defaults are made and stored at once
    // (undecodable bytes are first kept under a backup key, see backupKeys();
    // a file that does not parse is renamed), and RKSettingNotice is told
    // where the copy is. Loads are serialised by one class-wide lock.
    static RKSetting Setting();

    // Stores the whole object, replacing what was there, and flushes to disk.
    // Archive profiles' passwords go to the keyring when one takes them.
    void commit() const;

    // Replaces the stored settings by a new factory-default object.
    static void RestoreDefault();

    // The key of the stored value.
    static QString userDefaultsKey();
    // Keys under which undecodable stored values were kept, oldest first.
    static QStringList backupKeys();
    // The settings file.
    static QString storeFileName();

    // Keyed form (root object "RKSetting"). Passwords are in it, except those
    // of passwordsInKeyring.
    QByteArray archivedData() const;
    // The keyring's name of an archive profile's password.
    static QString keyringKey(const QString& profileID);
    // Decodes a keyed form; nullopt when the bytes are not a settings archive.
    static std::optional<RKSetting> unarchive(const QByteArray& data);

    // First profile of a list with this identifier (exact comparison).
    std::optional<RKProfileSetting> archiveProfileWithID(const QString& profileID) const;
    std::optional<RKUnArchiveProfileSetting> unArchiveProfileWithID(const QString& profileID) const;

private:
    struct NoDefaults {};
    QByteArray archivedData(const QSet<QString>& inKeyring) const;
    explicit RKSetting(NoDefaults);
    void createDefault();
};
