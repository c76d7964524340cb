// SPDX-License-Identifier: MIT

// Reading values out of document nodes. What is asked for must be there: a node or attribute that
// is missing is a fault.
//
// Every routine takes the null that another one returned after its fault, and then returns null or
// 0 without one more. So a reader asks for all values of a record in a row and looks at HasFailed
// once, before it allocates anything or can meet another fault.
#pragma once

#include <cstdint>
#include <tinyxml.h>

#include "engine/data/fault.h"

/// @param node   may be null
/// @param what   how a fault calls it, such as "clip"
/// @return the node as an element; null, after a fault, if it is null or not an element
const TiXmlElement* RequireElement(const TiXmlNode* node, const char* what, FaultList* faults);

/// Walks children that are found by position.
/// @param node   the next child, may be null; moves on to its next sibling, to null after a fault
/// @param what   how a fault calls it
/// @return the child as an element; null, after a fault, if there is none or it is not an element
const TiXmlElement* TakeElement(const TiXmlNode** node, const char* what, FaultList* faults);

/// @param element   null after an earlier fault, as in all routines below
/// @return the attribute's text, lent by the tree; null after a fault
const char* RequireAttribute(const TiXmlElement* element, const char* name, FaultList* faults);

/// @return the value of the element's first child, lent by the tree: the text of <p>text</p>; null
///         after a fault
const char* RequireText(const TiXmlElement* element, FaultList* faults);

/// Base-10 strtol, of which the low 32 bits are kept. Text that is no number gives 0, and so does
/// null.
int32_t ParseInt(const char* text);

/// strtod, narrowed to float. Text that is no number gives 0, and so does null.
float ParseFloat(const char* text);

/// @return the number; 0 after a fault
int32_t ReadIntAttribute(const TiXmlElement* element, const char* name, FaultList* faults);
float ReadFloatAttribute(const TiXmlElement* element, const char* name, FaultList* faults);

/// Reads an animated value: "type" exactly "dynamic" makes "value" an integer envelope id, anything
/// else makes it a float.
/// @param slot   receives the id, or the bits of the float; 0 after a fault
/// @return true if the value is dynamic
bool ReadAnimatedValue(const TiXmlElement* element, uint32_t* slot, FaultList* faults);

/// The number of children of any kind that a node has; 0 for null.
uint32_t CountChildren(const TiXmlNode* node);
