#pragma once

#include "zip/ZipArchiveDelegate.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>

class ZipDeflatedFile;

// What the adapter needs to know about an item on disk.
struct ZipItemAttributes {
    bool isDirectory = false;
    bool isSymbolicLink = false;
    quint64 size = 0;
    // Invalid when the item carries no modification time.
    QDateTime modificationDate;
};

// The one class through which the system touches the ZIP container, in both
// directions. One object serves one archive at a time in each direction and is
// used by one thread at a time.
//
// Writing goes to a temporary file beside the archive; CloseZipFile2 renames it
// into place, so an existing file at the location is only ever replaced by a
// complete archive.
class ZipArchive
{
public:
    // (source path, bytes written before the latest chunk, item size)
    using ProgressBlock = std::function<void(const QString&, quint64, quint64)>;

    ZipArchive();
    // Closes whatever is still open (a written archive is put in place).
    ~ZipArchive();

    ZipArchive(const ZipArchive&) = delete;
    ZipArchive& operator=(const ZipArchive&) = delete;

    // --- writing ---------------------------------------------------------

    // Creates a new archive at path (replacing any file there once closed).
    bool CreateZipFile2(const QString& path);
    // append: adds entries to the existing archive in place instead.
    bool CreateZipFile2(const QString& path, bool append);
    // A password of 7-bit ASCII characters encrypts every entry. Any other
    // password is refused: nothing is created and the answer is no, so no
    // archive exists that claims a protection it does not have.
    bool CreateZipFile2(const QString& path, const QString& password);
    bool CreateZipFile2(const QString& path, const QString& password, bool append);
    // A string literal would otherwise convert to the bool form.
    bool CreateZipFile2(const QString& path, const char* password) = delete;

    // Adds one file or folder (links followed) under the entry name newname
    // (a folder gets "/" appended). level 0..9 is passed to deflate as is.
    bool addFileToZip(const QString& path, const QString& newname, int level,
                      const ProgressBlock& progressBlock);

    // The same for a file whose data were deflated elsewhere: the entry's
    // headers are those addFileToZip writes, and the progress block gets the
    // same reports, each once the data it counts are written. No when the
    // data could not all be read (the entry then holds what was read).
    bool addDeflatedFileToZip(const QString& path, const QString& newname, int level,
                              ZipDeflatedFile& deflated, const ProgressBlock& progressBlock);

    // CRC-32 of the file's contents; all bits set when it cannot be read.
    static unsigned long checkCRC(const QString& path);

    // Finishes the archive and puts it in place. No when nothing was open or
    // the archive could not be completed (then the temporary file is removed
    // and any earlier file at the location is left as it was).
    bool CloseZipFile2();

    // --- reading ---------------------------------------------------------

    bool UnzipOpenFile(const QString& path);
    bool UnzipOpenFile(const QString& path, const QString& password);

    // True when an entry from the current one to the last is encrypted.
    bool isCrypted();

    // Entry names in central-directory order ("\" shown as "/", folders end
    // in "/"). nullopt when a stored name does not decode in the encoding.
    std::optional<QStringList> getZipFileContents64(quint64 encoding);

    // Extracts the entry listed as inFilePath below the folder path. Never
    // writes outside that folder: absolute names and ".." components are
    // refused, and no existing symbolic link is followed.
    bool UnzipFileTo64(const QString& path, const QString& inFilePath, bool overWrite,
                       quint64 encoding);

    bool UnzipCloseFile();

    // --- properties --------------------------------------------------------

    QString password() const;
    void setPassword(const QString& password);
    ZipArchiveDelegate* delegate() const;
    void setDelegate(ZipArchiveDelegate* delegate);
    ProgressBlock progressBlock() const;
    void setProgressBlock(const ProgressBlock& block);
    int compression() const;
    void setCompression(int compression);
    quint64 stringEncoding() const;
    void setStringEncoding(quint64 encoding);
    quint64 numFiles() const;
    QStringList unzippedFiles() const;

    // Attributes of the item at path. With followingSymLinks a link is
    // replaced by what it points to, through chains of links; a link's target
    // is taken as the link stores it, so a relative target is looked up from
    // the working folder of the process. nullopt (and error set) on failure.
    static std::optional<ZipItemAttributes> _attributesOfItemAtPath(const QString& path,
                                                                     bool followingSymLinks,
                                                                     QString* error);

private:
    bool addItem(const QString& path, const QString& newname, int level,
                 const ProgressBlock& progressBlock, ZipDeflatedFile* deflated);
    void OutputErrorMessage(const QString& message) const;
    bool OverWrite(const QString& path) const;

    struct Private;
    std::unique_ptr<Private> d;
};
