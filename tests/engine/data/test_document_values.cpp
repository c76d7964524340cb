#include "engine/data/document_values.h"

#include <bit>
#include <gtest/gtest.h>

#include "engine/data/fault.h"

class DocumentValues : public testing::Test
{
  protected:
    const TiXmlElement* Parse(const char* text)
    {
        document.Clear();
        document.Parse(text);
        return document.FirstChildElement();
    }

    TiXmlDocument document;
};

using DocumentValuesDeathTest = DocumentValues;

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
    EXPECT_TRUE(ReadAnimatedValue(Parse("<p type=\"dynamic\" value=\"3.7\"/>"), &slot));
    EXPECT_EQ(slot, 3u);
    for (const char* word : {"static", "Dynamic", "DYNAMIC", "dynamic ", ""})
    {
        std::string text = std::string("<p type=\"") + word + "\" value=\"2.5\"/>";
        EXPECT_FALSE(ReadAnimatedValue(Parse(text.c_str()), &slot)) << word;
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
    EXPECT_STREQ(RequireText(Parse("<p> 12 </p>")), "12");
    EXPECT_EQ(ReadIntAttribute(Parse("<p n=\"12\"/>"), "n"), 12);
    EXPECT_EQ(ReadFloatAttribute(Parse("<p n=\"1.5\"/>"), "n"), 1.5f);
}

TEST_F(DocumentValues, ChildrenAreTakenOneBehindTheOther)
{
    const TiXmlNode* node = Parse("<a><b/><c/></a>")->FirstChild();
    EXPECT_STREQ(TakeElement(&node, "the first")->Value(), "b");
    EXPECT_STREQ(TakeElement(&node, "the second")->Value(), "c");
    EXPECT_EQ(node, nullptr);
}

TEST_F(DocumentValuesDeathTest, TakingAChildThatIsNotThereEndsTheProgram)
{
    const TiXmlNode* node = Parse("<a><b/>text</a>")->FirstChild();
    TakeElement(&node, "the first");
    EXPECT_EXIT(TakeElement(&node, "the second"), testing::ExitedWithCode(1),
                "the second is not an element");
    node = nullptr;
    EXPECT_EXIT(TakeElement(&node, "the third"), testing::ExitedWithCode(1),
                "the third is missing");
}

TEST_F(DocumentValuesDeathTest, WhatIsMissingEndsTheProgramAtThePlace)
{
    CurrentPlace = {"demo.xmlz", 4, 9, 0};
    EXPECT_EXIT(RequireElement(nullptr, "the position"), testing::ExitedWithCode(1),
                "^quorvale: demo.xmlz, section 4 \\(lights\\), item 9: the position is missing\n$");
    EXPECT_EXIT(RequireAttribute(Parse("<v type=\"x\"/>"), "value"), testing::ExitedWithCode(1),
                "item 9: attribute \"value\" of <v> is missing");
    EXPECT_EXIT(RequireText(Parse("<v/>")), testing::ExitedWithCode(1), "<v> has no text");
    document.Clear();
    document.Parse("<!-- note -->");
    EXPECT_EXIT(RequireElement(document.FirstChild(), "the item"), testing::ExitedWithCode(1),
                "the item is not an element");
    uint32_t slot = 0;
    EXPECT_EXIT(ReadAnimatedValue(Parse("<v value=\"1\"/>"), &slot), testing::ExitedWithCode(1),
                "attribute \"type\" of <v> is missing");
}
