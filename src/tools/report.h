// SPDX-License-Identifier: MIT

// Lines that dpk prints for its user.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "engine/data/fault.h"

/// One line on standard error: "dpk: " and the text.
/// @param format   printf format, without a newline
[[gnu::format(printf, 1, 2)]] void ReportError(const char* format, ...);

/// A line on standard error for each fault of a list, which is freed.
/// @param path   of the file that they are of; empty where they name it themselves
void ReportFaults(const std::string& path, FaultList* faults);

/// The same for faults that name their file themselves.
void ReportFaults(FaultList* faults);

/// How much a command tells of what it does. Errors are told always.
enum class Verbosity : uint8_t
{
    kUsual,
    kQuiet, // nothing
    kMuch,  // each step
};

/// When words are colored.
enum class ColorChoice : uint8_t
{
    kAuto, // on a terminal, unless the environment has NO_COLOR
    kAlways,
    kNever,
};

/// Whether standard output gets colors.
bool HasColors(ColorChoice choice);

/// A line on a terminal that tells how far a command has come, once it has taken a second. It is
/// written over five times a second at most.
struct Progress
{
    const char* verb; // "packing"; null tells nothing
    size_t total;     // steps; 0 if nobody knows
    int64_t nextMs;   // of the clock; earlier than this nothing is written
    bool isShown;
};

/// @param verb   lent while the line is in use
Progress StartProgress(const char* verb, size_t total, Verbosity verbosity);

/// Shows the verb, the step and its total.
/// @param done   steps
/// @param what   that the next step is about
void ShowProgress(Progress* progress, size_t done, const std::string& what);

/// Whether a line would be written now, for callers that put its words together themselves.
bool IsProgressDue(const Progress* progress);

/// Shows these words instead, whether or not it is time.
void ShowProgressWords(Progress* progress, const std::string& words);

/// Takes the line away.
void EndProgress(Progress* progress);

/// A name fit for a line of output: control characters, bytes that are no UTF-8 and backslashes as
/// \xNN, all else as it is.
std::string Printable(const std::string& name);
