// What moves: the images of 2D effects, normals and ripples, each beside its plain form from the
// tests and, where look-ups bound it, beside the look-ups alone.
//
// All forms of a row run in turns in one thread, and the counters give the shortest time of each in
// microseconds; `times_faster` is plain / engine, `of_reads` is engine / reads. Ratios hold from
// machine to machine, times do not.
#include <algorithm>
#include <benchmark/benchmark.h>
#include <cmath>
#include <cstdlib>
#include <emmintrin.h>
#include <functional>
#include <memory>
#include <time.h>
#include <vector>

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

static double Microseconds()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) * 1e-3;
}

using Form = std::function<void()>;

static void TimeForm(const Form& form, double* shortest)
{
    double start = Microseconds();
    form();
    *shortest = std::min(*shortest, Microseconds() - start);
}

/// @param reads   may be empty
static void Compare(benchmark::State& state, const Form& plain, const Form& engine,
                    const Form& reads)
{
    double plainTime = 1e30;
    double engineTime = 1e30;
    double readsTime = 1e30;
    while (state.KeepRunning())
    {
        TimeForm(plain, &plainTime);
        TimeForm(engine, &engineTime);
        if (reads)
        {
            TimeForm(reads, &readsTime);
        }
    }
    state.counters["plain_us"] = plainTime;
    state.counters["engine_us"] = engineTime;
    state.counters["times_faster"] = plainTime / engineTime;
    if (reads)
    {
        state.counters["reads_us"] = readsTime;
        state.counters["of_reads"] = engineTime / readsTime;
    }
}

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

/// Look-ups of single floats, `reads` of them a pixel.
template <uint32_t reads>
static float ReadFloats(const ReadPlan& plan, uint32_t side)
{
    float sum[2][reads] = {};
    for (uint32_t y = 0; y < side; ++y)
    {
        for (uint32_t x = 0; x < side; x += 2)
        {
            for (uint32_t read = 0; read < reads; ++read)
            {
                const uint32_t* places = plan.places.data() + read * side + x;
                sum[0][read] += CosTable[places[0]];
                sum[1][read] += CosTable[places[1]];
            }
        }
    }
    float all = 0.0f;
    for (uint32_t read = 0; read < reads; ++read)
    {
        all += sum[0][read] + sum[1][read];
    }
    return all;
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
    Compare(
        state, [&] { PlainEffect1(side, bpp, step, image.data()); },
        [&] {
            RenderEffect1(static_cast<int32_t>(side), static_cast<uint8_t>(bpp), step,
                          image.data());
        },
        [&] {
            benchmark::DoNotOptimize(bpp == 24 ? ReadFloats<6>(plan, side)
                                               : ReadFloats<2>(plan, side));
        });
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
    Compare(
        state, [&] { PlainRotate(side, bpp, step, image.data()); },
        [&] {
            RenderRotate(static_cast<int32_t>(side), static_cast<uint8_t>(bpp), step, image.data());
        },
        [&]
        {
            if (bpp == 24)
            {
                benchmark::DoNotOptimize(ReadRows(plan, side, uRows.data(), vRows.data()));
            }
            else
            {
                benchmark::DoNotOptimize(ReadFloats<2>(plan, side));
            }
        });
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
    double shortest = 1e30;
    while (state.KeepRunning())
    {
        TimeForm(
            [&]
            {
                for (float other : {0.0f, 50.0f, 100.0f, 150.0f})
                {
                    RenderEffect1(512, 24, step + other, image.data());
                    RenderRotate(512, 24, step + other, image.data());
                }
            },
            &shortest);
        step += 1.0f;
    }
    state.counters["engine_us"] = shortest;
}
BENCHMARK(BenchFrameOfEightEffects);

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
    Compare(
        state,
        [&] {
            PlainNormals(mesh.vertexCount, mesh.indexCount, mesh.vertices, mesh.normals,
                         mesh.indices);
        },
        [&] { RecomputeNormals(&mesh, arena); }, nullptr);
}

static void BenchNormalsOf50000Vertices(benchmark::State& state)
{
    Sheet sheet(200, 250);
    CompareNormals(state, sheet.mesh, &sheet.arena);
}
BENCHMARK(BenchNormalsOf50000Vertices);

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
    // Without amplitude the coordinates stay what they are from run to run.
    Compare(
        state, [&] { PlainRipple(sheet.vertices.data(), count, 0.7f, 0.0f, 1.3f); },
        [&]
        {
            RippleCoordinates(sheet.vertices.data(), count,
                              static_cast<float>(0.7 * kCosStepsPerRadian),
                              static_cast<float>(1.3 * kCosStepsPerRadian), 0.0f);
        },
        nullptr);
}
BENCHMARK(BenchRippleOf50000Vertices);

/// Both, as a "Rippler" does them.
static void BenchRippleAndNormalsOf50000Vertices(benchmark::State& state)
{
    BuildCosTable();
    Sheet sheet(200, 250);
    const Mesh& mesh = sheet.mesh;
    const size_t count = sheet.vertices.size();
    Compare(
        state,
        [&]
        {
            PlainRipple(mesh.vertices, count, 0.7f, 0.0f, 1.3f);
            PlainNormals(mesh.vertexCount, mesh.indexCount, mesh.vertices, mesh.normals,
                         mesh.indices);
        },
        [&]
        {
            RippleCoordinates(mesh.vertices, count, static_cast<float>(0.7 * kCosStepsPerRadian),
                              static_cast<float>(1.3 * kCosStepsPerRadian), 0.0f);
            RecomputeNormals(&mesh, &sheet.arena);
        },
        nullptr);
}
BENCHMARK(BenchRippleAndNormalsOf50000Vertices);

/// Normals of so many meshes in turn: the time of each must not grow with their number.
static void BenchNormalsOfManyMeshes(benchmark::State& state)
{
    std::vector<std::unique_ptr<Sheet>> sheets;
    for (int64_t i = 0; i < state.range(0); ++i)
    {
        sheets.push_back(std::make_unique<Sheet>(40, 50));
    }
    double shortest = 1e30;
    while (state.KeepRunning())
    {
        TimeForm(
            [&]
            {
                for (const std::unique_ptr<Sheet>& sheet : sheets)
                {
                    RecomputeNormals(&sheet->mesh, &sheet->arena);
                }
            },
            &shortest);
    }
    state.counters["us_each"] = shortest / static_cast<double>(state.range(0));
}
BENCHMARK(BenchNormalsOfManyMeshes)->Arg(1)->Arg(32)->Arg(33)->Arg(64);
