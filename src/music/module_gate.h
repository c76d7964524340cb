// SPDX-License-Identifier: MIT

// The gate before libmodplug. Its reader for Extended Modules takes damaged files; those for other
// formats crash on some, or take gigabytes, and it tries them all on bytes that the first refuses.
#pragma once

#include <cstddef>
#include <cstdint>

inline constexpr size_t kLargestModule = 64u << 20; // bytes; a larger one is not read

/// Bytes of zeros to keep after a module: the library reads records whole that the end of the file
/// cuts.
inline constexpr size_t kModulePadding = 1024;

/// True if the library's reader for Extended Modules takes the file, so that no other sees it: the
/// signature, 512 bytes at least, a header that lies in the file, 1 to 256 orders and 1 to 64
/// channels.
bool IsExtendedModule(const uint8_t* file, size_t size);
