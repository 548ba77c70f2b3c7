#include "settings/RKProfileSetting.h"

#include "platform/RKKeyedArchiver.h"
#include "platform/RKKeyedUnarchiver.h"
#include "settings/RKConstants.h"
#include "settings/RKProfileIdentifier.h"

#include <QDir>

RKProfileSetting RKProfileSetting::DefaultSetting()
{
    RKProfileSetting record;
    record.profileID = RKProfileIdentifier::fresh();
    record.profileName = QStringLiteral("");
    record.destEncoding = 4;
    record.archiveMode = ArchiveModeSingle;
    record.archiveLevel = 4;
    record.password = QStringLiteral("");
    record.passMode = PassModeNone;
    record.passwordShow = false;
    record.sameFileName = SameNameAnyTime;
    record.saveLocation = SaveLocationAnyTime;
    record.saveStaticFolderPath = QDir::homePath();
    record.profileShotcutCode = NoShortcutCode;
    record.profileShotcutFlags = 0;
    return record;
}

RKProfileSetting RKProfileSetting::copy() const
{
    RKProfileSetting record;
    record.profileID = profileID;
    record.profileName = profileName;
    record.destEncoding = destEncoding;
    record.password = password;
    record.archiveMode = archiveMode;
    record.archiveLevel = archiveLevel;
    record.exclusionFiles = QStringList(exclusionFiles.cbegin(), exclusionFiles.cend());
    record.exclusionFolders = QStringList(exclusionFolders.cbegin(), exclusionFolders.cend());
    record.saveLocation = saveLocation;
    record.saveStaticFolderPath = saveStaticFolderPath;
    record.passMode = passMode;
    record.sameFileName = sameFileName;
    record.profileShotcutCode = profileShotcutCode;
    record.profileShotcutFlags = profileShotcutFlags;
    record.passwordShow = passwordShow;
    record.otherKeys = otherKeys;
    return record;
}

void RKProfileSetting::encodeWithCoder(RKKeyedArchiver& coder) const
{
    coder.encodeObject(QStringLiteral("profileID"), profileID);
    coder.encodeObject(QStringLiteral("profileName"), profileName);
    coder.encodeInt32(QStringLiteral("destEncoding"), RKConstants::storedEncodingValue(destEncoding));
    coder.encodeObject(QStringLiteral("password"), password);
    coder.encodeInt32(QStringLiteral("archiveMode"), archiveMode);
    coder.encodeInt32(QStringLiteral("archiveLevel"), archiveLevel);
    coder.encodeStringArray(QStringLiteral("exclusionFiles"), exclusionFiles);
    coder.encodeStringArray(QStringLiteral("exclusionFolders"), exclusionFolders);
    coder.encodeInt32(QStringLiteral("saveLocation"), saveLocation);
    coder.encodeObject(QStringLiteral("saveStaticFolderPath"), saveStaticFolderPath);
    coder.encodeInt32(QStringLiteral("passMode"), passMode);
    coder.encodeInt32(QStringLiteral("sameFileName"), sameFileName);
    coder.encodeUInt64(QStringLiteral("profileShotcutCode"), profileShotcutCode);
    coder.encodeInt64(QStringLiteral("profileShotcutFlags"), profileShotcutFlags);
    coder.encodeBool(QStringLiteral("passwordShow"), passwordShow);
    coder.encodeRecordEntries(otherKeys);
}

RKProfileSetting RKProfileSetting::initWithCoder(const RKKeyedUnarchiver& coder)
{
    RKProfileSetting record;
    record.profileID = coder.decodeObject(QStringLiteral("profileID"));
    record.profileName = coder.decodeObject(QStringLiteral("profileName"));
    record.destEncoding = RKConstants::encodingValueFromStored(coder.decodeInt32(QStringLiteral("destEncoding")));
    record.password = coder.decodeObject(QStringLiteral("password"));
    record.archiveMode = coder.decodeInt32(QStringLiteral("archiveMode"));
    record.archiveLevel = coder.decodeInt32(QStringLiteral("archiveLevel"));
    record.exclusionFiles = coder.decodeStringArray(QStringLiteral("exclusionFiles"));
    record.exclusionFolders = coder.decodeStringArray(QStringLiteral("exclusionFolders"));
    record.saveLocation = coder.decodeInt32(QStringLiteral("saveLocation"));
    record.saveStaticFolderPath = coder.decodeObject(QStringLiteral("saveStaticFolderPath"));
    record.passMode = coder.decodeInt32(QStringLiteral("passMode"));
    record.sameFileName = coder.decodeInt32(QStringLiteral("sameFileName"));
    record.profileShotcutCode = coder.decodeUInt64(QStringLiteral("profileShotcutCode"));
    record.profileShotcutFlags = coder.decodeInt64(QStringLiteral("profileShotcutFlags"));
    record.passwordShow = coder.decodeBool(QStringLiteral("passwordShow"));
    record.otherKeys = coder.undecodedEntries();
    RKProfileIdentifier::noteInUse(record.profileID);
    return record;
}
