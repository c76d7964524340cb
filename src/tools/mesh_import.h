// SPDX-License-Identifier: MIT

// Meshes of other programs into model files. Every format that Assimp reads will do.
//
// All meshes of the scene become one, each moved by its node's transform. Polygons become
// triangles; points and lines are dropped. Normals are the source's, or made smooth where it has
// none. Texture coordinates are the first two sets of the source; where it has none there are
// zeros. Vertices keep the source's order, and of identical ones the first stays.
//
// A bitmap's first row lies at v = 0 in a piece. OBJ, PLY, COLLADA and the others count v from the
// lower edge of an image, so 1 - v is stored; glTF counts from the upper edge, and v is stored. A
// file whose first lines hold kUpperVRemark counts from the upper edge, too.
//
// A PLY file that says all of a model (model_ply.h) is taken as it stands instead.
#pragma once

#include <string>

#include "tools/mesh_options.h"
#include "tools/triangle_mesh.h"

/// The remark in an OBJ or PLY file that its v counts from the upper edge of images.
inline constexpr const char* kUpperVRemark = "v counts from the upper edge";

/// Reads a mesh into an uncompressed model file and prints what became of it, each line after
/// `label` and a colon: one with vertices, triangles, sets and the bounding box, and one for each
/// thing that was dropped or made up. The import runs in a process of its own with limits of memory
/// and time, so that no file can do more than not be imported.
/// @return false after an error line; a file without a triangle is an error
bool ReadMesh(const std::string& path, const MeshOptions& options, const std::string& label,
              Bytes* model);

/// The same, packed into the container.
bool ConvertMesh(const std::string& path, const MeshOptions& options, const std::string& label,
                 Bytes* container);

/// The same from file to file.
/// @param isForced   writes over a file that is no model, too
bool ConvertMeshFile(const std::string& in, const std::string& out, const MeshOptions& options,
                     bool isForced);
