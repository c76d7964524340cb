// SPDX-License-Identifier: MIT
#include "engine/animation/envelope.h"

#include <cmath>
#include <cstddef>
#include <cstring>
#include <gtest/gtest.h>
#include <iterator>
#include <limits>
#include <string>

#include "engine/animation/make_envelope.h"
#include "engine/data/fault.h"
#include "support/failing_memory.h"
#include "support/fault_text.h"

static constexpr float kInfinity = std::numeric_limits<float>::infinity();
static constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

/// A time in ticks and the value that is expected there.
struct TimeCase
{
    uint32_t time;
    float value;
};

template <size_t count>
static void CheckValues(PlayedEnvelope* envelope, const TimeCase (&cases)[count])
{
    for (const TimeCase& c : cases)
    {
        EXPECT_EQ(EvaluateEnvelope(envelope, c.time), c.value) << "at " << c.time;
    }
}

// ---- The cache

TEST(Envelope, WithoutPiecesIsOneAndLeavesTheCacheAlone)
{
    PlayedEnvelope envelope = MakeEnvelope();
    CheckValues(&envelope, {{0xFFFFFFFF, 1.0f}, {0, 1.0f}, {1, 1.0f}, {100000, 1.0f}});
    EXPECT_EQ(envelope.cache.lastTime, 0xFFFFFFFFu);
    EXPECT_EQ(envelope.cache.lastValue, 0.0f);
}

TEST(Envelope, AFirstCallAtTheLastTickGivesTheInitialZero)
{
    PlayedEnvelope envelope = MakeOnePiece(kFunctionConstant, {7.0f});
    EXPECT_EQ(EvaluateEnvelope(&envelope, 0xFFFFFFFF), 0.0f);
    EXPECT_EQ(EvaluateEnvelope(&envelope, 0), 7.0f);
    EXPECT_EQ(EvaluateEnvelope(&envelope, 0xFFFFFFFF), 7.0f); // now it is evaluated
}

TEST(Envelope, KeepsOneResultKeyedByTheTimeAlone)
{
    PlayedEnvelope envelope = MakeTimeEnvelope(kLoopOff, 0.0f, 0.0f);
    EXPECT_EQ(EvaluateEnvelope(&envelope, 10), 10.0f);
    EXPECT_EQ(envelope.cache.lastTime, 10u);
    EXPECT_EQ(envelope.cache.lastValue, 10.0f);

    envelope.cache.lastValue = 77.0f; // shows that a second call at the time evaluates nothing
    EXPECT_EQ(EvaluateEnvelope(&envelope, 10), 77.0f);
    EXPECT_EQ(EvaluateEnvelope(&envelope, 11), 11.0f);
    EXPECT_EQ(EvaluateEnvelope(&envelope, 10), 10.0f);
}

TEST(Envelope, TheCacheIsKeyedByTheTimeBeforeTheFold)
{
    PlayedEnvelope envelope = MakeTimeEnvelope(kLoopLoop, 0.0f, 100.0f);
    EXPECT_EQ(EvaluateEnvelope(&envelope, 150), 50.0f);
    EXPECT_EQ(envelope.cache.lastTime, 150u);
    envelope.cache.lastValue = 77.0f;
    EXPECT_EQ(EvaluateEnvelope(&envelope, 150), 77.0f);
    EXPECT_EQ(EvaluateEnvelope(&envelope, 50), 50.0f);
}

// ---- Pieces

TEST(Envelope, ATimeAtAPiecesLengthIsStillOfThatPiece)
{
    PlayedEnvelope envelope = MakeEnvelope();
    AddPiece(&envelope, kFunctionLinear, 100, {1.0f, 0.0f});
    AddPiece(&envelope, kFunctionLinear, 100, {1.0f, 0.0f});
    CheckValues(&envelope, {
                               {0, 0.0f},
                               {99, 99.0f},
                               {100, 100.0f}, // the first piece, at its end
                               {101, 1.0f},   // the second piece never sees 0
                               {200, 100.0f},
                               {201, 100.0f}, // held
                               {5000, 100.0f},
                               {0xFFFFFFFE, 100.0f},
                           });
}

TEST(Envelope, PiecesOfNoLengthArePassedOver)
{
    PlayedEnvelope envelope = MakeEnvelope();
    AddPiece(&envelope, kFunctionConstant, 0, {1.0f});
    AddPiece(&envelope, kFunctionConstant, 0, {2.0f});
    AddPiece(&envelope, kFunctionLinear, 10, {1.0f, 0.0f});
    AddPiece(&envelope, kFunctionLinear, 0, {1.0f, 50.0f});
    CheckValues(&envelope, {{0, 1.0f}, {1, 1.0f}, {10, 10.0f}, {11, 50.0f}, {12, 50.0f}});
    envelope.pieceCount = 3;
    CheckValues(&envelope, {{11, 10.0f}, {0, 1.0f}, {1, 1.0f}});
}

TEST(Envelope, PlaysAllSixteenPieces)
{
    PlayedEnvelope envelope = MakeEnvelope();
    for (uint32_t i = 0; i < kEnvelopePieces; ++i)
    {
        AddPiece(&envelope, kFunctionLinear, 10, {1.0f, static_cast<float>(1000 * i)});
    }
    for (uint32_t i = 0; i < kEnvelopePieces; ++i)
    {
        EXPECT_EQ(EvaluateEnvelope(&envelope, 10 * i + 1), static_cast<float>(1000 * i + 1));
        EXPECT_EQ(EvaluateEnvelope(&envelope, 10 * i + 10), static_cast<float>(1000 * i + 10));
    }
    EXPECT_EQ(EvaluateEnvelope(&envelope, 161), 15010.0f);
}

TEST(Envelope, LengthsAreUnsigned)
{
    PlayedEnvelope envelope = MakeEnvelope();
    AddPiece(&envelope, kFunctionConstant, 0x80000000, {1.0f});
    AddPiece(&envelope, kFunctionConstant, 0x80000000, {2.0f});
    CheckValues(&envelope, {{0x80000000, 1.0f}, {0x80000001, 2.0f}, {0xFFFFFFFE, 2.0f}});
}

// ---- Loops

TEST(Envelope, LoopFoldsStrictlyAfterItsEnd)
{
    PlayedEnvelope envelope = MakeTimeEnvelope(kLoopLoop, 1000.0f, 2000.0f);
    CheckValues(&envelope, {
                               {0, 0.0f},
                               {1500, 1500.0f},
                               {2000, 2000.0f}, // the end itself is played unfolded
                               {2001, 1001.0f},
                               {2999, 1999.0f},
                               {3000, 1000.0f}, // and is never reached again
                               {3001, 1001.0f},
                               {4000, 1000.0f},
                           });
}

TEST(Envelope, ALoopOfOneTickStaysAtItsBegin)
{
    PlayedEnvelope envelope = MakeTimeEnvelope(kLoopLoop, 1000.0f, 1001.0f);
    CheckValues(&envelope, {{1001, 1001.0f}, {1002, 1000.0f}, {1003, 1000.0f}});
}

TEST(Envelope, PingPongSwingsFromTheEnvelopesStart)
{
    PlayedEnvelope envelope = MakeTimeEnvelope(kLoopPingPong, 1000.0f, 2000.0f);
    CheckValues(&envelope, {
                               {1000, 1000.0f},
                               {2000, 2000.0f}, // the end itself is played unfolded
                               {2001, 999.0f},  // and then the jump
                               {2500, 500.0f},
                               {3000, 0.0f}, // the very start of the envelope
                               {3001, 1.0f},
                               {4000, 1000.0f},
                               {4001, 999.0f},
                               {5000, 0.0f},
                           });
}

TEST(Envelope, LoopEndsAreTruncated)
{
    PlayedEnvelope loop = MakeTimeEnvelope(kLoopLoop, 1000.9f, 2000.9f);
    CheckValues(&loop, {{2000, 2000.0f}, {2001, 1001.0f}, {3000, 1000.0f}, {3001, 1001.0f}});
    PlayedEnvelope pingPong = MakeTimeEnvelope(kLoopPingPong, 1000.9f, 2000.9f);
    CheckValues(&pingPong, {{2000, 2000.0f}, {2001, 999.0f}, {3000, 0.0f}, {3001, 1.0f}});
}

TEST(Envelope, LoopOffAndUnknownLoopsFoldNothing)
{
    const uint8_t loopTypes[] = {0, 3, 4, 255};
    for (uint8_t loopType : loopTypes)
    {
        PlayedEnvelope envelope = MakeTimeEnvelope(loopType, 1000.0f, 2000.0f);
        CheckValues(&envelope, {{2000, 2000.0f}, {2001, 2001.0f}, {9000, 9000.0f}});
    }
}

TEST(Envelope, ALoopOfNoLengthDoesNotFold)
{
    PlayedEnvelope loop = MakeTimeEnvelope(kLoopLoop, 1000.0f, 1000.0f);
    CheckValues(&loop, {{1000, 1000.0f}, {1001, 1001.0f}, {9000, 9000.0f}});
    PlayedEnvelope pingPong = MakeTimeEnvelope(kLoopPingPong, 1000.0f, 1000.0f);
    CheckValues(&pingPong, {{1000, 1000.0f}, {1001, 1001.0f}, {9000, 9000.0f}});
    PlayedEnvelope unset = MakeTimeEnvelope(kLoopPingPong, 0.0f, 0.0f);
    CheckValues(&unset, {{0, 0.0f}, {1, 1.0f}});
}

TEST(Envelope, APingPongWhoseSwingWrapsToNothingDoesNotFold)
{
    // Twice 2^31 is 0 in 32 bits. A loop of that length folds all the same: 2^31 + 1 onto 1.
    PlayedEnvelope pingPong = MakeTimeEnvelope(kLoopPingPong, 0.0f, 2147483648.0f);
    EXPECT_EQ(EvaluateEnvelope(&pingPong, 0x80000001), 2147483648.0f);
    EXPECT_EQ(EvaluateEnvelope(&pingPong, 0xC0000000), 3221225472.0f);
    PlayedEnvelope loop = MakeTimeEnvelope(kLoopLoop, 0.0f, 2147483648.0f);
    EXPECT_EQ(EvaluateEnvelope(&loop, 0x80000001), 1.0f);
}

TEST(Envelope, ALoopThatEndsBeforeItBeginsWraps)
{
    // L = 1000 - 2000 = 2^32 - 1000. 1001 - 2000 = 2^32 - 999, one more than L.
    PlayedEnvelope loop = MakeTimeEnvelope(kLoopLoop, 2000.0f, 1000.0f);
    CheckValues(&loop, {{1000, 1000.0f}, {1001, 2001.0f}, {1999, 2999.0f}, {2000, 2000.0f}});

    // 2 * L = 2^32 - 2000, which goes into 2^32 - 999 once: 1001, not more than L.
    PlayedEnvelope pingPong = MakeTimeEnvelope(kLoopPingPong, 2000.0f, 1000.0f);
    CheckValues(&pingPong, {{1000, 1000.0f}, {1001, 1001.0f}, {2000, 0.0f}, {2001, 1.0f}});
}

TEST(Envelope, LoopEndsKeepTheLow32BitsOfTheirTruncation)
{
    // -10 is 2^32 - 10, so L = 20. 11 - (-10) = 21, folds to 1, and 1 - 10 is 2^32 - 9.
    PlayedEnvelope negative = MakeTimeEnvelope(kLoopLoop, -10.0f, 10.0f);
    EXPECT_EQ(EvaluateEnvelope(&negative, 10), 10.0f);
    EXPECT_EQ(EvaluateEnvelope(&negative, 11), 4294967296.0f); // 2^32 - 9, rounded to a float
    EXPECT_EQ(EvaluateEnvelope(&negative, 21), 1.0f);          // 31 mod 20 = 11, and 11 - 10

    // A fraction between -1 and 0 truncates to 0.
    PlayedEnvelope fraction = MakeTimeEnvelope(kLoopLoop, -0.9f, 10.0f);
    CheckValues(&fraction, {{11, 1.0f}, {20, 0.0f}});

    // 2^32 + 512 is 512.
    PlayedEnvelope large = MakeTimeEnvelope(kLoopLoop, 0.0f, 4294967808.0f);
    CheckValues(&large, {{512, 512.0f}, {513, 1.0f}});

    // A time that 64 bits can't hold, or that is no number, is 0: loops of no length.
    const float outside[] = {1e30f, -1e30f, kInfinity, -kInfinity, kNaN};
    for (float end : outside)
    {
        PlayedEnvelope envelope = MakeTimeEnvelope(kLoopLoop, 0.0f, end);
        CheckValues(&envelope, {{1, 1.0f}, {5000, 5000.0f}});
        envelope.loopType = kLoopPingPong;
        CheckValues(&envelope, {{1, 1.0f}, {5001, 5001.0f}});
    }
}

TEST(Envelope, TheFoldedTimeSelectsThePiece)
{
    PlayedEnvelope envelope = MakeEnvelope();
    AddPiece(&envelope, kFunctionConstant, 10, {1.0f});
    AddPiece(&envelope, kFunctionConstant, 10, {2.0f});
    AddPiece(&envelope, kFunctionConstant, 10, {3.0f});
    envelope.loopType = kLoopLoop;
    envelope.loopBegin = 10.0f;
    envelope.loopEnd = 30.0f;
    CheckValues(&envelope, {
                               {30, 3.0f},
                               {31, 2.0f}, // 11
                               {40, 2.0f}, // 20
                               {41, 3.0f}, // 21
                               {50, 1.0f}, // 10 is still the first piece
                               {51, 2.0f},
                           });
}

// ---- Functions

TEST(Envelope, ConstantIsItsFirstParameter)
{
    PlayedEnvelope envelope = MakeOnePiece(kFunctionConstant, {-2.5f, 9.0f});
    CheckValues(&envelope, {{0, -2.5f}, {1, -2.5f}, {70000, -2.5f}});
}

TEST(Envelope, LinearIsSlopeAndOffset)
{
    PlayedEnvelope envelope = MakeOnePiece(kFunctionLinear, {0.5f, -3.0f});
    CheckValues(&envelope, {{0, -3.0f}, {1, -2.5f}, {6, 0.0f}, {1001, 497.5f}});
}

TEST(Envelope, LinearRoundsTheProductBeforeTheSum)
{
    // 35 * 2.9 + 1.1 in floats; with one rounding it would be 0x1.9a6668p+6.
    PlayedEnvelope envelope = MakeOnePiece(kFunctionLinear, {2.9f, 1.1f});
    EXPECT_EQ(EvaluateEnvelope(&envelope, 35), 0x1.9a6666p+6f);
}

TEST(Envelope, TimeRoundsToAFloat)
{
    PlayedEnvelope envelope = MakeOnePiece(kFunctionLinear, {1.0f, 0.0f});
    CheckValues(&envelope, {
                               {16777215, 16777215.0f},
                               {16777217, 16777216.0f}, // halfway, to the even neighbour
                               {16777219, 16777220.0f},
                               {4294967294, 4294967296.0f},
                           });
}

TEST(Envelope, QuadraticIsAParabolaAboutItsSecondParameter)
{
    PlayedEnvelope envelope = MakeOnePiece(kFunctionQuadratic, {2.0f, 3.0f, 5.0f});
    CheckValues(&envelope, {{0, 23.0f}, {1, 13.0f}, {3, 5.0f}, {4, 7.0f}, {13, 205.0f}});
}

TEST(Envelope, QuadraticMultipliesByTheDistanceTwice)
{
    // (0.2 * 41) * 41 in floats; 0.2 * (41 * 41) would be 0x1.503334p+8.
    PlayedEnvelope envelope = MakeOnePiece(kFunctionQuadratic, {0.2f, 0.0f, 0.0f});
    EXPECT_EQ(EvaluateEnvelope(&envelope, 41), 0x1.503332p+8f);
}

TEST(Envelope, SinusTakesRadians)
{
    PlayedEnvelope flat = MakeOnePiece(kFunctionSinus, {3.0f, 0.0f, 0.0f, 4.0f});
    CheckValues(&flat, {{0, 4.0f}, {9, 4.0f}});

    // sin(x * 0.5 - 0.25) * 2 + 10 at 3: sin(1.25) is 0.948984619, so 11.897969.
    PlayedEnvelope envelope = MakeOnePiece(kFunctionSinus, {2.0f, 0.5f, 0.25f, 10.0f});
    EXPECT_EQ(EvaluateEnvelope(&envelope, 3), 0x1.7cbc2ap+3f);
    EXPECT_EQ(EvaluateEnvelope(&envelope, 0), 0x1.302a88p+3f); // sin(-0.25): 9.505192
}

TEST(Envelope, SinusTimesXMultipliesByALine)
{
    PlayedEnvelope zero = MakeOnePiece(kFunctionSinusX, {1.0f, 0.0f, 0.0f, 4.0f, 100.0f});
    CheckValues(&zero, {{0, 4.0f}, {9, 4.0f}});

    // (x * 2 + 1) * sin(x * 0.5 - 0.25) + 10 at 3: 7 * 0.948984619 + 10.
    PlayedEnvelope envelope = MakeOnePiece(kFunctionSinusX, {2.0f, 0.5f, 0.25f, 10.0f, 1.0f});
    EXPECT_EQ(EvaluateEnvelope(&envelope, 3), 0x1.0a494ap+4f);
    EXPECT_EQ(EvaluateEnvelope(&envelope, 0), 0x1.381544p+3f); // 1 * -0.247403959 + 10
}

TEST(Envelope, AnUnknownFunctionGivesTheValueBefore)
{
    PlayedEnvelope envelope = MakeEnvelope();
    AddPiece(&envelope, kFunctionLinear, 10, {1.0f, 0.0f});
    AddPiece(&envelope, 6, 10, {5.0f});
    AddPiece(&envelope, 0xFFFFFFFF, 10, {5.0f});
    EXPECT_EQ(EvaluateEnvelope(&envelope, 15), 0.0f); // as loaded
    EXPECT_EQ(envelope.cache.lastTime, 15u);
    EXPECT_EQ(EvaluateEnvelope(&envelope, 7), 7.0f);
    EXPECT_EQ(EvaluateEnvelope(&envelope, 15), 7.0f);
    EXPECT_EQ(EvaluateEnvelope(&envelope, 25), 7.0f);
    EXPECT_EQ(envelope.cache.lastTime, 25u);
    EXPECT_EQ(envelope.cache.lastValue, 7.0f);
}

// ---- The spline

/// Twelve points, of which the last ones are zeros as documents write them.
static Envelope MakeSpline(std::initializer_list<float> points)
{
    return MakeOnePiece(kFunctionSpline, points);
}

TEST(EnvelopeSpline, PointsThatAreNotGivenEndFlat)
{
    PlayedEnvelope envelope = MakeSpline({0, 0, 1000, 5});
    CheckValues(&envelope, {
                               {0, 0.0f},
                               {250, 1.015625f}, // 0.5 * (10/8 + 15/16 - 10/64)
                               {500, 2.5f},      // 0.5 * (10/4 + 15/4 - 10/8)
                               {750, 3.984375f}, // 0.5 * (30/8 + 135/16 - 270/64)
                               {1000, 5.0f},
                               {1001, 5.0f},
                               {1010, 5.0f},
                               {1011, 5.0f},
                               {5000, 5.0f},
                               {1001009, 5.0f},
                               {1001010, 5.0f},
                               {4000000000, 5.0f},
                           });

    // The points 3 to 12 went to 1001 to 1010, the last knot lies 999999 further on.
    const float knots[] = {-1,   0,    1000, 1001, 1002, 1003, 1004,
                           1005, 1006, 1007, 1008, 1009, 1010, 1001009};
    for (uint32_t i = 0; i < std::size(knots); ++i)
    {
        EXPECT_EQ(envelope.splines[0].knots[i], knots[i]) << i;
    }
    EXPECT_EQ(envelope.pieceParams[0][4], 0.0f); // the record keeps what the document gave
}

TEST(EnvelopeSpline, AFallingKnotCollapsesOntoItsPredecessor)
{
    PlayedEnvelope envelope = MakeSpline(
        {100, 1, 90, 2, 80, 3, 70, 4, 60, 5, 50, 6, 40, 7, 30, 8, 20, 9, 10, 10, 0, 11, -10, 12});
    CheckValues(
        &envelope,
        {{0, 1.0f}, {99, 1.0f}, {100, 1.0f}, {101, 1.0f}, {111, 1.0f}, {112, 1.0f}, {9000, 1.0f}});
    for (uint32_t i = 0; i < 13; ++i)
    {
        EXPECT_EQ(envelope.splines[0].knots[i], static_cast<float>(99 + i)) << i;
    }
}

TEST(EnvelopeSpline, AKnotExactlyOneTickBehindStays)
{
    // 8.5 is half a tick behind 8: it moves to 9 and takes y 1. 10 is a tick behind that.
    PlayedEnvelope envelope = MakeSpline({0, 0, 8, 1, 8.5f, 2, 10, 3});
    CheckValues(&envelope, {{8, 1.0f}, {9, 1.0f}, {10, 3.0f}, {11, 3.0f}});
}

TEST(EnvelopeSpline, PassesThroughEveryKnot)
{
    PlayedEnvelope envelope = MakeSpline({0,   3, 8,   -4, 24,  16, 32,  1,  64,  -9,  128, 40,
                                          136, 2, 200, 11, 264, 80, 296, -7, 328, 100, 336, 50});
    for (uint32_t k = 0; k < kSplinePoints; ++k)
    {
        uint32_t x = static_cast<uint32_t>(envelope.pieceParams[0][2 * k]);
        EXPECT_EQ(EvaluateEnvelope(&envelope, x), envelope.pieceParams[0][2 * k + 1]) << x;
    }
}

TEST(EnvelopeSpline, CarriesNeighbouringSlopesOverToUnevenSegments)
{
    // From (64, 8) to (192, 40): the slope before is 1/8, the one behind -1/8, so over 128 ticks
    // P0 = 8 - 16 and P3 = 40 - 16. Then 0.5 * (16 + 48u + 80u^2 - 64u^3).
    PlayedEnvelope envelope = MakeSpline({0, 0, 64, 8, 192, 40, 256, 32});
    CheckValues(&envelope, {
                               {64, 8.0f},
                               {96, 16.0f},  // 0.5 * (16 + 12 + 5 - 1)
                               {128, 26.0f}, // 0.5 * (16 + 24 + 20 - 8)
                               {160, 35.0f}, // 0.5 * (16 + 36 + 45 - 27)
                               {192, 40.0f},
                           });
}

TEST(EnvelopeSpline, TheSegmentBeforeTheFirstPointHasItsValueAtBothEnds)
{
    // From -0.5 to 0.5, at its middle: P0 = P1 = P2 = 10, and the slope of 1 behind makes P3 = 11.
    // 0.5 * (20 - 1/4 + 1/8).
    PlayedEnvelope envelope = MakeSpline({0.5f, 10, 100.5f, 110});
    EXPECT_EQ(EvaluateEnvelope(&envelope, 0), 9.9375f);

    PlayedEnvelope whole = MakeSpline({1, 10, 101, 110});
    CheckValues(&whole, {{0, 10.0f}, {1, 10.0f}});
}

TEST(EnvelopeSpline, RunsOnAtHalfTheSlopePastTheLastPoint)
{
    // The last slope is 1. Behind x = 1100 the segment is 999999 ticks long.
    PlayedEnvelope envelope = MakeSpline({0,   0, 100, 0, 200, 0, 300, 0, 400,  0, 500,  0,
                                          600, 0, 700, 0, 800, 0, 900, 0, 1000, 0, 1100, 100});
    CheckValues(&envelope, {
                               {1000, 0.0f},
                               {1100, 100.0f},
                               {1101, 100.5f},
                               {1102, 0x1.93fffep+6f}, // 101, but for rounding
                               {1110, 0x1.a3ffe6p+6f}, // 105
                               {1200, 0x1.2bfae2p+7f}, // 150
                               {501099, 62600.0f},     // halfway
                               {1001099, 100.0f},      // and back at its end
                               {1001100, 100.0f},      // held from here on
                               {2000000, 100.0f},
                           });
}

TEST(EnvelopeSpline, HoldsTheFirstValueUpToATickBeforeTheFirstPoint)
{
    PlayedEnvelope envelope = MakeSpline({10, 3, 26, 19});
    CheckValues(&envelope, {
                               {0, 3.0f},
                               {9, 3.0f}, // x1 - 1
                               {10, 3.0f},
                               {18, 11.0f}, // 0.5 * (6 + 16/2 + 48/4 - 32/8)
                               {26, 19.0f},
                           });
}

TEST(EnvelopeSpline, HasNoValueWhereItsEndMeetsTheSentinel)
{
    // The last point at 9000000 puts the knot after it on 9999999, where the last sentinel lies:
    // the slope between the two is 0 / 0. A tick earlier there is one.
    PlayedEnvelope meets = MakeSpline(
        {0, 1, 10, 1, 20, 1, 30, 1, 40, 1, 50, 1, 60, 1, 70, 1, 80, 1, 90, 1, 100, 1, 9000000, 1});
    EXPECT_EQ(EvaluateEnvelope(&meets, 9000000), 1.0f);
    EXPECT_TRUE(std::isnan(EvaluateEnvelope(&meets, 9000001)));
    EXPECT_EQ(EvaluateEnvelope(&meets, 10000000), 1.0f); // held

    PlayedEnvelope misses = meets;
    misses.pieceParams[0][22] = 8999999.0f;
    PrepareSplines(&misses);
    EXPECT_EQ(EvaluateEnvelope(&misses, 9000001), 1.0f);
}

TEST(EnvelopeSpline, EachPieceHasItsOwn)
{
    PlayedEnvelope envelope = MakeEnvelope();
    for (uint32_t i = 0; i < kEnvelopePieces; ++i)
    {
        AddPiece(&envelope, kFunctionSpline, 10, {0, static_cast<float>(i), 8, 100});
    }
    for (uint32_t i = 0; i < kEnvelopePieces; ++i)
    {
        EXPECT_EQ(EvaluateEnvelope(&envelope, 10 * i + 8), 100.0f);
    }
    EXPECT_EQ(EvaluateEnvelope(&envelope, 0), 0.0f); // only the first piece sees its start
    for (uint32_t i = 1; i < kEnvelopePieces; ++i)
    {
        EXPECT_EQ(envelope.splines[i].firstY, static_cast<float>(i));
    }
}

TEST(EnvelopeSpline, IsMadeReadyForSplinePiecesAlone)
{
    Envelope envelope = {};
    memset(static_cast<void*>(envelope.splines), 0xEE, sizeof(envelope.splines));
    AddPiece(&envelope, kFunctionConstant, 10, {1.0f});
    AddPiece(&envelope, kFunctionSpline, 10, {0, 2, 8, 100});
    const Envelope before = envelope;

    PlayedEnvelope played = envelope;
    EXPECT_EQ(EvaluateEnvelope(&played, 10), 1.0f);
    EXPECT_EQ(EvaluateEnvelope(&played, 18), 100.0f);
    EXPECT_EQ(memcmp(static_cast<const void*>(static_cast<const Envelope*>(&played)),
                     static_cast<const void*>(&before), sizeof(before)),
              0);

    uint8_t untouched[sizeof(PreparedSpline)];
    memset(untouched, 0xEE, sizeof(untouched));
    EXPECT_EQ(memcmp(static_cast<const void*>(&envelope.splines[0]), untouched, sizeof(untouched)),
              0);
    EXPECT_NE(memcmp(static_cast<const void*>(&envelope.splines[1]), untouched, sizeof(untouched)),
              0);
}

TEST(Envelope, TwoStatesOfOneEnvelopeDoNotMeet)
{
    const Envelope envelope = MakeTimeEnvelope(kLoopOff, 0.0f, 0.0f);
    EnvelopeCache first = kEmptyEnvelopeCache;
    EnvelopeCache second = kEmptyEnvelopeCache;
    EXPECT_EQ(EvaluateEnvelope(&envelope, &first, 10), 10.0f);
    EXPECT_EQ(EvaluateEnvelope(&envelope, &second, 20), 20.0f);
    EXPECT_EQ(first.lastTime, 10u);
    EXPECT_EQ(first.lastValue, 10.0f);
    EXPECT_EQ(second.lastTime, 20u);
}

TEST(EnvelopeSpline, OfKnotsThatAreNoNumbersHoldsTheLastValue)
{
    PlayedEnvelope envelope = MakeSpline({kNaN, 1, kNaN, 2, kNaN, 3, kNaN, 4,  kNaN, 5,  kNaN, 6,
                                          kNaN, 7, kNaN, 8, kNaN, 9, kNaN, 10, kNaN, 11, kNaN, 12});
    CheckValues(&envelope, {{0, 12.0f}, {1, 12.0f}, {1000000, 12.0f}, {0xFFFFFFFE, 12.0f}});
}

TEST(EnvelopeSpline, PassesOverAKnotThatIsNoNumber)
{
    // Segments that look at the second point, for themselves or for a neighbour, have no value.
    PlayedEnvelope envelope = MakeSpline({8, 1, kNaN, 2, 64, 3, 128, 3, 192, 3, 256, 3});
    EXPECT_EQ(EvaluateEnvelope(&envelope, 7), 1.0f);
    EXPECT_TRUE(std::isnan(EvaluateEnvelope(&envelope, 8)));
    EXPECT_TRUE(std::isnan(EvaluateEnvelope(&envelope, 32)));
    EXPECT_TRUE(std::isnan(EvaluateEnvelope(&envelope, 100)));
    EXPECT_EQ(EvaluateEnvelope(&envelope, 160), 3.0f);
    EXPECT_EQ(EvaluateEnvelope(&envelope, 9000), 3.0f);
}

TEST(EnvelopeSpline, ValuesThatAreNoNumbersStayWithTheirSegments)
{
    PlayedEnvelope envelope = MakeSpline({0, 1, 64, 1, 128, kNaN, 192, 1, 256, 1, 320, 1});
    EXPECT_EQ(EvaluateEnvelope(&envelope, 0), 1.0f);
    EXPECT_TRUE(std::isnan(EvaluateEnvelope(&envelope, 32)));  // its neighbour's slope
    EXPECT_TRUE(std::isnan(EvaluateEnvelope(&envelope, 230))); // likewise
    EXPECT_EQ(EvaluateEnvelope(&envelope, 300), 1.0f);
}

TEST(EnvelopeSpline, KnotsAtInfinityHoldWhatTheyCan)
{
    PlayedEnvelope before = MakeSpline({kInfinity, 4, 8, 5});
    CheckValues(&before, {{0, 4.0f}, {100, 4.0f}, {0xFFFFFFFE, 4.0f}});

    PlayedEnvelope behind = MakeSpline({0, 4, kInfinity, 5});
    EXPECT_EQ(EvaluateEnvelope(&behind, 0), 4.0f);
    EXPECT_TRUE(std::isnan(EvaluateEnvelope(&behind, 1))); // on a segment without an end

    // Everything lies past -infinity, but a knot is found as soon as one lies ahead again.
    PlayedEnvelope falling = MakeSpline({-kInfinity, 4, 16, 5, 32, 6, 48, 6, 64, 6});
    EXPECT_TRUE(std::isnan(EvaluateEnvelope(&falling, 8)));
    EXPECT_EQ(EvaluateEnvelope(&falling, 56), 6.0f);
}

TEST(EnvelopeSpline, KnotsTooLargeToLieATickApartCoincide)
{
    // From 2^25 on the next float is 4 away: a tick more is the same float, and knots coincide.
    PlayedEnvelope envelope = MakeSpline({0, 0, 33554432, 8, 33554432, 9, 33554432, 10});
    EXPECT_EQ(EvaluateEnvelope(&envelope, 0), 0.0f);
    EXPECT_EQ(envelope.splines[0].knots[3], 33554432.0f);
    EXPECT_EQ(envelope.splines[0].knots[12], 33554432.0f);
    EXPECT_EQ(EvaluateEnvelope(&envelope, 0xFFFFFFFE), 10.0f);
}

// ---- Reading

/// Reads an item into a record of zeros, as those of a table are.
/// @param faults   for FreeFaults; receives what is wrong
static bool ReadItem(const char* text, Envelope* envelope, FaultList* faults)
{
    TiXmlDocument document;
    document.Parse(text);
    EXPECT_FALSE(document.Error());
    StartFaults(faults);
    faults->place = PlaceAt("demo.xmlz", Section::kEnvelopes, 2);
    ReadContext context = {};
    context.faults = faults;
    return ReadEnvelopeItem(document.FirstChildElement(), envelope, 1, &context);
}

static PlayedEnvelope ReadEnvelope(const char* text)
{
    Envelope envelope = {};
    FaultList faults;
    EXPECT_TRUE(ReadItem(text, &envelope, &faults));
    EXPECT_EQ(faults.place.part, 0u);
    EXPECT_EQ(FaultText(faults), "");
    FreeFaults(&faults);
    return envelope;
}

/// The line that a text's fault prints.
static std::string ReadFault(const char* text)
{
    Envelope envelope = {};
    FaultList faults;
    EXPECT_FALSE(ReadItem(text, &envelope, &faults));
    std::string line = FaultText(faults);
    FreeFaults(&faults);
    return line;
}

TEST(EnvelopeReading, TakesAllThatADocumentGives)
{
    PlayedEnvelope envelope =
        ReadEnvelope("<envelope type='2' loop_type='1' loop_begin='10.5' loop_end='20.25'>"
                     "<piece type='1' length='100'><a>0.5</a><b>-3</b></piece>"
                     "<piece type='5' length='4294967295'>"
                     "<p>1</p><p>2e1</p><p> 3.25 </p><p>4</p><p>5.5rest</p></piece>"
                     "</envelope>");
    EXPECT_EQ(envelope.valueType, 2);
    EXPECT_EQ(envelope.loopType, 1);
    EXPECT_EQ(envelope.loopBegin, 10.5f);
    EXPECT_EQ(envelope.loopEnd, 20.25f);
    ASSERT_EQ(envelope.pieceCount, 2);

    EXPECT_EQ(envelope.pieceType[0], 1u);
    EXPECT_EQ(envelope.pieceLength[0], 100u);
    EXPECT_EQ(envelope.pieceParams[0][0], 0.5f);
    EXPECT_EQ(envelope.pieceParams[0][1], -3.0f);
    EXPECT_EQ(envelope.pieceParams[0][2], 0.0f); // not given

    EXPECT_EQ(envelope.pieceType[1], 5u);
    EXPECT_EQ(envelope.pieceLength[1], 4294967295u);
    const float params[] = {1.0f, 20.0f, 3.25f, 4.0f, 5.5f, 0.0f};
    for (uint32_t i = 0; i < std::size(params); ++i)
    {
        EXPECT_EQ(envelope.pieceParams[1][i], params[i]) << i;
    }
}

TEST(EnvelopeReading, TakesNoMemory)
{
    TiXmlDocument document;
    document.Parse("<e type='0' loop_type='0' loop_begin='0' loop_end='0'>"
                   "<p type='4' length='9'><a>1</a></p></e>");
    FaultList faults;
    StartFaults(&faults);
    ReadContext context = {};
    context.faults = &faults;
    Envelope envelope = {};
    FailAllocation(1);
    EXPECT_TRUE(ReadEnvelopeItem(document.RootElement(), &envelope, 0, &context));
    EnvelopeCache cache = kEmptyEnvelopeCache;
    EvaluateEnvelope(&envelope, &cache, 5);
    EXPECT_EQ(AllowAllocations(), 0u);
}

TEST(EnvelopeReading, ElementNamesSayNothing)
{
    PlayedEnvelope envelope =
        ReadEnvelope("<anything type='0' loop_type='0' loop_begin='0' loop_end='0'>"
                     "<b type='0' length='5'><value>7</value></b>"
                     "<a length='6' type='0'><other>8</other></a></anything>");
    ASSERT_EQ(envelope.pieceCount, 2);
    EXPECT_EQ(envelope.pieceLength[0], 5u);
    EXPECT_EQ(EvaluateEnvelope(&envelope, 5), 7.0f);
    EXPECT_EQ(EvaluateEnvelope(&envelope, 6), 8.0f);
}

TEST(EnvelopeReading, ACommentAsAFirstChildStandsInTheTextsPlace)
{
    PlayedEnvelope envelope =
        ReadEnvelope("<e type='0' loop_type='0' loop_begin='0' loop_end='0'>"
                     "<p type='1' length='9'><a><!--x-->5</a><b><!--6-->7</b></p>"
                     "</e>");
    EXPECT_EQ(envelope.pieceParams[0][0], 0.0f);
    EXPECT_EQ(envelope.pieceParams[0][1], 6.0f);
}

TEST(EnvelopeReading, TypesKeepTheirLowEightBits)
{
    PlayedEnvelope envelope =
        ReadEnvelope("<e type='259' loop_type='258' loop_begin='0' loop_end='0'/>");
    EXPECT_EQ(envelope.valueType, 3);
    EXPECT_EQ(envelope.loopType, 2);
    EXPECT_EQ(envelope.pieceCount, 0);
    EXPECT_EQ(EvaluateEnvelope(&envelope, 0), 1.0f);

    PlayedEnvelope negative =
        ReadEnvelope("<e type='-1' loop_type='-255' loop_begin='0' loop_end='0'/>");
    EXPECT_EQ(negative.valueType, 255);
    EXPECT_EQ(negative.loopType, 1);
}

TEST(EnvelopeReading, PieceTypesAndLengthsKeep32Bits)
{
    PlayedEnvelope envelope = ReadEnvelope("<e type='0' loop_type='0' loop_begin='0' loop_end='0'>"
                                           "<p type='256' length='-1'/>"
                                           "<p type='-1' length='4294967297'/></e>");
    EXPECT_EQ(envelope.pieceType[0], 256u);
    EXPECT_EQ(envelope.pieceLength[0], 0xFFFFFFFFu);
    EXPECT_EQ(envelope.pieceType[1], 0xFFFFFFFFu);
    EXPECT_EQ(envelope.pieceLength[1], 1u);
}

TEST(EnvelopeReading, NoNumberIsZeroAndLoopEndsKeepTheirFractions)
{
    PlayedEnvelope envelope =
        ReadEnvelope("<e type='x' loop_type='' loop_begin='1000.9' loop_end='y'>"
                     "<p type='7up' length='12.9'><a>seven</a><b>1e3</b></p></e>");
    EXPECT_EQ(envelope.valueType, 0);
    EXPECT_EQ(envelope.loopType, 0);
    EXPECT_EQ(envelope.loopBegin, 1000.9f);
    EXPECT_EQ(envelope.loopEnd, 0.0f);
    EXPECT_EQ(envelope.pieceType[0], 7u);
    EXPECT_EQ(envelope.pieceLength[0], 12u);
    EXPECT_EQ(envelope.pieceParams[0][0], 0.0f);
    EXPECT_EQ(envelope.pieceParams[0][1], 1000.0f);
}

TEST(EnvelopeReading, ValuesNarrowFromDoubleOnce)
{
    // Halfway between two floats but for the last digit, which only a double sees.
    PlayedEnvelope envelope =
        ReadEnvelope("<e type='0' loop_type='0' loop_begin='16777217.0001' loop_end='0'>"
                     "<p type='0' length='1'><a>16777217</a><b>0.1</b></p></e>");
    EXPECT_EQ(envelope.loopBegin, 16777218.0f);
    EXPECT_EQ(envelope.pieceParams[0][0], 16777216.0f);
    EXPECT_EQ(envelope.pieceParams[0][1], 0x1.99999ap-4f);
}

TEST(EnvelopeReading, APieceWithoutParametersHasZeros)
{
    PlayedEnvelope envelope = ReadEnvelope("<e type='0' loop_type='0' loop_begin='0' loop_end='0'>"
                                           "<p type='4' length='100'/></e>");
    ASSERT_EQ(envelope.pieceCount, 1);
    for (float param : envelope.pieceParams[0])
    {
        EXPECT_EQ(param, 0.0f);
    }
    EXPECT_EQ(EvaluateEnvelope(&envelope, 50), 0.0f);
}

TEST(EnvelopeReading, ReadsASplineOfAllParametersAndSixteenPieces)
{
    std::string text = "<e type='0' loop_type='0' loop_begin='0' loop_end='0'>";
    for (int piece = 0; piece < 16; ++piece)
    {
        text += "<p type='4' length='24'>";
        for (int k = 0; k < 12; ++k)
        {
            text += "<x>" + std::to_string(2 * k) + "</x><y>" + std::to_string(k + piece) + "</y>";
        }
        text += "</p>";
    }
    text += "</e>";

    PlayedEnvelope envelope = ReadEnvelope(text.c_str());
    ASSERT_EQ(envelope.pieceCount, 16);
    for (int piece = 0; piece < 16; ++piece)
    {
        EXPECT_EQ(envelope.pieceParams[piece][22], 22.0f);
        EXPECT_EQ(envelope.pieceParams[piece][23], static_cast<float>(11 + piece));
        uint32_t time = static_cast<uint32_t>(24 * piece + 22);
        EXPECT_EQ(EvaluateEnvelope(&envelope, time), static_cast<float>(11 + piece));
    }
}

TEST(EnvelopeReading, NumbersThatAreNoneDoNoHarm)
{
    // strtod knows these words.
    PlayedEnvelope envelope =
        ReadEnvelope("<e type='0' loop_type='2' loop_begin='nan' loop_end='inf'>"
                     "<p type='4' length='100'><x>nan</x><y>inf</y><x>-inf</x>"
                     "<y>nan</y><x>1e999</x><y>-1e999</y></p></e>");
    EXPECT_TRUE(std::isnan(envelope.loopBegin));
    EXPECT_EQ(envelope.loopEnd, kInfinity);
    for (uint32_t time = 0; time < 200; ++time)
    {
        EvaluateEnvelope(&envelope, time);
        EXPECT_EQ(envelope.cache.lastTime, time);
    }
}

TEST(EnvelopeReading, EveryAttributeIsRequired)
{
    struct MissingCase
    {
        const char* text;
        const char* fault;
    };
    const MissingCase cases[] = {
        {"<e loop_type='0' loop_begin='0' loop_end='0'/>",
         ": attribute \"type\" of <e> is missing"},
        {"<e type='0' loop_begin='0' loop_end='0'/>",
         ": attribute \"loop_type\" of <e> is missing"},
        {"<e type='0' loop_type='0' loop_end='0'/>",
         ": attribute \"loop_begin\" of <e> is missing"},
        {"<e type='0' loop_type='0' loop_begin='0'/>",
         ": attribute \"loop_end\" of <e> is missing"},
        {"<e type='0' loop_type='0' loop_begin='0' loop_end='0'><p type='0' length='1'/>"
         "<p length='1'/></e>",
         ", piece 2: attribute \"type\" of <p> is missing"},
        {"<e type='0' loop_type='0' loop_begin='0' loop_end='0'><p type='0'/></e>",
         ", piece 1: attribute \"length\" of <p> is missing"},
    };
    for (const MissingCase& c : cases)
    {
        EXPECT_EQ(ReadFault(c.text),
                  std::string("quorvale: demo.xmlz, section 3 (envelopes), item 2") + c.fault +
                      "\n");
    }
}

TEST(EnvelopeReading, ChildrenAreElementsWithText)
{
    EXPECT_EQ(
        ReadFault("<e type='0' loop_type='0' loop_begin='0' loop_end='0'>words</e>"),
        "quorvale: demo.xmlz, section 3 (envelopes), item 2, piece 1: piece is not an element\n");
    EXPECT_EQ(ReadFault("<e type='0' loop_type='0' loop_begin='0' loop_end='0'>"
                        "<p type='0' length='1'>5</p></e>"),
              "quorvale: demo.xmlz, section 3 (envelopes), item 2, piece 1: parameter is not an "
              "element\n");
    EXPECT_EQ(ReadFault("<e type='0' loop_type='0' loop_begin='0' loop_end='0'>"
                        "<p type='0' length='1'><a/></p></e>"),
              "quorvale: demo.xmlz, section 3 (envelopes), item 2, piece 1: <a> has no text\n");
}

TEST(EnvelopeReading, MoreThanSixteenPiecesAreTooMany)
{
    std::string text = "<e type='0' loop_type='0' loop_begin='0' loop_end='0'>";
    for (int piece = 0; piece < 17; ++piece)
    {
        text += "<p type='0' length='1'/>";
    }
    text += "</e>";
    EXPECT_EQ(
        ReadFault(text.c_str()),
        "quorvale: demo.xmlz, section 3 (envelopes), item 2, piece 17: more than 16 pieces\n");
}

TEST(EnvelopeReading, MoreThanTwentyFourParametersAreTooMany)
{
    std::string text = "<e type='0' loop_type='0' loop_begin='0' loop_end='0'>"
                       "<p type='0' length='1'>";
    for (int param = 0; param < 25; ++param)
    {
        text += "<a>1</a>";
    }
    text += "</p></e>";
    EXPECT_EQ(
        ReadFault(text.c_str()),
        "quorvale: demo.xmlz, section 3 (envelopes), item 2, piece 1: more than 24 parameters\n");
}
