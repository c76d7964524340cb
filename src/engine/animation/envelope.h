// SPDX-License-Identifier: MIT

// Envelopes: what moves in a piece. A function of time in up to sixteen consecutive pieces, with an
// optional loop.
//
// Time is counted in ticks of 10 ms, unsigned 32-bit. Function arithmetic is 32-bit float; loop and
// piece arithmetic is unsigned 32-bit and wraps.
#pragma once

#include <cstdint>

#include "engine/data/demo_document.h"
#include "engine/data/vocabulary_numbers.h"

inline constexpr uint32_t kNothingCached = 0xFFFFFFFF;

inline constexpr uint32_t kSplineSegments =
    13; // up to each point, and one that runs on after the last

/// The part of one segment of a spline, from a knot to the next, that does not depend on the time.
/// With u from 0 to 1 along the segment, twice the value is
///   (constant + linear * u) + square * u * u + (cube * (u * u)) * u
struct SplineSegment
{
    float dx; // ticks
    float constant;
    float linear;
    float square;
    float cube;
};

/// A spline piece made ready: its knots are repaired.
struct PreparedSpline
{
    float knots[16]; // ticks; [i] before segment i, [13] after the last, then infinity
    float firstY;    // the value up to knots[0]
    float lastY;     // the value past knots[13]
    SplineSegment segments[kSplineSegments];
};

/// Not edited after reading; what changes while a piece plays stands in an EnvelopeCache.
struct Envelope
{
    uint8_t valueType;                                   // stored, read by nothing
    uint8_t pieceCount;                                  // 0 to 16
    uint32_t pieceType[kEnvelopePieces];                 // EnvelopeFunction
    uint32_t pieceLength[kEnvelopePieces];               // ticks
    float pieceParams[kEnvelopePieces][kEnvelopeParams]; // in document order; 0 where none is given
    uint8_t loopType;                                    // EnvelopeLoop
    float loopBegin;                                     // ticks, truncated at each use
    float loopEnd;                                       // ticks, truncated at each use
    PreparedSpline splines[kEnvelopePieces];             // [piece], unset for other functions
};

/// The last result of an envelope. A piece of an unknown function repeats it, so it is part of the
/// state of a piece that plays.
struct EnvelopeCache
{
    float lastValue;   // 0.0 at first
    uint32_t lastTime; // ticks, the time of lastValue; kNothingCached at first
};

/// A cache before the first evaluation.
inline constexpr EnvelopeCache kEmptyEnvelopeCache = {0.0f, kNothingCached};

/// The value of an envelope at a time in ticks. 1.0 with no pieces. Keeps the result in the cache,
/// so a second call at the same time costs a comparison. Never fails: a piece of an unknown
/// function gives the value before, a spline at or before the knot before its first point
/// gives y1, one past its last knot the last y, and a loop of no length does not fold.
float EvaluateEnvelope(const Envelope* envelope, EnvelopeCache* cache, uint32_t time);

/// Makes the spline pieces of a record ready, from their parameters. ReadEnvelopeItem does it; a
/// record filled by hand needs it before it is evaluated.
void PrepareSplines(Envelope* envelope);

/// Reads one item of section 3. Faults: a missing attribute, more than kEnvelopePieces pieces or
/// kEnvelopeParams parameters.
/// @param record   an Envelope
bool ReadEnvelopeItem(const TiXmlElement* item, void* record, uint32_t index, ReadContext* context);
