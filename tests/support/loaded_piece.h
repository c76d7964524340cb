// SPDX-License-Identifier: MIT

// All that can be seen of a piece that was loaded, for comparisons.
#pragma once

#include <string>

#include "engine/render/piece_run.h"
#include "support/fault_text.h"
#include "support/recorded_gl.h"

/// Closes a run after its documents were loaded.
/// @param faults   of the run; freed
/// @return OpenGL's calls since they were taken last, the faults, the lines to print and the bytes
///         left of the budget
inline std::string CloseLoadedRun(PieceRun* run, FaultList* faults)
{
    std::string text = TakeGlCalls() + FaultText(*faults);
    for (uint32_t i = 0; i < run->piece.package.lineCount; ++i)
    {
        text += run->piece.package.lines[i];
    }
    text += "left " + std::to_string(run->piece.package.budget.bytesLeft) + "\n";
    CloseRun(run);
    FreeFaults(faults);
    ResetGl();
    return text;
}
