// SPDX-License-Identifier: MIT

// The numbers that documents store, and how much of everything they may hold. vocabulary.h has the
// same numbers as rows, with names and parameters.
#pragma once

#include <cstdint>

#include "engine/data/section.h"

enum GeneratorType : uint32_t
{
    kGeneratorColor = 0,
    kGeneratorPlasma = 1,
    kGeneratorRadial = 2,
    kGeneratorMaze = 3,
    kGeneratorBricks = 4,
    kGeneratorNoise = 5,
};

enum TextureStepType : int32_t
{
    kStepAdd = 101,
    kStepMultiply = 102,
    kStepMaximum = 103,
    kStepMinimum = 104,
    kStepInvert = 201,
    kStepScale = 202, // "Multiply" too
    kStepOffset = 203,
    kStepRipple = 204,
    kStepBlur = 205,
    kStepEmboss = 206,
    kStepConvolution = 207,
};

enum EnvelopeFunction : uint32_t
{
    kFunctionConstant = 0,  // a
    kFunctionLinear = 1,    // a * x + b
    kFunctionQuadratic = 2, // a * (x - b)^2 + c
    kFunctionSinus = 3,     // a * sin(x * b - c) + d
    kFunctionSpline = 4,    // through x1, y1 ... x12, y12
    kFunctionSinusX = 5,    // (a * x + e) * sin(x * b - c) + d
};

enum EnvelopeLoop : uint8_t
{
    kLoopOff = 0,
    kLoopLoop = 1,
    kLoopPingPong = 2,
};

enum EffectType : int32_t
{
    kEffectTest = 0,   // "Test 2d effect": a gradient for finding faults
    kEffectPlasma = 1, // "Effect 1"
    kEffectAmoba = 2,  // "Amoba"
    kEffectRotate = 3, // "Rotate"
};

enum RecipeType : uint32_t
{
    kRecipeColor = 0,
    kRecipeLitColor = 1,
    kRecipeTexture = 2,
    kRecipeLitTexture = 3,
    kRecipeEnvironment = 4,
    kRecipeLitEnvironment = 5,
    kRecipeEffect = 6,
    kRecipeBitmap = 7,
    kRecipeTwoBitmaps = 8,
    kRecipeLitBitmap = 9,
    kRecipeClampedBitmap = 10,
    kRecipeBitmapEnvironment = 11,
    kRecipeLitBitmapEnvironment = 12,
    kRecipeAddedBitmap = 13,
    kRecipeAddedBump = 14,
    kRecipeCutout = 15,
    kRecipeAddedBitmapEnvironment = 16,
    kRecipeCutoutOnTop = 17,
    kRecipeAddedTextureOnTop = 18,
    kRecipeColorOnTop = 19,
    kRecipeAddedEnvironment = 20,
    kRecipeAddedColorOnTop = 21,
    kRecipeFadedBitmaps = 22,
    kRecipeWireframe = 23,
};

enum GenMeshType : uint32_t
{
    kLakeWater = 0,       // a wave simulation that drops keep lively
    kCenterwaveWater = 1, // rings that run out from the middle
};

enum ObjectKind : uint8_t
{
    kObjectModel = 0,
    kObjectGenMesh = 1, // any other kind draws nothing
};

enum ManipulatorType : int32_t
{
    kManipulatorXyzMultiplier = 0, // copies in a grid
    kManipulatorXMultiplier = 1,   // copies in a row
    kManipulatorRippler = 2,       // bends the geometry, leaves the list
    kManipulatorModelPlacer = 3,   // a copy on every vertex of another mesh
};

enum PassKind : int32_t
{
    kPassSimple = 0,         // to the whole window
    kPassTexture = 1,        // to a bitmap
    kPassLink = 2,           // target, viewport and buffers as the clip before left them
    kPassClearDepth = 3,     // as simple, depth cleared first
    kPassTextureWide = 4,    // to a bitmap, aspect 1.6
    kPassTextureQuarter = 5, // to a bitmap resized to a quarter of the window
};

/// Documents write words for these.
enum ProjectionKind : uint8_t
{
    kProjectionPerspective = 0,  // fov is a float
    kProjectionOrthographic = 1, // fov unused
    kProjectionAnimatedFov = 2,  // fov is an envelope id
};

enum FogMode : int8_t
{
    kFogOff = 0,    // and below
    kFogLinear = 1, // and above
};

// How much there may be. vocabulary.h tells of each what comes of more.
inline constexpr uint32_t kObjectTableCapacity = 4096; // items of one section
inline constexpr uint32_t kLayerCapacity = 248;
inline constexpr uint32_t kLayerParams = 24;
inline constexpr uint32_t kTextureSteps = 32;
inline constexpr uint32_t kStepParams = 9;
inline constexpr uint32_t kEnvelopePieces = 16;
inline constexpr uint32_t kEnvelopeParams = 24;
inline constexpr uint32_t kSplinePoints = 12; // x and y of each fill a piece's parameters
inline constexpr uint32_t kEffectParams = 32;
inline constexpr uint32_t kEffectNameSize = 32; // with the zero at its end
inline constexpr uint32_t kMaterialParams = 32;
inline constexpr uint32_t kMaterialRefs = 16;
inline constexpr uint32_t kMaterialTypes = 24;
inline constexpr uint32_t kGenMeshParams = 32;
inline constexpr uint32_t kSceneObjects = 512;
inline constexpr uint32_t kSceneManipulators = 7;
inline constexpr uint32_t kManipulatorParams = 32;
/// Drawing a million takes seconds, so more of them are an author's slip, and would look like a
/// program that hangs.
inline constexpr uint32_t kInstanceLimit = 1u << 20;
inline constexpr uint32_t kTimelineRows = 32;
inline constexpr uint32_t kTimelineClips = 1024; // of one row
inline constexpr uint32_t kTimelineSeconds = 1024;

inline constexpr uint32_t kTicksPerSecond = 100;
/// The side of every layer and work image that a document makes, in pixels.
inline constexpr int32_t kTextureSize = 256;
