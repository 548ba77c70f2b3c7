#include "zip/ZipFileIo.h"

#include <cerrno>
#include <unistd.h>

qint64 ZipFileIo::preadFully(int fd, char* data, qint64 size, qint64 offset)
{
    qint64 done = 0;
    while (done < size) {
        const ssize_t n = ::pread(fd, data + done, size_t(size - done), off_t(offset + done));
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            return -1;
        }
        if (n == 0) {
            break;
        }
        done += n;
    }
    return done;
}
