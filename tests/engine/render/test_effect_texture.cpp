// SPDX-License-Identifier: MIT
#include "engine/render/effect_texture.h"

#include <cstdlib>

#include "engine/render/set_material.h"
#include "engine/render/upload_test.h"
#include "engine/textures/plain_effects.h"

static std::vector<uint8_t> PlainRotateImage(uint32_t side, uint32_t bpp, float step)
{
    std::vector<uint8_t> image(side * side * bpp / 8);
    PlainRotate(side, bpp, step, image.data());
    return image;
}

class EffectTextureTest : public UploadTest
{
  protected:
    /// An envelope whose value is the time.
    uint32_t AddTime()
    {
        return AddLinearEnvelope(&piece, 1.0f, 0.0f);
    }

    uint32_t AddConstant(float value)
    {
        return AddLinearEnvelope(&piece, 0.0f, value);
    }

    /// Loads an effect of 64 by 64 pixels.
    /// @param params   its "p" elements
    Effect2D* LoadEffect(int type, int bpp, const std::string& params)
    {
        return static_cast<Effect2D*>(
            Load(Section::kEffects, "<e name=\"\" type=\"" + std::to_string(type) +
                                        "\" resolution=\"64x64\" bpp=\"" + std::to_string(bpp) +
                                        "\">" + params + "</e>"));
    }

    bool UpdateOrFail(uint32_t id, uint32_t time)
    {
        const FrameSources sources = TestSources(&piece);
        return UpdateEffect2D(id, &sources, time);
    }

    void Update(uint32_t id, uint32_t time)
    {
        EXPECT_TRUE(UpdateOrFail(id, time));
        EXPECT_EQ(TakeFaults(&piece), "");
        EXPECT_EQ(GlRefusedCalls(), 0u);
    }

    std::vector<uint8_t> Image(uint32_t id) const
    {
        return LevelBytes(GetEffectUpload(&piece.upload, id)->glTexture);
    }
};

// Making the texture.

TEST_F(EffectTextureTest, TheLoadingDocumentGoesThroughClientMemory)
{
    isDemo = false;
    piece.features.pbo = 1;
    LoadEffect(kEffectRotate, 24, "<p>0</p>");
    EXPECT_EQ(TakeGlCalls(), "GenTextures 1 1\n"
                             "BindTexture TEXTURE_2D 1\n"
                             "TexImage2D TEXTURE_2D 0 3 64 64 0 RGB UNSIGNED_BYTE ?\n"
                             "TexParameteri TEXTURE_2D TEXTURE_MAG_FILTER LINEAR\n"
                             "TexParameteri TEXTURE_2D TEXTURE_MIN_FILTER LINEAR\n");

    piece.features.pbo = 0; // as the sources of the loading document have it
    Update(1, 100);
    EXPECT_EQ(TakeGlCalls(), "BindTexture TEXTURE_2D 1\n"
                             "TexSubImage2D TEXTURE_2D 0 0 0 64 64 RGB UNSIGNED_BYTE ?\n");
}

TEST_F(EffectTextureTest, WithoutUnpackBuffersTheDemoDoesSoToo)
{
    LoadEffect(kEffectRotate, 8, "<p>0</p>");
    EXPECT_EQ(TakeGlCalls(), "GenTextures 1 1\n"
                             "BindTexture TEXTURE_2D 1\n"
                             "TexImage2D TEXTURE_2D 0 1 64 64 0 LUMINANCE UNSIGNED_BYTE ?\n"
                             "TexParameteri TEXTURE_2D TEXTURE_MAG_FILTER LINEAR\n"
                             "TexParameteri TEXTURE_2D TEXTURE_MIN_FILTER LINEAR\n");
}

TEST_F(EffectTextureTest, WithUnpackBuffersTheMappingIsRenderedInto)
{
    piece.features.pbo = 1;
    AddTime();
    LoadEffect(kEffectRotate, 24, "<p>1</p>");
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
    EXPECT_EQ(GetEffectUpload(&piece.upload, 1)->pixelBuffer, 1u);
    EXPECT_EQ(Image(1), PlainRotateImage(64, 24, 0.0f));

    Update(1, 250);
    EXPECT_EQ(TakeGlCalls(), "BindBuffer PIXEL_UNPACK_BUFFER 1\n"
                             "BufferData PIXEL_UNPACK_BUFFER 12288 0 STREAM_DRAW\n"
                             "MapBuffer PIXEL_UNPACK_BUFFER WRITE_ONLY\n"
                             "UnmapBuffer PIXEL_UNPACK_BUFFER\n"
                             "BindTexture TEXTURE_2D 1\n"
                             "TexSubImage2D TEXTURE_2D 0 0 0 64 64 RGB UNSIGNED_BYTE 0\n"
                             "BindBuffer PIXEL_UNPACK_BUFFER 0\n");
    EXPECT_EQ(Image(1), PlainRotateImage(64, 24, 250.0f));
}

TEST_F(EffectTextureTest, BothPathsGiveTheSameTexture)
{
    AddTime();
    for (int type : {kEffectTest, kEffectPlasma, kEffectAmoba, kEffectRotate})
    {
        for (int bpp : {8, 24})
        {
            std::vector<uint8_t> images[2][2];
            for (int32_t pbo : {0, 1})
            {
                piece.features.pbo = pbo;
                LoadEffect(type, bpp, "<p>1</p><p>1</p>");
                const uint32_t id = piece.document.effects->count;
                images[pbo][0] = Image(id);
                SeedRandom(&piece.state.random, 7);
                Update(id, 321);
                images[pbo][1] = Image(id);
            }
            EXPECT_EQ(images[0][0], images[1][0]);
            EXPECT_EQ(images[0][1], images[1][1]);
            EXPECT_NE(images[0][0], images[0][1]);
        }
    }
}

TEST_F(EffectTextureTest, WithoutAMappingClientMemoryHelpsOut)
{
    // An effect without a pixel buffer: buffer 0 can't be mapped.
    AddTime();
    LoadEffect(kEffectRotate, 8, "<p>1</p>");
    piece.features.pbo = 1;
    UpdateOrFail(1, 99);
    EXPECT_EQ(Image(1), PlainRotateImage(64, 8, 99.0f));
}

TEST_F(EffectTextureTest, AtLoadTwoParametersOfType0AndOneOfOthersCount)
{
    AddConstant(30.0f);
    AddConstant(4.0f);
    LoadEffect(kEffectTest, 24, "<p>1</p><p>2</p>");
    EXPECT_EQ(Image(1)[0], 34);

    // The envelope of a second parameter does not exist, and these never ask for it.
    for (int type : {kEffectPlasma, kEffectAmoba, kEffectRotate})
    {
        LoadEffect(type, 8, "<p>1</p><p>77</p>");
    }
    EXPECT_EQ(Image(4), PlainRotateImage(64, 8, 30.0f));
}

TEST_F(EffectTextureTest, AtLoadAParameterOfZeroEndsTheEvaluation)
{
    AddConstant(30.0f);
    LoadEffect(kEffectTest, 24, "<p>0</p><p>1</p>");
    EXPECT_EQ(Image(1)[0], 0);
    Update(1, 0); // unlike at load, the second one is evaluated
    EXPECT_EQ(Image(1)[0], 30);
}

TEST_F(EffectTextureTest, AtLoadTheTimeIsZero)
{
    AddLinearEnvelope(&piece, 1.0f, 17.0f);
    LoadEffect(kEffectTest, 8, "<p>1</p>");
    EXPECT_EQ(Image(1)[0], 17);
}

TEST_F(EffectTextureTest, AtLoadAMissingEnvelopeIsAFaultBeforeAnyCall)
{
    const ItemPlace item =
        Read(Section::kEffects, "<e name=\"\" type=\"1\" bpp=\"8\"><p>4</p></e>");
    EXPECT_FALSE(UploadOrFail(item));
    EXPECT_EQ(TakeFaults(&piece), "quorvale: demo.xmlz, section 5 (2D effects), item 1, "
                                  "parameter 1: envelope 4 does not exist\n");
    EXPECT_EQ(TakeGlCalls(), "");
}

TEST_F(EffectTextureTest, AnUnknownTypeIsABlackImageThatStays)
{
    piece.features.pbo = 1;
    for (int type : {4, -1, 2000000000})
    {
        LoadEffect(type, 24, "<p>5</p>");
        const uint32_t id = piece.document.effects->count;
        EXPECT_EQ(Image(id), std::vector<uint8_t>(64 * 64 * 3, 0));
        EXPECT_EQ(piece.state.demo.effects[id - 1].state, nullptr);
    }
    TakeGlCalls();
    Update(1, 10);
    piece.features.pbo = 0;
    Update(2, 10);
    EXPECT_EQ(TakeGlCalls(), "");
}

TEST_F(EffectTextureTest, AmobaShowsItsSeedsUntilItsUpdateMoves)
{
    AddConstant(0.75f);
    LoadEffect(kEffectAmoba, 24, "<p>1</p>");
    srand(5);
    const std::vector<uint8_t> seeds = MakePlainAmoba(64, 24, rand).cells;
    EXPECT_EQ(Image(1), seeds);
    for (uint32_t time = 0; time < 20; ++time)
    {
        Update(1, time);
    }
    EXPECT_EQ(Image(1), seeds);
}

TEST_F(EffectTextureTest, AmobaDrawsFromTheSequenceOfTheLake)
{
    AddLinearEnvelope(&piece, 1.0f, 0.5f);
    LoadEffect(kEffectAmoba, 24, "<p>1</p>");
    Load(Section::kGenMeshes, "<m type=\"0\"><p>1</p></m>");
    const FrameSources sources = TestSources(&piece);
    const Animation animation = {sources.document->envelopes, sources.state->envelopes,
                                 sources.faults};
    const GenMeshSources lake = {sources.document->genMeshes, sources.state->genMeshes, &animation,
                                 sources.random, sources.arena};
    ASSERT_TRUE(UpdateGenMesh(1, &lake, 1)); // a step with four drops
    Update(1, 1);

    srand(5);
    PlainAmoba plain = MakePlainAmoba(64, 24, rand);
    for (int drop = 0; drop < 4; ++drop)
    {
        rand();
    }
    PlainAmobaRender(&plain, 1.5f, rand);
    EXPECT_EQ(Image(1), plain.cells);
}

// Updating.

TEST_F(EffectTextureTest, AnIdWithoutARecordIsNotUpdated)
{
    for (uint32_t id : {0u, 1u, 4097u, 0xFFFFFFFFu})
    {
        Update(id, 0);
    }
    EXPECT_EQ(TakeGlCalls(), "");
}

TEST_F(EffectTextureTest, At8BitsTheTestEffectIgnoresItsSecondParameter)
{
    AddConstant(30.0f);
    LoadEffect(kEffectTest, 8, "<p>1</p><p>1</p><p>1</p>");
    EXPECT_EQ(Image(1)[0], 30);
    Update(1, 0);
    EXPECT_EQ(Image(1)[0], 30);
}

TEST_F(EffectTextureTest, TheTimePassesThroughAFloatOnItsWay)
{
    const uint32_t id = AddTime();
    LoadEffect(kEffectPlasma, 8, "<p>1</p>");
    Update(1, 16777217);
    EXPECT_EQ(EnvelopeTime(&piece, id), 16777216u);
}

TEST_F(EffectTextureTest, AFirstUseAtTick65535RefreshesNothing)
{
    AddTime();
    LoadEffect(kEffectRotate, 8, "<p>1</p>");
    Material* material = AddRecord<Material>(piece.document.materials);
    material->type = 6;
    material->effectRefs[0] = 1;
    const auto use = [this](uint32_t time)
    {
        const FrameSources sources = TestSources(&piece);
        const MaterialRequest request = {time, 0.0f, {}};
        EXPECT_TRUE(SetMaterial(1, &sources, &request));
    };

    use(65535);
    EXPECT_EQ(Image(1), PlainRotateImage(64, 8, 0.0f));
    use(65536);
    EXPECT_EQ(Image(1), PlainRotateImage(64, 8, 65536.0f));
    use(65535); // backwards is a change, too
    EXPECT_EQ(Image(1), PlainRotateImage(64, 8, 65535.0f));
    EXPECT_EQ(piece.state.demo.effects[0].lastUpdate, 65535);
}

TEST_F(EffectTextureTest, AnUpdateLeavesLastUpdateToItsCaller)
{
    LoadEffect(kEffectPlasma, 8, "<p>0</p>");
    Update(1, 5);
    EXPECT_EQ(piece.state.demo.effects[0].lastUpdate, kEffectNeverUpdated);
}

TEST_F(EffectTextureTest, InPlayAMissingEnvelopeIsAFaultOfTheEffect)
{
    Effect2D* effect = LoadEffect(kEffectTest, 8, "<p>0</p>");
    TakeGlCalls();
    effect->paramEnvelope[1] = 12;
    piece.faults.place = PlaceAt("demo.xmlz", Section::kScenes, 3, 2);
    EXPECT_FALSE(UpdateOrFail(1, 0));
    EXPECT_EQ(TakeFaults(&piece), "quorvale: demo.xmlz, section 5 (2D effects), item 1, "
                                  "parameter 2: envelope 12 does not exist\n");
    EXPECT_EQ(TakeGlCalls(), "");
    effect->paramEnvelope[1] = 0;
    Update(1, 0);
    EXPECT_EQ(piece.faults.place.section, Section::kScenes); // and is the caller's again
    EXPECT_EQ(piece.faults.place.item, 3u);
    EXPECT_EQ(piece.faults.place.part, 2u);
}
