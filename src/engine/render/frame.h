// SPDX-License-Identifier: MIT

// One frame of a piece.
#pragma once

#include <cstdint>

#include "engine/render/frame_sources.h"

struct FrameRequest
{
    float aspect;   // width by height of the picture as the viewer sees it
    uint32_t time;  // ticks of 10 ms
    int32_t width;  // pixels of the window
    int32_t height; // pixels of the window
};

/// Draws all rows of a document's timeline at one time.
/// Relies on: color and depth cleared by the caller; SetBaselineState. Leaves: whatever the last
/// clip set, except GL_POSITION of GL_LIGHT1, which becomes the z axis of the space that its camera
/// looks at. Where row 0 has no clips, or kEmptySlot for this second, nothing is touched.
/// @return how many scenes were drawn; 0 ends the piece. Ask HasFailed(sources->faults) first:
///         after a fault nothing more is called, and the result means nothing. Faults: a clip that
///         names a scene, envelope, material or bitmap that its table lacks, and those of
///         DrawSceneObjects.
uint32_t RenderFrame(const FrameSources* sources, const FrameRequest* request);
