// SPDX-License-Identifier: MIT

// A whole frame over an OpenGL that does nothing at all, beside the list of the same calls made
// again.
#include <GL/glew.h>
#include <benchmark/benchmark.h>

#include "compare.h"
#include "engine/data/cos_table.h"
#include "engine/render/frame.h"
#include "engine/render/piece_run.h"
#include "engine/textures/corner_masks.h"
#include "support/silent_gl.h"
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

/// Draws frame after frame, beside the calls of one frame made again.
static void CompareFrames(benchmark::State& state, TestPiece* piece)
{
    const FrameSources sources = TestSources(piece);
    uint32_t time = 0;
    const auto draw = [&]
    {
        const FrameRequest request = {1.6f, time, 1280, 800};
        benchmark::DoNotOptimize(RenderFrame(&sources, &request));
        time = time < 99999 ? time + 1 : 0;
    };
    draw();
    KeepCalls();
    draw();
    const size_t calls = StopKeepingCalls();
    CompareForms(state, {{"engine", draw}, {"replay", ReplayCalls}});
    state.counters["calls"] = static_cast<double>(calls);
}

/// Arguments: objects; buffer objects in use.
static void BenchFrame(benchmark::State& state)
{
    TestPiece piece;
    StartTestPiece(&piece);
    AddObjects(&piece, static_cast<uint32_t>(state.range(0)));
    piece.features = {static_cast<int32_t>(state.range(1)), 0, 1, 1};
    CompareFrames(state, &piece);
    FreeTestPiece(&piece);
}
BENCHMARK(BenchFrame)->ArgNames({"objects", "vbo"})->ArgsProduct({{1, 250, 1000, 4000}, {0, 1}});

/// An object that a manipulator copies, so many times 64 copies of it.
static void BenchCopies(benchmark::State& state)
{
    TestPiece piece;
    StartTestPiece(&piece);
    AddObjects(&piece, 1);
    Scene* scene = GetRecord<Scene>(1, piece.document.scenes);
    Manipulator* copies = &scene->manipulators[0][0]; // "Multiply XYZ"
    scene->manipulatorCount[0] = 1;
    for (uint32_t i = 0; i < kManipulatorUsedParams; ++i)
    {
        copies->params[i] = FloatSlot(i == 0 ? 4.0f * static_cast<float>(state.range(0)) : 4.0f);
    }
    piece.features = {0, 0, 1, 1};
    CompareFrames(state, &piece);
    FreeTestPiece(&piece);
}
BENCHMARK(BenchCopies)->Arg(1)->Arg(4)->Arg(16);

/// The loading screen of the sample piece, half done.
static void BenchLoadingScreen(benchmark::State& state)
{
    BuildCosTable();
    BuildCornerMasks();
    FaultList faults;
    StartFaults(&faults);
    PieceRun run;
    const bool isLoaded =
        StartRun(&run, &faults) && OpenPackageFile(PACKAGE, &run.piece.package, &faults) &&
        LoadRunDocument(&run, RunDocument::kLoading, nullptr) == LoadResult::kLoaded;
    if (!isLoaded)
    {
        state.SkipWithError("the sample piece can't be loaded");
        return;
    }
    const FrameSources sources = RunSources(&run, RunDocument::kLoading);
    const FrameRequest request = {1.6f, 50, 1280, 800};
    const auto draw = [&]
    {
        benchmark::DoNotOptimize(RenderFrame(&sources, &request));
    };
    KeepCalls();
    draw();
    const size_t calls = StopKeepingCalls();
    CompareForms(state, {{"engine", draw}, {"replay", ReplayCalls}});
    state.counters["calls"] = static_cast<double>(calls);
    CloseRun(&run);
}
BENCHMARK(BenchLoadingScreen);
