// SPDX-License-Identifier: MIT

// Procedural textures: stacks of steps over a 256x256 work image, made while a document is read.
#pragma once

#include <cstddef>
#include <cstdint>

#include "engine/data/demo_document.h"
#include "engine/data/vocabulary_numbers.h"

struct LayerImage;

struct ProceduralTexture
{
    uint8_t stepCount;                            // 0 to 32
    int32_t stepType[kTextureSteps];              // 101 to 104, 201 to 207
    uint32_t stepLayer[kTextureSteps];            // place in the document's layers, from 0
    float stepParams[kTextureSteps][kStepParams]; // 1.0 where the document gives none
    uint8_t* pixels; // owned; kTextureSize^2 RGB pixels, first row first; null if not computed
    uint8_t* levels; // owned; of MakeMipChain; null where they are made as they are uploaded
};

/// A texture that is built, and the image it is built in.
struct TextureJob
{
    const ProceduralTexture* texture; // borrowed
    uint8_t* pixels;                  // borrowed; the work image, size * size * 3 bytes
};

/// Runs the steps of job->texture over job->pixels, which is black first. A step of an unknown type
/// changes nothing.
/// @param layers   the document's layers; holds every layer that a combiner of the steps names
/// @param size     side of the work image and of the layers, 256 in every document
/// @return false without memory for the rows that a step works on
bool BuildProceduralTexture(const TextureJob* job, const LayerImage* const* layers, int32_t size);

/// Reads the steps of one item of section 1; pixels is null.
/// Faults: more than kTextureSteps steps; a combiner of a layer that the document does not have.
/// @param layerCount   layers of the document
bool ReadTextureSteps(const TiXmlElement* item, uint32_t layerCount, ProceduralTexture* texture,
                      FaultList* faults);

/// Reads one item of section 1: the steps and, if the context computes pixels, the pixels. The
/// faults are those of ReadTextureSteps.
/// @param record   a ProceduralTexture; after a fault too it is for FreeProceduralTexture
bool ReadProceduralTextureItem(const TiXmlElement* item, void* record, uint32_t index,
                               ReadContext* context);

/// Makes the mip chain of a texture before it is uploaded. Without memory for it there is none.
/// @return the bytes that it takes; 0 without one
size_t MakeTextureLevels(ProceduralTexture* texture);

/// Runs after the last item of section 1: frees the layers, which only textures use.
/// @return true
bool EndTextureSection(ReadContext* context);

/// Frees what a record owns, its pixels, and leaves it without. A program that has uploaded a
/// texture calls it early; a second call does nothing.
/// @param record   a ProceduralTexture
void FreeProceduralTexture(void* record);
