// SPDX-License-Identifier: MIT
#include "studio/logic/piece_fields.h"

#include <gtest/gtest.h>
#include <string>

#include "engine/data/document_text.h"
#include "studio/logic/curve_names.h"

static constexpr char kText[] =
    "<layers><layer type='3'><p>1</p><p>0.5</p><p>0.25</p><p>4</p></layer></layers>"
    "<textures><texture><layer type='101' id='0'><p>1</p><p>0.6</p></layer>"
    "<filter type='205'/></texture></textures>"
    "<models><m filename='ring.model'/></models>"
    "<envelopes><e type='0' loop_type='0' loop_begin='0' loop_end='0'>"
    "<piece type='1' length='100'><p>2</p><p>3</p></piece></e></envelopes>"
    "<lights/><effects/><bitmaps><b filename='a.png'/></bitmaps>"
    "<materials><m type='3'><p type='static' value='0.5'/><p type='static' value='0'/>"
    "<p type='dynamic' value='1'/><p type='static' value='1'/>"
    "<light value='0'/><texture value='1'/></m></materials>"
    "<genmeshes/>"
    "<scenes><s name='hall'><o type='0' object='1' material='1'>"
    "<x type='static' value='1.5'/><y type='dynamic' value='1'/><z type='static' value='0'/>"
    "<a type='static' value='0'/><b type='static' value='0'/><c type='static' value='0'/>"
    "<a type='static' value='1'/><b type='static' value='1'/><c type='static' value='1'/>"
    "<v value='1'/><t value='0'/></o></s></scenes>"
    "<timeline/>";

/// A document with a tree alone. The first node, before the sections, is skipped by readers.
struct Tree
{
    TiXmlDocument xml;
    DemoDocument document;
};

static void ReadTree(Tree* tree)
{
    const std::string text = std::string("<?xml version='1.0'?>") + kText;
    FaultList faults;
    StartFaults(&faults);
    EXPECT_TRUE(LoadFromString(&tree->xml, reinterpret_cast<const unsigned char*>(text.data()),
                               static_cast<long>(text.size()), TIXML_ENCODING_UNKNOWN, &faults));
    FreeFaults(&faults);
    tree->document = {};
    tree->document.document = &tree->xml;
}

static std::string Names(const std::vector<Field>& fields)
{
    std::string names;
    for (const Field& field : fields)
    {
        names += (field.group.empty() ? "" : field.group + ": ") + field.name + " " + field.text +
                 (field.isRed ? " (color)" : "") + "\n";
    }
    return names;
}

TEST(PieceFields, ValuesHaveTheNamesOfTheVocabulary)
{
    Tree tree;
    ReadTree(&tree);
    EXPECT_EQ(Names(ListFields(&tree.document, {Section::kLayers, 1, 0})),
              "type 3\ncolor red 1 (color)\ncolor green 0.5\ncolor blue 0.25\nsize 4\n");
    EXPECT_EQ(Names(ListFields(&tree.document, {Section::kEnvelopes, 1, 0})),
              "type 0\nloop_type 0\nloop_begin 0\nloop_end 0\n"
              "piece 1: type 1\npiece 1: length 100\npiece 1: a 2\npiece 1: b 3\n");
    EXPECT_EQ(Names(ListFields(&tree.document, {Section::kMaterials, 1, 0})),
              "type 3\ncolor red 0.5 (color)\ncolor green 0\ncolor blue 1\nalpha 1\n"
              "lights 0\ntextures 1\n");
    EXPECT_EQ(Names(ListFields(&tree.document, {Section::kScenes, 1, 1})).substr(0, 76),
              "object 1: type 0\nobject 1: object 1\nobject 1: material 1\nobject 1: x 1.5\nobj");
}

TEST(PieceFields, ReferencesAndUsersAreEachOthersWay)
{
    Tree tree;
    ReadTree(&tree);
    const ItemRef object = {Section::kScenes, 1, 1};
    const ItemRef material = {Section::kMaterials, 1, 0};
    const ItemRef curve = {Section::kEnvelopes, 1, 0};
    const std::vector<ItemRef> named = {{Section::kModels, 1, 0}, material, curve};
    EXPECT_TRUE(ListReferences(&tree.document, object) == named);
    EXPECT_TRUE(ListReferences(&tree.document, material) ==
                std::vector<ItemRef>({curve, {Section::kTextures, 1, 0}}));
    EXPECT_TRUE(ListReferences(&tree.document, {Section::kTextures, 1, 0}) ==
                std::vector<ItemRef>({{Section::kLayers, 1, 0}}));
    EXPECT_TRUE(ListUsers(&tree.document, curve) == std::vector<ItemRef>({material, object}));
    EXPECT_TRUE(ListUsers(&tree.document, {Section::kBitmaps, 1, 0}).empty());
}

TEST(PieceFields, TitlesTellNumberAndName)
{
    Tree tree;
    ReadTree(&tree);
    EXPECT_EQ(ItemTitle(&tree.document, {Section::kScenes, 1, 0}), "scene 1 \"hall\"");
    EXPECT_EQ(ItemTitle(&tree.document, {Section::kScenes, 1, 1}), "scene 1, object 1");
    EXPECT_EQ(ItemTitle(&tree.document, {Section::kModels, 1, 0}), "model 1 \"ring.model\"");
}

TEST(PieceFields, CurvesHaveTheNamesOfWhatTheyMove)
{
    Tree tree;
    ReadTree(&tree);
    const CurveNames names = NameCurves(&tree.document);
    EXPECT_EQ(names, std::vector<std::string>({"color blue of material 1 and 2 more"}));
    const ItemRef curve = {Section::kEnvelopes, 1, 0};
    EXPECT_EQ(TitleWithUse(&tree.document, names, curve),
              "curve 1: color blue of material 1 and 2 more");
    EXPECT_EQ(TitleWithUse(&tree.document, {}, curve), "curve 1");
    EXPECT_EQ(TitleWithUse(&tree.document, names, {Section::kMaterials, 1, 0}), "material 1");

    // Nothing but the object is left to name it by.
    const std::vector<Field> fields = ListFields(&tree.document, {Section::kMaterials, 1, 0});
    SetTextAt(&tree.document, fields[3].place, "0");
    SetTextAt(&tree.document, fields[4].place, "0");
    EXPECT_EQ(NameCurves(&tree.document)[0], "y of scene 1, object 1 \"ring.model\" and 1 more");
}

TEST(PieceFields, ScenesHaveTheirNamesOrNumbers)
{
    Tree tree;
    ReadTree(&tree);
    EXPECT_EQ(SceneName(&tree.document, 1), "hall");
    EXPECT_EQ(SceneName(&tree.document, 2), "scene 2");
    EXPECT_EQ(SceneName(&tree.document, 0), "no scene");
}

TEST(PieceFields, ATextChangesAtItsPlaceAlone)
{
    Tree tree;
    ReadTree(&tree);
    const std::vector<Field> fields = ListFields(&tree.document, {Section::kEnvelopes, 1, 0});
    EXPECT_TRUE(SetTextAt(&tree.document, fields.back().place, "7"));
    EXPECT_EQ(TextAt(&tree.document, fields.back().place), "7");
    EXPECT_EQ(TextAt(&tree.document, fields[6].place), "2");
    FieldPlace nowhere = fields.back().place;
    nowhere.item = 9;
    EXPECT_TRUE(!SetTextAt(&tree.document, nowhere, "7"));
    EXPECT_EQ(TextAt(&tree.document, nowhere), "");
}
