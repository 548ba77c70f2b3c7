#pragma once

#include "zip/ZipArchiveDelegate.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>

class ZipDeflatedFile;

// How the name of the last entry written or extracted departed from the name
// it was given.
struct ZipNameOutcome {
    // Written: even with "_" for its characters the name has no form in the
    // names encoding (an unknown encoding), so it was stored as "-".
    bool storedAsDash = false;
    // Written: characters without a form in the names encoding became "_".
    bool charactersReplaced = false;
    // Written: the name was taken by an earlier entry and was numbered.
    // Extracted: the path was taken by an earlier entry and was numbered.
    bool numbered = false;
    // Extracted: a link whose target leaves the destination was not made.
    bool linkLeftOut = false;
};

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
// Writing goes to a file in the archive's folder that is unnamed where the file
// system allows it (ZipOutputFile); CloseZipFile2 gives it the archive's name,
// so an existing file at the location is only ever replaced by a complete
// archive, and a run that is cancelled or killed leaves nothing.
//
// Reading does not go through the container library: its walk trusts the end
// record's entry count and it decodes only stored and deflated data, so the
// central directory is walked here (ZipCentralDirectory) and entries are
// decoded here too (ZipEntryReader).
class ZipArchive
{
public:
    // (source path, bytes written before the latest chunk, item size)
    using ProgressBlock = std::function<void(const QString&, quint64, quint64)>;

    ZipArchive();
    // Closes whatever is still open; an archive being written that was not
    // closed is discarded, never put in place.
    ~ZipArchive();

    ZipArchive(const ZipArchive&) = delete;
    ZipArchive& operator=(const ZipArchive&) = delete;

    // --- writing ---------------------------------------------------------

    // Creates a new archive at path (replacing any file there once closed).
    // No, with systemError(), when no file can be made in path's folder.
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

    // Adds one file or folder (links followed: what a link points to is
    // stored, with its mode and time) under the entry name newname (a folder
    // gets "/" appended). level 0..9 is passed to deflate as is. Entries are
    // made by Unix: the mode in the external attributes with the DOS folder
    // and read-only bits, and the modification time also in an extended
    // timestamp field. The stored name follows ZipStoredNames (Shift-JIS
    // forms, "_" for characters the encoding lacks, a name taken earlier in
    // this archive numbered); lastNameOutcome() tells what it changed.
    // No when the item cannot be read (systemError() says why), when the
    // archive cannot be written (archiveWriteFailed()), or when the cancel
    // flag was seen set between two chunks of the file.
    bool addFileToZip(const QString& path, const QString& newname, int level,
                      const ProgressBlock& progressBlock);
    // What the last addFileToZip or UnzipFileTo64 did to the entry's name.
    ZipNameOutcome lastNameOutcome() const;

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
    // The same, putting the archive in place only when check, given a path
    // by which the complete archive can be read, answers yes.
    bool CloseZipFile2(const std::function<bool(const QString&)>& check);
    // Ends the archive being written without putting it in place: the file
    // at the location, if any, stays as it was.
    void DiscardZipFile();

    // An item of addFileToZip stops between two chunks once *flag is set
    // (null: never). The flag must outlive the writing.
    void setCancelFlag(const std::atomic<bool>* flag);
    // True once writing the archive failed since it was created: its data
    // could not be written, or the finished archive could not be put in
    // place.
    bool archiveWriteFailed() const;
    // errno of the latest failure to create, write or place the archive, or
    // to read an item; 0 when the system gave no reason.
    int systemError() const;

    // --- reading ---------------------------------------------------------

    // Opens an archive for reading: finds its end record (anywhere in the
    // last 65,535 + 22 bytes; one inside the comment whose directory does not
    // parse is passed over) and walks the central directory by its size and
    // offset. No when the file cannot be read or no directory parses. An
    // archive without entries opens.
    bool UnzipOpenFile(const QString& path);
    // The password is tried as its UTF-8 and its Shift-JIS bytes on each
    // encrypted entry; the encryption header's check byte picks the form.
    bool UnzipOpenFile(const QString& path, const QString& password);

    // The entry count the end record states. It differs from numFiles (the
    // records walked) when a writer let the 16-bit count wrap, or the
    // archive is damaged.
    quint64 declaredNumFiles() const;

    // True when any entry is encrypted.
    bool isCrypted();

    // Whether the password given at opening fits the archive, asked before
    // anything is written: false when one of the first eight encrypted
    // entries that can be checked refuses it (the check byte of traditional
    // encryption, the verifier of AES); true when none refuses it, and when
    // nothing is open or nothing is encrypted.
    bool passwordFits();

    // Entry names in central-directory order, one per record ("\" shown as
    // "/", folders end in "/"). A name is read as UTF-8 when it carries the
    // UTF-8 flag or an Info-ZIP Unicode Path field that matches it. The other
    // names are all read as UTF-8 when each of them is valid UTF-8 and one at
    // least is not ASCII (what tools that write UTF-8 without the flag make);
    // otherwise in the encoding, a name that is not valid there but is valid
    // UTF-8 as UTF-8. nullopt when a name decodes neither way.
    std::optional<QStringList> getZipFileContents64(quint64 encoding);
    // The same check of every name without keeping the names (an archive may
    // hold a hundred thousand): the number of entries, or nullopt when a name
    // decodes neither way.
    std::optional<qsizetype> checkZipFileContents64(quint64 encoding);
    // The name listed at index by the last listing (either form); empty when
    // there is none.
    QString listedName(qsizetype index) const;

    // Extracts the entry at position index of the listing below the folder
    // path. Never writes outside that folder: absolute
    // names and ".." components are refused, and no existing symbolic link is
    // followed. No (and a text to the delegate, and lastFailure() set) for an
    // entry whose method or encryption is not supported (methods 0, 8, 9, 12,
    // 14, traditional encryption and WinZip AES are), whose data overlap
    // another entry's, whose local header does not match its central record,
    // whose password does not fit, or whose data are damaged (they do not
    // decode, or fail the CRC or the AES authentication code); nothing is
    // written for these but the last.
    //
    // The path is decided by ZipExtractedPaths, on the listed name in
    // composed form (NFC): an entry whose path an earlier entry of this
    // archive took is written under a numbered name
    // (lastNameOutcome().numbered). From a Unix or macOS maker, a file gets
    // the stored permission bits through the umask (never setuid, setgid or
    // sticky), and a link entry becomes a symbolic link when its target stays
    // inside the folder; one whose target leaves it is not made (no, and
    // lastNameOutcome().linkLeftOut). Modification times come from an
    // extended timestamp or NTFS field, else the MS-DOS fields. Folder
    // entries get their mode and time from finishFolders.
    bool UnzipFileTo64(const QString& path, qsizetype index, bool overWrite, quint64 encoding);
    // The same for the entry listed as inFilePath (the first one listed so);
    // of entries whose stored names differ only in the case of ASCII letters,
    // the first one.
    bool UnzipFileTo64(const QString& path, const QString& inFilePath, bool overWrite,
                       quint64 encoding);

    // Gives the folder entries extracted since the archive was opened their
    // stored times and, from a Unix maker, their permission bits through the
    // umask with every right kept for the owner (what is inside must stay
    // movable); deepest first, as making files in a folder changes its time.
    // Nothing is reported. UnzipCloseFile does it too.
    void finishFolders();

    // Why the last UnzipFileTo64 answered no: a password that does not fit
    // the entry, damaged data (also a local header or data range that does
    // not fit the directory), or anything else (a method not read here, a
    // name leading outside, an output that cannot be written). None after a
    // yes.
    enum class ReadFailure { None, WrongPassword, Damaged, Other };
    ReadFailure lastFailure() const;

    bool UnzipCloseFile();

    // Reads back every entry of the archive at path (decrypted with the
    // password when it has one), on every core, and checks its size and CRC. The CRC-32 of
    // the whole archive file when every entry passes; nullopt when one does
    // not or the archive cannot be read.
    // A set cancel flag stops the check, which then answers nullopt.
    static std::optional<quint32> testArchive(const QString& path, const QString& password,
                                              const std::atomic<bool>* cancel = nullptr);

    // --- properties --------------------------------------------------------

    QString password() const;
    void setPassword(const QString& password);
    ZipArchiveDelegate* delegate() const;
    void setDelegate(ZipArchiveDelegate* delegate);
    // Also called while a file entry is extracted, every 4 MiB written: (the
    // path written, bytes written so far, the entry's stated size).
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
