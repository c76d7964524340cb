// SPDX-License-Identifier: MIT
#include "tools/fast_png.h"

#include <cstring>
#include <gtest/gtest.h>
#include <libdeflate.h>

#include "tools/decoded_png.h"

/// A picture without any order.
static Bytes MakePixels(size_t size)
{
    Bytes rgb(size);
    uint32_t state = 1;
    for (uint8_t& byte : rgb)
    {
        state = state * 1664525 + 1013904223;
        byte = static_cast<uint8_t>(state >> 24);
    }
    return rgb;
}

static Bytes MakePng(int32_t width, int32_t height, const Bytes& rgb)
{
    Bytes file;
    EXPECT_TRUE(EncodePng(width, height, rgb.data(), &file));
    return file;
}

TEST(FastPng, WhatWasWrittenIsRead)
{
    for (const int32_t width : {1, 2, 17, 640})
    {
        const Bytes rgb = MakePixels(static_cast<size_t>(width) * 3 * 5);
        RgbPicture picture = {};
        EXPECT_EQ(DecodePng(MakePng(width, 5, rgb), &picture), "");
        EXPECT_EQ(picture.width, width);
        EXPECT_EQ(picture.height, 5);
        EXPECT_EQ(picture.rgb, rgb);
    }
}

TEST(FastPng, AnotherReaderReadsItToo)
{
    const Bytes rgb = MakePixels(size_t{31} * 3 * 7);
    const Bytes file = MakePng(31, 7, rgb);
    const DecodedPng decoded = DecodePng(std::string(file.begin(), file.end()));
    EXPECT_EQ(decoded.width, 31);
    EXPECT_EQ(decoded.height, 7);
    EXPECT_EQ(decoded.pixels, rgb);
}

TEST(FastPng, EveryChangedByteIsNoticed)
{
    const Bytes rgb = MakePixels(size_t{3} * 3 * 3);
    const Bytes file = MakePng(3, 3, rgb);
    for (size_t i = 0; i + 12 < file.size(); ++i) // the last chunk holds nothing
    {
        Bytes changed = file;
        changed[i] ^= 0x10;
        RgbPicture picture = {};
        EXPECT_NE(DecodePng(changed, &picture), "") << i;
    }
}

TEST(FastPng, EveryCutIsNoticed)
{
    const Bytes file = MakePng(3, 3, MakePixels(size_t{3} * 3 * 3));
    for (size_t size = 0; size < file.size(); ++size)
    {
        RgbPicture picture = {};
        EXPECT_NE(DecodePng(Bytes(file.begin(), file.begin() + static_cast<long>(size)), &picture),
                  "")
            << size;
    }
}

TEST(FastPng, PpmFilesAreTheirBytes)
{
    const Bytes rgb = {1, 2, 3, 4, 5, 6};
    const Bytes file = EncodePpm(2, 1, rgb.data());
    EXPECT_EQ(std::string(file.begin(), file.end()), "P6\n2 1\n255\n\1\2\3\4\5\6");
    RgbPicture picture = {};
    EXPECT_EQ(DecodePpm(file, &picture), "");
    EXPECT_EQ(picture.width, 2);
    EXPECT_EQ(picture.height, 1);
    EXPECT_EQ(picture.rgb, rgb);
    EXPECT_NE(DecodePpm(Bytes(file.begin(), file.end() - 1), &picture), "");
    EXPECT_NE(DecodePpm({}, &picture), "");
}
