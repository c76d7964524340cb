// SPDX-License-Identifier: MIT
#include "tools/contact_sheet.h"

#include <gtest/gtest.h>

#include "support/temporary_folder.h"
#include "tools/decoded_png.h"

static constexpr uint32_t kGround = 0x303030;

/// A group of tiles of one color each: 0xFF0000, 0xFE0000 and so on.
static SheetGroup RedGroup(const std::string& heading, uint32_t count)
{
    SheetGroup group = {heading, {}};
    for (uint32_t i = 0; i < count; ++i)
    {
        const uint8_t red[3] = {static_cast<uint8_t>(255 - i), 0, 0};
        AddTile({1, 1, 3, red}, "", "", &group);
    }
    return group;
}

static DecodedPng Draw(const std::vector<SheetGroup>& groups)
{
    TemporaryFolder folder;
    EXPECT_TRUE(WriteContactSheet(folder.path + "/sheet.png", groups));
    return DecodePng(folder.Read("sheet.png"));
}

/// The pixels of a rectangle that have not the color of the ground.
static int CountDrawn(const DecodedPng& sheet, int left, int top, int width, int height)
{
    int count = 0;
    for (int y = top; y < top + height; ++y)
    {
        for (int x = left; x < left + width; ++x)
        {
            count += PixelAt(sheet, x, y) != kGround;
        }
    }
    return count;
}

TEST(ContactSheet, IsAsHighAsItsGroups)
{
    EXPECT_EQ(FindSheetHeight({}), 8);
    EXPECT_EQ(FindSheetHeight({RedGroup("", 0)}), 48);
    EXPECT_EQ(FindSheetHeight({RedGroup("", 1)}), 212);
    EXPECT_EQ(FindSheetHeight({RedGroup("", 8)}), 212);
    EXPECT_EQ(FindSheetHeight({RedGroup("", 9)}), 376);
    EXPECT_EQ(FindSheetHeight({RedGroup("", 9), RedGroup("", 0), RedGroup("", 1)}), 620);

    DecodedPng sheet = Draw({RedGroup("", 9), RedGroup("", 1)});
    EXPECT_EQ(sheet.width, 1096);
    EXPECT_EQ(sheet.height, 580);
    EXPECT_EQ(sheet.channels, 3);
}

TEST(ContactSheet, PutsTilesInRowsOfEight)
{
    DecodedPng sheet = Draw({RedGroup("", 9), RedGroup("", 1)});
    EXPECT_EQ(PixelAt(sheet, 8, 48), 0xFF0000u);
    EXPECT_EQ(PixelAt(sheet, 135, 175), 0xFF0000u);
    EXPECT_EQ(PixelAt(sheet, 144, 48), 0xFE0000u);
    EXPECT_EQ(PixelAt(sheet, 960, 48), 0xF80000u);
    EXPECT_EQ(PixelAt(sheet, 1087, 175), 0xF80000u);
    EXPECT_EQ(PixelAt(sheet, 8, 212), 0xF70000u);
    EXPECT_EQ(PixelAt(sheet, 8, 416), 0xFF0000u);
    EXPECT_EQ(CountDrawn(sheet, 0, 0, 1096, 580), 10 * 128 * 128);
}

TEST(ContactSheet, WritesLabelsUnderTheirTiles)
{
    std::vector<SheetGroup> groups = {RedGroup("", 2)};
    groups[0].tiles[1].label = "layer 1";
    groups[0].tiles[1].detail = "Color";
    DecodedPng sheet = Draw(groups);
    EXPECT_EQ(CountDrawn(sheet, 8, 176, 136, 36), 0);
    EXPECT_GT(CountDrawn(sheet, 144, 180, 128, 12), 30);
    EXPECT_GT(CountDrawn(sheet, 144, 192, 128, 12), 30);
    EXPECT_EQ(CountDrawn(sheet, 272, 176, 824, 36), 0);
}

TEST(ContactSheet, DrawsLettersAsTheFontHasThem)
{
    std::vector<SheetGroup> groups = {RedGroup("", 1)};
    groups[0].tiles[0].label = "L-";
    DecodedPng sheet = Draw(groups);
    static const char* const kExpected[12] = {
        "x            ", //
        "x            ", //
        "x            ", //
        "x     xxxx   ", //
        "x            ", //
        "x            ", //
        "xxxx         ", //
        "             ", //
        "             ", //
        "             ", //
        "             ", //
        "             ", //
    };
    for (int y = 0; y < 12; ++y)
    {
        std::string row;
        for (int x = 0; x < 13; ++x)
        {
            row += PixelAt(sheet, 8 + x, 180 + y) == kGround ? ' ' : 'x';
        }
        EXPECT_EQ(row, kExpected[y]) << y;
    }
}

TEST(ContactSheet, HeadingsAreTwiceAsLarge)
{
    std::vector<SheetGroup> groups = {RedGroup("Layers", 1)};
    groups[0].tiles[0].label = "Layers";
    DecodedPng sheet = Draw(groups);
    const int small = CountDrawn(sheet, 8, 180, 128, 12);
    EXPECT_EQ(CountDrawn(sheet, 8, 20, 1080, 24), 4 * small);
}

TEST(ContactSheet, CutsTextWhereItsTileEnds)
{
    std::vector<SheetGroup> groups = {RedGroup(std::string(1000, 'H'), 1)};
    groups[0].tiles[0].label = std::string(1000, 'W');
    groups[0].tiles[0].detail = std::string(1000, 'm');
    DecodedPng sheet = Draw(groups);
    EXPECT_GT(CountDrawn(sheet, 124, 180, 12, 24), 0);
    EXPECT_EQ(CountDrawn(sheet, 136, 176, 960, 36), 0);
    EXPECT_GT(CountDrawn(sheet, 1068, 0, 20, 48), 0);
    EXPECT_EQ(CountDrawn(sheet, 1088, 0, 8, 48), 0);
}

TEST(ContactSheet, DrawsAQuestionMarkForWhatTheFontLacks)
{
    std::vector<SheetGroup> groups = {RedGroup("", 2)};
    groups[0].tiles[0].label = "a\n\x80\xFF\x7Fz";
    groups[0].tiles[1].label = "a????z";
    DecodedPng sheet = Draw(groups);
    for (int y = 0; y < 12; ++y)
    {
        for (int x = 0; x < 128; ++x)
        {
            ASSERT_EQ(PixelAt(sheet, 8 + x, 180 + y), PixelAt(sheet, 144 + x, 180 + y));
        }
    }
}

TEST(ContactSheet, EveryLetterOfAsciiIsDrawnUnderItsTile)
{
    std::vector<SheetGroup> groups = {RedGroup("", 94)};
    for (size_t i = 0; i < 94; ++i)
    {
        groups[0].tiles[i].label = static_cast<char>('!' + i);
    }
    DecodedPng sheet = Draw(groups);
    int drawn = 94 * 128 * 128;
    for (int i = 0; i < 94; ++i)
    {
        const int letter = CountDrawn(sheet, 8 + i % 8 * 136, 180 + i / 8 * 164, 8, 12);
        EXPECT_GT(letter, 0) << static_cast<char>('!' + i);
        drawn += letter;
    }
    EXPECT_EQ(CountDrawn(sheet, 0, 0, sheet.width, sheet.height), drawn);
}
