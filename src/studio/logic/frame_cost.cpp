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

static void AddTexture(const ItemRef& texture, ClipDraws* draws)
{
    if (std::find(draws->textures.begin(), draws->textures.end(), texture) == draws->textures.end())
    {
        draws->textures.push_back(texture);
    }
}

static void AddObject(const CostSources* sources, const Scene* scene, uint32_t n, uint32_t clipTime,
                      ClipDraws* draws)
{
    const DemoDocument* document = sources->document;
    const uint32_t time = TruncateToUnsigned(static_cast<float>(clipTime) + scene->timeShift[n]);
    const uint32_t visibility = scene->visibilityEnvelope[n];
    bool isThere = false;
    const uint64_t indices = IndicesOf(document, scene, n, sources->hasBuffers, &isThere);
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
    const uint32_t material = scene->materialId[n];
    if (material - 1 < sources->textures.size())
    {
        for (const ItemRef& texture : sources->textures[material - 1])
        {
            AddTexture(texture, draws);
        }
    }
}

CostSources MakeCostSources(const DemoDocument* document, bool hasBuffers, TextureSizes&& sizes)
{
    CostSources sources = {document, hasBuffers, std::move(sizes), {}};
    sources.textures.resize(CountSectionItems(document, Section::kMaterials));
    for (uint32_t i = 0; i < sources.textures.size(); ++i)
    {
        for (const ItemRef& named : ListReferences(document, {Section::kMaterials, i + 1, 0}))
        {
            const bool isTexture = named.section == Section::kTextures ||
                                   named.section == Section::kBitmaps ||
                                   named.section == Section::kEffects;
            if (isTexture)
            {
                sources.textures[i].push_back(named);
            }
        }
    }
    return sources;
}

static uint64_t TextureBytes(const TextureSizes& sizes, const ItemRef& texture)
{
    const std::vector<uint64_t>& own =
        texture.section == Section::kBitmaps ? sizes.bitmaps : sizes.effects;
    return texture.section == Section::kTextures ? sizes.procedural
           : texture.item - 1 < own.size()       ? own[texture.item - 1]
                                                 : 0;
}

/// Opens and ends the targets of passes, in the order of clips. Each that ends is bound.
/// @param open   id of the bitmap that is drawn to; 0 for none
static void FollowPass(const Timeline* timeline, uint32_t* open, ClipDraws* draws)
{
    const int32_t kind = timeline->passKind[draws->row][draws->clip];
    const bool isWindow = kind == kPassSimple || kind == kPassClearDepth;
    const bool isTarget =
        kind == kPassTexture || kind == kPassTextureWide || kind == kPassTextureQuarter;
    if ((isWindow || isTarget) && *open != 0)
    {
        AddTexture({Section::kBitmaps, *open, 0}, draws);
    }
    const uint32_t next =
        static_cast<uint32_t>(TruncateToInt(timeline->passParams[draws->row][draws->clip][0]));
    if (isWindow)
    {
        *open = 0;
    }
    else if (isTarget && next != 0) // without a next one the target stays open
    {
        *open = next;
    }
}

std::vector<ClipDraws> CountDraws(const CostSources* sources, uint32_t tick)
{
    std::vector<ClipDraws> counted;
    const DemoDocument* document = sources->document;
    const Timeline* timeline = document->timeline;
    uint32_t open = 0;
    for (const ActiveClip& active : ListActiveClips(timeline, tick))
    {
        ClipDraws draws = {active.row, active.clip, 0, 0, {}};
        FollowPass(timeline, &open, &draws);
        const Scene* scene =
            GetRecord<Scene>(timeline->sceneId[active.row][active.clip], document->scenes);
        for (uint32_t n = 0; scene != nullptr && n < scene->objectCount; ++n)
        {
            AddObject(sources, scene, n, active.time, &draws);
        }
        counted.push_back(std::move(draws));
    }
    return counted;
}

void StartPieceCost(uint32_t endTick, PieceCost* cost)
{
    *cost = {};
    cost->step = endTick / kMostCostValues + 1;
    cost->shownUs.assign(endTick / cost->step + 1, 0);
}

bool StepPieceCost(const CostSources* sources, uint32_t values, PieceCost* cost)
{
    for (uint32_t i = 0; i < values && cost->draws.size() < cost->shownUs.size(); ++i)
    {
        uint64_t draws = 0;
        uint64_t triangles = 0;
        uint64_t textureBytes = 0;
        const uint32_t tick = static_cast<uint32_t>(cost->draws.size()) * cost->step;
        for (const ClipDraws& clip : CountDraws(sources, tick))
        {
            draws += clip.draws;
            triangles += clip.triangles;
            for (const ItemRef& texture : clip.textures)
            {
                textureBytes += TextureBytes(sources->sizes, texture);
            }
        }
        cost->draws.push_back(draws);
        cost->triangles.push_back(triangles);
        cost->textureBytes.push_back(textureBytes);
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

uint32_t ClipStateCalls(const FrameCost& cost)
{
    uint32_t calls = 0;
    for (const ClipCost& clip : cost.clips)
    {
        calls += clip.row == kNoClip ? 0 : clip.stateCalls;
    }
    return calls;
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
    const bool isAlone = frame.parts <= 1;
    if (place < piece->shownUs.size() && isAlone)
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
