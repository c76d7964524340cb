#include "engine/textures/procedural_texture.h"

#include <cstring>

#include "engine/data/document_values.h"
#include "engine/data/fault.h"
#include "engine/textures/layer_generator.h"
#include "engine/textures/texture_steps.h"

void BuildProceduralTexture(const TextureJob* job, const LayerImage* const* layers, int32_t size)
{
    const ProceduralTexture* texture = job->texture;
    memset(job->pixels, 0, static_cast<size_t>(size) * static_cast<size_t>(size) * 3);
    for (uint32_t i = 0; i < texture->stepCount; ++i)
    {
        const int32_t type = texture->stepType[i];
        const uint8_t* layer = IsCombiner(type) ? layers[texture->stepLayer[i]]->pixels : nullptr;
        ApplyTextureStep(type, texture->stepParams[i], layer, size, job->pixels);
    }
}

/// Reads one step into slot i.
static void ReadStep(const TiXmlElement* element, uint32_t i, uint32_t layerCount,
                     ProceduralTexture* texture)
{
    texture->stepType[i] = ReadIntAttribute(element, "type");
    // The name alone decides whether a layer is named: a combiner of another name takes layer 0.
    texture->stepLayer[i] =
        strncmp(element->Value(), "layer", 5) == 0 ? ReadIntAttribute(element, "id") : 0;
    if (IsCombiner(texture->stepType[i]) &&
        (texture->stepLayer[i] < 0 || texture->stepLayer[i] >= static_cast<int64_t>(layerCount)))
    {
        FatalFault("there is no layer %d, the document has %u", texture->stepLayer[i], layerCount);
    }

    const TiXmlNode* child = element->FirstChild();
    for (float& param : texture->stepParams[i])
    {
        param = 1.0F;
        if (child != nullptr)
        {
            param = ParseFloat(RequireText(RequireElement(child, "parameter")));
            child = child->NextSibling();
        }
    }
}

void ReadTextureSteps(const TiXmlElement* item, uint32_t layerCount, ProceduralTexture* texture)
{
    *texture = {};
    uint32_t count = 0;
    for (const TiXmlNode* child = item->FirstChild(); child != nullptr;
         child = child->NextSibling())
    {
        CurrentPlace.part = count + 1;
        if (count == kTextureSteps)
        {
            FatalFault("more than %u steps", kTextureSteps);
        }
        ReadStep(RequireElement(child, "step"), count, layerCount, texture);
        count += 1;
    }
    CurrentPlace.part = 0;
    texture->stepCount = static_cast<uint8_t>(count);
}
