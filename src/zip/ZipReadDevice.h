#pragma once

#include <QIODevice>
#include <QString>

#include <array>
#include <vector>

// A read-only archive file for the container library. The library seeks
// before nearly every read (central record, local header, data), and a plain
// file turns each of those into a system call. This device keeps two blocks of
// the file (one usually on the central directory, one on the entry data) and
// serves reads from them with pread(2); seeking costs nothing.
class ZipReadDevice : public QIODevice
{
public:
    ZipReadDevice() = default;
    ~ZipReadDevice() override;

    // Opens the file read-only. False (and errorString set) on failure.
    bool openFile(const QString& path);

    bool isSequential() const override { return false; }
    qint64 size() const override { return m_size; }
    void close() override;

protected:
    qint64 readData(char* data, qint64 maxSize) override;
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    struct Block {
        qint64 start = -1;
        qint64 length = 0;
        quint64 used = 0;
        std::vector<char> bytes;
    };

    int m_fd = -1;
    qint64 m_size = 0;
    quint64 m_clock = 0;
    std::array<Block, 2> m_blocks;
};
