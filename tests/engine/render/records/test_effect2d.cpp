// SPDX-License-Identifier: MIT
#include "engine/render/records/effect2d.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "engine/animation/make_envelope.h"
#include "engine/data/cos_table.h"
#include "engine/data/fault.h"
#include "engine/data/random_sequence.h"
#include "engine/textures/plain_effects.h"
#include "support/failing_memory.h"
#include "support/fault_text.h"
#include "support/moving_values.h"

/// An effect read from an item's text, its state, and envelopes that drive it.
struct EffectFixture
{
    EffectFixture()
    {
        BuildCosTable();
        context.faults = &values.faults;
        SeedRandom(&random, 1);
    }
    ~EffectFixture()
    {
        ReleaseEffect2DState(&state);
    }
    EffectFixture(const EffectFixture&) = delete;
    EffectFixture& operator=(const EffectFixture&) = delete;

    bool ReadItem(const std::string& text)
    {
        TiXmlDocument document;
        document.Parse(text.c_str());
        memset(static_cast<void*>(&effect), 0xEE, sizeof(Effect2D)); // as rubbish as memory gets
        values.faults.place = PlaceAt("demo.xmlz", Section::kEffects, 1);
        return ReadEffect2DItem(document.FirstChildElement(), &effect, 0, &context);
    }

    const Effect2D* Read(const std::string& text)
    {
        EXPECT_TRUE(ReadItem(text));
        EXPECT_EQ(FaultText(values.faults), "");
        return &effect;
    }

    /// Starts the state of the effect that was read last.
    void Init()
    {
        ReleaseEffect2DState(&state);
        EXPECT_TRUE(InitEffect2D(&effect, &state, &random, &values.faults));
    }

    std::vector<uint8_t> Image(float first)
    {
        const float params[3] = {first, 0.0f, 0.0f};
        std::vector<uint8_t> image(EffectImageBytes(&effect));
        RenderEffect2D(&effect, params, &state, &random, image.data());
        return image;
    }

    std::vector<float> FirstParams()
    {
        std::vector<float> params(kEffectParams, -1.0f);
        EXPECT_TRUE(EvaluateFirstParams(&effect, &values.animation, params.data()));
        return params;
    }

    std::vector<float> Params(uint32_t time)
    {
        std::vector<float> params(kEffectParams, -1.0f);
        EXPECT_TRUE(EvaluateEffectParams(1, &effect, &values.animation, time, params.data()));
        return params;
    }

    MovingValues values;
    ReadContext context = {};
    Effect2D effect;
    EffectState state = {};
    RandomSequence random;
};

/// @return kEffectParams values: those given, and 0 after them
static std::vector<float> ParamsOf(std::vector<float> given)
{
    given.resize(kEffectParams, 0.0f);
    return given;
}

// ---- Reading

TEST(Effect2D, IsReadWithItsNameTypeSizeDepthAndParameters)
{
    EffectFixture fixture;
    const Effect2D* effect =
        fixture.Read("<e name=\"glow\" type=\"0\" resolution=\"128x128\" bpp=\"8\">"
                     "<p>2</p><p>1</p><p>7</p><q/><p>9</p></e>");
    EXPECT_STREQ(effect->name, "glow");
    EXPECT_EQ(effect->type, 0);
    EXPECT_EQ(effect->width, 128);
    EXPECT_EQ(effect->height, 128);
    EXPECT_EQ(effect->bpp, 8);
    EXPECT_EQ(effect->paramEnvelope[0], 2u);
    EXPECT_EQ(effect->paramEnvelope[1], 1u);
    EXPECT_EQ(effect->paramEnvelope[2], 7u);
    EXPECT_EQ(effect->paramEnvelope[3], 0u);
    EXPECT_EQ(fixture.values.faults.place.part, 0u);
}

TEST(Effect2D, ResolutionsOtherThanThreeLiteralsAre512)
{
    EffectFixture fixture;
    const struct
    {
        const char* attribute;
        int32_t side;
    } cases[] = {
        {"resolution=\"64x64\"", 64},
        {"resolution=\"128x128\"", 128},
        {"resolution=\"256x256\"", 256},
        {"resolution=\"512x512\"", 512},
        {"resolution=\"1024x1024\"", 512},
        {"resolution=\"64X64\"", 512},
        {"resolution=\" 64x64\"", 512},
        {"resolution=\"\"", 512},
        {"", 512},
    };
    for (const auto& c : cases)
    {
        const Effect2D* effect = fixture.Read(std::string("<e name=\"\" type=\"0\" bpp=\"8\" ") +
                                              c.attribute + "><p>0</p></e>");
        EXPECT_EQ(effect->width, c.side) << c.attribute;
        EXPECT_EQ(effect->height, c.side) << c.attribute;
    }
}

TEST(Effect2D, DepthsOtherThanEightAre24)
{
    EffectFixture fixture;
    for (const char* bpp : {"24", "16", "08", "", "8 "})
    {
        const Effect2D* effect =
            fixture.Read(std::string("<e name=\"\" type=\"0\" resolution=\"64x64\" bpp=\"") + bpp +
                         "\"><p>0</p></e>");
        EXPECT_EQ(effect->bpp, 24) << bpp;
    }
}

TEST(Effect2D, ALongNameKeepsWhatFits)
{
    EffectFixture fixture;
    const Effect2D* effect = fixture.Read("<e name=\"0123456789012345678901234567890123456789\" "
                                          "type=\"3\" resolution=\"64x64\" bpp=\"8\"><p>0</p></e>");
    EXPECT_STREQ(effect->name, "0123456789012345678901234567890");
    EXPECT_EQ(effect->type, 3);
}

/// @return what is wrong with an item's text, from the item on
static std::string FaultOf(const std::string& text)
{
    EffectFixture fixture;
    EXPECT_FALSE(fixture.ReadItem(text));
    const std::string lines = FaultText(fixture.values.faults);
    const std::string place = "quorvale: demo.xmlz, section 5 (2D effects), ";
    EXPECT_EQ(lines.substr(0, place.size()), place);
    return lines.substr(place.size());
}

TEST(Effect2D, SomethingThatADocumentLacksIsAFaultAtItsPlace)
{
    EXPECT_EQ(FaultOf("<e name=\"\" type=\"0\" bpp=\"8\"/>"), "item 1: a parameter is missing\n");
    EXPECT_EQ(FaultOf("<e type=\"0\" bpp=\"8\"><p>0</p></e>"),
              "item 1: attribute \"name\" of <e> is missing\n");
    EXPECT_EQ(FaultOf("<e name=\"\"><p>0</p></e>"), // of two, the one that is asked for first
              "item 1: attribute \"type\" of <e> is missing\n");
    EXPECT_EQ(FaultOf("<e name=\"\" type=\"0\"><p>0</p></e>"),
              "item 1: attribute \"bpp\" of <e> is missing\n");
    EXPECT_EQ(FaultOf("<e name=\"\" type=\"0\" bpp=\"8\"><p/></e>"),
              "item 1, parameter 1: <p> has no text\n");

    std::string text = "<e name=\"\" type=\"0\" bpp=\"8\">";
    for (int i = 0; i < 33; ++i)
    {
        text += "<p>0</p>";
    }
    EXPECT_EQ(FaultOf(text + "</e>"), "item 1, parameter 33: more than 32 parameters\n");
}

TEST(Effect2D, AnImageIsItsPixelsWithoutPadding)
{
    EffectFixture fixture;
    EXPECT_EQ(EffectImageBytes(fixture.Read(
                  "<e name=\"\" type=\"0\" resolution=\"64x64\" bpp=\"8\"><p>0</p></e>")),
              4096u);
    EXPECT_EQ(EffectImageBytes(fixture.Read("<e name=\"\" type=\"0\" bpp=\"24\"><p>0</p></e>")),
              786432u);
}

// ---- Parameters

TEST(Effect2D, AtLoadTwoParametersOfType0AndOneOfOthersCount)
{
    EffectFixture fixture;
    fixture.values.Add(MakeOnePiece(kFunctionConstant, {30.0f}));
    fixture.values.Add(MakeOnePiece(kFunctionConstant, {4.0f}));
    fixture.Read("<e name=\"\" type=\"0\" bpp=\"24\"><p>1</p><p>2</p><p>77</p></e>");
    EXPECT_EQ(fixture.FirstParams(), ParamsOf({30.0f, 4.0f}));

    // The envelope of a second parameter does not exist, and these never ask for it.
    for (const char* type : {"1", "2", "3"})
    {
        fixture.Read(std::string("<e name=\"\" type=\"") + type +
                     "\" bpp=\"8\"><p>1</p><p>77</p></e>");
        EXPECT_EQ(fixture.FirstParams(), ParamsOf({30.0f}));
    }
    EXPECT_EQ(fixture.values.faults.place.part, 0u);
}

TEST(Effect2D, AtLoadAParameterOfZeroEndsTheEvaluation)
{
    EffectFixture fixture;
    fixture.values.Add(MakeOnePiece(kFunctionConstant, {30.0f}));
    fixture.Read("<e name=\"\" type=\"0\" bpp=\"24\"><p>0</p><p>1</p></e>");
    EXPECT_EQ(fixture.FirstParams(), ParamsOf({}));
}

TEST(Effect2D, AtLoadTheTimeIsZero)
{
    EffectFixture fixture;
    fixture.values.Add(MakeOnePiece(kFunctionLinear, {1.0f, 17.0f}));
    fixture.Read("<e name=\"\" type=\"0\" bpp=\"8\"><p>1</p></e>");
    EXPECT_EQ(fixture.FirstParams(), ParamsOf({17.0f}));
}

TEST(Effect2D, AtLoadAnUnknownTypeLooksUpNothing)
{
    EffectFixture fixture;
    for (const char* type : {"4", "-1", "2000000000"})
    {
        fixture.Read(std::string("<e name=\"\" type=\"") + type + "\" bpp=\"24\"><p>5</p></e>");
        EXPECT_EQ(fixture.FirstParams(), ParamsOf({}));
    }
}

TEST(Effect2D, AtLoadAMissingEnvelopeIsAFaultAtItsParameter)
{
    EffectFixture fixture;
    fixture.Read("<e name=\"\" type=\"1\" bpp=\"8\"><p>4</p></e>");
    float params[kEffectParams];
    EXPECT_FALSE(EvaluateFirstParams(&fixture.effect, &fixture.values.animation, params));
    EXPECT_EQ(FaultText(fixture.values.faults),
              "quorvale: demo.xmlz, section 5 (2D effects), item 1, parameter 1: envelope 4 does "
              "not exist\n");
}

TEST(Effect2D, InPlayAParameterOfZeroStaysZeroAndEndsNothing)
{
    EffectFixture fixture;
    fixture.values.Add(MakeOnePiece(kFunctionConstant, {30.0f}));
    fixture.Read("<e name=\"\" type=\"0\" bpp=\"24\"><p>0</p><p>1</p></e>");
    EXPECT_EQ(fixture.Params(0), ParamsOf({0.0f, 30.0f}));
}

TEST(Effect2D, InPlayTwoParametersOfType0AndOneOfOthersCount)
{
    EffectFixture fixture;
    fixture.values.Add(MakeOnePiece(kFunctionLinear, {1.0f, 0.0f}));
    fixture.Read("<e name=\"\" type=\"0\" bpp=\"8\"><p>1</p><p>1</p><p>1</p></e>");
    EXPECT_EQ(fixture.Params(9), ParamsOf({9.0f, 9.0f}));
    for (const char* type : {"1", "2", "3"})
    {
        fixture.Read(std::string("<e name=\"\" type=\"") + type +
                     "\" bpp=\"8\"><p>1</p><p>77</p></e>");
        EXPECT_EQ(fixture.Params(8), ParamsOf({8.0f}));
    }
}

TEST(Effect2D, TheTimePassesThroughAFloatOnItsWay)
{
    EffectFixture fixture;
    fixture.values.Add(MakeOnePiece(kFunctionLinear, {1.0f, 0.0f}));
    fixture.Read("<e name=\"\" type=\"1\" bpp=\"8\"><p>1</p></e>");
    fixture.Params(16777217);
    EXPECT_EQ(fixture.values.caches[0].lastTime, 16777216u);
}

TEST(Effect2D, InPlayAMissingEnvelopeIsAFaultOfTheEffect)
{
    EffectFixture fixture;
    fixture.Read("<e name=\"\" type=\"0\" bpp=\"8\"><p>0</p><p>12</p></e>");
    const Place place = PlaceAt("demo.xmlz", Section::kScenes, 3, 2);
    fixture.values.faults.place = place;
    float params[kEffectParams];
    EXPECT_FALSE(EvaluateEffectParams(7, &fixture.effect, &fixture.values.animation, 0, params));
    EXPECT_EQ(FaultText(fixture.values.faults),
              "quorvale: demo.xmlz, section 5 (2D effects), item 7, parameter 2: envelope 12 does "
              "not exist\n");
    EXPECT_TRUE(ArePlacesEqual(fixture.values.faults.place, place)); // the caller's again
}

// ---- State

TEST(Effect2D, AStateStartsWithoutARefresh)
{
    EffectFixture fixture;
    for (const char* type : {"0", "1", "2", "3", "4", "-1"})
    {
        fixture.Read(std::string("<e name=\"\" type=\"") + type +
                     "\" resolution=\"64x64\" bpp=\"8\"><p>0</p></e>");
        fixture.Init();
        EXPECT_EQ(fixture.state.lastUpdate, 0xFFFF);
        const bool hasState =
            fixture.effect.type == kEffectTest || fixture.effect.type == kEffectAmoba;
        EXPECT_EQ(fixture.state.state != nullptr, hasState) << type;
        EXPECT_EQ(fixture.state.stateSize != 0, hasState) << type;
    }
}

TEST(Effect2D, TheTestEffectCountsItsImagesInOneByte)
{
    EffectFixture fixture;
    fixture.Read("<e name=\"\" type=\"0\" resolution=\"64x64\" bpp=\"8\"><p>0</p></e>");
    fixture.Init();
    EXPECT_EQ(fixture.state.stateSize, 8u);
    const uint8_t* count = static_cast<const uint8_t*>(fixture.state.state);
    for (int i = 0; i < 255; ++i)
    {
        fixture.Image(0.0f);
    }
    EXPECT_EQ(count[0], 255);
    fixture.Image(0.0f);
    EXPECT_EQ(count[0], 0);
    EXPECT_EQ(count[1], 0);
}

TEST(Effect2D, AStateWithoutMemoryIsAFaultAndEmpty)
{
    EffectFixture fixture;
    fixture.Read("<e name=\"\" type=\"2\" resolution=\"64x64\" bpp=\"8\"><p>0</p></e>");
    const RandomSequence before = fixture.random;
    FailAllocation(1);
    const bool started =
        InitEffect2D(&fixture.effect, &fixture.state, &fixture.random, &fixture.values.faults);
    AllowAllocations();
    EXPECT_FALSE(started);
    EXPECT_EQ(fixture.state.state, nullptr);
    EXPECT_EQ(fixture.state.stateSize, 0u);
    EXPECT_TRUE(HasFailed(&fixture.values.faults));
    EXPECT_EQ(memcmp(&before, &fixture.random, sizeof(before)), 0);
}

TEST(Effect2D, ACopyOfAStateWithoutMemoryIsAFaultAndEmpty)
{
    EffectFixture fixture;
    fixture.Read("<e name=\"\" type=\"2\" resolution=\"64x64\" bpp=\"8\"><p>0</p></e>");
    fixture.Init();
    EffectState copy = {};
    FailAllocation(1);
    const bool copied = CopyEffectState(&fixture.state, &copy, &fixture.values.faults);
    AllowAllocations();
    EXPECT_FALSE(copied);
    EXPECT_EQ(copy.state, nullptr);
}

// ---- Images

TEST(Effect2D, RotateShowsItsParameterAtBothDepths)
{
    for (const uint32_t bpp : {8u, 24u})
    {
        EffectFixture fixture;
        fixture.Read("<e name=\"\" type=\"3\" resolution=\"64x64\" bpp=\"" + std::to_string(bpp) +
                     "\"><p>0</p></e>");
        fixture.Init();
        std::vector<uint8_t> plain(size_t{64} * 64 * bpp / 8);
        PlainRotate(64, bpp, 250.0f, plain.data());
        EXPECT_EQ(fixture.Image(250.0f), plain);
    }
}

TEST(Effect2D, At8BitsTheSecondParameterOfTheTestEffectIsIdle)
{
    EffectFixture fixture;
    fixture.values.Add(MakeOnePiece(kFunctionConstant, {30.0f}));
    fixture.Read("<e name=\"\" type=\"0\" resolution=\"64x64\" bpp=\"8\">"
                 "<p>1</p><p>1</p><p>1</p></e>");
    fixture.Init();
    for (const std::vector<float>& params : {fixture.FirstParams(), fixture.Params(0)})
    {
        std::vector<uint8_t> image(64 * 64);
        RenderEffect2D(&fixture.effect, params.data(), &fixture.state, &fixture.random,
                       image.data());
        EXPECT_EQ(image[0], 30);
    }
}

TEST(Effect2D, AnUnknownTypeRendersNothing)
{
    EffectFixture fixture;
    const float params[3] = {1.0f, 2.0f, 3.0f};
    for (const char* type : {"4", "-1", "2147483647"})
    {
        fixture.Read(std::string("<e name=\"\" type=\"") + type +
                     "\" resolution=\"64x64\" bpp=\"8\"><p>0</p></e>");
        fixture.Init();
        std::vector<uint8_t> image(64 * 64, 77);
        RenderEffect2D(&fixture.effect, params, &fixture.state, &fixture.random, image.data());
        EXPECT_EQ(image, std::vector<uint8_t>(64 * 64, 77));
    }
}

// ---- "Amoba"

/// An "Amoba" of 64 by 64 at 8 bits, and its first image.
struct AmobaFixture : EffectFixture
{
    AmobaFixture()
    {
        Read("<e name=\"\" type=\"2\" resolution=\"64x64\" bpp=\"8\"><p>0</p></e>");
        Init();
        seeds = Image(0.0f);
    }

    float LastStep() const
    {
        return static_cast<const AmobaState*>(state.state)->lastStep;
    }

    /// How many steps an image costs, by the random numbers that it draws: 1024 each.
    int StepsOf(float update)
    {
        SeedRandom(&random, 123);
        RandomSequence counted = random;
        Image(update);
        for (int steps = 0; steps < 4; ++steps)
        {
            if (memcmp(&counted, &random, sizeof(random)) == 0)
            {
                return steps;
            }
            for (int i = 0; i < 1024; ++i)
            {
                NextRandom(&counted);
            }
        }
        return -1;
    }

    std::vector<uint8_t> seeds;
};

TEST(AmobaEffect, BelowOneInMagnitudeItNeverSteps)
{
    AmobaFixture amoba;
    for (float update : {0.0f, 0.5f, 0.999f, -0.5f, -0.999f})
    {
        EXPECT_EQ(amoba.StepsOf(update), 0);
        EXPECT_EQ(amoba.Image(update), amoba.seeds);
    }
}

TEST(AmobaEffect, StepsOnceWheneverTheWholePartOfUpdateChanges)
{
    AmobaFixture amoba;
    EXPECT_EQ(amoba.StepsOf(1.0f), 1);
    EXPECT_NE(amoba.Image(1.0f), amoba.seeds);
    EXPECT_EQ(amoba.LastStep(), 1.0f);

    EXPECT_EQ(amoba.StepsOf(3.9f), 1); // however far
    EXPECT_EQ(amoba.LastStep(), 3.0f);
    EXPECT_EQ(amoba.StepsOf(3.1f), 0);
    EXPECT_EQ(amoba.StepsOf(2.9f), 1); // either way
    EXPECT_EQ(amoba.LastStep(), 2.0f);
    EXPECT_EQ(amoba.StepsOf(2.0f), 0);
}

TEST(AmobaEffect, AnUpdatePastAllBoundsIsOneStep)
{
    AmobaFixture amoba;
    EXPECT_EQ(amoba.StepsOf(1e20f), 1);
    EXPECT_EQ(amoba.LastStep(), -2147483648.0f);
    EXPECT_EQ(amoba.StepsOf(-1e20f), 0);
}

TEST(AmobaEffect, IsThePlainOneFromASeedOf5)
{
    for (const uint32_t bpp : {8u, 24u})
    {
        EffectFixture fixture;
        fixture.Read("<e name=\"\" type=\"2\" resolution=\"128x128\" bpp=\"" + std::to_string(bpp) +
                     "\"><p>0</p></e>");
        fixture.Init();
        srand(5);
        PlainAmoba plain = MakePlainAmoba(128, bpp, rand);
        for (int frame = 0; frame < 60; ++frame)
        {
            const float update = static_cast<float>(frame) * 0.4f;
            PlainAmobaRender(&plain, update, rand);
            ASSERT_EQ(fixture.Image(update), plain.cells) << "frame " << frame;
        }
    }
}

TEST(AmobaEffect, ACopyOfItsStateGrowsLikeTheOriginal)
{
    AmobaFixture amoba;
    amoba.Image(1.0f);

    AmobaFixture copy;
    const void* block = copy.state.state;
    amoba.state.lastUpdate = 77;
    ASSERT_TRUE(CopyEffectState(&amoba.state, &copy.state, &copy.values.faults));
    copy.random = amoba.random;
    EXPECT_EQ(copy.state.state, block); // the memory of a state of the same size serves again
    EXPECT_EQ(copy.state.lastUpdate, 77);
    EXPECT_EQ(copy.LastStep(), 1.0f);

    const std::vector<uint8_t> kept = amoba.Image(1.0f);
    std::vector<uint8_t> grown;
    for (int step = 2; step < 9; ++step)
    {
        grown = copy.Image(static_cast<float>(step));
    }
    EXPECT_EQ(amoba.Image(1.0f), kept); // they share nothing
    EXPECT_NE(grown, kept);
    for (int step = 2; step < 8; ++step)
    {
        amoba.Image(static_cast<float>(step));
    }
    EXPECT_EQ(amoba.Image(8.0f), grown);
}
