// SPDX-License-Identifier: MIT

// Frames of a piece as a program shows them that only plays: the same routines as the player's,
// without a shadow, frame after frame on an OpenGL of its own.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/stage/egl_display.h"
#include "engine/stage/stage.h"

/// RGB, rows from the top, no padding.
using Pixels = std::vector<uint8_t>;

/// Ends the test program if the driver refuses.
void MakeCurrent(const EglDisplay& display);

/// @return the picture of the display, which is current
Pixels TakePixels(const EglDisplay& display);

struct PlayedFrames
{
    std::vector<Pixels> pictures; // one a frame, from tick 0 on
    std::vector<uint32_t> scenes; // drawn in each
    std::string fault;            // that ended the run, as its line; empty for none
};

/// Plays a piece on a new display, which is current afterwards no more.
/// @param package   bytes of a package
/// @param stride    ticks from frame to frame
/// @param count     frames, unless a fault comes first
PlayedFrames PlayFrames(const std::string& package, const StageView& view, int32_t samples,
                        uint32_t stride, uint32_t count);

/// @return the line of the first fault; empty for none
std::string FaultLine(const FaultList& faults);

/// A display and a stage on it, closed by the destructor.
struct OpenedStage
{
    OpenedStage(const std::string& package, const StageView& stageView, int32_t samples);
    ~OpenedStage();
    OpenedStage(const OpenedStage&) = delete;
    OpenedStage& operator=(const OpenedStage&) = delete;

    EglDisplay display = {};
    Stage* stage;      // owned
    std::string bytes; // the package
    std::string fault; // that ended loading
};

struct SoughtFrame
{
    Pixels picture; // empty after a fault
    SeekResult result;
    std::string fault; // its line; empty for none
};

/// Seeks with faults of its own and takes the picture.
SoughtFrame Seek(OpenedStage* opened, uint32_t tick, uint32_t stride);
