// SPDX-License-Identifier: MIT

// The two documents of a package as trees of text, for commands that look at what they say and not
// at what they do. A document that is broken further down is a tree all the same.
#pragma once

#include <string>
#include <tinyxml.h>
#include <vector>

#include "engine/data/section.h"
#include "tools/package_listing.h"

/// One document of a package.
struct DocumentTree
{
    const char* name; // of its entry
    bool isThere;     // the package has it
    bool isRead;      // it is a text that parses
    std::string text;
    TiXmlDocument tree;
};

/// Reads a document.
/// @param name   kDemoDocumentName or kLoadingDocumentName
/// @return false after an error line: the file can't be read. A damaged document is none.
bool ReadDocumentTree(const ListedPackage* package, const char* name, DocumentTree* document);

/// @return the node of a section or of the music; null if the document has too few
const TiXmlElement* SectionElement(const DocumentTree& document, Section section);

/// @return the items of a section, elements alone
std::vector<const TiXmlElement*> ItemsOf(const DocumentTree& document, Section section);

/// @return a file's name in the music node; empty if there is none
std::string MusicName(const DocumentTree& document);

/// @return an attribute's text; empty if the element lacks it
std::string AttributeText(const TiXmlElement* element, const char* name);

/// @return how texts call an item: `material 3 "hull"`; layers count from 0
std::string ItemLabel(Section section, size_t index, const TiXmlElement* item);
