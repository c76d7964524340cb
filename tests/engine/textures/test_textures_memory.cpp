// SPDX-License-Identifier: MIT

// Each allocation in turn fails while layers, textures, bitmaps and images are read: that is a
// fault, and nothing is left behind.

#include <gtest/gtest.h>
#include <string>

#include "engine/data/cos_table.h"
#include "engine/data/document_values.h"
#include "engine/textures/bitmap_texture.h"
#include "engine/textures/corner_masks.h"
#include "engine/textures/decode_image.h"
#include "engine/textures/layer_generator.h"
#include "engine/textures/make_image.h"
#include "engine/textures/procedural_texture.h"
#include "support/failing_memory.h"
#include "support/fault_text.h"
#include "support/package_builder.h"

/// The outcome of one reading.
struct Outcome
{
    bool done;
    uint32_t faults;
    std::string text;   // of the faults
    uint64_t asked;     // allocations
    int64_t leftBehind; // blocks
};

/// Reads while the k-th allocation fails.
/// @param stays   all allocations after it fail too
template <typename Read>
static Outcome ReadWithout(uint64_t k, bool stays, Read read)
{
    FaultList faults;
    StartFaults(&faults);
    const int64_t before = LiveBlocks();
    stays ? FailAllocationsFrom(k) : FailAllocation(k);
    const bool done = read(&faults);
    const uint64_t asked = AllowAllocations();
    const int64_t leftBehind = LiveBlocks() - before;
    const Outcome outcome = {done, faults.count, FaultText(faults), asked, leftBehind};
    FreeFaults(&faults);
    return outcome;
}

/// Reads without memory at the k-th allocation, for every k that it comes to: each time that is one
/// fault, and all is given back.
/// @return how many allocations a whole reading takes
template <typename Read>
static uint64_t FailEachAllocation(Read read)
{
    for (uint64_t k = 1;; ++k)
    {
        for (const bool stays : {true, false})
        {
            const Outcome outcome = ReadWithout(k, stays, read);
            EXPECT_EQ(outcome.leftBehind, 0) << "allocation " << k;
            EXPECT_EQ(outcome.done, outcome.asked < k) << "allocation " << k;
            EXPECT_EQ(outcome.faults, outcome.done ? 0u : 1u) << "allocation " << k;
            const bool tellsMemory = outcome.text.find("memory") != std::string::npos ||
                                     outcome.text.find("can't be allocated") != std::string::npos;
            EXPECT_EQ(tellsMemory, !outcome.done) << "allocation " << k << ": " << outcome.text;
            if (!stays && outcome.done)
            {
                return outcome.asked;
            }
        }
    }
}

class TexturesMemory : public testing::Test
{
  protected:
    void SetUp() override
    {
        BuildCosTable();
        BuildCornerMasks();
    }
};

/// Reads the items of a text's two elements as sections 0 and 1.
static bool ReadTextures(const TiXmlDocument& document, FaultList* faults)
{
    PackageFile package = {};
    package.budget.bytesLeft = kPieceBytes;
    ReadContext context = {};
    context.package = &package;
    context.computePixels = true;
    context.faults = faults;
    const TiXmlElement* layers = document.FirstChildElement();
    bool done = true;
    for (const TiXmlElement* item = layers->FirstChildElement(); item != nullptr && done;
         item = item->NextSiblingElement())
    {
        done = ReadLayerItem(item, nullptr, 0, &context);
    }
    for (const TiXmlElement* item = layers->NextSiblingElement()->FirstChildElement();
         item != nullptr && done; item = item->NextSiblingElement())
    {
        ProceduralTexture texture = {};
        done = ReadProceduralTextureItem(item, &texture, 0, &context);
        FreeProceduralTexture(&texture);
    }
    FreeLayers(&context);
    return done;
}

TEST_F(TexturesMemory, EveryGeneratorAndStepFailsAsAFault)
{
    std::string text = "<s0>";
    for (int type = 0; type <= 6; ++type)
    {
        text += "<l type='" + std::to_string(type) + "'><p>1</p></l>";
    }
    text += "</s0><s1>";
    for (const int type : {101, 102, 103, 104, 201, 202, 203, 204, 205, 206, 207, 208})
    {
        text += "<t><layer id='5' type='" + std::to_string(type) + "'/></t>";
    }
    text += "<t><s type='204'/><s type='205'/><s type='206'/><s type='207'/></t></s1>";
    TiXmlDocument document;
    document.Parse(text.c_str());
    const uint64_t allocations =
        FailEachAllocation([&](FaultList* faults) { return ReadTextures(document, faults); });
    // A layer, its pixels and its scratch memory, but for the types that need none; a texture's
    // pixels and scratch memory.
    EXPECT_GE(allocations, 7u * 2 + 5 + 13 + 6);
}

/// Decodes one file of a package as a bitmap.
static bool ReadBitmap(const TiXmlElement* item, PackageFile* package, FaultList* faults)
{
    ReadContext context = {};
    context.package = package;
    context.computePixels = true;
    context.faults = faults;
    BitmapTexture bitmap = {};
    const bool done = ReadBitmapItem(item, &bitmap, 0, &context);
    FreeBitmap(&bitmap);
    return done;
}

TEST_F(TexturesMemory, EveryImageFormatFailsAsAFault)
{
    const std::string files[] = {
        MakeTga(3, 3, 3, std::string(27, 'x')),
        MakeTga(3, 3, 1, std::string(9, 'x')),
        MakePicHead(2, 2, 3) + "\x02qrs\x02qrs",
        MakePicHead(2, 2, 4) + "\x02qrs\x02t\x02qrs\x02t",
        MakeRadiance(),
        MakeBareJpeg(),
        MakePng(),
        MakeGif(),
    };
    TiXmlDocument document;
    document.Parse("<b filename='a'/>");
    for (const std::string& file : files)
    {
        const std::string bytes = MakePackage({{"a", file}});
        FaultList faults;
        StartFaults(&faults);
        PackageFile package;
        ASSERT_TRUE(OpenPackageMemory(reinterpret_cast<const unsigned char*>(bytes.data()),
                                      bytes.size(), &package, &faults));
        package.budget.bytesLeft = kPieceBytes;
        const uint64_t allocations = FailEachAllocation(
            [&](FaultList* given) { return ReadBitmap(document.RootElement(), &package, given); });
        EXPECT_GE(allocations, 2u) << &file - files; // the file and its pixels
        ClosePackage(&package);
        FreeFaults(&faults);
    }
}
