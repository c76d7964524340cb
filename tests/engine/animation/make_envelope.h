// SPDX-License-Identifier: MIT

// Envelopes filled by hand, ready to be played.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "engine/animation/envelope.h"

/// An envelope without pieces or loop, as it stands after loading.
inline Envelope MakeEnvelope()
{
    return {};
}

inline void AddPiece(Envelope* envelope, uint32_t type, uint32_t length,
                     std::initializer_list<float> params)
{
    const uint32_t piece = envelope->pieceCount;
    envelope->pieceType[piece] = type;
    envelope->pieceLength[piece] = length;
    uint32_t param = 0;
    for (const float value : params)
    {
        envelope->pieceParams[piece][param] = value;
        param += 1;
    }
    envelope->pieceCount = static_cast<uint8_t>(piece + 1);
    PrepareSplines(envelope);
}

/// One piece that never ends, of the given function.
inline Envelope MakeOnePiece(uint32_t type, std::initializer_list<float> params)
{
    Envelope envelope = MakeEnvelope();
    AddPiece(&envelope, type, 0xFFFFFFFF, params);
    return envelope;
}

/// An envelope whose value is the time inside its loop, exact up to 2^24 ticks.
inline Envelope MakeTimeEnvelope(uint8_t loopType, float loopBegin, float loopEnd)
{
    Envelope envelope = MakeOnePiece(kFunctionLinear, {1.0f, 0.0f});
    envelope.loopType = loopType;
    envelope.loopBegin = loopBegin;
    envelope.loopEnd = loopEnd;
    return envelope;
}

/// An envelope with its state, as a piece has it.
struct PlayedEnvelope : Envelope
{
    PlayedEnvelope(const Envelope& envelope) : Envelope(envelope)
    {
    }

    EnvelopeCache cache = kEmptyEnvelopeCache;
};

inline float EvaluateEnvelope(PlayedEnvelope* envelope, uint32_t time)
{
    return EvaluateEnvelope(envelope, &envelope->cache, time);
}
