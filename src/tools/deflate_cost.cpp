// SPDX-License-Identifier: MIT
#include "tools/deflate_cost.h"

#include <algorithm>
#include <array>

#include "engine/data/limits.h"

static constexpr size_t kStreamStart = 6; // after the size word and the stream's own head
static constexpr uint32_t kMostBits = 15; // of a code
static constexpr uint32_t kEndOfBlock = 256;
static constexpr uint32_t kLengthCodes = 29;
static constexpr uint32_t kDistanceCodes = 30;

struct BitReader
{
    const Bytes* bytes;
    size_t bit; // that comes next
    bool isBroken;
};

static uint32_t TakeBits(BitReader* reader, uint32_t count)
{
    uint32_t value = 0;
    for (uint32_t i = 0; i < count; ++i, ++reader->bit)
    {
        if (reader->bit / 8 >= reader->bytes->size())
        {
            reader->isBroken = true;
            return 0;
        }
        value |= static_cast<uint32_t>((*reader->bytes)[reader->bit / 8] >> reader->bit % 8 & 1)
                 << i;
    }
    return value;
}

/// A prefix code: how many codes there are of each length, and their symbols in order.
struct Code
{
    std::array<uint32_t, kMostBits + 1> counts;
    std::vector<uint32_t> symbols;
};

static Code MakeCode(const std::vector<uint8_t>& lengths)
{
    Code code = {};
    for (uint32_t length = 1; length <= kMostBits; ++length)
    {
        for (uint32_t symbol = 0; symbol < lengths.size(); ++symbol)
        {
            if (lengths[symbol] == length)
            {
                code.counts[length] += 1;
                code.symbols.push_back(symbol);
            }
        }
    }
    return code;
}

static uint32_t TakeSymbol(const Code& code, BitReader* reader)
{
    uint32_t value = 0;
    uint32_t first = 0; // code of this length
    uint32_t index = 0; // of its symbol
    for (uint32_t length = 1; length <= kMostBits; ++length)
    {
        value |= TakeBits(reader, 1);
        if (value - first < code.counts[length])
        {
            return code.symbols[index + value - first];
        }
        index += code.counts[length];
        first = (first + code.counts[length]) << 1;
        value <<= 1;
    }
    reader->isBroken = true;
    return 0;
}

/// The numbers that a length or distance code stands for: `base` and that many bits more.
struct Range
{
    uint32_t base;
    uint32_t bits;
};

static Range LengthRange(uint32_t code)
{
    if (code == kLengthCodes - 1)
    {
        return {258, 0};
    }
    if (code < 8)
    {
        return {3 + code, 0};
    }
    const uint32_t bits = code / 4 - 1;
    return {3 + ((4 + code % 4) << bits), bits};
}

static Range DistanceRange(uint32_t code)
{
    if (code < 4)
    {
        return {1 + code, 0};
    }
    const uint32_t bits = code / 2 - 1;
    return {1 + ((2 + code % 2) << bits), bits};
}

/// Reads the symbols of a block.
static void MeasureSymbols(const Code& literals, const Code& distances, BitReader* reader,
                           std::vector<float>* bits)
{
    while (!reader->isBroken && bits->size() <= kLargestInflatedSize)
    {
        const size_t start = reader->bit;
        const uint32_t symbol = TakeSymbol(literals, reader);
        if (symbol == kEndOfBlock)
        {
            return;
        }
        uint32_t length = 1;
        if (symbol > kEndOfBlock)
        {
            const Range range = LengthRange(symbol - kEndOfBlock - 1);
            length = range.base + TakeBits(reader, range.bits);
            const uint32_t code = TakeSymbol(distances, reader);
            TakeBits(reader, DistanceRange(code).bits);
            reader->isBroken =
                reader->isBroken || symbol > kEndOfBlock + kLengthCodes || code >= kDistanceCodes;
        }
        bits->insert(bits->end(), length,
                     static_cast<float>(reader->bit - start) / static_cast<float>(length));
    }
}

static void MeasureFixed(BitReader* reader, std::vector<float>* bits)
{
    std::vector<uint8_t> lengths(288, 8);
    std::fill(lengths.begin() + 144, lengths.begin() + 256, 9);
    std::fill(lengths.begin() + 256, lengths.begin() + 280, 7);
    MeasureSymbols(MakeCode(lengths), MakeCode(std::vector<uint8_t>(kDistanceCodes, 5)), reader,
                   bits);
}

static void MeasureDynamic(BitReader* reader, std::vector<float>* bits)
{
    static constexpr uint8_t kOrder[19] = {16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                           11, 4,  12, 3, 13, 2, 14, 1, 15};
    const uint32_t literalCount = TakeBits(reader, 5) + 257;
    const uint32_t distanceCount = TakeBits(reader, 5) + 1;
    const uint32_t lengthCount = TakeBits(reader, 4) + 4;
    std::vector<uint8_t> lengths(19, 0);
    for (uint32_t i = 0; i < lengthCount; ++i)
    {
        lengths[kOrder[i]] = static_cast<uint8_t>(TakeBits(reader, 3));
    }
    const Code code = MakeCode(lengths);
    lengths.clear();
    while (!reader->isBroken && lengths.size() < literalCount + distanceCount)
    {
        const uint32_t symbol = TakeSymbol(code, reader);
        if (symbol < 16)
        {
            lengths.push_back(static_cast<uint8_t>(symbol));
            continue;
        }
        const uint8_t repeated = symbol == 16 && !lengths.empty() ? lengths.back() : 0;
        const uint32_t count = symbol == 16   ? 3 + TakeBits(reader, 2)
                               : symbol == 17 ? 3 + TakeBits(reader, 3)
                                              : 11 + TakeBits(reader, 7);
        lengths.insert(lengths.end(), count, repeated);
    }
    lengths.resize(literalCount + distanceCount);
    const auto split = lengths.begin() + literalCount;
    MeasureSymbols(MakeCode({lengths.begin(), split}), MakeCode({split, lengths.end()}), reader,
                   bits);
}

static void MeasureStored(BitReader* reader, std::vector<float>* bits)
{
    reader->bit = (reader->bit + 7) / 8 * 8;
    const uint32_t length = TakeBits(reader, 16);
    TakeBits(reader, 16);
    reader->isBroken = reader->isBroken || reader->bit / 8 + length > reader->bytes->size();
    if (!reader->isBroken)
    {
        bits->insert(bits->end(), length, 8.0f);
        reader->bit += size_t{8} * length;
    }
}

bool MeasureContainer(const Bytes& container, std::vector<float>* bits)
{
    BitReader reader = {&container, 8 * kStreamStart, false};
    bits->clear();
    bool isLast = false;
    while (!isLast && !reader.isBroken && bits->size() <= kLargestInflatedSize)
    {
        isLast = TakeBits(&reader, 1) != 0;
        switch (TakeBits(&reader, 2))
        {
        case 0:
            MeasureStored(&reader, bits);
            break;
        case 1:
            MeasureFixed(&reader, bits);
            break;
        case 2:
            MeasureDynamic(&reader, bits);
            break;
        default:
            reader.isBroken = true;
        }
    }
    return !reader.isBroken && bits->size() <= kLargestInflatedSize;
}
