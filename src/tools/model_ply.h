// SPDX-License-Identifier: MIT

// Models as PLY files that say all of a model: exact floats and both sets of texture coordinates.
//
//   ply
//   format ascii 1.0
//   comment quorvale model
//   element vertex 3
//   property float x                 position x, y, z and normal nx, ny, nz
//   ...
//   property float s                 first texture coordinates s, t
//   property float s2                second ones s2, t2; only where the model has them
//   element face 1
//   property list uchar uint vertex_indices
//   end_header
//
// Each number is written as the shortest text that reads back as the same float. A file with that
// comment is read as it stands: nothing is joined, dropped or flipped. Other programs read such a
// file as any PLY; they leave the comment out when they save it, and then it is one of theirs.
#pragma once

#include <string>

#include "tools/files.h"

/// Writes an uncompressed model file as PLY.
/// @return false if the model can't be told so: not one or two sets of texture coordinates, not
///         whole triangles, an index past the last vertex, a number that is not finite, or bytes
///         that are too few or too many
bool WriteModelPly(const Bytes& model, Bytes* ply);

/// @return whether a file is a PLY with the comment
bool IsModelPly(const Bytes& ply);

/// Reads what WriteModelPly wrote, edits of its numbers and lines included.
/// @param model   receives the uncompressed model file
/// @return an empty text, or what is wrong with the file
std::string ReadModelPly(const Bytes& ply, Bytes* model);
