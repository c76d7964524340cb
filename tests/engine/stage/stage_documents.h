// SPDX-License-Identifier: MIT

// Documents of a few squares and surfaces, for tests of what a run remembers.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/package_builder.h"

/// An animated value: a number, or an envelope's id with a sign of '#' before it, as in "#2".
using Value = std::string;

/// The kind and place of an object. In an orthographic clip the picture is the unit square, y
/// downwards.
struct ObjectSource
{
    int kind = 0; // 0 a square of 1 by 1 from its position on, 1 a generated mesh
    int id = 1;   // of a generated mesh
    int material = 0;
    Value x = "0";
    Value y = "0";
    Value z = "0";
    Value angle = "0"; // about z
    Value width = "1";
    Value height = "1";
};
std::string Object(const ObjectSource& source);

/// A scene of objects, one after the other.
std::string SceneOf(const std::vector<ObjectSource>& objects);

struct ClipSource
{
    int scene = 0;
    int length = 100; // ticks
    int pass = 0;
    int target = 0; // bitmap
    bool perspective = false;
    int before = 0; // ticks of gap
};
std::string RowOf(const std::vector<ClipSource>& clips);

/// @param color   red, green, blue, alpha and maybe a fifth value
std::string MaterialOf(int type, const std::vector<Value>& color,
                       const std::vector<int>& references = {}, int effect = 0);

/// a * x + b, over `length` ticks, then its end.
std::string LinearEnvelope(const std::string& a, const std::string& b, int length = 100000);

/// A package with this demo, the models and images that it may name, and no loading screen. Bitmap
/// files are "noise.tga", 64 by 64 pixels of three components, "wide.tga", 128 by 32 of four, and
/// "gray.tga", 32 by 32 of one.
std::string PackageOf(const DocumentSource& demo, const DocumentSource* loading = nullptr);
