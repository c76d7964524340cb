// SPDX-License-Identifier: MIT

// A document's items as lists of named values, whatever the section: each value with its text, its
// kind and the place where it stands in the tree. Names come from the vocabulary.
#pragma once

#include <cstdint>
#include <string>
#include <tinyxml.h>
#include <vector>

#include "engine/data/demo_document.h"

/// An item, or a part of one: an object of a scene, a clip of a row, a piece of an envelope.
struct ItemRef
{
    Section section;
    uint32_t item; // counted from 1
    uint32_t part; // counted from 1; 0 for the item as a whole

    bool operator==(const ItemRef&) const = default;
};

enum class FieldKind : uint8_t
{
    kNumber,
    kInteger,
    kTicks,
    kCurve, // the id of an envelope that gives the value
    kItem,  // the id of another item
    kWord,  // a type, a file or another text
};

/// The place of a value in the tree of a document.
struct FieldPlace
{
    Section section;
    uint32_t item;              // counted from 1
    std::vector<uint32_t> path; // children from the item down, counted from 1
    std::string attribute;      // empty for the element's text

    bool operator==(const FieldPlace&) const = default;
};

struct Field
{
    FieldPlace place;
    uint32_t part;     // of the item, that it belongs to; 0 for none
    std::string group; // "piece 2", "manipulator 1"; empty for the item's own
    std::string name;  // "amplitude", "color red"
    FieldKind kind;
    Section of;       // of kCurve and kItem
    std::string text; // as it stands in the document
    bool isRed;       // the first of the three numbers of a color
};

/// @return the section's node; null if the document lacks it
const TiXmlNode* FindSection(const DemoDocument* document, Section section);

/// @return how many items a section has
uint32_t CountSectionItems(const DemoDocument* document, Section section);

/// @return an item's element, lent by the tree; null if there is none
TiXmlElement* FindItem(const DemoDocument* document, Section section, uint32_t item);

/// @return the element of a place; null if the tree has no such element
TiXmlElement* FindElement(const DemoDocument* document, const FieldPlace& place);

/// @return the text that stands at a place; empty if there is none
std::string TextAt(const DemoDocument* document, const FieldPlace& place);

/// Changes the text at a place.
/// @return false if the tree has no such place
bool SetTextAt(const DemoDocument* document, const FieldPlace& place, const std::string& text);

/// @return all values of an item in the document's order; with a part, those of the part alone
std::vector<Field> ListFields(const DemoDocument* document, const ItemRef& ref);

/// @return all items that an item or part names, each once, in the order of its values
std::vector<ItemRef> ListReferences(const DemoDocument* document, const ItemRef& ref);

/// @return all items and parts that name an item, in the document's order
std::vector<ItemRef> ListUsers(const DemoDocument* document, const ItemRef& ref);

/// @return the parts of an item: objects, clips, pieces, steps; 0 for sections without
uint32_t CountParts(const DemoDocument* document, const ItemRef& ref);

/// @return "scene 2 \"hall\"", "scene 2, object 3", "row 0, clip 4"
std::string ItemTitle(const DemoDocument* document, const ItemRef& ref);

/// @return a scene's name; "scene 2" without one, "no scene" for 0
std::string SceneName(const DemoDocument* document, uint32_t scene);

/// @return the envelope's value at a time in ticks, as a fresh evaluation gives it; 0 without one
float CurveValue(const DemoDocument* document, uint32_t id, uint32_t time);

/// @return the number that a value is at a time in ticks; 0 for kItem and kWord
float FieldValue(const DemoDocument* document, const Field& field, uint32_t time);

/// A clip that plays at a tick.
struct ActiveClip
{
    uint32_t row;  // counted from 0
    uint32_t clip; // counted from 0
    uint32_t time; // its animation time, in ticks
};

/// @return the clips that play at a tick, in the order in which they are drawn
std::vector<ActiveClip> ListActiveClips(const Timeline* timeline, uint32_t tick);

/// @return a clip's scene, pass, camera and fog at its animation time, as lines
std::vector<std::string> ClipLines(const DemoDocument* document, uint32_t row, uint32_t clip,
                                   uint32_t time);
