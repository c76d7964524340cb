// SPDX-License-Identifier: MIT

// Faults: what is wrong with a piece, as values that travel up to whoever can tell it.
//
// Whoever reads or draws a piece keeps the place of a FaultList up to date, so that the routine
// that meets a fault need not know where it is: it says what is wrong, and the list says where. A
// routine that can fail takes the list and returns false, null or 0 after it added an error. The
// caller stops at once and passes the failure on. Only a main prints faults and ends the process.
#pragma once

#include <cstddef>
#include <cstdint>

#include "engine/data/section.h"

class TiXmlNode;

enum class Severity : uint8_t
{
    kNote,
    kWarning,
    kError, // nothing was made that can be used
};

enum class FaultKind : uint8_t
{
    kDocument, // the line tells the place
    kProgram,  // of the machine and not of a document: the line tells no place
};

/// A place in the documents of a piece. Plain stores, cheap enough for every object of a frame.
struct Place
{
    const char* document; // entry name such as "demo.xmlz", borrowed; null outside any document
    Section section;
    uint32_t item;  // counted from 1, the record's id (a row of the timeline); 0 for none
    uint32_t part;  // counted from 1: piece, step, object or clip of the item; 0 for none
    int32_t line;   // of the document's text, counted from 1; 0 where it is not known
    int32_t column; // the same
};

/// @return the place with no line and no column
inline Place PlaceAt(const char* document, Section section, uint32_t item = 0, uint32_t part = 0)
{
    return {document, section, item, part, 0, 0};
}

inline constexpr size_t kFaultTextSize = 1024; // bytes, with the zero at the end
/// Bytes that hold the line of a fault: every byte of its place and text can become four.
inline constexpr size_t kFaultLineSize = 9 * kFaultTextSize;

struct Fault
{
    Severity severity;
    FaultKind kind;
    Place place;
    char text[kFaultTextSize]; // what is wrong, as it came: with the bytes of the document
};

/// All faults that were met, in their order. A list of zeros is an empty one.
struct FaultList
{
    Place place;         // where reading or drawing stands: the place of the next fault
    uint32_t count;      // faults that are kept
    uint32_t errorCount; // errors that were added, whether they could be kept or not
    Fault first;         // inside the list, so that running out of memory can be told
    Fault* more;         // [count - 1], owned; those after the first
    uint32_t capacity;   // of more
};

/// Makes the list empty, at no place. What it held before is not freed.
void StartFaults(FaultList* faults);

/// Gives back what the list holds and makes it empty.
void FreeFaults(FaultList* faults);

/// Whether an error was added.
inline bool HasFailed(const FaultList* faults)
{
    return faults->errorCount != 0;
}

/// Adds an error at the list's place.
/// @param format   printf format of what is wrong, without a newline. Words past kFaultTextSize are
///                 cut off.
[[gnu::format(printf, 2, 3)]] void AddFault(FaultList* faults, const char* format, ...);

/// Adds an error at the list's place, with the line and column of a node.
/// @param node   null leaves the line and column of the list's place
[[gnu::format(printf, 3, 4)]] void AddFaultAt(FaultList* faults, const TiXmlNode* node,
                                              const char* format, ...);

/// Adds an error that lies in no document.
[[gnu::format(printf, 2, 3)]] void AddError(FaultList* faults, const char* format, ...);

/// Adds a note or a warning at the list's place, with the line and column of a node.
/// @param node   null leaves the line and column of the list's place
[[gnu::format(printf, 4, 5)]] void AddRemark(FaultList* faults, Severity severity,
                                             const TiXmlNode* node, const char* format, ...);

/// @param i   counted from 0, below count
/// @return the fault, lent until the next one is added
const Fault* GetFault(const FaultList* faults, uint32_t i);

/// Writes the line that tells a fault, without a newline:
///   quorvale: demo.xmlz, section 3 (envelopes), item 2, piece 1: attribute "length" is missing
/// Control characters and bytes that are no UTF-8 become \xNN.
/// @param program   the name that the line begins with
/// @param line      receives size bytes at most, the zero at the end included; a fault needs no
///                  more than kFaultLineSize
/// @return the length of the whole line, also where it was cut off
size_t FormatFault(const Fault* fault, const char* program, char* line, size_t size);

/// Prints the line to standard error, after all that stands in the buffer of standard output.
void PrintFault(const Fault* fault, const char* program);
