// SPDX-License-Identifier: MIT

// The OpenGL names of one document: everything that a document has in OpenGL is made here and given
// back here. The records themselves know nothing of OpenGL.
#pragma once

#include <cstdint>

#include "engine/data/demo_document.h"
#include "engine/data/fault.h"
#include "engine/data/gl_features.h"
#include "engine/piece/piece_state.h"

/// A model in buffer objects; all 0 for a model that is drawn from client memory.
struct ModelUpload
{
    uint32_t vertexBuffer;
    uint32_t texCoordBuffer1;
    uint32_t texCoordBuffer2; // only if the file has 2 sets or more
    uint32_t normalBuffer;
    uint32_t indexBuffer;
    uint32_t bufferIndexCount; // indices to draw from indexBuffer
};

/// A bitmap. Its size is the record's until a pass resizes it as its target.
struct BitmapUpload
{
    uint32_t glTexture;
    int32_t width;  // pixels
    int32_t height; // pixels
    int32_t components;
};

struct EffectUpload
{
    uint32_t glTexture;
    uint32_t pixelBuffer; // only on the buffer path
    bool stale;           // the texture lacks the last image: a frame that made it was not drawn
};

/// Bent geometry of the object that is being drawn; 0 between objects, unless a fault ended one.
struct DeformedBuffers
{
    uint32_t vertexBuffer; // OpenGL buffer names
    uint32_t normalBuffer;
};

/// Zeros are a document without names. Arrays are owned, their entries [id - 1].
struct DocumentUpload
{
    uint32_t* textures; // OpenGL names of procedural textures
    ModelUpload* models;
    BitmapUpload* bitmaps;
    EffectUpload* effects;
    uint32_t textureCount;
    uint32_t modelCount;
    uint32_t bitmapCount;
    uint32_t effectCount;
    DeformedBuffers deformed;
};

/// The record that uploads share while one document is read. Pointers are borrowed.
struct UploadContext
{
    DocumentUpload* upload;
    const DemoDocument* document;
    DocumentState* state;
    RandomSequence* random;
    GlFeatures features;
    bool isDemo; // the demo and not the loading screen: buffer objects, mip chains, unpack buffers
    bool keepPixels; // of bitmaps, in their records; otherwise they are freed once uploaded
    FaultList* faults;
};

/// Gives one record that was just read to OpenGL. Sections without anything in OpenGL do nothing.
///   procedural textures   a texture, in the demo with a mip chain; the pixels are freed
///   models                in the demo with GlFeatures.vbo five buffers; leaves: both buffer
///   targets
///                         bound to 0
///   2D effects            the image at time 0, in the demo with GlFeatures.pbo through an unpack
///                         buffer; leaves: no unpack buffer bound
///   bitmaps               a texture with a mip chain; an image of one or two components gets level
///   0
///                         only, with a filter that asks for more levels
/// Leaves: the texture bound on the selected unit, an unpack alignment of 4 after a mip chain.
/// @return false after a fault: an effect's envelope that does not exist, an image too small for a
///         mip chain, no memory
bool UploadItem(const UploadContext* context, const ItemPlace* item);

/// Deletes every OpenGL name of a document and frees the arrays. Needs the context that they were
/// made in to be current.
void FreeUpload(DocumentUpload* upload);

/// Frees the arrays alone: for a program that ends, and its OpenGL with it.
void ForgetUpload(DocumentUpload* upload);

/// @return the entry of an id, lent; null where there is none
const ModelUpload* GetModelUpload(const DocumentUpload* upload, uint32_t id);
BitmapUpload* GetBitmapUpload(const DocumentUpload* upload, uint32_t id);
const EffectUpload* GetEffectUpload(const DocumentUpload* upload, uint32_t id);
/// @return the texture's OpenGL name; 0 where there is none
uint32_t GetTextureUpload(const DocumentUpload* upload, uint32_t id);
