// SPDX-License-Identifier: MIT
#include "engine/data/document_values.h"

#include <bit>
#include <cassert>
#include <cstdlib>
#include <cstring>

const TiXmlElement* RequireElement(const TiXmlNode* node, const char* what, FaultList* faults)
{
    if (node == nullptr)
    {
        AddFault(faults, "%s is missing", what);
        return nullptr;
    }
    const TiXmlElement* element = node->ToElement();
    if (element == nullptr)
    {
        AddFaultAt(faults, node, "%s is not an element", what);
    }
    return element;
}

const TiXmlElement* TakeElement(const TiXmlNode** node, const char* what, FaultList* faults)
{
    if (HasFailed(faults))
    {
        return nullptr;
    }
    const TiXmlElement* element = RequireElement(*node, what, faults);
    *node = element == nullptr ? nullptr : element->NextSibling();
    return element;
}

const char* RequireAttribute(const TiXmlElement* element, const char* name, FaultList* faults)
{
    if (element == nullptr)
    {
        assert(HasFailed(faults));
        return nullptr;
    }
    const char* text = element->Attribute(name);
    if (text == nullptr)
    {
        AddFaultAt(faults, element, "attribute \"%s\" of <%s> is missing", name, element->Value());
    }
    return text;
}

const char* RequireText(const TiXmlElement* element, FaultList* faults)
{
    if (element == nullptr)
    {
        assert(HasFailed(faults));
        return nullptr;
    }
    const TiXmlNode* child = element->FirstChild();
    if (child == nullptr)
    {
        AddFaultAt(faults, element, "<%s> has no text", element->Value());
        return nullptr;
    }
    return child->Value();
}

int32_t ParseInt(const char* text)
{
    return text == nullptr ? 0
                           : static_cast<int32_t>(static_cast<uint64_t>(strtol(text, nullptr, 10)));
}

float ParseFloat(const char* text)
{
    return text == nullptr ? 0.0f : static_cast<float>(strtod(text, nullptr));
}

int32_t ReadIntAttribute(const TiXmlElement* element, const char* name, FaultList* faults)
{
    return ParseInt(RequireAttribute(element, name, faults));
}

float ReadFloatAttribute(const TiXmlElement* element, const char* name, FaultList* faults)
{
    return ParseFloat(RequireAttribute(element, name, faults));
}

bool ReadAnimatedValue(const TiXmlElement* element, uint32_t* slot, FaultList* faults)
{
    *slot = 0;
    const char* type = RequireAttribute(element, "type", faults);
    const char* value = type == nullptr ? nullptr : RequireAttribute(element, "value", faults);
    if (value == nullptr)
    {
        return false;
    }
    const bool dynamic = strcmp(type, "dynamic") == 0;
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
