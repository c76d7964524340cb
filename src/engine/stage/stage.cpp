// SPDX-License-Identifier: MIT
#include "engine/stage/stage.h"

#include <GL/glew.h>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <numeric>

#include "engine/data/allocate.h"
#include "engine/data/numeric.h"
#include "engine/render/effect_texture.h"
#include "engine/render/records/timeline.h"
#include "engine/textures/bitmap_texture.h"

static constexpr uint32_t kNoPosition = 0xFFFFFFFF;

// ---- Opening

/// @return whether a pass of a document draws to bitmaps
static bool DrawsToBitmap(const Timeline* timeline, uint32_t row, uint32_t clip)
{
    const int32_t kind = timeline->passKind[row][clip];
    return kind == kPassTexture || kind == kPassTextureWide || kind == kPassTextureQuarter;
}

/// Frees the decoded pixels of all bitmaps that no pass draws to: they show what they were loaded
/// with at any time.
static bool FreeConstantBitmaps(const DemoDocument* document, const DocumentUpload* upload,
                                FaultList* faults)
{
    bool* isTarget = AllocateZeroed<bool>(upload->bitmapCount, "the targets of a piece", faults);
    if (isTarget == nullptr)
    {
        return false;
    }
    const Timeline* timeline = document->timeline;
    for (uint32_t row = 0; row < kTimelineRows; ++row)
    {
        for (uint32_t clip = 0; clip < timeline->clipCount[row]; ++clip)
        {
            const uint32_t id =
                static_cast<uint32_t>(TruncateToInt(timeline->passParams[row][clip][0]));
            if (DrawsToBitmap(timeline, row, clip) && id - 1 < upload->bitmapCount)
            {
                isTarget[id - 1] = true;
            }
        }
    }
    for (uint32_t i = 0; i < upload->bitmapCount; ++i)
    {
        if (!isTarget[i])
        {
            ReleaseBitmap(GetRecord<BitmapTexture>(i + 1, document->bitmaps));
        }
    }
    free(isTarget);
    return true;
}

/// Starts what a stage keeps of a document that was loaded.
static bool StartDocument(Stage* stage, RunDocument which, FaultList* faults)
{
    StageDocument* document = which == RunDocument::kDemo ? &stage->demo : &stage->loading;
    const FrameSources sources = RunSources(&stage->run, which);
    const uint32_t bitmapCount = sources.upload->bitmapCount;
    document->pictures = AllocateBlock<uint32_t>(bitmapCount, "the targets of a piece", faults);
    if (document->pictures == nullptr)
    {
        return false;
    }
    std::fill_n(document->pictures, bitmapCount, kLoadedPicture);

    const ShadowView view = {stage->view.width, stage->view.height, sources.features.npot != 0,
                             which == RunDocument::kDemo};
    document->gl.shadow = &document->shadow;
    return StartShadow(sources.document, sources.upload, &view, &document->shadow, faults) &&
           FreeConstantBitmaps(sources.document, sources.upload, faults);
}

static bool OpenPackage(const PieceSource* source, PackageFile* package, FaultList* faults)
{
    return source->path != nullptr
               ? OpenPackageFile(source->path, package, faults)
               : OpenPackageMemory(source->bytes, source->size, package, faults);
}

bool OpenStage(const PieceSource* source, const StageView* view, Stage* stage, FaultList* faults)
{
    static constexpr StageReaders kOwn = {nullptr, nullptr};
    return OpenStageWith(source, view, &kOwn, stage, faults);
}

bool OpenStageWith(const PieceSource* source, const StageView* view, const StageReaders* readers,
                   Stage* stage, FaultList* faults)
{
    *stage = {};
    stage->view = *view;
    stage->position = kNoPosition;
    if (!StartRun(&stage->run, faults))
    {
        return false;
    }
    stage->run.features = view->features;
    stage->run.keepPixels = true;
    stage->run.readers = readers->rows;
    stage->run.readersUser = readers->user;
    const bool loaded =
        OpenPackage(source, &stage->run.piece.package, faults) &&
        LoadRunDocument(&stage->run, RunDocument::kLoading, nullptr) != LoadResult::kFailed &&
        LoadRunDocument(&stage->run, RunDocument::kDemo, nullptr) != LoadResult::kFailed;
    return loaded && StartDocument(stage, RunDocument::kLoading, faults) &&
           StartDocument(stage, RunDocument::kDemo, faults) &&
           KeepShadowState(&stage->loading.gl, &stage->loadingStart, faults) &&
           StartMoments(&stage->run.state, &stage->demo.gl, &stage->moments, faults) &&
           StartTargetHistory(stage->run.demo.bitmapCount, &stage->history, faults);
}

void CloseStage(Stage* stage)
{
    FreeShadow(&stage->loading.shadow);
    FreeShadow(&stage->demo.shadow);
    free(stage->loading.pictures);
    free(stage->demo.pictures);
    FreeShadowState(&stage->loadingStart);
    FreeMoments(&stage->moments);
    FreeMoment(&stage->here);
    FreeTargetHistory(&stage->history);
    CloseRun(&stage->run);
    *stage = {};
}

// ---- Frames

/// @return what the frames of a document are drawn with
static FrameSources StageSources(Stage* stage, RunDocument which, FaultList* faults)
{
    FrameSources sources = RunSources(&stage->run, which);
    sources.gl = which == RunDocument::kDemo ? &stage->demo.gl : &stage->loading.gl;
    sources.faults = faults;
    return sources;
}

/// Makes the effects' textures wait for their images: the state has moved without them.
static void MarkEffectsStale(const FrameSources* sources)
{
    for (uint32_t i = 0; i < sources->upload->effectCount; ++i)
    {
        const Effect2D* effect = GetRecord<Effect2D>(i + 1, sources->document->effects);
        sources->upload->effects[i].stale = IsEffectType(effect->type);
    }
}

/// Gives textures that are bound before the frame begins their images: objects without a material
/// show them.
static bool RefreshBoundEffects(const FrameSources* sources)
{
    for (const ShadowUnit& unit : sources->gl->shadow->state.units)
    {
        for (uint32_t i = 0; i < sources->upload->effectCount; ++i)
        {
            const bool isBound = sources->upload->effects[i].glTexture == unit.texture;
            if (isBound && !RefreshStaleEffect(i + 1, sources))
            {
                return false;
            }
        }
    }
    return true;
}

/// Draws or skips one frame from the state that the document is in.
/// @return the number of scenes; the faults tell whether it means anything
static uint32_t RunFrame(const Stage* stage, const FrameSources* sources, uint32_t tick, bool draws)
{
    GlContext* gl = sources->gl;
    gl->skips = !draws;
    StartFrameNotes(gl->shadow);
    if (draws)
    {
        RestoreShadow(gl);
        if (!RefreshBoundEffects(sources))
        {
            return 0;
        }
        glClearColor(0.0f, 0.0f, 0.0f, 0.0f);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    }
    sources->faults->place = PlaceAt(sources->document->name, Section::kNone);
    const FrameRequest request = {stage->view.aspect, tick, stage->view.width, stage->view.height};
    return RenderFrame(sources, &request);
}

/// Puts the picture that a bitmap was loaded with back into its texture. Its smaller levels never
/// change. Leaves: the texture bound.
/// Relies on: the unpack alignment 4, no unpack buffer bound, as loading leaves them.
static void ReloadPicture(const FrameSources* sources, StageDocument* document, uint32_t id)
{
    const BitmapTexture* bitmap = GetRecord<BitmapTexture>(id, sources->document->bitmaps);
    glBindTexture(GL_TEXTURE_2D, document->shadow.originals[id - 1].glTexture);
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, bitmap->width, bitmap->height,
                    bitmap->components == 3 ? GL_RGB : GL_RGBA, GL_UNSIGNED_BYTE, bitmap->pixels);
    document->pictures[id - 1] = kLoadedPicture;
}

/// After a frame that was not drawn to its end, or of another run: its targets hold what no step
/// of this one gives.
static void LosePictures(StageDocument* document)
{
    for (uint32_t i = 0; i < document->shadow.state.bitmapCount; ++i)
    {
        if (document->pictures[i] != kLoadedPicture)
        {
            document->pictures[i] = kForeignPicture;
        }
    }
}

// ---- The run

/// Begins a run with another stride.
static void StartStride(Stage* stage, uint32_t stride)
{
    stage->stride = stride;
    stage->position = kNoPosition;
    stage->hasHere = false;
    ClearMoments(&stage->moments);
    ClearTargetHistory(&stage->history);
    LosePictures(&stage->demo);
}

/// Runs the step that the state is at.
/// @return false after a fault
static bool RunStep(Stage* stage, bool draws, FaultList* faults)
{
    const uint32_t step = stage->position;
    GlShadow* shadow = &stage->demo.shadow;
    if (!OfferMoment(step, &stage->run.state, &stage->demo.gl, &stage->moments, faults))
    {
        return false;
    }
    const FrameSources sources = StageSources(stage, RunDocument::kDemo, faults);
    stage->position = kNoPosition; // until the frame has come to its end
    stage->result.tick = step * stage->stride;
    stage->result.sceneCount = RunFrame(stage, &sources, stage->result.tick, draws);
    for (uint32_t i = 0; draws && i < shadow->useCount; ++i)
    {
        if (shadow->uses[i].written)
        {
            stage->demo.pictures[shadow->uses[i].id - 1] =
                HasFailed(faults) ? kForeignPicture : step;
        }
    }
    if (HasFailed(faults))
    {
        return false;
    }
    stage->result.drawnFrames += draws ? 1 : 0;
    stage->result.skippedFrames += draws ? 0 : 1;
    if (step == stage->history.stepCount &&
        !AddHistoryStep(&stage->history, shadow->uses, shadow->useCount, faults))
    {
        return false;
    }
    stage->position = step + 1;
    return true;
}

/// A part of a seek.
struct SeekPart
{
    const SeekPatience* patience; // null: it is not left
    SeekProgress progress;
    bool isLeft;
};

/// @return false if the seek is left here, between two frames
static bool GoesOn(SeekPart* part)
{
    part->isLeft =
        part->patience != nullptr && !part->patience->goesOn(part->progress, part->patience->user);
    return !part->isLeft;
}

/// Brings the state to a step, without drawing.
/// @param part   left between frames that are not drawn; null to go to the end
/// @return false after a fault, and when the part is left
static bool MoveTo(Stage* stage, uint32_t step, SeekPart* part, FaultList* faults)
{
    const Moment* moment = FindMoment(&stage->moments, step);
    if (stage->hasHere && stage->here.step <= step && stage->here.step > moment->step)
    {
        moment = &stage->here;
    }
    const bool hasPosition = stage->position != kNoPosition && stage->position <= step;
    if (!hasPosition || stage->position < moment->step)
    {
        stage->position = kNoPosition;
        if (!LoadMoment(moment, &stage->run.state, &stage->demo.gl, faults))
        {
            return false;
        }
        const FrameSources sources = StageSources(stage, RunDocument::kDemo, faults);
        MarkEffectsStale(&sources);
        stage->position = moment->step;
    }
    const bool isSimulating = part != nullptr && !part->progress.isDrawing;
    if (isSimulating)
    {
        part->progress = {false, 0, step - stage->position};
    }
    while (stage->position < step)
    {
        if (!RunStep(stage, false, faults))
        {
            return false;
        }
        if (part != nullptr)
        {
            part->progress.done += isSimulating ? 1 : 0;
            if (!GoesOn(part))
            {
                return false;
            }
        }
    }
    return true;
}

/// Whether each target holds what the last known step that wrote it has drawn.
static bool HoldsLastPictures(const Stage* stage)
{
    return std::equal(stage->demo.pictures, stage->demo.pictures + stage->history.bitmapCount,
                      stage->history.lastWriter);
}

/// Runs the step that the state is at without drawing it, to know it, and keeps the moment before.
static bool ExploreStep(Stage* stage, FaultList* faults)
{
    stage->hasHere = false;
    if (!KeepMoment(stage->position, &stage->run.state, &stage->demo.gl, &stage->here, faults))
    {
        return false;
    }
    stage->hasHere = true;
    return RunStep(stage, false, faults);
}

/// Draws all steps of a plan in their order. The last one's picture stays.
/// A plan that is left is made anew when it is taken up again: of what was drawn, it needs nothing
/// twice, as targets still hold it.
/// @return false after a fault, and when the part is left
static bool DrawPlan(Stage* stage, const StepPlan* plan, SeekPart* part, FaultList* faults)
{
    const FrameSources sources = StageSources(stage, RunDocument::kDemo, faults);
    for (uint32_t i = 0; i < stage->history.bitmapCount; ++i)
    {
        if (plan->reloaded[i] != 0)
        {
            ReloadPicture(&sources, &stage->demo, i + 1);
        }
    }
    const uint32_t frames = static_cast<uint32_t>(
        std::count(plan->drawn + plan->firstStep, plan->drawn + plan->stepCount, uint8_t{1}));
    part->progress = {true, 0, frames};
    for (uint32_t step = plan->firstStep; step < plan->stepCount; ++step)
    {
        if (plan->drawn[step] == 0)
        {
            continue;
        }
        if (!MoveTo(stage, step, part, faults) || !RunStep(stage, true, faults))
        {
            return false;
        }
        part->progress.done += 1;
        if (part->progress.done < frames && !GoesOn(part))
        {
            return false;
        }
    }
    return true;
}

/// The last step that can differ from those after it: one in which all clips are over.
static uint32_t LastStep(const Timeline* timeline, uint32_t stride)
{
    uint32_t end = 0;
    for (uint32_t row = 0; row < kTimelineRows; ++row)
    {
        const uint32_t* ends = timeline->clipEnd[row];
        end = std::accumulate(ends, ends + timeline->clipCount[row], end,
                              [](uint32_t a, uint32_t b) { return std::max(a, b); });
    }
    const uint32_t last = end / stride;
    return last < 0xFFFFFFFF / stride ? last + 1 : last;
}

/// @return false after a fault, and when the part is left
static bool RunPart(Stage* stage, uint32_t tick, uint32_t stride, SeekPart* part, FaultList* faults)
{
    if (stride == 0)
    {
        AddError(faults, "a run with a stride of 0 ticks stands still");
        return false;
    }
    if (stride != stage->stride)
    {
        StartStride(stage, stride);
    }
    stage->result = {};
    const uint32_t step = std::min(tick / stride, LastStep(stage->run.piece.demo.timeline, stride));

    if (step >= stage->history.stepCount)
    {
        if (!MoveTo(stage, step, part, faults))
        {
            return false;
        }
        // With all targets as they are now, what the frame shows of them can't be wrong.
        if (HoldsLastPictures(stage))
        {
            stage->result.firstDrawnTick = step * stride;
            return RunStep(stage, true, faults);
        }
        if (!ExploreStep(stage, faults))
        {
            return false;
        }
    }

    StepPlan plan = {};
    bool shown = PlanStep(&stage->history, step, stage->demo.pictures, &plan, faults);
    if (shown)
    {
        stage->result.firstDrawnTick = plan.firstStep * stride;
        shown = DrawPlan(stage, &plan, part, faults);
    }
    FreeStepPlan(&plan);
    return shown;
}

bool SeekPiece(Stage* stage, uint32_t tick, uint32_t stride, FaultList* faults)
{
    SeekPart whole = {};
    return RunPart(stage, tick, stride, &whole, faults);
}

SeekEnd SeekPieceInParts(Stage* stage, uint32_t tick, uint32_t stride, const SeekPatience* patience,
                         FaultList* faults)
{
    SeekPart part = {patience, {}, false};
    const bool isShown = RunPart(stage, tick, stride, &part, faults);
    return isShown ? SeekEnd::kShown : part.isLeft ? SeekEnd::kLeft : SeekEnd::kFailed;
}

bool ShowLoadingScreen(Stage* stage, uint32_t time, FaultList* faults)
{
    const FrameSources sources = StageSources(stage, RunDocument::kLoading, faults);
    stage->position = kNoPosition;
    stage->result = {};
    SetShadowState(sources.gl, &stage->loadingStart);
    if (!CopyPieceState(&stage->moments.kept[0].state, &stage->run.state, faults))
    {
        return false;
    }
    MarkEffectsStale(&sources);
    for (uint32_t i = 0; i < stage->loading.shadow.state.bitmapCount; ++i)
    {
        if (stage->loading.pictures[i] != kLoadedPicture)
        {
            ReloadPicture(&sources, &stage->loading, i + 1);
        }
    }

    stage->result.sceneCount = RunFrame(stage, &sources, time, true);
    const GlShadow* shadow = &stage->loading.shadow;
    for (uint32_t i = 0; i < shadow->useCount; ++i)
    {
        if (shadow->uses[i].written)
        {
            stage->loading.pictures[shadow->uses[i].id - 1] = kForeignPicture;
        }
    }
    return !HasFailed(faults);
}

// ---- Telling

bool DescribeMemory(Stage* stage, uint32_t stride, char* text, size_t size, FaultList* faults)
{
    if (stride == 0)
    {
        AddError(faults, "a run with a stride of 0 ticks stands still");
        return false;
    }
    if (stride != stage->stride)
    {
        StartStride(stage, stride);
    }
    const uint32_t last = LastStep(stage->run.piece.demo.timeline, stride);
    if (last >= stage->history.stepCount && !MoveTo(stage, last + 1, nullptr, faults))
    {
        return false;
    }

    size_t length = 0;
    for (uint32_t id = 1; id <= stage->history.bitmapCount; ++id)
    {
        const uint32_t step = FindMemory(&stage->history, id);
        if (step != kLoadedPicture && length < size)
        {
            length += static_cast<size_t>(
                snprintf(text + length, size - length, "%sof bitmap %u from tick %u on",
                         length == 0 ? "memory " : ", ", id, step * stride));
        }
    }
    if (length == 0)
    {
        snprintf(text, size, "no memory");
    }
    return true;
}
