// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>

#include "engine/animation/animated_value.h"
#include "engine/animation/envelope.h"
#include "engine/check/context.h"
#include "engine/data/limits.h"
#include "engine/data/model_data.h"
#include "engine/data/numeric.h"
#include "engine/geometry/gen_mesh.h"
#include "engine/render/records/effect2d.h"
#include "engine/render/records/material.h"
#include "engine/render/records/planes.h"
#include "engine/render/records/scene.h"
#include "engine/render/records/timeline.h"

/// The moments of a clip that are looked at, at most.
static constexpr uint32_t kClipMoments = 100;
/// The objects that are looked at in all, so that a check stays quick. Past it nothing is told.
static constexpr uint32_t kMostLooks = 200000;
/// Ticks between the pictures whose cost is counted.
static constexpr uint32_t kCostStep = 50;

/// A box with sides along the axes.
struct Box
{
    float low[3];
    float high[3];
};

struct ViewWalk
{
    CheckContext* context;
    CheckedDocument* checked;
    std::vector<Box> boxes; // [model id - 1]
    uint32_t looks;         // objects looked at so far
};

/// The value of an envelope on its own; pieces of unknown functions count as 0.
static float EnvelopeValue(const DemoDocument* document, uint32_t id, uint32_t time)
{
    const Envelope* envelope = GetRecord<Envelope>(id, document->envelopes);
    EnvelopeCache cache = {0.0f, kNothingCached};
    return envelope == nullptr ? 0.0f : EvaluateEnvelope(envelope, &cache, time);
}

static float ObjectValue(const DemoDocument* document, const ObjectValues& values, uint32_t n,
                         uint32_t time)
{
    return MaskBit(values.dynamicMask, n) ? EnvelopeValue(document, values.slot[n], time)
                                          : SlotFloat(values.slot[n]);
}

static float ClipValue(const DemoDocument* document, const ClipValues& values, uint32_t row,
                       uint32_t clip, uint32_t time)
{
    const uint32_t slot = values.slot[row][clip];
    return values.dynamic[row][clip] != 0 ? EnvelopeValue(document, slot, time) : SlotFloat(slot);
}

static Box MeasureBox(const Mesh& mesh)
{
    Box box = {{INFINITY, INFINITY, INFINITY}, {-INFINITY, -INFINITY, -INFINITY}};
    for (uint32_t i = 0; i < mesh.vertexCount; ++i)
    {
        for (uint32_t k = 0; k < 3; ++k)
        {
            box.low[k] = std::min(box.low[k], mesh.vertices[size_t{3} * i + k]);
            box.high[k] = std::max(box.high[k], mesh.vertices[size_t{3} * i + k]);
        }
    }
    return box;
}

// ---- Where things are

/// Turns a point about an axis, as the picture does.
static void Turn(float* point, uint32_t axis, float degrees)
{
    const float angle = degrees * 0.017453292f;
    const uint32_t a = (axis + 1) % 3;
    const uint32_t b = (axis + 2) % 3;
    const float x = point[a] * cosf(angle) - point[b] * sinf(angle);
    const float y = point[a] * sinf(angle) + point[b] * cosf(angle);
    point[a] = x;
    point[b] = y;
}

/// The six values of a camera, or the nine of an object, at a moment.
struct Placement
{
    float place[3];
    float turn[3];
    float scale[3];
};

static Placement CameraAt(const DemoDocument* document, uint32_t row, uint32_t clip, uint32_t time)
{
    const Timeline* timeline = document->timeline;
    const ClipValues* values[] = {&timeline->cameraX,    &timeline->cameraY,
                                  &timeline->cameraZ,    &timeline->cameraRotX,
                                  &timeline->cameraRotY, &timeline->cameraRotZ};
    Placement camera = {};
    for (uint32_t k = 0; k < 6; ++k)
    {
        float* to = k < 3 ? &camera.place[k] : &camera.turn[k - 3];
        *to = ClipValue(document, *values[k], row, clip, time);
    }
    return camera;
}

static Placement ObjectAt(const DemoDocument* document, const Scene* scene, uint32_t n,
                          uint32_t time)
{
    Placement object = {};
    for (uint32_t k = 0; k < 9; ++k)
    {
        float* to = k < 3 ? &object.place[k] : k < 6 ? &object.turn[k - 3] : &object.scale[k - 6];
        *to = ObjectValue(document, scene->*kPlacementValues[k], n, time);
    }
    return object;
}

/// How far in front of the camera a corner of an object's box lies.
static float DepthOf(const Placement& object, const Placement& camera, const Box& box,
                     uint32_t corner)
{
    float point[3];
    for (uint32_t k = 0; k < 3; ++k)
    {
        point[k] = ((corner >> k) & 1 ? box.high[k] : box.low[k]) * object.scale[k];
    }
    Turn(point, 2, object.turn[2]);
    Turn(point, 1, object.turn[1]);
    Turn(point, 0, object.turn[0]);
    for (uint32_t k = 0; k < 3; ++k)
    {
        point[k] += object.place[k] + camera.place[k];
    }
    Turn(point, 1, camera.turn[1]);
    Turn(point, 0, camera.turn[0]);
    Turn(point, 2, camera.turn[2]);
    return -point[2];
}

/// Why an object can't be seen at a moment.
enum Unseen : uint32_t
{
    kSeen, // or nothing speaks against it
    kUndrawn,
    kInvisible,
    kFlattened,
    kBehind,
    kBeyond,
    kUnseenCount,
};

static Unseen DepthUnseen(const Placement& object, const Placement& camera, const Box& box)
{
    float nearest = INFINITY;
    float farthest = -INFINITY;
    for (uint32_t corner = 0; corner < 8; ++corner)
    {
        const float depth = DepthOf(object, camera, box, corner);
        if (!std::isfinite(depth))
        {
            return kSeen;
        }
        nearest = std::min(nearest, depth);
        farthest = std::max(farthest, depth);
    }
    return farthest < kNearPlane ? kBehind : nearest > kFarPlane ? kBeyond : kSeen;
}

/// A clip at a moment.
struct ClipView
{
    uint32_t row;
    uint32_t clip;
    uint32_t time; // ticks of its animation
    bool hasDepth; // a perspective, with a near and a far plane
    Placement camera;
};

static bool IsMissing(const DemoDocument* document, const Scene* scene, uint32_t n)
{
    const bool isModel = scene->objectKind[n] == kObjectModel;
    const ObjectTable* table = isModel ? document->models : document->genMeshes;
    return scene->objectKind[n] > kObjectGenMesh || GetObject(scene->objectId[n], table) == nullptr;
}

static bool IsInvisible(const DemoDocument* document, const Scene* scene, uint32_t n, uint32_t time)
{
    const uint32_t envelope = scene->visibilityEnvelope[n];
    return envelope != 0 && EnvelopeValue(document, envelope, time) < 1.0f;
}

/// @return the time of an object's animation
static uint32_t ObjectTime(const Scene* scene, uint32_t n, uint32_t time)
{
    return TruncateToUnsigned(static_cast<float>(time) + scene->timeShift[n]);
}

static Unseen ObjectUnseen(ViewWalk* walk, const ClipView& view, const Scene* scene, uint32_t n)
{
    const DemoDocument* document = &walk->checked->document;
    const uint32_t time = ObjectTime(scene, n, view.time);
    walk->looks += 1;
    if (IsMissing(document, scene, n))
    {
        return kUndrawn;
    }
    if (IsInvisible(document, scene, n, time))
    {
        return kInvisible;
    }
    if (scene->manipulatorCount[n] != 0)
    {
        return kSeen; // its copies lie anywhere
    }
    const Placement object = ObjectAt(document, scene, n, time);
    const uint32_t zeros = (object.scale[0] == 0.0f ? 1u : 0u) +
                           (object.scale[1] == 0.0f ? 1u : 0u) +
                           (object.scale[2] == 0.0f ? 1u : 0u);
    if (zeros >= 2)
    {
        return kFlattened;
    }
    return view.hasDepth && scene->objectKind[n] == kObjectModel
               ? DepthUnseen(object, view.camera, walk->boxes[scene->objectId[n] - 1])
               : kSeen;
}

/// @return whether an object can be seen; else how many can't, by reason
static bool SeesAnything(ViewWalk* walk, const ClipView& view, const Scene* scene, uint32_t* counts)
{
    std::fill_n(counts, kUnseenCount, 0);
    for (uint32_t n = 0; n < scene->objectCount; ++n)
    {
        const Unseen unseen = ObjectUnseen(walk, view, scene, n);
        if (unseen == kSeen)
        {
            return true;
        }
        counts[unseen] += 1;
    }
    return false;
}

static ClipView ViewAt(const DemoDocument* document, uint32_t row, uint32_t clip, uint32_t local)
{
    const Timeline* timeline = document->timeline;
    const uint32_t time = local + timeline->offset[row][clip];
    const uint8_t kind = timeline->projectionKind[row][clip];
    const bool hasDepth = kind == kProjectionPerspective || kind == kProjectionAnimatedFov;
    return {row, clip, time, hasDepth, CameraAt(document, row, clip, time)};
}

static const TiXmlNode* ClipNode(const DemoDocument* document, uint32_t row, uint32_t clip)
{
    return ChildAt(ChildAt(SectionNode(document, Section::kTimeline), row + 1), clip + 1);
}

static void TellUnseen(ViewWalk* walk, const ClipView& view, uint32_t sceneId,
                       const uint32_t* counts)
{
    static constexpr const char* kReasons[kUnseenCount] = {
        "", "", " not visible", " of scale 0", " behind the camera", " beyond the far plane"};
    const DemoDocument* document = &walk->checked->document;
    std::string reasons;
    for (uint32_t i = kInvisible; i < kUnseenCount; ++i)
    {
        if (counts[i] != 0)
        {
            reasons += reasons.empty() ? "" : ", ";
            reasons += std::to_string(counts[i]) + kReasons[i];
        }
    }
    const Spot spot = {walk->context, walk->checked, Section::kTimeline,
                       view.row + 1,  view.clip + 1, nullptr};
    Finding* finding = AddFinding(
        &spot, Severity::kWarning, Rule::kNeverSeen, ClipNode(document, view.row, view.clip),
        FormatText("nothing of %s is seen while the clip lasts; at its end of its objects "
                   "are %s",
                   ItemText(document, Section::kScenes, sceneId).c_str(), reasons.c_str()));
    finding->cure = "the camera looks along negative z, from near plane 0.1 to far plane 1000";
    finding->pythonCure = "look(eye, target) sees what lies 0.1 to 1000 from the eye";
}

static void CheckClipView(ViewWalk* walk, uint32_t row, uint32_t clip)
{
    const DemoDocument* document = &walk->checked->document;
    const Timeline* timeline = document->timeline;
    const uint32_t sceneId = timeline->sceneId[row][clip];
    const Scene* scene = GetRecord<Scene>(sceneId, document->scenes);
    const uint32_t length = timeline->length[row][clip];
    if (scene == nullptr || HasFailedItem(walk->checked, Section::kScenes, sceneId) ||
        length >= kMostWalkedTicks)
    {
        return;
    }
    const uint32_t step = std::max(1u, length / kClipMoments);
    uint32_t counts[kUnseenCount] = {};
    ClipView view = {};
    for (uint32_t local = 0; local <= length; local += step)
    {
        view = ViewAt(document, row, clip, local);
        if (SeesAnything(walk, view, scene, counts) || walk->looks > kMostLooks)
        {
            return;
        }
    }
    if (counts[kUndrawn] != scene->objectCount) // else told as an empty clip
    {
        TellUnseen(walk, view, sceneId, counts);
    }
}

// ---- Cost

/// The work of drawing one picture.
struct Cost
{
    uint32_t tick;
    uint64_t objects;
    uint64_t instances;
    uint64_t vertices;
    uint64_t effectPixels; // of textures that are drawn anew
};

static float ParamAt(const DemoDocument* document, const Manipulator& manipulator, uint32_t k,
                     uint32_t time)
{
    return MaskBit(manipulator.dynamicMask, k)
               ? EnvelopeValue(document, manipulator.params[k], time)
               : SlotFloat(manipulator.params[k]);
}

/// How many copies a manipulator makes of each that comes to it.
static uint64_t CopiesOf(const DemoDocument* document, const Manipulator& manipulator,
                         uint32_t time)
{
    if (manipulator.type == kManipulatorModelPlacer && manipulator.placementId != 0)
    {
        const uint32_t id = manipulator.placementId;
        const ModelData* model = manipulator.placementKind == kPlaceOnModel
                                     ? GetRecord<ModelData>(id, document->models)
                                     : nullptr;
        const GenMesh* genMesh = manipulator.placementKind == kPlaceOnModel
                                     ? nullptr
                                     : GetRecord<GenMesh>(id, document->genMeshes);
        return model != nullptr     ? model->mesh.vertexCount
               : genMesh != nullptr ? genMesh->mesh.vertexCount
                                    : 1;
    }
    const uint32_t factors = manipulator.type == kManipulatorXyzMultiplier ? 3
                             : manipulator.type == kManipulatorXMultiplier ? 1
                                                                           : 0;
    uint64_t copies = 1;
    for (uint32_t k = 0; k < factors; ++k)
    {
        const int32_t factor = TruncateToInt(ParamAt(document, manipulator, k, time));
        copies = factor <= 0 ? 0
                             : std::min(copies * static_cast<uint64_t>(factor),
                                        uint64_t{kInstanceLimit} + 1);
    }
    return copies;
}

static void AddObjectCost(ViewWalk* walk, const Scene* scene, uint32_t n, uint32_t clipTime,
                          Cost* cost)
{
    const DemoDocument* document = &walk->checked->document;
    const uint32_t time = ObjectTime(scene, n, clipTime);
    walk->looks += 1;
    if (IsMissing(document, scene, n) || IsInvisible(document, scene, n, time))
    {
        return;
    }
    uint64_t instances = 1;
    for (uint32_t i = 0; i < scene->manipulatorCount[n]; ++i)
    {
        instances = std::min(instances * CopiesOf(document, scene->manipulators[n][i], time),
                             uint64_t{kInstanceLimit});
    }
    const uint32_t id = scene->objectId[n];
    const Mesh& mesh = scene->objectKind[n] == kObjectModel
                           ? GetRecord<ModelData>(id, document->models)->mesh
                           : GetRecord<GenMesh>(id, document->genMeshes)->mesh;
    const Material* material = GetRecord<Material>(scene->materialId[n], document->materials);
    const Effect2D* effect = material == nullptr || material->type != kRecipeEffect
                                 ? nullptr
                                 : GetRecord<Effect2D>(material->effectRefs[0], document->effects);
    cost->objects += 1;
    cost->instances += instances;
    cost->vertices += instances * mesh.vertexCount;
    cost->effectPixels += effect == nullptr ? 0
                                            : static_cast<uint64_t>(effect->width) *
                                                  static_cast<uint64_t>(effect->height);
}

static Cost CostAt(ViewWalk* walk, uint32_t tick)
{
    const DemoDocument* document = &walk->checked->document;
    const Timeline* timeline = document->timeline;
    const uint32_t second = std::min(tick / kTicksPerSecond, kTimelineSeconds - 1);
    Cost cost = {tick, 0, 0, 0, 0};
    for (uint32_t row = 0; row < kTimelineRows; ++row)
    {
        uint32_t clip = 0;
        uint32_t local = 0;
        if (timeline->clipCount[row] == 0 || !FindClip(timeline, row, second, tick, &clip, &local))
        {
            continue;
        }
        const Scene* scene = GetRecord<Scene>(timeline->sceneId[row][clip], document->scenes);
        for (uint32_t n = 0; scene != nullptr && n < scene->objectCount; ++n)
        {
            AddObjectCost(walk, scene, n, local + timeline->offset[row][clip], &cost);
        }
    }
    return cost;
}

static void TellCost(ViewWalk* walk)
{
    Cost dearest = {};
    uint64_t mostInstances = 0;
    const uint32_t end = walk->checked->played.endTick;
    walk->looks = 0;
    for (uint32_t tick = 0; tick < end && walk->looks <= kMostLooks; tick += kCostStep)
    {
        const Cost cost = CostAt(walk, tick);
        dearest = cost.vertices + cost.effectPixels > dearest.vertices + dearest.effectPixels
                      ? cost
                      : dearest;
        mostInstances = std::max(mostInstances, cost.instances);
    }
    const Spot spot = {walk->context, nullptr, Section::kNone, 0, 0, nullptr};
    if (dearest.vertices != 0)
    {
        AddFinding(
            &spot, Severity::kNote, Rule::kDearestTick, nullptr,
            FormatText("of the pictures half a second apart that of tick %u costs most: %llu "
                       "objects in %llu copies with %llu vertices, %llu pixels of effects",
                       dearest.tick, static_cast<unsigned long long>(dearest.objects),
                       static_cast<unsigned long long>(dearest.instances),
                       static_cast<unsigned long long>(dearest.vertices),
                       static_cast<unsigned long long>(dearest.effectPixels)));
    }
    if (mostInstances > kInstanceLimit / 2)
    {
        AddFinding(&spot, Severity::kWarning, Rule::kNearLimit, nullptr,
                   FormatText("a picture has %llu copies of objects; %u of one object is the most",
                              static_cast<unsigned long long>(mostInstances), kInstanceLimit))
            ->cure = "take smaller numbers, or fewer manipulators";
    }
}

/// The memory that both documents take of the budget of a piece.
static void CheckMemory(CheckContext* context)
{
    const uint64_t most = PieceBytesOf(context->package.size);
    const uint64_t taken = most - std::min(most, context->package.budget.bytesLeft);
    if (taken > most / 2)
    {
        const Spot spot = {context, nullptr, Section::kNone, 0, 0, nullptr};
        AddFinding(&spot, Severity::kWarning, Rule::kNearLimit, nullptr,
                   FormatText("entries and images take %llu MiB of the %llu MiB that a piece may",
                              static_cast<unsigned long long>(taken >> 20),
                              static_cast<unsigned long long>(most >> 20)))
            ->cure = "take smaller images";
    }
}

void CheckViews(CheckContext* context, CheckedDocument* checked)
{
    ViewWalk walk = {context, checked, {}, 0};
    const DemoDocument* document = &checked->document;
    for (uint32_t id = 1; id <= document->models->count; ++id)
    {
        walk.boxes.push_back(MeasureBox(GetRecord<ModelData>(id, document->models)->mesh));
    }
    for (uint32_t row = 0; row < kTimelineRows; ++row)
    {
        for (uint32_t clip = 0; clip < document->timeline->clipCount[row]; ++clip)
        {
            if (checked->played.seenClips[row][clip] != 0)
            {
                CheckClipView(&walk, row, clip);
            }
        }
    }
    if (checked->isDemo)
    {
        TellCost(&walk);
        CheckMemory(context);
    }
}
