// SPDX-License-Identifier: MIT
#include "support/tone_module.h"

static void Append(std::string* bytes, uint32_t value, int size)
{
    for (int i = 0; i < size; ++i)
    {
        *bytes += static_cast<char>(value >> (8 * i) & 0xFF);
    }
}

static void AppendText(std::string* bytes, const std::string& text, size_t size)
{
    *bytes += text;
    bytes->append(size - text.size(), '\0');
}

static void AppendHeader(std::string* bytes)
{
    AppendText(bytes, "Extended Module: ", 17);
    AppendText(bytes, "tone", 20);
    Append(bytes, 0x1A, 1);
    AppendText(bytes, "test", 20);
    Append(bytes, 0x0104, 2);   // version
    Append(bytes, 276, 4);      // size of the header from here on
    Append(bytes, 1, 2);        // orders
    Append(bytes, 0, 2);        // restart
    Append(bytes, 2, 2);        // channels
    Append(bytes, 1, 2);        // patterns
    Append(bytes, 1, 2);        // instruments
    Append(bytes, 1, 2);        // linear frequencies
    Append(bytes, 6, 2);        // ticks a row
    Append(bytes, 125, 2);      // beats a minute: 6 * 2.5 / 125 seconds a row
    AppendText(bytes, "", 256); // the order: pattern 0
}

static void AppendPattern(std::string* bytes, uint32_t rows)
{
    std::string notes;
    for (uint32_t row = 0; row < rows; ++row)
    {
        // Packed: a note and an instrument in the first channel of the first row, nothing
        // elsewhere.
        notes += row == 0 ? std::string("\x83\x31\x01", 3) : "\x80";
        notes += "\x80";
    }
    Append(bytes, 9, 4);
    Append(bytes, 0, 1);
    Append(bytes, rows, 2);
    Append(bytes, static_cast<uint32_t>(notes.size()), 2);
    *bytes += notes;
}

static void AppendInstrument(std::string* bytes)
{
    constexpr uint32_t kSampleBytes = 64;
    Append(bytes, 263, 4);
    AppendText(bytes, "tone", 22);
    Append(bytes, 0, 1);
    Append(bytes, 1, 2);              // samples
    Append(bytes, 40, 4);             // size of a sample's header
    AppendText(bytes, "", 96);        // all notes play sample 0
    AppendText(bytes, "", 263 - 129); // no envelopes

    Append(bytes, kSampleBytes, 4);
    Append(bytes, 0, 4);            // loop from
    Append(bytes, kSampleBytes, 4); // loop length
    Append(bytes, 64, 1);           // volume
    Append(bytes, 0, 1);
    Append(bytes, 1, 1);   // loops forward
    Append(bytes, 128, 1); // middle
    Append(bytes, 0, 2);
    AppendText(bytes, "tone", 22);

    // A square wave of 16 bytes, as differences.
    for (uint32_t i = 0; i < kSampleBytes; ++i)
    {
        *bytes += i == 0 ? '\x40' : i % 8 == 0 ? '\x80' : '\0'; // 64, -64, 64 ... modulo 256
    }
}

std::string MakeToneModule(uint32_t rows)
{
    std::string module;
    AppendHeader(&module);
    AppendPattern(&module, rows);
    AppendInstrument(&module);
    return module;
}
