#include "engine/animation/envelope.h"

#include <cmath>
#include <cstring>

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
    for (uint32_t k = 1; k <= 12; ++k)
    {
        knots.x[k + 1] = params[2 * k - 2];
        knots.y[k + 1] = params[2 * k - 1];
    }

    // A knot less than a tick behind its predecessor moves and takes the predecessor's y. Documents
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

static float EvaluateSpline(const float* params, float s)
{
    SplineKnots knots = RepairKnots(params);
    const float* x = knots.x;
    const float* y = knots.y;
    if (s <= x[1])
    {
        return y[1];
    }

    uint32_t j = 2;
    while (!(s <= x[j]))
    {
        if (j == 14)
        {
            return y[14];
        }
        j += 1;
    }

    float dx = x[j] - x[j - 1];
    float p1 = y[j - 1];
    float p2 = y[j];
    float p0 = ((y[j - 1] - y[j - 2]) / (x[j - 2] - x[j - 1])) * dx + p1;
    float p3 = ((y[j + 1] - y[j]) / (x[j + 1] - x[j])) * dx + p2;

    float u = (s - x[j - 1]) / dx;
    return 0.5f * ((2.0f * p1 + (p2 - p0) * u) + (2.0f * p0 - 5.0f * p1 + 4.0f * p2 - p3) * u * u +
                   ((3.0f * p1 - p0 - 3.0f * p2 + p3) * (u * u)) * u);
}

static uint32_t FoldLoopTime(const Envelope* envelope, uint32_t time)
{
    if (envelope->loopType != kLoopLoop && envelope->loopType != kLoopPingPong)
    {
        return time;
    }

    // Strictly after the end: the end itself is still played unfolded.
    uint32_t end = TruncateToUnsigned(envelope->loopEnd);
    if (time <= end)
    {
        return time;
    }

    uint32_t begin = TruncateToUnsigned(envelope->loopBegin);
    uint32_t length = end - begin;
    if (envelope->loopType == kLoopLoop)
    {
        return length == 0 ? time : (time - begin) % length + begin;
    }

    uint32_t period = 2 * length;
    if (period == 0)
    {
        return time;
    }

    // begin is not added back: past the end the swing covers 0 to length, from the envelope's own
    // start. Pieces are timed against that jump, so it stays.
    uint32_t folded = (time - begin) % period;
    return folded > length ? period - folded : folded;
}

float EvaluateEnvelope(Envelope* envelope, uint32_t time)
{
    if (envelope->pieceCount == 0)
    {
        return 1.0f;
    }
    if (time == envelope->lastTime)
    {
        return envelope->lastValue;
    }
    envelope->lastTime = time;

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

    float s = static_cast<float>(x);
    const float* p = envelope->pieceParams[piece];
    switch (envelope->pieceType[piece])
    {
    case kFunctionConstant:
        envelope->lastValue = p[0];
        break;
    case kFunctionLinear:
        envelope->lastValue = s * p[0] + p[1];
        break;
    case kFunctionQuadratic:
    {
        float d = s - p[1];
        envelope->lastValue = (p[0] * d) * d + p[2];
        break;
    }
    case kFunctionSinus:
        envelope->lastValue = sinf(s * p[1] - p[2]) * p[0] + p[3];
        break;
    case kFunctionSpline:
        envelope->lastValue = EvaluateSpline(p, s);
        break;
    case kFunctionSinusX:
        envelope->lastValue = (s * p[0] + p[4]) * sinf(p[1] * s - p[2]) + p[3];
        break;
    default: // an unknown function leaves the value before
        break;
    }
    return envelope->lastValue;
}

static void ReadPieceParams(const TiXmlElement* piece, float* params)
{
    uint32_t count = 0;
    for (const TiXmlNode* node = piece->FirstChild(); node != nullptr; node = node->NextSibling())
    {
        if (count == kEnvelopeParams)
        {
            FatalFault("more than %u parameters", kEnvelopeParams);
        }
        params[count] = ParseFloat(RequireText(RequireElement(node, "parameter")));
        count += 1;
    }
}

void ReadEnvelopeItem(const TiXmlElement* item, void* record, uint32_t /*index*/,
                      LoadContext* /*context*/)
{
    Envelope* envelope = static_cast<Envelope*>(record);
    memset(envelope, 0, sizeof(Envelope));

    envelope->valueType = static_cast<uint8_t>(ReadIntAttribute(item, "type"));
    envelope->loopType = static_cast<uint8_t>(ReadIntAttribute(item, "loop_type"));
    envelope->loopBegin = ReadFloatAttribute(item, "loop_begin");
    envelope->loopEnd = ReadFloatAttribute(item, "loop_end");
    envelope->lastValue = 0.0f;
    envelope->lastTime = kNothingCached;

    for (const TiXmlNode* node = item->FirstChild(); node != nullptr; node = node->NextSibling())
    {
        uint32_t piece = envelope->pieceCount;
        CurrentPlace.part = piece + 1;
        if (piece == kEnvelopePieces)
        {
            FatalFault("more than %u pieces", kEnvelopePieces);
        }
        const TiXmlElement* element = RequireElement(node, "piece");
        envelope->pieceType[piece] = static_cast<uint32_t>(ReadIntAttribute(element, "type"));
        envelope->pieceLength[piece] = static_cast<uint32_t>(ReadIntAttribute(element, "length"));
        ReadPieceParams(element, envelope->pieceParams[piece]);
        envelope->pieceCount = static_cast<uint8_t>(piece + 1);
    }
    CurrentPlace.part = 0;
}
