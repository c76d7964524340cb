// A document's text into a TinyXML tree, from memory.
#pragma once

#include <tinyxml.h>

/// TinyXML's way of loading a file, with memory in the file's place: the children that the document
/// has are deleted, line ends are normalised (CR LF and a lone CR become LF), and the text ends at
/// its first zero byte.
/// @param data     length bytes, need not be zero-terminated; null sets TIXML_ERROR_OPENING_FILE
/// @param length   bytes; 0 or less sets TIXML_ERROR_DOCUMENT_EMPTY
/// @return true if the document parsed without an error
bool LoadFromString(TiXmlDocument* document, const unsigned char* data, long length,
                    TiXmlEncoding encoding);
