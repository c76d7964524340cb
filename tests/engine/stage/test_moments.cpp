// SPDX-License-Identifier: MIT
#include "engine/stage/moments.h"

#include <gtest/gtest.h>

/// A run without a document: its state is the place in its random numbers.
class KeptMoments : public testing::Test
{
  protected:
    void SetUp() override
    {
        StartFaults(&faults);
        StartPieceState(&state);
        gl.shadow = &shadow;
        ASSERT_TRUE(StartMoments(&state, &gl, &moments, &faults));
    }

    void TearDown() override
    {
        FreeMoments(&moments);
        FreePieceState(&state);
    }

    /// Runs to a step, one random number and one viewport each.
    void RunTo(uint32_t end)
    {
        for (; step < end; ++step)
        {
            ASSERT_TRUE(OfferMoment(step, &state, &gl, &moments, &faults));
            NextRandom(&state.random);
            shadow.state.viewportWidth += 1;
        }
    }

    FaultList faults;
    PieceState state;
    GlShadow shadow = {};
    GlContext gl = {};
    Moments moments = {};
    uint32_t step = 0;
};

TEST_F(KeptMoments, LieAtEqualDistances)
{
    RunTo(200);
    EXPECT_EQ(moments.distance, 32u);
    ASSERT_EQ(moments.count, 7u);
    for (uint32_t i = 0; i < moments.count; ++i)
    {
        EXPECT_EQ(moments.kept[i].step, 32 * i);
    }
    EXPECT_EQ(FindMoment(&moments, 0)->step, 0u);
    EXPECT_EQ(FindMoment(&moments, 63)->step, 32u);
    EXPECT_EQ(FindMoment(&moments, 64)->step, 64u);
    EXPECT_EQ(FindMoment(&moments, 0xFFFFFFFF)->step, 192u);
}

TEST_F(KeptMoments, BringTheStateBack)
{
    RunTo(100);
    shadow.state.color[0] = 0.25f;
    ASSERT_TRUE(LoadMoment(FindMoment(&moments, 70), &state, &gl, &faults));
    EXPECT_EQ(shadow.state.viewportWidth, 64);
    EXPECT_EQ(shadow.state.color[0], 0.0f);

    PieceState again;
    StartPieceState(&again);
    for (int i = 0; i < 64; ++i)
    {
        NextRandom(&again.random);
    }
    EXPECT_EQ(NextRandom(&state.random), NextRandom(&again.random));
}

TEST_F(KeptMoments, ThinOutWhereTheyHaveNoRoom)
{
    RunTo(100000);
    EXPECT_LE(moments.count, moments.capacity);
    EXPECT_GT(moments.count, moments.capacity / 2 - 1);
    for (uint32_t i = 0; i < moments.count; ++i)
    {
        EXPECT_EQ(moments.kept[i].step, moments.distance * i);
        EXPECT_EQ(moments.kept[i].shadow.viewportWidth, static_cast<int32_t>(moments.distance * i));
    }
    EXPECT_LT(step - FindMoment(&moments, step)->step, 2 * moments.distance);
}

TEST_F(KeptMoments, AreFewWhereTheyAreLarge)
{
    // Half of all the room for one: a document with that many envelopes.
    FreeMoments(&moments);
    state.demo.envelopeCount = kMomentsBytes / 2 / sizeof(EnvelopeCache);
    state.demo.envelopes =
        static_cast<EnvelopeCache*>(calloc(state.demo.envelopeCount, sizeof(EnvelopeCache)));
    ASSERT_TRUE(StartMoments(&state, &gl, &moments, &faults));
    EXPECT_EQ(moments.capacity, kFewestMoments);
}

TEST_F(KeptMoments, LieFurtherApartWhereTheyAreLarge)
{
    FreeMoments(&moments);
    state.demo.envelopeCount = 64 * 512 / sizeof(EnvelopeCache);
    state.demo.envelopes =
        static_cast<EnvelopeCache*>(calloc(state.demo.envelopeCount, sizeof(EnvelopeCache)));
    ASSERT_TRUE(StartMoments(&state, &gl, &moments, &faults));
    RunTo(300);
    EXPECT_EQ(moments.distance, 128u); // 64 steps' worth of envelopes, and the rest of the state
    ASSERT_EQ(moments.count, 3u);
    EXPECT_EQ(moments.kept[2].step, 256u);
    ClearMoments(&moments);
    EXPECT_EQ(moments.distance, 128u);
}

TEST_F(KeptMoments, ForgetAllButTheFirst)
{
    RunTo(100);
    ClearMoments(&moments);
    EXPECT_EQ(moments.count, 1u);
    EXPECT_EQ(FindMoment(&moments, 99)->step, 0u);
    ASSERT_TRUE(LoadMoment(FindMoment(&moments, 99), &state, &gl, &faults));
    EXPECT_EQ(shadow.state.viewportWidth, 0);
    step = 0;
    RunTo(40);
    EXPECT_EQ(moments.count, 2u);
    EXPECT_EQ(moments.kept[1].shadow.viewportWidth, 32);
}
