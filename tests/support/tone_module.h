// SPDX-License-Identifier: MIT

// A tracker module for tests: an Extended Module (XM) with one long note.
#pragma once

#include <cstdint>
#include <string>

/// @param rows   1 to 256, its length in rows of 0.12 seconds; the note sounds from the first to
/// the
///               last
/// @return the module file
std::string MakeToneModule(uint32_t rows);
