// SPDX-License-Identifier: MIT
#include "studio/logic/value_edits.h"

#include <gtest/gtest.h>

#include "studio/logic/source_edit.h"

static ValueChange Change(uint32_t item, const char* was, const char* is)
{
    return {{Section::kLights, item, {1, 1}, "value"}, 0, "light", was, is, 0};
}

TEST(ValueEdits, ADragIsOneStep)
{
    ValueEdits edits = {};
    NoteChange(Change(1, "0", "1"), &edits);
    NoteChange(Change(1, "1", "2"), &edits);
    NoteChange(Change(1, "2", "3"), &edits);
    EndChange(&edits);
    NoteChange(Change(1, "3", "4"), &edits);
    ASSERT_EQ(edits.steps.size(), 2u);
    EXPECT_EQ(edits.steps[0].was, "0");
    EXPECT_EQ(edits.steps[0].is, "3");
    EXPECT_EQ(ListChanges(edits).size(), 1u);
    EXPECT_EQ(ListChanges(edits)[0].is, "4");
}

TEST(ValueEdits, StepsAreUndoneAndDoneAgain)
{
    ValueEdits edits = {};
    EXPECT_TRUE(UndoChange(&edits).empty());
    NoteChange(Change(1, "0", "1"), &edits);
    EndChange(&edits);
    NoteChange(Change(2, "5", "6"), &edits);
    EXPECT_EQ(UndoChange(&edits).at(0).was, "5");
    EXPECT_FALSE(IsChanged(edits, Change(2, "", "").place));
    EXPECT_TRUE(IsChanged(edits, Change(1, "", "").place));
    EXPECT_EQ(RedoChange(&edits).at(0).is, "6");
    EXPECT_TRUE(RedoChange(&edits).empty());
    UndoChange(&edits);
    NoteChange(Change(3, "8", "9"), &edits);
    EXPECT_TRUE(RedoChange(&edits).empty()); // another change has taken its place
    EXPECT_EQ(ListChanges(edits).size(), 2u);
}

TEST(ValueEdits, AColorsNumbersAreUndoneTogether)
{
    ValueEdits edits = {};
    for (const char* text : {"1", "2", "3"})
    {
        NoteChange(Change(1, "0", text), &edits);
        NoteChange(Change(2, "0", text), &edits);
    }
    EndChange(&edits);
    ASSERT_EQ(edits.steps.size(), 2u);
    EXPECT_EQ(UndoChange(&edits).size(), 2u);
    EXPECT_TRUE(ListChanges(edits).empty());
    EXPECT_EQ(RedoChange(&edits).size(), 2u);
    EXPECT_EQ(ListChanges(edits)[1].is, "3");
}

TEST(ValueEdits, AValueThatCameBackIsNoChange)
{
    ValueEdits edits = {};
    NoteChange(Change(1, "0", "1"), &edits);
    EndChange(&edits);
    NoteChange(Change(1, "1", "0"), &edits);
    EXPECT_TRUE(ListChanges(edits).empty());
    EXPECT_EQ(ChangesText({Change(1, "0", "0.5")}, {"piece.py:3"}),
              "piece.py:3  light: 0 -> 0.5\n");
}

TEST(ValueEdits, NumbersHaveFewDigitsAndLoseNothing)
{
    EXPECT_EQ(NumberText(0.5f), "0.5");
    EXPECT_EQ(NumberText(0.1f), "0.1");
    EXPECT_EQ(NumberText(16777217.0f), "16777216");
    EXPECT_EQ(NumberText(1.0f / 3.0f), "0.33333334");
}

TEST(SourceEdit, XmlValuesAreFoundAndTheRestStays)
{
    const std::string text =
        "<?xml version=\"1.0\"?>\r\n"
        "<layers>\t<layer type='3' name=\"gr\xc3\xbcn\"><p> 0.5 </p><p>7</p></layer></layers>\n";
    const FieldPlace number = {Section::kLayers, 1, {1}, ""};
    const TextRange range = FindXmlValue(text, number);
    EXPECT_EQ(text.substr(range.begin, range.end - range.begin), "0.5");
    const std::string changed = ReplaceRange(text, range, "0.25");
    EXPECT_EQ(changed.size(), text.size() + 1);
    EXPECT_NE(changed.find("<p> 0.25 </p><p>7</p>"), std::string::npos);
    const TextRange type = FindXmlValue(text, {Section::kLayers, 1, {}, "type"});
    EXPECT_EQ(text.substr(type.begin, type.end - type.begin), "3");
    EXPECT_EQ(FindXmlValue(text, {Section::kLayers, 2, {1}, ""}).end, 0u);
    EXPECT_EQ(FindXmlValue(text, {Section::kLayers, 1, {}, "none"}).end, 0u);
    // Also behind the mark that some editors begin a file with.
    const std::string marked = "\xEF\xBB\xBF" + text;
    EXPECT_EQ(FindXmlValue(marked, number).begin, range.begin + 3);
    const std::string single =
        "\xEF\xBB\xBF<?xml version='1.0'?><layers><layer type='3'/></layers>";
    const TextRange first = FindXmlValue(single, {Section::kLayers, 1, {}, "type"});
    EXPECT_EQ(single.substr(first.begin, first.end - first.begin), "3");
}

TEST(SourceEdit, HintsNameTheKeywordAndTheTuplesPlace)
{
    EXPECT_EQ(HintOf("", "ry").keyword, "rotation");
    EXPECT_EQ(HintOf("", "ry").index, 1);
    EXPECT_EQ(HintOf("step 2", "color blue").keyword, "color");
    EXPECT_EQ(HintOf("step 2", "color blue").index, 2);
    EXPECT_EQ(HintOf("", "alpha").keyword, "alpha");
    EXPECT_EQ(HintOf("", "alpha").index, -1);
    EXPECT_EQ(HintOf("diffuse", "g").keyword, "diffuse");
    EXPECT_EQ(HintOf("diffuse", "g").index, 1);
}
