// SPDX-License-Identifier: MIT
#include "engine/render/records/timeline.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "engine/animation/animated_value.h"
#include "engine/data/fault.h"
#include "support/failing_memory.h"
#include "support/fault_text.h"

class TimelineTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        StartFaults(&faults);
        timeline = CreateTimeline(&faults);
        document.name = "demo.xmlz";
        document.document = &tree;
        document.timeline = timeline;
        context.document = &document;
        context.faults = &faults;
    }

    void TearDown() override
    {
        free(timeline);
        FreeFaults(&faults);
    }

    void Parse(const std::string& text)
    {
        tree.Parse(text.c_str());
        ASSERT_FALSE(tree.Error()) << tree.ErrorDesc();
    }

    /// Reads <row>clips</row> as row number `row`.
    bool ReadRowItem(const std::string& clips, uint32_t row)
    {
        tree.Clear();
        Parse("<row>" + clips + "</row>");
        faults.place = PlaceAt("demo.xmlz", Section::kTimeline, row + 1);
        return ReadTimelineRow(tree.RootElement(), nullptr, row, &context);
    }

    void ReadRow(const std::string& clips, uint32_t row = 0)
    {
        EXPECT_TRUE(ReadRowItem(clips, row));
        EXPECT_EQ(FaultText(faults), "");
        EXPECT_EQ(faults.place.part, 0u);
    }

    /// @return the line of a fault from its row on
    std::string FaultOf(const std::string& clips, uint32_t row = 0)
    {
        EXPECT_FALSE(ReadRowItem(clips, row));
        const std::string lines = FaultText(faults);
        FreeFaults(&faults);
        const std::string place = "quorvale: demo.xmlz, section 10 (timeline), ";
        EXPECT_EQ(lines.substr(0, place.size()), place);
        return lines.substr(place.size());
    }

    /// The slots of a row that hold a clip, from the first to the last given second.
    std::vector<uint32_t> Slots(uint32_t row, uint32_t first, uint32_t last) const
    {
        return {timeline->slotIndex[row] + first, timeline->slotIndex[row] + last + 1};
    }

    TiXmlDocument tree;
    DemoDocument document = {};
    FaultList faults;
    ReadContext context = {};
    Timeline* timeline = nullptr;
};

using SlotList = std::vector<uint32_t>;

static std::string Value(const std::string& type, const std::string& value)
{
    return "<v type=\"" + type + "\" value=\"" + value + "\"/>";
}

static std::string Camera()
{
    std::string text;
    for (int i = 0; i < 6; ++i)
    {
        text += Value("static", "0");
    }
    return text;
}

static std::string Attributes(int space, int length)
{
    return "id=\"1\" space_before=\"" + std::to_string(space) + "\" length=\"" +
           std::to_string(length) + "\" offset=\"0\" type=\"0\"";
}

static std::string Clip(const std::string& attributes, const std::string& children)
{
    return "<c " + attributes + ">" + children + "</c>";
}

static std::string PlainClip(int space, int length)
{
    return Clip(Attributes(space, length), Camera() + Value("static", "60") + "<f type=\"0\"/>");
}

// The index by second.

TEST_F(TimelineTest, AClipFillsTheSlotsFromItsFirstToItsLastSecond)
{
    AddClipToIndex(0, 250, 7, 3, timeline);
    EXPECT_EQ(Slots(3, 0, 4), (SlotList{7, 7, 7, 0, 0}));
    EXPECT_EQ(timeline->clipEnd[3][7], 250u);
    EXPECT_EQ(timeline->rowEnd[3], 250u);
    EXPECT_EQ(timeline->slotIndex[2][1], 0u);
    EXPECT_EQ(timeline->slotIndex[4][0], 0u);
}

TEST_F(TimelineTest, AClipFromInsideASecondStartsWithTheNextSlot)
{
    AddClipToIndex(0, 250, 5, 0, timeline);
    AddClipToIndex(250, 500, 6, 0, timeline);
    EXPECT_EQ(Slots(0, 0, 6), (SlotList{5, 5, 5, 6, 6, 6, 0}));
}

TEST_F(TimelineTest, ALaterClipTakesTheSlotThatItShares)
{
    AddClipToIndex(0, 300, 5, 0, timeline);
    EXPECT_EQ(Slots(0, 0, 4), (SlotList{5, 5, 5, 5, 0}));
    AddClipToIndex(300, 400, 6, 0, timeline);
    EXPECT_EQ(Slots(0, 0, 5), (SlotList{5, 5, 5, 6, 6, 0}));
}

TEST_F(TimelineTest, AClipInsideASecondAndNotFromItsStartIsDropped)
{
    AddClipToIndex(0, 110, 0, 0, timeline);
    AddClipToIndex(110, 190, 1, 0, timeline);
    AddClipToIndex(110, 199, 2, 0, timeline); // up to the very last tick of it
    EXPECT_EQ(Slots(0, 0, 3), (SlotList{0, 0, 0, 0}));
    EXPECT_EQ(timeline->clipEnd[0][1], 0u);
    EXPECT_EQ(timeline->clipEnd[0][2], 0u);
    EXPECT_EQ(timeline->rowEnd[0], 110u);

    AddClipToIndex(110, 200, 3, 0, timeline); // reaches the next second
    EXPECT_EQ(Slots(0, 0, 3), (SlotList{0, 0, 3, 0}));
    EXPECT_EQ(timeline->clipEnd[0][3], 200u);
    EXPECT_EQ(timeline->rowEnd[0], 200u);
}

TEST_F(TimelineTest, AClipInsideOneSecondThatBeginsWithItStays)
{
    AddClipToIndex(100, 150, 4, 0, timeline);
    EXPECT_EQ(Slots(0, 0, 2), (SlotList{0, 4, 0}));
    EXPECT_EQ(timeline->clipEnd[0][4], 150u);

    AddClipToIndex(200, 200, 5, 0, timeline); // no length at all
    EXPECT_EQ(Slots(0, 1, 3), (SlotList{4, 5, 0}));
}

TEST_F(TimelineTest, TheEndOfARowOnlyRises)
{
    AddClipToIndex(0, 500, 0, 0, timeline);
    AddClipToIndex(0, 400, 1, 0, timeline);
    EXPECT_EQ(timeline->rowEnd[0], 500u);
    EXPECT_EQ(timeline->clipEnd[0][1], 400u);
}

TEST_F(TimelineTest, SlotsPastTheBlockAreLeftOut)
{
    AddClipToIndex(102200, 4294967295u, 9, 0, timeline);
    EXPECT_EQ(Slots(0, 1021, 1023), (SlotList{0, 9, 9}));
    EXPECT_EQ(timeline->clipEnd[0][9], 4294967295u);
    EXPECT_EQ(timeline->slotIndex[1][0], 0u);

    AddClipToIndex(102400, 102500, 8, 31, timeline); // after the last row's last slot
    EXPECT_EQ(timeline->slotIndex[31][1023], 0u);
    EXPECT_EQ(timeline->clipEnd[0][0], 0u);
    EXPECT_EQ(timeline->clipEnd[31][8], 102500u);
}

TEST_F(TimelineTest, TimesThatWrapFillNoSlot)
{
    AddClipToIndex(4294967200u, 50, 3, 0, timeline); // on a second
    AddClipToIndex(4294967250u, 30, 4, 0, timeline); // inside one
    for (uint32_t slot = 0; slot < kTimelineSeconds; ++slot)
    {
        ASSERT_EQ(timeline->slotIndex[0][slot], 0u) << slot;
    }
    EXPECT_EQ(timeline->clipEnd[0][3], 50u);
    EXPECT_EQ(timeline->clipEnd[0][4], 30u);
}

// The block.

static bool IsAllZero(const Timeline* timeline)
{
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(timeline);
    return std::all_of(bytes, bytes + sizeof(Timeline), [](unsigned char b) { return b == 0; });
}

TEST_F(TimelineTest, ANewBlockIsClear)
{
    EXPECT_TRUE(IsAllZero(timeline));
}

TEST_F(TimelineTest, InitializingClearsWhatAFrameSearchesIn)
{
    memset(static_cast<void*>(timeline), 0xCD, sizeof(Timeline));
    InitializeTimeline(timeline);
    for (uint32_t row = 0; row < kTimelineRows; ++row)
    {
        EXPECT_EQ(timeline->clipCount[row], 0u);
        EXPECT_EQ(timeline->rowEnd[row], 0u);
        for (uint32_t i = 0; i < 1024; ++i)
        {
            ASSERT_EQ(timeline->clipEnd[row][i], 0u);
            ASSERT_EQ(timeline->slotIndex[row][i], 0u);
        }
    }
}

TEST_F(TimelineTest, OnlyTheDemosBlockIsClearedWhenItsSectionIsRead)
{
    timeline->clipCount[5] = 3;
    context.isDemo = false;
    EXPECT_TRUE(BeginTimeline(&context));
    EXPECT_EQ(timeline->clipCount[5], 3u);
    context.isDemo = true;
    EXPECT_TRUE(BeginTimeline(&context));
    EXPECT_EQ(timeline->clipCount[5], 0u);
}

// Reading.

TEST_F(TimelineTest, AClipsAttributesGoToTheirColumns)
{
    ReadRow(Clip("id=\"12\" space_before=\"30\" length=\"400\" offset=\"-5\" type=\"3\"",
                 Camera() + Value("static", "60") + "<f type=\"0\"/>"),
            4);
    EXPECT_EQ(timeline->clipCount[4], 1u);
    EXPECT_EQ(timeline->sceneId[4][0], 12u);
    EXPECT_EQ(timeline->spaceBefore[4][0], 30u);
    EXPECT_EQ(timeline->length[4][0], 400u);
    EXPECT_EQ(timeline->offset[4][0], 4294967291u);
    EXPECT_EQ(timeline->passKind[4][0], kPassClearDepth);
    EXPECT_EQ(timeline->clipCount[3], 0u);
    EXPECT_EQ(timeline->clipCount[5], 0u);
}

TEST_F(TimelineTest, CameraValuesAreFloatsOrEnvelopes)
{
    ReadRow(Clip(Attributes(0, 100), Value("static", "1.5") + Value("dynamic", "2") +
                                         Value("static", "-3") + Value("dynamic", "4.9") +
                                         Value("Dynamic", "5") + Value("", "6e1") +
                                         Value("static", "60") + "<f type=\"0\"/>"));
    EXPECT_EQ(SlotFloat(timeline->cameraX.slot[0][0]), 1.5f);
    EXPECT_EQ(timeline->cameraX.dynamic[0][0], 0);
    EXPECT_EQ(timeline->cameraY.slot[0][0], 2u);
    EXPECT_EQ(timeline->cameraY.dynamic[0][0], 1);
    EXPECT_EQ(SlotFloat(timeline->cameraZ.slot[0][0]), -3.0f);
    EXPECT_EQ(timeline->cameraZ.dynamic[0][0], 0);
    EXPECT_EQ(timeline->cameraRotX.slot[0][0], 4u);
    EXPECT_EQ(timeline->cameraRotX.dynamic[0][0], 1);
    EXPECT_EQ(SlotFloat(timeline->cameraRotY.slot[0][0]), 5.0f);
    EXPECT_EQ(timeline->cameraRotY.dynamic[0][0], 0);
    EXPECT_EQ(SlotFloat(timeline->cameraRotZ.slot[0][0]), 60.0f);
    EXPECT_EQ(timeline->cameraRotZ.dynamic[0][0], 0);
}

TEST_F(TimelineTest, TheProjectionIsTheSeventhChild)
{
    const std::string noFog = "<f type=\"0\"/>";
    ReadRow(Clip(Attributes(0, 100), Camera() + Value("static", "72.5") + noFog) +
            Clip(Attributes(0, 100), Camera() + Value("dynamic", "9") + noFog) +
            Clip(Attributes(0, 100), Camera() + "<v type=\"ortographic\"/>" + noFog) +
            Clip(Attributes(0, 100), Camera() + Value("orthographic", "30") + noFog));
    EXPECT_EQ(timeline->projectionKind[0][0], kProjectionPerspective);
    EXPECT_EQ(SlotFloat(timeline->fov[0][0]), 72.5f);
    EXPECT_EQ(timeline->projectionKind[0][1], kProjectionAnimatedFov);
    EXPECT_EQ(timeline->fov[0][1], 9u);
    EXPECT_EQ(timeline->projectionKind[0][2], kProjectionOrthographic);
    EXPECT_EQ(timeline->projectionKind[0][3], kProjectionPerspective); // spelled unlike the format
    EXPECT_EQ(SlotFloat(timeline->fov[0][3]), 30.0f);
}

TEST_F(TimelineTest, FogThatIsOnHasFourChildren)
{
    ReadRow(Clip(Attributes(0, 100), Camera() + Value("static", "60") + "<f type=\"1\">" +
                                         Value("static", "0.5") + Value("dynamic", "3") +
                                         Value("static", "250") + "<v value=\"6\"/></f>"));
    EXPECT_EQ(timeline->fogMode[0][0], 1);
    EXPECT_EQ(SlotFloat(timeline->fogDensity.slot[0][0]), 0.5f);
    EXPECT_EQ(timeline->fogDensity.dynamic[0][0], 0);
    EXPECT_EQ(timeline->fogStart.slot[0][0], 3u);
    EXPECT_EQ(timeline->fogStart.dynamic[0][0], 1);
    EXPECT_EQ(SlotFloat(timeline->fogEnd.slot[0][0]), 250.0f);
    EXPECT_EQ(timeline->fogEnd.dynamic[0][0], 0);
    EXPECT_EQ(timeline->fogColorMaterial[0][0], 6u);
}

TEST_F(TimelineTest, TheFogsTypeIsCutToASignedByte)
{
    const std::string values =
        Value("static", "0") + Value("static", "1") + Value("static", "2") + "<v value=\"0\"/>";
    const std::string head = Camera() + Value("static", "60");
    ReadRow(Clip(Attributes(0, 100), head + "<f type=\"257\">" + values + "</f>") +
            Clip(Attributes(0, 100), head + "<f type=\"128\"/>") +
            Clip(Attributes(0, 100), head + "<f type=\"256\"/>") +
            Clip(Attributes(0, 100), head + "<f type=\"127\">" + values + "</f>"));
    EXPECT_EQ(timeline->fogMode[0][0], 1);
    EXPECT_EQ(timeline->fogMode[0][1], -128);
    EXPECT_EQ(timeline->fogMode[0][2], 0);
    EXPECT_EQ(timeline->fogMode[0][3], 127);
}

TEST_F(TimelineTest, FogThatIsOffLeavesItsValuesAsTheyWere)
{
    timeline->fogEnd.slot[0][0] = 77;
    timeline->fogColorMaterial[0][0] = 78;
    ReadRow(Clip(Attributes(0, 100), Camera() + Value("static", "60") + "<f type=\"-1\">" +
                                         Value("static", "0.5") + Value("static", "1") +
                                         Value("static", "2") + "<v value=\"5\"/></f>"));
    EXPECT_EQ(timeline->fogMode[0][0], -1);
    EXPECT_EQ(timeline->fogEnd.slot[0][0], 77u);
    EXPECT_EQ(timeline->fogColorMaterial[0][0], 78u);
}

TEST_F(TimelineTest, OnlyPassesToATextureReadTheirTarget)
{
    std::string clips;
    for (int kind = 0; kind <= 6; ++kind)
    {
        timeline->passParams[0][kind][0] = -1.0f;
        clips += Clip("id=\"1\" space_before=\"0\" length=\"100\" offset=\"0\" type=\"" +
                          std::to_string(kind) + "\" rtex=\"" + std::to_string(kind + 10) + "\"",
                      Camera() + Value("static", "60") + "<f type=\"0\"/>");
    }
    ReadRow(clips);
    const float expected[] = {-1, 11, -1, -1, 14, 15, -1};
    for (int kind = 0; kind <= 6; ++kind)
    {
        EXPECT_EQ(timeline->passParams[0][kind][0], expected[kind]) << kind;
    }
}

TEST_F(TimelineTest, TheRunningTimeOfARowCountsGapsAndLengths)
{
    ReadRow(PlainClip(50, 200) + PlainClip(0, 100) + PlainClip(100, 30));
    EXPECT_EQ(timeline->clipCount[0], 3u);
    EXPECT_EQ(timeline->clipEnd[0][0], 250u);
    EXPECT_EQ(timeline->clipEnd[0][1], 350u);
    EXPECT_EQ(timeline->clipEnd[0][2], 480u);
    EXPECT_EQ(timeline->rowEnd[0], 480u);
    EXPECT_EQ(Slots(0, 0, 5), (SlotList{0, 0, 0, 1, 2, 0}));

    ReadRow(PlainClip(0, 10), 1); // each row begins at 0
    EXPECT_EQ(timeline->clipEnd[1][0], 10u);
}

TEST_F(TimelineTest, AShortClipInsideASecondLeavesItsEndAtZero)
{
    ReadRow(PlainClip(0, 110) + PlainClip(0, 50) + PlainClip(0, 140));
    EXPECT_EQ(timeline->clipCount[0], 3u);
    EXPECT_EQ(timeline->clipEnd[0][0], 110u);
    EXPECT_EQ(timeline->clipEnd[0][1], 0u);
    EXPECT_EQ(timeline->clipEnd[0][2], 300u);
}

TEST_F(TimelineTest, ARowMayBeEmpty)
{
    ReadRow("");
    EXPECT_EQ(timeline->clipCount[0], 0u);
}

TEST_F(TimelineTest, ARowHoldsAThousandAndTwentyFourClips)
{
    std::string clips;
    for (int i = 0; i < 1024; ++i)
    {
        clips += PlainClip(0, 100);
    }
    ReadRow(clips, 31);
    EXPECT_EQ(timeline->clipCount[31], 1024u);
    EXPECT_EQ(timeline->clipEnd[31][1023], 102400u);
    EXPECT_EQ(timeline->slotIndex[31][1023], 1023u);
    EXPECT_EQ(timeline->rowEnd[31], 102400u);
}

/// Reads a whole document whose rows are <row>clips</row>; all other sections are empty.
static bool ReadDocument(const std::vector<std::string>& rows, TiXmlDocument* tree,
                         ReadContext* context)
{
    std::string text = "<first/>";
    for (int section = 0; section < 10; ++section)
    {
        text += "<s/>";
    }
    text += "<s>";
    for (const std::string& row : rows)
    {
        text += "<row>" + row + "</row>";
    }
    text += "</s><m/>";
    tree->Clear();
    tree->Parse(text.c_str());
    EXPECT_FALSE(tree->Error()) << tree->ErrorDesc();

    std::vector<SectionReader> readers(kSectionCount);
    readers[10] = {nullptr, 0, kTimelineRows, BeginTimeline, ReadTimelineRow, EndTimeline, nullptr};
    return ReadSections(readers.data(), context);
}

TEST_F(TimelineTest, RowsPastTheThirtySecondAreIgnored)
{
    context.isDemo = true;
    std::vector<std::string> rows(34, PlainClip(0, 100));
    rows[32] = "no clip at all"; // would be a fault
    EXPECT_TRUE(ReadDocument(rows, &tree, &context));
    EXPECT_EQ(timeline->clipCount[31], 1u);
    EXPECT_EQ(timeline->clipEnd[31][0], 100u);
}

TEST_F(TimelineTest, ATimelineWithoutARowIsAFault)
{
    EXPECT_TRUE(ReadDocument({""}, &tree, &context)); // one without clips will do
    EXPECT_EQ(timeline->clipCount[0], 0u);
    EXPECT_FALSE(ReadDocument({}, &tree, &context));
    EXPECT_EQ(FaultText(faults),
              "quorvale: demo.xmlz, section 10 (timeline): the timeline has no row\n");
}

TEST_F(TimelineTest, AClipTooManyIsAFault)
{
    std::string clips;
    for (int i = 0; i < 1025; ++i)
    {
        clips += PlainClip(0, 1);
    }
    EXPECT_EQ(FaultOf(clips, 2), "row 3, clip 1025: the row has more than 1024 clips\n");
}

TEST_F(TimelineTest, AMissingAttributeIsAFault)
{
    const char* names[] = {"id", "space_before", "length", "offset", "type", "rtex"};
    for (const char* missing : names)
    {
        std::string attributes;
        for (const char* name : names)
        {
            attributes += strcmp(name, missing) == 0 ? "" : std::string(name) + "=\"1\" ";
        }
        const std::string clips =
            PlainClip(0, 100) +
            Clip(attributes, Camera() + Value("static", "60") + "<f type=\"0\"/>");
        EXPECT_EQ(FaultOf(clips, 1),
                  "row 2, clip 2: attribute \"" + std::string(missing) + "\" of <c> is missing\n");
    }
    EXPECT_EQ(FaultOf(PlainClip(0, 100) + "<c/>", 1), // the first of several is the one
              "row 2, clip 2: attribute \"id\" of <c> is missing\n");
}

TEST_F(TimelineTest, AMissingChildIsAFault)
{
    const struct
    {
        std::string children;
        const char* fault;
    } cases[] = {
        {"", "camera x is missing"},
        {Value("static", "1") + Value("static", "1"), "camera z is missing"},
        {Camera(), "field of view is missing"},
        {Camera() + "<v/>", "attribute \"type\" of <v> is missing"},
        {Camera() + Value("static", "60"), "fog is missing"},
        {Camera() + Value("static", "60") + "<f/>", "attribute \"type\" of <f> is missing"},
        {Camera() + Value("static", "60") + "<f type=\"1\"/>", "fog density is missing"},
        {Camera() + Value("static", "60") + "<f type=\"1\">" + Value("static", "1") +
             Value("static", "1") + Value("static", "1") + "</f>",
         "fog colour is missing"},
        {Camera() + "text" + Value("static", "60"), "field of view is not an element"},
        {Camera() + "<v type=\"static\"/>", "attribute \"value\" of <v> is missing"},
    };
    for (const auto& c : cases)
    {
        EXPECT_EQ(FaultOf(Clip(Attributes(0, 100), c.children)),
                  std::string("row 1, clip 1: ") + c.fault + "\n");
    }
}

TEST_F(TimelineTest, TextBetweenClipsIsAFault)
{
    EXPECT_EQ(FaultOf(PlainClip(0, 100) + "text"), "row 1, clip 2: clip is not an element\n");
}

TEST_F(TimelineTest, WithoutMemoryIsAFaultWithoutAPlace)
{
    faults.place = PlaceAt("demo.xmlz", Section::kTimeline, 1);
    FailAllocation(1);
    Timeline* none = CreateTimeline(&faults);
    AllowAllocations();
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(FaultText(faults), "quorvale: there is no memory for a timeline\n");
}
