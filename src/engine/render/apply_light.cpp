// SPDX-License-Identifier: MIT
#include "engine/render/apply_light.h"

#include "engine/animation/light.h"
#include "engine/render/gl_calls.h"

static constexpr uint32_t kLightGroupValues = 3;

/// Three values of a light that OpenGL gets together.
struct LightGroup
{
    const uint32_t* slots; // [kLightGroupValues], animated
    uint8_t flags;         // value i is dynamic where firstFlag >> i is set
    uint32_t firstFlag;
    uint32_t firstPart; // the number of the first value in a fault, counted over the light
};

/// Resolves a group at `time`, first value first, and gives it to GL_LIGHT1 with 1.0 after it. For
/// the position that makes a point light; of the colors nothing reads it.
static bool SetLightGroup(const FrameSources* sources, GLenum name, const LightGroup* group,
                          uint32_t time)
{
    FaultList* faults = sources->faults;
    const Animation animation = FrameAnimation(sources);
    float values[kLightGroupValues + 1];
    for (uint32_t i = 0; i < kLightGroupValues; ++i)
    {
        faults->place.part = group->firstPart + i;
        const bool dynamic = (group->flags & (group->firstFlag >> i)) != 0;
        values[i] = ResolveValue(group->slots[i], dynamic, &animation, time);
        if (HasFailed(faults))
        {
            return false;
        }
    }
    values[kLightGroupValues] = 1.0f;
    GlLightfv(sources->gl, GL_LIGHT1, name, values);
    return true;
}

bool ApplyLight(uint32_t id, const FrameSources* sources, uint32_t time)
{
    FaultList* faults = sources->faults;
    GlEnable(sources->gl, GL_LIGHTING);
    GlEnable(sources->gl, GL_LIGHT1);

    const Light* light = GetRecord<Light>(id, sources->document->lights);
    if (light == nullptr)
    {
        AddFault(faults, "light %d does not exist", static_cast<int32_t>(id));
        return false;
    }

    // A fault from here on is one of the light and not of the material that names it.
    const Place caller = faults->place;
    faults->place.section = Section::kLights;
    faults->place.item = id;
    faults->place.part = 0;

    const LightGroup position = {light->position, light->flagsB, kPositionDynamic, kPositionPart};
    const LightGroup ambient = {light->ambient, light->flagsA, kAmbientDynamic, kAmbientPart};
    const LightGroup diffuse = {light->diffuse, light->flagsA, kDiffuseDynamic, kDiffusePart};
    const bool set = SetLightGroup(sources, GL_POSITION, &position, time) &&
                     SetLightGroup(sources, GL_AMBIENT, &ambient, time) &&
                     SetLightGroup(sources, GL_DIFFUSE, &diffuse, time);
    faults->place = caller;
    return set;
}

void SetLightAlongZ(GlContext* gl)
{
    static constexpr float kAlongZ[4] = {0.0f, 0.0f, 1.0f, 0.0f};
    GlLightfv(gl, GL_LIGHT1, GL_POSITION, kAlongZ);
}
