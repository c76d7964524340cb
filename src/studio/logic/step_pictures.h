// SPDX-License-Identifier: MIT

// The pictures of a procedural texture, step by step, and of its layers, computed anew from the
// document's tree.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/data/demo_document.h"

/// An image of a side of kTextureSize pixels.
struct StepPicture
{
    std::string title;        // "layer 3: maze", "step 2: add layer 3"
    std::vector<uint8_t> rgb; // [kTextureSize][kTextureSize][3], the first row first
};

/// @param texture   counted from 1
/// @return for each step the layer that it takes, if it takes one, and the image after it; none if
///         the texture can't be read
std::vector<StepPicture> ComputeStepPictures(const DemoDocument* document, uint32_t texture);

/// @param layer   counted from 1
/// @return the layer's image; without pixels if it can't be read
StepPicture ComputeLayerPicture(const DemoDocument* document, uint32_t layer);
