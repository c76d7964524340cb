// SPDX-License-Identifier: MIT
#include "engine/textures/bitmap_texture.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "engine/data/fault.h"
#include "engine/textures/make_image.h"
#include "support/fault_text.h"
#include "support/package_builder.h"

using Bytes = std::vector<uint8_t>;

static const std::string kPlace = "quorvale: demo.xmlz, section 6 (bitmaps), item 1: ";

class BitmapTextureTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        StartFaults(&faults);
        context.computePixels = true;
        context.faults = &faults;
    }

    void TearDown() override
    {
        FreeBitmap(&bitmap);
        FreeFaults(&faults);
        ClosePackage(&package);
    }

    /// Reads an item from a package with one entry, "a.tga".
    bool ReadItem(const std::string& file, const char* item)
    {
        FreeBitmap(&bitmap);
        bitmap = {};
        ClosePackage(&package);
        bytes = MakePackage({{"a.tga", file}});
        faults.place = PlaceAt("demo.xmlz", Section::kBitmaps, 1);
        EXPECT_TRUE(OpenPackageMemory(reinterpret_cast<const unsigned char*>(bytes.data()),
                                      bytes.size(), &package, &faults));
        package.budget.bytesLeft = budget;
        context.package = &package;
        TiXmlDocument document;
        document.Parse(item);
        return ReadBitmapItem(document.RootElement(), &bitmap, 0, &context);
    }

    /// Reads `bitmap`.
    void Read(const std::string& file)
    {
        EXPECT_TRUE(ReadItem(file, "<b filename=\"a.tga\"/>"));
        EXPECT_EQ(FaultText(faults), "");
    }

    /// The text of a fault after its place. Nothing of an image is kept.
    std::string ReadFault(const std::string& file, const char* item = "<b filename=\"a.tga\"/>")
    {
        EXPECT_FALSE(ReadItem(file, item));
        EXPECT_EQ(bitmap.pixels, nullptr);
        const std::string line = FaultText(faults);
        FreeFaults(&faults);
        EXPECT_EQ(line.substr(0, kPlace.size()), kPlace);
        return line.substr(std::min(kPlace.size(), line.size()));
    }

    Bytes Pixels(size_t count) const
    {
        return Bytes(bitmap.pixels, bitmap.pixels + count);
    }

    uint64_t budget = kPieceBytes; // of the package
    FaultList faults;
    std::string bytes;
    PackageFile package = {};
    ReadContext context = {};
    BitmapTexture bitmap = {};
};

TEST_F(BitmapTextureTest, RowsStayInOrderAndRedComesFirst)
{
    // 4x2 pixels, stored blue green red.
    std::string pixels;
    for (char i = 0; i < 8; ++i)
    {
        pixels += {static_cast<char>(3 * i), static_cast<char>(2 * i), i};
    }
    for (const bool isDemo : {false, true})
    {
        context.isDemo = isDemo; // both documents alike
        Read(MakeTga(4, 2, 3, pixels));
        EXPECT_EQ(bitmap.width, 4);
        EXPECT_EQ(bitmap.height, 2);
        EXPECT_EQ(bitmap.components, 3);
        EXPECT_EQ(Pixels(24), (Bytes{0, 0, 0,  1, 2,  3,  2, 4,  6,  3, 6,  9,
                                     4, 8, 12, 5, 10, 15, 6, 12, 18, 7, 14, 21}));
        EXPECT_EQ(package.budget.bytesLeft, budget - 24);
    }
}

TEST_F(BitmapTextureTest, FourComponentsKeepTheirAlpha)
{
    Read(MakeTga(2, 2, 4, "\x03\x02\x01\x0a\x03\x02\x01\x14\x03\x02\x01\x1e\x03\x02\x01\x28"));
    EXPECT_EQ(bitmap.components, 4);
    EXPECT_EQ(Pixels(16), (Bytes{1, 2, 3, 10, 1, 2, 3, 20, 1, 2, 3, 30, 1, 2, 3, 40}));
}

TEST_F(BitmapTextureTest, ZerosFollowThePixelsOfOneComponent)
{
    // OpenGL is told that each pixel has four bytes.
    Read(MakeTga(3, 3, 1, "abcdefghi"));
    EXPECT_EQ(bitmap.components, 1);
    Bytes expected(48, 0); // 12 bytes a row, which an alignment of eight makes 16
    const std::string text = "abcdefghi";
    std::copy(text.begin(), text.end(), expected.begin());
    EXPECT_EQ(Pixels(48), expected);

    Read(MakeTga(2, 2, 2, "abcdefgh"));
    EXPECT_EQ(bitmap.components, 2);
    EXPECT_EQ(Pixels(16), (Bytes{'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST_F(BitmapTextureTest, ZerosFollowRowsThatAnAlignmentMakesLonger)
{
    Read(MakeTga(3, 3, 3, std::string(27, 'x'))); // 9 bytes a row, taken for 16 at most
    Bytes expected(48, 0);
    std::fill(expected.begin(), expected.begin() + 27, uint8_t{'x'});
    EXPECT_EQ(Pixels(48), expected);
}

TEST_F(BitmapTextureTest, OneOrTwoComponentsMayBeBelowTwoPixels)
{
    Read(MakeTga(1, 1, 1, "a"));
    EXPECT_EQ(bitmap.width, 1);
    EXPECT_EQ(bitmap.height, 1);
    EXPECT_EQ(Pixels(8), (Bytes{'a', 0, 0, 0, 0, 0, 0, 0}));
    Read(MakeTga(4, 1, 1, "abcd"));
    EXPECT_EQ(Pixels(5), (Bytes{'a', 'b', 'c', 'd', 0}));
    Read(MakeTga(1, 2, 2, "abcd"));
    EXPECT_EQ(bitmap.components, 2);
    EXPECT_EQ(Pixels(5), (Bytes{'a', 'b', 'c', 'd', 0}));
}

TEST_F(BitmapTextureTest, AnImageTooSmallForAChainIsAFault)
{
    EXPECT_EQ(ReadFault(MakeTga(1, 2, 3, "abcdef")),
              "the image file \"a.tga\" has 1x2 pixels, and a bitmap at least 2x2\n");
    EXPECT_EQ(ReadFault(MakeTga(2, 1, 4, "abcdefgh")),
              "the image file \"a.tga\" has 2x1 pixels, and a bitmap at least 2x2\n");
}

TEST_F(BitmapTextureTest, AMissingFileIsAFault)
{
    EXPECT_EQ(ReadFault("", "<b filename=\"b.tga\"/>"),
              "the package has no image file \"b.tga\"\n");
    EXPECT_EQ(ReadFault("", "<b/>"), "attribute \"filename\" of <b> is missing\n");
}

TEST_F(BitmapTextureTest, AFileThatIsNoImageIsAFault)
{
    const std::string words =
        "the image file \"a.tga\" can't be read: Image not of any known type, or corrupt\n";
    EXPECT_EQ(ReadFault("no image at all"), words);
    EXPECT_EQ(ReadFault(""), words);
}

TEST_F(BitmapTextureTest, ARadianceFileThatIsCutShortIsAFault)
{
    const std::string file = MakeRadiance();
    Read(file);
    EXPECT_EQ(bitmap.width, 8);
    EXPECT_EQ(bitmap.height, 2);
    const size_t head = file.size() - 24;
    for (const size_t length : {head + 4, head + 12 + 6})
    {
        const std::string line = ReadFault(file.substr(0, length));
        EXPECT_NE(line.find("can't be read: "), std::string::npos);
        EXPECT_NE(line.find("RLE"), std::string::npos);
    }
}

TEST_F(BitmapTextureTest, AnImageTooLargeForOpenGlIsAFault)
{
    // A portable pixmap of 10^9 pixels a side, by its head.
    EXPECT_EQ(ReadFault("P6 1000000000 1000000000 255\n"),
              "the image file \"a.tga\" can't be read: Very large image (corrupt?)\n");
}

TEST_F(BitmapTextureTest, PixelsPastThePiecesBudgetAreAFault)
{
    budget = 80; // a decoder may hold three copies of the pixels
    EXPECT_NE(ReadFault(MakeTga(3, 3, 3, std::string(27, 'x'))), "");
    budget = 81;
    Read(MakeTga(3, 3, 3, std::string(27, 'x')));
    EXPECT_EQ(package.budget.bytesLeft, 54u);

    // Its head states 16384 x 16384 pixels, and nothing of that size is allocated for it.
    budget = 1 << 20;
    EXPECT_NE(ReadFault("P6 16384 16384 255\n"), "");
}

TEST_F(BitmapTextureTest, TheSizeIsKeptWithoutThePixelsUnlessTheyAreWanted)
{
    context.computePixels = false;
    Read(MakeTga(3, 2, 3, std::string(18, 'x')));
    EXPECT_EQ(bitmap.width, 3);
    EXPECT_EQ(bitmap.height, 2);
    EXPECT_EQ(bitmap.components, 3);
    EXPECT_EQ(bitmap.pixels, nullptr);
    EXPECT_NE(ReadFault("no image at all"), ""); // faults are found all the same
}

TEST_F(BitmapTextureTest, PixelsAreGivenBackOnceAndTheSizeStays)
{
    Read(MakeTga(3, 2, 3, std::string(18, 'x')));
    FreeBitmap(&bitmap);
    EXPECT_EQ(bitmap.pixels, nullptr);
    EXPECT_EQ(bitmap.width, 3);
    FreeBitmap(&bitmap);
}
