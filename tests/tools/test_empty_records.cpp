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

static std::string Emptied(const DocumentSource& source, size_t count)
{
    std::string text = MakeDocumentText(source);
    EmptiedPiece emptied = {};
    EXPECT_EQ(EmptyUnreachedRecords(&text, &emptied).size(), count);
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
        EmptiedPiece emptied = {};
        EXPECT_TRUE(EmptyUnreachedRecords(&changed, &emptied).empty());
        EXPECT_TRUE(emptied.isUnsure);
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

TEST(EmptyRecords, EmptyTexturesLayersAndMaterials)
{
    DocumentSource source = Source();
    source.sections[0] = R"(<l type="5"><p>1</p></l><l type="5"><p>1</p></l>)";
    source.sections[1] = R"(<t><layer type="101" id="1"/></t><t><layer type="101" id="0"/></t>)";
    source.sections[7] = R"(<m type="2"><p type="static" value="1"/><texture value="1"/></m>)"
                         R"(<m type="2"><p type="dynamic" value="1"/><texture value="2"/></m>)";
    const std::string text = Emptied(source, 6);
    EXPECT_NE(text.find(R"(<l type="0"><p>0</p><p>0</p><p>0</p></l><l type="5"><p>1</p></l>)"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find(R"(<layer type="101" id="1"/></t><t/>)"), std::string::npos) << text;
    EXPECT_NE(text.find(R"(<m type="2"><p type="static" value="0"/><texture value="0"/></m>)"),
              std::string::npos)
        << text;
}

TEST(EmptyRecords, TellWhichFilesNoClipReaches)
{
    DocumentSource source = Source();
    source.sections[2] = R"(<m filename="shown"/><m filename="hidden"/><m filename="shown"/>)"
                         R"(<m filename="both"/>)";
    source.sections[6] = R"(<b filename="both"/><b filename="picture"/>)";
    std::string text = MakeDocumentText(source);
    EmptiedPiece emptied = {};
    EmptyUnreachedRecords(&text, &emptied);
    EXPECT_EQ(FindFileUse(emptied, "shown"), FileUse::kReached);
    EXPECT_EQ(FindFileUse(emptied, "hidden"), FileUse::kUnreachedModel);
    EXPECT_EQ(FindFileUse(emptied, "picture"), FileUse::kUnreachedBitmap);
    EXPECT_EQ(FindFileUse(emptied, "both"), FileUse::kReached);
    EXPECT_EQ(FindFileUse(emptied, "stranger"), FileUse::kReached);

    // Another document shows a file, or can't tell.
    source.sections[9] = R"(<s><o object="2" material="1"/></s>)";
    source.sections[10] = R"(<row><clip id="1"/></row>)";
    text = MakeDocumentText(source);
    EmptyUnreachedRecords(&text, &emptied);
    EXPECT_EQ(FindFileUse(emptied, "hidden"), FileUse::kReached);
    text = "<a/>";
    EmptyUnreachedRecords(&text, &emptied);
    EXPECT_EQ(FindFileUse(emptied, "picture"), FileUse::kReached);
}
