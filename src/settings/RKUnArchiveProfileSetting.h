#pragma once

#include "platform/RKKeyedRecord.h"

#include <QString>
#include <QStringList>

class RKKeyedArchiver;
class RKKeyedUnarchiver;

// Unarchive profile: how dropped ZIP files are extracted.
struct RKUnArchiveProfileSetting
{
    // unArchiveMode
    static constexpr qint32 UnArchiveModeAsIs = 0;
    static constexpr qint32 UnArchiveModeNewFolder = 1;
    static constexpr quint64 NoShortcutCode = ~quint64(0);

    QString profileID;
    QString profileName;
    quint64 sourceEncoding = 0;
    qint32 unArchiveMode = 0;
    qint32 sameFileName = 0;
    qint32 saveLocation = 0;
    QString saveStaticFolderPath;
    QStringList exclusionFiles;
    QStringList exclusionFolders;
    quint64 profileShotcutCode = 0;
    qint64 profileShotcutFlags = 0;
    // Keys this program does not know (a newer version's), written back
    // after the known ones as they were read.
    RKKeyedRecord otherKeys;

    RKUnArchiveProfileSetting() = default;

    // Defaults: UTF-8, new folder, home directory, no key combination, and a
    // fresh identifier.
    static RKUnArchiveProfileSetting DefaultSetting();

    void encodeWithCoder(RKKeyedArchiver& coder) const;
    static RKUnArchiveProfileSetting initWithCoder(const RKKeyedUnarchiver& coder);
};
