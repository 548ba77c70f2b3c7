#pragma once

#include "zip/RQError.h"
#include "zip/RQUnZipArchiverDelegate.h"

#include <QList>
#include <QString>

#include <memory>

// Extracts every entry of one archive into a folder, one entry per step,
// turning failures into unarchiver-family RQErrors:
//   2   the archive cannot be opened or listed (path = the archive);
//   3   one entry could not be extracted (path = the entry name as listed):
//       damaged (marked isDamage()), or of a method or encryption the engine
//       does not read, or refused, or not writable; the run goes on;
//   4   the end record's entry count differs from the records of the
//       central directory (path = the archive), other than by a wrapped
//       16-bit count; every record is extracted;
//   5   an entry landed on the path of an earlier one and was extracted
//       under a numbered name (path = the entry name as listed);
//   6   a link entry whose target leaves the destination was not made
//       (path = the entry name as listed);
//   7   the password does not fit one entry (path = the entry name as
//       listed): the check byte or AES verifier refuses it; nothing is
//       written for it, and entries that are not encrypted are extracted;
//   999 an unexpected failure (path = the archive), which ends the run.
// Codes 2 (when the archive does not open) and 4 are marked isDamage().
// Nothing is ever written outside the destination folder: entries with an
// absolute name or a ".." component fail with code 3. Codes 5 and 6 leave
// every other entry in place (RQError::isReportOnly).
class RQUnZipArchiver
{
public:
    RQUnZipArchiver();
    // Waits for a run's worker to end.
    ~RQUnZipArchiver();

    RQUnZipArchiver(const RQUnZipArchiver&) = delete;
    RQUnZipArchiver& operator=(const RQUnZipArchiver&) = delete;

    void setDelegate(RQUnZipArchiverDelegate* delegate);
    RQUnZipArchiverDelegate* delegate() const;

    // True when the archive holds an encrypted entry; false when it cannot be
    // opened. Synchronous.
    bool isCrypted(const QString& archivePath);

    // Whether the password fits the encrypted entries of the archive (see
    // ZipArchive::passwordFits); true when the archive cannot be opened, so
    // that the run reports that. Synchronous.
    bool passwordFits(const QString& archivePath, const QString& password);

    // Starts a run: destination folder (made as needed), password (null or ""
    // for none), archive, encoding value for entry names. Opening and listing
    // happen before it returns; the steps go on on a worker thread.
    void unArchive(const QString& destination, const QString& password, const QString& archivePath,
                   quint64 sourceEncoding);
    // No password.
    void unArchive(const QString& destination, const QString& archivePath, quint64 sourceEncoding);

    // Asks the run to stop at its next step boundary. Any thread.
    void cansel();

    QList<RQError> errors() const;

    bool isNotification() const;
    void setIsNotification(bool on);

    // A number unique among live unarchivers (names the run's working folder).
    qint64 hash() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
