// SPDX-License-Identifier: MIT
#include "tools/render_time.h"

#include <gtest/gtest.h>

TEST(RenderTime, PictureNShowsItsTick)
{
    const PictureRate sixty = {60, 1};
    EXPECT_EQ(PictureTicks(sixty, 0), 0u);
    EXPECT_EQ(PictureTicks(sixty, 1), 1u);
    EXPECT_EQ(PictureTicks(sixty, 2), 3u);
    EXPECT_EQ(PictureTicks(sixty, 3), 5u);
    EXPECT_EQ(PictureTicks(sixty, 3600), 6000u);
    const PictureRate television = {30000, 1001};
    EXPECT_EQ(PictureTicks(television, 1), 3u);
    EXPECT_EQ(PictureTicks(television, 30000), 100100u);
}

TEST(RenderTime, PicturesEndBeforeTheEnd)
{
    const PictureRate sixty = {60, 1};
    EXPECT_EQ(CountPictures(sixty, 0), 0u);
    EXPECT_EQ(CountPictures(sixty, 1), 1u);
    EXPECT_EQ(CountPictures(sixty, 2), 2u); // ticks 0 and 1
    EXPECT_EQ(CountPictures(sixty, 3), 2u); // the third shows tick 3
    EXPECT_EQ(CountPictures(sixty, 9600), 5760u);
    EXPECT_EQ(CountPictures({1, 4}, 9600), 24u);
}

TEST(RenderTime, SoundIsExactToTheSample)
{
    EXPECT_EQ(PictureFrames({60, 1}, 1), 735u);
    EXPECT_EQ(PictureFrames({30000, 1001}, 1), 1471u); // 1471.47
    EXPECT_EQ(PictureFrames({30000, 1001}, 100), 147147u);
    EXPECT_EQ(PictureFrames({1, 1000000}, 1u << 24), 16777216ull * 1000000 * 44100);
}

TEST(RenderTime, RatesAreWholeOrFractions)
{
    PictureRate rate = {};
    EXPECT_TRUE(ParseRate("60", &rate));
    EXPECT_EQ(rate.numerator, 60u);
    EXPECT_EQ(rate.denominator, 1u);
    EXPECT_TRUE(ParseRate("30000/1001", &rate));
    EXPECT_EQ(rate.denominator, 1001u);
    for (const char* wrong : {"", "0", "60/", "/2", "1/0", "-3", "29.97", "60x", "9999999"})
    {
        EXPECT_FALSE(ParseRate(wrong, &rate)) << wrong;
    }
}

TEST(RenderTime, SizesHaveTwoSides)
{
    int32_t width = 0;
    int32_t height = 0;
    EXPECT_TRUE(ParseSize("3840x2160", &width, &height));
    EXPECT_EQ(width, 3840);
    EXPECT_EQ(height, 2160);
    for (const char* wrong :
         {"", "640", "640x", "x480", "0x480", "640x480x2", "640*480", "99999x1"})
    {
        EXPECT_FALSE(ParseSize(wrong, &width, &height)) << wrong;
    }
}

TEST(RenderTime, AspectsAreThePlayersOrANumber)
{
    float aspect = 0.0f;
    EXPECT_TRUE(ParseAspect("4:3", &aspect));
    EXPECT_EQ(aspect, 1.3333334f);
    EXPECT_TRUE(ParseAspect("16:9", &aspect));
    EXPECT_EQ(aspect, 1.7777778f);
    EXPECT_TRUE(ParseAspect("16:10", &aspect));
    EXPECT_EQ(aspect, 1.6f);
    EXPECT_TRUE(ParseAspect("2.35", &aspect));
    EXPECT_EQ(aspect, 2.35f);
    for (const char* wrong : {"", "0", "-1", "nan", "inf", "4:2", "2x"})
    {
        EXPECT_FALSE(ParseAspect(wrong, &aspect)) << wrong;
    }
}

TEST(RenderTime, TimesHaveFourForms)
{
    struct TimeCase
    {
        const char* text;
        uint32_t tick;
    };
    for (const TimeCase& c : {TimeCase{"1250t", 1250},
                              {"12.5", 1250},
                              {"0:12.5", 1250},
                              {"1:05.00", 6500},
                              {"12", 1200},
                              {"12s", 1200},
                              {"12.5s", 1250},
                              {"0.019", 1},
                              {"12.", 1200}})
    {
        const WrittenTime time = ParseTime(c.text);
        EXPECT_EQ(time.form, TimeForm::kTick) << c.text;
        EXPECT_EQ(time.tick, c.tick) << c.text;
    }
    const WrittenTime row = ParseTime("3:16");
    EXPECT_EQ(row.form, TimeForm::kRow);
    EXPECT_EQ(row.order, 3);
    EXPECT_EQ(row.row, 16);
    for (const char* wrong : {"", "t", "s", "12ss", "0:12.5s", "12ts", "-1", "1:60.0", "1:2:3",
                              "12.5t", ":5", "99999999999t"})
    {
        EXPECT_EQ(ParseTime(wrong).form, TimeForm::kWrong) << wrong;
    }
}

TEST(RenderTime, TicksAreWrittenAsMinutes)
{
    EXPECT_EQ(TimeText(0), "0:00.00");
    EXPECT_EQ(TimeText(6525), "1:05.25");
}
