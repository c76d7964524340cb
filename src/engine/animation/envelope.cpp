// SPDX-License-Identifier: MIT
#include "engine/animation/envelope.h"

#include <bit>
#include <cmath>
#include <emmintrin.h>
#include <limits>

#include "engine/data/document_values.h"
#include "engine/data/fault.h"
#include "engine/data/numeric.h"

/// The repaired knots of a spline: [1] and [2] to [13] from the parameters, the rest sentinels that
/// give the first and last segments a neighbour.
struct SplineKnots
{
    float x[16]; // ticks
    float y[16];
};

static SplineKnots RepairKnots(const float* params)
{
    SplineKnots knots;
    knots.x[0] = -999999.0f;
    knots.y[0] = params[1];
    knots.x[1] = params[0] - 1.0f;
    knots.y[1] = params[1];
    for (uint32_t k = 1; k <= kSplinePoints; ++k)
    {
        knots.x[k + 1] = params[2 * k - 2];
        knots.y[k + 1] = params[2 * k - 1];
    }

    // A knot less than a tick after its predecessor moves and takes the predecessor's y. Documents
    // count on it: they write the points that a curve lacks as zeros, and those end flat.
    for (uint32_t k = 2; k <= 13; ++k)
    {
        if (knots.x[k - 1] + 1.0f > knots.x[k])
        {
            knots.x[k] = knots.x[k - 1] + 1.0f;
            knots.y[k] = knots.y[k - 1];
        }
    }

    knots.x[14] = knots.x[13] + 999999.0f;
    knots.y[14] = knots.y[13];
    knots.x[15] = 9999999.0f;
    knots.y[15] = knots.y[13];
    return knots;
}

/// The segment from knot j - 1 to knot j, 2 to 14.
///
/// With u from 0 to 1 along the segment its value is
///   0.5 * ((2 * p1 + (p2 - p0) * u) + (2 * p0 - 5 * p1 + 4 * p2 - p3) * u * u
///          + ((3 * p1 - p0 - 3 * p2 + p3) * (u * u)) * u)
/// where p1 and p2 are the y of the two knots. p0 and p3 are not those of the knots next to them:
/// each is a neighbour's slope carried over to the length of this segment, which is how a curve for
/// even knots goes through uneven ones.
static SplineSegment MakeSegment(const SplineKnots* knots, uint32_t j)
{
    const float* x = knots->x;
    const float* y = knots->y;
    const float dx = x[j] - x[j - 1];
    const float p1 = y[j - 1];
    const float p2 = y[j];
    const float p0 = ((y[j - 1] - y[j - 2]) / (x[j - 2] - x[j - 1])) * dx + p1;
    const float p3 = ((y[j + 1] - y[j]) / (x[j + 1] - x[j])) * dx + p2;

    SplineSegment segment;
    segment.dx = dx;
    segment.constant = 2.0f * p1;
    segment.linear = p2 - p0;
    segment.square = 2.0f * p0 - 5.0f * p1 + 4.0f * p2 - p3;
    segment.cube = 3.0f * p1 - p0 - 3.0f * p2 + p3;
    return segment;
}

static void PrepareSpline(const float* params, PreparedSpline* spline)
{
    const SplineKnots knots = RepairKnots(params);
    for (uint32_t i = 0; i < kSplineSegments; ++i)
    {
        spline->knots[i] = knots.x[i + 1];
        spline->segments[i] = MakeSegment(&knots, i + 2);
    }
    spline->knots[13] = knots.x[14];
    spline->knots[14] = std::numeric_limits<float>::infinity();
    spline->knots[15] = std::numeric_limits<float>::infinity();
    spline->firstY = knots.y[1];
    spline->lastY = knots.y[14];
}

void PrepareSplines(Envelope* envelope)
{
    for (uint32_t i = 0; i < envelope->pieceCount; ++i)
    {
        if (envelope->pieceType[i] == kFunctionSpline)
        {
            PrepareSpline(envelope->pieceParams[i], &envelope->splines[i]);
        }
    }
}

/// The index of the first knot that s has not passed, up to 14, where infinity stands. A knot that
/// is no number counts as passed. All 16 are compared at once: where s lies is anyone's guess.
static uint32_t FindKnot(const float* knots, float s)
{
    const __m128 time = _mm_set1_ps(s);
    const __m128i a = _mm_castps_si128(_mm_cmple_ps(time, _mm_loadu_ps(knots)));
    const __m128i b = _mm_castps_si128(_mm_cmple_ps(time, _mm_loadu_ps(knots + 4)));
    const __m128i c = _mm_castps_si128(_mm_cmple_ps(time, _mm_loadu_ps(knots + 8)));
    const __m128i d = _mm_castps_si128(_mm_cmple_ps(time, _mm_loadu_ps(knots + 12)));
    const __m128i bytes = _mm_packs_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d));
    return static_cast<uint32_t>(std::countr_zero(static_cast<uint32_t>(_mm_movemask_epi8(bytes))));
}

static float EvaluateSpline(const PreparedSpline* spline, float s)
{
    const uint32_t knot = FindKnot(spline->knots, s);
    const uint32_t i = knot - 1; // wraps before the first
    if (i >= kSplineSegments)
    {
        return knot == 0 ? spline->firstY : spline->lastY;
    }

    // Multiplying by 1 / dx, or bracketing the powers of u out, would change the last bit.
    const SplineSegment& segment = spline->segments[i];
    const float u = (s - spline->knots[i]) / segment.dx;
    return 0.5f * ((segment.constant + segment.linear * u) + segment.square * u * u +
                   (segment.cube * (u * u)) * u);
}

static uint32_t FoldLoopTime(const Envelope* envelope, uint32_t time)
{
    if (envelope->loopType != kLoopLoop && envelope->loopType != kLoopPingPong)
    {
        return time;
    }

    // Strictly after the end: the end itself is still played unfolded.
    const uint32_t end = TruncateToUnsigned(envelope->loopEnd);
    if (time <= end)
    {
        return time;
    }

    const uint32_t begin = TruncateToUnsigned(envelope->loopBegin);
    const uint32_t length = end - begin;
    if (envelope->loopType == kLoopLoop)
    {
        return length == 0 ? time : (time - begin) % length + begin;
    }

    const uint32_t period = 2 * length;
    if (period == 0)
    {
        return time;
    }

    // begin is not added back: past the end the swing covers 0 to length, from the envelope's own
    // start. Pieces are timed against that jump, so it stays.
    const uint32_t folded = (time - begin) % period;
    return folded > length ? period - folded : folded;
}

/// A function other than the spline.
static float EvaluateFunction(uint32_t function, const float* p, float s, float valueBefore)
{
    switch (function)
    {
    case kFunctionConstant:
        return p[0];
    case kFunctionLinear:
        return s * p[0] + p[1];
    case kFunctionQuadratic:
    {
        const float d = s - p[1];
        return (p[0] * d) * d + p[2];
    }
    case kFunctionSinus:
        return sinf(s * p[1] - p[2]) * p[0] + p[3];
    case kFunctionSinusX:
        return (s * p[0] + p[4]) * sinf(p[1] * s - p[2]) + p[3];
    default:
        return valueBefore;
    }
}

float EvaluateEnvelope(const Envelope* envelope, EnvelopeCache* cache, uint32_t time)
{
    if (envelope->pieceCount == 0)
    {
        return 1.0f;
    }
    if (time == cache->lastTime)
    {
        return cache->lastValue;
    }
    cache->lastTime = time;

    // A time at a piece's very length is the last of that piece, so the next one begins at 1.
    uint32_t x = FoldLoopTime(envelope, time);
    uint32_t piece = 0;
    while (x > envelope->pieceLength[piece])
    {
        if (piece + 1 == envelope->pieceCount)
        {
            x = envelope->pieceLength[piece];
            break;
        }
        x -= envelope->pieceLength[piece];
        piece += 1;
    }

    const float s = static_cast<float>(x);
    const uint32_t function = envelope->pieceType[piece];
    cache->lastValue =
        function == kFunctionSpline
            ? EvaluateSpline(&envelope->splines[piece], s)
            : EvaluateFunction(function, envelope->pieceParams[piece], s, cache->lastValue);
    return cache->lastValue;
}

static bool ReadPieceParams(const TiXmlElement* piece, float* params, FaultList* faults)
{
    uint32_t count = 0;
    for (const TiXmlNode* node = piece->FirstChild(); node != nullptr; node = node->NextSibling())
    {
        if (count == kEnvelopeParams)
        {
            AddFaultAt(faults, node, "more than %u parameters", kEnvelopeParams);
            return false;
        }
        params[count] = ParseFloat(RequireText(RequireElement(node, "parameter", faults), faults));
        if (HasFailed(faults))
        {
            return false;
        }
        count += 1;
    }
    return true;
}

/// Reads one piece into slot i.
/// @param element   null after a fault
static bool ReadPiece(const TiXmlElement* element, uint32_t i, Envelope* envelope,
                      FaultList* faults)
{
    envelope->pieceType[i] = static_cast<uint32_t>(ReadIntAttribute(element, "type", faults));
    envelope->pieceLength[i] = static_cast<uint32_t>(ReadIntAttribute(element, "length", faults));
    return !HasFailed(faults) && ReadPieceParams(element, envelope->pieceParams[i], faults);
}

bool ReadEnvelopeItem(const TiXmlElement* item, void* record, uint32_t /*index*/,
                      ReadContext* context)
{
    FaultList* faults = context->faults;
    Envelope* envelope = static_cast<Envelope*>(record);
    envelope->valueType = static_cast<uint8_t>(ReadIntAttribute(item, "type", faults));
    envelope->loopType = static_cast<uint8_t>(ReadIntAttribute(item, "loop_type", faults));
    envelope->loopBegin = ReadFloatAttribute(item, "loop_begin", faults);
    envelope->loopEnd = ReadFloatAttribute(item, "loop_end", faults);
    if (HasFailed(faults))
    {
        return false;
    }

    for (const TiXmlNode* node = item->FirstChild(); node != nullptr; node = node->NextSibling())
    {
        const uint32_t piece = envelope->pieceCount;
        faults->place.part = piece + 1;
        if (piece == kEnvelopePieces)
        {
            AddFaultAt(faults, node, "more than %u pieces", kEnvelopePieces);
            return false;
        }
        if (!ReadPiece(RequireElement(node, "piece", faults), piece, envelope, faults))
        {
            return false;
        }
        envelope->pieceCount = static_cast<uint8_t>(piece + 1);
    }
    faults->place.part = 0;
    PrepareSplines(envelope);
    return true;
}
