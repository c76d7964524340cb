// SPDX-License-Identifier: MIT
#include "engine/stage/target_history.h"

#include <gtest/gtest.h>
#include <set>
#include <vector>

#include "record/random_numbers.h"

/// The bitmaps of each frame of a run: the plain form that the record is compared with.
using Frames = std::vector<std::vector<BitmapUse>>;

struct MadeHistory
{
    MadeHistory(uint32_t bitmapCount, const Frames& frames)
    {
        StartFaults(&faults);
        EXPECT_TRUE(StartTargetHistory(bitmapCount, &history, &faults));
        for (const std::vector<BitmapUse>& uses : frames)
        {
            EXPECT_TRUE(
                AddHistoryStep(&history, uses.data(), static_cast<uint32_t>(uses.size()), &faults));
        }
    }
    ~MadeHistory()
    {
        FreeTargetHistory(&history);
    }
    MadeHistory(const MadeHistory&) = delete;
    MadeHistory& operator=(const MadeHistory&) = delete;

    TargetHistory history = {};
    FaultList faults;
};

static constexpr BitmapUse Shows(uint32_t id)
{
    return {id, true, false};
}

static constexpr BitmapUse Writes(uint32_t id)
{
    return {id, false, true};
}

static constexpr BitmapUse ShowsAndWrites(uint32_t id)
{
    return {id, true, true};
}

struct Plan
{
    std::vector<uint32_t> drawn;
    std::vector<uint32_t> reloaded; // ids

    bool operator==(const Plan&) const = default;
};

static Plan MakePlan(MadeHistory* made, uint32_t step, const std::vector<uint32_t>& pictures = {})
{
    StepPlan plan = {};
    EXPECT_TRUE(PlanStep(&made->history, step, pictures.empty() ? nullptr : pictures.data(), &plan,
                         &made->faults));
    Plan listed;
    for (uint32_t i = 0; i <= step; ++i)
    {
        if (plan.drawn[i] != 0)
        {
            listed.drawn.push_back(i);
        }
    }
    EXPECT_EQ(plan.stepCount, step + 1);
    EXPECT_EQ(plan.firstStep, listed.drawn.front());
    for (uint32_t i = 0; i < made->history.bitmapCount; ++i)
    {
        if (plan.reloaded[i] != 0)
        {
            listed.reloaded.push_back(i + 1);
        }
    }
    FreeStepPlan(&plan);
    return listed;
}

TEST(TargetHistories, WithoutTargetsHaveNoMemory)
{
    MadeHistory made(1, {{}, {}, {Shows(1)}, {}});
    EXPECT_EQ(FindMemory(&made.history, 1), kLoadedPicture);
    EXPECT_EQ(FindWriter(&made.history, 1, 4), kLoadedPicture);
    EXPECT_EQ(MakePlan(&made, 3), (Plan{{3}, {}}));
    EXPECT_EQ(MakePlan(&made, 2), (Plan{{2}, {1}}));
    EXPECT_EQ(MakePlan(&made, 2, {kLoadedPicture}), (Plan{{2}, {}}));
}

TEST(TargetHistories, KnowTheLastWriter)
{
    MadeHistory made(2, {{Writes(1)}, {Writes(1)}, {}, {Writes(2)}, {Shows(1), Writes(2)}});
    EXPECT_EQ(FindWriter(&made.history, 1, 0), kLoadedPicture);
    EXPECT_EQ(FindWriter(&made.history, 1, 1), 0u);
    EXPECT_EQ(FindWriter(&made.history, 1, 5), 1u);
    EXPECT_EQ(FindWriter(&made.history, 2, 3), kLoadedPicture);
    EXPECT_EQ(FindWriter(&made.history, 2, 4), 3u);
    EXPECT_EQ(made.history.lastWriter[0], 1u);
    EXPECT_EQ(made.history.lastWriter[1], 4u);
    EXPECT_EQ(MakePlan(&made, 4), (Plan{{1, 4}, {}}));
    EXPECT_EQ(FindMemory(&made.history, 1), 4u);
    EXPECT_EQ(FindMemory(&made.history, 2), kLoadedPicture);
}

TEST(TargetHistories, LeadFeedbackBackToItsStart)
{
    MadeHistory made(1, {{}, {ShowsAndWrites(1)}, {ShowsAndWrites(1)}, {ShowsAndWrites(1)}});
    EXPECT_EQ(MakePlan(&made, 3), (Plan{{1, 2, 3}, {1}}));
    EXPECT_EQ(MakePlan(&made, 3, {2}), (Plan{{3}, {}}));
    EXPECT_EQ(MakePlan(&made, 3, {1}), (Plan{{2, 3}, {}}));
    EXPECT_EQ(MakePlan(&made, 3, {3}), (Plan{{1, 2, 3}, {1}}));
    EXPECT_EQ(MakePlan(&made, 3, {kForeignPicture}), (Plan{{1, 2, 3}, {1}}));
    EXPECT_EQ(MakePlan(&made, 3, {kLoadedPicture}), (Plan{{1, 2, 3}, {}}));
    EXPECT_EQ(FindMemory(&made.history, 1), 2u);
}

TEST(TargetHistories, StartAFeedbackAnew)
{
    // A frame that writes the bitmap before it shows it needs nothing.
    MadeHistory made(1,
                     {{ShowsAndWrites(1)}, {ShowsAndWrites(1)}, {Writes(1)}, {ShowsAndWrites(1)}});
    EXPECT_EQ(MakePlan(&made, 3), (Plan{{2, 3}, {}}));
    EXPECT_EQ(MakePlan(&made, 2), (Plan{{2}, {}}));
}

TEST(TargetHistories, GiveUpPicturesThatWouldBeOverwritten)
{
    // Step 0 has to be drawn for bitmap 2, and writes bitmap 1, which holds step 1's.
    MadeHistory made(2, {{Writes(1), Writes(2)}, {Writes(1)}, {Shows(1), Shows(2)}});
    EXPECT_EQ(MakePlan(&made, 2, {1, 0}), (Plan{{2}, {}}));
    EXPECT_EQ(MakePlan(&made, 2, {1, kForeignPicture}), (Plan{{0, 1, 2}, {}}));
    EXPECT_EQ(MakePlan(&made, 2, {kForeignPicture, 0}), (Plan{{1, 2}, {}}));
}

TEST(TargetHistories, GiveUpPicturesThatWouldBeReloaded)
{
    // Step 1 shows the loaded picture of bitmap 1 and has to be drawn for bitmap 2; step 3 shows
    // what step 2 has drawn into bitmap 1.
    MadeHistory made(2, {{}, {Shows(1), Writes(2)}, {Writes(1)}, {Shows(1), Shows(2)}});
    EXPECT_EQ(MakePlan(&made, 3, {2, 1}), (Plan{{3}, {}}));
    EXPECT_EQ(MakePlan(&made, 3, {2, kForeignPicture}), (Plan{{1, 2, 3}, {1}}));
}

TEST(TargetHistories, ForgetAllSteps)
{
    MadeHistory made(1, {{Writes(1)}, {Shows(1)}});
    ClearTargetHistory(&made.history);
    EXPECT_EQ(made.history.stepCount, 0u);
    EXPECT_EQ(made.history.lastWriter[0], kLoadedPicture);
    const BitmapUse use = Shows(1);
    EXPECT_TRUE(AddHistoryStep(&made.history, &use, 1, &made.faults));
    EXPECT_EQ(MakePlan(&made, 0), (Plan{{0}, {1}}));
}

/// The pictures of bitmaps in a world that draws: each frame's picture is what it shows and its
/// number, so that two are the same only if they came about alike.
struct World
{
    std::vector<std::string> bitmaps;

    explicit World(uint32_t count) : bitmaps(count, "loaded")
    {
    }

    /// @return what the frame shows
    std::string Draw(const Frames& frames, uint32_t step)
    {
        std::string shown = std::to_string(step);
        for (const BitmapUse& use : frames[step])
        {
            if (use.shownFirst)
            {
                shown += "(" + bitmaps[use.id - 1] + ")";
            }
        }
        const std::string picture = std::to_string(std::hash<std::string>()(shown));
        for (const BitmapUse& use : frames[step])
        {
            if (use.written)
            {
                bitmaps[use.id - 1] = picture;
            }
        }
        return picture;
    }
};

static Frames RandomFrames(Random* random, uint32_t bitmapCount)
{
    Frames frames;
    const int32_t count = Between(random, 1, 40);
    std::vector<BitmapUse> uses;
    for (int32_t i = 0; i < count; ++i)
    {
        if (Chance(random, 40))
        {
            uses.clear();
            for (uint32_t id = 1; id <= bitmapCount; ++id)
            {
                const BitmapUse use = {id, Chance(random, 30), Chance(random, 30)};
                if (use.shownFirst || use.written)
                {
                    uses.push_back(use);
                }
            }
        }
        frames.push_back(uses);
    }
    return frames;
}

TEST(TargetHistories, PlanWhatARunShows)
{
    for (uint32_t seed = 0; seed < 300; ++seed)
    {
        Random random = {seed};
        const uint32_t bitmapCount = static_cast<uint32_t>(Between(&random, 1, 4));
        const Frames frames = RandomFrames(&random, bitmapCount);
        World straight(bitmapCount);
        std::vector<std::string> expected;
        for (uint32_t i = 0; i < frames.size(); ++i)
        {
            expected.push_back(straight.Draw(frames, i));
        }

        MadeHistory made(bitmapCount, frames);
        World world(bitmapCount);
        std::vector<uint32_t> pictures(bitmapCount, kLoadedPicture);
        for (int i = 0; i < 30; ++i)
        {
            const uint32_t step =
                static_cast<uint32_t>(Between(&random, 0, static_cast<int32_t>(frames.size()) - 1));
            const Plan plan = MakePlan(&made, step, pictures);
            for (const uint32_t id : plan.reloaded)
            {
                world.bitmaps[id - 1] = "loaded";
                pictures[id - 1] = kLoadedPicture;
            }
            std::string shown;
            for (const uint32_t drawn : plan.drawn)
            {
                shown = world.Draw(frames, drawn);
                for (const BitmapUse& use : frames[drawn])
                {
                    pictures[use.id - 1] = use.written ? drawn : pictures[use.id - 1];
                }
            }
            ASSERT_EQ(shown, expected[step]) << "seed " << seed << " step " << step;
        }
    }
}
