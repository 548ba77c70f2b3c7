#include "settings/RKSetting.h"

#include "platform/RKAppInfo.h"
#include "platform/RKKeyedArchiver.h"
#include "platform/RKKeyedUnarchiver.h"
#include "settings/RKSecretStore.h"
#include "settings/RKSettingNotice.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QSettings>

#include <cerrno>
#include <functional>
#include <mutex>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::mutex g_loadLock;

const QString kBackupPrefix = QStringLiteral("RKCONSTANTS_USERDEFAULT_SETTING_UNREADABLE_");

QSettings userDefaults()
{
    return QSettings(QSettings::NativeFormat, QSettings::UserScope, RKAppInfo::organizationName(),
                     RKAppInfo::applicationName());
}

const QString kArchiveProfilesClass = QStringLiteral("RKProfileSetting");
const QString kUnArchiveProfilesClass = QStringLiteral("RKUnArchiveProfileSetting");
const QString kSettingClass = QStringLiteral("RKSetting");
// An archive profile's key saying that its password is in the keyring.
const QString kPasswordInKeyring = QStringLiteral("passwordInKeyring");

// Takes the group's and others' bits off a file or folder that has them.
void tighten(const QByteArray& path)
{
    struct stat status {};
    if (::stat(path.constData(), &status) == 0 && (status.st_mode & 077) != 0) {
        ::chmod(path.constData(), status.st_mode & 0700);
    }
}

// The file holds profile passwords: only its owner may read it or enter its
// folder. QSettings replaces the file through a temporary file and a rename
// that copies the old file's mode, so a file made 0600 before its first save
// keeps that mode through every later one; looser modes found are tightened.
void keepPrivate(const QString& fileName)
{
    const QString folder = QFileInfo(fileName).absolutePath();
    QDir().mkpath(QFileInfo(folder).absolutePath());
    const QByteArray folderPath = QFile::encodeName(folder);
    if (::mkdir(folderPath.constData(), 0700) != 0 && errno != EEXIST) {
        return;
    }
    tighten(folderPath);
    const QByteArray filePath = QFile::encodeName(fileName);
    const int fd = ::open(filePath.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd >= 0) {
        ::close(fd);
    }
    tighten(filePath);
}

void tellFileSetAside(const QString& copyPath)
{
    if (RKSettingNotice* notice = RKSettingNotice::current()) {
        notice->settingsFileSetAside(copyPath);
    } else {
        qWarning("Settings file could not be read; it was renamed to %s", qPrintable(copyPath));
    }
}

void tellValueSetAside(const QString& settingsPath, const QString& key)
{
    if (RKSettingNotice* notice = RKSettingNotice::current()) {
        notice->settingsValueSetAside(settingsPath, key);
    } else {
        qWarning("Settings could not be read; they were kept under %s in %s", qPrintable(key),
                 qPrintable(settingsPath));
    }
}

// A settings file that cannot be parsed would never be written again, so the
// user's later changes would be lost without a word. It is set aside under a
// name of its own (nothing the user had is deleted) and the store starts anew.
// Returns the copy's path; empty when the file was fine (or could not be
// renamed).
QString setAsideUnreadableFile()
{
    QString fileName;
    {
        QSettings probe = userDefaults();
        if (probe.status() != QSettings::FormatError) {
            return QString();
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
        return QString();
    }
    return aside;
}

// The profiles of one list. One of a class this program does not know is
// kept as read; one of the wrong known class is damage (false).
template <typename Profile>
bool decodeProfiles(const RKKeyedUnarchiver& root, const QString& key, const QString& className,
                    QList<Profile>& profiles, QList<RKSetting::KeptProfile>& kept,
                    const std::function<void(Profile&, const RKKeyedUnarchiver&)>& read = {})
{
    for (const RKKeyedUnarchiver& coder : root.decodeObjectArray(key)) {
        if (coder.className() == className) {
            profiles.append(Profile::initWithCoder(coder));
            if (read) {
                read(profiles.last(), coder);
            }
        } else if (coder.className() == kSettingClass || coder.className() == kArchiveProfilesClass
                   || coder.className() == kUnArchiveProfilesClass) {
            return false;
        } else {
            kept.append({profiles.isEmpty(), profiles.isEmpty() ? QString() : profiles.last().profileID,
                         coder.record()});
        }
    }
    return true;
}

template <typename Profile>
QList<RKKeyedArchiver> encodeProfiles(const QList<Profile>& profiles,
                                      const QList<RKSetting::KeptProfile>& kept,
                                      const QString& className,
                                      const std::function<void(RKKeyedArchiver&, const Profile&)>& write = {})
{
    QList<RKKeyedArchiver> archives;
    QList<bool> placed(kept.size(), false);
    const auto placeKept = [&](bool atStart, const QString& afterProfileID) {
        for (qsizetype i = 0; i < kept.size(); ++i) {
            if (!placed[i] && kept[i].atStart == atStart
                && (atStart || kept[i].afterProfileID == afterProfileID)) {
                archives.append(RKKeyedArchiver::fromRecord(kept[i].record));
                placed[i] = true;
            }
        }
    };
    placeKept(true, QString());
    for (const Profile& profile : profiles) {
        RKKeyedArchiver coder(className);
        if (write) {
            write(coder, profile);
        } else {
            profile.encodeWithCoder(coder);
        }
        archives.append(coder);
        placeKept(false, profile.profileID);
    }
    // The profile they followed was deleted: they go last.
    for (qsizetype i = 0; i < kept.size(); ++i) {
        if (!placed[i]) {
            archives.append(RKKeyedArchiver::fromRecord(kept[i].record));
        }
    }
    return archives;
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

QString RKSetting::storeFileName()
{
    return userDefaults().fileName();
}

QString RKSetting::keyringKey(const QString& profileID)
{
    return QStringLiteral("profile-password:") + profileID;
}

QByteArray RKSetting::archivedData() const
{
    return archivedData(passwordsInKeyring);
}

QByteArray RKSetting::archivedData(const QSet<QString>& inKeyring) const
{
    // A password kept in the keyring leaves an empty one and a mark behind.
    const std::function<void(RKKeyedArchiver&, const RKProfileSetting&)> write =
        [&inKeyring](RKKeyedArchiver& coder, const RKProfileSetting& profile) {
            if (!inKeyring.contains(profile.profileID)) {
                profile.encodeWithCoder(coder);
                return;
            }
            RKProfileSetting withoutPassword = profile;
            withoutPassword.password = QStringLiteral("");
            withoutPassword.encodeWithCoder(coder);
            coder.encodeBool(kPasswordInKeyring, true);
        };
    RKKeyedArchiver root(kSettingClass);
    root.encodeObjectArray(QStringLiteral("archiveProfiles"),
                           encodeProfiles(archiveProfiles, keptArchiveProfiles, kArchiveProfilesClass, write));
    root.encodeObject(QStringLiteral("activeArchiveProfileID"), activeArchiveProfileID);
    root.encodeObject(QStringLiteral("finderDragArchiveProfileID"), finderDragArchiveProfileID);
    root.encodeObjectArray(QStringLiteral("unArchiveProfiles"),
                           encodeProfiles(unArchiveProfiles, keptUnArchiveProfiles, kUnArchiveProfilesClass));
    root.encodeObject(QStringLiteral("activeUnArchiveProfileID"), activeUnArchiveProfileID);
    root.encodeObject(QStringLiteral("finderDragUnArchiveProfileID"), finderDragUnArchiveProfileID);
    root.encodeUInt64(QStringLiteral("passwordShotcutCode"), passwordShotcutCode);
    root.encodeInt64(QStringLiteral("passwordShotcutFlags"), passwordShotcutFlags);
    root.encodeRecordEntries(otherKeys);
    return root.archivedData();
}

std::optional<RKSetting> RKSetting::unarchive(const QByteArray& data)
{
    const RKKeyedUnarchiver root = RKKeyedUnarchiver::unarchive(data);
    if (root.failed() || root.className() != kSettingClass) {
        return std::nullopt;
    }
    RKSetting setting{NoDefaults{}};
    const std::function<void(RKProfileSetting&, const RKKeyedUnarchiver&)> read =
        [&setting](RKProfileSetting& profile, const RKKeyedUnarchiver& coder) {
            // The mark is this class's to write back, not one of the
            // profile's unknown keys: a password moved back to the file
            // must not leave it behind.
            profile.otherKeys.entries.removeIf(
                [](const QPair<QString, QJsonObject>& entry) { return entry.first == kPasswordInKeyring; });
            if (!coder.decodeBool(kPasswordInKeyring)) {
                return;
            }
            RKSecretStore* store = RKSecretStore::current();
            const std::optional<QString> password = store ? store->read(keyringKey(profile.profileID)) : std::nullopt;
            if (password) {
                profile.password = *password;
            } else {
                // Not readable now (no keyring here, or locked): the mark
                // stays, so that a save does not lose the password.
                setting.passwordsInKeyring.insert(profile.profileID);
                qWarning("The password of the profile \"%s\" is kept in the keyring, which does not "
                         "answer; the profile has no password until it does",
                         qPrintable(profile.profileName));
            }
        };
    if (!decodeProfiles(root, QStringLiteral("archiveProfiles"), kArchiveProfilesClass,
                        setting.archiveProfiles, setting.keptArchiveProfiles, read)) {
        return std::nullopt;
    }
    setting.activeArchiveProfileID = root.decodeObject(QStringLiteral("activeArchiveProfileID"));
    setting.finderDragArchiveProfileID = root.decodeObject(QStringLiteral("finderDragArchiveProfileID"));
    if (!decodeProfiles(root, QStringLiteral("unArchiveProfiles"), kUnArchiveProfilesClass,
                        setting.unArchiveProfiles, setting.keptUnArchiveProfiles)) {
        return std::nullopt;
    }
    setting.activeUnArchiveProfileID = root.decodeObject(QStringLiteral("activeUnArchiveProfileID"));
    setting.finderDragUnArchiveProfileID =
        root.decodeObject(QStringLiteral("finderDragUnArchiveProfileID"));
    setting.passwordShotcutCode = root.decodeUInt64(QStringLiteral("passwordShotcutCode"));
    setting.passwordShotcutFlags = root.decodeInt64(QStringLiteral("passwordShotcutFlags"));
    setting.otherKeys = root.undecodedEntries();
    if (root.failed()) {
        return std::nullopt;
    }
    return setting;
}

RKSetting RKSetting::Setting()
{
    QString fileAside;
    QString valueKeptUnder;
    RKSetting setting = [&] {
        const std::lock_guard<std::mutex> lock(g_loadLock);
        fileAside = setAsideUnreadableFile();
        keepPrivate(storeFileName());
        QSettings defaults = userDefaults();
        const QVariant stored = defaults.value(userDefaultsKey());
        if (stored.isValid()) {
            if (std::optional<RKSetting> decoded = unarchive(stored.toByteArray())) {
                return *decoded;
            }
            // Keep what the user had before replacing it with the defaults. A
            // suffix keeps two failures within one millisecond apart.
            const QString stamp = kBackupPrefix
                + QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMddHHmmsszzz"));
            valueKeptUnder = stamp;
            for (int suffix = 1; defaults.contains(valueKeptUnder); ++suffix) {
                valueKeptUnder = stamp + QLatin1Char('_') + QString::number(suffix);
            }
            defaults.setValue(valueKeptUnder, stored);
            defaults.sync();
        }
        RKSetting factory;
        factory.commit();
        return factory;
    }();
    // Told outside the lock, so that the front end may load the settings.
    if (!fileAside.isEmpty()) {
        tellFileSetAside(fileAside);
    }
    if (!valueKeptUnder.isEmpty()) {
        tellValueSetAside(storeFileName(), valueKeptUnder);
    }
    return setting;
}

void RKSetting::commit() const
{
    // QSettings writes through a lock file and an atomic rename, so two
    // processes committing at once leave one whole value, never a mixture.
    keepPrivate(storeFileName());
    // Passwords go to the keyring when one takes them (plain ones stored
    // before move there now); the file keeps only the mark.
    // A password the keyring refuses stays in the file, and one given anew to
    // a profile whose keyring copy could not be read replaces that copy.
    QSet<QString> inKeyring = passwordsInKeyring;
    RKSecretStore* store = RKSecretStore::current();
    for (const RKProfileSetting& profile : archiveProfiles) {
        if (profile.password.isEmpty()) {
            continue;
        }
        if (store && store->write(keyringKey(profile.profileID), profile.password)) {
            inKeyring.insert(profile.profileID);
        } else {
            inKeyring.remove(profile.profileID);
        }
    }
    QSettings defaults = userDefaults();
    defaults.setValue(userDefaultsKey(), archivedData(inKeyring));
    defaults.sync();
    tighten(QFile::encodeName(defaults.fileName()));
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
