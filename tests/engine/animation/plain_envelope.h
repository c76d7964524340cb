// SPDX-License-Identifier: MIT

// EvaluateEnvelope in its plainest form, for comparison: a step a statement, the spline rebuilt
// from the parameters at each call, nothing kept but the cached result. It shares the record with
// the engine and not a line of code, and looks at no prepared spline.
#pragma once

#include <cmath>
#include <cstdint>

#include "engine/animation/envelope.h"

/// A float in ticks as an unsigned count: the fraction dropped in 64 bits, of which the low 32
/// stay. What 64 bits cannot hold, and NaN, count as 0.
inline uint32_t PlainTicks(float ticks)
{
    if (!(ticks >= -9223372036854775808.0f && ticks < 9223372036854775808.0f))
    {
        return 0;
    }
    return static_cast<uint32_t>(static_cast<int64_t>(ticks));
}

inline float PlainSpline(const float* p, float s)
{
    float X[16];
    float Y[16];

    X[0] = -999999.0f;
    Y[0] = p[1];
    X[1] = p[0] - 1.0f;
    Y[1] = p[1];
    for (int k = 1; k <= 12; ++k)
    {
        X[k + 1] = p[(k - 1) * 2];
        Y[k + 1] = p[(k - 1) * 2 + 1];
    }

    for (int k = 2; k <= 13; ++k)
    {
        if (X[k - 1] + 1.0f > X[k])
        {
            X[k] = X[k - 1] + 1.0f;
            Y[k] = Y[k - 1];
        }
    }

    X[14] = X[13] + 999999.0f;
    Y[14] = Y[13];
    X[15] = 9999999.0f;
    Y[15] = Y[13];

    // In front of the first knot that has one before it, the first y holds.
    if (s <= X[1])
    {
        return Y[1];
    }

    int j = 2;
    while (j <= 14 && !(s <= X[j]))
    {
        ++j;
    }
    // After the last knot that has one after it, the last y holds.
    if (j == 15)
    {
        return Y[14];
    }

    float dx = X[j] - X[j - 1];
    float P1 = Y[j - 1];
    float P2 = Y[j];

    float P0 = Y[j - 1] - Y[j - 2];
    P0 = P0 / (X[j - 2] - X[j - 1]);
    P0 = P0 * dx;
    P0 = P0 + P1;

    float P3 = Y[j + 1] - Y[j];
    P3 = P3 / (X[j + 1] - X[j]);
    P3 = P3 * dx;
    P3 = P3 + P2;

    float u = s - X[j - 1];
    u = u / dx;

    float straight = P2 - P0;
    straight = straight * u;
    straight = 2.0f * P1 + straight;

    float square = 2.0f * P0;
    square = square - 5.0f * P1;
    square = square + 4.0f * P2;
    square = square - P3;
    square = square * u;
    square = square * u;

    float cube = 3.0f * P1;
    cube = cube - P0;
    cube = cube - 3.0f * P2;
    cube = cube + P3;
    float uu = u * u;
    cube = cube * uu;
    cube = cube * u;

    float sum = straight + square;
    sum = sum + cube;
    return 0.5f * sum;
}

inline float PlainEvaluateEnvelope(const Envelope* envelope, EnvelopeCache* cache, uint32_t t)
{
    if (envelope->pieceCount == 0)
    {
        return 1.0f;
    }
    if (t == cache->lastTime)
    {
        return cache->lastValue;
    }
    cache->lastTime = t;

    uint32_t x = t;
    uint32_t E = PlainTicks(envelope->loopEnd);
    if (envelope->loopType == 1 && t > E)
    {
        uint32_t B = PlainTicks(envelope->loopBegin);
        uint32_t L = E - B;
        if (L != 0)
        {
            x = ((t - B) % L) + B;
        }
    }
    if (envelope->loopType == 2 && t > E)
    {
        uint32_t B = PlainTicks(envelope->loopBegin);
        uint32_t L = E - B;
        if (2 * L != 0)
        {
            x = (t - B) % (2 * L);
            if (x > L)
            {
                x = 2 * L - x;
            }
        }
    }

    int i = 0;
    while (x > envelope->pieceLength[i])
    {
        if (i == envelope->pieceCount - 1)
        {
            x = envelope->pieceLength[i];
            break;
        }
        x = x - envelope->pieceLength[i];
        i = i + 1;
    }

    float s = static_cast<float>(x);
    const float* p = envelope->pieceParams[i];
    if (envelope->pieceType[i] == 0)
    {
        cache->lastValue = p[0];
    }
    if (envelope->pieceType[i] == 1)
    {
        float product = s * p[0];
        cache->lastValue = product + p[1];
    }
    if (envelope->pieceType[i] == 2)
    {
        float d = s - p[1];
        float product = p[0] * d;
        product = product * d;
        cache->lastValue = product + p[2];
    }
    if (envelope->pieceType[i] == 3)
    {
        float angle = s * p[1];
        angle = angle - p[2];
        float product = sinf(angle) * p[0];
        cache->lastValue = product + p[3];
    }
    if (envelope->pieceType[i] == 4)
    {
        cache->lastValue = PlainSpline(p, s);
    }
    if (envelope->pieceType[i] == 5)
    {
        float factor = s * p[0];
        factor = factor + p[4];
        float angle = p[1] * s;
        angle = angle - p[2];
        float product = factor * sinf(angle);
        cache->lastValue = product + p[3];
    }
    return cache->lastValue;
}
