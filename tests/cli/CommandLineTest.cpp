// mokuza end to end: the built program run as a script runs it (standard
// input not a terminal), with settings and a temporary folder of its own,
// against archives written and read by Python and Info-ZIP.
#include "cli/RKTerminalProgress.h"
#include "support/FaultTable.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <functional>

namespace {

struct Outcome {
    int exit = -1;
    QString out;
    QString err;
};

class CommandLine : public ::testing::Test
{
protected:
    QString path(const QString& relative) const { return dir.filePath(relative); }

    QProcess* start(const QStringList& arguments, const QByteArray& lang = "C.UTF-8",
                    const QString& program = MOKUZA_CLI)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char* name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES"}) {
            environment.remove(QString::fromLatin1(name));
        }
        environment.insert("LANG", QString::fromLatin1(lang));
        environment.insert("XDG_CONFIG_HOME", path("config"));
        environment.insert("TMPDIR", path("tmp"));
        QDir().mkpath(path("tmp"));
        environment.insert(extraEnvironment);
        process.setProcessEnvironment(environment);
        process.setWorkingDirectory(dir.path());
        process.start(program, arguments);
        return &process;
    }

    Outcome finish(const QByteArray& input = {}, QProcess::ExitStatus status = QProcess::NormalExit)
    {
        process.write(input);
        process.closeWriteChannel();
        EXPECT_TRUE(process.waitForFinished(300000));
        EXPECT_EQ(process.exitStatus(), status);
        lastOutput = process.readAllStandardOutput();
        return {process.exitCode(), QString::fromUtf8(lastOutput),
                QString::fromUtf8(err + process.readAllStandardError())};
    }

    Outcome mokuza(const QStringList& arguments, const QByteArray& input = {},
               const QByteArray& lang = "C.UTF-8")
    {
        start(arguments, lang);
        return finish(input);
    }

    // Runs Python with the script and answers its standard output.
    QString python(const QString& script, const QStringList& arguments = {})
    {
        const auto result =
            TestEnvironment::run("python3", QStringList{"-c", script} + arguments, dir.path());
        EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
        return QString::fromUtf8(result.out);
    }

    void makeFiles(const QStringList& relative)
    {
        for (const QString& file : relative) {
            ASSERT_TRUE(TestEnvironment::writeFile(path(file), file.toUtf8()));
        }
    }

    // Reads standard error until the first progress line; false when none came.
    bool waitForProgress()
    {
        process.setReadChannel(QProcess::StandardError);
        // The display shows the latest state, so it may already be past the first item.
        static const QRegularExpression progressLine(QStringLiteral(": [0-9]+% \\([0-9]/"));
        while (!QString::fromUtf8(err).contains(progressLine) && process.waitForReadyRead(60000)) {
            err += process.readAllStandardError();
        }
        return QString::fromUtf8(err).contains(progressLine);
    }

    QTemporaryDir dir;
    QProcess process;
    QProcessEnvironment extraEnvironment;
    QByteArray err; // read while waiting for a line
    QByteArray lastOutput; // the last run's standard output as bytes
};

// ---------------------------------------------------------------------------
// What scripts lean on: list, test, -q, --json, the overrides, "-" on both
// sides, the exit statuses, errors on standard error, the locale's language;
// bad usage, unknown profiles and questions with no terminal to answer them
// (exit status 2, a message, and nothing made). No run leaves a working file.

// Made for every row: src/ (a.txt, b.log, sub/c.txt), ok.zip (deflated),
// crc.zip (a stored entry with one byte changed), enc.zip (by Info-ZIP, right),
// dmg.zip (enc.zip with the stated CRC of src/a.txt changed), src.zip (taken).
constexpr const char* kScriptArchives = R"(
import os, shutil, subprocess, zipfile
os.makedirs('src/sub', exist_ok=True)
for name, data in (('src/a.txt', b'alpha' * 100), ('src/b.log', b'log'), ('src/sub/c.txt', b'c')):
    open(name, 'wb').write(data)
with zipfile.ZipFile('ok.zip', 'w', zipfile.ZIP_DEFLATED) as z:
    z.writestr('ok/a.txt', b'alpha' * 100)
    z.writestr('ok/a\nb.txt', b'newline')
with zipfile.ZipFile('crc.zip', 'w', zipfile.ZIP_STORED) as z:
    z.writestr('crc.txt', b'0123456789' * 10)
data = bytearray(open('crc.zip', 'rb').read())
data[data.index(b'0123456789') + 5] ^= 1
open('crc.zip', 'wb').write(data)
subprocess.run(['zip', '-qr', '-P', 'right', 'enc.zip', 'src'], check=True)
data = bytearray(open('enc.zip', 'rb').read())
data[data.index(b'src/a.txt', data.index(b'PK\x01\x02')) - 46 + 16] ^= 1
open('dmg.zip', 'wb').write(data)
shutil.copy('ok.zip', 'src.zip')
)";

struct ScriptCase {
    const char* name;
    QStringList arguments;
    int exit;
    const char* out; // contained in standard output ("<empty>": it is empty; "": anything)
    const char* err; // contained in standard error (the same)
    QByteArray lang = "C.UTF-8";
    QByteArray input = {};
    // After the run, with the test's folder: "" when all is well, else what is wrong.
    std::function<QString(const QString&, const QByteArray&)> check = {};
    bool outputToFull = false; // standard output is /dev/full
    QByteArray settingsFile = {}; // written over a first run's settings file ("half": its first half)
};

void PrintTo(const ScriptCase& c, std::ostream* os)
{
    *os << c.name;
}

class Script : public CommandLine, public ::testing::WithParamInterface<ScriptCase> {};

// A zip readable by Python with exactly these names.
QString holdsNames(const QString& zip, const QStringList& names)
{
    const auto listed = TestEnvironment::run(
        "python3", {"-c", "import sys, zipfile; print('\\n'.join(sorted(zipfile.ZipFile(sys.argv[1]).namelist())))", zip});
    const QString got = QString::fromUtf8(listed.out).trimmed();
    return got == names.join('\n') ? QString() : "names: " + got + " " + QString::fromUtf8(listed.err);
}

// out/a.zip opens with the password s3cret and with no other.
QString encryptedWithS3cret(const QString& d, const QByteArray&)
{
    return TestEnvironment::run("unzip", {"-P", "s3cret", "-t", "out/a.zip"}, d).exitCode == 0
            && TestEnvironment::run("unzip", {"-P", "other", "-t", "out/a.zip"}, d).exitCode != 0
        ? QString()
        : "not encrypted with s3cret";
}

TEST_P(Script, ExitStatusStreamsAndFiles)
{
    const ScriptCase& c = GetParam();
    python(kScriptArchives);
    if (!c.settingsFile.isEmpty()) {
        ASSERT_EQ(mokuza({"profiles"}).exit, 0);
        const QString file = path("config/MOKUZA/MOKUZA-FULL.conf");
        ASSERT_TRUE(TestEnvironment::writeFile(
            file, c.settingsFile == "half" ? TestEnvironment::readFile(file).left(2000) : c.settingsFile));
    }
    if (c.outputToFull) {
        process.setStandardOutputFile("/dev/full");
    }
    start(c.arguments, c.lang);
    const Outcome run = finish(c.input == "ok.zip" ? TestEnvironment::readFile(path("ok.zip")) : c.input);
    const QString out = run.out.toUtf8().size() > 4 && run.out.startsWith("PK") ? QString() : run.out;
    EXPECT_EQ(run.exit, c.exit) << run.out.toStdString() << run.err.toStdString();
    const auto holds = [this](const QString& text, const char* want) {
        return want == QStringLiteral("<empty>") ? text.isEmpty()
                                                 : text.contains(QString::fromUtf8(want).replace("$/", dir.path() + "/"));
    };
    EXPECT_TRUE(holds(out, c.out)) << "out: " << run.out.toStdString();
    EXPECT_TRUE(holds(run.err, c.err)) << "err: " << run.err.toStdString();
    if (c.check) {
        // Read again as bytes: an archive on standard output is not text.
        EXPECT_EQ(c.check(dir.path(), lastOutput).toStdString(), "");
    }
    if (c.exit >= 2) {
        EXPECT_EQ(TestEnvironment::listTree(path("out")), QStringList{}) << "nothing placed";
        EXPECT_TRUE(c.exit != 2 || !QFileInfo::exists(path("out"))) << "nothing made";
    }
    for (const QString& entry : TestEnvironment::listTree(path("tmp"))) {
        EXPECT_TRUE(entry.endsWith('/')) << entry.toStdString() << " left";
    }
    if (!c.settingsFile.isEmpty()) {
        EXPECT_EQ(run.err.count('\n'), 1) << "told once";
        EXPECT_EQ(mokuza({"profiles"}).err, QString()) << "and not again";
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table, Script,
    ::testing::Values(
        ScriptCase{"HelpInJapanese", {"compress", "--help"}, 0, "使い方: mokuza profiles", "", "ja_JP.UTF-8"},
        ScriptCase{"Profiles", {"profiles"}, 0, "Archive profiles (compress):\n    1 * Mac To Win\n    2   Mac To Mac\n", ""},
        ScriptCase{"ProfilesInJapanese", {"profiles"}, 0, "解凍プロファイル（extract）:\n    1 * Win To Mac\n", "", "ja_JP.UTF-8"},
        ScriptCase{"UnknownProfileName", {"compress", "--profile", "Nope", "--dest", "out", "src"}, 2, "", "no archive profile Nope"},
        ScriptCase{"UnknownProfileNumber", {"extract", "--profile=3", "--dest", "out", "ok.zip"}, 2, "",
                   "解凍プロファイル 3 はありません", "ja_JP.UTF-8"},
        ScriptCase{"UnknownCommand", {"pack", "src"}, 2, "", "unknown command: pack"},
        ScriptCase{"UnknownOption", {"compress", "--fast", "src"}, 2, "", "unknown option: --fast"},
        ScriptCase{"UnknownConflictPolicy", {"compress", "--on-conflict", "skip", "src"}, 2, "",
                   "--on-conflict takes ask, overwrite or rename, not skip"},
        ScriptCase{"NoPaths", {"compress", "--dest", "out"}, 2, "", "no files or folders given"},
        ScriptCase{"NoPathExists", {"compress", "--dest", "out", "gone", "gone2"}, 2, "",
                   "no such file or folder: $/gone\nmokuza: no such file or folder: $/gone2\n"},
        ScriptCase{"FolderToExtract", {"extract", "--dest", "out", "src"}, 2, "", "is a folder, not an archive"},
        ScriptCase{"AskedLocationWithoutTerminal", {"compress", "src"}, 2, "", "give --dest DIR"},
        ScriptCase{"TypedPasswordWithoutTerminal", {"compress", "--profile", "4", "--dest", "out", "src"}, 2, "",
                   "give it with --password-stdin"},
        ScriptCase{"PasswordInputEmpty", {"compress", "--password-stdin", "--dest", "out", "src"}, 2, "",
                   "standard input ended before a line"},
        ScriptCase{"PasswordInputEmptyLine", {"compress", "--password-stdin", "--dest", "out", "src"}, 2, "",
                   "--password-stdin: the password is empty", "C.UTF-8", "\n"},
        // The user is told once where the copy went; the run goes on with the factory settings.
        ScriptCase{"TruncatedSettingsFile", {"profiles"}, 0, "",
                   "mokuza: the stored settings could not be read; they were kept under "
                   "RKCONSTANTS_USERDEFAULT_SETTING_UNREADABLE_", "C.UTF-8", {}, {}, false, "half"},
        ScriptCase{"UnparsableSettingsFile", {"profiles"}, 0, "",
                   "mokuza: 設定ファイルを読み込めなかったため、初期設定を使います。元のファイルは次の名前で残しました: ",
                   "ja_JP.UTF-8", {}, {}, false, "[General\n"},
        ScriptCase{"List", {"list", "ok.zip"}, 0, "       500", ""},
        ScriptCase{"ListEscapesControlCharacters", {"list", "ok.zip"}, 0, "'ok/a'$'\\n''b.txt'\n", ""},
        ScriptCase{"ListNotAnArchive", {"list", "src/a.txt"}, 4, "<empty>", "mokuza: $/src/a.txt: cannot be read as a ZIP archive\n"},
        ScriptCase{"ListFromStandardInput", {"list", "--json", "-"}, 0, "\"name\":\"ok/a.txt\"", "", "C.UTF-8", "ok.zip"},
        ScriptCase{"TestOk", {"test", "ok.zip"}, 0, "$/ok.zip: OK (2 entries)\n", ""},
        ScriptCase{"TestQuiet", {"test", "-q", "ok.zip"}, 0, "<empty>", "<empty>"},
        ScriptCase{"TestJson", {"test", "--json", "ok.zip", "crc.zip"}, 4,
                   "{\"archive\":\"$/crc.zip\",\"entries\":1,\"failed\":1,\"status\":\"damaged\"}\n", "crc.txt: CRC mismatch"},
        ScriptCase{"TestDamagedIs4", {"test", "crc.zip"}, 4, "1 entries failed", "mokuza: $/crc.zip: crc.txt: CRC mismatch\n"},
        ScriptCase{"TestRightPassword", {"test", "--password-stdin", "enc.zip"}, 0, ": OK (5 entries)", "", "C.UTF-8", "right\n"},
        ScriptCase{"TestWrongPasswordIs3", {"test", "--password-stdin", "enc.zip", "crc.zip"}, 3, " entries failed\n", ": wrong password\n",
                   "C.UTF-8", "wrong\n"},
        ScriptCase{"TestEncryptedWithoutPassword", {"test", "enc.zip"}, 2, "<empty>", "give it with --password-stdin"},
        ScriptCase{"TestInJapanese", {"test", "crc.zip"}, 4, "crc.zip: 1 項目が失敗しました\n", "crc.txt: CRC が一致しません", "ja_JP.UTF-8"},
        ScriptCase{"ExtractFromStandardInput", {"extract", "-q", "--dest", "out", "-"}, 0, "<empty>", "<empty>", "C.UTF-8", "ok.zip",
                   [](const QString& d, const QByteArray&) {
                       return TestEnvironment::readFile(d + "/out/stdin/ok/a.txt").size() == 500 ? QString() : "not extracted";
                   }},
        ScriptCase{"CompressToStandardOutput", {"compress", "-o", "-", "src"}, 0, "<empty>", "  destination: -\n  CRC: ",
                   "C.UTF-8", {}, [](const QString& d, const QByteArray& out) {
                       TestEnvironment::writeFile(d + "/piped.zip", out);
                       return holdsNames(d + "/piped.zip", {"src/", "src/a.txt", "src/b.log", "src/sub/", "src/sub/c.txt"});
                   }},
        ScriptCase{"CompressToNamedFile", {"compress", "-o", "named.zip", "src/a.txt", "src/b.log"}, 0,
                   "  destination: $/named.zip\n", "", "C.UTF-8", {}, [](const QString& d, const QByteArray&) {
                       return holdsNames(d + "/named.zip", {"a.txt", "b.log"}) + QStringList(QDir(d).entryList({".mokuza-out-*"}, QDir::Hidden | QDir::AllEntries)).join(' ');
                   }},
        ScriptCase{"NamedFileTaken", {"compress", "-o", "ok.zip", "src"}, 2, "",
                   "mokuza: -o $/ok.zip exists; give --on-conflict overwrite or rename\n"},
        ScriptCase{"NamedFileRenamed", {"compress", "-o", "ok.zip", "--on-conflict", "rename", "src"}, 0,
                   "  destination: $/ok 2.zip\n", ""},
        ScriptCase{"Overrides", {"compress", "-q", "--dest", "out", "--level", "0", "--encoding", "cp932", "--exclude", "*.LOG",
                                 "--exclude", "sub", "src"},
                   0, "<empty>", "<empty>", "C.UTF-8", {}, [](const QString& d, const QByteArray&) {
                       const auto r = TestEnvironment::run(
                           "python3", {"-c", "import sys, zipfile; print(sorted((i.filename, i.compress_size > i.file_size) for i in zipfile.ZipFile(sys.argv[1]).infolist()))",
                                       d + "/out/src.zip"});
                       return r.out == "[('src/', True), ('src/a.txt', True)]\n" ? QString() : "entries: " + QString::fromUtf8(r.out + r.err);
                   }},
        ScriptCase{"OnePerItem", {"compress", "-q", "--dest", "out", "--one-per-item", "src/a.txt", "src/b.log"}, 0, "<empty>", "<empty>",
                   "C.UTF-8", {}, [](const QString& d, const QByteArray&) {
                       return holdsNames(d + "/out/a.zip", {"a.txt"}) + holdsNames(d + "/out/b.zip", {"b.log"});
                   }},
        ScriptCase{"Json", {"compress", "--json", "--dest", "out", "src", "gone"}, 1,
                   "{\"archive\":\"src.zip\",\"crc\":", "mokuza: [1] $/gone: The item was not found.\n"},
        ScriptCase{"JsonErrors", {"compress", "--json", "--dest", "out", "src", "gone"}, 1,
                   "\"errors\":[{\"code\":1,\"message\":\"The item was not found.\",\"path\":\"$/gone\"}],\"status\":\"errors\"}\n", ""},
        ScriptCase{"ErrorsOnStandardErrorInJapanese", {"compress", "--dest", "out", "src", "gone"}, 1, "  状態: ",
                   "mokuza: [1] $/gone: 指定されたファイルが見つかりません。\n", "ja_JP.UTF-8"},
        ScriptCase{"QuietShowsOnlyErrors", {"compress", "-q", "--dest", "out", "src", "gone"}, 1, "<empty>",
                   "mokuza: [1] $/gone: The item was not found.\n"},
        ScriptCase{"Verbose", {"extract", "-v", "--dest", "out", "ok.zip"}, 0, "items of $/ok.zip:\n  ok/a.txt\n", ""},
        ScriptCase{"EnglishLocale", {"extract", "--profile", "9", "ok.zip"}, 2, "", "no unarchive profile 9", "en_US.UTF-8"},
        ScriptCase{"FullStandardOutput", {"profiles"}, 1, "", "mokuza: standard output: No space left on device\n", "C.UTF-8",
                   {}, {}, true},
        ScriptCase{"VersionAnywhere", {"extract", "ok.zip", "--version"}, 0, "mokuza (MOKUZA-FULL) ", ""},
        ScriptCase{"BadLevel", {"compress", "--level", "10", "src"}, 2, "", "--level takes 0 to 9, not 10"},
        ScriptCase{"UnknownEncoding", {"extract", "--encoding", "klingon", "ok.zip"}, 2, "", "unknown encoding: klingon"},
        ScriptCase{"DestIsNotAStream", {"extract", "--dest", "-", "ok.zip"}, 2, "", "--dest - is not a folder"},
        // An archive encrypted by Info-ZIP: one attempt with the given password; a wrong one (exit 3) or damage
        // (exit 4) places nothing and names the entries. Each entry's check byte lets a wrong password through
        // once in 256: the code of one entry is enough.
        ScriptCase{"ExtractEncrypted", {"extract", "--password-stdin", "--profile", "Mac To Mac", "--dest", "out", "enc.zip"},
                   0, "  status: done\n", "", "C.UTF-8", "right\n", [](const QString& d, const QByteArray&) {
                       return QFileInfo::exists(d + "/out/enc/src/a.txt") ? QString() : "not placed";
                   }},
        ScriptCase{"ExtractWrongPasswordIs3", {"extract", "--password-stdin", "--profile", "Mac To Mac", "--dest", "out", "enc.zip"},
                   3, "", ": The password is wrong.\n", "C.UTF-8", "wrong\n"},
        ScriptCase{"ExtractDamagedIs4", {"extract", "--password-stdin", "--profile", "Mac To Mac", "--dest", "out", "dmg.zip"},
                   4, "", "[3] src/a.txt: The entry could not be extracted.\n", "C.UTF-8", "right\n"},
        ScriptCase{"ExtractEncryptedWithoutTerminal", {"extract", "--profile", "Mac To Mac", "--dest", "out", "enc.zip"}, 2, "",
                   "enc.zip is encrypted"},
        // The password from standard input encrypts the archive; the result masks it unless asked to show it.
        ScriptCase{"CompressWithPasswordMasked", {"compress", "--password-stdin", "--dest", "out", "src/a.txt"}, 0,
                   "  password: ********\n", "", "C.UTF-8", "s3cret\n", encryptedWithS3cret},
        ScriptCase{"CompressWithPasswordShown", {"compress", "--password-stdin", "--show-password", "--dest", "out", "src/a.txt"},
                   0, "  password: s3cret\n", "", "C.UTF-8", "s3cret\n", encryptedWithS3cret},
        // The factory profiles ask when a name is taken: without a terminal the question is refused and the
        // existing archive kept; --on-conflict answers it.
        ScriptCase{"TakenNameRefusedWithoutTerminal", {"compress", "--dest", ".", "src"}, 2, "", "--on-conflict overwrite or rename",
                   "C.UTF-8", {}, [](const QString& d, const QByteArray&) {
                       return TestEnvironment::readFile(d + "/src.zip") == TestEnvironment::readFile(d + "/ok.zip") ? QString() : "src.zip changed";
                   }},
        ScriptCase{"TakenNameRenamedByOption", {"compress", "--dest", ".", "--on-conflict", "rename", "src"}, 0,
                   "  destination: $/src 2.zip\n", ""}),
    [](const auto& info) { return std::string(info.param.name); });

// The application answers --help and --version without a display.
TEST_F(CommandLine, ApplicationPrintsHelpAndVersion)
{
    for (const char* option : {"--help", "--version"}) {
        start({option}, "C.UTF-8", MOKUZA_APP);
        const Outcome run = finish();
        EXPECT_EQ(run.exit, 0) << option;
        EXPECT_TRUE(run.out.startsWith(option == QStringLiteral("--help") ? "Usage: mokuza-full" : "mokuza-full (MOKUZA-FULL) "))
            << run.out.toStdString();
    }
}

// `mokuza list --json` against Python's own listing of archives made by
// Info-ZIP, 7-Zip and Python.
TEST_F(CommandLine, ListJsonAgreesWithPython)
{
    makeFiles({"tree/a.txt", "tree/sub/b.txt"});
    ASSERT_TRUE(TestEnvironment::writeFile(path("tree/big.bin"), QByteArray(200000, 'x')));
    ASSERT_EQ(TestEnvironment::run("zip", {"-qr", "zip.zip", "tree"}, dir.path()).exitCode, 0);
    ASSERT_EQ(TestEnvironment::run("7z", {"a", "-bd", "-tzip", "7z.zip", "tree"}, dir.path()).exitCode, 0);
    python("import zipfile\n"
           "with zipfile.ZipFile('py.zip', 'w') as z:\n"
           "    z.write('tree/a.txt')\n"
           "    z.writestr(zipfile.ZipInfo('tree/é.txt', (2001, 2, 3, 4, 5, 6)), b'e', zipfile.ZIP_DEFLATED)\n"
           "    z.writestr('tree/secret.txt', b's')\n");
    for (const char* zip : {"zip.zip", "7z.zip", "py.zip"}) {
        const Outcome run = mokuza({"list", "--json", "--encoding", "utf-8", zip});
        ASSERT_EQ(run.exit, 0) << run.err.toStdString();
        const QString expected = python(
            "import json, sys, zipfile\n"
            "for i in zipfile.ZipFile(sys.argv[1]).infolist():\n"
            "    print(json.dumps([i.filename, i.file_size, i.compress_size, i.compress_type,\n"
            "        '%04d-%02d-%02d %02d:%02d:%02d' % i.date_time, bool(i.flag_bits & 1), i.CRC], ensure_ascii=False))\n",
            {path(zip)});
        QString got;
        for (const QString& line : run.out.split('\n', Qt::SkipEmptyParts)) {
            const QJsonObject o = QJsonDocument::fromJson(line.toUtf8()).object();
            got += QString::fromUtf8(QJsonDocument(QJsonArray{o["name"], o["size"], o["packed"], o["method"], o["modified"],
                                                              o["encrypted"], o["crc"]})
                                         .toJson(QJsonDocument::Compact))
                + '\n';
        }
        EXPECT_EQ(got.toStdString(), QString(expected).replace(", ", ",").toStdString()) << zip;
    }
}

// ---------------------------------------------------------------------------
// Archives made and read.

// "Mac To Win" writes Shift-JIS (CP932) names without the UTF-8 flag, as Windows reads them; names that meet there
// are numbered and characters code page 932 lacks become "_", each reported (exit 1). Extracted again (into a
// folder named after the archive), every file arrives with its contents and its mode. Progress is plain lines when
// standard error is not a terminal; results follow the locale.
TEST_F(CommandLine, MacToWinWritesCp932NamesAndEveryFileComesBack)
{
    // 表 and ソ end in the byte of "\\" in Shift-JIS.
    const QStringList files{"資料/画像1.txt", "資料/画像①.txt", "資料/予定表.txt", "資料/sub/ソフト.txt",
                            "資料/sub/é.txt", "資料/sub/😀.txt", "資料/sub/𠮷.txt", "資料/run.sh"};
    makeFiles(files);
    ASSERT_TRUE(QFile::setPermissions(path("資料/run.sh"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner
                                                             | QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther));
    const Outcome compressed = mokuza({"compress", "--profile", "Mac To Win", "--dest", "out", "資料"});
    EXPECT_EQ(compressed.exit, 1) << compressed.err.toStdString();
    EXPECT_EQ(compressed.err.count("An item of the same name is in the archive, so the name was numbered."), 3)
        << compressed.err.toStdString();
    EXPECT_EQ(compressed.err.count("Characters the archive's encoding lacks were stored as \"_\"."), 3);
    EXPECT_TRUE(compressed.err.contains("mokuza: [7] " + path("資料/画像①.txt") + ": ")) << compressed.err.toStdString();
    EXPECT_TRUE(compressed.err.contains("compressing 資料.zip: 100% (10/10)")) << compressed.err.toStdString();
    EXPECT_FALSE(compressed.err.contains('\r') || compressed.err.contains(QChar(0x1b)));
    EXPECT_TRUE(QRegularExpression("^資料.zip\n  destination: " + QRegularExpression::escape(path("out/資料.zip"))
                                   + "\n  CRC: [0-9A-F]{8}\n")
                    .match(compressed.out)
                    .hasMatch())
        << compressed.out.toStdString();
    EXPECT_TRUE(compressed.out.contains("  errors: 6\n")) << "errors are on standard error, not here";
    QStringList names = python("import sys, zipfile\n"
                               "for i in zipfile.ZipFile(sys.argv[1]).infolist():\n"
                               "    assert not i.flag_bits & 0x800, i.filename\n"
                               "    print(i.filename.encode('cp437').decode('cp932'))\n",
                               {path("out/資料.zip")})
                            .split('\n', Qt::SkipEmptyParts);
    names.sort();
    EXPECT_EQ(names, (QStringList{"資料/", "資料/run.sh", "資料/sub/", "資料/sub/_ 2.txt", "資料/sub/_ 3.txt", "資料/sub/_.txt",
                                  "資料/sub/ソフト.txt", "資料/予定表.txt", "資料/画像1 2.txt", "資料/画像1.txt"}));

    const Outcome extracted = mokuza({"extract", "--dest", "back", "out/資料.zip"}, {}, "ja_JP.UTF-8");
    ASSERT_EQ(extracted.exit, 0) << extracted.out.toStdString();
    EXPECT_TRUE(extracted.err.contains("解凍中 資料.zip: 100% (")) << extracted.err.toStdString();
    EXPECT_TRUE(extracted.out.endsWith("  保存先: " + path("back") + "\n  状態: 完了\n")) << extracted.out.toStdString();
    QStringList arrived, contents;
    for (const QString& item : TestEnvironment::listTree(path("back/資料/資料"))) {
        if (!item.endsWith('/')) {
            arrived << item;
            contents << QString::fromUtf8(TestEnvironment::readFile(path("back/資料/資料/" + item)));
        }
    }
    contents.sort();
    EXPECT_EQ(arrived, (QStringList{"run.sh", "sub/_ 2.txt", "sub/_ 3.txt", "sub/_.txt", "sub/ソフト.txt", "予定表.txt",
                                    "画像1 2.txt", "画像1.txt"}));
    QStringList sent = files;
    sent.sort();
    EXPECT_EQ(contents, sent) << "each file holds its own path";
    EXPECT_TRUE(QFileInfo(path("back/資料/資料/run.sh")).isExecutable());
}

// A Windows-made archive (CP932 names, no UTF-8 flag, made on "MS-DOS") is
// extracted with the factory "Win To Mac" profile into a folder named after it.
TEST_F(CommandLine, ExtractWindowsMadeArchive)
{
    python("import zipfile\n"
           "class WindowsName(zipfile.ZipInfo):\n"
           "    def _encodeFilenameFlags(self):\n"
           "        return self.filename.encode('cp932'), self.flag_bits\n"
           "with zipfile.ZipFile('win.zip', 'w') as z:\n"
           "    for name, data in (('報告書/', b''), ('報告書/①～.txt', b'one'), ('Thumbs.db', b'x')):\n"
           "        info = WindowsName(name)\n"
           "        info.create_system = 0\n"
           "        info.external_attr = 0o100755 << 16  # read only from Unix makers\n"
           "        z.writestr(info, data)\n");
    const Outcome run = mokuza({"extract", "--dest", "out", "win.zip"});
    ASSERT_EQ(run.exit, 0) << run.err.toStdString();
    EXPECT_EQ(TestEnvironment::listTree(path("out")),
              (QStringList{"win/", "win/報告書/", "win/報告書/①～.txt"}))
        << "Thumbs.db is left out by the profile";
    EXPECT_EQ(TestEnvironment::readFile(path("out/win/報告書/①～.txt")), "one");
    EXPECT_FALSE(QFileInfo(path("out/win/報告書/①～.txt")).permissions() & QFile::ExeOwner)
        << "no mode is taken from an archive made on Windows";
    EXPECT_TRUE(run.out.contains("  destination: " + path("out") + "\n  status: done\n"))
        << run.out.toStdString();
}

// At the terminal an empty password is not taken, and one that does not fit an
// archive is asked for again (mokuza run on a pseudo-terminal, answering each
// prompt once echo is off).
TEST_F(CommandLine, EmptyOrWrongPasswordAtTheTerminalIsAskedAgain)
{
    static const char* const kDriver = R"(
import json, os, pty, select, signal, sys, termios, time
argv, answers = json.loads(sys.argv[1]), json.loads(sys.argv[2])
pid, fd = pty.fork()
if pid == 0:
    os.execv(argv[0], argv)
out, asked, deadline = b'', 0, time.monotonic() + 60
while time.monotonic() < deadline or os.kill(pid, signal.SIGKILL):
    ready, _, _ = select.select([fd], [], [], 0.05)
    if ready:
        try:
            chunk = os.read(fd, 4096)
        except OSError:
            chunk = b''
        if not chunk:
            break
        out += chunk
    if asked < len(answers) and out.count(b'Password') > asked             and not termios.tcgetattr(fd)[3] & termios.ECHO:
        os.write(fd, answers[asked].encode() + b'\n')
        asked += 1
sys.stdout.buffer.write(out)
sys.exit(os.waitstatus_to_exitcode(os.waitpid(pid, 0)[1]))
)";
    makeFiles({"a.txt", "secret/a.txt"});
    // AES: a wrong password passes the verifier once in 65,536 (the check byte of zip -P once in 256).
    ASSERT_EQ(TestEnvironment::run("7z", {"a", "-tzip", "-bd", "-mem=AES256", "-pright", "aes.zip", "secret"}, dir.path()).exitCode, 0);
    const struct {
        QStringList arguments;
        const char* answers;
        QStringList made;
        int wrong; // "Wrong password" said that often
    } rows[] = {
        {{"compress", "--profile", "4", "--dest", "out", "a.txt"}, R"(["", "pw", "pw"])", {"a.zip"}, 0},
        {{"extract", "--profile", "Mac To Mac", "--dest", "out", "aes.zip"}, R"(["", "wrong", "right"])",
         {"a.zip", "aes/", "aes/secret/", "aes/secret/a.txt"}, 1},
    };
    for (const auto& row : rows) {
        const QString argv = QJsonDocument(QJsonArray::fromStringList(QStringList{MOKUZA_CLI} + row.arguments))
                                 .toJson(QJsonDocument::Compact);
        start({"-c", kDriver, argv, row.answers}, "C.UTF-8", "python3");
        const Outcome run = finish();
        EXPECT_EQ(run.exit, 0) << run.out.toStdString() << run.err.toStdString();
        EXPECT_EQ(run.out.count("The password must not be empty; type one"), 1) << run.out.toStdString();
        EXPECT_EQ(run.out.count("Wrong password. Password for aes.zip again: "), row.wrong) << run.out.toStdString();
        EXPECT_EQ(TestEnvironment::listTree(path("out")).join(' ').toStdString(), row.made.join(' ').toStdString());
    }
    EXPECT_EQ(TestEnvironment::run("unzip", {"-P", "pw", "-t", "out/a.zip"}, dir.path()).exitCode, 0);
    EXPECT_NE(TestEnvironment::run("unzip", {"-P", "", "-t", "out/a.zip"}, dir.path()).exitCode, 0);
}

// ---------------------------------------------------------------------------
// The fault table: what each fault leaves on disk, the errors named with the
// system's reason (in the locale's language) and the exit status.

class FaultRun : public CommandLine, public ::testing::WithParamInterface<FaultTable::Row> {};

TEST_P(FaultRun, LeavesWhatTheRowSays)
{
    const FaultTable::Row& row = GetParam();
    FAULT_TABLE_ENTER(row);
    const FaultTable::Place place(row, dir.path());
    if (!place.temporary.isEmpty()) {
        extraEnvironment.insert("TMPDIR", place.temporary);
    }
    const Outcome run = mokuza(QStringList{row.extract ? "extract" : "compress", "--dest", place.dest,
                                           "--on-conflict", "overwrite"}
                                   + place.given(),
                               {}, "ja_JP.UTF-8");

    EXPECT_EQ(run.exit, row.exit) << run.out.toStdString() << run.err.toStdString();
    // "mokuza: [6] /path: 項目を読み込めませんでした。（許可がありません）", or
    // for a refusal "mokuza: …: /path", on standard error.
    QStringList errors;
    static const QRegularExpression line(QStringLiteral("^mokuza: \\[([0-9]+)\\] (.*?): (.*?)(?:（([^（]*)）)?$"),
                                         QRegularExpression::MultilineOption);
    for (auto it = line.globalMatch(run.err); it.hasNext();) {
        const auto match = it.next();
        errors << place.error(match.captured(1).toInt(), match.captured(2), match.captured(4));
    }
    if (row.exit == 2) {
        static const QRegularExpression refused(QStringLiteral(": (/[^\n]*)$"), QRegularExpression::MultilineOption);
        for (auto it = refused.globalMatch(run.err); it.hasNext();) {
            errors << place.error(1, it.next().captured(1), {});
        }
    }
    EXPECT_TRUE(FaultTable::matches(errors, row.errors)) << errors.join('\n').toStdString() << "\n" << run.out.toStdString();
    EXPECT_EQ(FaultTable::describe(place.dest), row.after);
}

INSTANTIATE_TEST_SUITE_P(Faults, FaultRun, ::testing::ValuesIn(FaultTable::rows(false)),
                         [](const auto& info) { return std::string(info.param.name); });

// The cancelled rows, by every signal that cancels and by SIGKILL, on a file
// system with unnamed files and (preloaded) on one without. The existing
// archive stays byte for byte; nothing is left once the next start has run.
struct SignalCase {
    const char* name;
    int signal;
    bool namedFile; // the archive is written to a hidden ".part" file
    bool output = false; // -o names the archive (written in a private folder beside it)
};

class CancelBySignal : public CommandLine,
                       public ::testing::WithParamInterface<std::tuple<FaultTable::Row, SignalCase>>
{
protected:
    // Large enough to be still under way when the signal comes; made once.
    static void SetUpTestSuite()
    {
        sources = new QTemporaryDir;
        const FaultTable::Place made(FaultTable::rows(true).constFirst(), sources->path());
    }
    static void TearDownTestSuite() { delete sources; }
    static inline QTemporaryDir* sources = nullptr;
};

TEST_P(CancelBySignal, DropsTheArchiveBeingWritten)
{
    const auto& [row, how] = GetParam();
    const FaultTable::Place place(row, dir.path(), sources->path());
    if (how.namedFile) {
        extraEnvironment.insert("LD_PRELOAD", NO_UNNAMED_FILES);
        // Under AddressSanitizer the preloaded library comes before its runtime.
        const QString asan = qEnvironmentVariable("ASAN_OPTIONS");
        extraEnvironment.insert("ASAN_OPTIONS", (asan.isEmpty() ? asan : asan + ':') + "verify_asan_link_order=0");
    }
    start(QStringList{"compress", "--on-conflict", "overwrite"}
          + (how.output ? QStringList{"-o", place.dest + "/big.zip"} : QStringList{"--dest", place.dest}) + place.given());
    process.closeWriteChannel();
    ASSERT_TRUE(waitForProgress()) << err.toStdString();
    ::kill(pid_t(process.processId()), how.signal);
    const Outcome run = finish({}, how.signal == SIGKILL ? QProcess::CrashExit : QProcess::NormalExit);

    if (how.signal == SIGKILL) {
        if (how.namedFile) {
            EXPECT_TRUE(FaultTable::describe(place.dest).join(' ').contains(".big.zip.")) << "the killed run's file";
        }
        extraEnvironment.remove("LD_PRELOAD");
        EXPECT_EQ(mokuza({"profiles"}).exit, 0) << "the next start";
    } else {
        EXPECT_EQ(run.exit, 128 + how.signal) << run.err.toStdString();
        EXPECT_TRUE(run.err.contains("mokuza: cancelling; an archive being written is not kept"))
            << run.err.toStdString();
        EXPECT_TRUE(run.out.contains("  status: cancelled\n")) << run.out.toStdString();
    }
    EXPECT_EQ(FaultTable::describe(place.dest), row.after);
}

INSTANTIATE_TEST_SUITE_P(
    Faults, CancelBySignal,
    ::testing::Combine(::testing::ValuesIn(FaultTable::rows(true)),
                       ::testing::Values(SignalCase{"SIGINT", SIGINT, true}, SignalCase{"SIGTERM", SIGTERM, true},
                                         SignalCase{"SIGHUP", SIGHUP, true}, SignalCase{"SIGPIPE", SIGPIPE, true},
                                         SignalCase{"SIGKILL", SIGKILL, true},
                                         SignalCase{"SIGKILLWithUnnamedFile", SIGKILL, false},
                                         SignalCase{"SIGKILLWithOutputFile", SIGKILL, false, true})),
    [](const auto& info) {
        return std::string(std::get<0>(info.param).name) + "_" + std::get<1>(info.param).name;
    });

// Ctrl-C while extracting: nothing is placed and no working files stay.
TEST_F(CommandLine, InterruptedExtractionPlacesNothing)
{
    // Large enough that the signal arrives while the first entry is under way.
    // (Zeros would be extracted as holes, at once.)
    python("import os, zipfile\n"
           "with zipfile.ZipFile('big.zip', 'w', zipfile.ZIP_STORED) as z:\n"
           "    for i in range(8): z.writestr('big/%d.bin' % i, os.urandom(32 << 20))\n");
    start({"extract", "--dest", "out", "big.zip"});
    process.closeWriteChannel();
    ASSERT_TRUE(waitForProgress()) << err.toStdString();
    ::kill(pid_t(process.processId()), SIGINT);
    const Outcome run = finish();

    EXPECT_EQ(run.exit, 130) << run.err.toStdString();
    EXPECT_TRUE(run.out.contains("  status: cancelled\n")) << run.out.toStdString();
    EXPECT_EQ(TestEnvironment::listTree(path("out")), QStringList{}) << "no item and no working folder";
    for (const QString& entry : TestEnvironment::listTree(path("tmp"))) {
        EXPECT_TRUE(entry.endsWith('/')) << entry.toStdString() << " left";
    }
}

// Progress follows the bytes: among small files, one of 200 MB (sparse, made
// and removed here) moves the share from under 10 % to the end while it is
// written, and again while it is extracted.
TEST_F(CommandLine, ProgressFollowsTheBytesOfALargeFile)
{
    QStringList small;
    for (int i = 0; i < 40; ++i) {
        small << QString::asprintf("big/s%02d.txt", i);
    }
    makeFiles(small);
    {
        QFile large(path("big/large.bin"));
        ASSERT_TRUE(large.open(QIODevice::WriteOnly) && large.resize(200 << 20));
    }
    const struct {
        QStringList arguments;
        const char* phase;
        int intermediate; // distinct shares seen between 10 % and 90 %, at least
    } runs[] = {
        {{"compress", "--dest", "out", "big"}, "compressing big.zip: ", 4},
        {{"extract", "--dest", "back", "out/big.zip"}, "extracting big.zip: ", 2},
    };
    static const QRegularExpression line(QStringLiteral("^(\\w+ big\\.zip: )([0-9]+)% \\(([0-9]+)/([0-9]+)\\)"),
                                         QRegularExpression::MultilineOption);
    for (const auto& r : runs) {
        const Outcome run = mokuza(r.arguments);
        ASSERT_EQ(run.exit, 0) << run.err.toStdString();
        QList<int> shares;
        QHash<int, int> sharesOfItem;
        for (auto it = line.globalMatch(run.err); it.hasNext();) {
            const auto m = it.next();
            if (m.captured(1) != r.phase) {
                continue;
            }
            const int share = m.captured(2).toInt();
            EXPECT_TRUE(shares.isEmpty() || share > shares.last()) << run.err.toStdString();
            shares << share;
            if (share >= 10 && share < 100) {
                ++sharesOfItem[m.captured(3).toInt()];
            }
        }
        EXPECT_EQ(shares.value(shares.size() - 1), 100) << run.err.toStdString();
        EXPECT_GE(int(std::count_if(shares.cbegin(), shares.cend(), [](int s) { return s >= 10 && s < 100; })),
                  r.intermediate)
            << run.err.toStdString();
        // The shares moved while one item, the large file, was under way;
        // counted by items they would move once per item at most. The last
        // share of the large file may be shown with the next item, as the
        // terminal shows only the latest of the updates that queued up.
        int mostOfOneItem = 0;
        for (const int n : std::as_const(sharesOfItem)) {
            mostOfOneItem = std::max(mostOfOneItem, n);
        }
        EXPECT_GE(mostOfOneItem, r.intermediate) << run.err.toStdString();
    }
    QFile::remove(path("big/large.bin"));
    QFile::remove(path("back/big/big/large.bin"));
}

// ---------------------------------------------------------------------------
// The terminal's progress line.

struct BarCase {
    const char* name;
    int value;
    int total;
    double share;
    double rate; // bytes a second
    qint64 left;
    int columns;
    const char* line;
    const char* label = "a.zip";
};

class BarLine : public ::testing::TestWithParam<BarCase> {};

TEST_P(BarLine, ShowsShareCountRateAndTimeLeftWithinTheWidth)
{
    const BarCase& c = GetParam();
    EXPECT_EQ(RKTerminalProgress::barLine("圧縮中", QString::fromUtf8(c.label), c.value, c.total, c.share, c.rate,
                                          c.left, c.columns),
              QString::fromUtf8(c.line));
}

INSTANTIATE_TEST_SUITE_P(
    Table, BarLine,
    ::testing::Values(
        BarCase{"Start", 0, 8, 0.0, -1, -1, 120, "圧縮中 a.zip [------------------------]   0.0% 0/8"},
        BarCase{"ThreeOfEight", 3, 8, 0.375, 2e6, 3, 120,
                "圧縮中 a.zip [#########---------------]  37.5% 3/8 2.0 MB/s 0:03 left"},
        // The share is of bytes: the last item started, and most of it to go.
        BarCase{"LastItemOfALargeOne", 8, 8, 0.05, 4000, 5000, 120,
                "圧縮中 a.zip [#-----------------------]   5.0% 8/8 4 kB/s 1:23:20 left"},
        BarCase{"Done", 8, 8, 1.0, 2e6, 0, 120, "圧縮中 a.zip [########################] 100.0% 8/8 2.0 MB/s"},
        BarCase{"NothingToDo", 0, 0, 1.0, -1, -1, 120, "圧縮中 a.zip [########################] 100.0% 0/0"},
        // The bar gives way to the figures, then the name; a wide character
        // takes two columns.
        BarCase{"NarrowTerminalShortensTheBar", 3, 8, 0.375, 2e6, 3, 60,
                "圧縮中 a.zip [#####---------]  37.5% 3/8 2.0 MB/s 0:03 left"},
        BarCase{"LongNameIsShortened", 3, 8, 0.375, 2e6, 3, 60,
                "圧縮中 とても長い… [###-----]  37.5% 3/8 2.0 MB/s 0:03 left", "とても長い名前のアーカイブ.zip"},
        BarCase{"CutToTheWidth", 3, 8, 0.375, 2e6, 3, 16, "圧縮中 a.zip [#"}),
    [](const auto& info) { return std::string(info.param.name); });

} // namespace
