// Whole archive jobs, headless: scripted panels, the real runner window on
// the offscreen platform, and every archive read back by Python's zipfile.
#include "ArchiveTestSupport.h"

#include "archive/RKArchiveBase.h"
#include "archive/widgets/RKProgressWindow.h"
#include "support/TestEnvironment.h"
#include "support/jobs/ScriptedServices.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace ArchiveTestSupport;

namespace {

struct Archive {
    QString path;        // relative to the root
    QStringList entries; // sorted
};

struct JobCase {
    const char* name;
    const char* jobClass;
    QStringList tree; // made before the job; "out/" is the fixed folder
    QStringList items;
    qint32 sameFileName = RKProfileSetting::SameNameAutoRename;
    QStringList answers;   // save panel answers, relative to the root
    QStringList panelUrls; // proposals the panels got, relative to the root
    QStringList messages;  // the panels' messages, in order
    QList<Archive> archives;
    QStringList exclusionFiles = {};
    QStringList exclusionFolders = {};
};

class JobFixture : public ::testing::Test
{
protected:
    void SetUp() override
    {
        services.host.archiveRunner = &runner;
        QObject::connect(&runner, &QDialog::finished, [this] { ++runs; });
    }

    QTemporaryDir dir;
    ScriptedServices services;
    RKProgressWindow runner;
    int runs = 0; // archives the runner made or was cancelled on
};

class ArchiveJob : public JobFixture, public ::testing::WithParamInterface<JobCase> {};

TEST_P(ArchiveJob, WritesTheArchivesWhereTheProfileSays)
{
    const JobCase& c = GetParam();
    const QString root = dir.path();
    makeTree(root, c.tree);
    services.panels.script(absolute(root, c.answers));
    RKProfileSetting profile = RKProfileSetting::DefaultSetting();
    profile.sameFileName = c.sameFileName;
    profile.saveStaticFolderPath = dir.filePath("out");
    profile.exclusionFiles = c.exclusionFiles;
    profile.exclusionFolders = c.exclusionFolders;

    ASSERT_EQ(runJob(makeJob(c.jobClass, absolute(root, c.items), profile)), 1);
    EXPECT_EQ(runs, c.archives.size());

    const auto calls = services.panels.calls();
    QStringList messages, urls;
    for (const auto& call : calls) {
        messages.append(call.message);
        urls.append(call.url);
        EXPECT_EQ(call.title, "MOKUZA-FULL");
        EXPECT_EQ(call.types, QStringList{"zip"});
    }
    EXPECT_EQ(messages, c.messages);
    EXPECT_EQ(urls, absolute(root, c.panelUrls));

    ASSERT_EQ(services.host.results.shown.size(), 1);
    const auto& results = services.host.results.shown.front();
    ASSERT_EQ(results.size(), c.archives.size());
    const auto notes = services.notifier.delivered();
    ASSERT_EQ(notes.size(), c.archives.size());
    for (qsizetype i = 0; i < c.archives.size(); ++i) {
        const QString path = dir.filePath(c.archives[i].path);
        EXPECT_EQ(zipEntries(path), c.archives[i].entries) << qPrintable(c.archives[i].path);
        EXPECT_EQ(results[i].destPath.stringValue, path);
        EXPECT_EQ(results[i].title, c.archives[i].path.section(QLatin1Char('/'), -1));
        EXPECT_TRUE(results[i].errors.items.isEmpty());
        EXPECT_TRUE(results[i].password.stringValue.isNull());
        EXPECT_EQ(notes[i].subtitle, path);
        EXPECT_EQ(notes[i].informativeText, "圧縮が完了しました");
    }
    // Nothing that was there before is lost, unless it was meant to be replaced.
    for (const QString& entry : c.tree) {
        const bool replaced = std::any_of(c.archives.begin(), c.archives.end(),
                                          [&](const Archive& a) { return a.path == entry; });
        if (!entry.endsWith(QLatin1Char('/')) && !replaced) {
            EXPECT_EQ(TestEnvironment::readFile(dir.filePath(entry)), entry.toUtf8());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Jobs, ArchiveJob,
    ::testing::Values(
        JobCase{"TwoFilesNamedAfterTheFirst", "SingleSameSource", {"b.txt", "a.txt"}, {"b.txt", "a.txt"},
                2, {}, {}, {}, {{"b.zip", {"a.txt", "b.txt"}}}},
        JobCase{"LastExtensionReplaced", "SingleSameSource", {"archive.tar.gz"}, {"archive.tar.gz"},
                2, {}, {}, {}, {{"archive.tar.zip", {"archive.tar.gz"}}}},
        JobCase{"FileInsideDroppedFolderStoredOnce", "SingleSameSource", {"d/f.txt", "d/e/"},
                {"d", "d/f.txt"}, 2, {}, {}, {}, {{"d.zip", {"d/", "d/e/", "d/f.txt"}}}},
        JobCase{"NamePrefixIsNotAParentFolder", "SingleSameSource", {"a/in.txt", "ab"},
                {"a", "ab", "a/in.txt"}, 2, {}, {}, {}, {{"a.zip", {"a/", "a/in.txt", "ab"}}}},
        JobCase{"SamePathTwiceIsOneItem", "MultiSameSource", {"x.txt"}, {"x.txt", "x.txt"}, 2, {}, {},
                {}, {{"x.zip", {"x.txt"}}}},
        JobCase{"RenamedAfterReport3", "SingleStaticFolder",
                {"Report/r.txt", "out/Report.zip", "out/Report 2.zip", "out/Report 3.zip"}, {"Report"},
                2, {}, {}, {}, {{"out/Report 4.zip", {"Report/", "Report/r.txt"}}}},
        JobCase{"HiddenFileKeepsItsName", "SingleSameSource", {".bashrc"}, {".bashrc"}, 2, {}, {},
                {}, {{".bashrc.zip", {".bashrc"}}}},
        JobCase{"RenameDropsEveryZip", "SingleSameSource", {"a.zip.txt", "a.zip.zip"}, {"a.zip.txt"},
                2, {}, {}, {}, {{"a 2.zip", {"a.zip.txt"}}}},
        JobCase{"OverwritesWhatWasThere", "SingleSameSource", {"n.txt", "n.zip"}, {"n.txt"}, 1, {},
                {}, {}, {{"n.zip", {"n.txt"}}}},
        JobCase{"AsksForAnotherName", "SingleSameSource", {"n.txt", "n.zip"}, {"n.txt"}, 0,
                {"other.zip"}, {"n.zip"}, {"n.zipの保存先を選択して下さい。"}, {{"other.zip", {"n.txt"}}}},
        JobCase{"AskedEachTimeAsOneArchive", "SingleAnyTime", {"b.txt", "a.txt"}, {"b.txt", "a.txt"},
                0, {"new/c.zip"}, {"b.txt"}, {"b.txt の保存先を選択して下さい。"},
                {{"new/c.zip", {"a.txt", "b.txt"}}}},
        JobCase{"FileAndFolderInFixedFolder", "MultiStaticFolder", {"x.txt", "y/z.txt"}, {"x.txt", "y"},
                2, {}, {}, {}, {{"out/x.zip", {"x.txt"}}, {"out/y.zip", {"y/", "y/z.txt"}}}},
        JobCase{"FolderAndItsOwnFileEachArchived", "MultiSameSource", {"d/f.txt"}, {"d", "d/f.txt"}, 2,
                {}, {}, {}, {{"d.zip", {"d/", "d/f.txt"}}, {"d/f.zip", {"f.txt"}}}},
        JobCase{"SameNameInOneJobRenamed", "MultiSameSource", {"a.txt", "a.rtf"}, {"a.txt", "a.rtf"}, 2,
                {}, {}, {}, {{"a.zip", {"a.txt"}}, {"a 2.zip", {"a.rtf"}}}},
        JobCase{"SameNameInOneJobNotOverwritten", "MultiSameSource", {"a.txt", "a.rtf"},
                {"a.txt", "a.rtf"}, 1, {}, {}, {}, {{"a.zip", {"a.txt"}}, {"a 2.zip", {"a.rtf"}}}},
        JobCase{"SameNameInOneJobAsked", "MultiStaticFolder", {"a.txt", "a.rtf"}, {"a.txt", "a.rtf"}, 0,
                {"out/b.zip"}, {"out/a.zip"}, {"a.zipの保存先を選択して下さい。"},
                {{"out/a.zip", {"a.txt"}}, {"out/b.zip", {"a.rtf"}}}},
        JobCase{"SamePanelAnswerTwiceAskedAgain", "MultiAnyTime", {"a.txt", "b.txt"}, {"a.txt", "b.txt"},
                0, {"p/1.zip", "p/1.zip", "p/2.zip"}, {"a.txt", "b.txt", "p/1 2.zip"},
                {"a.txt の保存先を選択してください。", "b.txt の保存先を選択してください。",
                 "b.txt の保存先を選択してください。"},
                {{"p/1.zip", {"a.txt"}}, {"p/2.zip", {"b.txt"}}}},
        JobCase{"DroppedFileExcluded", "SingleSameSource", {"b.txt", "a.txt"}, {"b.txt", "a.txt"}, 2, {},
                {}, {}, {{"b.zip", {"a.txt"}}}, {"B.TXT"}}),
    [](const auto& info) { return std::string(info.param.name); });

struct StopCase {
    const char* name;
    const char* jobClass;
    QStringList tree;
    QStringList items;
    qint32 sameFileName;
    QStringList answers; // then every further panel is cancelled
    int panels;          // panels shown before the job stopped
};

class CancelledPanel : public JobFixture, public ::testing::WithParamInterface<StopCase>
{
};

TEST_P(CancelledPanel, StopsTheJobWithoutRunnerResultsOrFiles)
{
    const StopCase& c = GetParam();
    makeTree(dir.path(), c.tree);
    services.panels.script(absolute(dir.path(), c.answers));
    services.host.reserve = true; // started to open items, yet it must stay open
    RKProfileSetting profile = RKProfileSetting::DefaultSetting();
    profile.sameFileName = c.sameFileName;

    ASSERT_EQ(runJob(makeJob(c.jobClass, absolute(dir.path(), c.items), profile)), 1);

    EXPECT_EQ(services.panels.calls().size(), c.panels);
    EXPECT_EQ(runs, 0);
    EXPECT_TRUE(services.host.results.shown.isEmpty());
    EXPECT_TRUE(services.notifier.delivered().isEmpty());
    EXPECT_EQ(services.host.terminateCalls, 0);
    QStringList expected = c.tree;
    expected.sort();
    EXPECT_EQ(TestEnvironment::listTree(dir.path()), expected);
}

INSTANTIATE_TEST_SUITE_P(
    Jobs, CancelledPanel,
    ::testing::Values(StopCase{"AskEachTime", "SingleAnyTime", {"a.txt"}, {"a.txt"}, 2, {}, 1},
                      StopCase{"SecondOfThreeItems", "MultiAnyTime", {"a.txt", "b.txt", "c.txt"},
                               {"a.txt", "b.txt", "c.txt"}, 2, {"1.zip"}, 2},
                      StopCase{"SameNameAsk", "SingleSameSource", {"n.txt", "n.zip"}, {"n.txt"}, 0,
                               {}, 1},
                      StopCase{"SameNameAskOnSecondItem", "MultiSameSource", {"a.txt", "a.rtf"},
                               {"a.txt", "a.rtf"}, 0, {}, 1}),
    [](const auto& info) { return std::string(info.param.name); });

} // namespace
