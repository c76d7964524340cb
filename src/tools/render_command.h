// SPDX-License-Identifier: MIT

// `dpk render`: a piece as film, pictures and sound, without a display.
#pragma once

#include <string>

#include "tools/render_plan.h"

/// The exit code after a Ctrl-C, as shells count it.
inline constexpr int kExitStopped = 130;

/// Renders a package or a folder of sources.
/// @param piece   its path; of --join not looked at
/// @return the exit code
int RenderPiece(const std::string& piece, const RenderOptions& options);
