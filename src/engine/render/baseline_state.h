// SPDX-License-Identifier: MIT

// The state of a fresh OpenGL that everything drawn builds on, and what that OpenGL offers.
#pragma once

#include "engine/data/gl_features.h"

/// @return what the current OpenGL offers. Buffer objects for pixels count from OpenGL 2.1 on:
///         older drivers offer them and are slow with them.
/// Relies on: glewInit called.
GlFeatures DetectFeatures();

/// Sets the state that is never restored.
/// Sets: depth test (LEQUAL) and blending on, smooth shading, sphere mapping as the texture
/// generation of S and T (generation itself off), ambient and diffuse of front faces following the
/// color.
void SetBaselineState();
