// SPDX-License-Identifier: MIT
#include "studio/logic/kept_items.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "engine/data/cos_table.h"
#include "engine/render/piece_run.h"
#include "engine/textures/corner_masks.h"
#include "record/random_piece.h"
#include "support/loaded_piece.h"
#include "support/package_builder.h"
#include "support/recorded_gl.h"
#include "support/small_piece.h"

/// Loads both documents of a piece.
/// @param kept     null for the engine's own readers
/// @param budget   bytes that the piece may take; 0 for as many as any piece
/// @return all that can be seen of it: calls, with what they read, lines, faults, the budget
static std::string Load(const std::string& package, KeptItems* kept, uint64_t budget = 0)
{
    ResetGl();
    RecordGlContents(true);
    FaultList faults;
    StartFaults(&faults);
    PieceRun run;
    EXPECT_TRUE(StartRun(&run, &faults));
    run.features = {1, 1, 1, 1};
    run.keepPixels = true;
    if (kept != nullptr)
    {
        BeginKeptLoad(kept);
        run.readers = kept->readers;
        run.readersUser = kept;
    }
    EXPECT_TRUE(OpenPackageMemory(reinterpret_cast<const unsigned char*>(package.data()),
                                  package.size(), &run.piece.package, &faults));
    if (budget != 0)
    {
        run.piece.package.budget.bytesLeft = budget;
    }
    std::string result;
    for (const RunDocument document : {RunDocument::kLoading, RunDocument::kDemo})
    {
        if (!HasFailed(&faults))
        {
            result += std::to_string(static_cast<int>(LoadRunDocument(&run, document, nullptr)));
        }
    }
    if (kept != nullptr)
    {
        EndKeptLoad(!HasFailed(&faults), kept);
    }
    return result + "\n" + CloseLoadedRun(&run, &faults);
}

/// The hashes of a demo with these layers and textures.
static DocumentHashes HashesOf(const std::string& layers, const std::string& textures)
{
    DocumentSource source = SmallDocument();
    source.sections[0] = layers;
    source.sections[1] = textures;
    const std::string text = MakeDocumentText(source);
    TiXmlDocument tree;
    tree.Parse(text.c_str());
    DemoDocument document = {};
    document.document = &tree;
    PackageFile package = {};
    return HashDocument(&document, &package, true);
}

static std::string Color(const std::string& red)
{
    return "<l type=\"0\"><p>" + red + "</p><p>0</p><p>0</p></l>";
}

/// A texture of one step.
static std::string TextureOf(const std::string& layer)
{
    return "<t><layer type=\"101\" id=\"" + layer + "\"/></t>";
}

class KeptItemsTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        BuildCosTable();
        BuildCornerMasks();
    }
};

TEST_F(KeptItemsTest, ATextureHasTheHashOfItsLayers)
{
    const std::string textures = TextureOf("0") + TextureOf("1") + "<t><filter type=\"201\"/></t>";
    const DocumentHashes before = HashesOf(Color("1") + Color("0.5"), textures);
    const DocumentHashes after = HashesOf(Color("1") + Color("0.25"), textures);
    ASSERT_EQ(before.layers.size(), 2u);
    ASSERT_EQ(before.textures.size(), 3u);
    EXPECT_EQ(before.layers[0], after.layers[0]);
    EXPECT_NE(before.layers[1], after.layers[1]);
    EXPECT_EQ(before.textures[0], after.textures[0]);
    EXPECT_NE(before.textures[1], after.textures[1]);
    EXPECT_EQ(before.textures[2], after.textures[2]);
}

TEST_F(KeptItemsTest, AStepIsPartOfItsTextureAlone)
{
    const DocumentHashes before =
        HashesOf(Color("1"), TextureOf("0") + "<t><filter type=\"202\"><p>1</p></filter></t>");
    const DocumentHashes after =
        HashesOf(Color("1"), TextureOf("0") + "<t><filter type=\"202\"><p>2</p></filter></t>");
    EXPECT_EQ(before.textures[0], after.textures[0]);
    EXPECT_NE(before.textures[1], after.textures[1]);
}

TEST_F(KeptItemsTest, NumbersOfLayersDoNotCount)
{
    const DocumentHashes before = HashesOf(Color("1") + Color("0.5"), TextureOf("1"));
    const DocumentHashes after = HashesOf(Color("0.5") + Color("1"), TextureOf("0"));
    EXPECT_EQ(before.textures[0], after.textures[0]);
}

TEST_F(KeptItemsTest, AnItemAfterAFaultHasNoHash)
{
    const DocumentHashes hashes = HashesOf(Color("1") + "<l/>" + Color("1"), TextureOf("0"));
    EXPECT_EQ(hashes.layers.size(), 1u);
    EXPECT_TRUE(hashes.textures.empty());
    EXPECT_EQ(HashesOf(Color("1"), TextureOf("0") + TextureOf("7")).textures.size(), 1u);
}

TEST_F(KeptItemsTest, TheSamePieceIsNotMadeAgain)
{
    KeptItems kept = {};
    const std::string package = SmallPiece();
    const std::string expected = Load(package, nullptr);
    EXPECT_EQ(Load(package, &kept), expected);
    const uint32_t made = kept.made;
    EXPECT_GT(made, 0u);
    EXPECT_EQ(Load(package, &kept), expected);
    EXPECT_EQ(kept.made, 0u);
    EXPECT_GE(kept.kept, made);
}

/// @return the small piece with another text in one section of its demo
static std::string PieceWith(uint32_t section, const std::string& items)
{
    DocumentSource demo = SmallDocument();
    demo.sections[section] = items;
    return SmallPieceOf(SmallDocument(), demo);
}

TEST_F(KeptItemsTest, FaultsAreThoseOfTheEngine)
{
    const std::string layer = Color("1");
    const struct
    {
        uint32_t section;
        std::string items;
    } cases[] = {
        {0, layer + "<l/>" + layer},
        {0, layer + "text" + layer},
        {1, "<t/><t><layer type=\"101\" id=\"9\"/></t><t/>"},
        {1, "<t/><!-- none --><t/>"},
        {2, "<m filename=\"triangle\"/><m filename=\"triangle\"/><m filename=\"missing\"/>"},
        {2, "<m filename=\"triangle\"/><m filename=\"rgb.tga\"/>"},
        {6, "<b filename=\"rgb.tga\"/><b filename=\"missing\"/>"},
        {6, "<b filename=\"rgb.tga\"/><b filename=\"triangle\"/>"},
        {6, "<b filename=\"rgb.tga\"/><b/>"},
    };
    KeptItems kept = {};
    Load(SmallPiece(), &kept);
    const size_t bytes = KeptBytes(&kept);
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.items);
        const std::string package = PieceWith(c.section, c.items);
        EXPECT_EQ(Load(package, &kept), Load(package, nullptr));
        EXPECT_EQ(KeptBytes(&kept), bytes); // the last good piece's
    }
}

TEST_F(KeptItemsTest, APieceTakesNoMoreThanItMay)
{
    KeptItems kept = {};
    const std::string package = SmallPiece();
    Load(package, &kept);
    for (uint64_t budget = 10000; budget < 2000000; budget += 47111)
    {
        SCOPED_TRACE(budget);
        EXPECT_EQ(Load(package, &kept, budget), Load(package, nullptr, budget));
    }
}

TEST_F(KeptItemsTest, OnlyTheLastPieceIsKept)
{
    KeptItems kept = {};
    Load(SmallPiece(), &kept);
    const std::string other = PieceWith(1, "<t><filter type=\"201\"/></t>");
    Load(other, &kept);
    KeptItems fresh = {};
    Load(other, &fresh);
    EXPECT_EQ(KeptBytes(&kept), KeptBytes(&fresh));
}

static void LeaveAsItIs(std::vector<PackageEntry>* /*entries*/)
{
}

/// Gives the n-th parameter of a document's text another number.
template <size_t kNumber>
static void ChangeNumber(std::vector<PackageEntry>* entries)
{
    std::string* text = &entries->at(1).bytes;
    size_t at = 0;
    for (size_t i = 0; i < kNumber && at != std::string::npos; ++i)
    {
        at = text->find("<p>", at + 1);
    }
    if (at != std::string::npos)
    {
        const size_t end = text->find('<', at + 1);
        text->replace(at + 3, end - at - 3, "0.375");
    }
}

/// Gives the last file another last byte.
static void ChangeFile(std::vector<PackageEntry>* entries)
{
    std::string* bytes = &entries->back().bytes;
    bytes->back() = static_cast<char>(bytes->back() ^ 1);
}

TEST_F(KeptItemsTest, ChangedRandomPiecesAreThoseOfTheEngine)
{
    static constexpr PieceEdit kEdits[] = {ChangeNumber<1>, ChangeNumber<4>, ChangeNumber<20>,
                                           ChangeFile};
    uint32_t keptItems = 0;
    for (uint64_t seed = 1; seed <= 12; ++seed)
    {
        for (const PieceEdit edit : kEdits)
        {
            SCOPED_TRACE(seed);
            Random first = {seed};
            Random second = {seed};
            KeptItems kept = {};
            Load(MakeRandomPiece(&first, LeaveAsItIs).package, &kept);
            const std::string changed = MakeRandomPiece(&second, edit).package;
            EXPECT_EQ(Load(changed, &kept), Load(changed, nullptr));
            keptItems += kept.kept;
        }
    }
    EXPECT_GT(keptItems, 50u);
}
