// SPDX-License-Identifier: MIT

// The cosine that geometry, ripples and effects share: a table, so that the same angle gives the
// same bits on every machine.
#pragma once

#include <cstdint>

inline constexpr int32_t kCosTableSize = 8192; // two full turns
inline constexpr int32_t kCosTurn = 4096;      // steps of one full turn
/// Steps of the table per radian, 4096 / (2 pi).
inline constexpr double kCosStepsPerRadian = 651.8986469;

/// Entry k is cos(k * pi / 2048), from 0 to two turns. Built by BuildCosTable, then read-only.
/// Reads in pairs take one entry more along; it is no part of the table.
extern float CosTable[kCosTableSize + 1];
/// CosTable + 1, which is how the waves of 2D effects have it.
extern float RaisedCosTable[kCosTableSize + 1];

/// Fills both tables. Runs before anything else that computes: every other table may use it.
void BuildCosTable();

/// The cosine of n steps, any n. Reads entry 4096 + r, r the remainder of n by 4096 with the sign
/// of n. The two halves of the table differ in their last bits, so a mask of n is not the same.
inline float cosLookup(int32_t n)
{
    return CosTable[kCosTurn + n % kCosTurn];
}
