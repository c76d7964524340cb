// SPDX-License-Identifier: MIT
#include "engine/textures/decode_image.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

#include "engine/textures/make_image.h"

using Bytes = std::vector<uint8_t>;

/// An image, or why there is none.
struct Decoded
{
    DecodeResult result;
    int32_t width;
    int32_t height;
    int32_t components;
    Bytes pixels;
    std::string reason;
};

/// Decodes a copy of the file that ends where its block ends, so that the sanitizer sees a read
/// past it.
static Decoded Decode(const std::string& file, uint64_t largest = 1u << 30)
{
    const Bytes copy(file.begin(), file.end());
    DecodedImage image;
    const char* reason = nullptr;
    Decoded decoded;
    decoded.result =
        DecodeImage(copy.data(), static_cast<int32_t>(copy.size()), largest, &image, &reason);
    decoded.width = image.width;
    decoded.height = image.height;
    decoded.components = image.components;
    decoded.reason = reason;
    EXPECT_EQ(image.pixels != nullptr, decoded.result == DecodeResult::kDecoded);
    if (image.pixels != nullptr)
    {
        const int32_t count = image.width * image.height * image.components;
        decoded.pixels.assign(image.pixels, image.pixels + count);
        free(image.pixels);
    }
    return decoded;
}

TEST(DecodeImage, AnImageKeepsTheComponentsOfItsFile)
{
    const Decoded image = Decode(MakeTga(1, 2, 3, "abcdef"));
    EXPECT_EQ(image.result, DecodeResult::kDecoded);
    EXPECT_EQ(image.width, 1);
    EXPECT_EQ(image.height, 2);
    EXPECT_EQ(image.components, 3);
    EXPECT_EQ(image.pixels, (Bytes{'c', 'b', 'a', 'f', 'e', 'd'})); // stored blue first
    EXPECT_EQ(image.reason, "");
    EXPECT_EQ(Decode(MakeTga(1, 2, 1, "ab")).components, 1);
}

TEST(DecodeImage, AJpegFileWithoutItsTablesIsGrey)
{
    const Decoded image = Decode(MakeBareJpeg());
    EXPECT_EQ(image.result, DecodeResult::kDecoded);
    EXPECT_EQ(image.pixels, Bytes(64, 128));
}

TEST(DecodeImage, AHuffmanTableOfTooManySymbolsIsRefused)
{
    EXPECT_NE(Decode(MakeJpegWithTable(32)).reason, ""); // 256 symbols of a picture that is none
    for (const int symbols : {33, 100, 255})
    {
        const Decoded image = Decode(MakeJpegWithTable(symbols));
        EXPECT_EQ(image.result, DecodeResult::kRefused) << symbols;
        EXPECT_EQ(image.reason, "Corrupt JPEG") << symbols;
    }
}

TEST(DecodeImage, APaletteIsResolved)
{
    const Decoded png = Decode(MakePng());
    EXPECT_EQ(png.result, DecodeResult::kDecoded) << png.reason;
    EXPECT_EQ(png.components, 3);
    EXPECT_EQ(png.pixels, (Bytes{255, 0, 0, 0, 255, 0, 0, 0, 255, 255, 255, 255}));
    const Decoded gif = Decode(MakeGif());
    EXPECT_EQ(gif.result, DecodeResult::kDecoded) << gif.reason;
    EXPECT_EQ(gif.components, 4);
    EXPECT_EQ(gif.pixels,
              (Bytes{255, 0, 0, 255, 0, 255, 0, 255, 0, 0, 255, 255, 255, 255, 255, 255}));
}

TEST(DecodeImage, AGifFileThatIsRefusedWithoutAWordIsCalledCorrupt)
{
    static constexpr size_t kPicture = 25; // where its head begins, after the colors
    static constexpr size_t kCodeSize = 35;
    const Decoded empty = Decode(MakeGif().substr(0, kPicture) + ";");
    EXPECT_EQ(empty.result, DecodeResult::kRefused);
    EXPECT_EQ(empty.reason, "Corrupt GIF");

    std::string file = MakeGif();
    ASSERT_EQ(file[kPicture], ',');
    ASSERT_EQ(file[kCodeSize], 2);
    file[kCodeSize] = 13;
    const Decoded large = Decode(file);
    EXPECT_EQ(large.result, DecodeResult::kRefused);
    EXPECT_EQ(large.reason, "Corrupt GIF");
}

TEST(DecodeImage, APicFileKeepsThreeOrFourComponents)
{
    const std::string row = "\x02qrs";
    const Decoded three = Decode(MakePicHead(2, 2, 3) + row + "\x01tuv\x01wxy");
    EXPECT_EQ(three.result, DecodeResult::kDecoded);
    EXPECT_EQ(three.components, 3);
    EXPECT_EQ(three.pixels, (Bytes{'q', 'r', 's', 'q', 'r', 's', 't', 'u', 'v', 'w', 'x', 'y'}));

    const Decoded four = Decode(MakePicHead(2, 1, 4) + row + "\x01z\x01!");
    EXPECT_EQ(four.result, DecodeResult::kDecoded);
    EXPECT_EQ(four.components, 4);
    EXPECT_EQ(four.pixels, (Bytes{'q', 'r', 's', 'z', 'q', 'r', 's', '!'}));
}

TEST(DecodeImage, APicFileCutAnywhereIsRefused)
{
    for (const int32_t components : {3, 4})
    {
        std::string file = MakePicHead(2, 1, components) + "\x02qrs";
        file += components == 4 ? "\x01z\x01!" : "";
        EXPECT_EQ(Decode(file).result, DecodeResult::kDecoded);
        for (size_t length = 0; length < file.size(); ++length)
        {
            const Decoded image = Decode(file.substr(0, length));
            EXPECT_EQ(image.result, DecodeResult::kRefused) << length;
            EXPECT_NE(image.reason, "") << length;
        }
    }
}

TEST(DecodeImage, FilesThatAreCutAnywhereDoNoHarm)
{
    const std::string files[] = {MakeTga(3, 3, 4, std::string(36, 'x')), MakeRadiance(),
                                 MakeBareJpeg(), MakePng(), MakeGif()};
    for (const std::string& file : files)
    {
        for (size_t length = 0; length <= file.size(); ++length)
        {
            Decode(file.substr(0, length));
        }
    }
}

TEST(DecodeImage, ASizeAboveTheLimitIsToldBeforeMemoryIsTaken)
{
    const std::string file = MakeTga(3, 2, 3, std::string(18, 'x'));
    EXPECT_EQ(Decode(file, 18).result, DecodeResult::kDecoded);
    const Decoded image = Decode(file, 17);
    EXPECT_EQ(image.result, DecodeResult::kTooLarge);
    EXPECT_EQ(image.width, 3);
    EXPECT_EQ(image.height, 2);
    EXPECT_EQ(image.components, 3);
}

TEST(DecodeImage, SidesAboveTheLargestAreRefused)
{
    const Decoded image = Decode("P6 16385 1 255\n", UINT64_MAX);
    EXPECT_EQ(image.result, DecodeResult::kRefused);
    EXPECT_EQ(image.reason, "Very large image (corrupt?)");
}

TEST(DecodeImage, ThreadsDecodeAtOnce)
{
    const std::string file = MakePicHead(2, 1, 3) + "\x02qrs";
    const auto decodeMany = [&file]()
    {
        for (int run = 0; run < 2000; ++run)
        {
            ASSERT_EQ(Decode(file).pixels, (Bytes{'q', 'r', 's', 'q', 'r', 's'}));
            ASSERT_EQ(Decode(file.substr(0, 110)).result, DecodeResult::kRefused);
        }
    };
    std::thread other(decodeMany);
    decodeMany();
    other.join();
}
