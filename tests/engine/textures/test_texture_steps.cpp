// SPDX-License-Identifier: MIT
#include "engine/textures/texture_steps.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "engine/data/cos_table.h"
#include "engine/textures/compare_bytes.h"
#include "engine/textures/plain_textures.h"
#include "engine/textures/random_values.h"
#include "support/guarded_bytes.h"
#include "support/instruction_sets.h"

using Bytes = std::vector<uint8_t>;

static constexpr int32_t kStepTypes[] = {101, 102, 103, 104, 201, 202, 203, 204, 205, 206, 207};

static size_t ImageBytes(int32_t size)
{
    return static_cast<size_t>(size) * static_cast<size_t>(size) * 3;
}

static Bytes RandomImage(RandomSource& random, int32_t size)
{
    Bytes image(ImageBytes(size));
    for (uint8_t& byte : image)
    {
        byte = static_cast<uint8_t>(NextWord(random) >> 11);
    }
    return image;
}

static Bytes FlatImage(int32_t size, uint8_t value)
{
    return Bytes(ImageBytes(size), value);
}

/// Every byte is its place, cut to 8 bits and stirred, so that no two rows look alike.
static Bytes NumberedImage(int32_t size)
{
    Bytes image(ImageBytes(size));
    for (size_t i = 0; i < image.size(); ++i)
    {
        image[i] = static_cast<uint8_t>(i * 7 + i / 11);
    }
    return image;
}

/// Applies a step in scratch memory of its own, which it gives back.
static void Apply(int32_t type, const float* params, const uint8_t* layer, int32_t size,
                  uint8_t* pixels)
{
    Arena scratch = {};
    EXPECT_TRUE(ApplyTextureStep(type, params, layer, size, pixels, &scratch));
    EXPECT_EQ(scratch.used, 0u);
    FreeArena(&scratch);
}

static Bytes Step(int32_t type, std::vector<float> params, Bytes image, Bytes layer = {})
{
    params.resize(9, 1.0f);
    int32_t size = 1;
    while (ImageBytes(size) < image.size())
    {
        ++size;
    }
    Apply(type, params.data(), layer.empty() ? nullptr : layer.data(), size, image.data());
    return image;
}

/// One byte through a combiner or a point filter.
static int Point(int32_t type, std::vector<float> params, uint8_t image, uint8_t layer = 0)
{
    const Bytes result = Step(type, std::move(params), Bytes(3, image), Bytes(3, layer));
    EXPECT_EQ(result[0], result[1]);
    EXPECT_EQ(result[0], result[2]);
    return result[0];
}

/// Every test runs with each instruction set that this processor has.
class TextureSteps : public testing::TestWithParam<InstructionSet>
{
  protected:
    void SetUp() override
    {
        BuildCosTable();
    }

    UsedInstructionSet used{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(EverySet, TextureSteps, testing::ValuesIn(ListInstructionSets()),
                         [](const testing::TestParamInfo<InstructionSet>& set)
                         { return std::string(InstructionSetNames[set.param]); });

/// Runs one step in the engine's form and the plain one; "same" if all bytes are and no fence is
/// hurt.
static std::string CompareStep(int32_t type, const float* params, const Bytes& layer, int32_t size,
                               const Bytes& image)
{
    GuardedBytes block(image.size());
    std::copy(image.begin(), image.end(), block.Data());
    GuardedBytes layerBlock(layer.size());
    std::copy(layer.begin(), layer.end(), layerBlock.Data());
    Apply(type, params, layerBlock.Data(), size, block.Data());
    if (!block.GuardsAreWhole() || !layerBlock.GuardsAreWhole() || layerBlock.Bytes() != layer)
    {
        return "wrote outside";
    }

    Bytes expected = image;
    PlainTextureStep(type, params, layer.data(), size, expected.data());
    return CompareBytes(block.Bytes(), expected);
}

static std::string Describe(int32_t type, int32_t size, const float* params)
{
    std::string text = std::string(InstructionSetNames[ChooseInstructionSet()]) + ", type " +
                       std::to_string(type) + ", side " + std::to_string(size) + ", params";
    for (int i = 0; i < 9; ++i)
    {
        text += " " + std::to_string(params[i]);
    }
    return text;
}

TEST_P(TextureSteps, EqualThePlainFormForRandomParametersOfEveryKind)
{
    // Sides around the widths of vectors, where loops have tails, and the one that documents use.
    static constexpr int32_t kSides[] = {1, 2, 3, 5, 7, 8, 11, 16, 21, 32, 33, 64};
    RandomSource random;
    for (int run = 0; run < 4400; ++run)
    {
        const int32_t type = kStepTypes[run % 11];
        const int32_t size = kSides[NextBelow(random, 12)];
        float params[9];
        for (float& param : params)
        {
            param = NextParam(random);
        }
        const Bytes image = RandomImage(random, size);
        const Bytes layer = RandomImage(random, size);
        ASSERT_EQ(CompareStep(type, params, layer, size, image), "same")
            << Describe(type, size, params);
    }
}

TEST_P(TextureSteps, EqualThePlainFormAtTheSizeThatDocumentsUse)
{
    RandomSource random;
    for (int run = 0; run < 44; ++run)
    {
        const int32_t type = kStepTypes[run % 11];
        float params[9];
        for (float& param : params)
        {
            param = run < 11 ? 1.0f : NextWithin(random, 3.0f);
        }
        const Bytes image = RandomImage(random, 256);
        const Bytes layer = RandomImage(random, 256);
        ASSERT_EQ(CompareStep(type, params, layer, 256, image), "same")
            << Describe(type, 256, params);
    }
}

TEST_P(TextureSteps, CombinersEqualThePlainFormForAllPairsOfBytes)
{
    // 256 * 256 pairs fit a square of 148 pixels a side, with a few to spare.
    const int32_t size = 148;
    Bytes image(ImageBytes(size));
    Bytes layer(ImageBytes(size));
    for (size_t i = 0; i < image.size(); ++i)
    {
        image[i] = static_cast<uint8_t>(i);
        layer[i] = static_cast<uint8_t>(i / 256);
    }
    static constexpr float kScales[][2] = {{0.7f, 0.35f},        {1.0f, 1.0f},
                                           {0.1f, 0.9f},         {1.0f / 255.0f, 1.0f / 255.0f},
                                           {-1.0f, 1.0f},        {8421504.0f, 8421504.0f},
                                           {33025.0f, 33026.0f}, {3e9f, -3e9f},
                                           {-0.5f, -2.5f}};
    for (const float(&scales)[2] : kScales)
    {
        for (const int32_t type : {101, 102, 103, 104, 202})
        {
            const float params[9] = {scales[0], scales[1]};
            ASSERT_EQ(CompareStep(type, params, layer, size, image), "same")
                << Describe(type, size, params);
        }
    }
}

TEST_P(TextureSteps, AddOntoBlackIsAScaledCopyOfTheLayer)
{
    EXPECT_EQ(Point(101, {0.0f, 0.5f}, 0, 201), 100);
    EXPECT_EQ(Point(101, {17.0f, 0.5f}, 0, 201), 100);
    EXPECT_EQ(Point(101, {-3.0f, 2.0f}, 0, 201), 255);
}

TEST_P(TextureSteps, AddWithANegativeScaleClampsAtBlack)
{
    EXPECT_EQ(Point(101, {1.0f, -1.0f}, 100, 101), 0);
    EXPECT_EQ(Point(101, {1.0f, -1.0f}, 101, 100), 1);
    EXPECT_EQ(Point(101, {-1.0f, 1.0f}, 200, 50), 0);
}

TEST_P(TextureSteps, NegativeResultsKeepTheirLowBits)
{
    EXPECT_EQ(Point(102, {-1.0f}, 1, 1), 255);         // -1
    EXPECT_EQ(Point(102, {-1.0f}, 10, 30), 212);       // -300 = -512 + 212
    EXPECT_EQ(Point(103, {-1.0f, -1.0f}, 3, 2), 254);  // max(-2, -3)
    EXPECT_EQ(Point(104, {-1.0f, 1.0f}, 3, 200), 253); // min(-3, 255, 200)
    EXPECT_EQ(Point(202, {-2.0f}, 100), 56);           // -200
    EXPECT_EQ(Point(202, {-0.5f}, 1), 0);              // -0.5 drops to 0
}

TEST_P(TextureSteps, TheFilterMultiplyStopsAt255)
{
    EXPECT_EQ(Point(202, {2.0f}, 100), 200);
    EXPECT_EQ(Point(202, {2.0f}, 127), 254);
    EXPECT_EQ(Point(202, {2.0f}, 128), 255); // 256
    EXPECT_EQ(Point(202, {3.0f}, 200), 255); // 600, whose low 8 bits are 88
    EXPECT_EQ(Point(202, {1e6f}, 255), 255); // 255,000,000 still is an integer
}

TEST_P(TextureSteps, ProductsPastTheIntegersCountAsTheLowestOne)
{
    // -2147483648, whose low 8 bits are 0.
    EXPECT_EQ(Point(102, {1e8f}, 100, 1), 0);
    EXPECT_EQ(Point(102, {-1e8f}, 100, 1), 0);
    EXPECT_EQ(Point(102, {33025.0f}, 255, 255), 255); // 2147450625 fits
    EXPECT_EQ(Point(102, {33026.0f}, 255, 255), 0);   // 2147515650 does not
    // The lowest integer loses against any other as a maximum and wins as a minimum.
    EXPECT_EQ(Point(103, {1e10f, 1.0f}, 1, 7), 7);
    EXPECT_EQ(Point(103, {1.0f, 1e10f}, 9, 1), 9);
    EXPECT_EQ(Point(103, {1e10f, 1e10f}, 1, 1), 0);
    EXPECT_EQ(Point(104, {1e10f, 1.0f}, 1, 7), 0);
    EXPECT_EQ(Point(104, {1.0f, 1e10f}, 9, 1), 0);
    EXPECT_EQ(Point(104, {1e10f, 1.0f}, 0, 7), 0); // 0 times a large number is 0
}

TEST_P(TextureSteps, MultiplyDoesNotDivideBy255)
{
    EXPECT_EQ(Point(102, {1.0f}, 16, 15), 240);
    EXPECT_EQ(Point(102, {1.0f}, 16, 16), 255);
    EXPECT_EQ(Point(102, {1.0f}, 255, 255), 255);
    EXPECT_EQ(Point(102, {1.0f / 255.0f}, 128, 128), 64); // 64.25
}

TEST_P(TextureSteps, MultiplyScalesTheImageBeforeTheLayer)
{
    // (3 * 0.7) * 50 drops to 104; 3 * (0.7 * 50) and (3 * 50) * 0.7 would both give 105.
    EXPECT_EQ(Point(102, {0.7f}, 3, 50), 104);
    EXPECT_EQ(Point(102, {0.7f}, 6, 25), 104);
}

TEST_P(TextureSteps, MaximumAndMinimumCompareScaledBytes)
{
    EXPECT_EQ(Point(103, {1.0f, 0.5f}, 90, 200), 100);
    EXPECT_EQ(Point(103, {2.0f, 0.5f}, 90, 200), 180);
    EXPECT_EQ(Point(103, {3.0f, 0.5f}, 90, 200), 255);
    EXPECT_EQ(Point(104, {1.0f, 0.5f}, 90, 200), 90);
    EXPECT_EQ(Point(104, {2.0f, 0.5f}, 90, 200), 100);
    EXPECT_EQ(Point(104, {3.0f, 3.0f}, 90, 200), 255);
}

TEST_P(TextureSteps, InvertIsTheBitwiseComplement)
{
    EXPECT_EQ(Point(201, {}, 0), 255);
    EXPECT_EQ(Point(201, {}, 255), 0);
    EXPECT_EQ(Point(201, {}, 77), 178);
}

TEST_P(TextureSteps, ScalesOfNoUseGiveTheMachinesConversion)
{
    EXPECT_EQ(Point(202, {NAN}, 5), 0);      // -2147483648, low 8 bits
    EXPECT_EQ(Point(202, {INFINITY}, 5), 0); // the same
    EXPECT_EQ(Point(202, {-INFINITY}, 5), 0);
    EXPECT_EQ(Point(202, {1e10f}, 1), 0);
    EXPECT_EQ(Point(202, {8421504.0f}, 254), 255); // 2139062016 fits
    EXPECT_EQ(Point(101, {1e10f, 1.0f}, 1, 1), 0);
}

TEST_P(TextureSteps, WithNoParametersAddSaturatesTheSum)
{
    EXPECT_EQ(Point(101, {}, 100, 100), 200);
    EXPECT_EQ(Point(101, {}, 200, 100), 255);
}

TEST_P(TextureSteps, OffsetMovesRowsByXAndColumnsByY)
{
    const int32_t size = 4;
    const Bytes image = NumberedImage(size);
    const Bytes moved = Step(203, {1.0f, 2.0f}, image);
    for (size_t y = 0; y < 4; ++y)
    {
        for (size_t x = 0; x < 4; ++x)
        {
            const size_t source = ((y + 1) % 4 * 4 + (x + 2) % 4) * 3;
            for (size_t channel = 0; channel < 3; ++channel)
            {
                EXPECT_EQ(moved[(y * 4 + x) * 3 + channel], image[source + channel]);
            }
        }
    }
}

TEST_P(TextureSteps, OffsetWithNoParametersMovesByOneRowAndOneColumn)
{
    const Bytes image = NumberedImage(256);
    const Bytes moved = Step(203, {}, image);
    EXPECT_EQ(moved[0], image[(256 + 1) * 3]);
    EXPECT_EQ(moved[(255 * 256 + 255) * 3], image[0]);
}

TEST_P(TextureSteps, OffsetDropsTheFractionAndWrapsNegatives)
{
    const Bytes image = NumberedImage(16);
    EXPECT_EQ(Step(203, {1.9f, -1.9f}, image), Step(203, {1.0f, 15.0f}, image));
    EXPECT_EQ(Step(203, {-16.0f, 16.0f}, image), image);
    EXPECT_EQ(Step(203, {0.0f, -0.5f}, image), image);
}

TEST_P(TextureSteps, OffsetBelowTheSideStaysInsideAndGoesOnWrapping)
{
    const Bytes image = NumberedImage(16);
    EXPECT_EQ(Step(203, {-17.0f, -40.0f}, image), Step(203, {15.0f, 8.0f}, image));
    EXPECT_EQ(Step(203, {-1e20f, NAN}, image), image); // -2147483648, a multiple of 16
    EXPECT_EQ(Step(203, {2147483520.0f, 0.0f}, image), image);
}

TEST_P(TextureSteps, RippleWithoutAmplitudeAveragesThreeNeighbours)
{
    // The nearest pixel's weight is 0 and the other three are 1.
    Bytes image(ImageBytes(4), 0);
    image[(0 * 4 + 1) * 3] = 200; // right of the first pixel
    image[(1 * 4 + 0) * 3] = 101; // below it
    image[(1 * 4 + 1) * 3] = 7;   // below right
    image[0] = 255;               // the pixel itself counts for nothing
    const Bytes result = Step(204, {0.0f, 0.0f, 1.0f, 1.0f}, image);
    EXPECT_EQ(result[0], 102); // 308 / 3
}

TEST_P(TextureSteps, RippleMovesAlongXWithTheCountOfTheYWavelength)
{
    // Rows 0 and 2 of 4 stand at cosine 1 and -1: half the side right, half the side left, which is
    // the same column. Rows 1 and 3 stand still. One column is lit, so the columns of the three
    // samples tell where each row was looked at.
    const int32_t size = 4;
    Bytes image(ImageBytes(size), 0);
    for (size_t y = 0; y < 4; ++y)
    {
        image[(y * 4 + 2) * 3] = 240;
    }
    const Bytes result = Step(204, {0.5f, 0.0f, 0.0f, 1.0f}, image);
    // Displaced by 2, column 3 sees columns 1 and 2: the right one, below right: two thirds.
    EXPECT_EQ(result[(0 * 4 + 3) * 3], 160);
    EXPECT_EQ(result[(0 * 4 + 0) * 3], 80); // column 2 itself: the one below it counts a third
    EXPECT_EQ(result[(0 * 4 + 1) * 3], 0);
    // Not displaced, column 1 does.
    EXPECT_EQ(result[(1 * 4 + 1) * 3], 160);
    EXPECT_EQ(result[(1 * 4 + 3) * 3], 0);
}

TEST_P(TextureSteps, RippleMovesAlongYWithTheCountOfTheXWavelength)
{
    // Columns 0 and 2 of 4 stand at cosine 1 and -1: half the side down, half the side up, which is
    // the same row. Columns 1 and 3 stand still. Row 2 is lit.
    const int32_t size = 4;
    Bytes image(ImageBytes(size), 0);
    for (size_t x = 0; x < 4; ++x)
    {
        image[(2 * 4 + x) * 3] = 240;
    }
    const Bytes result = Step(204, {0.0f, 0.5f, 1.0f, 0.0f}, image);
    // Displaced by 2, row 3 sees rows 1 and 2: the lower one, lower right: two thirds.
    EXPECT_EQ(result[(3 * 4 + 0) * 3], 160);
    EXPECT_EQ(result[(3 * 4 + 2) * 3], 160);
    EXPECT_EQ(result[(0 * 4 + 0) * 3], 80); // row 2 itself: the one to the right counts a third
    EXPECT_EQ(result[(0 * 4 + 2) * 3], 80);
    EXPECT_EQ(result[(1 * 4 + 0) * 3], 0);
    // Not displaced, row 1 does.
    EXPECT_EQ(result[(1 * 4 + 1) * 3], 160);
    EXPECT_EQ(result[(3 * 4 + 1) * 3], 0);

    // The other count leaves every column at cosine 1.
    const Bytes still = Step(204, {0.0f, 0.5f, 0.0f, 1.0f}, image);
    for (size_t x = 0; x < 4; ++x)
    {
        EXPECT_EQ(still[(3 * 4 + x) * 3], 160);
        EXPECT_EQ(still[(1 * 4 + x) * 3], 0);
    }
}

TEST_P(TextureSteps, RippleWithNoParametersIsOneSideAndOneCycle)
{
    // Row 0 and column 0: cosine 1, one whole side, which is no displacement at all.
    const Bytes image = NumberedImage(256);
    const Bytes rippled = Step(204, {}, image);
    const auto at = [&](size_t x, size_t y)
    {
        return static_cast<int>(image[(y * 256 + x) * 3]);
    };
    EXPECT_EQ(rippled[0], (at(1, 0) + at(0, 1) + at(1, 1)) / 3);
    // Row and column 128: cosine -1, the same.
    EXPECT_EQ(rippled[(128 * 256 + 128) * 3], (at(129, 128) + at(128, 129) + at(129, 129)) / 3);
    EXPECT_EQ(rippled, Step(204, {1, 1, 1, 1}, image));
    EXPECT_NE(rippled, Step(204, {1, 1, 2, 1}, image));
}

TEST_P(TextureSteps, RippleTakesTheSizeOfATruncatedWavelength)
{
    const Bytes image = NumberedImage(32);
    EXPECT_EQ(Step(204, {0.1f, 0.2f, -3.9f, -2.2f}, image),
              Step(204, {0.1f, 0.2f, 3.0f, 2.0f}, image));
}

TEST_P(TextureSteps, RippleBeyondOneSideToTheLeftWraps)
{
    // Amplitude -3 with no waves: three sides to the left, which shows the same as none.
    const Bytes image = NumberedImage(32);
    EXPECT_EQ(Step(204, {-3.0f, -3.0f, 0.0f, 0.0f}, image),
              Step(204, {0.0f, 0.0f, 0.0f, 0.0f}, image));
}

TEST_P(TextureSteps, RippleOfDisplacementsThatNoPixelHasStaysInside)
{
    // Past 32 bits, infinite or no number: the first row or column counts.
    const Bytes image = NumberedImage(32);
    const Bytes none = Step(204, {1e30f, NAN, 0.0f, 0.0f}, image);
    for (size_t i = 3; i < none.size(); ++i)
    {
        ASSERT_EQ(none[i], none[i - 3]);
    }
    EXPECT_EQ(none[0], (image[3] + image[32 * 3] + image[33 * 3]) / 3);
}

TEST_P(TextureSteps, BlurDarkensFlatAreasByOne)
{
    EXPECT_EQ(Step(205, {}, FlatImage(16, 255)), FlatImage(16, 254));
    EXPECT_EQ(Step(205, {}, FlatImage(16, 1)), FlatImage(16, 0));
    EXPECT_EQ(Step(205, {}, FlatImage(16, 0)), FlatImage(16, 0));
}

TEST_P(TextureSteps, BlurTakesASumOfNineForALittleLessThanItsNinth)
{
    // Every sum that nine bytes have: 0 to 2295, each as 255s and a rest in one 3x3 image, where
    // all nine pixels have all nine as neighbours.
    for (int sum = 0; sum <= 2295; ++sum)
    {
        Bytes image(ImageBytes(3), 0);
        int rest = sum;
        for (size_t pixel = 0; pixel < 9; ++pixel)
        {
            const int value = rest < 255 ? rest : 255;
            image[pixel * 3 + 1] = static_cast<uint8_t>(value);
            rest -= value;
        }
        const Bytes result = Step(205, {}, image);
        ASSERT_EQ(result[1], static_cast<int>(sum * 0.111111111)) << sum;
        ASSERT_EQ(result[0], 0);
    }
    EXPECT_EQ(static_cast<int>(9 * 0.111111111), 0); // where a division by nine gives 1
}

TEST_P(TextureSteps, BlurWrapsAroundAllEdges)
{
    Bytes image(ImageBytes(5), 0);
    image[0] = 90; // the first pixel's red
    const Bytes result = Step(205, {}, image);
    for (size_t y = 0; y < 5; ++y)
    {
        for (size_t x = 0; x < 5; ++x)
        {
            const bool near = (x < 2 || x == 4) && (y < 2 || y == 4);
            EXPECT_EQ(result[(y * 5 + x) * 3], near ? 9 : 0) << x << " " << y;
        }
    }
}

TEST_P(TextureSteps, EmbossLeavesFlatAreasAsTheyAre)
{
    for (float direction = 1.0f; direction <= 4.0f; direction += 1.0f)
    {
        EXPECT_EQ(Step(206, {direction}, FlatImage(16, 93)), FlatImage(16, 93));
    }
}

TEST_P(TextureSteps, EmbossWeighsTheNeighboursByDirection)
{
    // One pixel of 50 in the middle of black: the image around it is the kernel turned half round.
    Bytes image(ImageBytes(5), 0);
    image[(2 * 5 + 2) * 3] = 50;
    static constexpr int kAround[4][9] = {
        {100, 50, 0, 50, 50, 0, 0, 0, 0}, // of 2 1 0 / 1 1 -1 / 0 -1 -2
        {0, 50, 100, 0, 50, 50, 0, 0, 0}, // of 0 1 2 / -1 1 1 / -2 -1 0
        {0, 0, 0, 0, 50, 50, 0, 50, 100}, // of -2 -1 0 / -1 1 1 / 0 1 2
        {0, 0, 0, 50, 50, 0, 100, 50, 0}, // of 0 -1 -2 / 1 1 -1 / 2 1 0
    };
    for (size_t direction = 1; direction <= 4; ++direction)
    {
        const Bytes result = Step(206, {static_cast<float>(direction)}, image);
        for (size_t i = 0; i < 9; ++i)
        {
            EXPECT_EQ(result[((1 + i / 3) * 5 + 1 + i % 3) * 3], kAround[direction - 1][i])
                << direction << ", " << i;
        }
    }
}

TEST_P(TextureSteps, EmbossTakesDirectionsOutsideOneToFourForTheNearest)
{
    RandomSource random;
    const Bytes image = RandomImage(random, 16);
    const Bytes first = Step(206, {1.0f}, image);
    const Bytes fourth = Step(206, {4.0f}, image);
    EXPECT_EQ(Step(206, {0.0f}, image), first);
    EXPECT_EQ(Step(206, {-7.0f}, image), first);
    EXPECT_EQ(Step(206, {}, image), first); // the parameter that no child gives is 1
    EXPECT_EQ(Step(206, {5.0f}, image), fourth);
    EXPECT_EQ(Step(206, {4.9f}, image), fourth);
    EXPECT_NE(first, fourth);
}

TEST_P(TextureSteps, ConvolutionWithNoParametersSumsAndSaturates)
{
    EXPECT_EQ(Step(207, {}, FlatImage(8, 28)), FlatImage(8, 252));
    EXPECT_EQ(Step(207, {}, FlatImage(8, 29)), FlatImage(8, 255));
    EXPECT_EQ(Step(207, {0, 0, 0, 0, -1, 0, 0, 0, 0}, FlatImage(8, 29)), FlatImage(8, 0));
}

TEST_P(TextureSteps, ConvolutionTakesItsKernelRowByRowFromTheUpperLeft)
{
    Bytes image(ImageBytes(5), 0);
    image[(2 * 5 + 2) * 3] = 10;
    const Bytes result = Step(207, {1, 2, 3, 4, 5, 6, 7, 8, 9}, image);
    for (size_t i = 0; i < 9; ++i)
    {
        // The pixel to the upper left has it as its lower right neighbour.
        EXPECT_EQ(result[((1 + i / 3) * 5 + 1 + i % 3) * 3], static_cast<int>(90 - 10 * i));
    }
}

TEST_P(TextureSteps, ConvolutionAddsInRowOrder)
{
    // 2^24 + 1 - 2^24: the 1 is lost where it meets the large number first, and kept at the end.
    const float large = 16777216.0f;
    EXPECT_EQ(Step(207, {large, 1, -large, 0, 0, 0, 0, 0, 0}, FlatImage(3, 1)), FlatImage(3, 0));
    EXPECT_EQ(Step(207, {large, -large, 1, 0, 0, 0, 0, 0, 0}, FlatImage(3, 1)), FlatImage(3, 1));
    EXPECT_EQ(Step(207, {large, 1, 0, 0, 0, 0, -large, 0, 0}, FlatImage(3, 1)), FlatImage(3, 0));
}

TEST_P(TextureSteps, TypesOutsideTheTableChangeNothing)
{
    const Bytes image = NumberedImage(8);
    std::vector<int32_t> types = {-2147483647 - 1, -1, 0, 1, 100, 208, 209, 300, 2147483647};
    for (int32_t type = 105; type <= 200; ++type)
    {
        types.push_back(type);
    }
    for (const int32_t type : types)
    {
        EXPECT_EQ(Step(type, {}, image), image) << type;
        EXPECT_FALSE(IsCombiner(type)) << type;
    }
}

TEST_P(TextureSteps, OneHundredAndOneToOneHundredAndFourCombine)
{
    for (int32_t type = 101; type <= 104; ++type)
    {
        EXPECT_TRUE(IsCombiner(type));
    }
    for (int32_t type = 201; type <= 207; ++type)
    {
        EXPECT_FALSE(IsCombiner(type));
    }
}
