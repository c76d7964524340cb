// A SetMaterial that sets nothing and writes down how it was called, among the OpenGL calls. A test
// program with the source of it does without the 24 recipes.
//
//   SetMaterial 5 at 120 vbo 1 pbo 0 dot3 1 heading 45
#pragma once

#include <vector>

#include "engine/render/set_material.h"
#include "engine/render/tex_coord_arrays.h"

/// The texture coordinates that each call found, for the test to clear.
extern std::vector<TexCoordSource> texCoordsSeen;

/// The deformed vertices that each call found, empty where there were none; for the test to clear.
extern std::vector<std::vector<float>> deformedVerticesSeen;

/// The tables that the last call was given: materials, lights, textures, envelopes, effects,
/// bitmaps.
extern std::vector<const ObjectTable*> materialTables;
