#include "tools/files.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

#include "tools/report.h"

static constexpr mode_t kNewFileMode = 0644;

static void ReportErrno(const std::string& path)
{
    ReportError("%s: %s", Printable(path).c_str(), strerror(errno));
}

FILE* OpenForReading(const std::string& path, uint64_t* size)
{
    // The kind is asked first: to open a pipe would wait for its other end.
    struct stat status;
    if (stat(path.c_str(), &status) != 0)
    {
        ReportErrno(path);
        return nullptr;
    }
    if (!S_ISREG(status.st_mode))
    {
        ReportError("%s: not a regular file", Printable(path).c_str());
        return nullptr;
    }
    FILE* stream = fopen(path.c_str(), "rb");
    if (stream == nullptr)
    {
        ReportErrno(path);
        return nullptr;
    }
    *size = static_cast<uint64_t>(status.st_size);
    return stream;
}

bool ReadWholeFile(const std::string& path, Bytes* bytes)
{
    uint64_t size = 0;
    FILE* stream = OpenForReading(path, &size);
    if (stream == nullptr)
    {
        return false;
    }

    bytes->resize(size);
    size_t got = fread(bytes->data(), 1, size, stream);
    fclose(stream);
    if (got != size)
    {
        ReportError("%s: could not be read", Printable(path).c_str());
        return false;
    }
    return true;
}

bool SameBytes(FILE* a, uint64_t offsetA, FILE* b, uint64_t offsetB, uint64_t size)
{
    unsigned char blockA[4096];
    unsigned char blockB[4096];
    fseek(a, static_cast<long>(offsetA), SEEK_SET);
    fseek(b, static_cast<long>(offsetB), SEEK_SET);

    uint64_t left = size;
    while (left > 0)
    {
        size_t step = std::min<uint64_t>(left, sizeof(blockA));
        if (fread(blockA, 1, step, a) != step || fread(blockB, 1, step, b) != step ||
            memcmp(blockA, blockB, step) != 0)
        {
            return false;
        }
        left -= step;
    }
    return true;
}

bool MakeFolder(const std::string& folder)
{
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error)
    {
        ReportError("%s: %s", Printable(folder).c_str(), error.message().c_str());
        return false;
    }
    return true;
}

/// The path with links followed. A path that does not exist stays as it is.
static std::string FollowLinks(const std::string& path)
{
    char* real = realpath(path.c_str(), nullptr);
    if (real == nullptr)
    {
        return path;
    }
    std::string followed = real;
    free(real);
    return followed;
}

static std::string FolderOf(const std::string& path)
{
    size_t slash = path.rfind('/');
    return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

bool BeginReplacement(const std::string& path, Replacement* replacement)
{
    struct stat status;
    bool exists = stat(path.c_str(), &status) == 0;
    if (exists && !S_ISREG(status.st_mode))
    {
        ReportError("%s: not a regular file", Printable(path).c_str());
        return false;
    }
    // The folder's permissions alone would let a protected file be replaced.
    if (exists && access(path.c_str(), W_OK) != 0)
    {
        ReportErrno(path);
        return false;
    }

    replacement->target = FollowLinks(path);
    replacement->temporary = FolderOf(replacement->target) + ".dpk-XXXXXX";
    replacement->file = mkostemp(replacement->temporary.data(), O_CLOEXEC);
    if (replacement->file < 0)
    {
        ReportErrno(path);
        return false;
    }
    return true;
}

static mode_t WantedMode(const std::string& target)
{
    struct stat status;
    if (stat(target.c_str(), &status) == 0)
    {
        return status.st_mode & 07777;
    }
    mode_t mask = umask(0);
    umask(mask);
    return kNewFileMode & ~mask;
}

/// So that the new name outlives a loss of power. Not every file system can, so nobody minds.
static void FlushFolder(const std::string& folder)
{
    int file = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (file >= 0)
    {
        fsync(file);
        close(file);
    }
}

bool CommitReplacement(Replacement* replacement)
{
    if (fchmod(replacement->file, WantedMode(replacement->target)) != 0 ||
        fsync(replacement->file) != 0 ||
        rename(replacement->temporary.c_str(), replacement->target.c_str()) != 0)
    {
        ReportErrno(replacement->target);
        AbandonReplacement(replacement);
        return false;
    }

    close(replacement->file);
    FlushFolder(FolderOf(replacement->target));
    return true;
}

void AbandonReplacement(Replacement* replacement)
{
    unlink(replacement->temporary.c_str());
    close(replacement->file);
}

bool ReplaceFile(const std::string& path, const Bytes& bytes)
{
    Replacement replacement;
    if (!BeginReplacement(path, &replacement))
    {
        return false;
    }

    size_t written = 0;
    while (written < bytes.size())
    {
        ssize_t step = write(replacement.file, bytes.data() + written, bytes.size() - written);
        if (step < 0)
        {
            ReportErrno(path);
            AbandonReplacement(&replacement);
            return false;
        }
        written += static_cast<size_t>(step);
    }
    return CommitReplacement(&replacement);
}
