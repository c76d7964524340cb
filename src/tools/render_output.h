// SPDX-License-Identifier: MIT

// Where the pictures of a render go: files with numbers, pieces of a film, a pipe, memory.
//
// The hash of a picture is XXH3 of 128 bits over its bytes, RGB from the top. The hash of a row of
// pictures is the same over the hashes of the pictures, 16 bytes each with the highest first.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "tools/fast_png.h"
#include "tools/ffmpeg.h"
#include "tools/render_plan.h"

/// 128 bits, the highest byte first.
struct PictureHash
{
    uint8_t bytes[16];

    bool operator==(const PictureHash& other) const = default;
};

PictureHash HashBytes(const void* bytes, size_t size);
PictureHash HashPictures(const std::vector<PictureHash>& hashes);
std::string HashText(const PictureHash& hash);

/// How far a picture is from its reference.
struct PictureDifference
{
    uint32_t most;      // of any channel, 0 to 255
    uint64_t sum;       // of all channels
    uint64_t different; // pixels
};

/// The facts that are told of each picture.
struct PictureReport
{
    uint32_t index;
    PictureHash hash;
    uint64_t bytes; // that were written, as far as that is known
    PictureDifference difference;
};

/// An open output. Zeros with a film's descriptors at -1 are a closed one.
struct RenderOutput
{
    const RenderPlan* plan;            // borrowed
    std::string compare;               // folder of reference pictures; empty for none
    int raw;                           // descriptor that raw pictures go to
    std::vector<PictureHash> expected; // [picture], of those that lie there already; empty for none
    std::vector<bool> isExpected;      // the same
    Ffmpeg chunk;                      // the piece of the film that is being made
    Ffmpeg finishing;                  // the one before, which is on its last pictures
    uint32_t chunkIndex;
    uint32_t finishingIndex;
    Bytes* memory; // receives the pictures one after the other; null where it is not wanted
};

/// The folder in which the pieces of a film lie until it is joined.
std::string FilmFolder(const RenderPlan& plan);
std::string ChunkFile(const RenderPlan& plan, uint32_t chunk);

/// Takes a picture.
/// @param report   receives what is told of it
/// @return false after an error line
bool WriteOutput(RenderOutput* output, uint32_t index, const uint8_t* rgb, PictureReport* report);

/// Ends the output: the last piece of a film becomes whole.
/// @return false after an error line
bool FinishOutput(RenderOutput* output);

/// Gives an output up that is not to be finished.
void StopOutput(RenderOutput* output);

/// Reads a picture that lies on the disk.
/// @return an empty text, or what is wrong with it
std::string ReadPicture(const std::string& path, RgbPicture* picture);

/// Writes a file of the sound: RIFF, 16 bits, stereo.
/// @return false after an error line: it would be larger than 4 GiB, or can't be written
bool WriteWave(const std::string& path, std::span<const int16_t> samples);
