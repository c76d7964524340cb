// SPDX-License-Identifier: MIT

// The picture of a display with samples, mixed into one value a pixel. Mesa's software renderer
// hands out the first sample of a pixel where the mean is due, so whoever reads such a picture
// mixes it first.
#pragma once

#include <cstdint>

#include "engine/stage/egl_display.h"

struct MixedPicture
{
    uint32_t framebuffer;  // OpenGL's name; owned, as the next
    uint32_t renderbuffer; // OpenGL's name
};

/// Mixes the samples of each pixel of the display, which is current.
/// Sets: the framebuffer that is read, to the mixed picture.
MixedPicture MixSamples(const EglDisplay* display);

/// Sets: the framebuffer that is read, to the display's own.
void FreeMixedPicture(const MixedPicture* mixed);
