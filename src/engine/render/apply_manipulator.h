// SPDX-License-Identifier: MIT

// Manipulators as a frame runs them: their parameters at a time, the mesh that copies are placed
// on, and bent geometry in buffer objects.
#pragma once

#include <cstdint>

#include "engine/geometry/manipulator.h"
#include "engine/render/frame_sources.h"

/// The parts of an object that its manipulators change. All borrowed.
struct ManipulatedObject
{
    const Mesh* mesh; // the object's own
    InstanceList* instances;
    DeformedMesh* deformed;
};

/// Runs one manipulator on an object at `time` ticks.
/// "Model placer" builds its matrix on the modelview stack, which must be the selected one, and
/// takes it off again. With GlFeatures.vbo "Rippler" keeps the bent geometry in the upload's
/// buffers too and leaves GL_ARRAY_BUFFER bound to the deformed normals.
/// @return false after a fault: an envelope that does not exist, a generated mesh to place on that
///         does not exist, more than kInstanceLimit instances, no memory
bool RunManipulator(const Manipulator* manipulator, const ManipulatedObject* object,
                    const FrameSources* sources, uint32_t time);

/// Deletes the buffers of an object's bent geometry with glDeleteBuffersARB, one by one, if there
/// are any.
void ReleaseDeformedBuffers(const FrameSources* sources);

/// Moves a generated mesh to `time` ticks.
/// @param mesh   receives the moved mesh, arrays borrowed until the next call for this id
/// @return false if there is no such record, and after a fault: HasFailed tells which
bool MoveGenMesh(uint32_t id, const FrameSources* sources, uint32_t time, Mesh* mesh);
