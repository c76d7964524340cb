// SPDX-License-Identifier: MIT
#include "engine/piece/read_ahead.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "engine/data/cos_table.h"
#include "engine/render/piece_run.h"
#include "engine/textures/bitmap_texture.h"
#include "engine/textures/corner_masks.h"
#include "engine/textures/make_image.h"
#include "engine/textures/procedural_texture.h"
#include "record/random_piece.h"
#include "support/fault_text.h"
#include "support/loaded_piece.h"
#include "support/package_builder.h"
#include "support/recorded_gl.h"
#include "support/small_piece.h"

static constexpr uint32_t kThreadCounts[] = {2, 3, 8};

static void CountItem(void* user)
{
    *static_cast<uint32_t*>(user) += 1;
}

/// Loads both documents of a piece.
/// @param budget   bytes that the piece may take; 0 for as many as any piece
/// @return all that can be seen of it: calls, with what they read, lines, faults, the budget
static std::string Load(const std::string& package, uint32_t threads, uint64_t budget)
{
    ResetGl();
    RecordGlContents(true);
    FaultList faults;
    StartFaults(&faults);
    PieceRun run;
    EXPECT_TRUE(StartRun(&run, &faults));
    run.features = {1, 1, 1, 1};
    run.threads = threads;
    const bool isOpen = OpenPackageMemory(reinterpret_cast<const unsigned char*>(package.data()),
                                          package.size(), &run.piece.package, &faults);
    EXPECT_TRUE(isOpen) << FaultText(faults);
    if (budget != 0)
    {
        run.piece.package.budget.bytesLeft = budget;
    }

    uint32_t items = 0;
    const LoadWatcher watcher = {nullptr, CountItem, &items};
    std::string result;
    for (const RunDocument document : {RunDocument::kLoading, RunDocument::kDemo})
    {
        if (!HasFailed(&faults))
        {
            result += std::to_string(static_cast<int>(LoadRunDocument(&run, document, &watcher)));
        }
    }
    return result + " items " + std::to_string(items) + "\n" + CloseLoadedRun(&run, &faults);
}

/// Loads a piece with one thread and with several.
static void ExpectOneResult(const std::string& package, uint64_t budget = 0)
{
    const std::string expected = Load(package, 1, budget);
    for (const uint32_t threads : kThreadCounts)
    {
        EXPECT_EQ(Load(package, threads, budget), expected) << threads;
    }
}

/// @return the small piece with another text in one section of its demo
static std::string PieceWith(uint32_t section, const std::string& items)
{
    DocumentSource demo = SmallDocument();
    demo.sections[section] = items;
    return SmallPieceOf(SmallDocument(), demo);
}

class ReadAheadTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        BuildCosTable();
        BuildCornerMasks();
    }
};

TEST_F(ReadAheadTest, TheSmallPieceIsThatOfOneThread)
{
    ExpectOneResult(SmallPiece());
}

TEST_F(ReadAheadTest, RandomPiecesAreThoseOfOneThread)
{
    for (uint64_t seed = 1; seed <= 40; ++seed)
    {
        SCOPED_TRACE(seed);
        Random random = {seed};
        ExpectOneResult(MakeRandomPiece(&random).package);
    }
}

TEST_F(ReadAheadTest, FaultsAreMetInTheirTurn)
{
    // Each fault lies after items that are well, and before others.
    const std::string bitmap = "<b filename=\"rgb.tga\"/>";
    const std::string model = "<m filename=\"triangle\"/>";
    const std::string layer = "<l type=\"0\"><p>1</p></l>";
    const struct
    {
        uint32_t section;
        std::string items;
    } cases[] = {
        {0, layer + "<l/>" + layer},
        {0, layer + "text" + layer},
        {0, layer + "<l type=\"4\"><p/></l>" + layer},
        {1, "<t/><t><layer type=\"101\" id=\"9\"/></t><t/>"},
        {1, "<t/><!-- none --><t/>"},
        {2, model + "<m filename=\"missing\"/>" + model},
        {2, model + "<m filename=\"rgb.tga\"/>" + model},
        {6, bitmap + "<b filename=\"missing\"/>" + bitmap},
        {6, bitmap + "<b filename=\"triangle\"/>" + bitmap},
        {6, bitmap + "<b/>" + bitmap},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.items);
        const std::string package = PieceWith(c.section, c.items);
        EXPECT_NE(Load(package, 1, 0).find("quorvale: demo.xmlz"), std::string::npos);
        ExpectOneResult(package);
    }
}

TEST_F(ReadAheadTest, TheBudgetEndsAtTheSameItem)
{
    const std::string package = SmallPiece();
    const std::string whole = Load(package, 1, 0);
    const uint64_t used = PieceBytesOf(package.size()) -
                          strtoull(whole.c_str() + whole.rfind("left ") + 5, nullptr, 10);
    for (uint64_t part = 0; part < 8; ++part)
    {
        SCOPED_TRACE(part);
        ExpectOneResult(package, used * part / 8 + 1);
    }
}

TEST_F(ReadAheadTest, ALargeItemIsReadInItsTurn)
{
    ModelSource model = {{0, 0, 0}, {{0, 0}}, {0, 0, 1}, {}};
    model.indices.resize(kMostBytesOfAheadItem / 4);
    DocumentSource demo;
    demo.sections[2] = "<m filename=\"large\"/><m filename=\"large\"/>";
    demo.sections[10] = "<row/>";
    const std::string package =
        MakePackage({{"demo.xmlz", MakeDocument(demo)}, {"large", MakeModel(model)}});
    const std::string whole = Load(package, 1, 0);
    EXPECT_EQ(whole.find("quorvale:"), std::string::npos) << whole;
    ExpectOneResult(package);
}

/// A piece whose models and bitmaps name files of these names in turn, all of the same bytes.
static std::string PieceOfFiles(const std::vector<std::string>& models,
                                const std::vector<std::string>& bitmaps)
{
    const ModelSource model = {
        {0, 0, 0, 1, 0, 0, 0, 1, 0}, {{0, 0, 1, 0, 0, 1}}, {0, 0, 1, 0, 0, 1, 0, 0, 1}, {0, 1, 2}};
    const std::string image = MakeTga(5, 3, 3, std::string(45, 'x')); // padded for OpenGL
    DocumentSource demo;
    demo.sections[10] = "<row/>";
    std::vector<PackageEntry> entries;
    for (const std::string& name : models)
    {
        demo.sections[2] += "<m filename=\"" + name + "\"/>";
        entries.push_back({name, MakeModel(model)});
    }
    for (const std::string& name : bitmaps)
    {
        demo.sections[6] += "<b filename=\"" + name + "\"/>";
        entries.push_back({name, image});
    }
    entries.push_back({"demo.xmlz", MakeDocument(demo)});
    return MakePackage(entries);
}

/// @return what can be seen of a load but for the budget
static std::string WithoutBudget(const std::string& result)
{
    return result.substr(0, result.find("left "));
}

TEST_F(ReadAheadTest, ItemsOfOneFileDoWhatItemsOfEqualFilesDo)
{
    const std::string shared =
        PieceOfFiles({"a", "a", "b", "a", "b"}, {"c", "d", "c", "c", "c", "d"});
    const std::string own = PieceOfFiles({"a", "e", "b", "f", "g"}, {"c", "d", "h", "i", "j", "k"});
    const std::string result = WithoutBudget(Load(shared, 1, 0));
    EXPECT_NE(result.find("TexImage2D"), std::string::npos) << result;
    EXPECT_EQ(result, WithoutBudget(Load(own, 1, 0)));
    ExpectOneResult(shared);
}

static void AppendBigEndian(uint32_t value, std::string* bytes)
{
    for (uint32_t shift = 32; shift > 0; shift -= 8)
    {
        *bytes += static_cast<char>(value >> (shift - 8));
    }
}

/// A package that ends inside the name "m" of its last entry, so that each lookup of "m" notes a
/// line. The document lies where entries would, and "m" is the byte before all, a size word of 5: a
/// model without vertices.
static std::string PieceThatEndsInAName()
{
    static constexpr size_t kAround =
        4 + 2 + 5 + 4; // size word, head of stream and block, checksum
    DocumentSource demo;
    demo.sections[2] = "<m filename=\"m\"/><m filename=\"m\"/><m filename=\"m\"/>";
    demo.sections[10] = "<row/>";
    std::string text = MakeDocumentText(demo);
    // Whole entries long, and none of them begins with the zero that would end the directory.
    while ((text.size() + kAround) % 40 != 0 || text.size() % 256 == 0)
    {
        text += ' ';
    }
    const auto low = [](size_t value)
    {
        return static_cast<char>(value & 255);
    };
    const size_t size = text.size();
    std::string container = {low(size), low(size >> 8), 0, 0, 0x78, 1};
    container += {1, low(size), low(size >> 8), low(~size), low(~size >> 8)}; // stored as it is
    container += text + "aaaa";

    std::string package = "\x05P\x01" + std::string("demo.xmlz") + std::string(23, '\0');
    AppendBigEndian(43, &package);
    AppendBigEndian(static_cast<uint32_t>(43 + container.size() - 1), &package);
    return package + container + std::string("m\0", 2);
}

TEST_F(ReadAheadTest, AFileOfSeveralItemsIsLookedUpForEach)
{
    const std::string piece = PieceThatEndsInAName();
    const std::string result = Load(piece, 1, 0);
    EXPECT_EQ(result.find("quorvale:"), std::string::npos) << result;
    size_t lines = 0;
    for (size_t at = result.find("unexpected"); at != std::string::npos;
         at = result.find("unexpected", at + 1))
    {
        lines += 1;
    }
    EXPECT_EQ(lines, 1u + 3u); // for the loading document, which is missing, and each model
    ExpectOneResult(piece);
}

TEST_F(ReadAheadTest, WhatIsReadAheadHasItsMipChain)
{
    for (const uint32_t threads : {1u, 2u})
    {
        ResetGl();
        FaultList faults;
        StartFaults(&faults);
        PieceRun run;
        ASSERT_TRUE(StartRun(&run, &faults));
        const std::string package = SmallPiece();
        OpenPackageMemory(reinterpret_cast<const unsigned char*>(package.data()), package.size(),
                          &run.piece.package, &faults);
        DemoDocument* demo = &run.piece.demo;
        ASSERT_TRUE(LoadDocument(&run.piece.package, demo, &faults)) << FaultText(faults);
        ReadContext context = {};
        context.document = demo;
        context.package = &run.piece.package;
        context.isDemo = true;
        context.computePixels = true;
        context.faults = &faults;
        StartReadAhead(PieceSections, threads, &context);
        EXPECT_EQ(context.ahead != nullptr, threads > 1);
        EXPECT_TRUE(ReadSections(PieceSections, &context)) << FaultText(faults);
        StopReadAhead(&context);
        EXPECT_EQ(context.ahead, nullptr);

        const ProceduralTexture* texture = GetRecord<ProceduralTexture>(1, demo->textures);
        const BitmapTexture* bitmap = GetRecord<BitmapTexture>(1, demo->bitmaps);
        EXPECT_EQ(texture->levels != nullptr, threads > 1);
        EXPECT_EQ(bitmap->levels != nullptr, threads > 1);
        CloseRun(&run);
        FreeFaults(&faults);
    }
    ResetGl();
}

TEST_F(ReadAheadTest, ItemsThatNobodyTakesAreFreed)
{
    FaultList faults;
    StartFaults(&faults);
    PieceRun run;
    ASSERT_TRUE(StartRun(&run, &faults));
    const std::string package = SmallPiece();
    OpenPackageMemory(reinterpret_cast<const unsigned char*>(package.data()), package.size(),
                      &run.piece.package, &faults);
    ASSERT_TRUE(LoadDocument(&run.piece.package, &run.piece.demo, &faults));
    for (int i = 0; i < 50; ++i) // the sanitizer counts the blocks
    {
        ReadContext context = {};
        context.document = &run.piece.demo;
        context.package = &run.piece.package;
        context.isDemo = true;
        context.faults = &faults;
        StartReadAhead(PieceSections, 4, &context);
        StopReadAhead(&context);
    }
    CloseRun(&run);
    FreeFaults(&faults);
}

TEST(CountLoadingThreads, OnlyNumbersAboveZeroCount)
{
    EXPECT_EQ(CountLoadingThreads("1"), 1u);
    EXPECT_EQ(CountLoadingThreads("2"), 2u);
    EXPECT_EQ(CountLoadingThreads("16"), 16u);
    EXPECT_EQ(CountLoadingThreads("17"), kMostLoadingThreads);
    EXPECT_EQ(CountLoadingThreads("99999999999999999999"), kMostLoadingThreads);
    const uint32_t processors = CountLoadingThreads(nullptr);
    EXPECT_GE(processors, 1u);
    EXPECT_LE(processors, kMostLoadingThreads);
    for (const char* wish : {"", "0", "-1", "two", "2x", " "})
    {
        EXPECT_EQ(CountLoadingThreads(wish), processors) << wish;
    }
}
