// SPDX-License-Identifier: MIT
#include "studio/shown_picture.h"

#include "studio/fault_lines.h"
#include "studio/studio.h"

/// A part of a seek: short enough for a mouse, long enough that little is lost between parts.
static constexpr uint32_t kPartMs = 40;

struct SeekPartClock
{
    uint32_t beganMs;
    SeekProgress progress; // when the part ended
};

static bool IsPartShort(const SeekProgress& progress, void* user)
{
    SeekPartClock* clock = static_cast<SeekPartClock*>(user);
    clock->progress = progress;
    return NowMs() - clock->beganMs < kPartMs;
}

/// The seek has come to an end.
static void NoteEnd(Studio* studio, uint32_t tick)
{
    studio->mustShow = false;
    studio->shownTick = tick;
    EndSeek(NowMs(), &studio->seek, &studio->transport);
}

ShowStep ShowPicture(Studio* studio)
{
    if (studio->active < 0)
    {
        return ShowStep::kNothing;
    }
    const uint32_t tick = TickToShow(&studio->seek, &studio->transport);
    StageSlot* slot = &studio->window.slots[studio->active];
    if (tick == studio->shownTick && !studio->mustShow)
    {
        EndSeek(NowMs(), &studio->seek, &studio->transport);
        return ShowStep::kNothing;
    }
    const bool isDrawn = studio->isDrawn && studio->loader.request.tick == tick;
    studio->isDrawn = false;
    if (isDrawn)
    {
        NoteEnd(studio, tick);
        studio->frames += 1;
        ShowDrawn(&studio->window, slot);
        return ShowStep::kNew;
    }

    const uint32_t now = NowMs();
    BeginSeekPart(tick, now, &studio->seek, &studio->transport);
    SeekPartClock clock = {now, {}};
    const SeekPatience patience = {IsPartShort, &clock};
    FaultList faults;
    StartFaults(&faults);
    const std::vector<KeptCamera> cameras = TakeCameras(studio, tick);
    BeginCost(studio, tick, &faults);
    const SeekEnd end = ShowTick(&studio->window, slot, tick, &patience, &faults);
    if (end == SeekEnd::kLeft)
    {
        LeaveCost(studio);
        NotePast(clock.progress.isDrawing, clock.progress.frames - clock.progress.done,
                 &studio->seek.past);
    }
    else
    {
        EndCost(studio, tick);
        NoteEnd(studio, tick);
    }
    PutCamerasBack(studio, cameras);
    if (end == SeekEnd::kShown)
    {
        studio->frames += 1;
        studio->hasPicture = true;
    }
    if (end == SeekEnd::kFailed)
    {
        Pause(&studio->transport);
        TellFaults(studio, FaultLines(&faults));
        studio->exitCode = EXIT_FAILURE;
    }
    FreeFaults(&faults);
    return end == SeekEnd::kLeft     ? ShowStep::kNothing
           : end == SeekEnd::kFailed ? ShowStep::kFailed
                                     : ShowStep::kNew;
}

bool CancelSeek(Studio* studio)
{
    if (studio->active < 0 && studio->loader.isRunning)
    {
        LeaveSeek(&studio->loader);
        return true;
    }
    if (!studio->seek.isOn)
    {
        return false;
    }
    Pause(&studio->transport);
    // The first picture of all is the one that needs nothing before it.
    JumpTo(&studio->transport, studio->hasPicture ? studio->shownTick : 0, NowMs());
    studio->mustShow = !studio->hasPicture;
    EndSeek(NowMs(), &studio->seek, &studio->transport);
    ShowMessage(studio, "stopped; this is the picture before");
    return true;
}

std::string SoughtText(const Studio* studio)
{
    const PictureSeek& seek = studio->seek;
    if (seek.isOn && NowMs() - seek.beganMs >= kQuietSeekMs)
    {
        return PastText(seek.past) + "; Escape stops it";
    }
    const bool isLoading = studio->loader.isRunning &&
                           NowMs() - studio->loader.beganMs >= kQuietSeekMs &&
                           LoaderPast(&studio->loader).frames != 0;
    if (!isLoading)
    {
        return "";
    }
    const std::string past = PastText(LoaderPast(&studio->loader));
    return studio->active < 0 ? past + "; Escape begins at the start" : "the new piece: " + past;
}
