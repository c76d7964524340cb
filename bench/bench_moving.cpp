// SPDX-License-Identifier: MIT

// What moves: the images of 2D effects, water, normals and ripples, each beside its plain form from
// the tests and, where look-ups or random numbers bound it, beside those alone.
//
// All forms of a row run in turns in one thread, and the counters give the shortest time of each in
// microseconds.
#include <benchmark/benchmark.h>
#include <cmath>
#include <cstdlib>
#include <emmintrin.h>
#include <memory>
#include <vector>

#include "assimp_normals.h"
#include "compare.h"
#include "engine/data/arena.h"
#include "engine/data/cos_table.h"
#include "engine/data/fault.h"
#include "engine/data/numeric.h"
#include "engine/data/random_sequence.h"
#include "engine/geometry/gen_mesh.h"
#include "engine/geometry/normals.h"
#include "engine/geometry/plain_geometry.h"
#include "engine/geometry/rippler.h"
#include "engine/geometry/water.h"
#include "engine/textures/effect_kernels.h"
#include "engine/textures/plain_effects.h"
#include "engine/vectors/instruction_sets.h"

// ---- 2D effects

/// Where the look-ups of a row of pixels land, for each read of a pixel: waves that run over the
/// table with the column, as those of an image do.
struct ReadPlan
{
    ReadPlan(uint32_t side, uint32_t entries) : places(6 * side)
    {
        for (uint32_t i = 0; i < places.size(); ++i)
        {
            const uint32_t read = i / side;
            const double speed = 0.01 + 0.002 * static_cast<double>(read);
            const double share = 0.5 + 0.49 * cos(static_cast<double>(i % side) * speed);
            places[i] = static_cast<uint32_t>(share * static_cast<double>(entries));
        }
    }
    std::vector<uint32_t> places;
};

/// Look-ups of single floats, two, six or one of them a pixel.
struct ReadLoops
{
    float (*two)(const uint32_t* places, uint32_t side);
    float (*six)(const uint32_t* places, uint32_t side);
    float (*one)(const uint32_t* places, uint32_t count);
};

#define LOOPS "read_loops.inc"
#define LOOPS_READ_TABLES 1
#include "engine/vectors/each_instruction_set.inc"

/// The loops of the next instruction set that this processor has: in turns, the shortest time is
/// that of the fastest.
static const ReadLoops* NextReadLoops(uint32_t* turn)
{
    static constexpr const ReadLoops* kTables[kInstructionSets] = {&sse2::kTable, &avx2::kTable,
                                                                   &avx2_gathers::kTable};
    *turn += 1;
    const uint32_t set = *turn % kInstructionSets;
    return kTables[CanRunInstructionSet(static_cast<InstructionSet>(set)) ? set : 0];
}

/// The look-ups of an image.
/// @param reads   of a pixel, two or six
static std::function<void()> ReadFloats(const ReadPlan& plan, uint32_t side, uint32_t reads)
{
    return [&plan, side, reads, turn = 0u]() mutable
    {
        const ReadLoops* loops = NextReadLoops(&turn);
        benchmark::DoNotOptimize((reads == 2 ? loops->two : loops->six)(plan.places.data(), side));
    };
}

/// Two look-ups of 16 bytes a pixel.
static __m128 ReadRows(const ReadPlan& plan, uint32_t side, const float* u, const float* v)
{
    __m128 sum[4] = {};
    const uint32_t* uPlaces = plan.places.data();
    const uint32_t* vPlaces = plan.places.data() + side;
    for (uint32_t y = 0; y < side; ++y)
    {
        for (uint32_t x = 0; x < side; x += 2)
        {
            sum[0] = _mm_add_ps(sum[0], _mm_loadu_ps(u + 4 * uPlaces[x]));
            sum[1] = _mm_add_ps(sum[1], _mm_loadu_ps(v + 4 * vPlaces[x]));
            sum[2] = _mm_add_ps(sum[2], _mm_loadu_ps(u + 4 * uPlaces[x + 1]));
            sum[3] = _mm_add_ps(sum[3], _mm_loadu_ps(v + 4 * vPlaces[x + 1]));
        }
    }
    return _mm_add_ps(_mm_add_ps(sum[0], sum[1]), _mm_add_ps(sum[2], sum[3]));
}

/// Arguments: side, bits a pixel, step.
static void BenchEffect1(benchmark::State& state)
{
    BuildCosTable();
    const uint32_t side = static_cast<uint32_t>(state.range(0));
    const uint32_t bpp = static_cast<uint32_t>(state.range(1));
    const float step = static_cast<float>(state.range(2));
    const ReadPlan plan(side, kCosTurn); // of one sign, as most images have it
    std::vector<uint8_t> image(side * side * 3);
    CompareForms(state, {{"plain",
                          [&]
                          {
                              PlainEffect1(side, bpp, step, image.data());
                          }},
                         {"engine",
                          [&]
                          {
                              RenderEffect1(static_cast<int32_t>(side), static_cast<uint8_t>(bpp),
                                            step, image.data());
                          }},
                         {"reads", ReadFloats(plan, side, bpp == 24 ? 6 : 2)}});
}
BENCHMARK(BenchEffect1)->ArgsProduct({{64, 128, 256, 512}, {8, 24}, {100}});
BENCHMARK(BenchEffect1)->ArgsProduct({{512}, {24}, {0, 37, 250, 1000}});

/// The form for processors without AVX2.
static void BenchNarrowEffect1(benchmark::State& state)
{
    setenv("QUORVALE_INSTRUCTIONS", "sse2", 1);
    BenchEffect1(state);
    unsetenv("QUORVALE_INSTRUCTIONS");
}
BENCHMARK(BenchNarrowEffect1)->ArgsProduct({{512}, {8, 24}, {100, 1000}});

static void BenchRotate(benchmark::State& state)
{
    BuildCosTable();
    const std::vector<float> uRows(4 * kCosTurn, 1.0f);
    const std::vector<float> vRows(4 * kCosTurn, 2.0f);
    const uint32_t side = static_cast<uint32_t>(state.range(0));
    const uint32_t bpp = static_cast<uint32_t>(state.range(1));
    const float step = static_cast<float>(state.range(2));
    const ReadPlan plan(side, bpp == 24 ? 512 : kCosTurn); // what fits the nearest memory
    std::vector<uint8_t> image(side * side * 3);
    const auto readRows = [&]
    {
        benchmark::DoNotOptimize(ReadRows(plan, side, uRows.data(), vRows.data()));
    };
    CompareForms(state, {{"plain",
                          [&]
                          {
                              PlainRotate(side, bpp, step, image.data());
                          }},
                         {"engine",
                          [&]
                          {
                              RenderRotate(static_cast<int32_t>(side), static_cast<uint8_t>(bpp),
                                           step, image.data());
                          }},
                         {"reads", bpp == 24 ? readRows : ReadFloats(plan, side, 2)}});
}
BENCHMARK(BenchRotate)->ArgsProduct({{64, 128, 256, 512}, {8, 24}, {100}});
BENCHMARK(BenchRotate)->ArgsProduct({{512}, {24}, {0, 10, 21, 37, 250, 500, 750, 1000}});

static void BenchNarrowRotate(benchmark::State& state)
{
    setenv("QUORVALE_INSTRUCTIONS", "sse2", 1);
    BenchRotate(state);
    unsetenv("QUORVALE_INSTRUCTIONS");
}
BENCHMARK(BenchNarrowRotate)->ArgsProduct({{512}, {8, 24}, {100, 1000}});

/// Four of each kind at 512 by 512 and 24 bits, each at a step of its own. A frame has 16.7 ms.
static void BenchFrameOfEightEffects(benchmark::State& state)
{
    BuildCosTable();
    std::vector<uint8_t> image(512 * 512 * 3);
    float step = 0.0f;
    CompareForms(state, {{"engine", [&]
                          {
                              for (const float other : {0.0f, 50.0f, 100.0f, 150.0f})
                              {
                                  RenderEffect1(512, 24, step + other, image.data());
                                  RenderRotate(512, 24, step + other, image.data());
                              }
                              step += 1.0f;
                          }}});
}
BENCHMARK(BenchFrameOfEightEffects);

/// A step of growth at 24 bits, beside the random numbers that it draws.
static void BenchAmoba(benchmark::State& state)
{
    const int32_t side = static_cast<int32_t>(state.range(0));
    RandomSequence random;
    RandomSequence other;
    SeedRandom(&random, 5);
    SeedRandom(&other, 5);
    std::vector<uint8_t> cells(static_cast<size_t>(side) * static_cast<size_t>(side) * 3);
    SeedAmoba(side, 24, cells.data(), &random);
    CompareForms(state, {{"engine",
                          [&]
                          {
                              GrowAmoba(side, 24, cells.data(), &random);
                          }},
                         {"random", [&]
                          {
                              for (int32_t i = 0; i < side * side / 4; ++i)
                              {
                                  benchmark::DoNotOptimize(NextRandom(&other));
                              }
                          }}});
}
BENCHMARK(BenchAmoba)->Arg(128)->Arg(256)->Arg(512);

// ---- Geometry

/// A bumpy sheet of rows by columns vertices.
struct Sheet
{
    Sheet(uint32_t rows, uint32_t columns)
    {
        for (uint32_t row = 0; row < rows; ++row)
        {
            for (uint32_t column = 0; column < columns; ++column)
            {
                const float x = static_cast<float>(column) * 0.1f;
                const float z = static_cast<float>(row) * 0.1f;
                vertices.insert(vertices.end(), {x, sinf(x) * cosf(z), z});
            }
        }
        for (uint32_t row = 0; row + 1 < rows; ++row)
        {
            for (uint32_t column = 0; column + 1 < columns; ++column)
            {
                const uint32_t a = row * columns + column;
                const uint32_t c = a + columns;
                indices.insert(indices.end(), {a, a + 1, c + 1, a, c + 1, c});
            }
        }
        normals.resize(vertices.size());
        mesh.vertexCount = rows * columns;
        mesh.indexCount = static_cast<uint32_t>(indices.size());
        mesh.vertices = vertices.data();
        mesh.normals = normals.data();
        mesh.indices = indices.data();
        mesh.faces = &faces;
    }
    ~Sheet()
    {
        FreeVertexFaces(&faces);
        FreeArena(&arena);
    }
    Sheet(const Sheet&) = delete;
    Sheet& operator=(const Sheet&) = delete;
    std::vector<float> vertices;
    std::vector<float> normals;
    std::vector<uint32_t> indices;
    VertexFaces faces = {};
    Arena arena = {};
    Mesh mesh = {};
};

static void CompareNormals(benchmark::State& state, const Mesh& mesh, Arena* arena)
{
    CompareForms(state, {{"plain",
                          [&]
                          {
                              PlainNormals(mesh.vertexCount, mesh.indexCount, mesh.vertices,
                                           mesh.normals, mesh.indices);
                          }},
                         {"engine", [&]
                          {
                              RecomputeNormals(&mesh, arena);
                          }}});
}

/// Beside Assimp's smooth normals.
static void BenchNormalsOf50000Vertices(benchmark::State& state)
{
    Sheet sheet(200, 250);
    const Mesh& mesh = sheet.mesh;
    AssimpMesh* peer = CreateAssimpMesh(mesh.vertices, mesh.indices, mesh.indexCount);
    bool done = true;
    CompareForms(state, {{"plain",
                          [&]
                          {
                              PlainNormals(mesh.vertexCount, mesh.indexCount, mesh.vertices,
                                           mesh.normals, mesh.indices);
                          }},
                         {"engine",
                          [&]
                          {
                              RecomputeNormals(&mesh, &sheet.arena);
                          }},
                         {"assimp", [&]
                          {
                              done = AssimpSmoothNormals(peer) && done;
                          }}});
    FreeAssimpMesh(peer);
    if (!done)
    {
        state.SkipWithError("Assimp has made no normals");
    }
}
BENCHMARK(BenchNormalsOf50000Vertices)->Iterations(6);

static void BenchNormalsOfWater(benchmark::State& state)
{
    BuildCosTable();
    FaultList faults;
    StartFaults(&faults);
    Mesh mesh = {};
    GenMeshState water = {};
    VertexFaces faces = {};
    Arena arena = {};
    RandomSequence random;
    SeedRandom(&random, 1);
    if (!BuildGenMesh(kCenterwaveWater, &mesh, &faults) ||
        !StartGenMeshState(kCenterwaveWater, &mesh, &water, &faults))
    {
        state.SkipWithError("no memory");
        return;
    }
    mesh.faces = &faces;
    SimulateWater(kCenterwaveWater, 1.0f, &water, &mesh, &random, &arena);
    Mesh moved = mesh;
    moved.vertices = water.vertices;
    moved.normals = water.normals;
    CompareNormals(state, moved, &arena);
    FreeVertexFaces(&faces);
    FreeGenMeshState(&water);
    FreeGenMesh(kCenterwaveWater, &mesh);
    FreeArena(&arena);
}
BENCHMARK(BenchNormalsOfWater);

static void BenchRippleOf50000Vertices(benchmark::State& state)
{
    BuildCosTable();
    Sheet sheet(200, 250);
    const size_t count = sheet.vertices.size();
    const ReadPlan plan(static_cast<uint32_t>(count / 6 + 1), kCosTurn);
    uint32_t turn = 0;
    // Without amplitude the coordinates stay what they are from run to run.
    CompareForms(state, {{"plain",
                          [&]
                          {
                              PlainRipple(sheet.vertices.data(), count, 0.7f, 0.0f, 1.3f);
                          }},
                         {"engine",
                          [&]
                          {
                              RippleCoordinates(sheet.vertices.data(), count,
                                                static_cast<float>(0.7 * kCosStepsPerRadian),
                                                static_cast<float>(1.3 * kCosStepsPerRadian), 0.0f);
                          }},
                         {"reads", [&]
                          {
                              const ReadLoops* loops = NextReadLoops(&turn);
                              benchmark::DoNotOptimize(
                                  loops->one(plan.places.data(), static_cast<uint32_t>(count)));
                          }}});
}
BENCHMARK(BenchRippleOf50000Vertices);

/// Both, as a "Rippler" does them, for so many times 12,500 vertices.
static void BenchRippleAndNormals(benchmark::State& state)
{
    BuildCosTable();
    Sheet sheet(50 * static_cast<uint32_t>(state.range(0)), 250);
    const Mesh& mesh = sheet.mesh;
    const size_t count = sheet.vertices.size();
    CompareForms(state, {{"plain",
                          [&]
                          {
                              PlainRipple(mesh.vertices, count, 0.7f, 0.0f, 1.3f);
                              PlainNormals(mesh.vertexCount, mesh.indexCount, mesh.vertices,
                                           mesh.normals, mesh.indices);
                          }},
                         {"engine", [&]
                          {
                              RippleCoordinates(mesh.vertices, count,
                                                static_cast<float>(0.7 * kCosStepsPerRadian),
                                                static_cast<float>(1.3 * kCosStepsPerRadian), 0.0f);
                              RecomputeNormals(&mesh, &sheet.arena);
                          }}});
}
BENCHMARK(BenchRippleAndNormals)->Arg(1)->Arg(4)->Arg(16);

/// A lake that steps each time: heights, vertices and normals, beside its heights in the plain
/// form.
static void BenchLake(benchmark::State& state)
{
    BuildCosTable();
    FaultList faults;
    StartFaults(&faults);
    Mesh mesh = {};
    GenMeshState water = {};
    VertexFaces faces = {};
    Arena arena = {};
    RandomSequence random;
    SeedRandom(&random, 1);
    if (!BuildGenMesh(kLakeWater, &mesh, &faults) ||
        !StartGenMeshState(kLakeWater, &mesh, &water, &faults))
    {
        state.SkipWithError("no memory");
        return;
    }
    mesh.faces = &faces;
    const std::vector<int32_t> still(kWaterCells);
    PlainLake plain = {still, still, still, 0};
    const std::vector<float> normals(3 * kWaterCells);
    std::vector<float> plainNormals = normals;
    float engineTime = 0.5f;
    float plainTime = 0.5f;
    CompareForms(state, {{"plain",
                          [&]
                          {
                              plainTime += 1.0f;
                              benchmark::DoNotOptimize(PlainLakeHeights(
                                  &plain, plainTime, [&] { return NextRandom(&random); }));
                              PlainNormals(mesh.vertexCount, mesh.indexCount, mesh.vertices,
                                           plainNormals.data(), mesh.indices);
                          }},
                         {"engine", [&]
                          {
                              engineTime += 1.0f;
                              SimulateWater(kLakeWater, engineTime, &water, &mesh, &random, &arena);
                          }}});
    FreeVertexFaces(&faces);
    FreeGenMeshState(&water);
    FreeGenMesh(kLakeWater, &mesh);
    FreeArena(&arena);
}
BENCHMARK(BenchLake);

/// Normals of so many meshes in turn: the time of each must not grow with their number.
static void BenchNormalsOfManyMeshes(benchmark::State& state)
{
    std::vector<std::unique_ptr<Sheet>> sheets;
    for (int64_t i = 0; i < state.range(0); ++i)
    {
        sheets.push_back(std::make_unique<Sheet>(40, 50));
    }
    CompareForms(state, {{"engine", [&]
                          {
                              for (const std::unique_ptr<Sheet>& sheet : sheets)
                              {
                                  RecomputeNormals(&sheet->mesh, &sheet->arena);
                              }
                          }}});
}
BENCHMARK(BenchNormalsOfManyMeshes)->Arg(1)->Arg(4)->Arg(16)->Arg(32)->Arg(33)->Arg(64);
