// SPDX-License-Identifier: MIT

// Blanks between the tags of a document, which mean nothing there: put in for whoever edits the
// text, and taken out again.
#pragma once

#include <cstdint>
#include <string>
#include <tinyxml.h>

/// How the text of a document stands in its package.
enum class TextLayout : uint8_t
{
    kAsItIs, // as in its source
    kBare,   // without blanks between tags
    kLines,  // the same, but each node of the top level begins a line
};

/// Puts each element on a line of its own, indented by two blanks a level. A tag beside text stays
/// where it is, and so does what lies before the first and after the last tag.
/// @return false if the text has comments, CDATA or a DOCTYPE, or does not end its tags
bool IndentText(const std::string& text, std::string* indented);

/// Gives a text the layout that it has in a package. Text that IndentText refuses stays as it is.
std::string LayOutText(const std::string& text, TextLayout layout);

/// @return whether two nodes say the same: kind, value, attributes in their order, children
bool IsSameTree(const TiXmlNode* one, const TiXmlNode* other);

/// Parses a text as a player does.
/// @return false if it is empty, larger than kLargestText, holds zero bytes or does not parse
bool ParseText(const std::string& text, TiXmlDocument* document);

/// @return whether a text parses to the same tree as the document
bool SaysTheSame(const TiXmlDocument& document, const std::string& text);
