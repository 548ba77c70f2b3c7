// Whole unarchive jobs, headless: scripted chooser and prompt, the real
// runner window on the offscreen platform, a captured result window.
#include "settings/RKSetting.h"
#include "support/TestEnvironment.h"
#include "support/jobs/ScriptedServices.h"
#include "unarchive/UnArchiveTestSupport.h"
#include "unarchive/widgets/RKUnArchiveProgressWindow.h"

#include <QDir>
#include <QFileInfo>
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
        makeTree(in("content"), {"a.txt"}, "data");
    }
    QString makeArchive(const QString& path)
    {
        QDir().mkpath(QFileInfo(path).absolutePath());
        runTool("zip", {"-q", path, "a.txt"}, in("content"));
        return path;
    }
    // One result window; its records as "title | destination | error count".
    QStringList results() const
    {
        EXPECT_EQ(services.host.results.shown.size(), 1);
        QStringList lines;
        for (const RKProcessResultInfo& r : services.host.results.shown.value(0)) {
            EXPECT_TRUE(r.password.stringValue.isNull()) << "extraction records carry no password";
            lines << QStringLiteral("%1 | %2 | %3").arg(r.title, r.destPath.stringValue).arg(r.errors.items.size());
        }
        return lines;
    }

    ScriptedServices services;
    RKUnArchiveProgressWindow runner;
};

TEST_F(UnArchiveJobTest, SameSourceExtractsNextToEachArchiveThenQuitsWhenAsked)
{
    // Next to the sources is the destination, so they lie in the output area.
    const QString first = makeArchive(out("one/first.zip"));
    const QString second = makeArchive(out("two/second.zip"));
    services.host.reserve = true;

    EXPECT_EQ(runJob("MultiSameSource", {first, second}, profile(1)), 1);

    EXPECT_TRUE(QFileInfo::exists(out("one/first/a.txt")) && QFileInfo::exists(out("two/second/a.txt")));
    EXPECT_EQ(results(), (QStringList{"first.zip | " + out("one") + " | 0", "second.zip | " + out("two") + " | 0"}));
    EXPECT_TRUE(services.panels.calls().isEmpty());
    EXPECT_EQ(services.host.terminateCalls, 1);
}

struct AskCase {
    const char* jobClass;
    int archives;
    const char* message;
};

class AskedDestinationTest : public UnArchiveJobTest, public ::testing::WithParamInterface<AskCase>
{
protected:
    QStringList dropArchives()
    {
        QStringList items;
        for (int i = 1; i <= GetParam().archives; ++i) {
            items << makeArchive(in(QStringLiteral("drop/n%1.zip").arg(i)));
        }
        freezeInputs();
        return items;
    }
};

TEST_P(AskedDestinationTest, OneChooserForEveryArchive)
{
    const QStringList items = dropArchives();
    services.panels.script({out()});

    EXPECT_EQ(runJob(GetParam().jobClass, items, profile(0, 2)), 1);

    const auto calls = services.panels.calls();
    ASSERT_EQ(calls.size(), 1);
    EXPECT_EQ(calls[0].title + " " + calls[0].message, "MOKUZA-FULL " + items[0] + GetParam().message);
    EXPECT_EQ(calls[0].url, in("drop"));
    EXPECT_TRUE(!calls[0].save && calls[0].selectMode == 1 && calls[0].onMainThread);
    const QStringList expected = GetParam().archives == 1 ? QStringList{"a.txt=data"}
                                                          : QStringList{"a 2.txt=data", "a.txt=data"};
    EXPECT_EQ(snapshot(out()), expected);
    EXPECT_EQ(results().size(), GetParam().archives);
}

TEST_P(AskedDestinationTest, CancelledChooserEndsTheJobQuietly)
{
    const QStringList items = dropArchives();
    services.host.reserve = true; // even an application started to open items stays open
    services.panels.script({QString()});

    EXPECT_EQ(runJob(GetParam().jobClass, items, profile(1)), 1);

    EXPECT_TRUE(services.host.results.shown.isEmpty() && services.notifier.delivered().isEmpty());
    EXPECT_EQ(services.host.terminateCalls, 0);
    EXPECT_EQ(snapshot(out()), QStringList{});
}

INSTANTIATE_TEST_SUITE_P(Ask, AskedDestinationTest,
                         ::testing::Values(AskCase{"SingleAnyTime", 1, " の解凍先を選択してください。"},
                                           AskCase{"MultiAnyTime", 2, " の解凍先を選択して下さい。"}),
                         [](const auto& info) { return std::string(info.param.jobClass); });

TEST_F(UnArchiveJobTest, FixedFolderIsMadeAndAFailedArchiveDoesNotStopTheNext)
{
    ASSERT_TRUE(TestEnvironment::writeFile(in("broken.zip"), "PK\x03\x04 cut short"));
    const QString good = makeArchive(in("good.zip"));
    freezeInputs();
    RKUnArchiveProfileSetting fixed = profile(1);
    fixed.saveStaticFolderPath = out("not/yet");

    EXPECT_EQ(runJob("MultiStaticFolder", {in("broken.zip"), good}, fixed), 1);

    EXPECT_EQ(results(), (QStringList{"broken.zip | " + out("not/yet") + " | 1", "good.zip | " + out("not/yet") + " | 0"}));
    EXPECT_EQ(services.host.results.shown.value(0).value(0).errors.items.value(0),
              RQError::initWithUnArchiverErrorCode(2, in("broken.zip")));
    EXPECT_EQ(snapshot(out()), (QStringList{"not/", "not/yet/", "not/yet/good/", "not/yet/good/a.txt=data"}));
}

// The factory "Win To Mac" profile on an archive as Windows writes it.
TEST_F(UnArchiveJobTest, WindowsArchiveWithTheFactoryWinToMacProfile)
{
    writeRawNameArchive(in("資料.zip"), {QByteArray::fromHex("93fa967b8cea83748348838b835f2f"), // 日本語フォルダ/
                                         QByteArray::fromHex("93fa967b8cea83748348838b835f2f955c2e747874"), // 表.txt (0x5C trail)
                                         QByteArray::fromHex("8160874081612e747874"), // ～①∥.txt
                                         QByteArray::fromHex("b6c0b6c5"),              // ｶﾀｶﾅ
                                         "Thumbs.db", "desktop.ini"});
    freezeInputs();
    const RKUnArchiveProfileSetting winToMac = RKSetting().unArchiveProfiles.value(0);
    ASSERT_EQ(winToMac.profileName, "Win To Mac");
    services.panels.script({out()});

    EXPECT_EQ(runJob("SingleAnyTime", {in("資料.zip")}, winToMac), 1);

    QStringList expected{"資料/", "資料/日本語フォルダ/", "資料/日本語フォルダ/表.txt=1", "資料/～①∥.txt=2", "資料/ｶﾀｶﾅ=3"};
    expected.sort();
    EXPECT_EQ(snapshot(out()), expected);
    EXPECT_EQ(results(), QStringList{"資料.zip | " + out() + " | 0"});
}

} // namespace
