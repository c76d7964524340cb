// SPDX-License-Identifier: MIT

// The drawing processes of a render, and what they tell while they draw.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tools/draw_pictures.h"
#include "tools/render_output.h"
#include "tools/report.h"

/// A render that is carried out.
struct RenderWork
{
    const RenderPlan* plan;        // borrowed
    const RenderSource* source;    // borrowed
    RenderOutput output;           // a closed one, as each process opens it
    std::vector<uint32_t> indices; // pictures that are drawn, in rising order
    int32_t jobs;                  // processes
    Verbosity verbosity;           // whether a line tells of the progress
    bool tellsJson;                // instead, one JSON object a second on standard error
    /// Runs in each process after its last picture; null for nothing.
    std::function<bool(const RenderOutput&)> finish;
};

/// The outcome of a render.
struct RenderOutcome
{
    DrawResult result;
    std::vector<PictureReport> reports; // of pictures that are whole, in the order of the plan
    uint64_t bytes;                     // that were written
    double seconds;                     // that it took
};

/// Holds back the signals by which users end programs, until the drawing looks for them.
void HoldEndSignals();

/// @return whether such a signal waits
bool IsEndAsked();

/// Draws all pictures in processes of their own, each a stretch, and waits for them.
RenderOutcome RunJobs(const RenderWork& work);
