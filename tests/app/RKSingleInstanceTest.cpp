// One running application per user: paths handed from a later start, in
// process and between two real processes.
#include "app/RKSingleInstance.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QLocalServer>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace {

// --- making paths absolute --------------------------------------------------------

struct AbsoluteRow {
    const char* name;
    QStringList arguments;
    QStringList expected;
};

class AbsolutePaths : public ::testing::TestWithParam<AbsoluteRow>
{
};

TEST_P(AbsolutePaths, ResolvedAgainstTheCallersFolder)
{
    const AbsoluteRow& row = GetParam();
    EXPECT_EQ(RKSingleInstance::absolutePaths(row.arguments, QStringLiteral("/home/u/work")),
              row.expected);
}

INSTANTIATE_TEST_SUITE_P(
    SingleInstance, AbsolutePaths,
    ::testing::Values(
        AbsoluteRow{"Relative", {"a.txt", "sub/b"}, {"/home/u/work/a.txt", "/home/u/work/sub/b"}},
        AbsoluteRow{"DotsAndSlashes", {"./x/../y//z/", ".."}, {"/home/u/work/y/z", "/home/u"}},
        AbsoluteRow{"AbsoluteKept", {"/tmp/a.zip"}, {"/tmp/a.zip"}},
        AbsoluteRow{"FileUrl", {"file:///tmp/%E8%B3%87%E6%96%99.txt"},
                    {QString::fromUtf16(u"/tmp/資料.txt")}},
        AbsoluteRow{"EmptyArgumentDropped", {"", "a"}, {"/home/u/work/a"}},
        AbsoluteRow{"OrderKept", {"b", "a", "b"}, {"/home/u/work/b", "/home/u/work/a",
                                                   "/home/u/work/b"}}),
    [](const auto& info) { return std::string(info.param.name); });

// --- in process ---------------------------------------------------------------------

class SingleInstanceTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(dir.isValid()); }
    QString serverName() const { return dir.filePath(QStringLiteral("instance.socket")); }

    // A later start, on a thread of its own: its hand-off waits for an answer
    // that the running instance gives from this thread's event loop.
    RKSingleInstance::Role startLater(const QStringList& paths, int timeoutMs = 10000)
    {
        RKSingleInstance::Role role = RKSingleInstance::Role::Primary;
        std::atomic<bool> done{false};
        std::thread later([&] {
            RKSingleInstance instance(serverName());
            role = instance.start(paths, timeoutMs);
            done = true;
        });
        EXPECT_TRUE(TestEnvironment::waitFor([&] { return done.load(); }, 60000));
        later.join();
        return role;
    }

    QTemporaryDir dir;
};

TEST_F(SingleInstanceTest, LaterStartHandsItsPathsToTheRunningOne)
{
    RKSingleInstance running(serverName());
    ASSERT_EQ(running.start({}), RKSingleInstance::Role::Primary);
    ASSERT_TRUE(running.isListening());
    QSignalSpy requests(&running, &RKSingleInstance::openFilesRequested);

    const QStringList paths{QString::fromUtf16(u"/tmp/資料 1.txt"), QStringLiteral("/tmp/b")};
    EXPECT_EQ(startLater(paths), RKSingleInstance::Role::HandedOff);
    EXPECT_EQ(startLater({}), RKSingleInstance::Role::HandedOff);

    ASSERT_TRUE(TestEnvironment::waitFor([&] { return requests.size() == 2; }));
    EXPECT_EQ(requests[0][0].toStringList(), paths);
    EXPECT_EQ(requests[1][0].toStringList(), QStringList());
    EXPECT_TRUE(running.isListening()) << "the running instance goes on";
}

TEST_F(SingleInstanceTest, SocketLeftByAnEndedInstanceIsTakenOver)
{
    {
        // An instance that ended without cleaning up leaves its socket file.
        QLocalServer ended;
        ended.setSocketOptions(QLocalServer::UserAccessOption);
        ASSERT_TRUE(ended.listen(serverName()));
    }
    QFile leftover(serverName());
    if (!leftover.exists()) {
        ASSERT_TRUE(leftover.open(QIODevice::WriteOnly));
        leftover.close();
    }
    RKSingleInstance instance(serverName());
    EXPECT_EQ(instance.start({QStringLiteral("/tmp/a")}, 2000), RKSingleInstance::Role::Primary);
    EXPECT_TRUE(instance.isListening());
}

// --- two real processes ---------------------------------------------------------------

QString applicationPath()
{
    return QStringLiteral(MOKUZA_BINARY_DIR "/mokuza-full");
}

QProcessEnvironment privateEnvironment(const QTemporaryDir& dir)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    QDir().mkpath(dir.filePath(QStringLiteral("run")));
    QFile::setPermissions(dir.filePath(QStringLiteral("run")),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    env.insert(QStringLiteral("XDG_RUNTIME_DIR"), dir.filePath(QStringLiteral("run")));
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), dir.filePath(QStringLiteral("config")));
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    env.insert(QStringLiteral("MOKUZA_TEST_HOOKS"), QStringLiteral("1"));
    env.remove(QStringLiteral("DISPLAY"));
    return env;
}

// Reads the process's report lines until one starts with event.
QStringList waitForReport(QProcess& process, const QString& event, QByteArray& buffer)
{
    const auto take = [&]() -> QStringList {
        qsizetype newline;
        while ((newline = buffer.indexOf('\n')) >= 0) {
            const QString line = QString::fromUtf8(buffer.left(newline));
            buffer.remove(0, newline + 1);
            const QStringList fields = line.split(QLatin1Char('\t'));
            if (fields.value(0) == event) {
                return fields.mid(1) << QStringLiteral("<found>");
            }
        }
        return {};
    };
    for (;;) {
        QStringList found = take();
        if (!found.isEmpty()) {
            found.removeLast();
            return found;
        }
        if (process.state() != QProcess::Running || !process.waitForReadyRead(30000)) {
            ADD_FAILURE() << "no \"" << event.toStdString() << "\" report; stderr: "
                          << process.readAllStandardError().toStdString();
            return {QStringLiteral("<missing>")};
        }
        buffer += process.readAllStandardOutput();
    }
}

TEST(SingleInstanceProcesses, SecondStartHandsOverRelativePathsAndExitsZero)
{
    ASSERT_TRUE(QFileInfo(applicationPath()).isExecutable())
        << "build the mokuza-full target first";
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString work = dir.filePath(QStringLiteral("work"));
    ASSERT_TRUE(QDir().mkpath(work + QStringLiteral("/sub")));

    QProcess first;
    first.setProcessEnvironment(privateEnvironment(dir));
    first.start(applicationPath(), {});
    ASSERT_TRUE(first.waitForStarted());
    QByteArray firstOutput;
    const QStringList ready = waitForReport(first, QStringLiteral("ready"), firstOutput);
    ASSERT_EQ(ready.size(), 1);
    EXPECT_TRUE(ready[0].startsWith(dir.filePath(QStringLiteral("run"))));

    QProcess second;
    second.setProcessEnvironment(privateEnvironment(dir));
    second.setWorkingDirectory(work);
    // Mixed items, so the running instance only shows an alert.
    second.start(applicationPath(), {QStringLiteral("a.zip"), QStringLiteral("sub/../b.txt")});
    ASSERT_TRUE(second.waitForFinished(60000));
    EXPECT_EQ(second.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(second.exitCode(), 0) << second.readAllStandardError().toStdString();
    const QStringList expected{work + QStringLiteral("/a.zip"), work + QStringLiteral("/b.txt")};

    EXPECT_EQ(waitForReport(first, QStringLiteral("open-files"), firstOutput), expected);
    EXPECT_EQ(first.state(), QProcess::Running) << "the running instance stays";

    first.kill();
    first.waitForFinished();
}

} // namespace
