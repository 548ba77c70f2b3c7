#pragma once

#include "settings/RKProfileSetting.h"
#include "settings/RKUnArchiveProfileSetting.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

// The whole persistent state: both profile lists, the four profile
// identifiers and the password key combination. Never shared: every reader
// loads its own object with Setting() and writes the whole object back with
// commit(). Stored through QSettings (user scope) as one value under
// "RKCONSTANTS_USERDEFAULT_SETTING".
class RKSetting
{
public:
    QList<RKProfileSetting> archiveProfiles;
    QString activeArchiveProfileID;
    QString finderDragArchiveProfileID;
    QList<RKUnArchiveProfileSetting> unArchiveProfiles;
    QString activeUnArchiveProfileID;
    QString finderDragUnArchiveProfileID;
    quint64 passwordShotcutCode = 0;
    qint64 passwordShotcutFlags = 0;

    // init: a new object holding the factory defaults; nothing is stored.
    RKSetting();

    // A new object loaded from the store. When nothing is stored, or what is
    // stored does not decode, the factory defaults are made and stored at once
    // (undecodable bytes are first kept under a backup key, see backupKeys()).
    // Loads are serialised by one class-wide lock.
    static RKSetting Setting();

    // Stores the whole object, replacing what was there, and flushes to disk.
    void commit() const;

    // Replaces the stored settings by a new factory-default object.
    static void RestoreDefault();

    // The key of the stored value.
    static QString userDefaultsKey();
    // Keys under which undecodable stored values were kept, oldest first.
    static QStringList backupKeys();

    // Keyed form (root object "RKSetting").
    QByteArray archivedData() const;
    // Decodes a keyed form; nullopt when the bytes are not a settings archive.
    static std::optional<RKSetting> unarchive(const QByteArray& data);

    // First profile of a list with this identifier (exact comparison).
    std::optional<RKProfileSetting> archiveProfileWithID(const QString& profileID) const;
    std::optional<RKUnArchiveProfileSetting> unArchiveProfileWithID(const QString& profileID) const;

private:
    struct NoDefaults {};
    explicit RKSetting(NoDefaults);
    void createDefault();
};
