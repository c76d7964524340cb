// SPDX-License-Identifier: MIT

// The state of a context after the calls of a record: for tests of what one routine leaves
// for the next. The text is that of recorded_gl.
#pragma once

#include <map>
#include <string>

/// State by name, as far as calls have set it:
///
///   DEPTH_TEST, LIGHTING ...            "on" or "off", for what glEnable and glDisable switch
///   VERTEX_ARRAY, NORMAL_ARRAY          "on" or "off"
///   unit0 TEXTURE_2D, TEXTURE_GEN_S ... "on" or "off", of each texture unit; so for unit1
///   unit0 COMBINE_RGB, SOURCE0_RGB ...  glTexEnvi
///   unit0 texture                       name of the bound texture
///   unit0 matrix, MODELVIEW matrix ...  the calls since glLoadIdentity, joined by ", "
///   client0 TEXTURE_COORD_ARRAY         "on" or "off"
///   client0 TexCoordPointer             pointer, or "buffer 5" if a buffer was bound
///   texture 7 TEXTURE_WRAP_S ...        glTexParameter*
///   LIGHT1 POSITION ...                 glLightfv
///   unit, client unit                   number of the selected one
///   MatrixMode                          "MODELVIEW", "TEXTURE" ...
///   Color4f, BlendFunc, PolygonMode ... arguments of the last call
using GlState = std::map<std::string, std::string>;

/// Lets the calls of a record happen to a state. An empty one is a fresh context: unit 0,
/// MODELVIEW.
void ApplyGlCalls(const std::string& calls, GlState* state);

/// @return the value, or "unset"
std::string GlValue(const GlState& state, const std::string& name);
