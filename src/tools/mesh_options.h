// SPDX-License-Identifier: MIT

// How meshes become models, for all of them and for single files.
//
// A folder of sources may have a file models.txt:
//
//   # statue.stl is in millimetres, and its z points up
//   statue.stl   up=z scale=0.01 center smooth=40
//   *.obj        keep-v cache-order
//
// Each line names a file, or several by a shell pattern, and what is done with them; lines further
// down add to those above.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tools/report.h"

inline constexpr const char* kMeshOptionsFile = "models.txt";

/// The v that is stored for the v that a source writes. A bitmap's first row lies at v = 0 here.
enum class VDirection : uint8_t
{
    kOfFormat, // 1 - v, unless the format or the file itself counts from the upper edge as well
    kFlipped,  // 1 - v
    kKept,     // v
};

/// How a mesh is taken over.
struct MeshOptions
{
    VDirection v;
    bool isQuiet;      // prints nothing but errors
    bool isZUp;        // turns z up into y up
    bool isCentered;   // moves the middle of its bounding box to the origin
    bool makesNormals; // makes all normals anew, see smoothAngle
    bool isForCache;   // orders triangles and vertices for the caches of graphics cards
    float smoothAngle; // degrees; faces that meet at more have an edge between them
    float scale;       // of all coordinates; 0 and 1 leave them
};

/// Options of files, in the order of their lines.
struct MeshOptionsByFile
{
    MeshOptions usual;
    std::vector<std::pair<std::string, std::vector<std::string>>> lines; // pattern, words
};

/// Reads models.txt; without the file all meshes have the usual options.
/// @return false after an error line with the place of what makes no sense
bool ReadMeshOptions(const std::string& path, const MeshOptions& usual, MeshOptionsByFile* options);

MeshOptions MeshOptionsOf(const MeshOptionsByFile& options, const std::string& fileName);
