// SPDX-License-Identifier: MIT
#include "engine/check/module_length.h"

#include <vector>

static constexpr uint32_t kHeaderStart = 60;
static constexpr uint32_t kOrdersStart = 80;
static constexpr uint32_t kMostOrders = 256;
static constexpr uint32_t kMostRows = 256; // of a pattern
static constexpr uint32_t kMostChannels = 64;
static constexpr uint32_t kMostPlayedRows = 1u << 20; // loops within loops end here

struct ModuleBytes
{
    const uint8_t* data;
    size_t size;
};

/// A number of one to four bytes; bytes past the end are zeros.
static uint32_t Number(const ModuleBytes& file, size_t at, uint32_t bytes)
{
    uint32_t number = 0;
    for (uint32_t i = 0; i < bytes; ++i)
    {
        number |= at + i < file.size ? static_cast<uint32_t>(file.data[at + i]) << (8 * i) : 0;
    }
    return number;
}

/// The effects of one row on the order of rows and on their pace.
struct RowEffects
{
    int32_t jump;      // to this order; -1 for none
    int32_t breakTo;   // to this row of the next order; -1 for none
    uint8_t speed;     // module ticks a row; 0 leaves it
    uint8_t tempo;     // beats a minute; 0 leaves it
    uint8_t waits;     // times that the row lasts longer
    uint8_t loopCount; // goes back to the loop's begin that often
    bool beginsLoop;
};

using Pattern = std::vector<RowEffects>;

static void NoteEffect(uint8_t effect, uint8_t value, RowEffects* row)
{
    switch (effect)
    {
    case 0x0B:
        row->jump = value;
        break;
    case 0x0D: // two decimal digits
        row->breakTo = (value >> 4) * 10 + (value & 15);
        break;
    case 0x0E:
        row->beginsLoop = row->beginsLoop || value == 0x60;
        row->loopCount = value > 0x60 && value < 0x70 ? value & 15 : row->loopCount;
        row->waits = value > 0xE0 && value < 0xF0 ? value & 15 : row->waits;
        break;
    case 0x0F:
        row->speed = value > 0 && value < 32 ? value : row->speed;
        row->tempo = value >= 32 ? value : row->tempo;
        break;
    default:
        break;
    }
}

/// Reads one note: all five bytes of it, or a mask and those that the mask names.
static void ReadNote(const ModuleBytes& file, size_t* at, RowEffects* row)
{
    uint8_t fields[5] = {};
    uint32_t mask = 0x1F;
    if ((Number(file, *at, 1) & 0x80) != 0)
    {
        mask = Number(file, *at, 1);
        *at += 1;
    }
    for (uint32_t i = 0; i < 5; ++i)
    {
        if ((mask & (1u << i)) != 0)
        {
            fields[i] = static_cast<uint8_t>(Number(file, *at, 1));
            *at += 1;
        }
    }
    NoteEffect(fields[3], fields[4], row);
}

static Pattern ReadPattern(const ModuleBytes& file, size_t at, uint32_t channels)
{
    const uint32_t rows = Number(file, at + 5, 2);
    const uint32_t dataSize = Number(file, at + 7, 2);
    Pattern pattern(rows == 0 || rows > kMostRows ? 64 : rows,
                    RowEffects{-1, -1, 0, 0, 0, 0, false});
    size_t note = at + Number(file, at, 4);
    const size_t end = note + dataSize;
    for (RowEffects& row : pattern)
    {
        for (uint32_t channel = 0; channel < channels && note < end; ++channel)
        {
            ReadNote(file, &note, &row);
        }
    }
    return pattern;
}

static std::vector<Pattern> ReadPatterns(const ModuleBytes& file)
{
    const uint32_t channels = Number(file, 68, 2);
    const uint32_t count = Number(file, 70, 2);
    std::vector<Pattern> patterns;
    size_t at = size_t{kHeaderStart} + Number(file, kHeaderStart, 4);
    for (uint32_t i = 0; i < count && i < kMostOrders && at + 9 <= file.size; ++i)
    {
        patterns.push_back(ReadPattern(file, at, channels));
        at += size_t{Number(file, at, 4)} + Number(file, at + 7, 2);
    }
    return patterns;
}

/// A place in the module, and what repeats there.
struct ModulePlace
{
    uint32_t order;
    uint32_t row;
    uint32_t loopRow;   // where a loop begins
    uint32_t loopsLeft; // of the loop that is running
};

/// Goes to the row after this one.
static void Advance(const RowEffects& row, uint32_t rows, ModulePlace* place)
{
    if (row.beginsLoop)
    {
        place->loopRow = place->row;
    }
    if (row.loopCount != 0)
    {
        const bool isRunning = place->loopsLeft != 0;
        place->loopsLeft = isRunning ? place->loopsLeft - 1 : row.loopCount;
        if (place->loopsLeft != 0)
        {
            place->row = place->loopRow;
            return;
        }
    }
    place->row += 1;
    if (row.jump >= 0 || row.breakTo >= 0 || place->row >= rows)
    {
        place->order = row.jump >= 0 ? static_cast<uint32_t>(row.jump) : place->order + 1;
        place->row = row.breakTo >= 0 ? static_cast<uint32_t>(row.breakTo) : 0;
        place->loopRow = 0;
    }
}

/// @return where the patterns end
static size_t SkipPatterns(const ModuleBytes& file)
{
    size_t at = size_t{kHeaderStart} + Number(file, kHeaderStart, 4);
    const uint32_t count = Number(file, 70, 2);
    for (uint32_t i = 0; i < count && at < file.size; ++i)
    {
        at += size_t{Number(file, at, 4)} + Number(file, at + 7, 2);
    }
    return at;
}

/// @param at   where the instrument begins
/// @return where it ends, samples included
static size_t SkipInstrument(const ModuleBytes& file, size_t at)
{
    static constexpr uint32_t kSampleHead = 40; // bytes
    static constexpr uint32_t kPacked = 0xAD;   // of the reserved byte: two steps in a byte
    const uint32_t samples = Number(file, at + 27, 2);
    at += Number(file, at, 4);
    size_t end = at + size_t{samples} * kSampleHead;
    for (uint32_t i = 0; i < samples && at < file.size; ++i)
    {
        const size_t bytes = Number(file, at, 4);
        end += Number(file, at + 17, 1) == kPacked ? 16 + (bytes + 1) / 2 : bytes;
        at += kSampleHead;
    }
    return end;
}

bool IsModuleWhole(const uint8_t* data, size_t size)
{
    static constexpr uint32_t kVersion = 0x0104;
    const ModuleBytes file = {data, size};
    if (Number(file, 58, 2) != kVersion)
    {
        return true;
    }
    size_t at = SkipPatterns(file);
    const uint32_t instruments = Number(file, 72, 2);
    // Some programs leave out the heads of the last instruments where these have no samples.
    for (uint32_t i = 0; i < instruments && at < size; ++i)
    {
        at = SkipInstrument(file, at);
    }
    return at <= size;
}

double MeasureModule(const uint8_t* data, size_t size)
{
    const ModuleBytes file = {data, size};
    const uint32_t orders = Number(file, 64, 2);
    const uint32_t channels = Number(file, 68, 2);
    if (size < kOrdersStart + kMostOrders || orders > kMostOrders || channels == 0 ||
        channels > kMostChannels)
    {
        return 0.0;
    }
    const std::vector<Pattern> patterns = ReadPatterns(file);
    const Pattern empty(64, RowEffects{-1, -1, 0, 0, 0, 0, false}); // of orders without a pattern
    uint32_t speed = Number(file, 76, 2);
    uint32_t tempo = Number(file, 78, 2);
    double seconds = 0.0;
    std::vector<uint8_t> seen(size_t{kMostOrders} * kMostRows, 0);
    ModulePlace place = {};
    for (uint32_t played = 0; place.order < orders && played < kMostPlayedRows; ++played)
    {
        const uint32_t number = Number(file, kOrdersStart + place.order, 1);
        const Pattern& pattern = number < patterns.size() ? patterns[number] : empty;
        place.row = place.row < pattern.size() ? place.row : 0;
        uint8_t* mark = &seen[size_t{place.order} * kMostRows + place.row];
        if (*mark != 0 && place.loopsLeft == 0)
        {
            break;
        }
        *mark = 1;
        const RowEffects& row = pattern[place.row];
        speed = row.speed != 0 ? row.speed : speed;
        tempo = row.tempo != 0 ? row.tempo : tempo;
        seconds += tempo == 0 ? 0.0 : speed * 2.5 / tempo * (1 + row.waits);
        Advance(row, static_cast<uint32_t>(pattern.size()), &place);
    }
    return seconds;
}
