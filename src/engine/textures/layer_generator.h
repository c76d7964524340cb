// SPDX-License-Identifier: MIT

// Layers: flat RGB images that six generators make from a handful of floats. They are the raw
// material of procedural textures and live only while those are built.
//
//   type   generator        params
//   0      Color            0-2 color
//   1      Sinus plasma     0-2 plasma color, 3 repeat x, 4 repeat y
//   2      Radial colors    0-2 center color, 3-5 margin color, 6 inverse radian, 7 color offset
//   3      Maze             0-2 color, 3 maze size, 4 maze field, 5 maze fullness
//   4      Bricks           0-2 brick color, 3-5 wall color, 6 horizontal number, 7 vertical
//                           number, 8 horizontal margin, 9 vertical margin, 10 second line offset
//   5      Noise            0-2 color, 3 random seed
//
// A color is three floats, red, green and blue, nominally 0 to 1. Nothing clamps a color: a float
// becomes a byte by dropping its fraction and keeping the low 8 bits, so 1.5 wraps round.
#pragma once

#include <cstdint>

#include "engine/data/demo_document.h"
#include "engine/data/random_sequence.h"
#include "engine/data/vocabulary_numbers.h"
#include "engine/textures/corner_masks.h"

struct LayerImage
{
    uint32_t type;              // generator, 0 to 5
    float params[kLayerParams]; // in document order; 0 where the document gives none
    uint8_t* pixels;            // owned; size * size RGB pixels, first row first, no padding;
                                // null where they are not computed
};

/// Fills layer->pixels from its type and params. A type above 5 leaves the pixels alone.
/// @param size   side of the image, 256 in every document; pixels has room for size * size * 3
///               bytes
/// @return false without memory for the rows that a generator works on
bool GenerateLayer(LayerImage* layer, int32_t size);

/// Sets colors and scalars of a layer of type 0, 1 or 2 at random: one number of the sequence for
/// each entry, in the order of the entries. Any other type is left alone.
void RandomizeLayerParams(LayerImage* layer, RandomSequence* random);

/// Reads one item of section 0 into context->layers and, if the context computes pixels, generates
/// its pixels. Faults: more than kLayerCapacity layers, more than kLayerParams parameters.
/// @param record   not used: layers live in no table
bool ReadLayerItem(const TiXmlElement* item, void* record, uint32_t index, ReadContext* context);

/// Frees all layers of context, pixels included. Leaves: no layers.
void FreeLayers(ReadContext* context);
