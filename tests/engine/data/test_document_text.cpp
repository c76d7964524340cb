#include "engine/data/document_text.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

static bool Load(TiXmlDocument* document, const std::string& text)
{
    return LoadFromString(document, reinterpret_cast<const unsigned char*>(text.data()),
                          static_cast<long>(text.size()), TIXML_ENCODING_UNKNOWN);
}

static std::string Printed(const TiXmlDocument& document)
{
    TiXmlPrinter printer;
    document.Accept(&printer);
    return printer.CStr();
}

TEST(DocumentText, ParsesSiblingsAtTheTopLevel)
{
    TiXmlDocument document;
    EXPECT_TRUE(Load(&document, "<?xml version=\"1.0\"?><a/><b x=\"1\"><c>2</c></b>"));
    const TiXmlNode* node = document.FirstChild();
    EXPECT_NE(node->ToDeclaration(), nullptr);
    EXPECT_STREQ(node->NextSibling()->Value(), "a");
    EXPECT_STREQ(node->NextSibling()->NextSibling()->ToElement()->Attribute("x"), "1");
}

TEST(DocumentText, NullDataIsAFileThatDoesNotOpen)
{
    TiXmlDocument document;
    Load(&document, "<kept/>");
    EXPECT_FALSE(LoadFromString(&document, nullptr, 10, TIXML_ENCODING_UNKNOWN));
    EXPECT_EQ(document.ErrorId(), TiXmlBase::TIXML_ERROR_OPENING_FILE);
    EXPECT_STREQ(document.FirstChild()->Value(), "kept"); // nothing is deleted yet at that point
}

TEST(DocumentText, LengthZeroIsAnEmptyDocument)
{
    for (long length : {0L, -1L})
    {
        TiXmlDocument document;
        Load(&document, "<gone/>");
        unsigned char byte = '<';
        EXPECT_FALSE(LoadFromString(&document, &byte, length, TIXML_ENCODING_UNKNOWN));
        EXPECT_EQ(document.ErrorId(), TiXmlBase::TIXML_ERROR_DOCUMENT_EMPTY);
        EXPECT_EQ(document.FirstChild(), nullptr);
        EXPECT_EQ(document.Row(), 0); // -1 inside, counted from 1 outside
        EXPECT_EQ(document.Column(), 0);
    }
}

TEST(DocumentText, ASecondLoadReplacesTheFirst)
{
    TiXmlDocument document;
    EXPECT_TRUE(Load(&document, "<a/><b/>"));
    EXPECT_TRUE(Load(&document, "<c/>"));
    EXPECT_STREQ(document.FirstChild()->Value(), "c");
    EXPECT_EQ(document.FirstChild()->NextSibling(), nullptr);
}

TEST(DocumentText, EveryLineEndParsesAsALineFeed)
{
    TiXmlDocument lf;
    TiXmlDocument crlf;
    TiXmlDocument cr;
    EXPECT_TRUE(Load(&lf, "<?x?>\n<a p=\"1\n2\">\none\ntwo\n</a>\n"));
    EXPECT_TRUE(Load(&crlf, "<?x?>\r\n<a p=\"1\r\n2\">\r\none\r\ntwo\r\n</a>\r\n"));
    EXPECT_TRUE(Load(&cr, "<?x?>\r<a p=\"1\r2\">\rone\rtwo\r</a>\r"));
    EXPECT_EQ(Printed(lf), Printed(crlf));
    EXPECT_EQ(Printed(lf), Printed(cr));
    const TiXmlElement* a = crlf.FirstChild()->NextSibling()->ToElement();
    EXPECT_STREQ(a->Attribute("p"), "1\n2");
    EXPECT_EQ(a->Row(), 2);
}

TEST(DocumentText, ACarriageReturnAtTheVeryEndStaysInside)
{
    TiXmlDocument document;
    EXPECT_TRUE(Load(&document, "<a/>\r"));
    EXPECT_STREQ(document.FirstChild()->Value(), "a");
}

TEST(DocumentText, AZeroByteEndsTheDocumentWithoutAnError)
{
    TiXmlDocument document;
    EXPECT_TRUE(Load(&document, std::string("<a/>\0<b/></broken", 17)));
    EXPECT_FALSE(document.Error());
    EXPECT_STREQ(document.FirstChild()->Value(), "a");
    EXPECT_EQ(document.FirstChild()->NextSibling(), nullptr);
}

TEST(DocumentText, TextNeedsNoTerminator)
{
    const unsigned char bytes[] = {'<', 'a', '/', '>', '<', 'b', '/', '>'};
    TiXmlDocument document;
    EXPECT_TRUE(LoadFromString(&document, bytes, 4, TIXML_ENCODING_UNKNOWN));
    EXPECT_EQ(document.FirstChild()->NextSibling(), nullptr);
}

TEST(DocumentText, TextThatDoesNotParseIsAnError)
{
    TiXmlDocument document;
    EXPECT_FALSE(Load(&document, "<a><b></a>"));
    EXPECT_TRUE(document.Error());
    EXPECT_TRUE(Load(&document, "<a/>")); // and the next load starts afresh
    EXPECT_FALSE(document.Error());
}

static std::string Nested(int depth)
{
    std::string text;
    for (int i = 0; i < depth; ++i)
    {
        text += "<a>";
    }
    for (int i = 0; i < depth; ++i)
    {
        text += "</a>";
    }
    return text;
}

TEST(DocumentText, NestingThatWouldUseUpTheStackIsAnError)
{
    TiXmlDocument document;
    EXPECT_TRUE(Load(&document, Nested(1000)));
    EXPECT_FALSE(Load(&document, Nested(1001)));
    EXPECT_EQ(document.ErrorId(), TiXmlBase::TIXML_ERROR_PARSING_ELEMENT);
    EXPECT_FALSE(Load(&document, Nested(1000000)));
    EXPECT_TRUE(Load(&document, "<a/>"));
}

TEST(DocumentText, WhatLooksLikeAnEndInsideTextHidesNoNesting)
{
    std::string text;
    for (int i = 0; i < 100000; ++i)
    {
        text += "<a b=\"/></a>\">/>";
    }
    TiXmlDocument document;
    EXPECT_FALSE(Load(&document, text));
}

TEST(DocumentText, ManyElementsSideBySideAreNoNesting)
{
    std::string text;
    for (int i = 0; i < 5000; ++i)
    {
        text += "<a b='1/2'/><c>&lt;</c><!-- <d> --><![CDATA[<e>]]><?f <g>?>";
    }
    TiXmlDocument document;
    EXPECT_TRUE(Load(&document, text)) << document.ErrorDesc();
}

TEST(DocumentText, AttributesWithoutEndAreAnError)
{
    std::string few = "<a";
    std::string many = "<a";
    for (int i = 0; i < 200000; ++i)
    {
        many += " a" + std::to_string(i) + "=''";
        few += i < 1000 ? " a" + std::to_string(i) + "='='" : "";
    }
    TiXmlDocument document;
    EXPECT_TRUE(Load(&document, few + "/>"));
    EXPECT_FALSE(Load(&document, many + "/>"));
    EXPECT_EQ(document.ErrorId(), TiXmlBase::TIXML_ERROR_PARSING_ELEMENT);
}
