// SPDX-License-Identifier: MIT
#include "engine/geometry/manipulator.h"

#include <cstdlib>
#include <cstring>

#include "engine/animation/animated_value.h"
#include "engine/data/document_values.h"
#include "engine/data/fault.h"
#include "engine/data/numeric.h"
#include "engine/data/vocabulary.h"
#include "engine/geometry/rippler.h"

/// An attribute that documents write as a float and that counts as an integer.
/// @return 0 after a fault
static double ReadDoubleAttribute(const TiXmlElement* element, const char* name, FaultList* faults)
{
    const char* text = RequireAttribute(element, name, faults);
    return text == nullptr ? 0.0 : strtod(text, nullptr);
}

static bool ReadPlacement(const TiXmlNode* child, Manipulator* manipulator, FaultList* faults)
{
    const TiXmlElement* element = RequireElement(child, "the mesh of a manipulator", faults);
    manipulator->placementKind = TruncateToByte(ReadDoubleAttribute(element, "type", faults));
    if (HasFailed(faults))
    {
        return false;
    }
    manipulator->placementId =
        static_cast<uint32_t>(TruncateToInt(ReadDoubleAttribute(element, "model", faults)));
    return !HasFailed(faults);
}

static bool ReadParameters(const TiXmlNode* first, Manipulator* manipulator, FaultList* faults)
{
    uint32_t count = 0;
    for (const TiXmlNode* child = first; child != nullptr; child = child->NextSibling())
    {
        if (count == kManipulatorParams)
        {
            AddFaultAt(faults, child, "a manipulator has more than %u parameters",
                       kManipulatorParams);
            return false;
        }
        const TiXmlElement* param = RequireElement(child, "a parameter of a manipulator", faults);
        if (ReadAnimatedValue(param, &manipulator->params[count], faults))
        {
            SetMaskBit(manipulator->dynamicMask, count);
        }
        if (HasFailed(faults))
        {
            return false;
        }
        ++count;
    }
    return true;
}

bool ReadManipulator(const TiXmlElement* element, Manipulator* manipulator, FaultList* faults)
{
    *manipulator = {};
    manipulator->type = ReadIntAttribute(element, "type", faults);
    if (HasFailed(faults))
    {
        return false;
    }

    const TiXmlNode* child = element->FirstChild();
    if (child != nullptr && strcmp(child->Value(), "manipulator") == 0)
    {
        if (!ReadPlacement(child, manipulator, faults))
        {
            return false;
        }
        child = child->NextSibling();
    }
    return ReadParameters(child, manipulator, faults);
}

uint32_t ManipulatorParamCount(int32_t type)
{
    const VocabularyRow* row = FindVocabularyRow(kCatalogueManipulators, type);
    return row == nullptr ? 0 : CountParamNumbers(row);
}

/// A number of copies as documents give it: 3.9 counts as 3, anything negative as 0.
static uint32_t CopyCount(float value)
{
    int32_t count = TruncateToInt(value);
    return count < 0 ? 0 : static_cast<uint32_t>(count);
}

/// Makes room for count times all factors instances.
/// @param factors   [factorCount]
/// @return false after a fault: more than kInstanceLimit instances, no memory
static bool MultiplyList(uint32_t count, const uint32_t* factors, uint32_t factorCount,
                         InstanceList* result, const ManipulatorCall* call)
{
    // A zero anywhere comes first: two large numbers and a 0 are an empty list and no fault.
    uint64_t total = count;
    for (uint32_t i = 0; i < factorCount; ++i)
    {
        total = factors[i] == 0 ? 0 : total;
    }
    for (uint32_t i = 0; i < factorCount && total != 0; ++i)
    {
        total *= factors[i];
        if (total > kInstanceLimit)
        {
            AddFault(call->faults, "a manipulator makes more than %u instances", kInstanceLimit);
            return false;
        }
    }
    return AllocateInstances(static_cast<uint32_t>(total), result, call->arena, call->faults);
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
static bool MultiplyAlongX(InstanceList* list, const ManipulatorCall* call)
{
    const float* params = call->params;
    const uint32_t copies = CopyCount(params[0]);
    InstanceList result;
    if (!MultiplyList(list->count, &copies, 1, &result, call))
    {
        return false;
    }

    float* out = result.data;
    for (uint32_t s = 0; s < list->count; ++s)
    {
        // The first copy is the source itself. Adding 0 times a step would lose the sign of a -0
        // and could make a NaN.
        const float* source = list->data + s * kInstanceFloats;
        if (copies > 0)
        {
            memcpy(out, source, kInstanceFloats * sizeof(float));
            out += kInstanceFloats;
        }
        for (uint32_t i = 1; i < copies; ++i)
        {
            const float step = static_cast<float>(i);
            const float index[3] = {step, step, step};
            out = AddSteps(out, source, params + 1, index);
        }
    }
    *list = result;
    return true;
}

/// "XYZ Multiplier": copies in a grid, z innermost. An axis's steps go with its own index only, so
/// a rotation about x changes along x and nowhere else.
static bool MultiplyAlongXyz(InstanceList* list, const ManipulatorCall* call)
{
    const float* params = call->params;
    const uint32_t copies[3] = {CopyCount(params[0]), CopyCount(params[1]), CopyCount(params[2])};
    InstanceList result;
    if (!MultiplyList(list->count, copies, 3, &result, call))
    {
        return false;
    }

    // 2^31 turns around an empty row would take their time.
    const uint32_t sources = result.count == 0 ? 0 : list->count;
    float* out = result.data;
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
    *list = result;
    return true;
}

/// "Model placer": a copy on every vertex of the placement mesh. The parameters move the pattern of
/// vertices; the copies keep the rotation and scale of their source.
static bool PlaceOnMesh(InstanceList* list, const ManipulatorCall* call)
{
    InstanceList result;
    if (!MultiplyList(list->count, &call->placementCount, 1, &result, call))
    {
        return false;
    }

    float* out = result.data;
    for (uint32_t s = 0; s < list->count; ++s)
    {
        const float* source = list->data + s * kInstanceFloats;
        for (size_t v = 0; v < call->placementCount; ++v)
        {
            memcpy(out, source, kInstanceFloats * sizeof(float));
            out[0] += call->placement[3 * v];
            out[1] += call->placement[3 * v + 1];
            out[2] += call->placement[3 * v + 2];
            out += kInstanceFloats;
        }
    }
    *list = result;
    return true;
}

bool ApplyManipulator(InstanceList* list, const ManipulatorCall* call)
{
    switch (call->type)
    {
    case kManipulatorXyzMultiplier:
        return MultiplyAlongXyz(list, call);
    case kManipulatorXMultiplier:
        return MultiplyAlongX(list, call);
    case kManipulatorRippler:
        return RippleMesh(call->params, call->mesh, call->deformed, call->arena, call->faults);
    case kManipulatorModelPlacer:
        return call->placement == nullptr || PlaceOnMesh(list, call);
    default:
        return true;
    }
}
