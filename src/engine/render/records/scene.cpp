// SPDX-License-Identifier: MIT
#include "engine/render/records/scene.h"

#include <cstring>

#include "engine/animation/animated_value.h"
#include "engine/data/document_values.h"
#include "engine/data/fault.h"

static constexpr const char* kPlacementNames[kInstanceFloats] = {
    "position x", "position y", "position z", "rotation x", "rotation y",
    "rotation z", "scale x",    "scale y",    "scale z",
};

static bool ReadPlacement(const TiXmlNode** child, uint32_t n, Scene* scene, FaultList* faults)
{
    for (uint32_t value = 0; value < kInstanceFloats && !HasFailed(faults); ++value)
    {
        ObjectValues* values = &(scene->*kPlacementValues[value]);
        const TiXmlElement* element = TakeElement(child, kPlacementNames[value], faults);
        if (ReadAnimatedValue(element, &values->slot[n], faults))
        {
            SetMaskBit(values->dynamicMask, n);
        }
    }
    return !HasFailed(faults);
}

static bool ReadVisibility(const TiXmlElement* element, uint32_t n, Scene* scene, FaultList* faults)
{
    scene->visibilityEnvelope[n] =
        static_cast<uint32_t>(ReadIntAttribute(element, "value", faults));
    return !HasFailed(faults);
}

static bool ReadTimeShift(const TiXmlElement* element, uint32_t n, Scene* scene, FaultList* faults)
{
    scene->timeShift[n] = ReadFloatAttribute(element, "value", faults);
    return !HasFailed(faults);
}

static bool ReadManipulators(const TiXmlNode* first, uint32_t n, Scene* scene, FaultList* faults)
{
    scene->manipulatorCount[n] = 0;
    for (const TiXmlNode* child = first; child != nullptr; child = child->NextSibling())
    {
        const uint8_t count = scene->manipulatorCount[n];
        if (count == kSceneManipulators)
        {
            AddFaultAt(faults, child, "the object has more than %u manipulators",
                       kSceneManipulators);
            return false;
        }
        const TiXmlElement* element = RequireElement(child, "manipulator", faults);
        if (element == nullptr || !ReadManipulator(element, &scene->manipulators[n][count], faults))
        {
            return false;
        }
        scene->manipulatorCount[n] = static_cast<uint8_t>(count + 1);
    }
    return true;
}

/// Reads one integer attribute of an object; nothing after a fault.
static int32_t ReadObjectNumber(const TiXmlElement* item, const char* name, FaultList* faults)
{
    return HasFailed(faults) ? 0 : ReadIntAttribute(item, name, faults);
}

static bool ReadObject(const TiXmlElement* item, uint32_t n, Scene* scene, FaultList* faults)
{
    scene->objectKind[n] = static_cast<uint8_t>(ReadObjectNumber(item, "type", faults));
    scene->objectId[n] = static_cast<uint32_t>(ReadObjectNumber(item, "object", faults));
    scene->materialId[n] = static_cast<uint32_t>(ReadObjectNumber(item, "material", faults));
    if (HasFailed(faults))
    {
        return false;
    }

    const TiXmlNode* child = item->FirstChild();
    return ReadPlacement(&child, n, scene, faults) &&
           ReadVisibility(TakeElement(&child, "visibility", faults), n, scene, faults) &&
           ReadTimeShift(TakeElement(&child, "time shift", faults), n, scene, faults) &&
           ReadManipulators(child, n, scene, faults);
}

bool ReadSceneItem(const TiXmlElement* item, void* record, uint32_t /*index*/, ReadContext* context)
{
    // The masks are all that an object doesn't write whole. The block is large and mostly empty, so
    // the rest stays untouched.
    Scene* scene = static_cast<Scene*>(record);
    FaultList* faults = context->faults;
    scene->objectCount = 0;
    for (ObjectValues Scene::*values : kPlacementValues)
    {
        memset((scene->*values).dynamicMask, 0, sizeof((scene->*values).dynamicMask));
    }

    for (const TiXmlNode* child = item->FirstChild(); child != nullptr;
         child = child->NextSibling())
    {
        faults->place.part = scene->objectCount + 1;
        if (scene->objectCount == kSceneObjects)
        {
            AddFaultAt(faults, child, "the scene has more than %u objects", kSceneObjects);
            return false;
        }
        const TiXmlElement* object = RequireElement(child, "object", faults);
        if (object == nullptr || !ReadObject(object, scene->objectCount, scene, faults))
        {
            return false;
        }
        scene->objectCount += 1;
    }
    faults->place.part = 0;
    return true;
}
