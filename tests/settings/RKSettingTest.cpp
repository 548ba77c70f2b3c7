#include "settings/RKSetting.h"

#include "platform/RKAppInfo.h"
#include "platform/RKKeyedArchiver.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QSettings>
#include <QTemporaryDir>

#include <memory>

namespace {

// Children of the concurrency test share their parent's store through these.
const char* const kStoreDirVariable = "MOKUZA_SETTINGS_TEST_STORE";
const char* const kChildTagVariable = "MOKUZA_SETTINGS_TEST_CHILD";

// Qt's test mode puts user settings under ~/.qttest, which every test process
// on the machine shares. This suite's store lives in a folder of its own (in a
// child process, in the parent's).
class PrivateSettingsStore : public ::testing::Environment
{
public:
    void SetUp() override
    {
        s_path = qEnvironmentVariable(kStoreDirVariable);
        if (s_path.isEmpty()) {
            m_dir = std::make_unique<QTemporaryDir>();
            s_path = m_dir->path();
        }
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, s_path);
    }

    static inline QString s_path;

private:
    std::unique_ptr<QTemporaryDir> m_dir;
};

[[maybe_unused]] ::testing::Environment* const g_store =
    ::testing::AddGlobalTestEnvironment(new PrivateSettingsStore);

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

QStringList archiveNames(const RKSetting& setting)
{
    QStringList names;
    for (const RKProfileSetting& profile : setting.archiveProfiles) {
        names.append(profile.profileName);
    }
    return names;
}

QStringList allIdentifiers(const RKSetting& setting)
{
    QStringList ids;
    for (const RKProfileSetting& profile : setting.archiveProfiles) {
        ids.append(profile.profileID);
    }
    for (const RKUnArchiveProfileSetting& profile : setting.unArchiveProfiles) {
        ids.append(profile.profileID);
    }
    return ids;
}

class RKSettingStoreTest : public ::testing::Test
{
protected:
    void SetUp() override { userDefaults().clear(); }
    void TearDown() override { userDefaults().clear(); }
};

// ---------------------------------------------------------------- factory profiles

struct ArchiveFactoryRow {
    const char16_t* name;
    quint64 destEncoding;
    qint32 passMode;
    const char16_t* password;
};

const ArchiveFactoryRow kArchiveFactory[] = {
    {u"Mac To Win", 8, 0, u""},
    {u"Mac To Mac", 4, 0, u""},
    {u"Mac To Win（日付：YYYYMMDD）", 8, 2, u"{YYYY}{MM}{DD}"},
    {u"Mac To Win（パスワード手動入力）", 8, 1, u""},
    // Full-width opening bracket, ASCII closing one.
    {u"Mac To Mac（パスワード手動入力)", 4, 1, u""},
};

class ArchiveFactoryProfile : public RKSettingStoreTest, public ::testing::WithParamInterface<int> {};

TEST_P(ArchiveFactoryProfile, HoldsItsTabledValues)
{
    const ArchiveFactoryRow& row = kArchiveFactory[GetParam()];
    const RKSetting setting = RKSetting::Setting();
    ASSERT_EQ(setting.archiveProfiles.size(), 5);
    const RKProfileSetting& profile = setting.archiveProfiles.at(GetParam());

    EXPECT_EQ(profile.profileName, QString::fromUtf16(row.name));
    EXPECT_EQ(profile.destEncoding, row.destEncoding);
    EXPECT_EQ(profile.passMode, row.passMode);
    EXPECT_EQ(profile.password, QString::fromUtf16(row.password));
    EXPECT_EQ(profile.exclusionFiles, (QStringList{QStringLiteral(".DS_Store"), QStringLiteral("._*")}));
    // The other fields keep the values of DefaultSetting.
    EXPECT_TRUE(profile.exclusionFolders.isEmpty());
    EXPECT_EQ(profile.archiveLevel, 4);
    EXPECT_EQ(profile.profileShotcutCode, ~quint64(0));
}

INSTANTIATE_TEST_SUITE_P(RKSetting, ArchiveFactoryProfile, ::testing::Range(0, 5),
                         [](const auto& info) { return "Archive" + std::to_string(info.param + 1); });

TEST_F(RKSettingStoreTest, FactoryUnarchiveProfilesHoldTheirTabledValues)
{
    const RKSetting setting = RKSetting::Setting();
    ASSERT_EQ(setting.unArchiveProfiles.size(), 2);
    const RKUnArchiveProfileSetting& winToMac = setting.unArchiveProfiles.at(0);
    const RKUnArchiveProfileSetting& macToMac = setting.unArchiveProfiles.at(1);
    EXPECT_EQ(winToMac.profileName, QStringLiteral("Win To Mac"));
    EXPECT_EQ(winToMac.sourceEncoding, 8u);
    EXPECT_EQ(winToMac.exclusionFiles, (QStringList{QStringLiteral("Thumbs.db"), QStringLiteral("desktop.ini")}));
    EXPECT_TRUE(winToMac.exclusionFolders.isEmpty());
    EXPECT_EQ(macToMac.profileName, QStringLiteral("Mac To Mac"));
    EXPECT_EQ(macToMac.sourceEncoding, 4u);
    EXPECT_EQ(macToMac.exclusionFiles, (QStringList{QStringLiteral(".DS_Store"), QStringLiteral("._*")}));
    EXPECT_EQ(macToMac.exclusionFolders, QStringList{QStringLiteral("__MACOSX")});
    for (const RKUnArchiveProfileSetting& profile : setting.unArchiveProfiles) {
        EXPECT_EQ(profile.unArchiveMode, 1);
        EXPECT_EQ(profile.profileShotcutCode, ~quint64(0));
    }
}

void expectFactoryShape(const RKSetting& setting)
{
    ASSERT_EQ(setting.archiveProfiles.size(), 5);
    ASSERT_EQ(setting.unArchiveProfiles.size(), 2);
    EXPECT_EQ(setting.archiveProfiles.first().profileName, QStringLiteral("Mac To Win"));
    EXPECT_EQ(setting.unArchiveProfiles.first().profileName, QStringLiteral("Win To Mac"));
    EXPECT_EQ(setting.activeArchiveProfileID, setting.archiveProfiles.first().profileID);
    EXPECT_EQ(setting.finderDragArchiveProfileID, setting.archiveProfiles.first().profileID);
    EXPECT_EQ(setting.activeUnArchiveProfileID, setting.unArchiveProfiles.first().profileID);
    EXPECT_EQ(setting.finderDragUnArchiveProfileID, setting.unArchiveProfiles.first().profileID);
    EXPECT_EQ(setting.passwordShotcutCode, 35u);
    EXPECT_EQ(setting.passwordShotcutFlags, 0);
}

TEST_F(RKSettingStoreTest, IdentifiersAreDecimalWithTrailingLAndAllDistinct)
{
    const QStringList ids = allIdentifiers(RKSetting::Setting());
    for (const QString& id : ids) {
        EXPECT_TRUE(QRegularExpression(QStringLiteral("^[0-9]{1,10}l$")).match(id).hasMatch()) << id.toStdString();
        EXPECT_LE(id.chopped(1).toULongLong(), 0xFFFFFFFFull) << id.toStdString();
    }
    EXPECT_EQ(QSet<QString>(ids.begin(), ids.end()).size(), ids.size());
}

// ---------------------------------------------------------------- loading and committing

TEST_F(RKSettingStoreTest, FirstLoadStoresTheDefaultsAndASecondLoadIsEqualButIndependent)
{
    ASSERT_TRUE(stored().isEmpty());
    const RKSetting first = RKSetting::Setting();
    expectFactoryShape(first);
    EXPECT_EQ(stored(), first.archivedData());

    RKSetting second = RKSetting::Setting();
    EXPECT_EQ(second.archivedData(), first.archivedData());
    second.archiveProfiles[0].profileName = QStringLiteral("changed");
    second.archiveProfiles[0].exclusionFiles.append(QStringLiteral("*.tmp"));
    EXPECT_EQ(first.archiveProfiles[0].profileName, QStringLiteral("Mac To Win"));
    EXPECT_EQ(first.archiveProfiles[0].exclusionFiles.size(), 2);
}

TEST_F(RKSettingStoreTest, CommitIsSeenByLaterLoadsOnly)
{
    const RKSetting loadedBefore = RKSetting::Setting();
    RKSetting changed = RKSetting::Setting();
    changed.archiveProfiles.append(RKProfileSetting::DefaultSetting());
    changed.archiveProfiles.last().profileName = QStringLiteral("追加");
    changed.archiveProfiles.move(0, 5);
    changed.activeArchiveProfileID = changed.archiveProfiles.at(4).profileID;
    changed.finderDragUnArchiveProfileID = changed.unArchiveProfiles.at(1).profileID;
    changed.passwordShotcutCode = ~quint64(0);
    changed.passwordShotcutFlags = -1;
    changed.commit();

    EXPECT_EQ(loadedBefore.archiveProfiles.size(), 5);
    EXPECT_EQ(loadedBefore.passwordShotcutCode, 35u);

    const RKSetting loadedAfter = RKSetting::Setting();
    EXPECT_EQ(archiveNames(loadedAfter), archiveNames(changed));
    EXPECT_EQ(loadedAfter.activeArchiveProfileID, changed.activeArchiveProfileID);
    EXPECT_EQ(loadedAfter.finderDragUnArchiveProfileID, changed.finderDragUnArchiveProfileID);
    EXPECT_EQ(loadedAfter.passwordShotcutCode, ~quint64(0));
    EXPECT_EQ(loadedAfter.passwordShotcutFlags, -1);
    EXPECT_EQ(loadedAfter.archivedData(), changed.archivedData());
}

TEST_F(RKSettingStoreTest, RestoreDefaultReplacesEverythingWithNewIdentifiers)
{
    RKSetting user = RKSetting::Setting();
    user.archiveProfiles.removeFirst();
    user.archiveProfiles.first().profileName = QStringLiteral("mine");
    user.commit();
    const QStringList oldIds = allIdentifiers(RKSetting::Setting());

    RKSetting::RestoreDefault();
    const RKSetting restored = RKSetting::Setting();
    expectFactoryShape(restored);
    QStringList factoryNames;
    for (const ArchiveFactoryRow& row : kArchiveFactory) {
        factoryNames.append(QString::fromUtf16(row.name));
    }
    EXPECT_EQ(archiveNames(restored), factoryNames);
    for (const QString& id : allIdentifiers(restored)) {
        EXPECT_FALSE(oldIds.contains(id)) << id.toStdString();
    }
}

// ---------------------------------------------------------------- damaged and partial stores

struct BadBytesRow {
    const char* name;
    const char* bytes;
};

class UndecodableStore : public RKSettingStoreTest, public ::testing::WithParamInterface<BadBytesRow> {};

TEST_P(UndecodableStore, GivesFactoryDefaultsAndKeepsTheBadBytes)
{
    const QByteArray bad(GetParam().bytes);
    store(bad);
    const RKSetting setting = RKSetting::Setting();
    expectFactoryShape(setting);
    ASSERT_EQ(RKSetting::backupKeys().size(), 1);
    EXPECT_EQ(userDefaults().value(RKSetting::backupKeys().first()).toByteArray(), bad);
    // The defaults took the bad bytes' place: the next load makes no backup.
    EXPECT_EQ(RKSetting::Setting().archivedData(), setting.archivedData());
    EXPECT_EQ(RKSetting::backupKeys().size(), 1);
}

#define ARCHIVE(top) "{\"$archiver\":\"RKKeyedArchiver\",\"$version\":1,\"$top\":" top

const BadBytesRow kBadBytes[] = {
    {"Garbage", "not an archive \xff\xfe"},
    {"Truncated", ARCHIVE("{\"$class\":\"RKSetting\",")},
    {"WrongRootClass", ARCHIVE("{\"$class\":\"RKProfileSetting\",\"$keys\":[]}}")},
    {"WrongProfileClass", ARCHIVE("{\"$class\":\"RKSetting\",\"$keys\":[[\"archiveProfiles\",{\"array\":["
                                  "{\"object\":{\"$class\":\"RKUnArchiveProfileSetting\",\"$keys\":[]}}]}]]}}")},
    {"NumberWhereStringBelongs",
     ARCHIVE("{\"$class\":\"RKSetting\",\"$keys\":[[\"activeArchiveProfileID\",{\"i32\":5}]]}}")},
};

#undef ARCHIVE

INSTANTIATE_TEST_SUITE_P(RKSetting, UndecodableStore, ::testing::ValuesIn(kBadBytes),
                         [](const auto& info) { return std::string(info.param.name); });

// Nothing the user had is lost, also when two failures fall within one
// millisecond (they once shared a backup key).
TEST_F(RKSettingStoreTest, BackToBackDamagedLoadsKeepBothBackups)
{
    for (const char* bad : {"first bad value", "second bad value"}) {
        store(QByteArray(bad));
        RKSetting::Setting();
    }
    QStringList kept;
    for (const QString& key : RKSetting::backupKeys()) {
        kept.append(QString::fromUtf8(userDefaults().value(key).toByteArray()));
    }
    EXPECT_EQ(kept, (QStringList{QStringLiteral("first bad value"), QStringLiteral("second bad value")}));
}

TEST_F(RKSettingStoreTest, MissingRootKeysLeaveZeroValues)
{
    RKKeyedArchiver profile(QStringLiteral("RKProfileSetting"));
    profile.encodeObject(QStringLiteral("profileID"), QStringLiteral("7l"));
    RKKeyedArchiver root(QStringLiteral("RKSetting"));
    root.encodeObjectArray(QStringLiteral("archiveProfiles"), {profile});
    store(root.archivedData());

    const RKSetting setting = RKSetting::Setting();
    ASSERT_EQ(setting.archiveProfiles.size(), 1);
    EXPECT_EQ(setting.archiveProfiles.first().profileID, QStringLiteral("7l"));
    EXPECT_TRUE(setting.unArchiveProfiles.isEmpty());
    EXPECT_TRUE(setting.activeArchiveProfileID.isNull());
    EXPECT_TRUE(setting.finderDragUnArchiveProfileID.isNull());
    EXPECT_EQ(setting.passwordShotcutCode, 0u);
    EXPECT_EQ(setting.passwordShotcutFlags, 0);
    EXPECT_TRUE(RKSetting::backupKeys().isEmpty());
}

// ---------------------------------------------------------------- two processes

// Runs only inside a child process started by the test below: loads, changes
// and commits in a loop, and fails if any load met a value that did not decode.
TEST(RKSettingConcurrentChild, LoadsAndCommitsInALoop)
{
    const QString tag = qEnvironmentVariable(kChildTagVariable);
    if (tag.isEmpty()) {
        GTEST_SKIP() << "runs only as a child of the concurrent-commit test";
    }
    for (int i = 0; i < 150; ++i) {
        RKSetting setting = RKSetting::Setting();
        setting.archiveProfiles[0].profileName = QStringLiteral("%1 %2").arg(tag).arg(i);
        // Values of varying length, so a mixture of two writes cannot pass for either.
        setting.archiveProfiles[0].exclusionFiles.append(QString(i % 7 + 1, QLatin1Char('x')));
        setting.commit();
    }
    EXPECT_TRUE(RKSetting::backupKeys().isEmpty());
}

TEST_F(RKSettingStoreTest, TwoProcessesCommittingAtOnceLeaveADecodableValue)
{
    RKSetting::RestoreDefault();
    QList<std::shared_ptr<QProcess>> children;
    for (const QString& tag : {QStringLiteral("child-A"), QStringLiteral("child-B")}) {
        auto child = std::make_shared<QProcess>();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QString::fromLatin1(kStoreDirVariable), PrivateSettingsStore::s_path);
        environment.insert(QString::fromLatin1(kChildTagVariable), tag);
        child->setProcessEnvironment(environment);
        child->setProcessChannelMode(QProcess::MergedChannels);
        child->start(QCoreApplication::applicationFilePath(),
                     {QStringLiteral("--gtest_filter=RKSettingConcurrentChild.*")});
        ASSERT_TRUE(child->waitForStarted(30000));
        children.append(child);
    }
    for (const auto& child : children) {
        ASSERT_TRUE(child->waitForFinished(300000));
        EXPECT_EQ(child->exitCode(), 0) << child->readAll().toStdString();
    }
    const std::optional<RKSetting> last = RKSetting::unarchive(stored());
    ASSERT_TRUE(last.has_value());
    EXPECT_TRUE(last->archiveProfiles.first().profileName.startsWith(QStringLiteral("child-")));
    EXPECT_TRUE(RKSetting::backupKeys().isEmpty());
}

} // namespace
