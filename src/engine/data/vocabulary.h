// SPDX-License-Identifier: MIT

// The vocabulary of documents: all that they can name by number, with names, parameters, ranges and
// limits. Readers take their counts from it, dpk prints it, tests hold the documentation against
// it.
//
// Every catalogue is one table of rows in ascending order of their numbers. A display name is the
// format's own, misspellings included. A word is what tools write for it: lower case, one word.
#pragma once

#include <cstdint>
#include <span>

#include "engine/data/vocabulary_numbers.h"

enum class ParamKind : uint8_t
{
    Number,
    Color,    // three numbers: red, green, blue
    Integer,  // a number whose fraction counts for nothing
    Count,    // an integer that counts things
    Flag,     // 0 for no, any other number for yes
    Envelope, // ids, from here on
    Light,
    Texture,
    Effect,
    Bitmap,
};

/// The effect of a parameter below `least` or above `most`.
enum class PastRange : uint8_t
{
    Works, // there is no range
    Holds, // as the nearer end
    Wraps, // comes round: the effect of a number repeats
    None,  // as 0, or as if the thing that it counts were not there
    Keeps, // nothing is set: OpenGL goes on with the value before
    Fails, // the player ends with a line that says where
};

struct VocabularyParam
{
    const char* name; // display name
    const char* word;
    const char* meaning; // after "the": "size of the cells"
    ParamKind kind;
    float least;
    float most;
    float usual; // for tools: a value that shows something. Of ids 0
    PastRange past;
};

/// Properties of recipes, passes and effects.
enum VocabularyTrait : uint32_t
{
    kTraitLit = 1u << 0,         // takes a light; needs normals
    kTraitAlpha = 1u << 1,       // the color's alpha mixes it with the picture
    kTraitAdds = 1u << 2,        // is added to the picture: alpha plays no part
    kTraitCutout = 1u << 3,      // the bitmap's alpha, squared, mixes: that of the color plays none
    kTraitOnTop = 1u << 4,       // depth is neither tested nor written
    kTraitCoordinates = 1u << 5, // reads the mesh's first texture coordinates
    kTraitCoordinates2 = 1u << 6,  // reads the second ones
    kTraitReflects = 1u << 7,      // coordinates come of the normals
    kTraitClamps = 1u << 8,        // the texture ends at its edges; else it repeats
    kTraitTurns = 1u << 9,         // the reflection may turn with the camera
    kTraitInherits = 1u << 10,     // sets no combiner: mixes as the recipe before did
    kTraitBump = 1u << 11,         // black where OpenGL has no GL_DOT3_RGB
    kTraitLines = 1u << 12,        // draws edges, not faces
    kTraitTarget = 1u << 13,       // draws into the bitmap of "rtex"
    kTraitKeepsTarget = 1u << 14,  // draws where the clip before was drawn
    kTraitClearsDepth = 1u << 15,  // clears the depth first
    kTraitHistory = 1u << 16,      // shows what was played before, not the time alone
    kTraitPlacesOnMesh = 1u << 17, // names a mesh to place on
};
inline constexpr uint32_t kTraitCount = 18;

struct VocabularyRow
{
    int32_t number;
    const char* name;
    const char* word;
    std::span<const VocabularyParam> params; // as the format lists them
    uint32_t traits = 0;                     // VocabularyTrait
    const char* formula = nullptr;           // of functions of time
};

enum CatalogueId : uint32_t
{
    kCatalogueGenerators,
    kCatalogueSteps,
    kCatalogueFunctions,
    kCatalogueLoops,
    kCatalogueValueKinds,
    kCatalogueEffects,
    kCatalogueRecipes,
    kCatalogueGenMeshes,
    kCatalogueObjectKinds,
    kCatalogueManipulators,
    kCataloguePasses,
    kCatalogueProjections, // the name is the word that documents store
    kCatalogueFogModes,
    kCatalogueCount,
};

struct Catalogue
{
    const char* word;
    bool animated; // its numbers and colors may be envelopes
    float absent;  // a number that a document does not give counts as this
    std::span<const VocabularyRow> rows;
};

/// [CatalogueId]
extern const Catalogue Catalogues[kCatalogueCount];

/// @return the row of a number; null if the catalogue has none
const VocabularyRow* FindVocabularyRow(CatalogueId catalogue, int64_t number);

/// The numbers that stand in a document for a row's parameters: three a color, one a scalar or
/// flag, none for lights, textures, effects and bitmaps, which are named apart.
uint32_t CountParamNumbers(const VocabularyRow* row);

/// The kind of value that an attribute or the text of an element holds.
enum class ContentKind : uint8_t
{
    Nothing,
    Number,
    Integer,
    Ticks,
    Text,
    File,       // a package entry
    Row,        // the number of a row; `of` is a CatalogueId
    Item,       // an id, counted from 1, 0 for none; `of` is a Section
    Layer,      // the place of a layer, counted from 0
    ValueType,  // "dynamic" for an envelope, "static" for a number
    Value,      // a number, or the id of an envelope: the attribute before says which
    Size,       // "64x64", "128x128" or "256x256", anything else is 512
    Bits,       // "8", anything else is 24
    Projection, // a ValueType, or "ortographic"
};

struct VocabularyAttribute
{
    const char* name;
    ContentKind content;
    int32_t of = 0;
    bool required = true;
};

inline constexpr uint32_t kNoLimit = 0xFFFFFFFF;

/// An element below a section. A text that is an Item is the id of an envelope. The children of one
/// parent stand in the order of the rows.
struct VocabularyElement
{
    const char* name; // as dpk and the documentation write it
    bool nameCounts;  // readers look at the name; else at the place alone
    uint32_t least;   // how many there are
    uint32_t most;    // and at most; kNoLimit
    ContentKind text; // what stands between its tags
    std::span<const VocabularyAttribute> attributes;
    std::span<const VocabularyElement> children;
};

struct VocabularySection
{
    Section section;
    const char* word;
    const char* faultName;         // in lines on faults: "section 3 (envelopes)"
    const char* faultItem;         // "item", or "row"
    const char* faultPart;         // a part of an item: "piece"
    const VocabularyElement* item; // of the music node its own attributes
};

/// By number; the last is the music node.
extern const VocabularySection VocabularySections[kSectionCount + 1];

/// @return the row of a section or of the music node; null for Section::kNone
const VocabularySection* FindVocabularySection(Section section);

/// The number under which authors know an item: layers and rows of the timeline count from 0, as
/// documents and pieces in Python count them, all others from 1.
/// @param item   counted from 1, above 0
uint32_t ItemNumber(Section section, uint32_t item);

/// The consequence of more than a limit.
enum class PastLimit : uint8_t
{
    Fails,   // the player ends with a line that says where
    Ignored, // the rest is not read
    Cut,     // the text is cut
};

struct VocabularyLimit
{
    const char* word;
    uint32_t most;
    PastLimit past;
    const char* meaning;
};

extern const std::span<const VocabularyLimit> VocabularyLimits;

// Words for the enumerators, as dpk prints them.
const char* ParamKindWord(ParamKind kind);
const char* PastRangeWord(PastRange past);
const char* PastLimitWord(PastLimit past);
const char* ContentKindWord(ContentKind content);

/// @param bit   below kTraitCount
const char* TraitWord(uint32_t bit);
