// SPDX-License-Identifier: MIT

// The sections of a document, in the order in which they stand in it.
#pragma once

#include <cstdint>

/// A section's number is its place below the top level, where the first node does not count.
enum class Section : int32_t
{
    kNone = -1, // outside the sections
    kLayers = 0,
    kTextures,
    kModels,
    kEnvelopes,
    kLights,
    kEffects,
    kBitmaps,
    kMaterials,
    kGenMeshes,
    kScenes,
    kTimeline,
    kMusic, // the music node, which follows the last section
};

inline constexpr int32_t kSectionCount = 11; // the music node is no section
