#include "engine/render/apply_light.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "engine/animation/light.h"
#include "engine/animation/make_envelope.h"
#include "support/fault_text.h"
#include "support/recorded_gl.h"

/// The tables that a light takes its values from, and a context that nothing was drawn in.
class ApplyLightTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        ResetGl();
        document.lights = CreateObjectTable(sizeof(Light));
        document.envelopes = CreateObjectTable(sizeof(Envelope));
        StartFaults(&faults);
        faults.place = PlaceAt("demo.xmlz", Section::kScenes, 4, 2);
        for (EnvelopeCache& cache : caches)
        {
            cache = kEmptyEnvelopeCache;
        }
        state.envelopes = caches;
        sources.document = &document;
        sources.state = &state;
        sources.gl = &gl;
        sources.faults = &faults;
    }

    void TearDown() override
    {
        EXPECT_EQ(FaultText(faults), "");
        FreeFaults(&faults);
        FreeObjectTable(document.lights);
        FreeObjectTable(document.envelopes);
    }

    Light* AddLight(float ambient, float diffuse, float position)
    {
        Light* light = GetRecord<Light>(AllocateObject(document.lights), document.lights);
        *light = {};
        for (uint32_t i = 0; i < 3; ++i)
        {
            light->ambient[i] = FloatSlot(ambient + static_cast<float>(i));
            light->diffuse[i] = FloatSlot(diffuse + static_cast<float>(i));
            light->position[i] = FloatSlot(position + static_cast<float>(i));
        }
        return light;
    }

    uint32_t AddEnvelope(const Envelope& envelope)
    {
        const uint32_t id = AllocateObject(document.envelopes);
        *GetRecord<Envelope>(id, document.envelopes) = envelope;
        return id;
    }

    /// Of value a * time + b.
    uint32_t AddLine(float a, float b)
    {
        return AddEnvelope(MakeOnePiece(kFunctionLinear, {a, b}));
    }

    /// The line that applying a light prints.
    std::string ApplyFault(uint32_t id)
    {
        const Place place = faults.place;
        EXPECT_FALSE(ApplyLight(id, &sources, 0));
        const std::string line = FaultText(faults);
        FreeFaults(&faults);
        faults.place = place;
        return line;
    }

    DemoDocument document = {}; // owns its two tables
    EnvelopeCache caches[16];
    DocumentState state = {};
    GlContext gl = {};
    FaultList faults;
    FrameSources sources = {};
};

TEST_F(ApplyLightTest, AStaticLightSendsTheSameThreeValuesEachTime)
{
    Light* light = AddLight(0.25f, 10.5f, -20.0f);
    EXPECT_EQ(light->flagsA, 0);
    EXPECT_EQ(light->flagsB, 0);

    const uint32_t times[] = {0, 1, 1, 5000, 0xFFFFFFFF};
    for (const uint32_t time : times)
    {
        EXPECT_TRUE(ApplyLight(1, &sources, time));
        EXPECT_EQ(TakeGlCalls(), "Enable LIGHTING\n"
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
            const uint8_t flag = static_cast<uint8_t>(firstFlags[group] >> i);
            (group == 0 ? light->flagsB : light->flagsA) = flag;
            slots[group][i] = 1;

            std::string expected = "Enable LIGHTING\nEnable LIGHT1\n";
            for (uint32_t g = 0; g < 3; ++g)
            {
                expected += std::string("Lightfv LIGHT1 ") + names[g];
                for (uint32_t k = 0; k < 3; ++k)
                {
                    const float value = g == group && k == i ? 120.0f : rest[k];
                    expected += " " + std::to_string(static_cast<int>(value));
                }
                expected += " 1\n";
            }
            EXPECT_TRUE(ApplyLight(document.lights->count, &sources, 10));
            EXPECT_EQ(TakeGlCalls(), expected) << names[group] << " " << i;
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

    EXPECT_TRUE(ApplyLight(1, &sources, 0));
    EXPECT_EQ(TakeGlCalls(), "Enable LIGHTING\n"
                             "Enable LIGHT1\n"
                             "Lightfv LIGHT1 POSITION 0 100 200 1\n"
                             "Lightfv LIGHT1 AMBIENT 0 10 20 1\n"
                             "Lightfv LIGHT1 DIFFUSE 0 1 2 1\n");
    EXPECT_TRUE(ApplyLight(1, &sources, 9));
    EXPECT_EQ(TakeGlCalls(), "Enable LIGHTING\n"
                             "Enable LIGHT1\n"
                             "Lightfv LIGHT1 POSITION 9 109 209 1\n"
                             "Lightfv LIGHT1 AMBIENT 4.5 14.5 24.5 1\n"
                             "Lightfv LIGHT1 DIFFUSE -9 -8 -7 1\n");
}

TEST_F(ApplyLightTest, AnEnvelopeWithoutPiecesReadsAsOne)
{
    const uint32_t empty = AddEnvelope(MakeEnvelope());
    Light* light = AddLight(5.0f, 6.0f, 7.0f);
    light->flagsA = 0x40 | 0x04; // ambient green, diffuse blue
    light->flagsB = 0x20;        // z
    light->ambient[1] = empty;
    light->diffuse[2] = empty;
    light->position[2] = empty;

    EXPECT_TRUE(ApplyLight(1, &sources, 33));
    EXPECT_EQ(TakeGlCalls(), "Enable LIGHTING\n"
                             "Enable LIGHT1\n"
                             "Lightfv LIGHT1 POSITION 7 8 1 1\n"
                             "Lightfv LIGHT1 AMBIENT 5 1 7 1\n"
                             "Lightfv LIGHT1 DIFFUSE 6 7 1 1\n");
}

TEST_F(ApplyLightTest, OneEnvelopeMayDriveAllNineValues)
{
    const uint32_t shared = AddLine(1.0f, 0.0f);
    Light* light = AddLight(0.0f, 0.0f, 0.0f);
    light->flagsA = 0xFC;
    light->flagsB = 0xE0;
    for (uint32_t i = 0; i < 3; ++i)
    {
        light->position[i] = shared;
        light->ambient[i] = shared;
        light->diffuse[i] = shared;
    }
    EXPECT_TRUE(ApplyLight(1, &sources, 6));
    EXPECT_EQ(TakeGlCalls(), "Enable LIGHTING\n"
                             "Enable LIGHT1\n"
                             "Lightfv LIGHT1 POSITION 6 6 6 1\n"
                             "Lightfv LIGHT1 AMBIENT 6 6 6 1\n"
                             "Lightfv LIGHT1 DIFFUSE 6 6 6 1\n");
}

TEST_F(ApplyLightTest, TheCallersPlaceIsTheSameAfterwards)
{
    AddLight(0.0f, 0.0f, 0.0f);
    EXPECT_TRUE(ApplyLight(1, &sources, 0));
    EXPECT_STREQ(faults.place.document, "demo.xmlz");
    EXPECT_EQ(faults.place.section, Section::kScenes);
    EXPECT_EQ(faults.place.item, 4u);
    EXPECT_EQ(faults.place.part, 2u);
}

TEST_F(ApplyLightTest, WithoutALightThereIsADirectionAlongZ)
{
    SetLightAlongZ(&gl);
    EXPECT_EQ(TakeGlCalls(), "Lightfv LIGHT1 POSITION 0 0 1 0\n");
}

TEST_F(ApplyLightTest, AnIdWithoutLightIsAFaultOfItsUser)
{
    AddLight(0.0f, 0.0f, 0.0f);
    const std::string place = "quorvale: demo.xmlz, section 9 (scenes), item 4, object 2: ";
    EXPECT_EQ(ApplyFault(2), place + "light 2 does not exist\n");
    EXPECT_EQ(ApplyFault(5000), place + "light 5000 does not exist\n");
    EXPECT_EQ(ApplyFault(0), place + "light 0 does not exist\n");
}

TEST_F(ApplyLightTest, ADynamicValueWithoutEnvelopeIsAFault)
{
    Light* light = AddLight(0.0f, 0.0f, 0.0f);
    const std::string place = "quorvale: demo.xmlz, section 4 (lights), item 1, ";
    light->flagsB = 0x40;
    light->position[1] = 7;
    EXPECT_EQ(ApplyFault(1), place + "value 8: envelope 7 does not exist\n");
    light->flagsB = 0;
    light->flagsA = 0x80;
    light->ambient[0] = 0;
    EXPECT_EQ(ApplyFault(1), place + "value 1: envelope 0 does not exist\n");
    light->flagsA = 0x04;
    light->diffuse[2] = 0xFFFFFFFF;
    EXPECT_EQ(ApplyFault(1), place + "value 6: envelope -1 does not exist\n");
}

TEST_F(ApplyLightTest, NothingIsSentAfterAFault)
{
    Light* light = AddLight(0.0f, 0.0f, 0.0f);
    light->flagsA = 0x20; // ambient blue
    light->ambient[2] = 9;
    TakeGlCalls();
    ApplyFault(1);
    EXPECT_EQ(TakeGlCalls(), "Enable LIGHTING\nEnable LIGHT1\n"
                             "Lightfv LIGHT1 POSITION 0 1 2 1\n");
}

TEST_F(ApplyLightTest, ThePositionIsResolvedFirstAndThenAmbientAndDiffuse)
{
    Light* light = AddLight(0.0f, 0.0f, 0.0f);
    light->flagsA = 0xFC;
    light->flagsB = 0xE0;
    memset(light->ambient, 0, sizeof(light->ambient)); // no envelope has id 0
    memset(light->diffuse, 0, sizeof(light->diffuse));
    memset(light->position, 0, sizeof(light->position));
    EXPECT_NE(ApplyFault(1).find("value 7: "), std::string::npos);
    light->flagsB = 0x60;
    EXPECT_NE(ApplyFault(1).find("value 8: "), std::string::npos);
    light->flagsB = 0;
    EXPECT_NE(ApplyFault(1).find("value 1: "), std::string::npos);
    light->flagsA = 0x1C;
    EXPECT_NE(ApplyFault(1).find("value 4: "), std::string::npos);
}
