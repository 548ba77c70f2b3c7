// Expanding dropped items into trees: which trees survive, the listing order
// and links that lead back into their own tree.
#include "ArchiveTestSupport.h"

#include "archive/RKArchiveBase.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using ArchiveTestSupport::makeTree;

namespace {

QStringList relativeList(const QString& root, const QStringList& paths)
{
    QStringList relative;
    for (const QString& path : paths) {
        relative.append(path.mid(root.size() + 1));
    }
    return relative;
}

struct ExpandCase {
    const char* name;
    QStringList tree;
    QStringList items;
    QStringList roots; // the trees expandFullItems keeps, in order
};

class ExpandFullItems : public ::testing::TestWithParam<ExpandCase> {};

TEST_P(ExpandFullItems, KeepsOnlyTreesNotInsideAnother)
{
    const ExpandCase& c = GetParam();
    QTemporaryDir dir;
    makeTree(dir.path(), c.tree);
    const RKArchiveBase job({}, RKProfileSetting::DefaultSetting(), nullptr);

    QStringList roots;
    for (const RKFile& tree : job.expandFullItems(ArchiveTestSupport::absolute(dir.path(), c.items))) {
        roots.append(tree.filePath());
    }
    EXPECT_EQ(relativeList(dir.path(), roots), c.roots);
}

INSTANTIATE_TEST_SUITE_P(
    Trees, ExpandFullItems,
    ::testing::Values(
        ExpandCase{"FileInsideDroppedFolder", {"d/f.txt"}, {"d/f.txt", "d"}, {"d"}},
        ExpandCase{"NestedFolderAfterItsParent", {"d/e/g.txt"}, {"d", "d/e"}, {"d"}},
        ExpandCase{"SamePathTwiceKeptOnce", {"x.txt"}, {"x.txt", "x.txt"}, {"x.txt"}},
        ExpandCase{"NamePrefixIsNotAParent", {"a/in.txt", "ab"}, {"a", "ab", "a/in.txt"}, {"a", "ab"}},
        ExpandCase{"MissingItemKeptAsFile", {}, {"gone.txt"}, {"gone.txt"}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(ArchiveTree, ListsEveryFolderBeforeItsContentsAndEachSubtreeInOnePiece)
{
    QTemporaryDir dir;
    makeTree(dir.path(), {"d/a.txt", "d/empty/", "d/.DS_Store", "d/sub/b.txt", "d/sub/deeper/c.txt",
                          "d/z.txt"});
    const RKArchiveBase job({}, RKProfileSetting::DefaultSetting(), nullptr);
    const std::vector<RKFile> trees = job.expandFullItems({dir.filePath("d")});
    ASSERT_EQ(trees.size(), 1u);
    QStringList listed;
    job.enumFilePaths(trees.front(), listed);
    listed = relativeList(dir.path(), listed);

    QStringList sorted = listed;
    sorted.sort();
    EXPECT_EQ(sorted, QStringList({"d", "d/.DS_Store", "d/a.txt", "d/empty", "d/sub", "d/sub/b.txt",
                                   "d/sub/deeper", "d/sub/deeper/c.txt", "d/z.txt"}));
    for (qsizetype i = 1; i < listed.size(); ++i) {
        const QString parent = listed[i].section(QLatin1Char('/'), 0, -2);
        const qsizetype parentAt = listed.indexOf(parent);
        ASSERT_GE(parentAt, 0) << qPrintable(listed[i]);
        EXPECT_LT(parentAt, i) << qPrintable(listed[i]) << " listed before its folder";
        // Everything between the folder and this entry lies inside the folder.
        for (qsizetype k = parentAt + 1; k < i; ++k) {
            EXPECT_TRUE(listed[k].startsWith(parent + QLatin1Char('/')))
                << qPrintable(listed[k]) << " splits " << qPrintable(parent);
        }
    }
}

struct LinkCase {
    const char* name;
    QStringList tree;
    QList<QPair<QString, QString>> links; // link below the root, target as written
    QStringList listed;   // sorted paths of the expanded tree of "d"
};

class LinkedFolders : public ::testing::TestWithParam<LinkCase> {};

TEST_P(LinkedFolders, AreEnteredOnlyWhenNotAlreadyOnTheWayDown)
{
    const LinkCase& c = GetParam();
    QTemporaryDir dir;
    makeTree(dir.path(), c.tree);
    for (const auto& [link, target] : c.links) {
        ASSERT_TRUE(QFile::link(target, dir.filePath(link)));
    }
    const RKArchiveBase job({}, RKProfileSetting::DefaultSetting(), nullptr);

    QStringList listed;
    for (const RKFile& tree : job.expandFullItems({dir.filePath("d")})) {
        job.enumFilePaths(tree, listed);
    }
    listed = relativeList(dir.path(), listed);
    listed.sort();
    EXPECT_EQ(listed, c.listed);
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
