// Whole unarchive jobs, headless: scripted chooser and prompt, the real
// runner window on the offscreen platform, captured result window.
#include "settings/RKSetting.h"
#include "support/TestEnvironment.h"
#include "support/jobs/ScriptedServices.h"
#include "unarchive/RKUnArchiveBase.h"
#include "unarchive/UnArchiveTestSupport.h"
#include "unarchive/widgets/RKUnArchiveProgressWindow.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

using namespace UnArchiveTestSupport;

namespace {

class UnArchiveJobTest : public UnArchiveTest
{
protected:
    void SetUp() override
    {
        UnArchiveTest::SetUp();
        services.host.unArchiveRunner = &runner;
        makeTree(in("content"), {"a.txt", "d/", "d/b.txt"}, "data");
    }

    // An archive of a.txt, d/ and d/b.txt at the path.
    QString makeArchive(const QString& path)
    {
        QDir().mkpath(QFileInfo(path).absolutePath());
        runTool("zip", {"-r", "-q", path, "a.txt", "d"}, in("content"));
        return path;
    }

    static QStringList extracted(const QString& folder)
    {
        return {folder + "/", folder + "/a.txt=data", folder + "/d/", folder + "/d/b.txt=data"};
    }

    QList<RKProcessResultInfo> onlyResults() const
    {
        EXPECT_EQ(services.host.results.shown.size(), 1);
        return services.host.results.shown.value(0);
    }

    ScriptedServices services;
    RKUnArchiveProgressWindow runner;
};

TEST_F(UnArchiveJobTest, SameSourceExtractsEachArchiveNextToItself)
{
    // The sources lie in the output area: next to them is the destination.
    const QString first = makeArchive(out("one/first.zip"));
    const QString second = makeArchive(out("two/second.zip"));
    freezeInputs();

    auto job = makeJob("MultiSameSource", {first, second}, profile(1));
    EXPECT_EQ(runJob(job), 1);

    QStringList expected = QStringList{"one/", "one/first.zip=" + QString::fromUtf8(TestEnvironment::readFile(first)),
                                       "two/", "two/second.zip=" + QString::fromUtf8(TestEnvironment::readFile(second))}
        + extracted("one/first") + extracted("two/second");
    expected.sort();
    EXPECT_EQ(snapshot(out()), expected);

    const QList<RKProcessResultInfo> results = onlyResults();
    ASSERT_EQ(results.size(), 2);
    EXPECT_EQ(results[0].title, "first.zip");
    EXPECT_EQ(results[0].destPath.stringValue, out("one"));
    EXPECT_EQ(results[1].title, "second.zip");
    EXPECT_EQ(results[1].destPath.stringValue, out("two"));
    for (const RKProcessResultInfo& result : results) {
        EXPECT_TRUE(result.errors.items.isEmpty());
        EXPECT_TRUE(result.password.stringValue.isNull()) << "extraction records carry no password";
    }
    EXPECT_TRUE(services.panels.calls().isEmpty());
    EXPECT_EQ(job->indexOfPaths(), 2);
}

// ---------------------------------------------------------------------------
// Asked destinations: one chooser whatever the number of archives.

struct AskCase {
    const char* jobClass;
    int archives;
    const char* message;
};

class AskedDestinationTest : public UnArchiveJobTest, public ::testing::WithParamInterface<AskCase>
{
};

TEST_P(AskedDestinationTest, OneChooserForEveryArchive)
{
    QStringList items;
    for (int i = 1; i <= GetParam().archives; ++i) {
        items << makeArchive(in(QStringLiteral("drop/archive%1.zip").arg(i)));
    }
    freezeInputs();
    ASSERT_TRUE(QDir().mkpath(out("chosen")));
    services.panels.script({out("chosen")});

    EXPECT_EQ(runJob(makeJob(GetParam().jobClass, items, profile(1))), 1);

    const QList<ScriptedPanelService::Call> calls = services.panels.calls();
    ASSERT_EQ(calls.size(), 1);
    EXPECT_FALSE(calls[0].save);
    EXPECT_EQ(calls[0].title, "MOKUZA-FULL");
    EXPECT_EQ(calls[0].message, items[0] + QString::fromUtf8(GetParam().message));
    EXPECT_EQ(calls[0].url, in("drop"));
    EXPECT_EQ(calls[0].selectMode, 1);
    EXPECT_TRUE(calls[0].onMainThread);

    QStringList expected{"chosen/"};
    for (int i = 1; i <= GetParam().archives; ++i) {
        expected += extracted(QStringLiteral("chosen/archive%1").arg(i));
    }
    expected.sort();
    EXPECT_EQ(snapshot(out()), expected);
    EXPECT_EQ(onlyResults().size(), GetParam().archives);
}

TEST_P(AskedDestinationTest, CancelledChooserEndsTheJobQuietly)
{
    QStringList items;
    for (int i = 1; i <= GetParam().archives; ++i) {
        items << makeArchive(in(QStringLiteral("drop/archive%1.zip").arg(i)));
    }
    freezeInputs();
    services.host.reserve = true; // even an application started to open items stays
    services.panels.script({QString()});

    EXPECT_EQ(runJob(makeJob(GetParam().jobClass, items, profile(1))), 1);

    EXPECT_TRUE(services.host.results.shown.isEmpty());
    EXPECT_EQ(services.host.terminateCalls, 0);
    EXPECT_TRUE(services.notifier.delivered().isEmpty());
    EXPECT_EQ(services.passwords.unArchivePromptCount, 0);
    EXPECT_FALSE(runner.isVisible());
    EXPECT_EQ(snapshot(out()), QStringList{});
}

INSTANTIATE_TEST_SUITE_P(
    Ask, AskedDestinationTest,
    ::testing::Values(AskCase{"SingleAnyTime", 1, " の解凍先を選択してください。"},
                      AskCase{"MultiAnyTime", 2, " の解凍先を選択して下さい。"}),
    [](const ::testing::TestParamInfo<AskCase>& info) { return std::string(info.param.jobClass); });

// ---------------------------------------------------------------------------

TEST_F(UnArchiveJobTest, FixedFolderThatDoesNotExistYetIsMade)
{
    const QString archive = makeArchive(in("photos.zip"));
    freezeInputs();
    RKUnArchiveProfileSetting fixed = profile(1);
    fixed.saveStaticFolderPath = out("not/there/yet");

    EXPECT_EQ(runJob(makeJob("SingleStaticFolder", {archive}, fixed)), 1);

    QStringList expected = QStringList{"not/", "not/there/", "not/there/yet/"}
        + extracted("not/there/yet/photos");
    expected.sort();
    EXPECT_EQ(snapshot(out()), expected);
    EXPECT_EQ(onlyResults().value(0).destPath.stringValue, out("not/there/yet"));
}

TEST_F(UnArchiveJobTest, FailedArchiveGetsItsRecordAndTheNextStartsClean)
{
    ASSERT_TRUE(TestEnvironment::writeFile(in("broken.zip"), "PK\x03\x04 truncated"));
    const QString good = makeArchive(in("good.zip"));
    freezeInputs();
    RKUnArchiveProfileSetting fixed = profile(1);
    fixed.saveStaticFolderPath = out();

    EXPECT_EQ(runJob(makeJob("MultiStaticFolder", {in("broken.zip"), good}, fixed)), 1);

    const QList<RKProcessResultInfo> results = onlyResults();
    ASSERT_EQ(results.size(), 2);
    EXPECT_EQ(results[0].title, "broken.zip");
    EXPECT_EQ(results[0].errors.items,
              QList<RQError>{RQError::initWithUnArchiverErrorCode(2, in("broken.zip"))});
    EXPECT_EQ(results[1].title, "good.zip");
    EXPECT_TRUE(results[1].errors.items.isEmpty());
    EXPECT_EQ(snapshot(out()), extracted("good"));
}

TEST_F(UnArchiveJobTest, ApplicationStartedToOpenItemsQuitsAfterTheResults)
{
    const QString archive = makeArchive(in("photos.zip"));
    freezeInputs();
    services.host.reserve = true;
    RKUnArchiveProfileSetting fixed = profile(0);
    fixed.saveStaticFolderPath = out();

    EXPECT_EQ(runJob(makeJob("SingleStaticFolder", {archive}, fixed)), 1);

    EXPECT_EQ(services.host.results.shown.size(), 1);
    EXPECT_EQ(services.host.terminateCalls, 1);
}

TEST_F(UnArchiveJobTest, SingleClassExtractsOnlyTheFirstItem)
{
    const QString first = makeArchive(in("first.zip"));
    const QString second = makeArchive(in("second.zip"));
    freezeInputs();
    RKUnArchiveProfileSetting fixed = profile(1);
    fixed.saveStaticFolderPath = out();

    EXPECT_EQ(runJob(makeJob("SingleStaticFolder", {first, second}, fixed)), 1);

    EXPECT_EQ(snapshot(out()), extracted("first"));
    EXPECT_EQ(onlyResults().size(), 1);
}

// The factory "Win To Mac" profile on an archive as Windows writes it.
TEST_F(UnArchiveJobTest, WindowsArchiveWithTheFactoryWinToMacProfile)
{
    writeRawNameArchive(in("資料.zip"),
                        {QByteArray::fromHex("93fa967b8cea83748348838b835f2f"),             // 日本語フォルダ/
                         QByteArray::fromHex("93fa967b8cea83748348838b835f2f955c2e747874"), // …/表.txt
                         QByteArray("Thumbs.db"), QByteArray("desktop.ini")});
    freezeInputs();
    const RKSetting factory;
    const RKUnArchiveProfileSetting winToMac = factory.unArchiveProfiles.value(0);
    ASSERT_EQ(winToMac.profileName, "Win To Mac");
    services.panels.script({out()});

    EXPECT_EQ(runJob(makeJob("SingleAnyTime", {in("資料.zip")}, winToMac)), 1);

    EXPECT_EQ(snapshot(out()),
              (QStringList{"資料/", "資料/日本語フォルダ/", "資料/日本語フォルダ/表.txt=1"}));
    EXPECT_TRUE(onlyResults().value(0).errors.items.isEmpty());
}

} // namespace
