// SPDX-License-Identifier: MIT
#include "engine/textures/procedural_texture.h"

#include <cstdlib>
#include <cstring>

#include "engine/data/allocate.h"
#include "engine/data/arena.h"
#include "engine/data/document_values.h"
#include "engine/data/fault.h"
#include "engine/textures/layer_generator.h"
#include "engine/textures/mip_chain.h"
#include "engine/textures/texture_steps.h"

bool BuildProceduralTexture(const TextureJob* job, const LayerImage* const* layers, int32_t size)
{
    const ProceduralTexture* texture = job->texture;
    memset(job->pixels, 0, static_cast<size_t>(size) * static_cast<size_t>(size) * 3);
    Arena scratch = {};
    bool done = true;
    for (uint32_t i = 0; i < texture->stepCount && done; ++i)
    {
        const int32_t type = texture->stepType[i];
        const uint8_t* layer = IsCombiner(type) ? layers[texture->stepLayer[i]]->pixels : nullptr;
        done = ApplyTextureStep(type, texture->stepParams[i], layer, size, job->pixels, &scratch);
    }
    FreeArena(&scratch);
    return done;
}

/// Reads the parameters of one step; those that the document does not give are 1.
static bool ReadStepParams(const TiXmlElement* element, float* params, FaultList* faults)
{
    const TiXmlNode* child = element->FirstChild();
    for (uint32_t i = 0; i < kStepParams; ++i)
    {
        params[i] = 1.0f;
        if (child != nullptr)
        {
            params[i] = ParseFloat(RequireText(RequireElement(child, "parameter", faults), faults));
            if (HasFailed(faults))
            {
                return false;
            }
            child = child->NextSibling();
        }
    }
    return true;
}

/// Reads one step into slot i.
static bool ReadStep(const TiXmlElement* element, uint32_t i, uint32_t layerCount,
                     ProceduralTexture* texture, FaultList* faults)
{
    texture->stepType[i] = ReadIntAttribute(element, "type", faults);
    if (HasFailed(faults))
    {
        return false;
    }
    // The name alone decides whether a layer is named: a combiner of another name takes layer 0.
    if (strncmp(element->Value(), "layer", 5) == 0)
    {
        texture->stepLayer[i] = static_cast<uint32_t>(ReadIntAttribute(element, "id", faults));
        if (HasFailed(faults))
        {
            return false;
        }
    }
    if (IsCombiner(texture->stepType[i]) && texture->stepLayer[i] >= layerCount)
    {
        AddFaultAt(faults, element, "there is no layer %d, the document has %u",
                   static_cast<int32_t>(texture->stepLayer[i]), layerCount);
        return false;
    }
    return ReadStepParams(element, texture->stepParams[i], faults);
}

bool ReadTextureSteps(const TiXmlElement* item, uint32_t layerCount, ProceduralTexture* texture,
                      FaultList* faults)
{
    *texture = {};
    uint32_t count = 0;
    for (const TiXmlNode* child = item->FirstChild(); child != nullptr;
         child = child->NextSibling())
    {
        faults->place.part = count + 1;
        if (count == kTextureSteps)
        {
            AddFaultAt(faults, child, "more than %u steps", kTextureSteps);
            return false;
        }
        const TiXmlElement* element = RequireElement(child, "step", faults);
        if (element == nullptr || !ReadStep(element, count, layerCount, texture, faults))
        {
            return false;
        }
        count += 1;
    }
    faults->place.part = 0;
    texture->stepCount = static_cast<uint8_t>(count);
    return true;
}

bool ReadProceduralTextureItem(const TiXmlElement* item, void* record, uint32_t /*index*/,
                               ReadContext* context)
{
    ProceduralTexture* texture = static_cast<ProceduralTexture*>(record);
    if (!ReadTextureSteps(item, context->layerCount, texture, context->faults))
    {
        return false;
    }
    if (!context->computePixels)
    {
        return true;
    }

    static constexpr size_t kBytes = static_cast<size_t>(kTextureSize) * kTextureSize * 3;
    if (!TakeFromBudget(&context->package->budget, kBytes, context->faults))
    {
        return false;
    }
    texture->pixels = AllocateBlock<uint8_t>(kBytes, "a work image", context->faults);
    if (texture->pixels == nullptr)
    {
        return false;
    }
    const TextureJob job = {texture, texture->pixels};
    if (!BuildProceduralTexture(&job, context->layers, kTextureSize))
    {
        AddFault(context->faults, "no memory for the steps of a texture");
        return false;
    }
    return true;
}

size_t MakeTextureLevels(ProceduralTexture* texture)
{
    static constexpr MipSize kSize = {kTextureSize, kTextureSize};
    texture->levels = MakeMipChain(kSize, 3, texture->pixels);
    return texture->levels == nullptr ? 0 : MipChainBytes(kSize, 3);
}

bool EndTextureSection(ReadContext* context)
{
    FreeLayers(context);
    return true;
}

void FreeProceduralTexture(void* record)
{
    ProceduralTexture* texture = static_cast<ProceduralTexture*>(record);
    free(texture->levels);
    texture->levels = nullptr;
    free(texture->pixels);
    texture->pixels = nullptr;
}
