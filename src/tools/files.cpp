// SPDX-License-Identifier: MIT
#include "tools/files.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

#include "tools/report.h"

static bool ReportFile(const std::string& path, const char* what)
{
    ReportError("%s: %s", Printable(path).c_str(), what);
    return false;
}

static bool ReportErrno(const std::string& path)
{
    return ReportFile(path, strerror(errno));
}

bool WriteAll(int file, const void* bytes, size_t size)
{
    const char* rest = static_cast<const char*>(bytes);
    while (size > 0)
    {
        const ssize_t step = write(file, rest, size);
        if (step < 0 && errno != EINTR)
        {
            return false;
        }
        const size_t written = step < 0 ? 0 : static_cast<size_t>(step);
        rest += written;
        size -= written;
    }
    return true;
}

bool MeasureFile(const std::string& path, uint64_t* size)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0)
    {
        return ReportErrno(path);
    }
    if (!S_ISREG(status.st_mode))
    {
        return ReportFile(path, "not a regular file");
    }
    *size = static_cast<uint64_t>(status.st_size);
    return true;
}

/// Reads an open file whole.
static bool ReadOpenFile(int file, const std::string& path, uint64_t most, Bytes* bytes)
{
    struct stat status = {};
    if (fstat(file, &status) != 0)
    {
        return ReportErrno(path);
    }
    if (!S_ISREG(status.st_mode))
    {
        return ReportFile(path, "not a regular file");
    }
    const uint64_t size = static_cast<uint64_t>(status.st_size);
    if (size > most)
    {
        ReportError("%s: larger than %llu bytes", Printable(path).c_str(),
                    static_cast<unsigned long long>(most));
        return false;
    }

    bytes->resize(size);
    size_t got = 0;
    while (got < size)
    {
        const ssize_t step = read(file, bytes->data() + got, size - got);
        if (step < 0 && errno == EINTR)
        {
            continue;
        }
        if (step <= 0)
        {
            return ReportFile(path, "could not be read");
        }
        got += static_cast<size_t>(step);
    }
    return true;
}

bool ReadWholeFile(const std::string& path, uint64_t most, Bytes* bytes)
{
    // A pipe that nobody writes to would hold an ordinary open for ever.
    const int file = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (file < 0)
    {
        return ReportErrno(path);
    }
    const bool isRead = ReadOpenFile(file, path, most, bytes);
    close(file);
    return isRead;
}

/// Reads standard input, which may be a pipe, to its end.
static bool ReadStandardInput(uint64_t most, Bytes* bytes)
{
    static constexpr size_t kStep = 1 << 16; // bytes
    const std::string name = "standard input";
    size_t got = 0;
    while (true)
    {
        bytes->resize(got + kStep);
        const ssize_t step = read(STDIN_FILENO, bytes->data() + got, kStep);
        if (step < 0 && errno == EINTR)
        {
            continue;
        }
        if (step < 0)
        {
            return ReportErrno(name);
        }
        got += static_cast<size_t>(step);
        if (got > most)
        {
            return ReportFile(name, "is too large");
        }
        if (step == 0)
        {
            bytes->resize(got);
            return true;
        }
    }
}

bool ReadInput(const std::string& path, uint64_t most, Bytes* bytes)
{
    return path == kStandardStream ? ReadStandardInput(most, bytes)
                                   : ReadWholeFile(path, most, bytes);
}

bool WriteStandardOutput(const unsigned char* bytes, size_t size)
{
    // Here and not only at the end of the program, so that nothing is told as done that is not.
    if (fwrite(bytes, 1, size, stdout) != size || fflush(stdout) != 0)
    {
        return ReportFile("standard output", "could not be written");
    }
    return true;
}

bool MakeFolder(const std::string& folder)
{
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    return error ? ReportFile(folder, error.message().c_str()) : true;
}

/// Finds what a path with links means.
/// @return false with errno set
static bool FollowLinks(const std::string& path, std::string* target)
{
    char* real = realpath(path.c_str(), nullptr);
    if (real == nullptr)
    {
        return false;
    }
    *target = real;
    free(real);
    return true;
}

/// A file that is written beside the one that it will replace.
struct Replacement
{
    int folder;            // owned descriptor of the folder of both
    int file;              // owned descriptor
    std::string name;      // of the file that is replaced, in the folder
    std::string temporary; // name of the file that is written; empty while it has none
    uint32_t mode;         // permissions that it gets
    bool isNew;            // there is no file to replace
};

/// Looks at the file that is to be replaced.
/// @return false after an error line: it is there and can't be replaced
static bool CheckTarget(const std::string& path, const ReplaceOptions& options,
                        Replacement* replacement)
{
    struct stat status = {};
    const int found =
        options.followsLinks ? stat(path.c_str(), &status) : lstat(path.c_str(), &status);
    replacement->isNew = found != 0;
    if (replacement->isNew)
    {
        const mode_t mask = umask(0);
        umask(mask);
        replacement->mode = options.newMode & ~mask;
        return true;
    }
    if (S_ISLNK(status.st_mode))
    {
        return ReportFile(path, "a link is in the file's place");
    }
    if (!S_ISREG(status.st_mode))
    {
        return ReportFile(path, "not a regular file");
    }
    // The folder's permissions alone would let a protected file be replaced.
    if (access(path.c_str(), W_OK) != 0)
    {
        return ReportErrno(path);
    }
    replacement->mode = status.st_mode & 07777;
    return true;
}

/// Opens the folder of the file. One that can't be listed can still be written to.
static bool OpenFolder(const std::string& path, const ReplaceOptions& options,
                       Replacement* replacement)
{
    std::string target = path;
    if (options.followsLinks && !replacement->isNew && !FollowLinks(path, &target))
    {
        return ReportErrno(path);
    }
    const size_t slash = target.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : target.substr(0, slash + 1);
    replacement->name = slash == std::string::npos ? target : target.substr(slash + 1);

    replacement->folder = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (replacement->folder < 0 && errno == EACCES)
    {
        replacement->folder = open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    }
    if (replacement->folder < 0)
    {
        return ReportErrno(path);
    }
    if (replacement->name.empty())
    {
        errno = ENOENT;
        ReportErrno(path);
        close(replacement->folder);
        return false;
    }
    return true;
}

static std::string DescriptorPath(int file)
{
    return "/proc/self/fd/" + std::to_string(file);
}

/// Finds a name that no file of the folder has, and makes a file of it by `make`.
/// @return what `make` gave, -1 with errno set for a failure
template <typename Make>
static int MakeTemporary(Replacement* replacement, Make make)
{
    static constexpr uint32_t kMostTries = 10000;
    int made = -1;
    for (uint32_t i = 0; i < kMostTries; ++i)
    {
        replacement->temporary = ".dpk-" + std::to_string(getpid()) + "-" + std::to_string(i);
        made = make(replacement->temporary.c_str());
        if (made >= 0 || errno != EEXIST)
        {
            break;
        }
    }
    if (made < 0)
    {
        replacement->temporary.clear();
    }
    return made;
}

/// Creates the file to write: without a name where the file system can do that.
static bool CreateFile(const std::string& path, Replacement* replacement)
{
    replacement->file =
        openat(replacement->folder, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (replacement->file >= 0)
    {
        // It gets its name by way of its descriptor.
        if (access(DescriptorPath(replacement->file).c_str(), F_OK) == 0)
        {
            return true;
        }
        close(replacement->file);
    }
    replacement->file =
        MakeTemporary(replacement,
                      [replacement](const char* name)
                      {
                          return openat(replacement->folder, name,
                                        O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
                      });
    return replacement->file >= 0 || ReportErrno(path);
}

/// Closes the file and its folder, and removes what has no use any more.
static void EndReplacement(Replacement* replacement)
{
    if (!replacement->temporary.empty())
    {
        unlinkat(replacement->folder, replacement->temporary.c_str(), 0);
    }
    close(replacement->file);
    close(replacement->folder);
}

/// Gives the written file the name of the one that it replaces.
/// @return false with errno set
static bool NameFile(Replacement* replacement)
{
    if (replacement->temporary.empty())
    {
        const std::string written = DescriptorPath(replacement->file);
        auto link = [replacement, &written](const char* name)
        {
            return linkat(AT_FDCWD, written.c_str(), replacement->folder, name, AT_SYMLINK_FOLLOW);
        };
        if (replacement->isNew && link(replacement->name.c_str()) == 0)
        {
            return true;
        }
        // A name can't be taken from another file by a link, only by a rename.
        if ((replacement->isNew && errno != EEXIST) || MakeTemporary(replacement, link) < 0)
        {
            return false;
        }
    }
    if (renameat(replacement->folder, replacement->temporary.c_str(), replacement->folder,
                 replacement->name.c_str()) != 0)
    {
        return false;
    }
    replacement->temporary.clear();
    return true;
}

static bool FillReplacement(const std::string& path, const unsigned char* bytes, size_t size,
                            const ReplaceOptions& options, Replacement* replacement)
{
    if (!WriteAll(replacement->file, bytes, size))
    {
        return ReportFile(path,
                          options.writeFault == nullptr ? strerror(errno) : options.writeFault);
    }
    if (fchmod(replacement->file, replacement->mode) != 0 || fsync(replacement->file) != 0 ||
        !NameFile(replacement))
    {
        return ReportErrno(path);
    }
    // So that the new name outlives a loss of power. Not every file system can, so nobody minds.
    fsync(replacement->folder);
    return true;
}

bool ReplaceFile(const std::string& path, const unsigned char* bytes, size_t size,
                 const ReplaceOptions& options)
{
    Replacement replacement = {};
    if (!CheckTarget(path, options, &replacement) || !OpenFolder(path, options, &replacement))
    {
        return false;
    }

    // While the new file has a name of its own, these signals would leave it behind.
    sigset_t waiting;
    sigset_t before;
    sigemptyset(&waiting);
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM})
    {
        sigaddset(&waiting, signal);
    }
    sigprocmask(SIG_BLOCK, &waiting, &before);
    bool isDone = CreateFile(path, &replacement);
    if (isDone)
    {
        isDone = FillReplacement(path, bytes, size, options, &replacement);
        EndReplacement(&replacement);
    }
    else
    {
        close(replacement.folder);
    }
    sigprocmask(SIG_SETMASK, &before, nullptr);
    return isDone;
}
