// SPDX-License-Identifier: MIT
#include "tools/draw_text.h"

#include <cstring>
#include <stb_easy_font.h>

#include "engine/data/numeric.h"

static constexpr size_t kBytesPerQuad = 64;   // four corners of 16 bytes
static constexpr size_t kQuadsPerLetter = 16; // the font's richest letter has fewer

static void FillRectangle(Canvas* canvas, int32_t left, int32_t top, int32_t width, int32_t height,
                          uint8_t grey)
{
    for (int32_t y = top; y < top + height; ++y)
    {
        memset(canvas->rows.data() + (int64_t{y} * canvas->width + left) * 3, grey,
               static_cast<size_t>(width) * 3);
    }
}

/// Replaces the letters that the font lacks: all but those of ASCII.
static std::string MakeDrawable(const std::string& text)
{
    std::string drawable;
    for (char letter : text)
    {
        drawable += letter >= ' ' && letter <= '~' ? letter : '?';
    }
    return drawable;
}

static void CutToWidth(std::string* text, int32_t width)
{
    while (stb_easy_font_width(text->data()) > width)
    {
        text->pop_back();
    }
}

/// The font gives each letter as a few upright rectangles with edges on whole numbers.
void DrawTextLine(Canvas* canvas, const TextLine& line, const std::string& text)
{
    std::string drawable = MakeDrawable(text);
    CutToWidth(&drawable, line.width / line.magnification);
    std::vector<char> quads(drawable.size() * kQuadsPerLetter * kBytesPerQuad);
    const int count = stb_easy_font_print(0.0f, 0.0f, drawable.data(), nullptr, quads.data(),
                                          static_cast<int>(quads.size()));
    for (int i = 0; i < count; ++i)
    {
        float corners[4][4]; // x, y, z, color; clockwise from the upper left
        memcpy(corners, quads.data() + static_cast<size_t>(i) * kBytesPerQuad, sizeof(corners));
        const int32_t left = TruncateToInt(corners[0][0]) * line.magnification;
        const int32_t top = TruncateToInt(corners[0][1]) * line.magnification;
        const int32_t right = TruncateToInt(corners[2][0]) * line.magnification;
        const int32_t bottom = TruncateToInt(corners[2][1]) * line.magnification;
        FillRectangle(canvas, line.left + left, line.top + top, right - left, bottom - top,
                      line.grey);
    }
}
