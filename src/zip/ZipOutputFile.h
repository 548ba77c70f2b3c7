#pragma once

#include <QIODevice>
#include <QString>

#include <vector>

// The archive being written: a file in the archive's folder that gets the
// archive's name only when it is complete (place()), so that no reader ever
// finds a partial archive under that name and a file already there stays as
// it was until then. Unnamed (O_TMPFILE) where the file system allows it, so
// that a run that is killed leaves nothing at all; elsewhere a hidden
// ".NAME.XXXXXX.part", removed on every way out, registered with RKLeftovers
// (the next start removes one left by a killed run) and locked while it is
// written (a later run writing the same name removes one nobody holds).
//
// Writes are buffered and go out with pwrite at their own offsets; the first
// failure's errno is kept. Used by one thread at a time.
class ZipOutputFile : public QIODevice
{
public:
    ZipOutputFile() = default;
    // Discards the file unless it was placed.
    ~ZipOutputFile() override;

    // Creates the file for the archive at target, with the mode a new file
    // gets there, or the mode of the regular file at target that it is to
    // replace, and opens the device for writing. False, with systemError(),
    // when no file can be made in target's folder.
    bool create(const QString& target);

    // Writes out what is buffered; false (systemError()) on failure.
    bool flushBuffer();
    // The file's descriptor (read and write), for patches after flushBuffer().
    int handle() const { return m_fd; }
    // A path by which the file, flushed, can be read while it is unnamed.
    QString readablePath() const;
    // Makes the data durable (one fsync per archive) and gives the file the
    // archive's name, replacing what is there. False, with systemError(),
    // on failure; the file is then discarded and the target left as it was.
    bool place();
    // Closes and removes the file; the target is never touched.
    void discard();

    // errno of the first failure to create, write or place the file; 0 when
    // none failed.
    int systemError() const { return m_error; }

    bool isSequential() const override { return false; }
    qint64 size() const override;

protected:
    qint64 readData(char*, qint64) override { return -1; }
    qint64 writeData(const char* data, qint64 length) override;

private:
    bool writeAt(const char* data, qint64 length, qint64 offset);
    void fail(int error);
    void release();

    QString m_target;
    QString m_partPath; // the named file's path; empty while unnamed
    int m_fd = -1;
    int m_token = 0; // the named file's registration
    int m_error = 0;
    qint64 m_fileSize = 0;
    std::vector<char> m_buffer;
    qint64 m_bufferOffset = 0;
};
