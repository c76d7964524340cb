// SPDX-License-Identifier: MIT

// Textures in the plain form of their rules, as the engine makes them with each instruction set,
// and by other libraries, side by side in one run: `bench_textures --benchmark_filter=Blur`.
//
// The forms of a row take turns in one thread, and the counters give the shortest time of each in
// microseconds. OpenCV is among them where QUORVALE_BENCH_OPENCV is on.
#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <utility>
#include <vector>

#include "compare.h"
#include "engine/data/cos_table.h"
#include "engine/textures/corner_masks.h"
#include "engine/textures/layer_generator.h"
#include "engine/textures/mip_chain.h"
#include "engine/textures/plain_textures.h"
#include "engine/textures/random_values.h"
#include "engine/textures/texture_steps.h"
#include "engine/vectors/instruction_sets.h"
#include "mip_peers.h"

#ifdef QUORVALE_BENCH_OPENCV
#include "opencv_textures.h"
#endif

using Bytes = std::vector<uint8_t>;
using Params = std::vector<float>;

static constexpr int32_t kSide = 256;

static Bytes RandomImage(int32_t size, int32_t components)
{
    RandomSource random;
    Bytes image(static_cast<size_t>(size) * static_cast<size_t>(size) *
                static_cast<size_t>(components));
    for (uint8_t& byte : image)
    {
        byte = static_cast<uint8_t>(NextWord(random) >> 11);
    }
    return image;
}

/// The engine's form with each instruction set that this processor has. The one of gathers differs
/// from AVX2 in nothing here.
static void AddEngineForms(const std::function<void()>& run, std::vector<Form>* forms)
{
    for (const InstructionSet set : {kSse2, kAvx2})
    {
        if (CanRunInstructionSet(set))
        {
            const char* name = InstructionSetNames[set];
            forms->push_back({name, run,
                              [name]
                              {
                                  setenv("QUORVALE_INSTRUCTIONS", name, 1);
                              }});
        }
    }
}

/// Runs the forms, and builds the tables before.
/// @param peers   forms of other libraries
static void CompareTextures(benchmark::State& state, const std::function<void()>& plain,
                            const std::function<void()>& engine, const std::vector<Form>& peers)
{
    BuildCosTable();
    BuildCornerMasks();
    std::vector<Form> forms = {{"plain", plain}};
    AddEngineForms(engine, &forms);
    forms.insert(forms.end(), peers.begin(), peers.end());
    CompareForms(state, forms);
    unsetenv("QUORVALE_INSTRUCTIONS");
}

/// What OpenCV has that comes near a step; null for none.
using PeerStep = void (*)(const uint8_t* image, const uint8_t* layer, uint8_t* out);

static void BenchStep(benchmark::State& state, int32_t type, Params params, PeerStep peer)
{
    params.resize(9, 1.0f);
    Bytes image = RandomImage(kSide, 3);
    const Bytes layer = RandomImage(kSide, 3);
    Bytes out(image.size());
    Arena scratch = {};
    std::vector<Form> peers;
    if (peer != nullptr)
    {
        peers.push_back({"opencv", [&]
                         {
                             peer(image.data(), layer.data(), out.data());
                         }});
    }
    CompareTextures(
        state, [&] { PlainTextureStep(type, params.data(), layer.data(), kSide, image.data()); },
        [&] { ApplyTextureStep(type, params.data(), layer.data(), kSide, image.data(), &scratch); },
        peers);
    FreeArena(&scratch);
}

static void BenchLayer(benchmark::State& state, uint32_t type, Params params)
{
    params.resize(kLayerParams);
    Bytes image(static_cast<size_t>(kSide) * kSide * 3);
    LayerImage layer = {};
    layer.type = type;
    std::copy(params.begin(), params.end(), layer.params);
    layer.pixels = image.data();
    CompareTextures(
        state, [&] { PlainGenerateLayer(type, params.data(), kSide, image.data()); },
        [&] { GenerateLayer(&layer, kSide); }, {});
}

static void LookAtLevel(void* /*user*/, int /*width*/, int /*height*/, const uint8_t* pixels)
{
    benchmark::DoNotOptimize(pixels);
    benchmark::ClobberMemory();
}

/// Makes a chain in two blocks that take turns, as the player does.
static void MakeChain(int32_t size, const Bytes& image, int32_t components)
{
    MipSize level = FirstMipSize(size, size);
    uint8_t* block = static_cast<uint8_t*>(malloc(LevelBytes(level, components)));
    uint8_t* other = static_cast<uint8_t*>(malloc(LevelBytes(NextMipSize(level), components)));
    const uint8_t* source = image.data();
    while (true)
    {
        FillMipLevel(source, level, components, block);
        LookAtLevel(nullptr, level.width, level.height, block);
        if (level.width == 1 && level.height == 1)
        {
            break;
        }
        level = NextMipSize(level);
        source = block;
        std::swap(block, other);
    }
    free(other);
    free(block);
}

static void BenchMipChain(benchmark::State& state, int32_t size, int32_t components)
{
    const Bytes image = RandomImage(size, components);
    Bytes out(image.size());
    std::vector<Form> peers = {
        {"stb",
         [&]
         {
             StbChain(size, components, image.data(), out.data());
         }},
        {"glu",
         [&]
         {
             GluChain(size, components, image.data(), out.data());
         }},
    };
#ifdef QUORVALE_BENCH_OPENCV
    peers.push_back({"opencv", [&]
                     {
                         OpenCvAreaChain(size, components, image.data(), out.data());
                     }});
#endif
    CompareTextures(
        state, [&] { PlainMipChain(size, size, image.data(), components, LookAtLevel, nullptr); },
        [&] { MakeChain(size, image, components); }, peers);
}

// A load: 80 layers of all generators, 40 textures of 6 steps of all kinds, a chain for each.

struct LoadStep
{
    int32_t type;
    float params[9];
};

static constexpr LoadStep kLoadSteps[] = {
    {101, {0.7f, 0.5f}}, {204, {0.05f, 0.03f, 3, 2}},
    {102, {0.005f}},     {205, {}},
    {103, {0.9f, 0.6f}}, {207, {0.1f, 0.1f, 0.1f, 0.1f, 0.3f, 0.1f, 0.1f, 0.1f, 0.1f}},
    {104, {1.5f, 1.2f}}, {206, {2}},
    {201, {}},           {202, {1.1f}},
    {203, {17, 40}},
};

static constexpr float kLoadParams[6][11] = {
    {0.2f, 0.4f, 0.6f},
    {1, 0.7f, 0.4f, 2.3f, 1.7f},
    {1, 0.9f, 0.2f, 0, 0.1f, 0.5f, 1.2f, 20},
    {0.9f, 0.5f, 0.7f, 3, 1234, 0.5f},
    {0.7f, 0.3f, 0.2f, 0.6f, 0.6f, 0.55f, 9, 5, 2, 3, 26},
    {1, 0.8f, 0.6f, 4711},
};

/// Makes a whole load.
/// @param isPlain   in the plain form
static void MakeLoad(bool isPlain, std::vector<Bytes>* pixels, Bytes* work, Arena* scratch)
{
    for (uint32_t i = 0; i < 80; ++i)
    {
        LayerImage layer = {};
        layer.type = i % 6;
        std::copy(kLoadParams[i % 6], kLoadParams[i % 6] + 11, layer.params);
        layer.pixels = (*pixels)[i].data();
        if (isPlain)
        {
            PlainGenerateLayer(layer.type, layer.params, kSide, layer.pixels);
        }
        else
        {
            GenerateLayer(&layer, kSide);
        }
    }
    uint32_t stepNumber = 0;
    for (uint32_t texture = 0; texture < 40; ++texture)
    {
        std::fill(work->begin(), work->end(), uint8_t{0});
        for (uint32_t i = 0; i < 6; ++i)
        {
            const LoadStep& step = kLoadSteps[stepNumber % std::size(kLoadSteps)];
            const uint8_t* layer = (*pixels)[stepNumber % 80].data();
            stepNumber += 1;
            if (isPlain)
            {
                PlainTextureStep(step.type, step.params, layer, kSide, work->data());
            }
            else
            {
                ApplyTextureStep(step.type, step.params, layer, kSide, work->data(), scratch);
            }
        }
        if (isPlain)
        {
            PlainMipChain(kSide, kSide, work->data(), 3, LookAtLevel, nullptr);
        }
        else
        {
            MakeChain(kSide, *work, 3);
        }
    }
}

static void BenchLoad(benchmark::State& state)
{
    const size_t imageBytes = static_cast<size_t>(kSide) * kSide * 3;
    std::vector<Bytes> pixels(80, Bytes(imageBytes));
    Bytes work(imageBytes);
    Arena scratch = {};
    CompareTextures(
        state, [&] { MakeLoad(true, &pixels, &work, &scratch); },
        [&] { MakeLoad(false, &pixels, &work, &scratch); }, {});
    FreeArena(&scratch);
}

#ifdef QUORVALE_BENCH_OPENCV
static void PeerAdd(const uint8_t* image, const uint8_t* layer, uint8_t* out)
{
    OpenCvAddWeighted(kSide, image, 0.7f, layer, 0.35f, out);
}

static void PeerBlur(const uint8_t* image, const uint8_t* /*layer*/, uint8_t* out)
{
    OpenCvBlur(kSide, image, out);
}

static void PeerEmboss(const uint8_t* image, const uint8_t* /*layer*/, uint8_t* out)
{
    static constexpr float kKernel[9] = {-2, -1, 0, -1, 1, 1, 0, 1, 2};
    OpenCvFilter(kSide, image, kKernel, out);
}

static void PeerConvolution(const uint8_t* image, const uint8_t* /*layer*/, uint8_t* out)
{
    static constexpr float kKernel[9] = {0.1f, 0.2f, 0.1f, 0.05f, 0.3f, 0.05f, -0.1f, 0.2f, 0.1f};
    OpenCvFilter(kSide, image, kKernel, out);
}
#else
static constexpr PeerStep PeerAdd = nullptr;
static constexpr PeerStep PeerBlur = nullptr;
static constexpr PeerStep PeerEmboss = nullptr;
static constexpr PeerStep PeerConvolution = nullptr;
#endif

BENCHMARK_CAPTURE(BenchLayer, Color, 0, Params{0.2f, 0.4f, 0.6f});
BENCHMARK_CAPTURE(BenchLayer, Sinus_plasma, 1, Params{1, 0.7f, 0.4f, 2.3f, 1.7f});
BENCHMARK_CAPTURE(BenchLayer, Radial_colors, 2, Params{1, 0.9f, 0.2f, 0, 0.1f, 0.5f, 1.2f, 20});
BENCHMARK_CAPTURE(BenchLayer, Maze_size_1, 3, Params{0.9f, 0.5f, 0.7f, 1, 1234, 0.5f});
BENCHMARK_CAPTURE(BenchLayer, Maze_size_3, 3, Params{0.9f, 0.5f, 0.7f, 3, 1234, 0.5f});
BENCHMARK_CAPTURE(BenchLayer, Maze_size_6, 3, Params{0.9f, 0.5f, 0.7f, 6, 1234, 0.5f});
BENCHMARK_CAPTURE(BenchLayer, Bricks, 4,
                  Params{0.7f, 0.3f, 0.2f, 0.6f, 0.6f, 0.55f, 9, 5, 2, 3, 26});
BENCHMARK_CAPTURE(BenchLayer, Noise, 5, Params{1, 0.8f, 0.6f, 4711});
BENCHMARK_CAPTURE(BenchStep, Add, 101, Params{0.7f, 0.35f}, PeerAdd);
BENCHMARK_CAPTURE(BenchStep, Multiply_layer, 102, Params{0.005f}, nullptr);
BENCHMARK_CAPTURE(BenchStep, Maximum, 103, Params{0.9f, 0.6f}, nullptr);
BENCHMARK_CAPTURE(BenchStep, Minimum, 104, Params{1.5f, 1.2f}, nullptr);
BENCHMARK_CAPTURE(BenchStep, Invert, 201, Params{}, nullptr);
BENCHMARK_CAPTURE(BenchStep, Multiply, 202, Params{1.1f}, nullptr);
BENCHMARK_CAPTURE(BenchStep, Offset, 203, Params{17, 40}, nullptr);
BENCHMARK_CAPTURE(BenchStep, Ripple, 204, Params{0.05f, 0.03f, 3, 2}, nullptr);
BENCHMARK_CAPTURE(BenchStep, Blur, 205, Params{}, PeerBlur);
BENCHMARK_CAPTURE(BenchStep, Emboss, 206, Params{1}, PeerEmboss);
BENCHMARK_CAPTURE(BenchStep, Convolution, 207,
                  Params{0.1f, 0.2f, 0.1f, 0.05f, 0.3f, 0.05f, -0.1f, 0.2f, 0.1f}, PeerConvolution);
BENCHMARK_CAPTURE(BenchMipChain, 1024x1024x4, 1024, 4);
BENCHMARK_CAPTURE(BenchMipChain, 256x256x3, 256, 3);
BENCHMARK(BenchLoad);
