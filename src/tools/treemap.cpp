// SPDX-License-Identifier: MIT
#include "tools/treemap.h"

#include <algorithm>

#include "engine/check/finding.h"

static constexpr const char* kColors[] = {"#4269d0", "#c96a00", "#2f8f4e", "#a463c6",
                                          "#c2405f", "#0f8a94", "#8a6d3b", "#5b6770"};

struct Area
{
    double x, y, width, height;
};

static std::string Escaped(const std::string& text)
{
    std::string escaped;
    for (const char c : text)
    {
        switch (c)
        {
        case '<':
            escaped += "&lt;";
            break;
        case '&':
            escaped += "&amp;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        default:
            escaped += c;
        }
    }
    return escaped;
}

static std::string DrawCell(const TreemapCell& cell, const Area& area)
{
    static constexpr double kLetter = 7.0; // pixels of a letter's width
    const std::string label = Escaped(cell.label);
    std::string text =
        FormatText("<g><title>%s</title><rect x=\"%.2f\" y=\"%.2f\" width=\"%.2f\" height=\"%.2f\" "
                   "fill=\"%s\" stroke=\"#fff\"/>",
                   label.c_str(), area.x, area.y, area.width, area.height,
                   kColors[cell.group % std::size(kColors)]);
    const bool hasRoom = area.height > 16.0 && area.width > 30.0;
    if (hasRoom)
    {
        const size_t most = static_cast<size_t>((area.width - 8.0) / kLetter);
        text += FormatText("<text x=\"%.2f\" y=\"%.2f\">%s</text>", area.x + 4.0, area.y + 14.0,
                           Escaped(cell.label.substr(0, most)).c_str());
    }
    return text + "</g>\n";
}

/// The worst side ratio of cells that fill a strip along the shorter side.
static double WorstRatio(const std::vector<TreemapCell>& cells, size_t first, size_t end,
                         double side)
{
    double sum = 0.0;
    for (size_t i = first; i < end; ++i)
    {
        sum += cells[i].size;
    }
    const double depth = sum / side;
    double worst = 1.0;
    for (size_t i = first; i < end; ++i)
    {
        const double length = cells[i].size / depth;
        worst = std::max({worst, length / depth, depth / length});
    }
    return worst;
}

std::string DrawTreemap(std::vector<TreemapCell> cells, uint32_t width, uint32_t height)
{
    std::stable_sort(cells.begin(), cells.end(),
                     [](const TreemapCell& a, const TreemapCell& b) { return a.size > b.size; });
    double sum = 0.0;
    for (const TreemapCell& cell : cells)
    {
        sum += cell.size;
    }
    for (TreemapCell& cell : cells)
    {
        cell.size *= static_cast<double>(width) * static_cast<double>(height) / sum;
    }

    std::string text = FormatText("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%u\" "
                                  "height=\"%u\" viewBox=\"0 0 %u %u\" role=\"img\" "
                                  "aria-label=\"Sizes as areas\">\n"
                                  "<style>text{font:12px sans-serif;fill:#fff}</style>\n",
                                  width, height, width, height);
    // Strips along the shorter side, each filled as long as its cells become squarer by it.
    Area free = {0.0, 0.0, static_cast<double>(width), static_cast<double>(height)};
    for (size_t first = 0; first < cells.size();)
    {
        const bool isWide = free.width >= free.height;
        const double side = isWide ? free.height : free.width;
        size_t end = first + 1;
        while (end < cells.size() &&
               WorstRatio(cells, first, end + 1, side) <= WorstRatio(cells, first, end, side))
        {
            end += 1;
        }
        double strip = 0.0;
        for (size_t i = first; i < end; ++i)
        {
            strip += cells[i].size;
        }
        const double depth = side > 0.0 ? strip / side : 0.0;
        double at = 0.0;
        for (size_t i = first; i < end; ++i)
        {
            const double length = depth > 0.0 ? cells[i].size / depth : 0.0;
            text += DrawCell(cells[i], isWide ? Area{free.x, free.y + at, depth, length}
                                              : Area{free.x + at, free.y, length, depth});
            at += length;
        }
        free = isWide ? Area{free.x + depth, free.y, free.width - depth, free.height}
                      : Area{free.x, free.y + depth, free.width, free.height - depth};
        first = end;
    }
    return text + "</svg>\n";
}
