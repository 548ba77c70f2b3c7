// Whole archive jobs, headless: scripted panels, the real runner window on
// the offscreen platform, and every archive read back by Python's zipfile.
#include "ArchiveTestSupport.h"

#include "archive/RKArchiveBase.h"
#include "archive/widgets/RKProgressWindow.h"
#include "settings/RKSetting.h"
#include "support/FaultTable.h"
#include "support/TestEnvironment.h"
#include "support/jobs/ScriptedServices.h"
#include "zip/ZipArchive.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <atomic>

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
    qint32 sameFileName;
    QStringList answers;   // save panel answers, relative to the root; then cancel
    QStringList panelUrls; // proposals the panels got, relative to the root
    QStringList messages;  // the panels' messages, in order
    QList<Archive> archives; // none: a panel was cancelled and the job stopped
    QStringList exclusionFiles = {};

    QList<QPair<QString, QString>> links = {}; // link, target as written; made before the job
};

// Every path of the list with the folders that hold it ("a/b" gives "a/").
QStringList withFolders(const QStringList& paths)
{
    QStringList all;
    for (const QString& path : paths) {
        for (qsizetype slash = path.indexOf('/'); slash >= 0; slash = path.indexOf('/', slash + 1)) {
            all.append(path.left(slash + 1));
        }
        all.append(path);
    }
    all.removeDuplicates();
    all.sort();
    return all;
}

class ArchiveJob : public ::testing::TestWithParam<JobCase>
{
protected:
    QTemporaryDir dir;
    ScriptedServices services;
    RKProgressWindow runner;
};

TEST_P(ArchiveJob, WritesTheArchivesWhereTheProfileSaysOrNothingWhenAPanelIsCancelled)
{
    const JobCase& c = GetParam();
    const QString root = dir.path();
    makeTree(root, c.tree);
    QStringList links;
    for (const auto& [link, target] : c.links) {
        ASSERT_TRUE(QFile::link(target, dir.filePath(link)));
        links.append(link);
    }
    services.panels.script(absolute(root, c.answers));
    services.host.archiveRunner = &runner;
    services.host.reserve = true; // started to open items: quits after results only
    int runs = 0;
    QObject::connect(&runner, &QDialog::finished, [&runs] { ++runs; });
    RKProfileSetting profile = RKProfileSetting::DefaultSetting();
    profile.sameFileName = c.sameFileName;
    profile.saveStaticFolderPath = dir.filePath("out");
    profile.exclusionFiles = c.exclusionFiles;

    ASSERT_EQ(runJob(makeJob(c.jobClass, absolute(root, c.items), profile)), 1);

    QStringList messages, urls;
    for (const auto& call : services.panels.calls()) {
        messages.append(call.message);
        urls.append(call.url);
        EXPECT_EQ(call.title, "MOKUZA-FULL");
        EXPECT_EQ(call.types, QStringList{"zip"});
    }
    EXPECT_EQ(messages, c.messages);
    EXPECT_EQ(urls, absolute(root, c.panelUrls));

    const bool stopped = c.archives.isEmpty();
    EXPECT_EQ(runs, c.archives.size());
    EXPECT_EQ(services.host.terminateCalls, stopped ? 0 : 1);
    ASSERT_EQ(services.host.results.shown.size(), stopped ? 0 : 1);
    const auto notes = services.notifier.delivered();
    ASSERT_EQ(notes.size(), c.archives.size());
    QStringList made;
    for (qsizetype i = 0; i < c.archives.size(); ++i) {
        const auto& result = services.host.results.shown.front().at(i);
        const QString path = dir.filePath(c.archives[i].path);
        made.append(c.archives[i].path);
        EXPECT_EQ(zipEntries(path), c.archives[i].entries) << qPrintable(c.archives[i].path);
        EXPECT_EQ(result.destPath.stringValue, path);
        EXPECT_EQ(result.title, c.archives[i].path.section('/', -1));
        EXPECT_TRUE(result.errors.items.isEmpty());
        EXPECT_TRUE(result.password.stringValue.isNull());
        EXPECT_EQ(result.verify.crc, QString::asprintf("%08lX", ZipArchive::checkCRC(path)))
            << "read back and verified, eight digits with leading zeros";
        EXPECT_EQ(notes[i].subtitle, path);
        EXPECT_EQ(notes[i].informativeText, "圧縮が完了しました");
        EXPECT_EQ(notes[i].showItemPath, path);
    }
    // Nothing but the archives was written, and nothing that was there is
    // lost unless it was meant to be replaced.
    EXPECT_EQ(TestEnvironment::listTree(root), withFolders(c.tree + links + made));
    for (const QString& entry : c.tree) {
        if (!entry.endsWith('/') && !made.contains(entry)) {
            EXPECT_EQ(TestEnvironment::readFile(dir.filePath(entry)), entry.toUtf8());
        }
    }
}

const char* const kAskEach = " の保存先を選択して下さい。";
const char* const kAskPerItem = " の保存先を選択してください。";
const char* const kAskSameName = "の保存先を選択して下さい。";

QString ask(const char* name, const char* message) { return QString::fromUtf8(name) + QString::fromUtf8(message); }

INSTANTIATE_TEST_SUITE_P(
    Jobs, ArchiveJob,
    ::testing::Values(
        JobCase{"TwoFilesNamedAfterTheFirst", "SingleSameSource", {"b.txt", "a.txt"}, {"b.txt", "a.txt"},
                2, {}, {}, {}, {{"b.zip", {"a.txt", "b.txt"}}}},
        JobCase{"LastExtensionReplaced", "SingleSameSource", {"archive.tar.gz"}, {"archive.tar.gz"},
                2, {}, {}, {}, {{"archive.tar.zip", {"archive.tar.gz"}}}},
        JobCase{"HiddenFileKeepsItsName", "SingleSameSource", {".bashrc"}, {".bashrc"}, 2, {}, {},
                {}, {{".bashrc.zip", {".bashrc"}}}},
        // Hidden files and empty folders too; a dropped item inside a dropped folder once.
        JobCase{"WholeTreeOfADroppedFolder", "SingleSameSource",
                {"d/a.txt", "d/empty/", "d/.DS_Store", "d/sub/b.txt", "d/sub/deeper/c.txt", "d/z.txt"},
                {"d", "d/sub/b.txt"}, 2, {}, {}, {},
                {{"d.zip", {"d/", "d/.DS_Store", "d/a.txt", "d/empty/", "d/sub/", "d/sub/b.txt",
                            "d/sub/deeper/", "d/sub/deeper/c.txt", "d/z.txt"}}}},
        // A link is followed unless it leads back to a folder on its own way down:
        // b is entered from a, but a not again from there.
        JobCase{"TwoFoldersLinkedToEachOther", "SingleSameSource", {"d/a/f", "d/b/"}, {"d"}, 2, {}, {},
                {}, {{"d.zip", {"d/", "d/a/", "d/a/f", "d/a/toB/", "d/a/toB/toA/", "d/b/", "d/b/toA/",
                                "d/b/toA/f", "d/b/toA/toB/"}}},
                {}, {{"d/a/toB", "../b"}, {"d/b/toA", "../a"}}},
        JobCase{"NamePrefixIsNotAParentFolder", "SingleSameSource", {"a/in.txt", "ab"},
                {"a", "ab", "a/in.txt"}, 2, {}, {}, {}, {{"a.zip", {"a/", "a/in.txt", "ab"}}}},
        JobCase{"SamePathTwiceIsOneItem", "MultiSameSource", {"x.txt"}, {"x.txt", "x.txt"}, 2, {}, {},
                {}, {{"x.zip", {"x.txt"}}}},
        JobCase{"RenamedAfterReport3", "SingleStaticFolder",
                {"Report/r.txt", "out/Report.zip", "out/Report 2.zip", "out/Report 3.zip"}, {"Report"},
                2, {}, {}, {}, {{"out/Report 4.zip", {"Report/", "Report/r.txt"}}}},
        JobCase{"RenameDropsEveryZip", "SingleSameSource", {"a.zip.txt", "a.zip.zip"}, {"a.zip.txt"},
                2, {}, {}, {}, {{"a 2.zip", {"a.zip.txt"}}}},
        JobCase{"OverwritesWhatWasThere", "SingleSameSource", {"n.txt", "n.zip"}, {"n.txt"}, 1, {},
                {}, {}, {{"n.zip", {"n.txt"}}}},
        JobCase{"AsksForAnotherName", "SingleSameSource", {"n.txt", "n.zip"}, {"n.txt"}, 0,
                {"other.zip"}, {"n.zip"}, {ask("n.zip", kAskSameName)}, {{"other.zip", {"n.txt"}}}},
        JobCase{"AskedEachTimeAsOneArchive", "SingleAnyTime", {"b.txt", "a.txt"}, {"b.txt", "a.txt"},
                0, {"new/c.zip"}, {"b.txt"}, {ask("b.txt", kAskEach)},
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
                {"out/b.zip"}, {"out/a.zip"}, {ask("a.zip", kAskSameName)},
                {{"out/a.zip", {"a.txt"}}, {"out/b.zip", {"a.rtf"}}}},
        JobCase{"SamePanelAnswerTwiceAskedAgain", "MultiAnyTime", {"a.txt", "b.txt"}, {"a.txt", "b.txt"},
                0, {"p/1.zip", "p/1.zip", "p/2.zip"}, {"a.txt", "b.txt", "p/1 2.zip"},
                {ask("a.txt", kAskPerItem), ask("b.txt", kAskPerItem), ask("b.txt", kAskPerItem)},
                {{"p/1.zip", {"a.txt"}}, {"p/2.zip", {"b.txt"}}}},
        JobCase{"DroppedFileExcluded", "SingleSameSource", {"b.txt", "a.txt"}, {"b.txt", "a.txt"}, 2, {},
                {}, {}, {{"b.zip", {"a.txt"}}}, {"B.TXT"}},
        // A cancelled panel stops the job: no runner, no results, no exit.
        JobCase{"CancelAskEachTime", "SingleAnyTime", {"a.txt"}, {"a.txt"}, 2, {}, {"a.txt"},
                {ask("a.txt", kAskEach)}, {}},
        JobCase{"CancelSecondOfThreeItems", "MultiAnyTime", {"a.txt", "b.txt", "c.txt"},
                {"a.txt", "b.txt", "c.txt"}, 2, {"1.zip"}, {"a.txt", "b.txt"},
                {ask("a.txt", kAskPerItem), ask("b.txt", kAskPerItem)}, {}},
        JobCase{"CancelSameNameAskOnSecondItem", "MultiSameSource", {"a.txt", "a.rtf"},
                {"a.txt", "a.rtf"}, 0, {}, {"a.zip"}, {ask("a.zip", kAskSameName)}, {}}),
    [](const auto& info) { return std::string(info.param.name); });

// --- the fault table, through the application's job

// The runner window that presses its cancel button once the first file is
// under way, when asked to.
class CancellingRunner : public RKProgressWindow
{
public:
    bool cancelInFile = false;

    void archiverArchiveProgressInFile(RQZipArchiver* archiver, quint64 done, quint64 size,
                                       const QString& name) override
    {
        RKProgressWindow::archiverArchiveProgressInFile(archiver, done, size, name);
        if (cancelInFile && !m_pressed.exchange(true)) {
            handToMainThread([this] { btCanselTouchUpInside(); });
        }
    }

private:
    std::atomic<bool> m_pressed{false};
};

class FaultJob : public ::testing::TestWithParam<FaultTable::Row> {};

TEST_P(FaultJob, LeavesWhatTheRowSays)
{
    const FaultTable::Row& row = GetParam();
    FAULT_TABLE_ENTER(row);
    QTemporaryDir dir;
    const FaultTable::Place place(row, dir.path());
    ScriptedServices services;
    CancellingRunner runner;
    runner.cancelInFile = row.cancel;
    services.host.archiveRunner = &runner;
    RKProfileSetting profile = RKSetting::Setting().archiveProfiles.constFirst().copy();
    profile.saveLocation = RKProfileSetting::SaveLocationStaticFolder;
    profile.saveStaticFolderPath = place.dest;
    profile.sameFileName = RKProfileSetting::SameNameOverwrite;

    EXPECT_EQ(runJob(makeJob("SingleStaticFolder", place.given(), profile)), 1);

    ASSERT_EQ(services.host.results.shown.size(), 1) << "one result window";
    const QList<RKProcessResultInfo> results = services.host.results.shown.constFirst();
    QStringList errors;
    for (const RKProcessResultInfo& result : results) {
        for (const RQError& error : result.errors.items) {
            errors << place.error(error.code(), error.localizedRecoverySuggestion(), error.localizedFailureReason());
        }
    }
    EXPECT_TRUE(FaultTable::matches(errors, row.errors)) << errors.join('\n').toStdString();
    EXPECT_EQ(FaultTable::describe(place.dest), row.after);
    EXPECT_EQ(results.value(0).cancelled, row.cancel);
    EXPECT_TRUE(services.panels.calls().isEmpty()) << "nothing is asked";
}

INSTANTIATE_TEST_SUITE_P(Faults, FaultJob,
                         ::testing::ValuesIn([] {
                             QList<FaultTable::Row> rows = FaultTable::rows(false) + FaultTable::rows(true);
                             rows.removeIf([](const FaultTable::Row& row) { return row.extract; });
                             return rows;
                         }()),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
