#include "engine/textures/bitmap_texture.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "engine/data/fault.h"
#include "support/byte_file.h"
#include "support/package_builder.h"
#include "support/recorded_gl.h"

/// An uncompressed TGA file, first row first. Three and four components are stored blue first.
static std::string MakeTga(int width, int height, int components, const std::string& pixels)
{
    std::string file(18, '\0');
    file[2] = components < 3 ? 3 : 2; // grey or color
    file[12] = static_cast<char>(width & 255);
    file[13] = static_cast<char>(width >> 8);
    file[14] = static_cast<char>(height & 255);
    file[15] = static_cast<char>(height >> 8);
    file[16] = static_cast<char>(8 * components);
    file[17] = 0x20; // from the top
    return file + pixels;
}

class BitmapTextureTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        ResetGl();
        CurrentPlace = {"demo.xmlz", 6, 1, 0};
    }

    void TearDown() override
    {
        CurrentPlace = {nullptr, kNoSection, 0, 0};
    }

    /// Reads <b filename="a.tga"/> from a package with one entry.
    BitmapTexture Read(const std::string& file, bool isDemo = true,
                       const char* item = "<b filename=\"a.tga\"/>")
    {
        const std::string package = MakePackage({{"a.tga", file}});
        LoadContext context = {};
        context.isDemo = isDemo;
        context.package = OpenBytes(Bytes(package.begin(), package.end()));
        TiXmlDocument document;
        document.Parse(item);
        BitmapTexture bitmap;
        memset(static_cast<void*>(&bitmap), 0xEE, sizeof(bitmap));
        ReadBitmapItem(document.RootElement(), &bitmap, 0, &context);
        fclose(context.package);
        return bitmap;
    }
};

static constexpr const char* kFilters =
    "TexParameteri TEXTURE_2D TEXTURE_MAG_FILTER LINEAR\n"
    "TexParameteri TEXTURE_2D TEXTURE_MIN_FILTER LINEAR_MIPMAP_LINEAR\n";

TEST_F(BitmapTextureTest, ABitmapIsUploadedWithItsChainInBothDocumentsAlike)
{
    // 4x2 pixels, blue green red.
    std::string pixels;
    for (char i = 0; i < 8; ++i)
    {
        pixels += {static_cast<char>(3 * i), static_cast<char>(2 * i), i};
    }
    for (const bool isDemo : {false, true})
    {
        ResetGl();
        const BitmapTexture bitmap = Read(MakeTga(4, 2, 3, pixels), isDemo);
        EXPECT_EQ(TakeGlCalls(), std::string("GenTextures 1 1\nBindTexture TEXTURE_2D 1\n") +
                                     "TexImage2D TEXTURE_2D 0 3 4 2 0 RGB UNSIGNED_BYTE ?\n" +
                                     kFilters +
                                     "PixelStorei UNPACK_ALIGNMENT 1\n"
                                     "TexImage2D TEXTURE_2D 1 3 2 1 0 RGB UNSIGNED_BYTE ?\n"
                                     "PixelStorei UNPACK_ALIGNMENT 1\n"
                                     "TexImage2D TEXTURE_2D 2 3 1 1 0 RGB UNSIGNED_BYTE ?\n"
                                     "PixelStorei UNPACK_ALIGNMENT 4\n");
        EXPECT_EQ(bitmap.width, 4);
        EXPECT_EQ(bitmap.height, 2);
        EXPECT_EQ(bitmap.components, 3);
        EXPECT_EQ(bitmap.glTexture, 1U);
        EXPECT_EQ(bitmap.pixels, nullptr);

        // The first row stays first.
        EXPECT_EQ(GlTextureLevel(1, 0)->bytes, (Bytes{0, 0, 0,  1, 2,  3,  2, 4,  6,  3, 6,  9,
                                                      4, 8, 12, 5, 10, 15, 6, 12, 18, 7, 14, 21}));
        EXPECT_EQ(GlTextureLevel(1, 1)->bytes, (Bytes{0, 1, 1, 2, 5, 7}));
        EXPECT_EQ(GlTextureLevel(1, 2)->bytes, (Bytes{1, 3, 4}));
    }
}

TEST_F(BitmapTextureTest, FourComponentsKeepTheirAlpha)
{
    const std::string pixels = "\x03\x02\x01\x0a\x03\x02\x01\x14\x03\x02\x01\x1e\x03\x02\x01\x28";
    const BitmapTexture bitmap = Read(MakeTga(2, 2, 4, pixels));
    EXPECT_EQ(bitmap.components, 4);
    EXPECT_EQ(TakeGlCalls(), std::string("GenTextures 1 1\nBindTexture TEXTURE_2D 1\n") +
                                 "TexImage2D TEXTURE_2D 0 4 2 2 0 RGBA UNSIGNED_BYTE ?\n" +
                                 kFilters +
                                 "PixelStorei UNPACK_ALIGNMENT 1\n"
                                 "TexImage2D TEXTURE_2D 1 4 1 1 0 RGBA UNSIGNED_BYTE ?\n"
                                 "PixelStorei UNPACK_ALIGNMENT 4\n");
    EXPECT_EQ(GlTextureLevel(1, 0)->bytes,
              (Bytes{1, 2, 3, 10, 1, 2, 3, 20, 1, 2, 3, 30, 1, 2, 3, 40}));
    EXPECT_EQ(GlTextureLevel(1, 1)->bytes, (Bytes{1, 2, 3, 15})); // of the first two pixels
}

TEST_F(BitmapTextureTest, OneComponentGetsLevel0AloneAsRgbaAndAFilterThatWantsMore)
{
    const BitmapTexture bitmap = Read(MakeTga(3, 3, 1, "abcdefghi"));
    EXPECT_EQ(bitmap.components, 1);
    EXPECT_EQ(TakeGlCalls(), std::string("GenTextures 1 1\nBindTexture TEXTURE_2D 1\n") +
                                 "TexImage2D TEXTURE_2D 0 1 3 3 0 RGBA UNSIGNED_BYTE ?\n" +
                                 kFilters + "PixelStorei UNPACK_ALIGNMENT 4\n");
    // OpenGL takes the bytes as they lie for four a pixel, and behind them there are zeros.
    Bytes expected(36, 0);
    const std::string text = "abcdefghi";
    std::copy(text.begin(), text.end(), expected.begin());
    EXPECT_EQ(GlTextureLevel(1, 0)->bytes, expected);
}

TEST_F(BitmapTextureTest, TwoComponentsGetLevel0AloneToo)
{
    const BitmapTexture bitmap = Read(MakeTga(2, 2, 2, "abcdefgh"));
    EXPECT_EQ(bitmap.components, 2);
    EXPECT_EQ(TakeGlCalls(), std::string("GenTextures 1 1\nBindTexture TEXTURE_2D 1\n") +
                                 "TexImage2D TEXTURE_2D 0 2 2 2 0 RGBA UNSIGNED_BYTE ?\n" +
                                 kFilters + "PixelStorei UNPACK_ALIGNMENT 4\n");
}

TEST_F(BitmapTextureTest, AnImageOfOneOrTwoComponentsBelowTwoPixelsIsFatalToo)
{
    EXPECT_EXIT(Read(MakeTga(1, 1, 1, "a")), testing::ExitedWithCode(1),
                "has 1x1 pixels, and a bitmap at least 2x2");
    EXPECT_EXIT(Read(MakeTga(4, 1, 1, "abcd")), testing::ExitedWithCode(1), "has 4x1 pixels");
    EXPECT_EQ(TakeGlCalls(), ""); // before a texture is made
}

TEST_F(BitmapTextureTest, RowsThatAreNoMultipleOfTheAlignmentAreReadInsideTheBlock)
{
    // 3x3 RGB: 9 bytes a row, which OpenGL takes for 12. The image comes out slanted, and its last
    // row ends in zeros.
    std::string pixels;
    for (int i = 0; i < 27; ++i)
    {
        pixels += static_cast<char>(100 + i / 3); // grey, one number a pixel
    }
    Read(MakeTga(3, 3, 3, pixels));
    const GlTextureImage* level = GlTextureLevel(1, 0);
    ASSERT_EQ(level->bytes.size(), 27U);
    EXPECT_EQ(level->bytes[0], 100);
    EXPECT_EQ(level->bytes[9], 104);  // byte 12
    EXPECT_EQ(level->bytes[18], 108); // byte 24
    EXPECT_EQ(level->bytes[21], 0);   // byte 27
    EXPECT_EQ(level->bytes[26], 0);
}

TEST_F(BitmapTextureTest, AMissingFileIsFatal)
{
    EXPECT_EXIT(
        Read("", true, "<b filename=\"b.tga\"/>"), testing::ExitedWithCode(1),
        "quorvale: demo.xmlz, section 6 \\(bitmaps\\), item 1: the package has no image file "
        "\"b.tga\"");
    EXPECT_EXIT(Read("", true, "<b/>"), testing::ExitedWithCode(1), "item 1: .*filename");
}

TEST_F(BitmapTextureTest, AFileThatIsNoImageIsFatal)
{
    EXPECT_EXIT(Read("no image at all"), testing::ExitedWithCode(1),
                "item 1: the image file \"a.tga\" can't be read: ");
    EXPECT_EXIT(Read(""), testing::ExitedWithCode(1), "can't be read: ");
}

TEST_F(BitmapTextureTest, ARadianceFileThatIsCutShortIsFatalAndDoesNotHang)
{
    const std::string head = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 2 +X 8\n";
    const std::string row("\x02\x02\x00\x08\x88\x40\x88\x40\x88\x40\x88\x81", 12);
    const BitmapTexture whole = Read(head + row + row);
    EXPECT_EQ(whole.width, 8);
    EXPECT_EQ(whole.height, 2);
    EXPECT_EXIT(Read(head + row + row.substr(0, 6)), testing::ExitedWithCode(1),
                "can't be read: .*RLE");
    EXPECT_EXIT(Read(head + row.substr(0, 4)), testing::ExitedWithCode(1), "can't be read: .*RLE");
}

TEST_F(BitmapTextureTest, AJpegFileWithoutItsTablesIsGrey)
{
    // 8x8, one component: the frame and the scan, no quantisation and no Huffman tables.
    const unsigned char file[] = {0xFF, 0xD8, 0xFF, 0xC0, 0,    11,   8,    0,    8,    0,    8,
                                  1,    1,    0x11, 0,    0xFF, 0xDA, 0,    8,    1,    1,    0,
                                  0,    63,   0,    0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xFF, 0xD9};
    Read(std::string(reinterpret_cast<const char*>(file), sizeof(file)));
    Bytes expected(8 * 8 * 4, 0); // taken for four components, of which there is one
    std::fill(expected.begin(), expected.begin() + 64, uint8_t{128});
    EXPECT_EQ(GlTextureLevel(1, 0)->bytes, expected);
}

TEST_F(BitmapTextureTest, AnImageTooLargeForMemoryIsFatal)
{
    // A portable pixmap of 10^9 pixels a side, by its head.
    EXPECT_EXIT(Read("P6 1000000000 1000000000 255\n"), testing::ExitedWithCode(1),
                "can't be read: ");
}

TEST_F(BitmapTextureTest, AnImageTooSmallForAChainIsFatal)
{
    EXPECT_EXIT(Read(MakeTga(1, 2, 3, "abcdef")), testing::ExitedWithCode(1),
                "item 1: the image file \"a.tga\" has 1x2 pixels, and a bitmap at least 2x2");
    EXPECT_EXIT(Read(MakeTga(2, 1, 4, "abcdefgh")), testing::ExitedWithCode(1), "2x1 pixels");
}

TEST_F(BitmapTextureTest, ABitmapIsDecodedWithoutOpenGl)
{
    const std::string package = MakePackage(
        {{"a.tga",
          MakeTga(2, 2, 3, std::string("\x03\x02\x01\x06\x05\x04\x09\x08\x07\x0c\x0b\x0a"))}});
    FILE* stream = OpenBytes(Bytes(package.begin(), package.end()));
    BitmapTexture bitmap;
    memset(static_cast<void*>(&bitmap), 0xEE, sizeof(bitmap));
    DecodeBitmap(stream, "a.tga", &bitmap);
    fclose(stream);

    EXPECT_EQ(TakeGlCalls(), "");
    EXPECT_EQ(bitmap.width, 2);
    EXPECT_EQ(bitmap.height, 2);
    EXPECT_EQ(bitmap.components, 3);
    EXPECT_EQ(bitmap.glTexture, 0U);
    const uint8_t expected[12] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}; // stored blue first
    EXPECT_EQ(memcmp(bitmap.pixels, expected, sizeof(expected)), 0);
    free(bitmap.pixels);
}
