#include "settings/RKSetting.h"

#include "platform/RKAppInfo.h"
#include "platform/RKKeyedArchiver.h"
#include "platform/RKKeyedUnarchiver.h"

#include <QDateTime>
#include <QFile>
#include <QSettings>

#include <mutex>

namespace {

std::mutex g_loadLock;

const QString kBackupPrefix = QStringLiteral("RKCONSTANTS_USERDEFAULT_SETTING_UNREADABLE_");

QSettings userDefaults()
{
    return QSettings(QSettings::NativeFormat, QSettings::UserScope, RKAppInfo::organizationName(),
                     RKAppInfo::applicationName());
}

// A settings file that cannot be parsed would never be written again, so the
// user's later changes would be lost without a word. It is set aside under a
// name of its own (nothing the user had is deleted) and the store starts anew.
void setAsideUnreadableFile()
{
    QString fileName;
    {
        QSettings probe = userDefaults();
        if (probe.status() != QSettings::FormatError) {
            return;
        }
        fileName = probe.fileName();
    }
    const QString stamp = QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMddHHmmsszzz"));
    QString aside = fileName + QStringLiteral(".unreadable-") + stamp;
    for (int suffix = 1; QFile::exists(aside); ++suffix) {
        aside = fileName + QStringLiteral(".unreadable-") + stamp + QLatin1Char('_') + QString::number(suffix);
    }
    if (!QFile::rename(fileName, aside)) {
        qWarning("Settings file %s cannot be read or set aside", qPrintable(fileName));
    }
}

QStringList factoryArchiveExclusions()
{
    return {QStringLiteral(".DS_Store"), QStringLiteral("._*")};
}

} // namespace

RKSetting::RKSetting(NoDefaults)
{
}

RKSetting::RKSetting()
{
    createDefault();
    activeArchiveProfileID = archiveProfiles.first().profileID;
    finderDragArchiveProfileID = archiveProfiles.first().profileID;
    activeUnArchiveProfileID = unArchiveProfiles.first().profileID;
    finderDragUnArchiveProfileID = unArchiveProfiles.first().profileID;
}

void RKSetting::createDefault()
{
    archiveProfiles.clear();
    unArchiveProfiles.clear();
    passwordShotcutCode = 35;
    passwordShotcutFlags = 0;

    struct ArchiveRow {
        const char16_t* name;
        quint64 encoding;
        qint32 passMode;
        const char16_t* password;
    };
    static const ArchiveRow archiveRows[] = {
        {u"Mac To Win", 8, RKProfileSetting::PassModeNone, u""},
        {u"Mac To Mac", 4, RKProfileSetting::PassModeNone, u""},
        {u"Mac To Win（日付：YYYYMMDD）", 8, RKProfileSetting::PassModeStatic, u"{YYYY}{MM}{DD}"},
        {u"Mac To Win（パスワード手動入力）", 8, RKProfileSetting::PassModeAnytime, u""},
        {u"Mac To Mac（パスワード手動入力)", 4, RKProfileSetting::PassModeAnytime, u""},
    };
    for (const ArchiveRow& row : archiveRows) {
        RKProfileSetting profile = RKProfileSetting::DefaultSetting();
        profile.profileName = QString::fromUtf16(row.name);
        profile.destEncoding = row.encoding;
        profile.passMode = row.passMode;
        profile.password = QString::fromUtf16(row.password);
        profile.exclusionFiles = factoryArchiveExclusions();
        archiveProfiles.append(profile);
        if (archiveProfiles.size() == 1) {
            activeArchiveProfileID = profile.profileID;
        }
    }

    RKUnArchiveProfileSetting winToMac = RKUnArchiveProfileSetting::DefaultSetting();
    winToMac.profileName = QStringLiteral("Win To Mac");
    winToMac.sourceEncoding = 8;
    winToMac.exclusionFiles = {QStringLiteral("Thumbs.db"), QStringLiteral("desktop.ini")};
    unArchiveProfiles.append(winToMac);
    activeUnArchiveProfileID = winToMac.profileID;

    RKUnArchiveProfileSetting macToMac = RKUnArchiveProfileSetting::DefaultSetting();
    macToMac.profileName = QStringLiteral("Mac To Mac");
    macToMac.sourceEncoding = 4;
    macToMac.exclusionFiles = factoryArchiveExclusions();
    macToMac.exclusionFolders = {QStringLiteral("__MACOSX")};
    unArchiveProfiles.append(macToMac);
}

QString RKSetting::userDefaultsKey()
{
    return QStringLiteral("RKCONSTANTS_USERDEFAULT_SETTING");
}

QStringList RKSetting::backupKeys()
{
    QSettings defaults = userDefaults();
    QStringList keys;
    for (const QString& key : defaults.childKeys()) {
        if (key.startsWith(kBackupPrefix)) {
            keys.append(key);
        }
    }
    keys.sort();
    return keys;
}

QByteArray RKSetting::archivedData() const
{
    QList<RKKeyedArchiver> archives;
    for (const RKProfileSetting& profile : archiveProfiles) {
        RKKeyedArchiver coder(QStringLiteral("RKProfileSetting"));
        profile.encodeWithCoder(coder);
        archives.append(coder);
    }
    QList<RKKeyedArchiver> unarchives;
    for (const RKUnArchiveProfileSetting& profile : unArchiveProfiles) {
        RKKeyedArchiver coder(QStringLiteral("RKUnArchiveProfileSetting"));
        profile.encodeWithCoder(coder);
        unarchives.append(coder);
    }
    RKKeyedArchiver root(QStringLiteral("RKSetting"));
    root.encodeObjectArray(QStringLiteral("archiveProfiles"), archives);
    root.encodeObject(QStringLiteral("activeArchiveProfileID"), activeArchiveProfileID);
    root.encodeObject(QStringLiteral("finderDragArchiveProfileID"), finderDragArchiveProfileID);
    root.encodeObjectArray(QStringLiteral("unArchiveProfiles"), unarchives);
    root.encodeObject(QStringLiteral("activeUnArchiveProfileID"), activeUnArchiveProfileID);
    root.encodeObject(QStringLiteral("finderDragUnArchiveProfileID"), finderDragUnArchiveProfileID);
    root.encodeUInt64(QStringLiteral("passwordShotcutCode"), passwordShotcutCode);
    root.encodeInt64(QStringLiteral("passwordShotcutFlags"), passwordShotcutFlags);
    return root.archivedData();
}

std::optional<RKSetting> RKSetting::unarchive(const QByteArray& data)
{
    const RKKeyedUnarchiver root = RKKeyedUnarchiver::unarchive(data);
    if (root.failed() || root.className() != QStringLiteral("RKSetting")) {
        return std::nullopt;
    }
    RKSetting setting{NoDefaults{}};
    for (const RKKeyedUnarchiver& coder : root.decodeObjectArray(QStringLiteral("archiveProfiles"))) {
        if (coder.className() != QStringLiteral("RKProfileSetting")) {
            return std::nullopt;
        }
        setting.archiveProfiles.append(RKProfileSetting::initWithCoder(coder));
    }
    setting.activeArchiveProfileID = root.decodeObject(QStringLiteral("activeArchiveProfileID"));
    setting.finderDragArchiveProfileID = root.decodeObject(QStringLiteral("finderDragArchiveProfileID"));
    for (const RKKeyedUnarchiver& coder : root.decodeObjectArray(QStringLiteral("unArchiveProfiles"))) {
        if (coder.className() != QStringLiteral("RKUnArchiveProfileSetting")) {
            return std::nullopt;
        }
        setting.unArchiveProfiles.append(RKUnArchiveProfileSetting::initWithCoder(coder));
    }
    setting.activeUnArchiveProfileID = root.decodeObject(QStringLiteral("activeUnArchiveProfileID"));
    setting.finderDragUnArchiveProfileID =
        root.decodeObject(QStringLiteral("finderDragUnArchiveProfileID"));
    setting.passwordShotcutCode = root.decodeUInt64(QStringLiteral("passwordShotcutCode"));
    setting.passwordShotcutFlags = root.decodeInt64(QStringLiteral("passwordShotcutFlags"));
    if (root.failed()) {
        return std::nullopt;
    }
    return setting;
}

RKSetting RKSetting::Setting()
{
    const std::lock_guard<std::mutex> lock(g_loadLock);
    setAsideUnreadableFile();
    QSettings defaults = userDefaults();
    const QVariant stored = defaults.value(userDefaultsKey());
    if (stored.isValid()) {
        const QByteArray bytes = stored.toByteArray();
        if (std::optional<RKSetting> setting = unarchive(bytes)) {
            return *setting;
        }
        // Keep what the user had before replacing it with the defaults. A
        // suffix keeps two failures within one millisecond apart.
        const QString stamp =
            kBackupPrefix + QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMddHHmmsszzz"));
        QString backupKey = stamp;
        for (int suffix = 1; defaults.contains(backupKey); ++suffix) {
            backupKey = stamp + QLatin1Char('_') + QString::number(suffix);
        }
        defaults.setValue(backupKey, stored);
        defaults.sync();
    }
    RKSetting setting;
    setting.commit();
    return setting;
}

void RKSetting::commit() const
{
    // QSettings writes through a lock file and an atomic rename, so two
    // processes committing at once leave one whole value, never a mixture.
    QSettings defaults = userDefaults();
    defaults.setValue(userDefaultsKey(), archivedData());
    defaults.sync();
}

void RKSetting::RestoreDefault()
{
    RKSetting setting;
    setting.commit();
}

std::optional<RKProfileSetting> RKSetting::archiveProfileWithID(const QString& profileID) const
{
    for (const RKProfileSetting& profile : archiveProfiles) {
        if (profile.profileID == profileID) {
            return profile;
        }
    }
    return std::nullopt;
}

std::optional<RKUnArchiveProfileSetting> RKSetting::unArchiveProfileWithID(const QString& profileID) const
{
    for (const RKUnArchiveProfileSetting& profile : unArchiveProfiles) {
        if (profile.profileID == profileID) {
            return profile;
        }
    }
    return std::nullopt;
}
