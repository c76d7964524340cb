// The vocabulary of documents: everything that a document can name by number, with its display name
// and its parameters' names in document order. A row's place is the number that documents store;
// only texture steps are numbered otherwise, from 101 (combiners) and from 201 (filters) on.
//
// The player reads one thing here, the parameter counts of Effect2DCatalogue. The rest is the
// format's own reference, for tools and for whoever reads documents. Character arrays are filled up
// with zeros.
#pragma once

#include <cstddef>
#include <cstdint>

struct GeneratorRow
{
    char name[32];
    int32_t colorCount;  // each takes three floats; colors come before scalars
    int32_t scalarCount; // one float each
    char params[8][32];  // colors, then scalars
};

struct StepRow
{
    char name[32];
    uint8_t paramCount;
    char params[9][32];
};

/// A catalogue of names alone.
struct NameRow
{
    char name[32];
};

struct EnvelopeFunctionRow
{
    char name[32];
    char formula[48];
    uint8_t paramCount;
    char params[24][32];
};

struct MaterialRow
{
    char name[64];
    uint8_t colorCount;
    uint8_t scalarCount;
    uint8_t lightCount;
    uint8_t textureCount; // procedural ones
    uint8_t effectCount;
    uint8_t bitmapCount;
    char params[32][32];
};

struct Effect2DRow
{
    char name[32];
    uint8_t paramCount;
    char params[32][32];
};

struct ManipulatorRow
{
    char name[32];
    uint8_t placesOnMesh; // 1 if it names another mesh to place on
    uint8_t paramCount;
    char params[32][32];
};

struct PassKindRow
{
    char name[36];
    uint8_t paramCount;
    char params[4][32];
};

struct GenMeshRow
{
    char name[32];
    uint8_t paramCount;
    char params[16][32];
};

inline constexpr size_t kGeneratorRows = 6;
inline constexpr size_t kFilterRows = 7;
inline constexpr size_t kCombinerRows = 4;
inline constexpr size_t kLoopModeRows = 3;
inline constexpr size_t kEnvelopeFunctionRows = 6;
inline constexpr size_t kValueKindRows = 2;
inline constexpr size_t kMaterialRows = 24;
inline constexpr size_t kEffect2DRows = 4;
inline constexpr size_t kObjectKindRows = 2;
inline constexpr size_t kManipulatorRows = 4;
inline constexpr size_t kPassKindRows = 6;
inline constexpr size_t kGenMeshRows = 2;
inline constexpr size_t kFogModeRows = 2;

extern const GeneratorRow GeneratorCatalogue[kGeneratorRows];
extern const StepRow FilterCatalogue[kFilterRows];     // step types 201 and up
extern const StepRow CombinerCatalogue[kCombinerRows]; // step types 101 and up
extern const NameRow LoopModeCatalogue[kLoopModeRows];
extern const EnvelopeFunctionRow EnvelopeFunctionCatalogue[kEnvelopeFunctionRows];
extern const NameRow ValueKindCatalogue[kValueKindRows];
extern const MaterialRow MaterialCatalogue[kMaterialRows];
extern const Effect2DRow Effect2DCatalogue[kEffect2DRows];
extern const NameRow ObjectKindCatalogue[kObjectKindRows];
extern const ManipulatorRow ManipulatorCatalogue[kManipulatorRows];
extern const PassKindRow PassKindCatalogue[kPassKindRows];
extern const GenMeshRow GenMeshCatalogue[kGenMeshRows];
extern const NameRow FogModeCatalogue[kFogModeRows];
