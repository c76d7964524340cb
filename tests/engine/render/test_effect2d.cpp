#include "engine/render/effect2d.h"

#include <GL/glew.h>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "engine/animation/make_envelope.h"
#include "engine/data/cos_table.h"
#include "engine/data/fault.h"
#include "engine/render/material.h"
#include "engine/render/set_material.h"
#include "engine/textures/plain_effects.h"
#include "support/recorded_gl.h"

/// A table of effects read from items, beside a table of envelopes.
struct EffectFixture
{
    EffectFixture()
    {
        BuildCosTable();
        ResetGl();
        CurrentPlace = {"demo.xmlz", 5, 0, 0};
        demo.envelopes = CreateObjectTable(sizeof(Envelope));
        demo.effects = CreateObjectTable(sizeof(Effect2D));
        context.document = &demo;
        context.isDemo = true;
    }
    ~EffectFixture()
    {
        for (uint32_t id = 1; id <= demo.effects->count; ++id)
        {
            Effect2D* effect = Get(id);
            ReleaseEffect2DState(effect->type, effect->width, effect->height, effect->bpp,
                                 effect->state);
            free(effect->state);
        }
        FreeObjectTable(demo.effects);
        FreeObjectTable(demo.envelopes);
        CurrentPlace = {nullptr, kNoSection, 0, 0};
    }
    EffectFixture(const EffectFixture&) = delete;
    EffectFixture& operator=(const EffectFixture&) = delete;

    Effect2D* Get(uint32_t id)
    {
        return GetRecord<Effect2D>(id, demo.effects);
    }

    Effect2D* Read(const std::string& text)
    {
        TiXmlDocument document;
        document.Parse(text.c_str());
        uint32_t id = AllocateObject(demo.effects);
        memset(static_cast<void*>(Get(id)), 0xEE, sizeof(Effect2D)); // as a new record may be
        CurrentPlace.item = id;
        ReadEffect2DItem(document.FirstChildElement(), Get(id), id - 1, &context);
        return Get(id);
    }

    /// An envelope whose value is the time.
    uint32_t AddTime()
    {
        return Add(MakeOnePiece(kFunctionLinear, {1.0f, 0.0f}));
    }
    uint32_t AddConstant(float value)
    {
        return Add(MakeOnePiece(kFunctionConstant, {value}));
    }
    uint32_t Add(const Envelope& envelope)
    {
        uint32_t id = AllocateObject(demo.envelopes);
        *GetRecord<Envelope>(id, demo.envelopes) = envelope;
        return id;
    }

    void Update(uint32_t id, uint32_t time, int32_t useBuffer)
    {
        UpdateEffect2D(id, demo.effects, demo.envelopes, time, useBuffer);
    }

    DemoDocument demo = {};
    LoadContext context = {};
};

static std::vector<uint8_t> TextureBytes(const Effect2D* effect)
{
    const GlTextureImage* image = GlTextureLevel(effect->glTexture, 0);
    return image == nullptr ? std::vector<uint8_t>() : image->bytes;
}

static std::vector<uint8_t> PlainRotateImage(uint32_t side, uint32_t bpp, float step)
{
    std::vector<uint8_t> image(side * side * bpp / 8);
    PlainRotate(side, bpp, step, image.data());
    return image;
}

// ---- Reading

TEST(Effect2D, IsReadWithItsNameTypeSizeDepthAndParameters)
{
    EffectFixture fixture;
    fixture.AddConstant(1.0f);
    fixture.AddConstant(2.0f);
    Effect2D* effect = fixture.Read("<e name=\"glow\" type=\"0\" resolution=\"128x128\" bpp=\"8\">"
                                    "<p>2</p><p>1</p><p>7</p><q/><p>9</p></e>");
    EXPECT_STREQ(effect->name, "glow");
    EXPECT_EQ(effect->type, 0);
    EXPECT_EQ(effect->width, 128);
    EXPECT_EQ(effect->height, 128);
    EXPECT_EQ(effect->bpp, 8);
    EXPECT_EQ(effect->paramEnvelope[0], 2);
    EXPECT_EQ(effect->paramEnvelope[1], 1);
    EXPECT_EQ(effect->paramEnvelope[2], 7); // beyond the effect's count, so nobody looks it up
    EXPECT_EQ(effect->paramEnvelope[3], 0);
    EXPECT_EQ(effect->lastUpdate, 0xFFFF);
    EXPECT_EQ(effect->pixelBuffer, 0u);
    EXPECT_EQ(CurrentPlace.part, 0u);
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
        Effect2D* effect = fixture.Read(std::string("<e name=\"\" type=\"0\" bpp=\"8\" ") +
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
        Effect2D* effect =
            fixture.Read(std::string("<e name=\"\" type=\"0\" resolution=\"64x64\" bpp=\"") + bpp +
                         "\"><p>0</p></e>");
        EXPECT_EQ(effect->bpp, 24) << bpp;
    }
}

TEST(Effect2D, ALongNameKeepsWhatFits)
{
    EffectFixture fixture;
    Effect2D* effect = fixture.Read("<e name=\"0123456789012345678901234567890123456789\" "
                                    "type=\"3\" resolution=\"64x64\" bpp=\"8\"><p>0</p></e>");
    EXPECT_STREQ(effect->name, "0123456789012345678901234567890");
    EXPECT_EQ(effect->type, 3);
}

TEST(Effect2DDeathTest, WhatADocumentLacksIsFatalWithItsPlace)
{
    EffectFixture fixture;
    EXPECT_EXIT(fixture.Read("<e name=\"\" type=\"0\" bpp=\"8\"/>"), testing::ExitedWithCode(1),
                "demo.xmlz, section 5 \\(2D effects\\), item 1: a parameter is missing");
    EXPECT_EXIT(fixture.Read("<e type=\"0\" bpp=\"8\"><p>0</p></e>"), testing::ExitedWithCode(1),
                "attribute \"name\" of <e> is missing");
    EXPECT_EXIT(fixture.Read("<e name=\"\" bpp=\"8\"><p>0</p></e>"), testing::ExitedWithCode(1),
                "attribute \"type\" of <e> is missing");
    EXPECT_EXIT(fixture.Read("<e name=\"\" type=\"0\"><p>0</p></e>"), testing::ExitedWithCode(1),
                "attribute \"bpp\" of <e> is missing");
    EXPECT_EXIT(fixture.Read("<e name=\"\" type=\"0\" bpp=\"8\"><p/></e>"),
                testing::ExitedWithCode(1), "item 1, parameter 1: <p> has no text");
    EXPECT_EXIT(fixture.Read("<e name=\"\" type=\"1\" bpp=\"8\"><p>4</p></e>"),
                testing::ExitedWithCode(1), "item 1, parameter 1: envelope 4 does not exist");

    std::string text = "<e name=\"\" type=\"0\" bpp=\"8\">";
    for (int i = 0; i < 33; ++i)
    {
        text += "<p>0</p>";
    }
    EXPECT_EXIT(fixture.Read(text + "</e>"), testing::ExitedWithCode(1),
                "item 1, parameter 33: more than 32 parameters");
}

TEST(Effect2D, EvaluatesTwoParametersOfType0AndOneOfTheOthersAtLoad)
{
    EffectFixture fixture;
    fixture.AddConstant(30.0f);
    fixture.AddConstant(4.0f);
    Effect2D* gradient = fixture.Read("<e name=\"\" type=\"0\" resolution=\"64x64\" bpp=\"24\">"
                                      "<p>1</p><p>2</p></e>");
    EXPECT_EQ(TextureBytes(gradient)[0], 34);

    // The envelope of a second parameter does not exist, and these never ask for it.
    for (const char* type : {"1", "2", "3"})
    {
        fixture.Read(std::string("<e name=\"\" type=\"") + type +
                     "\" resolution=\"64x64\" bpp=\"8\"><p>1</p><p>77</p></e>");
    }
    EXPECT_EQ(TextureBytes(fixture.Get(4)), PlainRotateImage(64, 8, 30.0f));
}

TEST(Effect2D, AParameterOfZeroEndsTheEvaluationAtLoad)
{
    EffectFixture fixture;
    fixture.AddConstant(30.0f);
    Effect2D* effect = fixture.Read("<e name=\"\" type=\"0\" resolution=\"64x64\" bpp=\"24\">"
                                    "<p>0</p><p>1</p></e>");
    EXPECT_EQ(TextureBytes(effect)[0], 0);
}

TEST(Effect2D, AtLoadTheTimeIsZero)
{
    EffectFixture fixture;
    fixture.Add(MakeOnePiece(kFunctionLinear, {1.0f, 17.0f}));
    Effect2D* effect = fixture.Read("<e name=\"\" type=\"0\" resolution=\"64x64\" bpp=\"8\">"
                                    "<p>1</p></e>");
    EXPECT_EQ(TextureBytes(effect)[0], 17);
}

TEST(Effect2D, OfAnUnknownTypeIsABlackImageThatIsNeverUpdated)
{
    EffectFixture fixture;
    fixture.context.features.pbo = 1;
    for (const char* type : {"4", "-1", "2000000000"})
    {
        Effect2D* effect = fixture.Read(std::string("<e name=\"\" type=\"") + type +
                                        "\" resolution=\"64x64\" bpp=\"24\"><p>5</p></e>");
        EXPECT_EQ(TextureBytes(effect), std::vector<uint8_t>(64 * 64 * 3, 0));
        EXPECT_EQ(*effect->state, nullptr);
    }
    TakeGlCalls();
    fixture.Update(1, 10, 0);
    fixture.Update(2, 10, 1);
    EXPECT_EQ(TakeGlCalls(), "");
}

// ---- OpenGL calls

TEST(Effect2D, OfTheLoadingDocumentGoesThroughClientMemory)
{
    EffectFixture fixture;
    fixture.context.isDemo = false;
    fixture.context.features.pbo = 1;
    fixture.Read("<e name=\"\" type=\"3\" resolution=\"64x64\" bpp=\"24\"><p>0</p></e>");
    EXPECT_EQ(TakeGlCalls(), "GenTextures 1 1\n"
                             "BindTexture TEXTURE_2D 1\n"
                             "TexImage2D TEXTURE_2D 0 3 64 64 0 RGB UNSIGNED_BYTE ?\n"
                             "TexParameteri TEXTURE_2D TEXTURE_MAG_FILTER LINEAR\n"
                             "TexParameteri TEXTURE_2D TEXTURE_MIN_FILTER LINEAR\n");

    fixture.Update(1, 100, 0);
    EXPECT_EQ(TakeGlCalls(), "BindTexture TEXTURE_2D 1\n"
                             "TexSubImage2D TEXTURE_2D 0 0 0 64 64 RGB UNSIGNED_BYTE ?\n");
    EXPECT_EQ(GlRefusedCalls(), 0u);
}

TEST(Effect2D, OfTheDemoWithoutUnpackBuffersGoesThroughClientMemoryToo)
{
    EffectFixture fixture;
    fixture.Read("<e name=\"\" type=\"3\" resolution=\"64x64\" bpp=\"8\"><p>0</p></e>");
    EXPECT_EQ(TakeGlCalls(), "GenTextures 1 1\n"
                             "BindTexture TEXTURE_2D 1\n"
                             "TexImage2D TEXTURE_2D 0 1 64 64 0 LUMINANCE UNSIGNED_BYTE ?\n"
                             "TexParameteri TEXTURE_2D TEXTURE_MAG_FILTER LINEAR\n"
                             "TexParameteri TEXTURE_2D TEXTURE_MIN_FILTER LINEAR\n");
}

TEST(Effect2D, OfTheDemoWithUnpackBuffersIsRenderedIntoTheMapping)
{
    EffectFixture fixture;
    fixture.context.features.pbo = 1;
    fixture.AddTime();
    Effect2D* effect =
        fixture.Read("<e name=\"\" type=\"3\" resolution=\"64x64\" bpp=\"24\"><p>1</p></e>");
    EXPECT_EQ(TakeGlCalls(), "GenTextures 1 1\n"
                             "GenBuffers 1 1\n"
                             "BindBuffer PIXEL_UNPACK_BUFFER 1\n"
                             "BufferData PIXEL_UNPACK_BUFFER 12288 0 STREAM_DRAW\n"
                             "MapBuffer PIXEL_UNPACK_BUFFER WRITE_ONLY\n"
                             "UnmapBuffer PIXEL_UNPACK_BUFFER\n"
                             "BindTexture TEXTURE_2D 1\n"
                             "TexImage2D TEXTURE_2D 0 3 64 64 0 RGB UNSIGNED_BYTE 0\n"
                             "TexParameteri TEXTURE_2D TEXTURE_MAG_FILTER LINEAR\n"
                             "TexParameteri TEXTURE_2D TEXTURE_MIN_FILTER LINEAR\n"
                             "BindBuffer PIXEL_UNPACK_BUFFER 0\n");
    EXPECT_EQ(effect->pixelBuffer, 1u);
    EXPECT_EQ(TextureBytes(effect), PlainRotateImage(64, 24, 0.0f));

    fixture.Update(1, 250, 1);
    EXPECT_EQ(TakeGlCalls(), "BindBuffer PIXEL_UNPACK_BUFFER 1\n"
                             "BufferData PIXEL_UNPACK_BUFFER 12288 0 STREAM_DRAW\n"
                             "MapBuffer PIXEL_UNPACK_BUFFER WRITE_ONLY\n"
                             "UnmapBuffer PIXEL_UNPACK_BUFFER\n"
                             "BindTexture TEXTURE_2D 1\n"
                             "TexSubImage2D TEXTURE_2D 0 0 0 64 64 RGB UNSIGNED_BYTE 0\n"
                             "BindBuffer PIXEL_UNPACK_BUFFER 0\n");
    EXPECT_EQ(TextureBytes(effect), PlainRotateImage(64, 24, 250.0f));
    EXPECT_EQ(GlRefusedCalls(), 0u);
}

TEST(Effect2D, GivesTheSameTextureOnBothPaths)
{
    for (const char* type : {"0", "1", "2", "3"})
    {
        for (const char* bpp : {"8", "24"})
        {
            std::vector<uint8_t> images[2][2];
            for (int32_t pbo : {0, 1})
            {
                EffectFixture fixture;
                fixture.context.features.pbo = pbo;
                fixture.AddTime();
                Effect2D* effect =
                    fixture.Read(std::string("<e name=\"\" type=\"") + type + "\" bpp=\"" + bpp +
                                 "\" resolution=\"128x128\"><p>1</p><p>1</p></e>");
                images[pbo][0] = TextureBytes(effect);
                fixture.Update(1, 321, pbo);
                images[pbo][1] = TextureBytes(effect);
            }
            EXPECT_EQ(images[0][0], images[1][0]);
            EXPECT_EQ(images[0][1], images[1][1]);
            EXPECT_NE(images[0][0], images[0][1]);
        }
    }
}

TEST(Effect2D, WithoutAMappingFallsBackOnClientMemory)
{
    // An effect without a pixel buffer: buffer 0 can't be mapped.
    EffectFixture fixture;
    fixture.AddTime();
    Effect2D* effect =
        fixture.Read("<e name=\"\" type=\"3\" resolution=\"64x64\" bpp=\"8\"><p>1</p></e>");
    fixture.Update(1, 99, 1);
    EXPECT_EQ(TextureBytes(effect), PlainRotateImage(64, 8, 99.0f));
}

// ---- Updating

TEST(Effect2D, AnIdWithoutARecordIsNotUpdated)
{
    EffectFixture fixture;
    for (uint32_t id : {0u, 1u, 4097u, 0xFFFFFFFFu})
    {
        fixture.Update(id, 0, 1);
    }
    EXPECT_EQ(TakeGlCalls(), "");
}

TEST(Effect2D, AParameterOfZeroStaysZeroDuringPlay)
{
    EffectFixture fixture;
    fixture.AddConstant(30.0f);
    Effect2D* effect = fixture.Read("<e name=\"\" type=\"0\" resolution=\"64x64\" bpp=\"24\">"
                                    "<p>0</p><p>1</p></e>");
    fixture.Update(1, 0, 0); // unlike at load, the second one is evaluated
    EXPECT_EQ(TextureBytes(effect)[0], 30);
}

TEST(Effect2D, TheTestEffectAt8BitsAddsNothingForItsSecondParameter)
{
    EffectFixture fixture;
    fixture.AddConstant(30.0f);
    Effect2D* effect = fixture.Read("<e name=\"\" type=\"0\" resolution=\"64x64\" bpp=\"8\">"
                                    "<p>1</p><p>1</p><p>1</p></e>");
    EXPECT_EQ(TextureBytes(effect)[0], 30);
    fixture.Update(1, 0, 0);
    EXPECT_EQ(TextureBytes(effect)[0], 30);
}

TEST(Effect2D, TheTimePassesThroughAFloatOnItsWay)
{
    EffectFixture fixture;
    uint32_t id = fixture.AddTime();
    fixture.Read("<e name=\"\" type=\"1\" resolution=\"64x64\" bpp=\"8\"><p>1</p></e>");
    fixture.Update(1, 16777217, 0);
    EXPECT_EQ(GetRecord<Envelope>(id, fixture.demo.envelopes)->lastTime, 16777216u);
}

TEST(Effect2D, AFirstUseAtTick65535RefreshesNothing)
{
    EffectFixture fixture;
    fixture.AddTime();
    Effect2D* effect =
        fixture.Read("<e name=\"\" type=\"3\" resolution=\"64x64\" bpp=\"8\"><p>1</p></e>");
    ObjectTable* materials = CreateObjectTable(sizeof(Material));
    Material* material = GetRecord<Material>(AllocateObject(materials), materials);
    *material = {};
    material->type = 6;
    material->effectRefs[0] = 1;
    auto Use = [&fixture, materials](uint32_t time)
    {
        SetMaterial(1, materials, nullptr, nullptr, fixture.demo.envelopes, fixture.demo.effects,
                    nullptr, time, 0, 0, 0, 0.0f);
    };

    Use(65535);
    EXPECT_EQ(TextureBytes(effect), PlainRotateImage(64, 8, 0.0f));
    Use(65536);
    EXPECT_EQ(TextureBytes(effect), PlainRotateImage(64, 8, 65536.0f));
    Use(65535); // backwards is a change, too
    EXPECT_EQ(TextureBytes(effect), PlainRotateImage(64, 8, 65535.0f));
    EXPECT_EQ(effect->lastUpdate, 65535);
    FreeObjectTable(materials);
}

TEST(Effect2D, AnUpdateLeavesLastUpdateToItsCaller)
{
    EffectFixture fixture;
    Effect2D* effect =
        fixture.Read("<e name=\"\" type=\"1\" resolution=\"64x64\" bpp=\"8\"><p>0</p></e>");
    fixture.Update(1, 5, 0);
    EXPECT_EQ(effect->lastUpdate, 0xFFFF);
}

TEST(Effect2DDeathTest, AnEnvelopeThatIsGoneIsFatalWithTheEffectsPlace)
{
    EffectFixture fixture;
    Effect2D* effect =
        fixture.Read("<e name=\"\" type=\"0\" resolution=\"64x64\" bpp=\"8\"><p>0</p></e>");
    effect->paramEnvelope[1] = 12;
    CurrentPlace = {"demo.xmlz", 9, 3, 2};
    EXPECT_EXIT(fixture.Update(1, 0, 0), testing::ExitedWithCode(1),
                "demo.xmlz, section 5 \\(2D effects\\), item 1, parameter 2: envelope 12");
    effect->paramEnvelope[1] = 0;
    fixture.Update(1, 0, 0);
    EXPECT_EQ(CurrentPlace.section, 9); // and is the caller's again
    EXPECT_EQ(CurrentPlace.item, 3u);
    EXPECT_EQ(CurrentPlace.part, 2u);
}

TEST(Effect2D, TheTestEffectCountsItsImagesInOneByte)
{
    EffectFixture fixture;
    Effect2D* effect =
        fixture.Read("<e name=\"\" type=\"0\" resolution=\"64x64\" bpp=\"8\"><p>0</p></e>");
    const uint8_t* state = static_cast<uint8_t*>(*effect->state);
    EXPECT_EQ(state[0], 1);
    for (int i = 0; i < 255; ++i)
    {
        fixture.Update(1, 0, 0);
    }
    EXPECT_EQ(state[0], 0);
    EXPECT_EQ(state[1], 0);
}

// ---- "Amoba"

/// An "Amoba" of 64 by 64 at 8 bits, and what its image was.
struct AmobaFixture
{
    AmobaFixture() : state(nullptr)
    {
        BuildCosTable();
        InitEffect2D(kEffectAmoba, 64, 64, 8, &state);
        seeds = Image(0.0f);
    }
    ~AmobaFixture()
    {
        ReleaseEffect2DState(kEffectAmoba, 64, 64, 8, &state);
    }
    AmobaFixture(const AmobaFixture&) = delete;
    AmobaFixture& operator=(const AmobaFixture&) = delete;

    std::vector<uint8_t> Image(float update)
    {
        const float params[3] = {update, 0.0f, 0.0f};
        std::vector<uint8_t> image(64 * 64);
        RenderEffect2D(kEffectAmoba, 64, 64, 8, params, &state, image.data());
        return image;
    }
    float LastStep() const
    {
        return static_cast<AmobaState*>(state)->lastStep;
    }
    /// How many steps an image costs, by the random numbers that it draws: 1024 each.
    int StepsOf(float update)
    {
        srand(123);
        Image(update);
        int next = rand();
        for (int steps = 0; steps < 4; ++steps)
        {
            srand(123);
            for (int i = 0; i < steps * 1024; ++i)
            {
                rand();
            }
            if (rand() == next)
            {
                return steps;
            }
        }
        return -1;
    }

    void* state;
    std::vector<uint8_t> seeds;
};

TEST(AmobaEffect, WithAConstantUpdateBelowOneInMagnitudeNeverSteps)
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
    for (uint8_t bpp : {uint8_t{8}, uint8_t{24}})
    {
        void* state = nullptr;
        std::vector<std::vector<uint8_t>> images;
        InitEffect2D(kEffectAmoba, 128, 128, bpp, &state);
        for (int frame = 0; frame < 60; ++frame)
        {
            const float params[3] = {static_cast<float>(frame) * 0.4f, 0.0f, 0.0f};
            std::vector<uint8_t> image(128u * 128 * bpp / 8);
            RenderEffect2D(kEffectAmoba, 128, 128, bpp, params, &state, image.data());
            images.push_back(image);
        }
        ReleaseEffect2DState(kEffectAmoba, 128, 128, bpp, &state);
        EXPECT_EQ(state, nullptr);

        srand(5);
        PlainAmoba plain = MakePlainAmoba(128, bpp, rand);
        for (int frame = 0; frame < 60; ++frame)
        {
            PlainAmobaRender(&plain, static_cast<float>(frame) * 0.4f, rand);
            ASSERT_EQ(images[static_cast<size_t>(frame)], plain.cells) << "frame " << frame;
        }
    }
}

TEST(AmobaEffect, ReadFromADocumentShowsItsSeedsUntilItsUpdateMoves)
{
    EffectFixture fixture;
    fixture.AddConstant(0.75f);
    Effect2D* effect =
        fixture.Read("<e name=\"\" type=\"2\" resolution=\"64x64\" bpp=\"24\"><p>1</p></e>");
    srand(5);
    std::vector<uint8_t> seeds = MakePlainAmoba(64, 24, rand).cells;
    EXPECT_EQ(TextureBytes(effect), seeds);
    for (uint32_t time = 0; time < 20; ++time)
    {
        fixture.Update(1, time, 0);
    }
    EXPECT_EQ(TextureBytes(effect), seeds);
}

// ---- Types without state or meaning

TEST(Effect2D, TypesWithoutStateLeaveTheHolderUnset)
{
    for (int32_t type : {1, 3, 4, -1})
    {
        int marker = 0;
        void* state = &marker;
        InitEffect2D(type, 64, 64, 24, &state);
        EXPECT_EQ(state, &marker);
        ReleaseEffect2DState(type, 64, 64, 24, &state);
        EXPECT_EQ(state, &marker);
    }
}

TEST(Effect2D, AnUnknownTypeRendersNothing)
{
    const float params[3] = {1.0f, 2.0f, 3.0f};
    void* state = nullptr;
    std::vector<uint8_t> image(64 * 64, 77);
    for (int32_t type : {4, -1, 2147483647})
    {
        RenderEffect2D(type, 64, 64, 8, params, &state, image.data());
    }
    EXPECT_EQ(image, std::vector<uint8_t>(64 * 64, 77));
}
