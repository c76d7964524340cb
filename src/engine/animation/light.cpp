// SPDX-License-Identifier: MIT
#include "engine/animation/light.h"

#include "engine/data/document_values.h"
#include "engine/data/fault.h"

static constexpr uint32_t kValuesPerGroup = 3;

/// A group of three values, and where it goes.
struct LightGroup
{
    const char* name;      // how a fault calls it
    uint32_t firstPart;    // how a fault counts its first value
    uint32_t firstDynamic; // the dynamic bit of its first value
    uint32_t* slots;       // borrowed; kValuesPerGroup of them
    uint8_t* flags;        // borrowed; receives the dynamic bits
};

static bool ReadGroup(const TiXmlNode* node, const LightGroup* group, FaultList* faults)
{
    const TiXmlElement* element = RequireElement(node, group->name, faults);
    if (element == nullptr)
    {
        return false;
    }
    const TiXmlNode* child = element->FirstChild();
    for (uint32_t i = 0; i < kValuesPerGroup; ++i)
    {
        faults->place.part = group->firstPart + i;
        if (ReadAnimatedValue(TakeElement(&child, "value", faults), &group->slots[i], faults))
        {
            *group->flags = static_cast<uint8_t>(*group->flags | (group->firstDynamic >> i));
        }
        if (HasFailed(faults))
        {
            return false;
        }
    }
    faults->place.part = 0;
    return true;
}

bool ReadLightItem(const TiXmlElement* item, void* record, uint32_t /*index*/, ReadContext* context)
{
    Light* light = static_cast<Light*>(record);
    const LightGroup groups[] = {
        {"ambient colour", kAmbientPart, kAmbientDynamic, light->ambient, &light->flagsA},
        {"diffuse colour", kDiffusePart, kDiffuseDynamic, light->diffuse, &light->flagsA},
        {"position", kPositionPart, kPositionDynamic, light->position, &light->flagsB},
    };
    const TiXmlNode* node = item->FirstChild();
    for (const LightGroup& group : groups)
    {
        if (!ReadGroup(node, &group, context->faults))
        {
            return false;
        }
        node = node->NextSibling();
    }
    return true;
}
