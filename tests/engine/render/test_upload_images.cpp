// Textures and bitmaps as they reach OpenGL.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "engine/render/upload.h"
#include "engine/textures/bitmap_texture.h"
#include "engine/textures/layer_generator.h"
#include "engine/textures/make_image.h"
#include "engine/textures/procedural_texture.h"
#include "support/fault_text.h"
#include "support/package_builder.h"
#include "support/recorded_gl.h"

using Bytes = std::vector<uint8_t>;

static constexpr size_t kImageBytes = 256 * 256 * 3;

class UploadImages : public testing::Test
{
  protected:
    void SetUp() override
    {
        ResetGl();
        StartFaults(&faults);
        context.upload = &upload;
        context.isDemo = true;
        context.faults = &faults;
    }

    void TearDown() override
    {
        FreeBitmap(&bitmap);
        FreeUpload(&upload);
        FreeFaults(&faults);
    }

    /// Uploads a texture of one gray.
    bool UploadTexture(uint32_t id, uint8_t gray)
    {
        ProceduralTexture texture = {};
        texture.pixels = static_cast<uint8_t*>(malloc(kImageBytes));
        memset(texture.pixels, gray, kImageBytes);
        const ItemPlace item = {Section::kTextures, id, &texture};
        const bool done = UploadItem(&context, &item);
        EXPECT_EQ(texture.pixels, nullptr);
        return done;
    }

    /// Reads and uploads an image file.
    bool UploadFile(const std::string& file)
    {
        const std::string bytes = MakePackage({{"a", file}});
        PackageFile package;
        EXPECT_TRUE(OpenPackageMemory(reinterpret_cast<const unsigned char*>(bytes.data()),
                                      bytes.size(), &package, &faults));
        package.budget.bytesLeft = kPieceBytes;
        ReadContext reading = {};
        reading.package = &package;
        reading.computePixels = true;
        reading.faults = &faults;
        TiXmlDocument document;
        document.Parse("<b filename=\"a\"/>");
        FreeBitmap(&bitmap);
        bitmap = {};
        EXPECT_TRUE(ReadBitmapItem(document.RootElement(), &bitmap, 0, &reading));
        ClosePackage(&package);
        const ItemPlace item = {Section::kBitmaps, 1, &bitmap};
        return UploadItem(&context, &item);
    }

    FaultList faults;
    DocumentUpload upload = {};
    UploadContext context = {};
    BitmapTexture bitmap = {};
};

static constexpr const char* kBitmapFilters =
    "TexParameteri TEXTURE_2D TEXTURE_MAG_FILTER LINEAR\n"
    "TexParameteri TEXTURE_2D TEXTURE_MIN_FILTER LINEAR_MIPMAP_LINEAR\n";

TEST_F(UploadImages, ATextureOfTheLoadingDocumentHasOneLevel)
{
    context.isDemo = false;
    EXPECT_TRUE(UploadTexture(1, 7));
    EXPECT_EQ(TakeGlCalls(), "GenTextures 1 1\n"
                             "BindTexture TEXTURE_2D 1\n"
                             "TexImage2D TEXTURE_2D 0 3 256 256 0 RGB UNSIGNED_BYTE ?\n"
                             "TexParameteri TEXTURE_2D TEXTURE_MAG_FILTER LINEAR\n"
                             "TexParameteri TEXTURE_2D TEXTURE_MIN_FILTER LINEAR\n");
    EXPECT_EQ(GlTextureLevel(1, 0)->bytes, Bytes(kImageBytes, 7));
    EXPECT_EQ(GetTextureUpload(&upload, 1), 1u);
}

TEST_F(UploadImages, ATextureOfTheDemoDocumentHasAMipChain)
{
    EXPECT_TRUE(UploadTexture(1, 7));
    const auto level = [](int number, int side)
    {
        return "TexImage2D TEXTURE_2D " + std::to_string(number) + " 3 " + std::to_string(side) +
               " " + std::to_string(side) + " 0 RGB UNSIGNED_BYTE ?\n";
    };
    EXPECT_EQ(TakeGlCalls(), "GenTextures 1 1\nBindTexture TEXTURE_2D 1\n" + level(0, 256) +
                                 kBitmapFilters + level(1, 128) + level(2, 64) + level(3, 32) +
                                 level(4, 16) + level(5, 8) + level(6, 4) +
                                 "PixelStorei UNPACK_ALIGNMENT 2\n" + level(7, 2) +
                                 "PixelStorei UNPACK_ALIGNMENT 1\n" + level(8, 1) +
                                 "PixelStorei UNPACK_ALIGNMENT 4\n");
    EXPECT_EQ(GlRefusedCalls(), 0u);
    EXPECT_EQ(GlTextureLevel(1, 8)->bytes, (Bytes{7, 7, 7}));
}

TEST_F(UploadImages, ABitmapHasItsChainInBothDocumentsAlike)
{
    // 4x2 pixels, stored blue green red.
    std::string pixels;
    for (char i = 0; i < 8; ++i)
    {
        pixels += {static_cast<char>(3 * i), static_cast<char>(2 * i), i};
    }
    for (const bool isDemo : {false, true})
    {
        FreeUpload(&upload);
        ResetGl();
        context.isDemo = isDemo;
        EXPECT_TRUE(UploadFile(MakeTga(4, 2, 3, pixels)));
        EXPECT_EQ(TakeGlCalls(), std::string("GenTextures 1 1\nBindTexture TEXTURE_2D 1\n") +
                                     "TexImage2D TEXTURE_2D 0 3 4 2 0 RGB UNSIGNED_BYTE ?\n" +
                                     kBitmapFilters +
                                     "PixelStorei UNPACK_ALIGNMENT 1\n"
                                     "TexImage2D TEXTURE_2D 1 3 2 1 0 RGB UNSIGNED_BYTE ?\n"
                                     "PixelStorei UNPACK_ALIGNMENT 1\n"
                                     "TexImage2D TEXTURE_2D 2 3 1 1 0 RGB UNSIGNED_BYTE ?\n"
                                     "PixelStorei UNPACK_ALIGNMENT 4\n");
        EXPECT_EQ(bitmap.pixels, nullptr);
        const BitmapUpload* names = GetBitmapUpload(&upload, 1);
        EXPECT_EQ(names->glTexture, 1u);
        EXPECT_EQ(names->width, 4);
        EXPECT_EQ(names->height, 2);

        // The first row stays first.
        EXPECT_EQ(GlTextureLevel(1, 0)->bytes, (Bytes{0, 0, 0,  1, 2,  3,  2, 4,  6,  3, 6,  9,
                                                      4, 8, 12, 5, 10, 15, 6, 12, 18, 7, 14, 21}));
        EXPECT_EQ(GlTextureLevel(1, 1)->bytes, (Bytes{0, 1, 1, 2, 5, 7}));
        EXPECT_EQ(GlTextureLevel(1, 2)->bytes, (Bytes{1, 3, 4}));
    }
}

TEST_F(UploadImages, FourComponentsKeepTheirAlpha)
{
    EXPECT_TRUE(UploadFile(
        MakeTga(2, 2, 4, "\x03\x02\x01\x0a\x03\x02\x01\x14\x03\x02\x01\x1e\x03\x02\x01\x28")));
    EXPECT_EQ(TakeGlCalls(), std::string("GenTextures 1 1\nBindTexture TEXTURE_2D 1\n") +
                                 "TexImage2D TEXTURE_2D 0 4 2 2 0 RGBA UNSIGNED_BYTE ?\n" +
                                 kBitmapFilters +
                                 "PixelStorei UNPACK_ALIGNMENT 1\n"
                                 "TexImage2D TEXTURE_2D 1 4 1 1 0 RGBA UNSIGNED_BYTE ?\n"
                                 "PixelStorei UNPACK_ALIGNMENT 4\n");
    EXPECT_EQ(GlTextureLevel(1, 0)->bytes,
              (Bytes{1, 2, 3, 10, 1, 2, 3, 20, 1, 2, 3, 30, 1, 2, 3, 40}));
    EXPECT_EQ(GlTextureLevel(1, 1)->bytes, (Bytes{1, 2, 3, 15})); // of the first two pixels
}

TEST_F(UploadImages, OneComponentHasNoChainThatItsFilterWants)
{
    EXPECT_TRUE(UploadFile(MakeTga(3, 3, 1, "abcdefghi")));
    EXPECT_EQ(TakeGlCalls(), std::string("GenTextures 1 1\nBindTexture TEXTURE_2D 1\n") +
                                 "TexImage2D TEXTURE_2D 0 1 3 3 0 RGBA UNSIGNED_BYTE ?\n" +
                                 kBitmapFilters + "PixelStorei UNPACK_ALIGNMENT 4\n");
    // OpenGL takes the bytes as they lie for four a pixel, and after them there are zeros.
    Bytes expected(36, 0);
    const std::string text = "abcdefghi";
    std::copy(text.begin(), text.end(), expected.begin());
    EXPECT_EQ(GlTextureLevel(1, 0)->bytes, expected);
}

TEST_F(UploadImages, TwoComponentsHaveNoChainEither)
{
    EXPECT_TRUE(UploadFile(MakeTga(2, 2, 2, "abcdefgh")));
    EXPECT_EQ(TakeGlCalls(), std::string("GenTextures 1 1\nBindTexture TEXTURE_2D 1\n") +
                                 "TexImage2D TEXTURE_2D 0 2 2 2 0 RGBA UNSIGNED_BYTE ?\n" +
                                 kBitmapFilters + "PixelStorei UNPACK_ALIGNMENT 4\n");
}

TEST_F(UploadImages, ASinglePixelOfOneComponentIsUploaded)
{
    EXPECT_TRUE(UploadFile(MakeTga(1, 1, 1, "a")));
    EXPECT_EQ(TakeGlCalls(), std::string("GenTextures 1 1\nBindTexture TEXTURE_2D 1\n") +
                                 "TexImage2D TEXTURE_2D 0 1 1 1 0 RGBA UNSIGNED_BYTE ?\n" +
                                 kBitmapFilters + "PixelStorei UNPACK_ALIGNMENT 4\n");
    EXPECT_EQ(GlRefusedCalls(), 0u);
}

TEST_F(UploadImages, RowsAreReadAtTheAlignmentInForce)
{
    // 3x3 RGB: 9 bytes a row, which OpenGL takes for 12. The image comes out slanted, and its last
    // row ends in zeros.
    std::string pixels;
    for (int i = 0; i < 27; ++i)
    {
        pixels += static_cast<char>(100 + i / 3); // gray, one number a pixel
    }
    EXPECT_TRUE(UploadFile(MakeTga(3, 3, 3, pixels)));
    const GlTextureImage* level = GlTextureLevel(1, 0);
    ASSERT_EQ(level->bytes.size(), 27u);
    EXPECT_EQ(level->bytes[0], 100);
    EXPECT_EQ(level->bytes[9], 104);  // byte 12
    EXPECT_EQ(level->bytes[18], 108); // byte 24
    EXPECT_EQ(level->bytes[21], 0);   // byte 27
    EXPECT_EQ(level->bytes[26], 0);
}

TEST_F(UploadImages, GivingBackLeavesNoName)
{
    EXPECT_TRUE(UploadTexture(1, 7));
    EXPECT_TRUE(UploadTexture(2, 8));
    EXPECT_TRUE(UploadFile(MakeTga(2, 2, 3, std::string(12, 'x'))));
    TakeGlCalls();
    FreeUpload(&upload);
    const std::string calls = TakeGlCalls();
    for (const char* name : {"1", "2", "3"})
    {
        EXPECT_NE(calls.find(std::string("DeleteTextures 1 ") + name + "\n"), std::string::npos)
            << calls;
    }
    EXPECT_EQ(upload.textureCount, 0u);
    FreeUpload(&upload); // nothing is left
    EXPECT_EQ(TakeGlCalls(), "");
}
