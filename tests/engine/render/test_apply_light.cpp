// SPDX-License-Identifier: MIT
#include "engine/render/apply_light.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "engine/animation/animated_value.h"
#include "support/recorded_gl.h"
#include "support/test_piece.h"

/// Lights and what moves them, and a context that nothing was drawn in.
class ApplyLightTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        ResetGl();
        StartTestPiece(&piece);
        piece.faults.place = PlaceAt("demo.xmlz", Section::kScenes, 4, 2);
    }

    void TearDown() override
    {
        FreeTestPiece(&piece);
    }

    Light* AddLight(float ambient, float diffuse, float position)
    {
        Light* light = AddRecord<Light>(piece.document.lights);
        for (uint32_t i = 0; i < 3; ++i)
        {
            light->ambient[i] = FloatSlot(ambient + static_cast<float>(i));
            light->diffuse[i] = FloatSlot(diffuse + static_cast<float>(i));
            light->position[i] = FloatSlot(position + static_cast<float>(i));
        }
        return light;
    }

    /// Of value a * time + b.
    uint32_t AddLine(float a, float b)
    {
        return AddLinearEnvelope(&piece, a, b);
    }

    std::string Apply(uint32_t id, uint32_t time)
    {
        const FrameSources sources = TestSources(&piece);
        EXPECT_TRUE(ApplyLight(id, &sources, time));
        EXPECT_EQ(TakeFaults(&piece), "");
        return TakeGlCalls();
    }

    /// Applies a light that meets one fault.
    /// @param line   of the fault, from its place on
    /// @return the calls up to there
    std::string ApplyToFault(uint32_t id, const std::string& line)
    {
        const FrameSources sources = TestSources(&piece);
        EXPECT_FALSE(ApplyLight(id, &sources, 0));
        EXPECT_EQ(TakeFaults(&piece), "quorvale: demo.xmlz, " + line + "\n");
        return TakeGlCalls();
    }

    TestPiece piece = {};
};

TEST_F(ApplyLightTest, AStaticLightSendsTheSameThreeValuesEachTime)
{
    Light* light = AddLight(0.25f, 10.5f, -20.0f);
    EXPECT_EQ(light->flagsA, 0);
    EXPECT_EQ(light->flagsB, 0);

    const uint32_t times[] = {0, 1, 1, 5000, 0xFFFFFFFF};
    for (uint32_t time : times)
    {
        EXPECT_EQ(Apply(1, time), "Enable LIGHTING\n"
                                  "Enable LIGHT1\n"
                                  "Lightfv LIGHT1 POSITION -20 -19 -18 1\n"
                                  "Lightfv LIGHT1 AMBIENT 0.25 1.25 2.25 1\n"
                                  "Lightfv LIGHT1 DIFFUSE 10.5 11.5 12.5 1\n");
    }
    EXPECT_EQ(GlRefusedCalls(), 0u);
}

TEST_F(ApplyLightTest, EachFlagBitMakesItsOwnValueAnEnvelope)
{
    const float rest[] = {0.0f, 1.0f, 2.0f};
    const char* names[] = {"POSITION", "AMBIENT", "DIFFUSE"};
    const uint8_t firstFlags[] = {0x80, 0x80, 0x10};
    AddLine(2.0f, 100.0f); // 120 at 10

    for (uint32_t group = 0; group < 3; ++group)
    {
        for (uint32_t i = 0; i < 3; ++i)
        {
            Light* light = AddLight(0.0f, 0.0f, 0.0f);
            uint32_t* slots[] = {light->position, light->ambient, light->diffuse};
            uint8_t flag = static_cast<uint8_t>(firstFlags[group] >> i);
            (group == 0 ? light->flagsB : light->flagsA) = flag;
            slots[group][i] = 1;

            std::string expected = "Enable LIGHTING\nEnable LIGHT1\n";
            for (uint32_t g = 0; g < 3; ++g)
            {
                expected += std::string("Lightfv LIGHT1 ") + names[g];
                for (uint32_t k = 0; k < 3; ++k)
                {
                    float value = g == group && k == i ? 120.0f : rest[k];
                    expected += " " + std::to_string(static_cast<int>(value));
                }
                expected += " 1\n";
            }
            EXPECT_EQ(Apply(piece.document.lights->count, 10), expected)
                << names[group] << " " << i;
        }
    }
}

TEST_F(ApplyLightTest, ADynamicLightFollowsTheTime)
{
    Light* light = AddLight(0.0f, 0.0f, 0.0f);
    light->flagsA = 0xFC;
    light->flagsB = 0xE0;
    for (uint32_t i = 0; i < 3; ++i)
    {
        light->position[i] = AddLine(1.0f, static_cast<float>(100 * i));
        light->ambient[i] = AddLine(0.5f, static_cast<float>(10 * i));
        light->diffuse[i] = AddLine(-1.0f, static_cast<float>(i));
    }

    EXPECT_EQ(Apply(1, 0), "Enable LIGHTING\n"
                           "Enable LIGHT1\n"
                           "Lightfv LIGHT1 POSITION 0 100 200 1\n"
                           "Lightfv LIGHT1 AMBIENT 0 10 20 1\n"
                           "Lightfv LIGHT1 DIFFUSE 0 1 2 1\n");
    EXPECT_EQ(Apply(1, 9), "Enable LIGHTING\n"
                           "Enable LIGHT1\n"
                           "Lightfv LIGHT1 POSITION 9 109 209 1\n"
                           "Lightfv LIGHT1 AMBIENT 4.5 14.5 24.5 1\n"
                           "Lightfv LIGHT1 DIFFUSE -9 -8 -7 1\n");
}

TEST_F(ApplyLightTest, AnEnvelopeWithoutPiecesReadsAsOne)
{
    uint32_t empty = AddEnvelope(&piece, Envelope{});
    Light* light = AddLight(5.0f, 6.0f, 7.0f);
    light->flagsA = 0x40 | 0x04; // ambient green, diffuse blue
    light->flagsB = 0x20;        // z
    light->ambient[1] = empty;
    light->diffuse[2] = empty;
    light->position[2] = empty;

    EXPECT_EQ(Apply(1, 33), "Enable LIGHTING\n"
                            "Enable LIGHT1\n"
                            "Lightfv LIGHT1 POSITION 7 8 1 1\n"
                            "Lightfv LIGHT1 AMBIENT 5 1 7 1\n"
                            "Lightfv LIGHT1 DIFFUSE 6 7 1 1\n");
}

TEST_F(ApplyLightTest, OneEnvelopeMayDriveAllNineValues)
{
    uint32_t shared = AddLine(1.0f, 0.0f);
    Light* light = AddLight(0.0f, 0.0f, 0.0f);
    light->flagsA = 0xFC;
    light->flagsB = 0xE0;
    for (uint32_t i = 0; i < 3; ++i)
    {
        light->position[i] = shared;
        light->ambient[i] = shared;
        light->diffuse[i] = shared;
    }
    EXPECT_EQ(Apply(1, 6), "Enable LIGHTING\n"
                           "Enable LIGHT1\n"
                           "Lightfv LIGHT1 POSITION 6 6 6 1\n"
                           "Lightfv LIGHT1 AMBIENT 6 6 6 1\n"
                           "Lightfv LIGHT1 DIFFUSE 6 6 6 1\n");
}

TEST_F(ApplyLightTest, AnEnvelopeMovesTheLightAlongX)
{
    AddLine(0.0f, 0.0f);
    AddLine(0.0f, 0.0f);
    AddLine(2.0f, 0.5f);
    Light* light = AddLight(0.0f, 3.0f, 6.0f);
    light->flagsB = 0x80;
    light->position[0] = 3;
    EXPECT_EQ(Apply(1, 10), "Enable LIGHTING\n"
                            "Enable LIGHT1\n"
                            "Lightfv LIGHT1 POSITION 20.5 7 8 1\n"
                            "Lightfv LIGHT1 AMBIENT 0 1 2 1\n"
                            "Lightfv LIGHT1 DIFFUSE 3 4 5 1\n");
}

TEST_F(ApplyLightTest, TheCallersPlaceIsTheSameAfterwards)
{
    Light* light = AddLight(0.0f, 0.0f, 0.0f);
    Apply(1, 0);
    light->flagsB = 0x80;
    light->position[0] = 7;
    ApplyToFault(1, "section 4 (lights), item 1, value 7: envelope 7 does not exist");
    EXPECT_STREQ(piece.faults.place.document, "demo.xmlz");
    EXPECT_EQ(piece.faults.place.section, Section::kScenes);
    EXPECT_EQ(piece.faults.place.item, 4u);
    EXPECT_EQ(piece.faults.place.part, 2u);
}

TEST_F(ApplyLightTest, ALightAlongZIsADirection)
{
    SetLightAlongZ(&piece.gl);
    EXPECT_EQ(TakeGlCalls(), "Lightfv LIGHT1 POSITION 0 0 1 0\n");
}

// Faults. After one OpenGL is called no more.

static const std::string kLightOn = "Enable LIGHTING\nEnable LIGHT1\n";
static const std::string kPosition = "Lightfv LIGHT1 POSITION 0 1 2 1\n";
static const std::string kAmbient = "Lightfv LIGHT1 AMBIENT 0 1 2 1\n";

TEST_F(ApplyLightTest, AnIdWithoutLightIsAFaultOfWhatNamesIt)
{
    AddLight(0.0f, 0.0f, 0.0f);
    EXPECT_EQ(ApplyToFault(2, "section 9 (scenes), item 4, object 2: light 2 does not exist"),
              kLightOn);
    EXPECT_EQ(ApplyToFault(5000, "section 9 (scenes), item 4, object 2: light 5000 does not exist"),
              kLightOn);
}

TEST_F(ApplyLightTest, ADynamicValueWithoutEnvelopeIsAFault)
{
    Light* light = AddLight(0.0f, 0.0f, 0.0f);
    light->flagsB = 0x40;
    light->position[1] = 7;
    EXPECT_EQ(ApplyToFault(1, "section 4 (lights), item 1, value 8: envelope 7 does not exist"),
              kLightOn);
    light->flagsB = 0;
    light->position[1] = FloatSlot(1.0f);
    light->flagsA = 0x80;
    light->ambient[0] = 0;
    EXPECT_EQ(ApplyToFault(1, "section 4 (lights), item 1, value 1: envelope 0 does not exist"),
              kLightOn + kPosition);
    light->flagsA = 0x04;
    light->diffuse[2] = 0xFFFFFFFF;
    EXPECT_EQ(ApplyToFault(1, "section 4 (lights), item 1, value 6: envelope -1 does not exist"),
              kLightOn + kPosition + kAmbient);
}

TEST_F(ApplyLightTest, PositionComesFirstThenAmbientAndDiffuse)
{
    Light* light = AddLight(0.0f, 0.0f, 0.0f);
    light->flagsA = 0xFC;
    light->flagsB = 0xE0;
    memset(light->ambient, 0, sizeof(light->ambient)); // no envelope has id 0
    memset(light->diffuse, 0, sizeof(light->diffuse));
    memset(light->position, 0, sizeof(light->position));
    const auto expectFault = [this](uint32_t value)
    {
        ApplyToFault(1, "section 4 (lights), item 1, value " + std::to_string(value) +
                            ": envelope 0 does not exist");
    };
    expectFault(7);
    light->flagsB = 0x60;
    expectFault(8);
    light->flagsB = 0;
    expectFault(1);
    light->flagsA = 0x1C;
    expectFault(4);
}
