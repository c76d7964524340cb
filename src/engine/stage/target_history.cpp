// SPDX-License-Identifier: MIT
#include "engine/stage/target_history.h"

#include <algorithm>
#include <cassert>
#include <cstdlib>

#include "engine/data/allocate.h"

static constexpr const char* kWhat = "the history of targets";

// ---- The record

bool StartTargetHistory(uint32_t bitmapCount, TargetHistory* history, FaultList* faults)
{
    history->lastWriter = AllocateBlock<uint32_t>(bitmapCount, kWhat, faults);
    if (history->lastWriter == nullptr)
    {
        return false;
    }
    history->bitmapCount = bitmapCount;
    ClearTargetHistory(history);
    return true;
}

void FreeTargetHistory(TargetHistory* history)
{
    free(history->runs);
    free(history->uses);
    free(history->lastWriter);
    *history = {};
}

void ClearTargetHistory(TargetHistory* history)
{
    history->stepCount = 0;
    history->runCount = 0;
    history->useCount = 0;
    std::fill_n(history->lastWriter, history->bitmapCount, kLoadedPicture);
}

/// Makes room for more elements at the end of an array.
template <typename Element>
static bool Reserve(Element** array, uint32_t* capacity, uint32_t wanted, FaultList* faults)
{
    if (*array != nullptr && wanted <= *capacity)
    {
        return true;
    }
    const uint32_t larger = std::max({wanted, *capacity * 2, 1u});
    Element* grown = AllocateBlock<Element>(larger, kWhat, faults);
    if (grown == nullptr)
    {
        return false;
    }
    std::copy_n(*array, *capacity, grown);
    free(*array);
    *array = grown;
    *capacity = larger;
    return true;
}

static bool AreAlike(const BitmapUse& a, const BitmapUse& b)
{
    return a.id == b.id && a.shownFirst == b.shownFirst && a.written == b.written;
}

bool AddHistoryStep(TargetHistory* history, const BitmapUse* uses, uint32_t useCount,
                    FaultList* faults)
{
    const UseRun* last = history->runCount == 0 ? nullptr : &history->runs[history->runCount - 1];
    const bool goesOn = last != nullptr && last->useCount == useCount &&
                        std::equal(uses, uses + useCount, history->uses + last->firstUse, AreAlike);
    if (!goesOn)
    {
        if (!Reserve(&history->runs, &history->runCapacity, history->runCount + 1, faults) ||
            !Reserve(&history->uses, &history->useCapacity, history->useCount + useCount, faults))
        {
            return false;
        }
        history->runs[history->runCount] = {history->stepCount, history->useCount, useCount};
        history->runCount += 1;
        std::copy_n(uses, useCount, history->uses + history->useCount);
        history->useCount += useCount;
    }
    for (uint32_t i = 0; i < useCount; ++i)
    {
        if (uses[i].written)
        {
            history->lastWriter[uses[i].id - 1] = history->stepCount;
        }
    }
    history->stepCount += 1;
    return true;
}

// ---- Looking up

/// @return the place of the run that a known step is in
static uint32_t FindRun(const TargetHistory* history, uint32_t step)
{
    assert(step < history->stepCount);
    const UseRun* after =
        std::upper_bound(history->runs, history->runs + history->runCount, step,
                         [](uint32_t a, const UseRun& b) { return a < b.firstStep; });
    return static_cast<uint32_t>(after - history->runs) - 1;
}

/// @return what a run does with a bitmap; null for nothing
static const BitmapUse* FindUse(const TargetHistory* history, uint32_t run, uint32_t bitmapId)
{
    const BitmapUse* first = history->uses + history->runs[run].firstUse;
    const BitmapUse* end = first + history->runs[run].useCount;
    const BitmapUse* found =
        std::find_if(first, end, [bitmapId](const BitmapUse& use) { return use.id == bitmapId; });
    return found == end ? nullptr : found;
}

uint32_t FindWriter(const TargetHistory* history, uint32_t bitmapId, uint32_t step)
{
    assert(step <= history->stepCount);
    if (step == 0)
    {
        return kLoadedPicture;
    }
    uint32_t last = step - 1;
    for (uint32_t run = FindRun(history, last) + 1; run > 0; --run)
    {
        const BitmapUse* use = FindUse(history, run - 1, bitmapId);
        if (use != nullptr && use->written)
        {
            return last;
        }
        last = history->runs[run - 1].firstStep - 1; // not read after the first run
    }
    return kLoadedPicture;
}

uint32_t FindMemory(const TargetHistory* history, uint32_t bitmapId)
{
    bool written = false;
    for (uint32_t run = 0; run < history->runCount; ++run)
    {
        const BitmapUse* use = FindUse(history, run, bitmapId);
        if (use == nullptr)
        {
            continue;
        }
        const uint32_t first = history->runs[run].firstStep;
        const uint32_t end =
            run + 1 == history->runCount ? history->stepCount : history->runs[run + 1].firstStep;
        if (use->shownFirst && written)
        {
            return first;
        }
        if (use->shownFirst && use->written && end - first > 1)
        {
            return first + 1;
        }
        written = written || use->written;
    }
    return kLoadedPicture;
}

// ---- Planning

/// A plan while it is made.
struct Planner
{
    const TargetHistory* history;
    const uint32_t* pictures; // null: nothing is known
    bool* lost;               // [bitmap's id - 1]: what the bitmap holds will be overwritten
    uint32_t* readers;        // [bitmap's id - 1]: the last step that shows what the bitmap holds
                              // now; kLoadedPicture for none
    StepPlan* plan;
};

/// Marks what a step needs before it is drawn.
static void MarkNeeds(Planner* planner, uint32_t run, uint32_t step)
{
    const TargetHistory* history = planner->history;
    const UseRun& uses = history->runs[run];
    for (uint32_t i = 0; i < uses.useCount; ++i)
    {
        const BitmapUse& use = history->uses[uses.firstUse + i];
        if (!use.shownFirst)
        {
            continue;
        }
        const uint32_t writer = FindWriter(history, use.id, step);
        const bool isHeld = planner->pictures != nullptr && !planner->lost[use.id - 1] &&
                            planner->pictures[use.id - 1] == writer;
        if (isHeld)
        {
            uint32_t* reader = &planner->readers[use.id - 1];
            *reader = *reader == kLoadedPicture ? step : *reader;
        }
        else if (writer == kLoadedPicture)
        {
            planner->plan->reloaded[use.id - 1] = 1;
        }
        else
        {
            planner->plan->drawn[writer] = 1;
        }
    }
}

/// Marks all steps that have to be drawn, as far as pictures that are held now last.
static void MarkSteps(Planner* planner, uint32_t step)
{
    const TargetHistory* history = planner->history;
    StepPlan* plan = planner->plan;
    std::fill_n(plan->drawn, plan->stepCount, uint8_t{0});
    std::fill_n(plan->reloaded, history->bitmapCount, uint8_t{0});
    std::fill_n(planner->readers, history->bitmapCount, kLoadedPicture);
    plan->drawn[step] = 1;
    uint32_t run = FindRun(history, step);
    for (uint32_t at = step + 1; at > 0; --at)
    {
        while (history->runs[run].firstStep > at - 1)
        {
            --run;
        }
        if (plan->drawn[at - 1] != 0)
        {
            plan->firstStep = at - 1;
            MarkNeeds(planner, run, at - 1);
        }
    }
}

/// Looks for pictures that are held now and would be overwritten before they are shown.
/// @return whether there are any; they are marked as lost
static bool FindLostPictures(Planner* planner)
{
    const TargetHistory* history = planner->history;
    const StepPlan* plan = planner->plan;
    bool anyLost = false;
    for (uint32_t i = 0; i < history->bitmapCount; ++i)
    {
        const uint32_t reader = planner->readers[i];
        if (reader == kLoadedPicture)
        {
            continue;
        }
        // The picture's own step may be drawn again, and steps between it and its readers don't
        // write the bitmap. So only what is drawn before it harms.
        const uint32_t writer = planner->pictures[i];
        bool isLost = plan->reloaded[i] != 0;
        const uint32_t end = writer == kLoadedPicture ? 0 : writer;
        for (uint32_t step = plan->firstStep; step < end && plan->drawn[end] == 0 && !isLost;
             ++step)
        {
            if (plan->drawn[step] != 0)
            {
                const BitmapUse* use = FindUse(history, FindRun(history, step), i + 1);
                isLost = use != nullptr && use->written;
            }
        }
        planner->lost[i] = planner->lost[i] || isLost;
        anyLost = anyLost || isLost;
    }
    return anyLost;
}

bool PlanStep(const TargetHistory* history, uint32_t step, const uint32_t* pictures, StepPlan* plan,
              FaultList* faults)
{
    assert(step < history->stepCount);
    plan->stepCount = step + 1;
    plan->drawn = AllocateBlock<uint8_t>(plan->stepCount, kWhat, faults);
    plan->reloaded = AllocateBlock<uint8_t>(history->bitmapCount, kWhat, faults);
    bool* lost = AllocateZeroed<bool>(history->bitmapCount, kWhat, faults);
    uint32_t* readers = AllocateBlock<uint32_t>(history->bitmapCount, kWhat, faults);
    const bool hasMemory = !HasFailed(faults);
    if (hasMemory)
    {
        Planner planner = {history, pictures, lost, readers, plan};
        do
        {
            MarkSteps(&planner, step);
        } while (FindLostPictures(&planner)); // each turn gives up a picture
    }
    free(lost);
    free(readers);
    return hasMemory;
}

void FreeStepPlan(StepPlan* plan)
{
    free(plan->drawn);
    free(plan->reloaded);
    *plan = {};
}
