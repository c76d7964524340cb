// SPDX-License-Identifier: MIT
#include "engine/animation/animated_value.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <string>

#include "engine/animation/make_envelope.h"
#include "engine/data/fault.h"
#include "support/fault_text.h"

/// Adds an envelope to a table; the first gets id 1.
static void AddEnvelope(ObjectTable* table, const Envelope& envelope)
{
    const uint32_t id = AllocateObject(table);
    *GetRecord<Envelope>(id, table) = envelope;
}

TEST(AnimatedValue, AConstantIsTheBitsOfItsSlot)
{
    EXPECT_EQ(FloatSlot(1.0f), 0x3F800000u);
    EXPECT_EQ(FloatSlot(-0.0f), 0x80000000u);
    EXPECT_EQ(SlotFloat(0x40490FDB), 3.14159274f);
    EXPECT_EQ(SlotFloat(0), 0.0f);
    EXPECT_TRUE(std::isnan(SlotFloat(0x7FC00000)));

    // Neither the time nor a table matters.
    EXPECT_EQ(ResolveValue(FloatSlot(-2.5f), false, nullptr, 0), -2.5f);
    EXPECT_EQ(ResolveValue(FloatSlot(-2.5f), false, nullptr, 0xFFFFFFFF), -2.5f);
}

/// Envelopes with their state.
class AnimatedValueTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        StartFaults(&faults);
        faults.place = PlaceAt("demo.xmlz", Section::kTimeline, 1, 4);
    }

    void TearDown() override
    {
        FreeObjectTable(envelopes);
        FreeFaults(&faults);
    }

    ObjectTable* envelopes = CreateObjectTable(sizeof(Envelope)); // owned
    EnvelopeCache caches[3] = {kEmptyEnvelopeCache, kEmptyEnvelopeCache, kEmptyEnvelopeCache};
    FaultList faults;
    Animation animation = {envelopes, caches, &faults};
};

TEST_F(AnimatedValueTest, ADynamicOneIsItsEnvelopeAtTheCallersTime)
{
    AddEnvelope(envelopes, MakeOnePiece(kFunctionConstant, {7.0f}));
    AddEnvelope(envelopes, MakeOnePiece(kFunctionLinear, {2.0f, 1.0f}));
    AddEnvelope(envelopes, MakeEnvelope());

    EXPECT_EQ(ResolveValue(1, true, &animation, 5), 7.0f);
    EXPECT_EQ(ResolveValue(2, true, &animation, 0), 1.0f);
    EXPECT_EQ(ResolveValue(2, true, &animation, 5), 11.0f);
    EXPECT_EQ(ResolveValue(3, true, &animation, 5), 1.0f); // no pieces
    EXPECT_EQ(EvaluateEnvelopeId(2, &animation, 100), 201.0f);
    EXPECT_EQ(caches[0].lastTime, 5u); // each has its own state
    EXPECT_EQ(caches[1].lastTime, 100u);
    EXPECT_EQ(caches[1].lastValue, 201.0f);
    EXPECT_EQ(caches[2].lastTime, kNothingCached);
    EXPECT_FALSE(HasFailed(&faults));
}

TEST_F(AnimatedValueTest, AnIdWithoutEnvelopeIsAFault)
{
    AddEnvelope(envelopes, MakeEnvelope());
    struct IdCase
    {
        uint32_t id;
        const char* fault;
    };
    const IdCase cases[] = {
        {0, "envelope 0 does not exist\n"},
        {2, "envelope 2 does not exist\n"},
        {4097, "envelope 4097 does not exist\n"},
        {0xFFFFFFFF, "envelope -1 does not exist\n"},
        {0x80000000, "envelope -2147483648 does not exist\n"},
    };
    std::string expected;
    for (const IdCase& c : cases)
    {
        EXPECT_EQ(ResolveValue(c.id, true, &animation, 0), 0.0f);
        expected += "quorvale: demo.xmlz, section 10 (timeline), row 1, clip 4: ";
        expected += c.fault;
    }
    EXPECT_EQ(FaultText(faults), expected);
}

TEST(AnimatedValue, MaskBitsRunFromTheTopOfEachByte)
{
    uint8_t mask[3] = {0, 0, 0};
    SetMaskBit(mask, 0);
    EXPECT_EQ(mask[0], 0x80);
    SetMaskBit(mask, 3);
    EXPECT_EQ(mask[0], 0x90);
    SetMaskBit(mask, 7);
    EXPECT_EQ(mask[0], 0x91);
    SetMaskBit(mask, 8);
    SetMaskBit(mask, 9);
    EXPECT_EQ(mask[1], 0xC0);
    SetMaskBit(mask, 9); // a second time changes nothing
    EXPECT_EQ(mask[1], 0xC0);
    SetMaskBit(mask, 23);
    EXPECT_EQ(mask[2], 0x01);

    for (uint32_t n = 0; n < 24; ++n)
    {
        const bool expected = n == 0 || n == 3 || n == 7 || n == 8 || n == 9 || n == 23;
        EXPECT_EQ(MaskBit(mask, n), expected) << n;
    }
}
