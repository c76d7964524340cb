// SPDX-License-Identifier: MIT

// Seeks in pieces made of random numbers, against runs that play straight.
#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

#include "engine/stage/played_frames.h"
#include "record/random_piece.h"

static constexpr uint32_t kPieces = 200;
static constexpr uint32_t kFrames = 16;
static constexpr uint32_t kSeeks = 10;

/// Parts that can be tested beside each other.
static constexpr uint32_t kShares = 8;

/// @return any features and shape of the picture
static StageView RandomView(Random* random)
{
    StageView view = {};
    view.width = Between(random, 60, 160);
    view.height = Between(random, 50, 120);
    view.aspect = Chance(random, 50) ? 1.3333334f : 1.6f;
    view.features = {Between(random, 0, 1), Between(random, 0, 1), Between(random, 0, 1),
                     Between(random, 0, 1)};
    return view;
}

static void CheckSeeks(uint32_t seed)
{
    Random random = {seed};
    const RandomPiece piece = MakeRandomPiece(&random);
    const StageView view = RandomView(&random);
    const int32_t samples = Chance(&random, 20) ? 4 : 0;
    const uint32_t stride = static_cast<uint32_t>(piece.ticks) / (kFrames - 2) + 1;
    const PlayedFrames played = PlayFrames(piece.package, view, samples, stride, kFrames);
    const uint32_t count = static_cast<uint32_t>(played.pictures.size());

    OpenedStage opened(piece.package, view, samples);
    if (!opened.fault.empty())
    {
        EXPECT_EQ(opened.fault, played.fault);
        return;
    }
    for (uint32_t i = 0; i < kSeeks; ++i)
    {
        const uint32_t frame = static_cast<uint32_t>(Between(&random, 0, kFrames - 1));
        const uint32_t tick =
            frame * stride +
            static_cast<uint32_t>(Between(&random, 0, static_cast<int32_t>(stride) - 1));
        const SoughtFrame sought = Seek(&opened, tick, stride);
        if (frame < count)
        {
            ASSERT_EQ(sought.fault, "") << "frame " << frame;
            ASSERT_EQ(sought.result.sceneCount, played.scenes[frame]);
            ASSERT_TRUE(sought.picture == played.pictures[frame]) << "frame " << frame;
        }
        else
        {
            ASSERT_EQ(sought.fault, played.fault);
        }
    }
}

class RandomSeeks : public testing::TestWithParam<uint32_t>
{
};

TEST_P(RandomSeeks, ShowWhatStraightRunsShow)
{
    unsetenv("DISPLAY");
    for (uint32_t seed = GetParam(); seed < kPieces; seed += kShares)
    {
        SCOPED_TRACE("seed " + std::to_string(seed));
        CheckSeeks(seed);
    }
}

INSTANTIATE_TEST_SUITE_P(Share, RandomSeeks, testing::Range(0u, kShares));
