// SPDX-License-Identifier: MIT

// Materials: one of 24 recipes of OpenGL state, with a color, an alpha and references.
#pragma once

#include <cstdint>

#include "engine/data/demo_document.h"
#include "engine/data/vocabulary_numbers.h"

struct Material
{
    uint32_t type;                      // RecipeType
    uint8_t dynamicMask[4];             // which params are envelope ids, see below
    uint32_t params[kMaterialParams];   // animated slots: red, green, blue, alpha, extra
    uint32_t refs[kMaterialRefs];       // ids of "texture" and "light" children, in order; 0 none
    uint32_t effectRefs[kMaterialRefs]; // ids of "effect2d" children
};

// Of dynamicMask bytes 0 and 1 hold the bits of parameters 0 to 15, from the top of each byte, as
// MaskBit reads them. Parameters 16 to 31 all fall into byte 2, so 16 and 24 share a bit, and byte
// 3 stays 0. No recipe goes past parameter 4.

/// Section 7: one material.
/// @return false after a fault: no child at all, more than 32 parameters or 16 references, a
///         missing attribute
bool ReadMaterialItem(const TiXmlElement* item, void* record, uint32_t index, ReadContext* context);
