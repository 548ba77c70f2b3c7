// Preloaded into mokuza by the command-line suite: open() refuses O_TMPFILE
// as a file system without unnamed files does (EOPNOTSUPP), so that the
// hidden ".part" files that stand in for them are exercised for real.
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>

typedef int (*OpenFunction)(const char*, int, ...);

static int refused(const char* name, const char* path, int flags, va_list arguments)
{
    mode_t mode = 0;
    if (flags & (O_CREAT | __O_TMPFILE)) {
        mode = va_arg(arguments, mode_t);
    }
    if ((flags & O_TMPFILE) == O_TMPFILE) {
        errno = EOPNOTSUPP;
        return -1;
    }
    const OpenFunction next = (OpenFunction)dlsym(RTLD_NEXT, name);
    return next(path, flags, mode);
}

int open(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const int fd = refused("open", path, flags, arguments);
    va_end(arguments);
    return fd;
}

int open64(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const int fd = refused("open64", path, flags, arguments);
    va_end(arguments);
    return fd;
}
