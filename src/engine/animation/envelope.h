// Envelopes: what moves in a piece. A function of time in up to sixteen consecutive pieces, with an
// optional loop, and a cache of the last value.
//
// Time is counted in ticks of 10 ms, unsigned 32-bit. Function arithmetic is 32-bit float; loop and
// piece arithmetic is unsigned 32-bit and wraps.
#pragma once

#include <cstdint>

#include "engine/data/demo_document.h"

inline constexpr uint32_t kEnvelopePieces = 16;
inline constexpr uint32_t kEnvelopeParams = 24;
inline constexpr uint32_t kNothingCached = 0xFFFFFFFF;

enum EnvelopeFunction : uint32_t
{
    kFunctionConstant = 0,  // a
    kFunctionLinear = 1,    // a * x + b
    kFunctionQuadratic = 2, // a * (x - b)^2 + c
    kFunctionSinus = 3,     // a * sin(x * b - c) + d
    kFunctionSpline = 4,    // through x1, y1 ... x12, y12
    kFunctionSinusX = 5,    // (a * x + e) * sin(x * b - c) + d
};

enum EnvelopeLoop : uint8_t
{
    kLoopOff = 0,
    kLoopLoop = 1,
    kLoopPingPong = 2,
};

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
};

/// The value of an envelope at a time in ticks. 1.0 with no pieces. Keeps the result in the record,
/// so a second call at the same time costs a comparison. Never fails: a piece of an unknown
/// function gives the value before, a spline at or before the knot in front of its first point
/// gives y1, one past its last knot the last y, and a loop of no length does not fold.
float EvaluateEnvelope(Envelope* envelope, uint32_t time);

/// Section 3: one envelope. Fatal: a missing attribute, more than 16 pieces or 24 parameters.
void ReadEnvelopeItem(const TiXmlElement* item, void* record, uint32_t index, LoadContext* context);
