#include "engine/data/document_text.h"

#include <cassert>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <string>

#include "engine/data/fault.h"

/// Opens the one field of a document that a load has to reset and that the library keeps protected.
struct LocationAccess : TiXmlDocument
{
    static void Reset(TiXmlDocument* document)
    {
        TiXmlCursor TiXmlBase::*location = &LocationAccess::location;
        (document->*location).Clear();
    }
};

/// Where a walk through the text of a document stands.
struct NestingWalk
{
    const char* at;
    uint32_t depth;      // open elements
    uint32_t attributes; // of the tag that is being read
};

/// @return behind the next `end`, or the end of the text
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

/// Reads a start tag from behind its name on.
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

/// Whether the parser can take the text. It goes one call deeper with each open element, and
/// compares each attribute of an element with all those before, so a small text could use up the
/// stack or hang for hours. What no document needs is refused before it.
static bool IsParsable(const char* text)
{
    NestingWalk walk = {text, 0, 0};
    while (walk.depth <= kDeepestNesting && walk.attributes <= kMostAttributes)
    {
        walk.at = strchr(walk.at, '<');
        if (walk.at == nullptr)
        {
            return true;
        }
        walk.at += 1;
        unsigned char c = static_cast<unsigned char>(*walk.at);
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
    return false;
}

bool LoadFromString(TiXmlDocument* document, const unsigned char* data, long length,
                    TiXmlEncoding encoding)
{
    if (data == nullptr)
    {
        document->SetError(TiXmlBase::TIXML_ERROR_OPENING_FILE, nullptr, nullptr,
                           TIXML_ENCODING_UNKNOWN);
        return false;
    }

    document->Clear();
    LocationAccess::Reset(document);

    if (length <= 0)
    {
        document->SetError(TiXmlBase::TIXML_ERROR_DOCUMENT_EMPTY, nullptr, nullptr,
                           TIXML_ENCODING_UNKNOWN);
        return false;
    }

    char* buf = static_cast<char*>(malloc(static_cast<size_t>(length) + 1));
    if (buf == nullptr)
    {
        FatalFault("a text of %ld bytes can't be allocated", length);
    }
    memcpy(buf, data, static_cast<size_t>(length));
    buf[length] = 0;

    std::string text;
    text.reserve(static_cast<size_t>(length));
    const char* p = buf;
    while (*p != 0)
    {
        assert(p < (buf + length));
        if (*p == '\r')
        {
            text += '\n';
            ++p;
            assert(p <= (buf + length));
            if (*p == '\n')
            {
                ++p;
            }
        }
        else
        {
            text += *p++;
        }
    }
    assert(p <= (buf + length));
    free(buf);

    if (!IsParsable(text.c_str()))
    {
        document->ClearError();
        document->SetError(TiXmlBase::TIXML_ERROR_PARSING_ELEMENT, nullptr, nullptr,
                           TIXML_ENCODING_UNKNOWN);
        return false;
    }
    document->Parse(text.c_str(), nullptr, encoding);
    return !document->Error();
}
