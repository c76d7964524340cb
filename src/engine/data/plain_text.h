// SPDX-License-Identifier: MIT

// Text that may come from a document or a package, made fit to be printed: one line, and nothing
// that a terminal would obey.
#pragma once

#include <cstddef>

/// Bytes that hold the plain form of a text, the zero at the end included.
inline constexpr size_t PlainTextSize(size_t length)
{
    return 4 * length + 1;
}

/// Writes a text with \xNN in the place of each byte that belongs to a control character (below
/// 0x20, 0x7F, U+0080 to U+009F) or is no UTF-8.
/// @param plain   receives size bytes at most, the zero at the end included; untouched if size is 0
/// @return the length of the whole plain form, also where it was cut off
size_t FormatPlainText(const char* text, char* plain, size_t size);
