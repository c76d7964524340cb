// A whole frame over an OpenGL that does nothing: what the engine itself costs for 1, 100 and 4,000
// objects, and what the OpenGL calls of those objects cost without it.
#include <GL/glew.h>
#include <benchmark/benchmark.h>

#include "engine/render/frame.h"
#include "support/recorded_gl.h"
#include "support/test_piece.h"
#include "support/timeline_builder.h"

static constexpr uint32_t kObjectsPerScene = 500;

static float vertices[9] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
static float texCoords[6] = {0, 0, 1, 0, 0, 1};
static float normals[9] = {0, 0, 1, 0, 0, 1, 0, 0, 1};
static uint32_t indices[3] = {0, 1, 2};

/// Materials 1 "Color", 2 "Bitmap texture" and 3 "Bitmap environment mapping".
static void AddMaterials(TestPiece* piece)
{
    AddBitmap(piece, {1, 4, 4, 3});
    for (uint32_t type : {0u, 7u, 11u})
    {
        Material* material = AddRecord<Material>(piece->document.materials);
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

/// Fills a piece with one clip on each row that is needed for so many objects.
static void AddObjects(TestPiece* piece, uint32_t objects)
{
    ModelData* model = AddRecord<ModelData>(piece->document.models);
    model->mesh = {3, 3, vertices, texCoords, nullptr, 1, normals, indices, nullptr};
    AddUploadEntry(&piece->upload.models, &piece->upload.modelCount)->bufferIndexCount = 3;
    const uint32_t envelope = AddLinearEnvelope(piece, 0.01f, 0.0f);
    AddMaterials(piece);

    for (uint32_t row = 0; objects > 0; ++row)
    {
        Scene* scene = AddRecord<Scene>(piece->document.scenes);
        AddClip(piece->document.timeline, row, 0, 100000, piece->document.scenes->count);
        for (; objects > 0 && scene->objectCount < kObjectsPerScene; --objects)
        {
            AddObject(scene, envelope);
        }
    }
}

/// Arguments: objects; buffer objects in use.
static void BenchFrame(benchmark::State& state)
{
    ResetGl();
    MuteGl(true);
    TestPiece piece;
    StartTestPiece(&piece);
    AddObjects(&piece, static_cast<uint32_t>(state.range(0)));
    piece.features = {static_cast<int32_t>(state.range(1)), 0, 1, 1};
    const FrameSources sources = TestSources(&piece);
    uint32_t time = 0;
    for (auto unused : state)
    {
        static_cast<void>(unused);
        const FrameRequest request = {1.6f, time, 1280, 800};
        benchmark::DoNotOptimize(RenderFrame(&sources, &request));
        time = time < 99999 ? time + 1 : 0;
    }
    state.counters["calls"] =
        static_cast<double>(GlCallCount()) / static_cast<double>(state.iterations());
    state.SetItemsProcessed(state.iterations() * state.range(0));
    FreeTestPiece(&piece);
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
