// SPDX-License-Identifier: MIT
#include "engine/render/upload.h"

#include <GL/glew.h>
#include <cstdlib>
#include <cstring>

#include "engine/data/allocate.h"
#include "engine/data/model_data.h"
#include "engine/render/build_mipmaps.h"
#include "engine/render/effect_texture.h"
#include "engine/textures/bitmap_texture.h"
#include "engine/textures/layer_generator.h"
#include "engine/textures/procedural_texture.h"

/// Makes room for the entry of an id, cleared. Ids come in order, so the block doubles now and
/// then.
/// @param entries   [*count], may move
/// @return the entry; null after a fault if there is no memory
template <typename Entry>
static Entry* AddEntry(Entry** entries, uint32_t* count, uint32_t id, FaultList* faults)
{
    const bool full = (*count & (*count - 1)) == 0; // at 0 and each power of two
    if (full)
    {
        const size_t capacity = *count == 0 ? 1 : size_t{2} * *count;
        Entry* grown = static_cast<Entry*>(realloc(*entries, capacity * sizeof(Entry)));
        if (grown == nullptr)
        {
            AddFault(faults, "no memory for OpenGL names (%zu bytes)", capacity * sizeof(Entry));
            return nullptr;
        }
        *entries = grown;
    }
    Entry* entry = &(*entries)[id - 1];
    *entry = {};
    *count = id;
    return entry;
}

// ---- Procedural textures

static bool UploadTexture(const UploadContext* context, uint32_t id, ProceduralTexture* texture)
{
    DocumentUpload* upload = context->upload;
    uint32_t* glTexture = AddEntry(&upload->textures, &upload->textureCount, id, context->faults);
    if (glTexture == nullptr)
    {
        return false;
    }
    glGenTextures(1, glTexture);
    glBindTexture(GL_TEXTURE_2D, *glTexture);
    glTexImage2D(GL_TEXTURE_2D, 0, 3, kTextureSize, kTextureSize, 0, GL_RGB, GL_UNSIGNED_BYTE,
                 texture->pixels);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER,
                    context->isDemo ? GL_LINEAR_MIPMAP_LINEAR : GL_LINEAR);
    const bool built = !context->isDemo || BuildMipmaps(kTextureSize, kTextureSize, texture->pixels,
                                                        3, texture->levels, context->faults);
    FreeProceduralTexture(texture);
    return built;
}

// ---- Models

static void UploadArray(uint32_t* buffer, GLenum target, uint32_t size, const void* source)
{
    glGenBuffers(1, buffer);
    glBindBuffer(target, *buffer);
    glBufferData(target, static_cast<GLsizeiptr>(size), source, GL_STATIC_DRAW);
}

static bool UploadIndices(const ModelData* model, ModelUpload* upload, FaultList* faults)
{
    const ModelIndexBytes indices = GetModelIndexBytes(model);
    upload->bufferIndexCount = indices.count;
    if (indices.size <= indices.present)
    {
        UploadArray(&upload->indexBuffer, GL_ELEMENT_ARRAY_BUFFER, indices.size,
                    model->mesh.indices);
        return true;
    }
    uint8_t* padded = AllocateZeroed<uint8_t>(indices.size, "an index list", faults);
    if (padded == nullptr)
    {
        return false;
    }
    memcpy(padded, model->mesh.indices, indices.present);
    UploadArray(&upload->indexBuffer, GL_ELEMENT_ARRAY_BUFFER, indices.size, padded);
    free(padded);
    return true;
}

static bool UploadModel(const UploadContext* context, uint32_t id, const ModelData* model)
{
    DocumentUpload* names = context->upload;
    ModelUpload* upload = AddEntry(&names->models, &names->modelCount, id, context->faults);
    if (upload == nullptr)
    {
        return false;
    }
    if (!context->isDemo || context->features.vbo == 0)
    {
        return true;
    }

    const Mesh& mesh = model->mesh;
    UploadArray(&upload->vertexBuffer, GL_ARRAY_BUFFER, 12 * mesh.vertexCount, mesh.vertices);
    UploadArray(&upload->texCoordBuffer1, GL_ARRAY_BUFFER, 8 * mesh.vertexCount, mesh.texCoords1);
    if (model->fileSets > 1)
    {
        UploadArray(&upload->texCoordBuffer2, GL_ARRAY_BUFFER, 8 * mesh.vertexCount,
                    mesh.texCoords2);
    }
    UploadArray(&upload->normalBuffer, GL_ARRAY_BUFFER, 12 * mesh.vertexCount, mesh.normals);
    if (!UploadIndices(model, upload, context->faults))
    {
        return false;
    }

    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
    return true;
}

// ---- 2D effects

static bool UploadEffect(const UploadContext* context, uint32_t id, const Effect2D* effect)
{
    DocumentUpload* names = context->upload;
    EffectUpload* upload = AddEntry(&names->effects, &names->effectCount, id, context->faults);
    if (upload == nullptr)
    {
        return false;
    }
    const Animation animation = {context->document->envelopes, context->state->envelopes,
                                 context->faults};
    float params[kEffectParams];
    if (!EvaluateFirstParams(effect, &animation, params))
    {
        return false;
    }
    const EffectTexture texture = {effect, &context->state->effects[id - 1], upload,
                                   context->random, context->faults};
    return CreateEffectTexture(&texture, params, context->isDemo && context->features.pbo != 0);
}

// ---- Bitmaps

static bool UploadBitmap(const UploadContext* context, uint32_t id, BitmapTexture* bitmap)
{
    DocumentUpload* names = context->upload;
    BitmapUpload* upload = AddEntry(&names->bitmaps, &names->bitmapCount, id, context->faults);
    if (upload == nullptr)
    {
        return false;
    }
    *upload = {0, bitmap->width, bitmap->height, bitmap->components};
    glGenTextures(1, &upload->glTexture);
    glBindTexture(GL_TEXTURE_2D, upload->glTexture);
    glTexImage2D(GL_TEXTURE_2D, 0, bitmap->components, bitmap->width, bitmap->height, 0,
                 bitmap->components == 3 ? GL_RGB : GL_RGBA, GL_UNSIGNED_BYTE, bitmap->pixels);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
    const bool built = BuildMipmaps(bitmap->width, bitmap->height, bitmap->pixels,
                                    bitmap->components, bitmap->levels, context->faults);
    if (!context->keepPixels)
    {
        ReleaseBitmap(bitmap);
    }
    return built;
}

bool UploadItem(const UploadContext* context, const ItemPlace* item)
{
    switch (item->section)
    {
    case Section::kTextures:
        return UploadTexture(context, item->id, static_cast<ProceduralTexture*>(item->record));
    case Section::kModels:
        return UploadModel(context, item->id, static_cast<const ModelData*>(item->record));
    case Section::kEffects:
        return UploadEffect(context, item->id, static_cast<const Effect2D*>(item->record));
    case Section::kBitmaps:
        return UploadBitmap(context, item->id, static_cast<BitmapTexture*>(item->record));
    default:
        return true;
    }
}

// ---- Giving back

static void DeleteTexture(uint32_t name)
{
    if (name != 0)
    {
        glDeleteTextures(1, &name);
    }
}

static void DeleteBuffer(uint32_t name)
{
    if (name != 0)
    {
        glDeleteBuffersARB(1, &name);
    }
}

void FreeUpload(DocumentUpload* upload)
{
    for (uint32_t i = 0; i < upload->textureCount; ++i)
    {
        DeleteTexture(upload->textures[i]);
    }
    for (uint32_t i = 0; i < upload->modelCount; ++i)
    {
        const ModelUpload& model = upload->models[i];
        DeleteBuffer(model.vertexBuffer);
        DeleteBuffer(model.texCoordBuffer1);
        DeleteBuffer(model.texCoordBuffer2);
        DeleteBuffer(model.normalBuffer);
        DeleteBuffer(model.indexBuffer);
    }
    for (uint32_t i = 0; i < upload->bitmapCount; ++i)
    {
        DeleteTexture(upload->bitmaps[i].glTexture);
    }
    for (uint32_t i = 0; i < upload->effectCount; ++i)
    {
        DeleteTexture(upload->effects[i].glTexture);
        DeleteBuffer(upload->effects[i].pixelBuffer);
    }
    DeleteBuffer(upload->deformed.vertexBuffer);
    DeleteBuffer(upload->deformed.normalBuffer);
    ForgetUpload(upload);
}

void ForgetUpload(DocumentUpload* upload)
{
    free(upload->textures);
    free(upload->models);
    free(upload->bitmaps);
    free(upload->effects);
    *upload = {};
}

// ---- Looking up

const ModelUpload* GetModelUpload(const DocumentUpload* upload, uint32_t id)
{
    return id - 1 < upload->modelCount ? &upload->models[id - 1] : nullptr;
}

BitmapUpload* GetBitmapUpload(const DocumentUpload* upload, uint32_t id)
{
    return id - 1 < upload->bitmapCount ? &upload->bitmaps[id - 1] : nullptr;
}

const EffectUpload* GetEffectUpload(const DocumentUpload* upload, uint32_t id)
{
    return id - 1 < upload->effectCount ? &upload->effects[id - 1] : nullptr;
}

uint32_t GetTextureUpload(const DocumentUpload* upload, uint32_t id)
{
    return id - 1 < upload->textureCount ? upload->textures[id - 1] : 0;
}
