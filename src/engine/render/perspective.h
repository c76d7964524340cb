// SPDX-License-Identifier: MIT

// The projection that clips use.
#pragma once

#include "engine/render/gl_context.h"

/// Loads a symmetric perspective into the current matrix, replacing it (glLoadMatrixf).
/// @param fov        full vertical angle in degrees
/// @param aspect     width by height of the view
/// @param nearPlane, farPlane   distances of the clipping planes
void LoadPerspective(GlContext* gl, float fov, float aspect, float nearPlane, float farPlane);
