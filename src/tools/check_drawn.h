// SPDX-License-Identifier: MIT

// The part of a check that looks at pictures: small ones, drawn without a display.
#pragma once

#include "engine/check/check_piece.h"
#include "tools/files.h"
#include "tools/report.h"

/// Draws a picture of every quarter of a second of a piece, as a run that draws each tick shows it,
/// and adds a finding for each stretch of more than two seconds that is all black or all white. A
/// piece with errors is not drawn: it would end on the way.
/// @param package   the piece that the result is of
/// @param result    of its check; receives the findings, in their places
/// @return false after an error line: nothing can draw here
bool CheckDrawnPictures(const Bytes& package, Verbosity verbosity, CheckResult* result);
