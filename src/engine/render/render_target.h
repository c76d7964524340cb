// Bitmaps as render targets. The back buffer serves as the drawing surface, with the viewport set
// to the bitmap's size, and the picture is copied into the bitmap when the next pass begins.
#pragma once

#include <cstdint>

#include "engine/data/object_table.h"

/// The target of the frame that is being drawn; {false, 0} when it begins.
struct RenderTarget
{
    bool open;  // its picture is still to be copied
    int32_t id; // of a BitmapTexture; 0 for none
};

/// Closes what is open for a pass to the whole window: filters to GL_LINEAR, then the copy.
/// Sets: nothing if no target is open. Otherwise the target's texture bound, its minification and
/// magnification filter, clear colour (0, 0, 0, 0); colour and depth are cleared.
/// Fatal: no such bitmap.
void CloseTarget(RenderTarget* target, const ObjectTable* bitmaps);

/// Copies the picture of the open target, if there is one, and opens another.
/// Sets: for the copy what CloseTarget does, except the filters; for a resize a new texture, bound,
/// with both filters GL_LINEAR; then the viewport.
/// @param id              of the new bitmap, as clips hold it. 0.0 opens nothing: the viewport and
///                        the old target stay, and the next pass copies to that once more.
/// @param quarter         resize the bitmap to half the window's width and height
/// @param halfWidth, halfHeight   pixels
/// @param npot            0: each dimension is 64, 128 or 256 instead
/// Fatal: no such bitmap.
void OpenTarget(RenderTarget* target, float id, bool quarter, int32_t halfWidth, int32_t halfHeight,
                int32_t npot, const ObjectTable* bitmaps);
