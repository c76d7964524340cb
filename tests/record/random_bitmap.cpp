// SPDX-License-Identifier: MIT
#include "record/random_bitmap.h"

#include <cstdint>
#include <cstdlib>
#include <zlib.h>

/// The pixels of an image before they are in a file.
struct Pixels
{
    int32_t width;
    int32_t height;
    int32_t channels;
    std::string bytes; // rows without padding
};

static void AppendByte(std::string* bytes, uint32_t value)
{
    *bytes += static_cast<char>(value & 0xFF);
}

static void AppendLittle(std::string* bytes, uint32_t value, int32_t count)
{
    for (int32_t i = 0; i < count; ++i)
    {
        AppendByte(bytes, value >> (8 * i));
    }
}

static void AppendBig(std::string* bytes, uint32_t value)
{
    for (int32_t shift = 24; shift >= 0; shift -= 8)
    {
        AppendByte(bytes, value >> shift);
    }
}

static int32_t RandomSide(Random* random)
{
    return Chance(random, 92) ? 1 << Between(random, 1, 6) : Between(random, 2, 40);
}

static Pixels MakePixels(Random* random, int32_t channels)
{
    Pixels pixels = {RandomSide(random), RandomSide(random), channels, ""};
    int32_t bytes = pixels.width * pixels.height * channels;
    bool flat = Chance(random, 30); // runs of equal pixels
    uint32_t value = 0;
    for (int32_t i = 0; i < bytes; ++i)
    {
        if (!flat || i % (channels * 5) == 0)
        {
            value = NextBits(random);
        }
        AppendByte(&pixels.bytes, value);
    }
    return pixels;
}

static void AppendPngChunk(std::string* file, const std::string& type, const std::string& content)
{
    AppendBig(file, static_cast<uint32_t>(content.size()));
    std::string checked = type + content;
    *file += checked;
    AppendBig(file, static_cast<uint32_t>(crc32(0, reinterpret_cast<const Bytef*>(checked.data()),
                                                static_cast<uInt>(checked.size()))));
}

/// Rows are unfiltered or hold differences to the byte of the pixel before.
static std::string MakePng(Random* random, int32_t channels)
{
    static constexpr uint32_t kColorTypes[] = {0, 0, 4, 2, 6}; // by channels
    Pixels pixels = MakePixels(random, channels);
    std::string rows;
    for (int32_t y = 0; y < pixels.height; ++y)
    {
        AppendByte(&rows, static_cast<uint32_t>(y) % 3); // none, left, above
        size_t row = static_cast<size_t>(pixels.width) * static_cast<size_t>(channels);
        rows += pixels.bytes.substr(static_cast<size_t>(y) * row, row);
    }
    uLongf size = compressBound(rows.size());
    std::string stream(size, '\0');
    if (compress(reinterpret_cast<Bytef*>(stream.data()), &size,
                 reinterpret_cast<const Bytef*>(rows.data()), rows.size()) != Z_OK)
    {
        abort();
    }
    stream.resize(size);

    std::string header;
    AppendBig(&header, static_cast<uint32_t>(pixels.width));
    AppendBig(&header, static_cast<uint32_t>(pixels.height));
    AppendByte(&header, 8); // bits a channel
    AppendByte(&header, kColorTypes[channels]);
    AppendLittle(&header, 0, 3);
    std::string file = "\x89PNG\r\n\x1a\n";
    AppendPngChunk(&file, "IHDR", header);
    AppendPngChunk(&file, "IDAT", stream);
    AppendPngChunk(&file, "IEND", "");
    return file;
}

static std::string MakeTga(Random* random, int32_t channels)
{
    Pixels pixels = MakePixels(random, channels);
    bool packed = Chance(random, 50);
    bool fromAbove = Chance(random, 50);
    std::string file;
    AppendLittle(&file, 0, 2);
    AppendByte(&file, packed ? 10 : 2);
    file.append(9, 0);
    AppendLittle(&file, static_cast<uint32_t>(pixels.width), 2);
    AppendLittle(&file, static_cast<uint32_t>(pixels.height), 2);
    AppendByte(&file, static_cast<uint32_t>(channels) * 8);
    AppendByte(&file, (fromAbove ? 0x20u : 0u) | (channels == 4 ? 8u : 0u));
    if (!packed)
    {
        return file + pixels.bytes;
    }
    size_t pixel = static_cast<size_t>(channels);
    for (size_t at = 0; at < pixels.bytes.size(); at += pixel)
    {
        AppendByte(&file, 0x80); // a run of one
        file += pixels.bytes.substr(at, pixel);
    }
    return file;
}

static std::string MakeBmp(Random* random, int32_t channels)
{
    Pixels pixels = MakePixels(random, channels);
    size_t row = static_cast<size_t>(pixels.width) * static_cast<size_t>(channels);
    size_t padding = (4 - row % 4) % 4;
    std::string rows;
    for (size_t y = 0; y < static_cast<size_t>(pixels.height); ++y)
    {
        rows += pixels.bytes.substr(y * row, row);
        rows.append(padding, '\0');
    }
    std::string file = "BM";
    AppendLittle(&file, static_cast<uint32_t>(54 + rows.size()), 4);
    AppendLittle(&file, 0, 4);
    AppendLittle(&file, 54, 4);
    AppendLittle(&file, 40, 4);
    AppendLittle(&file, static_cast<uint32_t>(pixels.width), 4);
    AppendLittle(&file, static_cast<uint32_t>(pixels.height), 4);
    AppendLittle(&file, 1, 2);
    AppendLittle(&file, static_cast<uint32_t>(channels) * 8, 2);
    file.append(24, 0);
    return file + rows;
}

static std::string MakePpm(Random* random)
{
    Pixels pixels = MakePixels(random, 3);
    return "P6\n" + std::to_string(pixels.width) + " " + std::to_string(pixels.height) + "\n255\n" +
           pixels.bytes;
}

std::string MakeRandomBitmap(Random* random)
{
    int32_t channels = Between(random, 3, 4);
    switch (Between(random, 0, 9))
    {
    case 0:
        return MakePpm(random);
    case 1:
    case 2:
        return MakeBmp(random, channels);
    case 3:
    case 4:
    case 5:
        return MakeTga(random, channels);
    case 6:
        return MakePng(random, Between(random, 1, 4));
    default:
        return MakePng(random, channels);
    }
}
