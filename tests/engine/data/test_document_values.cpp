// SPDX-License-Identifier: MIT
#include "engine/data/document_values.h"

#include <bit>
#include <gtest/gtest.h>

#include "support/fault_text.h"

class DocumentValues : public testing::Test
{
  protected:
    const TiXmlElement* Parse(const char* text)
    {
        document.Clear();
        document.Parse(text);
        return document.FirstChildElement();
    }

    void TearDown() override
    {
        FreeFaults(&faults);
    }

    /// The lines of the faults so far, which are forgotten.
    std::string TakeFaults()
    {
        std::string text = FaultText(faults);
        const Place place = faults.place;
        FreeFaults(&faults);
        faults.place = place;
        return text;
    }

    TiXmlDocument document;
    FaultList faults = {};
};

TEST_F(DocumentValues, IntegersAreBase10AndIgnoreTrailingRubbish)
{
    EXPECT_EQ(ParseInt("42"), 42);
    EXPECT_EQ(ParseInt(" -7 apples"), -7);
    EXPECT_EQ(ParseInt("0x10"), 0);
    EXPECT_EQ(ParseInt("010"), 10);
    EXPECT_EQ(ParseInt("3.9"), 3);
    EXPECT_EQ(ParseInt("none"), 0);
    EXPECT_EQ(ParseInt(""), 0);
    EXPECT_EQ(ParseInt("4294967297"), 1); // the low 32 bits of a 64-bit long
    EXPECT_EQ(ParseInt("4294967295"), -1);
    EXPECT_EQ(ParseInt("99999999999999999999"), -1); // strtol stops at the largest long
}

TEST_F(DocumentValues, FloatsAreDoublesNarrowedOnce)
{
    EXPECT_EQ(ParseFloat("0.1"), 0.1f);
    EXPECT_EQ(ParseFloat("-1e2x"), -100.0f);
    EXPECT_EQ(ParseFloat("rubbish"), 0.0f);
    // strtod and then the narrowing round twice; strtof would give 0x3f800001.
    EXPECT_EQ(std::bit_cast<uint32_t>(ParseFloat("1.00000005960464484")), 0x3f800000u);
    EXPECT_EQ(std::bit_cast<uint32_t>(ParseFloat("16777217")), 0x4b800000u);
}

TEST_F(DocumentValues, AnAnimatedValueIsDynamicOnlyForTheExactWord)
{
    uint32_t slot = 0;
    EXPECT_TRUE(ReadAnimatedValue(Parse("<p type=\"dynamic\" value=\"3.7\"/>"), &slot, &faults));
    EXPECT_EQ(slot, 3u);
    for (const char* word : {"static", "Dynamic", "DYNAMIC", "dynamic ", ""})
    {
        std::string text = std::string("<p type=\"") + word + "\" value=\"2.5\"/>";
        EXPECT_FALSE(ReadAnimatedValue(Parse(text.c_str()), &slot, &faults)) << word;
        EXPECT_EQ(slot, std::bit_cast<uint32_t>(2.5f));
    }
}

TEST_F(DocumentValues, ChildrenOfAnyKindCount)
{
    EXPECT_EQ(CountChildren(nullptr), 0u);
    EXPECT_EQ(CountChildren(Parse("<a/>")), 0u);
    EXPECT_EQ(CountChildren(Parse("<a><b/>text<!-- c --><d><e/></d></a>")), 4u);
}

TEST_F(DocumentValues, TextIsTheValueOfTheFirstChild)
{
    EXPECT_STREQ(RequireText(Parse("<p> 12 </p>"), &faults), "12");
    EXPECT_EQ(ReadIntAttribute(Parse("<p n=\"12\"/>"), "n", &faults), 12);
    EXPECT_EQ(ReadFloatAttribute(Parse("<p n=\"1.5\"/>"), "n", &faults), 1.5f);
}

TEST_F(DocumentValues, ChildrenAreTakenOneAfterTheOther)
{
    const TiXmlNode* node = Parse("<a><b/><c/></a>")->FirstChild();
    EXPECT_STREQ(TakeElement(&node, "the first", &faults)->Value(), "b");
    EXPECT_STREQ(TakeElement(&node, "the second", &faults)->Value(), "c");
    EXPECT_EQ(node, nullptr);
}

TEST_F(DocumentValues, TakingAChildThatIsNotThereIsAFault)
{
    const TiXmlNode* node = Parse("<a><b/>text</a>")->FirstChild();
    TakeElement(&node, "the first", &faults);
    EXPECT_EQ(TakeElement(&node, "the second", &faults), nullptr);
    EXPECT_EQ(node, nullptr);
    EXPECT_EQ(TakeFaults(), "quorvale: the second is not an element\n");
    EXPECT_EQ(TakeElement(&node, "the third", &faults), nullptr);
    EXPECT_EQ(TakeFaults(), "quorvale: the third is missing\n");
}

TEST_F(DocumentValues, ForAMissingValueTheFaultTellsThePlace)
{
    faults.place = PlaceAt("demo.xmlz", Section::kLights, 9);
    const std::string at = "quorvale: demo.xmlz, section 4 (lights), item 9: ";
    EXPECT_EQ(RequireElement(nullptr, "the position", &faults), nullptr);
    EXPECT_EQ(TakeFaults(), at + "the position is missing\n");
    EXPECT_EQ(RequireAttribute(Parse("<v type=\"x\"/>"), "value", &faults), nullptr);
    EXPECT_EQ(TakeFaults(), at + "attribute \"value\" of <v> is missing\n");
    EXPECT_EQ(ReadIntAttribute(Parse("<v/>"), "n", &faults), 0);
    EXPECT_EQ(TakeFaults(), at + "attribute \"n\" of <v> is missing\n");
    EXPECT_EQ(ReadFloatAttribute(Parse("<v/>"), "n", &faults), 0.0f);
    EXPECT_EQ(TakeFaults(), at + "attribute \"n\" of <v> is missing\n");
    EXPECT_EQ(RequireText(Parse("<v/>"), &faults), nullptr);
    EXPECT_EQ(TakeFaults(), at + "<v> has no text\n");
    document.Clear();
    document.Parse("<!-- note -->");
    EXPECT_EQ(RequireElement(document.FirstChild(), "the item", &faults), nullptr);
    EXPECT_EQ(TakeFaults(), at + "the item is not an element\n");
    uint32_t slot = 7;
    EXPECT_FALSE(ReadAnimatedValue(Parse("<v value=\"1\"/>"), &slot, &faults));
    EXPECT_EQ(TakeFaults(), at + "attribute \"type\" of <v> is missing\n");
    EXPECT_EQ(slot, 0u);
    slot = 7;
    EXPECT_FALSE(ReadAnimatedValue(Parse("<v type=\"dynamic\"/>"), &slot, &faults));
    EXPECT_EQ(TakeFaults(), at + "attribute \"value\" of <v> is missing\n");
    EXPECT_EQ(slot, 0u);
}

TEST_F(DocumentValues, AFaultKnowsTheLineOfTheElement)
{
    const TiXmlElement* b = Parse("<a>\n\n  <b/></a>")->FirstChildElement();
    RequireAttribute(b, "value", &faults);
    EXPECT_EQ(GetFault(&faults, 0)->place.line, 3);
    EXPECT_EQ(GetFault(&faults, 0)->place.column, 3);
}

TEST_F(DocumentValues, AfterAFaultTheRestIsQuiet)
{
    const TiXmlElement* element = RequireElement(nullptr, "the clip", &faults);
    uint32_t slot = 7;
    EXPECT_EQ(RequireAttribute(element, "x", &faults), nullptr);
    EXPECT_EQ(ReadIntAttribute(element, "x", &faults), 0);
    EXPECT_EQ(ReadFloatAttribute(element, "x", &faults), 0.0f);
    EXPECT_EQ(ParseInt(RequireText(element, &faults)), 0);
    EXPECT_EQ(ParseFloat(RequireText(element, &faults)), 0.0f);
    EXPECT_FALSE(ReadAnimatedValue(element, &slot, &faults));
    const TiXmlNode* node = nullptr;
    EXPECT_EQ(TakeElement(&node, "the next", &faults), nullptr);
    EXPECT_EQ(TakeFaults(), "quorvale: the clip is missing\n");
}
