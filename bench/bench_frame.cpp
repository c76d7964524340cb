// A whole frame over an OpenGL that does nothing: what the engine itself costs for 1, 100 and 4,000
// objects, and what the OpenGL calls of those objects cost without it.
#include <GL/glew.h>
#include <benchmark/benchmark.h>
#include <cstdlib>

#include "engine/render/frame.h"
#include "support/piece_tables.h"
#include "support/recorded_gl.h"
#include "support/timeline_builder.h"

static constexpr uint32_t kObjectsPerScene = 500;

struct Piece
{
    Timeline* timeline; // owned
    PieceTables tables;
};

static float vertices[9] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
static float texCoords[6] = {0, 0, 1, 0, 0, 1};
static float normals[9] = {0, 0, 1, 0, 0, 1, 0, 0, 1};
static uint32_t indices[3] = {0, 1, 2};

/// Materials 1 "Color", 2 "Bitmap texture" and 3 "Bitmap environment mapping".
static void AddMaterials(PieceTables* tables)
{
    BitmapTexture* bitmap = AddRecord<BitmapTexture>(tables->bitmaps);
    bitmap->glTexture = 1;
    for (uint32_t type : {0u, 7u, 11u})
    {
        Material* material = AddRecord<Material>(tables->materials);
        material->type = type;
        material->refs[0] = 1;
    }
}

/// One object of a scene, with a moving position and one of the materials.
static void AddObject(Scene* scene, uint32_t envelope)
{
    const uint32_t n = scene->objectCount;
    scene->objectCount += 1;
    scene->objectId[n] = 1;
    scene->materialId[n] = 1 + n % 3;
    scene->positionX.slot[n] = FloatSlot(static_cast<float>(n));
    scene->positionY.slot[n] = envelope;
    SetMaskBit(scene->positionY.dynamicMask, n);
    for (ObjectValues* values : {&scene->scaleX, &scene->scaleY, &scene->scaleZ})
    {
        values->slot[n] = FloatSlot(1.0f);
    }
}

/// A piece of one clip on each row that is needed for so many objects.
static Piece MakePiece(uint32_t objects)
{
    Piece piece = {CreateTimeline(), MakePieceTables()};
    ModelData* model = AddRecord<ModelData>(piece.tables.models);
    model->mesh = {3, 3, vertices, texCoords, nullptr, 1, normals, indices};
    const uint32_t envelope = AddLinearEnvelope(&piece.tables, 0.01f, 0.0f);
    AddMaterials(&piece.tables);

    for (uint32_t row = 0; objects > 0; ++row)
    {
        Scene* scene = AddRecord<Scene>(piece.tables.scenes);
        AddClip(piece.timeline, row, 0, 100000, piece.tables.scenes->count);
        for (; objects > 0 && scene->objectCount < kObjectsPerScene; --objects)
        {
            AddObject(scene, envelope);
        }
    }
    return piece;
}

static void FreePiece(Piece* piece)
{
    FreePieceTables(&piece->tables);
    free(piece->timeline);
}

/// Arguments: objects; buffer objects in use.
static void BenchFrame(benchmark::State& state)
{
    ResetGl();
    MuteGl(true);
    Piece piece = MakePiece(static_cast<uint32_t>(state.range(0)));
    const int32_t vbo = static_cast<int32_t>(state.range(1));
    uint32_t time = 0;
    for (auto unused : state)
    {
        static_cast<void>(unused);
        const PieceTables& t = piece.tables;
        benchmark::DoNotOptimize(RenderFrame(
            piece.timeline, t.scenes, t.materials, t.lights, t.textures, t.envelopes, 1.6f,
            t.effects, t.models, t.bitmaps, t.genMeshes, time, 1280, 800, vbo, 0, 1, 1));
        time = time < 99999 ? time + 1 : 0;
    }
    state.counters["calls"] =
        static_cast<double>(GlCallCount()) / static_cast<double>(state.iterations());
    state.SetItemsProcessed(state.iterations() * state.range(0));
    FreePiece(&piece);
}
BENCHMARK(BenchFrame)
    ->ArgNames({"objects", "vbo"})
    ->ArgsProduct({{1, 100, 4000}, {0, 1}})
    ->Unit(benchmark::kMicrosecond);

/// The matrix and drawing calls of as many objects: the floor under the frame.
static void BenchInstanceCallsAlone(benchmark::State& state)
{
    ResetGl();
    MuteGl(true);
    for (auto unused : state)
    {
        static_cast<void>(unused);
        for (int64_t i = 0; i < state.range(0); ++i)
        {
            glPushMatrix();
            glTranslatef(static_cast<float>(i), 1.0f, 0.0f);
            glRotatef(0.0f, 1.0f, 0.0f, 0.0f);
            glRotatef(0.0f, 0.0f, 1.0f, 0.0f);
            glRotatef(0.0f, 0.0f, 0.0f, 1.0f);
            glScalef(1.0f, 1.0f, 1.0f);
            glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_INT, indices);
            glPopMatrix();
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BenchInstanceCallsAlone)->ArgName("objects")->Arg(4000)->Unit(benchmark::kMicrosecond);
