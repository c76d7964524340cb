// SPDX-License-Identifier: MIT
#include "tools/png_file.h"

#include <gtest/gtest.h>

#include "support/temporary_folder.h"
#include "tools/decoded_png.h"
#include "tools/dpk_run.h"

TEST(PngFile, KeepsEveryByteOfOneToFourChannels)
{
    TemporaryFolder folder;
    for (int32_t channels = 1; channels <= 4; ++channels)
    {
        std::vector<uint8_t> pixels(static_cast<size_t>(7 * 5 * channels));
        for (size_t i = 0; i < pixels.size(); ++i)
        {
            pixels[i] = static_cast<uint8_t>(i * 59 + i * i);
        }
        ASSERT_TRUE(WritePng(folder.path + "/a.png", {7, 5, channels, pixels.data()}));

        DecodedPng png = DecodePng(folder.Read("a.png"));
        EXPECT_EQ(png.width, 7);
        EXPECT_EQ(png.height, 5);
        EXPECT_EQ(png.channels, channels);
        EXPECT_EQ(png.pixels, pixels);
    }
}

TEST(PngFile, BeginsWithTheSignatureAndItsHeader)
{
    TemporaryFolder folder;
    const uint8_t pixels[3 * 2 * 3] = {};
    ASSERT_TRUE(WritePng(folder.path + "/a.png", {3, 2, 3, pixels}));
    EXPECT_EQ(folder.Read("a.png").substr(0, 29), Raw("\x89PNG\r\n\x1A\n"
                                                      "\0\0\0\x0DIHDR"
                                                      "\0\0\0\x03"
                                                      "\0\0\0\x02"
                                                      "\x08\x02\0\0\0"));
}

TEST(PngFile, ReplacesAnOldFileAndLeavesNothingElse)
{
    TemporaryFolder folder;
    const uint8_t black[3] = {0, 0, 0};
    const uint8_t white[3] = {255, 255, 255};
    ASSERT_TRUE(WritePng(folder.path + "/a.png", {1, 1, 3, black}));
    ASSERT_TRUE(WritePng(folder.path + "/a.png", {1, 1, 3, white}));
    EXPECT_EQ(DecodePng(folder.Read("a.png")).pixels, (std::vector<uint8_t>{255, 255, 255}));
    EXPECT_EQ(FilesIn(folder), "a.png");
}

TEST(PngFile, AFolderThatIsMissingIsAnError)
{
    TemporaryFolder folder;
    const uint8_t pixel[1] = {};
    testing::internal::CaptureStderr();
    EXPECT_FALSE(WritePng(folder.path + "/none/a.png", {1, 1, 1, pixel}));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "dpk: " + folder.path + "/none/a.png: No such file or directory\n");
}
