#include "settings/RKSetting.h"

#include "platform/RKAppInfo.h"
#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QSettings>

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

class RKSettingTest : public ::testing::Test
{
protected:
    void SetUp() override { userDefaults().clear(); }
    void TearDown() override { userDefaults().clear(); }
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
    };
    for (const QByteArray& bytes : bad) {
        store(bytes);
        EXPECT_EQ(describe(RKSetting::Setting()), kFactory) << bytes.toStdString();
        EXPECT_EQ(RKSetting::unarchive(stored()).has_value(), true);
    }
    QList<QByteArray> kept;
    for (const QString& key : RKSetting::backupKeys()) {
        kept.append(userDefaults().value(key).toByteArray());
    }
    EXPECT_EQ(kept, bad);

    // A root without keys is no damage: decoding applies no defaults.
    store(archive("{\"$class\":\"RKSetting\",\"$keys\":[]}"));
    const RKSetting empty = RKSetting::Setting();
    EXPECT_TRUE(empty.archiveProfiles.isEmpty() && empty.unArchiveProfiles.isEmpty());
    EXPECT_TRUE(empty.activeArchiveProfileID.isNull() && empty.finderDragUnArchiveProfileID.isNull());
    EXPECT_EQ(empty.passwordShotcutCode, 0u);
    EXPECT_EQ(RKSetting::backupKeys().size(), bad.size());
}

// A settings file that cannot be parsed at all would refuse every later
// commit; it is set aside whole and the store works again.
TEST_F(RKSettingTest, UnparsableSettingsFileIsSetAsideAndTheStoreWorksAgain)
{
    const QString fileName = userDefaults().fileName();
    // An unterminated section header is beyond the INI reader.
    const QByteArray garbage = "[General\nRKCONSTANTS_USERDEFAULT_SETTING=@ByteArray(\xff\xfe)\n";
    ASSERT_TRUE(TestEnvironment::writeFile(fileName, garbage));

    RKSetting setting = RKSetting::Setting();
    EXPECT_EQ(describe(setting), kFactory);
    setting.archiveProfiles[0].profileName = QStringLiteral("changed");
    setting.commit();
    EXPECT_EQ(RKSetting::Setting().archiveProfiles[0].profileName, QStringLiteral("changed"));

    const QStringList aside = QFileInfo(fileName).dir().entryList({QFileInfo(fileName).fileName() + ".unreadable-*"});
    ASSERT_EQ(aside.size(), 1);
    EXPECT_EQ(TestEnvironment::readFile(QFileInfo(fileName).dir().filePath(aside.first())), garbage);
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
