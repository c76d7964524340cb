// SPDX-License-Identifier: MIT

// Lines that dpk prints for its user.
#pragma once

#include <string>

#include "engine/data/fault.h"

/// One line on standard error: "dpk: " and the text.
/// @param format   printf format, without a newline
[[gnu::format(printf, 1, 2)]] void ReportError(const char* format, ...);

/// A line on standard error for each fault of a list, which is freed.
void ReportFaults(FaultList* faults);

/// A name fit for a line of output: control characters, bytes that are no UTF-8 and backslashes as
/// \xNN, all else as it is.
std::string Printable(const std::string& name);
