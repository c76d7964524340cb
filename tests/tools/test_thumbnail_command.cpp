// SPDX-License-Identifier: MIT

// `dpk thumbnail` as file managers run it.
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

#include "tools/decoded_png.h"
#include "tools/dpk_run.h"

class ThumbnailCommand : public testing::Test
{
  protected:
    void SetUp() override
    {
        unsetenv("DISPLAY");
        unsetenv("WAYLAND_DISPLAY");
    }

    TemporaryFolder folder;
};

TEST_F(ThumbnailCommand, ItIsFourToThreeAndTheSameEachTime)
{
    ASSERT_EQ(RunDpk(folder, {"thumbnail", PACKAGE, "a.png"}).exitCode, 0);
    setenv("LP_NUM_THREADS", "8", 1);
    ASSERT_EQ(RunDpk(folder, {"thumbnail", PACKAGE, "b.png"}).exitCode, 0);
    EXPECT_EQ(folder.Read("a.png"), folder.Read("b.png"));
    const DecodedPng picture = DecodePng(folder.Read("a.png"));
    EXPECT_EQ(picture.width, 256);
    EXPECT_EQ(picture.height, 192);
}

TEST_F(ThumbnailCommand, ItShowsSomethingBright)
{
    ASSERT_EQ(RunDpk(folder, {"thumbnail", "-s", "128", PACKAGE, "a.png"}).exitCode, 0);
    const DecodedPng picture = DecodePng(folder.Read("a.png"));
    EXPECT_EQ(picture.width, 128);
    double sum = 0.0;
    for (const uint8_t value : picture.pixels)
    {
        sum += value;
    }
    EXPECT_GT(sum / static_cast<double>(picture.pixels.size()), 32.0);
}

TEST_F(ThumbnailCommand, RenderMakesTheSameOne)
{
    ASSERT_EQ(RunDpk(folder, {"thumbnail", "-s", "64", PACKAGE, "a.png"}).exitCode, 0);
    ASSERT_EQ(RunDpk(folder, {"render", "--thumbnail", "64", PACKAGE, "-o", "b.png"}).exitCode, 0);
    EXPECT_EQ(folder.Read("a.png"), folder.Read("b.png"));
}

TEST_F(ThumbnailCommand, OfADamagedPackageThereIsNone)
{
    folder.Write("bad.dpk", "no package at all");
    const DpkRun run = RunDpk(folder, {"thumbnail", "bad.dpk", "a.png"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "dpk: bad.dpk: it shows nothing\n");
    EXPECT_EQ(FilesIn(folder), "bad.dpk");
}

TEST_F(ThumbnailCommand, ItsSizeHasLimits)
{
    for (const char* side : {"8", "4096"})
    {
        const DpkRun run = RunDpk(folder, {"thumbnail", "-s", side, PACKAGE, "a.png"});
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_EQ(run.err, "dpk: a thumbnail has 16 to 1024 pixels\n");
    }
    EXPECT_EQ(FilesIn(folder), "");
}
