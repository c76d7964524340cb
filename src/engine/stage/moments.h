// SPDX-License-Identifier: MIT

// Moments of a run that are kept, to go on from: what changes while a piece plays, and the state of
// OpenGL.
//
// They lie at equal distances, which are longer where a moment takes more bytes. When there is no
// room for another, every other one is dropped and the distance doubles, so a run of any length
// takes the same memory. The first moment, before any
// frame, always stays.
#pragma once

#include <cstddef>
#include <cstdint>

#include "engine/data/fault.h"
#include "engine/piece/piece_state.h"
#include "engine/render/gl_shadow.h"

/// Zeros are a moment that holds nothing.
struct Moment
{
    uint32_t step; // of the run: the next to be drawn
    PieceState state;
    ShadowState shadow;
};

inline constexpr uint32_t kMostMoments = 256;
inline constexpr uint32_t kFewestMoments = 8;
inline constexpr size_t kMomentsBytes = 64u << 20; // that all take together, unless
                                                   // kFewestMoments take more

/// Zeros are none.
struct Moments
{
    Moment* kept; // [capacity], owned; those from `count` on hold memory for later ones, or nothing
    uint32_t count;
    uint32_t capacity;
    uint32_t distance;      // in steps
    uint32_t firstDistance; // the same, before any was dropped
};

/// Keeps a moment.
/// @param gl       between two frames, with a shadow
/// @param moment   all zero, or one of the same run, whose memory is used again
/// @return false after a fault: no memory
bool KeepMoment(uint32_t step, const PieceState* state, const GlContext* gl, Moment* moment,
                FaultList* faults);

/// Goes back to a moment. OpenGL is not touched.
/// @return false after a fault: no memory
bool LoadMoment(const Moment* moment, PieceState* state, GlContext* gl, FaultList* faults);

void FreeMoment(Moment* moment);

/// Starts with the first moment of a run, at step 0.
/// @param moments   all zero; for FreeMoments whatever comes back
/// @return false after a fault: no memory
bool StartMoments(const PieceState* state, const GlContext* gl, Moments* moments,
                  FaultList* faults);

/// Forgets all moments but the first.
void ClearMoments(Moments* moments);

void FreeMoments(Moments* moments);

/// Keeps the moment of a step if one is due there: a whole distance after the last.
/// @return false after a fault: no memory
bool OfferMoment(uint32_t step, const PieceState* state, const GlContext* gl, Moments* moments,
                 FaultList* faults);

/// @return the last moment at or before a step, lent until the next offer
const Moment* FindMoment(const Moments* moments, uint32_t step);
