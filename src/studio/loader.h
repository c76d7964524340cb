// SPDX-License-Identifier: MIT

// A piece loaded by another thread, while the one before plays on.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "studio/logic/kept_items.h"
#include "studio/logic/picture_seek.h"
#include "studio/window.h"

struct LoadRequest
{
    std::string path;             // of a package; empty for one in memory
    std::vector<uint8_t> package; // bytes, where there is no path
    StageView view;
    uint32_t tick; // that is drawn at once
};

struct LoadOutcome
{
    bool isLoaded;                   // the slot has the stage
    bool isLeft;                     // without the picture: it was not sought to its end
    std::vector<std::string> faults; // lines that tell why it has not
    uint32_t loadUs;                 // reading and giving to OpenGL
    uint32_t seekUs;                 // to the picture of the tick
    uint32_t made, kept;             // textures, models and bitmaps: new ones, and kept ones
};

/// All zero when no thread runs.
struct Loader
{
    std::thread thread;
    std::atomic<bool> isDone;    // the outcome can be taken
    std::atomic<bool> mustLeave; // the seek, with the piece loaded all the same
    std::atomic<uint64_t> past;  // how much of the past is played; LoaderPast reads it
    bool isRunning;              // a thread was started and not taken yet
    uint32_t beganMs;            // when
    LoadRequest request;
    LoadOutcome outcome;
    StageSlot* slot; // borrowed
    KeptItems kept;  // of the piece before; the thread's while one runs
};

/// Starts to load into a slot, whose stage is closed first. No thread may be running, and nobody
/// else may touch the slot until the outcome is taken.
void StartLoading(LoadRequest&& request, StageSlot* slot, Loader* loader);

/// @return whether there is an outcome, which is then moved out; the loader is free again
bool TakeLoaded(Loader* loader, LoadOutcome* outcome);

/// Gives up the picture: the piece is loaded without it.
void LeaveSeek(Loader* loader);

/// @return how much of the past is played; no frames where it is not played, or not yet
PastPlayed LoaderPast(const Loader* loader);

/// Waits for the thread, if one runs, and drops what it loaded.
void EndLoading(Loader* loader);
