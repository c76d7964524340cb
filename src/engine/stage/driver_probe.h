// SPDX-License-Identifier: MIT

// A look at the driver before anything is made of its pictures: a small picture whose pixels are
// known. A driver that lacks what pieces need would otherwise show black, or nothing, in silence.
#pragma once

#include <cstdint>

#include "engine/data/fault.h"

/// Draws a triangle, copies it to a texture, draws the texture, and blends a rectangle over it, on
/// a display of its own. No OpenGL is current after that.
/// @param samples   of each pixel, as the display that will be used
/// @return false after a fault: no display, or a pixel that is not as it has to be
bool ProbeDriver(int32_t samples, FaultList* faults);
