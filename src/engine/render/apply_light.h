// SPDX-License-Identifier: MIT

// Lights as OpenGL gets them. All share the one OpenGL light GL_LIGHT1, and a light shines only
// while a material that names it is set.
#pragma once

#include <cstdint>

#include "engine/render/frame_sources.h"

/// Lights what is drawn next. Sets: GL_LIGHTING and GL_LIGHT1 on; position, ambient and diffuse of
/// GL_LIGHT1, in this order, at `time` ticks. The position goes through the current modelview
/// matrix.
/// @return false after a fault: no such light, at the caller's place; a dynamic value without its
///         envelope, at the light
bool ApplyLight(uint32_t id, const FrameSources* sources, uint32_t time);

/// Makes GL_LIGHT1 a direction: the z axis of the space that the current modelview matrix
/// transforms. Under a clip's camera that is the scene's. Sets: GL_POSITION of GL_LIGHT1.
void SetLightAlongZ(GlContext* gl);
