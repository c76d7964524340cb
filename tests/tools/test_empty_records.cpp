// SPDX-License-Identifier: MIT
#include "tools/empty_records.h"

#include <gtest/gtest.h>

#include "support/package_builder.h"

/// A document of which a clip shows scene 1.
static DocumentSource Source()
{
    DocumentSource source;
    source.sections[3] = R"(<e><piece/></e><e><piece/></e><e><piece/></e><e/>)";
    source.sections[7] = R"(<m type="0"><p type="dynamic" value="2"/></m>)";
    source.sections[9] = R"(<s><o object="1" material="1"><x type="static" value="1"/></o></s>)"
                         R"(<s><o object="1" material="1"><x type="dynamic" value="3"/></o></s>)";
    source.sections[10] = R"(<row><clip id="1"><x type="static" value="3"/></clip></row>)";
    source.music = "<music/>";
    return source;
}

static std::string Emptied(const DocumentSource& source, uint32_t count)
{
    std::string text = MakeDocumentText(source);
    EXPECT_EQ(EmptyUnreachedRecords(&text), count);
    return text;
}

TEST(EmptyRecords, LeaveWhatAClipReaches)
{
    const std::string text = Emptied(Source(), 3);
    // Envelope 2 drives the material of the scene that is shown.
    EXPECT_NE(text.find("<e/><e><piece/></e><e/><e/>"), std::string::npos) << text;
    EXPECT_NE(text.find("</s><s/>"), std::string::npos) << text;
}

TEST(EmptyRecords, FollowTheCameraAndTheFog)
{
    DocumentSource source = Source();
    source.sections[10] = R"(<row><clip id="0"><x type="dynamic" value="1"/>)"
                          R"(<fog><colour value="1"/></fog></clip></row>)";
    const std::string text = Emptied(source, 3);
    EXPECT_NE(text.find("<e><piece/></e><e><piece/></e><e/><e/>"), std::string::npos) << text;
}

TEST(EmptyRecords, LeaveADocumentThatLacksASection)
{
    for (const char* text : {"", "<a>", "<?xml version=\"1.0\"?><layers/>", "<a/><b/>"})
    {
        std::string changed = text;
        EXPECT_EQ(EmptyUnreachedRecords(&changed), 0U);
        EXPECT_EQ(changed, text);
    }
}

TEST(EmptyRecords, LeaveATextInWhichNothingIsToEmpty)
{
    DocumentSource source = Source();
    source.sections[3] = "<e/>\n<e><piece/></e>\n<e/>";
    source.sections[9] = R"(<s><o object="1" material="1"/></s>)";
    EXPECT_EQ(Emptied(source, 0), MakeDocumentText(source));
}
