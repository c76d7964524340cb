// A document's text into a TinyXML tree, from memory.
#pragma once

#include <tinyxml.h>

#include "engine/data/fault.h"
#include "engine/data/limits.h"

/// TinyXML's way of loading a file, with memory in the file's place: what the document holds is
/// deleted, line ends are normalised (CR LF and a lone CR become LF), and the text ends at its
/// first zero byte.
/// @param document   constructed; not of a derived class
/// @param data       length bytes, need not be zero-terminated; null sets TIXML_ERROR_OPENING_FILE
/// @param length     bytes; 0 or less sets TIXML_ERROR_DOCUMENT_EMPTY
/// @param faults     receives that there is no memory; the document is empty then
/// Text that nests deeper than kDeepestNesting, gives an element more than kMostAttributes or makes
/// more than kMostNodes sets TIXML_ERROR_PARSING_ELEMENT: the parser would use up the stack, years
/// or all memory.
/// @return true if the document parsed without an error; false after a fault, and after an
///         error of TinyXML, which the document tells
bool LoadFromString(TiXmlDocument* document, const unsigned char* data, long length,
                    TiXmlEncoding encoding, FaultList* faults);
