// Envelopes: what moves in a piece. A function of time in up to sixteen consecutive pieces, with an
// optional loop, and a cache of the last value.
//
// Time is counted in ticks of 10 ms, unsigned 32-bit. Function arithmetic is 32-bit float; loop and
// piece arithmetic is unsigned 32-bit and wraps.
#pragma once

#include <cstdint>

#include "engine/data/demo_document.h"
#include "engine/data/vocabulary_numbers.h"

inline constexpr uint32_t kNothingCached = 0xFFFFFFFF;

inline constexpr uint32_t kSplineSegments = 13; // up to each point, and one that runs on behind

/// What does not depend on the time in one segment of a spline, from a knot to the next. With u
/// from 0 to 1 along the segment, twice the value is
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
    float knots[16]; // ticks; [i] in front of segment i, [13] behind the last, then infinity
    float firstY;    // the value up to knots[0]
    float lastY;     // the value past knots[13]
    SplineSegment segments[kSplineSegments];
};

/// Filled once and not edited. What changes afterwards is the cached result, and that the splines
/// are made ready when the first of them is played. A record filled by hand starts from zeros.
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
    float lastValue;                                     // the cached result
    uint32_t lastTime;                                   // its time; kNothingCached at first
    bool splinesReady;                                   // splines is filled for all such pieces
    PreparedSpline splines[kEnvelopePieces];             // [piece], unset for other functions
};

/// The value of an envelope at a time in ticks. 1.0 with no pieces. Keeps the result in the record,
/// so a second call at the same time costs a comparison. Never fails: a piece of an unknown
/// function gives the value before, a spline at or before the knot in front of its first point
/// gives y1, one past its last knot the last y, and a loop of no length does not fold.
float EvaluateEnvelope(Envelope* envelope, uint32_t time);

/// Section 3: one envelope. Fatal: a missing attribute, more than 16 pieces or 24 parameters.
void ReadEnvelopeItem(const TiXmlElement* item, void* record, uint32_t index, LoadContext* context);
