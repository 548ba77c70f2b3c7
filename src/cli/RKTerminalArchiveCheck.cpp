#include "cli/RKTerminalArchiveCheck.h"

#include "cli/RKTerminal.h"
#include "platform/RKStringEncoding.h"
#include "zip/ZipArchive.h"
#include "zip/ZipCentralDirectory.h"
#include "zip/ZipEntryReader.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int kDamaged = 4;
constexpr int kWrongPassword = 3;

// An archive open for reading: its directory and the names as extraction
// decodes them, one per record.
struct OpenArchive {
    int fd = -1;
    ZipCentralDirectory directory;
    QStringList names;

    ~OpenArchive()
    {
        if (fd >= 0) {
            ::close(fd);
        }
    }

    bool open(const QString& path, quint64 encoding)
    {
        ZipArchive zip;
        if (!zip.UnzipOpenFile(path)) {
            return false;
        }
        const std::optional<QStringList> listed = zip.getZipFileContents64(encoding);
        zip.UnzipCloseFile();
        if (!listed) {
            return false;
        }
        names = *listed;
        fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
        struct stat info {};
        return fd >= 0 && ::fstat(fd, &info) == 0 && directory.read(fd, info.st_size)
            && directory.records().size() == size_t(names.size());
    }
};

QString methodName(quint16 method)
{
    switch (method) {
    case 0:
        return QStringLiteral("stored");
    case 8:
        return QStringLiteral("deflate");
    case 9:
        return QStringLiteral("deflate64");
    case 12:
        return QStringLiteral("bzip2");
    case 14:
        return QStringLiteral("lzma");
    case 99:
        return QStringLiteral("aes");
    default:
        return QStringLiteral("m%1").arg(method);
    }
}

// The MS-DOS date and time as stored: "2024-05-06 07:08:10".
QString dosDateTime(quint32 dos)
{
    return QString::asprintf("%04u-%02u-%02u %02u:%02u:%02u", ((dos >> 25) & 0x7f) + 1980,
                             (dos >> 21) & 0x0f, (dos >> 16) & 0x1f, (dos >> 11) & 0x1f,
                             (dos >> 5) & 0x3f, (dos & 0x1f) * 2);
}

void cannotRead(const QString& archive)
{
    RKTerminal::writeError(
        RKTerminalArchiveCheck::tr("mokuza: %1: cannot be read as a ZIP archive\n")
            .arg(RKTerminal::escapedName(archive)));
}

QString jsonLine(const QJsonObject& object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact))
        + QLatin1Char('\n');
}

} // namespace

int RKTerminalArchiveCheck::list(const QStringList& archives, const Options& options)
{
    int status = 0;
    for (const QString& archive : archives) {
        OpenArchive zip;
        if (!zip.open(archive, options.encoding)) {
            cannotRead(archive);
            status = kDamaged;
            continue;
        }
        QString text;
        if (!options.json) {
            if (archives.size() > 1) {
                text += RKTerminal::escapedName(archive) + QStringLiteral(":\n");
            }
            text += tr("      Size     Packed Method    Date       Time     Enc CRC       Name")
                + QLatin1Char('\n');
        }
        for (size_t i = 0; i < zip.directory.records().size(); ++i) {
            const ZipCentralRecord& record = zip.directory.records()[i];
            const QString& name = zip.names.at(qsizetype(i));
            const bool encrypted = record.flag & 1;
            if (options.json) {
                text += jsonLine({{QStringLiteral("archive"), archive},
                                  {QStringLiteral("name"), name},
                                  {QStringLiteral("size"), qint64(record.uncompressedSize)},
                                  {QStringLiteral("packed"), qint64(record.compressedSize)},
                                  {QStringLiteral("method"), record.method},
                                  {QStringLiteral("methodName"), methodName(record.method)},
                                  {QStringLiteral("modified"), dosDateTime(record.dosDate)},
                                  {QStringLiteral("encrypted"), encrypted},
                                  {QStringLiteral("crc"), qint64(record.crc)}});
            } else {
                text += QString::asprintf("%10llu %10llu ",
                                          static_cast<unsigned long long>(record.uncompressedSize),
                                          static_cast<unsigned long long>(record.compressedSize))
                    + methodName(record.method).leftJustified(9) + dosDateTime(record.dosDate)
                    + (encrypted ? QStringLiteral(" yes ") : QStringLiteral(" no  "))
                    + QString::asprintf("%08x  ", record.crc) + RKTerminal::escapedName(name)
                    + QLatin1Char('\n');
            }
        }
        RKTerminal::writeOutput(text);
    }
    return status;
}

int RKTerminalArchiveCheck::test(const QStringList& archives, const Options& options)
{
    bool wrongPassword = false;
    bool damaged = false;
    bool refused = false;
    bool unsupported = false;
    ZipEntryReader reader;
    QByteArray scratch;
    for (const QString& archive : archives) {
        const QString shown = RKTerminal::escapedName(archive);
        OpenArchive zip;
        if (!zip.open(archive, options.encoding)) {
            cannotRead(archive);
            damaged = true;
            if (options.json) {
                RKTerminal::writeOutput(jsonLine({{QStringLiteral("archive"), archive},
                                                  {QStringLiteral("status"), QStringLiteral("damaged")}}));
            }
            continue;
        }
        bool encrypted = false;
        for (const ZipCentralRecord& record : zip.directory.records()) {
            encrypted = encrypted || (record.flag & 1);
        }
        QList<QByteArray> passwords;
        if (encrypted) {
            std::optional<QString> password = options.password;
            if (!password && options.interactive) {
                password = RKTerminal::ask(tr("Password for %1: ").arg(QFileInfo(archive).fileName()),
                                           false);
            }
            if (!password || password->isEmpty()) {
                RKTerminal::writeError(tr("mokuza: %1 is encrypted and there is no password to "
                                          "test it with; give it with --password-stdin\n")
                                           .arg(shown));
                refused = true;
                continue;
            }
            // As extraction tries it: the UTF-8 and the Shift-JIS bytes.
            passwords.append(password->toUtf8());
            if (const auto shiftJis = RKStringEncoding::encode(*password, 8);
                shiftJis && *shiftJis != passwords.constFirst()) {
                passwords.append(*shiftJis);
            }
        }
        int failed = 0;
        QString worst = QStringLiteral("ok");
        for (size_t i = 0; i < zip.directory.records().size(); ++i) {
            const ZipCentralRecord& record = zip.directory.records()[i];
            ZipEntryReader::Result result = reader.open(zip.fd, zip.directory, record, passwords);
            if (result == ZipEntryReader::Result::Ok) {
                result = reader.read([](const char*, qsizetype) { return true; });
            }
            if (result == ZipEntryReader::Result::Ok) {
                continue;
            }
            ++failed;
            QString reason;
            switch (result) {
            case ZipEntryReader::Result::WrongPassword:
                wrongPassword = true;
                worst = QStringLiteral("wrong-password");
                reason = tr("wrong password");
                break;
            case ZipEntryReader::Result::UnsupportedMethod:
            case ZipEntryReader::Result::UnsupportedEncryption:
                unsupported = true;
                if (worst == QStringLiteral("ok")) {
                    worst = QStringLiteral("unsupported");
                }
                reason = tr("method or encryption not supported");
                break;
            default:
                damaged = true;
                if (worst != QStringLiteral("wrong-password")) {
                    worst = QStringLiteral("damaged");
                }
                reason = result == ZipEntryReader::Result::CrcMismatch ? tr("CRC mismatch")
                                                                       : tr("damaged");
                break;
            }
            RKTerminal::writeError(QStringLiteral("mokuza: %1: %2: %3\n")
                                       .arg(shown, RKTerminal::escapedName(zip.names.at(qsizetype(i))),
                                            reason));
        }
        if (options.json) {
            RKTerminal::writeOutput(jsonLine({{QStringLiteral("archive"), archive},
                                              {QStringLiteral("status"), worst},
                                              {QStringLiteral("entries"), qint64(zip.names.size())},
                                              {QStringLiteral("failed"), failed}}));
        } else if (!options.quiet) {
            RKTerminal::writeOutput(failed == 0 ? tr("%1: OK (%n entries)", nullptr, int(zip.names.size())).arg(shown)
                                                    + QLatin1Char('\n')
                                                : tr("%1: %n entries failed", nullptr, failed).arg(shown)
                                                    + QLatin1Char('\n'));
        }
    }
    return wrongPassword ? kWrongPassword : damaged ? kDamaged : refused ? 2 : unsupported ? 1 : 0;
}

void RKTerminalArchiveCheck::printNames(const QString& archive, const Options& options,
                                        bool toError)
{
    OpenArchive zip;
    if (!zip.open(archive, options.encoding)) {
        return;
    }
    QString text = tr("items of %1:").arg(RKTerminal::escapedName(archive)) + QLatin1Char('\n');
    for (const QString& name : zip.names) {
        text += QStringLiteral("  ") + RKTerminal::escapedName(name) + QLatin1Char('\n');
    }
    if (toError) {
        RKTerminal::writeError(text);
    } else {
        RKTerminal::writeOutput(text);
    }
}
