// SPDX-License-Identifier: MIT

// The objects of a scene, drawn.
#pragma once

#include <cstdint>

#include "engine/render/frame_sources.h"
#include "engine/render/records/scene.h"

/// The clip that shows a scene.
struct SceneRequest
{
    uint32_t time;    // animation time of the clip in ticks
    float cameraRotY; // degrees, handed on to SetMaterial
};

/// Draws all objects of a scene in order, under the current projection and modelview matrix. The
/// generated meshes that they draw or place on, and the 2D effects that they wear, move to their
/// object's time.
/// Relies on: matrix mode GL_MODELVIEW. Leaves: vertex and normal arrays off, buffer bindings as
/// the last object set them, and the state of the last material.
/// @return false after a fault: an envelope, light or texture that its table lacks, more than
///         kInstanceLimit instances of an object, no memory. A missing mesh skips the object.
bool DrawSceneObjects(const Scene* scene, const FrameSources* sources, const SceneRequest* request);
