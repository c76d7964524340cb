// SPDX-License-Identifier: MIT

// Which frames of a run showed the pictures of which bitmaps, and which frames wrote them. From it
// follows how far back a run has to be drawn for one frame to show what it should.
//
// A bitmap that serves as a target shows what the last frame drew into it that did so. That frame
// must be drawn, and before it each frame whose pictures it shows in turn: a target that is drawn
// with its own last picture leads back to its start. Frames are numbered by steps, from 0.
#pragma once

#include <cstdint>

#include "engine/data/fault.h"
#include "engine/render/gl_shadow.h"

/// No step at all: of a bitmap, the picture that it was loaded with.
inline constexpr uint32_t kLoadedPicture = 0xFFFFFFFF;
/// A picture that no step of the run gives.
inline constexpr uint32_t kForeignPicture = 0xFFFFFFFE;

/// Steps in a row that use bitmaps alike.
struct UseRun
{
    uint32_t firstStep; // the run ends where the next one begins
    uint32_t firstUse;  // place in TargetHistory::uses
    uint32_t useCount;
};

/// Zeros are the history of a run without frames.
struct TargetHistory
{
    uint32_t stepCount; // steps 0 to stepCount - 1 are known
    UseRun* runs;       // owned
    uint32_t runCount;
    uint32_t runCapacity;
    BitmapUse* uses; // owned
    uint32_t useCount;
    uint32_t useCapacity;
    uint32_t* lastWriter; // [bitmap's id - 1], owned: the last known step that wrote it, or
                          // kLoadedPicture
    uint32_t bitmapCount;
};

/// @param history   all zero; for FreeTargetHistory whatever comes back
/// @return false after a fault: no memory
bool StartTargetHistory(uint32_t bitmapCount, TargetHistory* history, FaultList* faults);

void FreeTargetHistory(TargetHistory* history);

/// Forgets all steps.
void ClearTargetHistory(TargetHistory* history);

/// Adds the next step.
/// @param uses   [useCount], what its frame did with bitmaps, each of them once
/// @return false after a fault: no memory
bool AddHistoryStep(TargetHistory* history, const BitmapUse* uses, uint32_t useCount,
                    FaultList* faults);

/// @return the last step before `step` that wrote the bitmap; kLoadedPicture for none
uint32_t FindWriter(const TargetHistory* history, uint32_t bitmapId, uint32_t step);

/// The targets that have to be drawn for one step.
struct StepPlan
{
    uint8_t* drawn;     // [stepCount], owned: 1 where the step has to be drawn; the last one is it
    uint8_t* reloaded;  // [bitmap's id - 1], owned: 1 where the loaded picture has to be put back
    uint32_t firstStep; // the first that is drawn
    uint32_t stepCount; // the step and all before it
};

/// Finds the steps that have to be drawn, in their order, so that the last of them shows its
/// picture.
/// @param step      a known one
/// @param pictures  [bitmap's id - 1], the step whose picture the bitmap holds now, kLoadedPicture
///                  or kForeignPicture; null if nothing is known of them
/// @param plan      all zero; for FreeStepPlan whatever comes back
/// @return false after a fault: no memory
bool PlanStep(const TargetHistory* history, uint32_t step, const uint32_t* pictures, StepPlan* plan,
              FaultList* faults);

void FreeStepPlan(StepPlan* plan);

/// @return the first known step that shows a picture which an earlier step drew into the bitmap;
///         kLoadedPicture for none
uint32_t FindMemory(const TargetHistory* history, uint32_t bitmapId);
