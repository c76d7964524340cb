// A document's text into a TinyXML tree, from memory.
#pragma once

#include <cstdint>
#include <tinyxml.h>

// A document nests 6 deep and has 7 attributes at most.
inline constexpr uint32_t kDeepestNesting = 1000;
inline constexpr uint32_t kMostAttributes = 1000;

/// TinyXML's way of loading a file, with memory in the file's place: the children that the document
/// has are deleted, line ends are normalised (CR LF and a lone CR become LF), and the text ends at
/// its first zero byte.
/// @param data     length bytes, need not be zero-terminated; null sets TIXML_ERROR_OPENING_FILE
/// @param length   bytes; 0 or less sets TIXML_ERROR_DOCUMENT_EMPTY
/// Text that nests deeper than kDeepestNesting or gives an element more than kMostAttributes sets
/// TIXML_ERROR_PARSING_ELEMENT: the parser would use up the stack, or years.
/// @return true if the document parsed without an error
bool LoadFromString(TiXmlDocument* document, const unsigned char* data, long length,
                    TiXmlEncoding encoding);
