// SPDX-License-Identifier: MIT

// A hand on the launcher window of the real program. Whatever it does, it waits until the window
// shows it: the launcher looks at the mouse only every 30 ms.
#pragma once

#include <cstdint>
#include <string>

#include "support/player_process.h"
#include "support/virtual_screen.h"

/// @return what the launcher window shows; a picture without pixels while there is none
Picture CaptureLauncher(const VirtualScreen& screen);

/// Waits until the launcher shows its start button, up.
/// @return false if it did not within the patience of WaitUntil, here and below
bool WaitForLauncher(const VirtualScreen& screen);

/// Puts the pointer on a pixel of the launcher window.
void PointAt(const VirtualScreen& screen, int32_t x, int32_t y);

/// Waits until the launcher has looked at the mouse some more times.
bool WaitForLooks(const PlayerProcess& player);

/// Presses on a pixel of the launcher window that changes what it shows, and releases there.
bool ClickAt(const VirtualScreen& screen, const PlayerProcess& player, int32_t x, int32_t y);

/// Presses the start button.
bool PressStart(const VirtualScreen& screen);

/// Waits for the launcher and clicks its start button. The program goes on from there.
bool ClickStart(const VirtualScreen& screen);
