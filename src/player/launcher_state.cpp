// SPDX-License-Identifier: MIT
#include "player/launcher_state.h"

#include <iterator>

/// Both ends belong to it.
struct Span
{
    int32_t from;
    int32_t to;
};

/// A column of targets of one kind, each with its rows of pixels.
static constexpr Span kResolutionColumn = {16, 125};
static constexpr Span kResolutionSpans[] = {
    {18, 36},   {37, 59},   {60, 83},   {84, 104},  {105, 127}, {128, 150}, {151, 172}, {173, 195},
    {196, 217}, {218, 239}, {240, 262}, {263, 285}, {286, 307}, {308, 329}, {330, 353}, {354, 373},
};
static_assert(std::size(kResolutionSpans) == std::size(kResolutions));

static constexpr Span kAspectColumn = {195, 252}; // the start button's too
static constexpr Span kAspectSpans[] = {{19, 38}, {39, 61}, {62, 84}};
static_assert(std::size(kAspectSpans) == std::size(kAspects));
static constexpr Span kStartSpan = {165, 206};

/// Unlike the rows above, these leave gaps.
static constexpr Span kSwitchColumn = {157, 169};
static constexpr Span kSwitchSpans[] = {{293, 305}, {315, 325}, {338, 349}, {361, 372}};
static_assert(std::size(kSwitchSpans) == std::size(kLauncherSwitches));

static constexpr int32_t kNoSpan = -1;

static bool Holds(Span span, int32_t value)
{
    return span.from <= value && value <= span.to;
}

template <size_t Count>
static int32_t FindSpan(const Span (&spans)[Count], int32_t value)
{
    for (size_t i = 0; i < Count; ++i)
    {
        if (Holds(spans[i], value))
        {
            return static_cast<int32_t>(i);
        }
    }
    return kNoSpan;
}

LauncherHit FindLauncherHit(int32_t x, int32_t y)
{
    if (Holds(kResolutionColumn, x))
    {
        int32_t row = FindSpan(kResolutionSpans, y);
        if (row != kNoSpan)
        {
            return {LauncherTarget::kResolution, row};
        }
    }
    if (Holds(kAspectColumn, x))
    {
        int32_t row = FindSpan(kAspectSpans, y);
        if (row != kNoSpan)
        {
            return {LauncherTarget::kAspect, row};
        }
        if (Holds(kStartSpan, y))
        {
            return {LauncherTarget::kStart, 0};
        }
    }
    if (Holds(kSwitchColumn, x))
    {
        int32_t row = FindSpan(kSwitchSpans, y);
        if (row != kNoSpan)
        {
            return {LauncherTarget::kSwitch, row};
        }
    }
    return {LauncherTarget::kNone, 0};
}

/// @return whether the index was another one
static bool ChangeIndex(int32_t* index, int32_t value)
{
    bool changes = *index != value;
    *index = value;
    return changes;
}

/// Does what a hit does to the choice and to what holds for the length of a press.
/// @return whether the choice is another one
static bool ApplyHit(LauncherState* state, LauncherHit hit)
{
    switch (hit.target)
    {
    case LauncherTarget::kResolution:
        return ChangeIndex(&state->choice.resolutionIndex, hit.index);
    case LauncherTarget::kAspect:
        return ChangeIndex(&state->choice.aspectIndex, hit.index);
    case LauncherTarget::kStart:
        state->armed = true;
        return false;
    case LauncherTarget::kSwitch:
        if (state->switchLatch)
        {
            return false;
        }
        state->choice.*kLauncherSwitches[hit.index] *= -1;
        state->switchLatch = true;
        return true;
    case LauncherTarget::kNone:
        return false;
    }
    return false;
}

LauncherStep StepLauncher(LauncherState* state, int32_t x, int32_t y, bool leftDown)
{
    LauncherHit hit = FindLauncherHit(x, y);
    bool overStart = hit.target == LauncherTarget::kStart;
    if (!leftDown)
    {
        if (state->armed && overStart)
        {
            return LauncherStep::kStart;
        }
        // Nothing is drawn here. A button that was released elsewhere within one look keeps its
        // pressed image until the next press, and wasOverStart knows that it is on screen.
        state->armed = false;
        state->switchLatch = false;
        return LauncherStep::kNothing;
    }

    bool changed = ApplyHit(state, hit);
    if (!changed && overStart == state->wasOverStart)
    {
        return LauncherStep::kNothing;
    }
    state->wasOverStart = overStart;
    return LauncherStep::kRedraw;
}
