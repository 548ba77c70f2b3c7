// One running application per user, between real processes: a later start
// hands its request over and ends; the socket of an instance that ended
// without cleaning up does not stand in the way. The file managers' actions
// start it with the job they name.
#include "settings/RKSetting.h"
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

    QProcess fourth; // an explicit kind reaches the running instance as such
    start(fourth, {"--extract", "a.txt"});
    ASSERT_TRUE(fourth.waitForFinished(60000));
    EXPECT_EQ(fourth.exitCode(), 0);
    EXPECT_EQ(waitForReport(first, "extract-files"), QStringList{work + "/a.txt"});
    EXPECT_EQ(first.state(), QProcess::Running) << "the running instance stays";
    first.kill();
    first.waitForFinished();
}

// --- the file managers' actions ------------------------------------------------

struct ActionRow {
    const char* name;
    const char* file;     // below resources/filemanager
    QStringList items;    // made in the source folder; a.zip holds inner.txt
    QStringList expected; // entries of the one archive made, or the tree extracted
};

class FileManagerAction : public ::testing::TestWithParam<ActionRow> {};

// The action's own Exec line, run as the file manager would with %F filled,
// makes the job the action names whatever the extensions.
TEST_P(FileManagerAction, MakesTheJobItNames)
{
    const ActionRow& row = GetParam();
    QTemporaryDir dir;
    const QString source = dir.filePath("source"), out = dir.filePath("out"), run = dir.filePath("run");
    ASSERT_TRUE(QDir().mkpath(out) && QDir().mkpath(run) && QDir().mkpath(dir.filePath("tmp")));
    QFile::setPermissions(run, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    ASSERT_TRUE(TestEnvironment::writeFile(source + "/inner.txt", "inner"));
    ASSERT_EQ(TestEnvironment::run("zip", {"-q", "a.zip", "inner.txt"}, source).exitCode, 0);
    QFile::remove(source + "/inner.txt");
    QStringList paths;
    for (const QString& item : row.items) {
        if (!QFileInfo::exists(source + "/" + item)) {
            ASSERT_TRUE(TestEnvironment::writeFile(source + "/" + item, "text"));
        }
        paths.append(source + "/" + item);
    }
    // The file manager's profiles (the first of each list) put everything in
    // out, without asking.
    RKSetting::RestoreDefault();
    RKSetting setting = RKSetting::Setting();
    RKProfileSetting& archive = setting.archiveProfiles[0];
    RKUnArchiveProfileSetting& unArchive = setting.unArchiveProfiles[0];
    archive.saveLocation = unArchive.saveLocation = RKProfileSetting::SaveLocationStaticFolder;
    archive.saveStaticFolderPath = unArchive.saveStaticFolderPath = out;
    archive.archiveMode = RKProfileSetting::ArchiveModeSingle;
    archive.passMode = RKProfileSetting::PassModeNone;
    unArchive.unArchiveMode = RKUnArchiveProfileSetting::UnArchiveModeAsIs;
    setting.commit();

    QStringList command;
    for (const QString& line : QString::fromUtf8(TestEnvironment::readFile(
                                   MOKUZA_SOURCE_DIR "/resources/filemanager/" + QString(row.file)))
                                   .split('\n')) {
        if (line.startsWith("Exec=")) {
            command = line.mid(5).split(' ');
        }
    }
    ASSERT_EQ(command.value(0), "mokuza-full") << row.file;
    ASSERT_EQ(command.count("%F"), 1) << row.file;
    command.replace(command.indexOf("%F"), paths.join('\x1f'));
    command = command.join('\x1f').split('\x1f');

    QProcess app; // the settings of this test process, a socket of its own
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("XDG_RUNTIME_DIR", run);
    env.insert("TMPDIR", dir.filePath("tmp"));
    env.insert("QT_QPA_PLATFORM", "offscreen");
    env.remove("DISPLAY");
    app.setProcessEnvironment(env);
    app.start(kApplication, command.mid(1));
    ASSERT_TRUE(app.waitForStarted());
    // Archives are renamed into place, so one that shows up is complete;
    // an extraction is done once its hidden working folder is gone. The
    // result window then waits for a user.
    const bool extract = QString(row.file).contains("extract");
    const auto made = [&] { return QDir(out).entryList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot); };
    EXPECT_TRUE(TestEnvironment::waitFor(
        [&] {
            return (extract ? TestEnvironment::listTree(out) == row.expected : !made().isEmpty())
                || app.state() == QProcess::NotRunning;
        },
        120000))
        << "nothing made";
    app.kill();
    app.waitForFinished();
    if (extract) {
        EXPECT_EQ(TestEnvironment::listTree(out), row.expected) << app.readAllStandardError().toStdString();
    } else {
        ASSERT_EQ(made().size(), 1) << app.readAllStandardError().toStdString();
        ASSERT_TRUE(made().first().endsWith(".zip")) << made().first().toStdString();
        const auto listed = TestEnvironment::run("unzip", {"-Z1", out + "/" + made().first()});
        QStringList entries = QString::fromUtf8(listed.out).split('\n', Qt::SkipEmptyParts);
        entries.sort();
        EXPECT_EQ(entries, row.expected);
    }
}

INSTANTIATE_TEST_SUITE_P(
    App, FileManagerAction,
    ::testing::Values(
        ActionRow{"DolphinCompressStoresAZip", "dolphin/mokuza-full-compress.desktop", {"a.zip"}, {"a.zip"}},
        ActionRow{"DolphinExtract", "dolphin/mokuza-full-extract.desktop", {"a.zip"}, {"inner.txt"}},
        ActionRow{"NemoCompressStoresAZip", "nemo/mokuza-full-compress.nemo_action", {"a.zip"}, {"a.zip"}},
        ActionRow{"NemoExtract", "nemo/mokuza-full-extract.nemo_action", {"a.zip"}, {"inner.txt"}},
        ActionRow{"CajaCompressStoresAZip", "caja/mokuza-full-compress.desktop", {"a.zip"}, {"a.zip"}},
        ActionRow{"CajaExtract", "caja/mokuza-full-extract.desktop", {"a.zip"}, {"inner.txt"}}),
    [](const auto& info) { return std::string(info.param.name); });

} // namespace
