// SPDX-License-Identifier: MIT

// Mip chains as OpenGL gets them: made on the processor (mip_chain.h), uploaded level by level.
#pragma once

#include <cstdint>

#include "engine/data/fault.h"

/// Uploads levels 1 and up of the texture bound to GL_TEXTURE_2D, whose level 0 is there already.
/// Nothing but the alignment call happens for components other than 3 and 4.
/// @param pixels       level 0, width * height * components bytes; stays the caller's
/// @param levels       the other levels, of MakeMipChain; null to make them here, one by one
/// @return false after a fault: an image narrower or lower than two pixels, whose chain would not
///         end, or no memory
/// Sets: levels 1 to the last. Leaves: an unpack alignment of 4.
bool BuildMipmaps(int32_t width, int32_t height, const uint8_t* pixels, int32_t components,
                  const uint8_t* levels, FaultList* faults);
