// SPDX-License-Identifier: MIT

// The OpenGL context of one window or off-screen surface, as the engine sees it.
//
// OpenGL keeps state from call to call and from frame to frame, and recipes leave some behind on
// purpose. The engine keeps here what it must know of that state. A context shared by two
// documents, the loading screen and the demo, has one record; two windows have two.
#pragma once

#include <cstdint>

struct GlShadow;

inline constexpr uint32_t kTextureUnits = 2;

/// The state of texture coordinate arrays that OpenGL was told of; all zero in a fresh context.
struct TexCoordArrays
{
    uint32_t unit; // the selected one
    bool enabled[kTextureUnits];
    uint32_t vertexCount[kTextureUnits]; // that the coordinates pointed at are for
};

/// glCopyTexSubImage2D: target, level, offsets in the texture, place and size in the picture.
using CopyPictureRoutine = void (*)(uint32_t target, int32_t level, int32_t xOffset,
                                    int32_t yOffset, int32_t x, int32_t y, int32_t width,
                                    int32_t height);

/// Zeros are a fresh context that draws.
struct GlContext
{
    TexCoordArrays texCoords;
    GlShadow* shadow; // written down beside the calls; borrowed, null for a program that only plays
    CopyPictureRoutine copyPicture; // for render targets; null for the OpenGL library's own
    bool skips;                     // no call of a frame reaches OpenGL; needs a shadow
};

/// Whether frames are run for what they leave behind, without OpenGL.
inline bool SkipsCalls(const GlContext* gl)
{
    // The shadow is looked at first: most calls look at it anyway, so a program that only plays
    // takes one branch a call.
    return gl->shadow != nullptr && gl->skips;
}
