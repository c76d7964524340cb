// SPDX-License-Identifier: MIT

// How large the user's desktop draws.
#pragma once

#include <SDL.h>

/// Asks GDK_SCALE, then the X server's resource Xft.dpi, which desktops set, then the screen's
/// size.
/// @return 1 on an ordinary screen, up to 4 in quarters
float FindDesktopScale(SDL_Window* window);
