// SPDX-License-Identifier: MIT
#include "studio/logic/step_pictures.h"

#include <cstdlib>

#include "engine/data/vocabulary.h"
#include "engine/piece/piece_sections.h"
#include "engine/textures/layer_generator.h"
#include "engine/textures/procedural_texture.h"
#include "engine/textures/texture_steps.h"
#include "studio/logic/piece_fields.h"

static constexpr size_t kPictureBytes = size_t{kTextureSize} * kTextureSize * 3;

static const char* RowWord(CatalogueId catalogue, int64_t number)
{
    const VocabularyRow* row = FindVocabularyRow(catalogue, number);
    return row == nullptr ? "unknown" : row->word;
}

/// Reads all layers, without pixels.
static void ReadLayers(const DemoDocument* document, FaultList* faults, ReadContext* context)
{
    *context = {};
    context->document = const_cast<DemoDocument*>(document);
    context->faults = faults;
    const uint32_t count = CountSectionItems(document, Section::kLayers);
    for (uint32_t i = 0; i < count; ++i)
    {
        const TiXmlElement* item = FindItem(document, Section::kLayers, i + 1);
        if (item == nullptr || !ReadLayerItem(item, nullptr, i, context))
        {
            return;
        }
    }
}

/// Generates the pixels of a layer, unless it has them.
static bool GeneratePixels(LayerImage* layer)
{
    if (layer->pixels != nullptr)
    {
        return true;
    }
    layer->pixels = static_cast<uint8_t*>(calloc(1, kPictureBytes));
    return layer->pixels != nullptr && GenerateLayer(layer, kTextureSize);
}

static StepPicture LayerPicture(const LayerImage* layer, uint32_t id)
{
    return {"layer " + std::to_string(id + 1) + ": " + RowWord(kCatalogueGenerators, layer->type),
            {layer->pixels, layer->pixels + kPictureBytes}};
}

/// Adds what the step at the end of a texture takes and gives.
static bool AddStep(const ProceduralTexture* texture, ReadContext* context,
                    std::vector<StepPicture>* pictures)
{
    const uint32_t step = texture->stepCount - 1u;
    const int32_t type = texture->stepType[step];
    std::string title = "step " + std::to_string(step + 1) + ": " + RowWord(kCatalogueSteps, type);
    if (IsCombiner(type))
    {
        const uint32_t id = texture->stepLayer[step];
        if (!GeneratePixels(context->layers[id]))
        {
            return false;
        }
        pictures->push_back(LayerPicture(context->layers[id], id));
        title += " layer " + std::to_string(id + 1);
    }
    StepPicture made = {title, std::vector<uint8_t>(kPictureBytes)};
    const TextureJob job = {texture, made.rgb.data()};
    if (!BuildProceduralTexture(&job, context->layers, kTextureSize))
    {
        return false;
    }
    pictures->push_back(std::move(made));
    return true;
}

std::vector<StepPicture> ComputeStepPictures(const DemoDocument* document, uint32_t texture)
{
    std::vector<StepPicture> pictures;
    FaultList faults;
    StartFaults(&faults);
    ReadContext context;
    ReadLayers(document, &faults, &context);
    ProceduralTexture whole = {};
    const TiXmlElement* item = FindItem(document, Section::kTextures, texture);
    if (item != nullptr && ReadTextureSteps(item, context.layerCount, &whole, &faults))
    {
        ProceduralTexture part = whole;
        for (uint8_t count = 1; count <= whole.stepCount; ++count)
        {
            part.stepCount = count;
            if (!AddStep(&part, &context, &pictures))
            {
                break;
            }
        }
    }
    FreeProceduralTexture(&whole);
    FreeLayers(&context);
    FreeFaults(&faults);
    return pictures;
}

StepPicture ComputeLayerPicture(const DemoDocument* document, uint32_t layer)
{
    StepPicture picture;
    FaultList faults;
    StartFaults(&faults);
    ReadContext context;
    ReadLayers(document, &faults, &context);
    if (layer - 1 < context.layerCount && GeneratePixels(context.layers[layer - 1]))
    {
        picture = LayerPicture(context.layers[layer - 1], layer - 1);
    }
    FreeLayers(&context);
    FreeFaults(&faults);
    return picture;
}
