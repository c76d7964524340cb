// SPDX-License-Identifier: MIT
#include "tools/fast_png.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <libdeflate.h>

#include "engine/data/byte_order.h"

static constexpr uint8_t kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
static constexpr uint8_t kHeaderRest[5] = {8, 2, 0, 0, 0}; // bits, RGB, and nothing special
static constexpr size_t kHeaderSize = 13;
static constexpr size_t kChunkFrame = 12; // length, name and sum
static constexpr int32_t kMostSide = 1 << 16;
static constexpr int kLevel = 1;

/// Writes a chunk whose content stands in its place already.
/// @return where the next one begins
static uint8_t* FinishChunk(uint8_t* chunk, const char* name, size_t size)
{
    StoreBigEndian32(static_cast<uint32_t>(size), chunk);
    memcpy(chunk + 4, name, 4);
    StoreBigEndian32(libdeflate_crc32(0, chunk + 4, size + 4), chunk + 8 + size);
    return chunk + kChunkFrame + size;
}

/// Each row as the number of its filter, Up, and the differences to the row above.
static void FilterRows(int32_t width, int32_t height, const uint8_t* rgb, uint8_t* filtered)
{
    const size_t row = static_cast<size_t>(width) * 3;
    filtered[0] = 0; // the first row as it is
    memcpy(filtered + 1, rgb, row);
    for (int32_t y = 1; y < height; ++y)
    {
        uint8_t* out = filtered + static_cast<size_t>(y) * (row + 1);
        const uint8_t* here = rgb + static_cast<size_t>(y) * row;
        const uint8_t* above = here - row;
        *out++ = 2;
        for (size_t x = 0; x < row; ++x)
        {
            out[x] = static_cast<uint8_t>(here[x] - above[x]);
        }
    }
}

bool EncodePng(int32_t width, int32_t height, const uint8_t* rgb, Bytes* file)
{
    const size_t filteredSize = (static_cast<size_t>(width) * 3 + 1) * static_cast<size_t>(height);
    uint8_t* filtered = static_cast<uint8_t*>(malloc(filteredSize));
    libdeflate_compressor* compressor = libdeflate_alloc_compressor(kLevel);
    size_t packed = 0;
    if (filtered != nullptr && compressor != nullptr)
    {
        FilterRows(width, height, rgb, filtered);
        const size_t most = libdeflate_zlib_compress_bound(compressor, filteredSize);
        file->resize(sizeof(kSignature) + 3 * kChunkFrame + kHeaderSize + most);
        memcpy(file->data(), kSignature, sizeof(kSignature));
        uint8_t* header = file->data() + sizeof(kSignature);
        StoreBigEndian32(static_cast<uint32_t>(width), header + 8);
        StoreBigEndian32(static_cast<uint32_t>(height), header + 12);
        memcpy(header + 16, kHeaderRest, sizeof(kHeaderRest));
        uint8_t* pixels = FinishChunk(header, "IHDR", kHeaderSize);
        packed = libdeflate_zlib_compress(compressor, filtered, filteredSize, pixels + 8, most);
        if (packed != 0)
        {
            uint8_t* end = FinishChunk(FinishChunk(pixels, "IDAT", packed), "IEND", 0);
            file->resize(static_cast<size_t>(end - file->data()));
        }
    }
    libdeflate_free_compressor(compressor);
    free(filtered);
    return packed != 0;
}

/// A chunk of a file that is read.
struct PngChunk
{
    const uint8_t* name; // four letters, and the content after them
    size_t size;         // bytes of the content
};

/// Takes the chunk at a place of the file and moves the place after it.
/// @return false if it is cut or its sum is wrong
static bool TakeChunk(const Bytes& file, size_t* at, PngChunk* chunk)
{
    if (file.size() - *at < kChunkFrame)
    {
        return false;
    }
    const uint8_t* first = file.data() + *at;
    const size_t size = LoadBigEndian32(first);
    if (size > file.size() - *at - kChunkFrame ||
        LoadBigEndian32(first + 8 + size) != libdeflate_crc32(0, first + 4, size + 4))
    {
        return false;
    }
    *chunk = {first + 4, size};
    *at += kChunkFrame + size;
    return true;
}

static bool IsNamed(const PngChunk& chunk, const char* name)
{
    return memcmp(chunk.name, name, 4) == 0;
}

/// The value that the filter Paeth expects of the three neighbours.
static int PaethPredictor(int left, int above, int corner)
{
    const int toLeft = abs(above - corner);
    const int toAbove = abs(left - corner);
    const int toCorner = abs(left + above - 2 * corner);
    if (toLeft <= toAbove && toLeft <= toCorner)
    {
        return left;
    }
    return toAbove <= toCorner ? above : corner;
}

/// Undoes the filter of a row.
/// @param above   the row above, done; zeros above the first
/// @return false if there is no such filter
static bool UndoFilter(uint8_t filter, size_t size, const uint8_t* above, uint8_t* row)
{
    if (filter > 4)
    {
        return false;
    }
    for (size_t x = 0; x < size; ++x)
    {
        const int left = x < 3 ? 0 : row[x - 3];
        const int corner = x < 3 ? 0 : above[x - 3];
        const int guesses[] = {0, left, above[x], (left + above[x]) / 2,
                               PaethPredictor(left, above[x], corner)};
        row[x] = static_cast<uint8_t>(row[x] + guesses[filter]);
    }
    return true;
}

static bool UndoFilters(const Bytes& filtered, RgbPicture* picture)
{
    const size_t row = static_cast<size_t>(picture->width) * 3;
    const Bytes zeros(row, 0);
    picture->rgb.resize(row * static_cast<size_t>(picture->height));
    for (size_t y = 0; y < static_cast<size_t>(picture->height); ++y)
    {
        uint8_t* out = picture->rgb.data() + y * row;
        const uint8_t* in = filtered.data() + y * (row + 1);
        memcpy(out, in + 1, row);
        if (!UndoFilter(*in, row, y == 0 ? zeros.data() : out - row, out))
        {
            return false;
        }
    }
    return true;
}

std::string DecodePng(const Bytes& file, RgbPicture* picture)
{
    static constexpr const char* kDamaged = "the file is damaged or cut";
    size_t at = sizeof(kSignature);
    PngChunk chunk = {};
    if (file.size() < at || memcmp(file.data(), kSignature, at) != 0)
    {
        return "it is no PNG file";
    }
    if (!TakeChunk(file, &at, &chunk) || !IsNamed(chunk, "IHDR") || chunk.size != kHeaderSize)
    {
        return kDamaged;
    }
    const uint32_t width = LoadBigEndian32(chunk.name + 4);
    const uint32_t height = LoadBigEndian32(chunk.name + 8);
    if (memcmp(chunk.name + 12, kHeaderRest, sizeof(kHeaderRest)) != 0 || width == 0 ||
        height == 0 || width > kMostSide || height > kMostSide)
    {
        return "it is no plain RGB picture of 8 bits";
    }
    *picture = {static_cast<int32_t>(width), static_cast<int32_t>(height), {}};

    Bytes packed;
    while (!IsNamed(chunk, "IEND"))
    {
        if (!TakeChunk(file, &at, &chunk))
        {
            return kDamaged;
        }
        if (IsNamed(chunk, "IDAT"))
        {
            packed.insert(packed.end(), chunk.name + 4, chunk.name + 4 + chunk.size);
        }
    }
    Bytes filtered((size_t{width} * 3 + 1) * height);
    libdeflate_decompressor* decompressor = libdeflate_alloc_decompressor();
    const bool isWhole =
        decompressor != nullptr &&
        libdeflate_zlib_decompress(decompressor, packed.data(), packed.size(), filtered.data(),
                                   filtered.size(), nullptr) == LIBDEFLATE_SUCCESS;
    libdeflate_free_decompressor(decompressor);
    return isWhole && UndoFilters(filtered, picture) ? "" : kDamaged;
}

Bytes EncodePpm(int32_t width, int32_t height, const uint8_t* rgb)
{
    char head[48];
    const int length = snprintf(head, sizeof(head), "P6\n%d %d\n255\n", width, height);
    Bytes file(head, head + length);
    file.insert(file.end(), rgb,
                rgb + static_cast<size_t>(width) * 3 * static_cast<size_t>(height));
    return file;
}

std::string DecodePpm(const Bytes& file, RgbPicture* picture)
{
    const std::string head(file.begin(),
                           file.begin() + static_cast<long>(std::min<size_t>(file.size(), 48)));
    int length = 0;
    if (sscanf(head.c_str(), "P6 %d %d 255%n", &picture->width, &picture->height, &length) != 2 ||
        length == 0 || picture->width < 1 || picture->height < 1 || picture->width > kMostSide ||
        picture->height > kMostSide)
    {
        return "it is no PPM file of 8 bits";
    }
    const size_t size =
        static_cast<size_t>(picture->width) * 3 * static_cast<size_t>(picture->height);
    const size_t first = static_cast<size_t>(length) + 1;
    if (file.size() != first + size)
    {
        return "the file is damaged or cut";
    }
    picture->rgb.assign(file.begin() + static_cast<long>(first), file.end());
    return "";
}
