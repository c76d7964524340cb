// SPDX-License-Identifier: MIT

// Lines of text on pictures.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// A picture that is drawn on.
struct Canvas
{
    int32_t width;             // pixels
    int32_t height;            // pixels
    std::vector<uint8_t> rows; // RGB, from the top, without padding
};

/// One line of text. It has to lie inside the canvas, 12 pixels of the font high.
struct TextLine
{
    int32_t left;          // pixels
    int32_t top;           // pixels
    int32_t width;         // pixels; letters that would reach beyond are left out
    int32_t magnification; // pixels for each pixel of the font
    uint8_t grey;
};

/// Draws a line. Letters that are not ASCII, which the font lacks, are drawn as question marks.
void DrawTextLine(Canvas* canvas, const TextLine& line, const std::string& text);
