// SPDX-License-Identifier: MIT

// How long a module plays, from its text of rows alone, and whether its file is whole: nothing is
// mixed.
//
// An Extended Module is little-endian:
//
//   offset         size   content
//   60             4      H, bytes of the header from here on
//   64             2      orders
//   70             2      patterns
//   76, 78         2, 2   module ticks a row, beats a minute
//   80             256    orders: the number of a pattern each
//   60 + H         ...    patterns: head size u32, 0 u8, rows u16, data size u16, then the data
//   then           ...    instruments, as many as the u16 at 72 tells: head size u32, 22
//   characters,
//                         type u8, samples u16; heads of 40 bytes of the samples, which begin with
//                         the sample's size u32; then the samples
//
// A module tick lasts 2.5 / beats a minute seconds. Of a row's effects four kinds change the order
// or the pace: B jumps to an order, D to a row of the next one, E6 and EE repeat rows and wait, F
// sets the pace.
#pragma once

#include <cstddef>
#include <cstdint>

/// @param file   of a module that begins with the signature of the format
/// @return seconds up to its end or to the row that it has played before; 0 if the file is damaged
double MeasureModule(const uint8_t* file, size_t size);

/// True if the patterns and samples that the module counts lie in the file. A file that was cut
/// loads all the same, and what is missing is silence. Only version 1.04 of the format is looked
/// at, the last one: others are whole.
/// @param file   as for MeasureModule
bool IsModuleWhole(const uint8_t* file, size_t size);
