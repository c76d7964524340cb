// SPDX-License-Identifier: MIT
#include "studio/cost.h"

#include <algorithm>
#include <cstring>
#include <unistd.h>

#include "engine/render/frame.h"
#include "engine/render/records/effect2d.h"
#include "engine/textures/bitmap_texture.h"
#include "engine/textures/mip_chain.h"
#include "studio/studio.h"
#include "tools/files.h"

static constexpr uint32_t kValuesAtOnce = 4;
static constexpr uint64_t kMostNs = 2000000;  // of a round
static constexpr uint32_t kCopySeconds = 300; // that the copy may count

void RestartCost(Studio* studio, bool keepsHistory)
{
    StudioCost* cost = &studio->cost;
    cost->isOpen = false;
    cost->left = {};
    cost->isCounted = false;
    cost->hasCounter = false;
    EndChild(&cost->counter);
    if (!keepsHistory)
    {
        cost->history = {};
    }
    cost->sources = {};
    StartPieceCost(studio->transport.endTick, &cost->piece);
}

static uint64_t ImageBytes(int32_t width, int32_t height, int32_t components)
{
    const MipSize size = {width, height};
    const bool hasLevels = components >= 3 && width > 1 && height > 1;
    return LevelBytes(size, components) + (hasLevels ? MipChainBytes(size, components) : 0);
}

static uint64_t BitmapBytes(const BitmapUpload& bitmap)
{
    return ImageBytes(bitmap.width, bitmap.height, bitmap.components);
}

/// A target that passes make another size of has that size.
static TextureSizes SizesOf(const Stage* stage)
{
    const DocumentUpload& upload = stage->run.demo;
    TextureSizes sizes = {ImageBytes(kTextureSize, kTextureSize, 3), {}, {}};
    for (uint32_t i = 0; i < upload.bitmapCount; ++i)
    {
        const BitmapUpload& resized = stage->demo.shadow.resized[i];
        sizes.bitmaps.push_back(BitmapBytes(resized.glTexture != 0 ? resized : upload.bitmaps[i]));
    }
    for (uint32_t i = 0; i < upload.effectCount; ++i)
    {
        const Effect2D* effect = GetRecord<Effect2D>(i + 1, stage->run.piece.demo.effects);
        sizes.effects.push_back(EffectImageBytes(effect));
    }
    return sizes;
}

/// @return the bytes of a texture of the demo by its OpenGL name; 0 for another's
static uint64_t TextureBytes(const Stage* stage, uint32_t name)
{
    const DocumentUpload& upload = stage->run.demo;
    for (uint32_t i = 0; i < upload.textureCount; ++i)
    {
        if (upload.textures[i] == name)
        {
            return ImageBytes(kTextureSize, kTextureSize, 3);
        }
    }
    for (uint32_t i = 0; i < upload.bitmapCount; ++i)
    {
        const BitmapUpload& bitmap = upload.bitmaps[i];
        if (bitmap.glTexture == name)
        {
            return BitmapBytes(bitmap);
        }
    }
    for (uint32_t i = 0; i < upload.effectCount; ++i)
    {
        if (upload.effects[i].glTexture == name)
        {
            return EffectImageBytes(GetRecord<Effect2D>(i + 1, stage->run.piece.demo.effects));
        }
    }
    return 0;
}

void BeginCost(Studio* studio, uint32_t tick, const FaultList* faults)
{
    StudioCost* cost = &studio->cost;
    cost->begunNs = NowNs();
    if (cost->left.parts == 0 || cost->left.tick != tick)
    {
        cost->left = {tick, 0, cost->begunNs, 0, 0, 0};
    }
    StartCounting(&faults->place, &cost->counts);
}

void LeaveCost(Studio* studio)
{
    StopCounting();
    StudioCost* cost = &studio->cost;
    cost->left.parts += 1;
    cost->left.wholeNs += NowNs() - cost->begunNs;
    cost->left.callNs += cost->counts.callNs;
    cost->left.simulationNs += cost->counts.simulationNs;
}

void EndCost(Studio* studio, uint32_t tick)
{
    StopCounting();
    StudioCost* cost = &studio->cost;
    const uint64_t wholeNs = cost->left.wholeNs + NowNs() - cost->begunNs;
    FrameCost* frame = &cost->frame;
    *frame = {};
    frame->tick = tick;
    frame->parts = cost->left.parts + 1;
    frame->callNs = cost->left.callNs + cost->counts.callNs;
    frame->simulationNs = cost->left.simulationNs + cost->counts.simulationNs;
    const uint64_t otherNs = frame->callNs + frame->simulationNs;
    frame->evaluationNs = wholeNs > otherNs ? wholeNs - otherNs : 0;
    const Stage* stage = studio->window.slots[studio->active].stage;
    for (CountedClip& clip : cost->counts.clips)
    {
        for (const uint32_t name : clip.textures)
        {
            clip.cost.textureBytes += TextureBytes(stage, name);
        }
        frame->clips.push_back(clip.cost);
    }
    cost->left.parts = 0;
    cost->isOpen = true;
}

void NoteSwap(Studio* studio)
{
    StudioCost* cost = &studio->cost;
    if (cost->isOpen)
    {
        cost->isOpen = false;
        cost->frame.swapNs = NowNs() - cost->left.begunNs;
        NoteCost(cost->frame, &cost->history, &cost->piece);
    }
}

/// The work of a copy of this program: draws a frame for each value of the graph without OpenGL,
/// and writes the state calls of its clips to standard output, 4 bytes each.
static void CountStateCalls(Stage* stage, const PieceCost& graph)
{
    SilenceCalls();
    FrameSources sources = RunSources(&stage->run, RunDocument::kDemo);
    sources.gl = &stage->demo.gl;
    sources.gl->skips = false;
    sources.features.pbo = 0; // a pixel buffer's memory is OpenGL's
    for (uint32_t i = 0; i < graph.shownUs.size(); ++i)
    {
        FaultList faults;
        StartFaults(&faults);
        sources.faults = &faults;
        faults.place = PlaceAt(sources.document->name, Section::kNone);
        StartFrameNotes(&stage->demo.shadow);
        GlCounts counts;
        StartCounting(&faults.place, &counts);
        const FrameRequest request = {stage->view.aspect, i * graph.step, stage->view.width,
                                      stage->view.height};
        RenderFrame(&sources, &request);
        StopCounting();
        FreeFaults(&faults);
        FrameCost frame = {};
        for (const CountedClip& clip : counts.clips)
        {
            frame.clips.push_back(clip.cost);
        }
        const uint32_t calls = ClipStateCalls(frame);
        if (!WriteAll(STDOUT_FILENO, &calls, sizeof(calls)))
        {
            return;
        }
    }
}

/// Takes the state calls that have been counted. If the copy ends early the graph stays as far as
/// it has come.
/// @return whether there are more than before
static bool TakeStateCalls(StudioCost* cost)
{
    Child* counter = &cost->counter;
    ReadChild(counter, cost->piece.shownUs.size() * sizeof(uint32_t));
    std::vector<uint32_t>* calls = &cost->piece.stateCalls;
    const size_t before = calls->size();
    const size_t count =
        std::min(counter->output.size() / sizeof(uint32_t), cost->piece.shownUs.size() - before);
    calls->resize(before + count);
    if (count != 0)
    {
        memcpy(calls->data() + before, counter->output.data(), count * sizeof(uint32_t));
    }
    counter->output.erase(counter->output.begin(),
                          counter->output.begin() +
                              static_cast<ptrdiff_t>(count * sizeof(uint32_t)));
    if (counter->hasEnded || calls->size() == cost->piece.shownUs.size())
    {
        EndChild(counter);
    }
    return count != 0;
}

bool CountMore(Studio* studio)
{
    StudioCost* cost = &studio->cost;
    if (cost->counter.pid != 0)
    {
        return TakeStateCalls(cost);
    }
    if (studio->active < 0 || (studio->panels & kCostPanel) == 0)
    {
        return false;
    }
    if (cost->isCounted)
    {
        if (!cost->hasCounter && !studio->loader.isRunning)
        {
            cost->hasCounter = true;
            Stage* stage = studio->window.slots[studio->active].stage;
            StartCopy([stage, cost] { CountStateCalls(stage, cost->piece); }, kCopySeconds,
                      &cost->counter);
        }
        return false;
    }
    if (cost->sources.document == nullptr)
    {
        cost->sources = MakeCostSources(PlayedDocument(studio), studio->window.features.vbo != 0,
                                        SizesOf(studio->window.slots[studio->active].stage));
    }
    const uint64_t begun = NowNs();
    while (!cost->isCounted && NowNs() - begun < kMostNs)
    {
        cost->isCounted = StepPieceCost(&cost->sources, kValuesAtOnce, &cost->piece);
    }
    return true;
}
