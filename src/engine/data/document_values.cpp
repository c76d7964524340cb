#include "engine/data/document_values.h"

#include <bit>
#include <cstdlib>
#include <cstring>

#include "engine/data/fault.h"

const TiXmlElement* RequireElement(const TiXmlNode* node, const char* what)
{
    if (node == nullptr)
    {
        FatalFault("%s is missing", what);
    }
    const TiXmlElement* element = node->ToElement();
    if (element == nullptr)
    {
        FatalFault("%s is not an element", what);
    }
    return element;
}

const TiXmlElement* TakeElement(const TiXmlNode** node, const char* what)
{
    const TiXmlElement* element = RequireElement(*node, what);
    *node = element->NextSibling();
    return element;
}

const char* RequireAttribute(const TiXmlElement* element, const char* name)
{
    const char* text = element->Attribute(name);
    if (text == nullptr)
    {
        FatalFault("attribute \"%s\" of <%s> is missing", name, element->Value());
    }
    return text;
}

const char* RequireText(const TiXmlElement* element)
{
    const TiXmlNode* child = element->FirstChild();
    if (child == nullptr)
    {
        FatalFault("<%s> has no text", element->Value());
    }
    return child->Value();
}

int32_t ParseInt(const char* text)
{
    return static_cast<int32_t>(static_cast<uint64_t>(strtol(text, nullptr, 10)));
}

float ParseFloat(const char* text)
{
    return static_cast<float>(strtod(text, nullptr));
}

int32_t ReadIntAttribute(const TiXmlElement* element, const char* name)
{
    return ParseInt(RequireAttribute(element, name));
}

float ReadFloatAttribute(const TiXmlElement* element, const char* name)
{
    return ParseFloat(RequireAttribute(element, name));
}

bool ReadAnimatedValue(const TiXmlElement* element, uint32_t* slot)
{
    bool dynamic = strcmp(RequireAttribute(element, "type"), "dynamic") == 0;
    const char* value = RequireAttribute(element, "value");
    *slot = dynamic ? static_cast<uint32_t>(ParseInt(value))
                    : std::bit_cast<uint32_t>(ParseFloat(value));
    return dynamic;
}

uint32_t CountChildren(const TiXmlNode* node)
{
    uint32_t count = 0;
    if (node != nullptr)
    {
        for (const TiXmlNode* child = node->FirstChild(); child != nullptr;
             child = child->NextSibling())
        {
            ++count;
        }
    }
    return count;
}
