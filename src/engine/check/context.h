// SPDX-License-Identifier: MIT

// The record that all parts of a check share.
#pragma once

#include <cstdint>
#include <string>
#include <tinyxml.h>
#include <vector>

#include "engine/check/finding.h"
#include "engine/check/play_walk.h"
#include "engine/data/demo_document.h"
#include "engine/data/package_file.h"
#include "engine/data/vocabulary.h"

/// One document under check.
struct CheckedDocument
{
    DemoDocument document; // owned tables, timeline and tree
    bool isDemo;
    bool isThere;                               // the package has it
    bool isWhole;                               // all its sections are there
    std::vector<uint8_t> failed[kSectionCount]; // [item - 1], its reader met a fault
    std::vector<Fault> faults;                  // of the readers, in their order
    uint32_t layerCount;
    std::vector<uint8_t> usedLayers;          // [id]
    std::vector<uint8_t> used[kSectionCount]; // [id - 1], something names the item

    PlayResult played;
};

struct CheckContext
{
    PackageFile package;
    CheckedDocument loading;
    CheckedDocument demo;
    FindingList* findings; // borrowed
};

/// The place of a finding while the tree of a document is walked.
struct Spot
{
    CheckContext* context;
    CheckedDocument* checked;
    Section section;
    uint32_t item;    // counted from 1; 0 for none
    uint32_t part;    // the same
    const char* name; // of the item; null for none
};

/// Adds a finding at a node or attribute.
/// @param node   null leaves line and column open
Finding* AddFinding(const Spot* spot, Severity severity, Rule rule, const TiXmlBase* node,
                    std::string text);

/// @return the section's node; null if the document has too few
const TiXmlNode* SectionNode(const DemoDocument* document, Section section);

/// @return the n-th child of a node, counted from 1; null if it has fewer
const TiXmlNode* ChildAt(const TiXmlNode* node, uint32_t n);

/// @return the item's own name, from its attribute "name"; null without one
const char* ItemName(const TiXmlNode* item);

/// @return how texts call one item of a section: "material"
const char* ItemWord(Section section);

/// @return the same, with number and name: `scene 2 "hall"`
std::string ItemText(const DemoDocument* document, Section section, uint32_t id);

// The parts of a check, in the order in which they run.

/// Reads a document with the player's own readers, past all faults.
void ReadChecked(CheckContext* context, CheckedDocument* checked);

/// The form of a document: elements, attributes, numbers, words, types; and the readers' faults.
void CheckStructure(CheckContext* context, CheckedDocument* checked);

/// References and what they name, with the faults that playing meets.
void CheckReferences(CheckContext* context, CheckedDocument* checked);

/// The timeline, loops and curves.
void CheckTime(CheckContext* context, CheckedDocument* checked);

/// Clips in which nothing can be seen, and the picture that costs most.
void CheckViews(CheckContext* context, CheckedDocument* checked);

/// Images, meshes and recipes.
void CheckPictures(CheckContext* context, CheckedDocument* checked);

/// The package's directory, and the music.
void CheckPackage(CheckContext* context, const char* musicFolder);

/// @return whether the reader of an item met a fault
bool HasFailedItem(const CheckedDocument* checked, Section section, uint32_t item);

/// @return the attribute of an element, for its place; the element itself where it has none
const TiXmlBase* AttributeNode(const TiXmlElement* element, const char* name);

/// @return the table of a section; null for sections without one
const ObjectTable* TableOf(const DemoDocument* document, Section section);
