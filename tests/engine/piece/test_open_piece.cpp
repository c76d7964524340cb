// SPDX-License-Identifier: MIT
#include "engine/piece/piece.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>

#include "engine/data/model_data.h"
#include "engine/piece/opened_piece.h"
#include "engine/render/records/material.h"
#include "engine/render/records/scene.h"
#include "engine/render/records/timeline.h"
#include "engine/textures/bitmap_texture.h"
#include "engine/textures/make_image.h"
#include "engine/textures/procedural_texture.h"
#include "support/failing_memory.h"
#include "support/small_piece.h"
#include "support/temporary_folder.h"

/// Expects the records of SmallDocument.
static void ExpectSmallDocument(const DemoDocument& document)
{
    EXPECT_EQ(document.textures->count, 2u);
    EXPECT_EQ(document.models->count, 2u);
    EXPECT_EQ(document.envelopes->count, 5u);
    EXPECT_EQ(document.lights->count, 1u);
    EXPECT_EQ(document.effects->count, 4u);
    EXPECT_EQ(document.bitmaps->count, 2u);
    EXPECT_EQ(document.materials->count, 7u);
    EXPECT_EQ(document.genMeshes->count, 3u);
    EXPECT_EQ(document.scenes->count, 3u);
    EXPECT_EQ(document.timeline->clipCount[0], 2u);
    EXPECT_EQ(document.timeline->clipCount[1], 1u);
    ASSERT_NE(document.musicNode, nullptr);
    EXPECT_STREQ(document.musicNode->ToElement()->Attribute("file"), "none.xm");

    const ObjectTable* textures = document.textures;
    EXPECT_NE(GetRecord<ProceduralTexture>(2, textures)->pixels, nullptr);
    const ObjectTable* models = document.models;
    EXPECT_EQ(GetRecord<ModelData>(2, models)->mesh.vertexCount, 4u);
    const ObjectTable* bitmaps = document.bitmaps;
    EXPECT_EQ(GetRecord<BitmapTexture>(2, bitmaps)->components, 4);
    const ObjectTable* materials = document.materials;
    EXPECT_EQ(GetRecord<Material>(7, materials)->type, 7u);
    const ObjectTable* scenes = document.scenes;
    EXPECT_EQ(GetRecord<Scene>(1, scenes)->objectCount, 3u);
}

/// Expects the state of SmallDocument before anything has moved.
static void ExpectFirstState(const DocumentState& state)
{
    EXPECT_EQ(state.envelopeCount, 5u);
    for (uint32_t i = 0; i < state.envelopeCount; ++i)
    {
        EXPECT_EQ(state.envelopes[i].lastTime, kNothingCached);
    }
    ASSERT_EQ(state.genMeshCount, 3u);
    EXPECT_NE(state.genMeshes[0].lake.older, nullptr);
    EXPECT_EQ(state.genMeshes[1].wave.lastTime, -1.0f);
    EXPECT_EQ(state.genMeshes[2].vertices, nullptr);
    ASSERT_EQ(state.effectCount, 4u);
    EXPECT_EQ(state.effects[0].stateSize, 8u);
    EXPECT_EQ(state.effects[1].state, nullptr);
    EXPECT_EQ(state.effects[2].stateSize, sizeof(AmobaState) + 4096);
    EXPECT_EQ(state.effects[3].state, nullptr);
}

TEST(Piece, OpensWithEveryRecordOfBothDocuments)
{
    OpenedPiece opened(SmallPiece());
    EXPECT_TRUE(opened.piece.hasLoading);
    EXPECT_TRUE(opened.piece.hasDemo);
    EXPECT_STREQ(opened.piece.loading.name, "loading.xmlz");
    EXPECT_STREQ(opened.piece.demo.name, "demo.xmlz");
    ExpectSmallDocument(opened.piece.loading);
    ExpectSmallDocument(opened.piece.demo);
    ExpectFirstState(opened.state.loading);
    ExpectFirstState(opened.state.demo);
    EXPECT_EQ(MusicDocument(&opened.piece), &opened.piece.demo);
    EXPECT_EQ(FaultText(opened.faults), "");
}

TEST(Piece, OpensFromAPathAsFromMemory)
{
    TemporaryFolder folder;
    folder.Write("small.dpk", SmallPiece());
    const std::string path = folder.path + "/small.dpk";
    BuildCosTable();
    BuildCornerMasks();
    FaultList faults;
    StartFaults(&faults);
    Piece piece;
    PieceState state;
    const PieceSource source = {path.c_str(), nullptr, 0, true};
    ASSERT_TRUE(OpenPiece(&source, &piece, &state, &faults)) << FaultText(faults);
    ExpectSmallDocument(piece.demo);
    ExpectFirstState(state.demo);
    ClosePiece(&piece);
    FreePieceState(&state);
}

TEST(Piece, WithoutPixelsHasAllOtherRecords)
{
    OpenedPiece opened(SmallPiece(), false);
    const ObjectTable* textures = opened.piece.demo.textures;
    EXPECT_EQ(GetRecord<ProceduralTexture>(1, textures)->stepCount, 4);
    EXPECT_EQ(GetRecord<ProceduralTexture>(1, textures)->pixels, nullptr);
    const ObjectTable* bitmaps = opened.piece.demo.bitmaps;
    EXPECT_EQ(GetRecord<BitmapTexture>(1, bitmaps)->width, 4);
    EXPECT_EQ(GetRecord<BitmapTexture>(1, bitmaps)->pixels, nullptr);
    EXPECT_EQ(opened.piece.demo.scenes->count, 3u);
}

/// A piece whose items name one model and one image, so many times each.
static std::string PieceOfOneFile(int count)
{
    DocumentSource demo;
    for (int i = 0; i < count; ++i)
    {
        demo.sections[2] += "<m filename=\"model\"/>";
        demo.sections[6] += "<b filename=\"image\"/>";
    }
    demo.sections[10] = "<row/>";
    const ModelSource model = {{0, 0, 0}, {{0, 0}}, {0, 0, 1}, {0, 0, 0}};
    return MakePackage({{"model", MakeModel(model)},
                        {"image", MakeTga(2, 2, 3, std::string(12, 'x'))},
                        {"demo.xmlz", MakeDocument(demo)}});
}

TEST(Piece, AFileOfFourItemsIsReadOnceAndSharedByAll)
{
    OpenedPiece one(PieceOfOneFile(1));
    OpenedPiece four(PieceOfOneFile(4));
    DemoDocument* demo = &four.piece.demo;
    ASSERT_EQ(demo->models->count, 4u);
    ASSERT_EQ(demo->bitmaps->count, 4u);
    const ModelData* model = GetRecord<ModelData>(1, demo->models);
    const BitmapTexture* bitmap = GetRecord<BitmapTexture>(1, demo->bitmaps);
    ASSERT_NE(bitmap->pixels, nullptr);
    for (uint32_t id = 2; id <= 4; ++id)
    {
        const ModelData* other = GetRecord<ModelData>(id, demo->models);
        EXPECT_EQ(other->block, nullptr);
        EXPECT_EQ(other->mesh.vertices, model->mesh.vertices);
        EXPECT_EQ(other->mesh.faces, &other->faces); // these are each model's own
        EXPECT_EQ(other->mesh.indexCount, 3u);
        EXPECT_EQ(other->storedSize, model->storedSize);
        EXPECT_EQ(other->fileSets, 1);
        const BitmapTexture* image = GetRecord<BitmapTexture>(id, demo->bitmaps);
        EXPECT_EQ(image->pixels, bitmap->pixels);
        EXPECT_EQ(image->width, 2);
        EXPECT_EQ(image->height, 2);
        EXPECT_EQ(image->components, 3);
    }

    // Of the budget the four take what one takes, but for the tree: 2 nodes of 256 bytes an item,
    // and its text.
    const uint64_t taken = PieceBytesOf(four.bytes.size()) - four.piece.package.budget.bytesLeft;
    const uint64_t takenOnce = PieceBytesOf(one.bytes.size()) - one.piece.package.budget.bytesLeft;
    EXPECT_EQ(taken - takenOnce, 6 * (2 * 256 + strlen("<m filename=\"model\"/>")));
}

TEST(Piece, WithoutPixelsAFileOfFourItemsGivesEachItsSize)
{
    OpenedPiece piece(PieceOfOneFile(4), false);
    for (uint32_t id = 1; id <= 4; ++id)
    {
        const BitmapTexture* bitmap = GetRecord<BitmapTexture>(id, piece.piece.demo.bitmaps);
        EXPECT_EQ(bitmap->width, 2);
        EXPECT_EQ(bitmap->components, 3);
        EXPECT_EQ(bitmap->pixels, nullptr);
    }
}

TEST(Piece, SharedPixelsStayUntilTheLastBitmapGivesThemBack)
{
    OpenedPiece piece(PieceOfOneFile(3));
    BitmapTexture* bitmaps[3];
    for (uint32_t i = 0; i < 3; ++i)
    {
        bitmaps[i] = GetRecord<BitmapTexture>(i + 1, piece.piece.demo.bitmaps);
    }
    ReleaseBitmap(bitmaps[0]);
    ReleaseBitmap(bitmaps[0]); // a second time counts for nothing
    EXPECT_EQ(bitmaps[0]->pixels, nullptr);
    ReleaseBitmap(bitmaps[2]);
    ASSERT_NE(bitmaps[0]->block, nullptr);
    EXPECT_EQ(bitmaps[1]->pixels, bitmaps[0]->block);
    EXPECT_EQ(bitmaps[1]->pixels[11], 'x');
    ReleaseBitmap(bitmaps[1]);
    EXPECT_EQ(bitmaps[0]->block, nullptr);
}

TEST(Piece, OpenedAndClosed200TimesLeavesNothing)
{
    const std::string package = SmallPiece();
    OpenedPiece first(package);
    first.Move(&first.state, 10); // what is made once for the whole program is there now
    const int64_t before = LiveBlocks();
    for (int round = 0; round < 200; ++round)
    {
        OpenedPiece opened(package, round % 20 == 0);
        opened.Move(&opened.state, 10);
        opened.Move(&opened.state, 20);
    }
    EXPECT_EQ(LiveBlocks(), before);
}

TEST(Piece, TwoAtOnceMoveAsEachAlone)
{
    DocumentSource other = SmallDocument();
    other.sections[5] = "<e name=\"\" type=\"2\" resolution=\"128x128\" bpp=\"24\"><p>5</p></e>";
    other.sections[7] = ""; // nobody wears the effects that are gone
    other.sections[9] = "<s/><s/><s/>";
    const std::string packages[] = {SmallPiece(), SmallPieceOf(other, other)};

    std::string alone[2];
    for (size_t i = 0; i < 2; ++i)
    {
        OpenedPiece opened(packages[i], false);
        for (uint32_t time = 0; time < 60; time += 3)
        {
            alone[i] += opened.Move(&opened.state, time);
        }
    }

    std::string together[2];
    OpenedPiece a(packages[0], false);
    OpenedPiece b(packages[1], false);
    for (uint32_t time = 0; time < 60; time += 3)
    {
        together[0] += a.Move(&a.state, time);
        together[1] += b.Move(&b.state, time);
    }
    EXPECT_TRUE(together[0] == alone[0]);
    EXPECT_TRUE(together[1] == alone[1]);
    EXPECT_FALSE(alone[0] == alone[1]);
}

TEST(Piece, ADocumentThatThePackageLacksIsEmpty)
{
    const std::string whole = SmallPiece();
    {
        std::string renamed = whole;
        renamed.replace(renamed.find("loading.xmlz"), 12, "missing.xmlz");
        OpenedPiece opened(renamed, false);
        EXPECT_FALSE(opened.piece.hasLoading);
        EXPECT_TRUE(opened.piece.hasDemo);
        EXPECT_EQ(opened.piece.loading.scenes, nullptr);
        ASSERT_NE(opened.piece.loading.timeline, nullptr);
        EXPECT_EQ(opened.piece.loading.timeline->clipCount[0], 0u);
        EXPECT_EQ(opened.state.loading.effectCount, 0u);
        EXPECT_EQ(MusicDocument(&opened.piece), &opened.piece.demo);
    }
    {
        std::string renamed = whole;
        renamed.replace(renamed.find("demo.xmlz"), 9, "none.xmlz");
        OpenedPiece opened(renamed, false);
        EXPECT_TRUE(opened.piece.hasLoading);
        EXPECT_FALSE(opened.piece.hasDemo);
        EXPECT_EQ(opened.piece.demo.timeline->clipCount[0], 0u);
        EXPECT_EQ(MusicDocument(&opened.piece), &opened.piece.loading);
    }
    OpenedPiece opened(MakePackage({}), false);
    EXPECT_FALSE(opened.piece.hasLoading);
    EXPECT_FALSE(opened.piece.hasDemo);
}

TEST(Piece, AFaultInAnySectionLeavesNothing)
{
    struct Case
    {
        size_t section;
        const char* items; // after those that are right
        const char* line;
    };
    const Case cases[] = {
        {0, "<l/>", "section 0 (layers), item 4: attribute \"type\" of <l> is missing"},
        {1, "<t><layer type=\"101\" id=\"9\"/></t>",
         "section 1 (procedural textures), item 3, step 1: there is no layer 9, the document has "
         "3"},
        {2, "<m filename=\"none\"/>",
         "section 2 (models), item 3: the package has no model \"none\""},
        {3, "<e loop_type=\"0\" loop_begin=\"0\" loop_end=\"0\"/>",
         "section 3 (envelopes), item 6: attribute \"type\" of <e> is missing"},
        {4, "<l/>", "section 4 (lights), item 2: ambient colour is missing"},
        {5, "<e/>", "section 5 (2D effects), item 5: attribute \"name\" of <e> is missing"},
        {6, "<b/>", "section 6 (bitmaps), item 3: attribute \"filename\" of <b> is missing"},
        {7, "<m/>", "section 7 (materials), item 8: attribute \"type\" of <m> is missing"},
        {8, "<g type=\"0\"/>", "section 8 (generated meshes), item 4: a parameter is missing"},
        {9, "<s><o/></s>",
         "section 9 (scenes), item 4, object 1: attribute \"type\" of <o> is missing"},
        {10, "<row><c/></row>",
         "section 10 (timeline), row 3, clip 1: attribute \"id\" of <c> is missing"},
    };
    for (const Case& c : cases)
    {
        DocumentSource demo = SmallDocument();
        demo.sections[c.section] += c.items;
        const std::string package = SmallPieceOf(SmallDocument(), demo);
        const int64_t before = LiveBlocks();
        {
            OpenedPiece opened(package, c.section < 2, true);
            EXPECT_EQ(FaultText(opened.faults),
                      std::string("quorvale: demo.xmlz, ") + c.line + "\n");
            const Place& place = GetFault(&opened.faults, 0)->place;
            EXPECT_EQ(static_cast<size_t>(place.section), c.section);
            EXPECT_GT(place.line, 0);
            EXPECT_GT(place.column, 0);
        }
        EXPECT_EQ(LiveBlocks(), before);
    }
}

TEST(Piece, AFaultOfTheLoadingDocumentNamesIt)
{
    DocumentSource loading = SmallDocument();
    loading.sections[10] = "";
    OpenedPiece opened(SmallPieceOf(loading, SmallDocument()), false, true);
    EXPECT_EQ(FaultText(opened.faults), "quorvale: loading.xmlz, section 10 (timeline): the "
                                        "timeline has no row\n");
    EXPECT_EQ(opened.piece.demo.scenes, nullptr); // and reading stops there
}

TEST(Piece, APathThatIsNoPackageIsAFault)
{
    FaultList faults;
    StartFaults(&faults);
    Piece piece;
    PieceState state;
    const PieceSource source = {"/there/is/no/such.dpk", nullptr, 0, false};
    EXPECT_FALSE(OpenPiece(&source, &piece, &state, &faults));
    EXPECT_EQ(FaultText(faults), "quorvale: /there/is/no/such.dpk: No such file or directory\n");
    ClosePiece(&piece);
    FreePieceState(&state);
}

TEST(Piece, ThatIsClosedMayBeClosedAgain)
{
    OpenedPiece opened(SmallPiece(), false);
    ClosePiece(&opened.piece);
    EXPECT_EQ(opened.piece.demo.document, nullptr);
    EXPECT_EQ(opened.piece.demo.timeline, nullptr);
    ClosePiece(&opened.piece);
    FreePieceState(&opened.state);
    EXPECT_EQ(opened.state.demo.effects, nullptr);
}

TEST(Piece, IsConstantWhileItsStateMoves)
{
    OpenedPiece opened(SmallPiece(), false);
    const ObjectTable* genMeshes = opened.piece.demo.genMeshes;
    const Mesh& mesh = GetRecord<GenMesh>(1, genMeshes)->mesh;
    const std::string rest(reinterpret_cast<const char*>(mesh.vertices), 900 * 12);
    for (uint32_t time = 0; time < 100; time += 2)
    {
        opened.Move(&opened.state, time);
    }
    EXPECT_EQ(memcmp(mesh.vertices, rest.data(), rest.size()), 0);
}

/// @return the most memory that this process has held so far, in KiB
static long MostMemory()
{
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

TEST(Piece, OfManyEmptyScenesTakesLittleMemory)
{
    DocumentSource document = SmallDocument();
    for (int i = 0; i < 1000; ++i)
    {
        document.sections[9] += "<s/>";
    }
    const std::string package = SmallPieceOf(SmallDocument(), document);
    const long before = MostMemory();
    OpenedPiece opened(package, false);
    EXPECT_EQ(opened.piece.demo.scenes->count, 1003u);
    EXPECT_LT(MostMemory() - before, 250000); // records of scenes are 544324 bytes each
}
