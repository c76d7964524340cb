// SPDX-License-Identifier: MIT
#include "engine/render/records/material.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "engine/animation/animated_value.h"
#include "engine/data/fault.h"
#include "support/fault_text.h"

class MaterialTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        StartFaults(&faults);
        context.faults = &faults;
    }

    void TearDown() override
    {
        FreeFaults(&faults);
    }

    /// Reads a material into a record that is full of rubbish.
    bool ReadItem(const std::string& text)
    {
        memset(static_cast<void*>(&material), 0xAA, sizeof material);
        TiXmlDocument document;
        document.Parse(text.c_str());
        EXPECT_FALSE(document.Error()) << text;
        faults.place = PlaceAt("demo.xmlz", Section::kMaterials, 2);
        return ReadMaterialItem(document.FirstChildElement(), &material, 1, &context);
    }

    void Read(const std::string& text)
    {
        EXPECT_TRUE(ReadItem(text));
        EXPECT_EQ(FaultText(faults), "");
    }

    /// @return the line of a fault from its item on
    std::string FaultOf(const std::string& text)
    {
        EXPECT_FALSE(ReadItem(text));
        const std::string lines = FaultText(faults);
        FreeFaults(&faults);
        const std::string place = "quorvale: demo.xmlz, section 7 (materials), ";
        EXPECT_EQ(lines.substr(0, place.size()), place);
        return lines.substr(place.size());
    }

    /// Expects the 16 entries of a list: those given, and 0 after them.
    static void ExpectRefs(const uint32_t* refs, std::initializer_list<uint32_t> expected)
    {
        uint32_t n = 0;
        for (uint32_t ref : expected)
        {
            EXPECT_EQ(refs[n], ref) << n;
            n += 1;
        }
        for (; n < kMaterialRefs; ++n)
        {
            EXPECT_EQ(refs[n], 0u) << n;
        }
    }

    void ExpectMask(uint8_t byte0, uint8_t byte1, uint8_t byte2)
    {
        EXPECT_EQ(material.dynamicMask[0], byte0);
        EXPECT_EQ(material.dynamicMask[1], byte1);
        EXPECT_EQ(material.dynamicMask[2], byte2);
        EXPECT_EQ(material.dynamicMask[3], 0);
    }

    /// `count` elements of one name, valued 1 upward.
    static std::string Children(const char* name, const char* type, int count)
    {
        std::string text;
        for (int i = 1; i <= count; ++i)
        {
            text += std::string("<") + name + " type=\"" + type + "\" value=\"" +
                    std::to_string(i) + "\"/>";
        }
        return text;
    }

    Material material;
    FaultList faults;
    ReadContext context = {};
};

TEST_F(MaterialTest, ParametersComeFirstAndReferencesFollow)
{
    Read("<material type=\"14\">"
         "<p type=\"static\" value=\"0.25\"/>"
         "<p type=\"static\" value=\"1\"/>"
         "<p type=\"dynamic\" value=\"3\"/>"
         "<p type=\"static\" value=\"0.1\"/>"
         "<light value=\"2\"/>"
         "<texture value=\"7\"/>"
         "<texture value=\"5\"/>"
         "</material>");

    EXPECT_EQ(material.type, 14u);
    EXPECT_EQ(material.params[0], FloatSlot(0.25f));
    EXPECT_EQ(material.params[1], FloatSlot(1.0f));
    EXPECT_EQ(material.params[2], 3u);
    EXPECT_EQ(material.params[3], FloatSlot(0.1f));
    for (uint32_t i = 4; i < kMaterialParams; ++i)
    {
        EXPECT_EQ(material.params[i], 0u) << i;
    }
    ExpectMask(0x20, 0, 0);
    ExpectRefs(material.refs, {2, 7, 5});
    ExpectRefs(material.effectRefs, {});
}

TEST_F(MaterialTest, TheTypeIsABase10Integer)
{
    Read("<m type=\"010\"><p type=\"static\" value=\"0\"/></m>");
    EXPECT_EQ(material.type, 10u);
    Read("<m type=\"0x7\"><p type=\"static\" value=\"0\"/></m>");
    EXPECT_EQ(material.type, 0u);
    Read("<m type=\"24\"><p type=\"static\" value=\"0\"/></m>"); // drawn with nothing set
    EXPECT_EQ(material.type, 24u);
    Read("<m type=\"-1\"><p type=\"static\" value=\"0\"/></m>");
    EXPECT_EQ(material.type, 0xFFFFFFFFu);
}

TEST_F(MaterialTest, AnythingButTheExactWordStaticIsDynamic)
{
    for (const char* word : {"dynamic", "Static", "STATIC", "static ", "", "constant"})
    {
        Read(std::string("<m type=\"0\"><p type=\"") + word + "\" value=\"3.7\"/></m>");
        EXPECT_EQ(material.params[0], 3u) << word;
        ExpectMask(0x80, 0, 0);
    }
    Read("<m type=\"0\"><p type=\"static\" value=\"3.7\"/></m>");
    EXPECT_EQ(material.params[0], FloatSlot(3.7f));
    ExpectMask(0, 0, 0);
}

TEST_F(MaterialTest, AStaticValueIsADoubleNarrowedOnce)
{
    // A float read at once would be 0x3F800001.
    Read("<m type=\"0\"><p type=\"static\" value=\"1.00000005960464484\"/></m>");
    EXPECT_EQ(material.params[0], 0x3F800000u);
    Read("<m type=\"0\"><p type=\"static\" value=\"-0\"/></m>");
    EXPECT_EQ(material.params[0], 0x80000000u);
    Read("<m type=\"0\"><p type=\"static\" value=\"rubbish\"/></m>");
    EXPECT_EQ(material.params[0], 0u);
}

TEST_F(MaterialTest, MaskBitsOfTheRecipesParametersRunFromTheTop)
{
    const uint8_t bits[] = {0x80, 0x40, 0x20, 0x10, 0x08};
    for (uint32_t n = 0; n < 5; ++n)
    {
        Read("<m type=\"23\">" + Children("p", "static", static_cast<int>(n)) +
             "<p type=\"dynamic\" value=\"9\"/></m>");
        EXPECT_EQ(material.params[n], 9u);
        ExpectMask(bits[n], 0, 0);
    }
}

TEST_F(MaterialTest, Parameters16To31ShareTheBitsOfByte2)
{
    for (uint32_t n = 0; n < kMaterialParams; ++n)
    {
        Read("<m type=\"0\">" + Children("p", "static", static_cast<int>(n)) +
             "<p type=\"dynamic\" value=\"9\"/></m>");
        const uint8_t bit = static_cast<uint8_t>(0x80 >> (n % 8));
        EXPECT_EQ(material.params[n], 9u) << n;
        ExpectMask(n < 8 ? bit : 0, n >= 8 && n < 16 ? bit : 0, n >= 16 ? bit : 0);
    }
    Read("<m type=\"0\">" + Children("p", "dynamic", 32) + "</m>");
    ExpectMask(0xFF, 0xFF, 0xFF);
    EXPECT_EQ(material.params[31], 32u);
}

TEST_F(MaterialTest, EffectsHaveAListOfTheirOwn)
{
    Read("<m type=\"3\">"
         "<p type=\"static\" value=\"1\"/>"
         "<effect2d value=\"4\"/>"
         "<texture value=\"3\"/>"
         "<effect2d value=\"6\"/>"
         "<light value=\"2\"/>"
         "<bitmap value=\"8\"/>" // any other name is as good
         "<Effect2d value=\"9\"/>"
         "</m>");
    ExpectRefs(material.refs, {3, 2, 8, 9});
    ExpectRefs(material.effectRefs, {4, 6});
}

TEST_F(MaterialTest, AParameterAfterAReferenceIsAReference)
{
    Read("<m type=\"2\">"
         "<p type=\"static\" value=\"1\"/>"
         "<texture value=\"3\"/>"
         "<p type=\"static\" value=\"5\"/>"
         "<effect2d value=\"7\"/>"
         "<p value=\"6\"/>"
         "</m>");
    EXPECT_EQ(material.params[0], FloatSlot(1.0f));
    EXPECT_EQ(material.params[1], 0u);
    ExpectRefs(material.refs, {3, 5, 6});
    ExpectRefs(material.effectRefs, {7});
}

TEST_F(MaterialTest, ReferencesAloneMakeAMaterial)
{
    Read("<m type=\"2\"><texture value=\"3\"/></m>");
    EXPECT_EQ(material.params[0], 0u);
    ExpectMask(0, 0, 0);
    ExpectRefs(material.refs, {3});
}

TEST_F(MaterialTest, ParametersAloneLeaveAllReferences0)
{
    Read("<m type=\"7\">" + Children("p", "static", 4) + "</m>");
    ExpectRefs(material.refs, {});
    ExpectRefs(material.effectRefs, {});
}

TEST_F(MaterialTest, ReferencesAreIntegersAndNotLookedUp)
{
    Read("<m type=\"0\"><texture value=\"12.9\"/><texture value=\"-1\"/><light value=\"none\"/>"
         "<effect2d value=\"99999\"/></m>");
    ExpectRefs(material.refs, {12, 0xFFFFFFFF, 0});
    ExpectRefs(material.effectRefs, {99999});
}

TEST_F(MaterialTest, AllSlotsCanBeFilled)
{
    Read("<m type=\"0\">" + Children("p", "static", 32) + Children("texture", "", 16) +
         Children("effect2d", "", 16) + "</m>");
    EXPECT_EQ(material.params[31], FloatSlot(32.0f));
    EXPECT_EQ(material.refs[15], 16u);
    EXPECT_EQ(material.effectRefs[0], 1u);
    EXPECT_EQ(material.effectRefs[15], 16u);
}

TEST_F(MaterialTest, ReadingLeavesThePlaceAtTheItem)
{
    Read("<m type=\"2\">" + Children("p", "static", 4) + "<texture value=\"3\"/></m>");
    EXPECT_EQ(faults.place.section, Section::kMaterials);
    EXPECT_EQ(faults.place.item, 2u);
    EXPECT_EQ(faults.place.part, 0u);
}

TEST_F(MaterialTest, MoreThanTheSlotsHoldIsAFault)
{
    EXPECT_EQ(FaultOf("<m type=\"0\">" + Children("p", "static", 33) + "</m>"),
              "item 2, child 33: more than 32 parameters\n");
    EXPECT_EQ(FaultOf("<m type=\"0\"><p type=\"static\" value=\"1\"/>" +
                      Children("texture", "", 17) + "</m>"),
              "item 2, child 18: more than 16 references\n");
    EXPECT_EQ(FaultOf("<m type=\"0\">" + Children("texture", "", 16) +
                      Children("effect2d", "", 17) + "</m>"),
              "item 2, child 33: more than 16 references\n");
}

TEST_F(MaterialTest, WithoutChildrenIsAFault)
{
    EXPECT_EQ(FaultOf("<m type=\"0\"/>"), "item 2, child 1: first child is missing\n");
}

TEST_F(MaterialTest, AMissingAttributeIsAFault)
{
    struct Case
    {
        const char* text;
        const char* fault;
    };
    const Case cases[] = {
        {"<m><p type=\"static\" value=\"1\"/></m>",
         "item 2: attribute \"type\" of <m> is missing\n"},
        {"<m type=\"0\"><p value=\"1\"/></m>",
         "item 2, child 1: attribute \"type\" of <p> is missing\n"},
        {"<m type=\"0\"><p type=\"static\"/></m>",
         "item 2, child 1: attribute \"value\" of <p> is missing\n"},
        {"<m type=\"0\"><p type=\"dynamic\"/></m>",
         "item 2, child 1: attribute \"value\" of <p> is missing\n"},
        {"<m type=\"0\"><p type=\"static\" value=\"1\"/><texture/></m>",
         "item 2, child 2: attribute \"value\" of <texture> is missing\n"},
        {"<m type=\"0\"><effect2d/></m>",
         "item 2, child 1: attribute \"value\" of <effect2d> is missing\n"},
    };
    for (const Case& c : cases)
    {
        EXPECT_EQ(FaultOf(c.text), c.fault) << c.text;
    }
}

TEST_F(MaterialTest, AChildThatIsNoElementIsAFault)
{
    EXPECT_EQ(FaultOf("<m type=\"0\">p</m>"), "item 2, child 1: first child is not an element\n");
    EXPECT_EQ(FaultOf("<m type=\"0\"><p type=\"static\" value=\"1\"/><!--p--></m>"),
              "item 2, child 2: child is not an element\n");
}
