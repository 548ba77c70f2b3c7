// What the dispatch makes of the items: the folder test and the extension,
// never the content, unless the request names its kind.
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
    RKOpenRequest::Mode mode = RKOpenRequest::Mode::Open;
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
    EXPECT_EQ(RKDispatch::itemKind(GetParam().mode, paths), GetParam().expected);
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
        CheckItemsRow{"HiddenFileNamedZipHasNoExtension", {".zip"}, 0},
        CheckItemsRow{"CompressTakesAZip", {"a.zip"}, 0, RKOpenRequest::Mode::Compress},
        CheckItemsRow{"CompressTakesAMix", {"a.zip", "b.txt", "c/"}, 0, RKOpenRequest::Mode::Compress},
        CheckItemsRow{"ExtractTakesAnyName", {"a.zip", "b.bin"}, 1, RKOpenRequest::Mode::Extract},
        CheckItemsRow{"ExplicitWithoutItemsIsRefused", {}, 9, RKOpenRequest::Mode::Extract}),
    [](const auto& info) { return std::string(info.param.name); });

// The command line: the explicit kinds come first and need items; an
// unknown option is an error, not an item; "--" lets a name start with "-".
TEST(OpenRequest, FromArguments)
{
    using Mode = RKOpenRequest::Mode;
    const struct {
        QStringList arguments;
        std::optional<RKOpenRequest> expected;
    } rows[] = {
        {{}, RKOpenRequest{Mode::Open, {}}},
        {{"a.zip", "/x/b"}, RKOpenRequest{Mode::Open, {"/w/a.zip", "/x/b"}}},
        {{"--compress", "a.zip"}, RKOpenRequest{Mode::Compress, {"/w/a.zip"}}},
        {{"--extract", "--", "-a.zip"}, RKOpenRequest{Mode::Extract, {"/w/-a.zip"}}},
        {{"--", "--compress"}, RKOpenRequest{Mode::Open, {"/w/--compress"}}},
        {{"--compress"}, std::nullopt},
        {{"--extract", "--"}, std::nullopt},
        {{"--zip", "a"}, std::nullopt},
    };
    for (const auto& row : rows) {
        QString error;
        const auto request = RKOpenRequest::fromArguments(row.arguments, "/w", &error);
        EXPECT_EQ(request, row.expected) << row.arguments.join(' ').toStdString();
        EXPECT_EQ(error.isEmpty(), row.expected.has_value()) << error.toStdString();
    }
}

} // namespace
