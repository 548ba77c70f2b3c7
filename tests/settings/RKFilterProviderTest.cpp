#include "settings/RKFilterProvider.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

enum class Kind { File, Folder, Missing };

struct FilterCase {
    const char* name;
    const char* path; // below the suite's temporary folder
    Kind kind;
    QStringList files;
    QStringList folders;
    bool keep;
};

class RKFilterProviderTable : public ::testing::TestWithParam<FilterCase>
{
protected:
    static void SetUpTestSuite() { s_root = new QTemporaryDir; }
    static void TearDownTestSuite()
    {
        delete s_root;
        s_root = nullptr;
    }

    static QString make(const FilterCase& row)
    {
        const QString path = s_root->filePath(QString::fromUtf8(row.path));
        if (row.kind == Kind::File) {
            EXPECT_TRUE(TestEnvironment::writeFile(path, "x"));
        } else if (row.kind == Kind::Folder) {
            EXPECT_TRUE(QDir().mkpath(path));
        }
        return path;
    }

    static QTemporaryDir* s_root;
};

QTemporaryDir* RKFilterProviderTable::s_root = nullptr;

TEST_P(RKFilterProviderTable, KeepsOrExcludes)
{
    const FilterCase& row = GetParam();
    const QString path = make(row);
    EXPECT_EQ(RKFilterProvider::Filter(path, row.files, row.folders), row.keep) << row.path;
}

const QStringList none;

INSTANTIATE_TEST_SUITE_P(
    Patterns, RKFilterProviderTable,
    ::testing::Values(
        FilterCase{"StarPatternIgnoresCase", "a/b/c.txt", Kind::File, {"*.TXT"}, none, false},
        FilterCase{"WholeNameMustMatch", "a/b/c.txt", Kind::File, {"c.tx"}, none, true},
        FilterCase{"AppleDoubleExcluded", "p/._photo.jpg", Kind::File, {"._*"}, none, false},
        FilterCase{"AppleDoubleInsideNameKept", "p/photo._jpg", Kind::File, {"._*"}, none, true},
        FilterCase{"MacosxFolderExcluded", "m/__MACOSX", Kind::Folder, none, {"__macosx"}, false},
        FilterCase{"FileBelowMacosxExcluded", "n/__MACOSX/x", Kind::File, none, {"__macosx"}, false},
        FilterCase{"FolderIgnoresFilePatterns", "t/Thumbs.db", Kind::Folder, {"Thumbs.db"}, none, true},
        FilterCase{"MissingPathIsTestedAsFile", "gone/thumbs.DB", Kind::Missing, {"Thumbs.db"}, none, false},
        FilterCase{"MissingPathLastNameIsNoFolder", "gone/__MACOSX", Kind::Missing, none, {"__MACOSX"}, true},
        FilterCase{"EmptyListsKeepEverything", "e/f.txt", Kind::File, none, none, true},
        FilterCase{"EmptyPatternMatchesNoName", "e/g.txt", Kind::File, {""}, {""}, true},
        FilterCase{"FolderOwnNameIsFolderName", "q/Build", Kind::Folder, none, {"build"}, false},
        FilterCase{"FolderPatternTestsAncestors", "r/cache/deep/f.txt", Kind::File, none, {"CACHE"}, false},
        FilterCase{"RootComponentIsSlash", "s/f.txt", Kind::File, none, {"/"}, false},
        FilterCase{"QuestionMarkIsOneCharacter", "u/abc.txt", Kind::File, {"a?c.txt"}, none, false},
        FilterCase{"QuestionMarkNeedsACharacter", "u/ac.txt", Kind::File, {"a?c.txt"}, none, true},
        FilterCase{"QuestionMarkTakesASurrogatePair", "v/\xF0\x9D\x92\x9C.txt", Kind::File, {"?.txt"}, none, false},
        FilterCase{"StarMatchesEmptyRun", "w/c.txt", Kind::File, {"c*.txt"}, none, false},
        FilterCase{"StarsBacktrack", "w/xaybzc", Kind::File, {"*a*b*c"}, none, false},
        FilterCase{"StarsNeedEveryLiteral", "w/xaybz", Kind::File, {"*a*b*c"}, none, true},
        FilterCase{"BracketsAreLiteral", "x/a.txt", Kind::File, {"[ab].txt"}, none, true},
        FilterCase{"BracketNameMatchesItself", "x/[ab].txt", Kind::File, {"[ab].txt"}, none, false},
        FilterCase{"DotIsLiteral", "x/abc", Kind::File, {"a.c"}, none, true},
        FilterCase{"NonAsciiCaseIgnored", "y/\xC3\x84rger.TXT", Kind::File, {"\xC3\xA4rger.txt"}, none, false},
        FilterCase{"LaterPatternStillTested", "z/desktop.ini", Kind::File, {"Thumbs.db", "DESKTOP.INI"}, none, false}),
    [](const ::testing::TestParamInfo<FilterCase>& info) { return std::string(info.param.name); });

TEST(RKFilterProvider, ProfilesUseTheirOwnFileAndFolderLists)
{
    QTemporaryDir root;
    const QString folder = root.filePath(QStringLiteral("x"));
    ASSERT_TRUE(QDir().mkpath(folder));
    const QString file = root.filePath(QStringLiteral("y/x"));
    ASSERT_TRUE(TestEnvironment::writeFile(file, "x"));

    RKProfileSetting archive;
    archive.exclusionFiles = {QStringLiteral("x")};
    RKUnArchiveProfileSetting unArchive;
    unArchive.exclusionFolders = {QStringLiteral("x")};

    // A file pattern never applies to a folder, a folder pattern never to the
    // file's own name.
    EXPECT_TRUE(RKFilterProvider::Filter(folder, archive));
    EXPECT_FALSE(RKFilterProvider::Filter(file, archive));
    EXPECT_FALSE(RKFilterProvider::Filter(folder, unArchive));
    EXPECT_TRUE(RKFilterProvider::Filter(file, unArchive));
}

} // namespace
