// SPDX-License-Identifier: MIT

// The image decoder alone, for bench_load to be measured beside.
#pragma once

#include <cstdint>

/// @return the pixels with the file's own components, for free; null for no image
uint8_t* StbDecode(const uint8_t* file, int32_t size);
