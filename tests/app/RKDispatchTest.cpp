// Classification, job-class tables and the held-key choices of the dispatch.
#include "app/AppTestSupport.h"
#include "app/RKDispatch.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

// --- checkItems with real files ------------------------------------------------

struct CheckItemsRow {
    const char* name;
    QStringList files;   // made as files
    QStringList folders; // made as folders
    QStringList items;   // handed to checkItems, relative to the test folder
    qint32 expected;
};

class CheckItems : public ::testing::TestWithParam<CheckItemsRow>
{
};

TEST_P(CheckItems, ClassifiesByFolderTestAndExtension)
{
    const CheckItemsRow& row = GetParam();
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    for (const QString& file : row.files) {
        ASSERT_TRUE(TestEnvironment::writeFile(dir.filePath(file), "content"));
    }
    for (const QString& folder : row.folders) {
        ASSERT_TRUE(QDir(dir.path()).mkpath(folder));
    }
    QStringList paths;
    for (const QString& item : row.items) {
        paths.append(dir.filePath(item));
    }
    EXPECT_EQ(RKDispatch::checkItems(paths), row.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Dispatch, CheckItems,
    ::testing::Values(
        CheckItemsRow{"JpgAndFolderNamedZipAreCompressed", {"photo.JPG"}, {"x.zip"},
                      {"photo.JPG", "x.zip"}, RKDispatch::ItemKindCompress},
        CheckItemsRow{"FolderNamedZipAloneIsNotAnArchive", {}, {"x.zip"}, {"x.zip"},
                      RKDispatch::ItemKindCompress},
        CheckItemsRow{"ZipInAnyCaseIsExtracted", {"a.zip", "b.ZIP", "c.Zip"}, {},
                      {"a.zip", "b.ZIP", "c.Zip"}, RKDispatch::ItemKindExtract},
        CheckItemsRow{"ContentIsNotExamined", {"fake.zip"}, {}, {"fake.zip"},
                      RKDispatch::ItemKindExtract},
        CheckItemsRow{"ZipAndTextAreRefused", {"a.zip", "b.txt"}, {}, {"a.zip", "b.txt"},
                      RKDispatch::ItemKindRefuse},
        CheckItemsRow{"EmptyListIsRefused", {}, {}, {}, RKDispatch::ItemKindRefuse},
        CheckItemsRow{"OnlyTheLastExtensionCounts", {"a.zip.txt", "b.tar.gz"}, {},
                      {"a.zip.txt", "b.tar.gz"}, RKDispatch::ItemKindCompress},
        CheckItemsRow{"HiddenFileNamedZipHasNoExtension", {".zip"}, {}, {".zip"},
                      RKDispatch::ItemKindCompress},
        CheckItemsRow{"MissingZipPathCountsByName", {}, {}, {"gone.zip"},
                      RKDispatch::ItemKindExtract}),
    [](const auto& info) { return std::string(info.param.name); });

// --- job-class tables -------------------------------------------------------------

struct ArchiveClassRow {
    const char* name;
    qsizetype count;
    qint32 archiveMode;
    qint32 saveLocation;
    const char* expected; // "" for no job
};

class ArchiveJobClass : public ::testing::TestWithParam<ArchiveClassRow>
{
};

TEST_P(ArchiveJobClass, FromCountModeAndLocation)
{
    const ArchiveClassRow& row = GetParam();
    EXPECT_EQ(RKDispatch::className(
                  RKDispatch::archiveJobClass(row.count, row.archiveMode, row.saveLocation)),
              QString::fromLatin1(row.expected));
}

// Every class of the table is also started from real files through the
// delegate; here the edges of the table.
INSTANTIATE_TEST_SUITE_P(
    Dispatch, ArchiveJobClass,
    ::testing::Values(
        ArchiveClassRow{"OneItemPerItemModeStillSingle", 1, 1, 1, "RKArchiveSingleSameSource"},
        ArchiveClassRow{"OneItemOddModeStillSingle", 1, 7, 2, "RKArchiveSingleStaticFolder"},
        ArchiveClassRow{"ManyItemsPerItemFixed", 5, 1, 2, "RKArchiveMultiStaticFolder"},
        ArchiveClassRow{"LocationThreeNoJob", 2, 0, 3, ""},
        ArchiveClassRow{"LocationMinusOneNoJob", 1, 0, -1, ""},
        ArchiveClassRow{"ModeTwoWithManyItemsNoJob", 2, 2, 0, ""},
        ArchiveClassRow{"NoItemsNoJob", 0, 0, 0, ""}),
    [](const auto& info) { return std::string(info.param.name); });

struct UnArchiveClassRow {
    const char* name;
    qsizetype count;
    qint32 saveLocation;
    const char* expected;
};

class UnArchiveJobClass : public ::testing::TestWithParam<UnArchiveClassRow>
{
};

TEST_P(UnArchiveJobClass, FromCountAndLocation)
{
    const UnArchiveClassRow& row = GetParam();
    EXPECT_EQ(RKDispatch::className(RKDispatch::unArchiveJobClass(row.count, row.saveLocation)),
              QString::fromLatin1(row.expected));
}

INSTANTIATE_TEST_SUITE_P(
    Dispatch, UnArchiveJobClass,
    ::testing::Values(UnArchiveClassRow{"ThreeBeside", 3, 1, "RKUnArchiveMultiSameSource"},
                      UnArchiveClassRow{"LocationThreeNoJob", 1, 3, ""},
                      UnArchiveClassRow{"LocationMinusOneNoJob", 2, -1, ""},
                      UnArchiveClassRow{"NoItemsNoJob", 0, 0, ""}),
    [](const auto& info) { return std::string(info.param.name); });

// --- held key combinations -------------------------------------------------------

constexpr int kKeyP = 35;
constexpr int kKeyA = 0;
constexpr int kKeyS = 1;
constexpr int kLeftShift = 56;
constexpr int kRightShift = 60;
constexpr qint64 kShift = 0x20000;

RKProfileSetting archiveProfileWithKey(const QString& name, quint64 code, qint64 flags)
{
    RKProfileSetting profile = RKProfileSetting::DefaultSetting();
    profile.profileName = name;
    profile.profileShotcutCode = code;
    profile.profileShotcutFlags = flags;
    return profile;
}

struct HeldProfileRow {
    const char* name;
    QList<int> held;
    const char* expected; // profile name, "" for none
};

class HeldArchiveProfile : public ::testing::TestWithParam<HeldProfileRow>
{
};

TEST_P(HeldArchiveProfile, FirstHeldInListOrderWins)
{
    const HeldProfileRow& row = GetParam();
    ScriptedKeyState keys;
    for (int key : row.held) {
        keys.held.insert(key);
    }
    // "none" has no combination: flags 0 with key code -1 would read as held
    // if it were asked, so it must be skipped.
    const QList<RKProfileSetting> profiles{
        archiveProfileWithKey(QStringLiteral("none"), RKProfileSetting::NoShortcutCode, 0),
        archiveProfileWithKey(QStringLiteral("shiftP"), kKeyP, kShift),
        archiveProfileWithKey(QStringLiteral("A"), kKeyA, 0),
        archiveProfileWithKey(QStringLiteral("S"), kKeyS, 0),
    };
    const auto held = RKDispatch::heldArchiveProfile(profiles);
    EXPECT_EQ(held ? held->profileName : QString(), QString::fromLatin1(row.expected));
}

INSTANTIATE_TEST_SUITE_P(
    Dispatch, HeldArchiveProfile,
    ::testing::Values(HeldProfileRow{"NothingHeld", {}, ""},
                      HeldProfileRow{"SecondOfTwoHeldLoses", {kKeyA, kKeyS}, "A"},
                      HeldProfileRow{"LaterAloneWins", {kKeyS}, "S"},
                      HeldProfileRow{"ShiftPWithLeftShift", {kKeyP, kLeftShift}, "shiftP"},
                      HeldProfileRow{"ShiftPWithRightShiftOnly", {kKeyP, kRightShift}, ""},
                      HeldProfileRow{"ShiftPBeforeAInList", {kKeyA, kKeyP, kLeftShift}, "shiftP"},
                      HeldProfileRow{"PWithoutShiftIsNotShiftP", {kKeyP}, ""}),
    [](const auto& info) { return std::string(info.param.name); });

struct PasswordComboRow {
    const char* name;
    quint64 code;
    qint64 flags;
    QList<int> held;
    bool expected;
};

class PasswordCombination : public ::testing::TestWithParam<PasswordComboRow>
{
};

TEST_P(PasswordCombination, HeldOnlyWithARecordedKey)
{
    const PasswordComboRow& row = GetParam();
    ScriptedKeyState keys;
    for (int key : row.held) {
        keys.held.insert(key);
    }
    RKSetting setting;
    setting.passwordShotcutCode = row.code;
    setting.passwordShotcutFlags = row.flags;
    EXPECT_EQ(RKDispatch::passwordCombinationHeld(setting), row.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Dispatch, PasswordCombination,
    ::testing::Values(PasswordComboRow{"FactoryPHeld", 35, 0, {kKeyP}, true},
                      PasswordComboRow{"FactoryPWithShiftStillHeld", 35, 0, {kKeyP, kLeftShift}, true},
                      PasswordComboRow{"FactoryPNotHeld", 35, 0, {kKeyA}, false},
                      PasswordComboRow{"ClearedNeverHeld", ~quint64(0), 0, {kKeyP, kKeyA}, false},
                      PasswordComboRow{"ClearedWithFlagsNeverHeld", ~quint64(0), kShift,
                                       {kLeftShift}, false}),
    [](const auto& info) { return std::string(info.param.name); });

} // namespace
