// SPDX-License-Identifier: MIT
#include "tools/render_output.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "engine/data/byte_order.h"
#include "music/load_module.h"
#include "tools/files.h"
#include "tools/report.h"

PictureHash HashBytes(const void* bytes, size_t size)
{
    XXH128_canonical_t canonical;
    XXH128_canonicalFromHash(&canonical, XXH3_128bits(bytes, size));
    PictureHash hash;
    static_assert(sizeof(hash.bytes) == sizeof(canonical.digest));
    memcpy(hash.bytes, canonical.digest, sizeof(hash.bytes));
    return hash;
}

PictureHash HashPictures(const std::vector<PictureHash>& hashes)
{
    static_assert(sizeof(PictureHash) == 16);
    return HashBytes(hashes.data(), hashes.size() * sizeof(PictureHash));
}

std::string HashText(const PictureHash& hash)
{
    std::string text;
    for (const uint8_t byte : hash.bytes)
    {
        char digits[3];
        snprintf(digits, sizeof(digits), "%02x", byte);
        text += digits;
    }
    return text;
}

// ---- Files

/// Writes a file beside its place and moves it there. Unlike ReplaceFile it does not wait for the
/// disk: a picture that a power cut has lost is drawn again.
/// @return false after an error line
static bool WriteFile(const std::string& path, const uint8_t* bytes, size_t size)
{
    const size_t slash = path.rfind('/');
    const size_t name = slash == std::string::npos ? 0 : slash + 1;
    const std::string beside = path.substr(0, name) + "." + path.substr(name) + ".new";
    const int file = open(beside.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    bool isWritten = file >= 0 && WriteAll(file, bytes, size);
    int error = errno;
    if (file >= 0 && close(file) != 0 && isWritten)
    {
        isWritten = false;
        error = errno;
    }
    if (isWritten && rename(beside.c_str(), path.c_str()) != 0)
    {
        isWritten = false;
        error = errno;
    }
    if (!isWritten)
    {
        unlink(beside.c_str());
        ReportError("%s: %s", Printable(path).c_str(), strerror(error));
    }
    return isWritten;
}

static bool IsPpm(const std::string& path)
{
    return path.size() > 4 && strcasecmp(path.c_str() + path.size() - 4, ".ppm") == 0;
}

static bool WritePictureFile(const std::string& path, const RenderPlan& plan, const uint8_t* rgb,
                             uint64_t* size)
{
    Bytes file;
    if (IsPpm(path))
    {
        file = EncodePpm(plan.width, plan.height, rgb);
    }
    else if (!EncodePng(plan.width, plan.height, rgb, &file))
    {
        ReportError("%s: no memory for a picture of %dx%d pixels", Printable(path).c_str(),
                    plan.width, plan.height);
        return false;
    }
    *size = file.size();
    return WriteFile(path, file.data(), file.size());
}

std::string ReadPicture(const std::string& path, RgbPicture* picture)
{
    FILE* stream = fopen(path.c_str(), "rb");
    struct stat status = {};
    if (stream == nullptr || fstat(fileno(stream), &status) != 0)
    {
        const std::string words = strerror(errno);
        if (stream != nullptr)
        {
            fclose(stream);
        }
        return words;
    }
    Bytes file(S_ISREG(status.st_mode) ? static_cast<size_t>(status.st_size) : 0);
    const size_t got = fread(file.data(), 1, file.size(), stream);
    fclose(stream);
    if (got != file.size())
    {
        return "it can't be read";
    }
    return IsPpm(path) ? DecodePpm(file, picture) : DecodePng(file, picture);
}

bool WriteWave(const std::string& path, std::span<const int16_t> samples)
{
    static constexpr size_t kHeadSize = 44;
    const size_t size = samples.size_bytes();
    if (size > 0xFFFFFFFF - kHeadSize)
    {
        ReportError("%s: a sound file of this kind holds 4 GiB at most", Printable(path).c_str());
        return false;
    }
    Bytes file(kHeadSize + size);
    memcpy(file.data(), "RIFF....WAVEfmt ....", 20);
    StoreLittleEndian32(static_cast<uint32_t>(file.size() - 8), &file[4]);
    StoreLittleEndian32(16, &file[16]);                              // bytes that follow
    StoreLittleEndian32(1 | 2 << 16, &file[20]);                     // plain samples, stereo
    StoreLittleEndian32(kModuleRate, &file[24]);                     // frames a second
    StoreLittleEndian32(kModuleRate * kModuleFrameBytes, &file[28]); // bytes a second
    StoreLittleEndian32(kModuleFrameBytes | 16 << 16, &file[32]);    // of a frame; bits
    memcpy(&file[36], "data", 4);
    StoreLittleEndian32(static_cast<uint32_t>(size), &file[40]);
    memcpy(file.data() + kHeadSize, samples.data(), size); // x86-64 has the file's byte order
    return WriteFile(path, file.data(), file.size());
}

// ---- Films

std::string FilmFolder(const RenderPlan& plan)
{
    return plan.out + ".parts";
}

std::string ChunkFile(const RenderPlan& plan, uint32_t chunk)
{
    char name[32];
    snprintf(name, sizeof(name), "/%07u.nut", chunk);
    return FilmFolder(plan) + name;
}

static std::string NewChunkFile(const RenderPlan& plan, uint32_t chunk)
{
    return ChunkFile(plan, chunk) + ".new";
}

static bool StartChunk(RenderOutput* output, uint32_t chunk)
{
    const RenderPlan& plan = *output->plan;
    const std::string size = std::to_string(plan.width) + "x" + std::to_string(plan.height);
    const std::string rate =
        std::to_string(plan.rate.numerator) + "/" + std::to_string(plan.rate.denominator);
    std::vector<std::string> arguments = {"-hide_banner", "-loglevel", "error", "-y",    "-f",
                                          "rawvideo",     "-pix_fmt",  "rgb24", "-s",    size,
                                          "-framerate",   rate,        "-i",    "pipe:0"};
    arguments.insert(arguments.end(), plan.codec.begin(), plan.codec.end());
    for (const char* last : {"-an", "-fflags", "+bitexact", "-flags:v", "+bitexact", "-f", "nut"})
    {
        arguments.push_back(last);
    }
    arguments.push_back("file:" + NewChunkFile(plan, chunk));
    output->chunkIndex = chunk;
    return StartFfmpeg(arguments, true, &output->chunk);
}

/// Gives a piece that ffmpeg has finished its name.
static bool FinishChunk(const RenderPlan& plan, uint32_t chunk, Ffmpeg* ffmpeg)
{
    if (ffmpeg->process == 0)
    {
        return true;
    }
    if (!FinishFfmpeg(ffmpeg))
    {
        unlink(NewChunkFile(plan, chunk).c_str());
        return false;
    }
    if (rename(NewChunkFile(plan, chunk).c_str(), ChunkFile(plan, chunk).c_str()) != 0)
    {
        ReportError("%s: %s", Printable(ChunkFile(plan, chunk)).c_str(), strerror(errno));
        return false;
    }
    return true;
}

/// Lets the current piece come to its end while the next one begins.
static bool CloseChunk(RenderOutput* output)
{
    if (!FinishChunk(*output->plan, output->finishingIndex, &output->finishing))
    {
        return false;
    }
    output->finishing = output->chunk;
    output->finishingIndex = output->chunkIndex;
    output->chunk = {};
    if (output->finishing.process != 0)
    {
        close(output->finishing.input);
        output->finishing.input = -1;
    }
    return true;
}

static bool WriteFilm(RenderOutput* output, uint32_t index, const uint8_t* rgb)
{
    const RenderPlan& plan = *output->plan;
    const uint32_t chunk = index / kFilmChunk;
    if (output->chunk.process == 0 || output->chunkIndex != chunk)
    {
        if (!CloseChunk(output) || !StartChunk(output, chunk))
        {
            return false;
        }
    }
    const size_t size = static_cast<size_t>(plan.width) * 3 * static_cast<size_t>(plan.height);
    if (!FeedFfmpeg(&output->chunk, rgb, size))
    {
        if (FinishFfmpeg(&output->chunk))
        {
            ReportError("ffmpeg takes no more pictures");
        }
        unlink(NewChunkFile(plan, chunk).c_str());
        return false;
    }
    return true;
}

bool FinishOutput(RenderOutput* output)
{
    const bool isFinished =
        FinishChunk(*output->plan, output->finishingIndex, &output->finishing) &&
        FinishChunk(*output->plan, output->chunkIndex, &output->chunk);
    StopOutput(output);
    return isFinished;
}

void StopOutput(RenderOutput* output)
{
    if (output->finishing.process != 0)
    {
        StopFfmpeg(&output->finishing);
        unlink(NewChunkFile(*output->plan, output->finishingIndex).c_str());
    }
    if (output->chunk.process != 0)
    {
        StopFfmpeg(&output->chunk);
        unlink(NewChunkFile(*output->plan, output->chunkIndex).c_str());
    }
}

// ---- Pictures

static std::string ReferenceFile(const RenderOutput& output, uint32_t index)
{
    char name[32];
    snprintf(name, sizeof(name), "/%05u.png", index);
    return output.compare + name;
}

static bool ComparePicture(const RenderOutput& output, uint32_t index, const uint8_t* rgb,
                           PictureDifference* difference)
{
    const RenderPlan& plan = *output.plan;
    const std::string path = ReferenceFile(output, index);
    RgbPicture reference = {};
    const std::string wrong = ReadPicture(path, &reference);
    if (!wrong.empty())
    {
        ReportError("%s: %s", Printable(path).c_str(), wrong.c_str());
        return false;
    }
    if (reference.width != plan.width || reference.height != plan.height)
    {
        ReportError("%s: its size is %dx%d and not %dx%d", Printable(path).c_str(), reference.width,
                    reference.height, plan.width, plan.height);
        return false;
    }
    for (size_t i = 0; i < reference.rgb.size(); i += 3)
    {
        bool isDifferent = false;
        for (size_t c = i; c < i + 3; ++c)
        {
            const uint32_t distance =
                static_cast<uint32_t>(abs(int{reference.rgb[c]} - int{rgb[c]}));
            difference->most = std::max(difference->most, distance);
            difference->sum += distance;
            isDifferent = isDifferent || distance != 0;
        }
        difference->different += isDifferent ? 1 : 0;
    }
    return true;
}

/// @return false after an error line: the picture lies there, and is not the one that was drawn
static bool IsAsExpected(const RenderOutput& output, uint32_t index, const PictureHash& hash)
{
    if (output.isExpected.empty() || !output.isExpected[index] || output.expected[index] == hash)
    {
        return true;
    }
    ReportError("%s: it is not the picture that is drawn now; other options or another piece made "
                "it, so this render can't go on there",
                Printable(PictureFile(*output.plan, index)).c_str());
    return false;
}

bool WriteOutput(RenderOutput* output, uint32_t index, const uint8_t* rgb, PictureReport* report)
{
    const RenderPlan& plan = *output->plan;
    const size_t size = static_cast<size_t>(plan.width) * 3 * static_cast<size_t>(plan.height);
    *report = {index, HashBytes(rgb, size), 0, {}};
    if (!IsAsExpected(*output, index, report->hash))
    {
        return false;
    }
    if (output->memory != nullptr)
    {
        output->memory->insert(output->memory->end(), rgb, rgb + size);
    }
    switch (plan.kind)
    {
    case RenderKind::kFilm:
        return WriteFilm(output, index, rgb);
    case RenderKind::kPictures:
        return WritePictureFile(PictureFile(plan, index), plan, rgb, &report->bytes);
    case RenderKind::kStill:
        return WritePictureFile(plan.out, plan, rgb, &report->bytes);
    case RenderKind::kRaw:
        report->bytes = size;
        if (!WriteAll(output->raw, rgb, size))
        {
            ReportError("standard output: %s", strerror(errno));
            return false;
        }
        return true;
    default:
        return output->compare.empty() || ComparePicture(*output, index, rgb, &report->difference);
    }
}
