// SPDX-License-Identifier: MIT
#include "engine/data/document_text.h"

#include <cassert>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <new>

#include "engine/data/allocate.h"
#include "engine/data/parse_blocks.h"

/// Zero bytes after the text. The parser skips the whole of a UTF-8 sequence by its first byte, and
/// the text may end inside one.
static constexpr size_t kTextPadding = 8;

/// Where a walk through the text of a document stands.
struct NestingWalk
{
    const char* at;
    uint32_t depth;      // open elements
    uint32_t attributes; // of the tag that is being read
    uint32_t nodes;      // so far, attributes included; at least as many as the parser makes
};

/// @return the place after the next `end`, or the end of the text
static const char* SkipPast(const char* at, const char* end)
{
    // Not strstr: under the address sanitizer it measures all the rest of the text each time.
    const size_t length = strlen(end);
    for (const char* next = strchr(at, end[0]); next != nullptr; next = strchr(next + 1, end[0]))
    {
        if (strncmp(next, end, length) == 0)
        {
            return next + length;
        }
    }
    return at + strlen(at);
}

/// Reads a start tag from the end of its name on.
static void WalkTag(NestingWalk* walk)
{
    walk->attributes = 0;
    while (*walk->at != 0 && walk->attributes <= kMostAttributes)
    {
        char c = *walk->at++;
        if (c == '"' || c == '\'')
        {
            const char quote[2] = {c, 0};
            walk->at = SkipPast(walk->at, quote);
        }
        else if (c == '=')
        {
            walk->attributes += 1;
            walk->nodes += 1;
        }
        else if (c == '/' && *walk->at == '>')
        {
            walk->at += 1;
            walk->depth -= 1;
            return;
        }
        else if (c == '>')
        {
            return;
        }
    }
}

/// Moves to the next tag. Text before it is a node, unless it is blank.
/// @return false at the end of the text
static bool WalkToTag(NestingWalk* walk)
{
    while (isspace(static_cast<unsigned char>(*walk->at)) != 0)
    {
        walk->at += 1;
    }
    walk->nodes += *walk->at != '<' ? 1 : 0;
    walk->at = strchr(walk->at, '<');
    if (walk->at == nullptr)
    {
        return false;
    }
    walk->at += 1;
    walk->nodes += 1;
    return true;
}

/// The line of the text that a walk has come to, counted from 1.
static int32_t LineOf(const NestingWalk* walk, const char* text)
{
    int32_t line = 1;
    for (const char* at = text; at < walk->at; ++at)
    {
        line += *at == '\n' ? 1 : 0;
    }
    return line;
}

/// @return false after a fault, if the walk has met too much of something
static bool CheckWalk(const NestingWalk* walk, const char* text, FaultList* faults)
{
    const bool isTooDeep = walk->depth > kDeepestNesting;
    const bool hasTooManyAttributes = walk->attributes > kMostAttributes;
    if (!isTooDeep && !hasTooManyAttributes && walk->nodes <= kMostNodes)
    {
        return true;
    }

    faults->place.line = LineOf(walk, text);
    faults->place.column = 0;
    if (isTooDeep)
    {
        AddFault(faults, "the text nests deeper than %u elements", kDeepestNesting);
    }
    else if (hasTooManyAttributes)
    {
        AddFault(faults, "an element has more than %u attributes", kMostAttributes);
    }
    else
    {
        AddFault(faults, "the text has more than %u elements, attributes and texts", kMostNodes);
    }
    return false;
}

/// Whether the parser can take the text. The parser goes one call deeper with each open element,
/// compares each attribute of an element with all those before, and takes some 250 bytes for a
/// node, so a small text could use up the stack or the memory, or hang for hours.
/// @return false after a fault
static bool CheckParsable(const char* text, FaultList* faults)
{
    NestingWalk walk = {text, 0, 0, 0};
    while (true)
    {
        if (!CheckWalk(&walk, text, faults))
        {
            return false;
        }
        if (!WalkToTag(&walk))
        {
            return true;
        }
        const unsigned char c = static_cast<unsigned char>(*walk.at);
        if (strncmp(walk.at, "!--", 3) == 0)
        {
            walk.at = SkipPast(walk.at + 3, "-->");
        }
        else if (strncmp(walk.at, "![CDATA[", 8) == 0)
        {
            walk.at = SkipPast(walk.at, "]]>");
        }
        else if (c == '?' || c == '!')
        {
            walk.at = SkipPast(walk.at, ">");
        }
        else if (c == '/')
        {
            walk.depth -= walk.depth == 0 ? 0 : 1;
        }
        else if (isalpha(c) != 0 || c == '_' || c >= 0x7F)
        {
            walk.depth += 1;
            WalkTag(&walk);
        }
    }
}

/// @return the text as the parser takes it, for free: with LF as its only line end, a zero at its
/// end
///         and kTextPadding zeros after that; null after a fault
static char* NormalizeText(const unsigned char* data, size_t length, FaultList* faults)
{
    char* text = AllocateBlock<char>(length + 1 + kTextPadding, "a text", faults);
    if (text == nullptr)
    {
        return nullptr;
    }

    char* out = text;
    for (size_t i = 0; i < length && data[i] != 0; ++i)
    {
        const bool isReturn = data[i] == '\r';
        *out++ = isReturn ? '\n' : static_cast<char>(data[i]);
        if (isReturn && i + 1 < length && data[i + 1] == '\n')
        {
            ++i;
        }
    }
    assert(out <= text + length);
    memset(out, 0, 1 + kTextPadding);
    return text;
}

/// The error of a document that is left as it is.
/// @return false after a fault
static bool SetPlainError(TiXmlDocument* document, int error, FaultList* faults)
{
    try
    {
        document->SetError(error, nullptr, nullptr, TIXML_ENCODING_UNKNOWN);
    }
    catch (const std::bad_alloc&)
    {
        AddFault(faults, "no memory for the tree of a text");
        return false;
    }
    return true;
}

bool LoadFromString(TiXmlDocument* document, const unsigned char* data, long length,
                    TiXmlEncoding encoding, FaultList* faults)
{
    if (data == nullptr)
    {
        SetPlainError(document, TiXmlBase::TIXML_ERROR_OPENING_FILE, faults);
        return false;
    }

    // A new document and not a cleared one: no block of before is left in it, so after all noted
    // blocks are gone it can be made anew once more.
    document->~TiXmlDocument();
    new (document) TiXmlDocument();
    if (length <= 0)
    {
        SetPlainError(document, TiXmlBase::TIXML_ERROR_DOCUMENT_EMPTY, faults);
        return false;
    }
    char* text = NormalizeText(data, static_cast<size_t>(length), faults);
    if (text == nullptr || !CheckParsable(text, faults))
    {
        free(text);
        return false;
    }

    BlockNotes notes;
    BeginNotes(&notes);
    try
    {
        document->Parse(text, nullptr, encoding);
        EndNotes(&notes);
    }
    catch (const std::bad_alloc&)
    {
        FreeNotedBlocks(&notes);
        new (document) TiXmlDocument();
        AddFault(faults, "no memory for the tree of a text");
    }
    free(text);
    return !HasFailed(faults) && !document->Error();
}

bool HasStoppedParsing(const TiXmlDocument* document)
{
    return document->Error() && document->ErrorId() != TiXmlBase::TIXML_ERROR_DOCUMENT_EMPTY;
}
