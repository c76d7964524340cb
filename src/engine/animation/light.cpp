#include "engine/animation/light.h"

#include <GL/glew.h>

#include "engine/animation/animated_value.h"
#include "engine/data/document_values.h"
#include "engine/data/fault.h"

static constexpr uint32_t kValuesPerGroup = 3;

/// Reads the three values of one group.
/// @param firstPart   what a fault calls the first of them, counted from 1 over the whole light
/// @param flags       receives the dynamic bits, value i's at firstFlag >> i
static void ReadGroup(const TiXmlElement* group, uint32_t firstPart, uint32_t* slots,
                      uint8_t* flags, uint32_t firstFlag)
{
    const TiXmlNode* node = group->FirstChild();
    for (uint32_t i = 0; i < kValuesPerGroup; ++i)
    {
        CurrentPlace.part = firstPart + i;
        if (ReadAnimatedValue(TakeElement(&node, "value"), &slots[i]))
        {
            *flags = static_cast<uint8_t>(*flags | (firstFlag >> i));
        }
    }
    CurrentPlace.part = 0;
}

void ReadLightItem(const TiXmlElement* item, void* record, uint32_t /*index*/,
                   LoadContext* /*context*/)
{
    Light* light = static_cast<Light*>(record);
    light->flagsA = 0;
    light->flagsB = 0;

    const TiXmlNode* node = item->FirstChild();
    ReadGroup(TakeElement(&node, "ambient colour"), 1, light->ambient, &light->flagsA, 0x80);
    ReadGroup(TakeElement(&node, "diffuse colour"), 4, light->diffuse, &light->flagsA, 0x10);
    ReadGroup(TakeElement(&node, "position"), 7, light->position, &light->flagsB, 0x80);
}

/// Resolves a group at `time`, first value first, and gives it to GL_LIGHT1 with 1.0 behind it. For
/// the position that makes a point light; of the colours nothing reads it.
static void SetLightGroup(GLenum name, uint32_t firstPart, const uint32_t* slots, uint8_t flags,
                          uint32_t firstFlag, const ObjectTable* envelopes, uint32_t time)
{
    float values[kValuesPerGroup + 1];
    for (uint32_t i = 0; i < kValuesPerGroup; ++i)
    {
        CurrentPlace.part = firstPart + i;
        values[i] = ResolveValue(slots[i], (flags & (firstFlag >> i)) != 0, envelopes, time);
    }
    values[kValuesPerGroup] = 1.0f;
    glLightfv(GL_LIGHT1, name, values);
}

void ApplyLight(uint32_t id, const ObjectTable* lights, const ObjectTable* envelopes, uint32_t time)
{
    glEnable(GL_LIGHTING);
    glEnable(GL_LIGHT1);

    const Light* light = GetRecord<Light>(id, lights);
    if (light == nullptr)
    {
        FatalFault("light %d does not exist", static_cast<int32_t>(id));
    }

    // What is wrong from here on is wrong with the light and not with the material that names it.
    FaultPlace caller = CurrentPlace;
    CurrentPlace.section = 4;
    CurrentPlace.item = id;
    CurrentPlace.part = 0;

    SetLightGroup(GL_POSITION, 7, light->position, light->flagsB, 0x80, envelopes, time);
    SetLightGroup(GL_AMBIENT, 1, light->ambient, light->flagsA, 0x80, envelopes, time);
    SetLightGroup(GL_DIFFUSE, 4, light->diffuse, light->flagsA, 0x10, envelopes, time);

    CurrentPlace = caller;
}

void SetLightAlongZ()
{
    static constexpr float kAlongZ[4] = {0.0f, 0.0f, 1.0f, 0.0f};
    glLightfv(GL_LIGHT1, GL_POSITION, kAlongZ);
}
