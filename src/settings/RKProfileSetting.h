#pragma once

#include "platform/RKKeyedRecord.h"

#include <QString>
#include <QStringList>

class RKKeyedArchiver;
class RKKeyedUnarchiver;

// Archive profile: how dropped items are compressed. A plain value record; two
// records denote the same profile when their profileIDs are equal.
struct RKProfileSetting
{
    // archiveMode
    static constexpr qint32 ArchiveModeSingle = 0;
    static constexpr qint32 ArchiveModeMulti = 1;
    // saveLocation (both profile kinds)
    static constexpr qint32 SaveLocationAnyTime = 0;
    static constexpr qint32 SaveLocationSameSource = 1;
    static constexpr qint32 SaveLocationStaticFolder = 2;
    // sameFileName (both profile kinds)
    static constexpr qint32 SameNameAnyTime = 0;
    static constexpr qint32 SameNameOverwrite = 1;
    static constexpr qint32 SameNameAutoRename = 2;
    // passMode
    static constexpr qint32 PassModeNone = 0;
    static constexpr qint32 PassModeAnytime = 1;
    static constexpr qint32 PassModeStatic = 2;
    // profileShotcutCode of a profile without key combination
    static constexpr quint64 NoShortcutCode = ~quint64(0);

    QString profileID;
    QString profileName;
    quint64 destEncoding = 0;
    qint32 archiveMode = 0;
    qint32 archiveLevel = 0;
    QString password;
    qint32 passMode = 0;
    bool passwordShow = false;
    qint32 sameFileName = 0;
    QStringList exclusionFiles;
    QStringList exclusionFolders;
    qint32 saveLocation = 0;
    QString saveStaticFolderPath;
    quint64 profileShotcutCode = 0;
    qint64 profileShotcutFlags = 0;
    // Keys this program does not know (a newer version's), written back
    // after the known ones as they were read.
    RKKeyedRecord otherKeys;

    // init: null strings, zeros, false and empty lists.
    RKProfileSetting() = default;

    // A record with the documented defaults (UTF-8, level 4, home directory,
    // no key combination) and a fresh identifier.
    static RKProfileSetting DefaultSetting();

    // An equal record, identifier included, with lists of its own.
    RKProfileSetting copy() const;

    // Keyed form: the keys in their documented order and value forms.
    void encodeWithCoder(RKKeyedArchiver& coder) const;
    // Each key read by itself; an absent key leaves the zero value.
    static RKProfileSetting initWithCoder(const RKKeyedUnarchiver& coder);
};
