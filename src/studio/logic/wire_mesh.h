// SPDX-License-Identifier: MIT

// A mesh as a picture of its edges, seen from a side that can be turned.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/data/model_data.h"

struct WireView
{
    float yaw;   // degrees, about the vertical axis
    float pitch; // degrees, up
    float zoom;  // 1 shows all of the mesh
};

/// Draws all edges, without perspective. The mesh's middle is the picture's; nearer edges are
/// brighter.
/// @param size   side of the picture, pixels, 1 or more
/// @return RGBA, [size][size][4], the upper row first
std::vector<uint8_t> DrawWireMesh(const Mesh& mesh, const WireView& view, int32_t size);
