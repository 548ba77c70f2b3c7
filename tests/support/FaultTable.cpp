#include "support/FaultTable.h"

#include "support/TestEnvironment.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

namespace FaultTable {

namespace {

const QStringList kBig{"big/a~8", "big/b~8", "big/c~8", "big/d~8",
                       "big/e~8", "big/f~8", "big/g~8", "big/h~8"};

QByteArray native(const QString& path)
{
    return QFile::encodeName(path);
}

void makeIncompressible(const QString& path, int mebibytes)
{
    QByteArray bytes(qsizetype(mebibytes) << 20, Qt::Uninitialized);
    QRandomGenerator(quint32(mebibytes)).fillRange(reinterpret_cast<quint32*>(bytes.data()),
                                                   bytes.size() / 4);
    ASSERT_TRUE(TestEnvironment::writeFile(path, bytes)) << path.toStdString();
}

// One file below twenty-two folders of 200 characters: each name is fine,
// the path is longer than any path the system takes.
void makeDeepArchive(const QString& path)
{
    const auto made = TestEnvironment::run(
        "python3", {"-c",
                    "import sys, zipfile\n"
                    "with zipfile.ZipFile(sys.argv[1], 'w') as z:\n"
                    "    z.writestr('/'.join(['d' * 200] * 22) + '/f.txt', b'deep')\n",
                    path});
    ASSERT_EQ(made.exitCode, 0) << made.err.toStdString();
}

QString relative(const QString& path, const QString& root, const QString& dest)
{
    if (path == dest || path.startsWith(dest + '/')) {
        return "dest" + path.mid(dest.size());
    }
    return path.startsWith(root + '/') ? path.mid(root.size() + 1) : path;
}

} // namespace

QList<Row> rows(bool cancelled)
{
    static const QList<Row> all{
        {"UnreadableFolderAndFile", false, Sandbox::Unprivileged,
         {"src/a", "src/locked/x", "src/locked!", "src/secret!"}, {"src"}, {},
         {"src.zip: src/ src/a"}, {"8 src/locked 許可がありません", "8 src/secret 許可がありません"}, 1},
        {"PathThatIsGoneIsTakenOut", false, Sandbox::None, {"src/a"}, {"src", "gone"}, {},
         {"src.zip: src/ src/a"}, {"1 gone"}, 1},
        {"NoPathLeftAsksAndWritesNothing", false, Sandbox::None, {}, {"gone"}, {}, {}, {"1 gone"}, 2},
        {"FifoAndDanglingLink", false, Sandbox::None, {"src/a", "src/pipe|", "src/link->nowhere"}, {"src"},
         {}, {"src.zip: src/ src/a"}, {"9 src/pipe", "10 src/link"}, 1},
        {"NothingStorableLeavesTheOldArchive", false, Sandbox::None, {"pipe|"}, {"pipe"}, {"pipe.zip"},
         {"pipe.zip=old"}, {"9 pipe", "12 dest/pipe.zip"}, 1},
        {"ReadOnlyDestination", false, Sandbox::Unprivileged, {"src/a"}, {"src"}, {"src.zip", "!"},
         {"src.zip=old"}, {"11 dest/src.zip 許可がありません"}, 1},
        {"FullDestination", false, Sandbox::FullDestination, {"src/big~1"}, {"src"}, {"src.zip"},
         {"src.zip=old"}, {"11 dest/src.zip デバイスに空き領域がありません"}, 1},
        {"CancelledWhileWriting", false, Sandbox::None, kBig, {"big"}, {}, {}, {}, 1, true},
        {"CancelledOverwriteKeepsTheOldArchive", false, Sandbox::None, kBig, {"big"}, {"big.zip"},
         {"big.zip=old"}, {}, 1, true},
        {"ExtractionWithASmallTemporaryDirectory", true, Sandbox::SmallTemporary, {"src/a", "src/big~16"},
         {"src.zip"}, {}, {"src/", "src/src/", "src/src/a=src/a", "src/src/big (16777216 bytes)"}, {}, 0},
        {"EntryTooDeepLeavesNothing", true, Sandbox::None, {"deep.zip^"}, {"deep.zip"}, {}, {},
         {"2 dest/deep/* ファイル名が長すぎます"}, 1},
    };
    QList<Row> chosen;
    for (const Row& row : all) {
        if (row.cancel == cancelled) {
            chosen.append(row);
        }
    }
    return chosen;
}

Entry enter(const Row& row, QString* skipReason)
{
    if (qEnvironmentVariableIsSet("MOKUZA_FAULT_CHILD") || row.sandbox == Sandbox::None
        || (row.sandbox == Sandbox::Unprivileged && ::geteuid() != 0)) {
        return Entry::Run;
    }
    QStringList prefix;
    QTemporaryDir mount;
    QByteArray temporary = qgetenv("TMPDIR");
    if (row.sandbox == Sandbox::Unprivileged) {
        if (!TestEnvironment::hasProgram("setpriv")) {
            *skipReason = "runs as an unprivileged user, and setpriv is missing";
            return Entry::Skip;
        }
        prefix = {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
        // The child makes its own folders where that user may.
        temporary = "/tmp";
    } else {
        if (::geteuid() != 0 || TestEnvironment::run("unshare", {"-m", "true"}).exitCode != 0) {
            *skipReason = "mounts a file system of its own, which needs root and mount namespaces";
            return Entry::Skip;
        }
        const char* size = row.sandbox == Sandbox::FullDestination ? "size=256k" : "size=5m";
        prefix = {"unshare", "-m", "sh", "-c",
                  QString("mount -t tmpfs -o %1 tmpfs \"$0\" && exec \"$@\"").arg(size), mount.path()};
    }
    const ::testing::TestInfo* test = ::testing::UnitTest::GetInstance()->current_test_info();
    const QByteArray savedTemporary = qgetenv("TMPDIR");
    qputenv("MOKUZA_FAULT_CHILD", "1");
    qputenv("MOKUZA_FAULT_MOUNT", native(mount.path()));
    qputenv("TMPDIR", temporary);
    const auto child = TestEnvironment::run(
        prefix.takeFirst(),
        prefix + QStringList{QCoreApplication::applicationFilePath(),
                             QString("--gtest_filter=%1.%2").arg(test->test_suite_name(), test->name())});
    qunsetenv("MOKUZA_FAULT_CHILD");
    qunsetenv("MOKUZA_FAULT_MOUNT");
    qputenv("TMPDIR", savedTemporary);
    EXPECT_EQ(child.exitCode, 0) << "in the child:\n" << child.out.toStdString() << child.err.toStdString();
    EXPECT_TRUE(child.out.contains("[  PASSED  ] 1 test")) << child.out.toStdString();
    return Entry::Done;
}

Place::Place(const Row& row, const QString& testFolder, const QString& sources)
    : root(testFolder)
    , m_row(row)
    , m_sources(sources.isEmpty() ? testFolder : sources)
{
    const QString mount = qEnvironmentVariable("MOKUZA_FAULT_MOUNT");
    dest = row.sandbox == Sandbox::FullDestination ? mount : root + "/dest";
    temporary = row.sandbox == Sandbox::SmallTemporary ? mount : QString();
    QDir().mkpath(dest);
    if (sources.isEmpty()) {
        for (QString entry : row.made) {
            const QString path = root + '/' + entry.section("->", 0, 0).remove(QRegularExpression("[|!^]$|~.*$"));
            QDir().mkpath(entry.endsWith('/') ? path : QFileInfo(path).path());
            if (entry.endsWith('|')) {
                EXPECT_EQ(::mkfifo(native(path), 0600), 0);
            } else if (entry.contains("->")) {
                EXPECT_TRUE(QFile::link(entry.section("->", 1), path));
            } else if (entry.contains('~')) {
                makeIncompressible(path, entry.section('~', 1).toInt());
            } else if (entry.endsWith('^')) {
                makeDeepArchive(path);
            } else if (entry.endsWith('!')) {
                if (!QFileInfo::exists(path)) {
                    EXPECT_TRUE(TestEnvironment::writeFile(path, entry.chopped(1).toUtf8()));
                }
                EXPECT_EQ(::chmod(native(path), 0), 0);
                m_closed.prepend(path);
            } else if (!entry.endsWith('/')) {
                EXPECT_TRUE(TestEnvironment::writeFile(path, entry.toUtf8()));
            }
        }
        if (row.extract && QFileInfo(root + "/src").isDir()) {
            const auto zipped = TestEnvironment::run("zip", {"-r", "-q", "-0", "src.zip", "src"}, root);
            EXPECT_EQ(zipped.exitCode, 0) << zipped.err.toStdString();
        }
    }
    for (const QString& entry : row.existing) {
        if (entry == "!") {
            EXPECT_EQ(::chmod(native(dest), 0555), 0);
            m_closed.prepend(dest);
        } else {
            EXPECT_TRUE(TestEnvironment::writeFile(dest + '/' + entry, "old"));
        }
    }
}

Place::~Place()
{
    for (const QString& path : std::as_const(m_closed)) {
        ::chmod(native(path), 0755);
    }
}

QStringList Place::given() const
{
    QStringList paths;
    for (const QString& path : m_row.given) {
        paths << m_sources + '/' + path;
    }
    return paths;
}

QString Place::error(int code, const QString& path, const QString& reason) const
{
    QString line = QString::number(code) + ' ' + relative(path, m_sources, dest);
    if (!reason.isEmpty()) {
        line += ' ' + reason;
    }
    return line;
}

QStringList describe(const QString& folder)
{
    QStringList lines;
    QDirIterator it(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QFileInfo info(it.next());
        const QString name = QDir(folder).relativeFilePath(info.filePath());
        if (info.isSymLink()) {
            lines << name + "->" + info.symLinkTarget();
        } else if (info.isDir()) {
            lines << name + '/';
        } else if (info.size() <= 16) {
            lines << name + '=' + QString::fromUtf8(TestEnvironment::readFile(info.filePath()));
        } else if (name.endsWith(".zip")) {
            const auto listed = TestEnvironment::run(
                "python3", {"-c",
                            "import sys, zipfile\n"
                            "z = zipfile.ZipFile(sys.argv[1])\n"
                            "print('unreadable' if z.testzip() else ' '.join(sorted(z.namelist())))\n",
                            info.filePath()});
            lines << name + ": " + QString::fromUtf8(listed.out).trimmed();
        } else {
            lines << QString("%1 (%2 bytes)").arg(name).arg(info.size());
        }
    }
    lines.sort();
    return lines;
}

bool matches(QStringList errors, QStringList expected)
{
    errors.sort();
    expected.sort();
    if (errors.size() != expected.size()) {
        return false;
    }
    for (qsizetype i = 0; i < errors.size(); ++i) {
        QString pattern = QRegularExpression::escape(expected[i]);
        pattern.replace("\\*", ".*");
        if (!QRegularExpression('^' + pattern + '$').match(errors[i]).hasMatch()) {
            return false;
        }
    }
    return true;
}

} // namespace FaultTable
