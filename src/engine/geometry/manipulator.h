// Manipulators: what turns the one placement of an object into many, or bends its geometry.
#pragma once

#include <cstdint>
#include <tinyxml.h>

#include "engine/data/model_data.h"
#include "engine/geometry/instance_list.h"

inline constexpr uint32_t kManipulatorParams = 32;

struct Manipulator
{
    int32_t type;                        // 0 to 3
    int32_t placementId;                 // mesh to place on; 0 for none
    uint8_t placementKind;               // 0: a model, anything else: a generated mesh
    uint8_t dynamicMask[7];              // bit 0x80 >> (k & 7) of byte k >> 3: param k is dynamic
    uint32_t params[kManipulatorParams]; // animated slots
};
