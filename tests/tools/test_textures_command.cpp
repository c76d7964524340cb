// SPDX-License-Identifier: MIT
#include <cstring>
#include <gtest/gtest.h>

#include "engine/data/cos_table.h"
#include "engine/textures/corner_masks.h"
#include "engine/textures/layer_generator.h"
#include "engine/textures/procedural_texture.h"
#include "support/package_builder.h"
#include "tools/decoded_png.h"
#include "tools/dpk_run.h"

static constexpr size_t kImageBytes = size_t{256} * 256 * 3;

/// A layer of a test: what the document says and what the engine makes of it.
struct Layer
{
    uint32_t type;
    std::vector<float> params; // short in decimals, so that the document's text gives the same
};

struct Step
{
    int32_t type;
    int32_t layer;
    std::vector<float> params;
};

static const Layer kLayers[] = {
    {0, {1.0f, 0.5f, 0.25f}},
    {1, {1.0f, 0.5f, 0.75f, 2.0f, 3.0f}},
    {2, {1.0f, 1.0f, 0.0f, 0.0f, 0.5f, 1.0f, 1.5f, 20.0f}},
    {3, {1.0f, 0.75f, 0.5f, 4.0f, 5.0f, 0.5f}},
    {4, {0.75f, 0.5f, 0.25f, 0.25f, 0.25f, 0.5f, 8.0f, 4.0f, 3.0f, 2.0f, 32.0f}},
    {5, {1.0f, 0.75f, 0.5f, 77.0f}},
};

static const std::vector<Step> kTextures[] = {
    {{101, 3, {1.0f, 0.5f}}, {101, 1, {1.0f, 0.5f}}, {204, 0, {0.125f, 0.25f, 2.0f, 1.0f}}},
    {{101, 4, {1.0f, 1.0f}},
     {205, 0, {}},
     {206, 0, {2.0f}},
     {102, 5, {0.004f}},
     {207, 0, {0.0f, 0.25f, 0.0f, 0.25f, 0.0f, 0.25f, 0.0f, 0.25f, 0.0f}}},
    {},
};

static std::string ParamText(const std::vector<float>& params)
{
    std::string text;
    for (float param : params)
    {
        text += "<p>" + std::to_string(param) + "</p>";
    }
    return text;
}

/// The six layers and three textures.
static DocumentSource FullSource()
{
    DocumentSource source;
    for (const Layer& layer : kLayers)
    {
        source.sections[0] +=
            "<l type=\"" + std::to_string(layer.type) + "\">" + ParamText(layer.params) + "</l>";
    }
    for (const std::vector<Step>& steps : kTextures)
    {
        source.sections[1] += "<t>";
        for (const Step& step : steps)
        {
            source.sections[1] += "<layer type=\"" + std::to_string(step.type) + "\" id=\"" +
                                  std::to_string(step.layer) + "\">" + ParamText(step.params) +
                                  "</layer>";
        }
        source.sections[1] += "</t>";
    }
    return source;
}

/// The least: one layer of one color.
static DocumentSource SmallSource()
{
    DocumentSource source;
    source.sections[0] = "<l type=\"0\"><p>1</p><p>0.5</p><p>0</p></l>";
    return source;
}

static std::vector<uint8_t> GeneratedPixels(const Layer& layer)
{
    BuildCornerMasks();
    std::vector<uint8_t> pixels(kImageBytes);
    LayerImage image = {layer.type, {}, pixels.data()};
    memcpy(image.params, layer.params.data(), layer.params.size() * sizeof(float));
    GenerateLayer(&image, 256);
    return pixels;
}

static std::vector<uint8_t> BuiltPixels(const std::vector<Step>& steps)
{
    BuildCosTable();
    std::vector<uint8_t> layerPixels[std::size(kLayers)];
    LayerImage layers[std::size(kLayers)] = {};
    const LayerImage* layerList[std::size(kLayers)];
    for (size_t i = 0; i < std::size(kLayers); ++i)
    {
        layerPixels[i] = GeneratedPixels(kLayers[i]);
        layers[i].pixels = layerPixels[i].data();
        layerList[i] = &layers[i];
    }

    ProceduralTexture texture = {};
    for (const Step& step : steps)
    {
        const size_t i = texture.stepCount;
        texture.stepType[i] = step.type;
        texture.stepLayer[i] = step.layer;
        for (size_t k = 0; k < kStepParams; ++k)
        {
            texture.stepParams[i][k] = k < step.params.size() ? step.params[k] : 1.0f;
        }
        texture.stepCount += 1;
    }
    std::vector<uint8_t> pixels(kImageBytes, 0xCC);
    const TextureJob job = {&texture, pixels.data()};
    BuildProceduralTexture(&job, layerList, 256);
    return pixels;
}

/// An uncompressed TGA file of two rows, the upper one first.
static std::string TgaFile(char kind, char width, char bits, const std::string& pixels)
{
    return Raw("\0\0") + kind + Raw("\0\0\0\0\0\0\0\0\0") + width + Raw("\0\x02\0") + bits +
           "\x20" + pixels;
}

static std::string PackageOf(const DocumentSource& demo)
{
    return MakePackage({{"demo.xmlz", MakeDocument(demo)}});
}

TEST(TexturesCommand, LayersAreWhatTheGeneratorsMake)
{
    TemporaryFolder folder;
    folder.Write("a.dpk", PackageOf(FullSource()));
    DpkRun run = RunDpk(folder, {"textures", "a.dpk", "-o", "."});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "");
    for (size_t i = 0; i < std::size(kLayers); ++i)
    {
        DecodedPng png = DecodePng(folder.Read("demo-layer-00" + std::to_string(i) + ".png"));
        EXPECT_EQ(png.width, 256);
        EXPECT_EQ(png.height, 256);
        EXPECT_EQ(png.channels, 3);
        EXPECT_TRUE(png.pixels == GeneratedPixels(kLayers[i])) << i;
    }
}

TEST(TexturesCommand, TexturesAreWhatTheirStepsMake)
{
    TemporaryFolder folder;
    folder.Write("a.dpk", PackageOf(FullSource()));
    EXPECT_EQ(RunDpk(folder, {"textures", "a.dpk", "-o", "."}).exitCode, 0);
    for (size_t i = 0; i < std::size(kTextures); ++i)
    {
        DecodedPng png = DecodePng(folder.Read("demo-texture-00" + std::to_string(i + 1) + ".png"));
        EXPECT_EQ(png.width, 256);
        EXPECT_EQ(png.height, 256);
        EXPECT_EQ(png.channels, 3);
        EXPECT_TRUE(png.pixels == BuiltPixels(kTextures[i])) << i;
    }
    DecodedPng empty = DecodePng(folder.Read("demo-texture-003.png"));
    EXPECT_TRUE(empty.pixels == std::vector<uint8_t>(kImageBytes, 0));
}

TEST(TexturesCommand, BitmapsAreShownAsThePlayerShowsThem)
{
    DocumentSource demo;
    demo.sections[6] = "<b filename=\"1.tga\"/><b filename=\"2.tga\"/><b filename=\"3.tga\"/>"
                       "<b filename=\"4.tga\"/>";
    TemporaryFolder folder;
    folder.Write("a.dpk",
                 MakePackage({
                     {"demo.xmlz", MakeDocument(demo)},
                     {"1.tga", TgaFile(3, 2, 8, "\x11\x22\x33\x44")},
                     {"2.tga", TgaFile(3, 2, 16, Raw("\x11\0\x22\xFF\x33\1\x44\2"))},
                     {"3.tga", TgaFile(2, 2, 24, Raw("\3\2\1\6\5\4\0\0\0\xFF\0\0"))},
                     {"4.tga", TgaFile(2, 2, 32, Raw("\3\2\1\0\7\6\5\4\0\0\0\0\xFF\0\0\xFF"))},
                 }));
    DpkRun run = RunDpk(folder, {"textures", "a.dpk", "-o", "."});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_NE(run.out.find("bitmap 2: 2.tga is grey, so players show it white\n"),
              std::string::npos);
    const std::vector<uint8_t> white(12, 255);
    const std::vector<uint8_t> expected[] = {
        white, // of one component, and of two
        white,
        {1, 2, 3, 4, 5, 6, 0, 0, 0, 0, 0, 255}, // blue comes first in the file
        {1, 2, 3, 0, 5, 6, 7, 4, 0, 0, 0, 0, 0, 0, 255, 255},
    };
    for (int i = 0; i < 4; ++i)
    {
        DecodedPng png = DecodePng(folder.Read("demo-bitmap-00" + std::to_string(i + 1) + ".png"));
        EXPECT_EQ(png.width, 2);
        EXPECT_EQ(png.height, 2);
        EXPECT_EQ(png.channels, i < 3 ? 3 : 4);
        EXPECT_EQ(png.pixels, expected[i]) << i;
    }
}

TEST(TexturesCommand, NamesFilesByDocumentKindAndNumber)
{
    DocumentSource loading = SmallSource();
    loading.sections[6] = "<b filename=\"3.tga\"/>";
    TemporaryFolder folder;
    folder.Write("a.dpk", MakePackage({
                              {"3.tga", TgaFile(2, 2, 24, std::string(12, 'a'))},
                              {"demo.xmlz", MakeDocument(FullSource())},
                              {"loading.xmlz", MakeDocument(loading)},
                          }));
    DpkRun run = RunDpk(folder, {"textures", "a.dpk", "-o", "."});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, "loading.xmlz: 1 layer, 0 procedural textures, 1 bitmap\n"
                       "demo.xmlz: 6 layers, 3 procedural textures, 0 bitmaps\n");
    EXPECT_EQ(FilesIn(folder),
              "a.dpk demo-layer-000.png demo-layer-001.png demo-layer-002.png demo-layer-003.png "
              "demo-layer-004.png demo-layer-005.png demo-texture-001.png demo-texture-002.png "
              "demo-texture-003.png loading-bitmap-001.png loading-layer-000.png sheet.png");
}

TEST(TexturesCommand, DocumentsDoNotShareLayers)
{
    DocumentSource loading;
    loading.sections[0] = "<l type=\"0\"><p>1</p></l>";
    DocumentSource demo;
    demo.sections[0] = "<l type=\"0\"><p>0</p><p>1</p></l>";
    loading.sections[1] = demo.sections[1] = "<t><step type=\"101\"/></t>";
    TemporaryFolder folder;
    folder.Write("a.dpk", MakePackage({{"loading.xmlz", MakeDocument(loading)},
                                       {"demo.xmlz", MakeDocument(demo)}}));
    EXPECT_EQ(RunDpk(folder, {"textures", "a.dpk", "-o", "."}).exitCode, 0);
    EXPECT_EQ(PixelAt(DecodePng(folder.Read("loading-texture-001.png")), 9, 9), 0xFF0000u);
    EXPECT_EQ(PixelAt(DecodePng(folder.Read("demo-texture-001.png")), 9, 9), 0x00FF00u);
}

TEST(TexturesCommand, ALayerOfAnUnknownGeneratorIsBlack)
{
    DocumentSource demo;
    demo.sections[0] = "<l type=\"6\"><p>1</p></l>";
    TemporaryFolder folder;
    folder.Write("a.dpk", PackageOf(demo));
    EXPECT_EQ(RunDpk(folder, {"textures", "a.dpk", "-o", "."}).exitCode, 0);
    EXPECT_TRUE(DecodePng(folder.Read("demo-layer-000.png")).pixels ==
                std::vector<uint8_t>(kImageBytes, 0));
}

TEST(TexturesCommand, TheSheetShowsEveryImageInGroups)
{
    DocumentSource demo;
    for (int i = 0; i < 9; ++i)
    {
        demo.sections[0] += "<l type=\"0\"><p>0." + std::to_string(i + 1) + "</p></l>";
    }
    demo.sections[1] = "<t><layer type=\"101\" id=\"8\"/><filter type=\"201\"/></t>";
    demo.sections[6] = "<b filename=\"4.tga\"/>";
    const std::string row = Raw("\3\2\1\0\3\2\1\0\7\6\5\xFF\7\6\5\xFF");
    const std::string pixels = row + row;
    TemporaryFolder folder;
    folder.Write("a.dpk", MakePackage({
                              {"4.tga", TgaFile(2, 4, 32, pixels)},
                              {"demo.xmlz", MakeDocument(demo)},
                              {"loading.xmlz", MakeDocument(SmallSource())},
                          }));
    EXPECT_EQ(RunDpk(folder, {"textures", "a.dpk", "-o", "."}).exitCode, 0);

    // Six headings of 40 pixels and five rows of 164: loading's layer and two empty groups, two
    // rows of layers, one of textures, one of bitmaps.
    DecodedPng sheet = DecodePng(folder.Read("sheet.png"));
    EXPECT_EQ(sheet.width, 1096);
    EXPECT_EQ(sheet.height, 8 + 6 * 40 + 5 * 164);
    EXPECT_EQ(sheet.channels, 3);
    EXPECT_EQ(PixelAt(sheet, 8, 48), 0xFF7F00u);
    EXPECT_EQ(PixelAt(sheet, 8, 332), 0x190000u);    // 0.1 of 255
    EXPECT_EQ(PixelAt(sheet, 144, 332), 0x330000u);  // 0.2
    EXPECT_EQ(PixelAt(sheet, 1087, 459), 0xCC0000u); // 0.8
    EXPECT_EQ(PixelAt(sheet, 8, 496), 0xE50000u);    // 0.9
    EXPECT_EQ(PixelAt(sheet, 8, 700), 0x1AFFFFu);    // 0.9, inverted
    EXPECT_EQ(PixelAt(sheet, 8, 935), 0x303030u);    // above a flat bitmap
    EXPECT_EQ(PixelAt(sheet, 8, 936), 0x666666u);    // its transparent half
    EXPECT_EQ(PixelAt(sheet, 135, 999), 0x050607u);  // its other half

    // Something is written in each heading and under each tile.
    const struct
    {
        int left;
        int top;
        int width;
        int height;
    } texts[] = {
        {8, 20, 700, 24},    {8, 224, 700, 24}, {8, 264, 700, 24}, {8, 304, 700, 24},
        {8, 672, 700, 24},   {8, 876, 700, 24}, {8, 180, 128, 24}, {8, 464, 128, 24},
        {960, 464, 128, 24}, {8, 628, 128, 24}, {8, 832, 128, 24}, {8, 1036, 128, 24},
    };
    for (const auto& text : texts)
    {
        int drawn = 0;
        for (int y = text.top; y < text.top + text.height; ++y)
        {
            for (int x = text.left; x < text.left + text.width; ++x)
            {
                drawn += PixelAt(sheet, x, y) != 0x303030;
            }
        }
        EXPECT_GT(drawn, 100) << text.left << ", " << text.top;
    }
}

TEST(TexturesCommand, TheSamePackageGivesTheSameFiles)
{
    TemporaryFolder folder;
    folder.Write("a.dpk", PackageOf(FullSource()));
    EXPECT_EQ(RunDpk(folder, {"textures", "a.dpk", "-o", "b"}).exitCode, 0);
    EXPECT_EQ(RunDpk(folder, {"textures", "a.dpk", "-o", "c"}).exitCode, 0);
    for (const char* name : {"demo-layer-005.png", "demo-texture-001.png", "sheet.png"})
    {
        EXPECT_TRUE(folder.Read(std::string("b/") + name) == folder.Read(std::string("c/") + name))
            << name;
    }
}

TEST(TexturesCommand, MakesTheFolder)
{
    TemporaryFolder folder;
    folder.Write("a.dpk", PackageOf(SmallSource()));
    EXPECT_EQ(RunDpk(folder, {"textures", "-o", "b/c", "a.dpk"}).exitCode, 0);
    EXPECT_EQ(DecodePng(folder.Read("b/c/demo-layer-000.png")).width, 256);
    EXPECT_EQ(FilesIn(folder), "a.dpk b");
}

TEST(TexturesCommand, ReplacesOldFilesAndLeavesOthers)
{
    TemporaryFolder folder;
    folder.Write("a.dpk", PackageOf(SmallSource()));
    folder.Write("demo-layer-000.png", "old");
    folder.Write("demo-layer-001.png", "other");
    folder.Write("sheet.png", "old");
    EXPECT_EQ(RunDpk(folder, {"textures", "a.dpk", "-o", "."}).exitCode, 0);
    EXPECT_EQ(PixelAt(DecodePng(folder.Read("demo-layer-000.png")), 0, 0), 0xFF7F00u);
    EXPECT_EQ(folder.Read("demo-layer-001.png"), "other");
    EXPECT_EQ(DecodePng(folder.Read("sheet.png")).width, 1096);
    EXPECT_EQ(FilesIn(folder), "a.dpk demo-layer-000.png demo-layer-001.png sheet.png");
}

TEST(TexturesCommand, OneDocumentIsEnough)
{
    TemporaryFolder folder;
    folder.Write("a.dpk", MakePackage({{"demo.xmlz", MakeDocument(SmallSource())}}));
    folder.Write("b.dpk", MakePackage({{"loading.xmlz", MakeDocument(SmallSource())}}));

    DpkRun run = RunDpk(folder, {"textures", "a.dpk", "-o", "."});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, "loading.xmlz: not in the package\n"
                       "demo.xmlz: 1 layer, 0 procedural textures, 0 bitmaps\n");
    EXPECT_EQ(DecodePng(folder.Read("sheet.png")).height, 8 + 3 * 40 + 164);

    run = RunDpk(folder, {"textures", "b.dpk", "-o", "."});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, "loading.xmlz: 1 layer, 0 procedural textures, 0 bitmaps\n"
                       "demo.xmlz: not in the package\n");
    EXPECT_EQ(FilesIn(folder), "a.dpk b.dpk demo-layer-000.png loading-layer-000.png sheet.png");
}

TEST(TexturesCommand, WithoutAnyDocumentNothingIsMade)
{
    TemporaryFolder folder;
    folder.Write("a.dpk", MakePackage({{"Demo.xmlz", MakeDocument(SmallSource())}}));
    DpkRun run = RunDpk(folder, {"textures", "a.dpk", "-o", "b"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "dpk: a.dpk: no entry \"loading.xmlz\" and no entry \"demo.xmlz\"\n");
    EXPECT_EQ(FilesIn(folder), "a.dpk");
}

TEST(TexturesCommand, DocumentsWithoutImagesGiveASheetOfHeadings)
{
    TemporaryFolder folder;
    folder.Write("a.dpk", PackageOf({}));
    DpkRun run = RunDpk(folder, {"textures", "a.dpk", "-o", "."});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(DecodePng(folder.Read("sheet.png")).height, 8 + 3 * 40);
    EXPECT_EQ(FilesIn(folder), "a.dpk sheet.png");
}

TEST(TexturesCommand, FaultsOfADocumentEndWithTheirPlace)
{
    const std::string layer = "<l type=\"0\"><p>1</p></l>";
    std::string parameters;
    std::string steps;
    for (int i = 0; i < 33; ++i)
    {
        parameters += i < 25 ? "<p>1</p>" : "";
        steps += "<f type=\"205\"/>";
    }
    const struct
    {
        size_t section;
        std::string items;
        const char* what;
    } cases[] = {
        {0, "<l/>", "section 0 (layers), item 1: attribute \"type\" of <l> is missing"},
        {0, layer + "<l type=\"0\">" + parameters + "</l>",
         "section 0 (layers), item 2, parameter 25: more than 24 parameters"},
        {1, "<t/><t><layer type=\"101\" id=\"0\"/></t>",
         "section 1 (procedural textures), item 2, step 1: there is no layer 0, the document has "
         "0"},
        {1, "<t>" + steps + "</t>",
         "section 1 (procedural textures), item 1, step 33: more than 32 steps"},
        {6, "<b/>", "section 6 (bitmaps), item 1: attribute \"filename\" of <b> is missing"},
    };
    for (const auto& c : cases)
    {
        DocumentSource demo;
        demo.sections[c.section] = c.items;
        TemporaryFolder folder;
        folder.Write("a.dpk", PackageOf(demo));
        DpkRun run = RunDpk(folder, {"textures", "a.dpk", "-o", "."});
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.err, std::string("dpk: a.dpk: demo.xmlz, ") + c.what + "\n");
    }
}

TEST(TexturesCommand, AnImageFileThatIsMissingIsAFault)
{
    DocumentSource demo;
    demo.sections[6] = "<b filename=\"none\"/>";
    TemporaryFolder folder;
    folder.Write("a.dpk", PackageOf(demo));
    DpkRun run = RunDpk(folder, {"textures", "a.dpk", "-o", "."});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "loading.xmlz: not in the package\nEnd of object table reached!\n");
    EXPECT_EQ(run.err,
              "dpk: a.dpk: demo.xmlz, section 6 (bitmaps), item 1: the package has no image file "
              "\"none\"\n");
}

TEST(TexturesCommand, AnImageFileThatIsNoneIsAFault)
{
    DocumentSource demo;
    demo.sections[6] = "<b filename=\"text\"/>";
    TemporaryFolder folder;
    folder.Write("a.dpk", MakePackage({{"demo.xmlz", MakeDocument(demo)}, {"text", "text"}}));
    DpkRun run = RunDpk(folder, {"textures", "a.dpk", "-o", "."});
    EXPECT_EQ(run.exitCode, 1);
    // The decoder's reason follows, in its own words.
    const std::string begin = "dpk: a.dpk: demo.xmlz, section 6 (bitmaps), item 1: the image file "
                              "\"text\" can't be read: ";
    EXPECT_EQ(run.err.substr(0, begin.size()), begin);
}

TEST(TexturesCommand, ADocumentThatCantBeReadIsAFault)
{
    const struct
    {
        std::string entry;
        const char* what;
    } cases[] = {
        {MakeContainer("<a/><b/>"), ", section 1 (procedural textures): the section is missing: a "
                                    "document has 11 of them"},
        {MakeContainer("<a"), ", section 0 (layers): the section is missing: the text does not "
                              "parse (line 1, column 2)"},
        {MakeContainer(""),
         ", section 0 (layers): the section is missing: a document has 11 of them"},
    };
    for (const auto& c : cases)
    {
        TemporaryFolder folder;
        folder.Write("a.dpk", MakePackage({{"loading.xmlz", c.entry}}));
        DpkRun run = RunDpk(folder, {"textures", "a.dpk", "-o", "."});
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.err, std::string("dpk: a.dpk: loading.xmlz") + c.what + "\n");
        EXPECT_EQ(FilesIn(folder), "a.dpk");
    }
}

TEST(TexturesCommand, WhatCameBeforeAFaultIsWritten)
{
    DocumentSource demo = SmallSource();
    demo.sections[1] = "<t><layer type=\"101\" id=\"0\"/></t><t><layer type=\"101\" id=\"1\"/></t>";
    TemporaryFolder folder;
    folder.Write("a.dpk", PackageOf(demo));
    folder.Write("sheet.png", "old");
    EXPECT_EQ(RunDpk(folder, {"textures", "a.dpk", "-o", "."}).exitCode, 1);
    EXPECT_EQ(PixelAt(DecodePng(folder.Read("demo-texture-001.png")), 0, 0), 0xFF7F00u);
    EXPECT_EQ(folder.Read("sheet.png"), "old");
    EXPECT_EQ(FilesIn(folder), "a.dpk demo-layer-000.png demo-texture-001.png sheet.png");
}

TEST(TexturesCommand, TheRestOfADocumentIsNotLookedAt)
{
    DocumentSource demo = SmallSource();
    for (size_t section : {2, 3, 4, 5, 7, 8, 9, 10})
    {
        demo.sections[section] = "<x/>";
    }
    TemporaryFolder folder;
    folder.Write("a.dpk", PackageOf(demo));
    DpkRun run = RunDpk(folder, {"textures", "a.dpk", "-o", "."});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "");
}

TEST(TexturesCommand, PackagesAndFoldersThatCantBeUsedAreErrors)
{
    TemporaryFolder folder;
    folder.Write("a.dpk", PackageOf(SmallSource()));
    folder.Write("short.dpk", "DP");
    folder.Write("damaged.dpk", std::string("DP\x01") + std::string(40, 'a'));
    const struct
    {
        std::vector<std::string> arguments;
        const char* what;
    } cases[] = {
        {{"textures", "none.dpk", "-o", "b"}, "none.dpk: No such file or directory"},
        {{"textures", ".", "-o", "b"}, ".: not a regular file"},
        {{"textures", "short.dpk", "-o", "b"}, "short.dpk: not a package: shorter than 35 bytes"},
        {{"textures", "damaged.dpk", "-o", "b"},
         "damaged.dpk: damaged package: entry \"aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa\" reaches past "
         "the end of the file"},
        {{"textures", "a.dpk", "-o", "a.dpk"}, "a.dpk: Not a directory"},
    };
    for (const auto& c : cases)
    {
        DpkRun run = RunDpk(folder, c.arguments);
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, std::string("dpk: ") + c.what + "\n");
    }
    EXPECT_EQ(FilesIn(folder), "a.dpk damaged.dpk short.dpk");
}

TEST(TexturesCommand, AFileThatCantBeWrittenEndsIt)
{
    TemporaryFolder folder;
    folder.Write("a.dpk", PackageOf(SmallSource()));
    folder.Write("demo-layer-000.png", "old");
    DpkSurroundings full = kOrdinary;
    full.fileSizeLimit = 100;
    DpkRun run = RunDpk(folder, {"textures", "a.dpk", "-o", "."}, full);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "dpk: ./demo-layer-000.png: File too large\n");
    EXPECT_EQ(folder.Read("demo-layer-000.png"), "old");
    EXPECT_EQ(FilesIn(folder), "a.dpk demo-layer-000.png");
}
