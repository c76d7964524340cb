#include "engine/render/records/material.h"

#include <cstring>

#include "engine/animation/animated_value.h"
#include "engine/data/document_values.h"
#include "engine/data/fault.h"

static bool IsNamed(const TiXmlElement* element, const char* name)
{
    return strcmp(element->Value(), name) == 0;
}

/// Reads one "p" into parameter n. Other than in all other records it is the word "static" that
/// counts, and any other word makes the value dynamic.
static void ReadParameter(const TiXmlElement* element, uint32_t n, Material* material)
{
    if (n >= kMaterialParams)
    {
        FatalFault("more than %u parameters", kMaterialParams);
    }
    if (strcmp(RequireAttribute(element, "type"), "static") == 0)
    {
        material->params[n] = FloatSlot(ReadFloatAttribute(element, "value"));
        return;
    }

    SetMaskBit(material->dynamicMask, n < 16 ? n : 16 + n % 8);
    material->params[n] = static_cast<uint32_t>(ReadIntAttribute(element, "value"));
}

/// Appends the id that a child names to one of the two lists.
static void ReadReference(const TiXmlElement* element, uint32_t* refs, uint32_t* count)
{
    if (*count >= kMaterialRefs)
    {
        FatalFault("more than %u references", kMaterialRefs);
    }
    refs[*count] = static_cast<uint32_t>(ReadIntAttribute(element, "value"));
    *count += 1;
}

void ReadMaterialItem(const TiXmlElement* item, void* record, uint32_t /*index*/,
                      LoadContext* /*context*/)
{
    Material* material = static_cast<Material*>(record);
    *material = {}; // all references 0: a short document then draws untextured and unlit
    material->type = static_cast<uint32_t>(ReadIntAttribute(item, "type"));

    CurrentPlace.part = 1;
    RequireElement(item->FirstChild(), "first child");

    bool inParameters = true;
    uint32_t paramCount = 0;
    uint32_t refCount = 0;
    uint32_t effectRefCount = 0;
    for (const TiXmlNode* node = item->FirstChild(); node != nullptr; node = node->NextSibling())
    {
        const TiXmlElement* element = RequireElement(node, "child");
        inParameters = inParameters && IsNamed(element, "p");
        if (inParameters)
        {
            ReadParameter(element, paramCount, material);
            paramCount += 1;
        }
        else if (IsNamed(element, "effect2d"))
        {
            ReadReference(element, material->effectRefs, &effectRefCount);
        }
        else
        {
            // "texture" and "light" in one list, told apart by their places; a late "p" as well.
            ReadReference(element, material->refs, &refCount);
        }
        CurrentPlace.part += 1;
    }
    CurrentPlace.part = 0;
}
