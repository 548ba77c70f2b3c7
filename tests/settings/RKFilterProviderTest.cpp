#include "settings/RKFilterProvider.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

enum class Kind { File, Folder, Missing };

struct FilterCase {
    const char* name;
    const char* path; // below a temporary folder
    Kind kind;
    QStringList files;
    QStringList folders;
    bool keep;
};

class RKFilterProviderTable : public ::testing::TestWithParam<FilterCase>
{
protected:
    QTemporaryDir root;
};

// The archive profile's lists and the unarchive profile's lists are each
// tested as given.
TEST_P(RKFilterProviderTable, KeepsOrExcludes)
{
    const FilterCase& row = GetParam();
    const QString path = root.filePath(QString::fromUtf8(row.path));
    if (row.kind == Kind::File) {
        ASSERT_TRUE(TestEnvironment::writeFile(path, "x"));
    } else if (row.kind == Kind::Folder) {
        ASSERT_TRUE(QDir().mkpath(path));
    }
    RKProfileSetting archive;
    archive.exclusionFiles = row.files;
    archive.exclusionFolders = row.folders;
    RKUnArchiveProfileSetting unArchive;
    unArchive.exclusionFiles = row.files;
    unArchive.exclusionFolders = row.folders;
    EXPECT_EQ(RKFilterProvider::Filter(path, archive), row.keep);
    EXPECT_EQ(RKFilterProvider::Filter(path, unArchive), row.keep);
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
        FilterCase{"FileIgnoresItsOwnNameAsFolder", "t/x", Kind::File, none, {"x"}, true},
        FilterCase{"MissingPathIsTestedAsFile", "gone/thumbs.DB", Kind::Missing, {"Thumbs.db"}, none, false},
        FilterCase{"MissingPathLastNameIsNoFolder", "gone/__MACOSX", Kind::Missing, none, {"__MACOSX"}, true},
        FilterCase{"EmptyListsKeepEverything", "e/f.txt", Kind::File, none, none, true},
        FilterCase{"EmptyPatternMatchesNoName", "e/g.txt", Kind::File, {""}, {""}, true},
        FilterCase{"FolderPatternTestsAncestors", "r/cache/deep/f.txt", Kind::File, none, {"CACHE"}, false},
        FilterCase{"RootComponentIsSlash", "s/f.txt", Kind::File, none, {"/"}, false},
        FilterCase{"QuestionMarkIsOneCharacter", "u/abc.txt", Kind::File, {"a?c.txt"}, none, false},
        FilterCase{"QuestionMarkNeedsACharacter", "u/ac.txt", Kind::File, {"a?c.txt"}, none, true},
        FilterCase{"QuestionMarkTakesASurrogatePair", "v/\xF0\x9D\x92\x9C.txt", Kind::File, {"?.txt"}, none, false},
        FilterCase{"StarsBacktrack", "w/xaybzc", Kind::File, {"*a*b*c"}, none, false},
        FilterCase{"StarsNeedEveryLiteral", "w/xaybz", Kind::File, {"*a*b*c"}, none, true},
        FilterCase{"BracketsAndDotsAreLiteral", "x/abc.txt", Kind::File, {"[ab]bc.txt", "a.c.txt"}, none, true},
        FilterCase{"NonAsciiCaseIgnored", "y/\xC3\x84rger.TXT", Kind::File, {"\xC3\xA4rger.txt"}, none, false},
        FilterCase{"LaterPatternStillTested", "z/desktop.ini", Kind::File, {"Thumbs.db", "DESKTOP.INI"}, none, false}),
    [](const ::testing::TestParamInfo<FilterCase>& info) { return std::string(info.param.name); });

} // namespace
