// SPDX-License-Identifier: MIT
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
static bool ReadParameter(const TiXmlElement* element, uint32_t n, Material* material,
                          FaultList* faults)
{
    if (n >= kMaterialParams)
    {
        AddFaultAt(faults, element, "more than %u parameters", kMaterialParams);
        return false;
    }
    const char* type = RequireAttribute(element, "type", faults);
    if (type == nullptr)
    {
        return false;
    }
    if (strcmp(type, "static") == 0)
    {
        material->params[n] = FloatSlot(ReadFloatAttribute(element, "value", faults));
        return !HasFailed(faults);
    }

    SetMaskBit(material->dynamicMask, n < 16 ? n : 16 + n % 8);
    material->params[n] = static_cast<uint32_t>(ReadIntAttribute(element, "value", faults));
    return !HasFailed(faults);
}

/// Appends the id that a child names to one of the two lists.
static bool ReadReference(const TiXmlElement* element, uint32_t* refs, uint32_t* count,
                          FaultList* faults)
{
    if (*count >= kMaterialRefs)
    {
        AddFaultAt(faults, element, "more than %u references", kMaterialRefs);
        return false;
    }
    refs[*count] = static_cast<uint32_t>(ReadIntAttribute(element, "value", faults));
    *count += 1;
    return !HasFailed(faults);
}

/// How far the children of a material are read.
struct MaterialProgress
{
    bool inParameters; // only the children up to the first of another name than "p" are parameters
    uint32_t paramCount;
    uint32_t refCount;
    uint32_t effectRefCount;
};

static bool ReadChild(const TiXmlElement* element, MaterialProgress* progress, Material* material,
                      FaultList* faults)
{
    progress->inParameters = progress->inParameters && IsNamed(element, "p");
    if (progress->inParameters)
    {
        progress->paramCount += 1;
        return ReadParameter(element, progress->paramCount - 1, material, faults);
    }
    if (IsNamed(element, "effect2d"))
    {
        return ReadReference(element, material->effectRefs, &progress->effectRefCount, faults);
    }
    // "texture" and "light" in one list, told apart by their places; a late "p" as well.
    return ReadReference(element, material->refs, &progress->refCount, faults);
}

bool ReadMaterialItem(const TiXmlElement* item, void* record, uint32_t /*index*/,
                      ReadContext* context)
{
    Material* material = static_cast<Material*>(record);
    FaultList* faults = context->faults;
    *material = {}; // all references 0: a short document then draws untextured and unlit
    material->type = static_cast<uint32_t>(ReadIntAttribute(item, "type", faults));
    if (HasFailed(faults))
    {
        return false;
    }

    faults->place.part = 1;
    if (RequireElement(item->FirstChild(), "first child", faults) == nullptr)
    {
        return false;
    }

    MaterialProgress progress = {true, 0, 0, 0};
    for (const TiXmlNode* node = item->FirstChild(); node != nullptr; node = node->NextSibling())
    {
        const TiXmlElement* element = RequireElement(node, "child", faults);
        if (element == nullptr || !ReadChild(element, &progress, material, faults))
        {
            return false;
        }
        faults->place.part += 1;
    }
    faults->place.part = 0;
    return true;
}
