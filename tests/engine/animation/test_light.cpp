#include "engine/animation/light.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "engine/animation/animated_value.h"
#include "engine/animation/make_envelope.h"
#include "engine/data/fault.h"
#include "support/recorded_gl.h"

/// The tables that a light takes its values from, and a context that nothing was drawn in.
class LightTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        ResetGl();
        lights = CreateObjectTable(sizeof(Light));
        envelopes = CreateObjectTable(sizeof(Envelope));
        CurrentPlace = {"demo.xmlz", 9, 4, 2};
    }

    void TearDown() override
    {
        CurrentPlace = {nullptr, kNoSection, 0, 0};
        FreeObjectTable(lights);
        FreeObjectTable(envelopes);
    }

    Light* AddLight(float ambient, float diffuse, float position)
    {
        Light* light = GetRecord<Light>(AllocateObject(lights), lights);
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
        uint32_t id = AllocateObject(envelopes);
        *GetRecord<Envelope>(id, envelopes) = envelope;
        return id;
    }

    /// Of value a * time + b.
    uint32_t AddLine(float a, float b)
    {
        return AddEnvelope(MakeOnePiece(kFunctionLinear, {a, b}));
    }

    ObjectTable* lights;    // owned
    ObjectTable* envelopes; // owned
};

// ---- Applying

TEST_F(LightTest, AStaticLightSendsTheSameThreeValuesEachTime)
{
    Light* light = AddLight(0.25f, 10.5f, -20.0f);
    EXPECT_EQ(light->flagsA, 0);
    EXPECT_EQ(light->flagsB, 0);

    const uint32_t times[] = {0, 1, 1, 5000, 0xFFFFFFFF};
    for (uint32_t time : times)
    {
        ApplyLight(1, lights, envelopes, time);
        EXPECT_EQ(TakeGlCalls(), "Enable LIGHTING\n"
                                 "Enable LIGHT1\n"
                                 "Lightfv LIGHT1 POSITION -20 -19 -18 1\n"
                                 "Lightfv LIGHT1 AMBIENT 0.25 1.25 2.25 1\n"
                                 "Lightfv LIGHT1 DIFFUSE 10.5 11.5 12.5 1\n");
    }
    EXPECT_EQ(GlRefusedCalls(), 0u);
}

TEST_F(LightTest, EachFlagBitMakesItsOwnValueAnEnvelope)
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
            ApplyLight(lights->count, lights, envelopes, 10);
            EXPECT_EQ(TakeGlCalls(), expected) << names[group] << " " << i;
        }
    }
}

TEST_F(LightTest, ADynamicLightFollowsTheTime)
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

    ApplyLight(1, lights, envelopes, 0);
    EXPECT_EQ(TakeGlCalls(), "Enable LIGHTING\n"
                             "Enable LIGHT1\n"
                             "Lightfv LIGHT1 POSITION 0 100 200 1\n"
                             "Lightfv LIGHT1 AMBIENT 0 10 20 1\n"
                             "Lightfv LIGHT1 DIFFUSE 0 1 2 1\n");
    ApplyLight(1, lights, envelopes, 9);
    EXPECT_EQ(TakeGlCalls(), "Enable LIGHTING\n"
                             "Enable LIGHT1\n"
                             "Lightfv LIGHT1 POSITION 9 109 209 1\n"
                             "Lightfv LIGHT1 AMBIENT 4.5 14.5 24.5 1\n"
                             "Lightfv LIGHT1 DIFFUSE -9 -8 -7 1\n");
}

TEST_F(LightTest, AnEnvelopeWithoutPiecesReadsAsOne)
{
    uint32_t empty = AddEnvelope(MakeEnvelope());
    Light* light = AddLight(5.0f, 6.0f, 7.0f);
    light->flagsA = 0x40 | 0x04; // ambient green, diffuse blue
    light->flagsB = 0x20;        // z
    light->ambient[1] = empty;
    light->diffuse[2] = empty;
    light->position[2] = empty;

    ApplyLight(1, lights, envelopes, 33);
    EXPECT_EQ(TakeGlCalls(), "Enable LIGHTING\n"
                             "Enable LIGHT1\n"
                             "Lightfv LIGHT1 POSITION 7 8 1 1\n"
                             "Lightfv LIGHT1 AMBIENT 5 1 7 1\n"
                             "Lightfv LIGHT1 DIFFUSE 6 7 1 1\n");
}

TEST_F(LightTest, OneEnvelopeMayDriveAllNineValues)
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
    ApplyLight(1, lights, envelopes, 6);
    EXPECT_EQ(TakeGlCalls(), "Enable LIGHTING\n"
                             "Enable LIGHT1\n"
                             "Lightfv LIGHT1 POSITION 6 6 6 1\n"
                             "Lightfv LIGHT1 AMBIENT 6 6 6 1\n"
                             "Lightfv LIGHT1 DIFFUSE 6 6 6 1\n");
}

TEST_F(LightTest, TheCallersPlaceIsTheSameAfterwards)
{
    AddLight(0.0f, 0.0f, 0.0f);
    ApplyLight(1, lights, envelopes, 0);
    EXPECT_STREQ(CurrentPlace.document, "demo.xmlz");
    EXPECT_EQ(CurrentPlace.section, 9);
    EXPECT_EQ(CurrentPlace.item, 4u);
    EXPECT_EQ(CurrentPlace.part, 2u);
}

TEST_F(LightTest, WithoutARecordTheLightIsADirectionAlongZ)
{
    SetLightAlongZ();
    EXPECT_EQ(TakeGlCalls(), "Lightfv LIGHT1 POSITION 0 0 1 0\n");
}

using LightDeathTest = LightTest;

TEST_F(LightDeathTest, AnIdWithoutLightIsAFaultOfWhatNamesIt)
{
    AddLight(0.0f, 0.0f, 0.0f);
    EXPECT_EXIT(ApplyLight(2, lights, envelopes, 0), testing::ExitedWithCode(1),
                "^quorvale: demo.xmlz, section 9 \\(scenes\\), item 4, object 2: light 2 does not "
                "exist\n$");
    EXPECT_EXIT(ApplyLight(5000, lights, envelopes, 0), testing::ExitedWithCode(1),
                "object 2: light 5000 does not exist\n$");
}

TEST_F(LightDeathTest, ADynamicValueWithoutEnvelopeIsFatal)
{
    Light* light = AddLight(0.0f, 0.0f, 0.0f);
    light->flagsB = 0x40;
    light->position[1] = 7;
    EXPECT_EXIT(ApplyLight(1, lights, envelopes, 0), testing::ExitedWithCode(1),
                "^quorvale: demo.xmlz, section 4 \\(lights\\), item 1, value 8: "
                "envelope 7 does not exist\n$");
    light->flagsB = 0;
    light->flagsA = 0x80;
    light->ambient[0] = 0;
    EXPECT_EXIT(ApplyLight(1, lights, envelopes, 0), testing::ExitedWithCode(1),
                "item 1, value 1: envelope 0 does not exist\n$");
    light->flagsA = 0x04;
    light->diffuse[2] = 0xFFFFFFFF;
    EXPECT_EXIT(ApplyLight(1, lights, envelopes, 0), testing::ExitedWithCode(1),
                "item 1, value 6: envelope -1 does not exist\n$");
}

TEST_F(LightDeathTest, ThePositionIsResolvedFirstAndThenAmbientAndDiffuse)
{
    Light* light = AddLight(0.0f, 0.0f, 0.0f);
    light->flagsA = 0xFC;
    light->flagsB = 0xE0;
    memset(light->ambient, 0, sizeof(light->ambient)); // no envelope has id 0
    memset(light->diffuse, 0, sizeof(light->diffuse));
    memset(light->position, 0, sizeof(light->position));
    EXPECT_EXIT(ApplyLight(1, lights, envelopes, 0), testing::ExitedWithCode(1), "value 7: ");
    light->flagsB = 0x60;
    EXPECT_EXIT(ApplyLight(1, lights, envelopes, 0), testing::ExitedWithCode(1), "value 8: ");
    light->flagsB = 0;
    EXPECT_EXIT(ApplyLight(1, lights, envelopes, 0), testing::ExitedWithCode(1), "value 1: ");
    light->flagsA = 0x1C;
    EXPECT_EXIT(ApplyLight(1, lights, envelopes, 0), testing::ExitedWithCode(1), "value 4: ");
}

// ---- Reading

static Light ReadLight(const std::string& text)
{
    TiXmlDocument document;
    document.Parse(text.c_str());
    EXPECT_FALSE(document.Error());
    Light light;
    memset(&light, 0xCD, sizeof(light)); // a record of a table is not cleared
    CurrentPlace = {"demo.xmlz", 4, 3, 0};
    ReadLightItem(document.FirstChildElement(), &light, 2, nullptr);
    EXPECT_EQ(CurrentPlace.part, 0u);
    CurrentPlace = {nullptr, kNoSection, 0, 0};
    return light;
}

TEST(LightReading, TakesThreeGroupsOfThreeByPosition)
{
    Light light = ReadLight("<light>"
                            "<x><a type='static' value='0.1'/><b type='static' value='0.2'/>"
                            "<c type='static' value='0.3'/></x>"
                            "<x><a type='static' value='1.5'/><a type='static' value='-2e1'/>"
                            "<a type='static' value=' 3.25rest'/></x>"
                            "<ambient><z type='static' value='10'/><y type='static' value='none'/>"
                            "<x type='static' value='12'/></ambient>"
                            "</light>");
    EXPECT_EQ(light.flagsA, 0);
    EXPECT_EQ(light.flagsB, 0);
    const float ambient[] = {0.1f, 0.2f, 0.3f};
    const float diffuse[] = {1.5f, -20.0f, 3.25f};
    const float position[] = {10.0f, 0.0f, 12.0f};
    for (uint32_t i = 0; i < 3; ++i)
    {
        EXPECT_EQ(SlotFloat(light.ambient[i]), ambient[i]) << i;
        EXPECT_EQ(SlotFloat(light.diffuse[i]), diffuse[i]) << i;
        EXPECT_EQ(SlotFloat(light.position[i]), position[i]) << i;
    }
}

/// A light of nine static values 0 to 8, but for value n, counted from 0.
static std::string LightText(uint32_t n, const char* type, const char* value)
{
    std::string text = "<light>";
    for (uint32_t i = 0; i < 9; ++i)
    {
        text += i % 3 == 0 ? "<group>" : "";
        text += std::string("<v type='") + (i == n ? type : "static") + "' value='" +
                (i == n ? value : std::to_string(i)) + "'/>";
        text += i % 3 == 2 ? "</group>" : "";
    }
    return text + "</light>";
}

TEST(LightReading, EachDynamicValueSetsItsOwnBit)
{
    const uint8_t flagsA[] = {0x80, 0x40, 0x20, 0x10, 0x08, 0x04, 0, 0, 0};
    const uint8_t flagsB[] = {0, 0, 0, 0, 0, 0, 0x80, 0x40, 0x20};
    for (uint32_t n = 0; n < 9; ++n)
    {
        Light light = ReadLight(LightText(n, "dynamic", "17.9"));
        EXPECT_EQ(light.flagsA, flagsA[n]) << n;
        EXPECT_EQ(light.flagsB, flagsB[n]) << n;
        const uint32_t* groups[] = {light.ambient, light.diffuse, light.position};
        for (uint32_t i = 0; i < 9; ++i)
        {
            uint32_t expected = i == n ? 17 : FloatSlot(static_cast<float>(i));
            EXPECT_EQ(groups[i / 3][i % 3], expected) << n << " " << i;
        }
    }
}

TEST(LightReading, AllNineValuesMayBeDynamic)
{
    std::string text = "<light>";
    for (int i = 0; i < 9; ++i)
    {
        text += i % 3 == 0 ? "<group>" : "";
        text += "<v type='dynamic' value='" + std::to_string(i + 1) + "'/>";
        text += i % 3 == 2 ? "</group>" : "";
    }
    Light light = ReadLight(text + "</light>");
    EXPECT_EQ(light.flagsA, 0xFC); // the two lowest bits are nobody's
    EXPECT_EQ(light.flagsB, 0xE0);
    EXPECT_EQ(light.ambient[0], 1u);
    EXPECT_EQ(light.diffuse[2], 6u);
    EXPECT_EQ(light.position[2], 9u);
}

TEST_F(LightTest, EnvelopeThreeMovesTheLightAlongX)
{
    AddLine(0.0f, 0.0f);
    AddLine(0.0f, 0.0f);
    AddLine(2.0f, 0.5f);
    Light light = ReadLight(LightText(6, "dynamic", "3"));
    EXPECT_EQ(light.flagsA, 0);
    EXPECT_EQ(light.flagsB, 0x80);

    *AddLight(0.0f, 0.0f, 0.0f) = light;
    ApplyLight(1, lights, envelopes, 10);
    EXPECT_EQ(TakeGlCalls(), "Enable LIGHTING\n"
                             "Enable LIGHT1\n"
                             "Lightfv LIGHT1 POSITION 20.5 7 8 1\n"
                             "Lightfv LIGHT1 AMBIENT 0 1 2 1\n"
                             "Lightfv LIGHT1 DIFFUSE 3 4 5 1\n");
}

TEST(LightReading, AnyOtherTypeIsStatic)
{
    const char* types[] = {"static", "", "Dynamic", "DYNAMIC", "dynamic ", "dynamics", "1"};
    for (const char* type : types)
    {
        Light light = ReadLight(LightText(6, type, "3"));
        EXPECT_EQ(light.flagsA, 0) << type;
        EXPECT_EQ(light.flagsB, 0) << type;
        EXPECT_EQ(SlotFloat(light.position[0]), 3.0f) << type;
    }
}

TEST(LightReading, ValuesNarrowFromDouble)
{
    Light light = ReadLight(LightText(0, "static", "16777217"));
    EXPECT_EQ(SlotFloat(light.ambient[0]), 16777216.0f);
    Light number = ReadLight(LightText(0, "static", "nan"));
    EXPECT_TRUE(std::isnan(SlotFloat(number.ambient[0])));
}

TEST(LightReading, MoreThanIsAskedForIsNotLookedAt)
{
    Light light = ReadLight("<light>"
                            "<g><v type='' value='1'/><v type='' value='2'/><v type='' value='3'/>"
                            "<v/></g>"
                            "<g><v type='' value='4'/><v type='' value='5'/><v type='' value='6'/>"
                            "words</g>"
                            "<g><v type='' value='7'/><v type='' value='8'/><v type='' value='9'/>"
                            "</g><g/></light>");
    EXPECT_EQ(SlotFloat(light.ambient[2]), 3.0f);
    EXPECT_EQ(SlotFloat(light.diffuse[0]), 4.0f);
    EXPECT_EQ(SlotFloat(light.position[2]), 9.0f);
}

TEST(LightReadingDeathTest, AllNineValuesAreRequired)
{
    struct MissingCase
    {
        const char* text;
        const char* fault;
    };
    const std::string group = "<g><v type='' value='1'/><v type='' value='2'/>"
                              "<v type='' value='3'/></g>";
    const MissingCase cases[] = {
        {"", "item 3: ambient colour is missing\n$"},
        {"1", "item 3: diffuse colour is missing\n$"},
        {"2", "item 3: position is missing\n$"},
        {"words", "item 3: ambient colour is not an element\n$"},
        {"<g/>", "item 3, value 1: value is missing\n$"},
        {"<g>words</g>", "item 3, value 1: value is not an element\n$"},
        {"1<g><v type='' value='4'/><v type='' value='5'/></g>",
         "item 3, value 6: value is missing\n$"},
        {"2<g><v type='' value='7'/><v type=''/></g>", "item 3, value 8: attribute \"value\""},
        {"2<g><v value='7'/></g>", "item 3, value 7: attribute \"type\""},
    };
    for (const MissingCase& c : cases)
    {
        // A leading digit stands for that many whole groups.
        std::string text = "<light>";
        const char* rest = c.text;
        if (*rest == '1' || *rest == '2')
        {
            text += *rest == '1' ? group : group + group;
            rest += 1;
        }
        text += rest;
        text += "</light>";
        EXPECT_EXIT(ReadLight(text), testing::ExitedWithCode(1),
                    std::string("^quorvale: demo.xmlz, section 4 \\(lights\\), ") + c.fault);
    }
}
