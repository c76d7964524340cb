// Textures in the plain form of their rules and as the engine makes them, side by side in one run:
// `bench_textures --benchmark_filter=Blur`. What counts is the ratio of form 0, the plain one, to
// the others: 1 and up are the engine's, by instruction set, 1 being what every processor runs.
//
// A load is held against the parse of a document of 1 MB: making all textures of a large piece is
// to take no longer than twice that. With -DQUORVALE_BENCH_OPENCV=ON what OpenCV has that comes
// near is measured too.
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "engine/data/cos_table.h"
#include "engine/data/document_text.h"
#include "engine/textures/corner_masks.h"
#include "engine/textures/layer_generator.h"
#include "engine/textures/mip_chain.h"
#include "engine/textures/plain_textures.h"
#include "engine/textures/random_values.h"
#include "engine/textures/texture_steps.h"
#include "engine/vectors/instruction_sets.h"

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

/// Chooses the form that a benchmark's argument asks for and builds the tables.
/// @return false if this processor has no such form
static bool Prepare(benchmark::State& state)
{
    BuildCosTable();
    BuildCornerMasks();
    if (state.range(0) == 0)
    {
        state.SetLabel("plain");
        return true;
    }
    const InstructionSet set = static_cast<InstructionSet>(state.range(0) - 1);
    if (!CanRunInstructionSet(set))
    {
        state.SkipWithError("this processor cannot run it");
        return false;
    }
    setenv("QUORVALE_INSTRUCTIONS", InstructionSetNames[set], 1);
    state.SetLabel(InstructionSetNames[set]);
    return true;
}

static bool IsPlain(const benchmark::State& state)
{
    return state.range(0) == 0;
}

static void BenchStep(benchmark::State& state, int32_t type, Params params)
{
    if (!Prepare(state))
    {
        return;
    }
    params.resize(9, 1.0f);
    Bytes image = RandomImage(kSide, 3);
    Bytes layer = RandomImage(kSide, 3);
    Arena scratch = {};
    while (state.KeepRunning())
    {
        if (IsPlain(state))
        {
            PlainTextureStep(type, params.data(), layer.data(), kSide, image.data());
        }
        else
        {
            ApplyTextureStep(type, params.data(), layer.data(), kSide, image.data(), &scratch);
        }
        benchmark::DoNotOptimize(image.data());
        benchmark::ClobberMemory();
    }
    FreeArena(&scratch);
}

static void BenchLayer(benchmark::State& state, uint32_t type, Params params)
{
    if (!Prepare(state))
    {
        return;
    }
    params.resize(kLayerParams);
    Bytes image(static_cast<size_t>(kSide) * kSide * 3);
    LayerImage layer = {};
    layer.type = type;
    std::copy(params.begin(), params.end(), layer.params);
    layer.pixels = image.data();
    while (state.KeepRunning())
    {
        if (IsPlain(state))
        {
            PlainGenerateLayer(type, params.data(), kSide, image.data());
        }
        else
        {
            GenerateLayer(&layer, kSide);
        }
        benchmark::DoNotOptimize(image.data());
        benchmark::ClobberMemory();
    }
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
    if (!Prepare(state))
    {
        return;
    }
    const Bytes image = RandomImage(size, components);
    while (state.KeepRunning())
    {
        if (IsPlain(state))
        {
            PlainMipChain(size, size, image.data(), components, LookAtLevel, nullptr);
        }
        else
        {
            MakeChain(size, image, components);
        }
        benchmark::ClobberMemory();
    }
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

static void BenchLoad(benchmark::State& state)
{
    if (!Prepare(state))
    {
        return;
    }
    const size_t imageBytes = static_cast<size_t>(kSide) * kSide * 3;
    std::vector<Bytes> pixels(80, Bytes(imageBytes));
    Bytes work(imageBytes);
    Arena scratch = {};
    while (state.KeepRunning())
    {
        for (uint32_t i = 0; i < 80; ++i)
        {
            LayerImage layer = {};
            layer.type = i % 6;
            std::copy(kLoadParams[i % 6], kLoadParams[i % 6] + 11, layer.params);
            layer.pixels = pixels[i].data();
            if (IsPlain(state))
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
            memset(work.data(), 0, imageBytes);
            for (uint32_t i = 0; i < 6; ++i)
            {
                const LoadStep& step = kLoadSteps[stepNumber % std::size(kLoadSteps)];
                const uint8_t* layer = pixels[stepNumber % 80].data();
                stepNumber += 1;
                if (IsPlain(state))
                {
                    PlainTextureStep(step.type, step.params, layer, kSide, work.data());
                }
                else
                {
                    ApplyTextureStep(step.type, step.params, layer, kSide, work.data(), &scratch);
                }
            }
            if (IsPlain(state))
            {
                PlainMipChain(kSide, kSide, work.data(), 3, LookAtLevel, nullptr);
            }
            else
            {
                MakeChain(kSide, work, 3);
            }
        }
        benchmark::ClobberMemory();
    }
    FreeArena(&scratch);
}

static void BenchXml(benchmark::State& state)
{
    std::string text = "<?xml version=\"1.0\"?>\n";
    while (text.size() < 1000000)
    {
        text += "<envelopes>\n";
        for (int i = 0; i < 50; ++i)
        {
            text += "  <piece begin=\"" + std::to_string(i * 100) +
                    "\" length=\"100\">\n    "
                    "<p type=\"static\" value=\"0.25\"/>\n    <p>1.5</p>\n  </piece>\n";
        }
        text += "</envelopes>\n";
    }
    FaultList faults;
    StartFaults(&faults);
    while (state.KeepRunning())
    {
        TiXmlDocument document;
        LoadFromString(&document, reinterpret_cast<const unsigned char*>(text.data()),
                       static_cast<long>(text.size()), TIXML_ENCODING_UNKNOWN, &faults);
        benchmark::DoNotOptimize(document.FirstChild());
    }
}

/// What follows every benchmark of the plain form and the engine's.
#define EACH_FORM ArgName("form")->DenseRange(0, 2)->Unit(benchmark::kMicrosecond)

BENCHMARK_CAPTURE(BenchLayer, Color, 0, Params{0.2f, 0.4f, 0.6f})->EACH_FORM;
BENCHMARK_CAPTURE(BenchLayer, Sinus_plasma, 1, Params{1, 0.7f, 0.4f, 2.3f, 1.7f})->EACH_FORM;
BENCHMARK_CAPTURE(BenchLayer, Radial_colors, 2, Params{1, 0.9f, 0.2f, 0, 0.1f, 0.5f, 1.2f, 20})
    ->EACH_FORM;
BENCHMARK_CAPTURE(BenchLayer, Maze_size_1, 3, Params{0.9f, 0.5f, 0.7f, 1, 1234, 0.5f})->EACH_FORM;
BENCHMARK_CAPTURE(BenchLayer, Maze_size_3, 3, Params{0.9f, 0.5f, 0.7f, 3, 1234, 0.5f})->EACH_FORM;
BENCHMARK_CAPTURE(BenchLayer, Maze_size_6, 3, Params{0.9f, 0.5f, 0.7f, 6, 1234, 0.5f})->EACH_FORM;
BENCHMARK_CAPTURE(BenchLayer, Bricks, 4,
                  Params{0.7f, 0.3f, 0.2f, 0.6f, 0.6f, 0.55f, 9, 5, 2, 3, 26})
    ->EACH_FORM;
BENCHMARK_CAPTURE(BenchLayer, Noise, 5, Params{1, 0.8f, 0.6f, 4711})->EACH_FORM;
BENCHMARK_CAPTURE(BenchStep, Add, 101, Params{0.7f, 0.35f})->EACH_FORM;
BENCHMARK_CAPTURE(BenchStep, Multiply_layer, 102, Params{0.005f})->EACH_FORM;
BENCHMARK_CAPTURE(BenchStep, Maximum, 103, Params{0.9f, 0.6f})->EACH_FORM;
BENCHMARK_CAPTURE(BenchStep, Minimum, 104, Params{1.5f, 1.2f})->EACH_FORM;
BENCHMARK_CAPTURE(BenchStep, Invert, 201, Params{})->EACH_FORM;
BENCHMARK_CAPTURE(BenchStep, Multiply, 202, Params{1.1f})->EACH_FORM;
BENCHMARK_CAPTURE(BenchStep, Offset, 203, Params{17, 40})->EACH_FORM;
BENCHMARK_CAPTURE(BenchStep, Ripple, 204, Params{0.05f, 0.03f, 3, 2})->EACH_FORM;
BENCHMARK_CAPTURE(BenchStep, Blur, 205, Params{})->EACH_FORM;
BENCHMARK_CAPTURE(BenchStep, Emboss, 206, Params{1})->EACH_FORM;
BENCHMARK_CAPTURE(BenchStep, Convolution, 207,
                  Params{0.1f, 0.2f, 0.1f, 0.05f, 0.3f, 0.05f, -0.1f, 0.2f, 0.1f})
    ->EACH_FORM;
BENCHMARK_CAPTURE(BenchMipChain, 1024x1024x4, 1024, 4)->EACH_FORM;
BENCHMARK_CAPTURE(BenchMipChain, 256x256x3, 256, 3)->EACH_FORM;
BENCHMARK(BenchLoad)->EACH_FORM;
BENCHMARK(BenchXml)->Unit(benchmark::kMicrosecond);

#ifdef QUORVALE_BENCH_OPENCV
/// @param run   takes an image of 1024x1024x4 bytes, a layer of 256x256x3 and room for an image
static void BenchOpenCv(benchmark::State& state,
                        void (*run)(const uint8_t* image, const uint8_t* layer, uint8_t* out))
{
    const Bytes image = RandomImage(1024, 4);
    const Bytes layer = RandomImage(kSide, 3);
    Bytes out(image.size());
    while (state.KeepRunning())
    {
        run(image.data(), layer.data(), out.data());
        benchmark::ClobberMemory();
    }
}

static void OpenCvAdd(const uint8_t* image, const uint8_t* layer, uint8_t* out)
{
    OpenCvAddWeighted(kSide, image, 0.7f, layer, 0.35f, out);
}

static void OpenCvBlurImage(const uint8_t* image, const uint8_t* /*layer*/, uint8_t* out)
{
    OpenCvBlur(kSide, image, out);
}

static void OpenCvEmboss(const uint8_t* image, const uint8_t* /*layer*/, uint8_t* out)
{
    static constexpr float kKernel[9] = {-2, -1, 0, -1, 1, 1, 0, 1, 2};
    OpenCvFilter(kSide, image, kKernel, out);
}

static void OpenCvConvolution(const uint8_t* image, const uint8_t* /*layer*/, uint8_t* out)
{
    static constexpr float kKernel[9] = {0.1f, 0.2f, 0.1f, 0.05f, 0.3f, 0.05f, -0.1f, 0.2f, 0.1f};
    OpenCvFilter(kSide, image, kKernel, out);
}

static void OpenCvLargeChain(const uint8_t* image, const uint8_t* /*layer*/, uint8_t* out)
{
    OpenCvAreaChain(1024, 4, image, out);
}

static void OpenCvSmallChain(const uint8_t* image, const uint8_t* /*layer*/, uint8_t* out)
{
    OpenCvAreaChain(256, 3, image, out);
}

BENCHMARK_CAPTURE(BenchOpenCv, Add, OpenCvAdd)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BenchOpenCv, Blur, OpenCvBlurImage)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BenchOpenCv, Emboss, OpenCvEmboss)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BenchOpenCv, Convolution, OpenCvConvolution)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BenchOpenCv, 1024x1024x4, OpenCvLargeChain)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BenchOpenCv, 256x256x3, OpenCvSmallChain)->Unit(benchmark::kMicrosecond);
#endif
