// One running application per user, between real processes: a later start
// hands its paths over and ends; the socket of an instance that ended without
// cleaning up does not stand in the way.
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <unistd.h>

namespace {

const QString kApplication = QStringLiteral(MOKUZA_BINARY_DIR "/mokuza-full");

// Reads the process's report lines until one starts with event; its fields.
QStringList waitForReport(QProcess& process, const char* event)
{
    while (process.canReadLine() || process.waitForReadyRead(30000)) {
        while (process.canReadLine()) {
            const QStringList fields = QString::fromUtf8(process.readLine()).chopped(1).split('\t');
            if (fields[0] == event) {
                return fields.mid(1);
            }
        }
    }
    ADD_FAILURE() << "no \"" << event << "\" report; " << process.readAllStandardError().toStdString();
    return {"<missing>"};
}

TEST(SingleInstanceProcesses, LaterStartsHandTheirAbsolutePathsOverAndExitZero)
{
    ASSERT_TRUE(QFileInfo(kApplication).isExecutable()) << "build the mokuza-full target first";
    QTemporaryDir dir;
    const QString run = dir.filePath("run");
    const QString work = dir.filePath("work");
    ASSERT_TRUE(QDir().mkpath(work + "/sub") && QDir().mkpath(run));
    QFile::setPermissions(run, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("XDG_RUNTIME_DIR", run);
    env.insert("XDG_CONFIG_HOME", dir.filePath("config"));
    env.insert("QT_QPA_PLATFORM", "offscreen");
    env.insert("MOKUZA_TEST_HOOKS", "1");
    env.remove("DISPLAY");
    // An instance that ended without cleaning up left its socket file.
    const QString socket = QStringLiteral("%1/mokuza-full-%2.socket").arg(run).arg(::getuid());
    TestEnvironment::run("python3", {"-c", "import socket, sys; socket.socket(socket.AF_UNIX).bind(sys.argv[1])", socket});
    ASSERT_TRUE(QFileInfo(socket).exists());
    const auto start = [&](QProcess& process, const QStringList& arguments) {
        process.setProcessEnvironment(env);
        process.setWorkingDirectory(work);
        process.start(kApplication, arguments);
    };

    QProcess first;
    start(first, {});
    EXPECT_EQ(waitForReport(first, "ready"), QStringList{socket});

    QProcess second; // mixed items, so the running instance only shows an alert
    start(second, {"資料 1.zip", "sub/../b.txt"});
    ASSERT_TRUE(second.waitForFinished(60000));
    EXPECT_EQ(second.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(second.exitCode(), 0) << second.readAllStandardError().toStdString();
    EXPECT_EQ(waitForReport(first, "open-files"), QStringList({work + "/資料 1.zip", work + "/b.txt"}));

    QProcess third; // without items: the running window comes forward, with the launcher's token
    env.insert("XDG_ACTIVATION_TOKEN", "launcher-token");
    start(third, {});
    ASSERT_TRUE(third.waitForFinished(60000));
    EXPECT_EQ(third.exitCode(), 0);
    EXPECT_EQ(waitForReport(first, "open-files"), QStringList());
    EXPECT_EQ(waitForReport(first, "activation"), QStringList{"launcher-token"});
    EXPECT_EQ(first.state(), QProcess::Running) << "the running instance stays";
    first.kill();
    first.waitForFinished();
}

} // namespace
