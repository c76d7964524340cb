// SPDX-License-Identifier: MIT
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>

#include "engine/textures/decode_image.h"
#include "fuzz/fuzz_targets.h"

namespace fs = std::filesystem;

/// Names a target in the names of tests, which would else tell addresses.
static void PrintTo(const FuzzTarget& target, std::ostream* stream)
{
    *stream << target.name;
}

class FuzzInputs : public testing::TestWithParam<FuzzTarget>
{
  protected:
    static void SetUpTestSuite()
    {
        PrepareFuzzTargets();
    }

    static void Replay(const std::string& input)
    {
        // A block of its own, so that a sanitizer and valgrind see a read past its end.
        const std::vector<uint8_t> bytes(input.begin(), input.end());
        GetParam().run(bytes.data(), bytes.size());
    }
};

TEST_P(FuzzInputs, SeedsPass)
{
    const std::vector<std::string> seeds = GetParam().makeSeeds();
    EXPECT_FALSE(seeds.empty());
    for (const std::string& seed : seeds)
    {
        Replay(seed);
    }
}

TEST_P(FuzzInputs, SeedsThatAreCutShortPass)
{
    static constexpr size_t kCuts = 8;
    for (const std::string& seed : GetParam().makeSeeds())
    {
        for (size_t i = 0; i < kCuts; ++i)
        {
            Replay(seed.substr(0, seed.size() * i / kCuts));
        }
    }
}

TEST_P(FuzzInputs, InputsThatOnceFailedPass)
{
    std::error_code none; // no folder: no input has failed yet
    for (const auto& item : fs::directory_iterator(fs::path(REGRESSIONS) / GetParam().name, none))
    {
        SCOPED_TRACE(item.path().string());
        std::ifstream file(item.path(), std::ios::binary);
        Replay(std::string(std::istreambuf_iterator<char>(file), {}));
    }
}

INSTANTIATE_TEST_SUITE_P(Each, FuzzInputs, testing::ValuesIn(kFuzzTargets),
                         [](const auto& row) { return std::string(row.param.name); });

// This program links libraries that bring decoders of the same name.
TEST(FuzzBitmaps, SeedsAreDecodedByTheDecoderOfTheRoom)
{
    for (const std::string& seed : FindFuzzTarget("bitmap")->makeSeeds())
    {
        DecodedImage image;
        const char* reason = nullptr;
        EXPECT_EQ(DecodeImage(reinterpret_cast<const uint8_t*>(seed.data()),
                              static_cast<int32_t>(seed.size()), 1000, &image, &reason),
                  DecodeResult::kDecoded)
            << reason;
        free(image.pixels);
    }
}

TEST(FuzzRegressions, EachFolderIsThatOfATarget)
{
    int folders = 0;
    for (const auto& item : fs::directory_iterator(REGRESSIONS))
    {
        folders += 1;
        EXPECT_NE(FindFuzzTarget(item.path().filename().string()), nullptr) << item.path();
    }
    EXPECT_GT(folders, 0);
}
