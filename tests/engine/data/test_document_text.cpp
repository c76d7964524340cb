// SPDX-License-Identifier: MIT
#include "engine/data/document_text.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "support/failing_memory.h"
#include "support/fault_text.h"

static bool Load(TiXmlDocument* document, const std::string& text)
{
    FaultList faults = {};
    const bool isParsed =
        LoadFromString(document, reinterpret_cast<const unsigned char*>(text.data()),
                       static_cast<long>(text.size()), TIXML_ENCODING_UNKNOWN, &faults);
    EXPECT_EQ(FaultText(faults), "");
    FreeFaults(&faults);
    return isParsed;
}

/// The lines of loading a text that the parser is not given; the document is empty then.
static std::string Refusal(const std::string& text)
{
    TiXmlDocument document;
    FaultList faults = {};
    faults.place = PlaceAt("demo.xmlz", Section::kNone);
    EXPECT_FALSE(LoadFromString(&document, reinterpret_cast<const unsigned char*>(text.data()),
                                static_cast<long>(text.size()), TIXML_ENCODING_UNKNOWN, &faults));
    EXPECT_EQ(document.FirstChild(), nullptr);
    const std::string lines = FaultText(faults);
    FreeFaults(&faults);
    return lines;
}

static const std::string kTooDeep =
    "quorvale: demo.xmlz: the text nests deeper than 1000 elements\n";
static const std::string kTooManyAttributes =
    "quorvale: demo.xmlz: an element has more than 64 attributes\n";
static const std::string kTooManyNodes =
    "quorvale: demo.xmlz: the text has more than 1000000 elements, attributes and texts\n";

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
    FaultList faults = {};
    EXPECT_FALSE(LoadFromString(&document, nullptr, 10, TIXML_ENCODING_UNKNOWN, &faults));
    EXPECT_FALSE(HasFailed(&faults));
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
        FaultList faults = {};
        EXPECT_FALSE(LoadFromString(&document, &byte, length, TIXML_ENCODING_UNKNOWN, &faults));
        EXPECT_FALSE(HasFailed(&faults));
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
    FaultList faults = {};
    EXPECT_TRUE(LoadFromString(&document, bytes, 4, TIXML_ENCODING_UNKNOWN, &faults));
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
    EXPECT_EQ(Refusal(Nested(1001)), kTooDeep);
    EXPECT_EQ(Refusal(Nested(1000000)), kTooDeep);
}

TEST(DocumentText, WhatLooksLikeAnEndInsideTextHidesNoNesting)
{
    std::string text;
    for (int i = 0; i < 100000; ++i)
    {
        text += "<a b=\"/></a>\">/>";
    }
    EXPECT_EQ(Refusal(text), kTooDeep);
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
        few += i < 64 ? " a" + std::to_string(i) + "='='" : "";
    }
    TiXmlDocument document;
    EXPECT_TRUE(Load(&document, few + "/>"));
    EXPECT_EQ(Refusal(many + "/>"), kTooManyAttributes);
}

TEST(DocumentText, OneAttributeMoreThan64IsAnError)
{
    std::string text = "<a";
    for (int i = 0; i < 64; ++i)
    {
        text += " a" + std::to_string(i) + "=''";
    }
    TiXmlDocument document;
    EXPECT_TRUE(Load(&document, text + "/><b c=''/>")); // each element counts for itself
    EXPECT_EQ(Refusal(text + " b=''/>"), kTooManyAttributes);
}

static std::string Repeated(const std::string& text, int count)
{
    std::string all;
    for (int i = 0; i < count; ++i)
    {
        all += text;
    }
    return all;
}

TEST(DocumentText, MoreThanAMillionNodesAreAnError)
{
    TiXmlDocument document;
    EXPECT_EQ(Refusal(Repeated("<a/>", 1000001)), kTooManyNodes);
    EXPECT_EQ(Refusal(Repeated("<a b=''/>", 500001)), kTooManyNodes); // attributes are nodes too
    EXPECT_EQ(Refusal(Repeated("<a>b</a>", 400000)), kTooManyNodes);  // and so is text
    EXPECT_EQ(Refusal(Repeated("</a>", 1000001)), kTooManyNodes);     // and an end without a begin
    EXPECT_TRUE(Load(&document, Repeated("<a>b</a>", 100000)));
}

/// Leaves elements in the heap, where the next blocks of up to 200 bytes will lie.
static void SoilHeap()
{
    char* blocks[25];
    for (size_t i = 0; i < 25; ++i)
    {
        blocks[i] = static_cast<char*>(malloc(8 * i + 8));
        for (size_t k = 0; k < 8 * i + 8; ++k)
        {
            blocks[i][k] = "<strange/>"[k % 10];
        }
    }
    for (char* block : blocks)
    {
        free(block);
    }
}

TEST(DocumentText, ATextThatEndsInsideACharacterEndsThere)
{
    // A sequence's first byte makes the parser skip up to four, past the zero at the end.
    for (const char* end : {"\xF0", "\xF0\x9F", "\xE2", "\xC3", "\xEF\xBB"})
    {
        for (const char* begin :
             {"", "<", "<a", "<a ", "<a b", "<a b='", "<a>", "<a>x", "<!--", "<![CDATA[", "<?",
              "<!", "<a>&#x", "</", "<a></", "<a>1234567890123456"})
        {
            TiXmlDocument document;
            const std::string text = std::string("<?xml encoding='UTF-8'?>") + begin + end;
            SoilHeap();
            Load(&document, text);
            EXPECT_EQ(Printed(document).find("strange"), std::string::npos) << text;
        }
    }
}

TEST(DocumentText, NothingLeaksWhenMemoryRunsOut)
{
    // An element of each kind, strings that grow, an error in the text, and enough nodes to make
    // the list of blocks grow.
    const std::string texts[] = {
        "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?><!-- a comment that is long "
        "-->"
        "<a b=\"a value that is longer than a small string\">a text that is longer than that</a>"
        "<![CDATA[<any text of some length that is data>]]><!DOCTYPE of some length>",
        "<a b=\"1\"><c><d>text</d><an error in the text",
        Repeated("<e f='1'/>", 300),
        "",
    };
    for (const std::string& text : texts)
    {
        RunOutOfMemory(
            [&text]
            {
                FaultList faults = {};
                TiXmlDocument document;
                const bool isParsed =
                    LoadFromString(&document, reinterpret_cast<const unsigned char*>(text.data()),
                                   static_cast<long>(text.size()), TIXML_ENCODING_UNKNOWN, &faults);
                const bool isRight =
                    isParsed ? !HasFailed(&faults) : document.Error() || HasFailed(&faults);
                const bool isEmptyAfterAFault =
                    !HasFailed(&faults) || document.FirstChild() == nullptr;
                FreeFaults(&faults);
                return isRight && isEmptyAfterAFault;
            });
    }
}

TEST(DocumentText, AFaultTellsThatThereIsNoMemory)
{
    const std::string text = "<a><b/></a>";
    FaultList faults = {};
    TiXmlDocument document;
    FailAllocationsFrom(2); // after the text itself
    const bool isParsed =
        LoadFromString(&document, reinterpret_cast<const unsigned char*>(text.data()),
                       static_cast<long>(text.size()), TIXML_ENCODING_UNKNOWN, &faults);
    AllowAllocations();
    EXPECT_FALSE(isParsed);
    EXPECT_EQ(FaultText(faults), "quorvale: no memory for the tree of a text\n");
    FreeFaults(&faults);
    EXPECT_TRUE(Load(&document, text)); // and the document can be used again
}

TEST(DocumentText, ALargeTreeLeavesNothingWithoutMemory)
{
    // Some megabytes of nodes, attributes and strings, short ones and long ones.
    std::string text = "<a>";
    for (int i = 0; i < 30000; ++i)
    {
        text += "<b c=\"" + std::to_string(i) + "\">text</b>";
    }
    text += "<d e=\"" + std::string(20000, 'x') + "\"/></a>";

    bool hasFailed = true;
    uint64_t k = 1;
    for (; hasFailed; ++k)
    {
        const int64_t before = LiveBlocks();
        {
            FaultList faults = {};
            TiXmlDocument document;
            FailAllocation(k);
            const bool isParsed =
                LoadFromString(&document, reinterpret_cast<const unsigned char*>(text.data()),
                               static_cast<long>(text.size()), TIXML_ENCODING_UNKNOWN, &faults);
            hasFailed = AllowAllocations() >= k;
            EXPECT_EQ(isParsed, !hasFailed) << k;
            FreeFaults(&faults);
        }
        EXPECT_EQ(LiveBlocks(), before) << k;
    }
    EXPECT_GT(k, 8u);
}

TEST(DocumentText, ARefusalKnowsItsLine)
{
    const std::string text = "<a/>\n<b/>\n" + Nested(1001);
    TiXmlDocument document;
    FaultList faults = {};
    LoadFromString(&document, reinterpret_cast<const unsigned char*>(text.data()),
                   static_cast<long>(text.size()), TIXML_ENCODING_UNKNOWN, &faults);
    EXPECT_EQ(GetFault(&faults, 0)->place.line, 3);
    FreeFaults(&faults);
}
