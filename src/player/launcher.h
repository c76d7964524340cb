// SPDX-License-Identifier: MIT

// The viewer's choices before the piece starts, and the window for them.
//
// The window is one picture with a list of resolutions, three aspects, a start button and four
// switches; launcher_state.h tells how the mouse works it. There are no keys.
#pragma once

#include <cstdint>

struct FaultList;

inline constexpr int32_t kSwitchOn = 1;
inline constexpr int32_t kSwitchOff = -1;

struct LauncherChoice
{
    int32_t resolutionIndex; // 0 to 15, a row of kResolutions
    int32_t aspectIndex;     // 0 to 2, a row of kAspects
    int32_t fullscreen;      // kSwitchOn or kSwitchOff, as the three below
    int32_t antialiasing;
    int32_t music; // set to kSwitchOff later if no music plays
    int32_t vbo;
};

inline constexpr LauncherChoice kStartChoice = {5, 0, kSwitchOn, kSwitchOn, kSwitchOn, kSwitchOn};

struct Resolution
{
    int32_t width; // pixels
    int32_t height;
};

inline constexpr Resolution kResolutions[] = {
    {320, 240},  {400, 300},   {512, 384},   {640, 480},   {800, 600},  {1024, 768},
    {1280, 720}, {1280, 800},  {1280, 960},  {1280, 1024}, {1366, 768}, {1400, 1050},
    {1440, 900}, {1600, 1200}, {1680, 1050}, {1920, 1080},
};

/// 4:3, 16:9 and 16:10. The aspect of the picture; it does not follow from the resolution.
inline constexpr float kAspects[] = {1.3333334f, 1.7777778f, 1.6f};

enum class LauncherResult
{
    kStart,  // play with the choice
    kQuit,   // the program ends with exitCode, SDL already closed where it has to be
    kFailed, // after a fault: SDL can't start its video or open the window
};

/// Settles the viewer's choice. Starts SDL's video and leaves it open, with the captioned window,
/// which the next SDL_SetVideoMode replaces, and with mouse motion ignored for the rest of the run.
/// Prints "Bye!" if the viewer closes the window, which quits SDL and gives exit code 0, and
/// "error creating surface :-S" if an image that it can't do without does not load: exit code 1,
/// SDL left as it is.
/// @param title      text of the window's caption and icon
/// @param choice     what is chosen at first, indices in range; receives the choice
/// @param exitCode   receives the exit code when the result is kQuit
LauncherResult RunLauncher(const char* title, LauncherChoice* choice, int* exitCode,
                           FaultList* faults);
