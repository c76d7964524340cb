#include "tools/contact_sheet.h"

#include <cstring>
#include <stb_easy_font.h>

#include "engine/data/numeric.h"
#include "tools/thumbnail.h"

static_assert(kTileWidth == kThumbnailSide + kSheetGap);

static constexpr uint8_t kHeadingGrey = 255;
static constexpr uint8_t kLabelGrey = 224;
static constexpr uint8_t kDetailGrey = 152;
static constexpr int32_t kHeadingMargin = 12;
static constexpr int32_t kLineHeight = 12;
static constexpr size_t kBytesPerQuad = 64;   // four corners of 16 bytes
static constexpr size_t kQuadsPerLetter = 16; // the font's richest letter has fewer
static constexpr int32_t kHeadingMagnification = 2;

struct Sheet
{
    int32_t height;            // pixels
    std::vector<uint8_t> rows; // RGB, kSheetWidth a row
};

/// One line of text.
struct TextLine
{
    int32_t left;          // pixels
    int32_t top;           // pixels
    int32_t width;         // pixels; what would reach beyond is left out
    int32_t magnification; // pixels for each pixel of the font
    uint8_t grey;
};

static void FillRectangle(Sheet* sheet, int32_t left, int32_t top, int32_t width, int32_t height,
                          uint8_t grey)
{
    for (int32_t y = top; y < top + height; ++y)
    {
        memset(sheet->rows.data() + (int64_t{y} * kSheetWidth + left) * 3, grey,
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
static void DrawTextLine(Sheet* sheet, const TextLine& line, const std::string& text)
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
        FillRectangle(sheet, line.left + left, line.top + top, right - left, bottom - top,
                      line.grey);
    }
}

static void DrawTile(Sheet* sheet, int32_t left, int32_t top, const SheetTile& tile)
{
    static constexpr int64_t kRowBytes = kThumbnailSide * 3;
    for (int32_t y = 0; y < kThumbnailSide; ++y)
    {
        memcpy(sheet->rows.data() + (int64_t{top + y} * kSheetWidth + left) * 3,
               tile.pixels.data() + y * kRowBytes, kRowBytes);
    }

    const int32_t labelTop = top + kThumbnailSide + 4;
    DrawTextLine(sheet, {left, labelTop, kThumbnailSide, 1, kLabelGrey}, tile.label);
    DrawTextLine(sheet, {left, labelTop + kLineHeight, kThumbnailSide, 1, kDetailGrey},
                 tile.detail);
}

static int32_t FindRows(const SheetGroup& group)
{
    return (static_cast<int32_t>(group.tiles.size()) + kSheetColumns - 1) / kSheetColumns;
}

/// @return where the next group begins
static int32_t DrawGroup(Sheet* sheet, int32_t top, const SheetGroup& group)
{
    const TextLine heading = {kSheetGap, top + kHeadingMargin, kSheetWidth - 2 * kSheetGap,
                              kHeadingMagnification, kHeadingGrey};
    DrawTextLine(sheet, heading, group.heading);
    top += kHeadingHeight;
    for (size_t i = 0; i < group.tiles.size(); ++i)
    {
        const int32_t place = static_cast<int32_t>(i);
        DrawTile(sheet, kSheetGap + place % kSheetColumns * kTileWidth,
                 top + place / kSheetColumns * kTileHeight, group.tiles[i]);
    }
    return top + FindRows(group) * kTileHeight;
}

void AddTile(const Picture& picture, const std::string& label, const std::string& detail,
             SheetGroup* group)
{
    group->tiles.push_back({label, detail, std::vector<uint8_t>(kThumbnailBytes)});
    MakeThumbnail(picture, group->tiles.back().pixels.data());
}

int32_t FindSheetHeight(const std::vector<SheetGroup>& groups)
{
    int32_t height = kSheetGap;
    for (const SheetGroup& group : groups)
    {
        height += kHeadingHeight + FindRows(group) * kTileHeight;
    }
    return height;
}

bool WriteContactSheet(const std::string& path, const std::vector<SheetGroup>& groups)
{
    Sheet sheet;
    sheet.height = FindSheetHeight(groups);
    sheet.rows.assign(static_cast<size_t>(sheet.height) * kSheetWidth * 3, kThumbnailGround);

    int32_t top = kSheetGap;
    for (const SheetGroup& group : groups)
    {
        top = DrawGroup(&sheet, top, group);
    }
    return WritePng(path, {kSheetWidth, sheet.height, 3, sheet.rows.data()});
}
