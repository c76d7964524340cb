// SPDX-License-Identifier: MIT
#include "studio/logic/settings.h"

#include <algorithm>
#include <cstdlib>

#include "studio/logic/commands.h"

StudioSettings DefaultSettings()
{
    StudioSettings settings = {};
    settings.volume = 100;
    settings.panels = kFirstPanels;
    settings.windowWidth = 1600;
    settings.windowHeight = 1000;
    return settings;
}

/// @return the number, or -1 for a text that is none
static int64_t ParseNumber(const std::string& text)
{
    if (text.empty() || text.size() > 10 || text.find_first_not_of("0123456789") != text.npos)
    {
        return -1;
    }
    return atoll(text.c_str());
}

static void TakeNumber(const std::string& value, int64_t least, int64_t most, int32_t* number)
{
    const int64_t parsed = ParseNumber(value);
    if (parsed >= least && parsed <= most)
    {
        *number = static_cast<int32_t>(parsed);
    }
}

/// "TICK PATH"
static void TakePlace(const std::string& value, StudioSettings* settings)
{
    const size_t space = value.find(' ');
    const int64_t tick = ParseNumber(value.substr(0, space));
    if (space != std::string::npos && space + 1 < value.size() && tick >= 0 &&
        tick <= int64_t{UINT32_MAX} && settings->lastPlaces.size() < kMostRecentPieces)
    {
        settings->lastPlaces.push_back({value.substr(space + 1), static_cast<uint32_t>(tick)});
    }
}

StudioSettings ParseSettings(const std::string& text)
{
    StudioSettings settings = DefaultSettings();
    for (size_t begin = 0; begin < text.size();)
    {
        const size_t end = std::min(text.find('\n', begin), text.size());
        const std::string line = text.substr(begin, end - begin);
        begin = end + 1;
        const size_t equals = line.find('=');
        if (equals == std::string::npos)
        {
            settings.otherLines += line.empty() ? "" : line + "\n";
            continue;
        }
        const std::string key = line.substr(0, equals);
        const std::string value = line.substr(equals + 1);
        if (key == "editor")
        {
            settings.editor = value;
        }
        else if (key == "volume")
        {
            TakeNumber(value, 0, 100, &settings.volume);
        }
        else if (key == "panels")
        {
            TakeNumber(value, 0, 65535, &settings.panels);
        }
        else if (key == "width")
        {
            TakeNumber(value, 320, 16384, &settings.windowWidth);
        }
        else if (key == "height")
        {
            TakeNumber(value, 240, 16384, &settings.windowHeight);
        }
        else if (key == "piece")
        {
            TakePlace(value, &settings);
        }
        else
        {
            settings.otherLines += line + "\n";
        }
    }
    return settings;
}

std::string FormatSettings(const StudioSettings& settings)
{
    std::string text = "editor=" + settings.editor + "\n" +
                       "volume=" + std::to_string(settings.volume) + "\n" +
                       "panels=" + std::to_string(settings.panels) + "\n" +
                       "width=" + std::to_string(settings.windowWidth) + "\n" +
                       "height=" + std::to_string(settings.windowHeight) + "\n";
    for (const auto& [piece, tick] : settings.lastPlaces)
    {
        text += "piece=" + std::to_string(tick) + " " + piece + "\n";
    }
    return text + settings.otherLines;
}

StudioSettings MergeSettings(const StudioSettings& before, const StudioSettings& after,
                             const StudioSettings& file)
{
    StudioSettings merged = file;
    const auto take = [&before, &after, &merged](auto StudioSettings::*member)
    {
        if (after.*member != before.*member)
        {
            merged.*member = after.*member;
        }
    };
    take(&StudioSettings::editor);
    take(&StudioSettings::volume);
    take(&StudioSettings::panels);
    take(&StudioSettings::windowWidth);
    take(&StudioSettings::windowHeight);
    for (auto place = after.lastPlaces.rbegin(); place != after.lastPlaces.rend(); ++place)
    {
        const bool isNew = std::find(before.lastPlaces.begin(), before.lastPlaces.end(), *place) ==
                           before.lastPlaces.end();
        if (isNew)
        {
            NotePlace(&merged, place->first, place->second);
        }
    }
    return merged;
}

void NotePlace(StudioSettings* settings, const std::string& piece, uint32_t tick)
{
    // A line break would end the line of the file.
    if (piece.empty() || piece.find('\n') != std::string::npos)
    {
        return;
    }
    std::erase_if(settings->lastPlaces,
                  [&piece](const auto& place) { return place.first == piece; });
    settings->lastPlaces.insert(settings->lastPlaces.begin(), {piece, tick});
    if (settings->lastPlaces.size() > kMostRecentPieces)
    {
        settings->lastPlaces.resize(kMostRecentPieces);
    }
}

bool IsKnownPiece(const StudioSettings& settings, const std::string& piece)
{
    return std::any_of(settings.lastPlaces.begin(), settings.lastPlaces.end(),
                       [&piece](const auto& place) { return place.first == piece; });
}

uint32_t FindPlace(const StudioSettings& settings, const std::string& piece)
{
    for (const auto& [path, tick] : settings.lastPlaces)
    {
        if (path == piece)
        {
            return tick;
        }
    }
    return 0;
}

std::string SettingsFolder(const char* xdgConfigHome, const char* home)
{
    if (xdgConfigHome != nullptr && xdgConfigHome[0] == '/')
    {
        return std::string(xdgConfigHome) + "/quorvale-studio";
    }
    return home != nullptr && home[0] == '/' ? std::string(home) + "/.config/quorvale-studio" : "";
}
