// SPDX-License-Identifier: MIT
#include "engine/data/plain_text.h"

#include <cstdint>

/// A kind of UTF-8 sequence, by its first byte. The second byte's range leaves out what would be
/// too long a form, a surrogate, too large, or a control character.
struct SequenceRow
{
    uint8_t firstLow, firstHigh;
    uint8_t secondLow, secondHigh; // the bytes after it are 0x80 to 0xBF
    size_t length;
};

static constexpr SequenceRow kSequences[] = {
    {0x20, 0x7E, 0x00, 0x00, 1}, // ASCII without its control characters
    {0xC2, 0xC2, 0xA0, 0xBF, 2}, // without U+0080 to U+009F
    {0xC3, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3}, {0xE1, 0xEC, 0x80, 0xBF, 3},
    {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3}, {0xF0, 0xF0, 0x90, 0xBF, 4},
    {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4},
};

/// @param text   not empty, zero-terminated
/// @return bytes of the character that the text begins with; 0 if it can't be printed
static size_t PrintableLength(const char* text)
{
    const auto byte = [text](size_t i)
    {
        return static_cast<uint8_t>(text[i]);
    };
    for (const SequenceRow& row : kSequences)
    {
        if (byte(0) < row.firstLow || byte(0) > row.firstHigh)
        {
            continue;
        }
        if (row.length > 1 && (byte(1) < row.secondLow || byte(1) > row.secondHigh))
        {
            return 0;
        }
        for (size_t i = 2; i < row.length; ++i) // the zero at the end is no such byte
        {
            if ((byte(i) & 0xC0) != 0x80)
            {
                return 0;
            }
        }
        return row.length;
    }
    return 0;
}

/// A text that is written as far as there is room.
struct PlainWriter
{
    char* plain;
    size_t size;
    size_t length; // of all that was to be written
};

static void WriteByte(PlainWriter* writer, char byte)
{
    if (writer->length + 1 < writer->size)
    {
        writer->plain[writer->length] = byte;
    }
    writer->length += 1;
}

size_t FormatPlainText(const char* text, char* plain, size_t size)
{
    static constexpr char kDigits[] = "0123456789ABCDEF";
    PlainWriter writer = {plain, size, 0};
    while (*text != 0)
    {
        const size_t length = PrintableLength(text);
        for (size_t i = 0; i < length; ++i)
        {
            WriteByte(&writer, text[i]);
        }
        if (length == 0)
        {
            const uint8_t byte = static_cast<uint8_t>(*text);
            WriteByte(&writer, '\\');
            WriteByte(&writer, 'x');
            WriteByte(&writer, kDigits[byte >> 4]);
            WriteByte(&writer, kDigits[byte & 15]);
        }
        text += length == 0 ? 1 : length;
    }
    if (size != 0)
    {
        plain[writer.length < size ? writer.length : size - 1] = 0;
    }
    return writer.length;
}
