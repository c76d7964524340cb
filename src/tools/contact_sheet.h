// SPDX-License-Identifier: MIT

// A contact sheet: many pictures on one, small, in groups, each above two lines of text. The groups
// lie one below the other, the tiles of a group in rows from left to right.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/png_file.h"

struct SheetTile
{
    std::string label;           // one line, cut where the tile ends
    std::string detail;          // the same, in darker letters
    std::vector<uint8_t> pixels; // a thumbnail, kThumbnailBytes
};

struct SheetGroup
{
    std::string heading;
    std::vector<SheetTile> tiles;
};

// All in pixels.
inline constexpr int32_t kSheetColumns = 8;
inline constexpr int32_t kSheetGap = 8;                  // between tiles and round everything
inline constexpr int32_t kHeadingHeight = 12 + 24 + 4;   // with what is free above and below
inline constexpr int32_t kTileWidth = 128 + 8;           // the gap after it included
inline constexpr int32_t kTileHeight = 128 + 4 + 24 + 8; // two lines of text and the gap too
inline constexpr int32_t kSheetWidth = kSheetGap + kSheetColumns * kTileWidth;

/// Adds a picture at the end of a group.
void AddTile(const Picture& picture, const std::string& label, const std::string& detail,
             SheetGroup* group);

/// In pixels. A group takes its heading and as many rows as its tiles need, none for no tiles.
int32_t FindSheetHeight(const std::vector<SheetGroup>& groups);

/// Draws the sheet and writes it as a PNG file, RGB. Letters that are not ASCII, which the
/// font lacks, are drawn as question marks.
/// @return false after an error line
bool WriteContactSheet(const std::string& path, const std::vector<SheetGroup>& groups);
