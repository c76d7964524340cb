// SPDX-License-Identifier: MIT

// Bitmaps as render targets. The back buffer serves as the drawing surface, with the viewport set
// to the bitmap's size, and the picture is copied into the bitmap when the next pass begins.
#pragma once

#include <cstdint>

#include "engine/render/frame_sources.h"

/// The target of the frame that is being drawn; {false, 0} when it begins.
struct RenderTarget
{
    bool open;  // its picture is still to be copied
    int32_t id; // of a BitmapTexture; 0 for none
};

/// Closes what is open for a pass to the whole window: filters to GL_LINEAR, then the copy.
/// Sets: nothing if no target is open. Otherwise the target's texture bound, its minification and
/// magnification filter, clear color (0, 0, 0, 0); color and depth are cleared.
/// @return false after a fault: no such bitmap
bool CloseTarget(RenderTarget* target, const FrameSources* sources);

/// A pass to a bitmap.
struct TargetPass
{
    float id;           // of the bitmap, as clips hold it
    bool quarter;       // resize the bitmap to half the window's width and height
    int32_t halfWidth;  // pixels
    int32_t halfHeight; // pixels
};

/// Copies the picture of the open target, if there is one, and opens another.
/// Sets: for the copy what CloseTarget does, except the filters; for a resize a new texture, bound,
/// with both filters GL_LINEAR; then the viewport.
/// An id of 0.0 opens nothing: the viewport and the old target stay, and the next pass copies to
/// that once more.
/// @return false after a fault: no such bitmap, or no memory
bool OpenTarget(RenderTarget* target, const TargetPass* pass, const FrameSources* sources);

struct TargetSize
{
    int32_t width;  // pixels
    int32_t height; // pixels
};

/// The size that a quarter-screen pass gives its bitmap.
/// @param npot   bitmaps may have any size; otherwise each side is 64, 128 or 256
TargetSize QuarterTargetSize(int32_t halfWidth, int32_t halfHeight, bool npot);

/// Gives a resized bitmap's texture, which has a name, its black picture and linear filters.
/// Leaves: the texture bound.
/// @return false after a fault: no memory
bool SpecifyBlackTarget(const BitmapUpload* bitmap, FaultList* faults);
