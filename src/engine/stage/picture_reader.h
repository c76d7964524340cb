// SPDX-License-Identifier: MIT

// Pictures read back while the next one is drawn: two pixel pack buffers take them by turns.
#pragma once

#include <cstddef>
#include <cstdint>

#include "engine/data/fault.h"
#include "engine/stage/egl_display.h"

/// Zeros are a closed reader.
struct PictureReader
{
    const EglDisplay* display; // borrowed; current whenever the reader is used
    uint32_t buffers[2];       // OpenGL's names, owned
    uint32_t started;          // pictures so far
    uint32_t taken;            // of them; at most two fewer than started
};

/// @param reader   all zero; for ClosePictureReader whatever comes back
/// @return false after a fault: no pixel pack buffers, or no memory for two pictures
bool OpenPictureReader(const EglDisplay* display, PictureReader* reader, FaultList* faults);

/// Starts to read the picture of the back buffer. Two may be under way.
/// Relies on: no pixel pack buffer bound, the scissor test off. Sets: GL_PACK_ALIGNMENT 1.
void StartPicture(PictureReader* reader);

/// Waits for the picture that was started first.
/// @param rgb   receives [height][width][3] bytes, the upper row first, no padding
/// @return false after a fault: the driver lost the picture
bool TakePicture(PictureReader* reader, uint8_t* rgb, FaultList* faults);

/// A closed reader may be closed again.
void ClosePictureReader(PictureReader* reader);
