// SPDX-License-Identifier: MIT

// SDL 1.2 as a layer over SDL 2, which newer systems have in its place.
#pragma once

#include "engine/render/gl_context.h"

/// The layer draws into a buffer of its own, and with antialiasing into a multisampled one.
/// OpenGL's own copy routine cannot read that: every render target stays black. The routine that
/// the layer hands out resolves the samples first. Relies on: a window with an OpenGL context.
/// @return the layer's routine; null with SDL 1.2 itself, which is not called at all
CopyPictureRoutine FindShimCopy();
