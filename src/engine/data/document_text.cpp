#include "engine/data/document_text.h"

#include <cassert>
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

    document->Parse(text.c_str(), nullptr, encoding);
    return !document->Error();
}
