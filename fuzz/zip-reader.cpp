// Fuzz target of the zip reader. Each input is taken as an archive: opened,
// tested for encrypted entries, listed in Shift-JIS and in UTF-8, and every
// listed entry extracted, without and with a password, into a folder of its
// own. Besides what the sanitizers catch, the run stops when anything appears
// outside that folder or a link appears inside it.
#include "zip/ZipArchive.h"

#include <QByteArray>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sys/resource.h>

namespace {

constexpr quint64 kShiftJIS = 8;
constexpr quint64 kUtf8 = 4;
// A few kilobytes of deflate data inflate to gigabytes. Past this size every
// write of an extracted file fails, as on a full disk, which the reader must
// survive anyway.
constexpr rlim_t kLargestExtractedFile = 256 << 10;

// The archive and the destination lie two folders down, so that an entry
// that climbs out by one or two levels lands where it is seen.
struct Workspace {
    QTemporaryDir top;
    QString archive;
    QString destination;

    Workspace()
        : archive(top.filePath(QStringLiteral("a/b/input.zip")))
        , destination(top.filePath(QStringLiteral("a/b/dest")))
    {
        QDir().mkpath(top.filePath(QStringLiteral("a/b")));
    }
};

Workspace& workspace()
{
    static Workspace instance;
    return instance;
}

[[noreturn]] void fail(const char* what, const QString& path)
{
    std::fprintf(stderr, "zip-reader fuzz: %s: %s\n", what, QFile::encodeName(path).constData());
    std::abort();
}

void checkNothingEscaped(const Workspace& w)
{
    QDirIterator all(w.top.path(), QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                     QDirIterator::Subdirectories);
    while (all.hasNext()) {
        const QString path = all.next();
        const bool expected = path == w.top.filePath(QStringLiteral("a"))
            || path == w.top.filePath(QStringLiteral("a/b")) || path == w.archive
            || path == w.destination || path.startsWith(w.destination + QLatin1Char('/'));
        if (!expected) {
            fail("written outside the destination", path);
        }
        // Links from Unix makers are restored, but only ones that stay in
        // the destination: follow the whole chain without leaving it.
        const QFileInfo link(path);
        if (link.isSymLink()) {
            const QString resolved = QDir::cleanPath(link.symLinkTarget());
            const QString target = QFileInfo(path).canonicalFilePath();
            const QString inside = QFileInfo(w.destination).canonicalFilePath();
            const bool stays = (resolved == w.destination || resolved.startsWith(w.destination + QLatin1Char('/')))
                && (target.isEmpty() || target == inside || target.startsWith(inside + QLatin1Char('/')));
            if (!stays) {
                fail("a link leads out of the destination", path);
            }
        }
    }
}

void extractAll(const Workspace& w, quint64 encoding, const QString& password)
{
    ZipArchive zip;
    const bool opened = password.isEmpty() ? zip.UnzipOpenFile(w.archive)
                                           : zip.UnzipOpenFile(w.archive, password);
    if (!opened) {
        return;
    }
    zip.passwordFits();
    // By position, as the unarchiver does, and the first entry by name too,
    // which looks it up.
    if (const std::optional<QStringList> names = zip.getZipFileContents64(encoding)) {
        for (qsizetype i = 0; i < names->size(); ++i) {
            zip.UnzipFileTo64(w.destination, i, true, encoding);
        }
        if (!names->isEmpty()) {
            zip.UnzipFileTo64(w.destination, names->first(), true, encoding);
        }
    }
    zip.UnzipCloseFile();
    checkNothingEscaped(w);
    QDir(w.destination).removeRecursively();
}

} // namespace

// The reader reports every archive it opens to the system log; millions of
// inputs must not flood it.
extern "C" void syslog(int, const char*, ...) {}

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{kLargestExtractedFile, kLargestExtractedFile};
    setrlimit(RLIMIT_FSIZE, &limit);
    workspace();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const Workspace& w = workspace();
    QFile input(w.archive);
    if (!input.open(QIODevice::WriteOnly | QIODevice::Truncate)
        || input.write(reinterpret_cast<const char*>(data), qint64(size)) != qint64(size)) {
        fail("cannot write the input", w.archive);
    }
    input.close();

    {
        ZipArchive probe;
        if (probe.UnzipOpenFile(w.archive)) {
            probe.isCrypted();
            probe.UnzipCloseFile();
        }
    }
    for (const quint64 encoding : {kShiftJIS, kUtf8}) {
        extractAll(w, encoding, QString());
        extractAll(w, encoding, QStringLiteral("password"));
    }
    return 0;
}
