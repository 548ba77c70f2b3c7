#pragma once

#include <QtGlobal>

// Little-endian fields and whole reads, shared by the parts of the engine
// that read archives by hand.
namespace ZipFileIo {

inline quint16 u16(const char* p)
{
    return quint16(quint8(p[0]) | quint16(quint8(p[1])) << 8);
}

inline quint32 u32(const char* p)
{
    return quint32(u16(p)) | quint32(u16(p + 2)) << 16;
}

inline quint64 u64(const char* p)
{
    return quint64(u32(p)) | quint64(u32(p + 4)) << 32;
}

// Reads size bytes at offset, retrying short and interrupted reads. The
// count read (short only at the end of the file), or -1 on an error.
qint64 preadFully(int fd, char* data, qint64 size, qint64 offset);

} // namespace ZipFileIo
