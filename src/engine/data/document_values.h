// Reading values out of document nodes. What is asked for must be there: a node or attribute that
// is missing ends the program through FatalFault at CurrentPlace.
#pragma once

#include <cstdint>
#include <tinyxml.h>

/// @param node   may be null
/// @param what   how a fault calls it, such as "clip"
/// @return the node as an element; fatal if it is null or not an element
const TiXmlElement* RequireElement(const TiXmlNode* node, const char* what);

/// Walks children that are found by position.
/// @param node   the next child, may be null; moves on to its next sibling
/// @param what   how a fault calls it
/// @return the child as an element; fatal if there is none or it is not an element
const TiXmlElement* TakeElement(const TiXmlNode** node, const char* what);

/// @return the attribute's text, lent by the tree
const char* RequireAttribute(const TiXmlElement* element, const char* name);

/// @return the value of the element's first child, lent by the tree: the text of <p>text</p>
const char* RequireText(const TiXmlElement* element);

/// Base-10 strtol, of which the low 32 bits are kept. Text that is no number gives 0.
int32_t ParseInt(const char* text);

/// strtod, narrowed to float. Text that is no number gives 0.
float ParseFloat(const char* text);

int32_t ReadIntAttribute(const TiXmlElement* element, const char* name);
float ReadFloatAttribute(const TiXmlElement* element, const char* name);

/// Reads an animated value: "type" exactly "dynamic" makes "value" an integer envelope id, anything
/// else makes it a float.
/// @param slot   receives the id, or the bits of the float
/// @return true if the value is dynamic
bool ReadAnimatedValue(const TiXmlElement* element, uint32_t* slot);

/// The number of children of any kind that a node has; 0 for null.
uint32_t CountChildren(const TiXmlNode* node);
