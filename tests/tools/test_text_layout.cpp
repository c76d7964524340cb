// SPDX-License-Identifier: MIT
#include "tools/text_layout.h"

#include <gtest/gtest.h>

static std::string Indented(const std::string& text)
{
    std::string indented;
    return IndentText(text, &indented) ? indented : "refused";
}

TEST(TextLayout, EachElementGetsALineOfItsOwn)
{
    EXPECT_EQ(Indented("<?xml version=\"1.0\"?><a><b c=\"1\"><p>2</p></b><d/></a><e></e>"),
              "<?xml version=\"1.0\"?>\n"
              "<a>\n"
              "  <b c=\"1\">\n"
              "    <p>2</p>\n"
              "  </b>\n"
              "  <d/>\n"
              "</a>\n"
              "<e></e>");
}

TEST(TextLayout, BlanksAreReplacedAndTextStays)
{
    EXPECT_EQ(Indented(" <a>\t<b/>\r\n\r\n<c/> x <d/></a>\n"),
              " <a>\n  <b/>\n  <c/> x <d/>\n</a>\n");
}

TEST(TextLayout, AQuotedBracketEndsNoTag)
{
    EXPECT_EQ(Indented("<a b=\"x>y\" c='/>'><d/></a>"), "<a b=\"x>y\" c='/>'>\n  <d/>\n</a>");
}

TEST(TextLayout, CommentsAndOpenEndsAreRefused)
{
    for (const char* text :
         {"<a><!-- b --></a>", "<a><![CDATA[b]]></a>", "<!DOCTYPE a><a/>", "<a", "<a b=\"></a>"})
    {
        EXPECT_EQ(Indented(text), "refused") << text;
        EXPECT_EQ(LayOutText(text, TextLayout::kBare), text);
    }
}

TEST(TextLayout, BareTakesTheBlanksOutAgain)
{
    const std::string bare = "<?xml?><a><b><p>2 </p></b><d/></a><e></e>\n";
    EXPECT_EQ(LayOutText(Indented(bare), TextLayout::kBare), bare);
    EXPECT_EQ(LayOutText(bare, TextLayout::kAsItIs), bare);
}

TEST(TextLayout, LinesKeepsTheNodesOfTheTopLevelApart)
{
    const std::string lines = "<?xml?>\n<a><b><p>2</p></b></a>\n<e></e>\n<m/>";
    EXPECT_EQ(LayOutText(Indented(lines), TextLayout::kLines), lines);
}

TEST(TextLayout, TreesAreTheSameIfAllOfThemIs)
{
    TiXmlDocument document;
    ASSERT_TRUE(ParseText("<a b=\"1\" c=\"2\"><p>3</p><q/></a>", &document));
    EXPECT_TRUE(SaysTheSame(document, "<a b='1'  c='2'>\n<p>3</p> <q></q></a>"));
    for (const char* text : {"<a c=\"2\" b=\"1\"><p>3</p><q/></a>", "<a b=\"1\"><p>3</p><q/></a>",
                             "<a b=\"1\" c=\"2\"><p>4</p><q/></a>",
                             "<a b=\"1\" c=\"2\"><p>3</p></a>", "<a b=\"1\" c=\"2\"><p>3</p><q/>"})
    {
        EXPECT_FALSE(SaysTheSame(document, text)) << text;
    }
    EXPECT_FALSE(ParseText("", &document));
    EXPECT_FALSE(ParseText(std::string("<a/>\0", 5), &document));
}
