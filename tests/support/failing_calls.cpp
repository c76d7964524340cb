// SPDX-License-Identifier: MIT
#include "support/failing_calls.h"

#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <fcntl.h>
#include <sys/types.h>

static bool isCounting = false;
static uint64_t asked = 0;
static uint64_t failing = 0; // counted from 1
static bool refusesUnnamed = false;

extern "C" int __real_open(const char* path, int flags, mode_t mode);
extern "C" int __real_openat(int folder, const char* path, int flags, mode_t mode);
extern "C" ssize_t __real_read(int file, void* bytes, size_t size);
extern "C" ssize_t __real_pread(int file, void* bytes, size_t size, off_t offset);
extern "C" ssize_t __real___read_chk(int file, void* bytes, size_t size, size_t room);
extern "C" ssize_t __real___pread_chk(int file, void* bytes, size_t size, off_t offset,
                                      size_t room);
extern "C" ssize_t __real_write(int file, const void* bytes, size_t size);
extern "C" int __real_fsync(int file);
extern "C" int __real_fchmod(int file, mode_t mode);
extern "C" int __real_linkat(int from, const char* path, int to, const char* name, int flags);
extern "C" int __real_renameat(int from, const char* path, int to, const char* name);

extern "C" int __wrap_open(const char* path, int flags, ...);
extern "C" int __wrap_openat(int folder, const char* path, int flags, ...);
extern "C" ssize_t __wrap_read(int file, void* bytes, size_t size);
extern "C" ssize_t __wrap_pread(int file, void* bytes, size_t size, off_t offset);
extern "C" ssize_t __wrap___read_chk(int file, void* bytes, size_t size, size_t room);
extern "C" ssize_t __wrap___pread_chk(int file, void* bytes, size_t size, off_t offset,
                                      size_t room);
extern "C" ssize_t __wrap_write(int file, const void* bytes, size_t size);
extern "C" int __wrap_fsync(int file);
extern "C" int __wrap_fchmod(int file, mode_t mode);
extern "C" int __wrap_linkat(int from, const char* path, int to, const char* name, int flags);
extern "C" int __wrap_renameat(int from, const char* path, int to, const char* name);

/// Counts a call.
/// @return whether it fails, with errno set
static bool Fails(int error)
{
    if (!isCounting)
    {
        return false;
    }
    asked += 1;
    if (asked != failing)
    {
        return false;
    }
    errno = error;
    return true;
}

static mode_t ModeOf(int flags, va_list arguments)
{
    return (flags & (O_CREAT | __O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

int __wrap_open(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = ModeOf(flags, arguments);
    va_end(arguments);
    return Fails(EIO) ? -1 : __real_open(path, flags, mode);
}

int __wrap_openat(int folder, const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = ModeOf(flags, arguments);
    va_end(arguments);
    if (refusesUnnamed && (flags & O_TMPFILE) == O_TMPFILE)
    {
        errno = EOPNOTSUPP;
        return -1;
    }
    return Fails(EIO) ? -1 : __real_openat(folder, path, flags, mode);
}

ssize_t __wrap_read(int file, void* bytes, size_t size)
{
    return Fails(EIO) ? -1 : __real_read(file, bytes, size);
}

ssize_t __wrap_pread(int file, void* bytes, size_t size, off_t offset)
{
    return Fails(EIO) ? -1 : __real_pread(file, bytes, size, offset);
}

ssize_t __wrap___read_chk(int file, void* bytes, size_t size, size_t room)
{
    return Fails(EIO) ? -1 : __real___read_chk(file, bytes, size, room);
}

ssize_t __wrap___pread_chk(int file, void* bytes, size_t size, off_t offset, size_t room)
{
    return Fails(EIO) ? -1 : __real___pread_chk(file, bytes, size, offset, room);
}

ssize_t __wrap_write(int file, const void* bytes, size_t size)
{
    return Fails(ENOSPC) ? -1 : __real_write(file, bytes, size);
}

int __wrap_fsync(int file)
{
    return Fails(EIO) ? -1 : __real_fsync(file);
}

int __wrap_fchmod(int file, mode_t mode)
{
    return Fails(EIO) ? -1 : __real_fchmod(file, mode);
}

int __wrap_linkat(int from, const char* path, int to, const char* name, int flags)
{
    return Fails(EIO) ? -1 : __real_linkat(from, path, to, name, flags);
}

int __wrap_renameat(int from, const char* path, int to, const char* name)
{
    return Fails(EIO) ? -1 : __real_renameat(from, path, to, name);
}

void FailCall(uint64_t k)
{
    asked = 0;
    failing = k;
    isCounting = true;
}

uint64_t AllowCalls()
{
    isCounting = false;
    return asked;
}

void RefuseUnnamedFiles()
{
    refusesUnnamed = true;
}
