// SPDX-License-Identifier: MIT
#include "engine/animation/light.h"

#include <cmath>
#include <gtest/gtest.h>
#include <string>

#include "engine/animation/animated_value.h"
#include "engine/data/fault.h"
#include "support/fault_text.h"

/// Reads an item into a record of zeros, as those of a table are.
/// @param faults   for FreeFaults; receives what is wrong
static bool ReadItem(const std::string& text, Light* light, FaultList* faults)
{
    TiXmlDocument document;
    document.Parse(text.c_str());
    EXPECT_FALSE(document.Error());
    StartFaults(faults);
    faults->place = PlaceAt("demo.xmlz", Section::kLights, 3);
    ReadContext context = {};
    context.faults = faults;
    *light = {};
    return ReadLightItem(document.FirstChildElement(), light, 2, &context);
}

static Light ReadLight(const std::string& text)
{
    Light light;
    FaultList faults;
    EXPECT_TRUE(ReadItem(text, &light, &faults));
    EXPECT_EQ(faults.place.part, 0u);
    EXPECT_EQ(FaultText(faults), "");
    FreeFaults(&faults);
    return light;
}

/// The line that a text's fault prints.
static std::string ReadFault(const std::string& text)
{
    Light light;
    FaultList faults;
    EXPECT_FALSE(ReadItem(text, &light, &faults));
    std::string line = FaultText(faults);
    FreeFaults(&faults);
    return line;
}

TEST(LightReading, TakesThreeGroupsOfThreeByPosition)
{
    const Light light =
        ReadLight("<light>"
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
        const Light light = ReadLight(LightText(n, "dynamic", "17.9"));
        EXPECT_EQ(light.flagsA, flagsA[n]) << n;
        EXPECT_EQ(light.flagsB, flagsB[n]) << n;
        const uint32_t* groups[] = {light.ambient, light.diffuse, light.position};
        for (uint32_t i = 0; i < 9; ++i)
        {
            const uint32_t expected = i == n ? 17 : FloatSlot(static_cast<float>(i));
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
    const Light light = ReadLight(text + "</light>");
    EXPECT_EQ(light.flagsA, 0xFC); // the two lowest bits are nobody's
    EXPECT_EQ(light.flagsB, 0xE0);
    EXPECT_EQ(light.ambient[0], 1u);
    EXPECT_EQ(light.diffuse[2], 6u);
    EXPECT_EQ(light.position[2], 9u);
}

TEST(LightReading, AnyOtherTypeIsStatic)
{
    const char* types[] = {"static", "", "Dynamic", "DYNAMIC", "dynamic ", "dynamics", "1"};
    for (const char* type : types)
    {
        const Light light = ReadLight(LightText(6, type, "3"));
        EXPECT_EQ(light.flagsA, 0) << type;
        EXPECT_EQ(light.flagsB, 0) << type;
        EXPECT_EQ(SlotFloat(light.position[0]), 3.0f) << type;
    }
}

TEST(LightReading, ValuesNarrowFromDouble)
{
    const Light light = ReadLight(LightText(0, "static", "16777217"));
    EXPECT_EQ(SlotFloat(light.ambient[0]), 16777216.0f);
    const Light number = ReadLight(LightText(0, "static", "nan"));
    EXPECT_TRUE(std::isnan(SlotFloat(number.ambient[0])));
}

TEST(LightReading, MoreThanIsAskedForIsNotLookedAt)
{
    const Light light =
        ReadLight("<light>"
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

TEST(LightReading, AllNineValuesAreRequired)
{
    struct MissingCase
    {
        const char* text;
        const char* fault;
    };
    const std::string group = "<g><v type='' value='1'/><v type='' value='2'/>"
                              "<v type='' value='3'/></g>";
    const MissingCase cases[] = {
        {"", "item 3: ambient colour is missing"},
        {"1", "item 3: diffuse colour is missing"},
        {"2", "item 3: position is missing"},
        {"words", "item 3: ambient colour is not an element"},
        {"<g/>", "item 3, value 1: value is missing"},
        {"<g>words</g>", "item 3, value 1: value is not an element"},
        {"1<g><v type='' value='4'/><v type='' value='5'/></g>",
         "item 3, value 6: value is missing"},
        {"2<g><v type='' value='7'/><v type=''/></g>",
         "item 3, value 8: attribute \"value\" of <v> is missing"},
        {"2<g><v value='7'/></g>", "item 3, value 7: attribute \"type\" of <v> is missing"},
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
        EXPECT_EQ(ReadFault(text),
                  std::string("quorvale: demo.xmlz, section 4 (lights), ") + c.fault + "\n");
    }
}
