// SPDX-License-Identifier: MIT
#include "engine/data/vocabulary.h"

#include <cassert>
#include <iterator>
#include <limits>

using enum ParamKind;
using enum PastRange;
using Param = VocabularyParam;
using Row = VocabularyRow;

static constexpr float kAny = std::numeric_limits<float>::infinity();

// A row is one line wherever it fits.
// clang-format off

// ---- Generators: name, word, meaning, kind, least, most, usual, past the range

static constexpr Param kColorLayerParams[] = {
    {"Color", "color", "color", Color, 0, 1, 1, Wraps},
};
static constexpr Param kPlasmaParams[] = {
    {"Plasma color", "color", "color", Color, 0, 1, 1, Wraps},
    {"Repeat x", "repeat_x", "number of waves across", Number, -kAny, kAny, 1, Works},
    {"Repeat y", "repeat_y", "number of waves down", Number, -kAny, kAny, 1, Works},
};
static constexpr Param kRadialParams[] = {
    {"Center color", "center", "color of the center", Color, 0, 1, 1, Wraps},
    {"Margin color", "margin", "color of the margin", Color, 0, 1, 0, Wraps},
    {"Inverse radian", "inverse_radius", "number of radii in half the image's side", Number, -kAny, kAny, 1, Works},
    {"Color offset (0-127)", "offset", "radius of the plain center, at an inverse radius of 1", Integer, 0, 127, 0, Holds},
};
static constexpr Param kMazeParams[] = {
    {"Color", "color", "color", Color, 0, 1, 1, Wraps},
    {"Maze size (1 - 7 integer)", "size", "size of the cells", Integer, 1, 7, 4, Holds},
    {"Maze field (integer)", "field", "number of the field", Integer, -kAny, kAny, 1, Works},
    {"Maze fullness (0 - 1 float)", "fullness", "fullness", Number, 0, 1, 0.5f, Holds},
};
static constexpr Param kBricksParams[] = {
    {"Brick color", "color", "color of the bricks", Color, 0, 1, 1, Wraps},
    {"Wall color", "wall", "color of the wall", Color, 0, 1, 0, Wraps},
    {"Horizontal number", "courses", "number of courses", Count, 1, kAny, 8, None},
    {"Vertical number", "bricks", "number of bricks in a course", Count, 1, kAny, 4, None},
    {"Horizontal margin", "course_margin", "wall between courses, in pixels", Count, 0, kAny, 2, None},
    {"Vertical margin", "brick_margin", "wall between bricks, in pixels", Count, 0, kAny, 2, None},
    {"Second line offset", "shift", "offset of every second course, in pixels", Integer, 0, 255, 32, Wraps}, // -r is as r
};
static constexpr Param kNoiseParams[] = {
    {"Color", "color", "color", Color, 0, 1, 1, Wraps},
    {"Random seed", "seed", "number of the noise", Integer, -kAny, kAny, 1, Works},
};
static constexpr Row kGeneratorRows[] = {
    {kGeneratorColor, "Color", "color", kColorLayerParams},
    {kGeneratorPlasma, "Sinus plasma", "plasma", kPlasmaParams},
    {kGeneratorRadial, "Radial colors", "radial", kRadialParams},
    {kGeneratorMaze, "Maze", "maze", kMazeParams},
    {kGeneratorBricks, "Bricks", "bricks", kBricksParams},
    {kGeneratorNoise, "Noise", "noise", kNoiseParams},
};

// ---- Texture steps. The first scale is the work image's, the second the layer's

static constexpr Param kTwoScales[] = {
    {"1. scale", "scale", "scale of the image", Number, -kAny, kAny, 1, Works},
    {"2. scale", "layer_scale", "scale of the layer", Number, -kAny, kAny, 1, Works},
};
static constexpr Param kProductScale[] = {
    {"Scale", "scale", "scale", Number, -kAny, kAny, 0.00392157f, Works},
};
static constexpr Param kScale[] = {
    {"Scale", "scale", "scale", Number, -kAny, kAny, 1, Works},
};
static constexpr Param kOffsetParams[] = {
    {"X offset", "rows", "move in rows", Integer, -255, 255, 0, Wraps},
    {"Y offset", "columns", "move in columns", Integer, -255, 255, 0, Wraps},
};
static constexpr Param kRippleParams[] = {
    {"X amplitude", "amplitude_x", "amplitude across, in image widths", Number, -kAny, kAny, 0.05f, Works},
    {"Y amplitude", "amplitude_y", "amplitude down, in image widths", Number, -kAny, kAny, 0.05f, Works},
    {"X wavelength", "waves_x", "number of waves across", Integer, -kAny, kAny, 2, Works},
    {"Y wavelength", "waves_y", "number of waves down", Integer, -kAny, kAny, 2, Works},
};
static constexpr Param kEmbossParams[] = {
    {"Direction (1-4)", "direction", "direction", Integer, 1, 4, 1, Holds},
};
static constexpr Param kConvolutionParams[] = {
    {"m11", "m11", "weight in row 1, column 1", Number, -kAny, kAny, 0, Works},
    {"m12", "m12", "weight in row 1, column 2", Number, -kAny, kAny, 0, Works},
    {"m13", "m13", "weight in row 1, column 3", Number, -kAny, kAny, 0, Works},
    {"m21", "m21", "weight in row 2, column 1", Number, -kAny, kAny, 0, Works},
    {"m22", "m22", "weight in row 2, column 2", Number, -kAny, kAny, 1, Works},
    {"m23", "m23", "weight in row 2, column 3", Number, -kAny, kAny, 0, Works},
    {"m31", "m31", "weight in row 3, column 1", Number, -kAny, kAny, 0, Works},
    {"m32", "m32", "weight in row 3, column 2", Number, -kAny, kAny, 0, Works},
    {"m33", "m33", "weight in row 3, column 3", Number, -kAny, kAny, 0, Works},
};
static constexpr Row kStepRows[] = {
    {kStepAdd, "Add", "add", kTwoScales},
    {kStepMultiply, "Multiply", "multiply", kProductScale},
    {kStepMaximum, "Maximum", "maximum", kTwoScales},
    {kStepMinimum, "Minimum", "minimum", kTwoScales},
    {kStepInvert, "Invert", "invert", {}},
    {kStepScale, "Multiply", "scale", kScale},
    {kStepOffset, "Offset", "offset", kOffsetParams},
    {kStepRipple, "Ripple", "ripple", kRippleParams},
    {kStepBlur, "Blur", "blur", {}},
    {kStepEmboss, "Emboss", "emboss", kEmbossParams},
    {kStepConvolution, "Convolution", "convolution", kConvolutionParams},
};

// ---- Envelopes

static constexpr Param kLetters[] = {
    {"a", "a", "factor a", Number, -kAny, kAny, 1, Works},
    {"b", "b", "number b", Number, -kAny, kAny, 0, Works},
    {"c", "c", "number c", Number, -kAny, kAny, 0, Works},
    {"d", "d", "number d", Number, -kAny, kAny, 0, Works},
    {"e", "e", "number e", Number, -kAny, kAny, 0, Works},
};
static constexpr Param kPoints[] = {
    {"x1", "x1", "tick of point 1", Number, -kAny, kAny, 0, Works},
    {"y1", "y1", "value of point 1", Number, -kAny, kAny, 0, Works},
    {"x2", "x2", "tick of point 2", Number, -kAny, kAny, 0, Works},
    {"y2", "y2", "value of point 2", Number, -kAny, kAny, 0, Works},
    {"x3", "x3", "tick of point 3", Number, -kAny, kAny, 0, Works},
    {"y3", "y3", "value of point 3", Number, -kAny, kAny, 0, Works},
    {"x4", "x4", "tick of point 4", Number, -kAny, kAny, 0, Works},
    {"y4", "y4", "value of point 4", Number, -kAny, kAny, 0, Works},
    {"x5", "x5", "tick of point 5", Number, -kAny, kAny, 0, Works},
    {"y5", "y5", "value of point 5", Number, -kAny, kAny, 0, Works},
    {"x6", "x6", "tick of point 6", Number, -kAny, kAny, 0, Works},
    {"y6", "y6", "value of point 6", Number, -kAny, kAny, 0, Works},
    {"x7", "x7", "tick of point 7", Number, -kAny, kAny, 0, Works},
    {"y7", "y7", "value of point 7", Number, -kAny, kAny, 0, Works},
    {"x8", "x8", "tick of point 8", Number, -kAny, kAny, 0, Works},
    {"y8", "y8", "value of point 8", Number, -kAny, kAny, 0, Works},
    {"x9", "x9", "tick of point 9", Number, -kAny, kAny, 0, Works},
    {"y9", "y9", "value of point 9", Number, -kAny, kAny, 0, Works},
    {"x10", "x10", "tick of point 10", Number, -kAny, kAny, 0, Works},
    {"y10", "y10", "value of point 10", Number, -kAny, kAny, 0, Works},
    {"x11", "x11", "tick of point 11", Number, -kAny, kAny, 0, Works},
    {"y11", "y11", "value of point 11", Number, -kAny, kAny, 0, Works},
    {"x12", "x12", "tick of point 12", Number, -kAny, kAny, 0, Works},
    {"y12", "y12", "value of point 12", Number, -kAny, kAny, 0, Works},
};
static_assert(std::size(kPoints) == 2 * kSplinePoints && std::size(kPoints) == kEnvelopeParams);

static constexpr std::span<const Param> kAllLetters = kLetters;
static constexpr Row kFunctionRows[] = {
    {kFunctionConstant, "Constant", "constant", kAllLetters.first(1), 0, "f(x) = a"},
    {kFunctionLinear, "Linear", "linear", kAllLetters.first(2), 0, "f(x) = a * x + b"},
    {kFunctionQuadratic, "Quadratic", "quadratic", kAllLetters.first(3), 0, "f(x) = a * (x - b)^2 + c"},
    {kFunctionSinus, "Sinus", "sinus", kAllLetters.first(4), 0, "f(x) = a * sin(x * b - c) + d"},
    {kFunctionSpline, "Catmull-Rom Spline", "spline", kPoints, 0, "Catmull-Rom Spline"},
    {kFunctionSinusX, "Sinus * x", "sinus_x", kAllLetters, 0, "f(x) = (a * x + e) * sin(x * b - c) + d"},
};
static constexpr Row kLoopRows[] = {
    {kLoopOff, "Off", "off", {}},
    {kLoopLoop, "Loop", "loop", {}},
    {kLoopPingPong, "Ping-pong", "ping_pong", {}},
};
static constexpr Row kValueKindRows[] = {
    {0, "Float", "float", {}},
    {1, "Integer", "integer", {}},
};

// ---- 2D effects

static constexpr Param kTestEffectParams[] = {
    {"Test parameter1", "first", "first value", Envelope, -kAny, kAny, 0, Works},
    {"Test parameter2", "second", "second value", Envelope, -kAny, kAny, 0, Works},
};
static constexpr Param kStepEnvelope[] = {{"Step", "step", "phase", Envelope, -kAny, kAny, 0, Works}};
static constexpr Param kUpdateEnvelope[] = {{"Update", "update", "number of steps", Envelope, -kAny, kAny, 0, Works}};
static constexpr Row kEffectRows[] = {
    {kEffectTest, "Test 2d effect", "test", kTestEffectParams},
    {kEffectPlasma, "Effect 1", "plasma", kStepEnvelope},
    {kEffectAmoba, "Amoba", "amoba", kUpdateEnvelope, kTraitHistory},
    {kEffectRotate, "Rotate", "rotate", kStepEnvelope},
};

// ---- Materials. In a document color, alpha and the fifth number come first, then the references,
// the light before all others: in row 12 this table has it later. "Procedrual" in row 3 is the name
// of the recipe; it is spelled so.

static constexpr Param kRecipeColorParam = {"Color", "color", "color", Color, 0, 1, 1, Holds};
/// Light is added up before anything is cut to 1.
static constexpr Param kLitColorParam = {"Color", "color", "color", Color, -kAny, kAny, 1, Works};
static constexpr Param kAlphaParam = {"Alpha (0-1)", "alpha", "alpha", Number, 0, 1, 1, Holds};
static constexpr Param kLightParam = {"Light", "light", "light", Light, 0, 4096, 0, Fails};
static constexpr Param kTextureParam = {"Procedural Texture", "texture", "texture", Texture, 0, 4096, 0, Fails};
static constexpr Param kEffectParam = {"2D Effect Texture", "effect", "2D effect", Effect, 0, 4096, 0, Fails};
static constexpr Param kBitmapParam = {"Bitmap Texture", "bitmap", "bitmap", Bitmap, 0, 4096, 0, Fails};
static constexpr Param kFirstBitmap = {"1. Bitmap Texture", "bitmap", "first bitmap", Bitmap, 0, 4096, 0, Fails};
static constexpr Param kSecondBitmap = {"2. Bitmap Texture", "bitmap2", "second bitmap", Bitmap, 0, 4096, 0, Fails};
static constexpr Param kTurnParam = {"Rotate texture (0, 1)", "turns", "turn with the camera", Flag, 0, 1, 0, Works};
static constexpr Param kWidthParam = {"Line width", "width", "width of the lines, in pixels", Number, 0.125f, kAny, 1, Keeps};

static constexpr Param kPlain[] = {kRecipeColorParam, kAlphaParam};
static constexpr Param kLit[] = {kLitColorParam, kLightParam, kAlphaParam};
static constexpr Param kTextured[] = {kRecipeColorParam, kTextureParam, kAlphaParam};
static constexpr Param kLitTextured[] = {kLitColorParam, kLightParam, kTextureParam, kAlphaParam};
static constexpr Param kLitMisspelled[] = {
    kLitColorParam,
    kLightParam,
    {"Procedrual Texture", "texture", "texture", Texture, 0, 4096, 0, Fails},
    kAlphaParam,
};
static constexpr Param kWithEffect[] = {kRecipeColorParam, kEffectParam, kAlphaParam};
static constexpr Param kWithBitmap[] = {kRecipeColorParam, kBitmapParam, kAlphaParam};
static constexpr Param kLitBitmap[] = {kLitColorParam, kLightParam, kBitmapParam, kAlphaParam};
static constexpr Param kTwoBitmaps[] = {kRecipeColorParam, kFirstBitmap, kSecondBitmap, kAlphaParam};
static constexpr Param kLitTwoBitmaps[] = {kLitColorParam, kLightParam, kFirstBitmap, kSecondBitmap, kAlphaParam};
static constexpr Param kTurningBitmap[] = {kRecipeColorParam, kBitmapParam, kAlphaParam, kTurnParam};
static constexpr Param kLitTurningBitmap[] = {kLitColorParam, kBitmapParam, kLightParam, kAlphaParam, kTurnParam};
static constexpr Param kCutoutBitmap[] = {kRecipeColorParam, kBitmapParam};
static constexpr Param kColorAlone[] = {kRecipeColorParam};
static constexpr Param kLines[] = {kRecipeColorParam, kAlphaParam, kWidthParam};

static constexpr uint32_t kFlat = kTraitAlpha | kTraitCoordinates;
static constexpr uint32_t kReflection = kTraitAlpha | kTraitReflects;
static constexpr uint32_t kAdded = kTraitAdds;
static constexpr uint32_t kCut = kTraitCutout | kTraitCoordinates | kTraitClamps;
static constexpr uint32_t kBoth = kTraitCoordinates | kTraitCoordinates2;
static constexpr Row kRecipeRows[] = {
    {0, "Color", "color", kPlain, kTraitAlpha},
    {1, "Color + Light", "lit_color", kLit, kTraitLit | kTraitAlpha},
    {2, "Procedural Texture", "texture", kTextured, kFlat | kTraitInherits},
    {3, "Procedural Texture + Light", "lit_texture", kLitMisspelled, kTraitLit | kFlat | kTraitInherits},
    {4, "Procedural Environment mapping", "environment", kTextured, kReflection | kTraitInherits},
    {5, "Procedural Environment mapping + light", "lit_environment", kLitTextured, kTraitLit | kReflection | kTraitInherits},
    {6, "2D Effect Texture", "effect", kWithEffect, kFlat},
    {7, "Bitmap texture", "bitmap", kWithBitmap, kFlat},
    {8, "Bitmap multitexture", "two_bitmaps", kTwoBitmaps, kTraitAlpha | kBoth},
    {9, "Bitmap texture + light", "lit_bitmap", kLitBitmap, kTraitLit | kFlat},
    {10, "Clamped bitmap texture", "clamped_bitmap", kWithBitmap, kFlat | kTraitClamps},
    {11, "Bitmap environment mapping", "bitmap_environment", kTurningBitmap, kReflection | kTraitTurns},
    {12, "Bitmap environment mapping with light", "lit_bitmap_environment", kLitTurningBitmap, kTraitLit | kReflection | kTraitTurns},
    {13, "Additive clamped bitmap texture", "added_bitmap", kWithBitmap, kAdded | kTraitCoordinates | kTraitClamps},
    {14, "Additive DOT3 bump mapping bitmap texture", "added_bump", kLitTwoBitmaps, kTraitLit | kAdded | kTraitReflects | kTraitCoordinates2 | kTraitBump},
    {15, "Clamped bitmap texture with alpha", "cutout", kCutoutBitmap, kCut},
    {16, "Additive bitmap environment mapping", "added_bitmap_environment", kTurningBitmap, kAdded | kTraitReflects | kTraitTurns | kTraitInherits},
    {17, "Clamped bitmap texture with alpha, no depth test", "cutout_on_top", kCutoutBitmap, kCut | kTraitOnTop},
    {18, "Additive clamped procedural texture, no depth test", "added_texture_on_top", kTextured, kAdded | kTraitCoordinates | kTraitClamps | kTraitOnTop},
    {19, "Color, no depth test", "color_on_top", kPlain, kTraitAlpha | kTraitOnTop},
    {20, "Additive Procedural Environment mapping", "added_environment", kTextured, kAdded | kTraitReflects | kTraitInherits},
    {21, "Additive color, no depth test", "added_color_on_top", kColorAlone, kAdded | kTraitOnTop},
    {22, "Bitmap multitexture add", "faded_bitmaps", kTwoBitmaps, kAdded | kBoth},
    {23, "Wireframe", "wireframe", kLines, kTraitAlpha | kTraitLines},
};
static_assert(std::size(kRecipeRows) == kMaterialTypes);

// ---- Geometry

static constexpr Param kTimeEnvelope[] = {{"Time", "time", "time", Envelope, -kAny, kAny, 0, Works}};
static constexpr Row kGenMeshRows[] = {
    {kLakeWater, "Lake water", "lake_water", kTimeEnvelope, kTraitHistory},
    {kCenterwaveWater, "Centerwave water", "centerwave_water", kTimeEnvelope},
};
static constexpr Row kObjectKindRows[] = {
    {kObjectModel, "Model", "model", {}},
    {kObjectGenMesh, "Genmesh", "genmesh", {}},
};

static constexpr float kMostCopies = static_cast<float>(kInstanceLimit);
static constexpr Param kXyzMultiplierParams[] = {
    {"X number", "count_x", "number of copies along x", Count, 0, kMostCopies, 1, Fails},
    {"Y number", "count_y", "number of copies along y", Count, 0, kMostCopies, 1, Fails},
    {"Z number", "count_z", "number of copies along z", Count, 0, kMostCopies, 1, Fails},
    {"Position X step", "step_x", "step of the position along x", Number, -kAny, kAny, 0, Works},
    {"Position Y step", "step_y", "step of the position along y", Number, -kAny, kAny, 0, Works},
    {"Position Z step", "step_z", "step of the position along z", Number, -kAny, kAny, 0, Works},
    {"Rotate X step", "turn_x", "step of the turn about x, in degrees", Number, -kAny, kAny, 0, Works},
    {"Rotate Y step", "turn_y", "step of the turn about y, in degrees", Number, -kAny, kAny, 0, Works},
    {"Rotate Z step", "turn_z", "step of the turn about z, in degrees", Number, -kAny, kAny, 0, Works},
    {"Scale X step", "scale_x", "step of the scale along x", Number, -kAny, kAny, 0, Works},
    {"Scale Y step", "scale_y", "step of the scale along y", Number, -kAny, kAny, 0, Works},
    {"Scale Z step", "scale_z", "step of the scale along z", Number, -kAny, kAny, 0, Works},
};
static constexpr Param kXMultiplierParams[] = {
    {"X number", "count", "number of copies along x", Count, 0, kMostCopies, 1, Fails},
    {"Position X step", "step_x", "step of the position along x", Number, -kAny, kAny, 0, Works},
    {"Position Y step", "step_y", "step of the position along y", Number, -kAny, kAny, 0, Works},
    {"Position Z step", "step_z", "step of the position along z", Number, -kAny, kAny, 0, Works},
    {"Rotate X step", "turn_x", "step of the turn about x, in degrees", Number, -kAny, kAny, 0, Works},
    {"Rotate Y step", "turn_y", "step of the turn about y, in degrees", Number, -kAny, kAny, 0, Works},
    {"Rotate Z step", "turn_z", "step of the turn about z, in degrees", Number, -kAny, kAny, 0, Works},
    {"Scale X step", "scale_x", "step of the scale along x", Number, -kAny, kAny, 0, Works},
    {"Scale Y step", "scale_y", "step of the scale along y", Number, -kAny, kAny, 0, Works},
    {"Scale Z step", "scale_z", "step of the scale along z", Number, -kAny, kAny, 0, Works},
};
static constexpr Param kRipplerParams[] = {
    {"Time", "time", "time", Number, -kAny, kAny, 0, Works},
    {"Amplitude", "amplitude", "amplitude", Number, -kAny, kAny, 0.1f, Works},
    {"Wavelength", "wavelength", "number that is larger for shorter waves", Number, -kAny, kAny, 1, Works},
};
static constexpr Param kModelPlacerParams[] = {
    {"Position X", "x", "position along x", Number, -kAny, kAny, 0, Works},
    {"Position Y", "y", "position along y", Number, -kAny, kAny, 0, Works},
    {"Position Z", "z", "position along z", Number, -kAny, kAny, 0, Works},
    {"Rotate X", "turn_x", "turn about x, in degrees", Number, -kAny, kAny, 0, Works},
    {"Rotate Y", "turn_y", "turn about y, in degrees", Number, -kAny, kAny, 0, Works},
    {"Rotate Z", "turn_z", "turn about z, in degrees", Number, -kAny, kAny, 0, Works},
    {"Scale X", "scale_x", "scale along x", Number, -kAny, kAny, 1, Works},
    {"Scale Y", "scale_y", "scale along y", Number, -kAny, kAny, 1, Works},
    {"Scale Z", "scale_z", "scale along z", Number, -kAny, kAny, 1, Works},
};
static constexpr Row kManipulatorRows[] = {
    {kManipulatorXyzMultiplier, "XYZ Multiplier", "xyz_multiplier", kXyzMultiplierParams},
    {kManipulatorXMultiplier, "X Multiplier", "x_multiplier", kXMultiplierParams},
    {kManipulatorRippler, "Rippler", "rippler", kRipplerParams},
    {kManipulatorModelPlacer, "Model placer", "model_placer", kModelPlacerParams, kTraitPlacesOnMesh},
};

// ---- The timeline

static constexpr Param kTargetParam[] = {{"Texture", "target", "bitmap that is drawn into", Bitmap, 0, 4096, 0, Fails}};
static constexpr Row kPassRows[] = {
    {kPassSimple, "Simple render", "simple", {}},
    {kPassTexture, "Render to texture", "texture", kTargetParam, kTraitTarget},
    {kPassLink, "Link with previous", "link", {}, kTraitKeepsTarget},
    {kPassClearDepth, "Clear Z-buffer and render", "clear_depth", {}, kTraitClearsDepth},
    {kPassTextureWide, "Render to texture, force 16:9", "texture_wide", kTargetParam, kTraitTarget},
    {kPassTextureQuarter, "Render to quarter screen texture", "texture_quarter", kTargetParam, kTraitTarget},
};
static constexpr Param kFieldOfView[] = {{"Field of view", "fov", "field of view, in degrees", Number, 0, 180, 60, Works}};
static constexpr Param kViewEnvelope[] = {{"Field of view", "fov", "field of view, in degrees", Envelope, 0, 4096, 0, Fails}};
static constexpr Row kProjectionRows[] = {
    {kProjectionPerspective, "static", "perspective", kFieldOfView},
    {kProjectionOrthographic, "ortographic", "flat", {}, kTraitOnTop},
    {kProjectionAnimatedFov, "dynamic", "animated_perspective", kViewEnvelope},
};
static constexpr Param kFogParams[] = {
    {"Density", "density", "density, which counts for nothing", Number, -kAny, kAny, 1, Works},
    {"Start", "start", "distance where it begins", Number, -kAny, kAny, 10, Works},
    {"End", "end", "distance where it hides all", Number, -kAny, kAny, 100, Works},
};
static constexpr Row kFogRows[] = {
    {kFogOff, "Off", "off", {}},
    {kFogLinear, "Linear", "linear", kFogParams},
};

// word, numbers may be envelopes, an absent number counts as, rows
constexpr Catalogue Catalogues[] = {
    {"generators", false, 0, kGeneratorRows},
    {"steps", false, 1, kStepRows},
    {"functions", false, 0, kFunctionRows},
    {"loops", false, 0, kLoopRows},
    {"value_kinds", false, 0, kValueKindRows},
    {"effects", false, 0, kEffectRows},
    {"recipes", true, 0, kRecipeRows},
    {"genmeshes", false, 0, kGenMeshRows},
    {"object_kinds", false, 0, kObjectKindRows},
    {"manipulators", true, 0, kManipulatorRows},
    {"passes", false, 0, kPassRows},
    {"projections", false, 0, kProjectionRows},
    {"fogs", true, 0, kFogRows},
};
static_assert(std::size(Catalogues) == kCatalogueCount);

// ---- Sections. Attributes: name, content, of, required

using Attribute = VocabularyAttribute;
using Element = VocabularyElement;
using Content = ContentKind;

static constexpr Attribute kValueAttributes[] = {{"type", Content::ValueType}, {"value", Content::Value}};
static constexpr int32_t Of(Section section)
{
    return static_cast<int32_t>(section);
}

static constexpr Attribute kIdOfEnvelope[] = {{"value", Content::Item, Of(Section::kEnvelopes)}};
static constexpr Attribute kIdOfEffect[] = {{"value", Content::Item, Of(Section::kEffects)}};
static constexpr Attribute kIdOfLight[] = {{"value", Content::Item, Of(Section::kLights)}};
static constexpr Attribute kIdOfMaterial[] = {{"value", Content::Item, Of(Section::kMaterials)}};
static constexpr Attribute kIdOfImage[] = {{"value", Content::Item, Of(Section::kTextures)}};
static constexpr Attribute kShiftAttributes[] = {{"value", Content::Number}};
static constexpr Attribute kFileAttributes[] = {{"filename", Content::File}};

/// An element with an animated value, found by its place.
static consteval Element Animated(const char* name)
{
    return {name, false, 1, 1, Content::Nothing, kValueAttributes, {}};
}

static constexpr Attribute kLayerAttributes[] = {{"type", Content::Row, kCatalogueGenerators}};
static constexpr Element kLayerChildren[] = {
    {"p", false, 0, kLayerParams, Content::Number, {}, {}},
};
static constexpr Element kLayerItem[] = {
    {"layer", false, 0, kLayerCapacity, Content::Nothing, kLayerAttributes, kLayerChildren},
};

// Combiners and filters mix in any order, 32 of both.
static constexpr Attribute kCombinerAttributes[] = {{"type", Content::Row, kCatalogueSteps}, {"id", Content::Layer}};
static constexpr Attribute kFilterAttributes[] = {{"type", Content::Row, kCatalogueSteps}};
static constexpr Element kStepChildren[] = {
    {"p", false, 0, kNoLimit, Content::Number, {}, {}},
};
static constexpr Element kTextureChildren[] = {
    {"layer", true, 0, kTextureSteps, Content::Nothing, kCombinerAttributes, kStepChildren},
    {"filter", false, 0, kTextureSteps, Content::Nothing, kFilterAttributes, kStepChildren},
};
static constexpr Element kTextureItem[] = {
    {"texture", false, 0, kObjectTableCapacity, Content::Nothing, {}, kTextureChildren},
};

static constexpr Element kModelItem[] = {
    {"model", false, 0, kObjectTableCapacity, Content::Nothing, kFileAttributes, {}},
};

static constexpr Attribute kEnvelopeAttributes[] = {
    {"type", Content::Row, kCatalogueValueKinds},
    {"loop_type", Content::Row, kCatalogueLoops},
    {"loop_begin", Content::Ticks},
    {"loop_end", Content::Ticks},
};
static constexpr Attribute kPieceAttributes[] = {{"type", Content::Row, kCatalogueFunctions}, {"length", Content::Ticks}};
static constexpr Element kPieceChildren[] = {
    {"p", false, 0, kEnvelopeParams, Content::Number, {}, {}},
};
static constexpr Element kEnvelopeChildren[] = {
    {"piece", false, 0, kEnvelopePieces, Content::Nothing, kPieceAttributes, kPieceChildren},
};
static constexpr Element kEnvelopeItem[] = {
    {"envelope", false, 0, kObjectTableCapacity, Content::Nothing, kEnvelopeAttributes, kEnvelopeChildren},
};

static constexpr Element kColorChildren[] = {Animated("r"), Animated("g"), Animated("b")};
static constexpr Element kPositionChildren[] = {Animated("x"), Animated("y"), Animated("z")};
static constexpr Element kLightChildren[] = {
    {"ambient", false, 1, 1, Content::Nothing, {}, kColorChildren},
    {"diffuse", false, 1, 1, Content::Nothing, {}, kColorChildren},
    {"position", false, 1, 1, Content::Nothing, {}, kPositionChildren},
};
static constexpr Element kLightItem[] = {
    {"light", false, 0, kObjectTableCapacity, Content::Nothing, {}, kLightChildren},
};

static constexpr Attribute kEffectAttributes[] = {
    {"name", Content::Text},
    {"type", Content::Row, kCatalogueEffects},
    {"resolution", Content::Size, 0, false},
    {"bpp", Content::Bits},
};
static constexpr Element kEffectChildren[] = {
    {"p", true, 1, kEffectParams, Content::Item, {}, {}},
};
static constexpr Element kEffectItem[] = {
    {"effect", false, 0, kObjectTableCapacity, Content::Nothing, kEffectAttributes, kEffectChildren},
};

static constexpr Element kBitmapItem[] = {
    {"bitmap", false, 0, kObjectTableCapacity, Content::Nothing, kFileAttributes, {}},
};

// Lights and images share one list. A light comes first; of images the recipe says the section.
static constexpr Attribute kMaterialAttributes[] = {{"type", Content::Row, kCatalogueRecipes}};
static constexpr Element kMaterialChildren[] = {
    {"p", true, 0, kMaterialParams, Content::Nothing, kValueAttributes, {}},
    {"effect2d", true, 0, kMaterialRefs, Content::Nothing, kIdOfEffect, {}},
    {"light", false, 0, kMaterialRefs, Content::Nothing, kIdOfLight, {}},
    {"texture", false, 0, kMaterialRefs, Content::Nothing, kIdOfImage, {}},
};
static constexpr Element kMaterialItem[] = {
    {"material", false, 0, kObjectTableCapacity, Content::Nothing, kMaterialAttributes, kMaterialChildren},
};

static constexpr Attribute kGenMeshAttributes[] = {{"type", Content::Row, kCatalogueGenMeshes}};
static constexpr Element kGenMeshChildren[] = {
    {"p", true, 1, kGenMeshParams, Content::Item, {}, {}},
};
static constexpr Element kGenMeshItem[] = {
    {"genmesh", false, 0, kObjectTableCapacity, Content::Nothing, kGenMeshAttributes, kGenMeshChildren},
};

static constexpr Attribute kObjectAttributes[] = {
    {"type", Content::Row, kCatalogueObjectKinds},
    {"object", Content::Item, Of(Section::kModels)}, // or of section 8, by "type"
    {"material", Content::Item, Of(Section::kMaterials)},
};
static constexpr Attribute kManipulatorAttributes[] = {{"type", Content::Row, kCatalogueManipulators}};
static constexpr Attribute kPlacementAttributes[] = {
    {"type", Content::Row, kCatalogueObjectKinds},
    {"model", Content::Item, Of(Section::kModels)}, // or of section 8, by "type"
};
static constexpr Element kManipulatorChildren[] = {
    {"manipulator", true, 0, 1, Content::Nothing, kPlacementAttributes, {}},
    {"p", false, 0, kManipulatorParams, Content::Nothing, kValueAttributes, {}},
};
static constexpr Element kObjectChildren[] = {
    Animated("x"), Animated("y"), Animated("z"),
    Animated("rx"), Animated("ry"), Animated("rz"),
    Animated("sx"), Animated("sy"), Animated("sz"),
    {"visible", false, 1, 1, Content::Nothing, kIdOfEnvelope, {}},
    {"shift", false, 1, 1, Content::Nothing, kShiftAttributes, {}},
    {"manipulator", false, 0, kSceneManipulators, Content::Nothing, kManipulatorAttributes, kManipulatorChildren},
};
static constexpr Element kSceneChildren[] = {
    {"object", false, 0, kSceneObjects, Content::Nothing, kObjectAttributes, kObjectChildren},
};
static constexpr Element kSceneItem[] = {
    {"scene", false, 0, kObjectTableCapacity, Content::Nothing, {}, kSceneChildren},
};

static constexpr Attribute kClipAttributes[] = {
    {"id", Content::Item, Of(Section::kScenes)},
    {"space_before", Content::Ticks},
    {"length", Content::Ticks},
    {"offset", Content::Ticks},
    {"type", Content::Row, kCataloguePasses},
    {"rtex", Content::Item, Of(Section::kBitmaps), false}, // of passes with a target
};
static constexpr Attribute kFovAttributes[] = {{"type", Content::Projection}, {"value", Content::Value, 0, false}};
static constexpr Attribute kFogAttributes[] = {{"type", Content::Row, kCatalogueFogModes}};
static constexpr Element kFogChildren[] = {
    Animated("density"), Animated("start"), Animated("end"),
    {"colour", false, 1, 1, Content::Nothing, kIdOfMaterial, {}},
};
static constexpr Element kClipChildren[] = {
    Animated("x"), Animated("y"), Animated("z"),
    Animated("rx"), Animated("ry"), Animated("rz"),
    {"fov", false, 1, 1, Content::Nothing, kFovAttributes, {}},
    {"fog", false, 1, 1, Content::Nothing, kFogAttributes, kFogChildren},
};
static constexpr Element kRowChildren[] = {
    {"clip", false, 0, kTimelineClips, Content::Nothing, kClipAttributes, kClipChildren},
};
static constexpr Element kRowItem[] = {
    {"row", false, 1, kTimelineRows, Content::Nothing, {}, kRowChildren},
};

static constexpr Attribute kMusicAttributes[] = {{"file", Content::Text, 0, false}};
static constexpr Element kMusicItem[] = {
    {"music", false, 1, 1, Content::Nothing, kMusicAttributes, {}},
};

constexpr VocabularySection VocabularySections[] = {
    {Section::kLayers, "layers", "section 0 (layers)", "item", "parameter", kLayerItem},
    {Section::kTextures, "textures", "section 1 (procedural textures)", "item", "step", kTextureItem},
    {Section::kModels, "models", "section 2 (models)", "item", "part", kModelItem},
    {Section::kEnvelopes, "envelopes", "section 3 (envelopes)", "item", "piece", kEnvelopeItem},
    {Section::kLights, "lights", "section 4 (lights)", "item", "value", kLightItem},
    {Section::kEffects, "effects", "section 5 (2D effects)", "item", "parameter", kEffectItem},
    {Section::kBitmaps, "bitmaps", "section 6 (bitmaps)", "item", "part", kBitmapItem},
    {Section::kMaterials, "materials", "section 7 (materials)", "item", "child", kMaterialItem},
    {Section::kGenMeshes, "genmeshes", "section 8 (generated meshes)", "item", "parameter", kGenMeshItem},
    {Section::kScenes, "scenes", "section 9 (scenes)", "item", "object", kSceneItem},
    {Section::kTimeline, "timeline", "section 10 (timeline)", "row", "clip", kRowItem},
    {Section::kMusic, "music", "music node", "item", "part", kMusicItem},
};

// ---- Limits

static constexpr VocabularyLimit kLimitRows[] = {
    {"items", kObjectTableCapacity, PastLimit::Fails, "items of a section"},
    {"layers", kLayerCapacity, PastLimit::Fails, "layers of a document"},
    {"layer_params", kLayerParams, PastLimit::Fails, "parameters of a layer"},
    {"steps", kTextureSteps, PastLimit::Fails, "steps of a texture"},
    {"step_params", kStepParams, PastLimit::Ignored, "parameters of a step"},
    {"pieces", kEnvelopePieces, PastLimit::Fails, "pieces of an envelope"},
    {"piece_params", kEnvelopeParams, PastLimit::Fails, "parameters of a piece"},
    {"effect_params", kEffectParams, PastLimit::Fails, "parameters of a 2D effect"},
    {"effect_name", kEffectNameSize - 1, PastLimit::Cut, "bytes of a 2D effect's name"},
    {"material_params", kMaterialParams, PastLimit::Fails, "parameters of a material"},
    {"material_refs", kMaterialRefs, PastLimit::Fails, "references of a material, of each of its two lists"},
    {"genmesh_params", kGenMeshParams, PastLimit::Fails, "parameters of a generated mesh"},
    {"objects", kSceneObjects, PastLimit::Fails, "objects of a scene"},
    {"manipulators", kSceneManipulators, PastLimit::Fails, "manipulators of an object"},
    {"manipulator_params", kManipulatorParams, PastLimit::Fails, "parameters of a manipulator"},
    {"instances", kInstanceLimit, PastLimit::Fails, "copies of an object in one picture"},
    {"rows", kTimelineRows, PastLimit::Ignored, "rows of the timeline"},
    {"clips", kTimelineClips, PastLimit::Fails, "clips of a row"},
    {"seconds", kTimelineSeconds, PastLimit::Ignored, "seconds of the timeline's index"},
};
// clang-format on
constexpr std::span<const VocabularyLimit> VocabularyLimits = kLimitRows;

const VocabularyRow* FindVocabularyRow(CatalogueId catalogue, int64_t number)
{
    for (const VocabularyRow& row : Catalogues[catalogue].rows)
    {
        if (row.number == number)
        {
            return &row;
        }
    }
    return nullptr;
}

const VocabularySection* FindVocabularySection(Section section)
{
    const int32_t number = Of(section);
    return number < 0 || number > kSectionCount ? nullptr : &VocabularySections[number];
}

uint32_t ItemNumber(Section section, uint32_t item)
{
    const bool countsFromZero = section == Section::kLayers || section == Section::kTimeline;
    return countsFromZero ? item - 1 : item;
}

uint32_t CountParamNumbers(const VocabularyRow* row)
{
    uint32_t count = 0;
    for (const VocabularyParam& param : row->params)
    {
        if (param.kind == Color)
        {
            count += 3;
        }
        else if (param.kind < Light) // an envelope of an effect or mesh is a parameter
        {
            count += 1;
        }
    }
    return count;
}

const char* ParamKindWord(ParamKind kind)
{
    static constexpr const char* kWords[] = {
        "number",   "color", "integer", "count",  "flag",
        "envelope", "light", "texture", "effect", "bitmap",
    };
    static_assert(std::size(kWords) == static_cast<size_t>(Bitmap) + 1);
    return kWords[static_cast<size_t>(kind)];
}

const char* PastRangeWord(PastRange past)
{
    static constexpr const char* kWords[] = {"works", "holds", "wraps", "none", "keeps", "fails"};
    static_assert(std::size(kWords) == static_cast<size_t>(Fails) + 1);
    return kWords[static_cast<size_t>(past)];
}

const char* PastLimitWord(PastLimit past)
{
    static constexpr const char* kWords[] = {"fails", "ignored", "cut"};
    static_assert(std::size(kWords) == static_cast<size_t>(PastLimit::Cut) + 1);
    return kWords[static_cast<size_t>(past)];
}

const char* ContentKindWord(ContentKind content)
{
    static constexpr const char* kWords[] = {
        "nothing", "number", "integer",    "ticks", "text", "file", "row",
        "item",    "layer",  "value_type", "value", "size", "bits", "projection",
    };
    static_assert(std::size(kWords) == static_cast<size_t>(Content::Projection) + 1);
    return kWords[static_cast<size_t>(content)];
}

const char* TraitWord(uint32_t bit)
{
    static constexpr const char* kWords[] = {
        "lit",          "alpha",    "adds",         "cutout",       "on_top",   "coordinates",
        "coordinates2", "reflects", "clamps",       "turns",        "inherits", "bump",
        "lines",        "target",   "keeps_target", "clears_depth", "history",  "places_on_mesh",
    };
    static_assert(std::size(kWords) == kTraitCount);
    assert(bit < kTraitCount);
    return kWords[bit];
}
