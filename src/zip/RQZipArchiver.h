#pragma once

#include "zip/RQError.h"
#include "zip/RQZipArchiverDelegate.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <memory>

// Writes one archive from a list of files and folders, one item per step on a
// worker thread, turning failures into archiver-family RQErrors:
//   1   an item does not exist when its step runs (path = the item);
//   2   the item could not be added for no reason the system gave (path = the item);
//   4   the item's name has no form in the names encoding, even with "_"
//       for its characters (an unknown encoding), and was stored as "-"
//       (path = the item);
//   5   the finished archive, read back, has an entry that does not pass its
//       CRC check: it is not put in place (path = the archive);
//   6   characters of the item's name that the names encoding lacks were
//       stored as "_" (path = the item);
//   7   the item's stored name was taken by an earlier item and was numbered
//       ("name 2.ext"; path = the item);
//   8   the item (file or folder) cannot be read, with the system's reason; a
//       folder that cannot be listed is not stored (path = the item);
//   9   the item is a pipe, socket or device (path = the item);
//   10  the item is a link whose target is missing (path = the item);
//   11  the archive cannot be created, written or put in place, with the
//       system's reason: one error, which ends the run (path = the archive);
//   12  no item could be stored, so no archive is left (path = the archive);
//   999 an unexpected failure (path = ""), which ends the run without an
//       archive.
// Entry names are the item paths without the folder of the first item.
// The steps store the items strictly in list order and send every notice from
// that one thread; the deflating of the items that come next runs meanwhile
// on every core (a large file in chunks), so a step mostly finds its item
// ready to be written.
// The archive is written to an unnamed file in the destination's folder (see
// ZipOutputFile) and gets its name only once it is complete and read back
// whole, so an existing file at the location is replaced only by a good
// archive. A cancel is seen between items and between the chunks of an item
// and drops the archive being written.
class RQZipArchiver
{
public:
    RQZipArchiver();
    // Waits for a run's worker to end.
    ~RQZipArchiver();

    RQZipArchiver(const RQZipArchiver&) = delete;
    RQZipArchiver& operator=(const RQZipArchiver&) = delete;

    // Not owned. May be cleared (nullptr) while a run is in progress.
    void setDelegate(RQZipArchiverDelegate* delegate);
    RQZipArchiverDelegate* delegate() const;

    // Starts a run and returns at once (the empty-contents case finishes
    // before returning). url: archive path; contents: absolute paths in the
    // order to store them; password: null or "" for none; level 0..9;
    // destEncoding: encoding value for entry names.
    void archive(const QString& url, const QStringList& contents, const QString& password,
                 int level, quint64 destEncoding);
    // Level 5.
    void archive(const QString& url, const QStringList& contents, const QString& password,
                 quint64 destEncoding);
    // No password, level 5.
    void archive(const QString& url, const QStringList& contents, quint64 destEncoding);

    // Asks the run to stop: it stops at the next chunk of the item under way
    // (or of the read-back check), drops the archive being written and sends
    // the cancelled notice. Any thread.
    void cansel();

    // Errors of the current or last run, in the order raised. Safe to read
    // from any thread; complete once the run has ended.
    QList<RQError> errors() const;

    // After a run has finished: the CRC-32 of the archive file as upper-case
    // hexadecimal, always eight digits ("%08lX"), set once the archive was read back and every entry
    // passed its check. Null when it was not checked (cancelled, not
    // written) or failed (code 5). Any thread.
    QString verifyCrc() const;

    // Failure reporting; on after construction.
    bool isNotification() const;
    void setIsNotification(bool on);

private:
    struct Private;
    std::unique_ptr<Private> d;
};
