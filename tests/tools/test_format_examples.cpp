// SPDX-License-Identifier: MIT
#include <cstdio>
#include <gtest/gtest.h>
#include <string>
#include <tinyxml.h>

#include "engine/data/document_text.h"

static std::string ReadDescription()
{
    std::string text;
    FILE* stream = fopen(FORMAT_DESCRIPTION, "rb");
    EXPECT_NE(stream, nullptr);
    char block[4096];
    for (size_t got = 0; (got = fread(block, 1, sizeof(block), stream)) > 0;)
    {
        text.append(block, got);
    }
    fclose(stream);
    return text;
}

/// The block of XML below a heading such as "### loading.xml".
static std::string ExampleBelow(const std::string& heading)
{
    std::string text = ReadDescription();
    const std::string fence = "\n```xml\n";
    size_t section = text.find("\n" + heading + "\n");
    EXPECT_NE(section, std::string::npos) << heading;
    size_t start = text.find(fence, section) + fence.size();
    size_t end = text.find("\n```\n", start);
    return text.substr(start, end + 1 - start);
}

static int CountChildNodes(const TiXmlNode* node)
{
    int count = 0;
    for (const TiXmlNode* child = node->FirstChild(); child != nullptr;
         child = child->NextSibling())
    {
        count += 1;
    }
    return count;
}

TEST(FormatDescription, BothExamplesHaveTwelveNodesAfterTheFirst)
{
    for (const char* heading : {"### loading.xml", "### demo.xml"})
    {
        std::string example = ExampleBelow(heading);
        TiXmlDocument document;
        FaultList faults;
        StartFaults(&faults);
        EXPECT_TRUE(
            LoadFromString(&document, reinterpret_cast<const unsigned char*>(example.data()),
                           static_cast<long>(example.size()), TIXML_ENCODING_UNKNOWN, &faults))
            << heading << ", line " << document.ErrorRow() << ": " << document.ErrorDesc();
        EXPECT_EQ(CountChildNodes(&document), 1 + 12) << heading;
        EXPECT_NE(document.FirstChild()->ToDeclaration(), nullptr);
        EXPECT_NE(document.LastChild()->ToElement(), nullptr);
    }
}

TEST(FormatDescription, EveryItemOfTheExamplesIsAnElement)
{
    for (const char* heading : {"### loading.xml", "### demo.xml"})
    {
        std::string example = ExampleBelow(heading);
        TiXmlDocument document;
        FaultList faults;
        StartFaults(&faults);
        LoadFromString(&document, reinterpret_cast<const unsigned char*>(example.data()),
                       static_cast<long>(example.size()), TIXML_ENCODING_UNKNOWN, &faults);
        for (const TiXmlNode* section = document.FirstChild()->NextSibling(); section != nullptr;
             section = section->NextSibling())
        {
            ASSERT_NE(section->ToElement(), nullptr) << heading;
            for (const TiXmlNode* item = section->FirstChild(); item != nullptr;
                 item = item->NextSibling())
            {
                EXPECT_NE(item->ToElement(), nullptr) << heading << ": " << item->Value();
            }
        }
    }
}
