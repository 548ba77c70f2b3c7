#include "settings/RKSetting.h"

#include "platform/RKAppInfo.h"
#include "settings/RKKeychainSecretStore.h"
#include "settings/RKSettingNotice.h"
#include "support/PrivateSessionBus.h"
#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QSettings>

#include <sys/stat.h>

namespace {

QSettings userDefaults()
{
    return QSettings(QSettings::NativeFormat, QSettings::UserScope, RKAppInfo::organizationName(),
                     RKAppInfo::applicationName());
}

void store(const QByteArray& bytes)
{
    QSettings defaults = userDefaults();
    defaults.setValue(RKSetting::userDefaultsKey(), bytes);
    defaults.sync();
}

QByteArray stored() { return userDefaults().value(RKSetting::userDefaultsKey()).toByteArray(); }

// The profile identifiers a settings object holds, in its keyed form.
QSet<QString> identifiers(const RKSetting& setting)
{
    QSet<QString> ids;
    for (const QRegularExpressionMatch& match :
         QRegularExpression(QStringLiteral("\"([0-9]{1,10}l)\"")).globalMatch(QString::fromUtf8(setting.archivedData()))) {
        ids.insert(match.captured(1));
    }
    return ids;
}

// The profiles as tabled: name, encoding, password mode and template, file
// and folder patterns; then whether the four identifier fields name the first
// profile of their list, and the password key combination.
QStringList describe(const RKSetting& s)
{
    QStringList rows;
    for (const RKProfileSetting& p : s.archiveProfiles) {
        rows.append(QStringLiteral("%1|%2|%3|%4|").arg(p.profileName).arg(p.destEncoding).arg(p.passMode).arg(p.password)
                    + p.exclusionFiles.join(',') + '|' + p.exclusionFolders.join(','));
    }
    for (const RKUnArchiveProfileSetting& p : s.unArchiveProfiles) {
        rows.append(QStringLiteral("%1|%2|").arg(p.profileName).arg(p.sourceEncoding)
                    + p.exclusionFiles.join(',') + '|' + p.exclusionFolders.join(','));
    }
    const QString a = s.archiveProfiles.value(0).profileID, u = s.unArchiveProfiles.value(0).profileID;
    rows.append(QStringLiteral("%1%2%3%4 %5/%6").arg(s.activeArchiveProfileID == a).arg(s.finderDragArchiveProfileID == a)
                    .arg(s.activeUnArchiveProfileID == u).arg(s.finderDragUnArchiveProfileID == u)
                    .arg(s.passwordShotcutCode).arg(s.passwordShotcutFlags));
    return rows;
}

// Full-width brackets and colon; the fifth name closes with an ASCII ")".
const QStringList kFactory{
    "Mac To Win|8|0||.DS_Store,._*|",
    "Mac To Mac|4|0||.DS_Store,._*|",
    "Mac To Win（日付：YYYYMMDD）|8|2|{YYYY}{MM}{DD}|.DS_Store,._*|",
    "Mac To Win（パスワード手動入力）|8|1||.DS_Store,._*|",
    "Mac To Mac（パスワード手動入力)|4|1||.DS_Store,._*|",
    "Win To Mac|8|Thumbs.db,desktop.ini|",
    "Mac To Mac|4|.DS_Store,._*|__MACOSX",
    "1111 35/0",
};

// What the user was told: "file:COPY" or "value:KEY".
struct RecordingNotice : RKSettingNotice {
    void settingsFileSetAside(const QString& copyPath) override { told.append("file:" + copyPath); }
    void settingsValueSetAside(const QString& settingsPath, const QString& key) override
    {
        EXPECT_EQ(settingsPath, userDefaults().fileName());
        told.append("value:" + key);
    }
    QStringList told;
};

class RKSettingTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        userDefaults().clear();
        RKSettingNotice::setCurrent(&notice);
    }
    void TearDown() override
    {
        RKSettingNotice::setCurrent(nullptr);
        userDefaults().clear();
    }
    RecordingNotice notice;
};

TEST_F(RKSettingTest, FirstLoadStoresTheFactoryProfilesAndLaterLoadsAreIndependent)
{
    ASSERT_TRUE(stored().isEmpty());
    const RKSetting first = RKSetting::Setting();
    EXPECT_EQ(describe(first), kFactory);
    EXPECT_EQ(stored(), first.archivedData());
    const QSet<QString> ids = identifiers(first);
    EXPECT_EQ(ids.size(), 7) << "identifiers repeat";

    RKSetting changed = RKSetting::Setting();
    EXPECT_EQ(changed.archivedData(), first.archivedData());
    changed.archiveProfiles[0].exclusionFiles.append(QStringLiteral("*.tmp"));
    changed.archiveProfiles.append(RKProfileSetting::DefaultSetting());
    changed.finderDragUnArchiveProfileID = changed.unArchiveProfiles.at(1).profileID;
    changed.passwordShotcutCode = ~quint64(0);
    changed.passwordShotcutFlags = -1;
    changed.commit();
    // An object loaded before the commit keeps what it had; a later load sees it.
    EXPECT_EQ(describe(first), kFactory);
    EXPECT_EQ(RKSetting::Setting().archivedData(), changed.archivedData());

    RKSetting::RestoreDefault();
    const RKSetting restored = RKSetting::Setting();
    EXPECT_EQ(describe(restored), kFactory);
    EXPECT_EQ(identifiers(restored).size(), 7);
    EXPECT_FALSE(identifiers(restored).intersects(ids)) << "identifiers kept";
}

// Stored bytes that do not decode give the factory defaults, and every bad
// value survives under a backup key of its own, also when two failures fall
// within one millisecond.
TEST_F(RKSettingTest, UndecodableStoresGiveFactoryDefaultsAndKeepTheBadBytes)
{
    const auto archive = [](const char* top) {
        return "{\"$archiver\":\"RKKeyedArchiver\",\"$version\":1,\"$top\":" + QByteArray(top) + "}";
    };
    const auto profile = [&](const char* keys) {
        return archive(("{\"$class\":\"RKSetting\",\"$keys\":[[\"archiveProfiles\",{\"array\":[{\"object\":"
                        "{\"$class\":\"RKProfileSetting\",\"$keys\":[" + QByteArray(keys) + "]}}]}]]}").constData());
    };
    // Garbage, the wrong classes, and values in another form than the key's
    // (also inside a profile decoded before the fault is met).
    const QList<QByteArray> bad{
        "not an archive \xff\xfe",
        archive("{\"$class\":\"RKProfileSetting\",\"$keys\":[]}"),
        archive("{\"$class\":\"RKSetting\",\"$keys\":[[\"unArchiveProfiles\",{\"array\":[{\"object\":"
                "{\"$class\":\"RKProfileSetting\",\"$keys\":[]}}]}]]}"),
        archive("{\"$class\":\"RKSetting\",\"$keys\":[[\"activeArchiveProfileID\",{\"i32\":5}]]}"),
        archive("{\"$class\":\"RKSetting\",\"$keys\":[[\"passwordShotcutCode\",{\"u64\":\"-1\"}]]}"),
        archive("{\"$class\":\"RKSetting\",\"$keys\":[[\"passwordShotcutFlags\",{\"i32\":0}]]}"),
        profile("[\"archiveLevel\",{\"i32\":4294967296}]"),
        profile("[\"passwordShow\",{\"string\":\"true\"}]"),
        profile("[\"exclusionFiles\",{\"array\":[{\"i32\":3}]}]"),
        RKSetting().archivedData().chopped(700), // truncated
    };
    for (const QByteArray& bytes : bad) {
        store(bytes);
        EXPECT_EQ(describe(RKSetting::Setting()), kFactory) << bytes.toStdString();
        EXPECT_EQ(RKSetting::unarchive(stored()).has_value(), true);
    }
    QList<QByteArray> kept;
    QStringList told;
    for (const QString& key : RKSetting::backupKeys()) {
        kept.append(userDefaults().value(key).toByteArray());
        told.append("value:" + key);
    }
    EXPECT_EQ(kept, bad);
    // Once for every copy, naming it.
    EXPECT_EQ(notice.told, told);

    // A root without keys is no damage: decoding applies no defaults.
    store(archive("{\"$class\":\"RKSetting\",\"$keys\":[]}"));
    const RKSetting empty = RKSetting::Setting();
    EXPECT_TRUE(empty.archiveProfiles.isEmpty() && empty.unArchiveProfiles.isEmpty());
    EXPECT_TRUE(empty.activeArchiveProfileID.isNull() && empty.finderDragUnArchiveProfileID.isNull());
    EXPECT_EQ(empty.passwordShotcutCode, 0u);
    EXPECT_EQ(RKSetting::backupKeys().size(), bad.size());
}

// A settings file that cannot be parsed at all would refuse every later
// commit; it is set aside whole and the store works again. A truncated file
// still parses: its value is kept under a backup key. Either way the user is
// told once where the copy is.
TEST_F(RKSettingTest, DamagedSettingsFileIsSetAsideTheUserToldOnceAndTheStoreWorksAgain)
{
    const QString fileName = userDefaults().fileName();
    RKSetting().commit();
    const QByteArray whole = TestEnvironment::readFile(fileName);
    // An unterminated section header is beyond the INI reader.
    const QByteArray garbage = "[General\nRKCONSTANTS_USERDEFAULT_SETTING=@ByteArray(\xff\xfe)\n";
    for (const QByteArray& damaged : {garbage, whole.left(whole.size() / 2)}) {
        userDefaults().clear();
        notice.told.clear();
        ASSERT_TRUE(TestEnvironment::writeFile(fileName, damaged));

        RKSetting setting = RKSetting::Setting();
        EXPECT_EQ(describe(setting), kFactory);
        setting.archiveProfiles[0].profileName = QStringLiteral("changed");
        setting.commit();
        EXPECT_EQ(RKSetting::Setting().archiveProfiles[0].profileName, QStringLiteral("changed"));

        const QDir folder = QFileInfo(fileName).dir();
        const QStringList aside = folder.entryList({QFileInfo(fileName).fileName() + ".unreadable-*"});
        if (damaged == garbage) {
            ASSERT_EQ(aside.size(), 1);
            EXPECT_EQ(TestEnvironment::readFile(folder.filePath(aside.first())), garbage);
            EXPECT_EQ(notice.told, QStringList{"file:" + folder.filePath(aside.first())});
            QFile::remove(folder.filePath(aside.first()));
        } else {
            EXPECT_TRUE(aside.isEmpty());
            ASSERT_EQ(RKSetting::backupKeys().size(), 1);
            EXPECT_EQ(notice.told, QStringList{"value:" + RKSetting::backupKeys().first()});
        }
    }
}

// The file holds passwords: 0600 in a 0700 folder from the first start, a
// looser mode is tightened at the next load, and every save keeps it.
TEST_F(RKSettingTest, FileAndFolderAreTheOwnersOnly)
{
    const QString fileName = userDefaults().fileName();
    const QString folder = QFileInfo(fileName).absolutePath();
    const auto modes = [&] {
        struct stat file {}, dir {};
        ::stat(QFile::encodeName(fileName).constData(), &file);
        ::stat(QFile::encodeName(folder).constData(), &dir);
        return QStringLiteral("%1 %2").arg(file.st_mode & 07777, 0, 8).arg(dir.st_mode & 07777, 0, 8).toStdString();
    };
    ASSERT_TRUE(QDir(folder).removeRecursively());
    RKSetting::Setting();
    EXPECT_EQ(modes(), "600 700") << "first start";
    ::chmod(QFile::encodeName(fileName).constData(), 0644);
    ::chmod(QFile::encodeName(folder).constData(), 0755);
    RKSetting setting = RKSetting::Setting();
    EXPECT_EQ(modes(), "600 700") << "tightened";
    setting.commit();
    RKSetting::RestoreDefault();
    EXPECT_EQ(modes(), "600 700") << "after saving";
}

// With a keyring on the session bus (GNOME's, on a bus of the test's own)
// passwords leave the settings file: a plain one stored before moves at the
// next save, and every load reads it back. Without one it stays in the file.
TEST_F(RKSettingTest, PasswordsLiveInTheKeyringWhenOneAnswers)
{
    if (!TestEnvironment::hasProgram("gnome-keyring-daemon")) {
        GTEST_SKIP() << "gnome-keyring-daemon is not installed (scripts/install-deps.sh installs it)";
    }
    PrivateSessionBus bus;
    ASSERT_TRUE(bus.isRunning()) << "dbus-daemon did not start";
    // QtKeychain talks to the session bus; nothing in this process has yet.
    qputenv("DBUS_SESSION_BUS_ADDRESS", bus.address().toUtf8());
    QProcess keyring;
    keyring.start("gnome-keyring-daemon", {"--foreground", "--unlock", "--components=secrets"});
    keyring.write("login password");
    keyring.closeWriteChannel();
    ASSERT_TRUE(bus.connect("keyring-watch"));
    ASSERT_TRUE(TestEnvironment::waitFor([] {
        return QDBusConnection("keyring-watch").interface()->isServiceRegistered("org.freedesktop.secrets").value();
    })) << keyring.readAllStandardError().toStdString();

    const QString password = QString::fromUtf16(u"秘密-Pass 1");
    const auto fileHolds = [](const QString& text) { return stored().contains(text.toUtf8()); };
    RKSetting setting = RKSetting::Setting();
    setting.archiveProfiles[0].password = password;
    setting.commit();
    EXPECT_TRUE(fileHolds(password)) << "no keyring installed: the file keeps it";

    RKKeychainSecretStore store;
    RKSecretStore::setCurrent(&store);
    RKSetting::Setting().commit();
    EXPECT_FALSE(fileHolds(password)) << "moved at the next save";
    EXPECT_TRUE(stored().contains("passwordInKeyring"));
    EXPECT_EQ(RKSetting::Setting().archiveProfiles[0].password, password);
    EXPECT_EQ(store.read(RKSetting::keyringKey(setting.archiveProfiles[0].profileID)), password);

    // A keyring that cannot be read now: the mark survives a save.
    RKSecretStore::setCurrent(nullptr);
    RKSetting unreadable = RKSetting::Setting();
    EXPECT_EQ(unreadable.archiveProfiles[0].password, "");
    unreadable.commit();
    RKSecretStore::setCurrent(&store);
    EXPECT_EQ(RKSetting::Setting().archiveProfiles[0].password, password);
    // A password given while the keyring is away goes to the file, in place
    // of the keyring's copy.
    RKSecretStore::setCurrent(nullptr);
    unreadable.archiveProfiles[0].password = QStringLiteral("renewed");
    unreadable.commit();
    RKSecretStore::setCurrent(&store);
    EXPECT_EQ(RKSetting::Setting().archiveProfiles[0].password, "renewed");
    RKSecretStore::setCurrent(nullptr);
    keyring.kill();
    keyring.waitForFinished();
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
}

// What a newer version wrote and this one does not know: a profile of
// another class in either list, keys of the settings and of a profile (also
// in forms this version does not read). Nothing is shown of it, nobody is
// told, and it is written back unchanged, also after the known profiles
// around it were changed, deleted or added to.
TEST_F(RKSettingTest, NewerVersionsProfilesAndKeysAreKeptAndWrittenBack)
{
    const auto object = [](const QByteArray& json) { return QJsonDocument::fromJson(json).object(); };
    const QJsonObject foreignA = object(R"({"object":{"$class":"RKCloudProfileSetting","$keys":[["profileID",{"string":"7l"}],["bucket",{"string":"s3://x"}]]}})");
    const QJsonObject foreignU = object(R"({"object":{"$class":"RKSevenZipProfileSetting","$keys":[["ratio",{"f64":0.5}]]}})");
    const QJsonArray settingKey = QJsonArray{"theme", object(R"({"string":"dark"})")};
    const QJsonArray profileKey = QJsonArray{"aesStrength", object(R"({"i32":256})")};

    QJsonObject document = QJsonDocument::fromJson(RKSetting().archivedData()).object();
    QJsonObject top = document["$top"].toObject();
    QJsonArray keys = top["$keys"].toArray();
    QJsonArray archives = keys[0].toArray()[1].toObject()["array"].toArray();
    QJsonObject second = archives[1].toObject()["object"].toObject();
    QJsonArray secondKeys = second["$keys"].toArray();
    secondKeys.append(profileKey);
    second["$keys"] = secondKeys;
    archives[1] = QJsonObject{{"object", second}};
    archives.insert(2, foreignA);
    keys[0] = QJsonArray{"archiveProfiles", QJsonObject{{"array", archives}}};
    QJsonArray unarchives = keys[3].toArray()[1].toObject()["array"].toArray();
    unarchives.insert(0, foreignU);
    keys[3] = QJsonArray{"unArchiveProfiles", QJsonObject{{"array", unarchives}}};
    keys.append(settingKey);
    top["$keys"] = keys;
    document["$top"] = top;
    const QByteArray newer = QJsonDocument(document).toJson(QJsonDocument::Compact);
    store(newer);

    RKSetting setting = RKSetting::Setting();
    EXPECT_EQ(describe(setting), kFactory);
    EXPECT_TRUE(RKSetting::backupKeys().isEmpty());
    EXPECT_TRUE(notice.told.isEmpty());
    setting.commit();
    EXPECT_EQ(stored(), newer) << "written back as it was";

    // The foreign profile followed the second one; that one is deleted (it
    // goes last), the first renamed, one added.
    setting.archiveProfiles[0].profileName = QStringLiteral("renamed");
    setting.archiveProfiles.removeAt(1);
    setting.archiveProfiles.append(RKProfileSetting::DefaultSetting());
    setting.commit();
    const QJsonArray after = QJsonDocument::fromJson(stored())["$top"]["$keys"].toArray();
    const QJsonArray archivesAfter = after[0][1]["array"].toArray();
    ASSERT_EQ(archivesAfter.size(), 6);
    EXPECT_EQ(archivesAfter[5], foreignA);
    EXPECT_EQ(after[3][1]["array"][0], foreignU);
    EXPECT_EQ(after.last(), settingKey);
    EXPECT_EQ(RKSetting::Setting().archiveProfiles[0].profileName, QStringLiteral("renamed"));

    // The profile with the unknown key keeps it through a change of its own.
    store(newer);
    setting = RKSetting::Setting();
    setting.archiveProfiles[1].archiveLevel = 9;
    setting.commit();
    const QJsonArray edited = QJsonDocument::fromJson(stored())["$top"]["$keys"][0][1]["array"][1]["object"]["$keys"].toArray();
    EXPECT_EQ(edited.last(), profileKey);
    EXPECT_EQ(RKSetting::Setting().archiveProfiles[1].archiveLevel, 9);
}

// Runs only inside a child process of the test below: loads, changes and
// commits in a loop; a load that met a value that did not decode would leave
// a backup key.
TEST(RKSettingConcurrentChild, LoadsAndCommitsInALoop)
{
    const QString store = qEnvironmentVariable("MOKUZA_SETTINGS_TEST_STORE");
    if (store.isEmpty()) {
        GTEST_SKIP() << "runs only as a child of the concurrent-commit test";
    }
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, store);
    for (int i = 0; i < 150; ++i) {
        RKSetting setting = RKSetting::Setting();
        setting.archiveProfiles[0].profileName = QStringLiteral("child %1").arg(i);
        // Values of varying length, so a mixture of two writes cannot pass for either.
        setting.archiveProfiles[0].exclusionFiles.append(QString(i % 7 + 1, QLatin1Char('x')));
        setting.commit();
    }
    EXPECT_TRUE(RKSetting::backupKeys().isEmpty());
}

TEST_F(RKSettingTest, TwoProcessesCommittingAtOnceLeaveADecodableValue)
{
    RKSetting::RestoreDefault();
    // The folder that holds the organisation's folder of the store.
    const QString storeRoot = QFileInfo(QFileInfo(userDefaults().fileName()).absolutePath()).absolutePath();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("MOKUZA_SETTINGS_TEST_STORE"), storeRoot);
    QProcess children[2];
    for (QProcess& child : children) {
        child.setProcessEnvironment(environment);
        child.setProcessChannelMode(QProcess::MergedChannels);
        child.start(QCoreApplication::applicationFilePath(), {"--gtest_filter=RKSettingConcurrentChild.*"});
    }
    for (QProcess& child : children) {
        ASSERT_TRUE(child.waitForFinished(300000));
        EXPECT_EQ(child.exitCode(), 0) << child.readAll().toStdString();
    }
    const std::optional<RKSetting> last = RKSetting::unarchive(stored());
    ASSERT_TRUE(last.has_value());
    EXPECT_TRUE(last->archiveProfiles.first().profileName.startsWith(QStringLiteral("child ")));
    EXPECT_TRUE(RKSetting::backupKeys().isEmpty());
}

} // namespace
