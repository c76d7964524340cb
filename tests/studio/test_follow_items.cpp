// SPDX-License-Identifier: MIT
#include "studio/logic/follow_items.h"

#include <gtest/gtest.h>

#include "engine/data/document_text.h"
#include "studio/logic/value_edits.h"

using Places = std::vector<uint32_t>;

static Places PairLetters(const std::string& before, const std::string& after)
{
    const auto split = [](const std::string& letters)
    {
        std::vector<std::string> texts;
        for (const char letter : letters)
        {
            texts.emplace_back(1, letter);
        }
        return texts;
    };
    return PairElements(split(before), split(after));
}

TEST(FollowItems, ElementsAreFoundBehindOthersThatCameOrWent)
{
    EXPECT_EQ(PairLetters("abc", "abc"), Places({1, 2, 3}));
    EXPECT_EQ(PairLetters("abc", "xabyc"), Places({2, 3, 5}));
    EXPECT_EQ(PairLetters("abcd", "bd"), Places({0, 1, 0, 2}));
    EXPECT_EQ(PairLetters("abc", "xaby"), Places({2, 3, 4})); // c was changed
    EXPECT_EQ(PairLetters("abcde", "axde"), Places({1, 0, 0, 3, 4}));
    EXPECT_EQ(PairLetters("ab", "xy"), Places({1, 2}));
    EXPECT_EQ(PairLetters("ab", ""), Places({0, 0}));
    EXPECT_EQ(PairLetters("", "ab"), Places());
}

TEST(FollowItems, NobodyTellsEqualElementsApartWhenOneComesOrGoes)
{
    EXPECT_EQ(PairLetters("baa", "baaa"), Places({1, 0, 0}));
    EXPECT_EQ(PairLetters("aba", "ab"), Places({0, 2, 0}));
    EXPECT_EQ(PairLetters("aa", "xaa"), Places({2, 3}));
    EXPECT_EQ(PairLetters("aa", "ax"), Places({1, 2}));
}

TEST(FollowItems, ListsThatAreTooLongToCompareArePairedWhereTheyAreAlike)
{
    std::vector<std::string> before, after;
    for (int i = 0; i < 3000; ++i)
    {
        before.push_back("b" + std::to_string(i));
        after.push_back("a" + std::to_string(i));
    }
    before.insert(before.begin(), "same");
    after.insert(after.begin(), {"new", "same"});
    EXPECT_EQ(PairElements(before, after)[7], 0u);
    after.erase(after.begin());
    EXPECT_EQ(PairElements(before, after)[7], 8u);
}

// ---- Documents

static std::string Light(const char* red, const char* green)
{
    return std::string("<l><diffuse><r type='static' value='") + red +
           "'/><g type='static' value='" + green + "'/></diffuse></l>";
}

/// A document with a tree alone.
struct Tree
{
    TiXmlDocument xml;
    DemoDocument document;
};

static void ReadTree(const std::string& envelopes, const std::string& lights,
                     const std::string& objects, Tree* tree)
{
    const std::string text = "<?xml version='1.0'?><layers/><textures/><models/><envelopes>" +
                             envelopes + "</envelopes><lights>" + lights +
                             "</lights><effects/><bitmaps/><materials/><genmeshes/>"
                             "<scenes><s name='hall'>" +
                             objects + "</s></scenes><timeline/>";
    FaultList faults;
    StartFaults(&faults);
    EXPECT_TRUE(LoadFromString(&tree->xml, reinterpret_cast<const unsigned char*>(text.data()),
                               static_cast<long>(text.size()), TIXML_ENCODING_UNKNOWN, &faults));
    FreeFaults(&faults);
    tree->document = {};
    tree->document.document = &tree->xml;
}

static std::string Envelope(const std::string& pieces)
{
    return "<e type='0' loop_type='0' loop_begin='0' loop_end='0'>" + pieces + "</e>";
}

static std::string Piece(const char* a, const char* b)
{
    return std::string("<piece type='1' length='100'><p>") + a + "</p><p>" + b + "</p></piece>";
}

static std::string Object(const char* mesh, const char* x, const char* curve)
{
    return std::string("<o type='0' object='") + mesh + "' material='1'><x type='static' value='" +
           x + "'/><y type='dynamic' value='" + curve + "'/><z type='static' value='0'/></o>";
}

static FieldPlace PlaceOf(Section section, uint32_t item, const std::vector<uint32_t>& path,
                          const char* attribute)
{
    return {section, item, path, attribute};
}

TEST(FollowItems, ValuesAreFoundInItemsAndPartsThatMoved)
{
    Tree before, after;
    const std::string wave = Envelope(Piece("1", "2") + Piece("3", "4"));
    ReadTree(wave, "", Object("1", "5", "1") + Object("2", "6", "1"), &before);
    ReadTree(Envelope(Piece("0", "0")) +
                 Envelope(Piece("9", "9") + Piece("1", "2") + Piece("3", "4")),
             "", Object("1", "5", "2") + Object("7", "7", "1") + Object("2", "6", "2"), &after);
    const FieldPlace number = PlaceOf(Section::kEnvelopes, 1, {2, 1}, "");
    const FieldPlace x = PlaceOf(Section::kScenes, 1, {2, 1}, "value");
    ASSERT_EQ(TextAt(&before.document, number), "3");
    ASSERT_EQ(TextAt(&before.document, x), "6");
    const std::vector<FieldPlace> now =
        FollowPlaces(&before.document, &after.document,
                     {number, x, PlaceOf(Section::kLights, 1, {1}, "r"),
                      PlaceOf(Section::kScenes, 1, {9, 1}, "value")});
    // The curve was changed and another one put before it: what it is can't be told.
    EXPECT_EQ(now[0].item, 0u);
    EXPECT_TRUE(now[1] == PlaceOf(Section::kScenes, 1, {3, 1}, "value"));
    EXPECT_EQ(now[2].item, 0u);
    EXPECT_EQ(now[3].item, 0u);

    Tree longer;
    ReadTree(Envelope(Piece("9", "9") + Piece("1", "2") + Piece("3", "4")), "", "", &longer);
    EXPECT_TRUE(FollowPlaces(&before.document, &longer.document, {number})[0] ==
                PlaceOf(Section::kEnvelopes, 1, {3, 1}, ""));
}

TEST(FollowItems, DifferencesAreToldByPlace)
{
    Tree before, after;
    ReadTree(Envelope(Piece("1", "2")), Light("1", "0") + Light("1", "0"), Object("1", "5", "1"),
             &before);
    ReadTree(Envelope(Piece("1", "3")) + Envelope(Piece("1", "2")),
             Light("1", "0.5") + Light("1", "0.5"), Object("2", "5", "2"), &after);
    const std::vector<FieldPlace> places = ListDifferences(&before.document, &after.document);
    ASSERT_EQ(places.size(), 2u);
    EXPECT_TRUE(places[0] == PlaceOf(Section::kLights, 1, {1, 2}, "value"));
    EXPECT_TRUE(places[1] == PlaceOf(Section::kLights, 2, {1, 2}, "value"));
    EXPECT_TRUE(ListDifferences(&before.document, &before.document).empty());
}

TEST(FollowItems, TriedValuesGoWithTheirItem)
{
    const std::string first = Light("1", "0");
    const std::string second = Light("0", "0.5");
    const std::string more = Light("0", "0");
    const ValueChange change = {
        PlaceOf(Section::kLights, 2, {1, 2}, "value"), 1, "light 2, diffuse, g", "0.5", "2", 0};
    struct Row
    {
        std::string lights;
        uint32_t item; // 0 for a change that is lost
    };
    const Row rows[] = {{more + first + second, 3},
                        {second, 1},
                        {first + more + second + more, 3},
                        {first, 0},
                        {first + second + second, 0}};
    for (const Row& row : rows)
    {
        Tree before, after;
        ReadTree("", first + second, "", &before);
        ReadTree("", row.lights, "", &after);
        ValueEdits edits = {};
        NoteChange(change, &edits);
        std::vector<ValueChange> lost;
        const std::vector<ValueChange> kept =
            RebaseChanges(&before.document, &after.document, &edits, &lost);
        ASSERT_EQ(kept.size(), row.item == 0 ? 0u : 1u) << row.lights;
        EXPECT_EQ(edits.steps.size(), kept.size());
        EXPECT_EQ(lost.size(), 1 - kept.size());
        if (!kept.empty())
        {
            EXPECT_EQ(kept[0].place.item, row.item);
            EXPECT_EQ(TextAt(&after.document, kept[0].place), "0.5");
        }
    }
}

TEST(FollowItems, WhatTheSourcesSayByNowIsNoChange)
{
    for (const char* now : {"2", "7"})
    {
        Tree before, after;
        ReadTree("", Light("0", "0.5"), "", &before);
        ReadTree("", Light("0", now), "", &after);
        ValueEdits edits = {};
        NoteChange({PlaceOf(Section::kLights, 1, {1, 2}, "value"), 1, "light 1, diffuse, g", "0.5",
                    "2", 0},
                   &edits);
        std::vector<ValueChange> lost;
        EXPECT_TRUE(RebaseChanges(&before.document, &after.document, &edits, &lost).empty());
        EXPECT_TRUE(lost.empty() && edits.steps.empty());
    }
}
