// SPDX-License-Identifier: MIT
#include "engine/textures/decode_image.h"

#include <csetjmp>
#include <cstdlib>
#include <cstring>

#include "engine/textures/decoder_memory.h"

/// More than the decoder holds at once for any image: its own records, three blocks for each of
/// four components, and the image before and after a conversion.
static constexpr uint32_t kDecoderBlocks = 64;

/// A block that the decoder holds.
struct DecoderBlock
{
    void* memory; // null where the slot is free
    size_t size;  // bytes
};

enum JumpReason : int
{
    kNoJump,
    kOutOfMemory,
    kBrokenAssertion,
};

/// One run of the decoder.
struct DecoderRun
{
    jmp_buf exit;
    uint64_t room; // bytes that the decoder may take beside those of its blocks
    DecoderBlock blocks[kDecoderBlocks];
};

// The decoder's macros for memory and assertions are handed nothing but a size or a condition, so
// the run that they belong to has to be found without an argument. A thread has one run at a time,
// and outside DecodeImage this is null.
static thread_local DecoderRun* ThreadRun = nullptr;

static DecoderBlock* FindBlock(const void* memory)
{
    for (DecoderBlock& block : ThreadRun->blocks)
    {
        if (block.memory == memory)
        {
            return &block;
        }
    }
    longjmp(ThreadRun->exit, kOutOfMemory); // no free slot; blocks of the decoder are always there
}

/// Takes bytes from what the run may take, or leaves it: a few bytes of a file can inflate to
/// gigabytes that no pixel needs.
static void TakeRoom(uint64_t bytes)
{
    if (bytes > ThreadRun->room)
    {
        longjmp(ThreadRun->exit, kOutOfMemory);
    }
    ThreadRun->room -= bytes;
}

void* AllocateForDecoder(size_t size)
{
    DecoderBlock* block = FindBlock(nullptr);
    TakeRoom(size);
    void* memory = calloc(1, size == 0 ? 1 : size);
    if (memory == nullptr)
    {
        longjmp(ThreadRun->exit, kOutOfMemory);
    }
    *block = {memory, size};
    return memory;
}

void* GrowForDecoder(void* memory, size_t size)
{
    if (memory == nullptr)
    {
        return AllocateForDecoder(size);
    }
    DecoderBlock* block = FindBlock(memory);
    TakeRoom(size > block->size ? size - block->size : 0);
    void* grown = realloc(memory, size == 0 ? 1 : size);
    if (grown == nullptr)
    {
        longjmp(ThreadRun->exit, kOutOfMemory);
    }
    if (size > block->size)
    {
        memset(static_cast<uint8_t*>(grown) + block->size, 0, size - block->size);
    }
    *block = {grown, size};
    return grown;
}

void FreeForDecoder(void* memory)
{
    if (memory != nullptr)
    {
        DecoderBlock* block = FindBlock(memory);
        ThreadRun->room += block->size;
        *block = {};
        free(memory);
    }
}

void FailDecoder()
{
    longjmp(ThreadRun->exit, kBrokenAssertion);
}

/// True for a Softimage PIC file.
static bool IsPicFile(const uint8_t* file, int32_t size)
{
    return size >= 92 && memcmp(file, "\x53\x80\xF6\x34", 4) == 0 &&
           memcmp(file + 88, "PICT", 4) == 0;
}

/// Leaves out the fourth byte of each pixel, in place.
static void DropFourthComponent(uint8_t* pixels, size_t count)
{
    for (size_t i = 0; i < count; ++i)
    {
        memmove(pixels + 3 * i, pixels + 4 * i, 3);
    }
}

/// The byte at a place of a file; 0 past its end, as the decoder reads.
static int32_t ByteAt(const uint8_t* file, int32_t size, int64_t at)
{
    return at < size ? file[at] : 0;
}

/// True if the Huffman tables of one segment have more symbols than a table can hold.
/// @param at   where the segment's length stands
static bool HasOverfullTable(const uint8_t* file, int32_t size, int64_t at)
{
    static constexpr int32_t kHead = 17; // the table's number and 16 counts
    static constexpr int32_t kSymbols = 256;
    int32_t left = ByteAt(file, size, at) * 256 + ByteAt(file, size, at + 1) - 2;
    at += 2;
    while (left > 0)
    {
        int32_t symbols = 0;
        for (int32_t i = 1; i < kHead; ++i)
        {
            symbols += ByteAt(file, size, at + i);
        }
        if (symbols > kSymbols)
        {
            return true;
        }
        at += kHead + symbols;
        left -= kHead + symbols;
    }
    return false;
}

/// True if a JPEG file brings a Huffman table of more symbols than the decoder has room for: it
/// does not look, and writes over its own memory. Every pair of bytes that could begin a table is
/// looked at, so that the decoder finds none that was missed. Pixels never hold that pair; in
/// comments and color profiles a false find comes once in some two million bytes.
static bool HasOverfullTables(const uint8_t* file, int32_t size)
{
    if (size == 0 || file[0] != 0xFF)
    {
        return false; // no JPEG file
    }
    for (int32_t at = 0; at + 1 < size; ++at)
    {
        if (file[at] == 0xFF && file[at + 1] == 0xC4 && HasOverfullTable(file, size, at + 2))
        {
            return true;
        }
    }
    return false;
}

/// A copy of a Radiance file with bytes after it at which its decoder stops. After the end of a
/// file it reads zeros, and a run of no length for ever: a file that is cut short must end in
/// something else. A length of 255 runs past the end of any row at last.
/// @param size   counts the file's bytes, then those after it too
/// @return the copy, a block of the decoder
static const uint8_t* EndRadianceFile(const uint8_t* file, int32_t* size)
{
    // Four channels of the widest row, 127 pixels for every two bytes.
    static constexpr int32_t kEnd = 4 * 2 * (kLargestImageSide / 127 + 2);
    if (*size > INT32_MAX - kEnd)
    {
        longjmp(ThreadRun->exit, kOutOfMemory);
    }
    uint8_t* ended = static_cast<uint8_t*>(AllocateForDecoder(static_cast<size_t>(*size) + kEnd));
    memcpy(ended, file, static_cast<size_t>(*size));
    memset(ended + *size, 255, kEnd);
    *size += kEnd;
    return ended;
}

/// Lets the decoder take what an image of this size can need, and no more. A size that is none of
/// an image, or too large for one, is refused by the decoder itself.
static void GiveRoom(int width, int height, int32_t fileSize)
{
    static constexpr uint64_t kMostPerPixel = 32;  // of four 16-bit components, laced and converted
    static constexpr uint64_t kRecords = 1u << 20; // of the decoder's own, of any format
    const bool isSize =
        width > 0 && height > 0 && width <= kLargestImageSide && height <= kLargestImageSide;
    const uint64_t pixels =
        isSize ? static_cast<uint64_t>(width) * static_cast<uint64_t>(height) : 0;
    ThreadRun->room += kRecords + kMostPerPixel * pixels + 2 * static_cast<uint64_t>(fileSize);
}

/// Runs the decoder. It may leave by longjmp.
static DecodeResult RunDecoder(const uint8_t* file, int32_t size, uint64_t largest,
                               DecodedImage* image, const char** reason)
{
    if (HasOverfullTables(file, size))
    {
        *reason = "Corrupt JPEG"; // the decoder's own words
        return DecodeResult::kRefused;
    }
    if (IsRadianceFile(file, size))
    {
        file = EndRadianceFile(file, &size);
    }

    // Where the head can't be read, the decoder finds nothing to decode either, and says why.
    int width = 0;
    int height = 0;
    int components = 0;
    if (ReadImageHead(file, size, &width, &height, &components) && width > 0 && height > 0 &&
        components > 0 && width <= kLargestImageSide && height <= kLargestImageSide &&
        static_cast<uint64_t>(width) * static_cast<uint64_t>(height) *
                static_cast<uint64_t>(components) >
            largest)
    {
        *image = {width, height, components, nullptr};
        return DecodeResult::kTooLarge;
    }
    GiveRoom(width, height, size);

    // Asked for the components that a PIC file has, the decoder goes on after a file that is cut
    // short with an image that is not there. Asked for four, which is what it always decodes to, it
    // stops; it would leave out the fourth itself where the file has three.
    const bool isPic = IsPicFile(file, size);
    uint8_t* pixels = DecodePixels(file, size, &width, &height, &components, isPic ? 4 : 0);
    if (pixels == nullptr)
    {
        // A GIF file without a picture, or with one of too large codes, it refuses without a word.
        const char* words = DecoderReason();
        *reason = words[0] != '\0' ? words : "Corrupt GIF";
        return DecodeResult::kRefused;
    }
    if (isPic && components == 3)
    {
        DropFourthComponent(pixels, static_cast<size_t>(width) * static_cast<size_t>(height));
    }
    *FindBlock(pixels) = {}; // it is the caller's from here on
    *image = {width, height, components, pixels};
    return DecodeResult::kDecoded;
}

DecodeResult DecodeImage(const uint8_t* file, int32_t size, uint64_t largest, DecodedImage* image,
                         const char** reason)
{
    *image = {};
    *reason = "";

    // Nothing that changes after setjmp is read after a jump but the run, which lies in memory.
    DecoderRun run;
    memset(run.blocks, 0, sizeof(run.blocks));
    run.room = uint64_t{2} * static_cast<uint64_t>(size) + (2u << 20); // to look at the file's head
    ThreadRun = &run;
    DecodeResult result = DecodeResult::kRefused;
    switch (setjmp(run.exit))
    {
    case kNoJump:
        result = RunDecoder(file, size, largest, image, reason);
        break;
    case kOutOfMemory:
        *reason = "Out of memory"; // the decoder's own words
        break;
    default:
        result = DecodeResult::kDamaged;
        break;
    }
    ThreadRun = nullptr;

    for (const DecoderBlock& block : run.blocks)
    {
        free(block.memory);
    }
    return result;
}
