// SPDX-License-Identifier: MIT

// One document of a piece and everything built from it.
//
// A document is positional: below its top level lie sibling nodes, and each means what its place
// says. The first is skipped unseen, then come sections 0 to 10, then the music node. The tags of
// sections and items are compared with nothing. The n-th item of a section becomes the record with
// id n of the section's table, and that is what references count on.
#pragma once

#include <cstdint>
#include <tinyxml.h>

#include "engine/data/fault.h"
#include "engine/data/item_files.h"
#include "engine/data/object_table.h"
#include "engine/data/package_file.h"
#include "engine/data/section.h"
#include "engine/data/vocabulary_numbers.h"

struct LayerImage;
struct ReadAhead;
struct ReadContext;
struct Timeline;

/// For FreeDocument, however far reading it got. All null at first, but for the name.
struct DemoDocument
{
    const char* name;           // package entry, borrowed
    TiXmlDocument* document;    // owned; null before LoadDocument
    Timeline* timeline;         // owned, from malloc; null where there is none
    ObjectTable* textures;      // section 1, ProceduralTexture; this and all tables owned or null
    ObjectTable* models;        // section 2, ModelData
    ObjectTable* envelopes;     // section 3, Envelope
    ObjectTable* lights;        // section 4, Light
    ObjectTable* effects;       // section 5, Effect2D
    ObjectTable* bitmaps;       // section 6, BitmapTexture
    ObjectTable* materials;     // section 7, Material
    ObjectTable* genMeshes;     // section 8, GenMesh
    ObjectTable* scenes;        // section 9, Scene
    ItemFile* files;            // owned; of the section that is read, null where it names none
    const TiXmlNode* musicNode; // next sibling of section 10, lent by the tree; may be null
};

/// Whether an item was there before its turn.
enum class AheadResult : uint8_t
{
    kNone,   // it was not: its reader has to read it
    kRead,   // the record is filled
    kFailed, // after a fault
};

/// Shared by all readers while one document is read.
struct ReadContext
{
    DemoDocument* document; // borrowed
    PackageFile* package;   // borrowed
    bool isDemo;            // demo.xmlz and not loading.xmlz: buffer objects, mip chains
    bool computePixels;     // textures get their pixels at once, and not their steps alone

    LayerImage* layers[kLayerCapacity]; // section 0, owned; alive while section 1 is read
    uint32_t layerCount;

    uint32_t sectionItems; // items of the section, as many as will be read
    uint32_t itemCount;    // items of the section that were read so far
    const ItemFile* files; // [sectionItems], borrowed; null in sections that name no files

    FaultList* faults; // borrowed; its place is kept up to date
    void* user;        // borrowed; for a program's own readers

    ReadAhead* ahead; // borrowed; items that are read before their turn, null for none
    /// Takes an item that was read before its turn; not null where `ahead` is not.
    /// @param record   as for the section's reader
    /// @param index    the item's place in the section, from 0
    AheadResult (*takeAhead)(Section section, uint32_t index, void* record, ReadContext* context);
};

/// How one section's items become records. Every hook returns false after a fault.
struct SectionReader
{
    ObjectTable* DemoDocument::*table; // null for sections that keep their records elsewhere
    uint32_t recordSize;               // bytes of a record of the table
    uint32_t itemLimit;                // items after that many are not read; 0 for no limit

    /// Runs before the items; may be null.
    bool (*begin)(ReadContext* context);
    /// Fills one record from its item; null walks the items and leaves records of zeros.
    /// @param record   zeros; null where the reader has no table
    /// @param index    the item's place in the section, from 0
    bool (*readItem)(const TiXmlElement* item, void* record, uint32_t index, ReadContext* context);
    /// Runs after the last item, with itemCount final; may be null.
    bool (*end)(ReadContext* context);
    /// Frees the blocks of a record, and not the record. It may be one of zeros, or one whose
    /// reading failed. Null for records without blocks.
    void (*freeRecord)(void* record);
};

/// Reads a document's text out of the package into its tree.
/// @param document   with its name, and without a tree
/// @return false without a fault if the package has no such entry. Faults are more text than
///         limits.h allows, and no memory. Text that stops parsing gives the tree up to there, and
///         no text an empty one.
bool LoadDocument(PackageFile* package, DemoDocument* document, FaultList* faults);

/// The number of children of all top-level nodes from section 0 to the last: the unit that the
/// progress of loading is counted in. 0 without a tree.
uint32_t CountItems(const DemoDocument* document);

/// Where the reading of a document stands.
struct DocumentReader
{
    const SectionReader* readers; // kSectionCount rows, by section; borrowed
    ReadContext* context;         // borrowed
    int32_t section;              // number of the section that is read, or comes next
    bool isInside;                // its table is made and its begin has run
    const TiXmlNode* sectionNode; // lent by the tree
    const TiXmlNode* nextItem;    // the same
};

/// An item that was read.
struct ItemPlace
{
    Section section;
    uint32_t id;  // counted from 1, a row of the timeline; the record's id where there is a table
    void* record; // lent by the section's table; null where there is none
};

enum class ReadStep : uint8_t
{
    kItem,   // an item was read
    kDone,   // all items were read before
    kFailed, // after a fault
};

/// Prepares to read a document item by item, so that a program can work with each as it comes.
/// @param readers   kSectionCount rows, by section
/// @param context   document (loaded), package, faults and flags set, all else zero
void BeginReading(const SectionReader* readers, ReadContext* context, DocumentReader* reader);

/// Reads the next item of the document. A section's table is made and its begin runs when the item
/// before it was the last of its section; its end runs when the next item is asked for. kDone has
/// noted the music node. Faults are too few top-level nodes for all sections, more items in a
/// section than its table holds, and those of the readers. The place of the faults stays at the
/// item until the next call.
/// @param item   receives the item that was read; untouched for kDone and kFailed
ReadStep ReadNextItem(DocumentReader* reader, ItemPlace* item);

/// Goes on after kFailed, for a program that wants all faults of a document. The item that failed
/// counts as read, and its record stays as far as it was filled.
/// @return false if nothing can follow: the section is missing, or there is no memory for its table
bool SkipFailure(DocumentReader* reader);

/// Reads all items of a document.
/// @return false after a fault; the records up to there belong to the document
bool ReadSections(const SectionReader* readers, ReadContext* context);

/// Gives back the tables with all records and their blocks, the timeline and the tree. The name
/// stays.
void FreeDocument(const SectionReader* readers, DemoDocument* document);
