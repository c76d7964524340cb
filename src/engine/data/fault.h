// The one way out for documents and packages that can't be played.
//
// Loaders and drawing keep CurrentPlace up to date, so that the routine that meets the fault need
// not know where it is: it says what is wrong, and the line says where.
#pragma once

#include <cstdint>

#include "engine/data/vocabulary_numbers.h"

/// Where the program is in its documents. Plain stores, cheap enough for every object of a frame.
struct FaultPlace
{
    const char* document; // entry name such as "demo.xmlz", borrowed; null outside any document
    int32_t section;      // 0 to 10, kMusicNode for the music node, kNoSection outside them
    uint32_t item;        // counted from 1, the record's id (a row of the timeline); 0 for none
    uint32_t part;        // counted from 1: piece, step, object or clip of the item; 0 for none
};

inline constexpr int32_t kNoSection = -1;

/// The place that the next fault names. Main thread only.
extern FaultPlace CurrentPlace;

/// Ends the program: one line on standard error, the display given back, exit code 1.
///   "quorvale: demo.xmlz, section 3 (envelopes), item 2, piece 1: attribute "length" is missing"
/// Control characters that a document brought in are printed as \xNN.
/// @param format   printf format of what is wrong, without a newline
[[noreturn, gnu::format(printf, 1, 2)]] void FatalFault(const char* format, ...);

/// Ends the program as FatalFault does, for faults that lie in no document: the line is
/// "quorvale: " and the text.
[[noreturn, gnu::format(printf, 1, 2)]] void FatalError(const char* format, ...);

/// Sets what gives the display back on a fault; null for nothing. It runs once, after the line.
void SetDisplayRestorer(void (*restore)());

/// Sets what lines begin with, "quorvale" at first.
/// @param name   borrowed to the end of the run
void SetProgramName(const char* name);
