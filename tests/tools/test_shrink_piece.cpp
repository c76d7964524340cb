// SPDX-License-Identifier: MIT
#include "tools/shrink_piece.h"

#include <gtest/gtest.h>

#include "support/package_builder.h"
#include "support/small_piece.h"
#include "tools/dpk_run.h"

/// An uncompressed image of 32 by 32 pixels in the Targa format.
static std::string LargeImage()
{
    std::string file(18, '\0');
    file[2] = 2;
    file[12] = 32;
    file[14] = 32;
    file[16] = 24;
    for (int i = 0; i < 32 * 32 * 3; ++i)
    {
        file += static_cast<char>(i * i);
    }
    return file;
}

/// A piece in which no clip reaches the last layer, texture, model, bitmap, material and scene.
static std::string MakePiece()
{
    DocumentSource demo = QuickDocument();
    demo.sections[0] += R"(<l type="5"><p>0.2</p><p>0.3</p><p>0.4</p><p>7</p></l>)";
    demo.sections[1] += R"(<t><layer type="101" id="1"/></t>)";
    demo.sections[2] += R"(<m filename="large.model"/>)";
    demo.sections[6] += R"(<b filename="large.tga"/>)";
    demo.sections[7] += R"(<m type="2"><p type="static" value="1"/><p type="static" value="1"/>)"
                        R"(<p type="static" value="1"/><p type="static" value="1"/>)"
                        R"(<texture value="3"/></m>)";
    const size_t object = demo.sections[9].find("<o ");
    const size_t end = demo.sections[9].find("</o>") + 4;
    demo.sections[9] += "<s>" + demo.sections[9].substr(object, end - object) + "</s>";
    ModelSource model = {{}, {{}}, {}, {0, 1, 2}};
    for (int i = 0; i < 300; ++i)
    {
        model.vertices.push_back(static_cast<float>(i * i));
        model.normals.push_back(static_cast<float>(i % 7));
    }
    model.texCoords[0].assign(200, 0.5f);
    return SmallPieceOf(QuickDocument(), demo,
                        {{"large.model", MakeModel(model)},
                         {"large.tga", LargeImage()},
                         {"notes.txt", "nothing names these"}});
}

static uint64_t NumberAfter(const std::string& text, const std::string& words)
{
    const size_t at = text.find(words);
    EXPECT_NE(at, std::string::npos) << words << "\n" << text;
    return at == std::string::npos ? 0 : strtoull(text.c_str() + at + words.size(), nullptr, 10);
}

/// A folder with p.dpk, and small.dpk that is built small of the same sources.
struct ShrunkPiece
{
    TemporaryFolder folder;
    std::string built; // lines of the build
};

static void Shrink(ShrunkPiece* piece)
{
    piece->folder.Write("p.dpk", MakePiece());
    EXPECT_EQ(RunDpk(piece->folder, {"unbuild", "p.dpk", "-o", "s"}).exitCode, 0);
    const DpkRun run = RunDpk(piece->folder, {"build", "s", "-o", "small.dpk", "--small"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    piece->built = run.out;
}

TEST(ShrinkPiece, DropsAndEmptiesWhatNothingUses)
{
    ShrunkPiece piece;
    Shrink(&piece);
    for (const char* line :
         {"notes.txt: left out, nothing uses it\n",
          "demo.xmlz, layer 1: emptied, no clip reaches it\n",
          "demo.xmlz, texture 3: emptied, no clip reaches it\n",
          "demo.xmlz, material 8: emptied, no clip reaches it\n",
          "demo.xmlz, scene 4: emptied, no clip reaches it\n",
          "large.model: emptied, no clip reaches it\n", "large.tga: emptied, no clip reaches it\n"})
    {
        EXPECT_NE(piece.built.find(line), std::string::npos) << line << piece.built;
    }
    const DpkRun list = RunDpk(piece.folder, {"list", "small.dpk"});
    EXPECT_EQ(list.out.find("notes.txt"), std::string::npos);
    EXPECT_NE(list.out.find("large.tga\t"), std::string::npos);
}

TEST(ShrinkPiece, SizeForetellsTheSmallPackage)
{
    ShrunkPiece piece;
    Shrink(&piece);
    const DpkRun size = RunDpk(piece.folder, {"size", "p.dpk", "--small"});
    for (const char* line :
         {"unused: \"notes.txt\", 19 bytes\n", "unused: demo.xmlz, scene 4, no clip reaches it\n",
          "unused: \"large.model\", no clip reaches it\n",
          "would go: \"notes.txt\", 19 bytes and 40 of the directory\n"})
    {
        EXPECT_NE(size.out.find(line), std::string::npos) << line << size.out;
    }
    const size_t whole = piece.folder.Read("p.dpk").size();
    EXPECT_EQ(whole - NumberAfter(size.out, "would shrink: all of them by "),
              piece.folder.Read("small.dpk").size());
}

TEST(ShrinkPiece, TheSmallPackageLooksTheSame)
{
    ShrunkPiece piece;
    Shrink(&piece);
    for (const char* time : {"30t", "109t"})
    {
        for (const char* name : {"p", "small"})
        {
            const std::string package = std::string(name) + ".dpk";
            const std::string picture = std::string(name) + ".ppm";
            const DpkRun run = RunDpk(piece.folder, {"render", package, "--at", time, "--size",
                                                     "64x48", "-o", picture, "--force"});
            EXPECT_EQ(run.exitCode, 0) << run.err;
        }
        EXPECT_EQ(piece.folder.Read("p.ppm"), piece.folder.Read("small.ppm")) << time;
    }
}

static Bytes ToBytes(const std::string& text)
{
    return {text.begin(), text.end()};
}

TEST(ShrinkPiece, WhateverIsWrongWithAFileStays)
{
    DocumentSource demo = QuickDocument();
    demo.sections[2] += R"(<m filename="cut"/><m filename="far"/><m filename="none"/>)";
    demo.sections[6] += R"(<b filename="no.tga"/>)";
    const ModelSource far = {std::vector<float>(300, 0.0f),
                             {std::vector<float>(200, 0.0f)},
                             std::vector<float>(300, 0.0f),
                             {0, 1, 100}};
    const std::string text = std::string(200, 'x');
    std::vector<PieceEntry> entries = {
        {"demo.xmlz", ToBytes(MakeDocument(demo)), false},
        {"cut", ToBytes(MakeContainer("abc")), false},
        {"far", ToBytes(MakeModel(far)), false},
        {"none", ToBytes(text), false},
        {"no.tga", ToBytes(text), false},
    };
    const std::vector<PieceEntry> old = entries;
    ShrinkReport report;
    EXPECT_TRUE(ShrinkPiece(&entries, &report));
    EXPECT_TRUE(report.files.empty());
    ASSERT_EQ(entries.size(), old.size());
    for (size_t i = 1; i < old.size(); ++i)
    {
        EXPECT_EQ(entries[i].bytes, old[i].bytes) << old[i].name;
    }
}
