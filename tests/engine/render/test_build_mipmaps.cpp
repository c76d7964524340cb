// SPDX-License-Identifier: MIT
#include "engine/render/build_mipmaps.h"

#include <GL/glew.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "engine/textures/compare_bytes.h"
#include "engine/textures/mip_chain.h"
#include "engine/textures/random_values.h"
#include "support/fault_text.h"
#include "support/recorded_gl.h"

using Bytes = std::vector<uint8_t>;

/// All levels of an image, the first being level 1, without OpenGL.
static std::vector<Bytes> MakeChain(int32_t width, int32_t height, const Bytes& pixels,
                                    int32_t components)
{
    std::vector<Bytes> chain;
    Bytes source = pixels;
    MipSize level = FirstMipSize(width, height);
    while (true)
    {
        Bytes block(LevelBytes(level, components));
        FillMipLevel(source.data(), level, components, block.data());
        chain.push_back(block);
        if (level.width == 1 && level.height == 1)
        {
            return chain;
        }
        source = block;
        level = NextMipSize(level);
    }
}

class BuildMipmapsTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        ResetGl();
        StartFaults(&faults);
        faults.place = PlaceAt("demo.xmlz", Section::kBitmaps, 2);
    }

    void TearDown() override
    {
        FreeFaults(&faults);
    }

    /// @return the calls that it takes
    std::string Build(int32_t width, int32_t height, const Bytes& pixels, int32_t components)
    {
        EXPECT_TRUE(BuildMipmaps(width, height, pixels.data(), components, nullptr, &faults));
        EXPECT_EQ(FaultText(faults), "");
        return TakeGlCalls();
    }

    FaultList faults = {};
};

static std::string Upload(int level, int components, int width, int height)
{
    return "TexImage2D TEXTURE_2D " + std::to_string(level) + " " + std::to_string(components) +
           " " + std::to_string(width) + " " + std::to_string(height) + " 0 " +
           (components == 3 ? "RGB" : "RGBA") + " UNSIGNED_BYTE ?\n";
}

TEST_F(BuildMipmapsTest, ASquareOf256UploadsLevels1To8)
{
    const Bytes image(256 * 256 * 3, 200);
    EXPECT_EQ(Build(256, 256, image, 3),
              Upload(1, 3, 128, 128) + Upload(2, 3, 64, 64) + Upload(3, 3, 32, 32) +
                  Upload(4, 3, 16, 16) + Upload(5, 3, 8, 8) + Upload(6, 3, 4, 4) +
                  "PixelStorei UNPACK_ALIGNMENT 2\n" + Upload(7, 3, 2, 2) +
                  "PixelStorei UNPACK_ALIGNMENT 1\n" + Upload(8, 3, 1, 1) +
                  "PixelStorei UNPACK_ALIGNMENT 4\n");
    EXPECT_EQ(GlRefusedCalls(), 0u);
}

TEST_F(BuildMipmapsTest, TheShorterSideBelowFourIsTheAlignment)
{
    const Bytes image(16 * 4 * 4, 200);
    EXPECT_EQ(Build(16, 4, image, 4), "PixelStorei UNPACK_ALIGNMENT 2\n" + Upload(1, 4, 8, 2) +
                                          "PixelStorei UNPACK_ALIGNMENT 1\n" + Upload(2, 4, 4, 1) +
                                          "PixelStorei UNPACK_ALIGNMENT 1\n" + Upload(3, 4, 2, 1) +
                                          "PixelStorei UNPACK_ALIGNMENT 1\n" + Upload(4, 4, 1, 1) +
                                          "PixelStorei UNPACK_ALIGNMENT 4\n");
    EXPECT_EQ(Build(4, 16, image, 4), "PixelStorei UNPACK_ALIGNMENT 2\n" + Upload(1, 4, 2, 8) +
                                          "PixelStorei UNPACK_ALIGNMENT 1\n" + Upload(2, 4, 1, 4) +
                                          "PixelStorei UNPACK_ALIGNMENT 1\n" + Upload(3, 4, 1, 2) +
                                          "PixelStorei UNPACK_ALIGNMENT 1\n" + Upload(4, 4, 1, 1) +
                                          "PixelStorei UNPACK_ALIGNMENT 4\n");
}

TEST_F(BuildMipmapsTest, ASideOfThreeIsGivenAsAnAlignmentThatOpenGlRefuses)
{
    const Bytes image(12 * 7 * 3, 200);
    EXPECT_EQ(Build(12, 7, image, 3), "PixelStorei UNPACK_ALIGNMENT 3\n" + Upload(1, 3, 6, 3) +
                                          "PixelStorei UNPACK_ALIGNMENT 1\n" + Upload(2, 3, 3, 1) +
                                          "PixelStorei UNPACK_ALIGNMENT 1\n" + Upload(3, 3, 1, 1) +
                                          "PixelStorei UNPACK_ALIGNMENT 4\n");
    EXPECT_EQ(GlRefusedCalls(), 1u);
}

TEST_F(BuildMipmapsTest, UploadedLevelsHoldTheChain)
{
    RandomSource random;
    Bytes image(64 * 64 * 3);
    for (uint8_t& byte : image)
    {
        byte = static_cast<uint8_t>(NextWord(random) >> 9);
    }
    uint32_t texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    Build(64, 64, image, 3);
    const std::vector<Bytes> chain = MakeChain(64, 64, image, 3);
    ASSERT_EQ(chain.size(), 6u);
    for (size_t i = 0; i < chain.size(); ++i)
    {
        const GlTextureImage* level = GlTextureLevel(texture, static_cast<int32_t>(i + 1));
        ASSERT_NE(level, nullptr);
        EXPECT_EQ(CompareBytes(level->bytes, chain[i]), "same") << i + 1;
    }
    EXPECT_EQ(GlTextureLevel(texture, 7), nullptr);
}

TEST_F(BuildMipmapsTest, OddSizesHandOpenGlAllThatItReads)
{
    // The stand-in reads rows as a driver does, up to the alignment in force, and the sanitizer
    // watches the ends of the blocks.
    RandomSource random;
    for (int run = 0; run < 300; ++run)
    {
        const int32_t width = 2 + static_cast<int32_t>(NextBelow(random, 60));
        const int32_t height = 2 + static_cast<int32_t>(NextBelow(random, 60));
        const int32_t components = 3 + run % 2;
        const Bytes image(LevelBytes({width, height}, components), 3);
        const std::string calls = Build(width, height, image, components);
        EXPECT_NE(calls.find(" 1 1 0 RGB"), std::string::npos) << width << "x" << height;
    }
    EXPECT_EQ(UploadBytes(5, 4, 3), 64u); // 15 bytes a row, taken for 16
    EXPECT_EQ(UploadBytes(8, 2, 4), 64u);
}

TEST_F(BuildMipmapsTest, OneOrTwoComponentsGetNoChain)
{
    const Bytes image(16, 1);
    EXPECT_EQ(Build(4, 4, image, 1), "PixelStorei UNPACK_ALIGNMENT 4\n");
    EXPECT_EQ(Build(4, 2, image, 2), "PixelStorei UNPACK_ALIGNMENT 4\n");
    EXPECT_EQ(Build(1, 1, image, 1), "PixelStorei UNPACK_ALIGNMENT 4\n");
}

TEST_F(BuildMipmapsTest, AnImageBelowTwoPixelsIsAFault)
{
    const Bytes image(64, 1);
    const struct
    {
        int32_t width, height, components;
        const char* size;
    } cases[] = {{1, 8, 3, "1x8"}, {8, 1, 4, "8x1"}, {1, 1, 4, "1x1"}};
    for (const auto& c : cases)
    {
        EXPECT_FALSE(BuildMipmaps(c.width, c.height, image.data(), c.components, nullptr, &faults));
        EXPECT_EQ(FaultText(faults), std::string("quorvale: demo.xmlz, section 6 (bitmaps), item "
                                                 "2: an image of ") +
                                         c.size + " pixels is too small for a mip chain\n");
        EXPECT_EQ(TakeGlCalls(), "");
        FreeFaults(&faults);
        faults.place = PlaceAt("demo.xmlz", Section::kBitmaps, 2);
    }
}
