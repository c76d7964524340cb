// SPDX-License-Identifier: MIT

// A picture of sizes: rectangles whose areas are shares of a whole.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct TreemapCell
{
    std::string label; // shown where it has room, and when pointed at
    double size;       // above 0
    uint32_t group;    // cells of a group have one color
};

/// @param cells   are sorted by size
/// @return an SVG file of these many pixels
std::string DrawTreemap(std::vector<TreemapCell> cells, uint32_t width, uint32_t height);
