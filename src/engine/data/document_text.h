// SPDX-License-Identifier: MIT

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
/// @param faults     receives that there is no memory, and that the text nests deeper than
///                   kDeepestNesting, gives an element more than kMostAttributes or makes more than
///                   kMostNodes: the parser would use up the stack, years or all memory. The
///                   document is empty then.
/// @return true if the document parsed without an error; false after a fault, and after an
///         error of TinyXML, which the document tells
bool LoadFromString(TiXmlDocument* document, const unsigned char* data, long length,
                    TiXmlEncoding encoding, FaultList* faults);

/// @return whether the parser met a mistake in the text and left what follows unread; an empty text
///         is none
bool HasStoppedParsing(const TiXmlDocument* document);
