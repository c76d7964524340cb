// SPDX-License-Identifier: MIT
#include "engine/check/play_walk.h"

#include <algorithm>

#include "engine/animation/animated_value.h"
#include "engine/animation/light.h"
#include "engine/data/numeric.h"
#include "engine/data/vocabulary.h"
#include "engine/geometry/gen_mesh.h"
#include "engine/render/records/effect2d.h"
#include "engine/render/records/material.h"
#include "engine/render/records/scene.h"
#include "engine/render/records/timeline.h"

/// The state of a walk, which changes from tick to tick.
struct WalkState
{
    std::vector<EnvelopeCache> caches;  // [id - 1]
    std::vector<int32_t> effectUpdates; // [id - 1], the time of the last refresh
    std::set<MetFault> met;
    bool isOpen; // a number of copies is an envelope's, so it can't be told in advance
};

struct PlayWalk
{
    const DemoDocument* document;
    WalkState state;
    bool assumesVisible; // asks what an object could meet at all
    bool walksAll;       // a value depends on the one before, so no evaluation may be left out
    std::vector<std::vector<uint32_t>> risky; // [scene id - 1], objects that can meet a fault
};

/// The place of a reference.
struct Home
{
    Section section;
    uint32_t item;
    uint32_t part;
};

static void Meet(PlayWalk* walk, const Home& home, Section target, uint32_t id)
{
    walk->state.met.insert({home.section, home.item, home.part, target, id});
}

static float EvaluateId(PlayWalk* walk, uint32_t id, const Home& home, uint32_t time)
{
    const Envelope* envelope = GetRecord<Envelope>(id, walk->document->envelopes);
    if (envelope == nullptr)
    {
        Meet(walk, home, Section::kEnvelopes, id);
        return 0.0f;
    }
    return EvaluateEnvelope(envelope, &walk->state.caches[id - 1], time);
}

static float Resolve(PlayWalk* walk, uint32_t slot, bool dynamic, const Home& home, uint32_t time)
{
    return dynamic ? EvaluateId(walk, slot, home, time) : SlotFloat(slot);
}

// ---- Materials

static bool IsLit(uint32_t type)
{
    const VocabularyRow* row = FindVocabularyRow(kCatalogueRecipes, type);
    return row != nullptr && (row->traits & kTraitLit) != 0;
}

static void WalkLight(PlayWalk* walk, uint32_t id, const Home& home, uint32_t time)
{
    const Light* light = GetRecord<Light>(id, walk->document->lights);
    if (light == nullptr)
    {
        Meet(walk, home, Section::kLights, id);
        return;
    }
    for (uint32_t i = 0; i < 3; ++i)
    {
        Resolve(walk, light->position[i], (light->flagsB & (kPositionDynamic >> i)) != 0,
                {Section::kLights, id, kPositionPart + i}, time);
    }
    for (uint32_t i = 0; i < 3; ++i)
    {
        Resolve(walk, light->ambient[i], (light->flagsA & (kAmbientDynamic >> i)) != 0,
                {Section::kLights, id, kAmbientPart + i}, time);
    }
    for (uint32_t i = 0; i < 3; ++i)
    {
        Resolve(walk, light->diffuse[i], (light->flagsA & (kDiffuseDynamic >> i)) != 0,
                {Section::kLights, id, kDiffusePart + i}, time);
    }
}

/// Parameters that play evaluates, by type.
static constexpr uint32_t kPlayedParams[] = {2, 1, 1, 1};

static void WalkEffect(PlayWalk* walk, uint32_t id, const Home& home, uint32_t time)
{
    const Effect2D* effect = GetRecord<Effect2D>(id, walk->document->effects);
    if (effect == nullptr)
    {
        Meet(walk, home, Section::kEffects, id);
        return;
    }
    int32_t* lastUpdate = &walk->state.effectUpdates[id - 1];
    if (static_cast<uint32_t>(*lastUpdate) == time)
    {
        return;
    }
    *lastUpdate = static_cast<int32_t>(time);
    if (!IsEffectType(effect->type))
    {
        return;
    }
    const uint32_t rounded = TruncateToUnsigned(static_cast<float>(time));
    for (uint32_t i = 0; i < kPlayedParams[effect->type]; ++i)
    {
        if (effect->paramEnvelope[i] != 0)
        {
            EvaluateId(walk, effect->paramEnvelope[i], {Section::kEffects, id, i + 1}, rounded);
        }
    }
}

static void WalkImage(PlayWalk* walk, uint32_t id, bool isBitmap, const Home& home)
{
    const ObjectTable* table = isBitmap ? walk->document->bitmaps : walk->document->textures;
    if (id != 0 && GetObject(id, table) == nullptr)
    {
        Meet(walk, home, isBitmap ? Section::kBitmaps : Section::kTextures, id);
    }
}

/// The images of a recipe.
static void WalkImages(PlayWalk* walk, const Material* material, const Home& home)
{
    const uint32_t first = IsLit(material->type) ? 1 : 0;
    const uint32_t* refs = material->refs;
    switch (material->type)
    {
    case kRecipeTexture:
    case kRecipeLitTexture:
    case kRecipeEnvironment:
    case kRecipeLitEnvironment:
    case kRecipeAddedTextureOnTop:
    case kRecipeAddedEnvironment:
        WalkImage(walk, refs[first], false, home);
        break;
    case kRecipeBitmap:
    case kRecipeLitBitmap:
    case kRecipeClampedBitmap:
    case kRecipeBitmapEnvironment:
    case kRecipeLitBitmapEnvironment:
    case kRecipeAddedBitmap:
    case kRecipeCutout:
    case kRecipeAddedBitmapEnvironment:
    case kRecipeCutoutOnTop:
        WalkImage(walk, refs[first], true, home);
        break;
    case kRecipeTwoBitmaps:
    case kRecipeAddedBump:
    case kRecipeFadedBitmaps:
        if (refs[first] != 0 && refs[first + 1] != 0)
        {
            WalkImage(walk, refs[first], true, home);
            WalkImage(walk, refs[first + 1], true, home);
        }
        break;
    default:
        break;
    }
}

/// The numbers that a recipe resolves.
static uint32_t CountResolvedParams(uint32_t type)
{
    switch (type)
    {
    case kRecipeAddedColorOnTop:
        return 3;
    case kRecipeWireframe:
        return 5;
    default:
        return 4;
    }
}

static void WalkMaterial(PlayWalk* walk, uint32_t id, uint32_t time)
{
    const Material* material = GetRecord<Material>(id, walk->document->materials);
    if (material == nullptr || material->type >= kMaterialTypes)
    {
        return;
    }
    const Home home = {Section::kMaterials, id, 0};
    for (uint32_t i = 0; i < CountResolvedParams(material->type); ++i)
    {
        Resolve(walk, material->params[i], MaskBit(material->dynamicMask, i), home, time);
    }
    if (IsLit(material->type) && material->refs[0] != 0)
    {
        WalkLight(walk, material->refs[0], home, time);
    }
    if (material->type == kRecipeEffect && material->effectRefs[0] != 0)
    {
        WalkEffect(walk, material->effectRefs[0], home, time);
    }
    WalkImages(walk, material, home);
}

// ---- Scenes

/// @return false where there is no such mesh
static bool WalkGenMesh(PlayWalk* walk, uint32_t id, uint32_t time, uint32_t* vertexCount)
{
    const GenMesh* genMesh = GetRecord<GenMesh>(id, walk->document->genMeshes);
    if (genMesh == nullptr)
    {
        return false;
    }
    if (genMesh->params[0] != 0)
    {
        EvaluateId(walk, genMesh->params[0], {Section::kGenMeshes, id, 1},
                   TruncateToUnsigned(static_cast<float>(time)));
    }
    *vertexCount = genMesh->mesh.vertexCount;
    return true;
}

/// The list of instances after a multiplication.
static uint32_t Multiply(PlayWalk* walk, uint64_t count, const float* factors, uint32_t factorCount,
                         const Home& home)
{
    bool isEmpty = count == 0;
    for (uint32_t i = 0; i < factorCount; ++i)
    {
        isEmpty = isEmpty || TruncateToInt(factors[i]) <= 0;
    }
    for (uint32_t i = 0; i < factorCount && !isEmpty; ++i)
    {
        count *= static_cast<uint64_t>(TruncateToInt(factors[i]));
        if (count > kInstanceLimit)
        {
            Meet(walk, home, Section::kNone, 0);
            return 1;
        }
    }
    return isEmpty ? 0 : static_cast<uint32_t>(count);
}

static uint32_t WalkPlacement(PlayWalk* walk, const Manipulator* manipulator, const Home& home,
                              uint32_t time, uint32_t instances)
{
    const uint32_t id = manipulator->placementId;
    uint32_t vertexCount = 0;
    if (id == 0)
    {
        return instances;
    }
    if (manipulator->placementKind == kPlaceOnModel)
    {
        const ModelData* model = GetRecord<ModelData>(id, walk->document->models);
        if (model == nullptr)
        {
            return instances;
        }
        vertexCount = model->mesh.vertexCount;
    }
    else if (!WalkGenMesh(walk, id, time, &vertexCount))
    {
        Meet(walk, home, Section::kGenMeshes, id);
        return instances;
    }
    const uint64_t total = uint64_t{instances} * vertexCount;
    if (total > kInstanceLimit)
    {
        Meet(walk, home, Section::kNone, 0);
        return 1;
    }
    return static_cast<uint32_t>(total);
}

static uint32_t WalkManipulator(PlayWalk* walk, const Manipulator* manipulator, const Home& home,
                                uint32_t time, uint32_t instances)
{
    float params[kManipulatorUsedParams] = {};
    const uint32_t count = ManipulatorParamCount(manipulator->type);
    for (uint32_t k = 0; k < count; ++k)
    {
        params[k] =
            Resolve(walk, manipulator->params[k], MaskBit(manipulator->dynamicMask, k), home, time);
    }
    const uint32_t factors = manipulator->type == kManipulatorXyzMultiplier ? 3
                             : manipulator->type == kManipulatorXMultiplier ? 1
                                                                            : 0;
    for (uint32_t k = 0; k < factors; ++k)
    {
        walk->state.isOpen = walk->state.isOpen || MaskBit(manipulator->dynamicMask, k);
    }
    if (manipulator->type == kManipulatorModelPlacer)
    {
        return WalkPlacement(walk, manipulator, home, time, instances);
    }
    return factors == 0 ? instances : Multiply(walk, instances, params, factors, home);
}

static void WalkObject(PlayWalk* walk, uint32_t sceneId, uint32_t n, uint32_t clipTime)
{
    const Scene* scene = GetRecord<Scene>(sceneId, walk->document->scenes);
    const Home home = {Section::kScenes, sceneId, n + 1};
    const uint32_t time = TruncateToUnsigned(static_cast<float>(clipTime) + scene->timeShift[n]);

    const uint32_t visibility = scene->visibilityEnvelope[n];
    if (visibility != 0)
    {
        const bool isMissing = GetObject(visibility, walk->document->envelopes) == nullptr;
        const float value = EvaluateId(walk, visibility, home, time);
        if (value < 1.0f && !isMissing && !walk->assumesVisible)
        {
            return;
        }
    }

    uint32_t vertexCount = 0;
    const uint32_t id = scene->objectId[n];
    const bool isDrawn =
        scene->objectKind[n] == kObjectModel
            ? GetObject(id, walk->document->models) != nullptr
            : scene->objectKind[n] == kObjectGenMesh && WalkGenMesh(walk, id, time, &vertexCount);
    if (!isDrawn)
    {
        return;
    }

    for (ObjectValues Scene::*values : kPlacementValues)
    {
        Resolve(walk, (scene->*values).slot[n], MaskBit((scene->*values).dynamicMask, n), home,
                time);
    }
    uint32_t instances = 1;
    for (uint32_t i = 0; i < scene->manipulatorCount[n]; ++i)
    {
        instances = WalkManipulator(walk, &scene->manipulators[n][i], home, time, instances);
    }
    WalkMaterial(walk, scene->materialId[n], time);
}

// ---- Clips

static bool HasTarget(int32_t passKind)
{
    return passKind == kPassTexture || passKind == kPassTextureWide ||
           passKind == kPassTextureQuarter;
}

static void WalkFog(PlayWalk* walk, uint32_t row, uint32_t clip, const Home& home, uint32_t time)
{
    const Timeline* timeline = walk->document->timeline;
    const uint32_t id = timeline->fogColorMaterial[row][clip];
    const Material* material = GetRecord<Material>(id, walk->document->materials);
    if (id != 0 && material == nullptr)
    {
        Meet(walk, home, Section::kMaterials, id);
    }
    if (material != nullptr && material->type == kRecipeColor)
    {
        for (uint32_t i = 0; i < 4; ++i)
        {
            Resolve(walk, material->params[i], MaskBit(material->dynamicMask, i),
                    {Section::kMaterials, id, 0}, time);
        }
    }
    for (const ClipValues* values : {&timeline->fogDensity, &timeline->fogStart, &timeline->fogEnd})
    {
        Resolve(walk, values->slot[row][clip], values->dynamic[row][clip] != 0, home, time);
    }
}

/// All of a clip but its scene.
static void WalkView(PlayWalk* walk, uint32_t row, uint32_t clip, uint32_t time)
{
    const Timeline* timeline = walk->document->timeline;
    const Home home = {Section::kTimeline, row + 1, clip + 1};
    const float target = timeline->passParams[row][clip][0];
    if (HasTarget(timeline->passKind[row][clip]) && target != 0.0f)
    {
        WalkImage(walk, static_cast<uint32_t>(TruncateToInt(target)), true, home);
    }
    for (const ClipValues* values :
         {&timeline->cameraX, &timeline->cameraY, &timeline->cameraZ, &timeline->cameraRotX,
          &timeline->cameraRotY, &timeline->cameraRotZ})
    {
        Resolve(walk, values->slot[row][clip], values->dynamic[row][clip] != 0, home, time);
    }
    if (timeline->projectionKind[row][clip] == kProjectionAnimatedFov)
    {
        EvaluateId(walk, timeline->fov[row][clip], home, time);
    }
    if (timeline->fogMode[row][clip] > 0)
    {
        WalkFog(walk, row, clip, home, time);
    }
}

/// @return whether the clip draws a scene
static bool WalkClip(PlayWalk* walk, uint32_t row, uint32_t clip, uint32_t local,
                     PlayResult* result)
{
    const Timeline* timeline = walk->document->timeline;
    const uint32_t time = local + timeline->offset[row][clip];
    uint8_t* seen = &result->seenClips[row][clip];
    if (*seen == 0 || walk->walksAll)
    {
        WalkView(walk, row, clip, time);
    }
    *seen = 1;

    const uint32_t sceneId = timeline->sceneId[row][clip];
    const Scene* scene = GetRecord<Scene>(sceneId, walk->document->scenes);
    if (sceneId != 0 && scene == nullptr)
    {
        Meet(walk, {Section::kTimeline, row + 1, clip + 1}, Section::kScenes, sceneId);
    }
    if (scene == nullptr)
    {
        return sceneId != 0;
    }
    result->drawnScenes[sceneId - 1] = 1;
    if (walk->walksAll)
    {
        for (uint32_t n = 0; n < scene->objectCount; ++n)
        {
            WalkObject(walk, sceneId, n, time);
        }
        return true;
    }
    for (const uint32_t n : walk->risky[sceneId - 1])
    {
        WalkObject(walk, sceneId, n, time);
    }
    return true;
}

/// The target that a frame draws into.
struct WalkTarget
{
    bool isOpen;
    uint32_t row;
    uint32_t clip;
};

static void WalkTargets(const Timeline* timeline, uint32_t row, uint32_t clip, WalkTarget* target)
{
    const int32_t pass = timeline->passKind[row][clip];
    if (pass == kPassSimple || pass == kPassClearDepth)
    {
        target->isOpen = false;
    }
    else if (HasTarget(pass) && timeline->passParams[row][clip][0] != 0.0f)
    {
        *target = {true, row, clip};
    }
}

/// @return whether the frame draws a scene
static bool WalkFrame(PlayWalk* walk, uint32_t tick, PlayResult* result)
{
    const Timeline* timeline = walk->document->timeline;
    if (timeline->clipCount[0] == 0)
    {
        return false;
    }
    const uint32_t second = std::min(tick / kTicksPerSecond, kTimelineSeconds - 1);
    bool draws = false;
    WalkTarget target = {};
    for (uint32_t row = 0; row < kTimelineRows; ++row)
    {
        uint32_t clip = 0;
        uint32_t local = 0;
        if (timeline->clipCount[row] != 0 && FindClip(timeline, row, second, tick, &clip, &local))
        {
            draws = WalkClip(walk, row, clip, local, result) || draws;
            WalkTargets(timeline, row, clip, &target);
        }
    }
    if (target.isOpen && result->openTick == kNoTick)
    {
        result->openTick = tick;
        result->openRow = target.row;
        result->openClip = target.clip;
    }
    return draws;
}

// ---- The whole

static uint32_t CountRecords(const ObjectTable* table)
{
    return table == nullptr ? 0 : table->count;
}

static void StartState(const DemoDocument* document, WalkState* state)
{
    *state = {};
    state->caches.assign(CountRecords(document->envelopes), kEmptyEnvelopeCache);
    state->effectUpdates.assign(CountRecords(document->effects), kEffectNeverUpdated);
}

/// Whether an envelope repeats the value before, whoever asked for it.
static bool HasMemory(const Envelope* envelope)
{
    for (uint32_t i = 0; i < envelope->pieceCount; ++i)
    {
        if (envelope->pieceType[i] > kFunctionSinusX)
        {
            return true;
        }
    }
    return false;
}

/// Finds the objects that can meet a fault, and whether a shorter walk than that of all is exact.
static void FindRisks(PlayWalk* walk)
{
    const DemoDocument* document = walk->document;
    bool hasRisks = false;
    walk->assumesVisible = true;
    walk->risky.resize(CountRecords(document->scenes));
    for (uint32_t id = 1; id <= walk->risky.size(); ++id)
    {
        const uint32_t count = GetRecord<Scene>(id, document->scenes)->objectCount;
        for (uint32_t n = 0; n < count; ++n)
        {
            walk->state.isOpen = false;
            walk->state.met.clear();
            std::fill(walk->state.effectUpdates.begin(), walk->state.effectUpdates.end(),
                      kEffectNeverUpdated);
            WalkObject(walk, id, n, 0);
            if (walk->state.isOpen || !walk->state.met.empty())
            {
                walk->risky[id - 1].push_back(n);
                hasRisks = true;
            }
        }
    }
    walk->assumesVisible = false;
    for (uint32_t id = 1; hasRisks && id <= CountRecords(document->envelopes); ++id)
    {
        walk->walksAll = walk->walksAll || HasMemory(GetRecord<Envelope>(id, document->envelopes));
    }
    StartState(document, &walk->state);
}

/// The images of effects are made once while a document is read.
static void WalkFirstImages(PlayWalk* walk)
{
    for (uint32_t id = 1; id <= CountRecords(walk->document->effects); ++id)
    {
        const Effect2D* effect = GetRecord<Effect2D>(id, walk->document->effects);
        if (!IsEffectType(effect->type))
        {
            continue;
        }
        const uint32_t count =
            CountParamNumbers(FindVocabularyRow(kCatalogueEffects, effect->type));
        for (uint32_t i = 0; i < count && effect->paramEnvelope[i] != 0; ++i)
        {
            EvaluateId(walk, effect->paramEnvelope[i], {Section::kEffects, id, i + 1}, 0);
        }
    }
}

static void StartWalk(const DemoDocument* document, PlayWalk* walk, PlayResult* result)
{
    *walk = {};
    *result = {};
    result->openTick = kNoTick;
    walk->document = document;
    StartState(document, &walk->state);
    for (uint32_t row = 0; row < kTimelineRows; ++row)
    {
        result->seenClips[row].assign(document->timeline->clipCount[row], 0);
    }
    result->drawnScenes.assign(CountRecords(document->scenes), 0);
    FindRisks(walk);
    WalkFirstImages(walk);
}

void WalkDemo(const DemoDocument* document, PlayResult* result)
{
    PlayWalk walk;
    StartWalk(document, &walk, result);
    uint32_t tick = 0;
    while (tick < kMostWalkedTicks && WalkFrame(&walk, tick, result))
    {
        ++tick;
    }
    result->endTick = tick;
    result->hasEnd = tick < kMostWalkedTicks;
    result->met = std::move(walk.state.met);
}

void WalkLoading(const DemoDocument* document, uint32_t demoItems, PlayResult* result)
{
    static constexpr uint32_t kEnd = 100; // ticks, the length of a loading timeline
    PlayWalk walk;
    StartWalk(document, &walk, result);
    uint32_t walked = kEnd + 1; // none so far
    for (uint32_t done = 1; done <= demoItems; ++done)
    {
        const uint32_t tick = kEnd * done / demoItems;
        if (tick != walked)
        {
            WalkFrame(&walk, tick, result);
        }
        walked = tick;
    }
    result->endTick = kEnd;
    result->hasEnd = true;
    result->met = std::move(walk.state.met);
}
