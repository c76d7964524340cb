// SPDX-License-Identifier: MIT
#include "studio/logic/frame_cost.h"

#include <algorithm>

#include "engine/animation/animated_value.h"
#include "engine/animation/envelope.h"
#include "engine/data/model_data.h"
#include "engine/data/numeric.h"
#include "engine/geometry/gen_mesh.h"
#include "engine/geometry/instance_list.h"
#include "engine/geometry/manipulator.h"
#include "engine/render/records/scene.h"
#include "engine/render/records/timeline.h"
#include "studio/logic/piece_fields.h"

static float ValueAt(const DemoDocument* document, uint32_t id, uint32_t time)
{
    const Envelope* envelope = GetRecord<Envelope>(id, document->envelopes);
    EnvelopeCache cache = kEmptyEnvelopeCache;
    return envelope == nullptr ? 0.0f : EvaluateEnvelope(envelope, &cache, time);
}

/// How many copies a manipulator makes of each that comes to it.
static uint64_t CopiesOf(const DemoDocument* document, const Manipulator& manipulator,
                         uint32_t time)
{
    const uint32_t id = manipulator.placementId;
    if (manipulator.type == kManipulatorModelPlacer && id != 0)
    {
        if (manipulator.placementKind == kPlaceOnModel)
        {
            const ModelData* model = GetRecord<ModelData>(id, document->models);
            return model == nullptr ? 1 : model->mesh.vertexCount;
        }
        const GenMesh* genMesh = GetRecord<GenMesh>(id, document->genMeshes);
        return genMesh == nullptr ? 1 : genMesh->mesh.vertexCount;
    }
    const uint32_t factors = manipulator.type == kManipulatorXyzMultiplier ? 3
                             : manipulator.type == kManipulatorXMultiplier ? 1
                                                                           : 0;
    uint64_t copies = 1;
    for (uint32_t k = 0; k < factors; ++k)
    {
        const uint32_t slot = manipulator.params[k];
        const int32_t factor = TruncateToInt(
            MaskBit(manipulator.dynamicMask, k) ? ValueAt(document, slot, time) : SlotFloat(slot));
        copies = factor <= 0 ? 0 : copies * static_cast<uint64_t>(factor);
        copies = std::min(copies, uint64_t{kInstanceLimit});
    }
    return copies;
}

/// @return indices that an object is drawn with; 0 for one that is not there
static uint64_t IndicesOf(const DemoDocument* document, const Scene* scene, uint32_t n,
                          bool hasBuffers, bool* isThere)
{
    const uint32_t id = scene->objectId[n];
    const ModelData* model =
        scene->objectKind[n] == kObjectModel ? GetRecord<ModelData>(id, document->models) : nullptr;
    const GenMesh* genMesh = scene->objectKind[n] == kObjectGenMesh
                                 ? GetRecord<GenMesh>(id, document->genMeshes)
                                 : nullptr;
    *isThere = model != nullptr || genMesh != nullptr;
    if (model != nullptr)
    {
        return hasBuffers ? GetModelIndexBytes(model).count : model->mesh.indexCount;
    }
    return genMesh == nullptr ? 0 : genMesh->mesh.indexCount;
}

static void AddObject(const DemoDocument* document, const Scene* scene, uint32_t n,
                      uint32_t clipTime, bool hasBuffers, ClipDraws* draws)
{
    const uint32_t time = TruncateToUnsigned(static_cast<float>(clipTime) + scene->timeShift[n]);
    const uint32_t visibility = scene->visibilityEnvelope[n];
    bool isThere = false;
    const uint64_t indices = IndicesOf(document, scene, n, hasBuffers, &isThere);
    if (!isThere || (visibility != 0 && ValueAt(document, visibility, time) < 1.0f))
    {
        return;
    }
    uint64_t copies = 1;
    for (uint32_t i = 0; i < scene->manipulatorCount[n]; ++i)
    {
        copies = std::min(copies * CopiesOf(document, scene->manipulators[n][i], time),
                          uint64_t{kInstanceLimit});
    }
    draws->draws += copies;
    draws->triangles += copies * (indices / 3);
}

std::vector<ClipDraws> CountDraws(const DemoDocument* document, bool hasBuffers, uint32_t tick)
{
    std::vector<ClipDraws> counted;
    const Timeline* timeline = document->timeline;
    for (const ActiveClip& active : ListActiveClips(timeline, tick))
    {
        ClipDraws draws = {active.row, active.clip, 0, 0};
        const Scene* scene =
            GetRecord<Scene>(timeline->sceneId[active.row][active.clip], document->scenes);
        for (uint32_t n = 0; scene != nullptr && n < scene->objectCount; ++n)
        {
            AddObject(document, scene, n, active.time, hasBuffers, &draws);
        }
        counted.push_back(draws);
    }
    return counted;
}

void StartPieceCost(uint32_t endTick, PieceCost* cost)
{
    *cost = {};
    cost->step = endTick / kMostCostValues + 1;
    cost->shownUs.assign(endTick / cost->step + 1, 0);
}

bool StepPieceCost(const DemoDocument* document, bool hasBuffers, uint32_t values, PieceCost* cost)
{
    for (uint32_t i = 0; i < values && cost->draws.size() < cost->shownUs.size(); ++i)
    {
        uint64_t draws = 0;
        uint64_t triangles = 0;
        const uint32_t tick = static_cast<uint32_t>(cost->draws.size()) * cost->step;
        for (const ClipDraws& clip : CountDraws(document, hasBuffers, tick))
        {
            draws += clip.draws;
            triangles += clip.triangles;
        }
        cost->draws.push_back(draws);
        cost->triangles.push_back(triangles);
    }
    return cost->draws.size() == cost->shownUs.size();
}

ClipCost SumClips(const FrameCost& cost)
{
    ClipCost sum = {kNoClip, kNoClip, 0, 0, 0, 0, 0};
    for (const ClipCost& clip : cost.clips)
    {
        sum.draws += clip.draws;
        sum.triangles += clip.triangles;
        sum.stateCalls += clip.stateCalls;
        sum.textureBytes += clip.textureBytes;
        sum.callNs += clip.callNs;
    }
    return sum;
}

void NoteCost(const FrameCost& frame, CostHistory* history, PieceCost* piece)
{
    if (history->frames.size() < kCostFrames)
    {
        history->frames.push_back(frame);
        history->next = 0;
    }
    else
    {
        history->frames[history->next] = frame;
        history->next = (history->next + 1) % kCostFrames;
    }
    const size_t place = piece->step == 0 ? piece->shownUs.size() : frame.tick / piece->step;
    if (place < piece->shownUs.size())
    {
        piece->shownUs[place] =
            static_cast<uint32_t>(std::min<uint64_t>(frame.swapNs / 1000, 0xFFFFFFFF));
    }
}

const FrameCost* LastCost(const CostHistory* history)
{
    if (history->frames.empty())
    {
        return nullptr;
    }
    const size_t count = history->frames.size();
    return &history->frames[count < kCostFrames ? count - 1
                                                : (history->next + kCostFrames - 1) % kCostFrames];
}

std::vector<float> HistoryMs(const CostHistory* history)
{
    std::vector<float> values;
    const size_t count = history->frames.size();
    for (size_t i = 0; i < count; ++i)
    {
        const FrameCost& frame = history->frames[(history->next + i) % count];
        values.push_back(static_cast<float>(frame.swapNs) / 1.0e6f);
    }
    return values;
}
