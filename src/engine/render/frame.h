// One frame of a piece.
#pragma once

#include <cstdint>

#include "engine/data/object_table.h"
#include "engine/render/timeline.h"

/// Draws all rows of a timeline at one time.
/// Relies on: colour and depth cleared by the caller. Leaves: whatever the last clip set, except
/// GL_POSITION of GL_LIGHT1, which becomes the z axis of the space that its camera looks at. Where
/// row 0 has no clips, or kEmptySlot for this second, nothing is touched.
/// @param aspect          width by height of the picture as the viewer sees it
/// @param time            ticks of 10 ms
/// @param width, height   pixels of the window
/// @param vbo..dot3       0 or 1 each: buffer objects, unpack buffers, textures of any size, DOT3
/// @return how many scenes were drawn; 0 ends the piece
/// Fatal: a clip that names a scene, envelope, material or bitmap that its table lacks.
uint32_t RenderFrame(Timeline* timeline, ObjectTable* scenes, ObjectTable* materials,
                     ObjectTable* lights, ObjectTable* textures, ObjectTable* envelopes,
                     float aspect, ObjectTable* effects, ObjectTable* models, ObjectTable* bitmaps,
                     ObjectTable* genMeshes, uint32_t time, int32_t width, int32_t height,
                     int32_t vbo, int32_t pbo, int32_t npot, int32_t dot3);
