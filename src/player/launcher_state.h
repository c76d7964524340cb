// SPDX-License-Identifier: MIT

// The mouse in the launcher window, apart from the window: where things are hit, and what
// a look at the mouse changes.
//
// There is no capture of any kind. Every look at the mouse with its button down counts, wherever
// the press began: dragging over rows changes them, and dragging onto the start button arms it.
// Only a switch is toggled once a press.
#pragma once

#include <cstdint>

#include "player/launcher.h"

enum class LauncherTarget
{
    kNone,
    kResolution, // a row of kResolutions
    kAspect,     // a row of kAspects
    kStart,
    kSwitch, // a row of kLauncherSwitches
};

struct LauncherHit
{
    LauncherTarget target;
    int32_t index; // row of the target's table; 0 without one
};

/// The switches from the top, as the window shows them and as they are drawn.
inline constexpr int32_t LauncherChoice::*kLauncherSwitches[] = {
    &LauncherChoice::fullscreen,
    &LauncherChoice::antialiasing,
    &LauncherChoice::music,
    &LauncherChoice::vbo,
};

/// @param x, y   a place in the window, in pixels; any numbers
LauncherHit FindLauncherHit(int32_t x, int32_t y);

struct LauncherState
{
    LauncherChoice choice;
    bool armed;        // the button went down on the start button, or was dragged there
    bool switchLatch;  // a switch has been toggled in this press
    bool wasOverStart; // at the last redraw, the button was down on the start button
};

enum class LauncherStep
{
    kNothing, // what the window shows still holds
    kRedraw,  // it does not
    kStart,   // the viewer is done
};

/// Takes one look at the mouse.
/// @param x, y       where it is in the window
/// @param leftDown   whether its left button is down
LauncherStep StepLauncher(LauncherState* state, int32_t x, int32_t y, bool leftDown);
