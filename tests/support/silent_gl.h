// SPDX-License-Identifier: MIT

// An OpenGL that does nothing at all, in the driver's place: what is measured on it is the engine's
// own time. Of the answers only names, mapped buffers and matrices are there, and no matrix moves.
//
// The calls of a frame can be kept and made again, which is the least that the same frame costs
// anybody.
#pragma once

#include <cstddef>

/// Keeps all calls from here on, instead of those before.
void KeepCalls();

/// @return the calls that were kept; none are from here on
size_t StopKeepingCalls();

/// Makes the calls that were kept, in their order.
void ReplayCalls();
