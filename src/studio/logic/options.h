// SPDX-License-Identifier: MIT

// The command line of quorvale-studio.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

inline constexpr int32_t kLargestPictureSide = 8192; // pixels

struct StudioOptions
{
    std::vector<std::string> pieces;
    bool isViewer;        // --play: starts at once, without panels
    bool isFullscreen;    // --fullscreen
    bool hasNoUi;         // --no-ui: shows the picture alone, with no text over it
    bool isMuted;         // --mute
    bool repeats;         // --loop
    int32_t width;        // of the picture, pixels; 0 for the default
    int32_t height;       // the same
    bool hasFrom;         // --from was given
    uint32_t fromTick;    // --from
    std::string control;  // --control: path of a socket that answers questions; empty for none
    bool wantsHelp;       // --help
    bool wantsVersion;    // --version
    std::string builder;  // --builder: this process builds the folder for another; see build/
    std::string musician; // --musician: this process plays a module for another; see build/
};

/// Reads a moment: ticks "1200t", seconds "12.5", or minutes and seconds "1:12.5".
/// @return false for anything else
bool ParseMoment(const std::string& text, uint32_t* tick);

/// Reads a size: "1280x720", each side from 1 to kLargestPictureSide.
bool ParseSize(const std::string& text, int32_t* width, int32_t* height);

/// @return an empty text, or what is wrong with the command line
std::string ParseOptions(const std::vector<std::string>& arguments, StudioOptions* options);

/// @return the text of --help
const char* OptionsHelp();
