// SPDX-License-Identifier: MIT

// EvaluateEnvelope beside its plain form, bit for bit, on envelopes that chance makes up.

#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <iterator>
#include <limits>
#include <random>

#include "engine/animation/envelope.h"
#include "engine/animation/plain_envelope.h"

using Random = std::mt19937; // its numbers are the same everywhere; the library's ranges are not

/// A number from 0 to count - 1.
static uint32_t Pick(Random* random, uint32_t count)
{
    return static_cast<uint32_t>((*random)() % count);
}

static float PickFloat(Random* random, float low, float high)
{
    float unit = static_cast<float>((*random)() >> 8) / 16777216.0f;
    return low + unit * (high - low);
}

/// Numbers that splines and folds have trouble with.
static float PickWeird(Random* random)
{
    const float weird[] = {
        0.0f,
        -0.0f,
        0.5f,
        1.0f,
        -1.0f,
        -999998.0f, // knot 1 meets the sentinel before it
        8000001.0f, // knot 14 just before the sentinel after it
        9000000.0f, // knot 14 on it
        9999999.0f,
        16777216.0f,
        33554432.0f,
        2147483648.0f,
        4294967296.0f,
        1e18f,
        1e20f,
        -1e20f,
        3e38f,
        -3e38f,
        1e-40f,
        std::numeric_limits<float>::infinity(),
        -std::numeric_limits<float>::infinity(),
        std::numeric_limits<float>::quiet_NaN(),
    };
    return weird[Pick(random, std::size(weird))];
}

static void FillSpline(Random* random, float* params)
{
    uint32_t kind = Pick(random, 8);
    uint32_t given = Pick(random, 3) == 0 ? 1 + Pick(random, 12) : 12;
    float x = kind == 1 ? PickFloat(random, 0.0f, 3.0f) : PickFloat(random, -2.0f, 0.999f);
    for (uint32_t k = 0; k < given; ++k)
    {
        params[2 * k] = x;
        params[2 * k + 1] = PickFloat(random, -100.0f, 100.0f);
        switch (kind)
        {
        case 0: // whole ticks
            params[2 * k] = floorf(x);
            x += PickFloat(random, 1.0f, 200.0f);
            break;
        case 1: // close, so that some move
            x += PickFloat(random, 0.0f, 3.0f);
            break;
        case 2: // falling
            x -= PickFloat(random, 0.0f, 50.0f);
            break;
        case 3: // equal
            break;
        case 4: // in no order
            x = PickFloat(random, -100.0f, 3000.0f);
            break;
        case 5: // far
            x += PickFloat(random, 0.0f, 3000000.0f);
            break;
        case 6: // some weird, x and y
            x += PickFloat(random, 0.0f, 100.0f);
            if (Pick(random, 6) == 0)
            {
                params[2 * k] = PickWeird(random);
            }
            if (Pick(random, 6) == 0)
            {
                params[2 * k + 1] = PickWeird(random);
            }
            break;
        default: // an authored curve
            x += PickFloat(random, 1.0f, 500.0f);
            break;
        }
    }
}

static void FillEnvelope(Random* random, Envelope* envelope)
{
    *envelope = Envelope{};
    envelope->valueType = static_cast<uint8_t>(Pick(random, 256)); // nothing may look at it
    envelope->pieceCount = static_cast<uint8_t>(Pick(random, 17));
    bool splinesOnly = Pick(random, 2) == 0;
    for (uint32_t i = 0; i < envelope->pieceCount; ++i)
    {
        uint32_t type = splinesOnly ? 4 : Pick(random, 7);
        envelope->pieceType[i] = type;
        envelope->pieceLength[i] = Pick(random, 4) == 0 ? Pick(random, 3) : Pick(random, 2000);
        if (Pick(random, 20) == 0)
        {
            envelope->pieceLength[i] = static_cast<uint32_t>((*random)());
        }
        float* params = envelope->pieceParams[i];
        if (type == kFunctionSpline)
        {
            FillSpline(random, params);
            continue;
        }
        for (uint32_t k = 0; k < 5; ++k)
        {
            params[k] =
                Pick(random, 30) == 0 ? PickWeird(random) : PickFloat(random, -10.0f, 10.0f);
        }
    }

    envelope->loopType = static_cast<uint8_t>(Pick(random, 4));
    envelope->loopBegin = PickFloat(random, 0.0f, 3000.0f);
    envelope->loopEnd = PickFloat(random, 0.0f, 6000.0f);
    switch (Pick(random, 8))
    {
    case 0:
        envelope->loopEnd = envelope->loopBegin;
        break;
    case 1:
        envelope->loopBegin = PickWeird(random);
        break;
    case 2:
        envelope->loopEnd = PickWeird(random);
        break;
    case 3:
        envelope->loopBegin = -envelope->loopBegin;
        break;
    default:
        break;
    }
    PrepareSplines(envelope);
}

/// Any time, most of them where something happens: at the ends of pieces and loops.
static uint32_t PickTime(Random* random, const Envelope* envelope)
{
    uint32_t around = Pick(random, 5) - 2;
    switch (Pick(random, 5))
    {
    case 0:
        return static_cast<uint32_t>((*random)());
    case 1:
    {
        uint32_t end = 0;
        uint32_t pieces = Pick(random, 17);
        for (uint32_t i = 0; i < pieces; ++i)
        {
            end += envelope->pieceLength[i];
        }
        return end + around;
    }
    case 2:
        return PlainTicks(envelope->loopEnd) + around;
    case 3:
        return Pick(random, 5000000);
    default:
        return Pick(random, 4000);
    }
}

/// The same bits, or both no number: which one comes out of an operation is the compiler's choice.
static bool IsSame(float a, float b)
{
    return std::bit_cast<uint32_t>(a) == std::bit_cast<uint32_t>(b) ||
           (std::isnan(a) && std::isnan(b));
}

TEST(EnvelopePlain, RandomEnvelopesEqualThePlainForm)
{
    Random random(20240607);
    Envelope envelope;
    uint32_t numbers = 0;
    for (uint32_t run = 0; run < 20000; ++run)
    {
        FillEnvelope(&random, &envelope);
        EnvelopeCache cache = kEmptyEnvelopeCache;
        EnvelopeCache plainCache = kEmptyEnvelopeCache;
        for (uint32_t i = 0; i < 30; ++i)
        {
            uint32_t time = PickTime(&random, &envelope);
            float expected = PlainEvaluateEnvelope(&envelope, &plainCache, time);
            float value = EvaluateEnvelope(&envelope, &cache, time);
            ASSERT_TRUE(IsSame(value, expected))
                << "run " << run << " at " << time << ": " << value << " for " << expected;
            ASSERT_EQ(cache.lastTime, plainCache.lastTime);
            ASSERT_TRUE(IsSame(cache.lastValue, plainCache.lastValue));
            numbers += std::isnan(value) ? 0 : 1;
        }
    }
    EXPECT_GT(numbers, 500000u); // of 600000: the comparison is about values
}

TEST(EnvelopePlain, RandomSplinesAreThoseOfThePlainFormAtEveryTick)
{
    Random random(7);
    for (uint32_t run = 0; run < 500; ++run)
    {
        Envelope envelope = {};
        envelope.valueType = static_cast<uint8_t>(run);
        envelope.pieceCount = 1;
        envelope.pieceType[0] = kFunctionSpline;
        envelope.pieceLength[0] = 0xFFFFFFFF;
        FillSpline(&random, envelope.pieceParams[0]);
        PrepareSplines(&envelope);
        EnvelopeCache cache = kEmptyEnvelopeCache;
        EnvelopeCache plainCache = kEmptyEnvelopeCache;
        for (uint32_t time = 0; time < 1000; ++time)
        {
            float expected = PlainEvaluateEnvelope(&envelope, &plainCache, time);
            float value = EvaluateEnvelope(&envelope, &cache, time);
            ASSERT_TRUE(IsSame(value, expected))
                << "run " << run << " at " << time << ": " << value << " for " << expected;
        }
    }
}
