#include "engine/textures/catalogues.h"

#include <iterator>

// Fixed widths without padding.
static_assert(sizeof(GeneratorRow) == 32 + 4 + 4 + 8 * 32);
static_assert(sizeof(StepRow) == 32 + 1 + 9 * 32);
static_assert(sizeof(NameRow) == 32);
static_assert(sizeof(EnvelopeFunctionRow) == 32 + 48 + 1 + 24 * 32);
static_assert(sizeof(MaterialRow) == 64 + 6 + 32 * 32);
static_assert(sizeof(Effect2DRow) == 32 + 1 + 32 * 32);
static_assert(sizeof(ManipulatorRow) == 32 + 1 + 1 + 32 * 32);
static_assert(sizeof(PassKindRow) == 36 + 1 + 4 * 32);
static_assert(sizeof(GenMeshRow) == 32 + 1 + 16 * 32);

constexpr GeneratorRow GeneratorCatalogue[] = {
    {"Color", 1, 0, {"Color"}},
    {"Sinus plasma", 1, 2, {"Plasma color", "Repeat x", "Repeat y"}},
    {"Radial colors",
     2,
     2,
     {"Center color", "Margin color", "Inverse radian", "Color offset (0-127)"}},
    {"Maze",
     1,
     3,
     {"Color", "Maze size (1 - 7 integer)", "Maze field (integer)", "Maze fullness (0 - 1 float)"}},
    {"Bricks",
     2,
     5,
     {"Brick color", "Wall color", "Horizontal number", "Vertical number", "Horizontal margin",
      "Vertical margin", "Second line offset"}},
    {"Noise", 1, 1, {"Color", "Random seed"}},
};
static_assert(std::size(GeneratorCatalogue) == 6);

constexpr StepRow FilterCatalogue[] = {
    {"Invert", 0, {}},
    {"Multiply", 1, {"Scale"}},
    {"Offset", 2, {"X offset", "Y offset"}},
    {"Ripple", 4, {"X amplitude", "Y amplitude", "X wavelength", "Y wavelength"}},
    {"Blur", 0, {}},
    {"Emboss", 1, {"Direction (1-4)"}},
    {"Convolution", 9, {"m11", "m12", "m13", "m21", "m22", "m23", "m31", "m32", "m33"}},
};
static_assert(std::size(FilterCatalogue) == 7);

constexpr StepRow CombinerCatalogue[] = {
    {"Add", 2, {"1. scale", "2. scale"}},
    {"Multiply", 1, {"Scale"}},
    {"Maximum", 2, {"1. scale", "2. scale"}},
    {"Minimum", 2, {"1. scale", "2. scale"}},
};
static_assert(std::size(CombinerCatalogue) == 4);

constexpr NameRow LoopModeCatalogue[] = {{"Off"}, {"Loop"}, {"Ping-pong"}};
static_assert(std::size(LoopModeCatalogue) == 3);

constexpr EnvelopeFunctionRow EnvelopeFunctionCatalogue[] = {
    {"Constant", "f(x) = a", 1, {"a"}},
    {"Linear", "f(x) = a * x + b", 2, {"a", "b"}},
    {"Quadratic", "f(x) = a * (x - b)^2 + c", 3, {"a", "b", "c"}},
    {"Sinus", "f(x) = a * sin(x * b - c) + d", 4, {"a", "b", "c", "d"}},
    {"Catmull-Rom Spline", "Catmull-Rom Spline", 24, {"x1",  "y1",  "x2",  "y2",  "x3",  "y3",
                                                      "x4",  "y4",  "x5",  "y5",  "x6",  "y6",
                                                      "x7",  "y7",  "x8",  "y8",  "x9",  "y9",
                                                      "x10", "y10", "x11", "y11", "x12", "y12"}},
    {"Sinus * x", "f(x) = (a * x + e) * sin(x * b - c) + d", 5, {"a", "b", "c", "d", "e"}},
};
static_assert(std::size(EnvelopeFunctionCatalogue) == 6);

constexpr NameRow ValueKindCatalogue[] = {{"Float"}, {"Integer"}};
static_assert(std::size(ValueKindCatalogue) == 2);

// Colors, scalars, lights, procedural textures, 2D effects, bitmaps. "Procedrual" in row 3 is how
// the table has always had it.
constexpr MaterialRow MaterialCatalogue[] = {
    {"Color", 1, 1, 0, 0, 0, 0, {"Color", "Alpha (0-1)"}},
    {"Color + Light", 1, 1, 1, 0, 0, 0, {"Color", "Light", "Alpha (0-1)"}},
    {"Procedural Texture", 1, 1, 0, 1, 0, 0, {"Color", "Procedural Texture", "Alpha (0-1)"}},
    {"Procedural Texture + Light",
     1,
     1,
     1,
     1,
     0,
     0,
     {"Color", "Light", "Procedrual Texture", "Alpha (0-1)"}},
    {"Procedural Environment mapping",
     1,
     1,
     0,
     1,
     0,
     0,
     {"Color", "Procedural Texture", "Alpha (0-1)"}},
    {"Procedural Environment mapping + light",
     1,
     1,
     1,
     1,
     0,
     0,
     {"Color", "Light", "Procedural Texture", "Alpha (0-1)"}},
    {"2D Effect Texture", 1, 1, 0, 0, 1, 0, {"Color", "2D Effect Texture", "Alpha (0-1)"}},
    {"Bitmap texture", 1, 1, 0, 0, 0, 1, {"Color", "Bitmap Texture", "Alpha (0-1)"}},
    {"Bitmap multitexture",
     1,
     1,
     0,
     0,
     0,
     2,
     {"Color", "1. Bitmap Texture", "2. Bitmap Texture", "Alpha (0-1)"}},
    {"Bitmap texture + light",
     1,
     1,
     1,
     0,
     0,
     1,
     {"Color", "Light", "Bitmap Texture", "Alpha (0-1)"}},
    {"Clamped bitmap texture", 1, 1, 0, 0, 0, 1, {"Color", "Bitmap Texture", "Alpha (0-1)"}},
    {"Bitmap environment mapping",
     1,
     2,
     0,
     0,
     0,
     1,
     {"Color", "Bitmap Texture", "Alpha (0-1)", "Rotate texture (0, 1)"}},
    {"Bitmap environment mapping with light",
     1,
     2,
     1,
     0,
     0,
     1,
     {"Color", "Bitmap Texture", "Light", "Alpha (0-1)", "Rotate texture (0, 1)"}},
    {"Additive clamped bitmap texture",
     1,
     1,
     0,
     0,
     0,
     1,
     {"Color", "Bitmap Texture", "Alpha (0-1)"}},
    {"Additive DOT3 bump mapping bitmap texture",
     1,
     1,
     1,
     0,
     0,
     2,
     {"Color", "Light", "1. Bitmap Texture", "2. Bitmap Texture", "Alpha (0-1)"}},
    {"Clamped bitmap texture with alpha", 1, 0, 0, 0, 0, 1, {"Color", "Bitmap Texture"}},
    {"Additive bitmap environment mapping",
     1,
     2,
     0,
     0,
     0,
     1,
     {"Color", "Bitmap Texture", "Alpha (0-1)", "Rotate texture (0, 1)"}},
    {"Clamped bitmap texture with alpha, no depth test",
     1,
     0,
     0,
     0,
     0,
     1,
     {"Color", "Bitmap Texture"}},
    {"Additive clamped procedural texture, no depth test",
     1,
     1,
     0,
     1,
     0,
     0,
     {"Color", "Procedural Texture", "Alpha (0-1)"}},
    {"Color, no depth test", 1, 1, 0, 0, 0, 0, {"Color", "Alpha (0-1)"}},
    {"Additive Procedural Environment mapping",
     1,
     1,
     0,
     1,
     0,
     0,
     {"Color", "Procedural Texture", "Alpha (0-1)"}},
    {"Additive color, no depth test", 1, 0, 0, 0, 0, 0, {"Color"}},
    {"Bitmap multitexture add",
     1,
     1,
     0,
     0,
     0,
     2,
     {"Color", "1. Bitmap Texture", "2. Bitmap Texture", "Alpha (0-1)"}},
    {"Wireframe", 1, 2, 0, 0, 0, 0, {"Color", "Alpha (0-1)", "Line width"}},
};
static_assert(std::size(MaterialCatalogue) == 24);

constexpr Effect2DRow Effect2DCatalogue[] = {
    {"Test 2d effect", 2, {"Test parameter1", "Test parameter2"}},
    {"Effect 1", 1, {"Step"}},
    {"Amoba", 1, {"Update"}},
    {"Rotate", 1, {"Step"}},
};
static_assert(std::size(Effect2DCatalogue) == 4);

constexpr NameRow ObjectKindCatalogue[] = {{"Model"}, {"Genmesh"}};
static_assert(std::size(ObjectKindCatalogue) == 2);

constexpr ManipulatorRow ManipulatorCatalogue[] = {
    {"XYZ Multiplier",
     0,
     12,
     {"X number", "Y number", "Z number", "Position X step", "Position Y step", "Position Z step",
      "Rotate X step", "Rotate Y step", "Rotate Z step", "Scale X step", "Scale Y step",
      "Scale Z step"}},
    {"X Multiplier",
     0,
     10,
     {"X number", "Position X step", "Position Y step", "Position Z step", "Rotate X step",
      "Rotate Y step", "Rotate Z step", "Scale X step", "Scale Y step", "Scale Z step"}},
    {"Rippler", 0, 3, {"Time", "Amplitude", "Wavelength"}},
    {"Model placer",
     1,
     9,
     {"Position X", "Position Y", "Position Z", "Rotate X", "Rotate Y", "Rotate Z", "Scale X",
      "Scale Y", "Scale Z"}},
};
static_assert(std::size(ManipulatorCatalogue) == 4);

constexpr PassKindRow PassKindCatalogue[] = {
    {"Simple render", 0, {}},
    {"Render to texture", 1, {"Texture"}},
    {"Link with previous", 0, {}},
    {"Clear Z-buffer and render", 0, {}},
    {"Render to texture, force 16:9", 1, {"Texture"}},
    {"Render to quarter screen texture", 1, {"Texture"}},
};
static_assert(std::size(PassKindCatalogue) == 6);

constexpr GenMeshRow GenMeshCatalogue[] = {
    {"Lake water", 1, {"Time"}},
    {"Centerwave water", 1, {"Time"}},
};
static_assert(std::size(GenMeshCatalogue) == 2);

constexpr NameRow FogModeCatalogue[] = {{"Off"}, {"Linear"}};
static_assert(std::size(FogModeCatalogue) == 2);
