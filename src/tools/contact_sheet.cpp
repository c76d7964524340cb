// SPDX-License-Identifier: MIT
#include "tools/contact_sheet.h"

#include <cstring>

#include "tools/draw_text.h"
#include "tools/thumbnail.h"

static_assert(kTileWidth == kThumbnailSide + kSheetGap);

static constexpr uint8_t kHeadingGrey = 255;
static constexpr uint8_t kLabelGrey = 224;
static constexpr uint8_t kDetailGrey = 152;
static constexpr int32_t kHeadingMargin = 12;
static constexpr int32_t kLineHeight = 12;
static constexpr int32_t kHeadingMagnification = 2;

static void DrawTile(Canvas* sheet, int32_t left, int32_t top, const SheetTile& tile)
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
static int32_t DrawGroup(Canvas* sheet, int32_t top, const SheetGroup& group)
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
    Canvas sheet = {kSheetWidth, FindSheetHeight(groups), {}};
    sheet.rows.assign(static_cast<size_t>(sheet.height) * kSheetWidth * 3, kThumbnailGround);

    int32_t top = kSheetGap;
    for (const SheetGroup& group : groups)
    {
        top = DrawGroup(&sheet, top, group);
    }
    return WritePng(path, {kSheetWidth, sheet.height, 3, sheet.rows.data()});
}
