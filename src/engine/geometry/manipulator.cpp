#include "engine/geometry/manipulator.h"

#include <cstdlib>
#include <cstring>

#include "engine/animation/animated_value.h"
#include "engine/data/document_values.h"
#include "engine/data/fault.h"
#include "engine/data/numeric.h"

/// An attribute that documents write as a float and that counts as an integer.
static double ReadDoubleAttribute(const TiXmlElement* element, const char* name)
{
    return strtod(RequireAttribute(element, name), nullptr);
}

void ReadManipulator(const TiXmlElement* element, Manipulator* manipulator)
{
    *manipulator = {};
    manipulator->type = ReadIntAttribute(element, "type");

    const TiXmlNode* child = element->FirstChild();
    if (child != nullptr && strcmp(child->Value(), "manipulator") == 0)
    {
        const TiXmlElement* placement = RequireElement(child, "the mesh of a manipulator");
        manipulator->placementKind = TruncateToByte(ReadDoubleAttribute(placement, "type"));
        manipulator->placementId = TruncateToInt(ReadDoubleAttribute(placement, "model"));
        child = child->NextSibling();
    }

    uint32_t count = 0;
    for (; child != nullptr; child = child->NextSibling())
    {
        if (count == kManipulatorParams)
        {
            FatalFault("a manipulator has more than %u parameters", kManipulatorParams);
        }
        const TiXmlElement* param = RequireElement(child, "a parameter of a manipulator");
        if (ReadAnimatedValue(param, &manipulator->params[count]))
        {
            SetMaskBit(manipulator->dynamicMask, count);
        }
        ++count;
    }
}

uint32_t ManipulatorParamCount(int32_t type)
{
    switch (type)
    {
    case kManipulatorXyzMultiplier:
        return 12;
    case kManipulatorXMultiplier:
        return 10;
    case kManipulatorRippler:
        return 3;
    case kManipulatorModelPlacer:
        return 9;
    default:
        return 0;
    }
}

/// A number of copies as documents give it: 3.9 counts as 3, anything negative as 0.
static uint32_t CopyCount(float value)
{
    int32_t count = TruncateToInt(value);
    return count < 0 ? 0 : static_cast<uint32_t>(count);
}

/// @param factors   [factorCount]
/// @return count times all factors, at most kInstanceLimit; fatal above
static uint32_t MultiplyCount(uint32_t count, const uint32_t* factors, uint32_t factorCount)
{
    // A zero anywhere comes first: two large numbers and a 0 are an empty list and no fault.
    for (uint32_t i = 0; i < factorCount; ++i)
    {
        if (factors[i] == 0)
        {
            return 0;
        }
    }

    uint64_t total = count;
    for (uint32_t i = 0; i < factorCount; ++i)
    {
        total *= factors[i];
        if (total > kInstanceLimit)
        {
            FatalFault("a manipulator makes more than %u instances", kInstanceLimit);
        }
    }
    return static_cast<uint32_t>(total);
}

/// Writes one instance: the source and, for each axis, that axis's index times its steps.
static float* AddSteps(float* out, const float* source, const float* steps, const float* index)
{
    for (uint32_t value = 0; value < kInstanceFloats; ++value)
    {
        out[value] = source[value] + index[value % 3] * steps[value];
    }
    return out + kInstanceFloats;
}

/// "X Multiplier": copies in a row, each a whole step of all nine values further.
static InstanceList* MultiplyAlongX(InstanceList* list, const float* params)
{
    const uint32_t copies = CopyCount(params[0]);
    InstanceList* result = CreateInstanceList(MultiplyCount(list->count, &copies, 1));

    float* out = result->data;
    for (uint32_t s = 0; s < list->count; ++s)
    {
        for (uint32_t i = 0; i < copies; ++i)
        {
            const float step = static_cast<float>(i);
            const float index[3] = {step, step, step};
            out = AddSteps(out, list->data + s * kInstanceFloats, params + 1, index);
        }
    }
    FreeInstanceList(list);
    return result;
}

/// "XYZ Multiplier": copies in a grid, z innermost. An axis's steps go with its own index only, so
/// a rotation about x changes along x and nowhere else.
static InstanceList* MultiplyAlongXyz(InstanceList* list, const float* params)
{
    const uint32_t copies[3] = {CopyCount(params[0]), CopyCount(params[1]), CopyCount(params[2])};
    InstanceList* result = CreateInstanceList(MultiplyCount(list->count, copies, 3));

    // 2^31 turns around an empty row would take their time.
    const uint32_t sources = result->count == 0 ? 0 : list->count;
    float* out = result->data;
    for (uint32_t s = 0; s < sources; ++s)
    {
        for (uint32_t ix = 0; ix < copies[0]; ++ix)
        {
            for (uint32_t iy = 0; iy < copies[1]; ++iy)
            {
                for (uint32_t iz = 0; iz < copies[2]; ++iz)
                {
                    const float index[3] = {static_cast<float>(ix), static_cast<float>(iy),
                                            static_cast<float>(iz)};
                    out = AddSteps(out, list->data + s * kInstanceFloats, params + 3, index);
                }
            }
        }
    }
    FreeInstanceList(list);
    return result;
}

InstanceList* ApplyManipulator(InstanceList* list, int32_t type, const float* params,
                               [[maybe_unused]] const Mesh* mesh, [[maybe_unused]] int32_t vbo,
                               [[maybe_unused]] const Mesh* placement)
{
    switch (type)
    {
    case kManipulatorXyzMultiplier:
        return MultiplyAlongXyz(list, params);
    case kManipulatorXMultiplier:
        return MultiplyAlongX(list, params);
    default:
        return list;
    }
}
