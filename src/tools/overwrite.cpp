// SPDX-License-Identifier: MIT
#include "tools/overwrite.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include "engine/data/package_file.h"
#include "tools/report.h"

static constexpr size_t kHead = 4096;  // bytes of a file that are looked at
static constexpr size_t kSizeWord = 4; // bytes of a container before its stream

/// @return the first byte that is neither a blank nor of a byte order mark
static size_t BeginOfText(const unsigned char* bytes, size_t size)
{
    size_t at = size >= 3 && memcmp(bytes, "\xEF\xBB\xBF", 3) == 0 ? 3 : 0;
    while (at < size &&
           (bytes[at] == ' ' || bytes[at] == '\t' || bytes[at] == '\n' || bytes[at] == '\r'))
    {
        ++at;
    }
    return at;
}

static bool IsText(const unsigned char* bytes, size_t size)
{
    const size_t at = BeginOfText(bytes, size);
    return at < size && bytes[at] == '<';
}

/// @param bytes   a text that begins with "<"
static FileKind KindOfText(const Bytes& bytes)
{
    static constexpr char kPageBegin[] = "<!DOCTYPE html";
    static constexpr char kDrawingBegin[] = "<svg";
    const size_t at = BeginOfText(bytes.data(), bytes.size());
    const std::string begin(bytes.begin() + static_cast<long>(at),
                            bytes.begin() + static_cast<long>(std::min(bytes.size(), at + 32)));
    return strncasecmp(begin.c_str(), kPageBegin, sizeof(kPageBegin) - 1) == 0 ? FileKind::kPage
           : begin.starts_with(kDrawingBegin)                                  ? FileKind::kDrawing
                                              : FileKind::kDocument;
}

/// Inflates the begin of a container.
/// @return the bytes that came out; 0 if it is no container
static size_t InflateBegin(const Bytes& bytes, unsigned char* begin, size_t size)
{
    if (bytes.size() <= kSizeWord)
    {
        return 0;
    }
    z_stream stream = {};
    stream.next_in = const_cast<unsigned char*>(bytes.data()) + kSizeWord;
    stream.avail_in = static_cast<uInt>(bytes.size() - kSizeWord);
    stream.next_out = begin;
    stream.avail_out = static_cast<uInt>(size);
    if (inflateInit(&stream) != Z_OK)
    {
        return 0;
    }
    const int result = inflate(&stream, Z_NO_FLUSH);
    inflateEnd(&stream);
    const bool isStream = result == Z_OK || result == Z_STREAM_END || result == Z_BUF_ERROR;
    return isStream ? size - stream.avail_out : 0;
}

FileKind KindOfBytes(const Bytes& bytes)
{
    if (bytes.size() >= sizeof(kPackageHeader) &&
        memcmp(bytes.data(), kPackageHeader, kPackageHeaderSize) == 0)
    {
        return FileKind::kPackage;
    }
    if (IsText(bytes.data(), bytes.size()))
    {
        return KindOfText(bytes);
    }
    static constexpr unsigned char kPngBegin[] = {0x89, 'P', 'N', 'G'};
    if (bytes.size() >= sizeof(kPngBegin) &&
        memcmp(bytes.data(), kPngBegin, sizeof(kPngBegin)) == 0)
    {
        return FileKind::kPng;
    }
    unsigned char begin[64];
    const size_t size = InflateBegin(bytes, begin, sizeof(begin));
    if (size != 0)
    {
        return IsText(begin, size) ? FileKind::kPackedDocument : FileKind::kPackedOther;
    }
    return FileKind::kOther;
}

/// Reads the begin of a regular file.
/// @return false if there is none: whoever writes tells what stands in the way
static bool ReadBegin(const std::string& path, Bytes* begin)
{
    const int file = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    struct stat status = {};
    bool isRead = file >= 0 && fstat(file, &status) == 0 && S_ISREG(status.st_mode);
    if (isRead)
    {
        begin->resize(kHead);
        const ssize_t size = read(file, begin->data(), begin->size());
        isRead = size >= 0;
        begin->resize(isRead ? static_cast<size_t>(size) : 0);
    }
    if (file >= 0)
    {
        close(file);
    }
    return isRead;
}

bool MayOverwrite(const std::string& path, FileKind written, bool isForced)
{
    static constexpr const char* kNames[] = {"",
                                             "package",
                                             "document",
                                             "HTML page",
                                             "SVG picture",
                                             "PNG picture",
                                             "packed document",
                                             "model or other packed file"};
    Bytes begin;
    if (isForced || !ReadBegin(path, &begin) || begin.empty())
    {
        return true;
    }
    if (written != FileKind::kOther && KindOfBytes(begin) == written)
    {
        return true;
    }
    if (written == FileKind::kOther)
    {
        ReportError("%s: it exists; --force writes over it", Printable(path).c_str());
        return false;
    }
    ReportError("%s: it exists and is no %s; --force writes over it", Printable(path).c_str(),
                kNames[static_cast<size_t>(written)]);
    return false;
}
