// Expanding a dropped folder: the listing order and links that lead back into
// their own tree.
#include "ArchiveTestSupport.h"

#include "archive/RKArchiveBase.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

// The paths the job lists for the dropped folder root/d, relative to root.
QStringList listedTree(const QString& root)
{
    const RKArchiveBase job({}, RKProfileSetting::DefaultSetting(), nullptr);
    QStringList listed;
    for (const RKFile& tree : job.expandFullItems({root + "/d"})) {
        job.enumFilePaths(tree, listed);
    }
    for (QString& path : listed) {
        path.remove(0, root.size() + 1);
    }
    return listed;
}

TEST(ArchiveTree, ListsEveryFolderBeforeItsContentsAndEachSubtreeInOnePiece)
{
    QTemporaryDir dir;
    ArchiveTestSupport::makeTree(
        dir.path(), {"d/a.txt", "d/empty/", "d/.DS_Store", "d/sub/b.txt", "d/sub/deeper/c.txt", "d/z.txt"});
    const QStringList listed = listedTree(dir.path());

    QStringList sorted = listed;
    sorted.sort();
    EXPECT_EQ(sorted, QStringList({"d", "d/.DS_Store", "d/a.txt", "d/empty", "d/sub", "d/sub/b.txt",
                                   "d/sub/deeper", "d/sub/deeper/c.txt", "d/z.txt"}));
    for (qsizetype i = 1; i < listed.size(); ++i) {
        const QString parent = listed[i].section(QLatin1Char('/'), 0, -2);
        const qsizetype parentAt = listed.indexOf(parent);
        ASSERT_TRUE(parentAt >= 0 && parentAt < i) << qPrintable(listed[i]) << " before its folder";
        for (qsizetype k = parentAt + 1; k < i; ++k) {
            EXPECT_TRUE(listed[k].startsWith(parent + "/")) << qPrintable(listed[k]) << " splits "
                                                            << qPrintable(parent);
        }
    }
}

struct LinkCase {
    const char* name;
    QStringList tree;
    QList<QPair<QString, QString>> links; // link below the root, target as written
    QStringList listed;                   // sorted
};

class LinkedFolders : public ::testing::TestWithParam<LinkCase> {};

TEST_P(LinkedFolders, AreEnteredOnlyWhenNotAlreadyOnTheWayDown)
{
    QTemporaryDir dir;
    ArchiveTestSupport::makeTree(dir.path(), GetParam().tree);
    for (const auto& [link, target] : GetParam().links) {
        ASSERT_TRUE(QFile::link(target, dir.filePath(link)));
    }
    QStringList listed = listedTree(dir.path());
    listed.sort();
    EXPECT_EQ(listed, GetParam().listed);
}

INSTANTIATE_TEST_SUITE_P(
    Trees, LinkedFolders,
    ::testing::Values(
        LinkCase{"LinkToItsOwnFolder", {"d/f"}, {{"d/loop", "."}}, {"d", "d/f", "d/loop"}},
        LinkCase{"LinkToTheFolderAbove", {"d/f"}, {{"d/up", ".."}}, {"d", "d/f", "d/up", "d/up/d"}},
        LinkCase{"SiblingLinkFollowedOnce", {"d/a/f", "d/b/"}, {{"d/b/toA", "../a"}},
                 {"d", "d/a", "d/a/f", "d/b", "d/b/toA", "d/b/toA/f"}},
        LinkCase{"TwoFoldersLinkedToEachOther", {"d/a/f", "d/b/"},
                 {{"d/a/toB", "../b"}, {"d/b/toA", "../a"}},
                 {"d", "d/a", "d/a/f", "d/a/toB", "d/a/toB/toA", "d/b", "d/b/toA", "d/b/toA/f",
                  "d/b/toA/toB"}}),
    [](const auto& info) { return std::string(info.param.name); });

} // namespace
