// Procedural textures: stacks of steps over a 256x256 work image, made at load time. Only the
// OpenGL texture stays.
#pragma once

#include <cstdint>

#include "engine/data/demo_document.h"
#include "engine/data/vocabulary_numbers.h"

struct LayerImage;
struct ProceduralTexture;

/// What BuildProceduralTexture works on.
struct TextureJob
{
    ProceduralTexture* texture; // borrowed
    uint8_t* pixels;            // the work image, size * size * 3 bytes; null once released
};

struct ProceduralTexture
{
    uint8_t stepCount;                            // 0 to 32
    int32_t stepType[kTextureSteps];              // 101 to 104, 201 to 207
    int32_t stepLayer[kTextureSteps];             // place in the document's layers, from 0
    float stepParams[kTextureSteps][kStepParams]; // 1.0 where the document gives none
    uint32_t glTexture;                           // OpenGL texture name
    TextureJob job;
};

/// Runs the steps of job->texture over job->pixels, which is black first. A step of an unknown type
/// changes nothing.
/// @param layers   the document's layers; holds every layer that a combiner of the steps names
/// @param size     side of the work image and of the layers, 256 in every document
void BuildProceduralTexture(const TextureJob* job, const LayerImage* const* layers, int32_t size);

/// Reads the steps of one item of section 1, without OpenGL: glTexture is 0 and the job empty.
/// Fatal: more than kTextureSteps steps; a combiner of a layer that the document does not have.
/// @param layerCount   layers of the document
void ReadTextureSteps(const TiXmlElement* item, uint32_t layerCount, ProceduralTexture* texture);

/// Reads one item of section 1: the steps, the pixels, the texture. In the demo document the
/// texture gets a mip chain.
/// Fatal: more than kTextureSteps steps; a combiner of a layer that the document does not have.
/// @param record   a ProceduralTexture
/// Sets: the texture bound to GL_TEXTURE_2D. Leaves: it bound.
void ReadProceduralTextureItem(const TiXmlElement* item, void* record, uint32_t index,
                               LoadContext* context);
