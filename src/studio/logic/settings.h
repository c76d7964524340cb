// SPDX-License-Identifier: MIT

// The settings that last from one run to the next: in the user's configuration folder, as lines of
// "key=value".
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

inline constexpr size_t kMostRecentPieces = 12;

struct StudioSettings
{
    std::string editor;                // command that opens a file at a line; empty for $VISUAL
    int32_t volume;                    // 0 to 100
    int32_t panels;                    // shown, a bit a Panel
    int32_t windowWidth, windowHeight; // pixels
    std::vector<std::pair<std::string, uint32_t>> lastPlaces; // piece and tick, the latest first
    std::string otherLines;                                   // of the file, such as remarks
};

/// @return settings of a first run
StudioSettings DefaultSettings();

/// Reads settings. Lines that are none, and values out of their range, leave the default.
StudioSettings ParseSettings(const std::string& text);

std::string FormatSettings(const StudioSettings& settings);

/// Brings together what this run has changed, and what others - another window, or the user with an
/// editor - have changed in the file meanwhile. Where both did, this run's stays.
/// @param before   that the run began with
/// @param after    that it ends with
/// @param file     of the file now
StudioSettings MergeSettings(const StudioSettings& before, const StudioSettings& after,
                             const StudioSettings& file);

/// @return whether a piece was open before
bool IsKnownPiece(const StudioSettings& settings, const std::string& piece);

/// Notes where a piece was left. It becomes the first of lastPlaces.
void NotePlace(StudioSettings* settings, const std::string& piece, uint32_t tick);

/// @return the tick that a piece was left at; 0 for one that is not known
uint32_t FindPlace(const StudioSettings& settings, const std::string& piece);

/// @param xdgConfigHome   value of the variable, may be null
/// @param home            the same
/// @return the folder of the studio's settings; empty if there is none
std::string SettingsFolder(const char* xdgConfigHome, const char* home);
