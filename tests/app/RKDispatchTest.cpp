// What the dispatch makes of the items: the folder test and the extension,
// never the content.
#include "app/AppTestSupport.h"
#include "app/RKDispatch.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

struct CheckItemsRow {
    const char* name;
    QStringList items; // "x/" is made as a folder, "-x" not at all, the rest as files
    qint32 expected;
};

class CheckItems : public ::testing::TestWithParam<CheckItemsRow> {};

TEST_P(CheckItems, ClassifiesByFolderTestAndExtension)
{
    QTemporaryDir dir;
    QStringList paths;
    for (QString item : GetParam().items) {
        if (item.endsWith('/')) {
            ASSERT_TRUE(QDir(dir.path()).mkpath(item));
            item.chop(1);
        } else if (item.startsWith('-')) {
            item.remove(0, 1);
        } else {
            ASSERT_TRUE(TestEnvironment::writeFile(dir.filePath(item), "not a zip"));
        }
        paths.append(dir.filePath(item));
    }
    EXPECT_EQ(RKDispatch::checkItems(paths), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Dispatch, CheckItems,
    ::testing::Values(
        CheckItemsRow{"JpgAndFolderNamedZipAreCompressed", {"photo.JPG", "x.zip/"}, 0},
        CheckItemsRow{"ZipInAnyCaseIsExtracted", {"a.zip", "b.ZIP", "c.Zip"}, 1},
        CheckItemsRow{"NameNotContentNorExistenceCounts", {"fake.zip", "-gone.zip"}, 1},
        CheckItemsRow{"ZipAndTextAreRefused", {"a.zip", "b.txt"}, 9},
        CheckItemsRow{"EmptyListIsRefused", {}, 9},
        CheckItemsRow{"OnlyTheLastExtensionCounts", {"a.zip.txt", "b.tar.gz"}, 0},
        CheckItemsRow{"HiddenFileNamedZipHasNoExtension", {".zip"}, 0}),
    [](const auto& info) { return std::string(info.param.name); });

} // namespace
