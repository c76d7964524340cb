#include "engine/geometry/manipulator.h"

#include <GL/glew.h>
#include <cstdlib>
#include <cstring>

#include "engine/animation/animated_value.h"
#include "engine/data/document_values.h"
#include "engine/data/fault.h"
#include "engine/data/numeric.h"
#include "engine/data/vocabulary.h"
#include "engine/geometry/rippler.h"
#include "engine/geometry/transform_vertices.h"

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
    const VocabularyRow* row = FindVocabularyRow(kCatalogueManipulators, type);
    return row == nullptr ? 0 : CountParamNumbers(row);
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

/// The placement mesh's vertices under the nine parameters. The matrix is built on OpenGL's stack,
/// where no draw call ever sees it.
/// @return a new array [vertexCount][3] for the caller to free
static float* TransformPlacement(const Mesh* placement, const float* params)
{
    glPushMatrix();
    glLoadIdentity();
    glTranslatef(params[0], params[1], params[2]);
    glRotatef(params[3], 1.0f, 0.0f, 0.0f);
    glRotatef(params[4], 0.0f, 1.0f, 0.0f);
    glRotatef(params[5], 0.0f, 0.0f, 1.0f);
    glScalef(params[6], params[7], params[8]);
    float* vertices = TransformVertices(placement->vertices, placement->vertexCount);
    glPopMatrix();
    return vertices;
}

/// "Model placer": a copy on every vertex of the placement mesh. The parameters move the pattern of
/// vertices; the copies keep the rotation and scale of their source.
static InstanceList* PlaceOnMesh(InstanceList* list, const float* params, const Mesh* placement)
{
    const uint32_t vertexCount = placement->vertexCount;
    float* vertices = TransformPlacement(placement, params);
    InstanceList* result = CreateInstanceList(MultiplyCount(list->count, &vertexCount, 1));

    float* out = result->data;
    for (uint32_t s = 0; s < list->count; ++s)
    {
        const float* source = list->data + s * kInstanceFloats;
        for (size_t v = 0; v < vertexCount; ++v)
        {
            memcpy(out, source, kInstanceFloats * sizeof(float));
            out[0] += vertices[3 * v];
            out[1] += vertices[3 * v + 1];
            out[2] += vertices[3 * v + 2];
            out += kInstanceFloats;
        }
    }
    free(vertices);
    FreeInstanceList(list);
    return result;
}

InstanceList* ApplyManipulator(InstanceList* list, int32_t type, const float* params,
                               const Mesh* mesh, int32_t vbo, const Mesh* placement)
{
    switch (type)
    {
    case kManipulatorXyzMultiplier:
        return MultiplyAlongXyz(list, params);
    case kManipulatorXMultiplier:
        return MultiplyAlongX(list, params);
    case kManipulatorRippler:
        RippleMesh(params, mesh, vbo);
        return list;
    case kManipulatorModelPlacer:
        return placement == nullptr ? list : PlaceOnMesh(list, params, placement);
    default:
        return list;
    }
}
