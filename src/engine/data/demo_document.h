// One document of a piece and everything built from it.
//
// A document is positional: below its top level lie sibling nodes, and each means what its place
// says. The first is skipped unseen, then come sections 0 to 10, then the music node. The tags of
// sections and items are compared with nothing. The n-th item of a section becomes the record with
// id n of the section's table, and that is what references count on.
#pragma once

#include <cstdint>
#include <cstdio>
#include <tinyxml.h>

#include "engine/data/gl_features.h"
#include "engine/data/object_table.h"
#include "engine/data/vocabulary_numbers.h"

struct LayerImage;
struct Timeline;

struct DemoDocument
{
    const char* name;           // package entry, borrowed
    TiXmlDocument* document;    // borrowed
    Timeline* timeline;         // borrowed
    ObjectTable* textures;      // section 1, ProceduralTexture; this and all tables owned or null
    ObjectTable* models;        // section 2, ModelData
    ObjectTable* envelopes;     // section 3, Envelope
    ObjectTable* lights;        // section 4, Light
    ObjectTable* effects;       // section 5, Effect2D
    ObjectTable* bitmaps;       // section 6, BitmapTexture
    ObjectTable* materials;     // section 7, Material
    ObjectTable* genMeshes;     // section 8, GenMesh
    ObjectTable* scenes;        // section 9, Scene
    const TiXmlNode* musicNode; // next sibling of section 10, lent by the tree; may be null
};

/// What section readers share while one document is read.
struct LoadContext
{
    DemoDocument* document; // borrowed
    FILE* package;          // borrowed
    GlFeatures features;
    bool isDemo; // demo.xmlz and not loading.xmlz: buffer objects, mip chains, unpack buffers

    LayerImage* layers[kLayerCapacity]; // section 0, owned; alive while section 1 is read
    uint32_t layerCount;

    uint32_t itemCount; // items of the section that were read so far

    void (*itemDone)(void* user); // runs after each item of each section; null for none
    void* user;                   // borrowed, handed to itemDone
};

/// How one section's items become records.
struct SectionReader
{
    ObjectTable* DemoDocument::*table; // null for sections that keep their records elsewhere
    uint32_t recordSize;               // bytes of a record of the table
    uint32_t itemLimit;                // items behind it are not read; 0 for no limit

    /// Runs before the items; may be null.
    void (*begin)(LoadContext* context);
    /// Fills one record from its item; null walks the items and makes no records.
    /// @param record   uninitialised; null where the reader has no table
    /// @param index    the item's place in the section, from 0
    void (*readItem)(const TiXmlElement* item, void* record, uint32_t index, LoadContext* context);
    /// Runs behind the last item, with itemCount final; may be null.
    void (*end)(LoadContext* context);
};

/// Reads a document out of the package into a tree.
/// @param document   constructed, usually empty; what it held is deleted
/// @return false if the package has no such entry, after the lookup's own printed line. A stream
///         that does not inflate and text that does not parse are fatal.
bool LoadDocument(FILE* package, const char* name, TiXmlDocument* document);

/// The number of children of all top-level nodes from section 0 to the last: what the progress of
/// loading is counted in.
uint32_t CountItems(const TiXmlDocument* document);

/// Builds all of a document's records: makes the nine tables, walks sections 0 to 10 and notes the
/// music node. Fatal if there are fewer top-level nodes than sections, or more items in a section
/// than its table holds.
/// @param readers   kSectionCount rows, by section
void ReadSections(const SectionReader* readers, LoadContext* context);
