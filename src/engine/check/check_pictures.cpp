// SPDX-License-Identifier: MIT
#include <algorithm>
#include <bit>
#include <cmath>

#include "engine/animation/animated_value.h"
#include "engine/check/context.h"
#include "engine/data/model_data.h"
#include "engine/data/numeric.h"
#include "engine/render/records/material.h"
#include "engine/render/records/scene.h"
#include "engine/render/records/timeline.h"
#include "engine/textures/bitmap_texture.h"

/// An item with its node, for rules that go through a section.
struct ItemCursor
{
    Spot spot;
    const TiXmlNode* node;
};

static ItemCursor BeginItems(CheckContext* context, CheckedDocument* checked, Section section)
{
    const TiXmlNode* node = SectionNode(&checked->document, section)->FirstChild();
    return {{context, checked, section, 1, 0, ItemName(node)}, node};
}

static void NextItem(ItemCursor* cursor)
{
    cursor->node = cursor->node->NextSibling();
    cursor->spot.item += 1;
    cursor->spot.name = ItemName(cursor->node);
}

// ---- Bitmaps

static void CheckBitmaps(CheckContext* context, CheckedDocument* checked)
{
    const ObjectTable* table = checked->document.bitmaps;
    for (ItemCursor cursor = BeginItems(context, checked, Section::kBitmaps);
         cursor.node != nullptr && cursor.spot.item <= table->count; NextItem(&cursor))
    {
        const BitmapTexture* bitmap = GetRecord<BitmapTexture>(cursor.spot.item, table);
        if (bitmap->components == 1 || bitmap->components == 2)
        {
            AddFinding(&cursor.spot, Severity::kWarning, Rule::kGreyBitmap, cursor.node,
                       FormatText("the image has %d component%s a pixel, and is white when shown",
                                  bitmap->components, bitmap->components == 1 ? "" : "s"))
                ->cure = bitmap->components == 1 ? "store it as RGB" : "store it as RGBA";
        }
        const bool isEven = std::has_single_bit(static_cast<uint32_t>(bitmap->width)) &&
                            std::has_single_bit(static_cast<uint32_t>(bitmap->height));
        if (bitmap->width > 0 && !isEven)
        {
            AddFinding(&cursor.spot, Severity::kWarning, Rule::kOddSides, cursor.node,
                       FormatText("the image has %dx%d pixels: where it is drawn smaller than it "
                                  "is it comes out slanted, as its sides are no powers of two",
                                  bitmap->width, bitmap->height))
                ->cure =
                FormatText("scale it to %ux%u", std::bit_ceil(static_cast<uint32_t>(bitmap->width)),
                           std::bit_ceil(static_cast<uint32_t>(bitmap->height)));
        }
    }
}

// ---- Materials

/// @return the bitmap that a cut-out recipe takes its alpha from; null for other materials
static const BitmapTexture* CutoutBitmap(const Material* material, const VocabularyRow* row,
                                         const DemoDocument* document)
{
    return (row->traits & kTraitCutout) == 0
               ? nullptr
               : GetRecord<BitmapTexture>(material->refs[0], document->bitmaps);
}

static void CheckMaterials(CheckContext* context, CheckedDocument* checked)
{
    const DemoDocument* document = &checked->document;
    for (ItemCursor cursor = BeginItems(context, checked, Section::kMaterials);
         cursor.node != nullptr && cursor.spot.item <= document->materials->count;
         NextItem(&cursor))
    {
        const Material* material = GetRecord<Material>(cursor.spot.item, document->materials);
        const VocabularyRow* row = FindVocabularyRow(kCatalogueRecipes, material->type);
        if (row == nullptr)
        {
            continue;
        }
        const BitmapTexture* bitmap = CutoutBitmap(material, row, document);
        if (bitmap != nullptr && bitmap->components == 3)
        {
            AddFinding(&cursor.spot, Severity::kWarning, Rule::kBitmapWithoutAlpha, cursor.node,
                       FormatText("the recipe \"%s\" cuts out by the alpha of the bitmap, and %s "
                                  "has none",
                                  row->name,
                                  ItemText(document, Section::kBitmaps, material->refs[0]).c_str()))
                ->cure = "store the image as RGBA";
        }
        if ((row->traits & kTraitAlpha) == 0 && MaskBit(material->dynamicMask, 3))
        {
            AddFinding(&cursor.spot, Severity::kWarning, Rule::kIgnoredAlpha, cursor.node,
                       FormatText("alpha is animated, and the recipe \"%s\" does not mix by it",
                                  row->name))
                ->cure = (row->traits & kTraitAdds) != 0 ? "animate the color instead" : "";
        }
    }
}

// ---- Models

/// The shape of one model, as far as rules look at it.
struct ModelShape
{
    uint32_t badNormals; // of no length, or no number
    uint32_t flat;       // triangles of no area
    uint32_t turned;     // triangles whose corners go round against their normals
};

static float Length(const float* v)
{
    return sqrtf(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
}

/// The normal that the order of a triangle's corners gives it.
static void FaceNormal(const Mesh* mesh, const uint32_t* corners, float* cross)
{
    const float* a = mesh->vertices + size_t{3} * corners[0];
    const float* b = mesh->vertices + size_t{3} * corners[1];
    const float* c = mesh->vertices + size_t{3} * corners[2];
    const float u[3] = {b[0] - a[0], b[1] - a[1], b[2] - a[2]};
    const float v[3] = {c[0] - a[0], c[1] - a[1], c[2] - a[2]};
    cross[0] = u[1] * v[2] - u[2] * v[1];
    cross[1] = u[2] * v[0] - u[0] * v[2];
    cross[2] = u[0] * v[1] - u[1] * v[0];
}

static void MeasureTriangle(const Mesh* mesh, const uint32_t* corners, ModelShape* shape)
{
    float face[3];
    FaceNormal(mesh, corners, face);
    float along = 0.0f; // the face's normal by the sum of its corners'
    for (uint32_t c = 0; c < 3; ++c)
    {
        const float* normal = mesh->normals + size_t{3} * corners[c];
        along += face[0] * normal[0] + face[1] * normal[1] + face[2] * normal[2];
    }
    shape->flat += Length(face) > 0.0f ? 0 : 1;
    shape->turned += along < 0.0f ? 1 : 0;
}

static ModelShape MeasureModel(const Mesh* mesh)
{
    ModelShape shape = {};
    for (uint32_t i = 0; i < mesh->vertexCount; ++i)
    {
        const float length = Length(mesh->normals + size_t{3} * i);
        shape.badNormals += std::isfinite(length) && length > 0.0f ? 0 : 1;
    }
    for (uint32_t i = 0; i + 2 < mesh->indexCount; i += 3)
    {
        MeasureTriangle(mesh, mesh->indices + i, &shape);
    }
    return shape;
}

static std::vector<ModelShape> CheckModels(CheckContext* context, CheckedDocument* checked)
{
    const ObjectTable* table = checked->document.models;
    std::vector<ModelShape> shapes;
    for (ItemCursor cursor = BeginItems(context, checked, Section::kModels);
         cursor.node != nullptr && cursor.spot.item <= table->count; NextItem(&cursor))
    {
        const ModelData* model = GetRecord<ModelData>(cursor.spot.item, table);
        const std::vector<uint8_t>& failed = checked->failed[static_cast<size_t>(Section::kModels)];
        const bool isRead = cursor.spot.item > failed.size() || failed[cursor.spot.item - 1] == 0;
        shapes.push_back(isRead ? MeasureModel(&model->mesh) : ModelShape{});
        if (shapes.back().flat != 0)
        {
            AddFinding(&cursor.spot, Severity::kNote, Rule::kFlatTriangles, cursor.node,
                       FormatText("%u of %u triangles have no area", shapes.back().flat,
                                  model->mesh.indexCount / 3));
        }
        if (shapes.back().turned > model->mesh.indexCount / 6)
        {
            AddFinding(&cursor.spot, Severity::kWarning, Rule::kInsideOut, cursor.node,
                       FormatText("%u of %u triangles are inside out: their normals look the other "
                                  "way, so light comes from the wrong side",
                                  shapes.back().turned, model->mesh.indexCount / 3))
                ->cure = "turn the normals round, or let them be made anew";
        }
    }
    return shapes;
}

// ---- Objects

/// Which findings a model already has, so that each is told once.
struct ToldModel
{
    bool normals;
    bool coordinates;
    bool secondSet;
};

struct ObjectRules
{
    ItemCursor cursor; // of the scene; its part is the object
    const Scene* scene;
    const std::vector<ModelShape>* shapes;
    std::vector<ToldModel>* told;
};

/// Whether a material lays two textures.
static bool LaysTwo(const Material* material, const VocabularyRow* recipe)
{
    const uint32_t first = (recipe->traits & kTraitLit) != 0 ? 1 : 0;
    // Recipes that reflect take no coordinates for its first image.
    return (recipe->traits & kTraitCoordinates2) != 0 && (recipe->traits & kTraitReflects) == 0 &&
           material->refs[first] != 0 && material->refs[first + 1] != 0;
}

static void CheckModelUse(const ObjectRules& rules, const TiXmlNode* node, uint32_t modelId,
                          const Material* material)
{
    const VocabularyRow* recipe = FindVocabularyRow(kCatalogueRecipes, material->type);
    const DemoDocument* document = &rules.cursor.spot.checked->document;
    const ModelData* model = GetRecord<ModelData>(modelId, document->models);
    ToldModel* told = &(*rules.told)[modelId - 1];
    const std::string name = ItemText(document, Section::kModels, modelId);
    const bool needsNormals = (recipe->traits & (kTraitLit | kTraitReflects)) != 0;
    const uint32_t badNormals = (*rules.shapes)[modelId - 1].badNormals;
    if (needsNormals && badNormals != 0 && !told->normals)
    {
        told->normals = true;
        AddFinding(&rules.cursor.spot, Severity::kWarning, Rule::kNoNormals, node,
                   FormatText("the recipe \"%s\" needs normals, and %u of %u of %s have no length",
                              recipe->name, badNormals, model->mesh.vertexCount, name.c_str()))
            ->cure = "let the modeller write normals, or have dpk compute them";
    }
    const bool hasMesh = model->mesh.vertexCount != 0;
    if (hasMesh && (recipe->traits & kTraitCoordinates) != 0 && model->fileSets == 0 &&
        !told->coordinates)
    {
        told->coordinates = true;
        Finding* finding =
            AddFinding(&rules.cursor.spot, Severity::kWarning, Rule::kNoCoordinates, node,
                       FormatText("the recipe \"%s\" lays a texture, and %s has no coordinates for "
                                  "it",
                                  recipe->name, name.c_str()));
        finding->cure = "unwrap the mesh, or take a recipe that reflects";
        finding->pythonCure = "unwrap the mesh, or take recipes.environment(...), which needs none";
    }
    if (hasMesh && LaysTwo(material, recipe) && model->mesh.texCoordSets < 2 && !told->secondSet)
    {
        told->secondSet = true;
        AddFinding(&rules.cursor.spot, Severity::kNote, Rule::kOneCoordinateSet, node,
                   FormatText("the recipe \"%s\" lays two textures, and both lie by the one set of "
                              "coordinates of %s",
                              recipe->name, name.c_str()));
    }
}

static bool IsStaticZero(const ObjectValues& values, uint32_t n)
{
    return !MaskBit(values.dynamicMask, n) && SlotFloat(values.slot[n]) == 0.0f;
}

static void CheckObject(const ObjectRules& rules, const TiXmlNode* node, uint32_t n)
{
    const DemoDocument* document = &rules.cursor.spot.checked->document;
    const Scene* scene = rules.scene;
    const uint32_t zeros = (IsStaticZero(scene->scaleX, n) ? 1u : 0u) +
                           (IsStaticZero(scene->scaleY, n) ? 1u : 0u) +
                           (IsStaticZero(scene->scaleZ, n) ? 1u : 0u);
    if (zeros >= 2 && scene->manipulatorCount[n] == 0)
    {
        AddFinding(&rules.cursor.spot, Severity::kWarning, Rule::kNoScale, node,
                   "the object has a scale of 0 and is never seen")
            ->cure = "scales are factors: 1 leaves a mesh as it is";
    }
    const Material* material = GetRecord<Material>(scene->materialId[n], document->materials);
    const VocabularyRow* recipe =
        material == nullptr ? nullptr : FindVocabularyRow(kCatalogueRecipes, material->type);
    const uint32_t modelId = scene->objectId[n];
    if (recipe != nullptr && scene->objectKind[n] == kObjectModel &&
        GetObject(modelId, document->models) != nullptr)
    {
        CheckModelUse(rules, node, modelId, material);
    }
}

static void CheckScenes(CheckContext* context, CheckedDocument* checked,
                        const std::vector<ModelShape>& shapes)
{
    const ObjectTable* table = checked->document.scenes;
    std::vector<ToldModel> told(shapes.size());
    for (ItemCursor cursor = BeginItems(context, checked, Section::kScenes);
         cursor.node != nullptr && cursor.spot.item <= table->count; NextItem(&cursor))
    {
        const Scene* scene = GetRecord<Scene>(cursor.spot.item, table);
        ObjectRules rules = {cursor, scene, &shapes, &told};
        const TiXmlNode* object = cursor.node->FirstChild();
        for (uint32_t n = 0; n < scene->objectCount && object != nullptr;
             ++n, object = object->NextSibling())
        {
            rules.cursor.spot.part = n + 1;
            CheckObject(rules, object, n);
        }
    }
}

// ---- Targets

/// Whether a material shows a bitmap.
static bool Shows(const Material* material, uint32_t bitmapId)
{
    const VocabularyRow* row = FindVocabularyRow(kCatalogueRecipes, material->type);
    uint32_t ref = row != nullptr && (row->traits & kTraitLit) != 0 ? 1 : 0;
    for (const VocabularyParam& param :
         row == nullptr ? std::span<const VocabularyParam>() : row->params)
    {
        if (param.kind == ParamKind::Bitmap && material->refs[ref++] == bitmapId)
        {
            return true;
        }
    }
    return false;
}

static bool SceneShows(const DemoDocument* document, uint32_t sceneId, uint32_t bitmapId)
{
    const Scene* scene = GetRecord<Scene>(sceneId, document->scenes);
    for (uint32_t n = 0; scene != nullptr && n < scene->objectCount; ++n)
    {
        const Material* material = GetRecord<Material>(scene->materialId[n], document->materials);
        if (material != nullptr && Shows(material, bitmapId))
        {
            return true;
        }
    }
    return false;
}

/// Whether a scene that a frame draws shows the bitmap.
static bool IsShown(const CheckedDocument* checked, uint32_t bitmapId)
{
    for (uint32_t id = 1; id <= checked->played.drawnScenes.size(); ++id)
    {
        if (checked->played.drawnScenes[id - 1] != 0 &&
            SceneShows(&checked->document, id, bitmapId))
        {
            return true;
        }
    }
    return false;
}

static const TiXmlNode* ClipNode(const DemoDocument* document, uint32_t row, uint32_t clip)
{
    return ChildAt(ChildAt(SectionNode(document, Section::kTimeline), row + 1), clip + 1);
}

/// @return the bitmap that a clip draws into; 0 for none
static uint32_t TargetOf(const DemoDocument* document, uint32_t row, uint32_t clip)
{
    const Timeline* timeline = document->timeline;
    const VocabularyRow* pass = FindVocabularyRow(kCataloguePasses, timeline->passKind[row][clip]);
    const uint32_t id = static_cast<uint32_t>(TruncateToInt(timeline->passParams[row][clip][0]));
    const bool draws = pass != nullptr && (pass->traits & kTraitTarget) != 0;
    return draws && GetObject(id, document->bitmaps) != nullptr ? id : 0;
}

/// Whether a clip that is seen shows the bitmap without drawing into it.
static bool IsShownElsewhere(const CheckedDocument* checked, uint32_t bitmapId)
{
    const Timeline* timeline = checked->document.timeline;
    for (uint32_t row = 0; row < kTimelineRows; ++row)
    {
        for (uint32_t clip = 0; clip < timeline->clipCount[row]; ++clip)
        {
            if (checked->played.seenClips[row][clip] != 0 &&
                TargetOf(&checked->document, row, clip) != bitmapId &&
                SceneShows(&checked->document, timeline->sceneId[row][clip], bitmapId))
            {
                return true;
            }
        }
    }
    return false;
}

/// A target that the usual window can't hold: its picture is drawn in a corner of the window.
static void CheckTargetSize(const Spot* spot, const TiXmlNode* node, uint32_t bitmapId)
{
    static constexpr int32_t kWidth = 1024; // the launcher's choice at first
    static constexpr int32_t kHeight = 768;
    const DemoDocument* document = &spot->checked->document;
    const BitmapTexture* bitmap = GetRecord<BitmapTexture>(bitmapId, document->bitmaps);
    if (bitmap->width <= kWidth && bitmap->height <= kHeight)
    {
        return;
    }
    AddFinding(spot, Severity::kWarning, Rule::kLargeTarget, node,
               FormatText("the clip draws into %s of %dx%d pixels in a corner of the window, and "
                          "a window of %dx%d cuts its picture off",
                          ItemText(document, Section::kBitmaps, bitmapId).c_str(), bitmap->width,
                          bitmap->height, kWidth, kHeight))
        ->cure = FormatText("give the image %dx%d pixels at most", kWidth, kHeight / 3 * 2);
}

static void CheckTarget(const Spot* spot, uint32_t row, uint32_t clip, uint32_t bitmapId,
                        std::vector<uint8_t>* told)
{
    const DemoDocument* document = &spot->checked->document;
    const TiXmlNode* node = ClipNode(document, row, clip);
    const std::string name = ItemText(document, Section::kBitmaps, bitmapId);
    if ((*told)[bitmapId - 1] == 0 && !IsShown(spot->checked, bitmapId))
    {
        (*told)[bitmapId - 1] = 1;
        Finding* finding =
            AddFinding(spot, Severity::kWarning, Rule::kTargetNotShown, node,
                       FormatText("the clip draws into %s, and nothing shows it", name.c_str()));
        finding->cure = "name it in a material, or draw to the window";
        finding->pythonCure =
            "show it by recipes.bitmap(bitmap=...) in a later row, or leave out how and target";
    }
    if (SceneShows(document, document->timeline->sceneId[row][clip], bitmapId) &&
        !IsShownElsewhere(spot->checked, bitmapId))
    {
        AddFinding(spot, Severity::kNote, Rule::kTargetFeedsItself, node,
                   FormatText("the clip draws into %s and alone shows it, as the frame before left "
                              "it: no other clip lets it be seen",
                              name.c_str()))
            ->cure = "show it in a later row";
    }
    CheckTargetSize(spot, node, bitmapId);
}

/// A bitmap that is shown as a target, though no frame reaches the clips that would draw it.
static void CheckUndrawn(const Spot* spot, uint32_t row, uint32_t clip, uint32_t bitmapId)
{
    if (IsShown(spot->checked, bitmapId))
    {
        AddFinding(
            spot, Severity::kWarning, Rule::kTargetNotDrawn,
            ClipNode(&spot->checked->document, row, clip),
            FormatText("%s is shown, and no frame comes to this clip, which would draw it",
                       ItemText(&spot->checked->document, Section::kBitmaps, bitmapId).c_str()))
            ->cure = "let the clip lie where frames see it";
    }
}

static void CheckTargets(CheckContext* context, CheckedDocument* checked)
{
    const Timeline* timeline = checked->document.timeline;
    const PlayResult& played = checked->played;
    std::vector<uint8_t> told(checked->document.bitmaps->count, 0);
    std::vector<uint8_t> drawn(checked->document.bitmaps->count, 0);
    for (uint32_t row = 0; row < kTimelineRows; ++row)
    {
        for (uint32_t clip = 0; clip < timeline->clipCount[row]; ++clip)
        {
            const uint32_t id = TargetOf(&checked->document, row, clip);
            if (id != 0 && played.seenClips[row][clip] != 0)
            {
                drawn[id - 1] = 1;
            }
        }
    }
    for (uint32_t row = 0; row < kTimelineRows; ++row)
    {
        for (uint32_t clip = 0; clip < timeline->clipCount[row]; ++clip)
        {
            const uint32_t id = TargetOf(&checked->document, row, clip);
            const Spot spot = {context, checked, Section::kTimeline, row + 1, clip + 1, nullptr};
            if (id != 0 && played.seenClips[row][clip] != 0)
            {
                CheckTarget(&spot, row, clip, id, &told);
            }
            else if (id != 0 && drawn[id - 1] == 0)
            {
                drawn[id - 1] = 1;
                CheckUndrawn(&spot, row, clip, id);
            }
        }
    }
    if (played.openTick != kNoTick)
    {
        const Spot spot = {
            context, checked, Section::kTimeline, played.openRow + 1, played.openClip + 1, nullptr};
        AddFinding(&spot, Severity::kWarning, Rule::kOpenTarget,
                   ClipNode(&checked->document, played.openRow, played.openClip),
                   FormatText("at tick %u the frame ends inside this target: its picture is shown "
                              "and not kept",
                              played.openTick))
            ->cure = "let a clip to the window follow in a later row";
    }
}

/// How much a document holds.
static void TellSize(CheckContext* context, CheckedDocument* checked)
{
    const DemoDocument* document = &checked->document;
    uint64_t vertices = 0;
    uint64_t pixels = 0;
    for (uint32_t id = 1; id <= document->models->count; ++id)
    {
        vertices += GetRecord<ModelData>(id, document->models)->mesh.vertexCount;
    }
    for (uint32_t id = 1; id <= document->bitmaps->count; ++id)
    {
        const BitmapTexture* bitmap = GetRecord<BitmapTexture>(id, document->bitmaps);
        pixels += static_cast<uint64_t>(bitmap->width) * static_cast<uint64_t>(bitmap->height);
    }
    const Spot spot = {context, nullptr, Section::kNone, 0, 0, nullptr};
    const uint32_t seconds = checked->played.endTick / kTicksPerSecond;
    AddFinding(&spot, Severity::kNote, Rule::kSize, nullptr,
               FormatText("%u:%02u minutes, %u scenes, %u materials, %u models with %llu vertices, "
                          "%u textures, %u bitmaps with %llu pixels",
                          seconds / 60, seconds % 60, document->scenes->count,
                          document->materials->count, document->models->count,
                          static_cast<unsigned long long>(vertices), document->textures->count,
                          document->bitmaps->count, static_cast<unsigned long long>(pixels)));
}

void CheckPictures(CheckContext* context, CheckedDocument* checked)
{
    CheckBitmaps(context, checked);
    CheckMaterials(context, checked);
    const std::vector<ModelShape> shapes = CheckModels(context, checked);
    CheckScenes(context, checked, shapes);
    CheckTargets(context, checked);
    if (checked->isDemo)
    {
        TellSize(context, checked);
    }
}
