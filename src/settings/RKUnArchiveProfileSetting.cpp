#include "settings/RKUnArchiveProfileSetting.h"

#include "platform/RKKeyedArchiver.h"
#include "platform/RKKeyedUnarchiver.h"
#include "settings/RKConstants.h"
#include "settings/RKProfileIdentifier.h"

#include <QDir>

RKUnArchiveProfileSetting RKUnArchiveProfileSetting::DefaultSetting()
{
    RKUnArchiveProfileSetting record;
    record.profileID = RKProfileIdentifier::fresh();
    record.profileName = QStringLiteral("");
    record.sourceEncoding = 4;
    record.unArchiveMode = UnArchiveModeNewFolder;
    record.sameFileName = 0;
    record.saveLocation = 0;
    record.saveStaticFolderPath = QDir::homePath();
    record.profileShotcutCode = NoShortcutCode;
    record.profileShotcutFlags = 0;
    return record;
}

void RKUnArchiveProfileSetting::encodeWithCoder(RKKeyedArchiver& coder) const
{
    coder.encodeObject(QStringLiteral("profileID"), profileID);
    coder.encodeObject(QStringLiteral("profileName"), profileName);
    coder.encodeInt32(QStringLiteral("sourceEncoding"), RKConstants::storedEncodingValue(sourceEncoding));
    coder.encodeInt32(QStringLiteral("unArchiveMode"), unArchiveMode);
    coder.encodeInt32(QStringLiteral("saveLocation"), saveLocation);
    coder.encodeObject(QStringLiteral("saveStaticFolderPath"), saveStaticFolderPath);
    coder.encodeInt32(QStringLiteral("sameFileName"), sameFileName);
    coder.encodeStringArray(QStringLiteral("exclusionFiles"), exclusionFiles);
    coder.encodeStringArray(QStringLiteral("exclusionFolders"), exclusionFolders);
    coder.encodeUInt64(QStringLiteral("profileShotcutCode"), profileShotcutCode);
    coder.encodeInt64(QStringLiteral("profileShotcutFlags"), profileShotcutFlags);
    coder.encodeRecordEntries(otherKeys);
}

RKUnArchiveProfileSetting RKUnArchiveProfileSetting::initWithCoder(const RKKeyedUnarchiver& coder)
{
    RKUnArchiveProfileSetting record;
    record.profileID = coder.decodeObject(QStringLiteral("profileID"));
    record.profileName = coder.decodeObject(QStringLiteral("profileName"));
    record.sourceEncoding =
        RKConstants::encodingValueFromStored(coder.decodeInt32(QStringLiteral("sourceEncoding")));
    record.unArchiveMode = coder.decodeInt32(QStringLiteral("unArchiveMode"));
    record.saveLocation = coder.decodeInt32(QStringLiteral("saveLocation"));
    record.saveStaticFolderPath = coder.decodeObject(QStringLiteral("saveStaticFolderPath"));
    record.sameFileName = coder.decodeInt32(QStringLiteral("sameFileName"));
    record.exclusionFiles = coder.decodeStringArray(QStringLiteral("exclusionFiles"));
    record.exclusionFolders = coder.decodeStringArray(QStringLiteral("exclusionFolders"));
    record.profileShotcutCode = coder.decodeUInt64(QStringLiteral("profileShotcutCode"));
    record.profileShotcutFlags = coder.decodeInt64(QStringLiteral("profileShotcutFlags"));
    record.otherKeys = coder.undecodedEntries();
    RKProfileIdentifier::noteInUse(record.profileID);
    return record;
}
