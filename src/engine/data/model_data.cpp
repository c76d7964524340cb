// SPDX-License-Identifier: MIT
#include "engine/data/model_data.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "engine/data/byte_order.h"
#include "engine/data/compressed_entry.h"
#include "engine/data/document_values.h"

/// @return false after a fault
static bool CheckIndices(const Mesh* mesh, const char* filename, FaultList* faults)
{
    for (uint32_t i = 0; i < mesh->indexCount; ++i)
    {
        if (mesh->indices[i] >= mesh->vertexCount)
        {
            AddFault(faults, "model \"%s\": index %u names vertex %u of %u", filename, i,
                     mesh->indices[i], mesh->vertexCount);
            return false;
        }
    }
    return true;
}

/// Points the record into the file. Arrays begin at offset 5, which lies on a 16-byte boundary,
/// and are all multiples of 4 bytes long, so they can be read where they are.
/// @return false after a fault
static bool SetModelArrays(ModelData* model, unsigned char* file, const char* filename,
                           FaultList* faults)
{
    const uint32_t storedSize = model->storedSize;
    if (storedSize < kModelHeaderSize)
    {
        AddFault(faults, "model \"%s\" is shorter than its header", filename);
        return false;
    }
    const uint32_t v = LoadLittleEndian32(file);
    const uint32_t t = file[4];
    const uint64_t indexOffset = kModelHeaderSize + uint64_t{8} * (3 + t) * v;
    if (indexOffset > storedSize)
    {
        AddFault(faults,
                 "model \"%s\" claims %u vertices with %u coordinate sets, more than its %u bytes",
                 filename, v, t, storedSize);
        return false;
    }

    unsigned char* arrays = file + kModelHeaderSize;
    Mesh* mesh = &model->mesh;
    model->fileSets = file[4];
    mesh->vertexCount = v;
    mesh->vertices = reinterpret_cast<float*>(arrays);
    mesh->texCoords1 = reinterpret_cast<float*>(arrays + size_t{12} * v);
    mesh->texCoords2 = nullptr;
    mesh->texCoordSets = 1;
    if (t >= 2)
    {
        mesh->texCoordSets = 2;
        mesh->texCoords2 = reinterpret_cast<float*>(arrays + size_t{20} * v);
    }

    // From here on the file's own t counts, not the 1 or 2 of texCoordSets.
    mesh->normals = reinterpret_cast<float*>(arrays + size_t{12 + 8 * t} * v);
    mesh->indices = reinterpret_cast<uint32_t*>(arrays + size_t{8 * (3 + t)} * v);
    mesh->indexCount = (storedSize - kModelHeaderSize - 8 * (3 + t) * v) >> 2;
    return CheckIndices(mesh, filename, faults);
}

ModelIndexBytes GetModelIndexBytes(const ModelData* model)
{
    const uint64_t v = model->mesh.vertexCount;
    const uint64_t perVertex = model->fileSets < 2 ? 32 : 40;
    const uint64_t used = kModelHeaderSize + perVertex * v;
    const uint64_t size = used > model->storedSize ? 0 : model->storedSize - used;
    const uint64_t inFile =
        model->storedSize - (kModelHeaderSize + uint64_t{8} * (3 + model->fileSets) * v);

    ModelIndexBytes bytes = {};
    bytes.size = static_cast<uint32_t>(size);
    bytes.present = static_cast<uint32_t>(std::min(size, inFile));
    bytes.count = std::min(bytes.size / 4, model->mesh.indexCount);
    return bytes;
}

/// @return the first of the earlier models that is of this file; null if there is none
static const ModelData* FindEarlierModel(const char* filename, uint32_t index,
                                         const ReadContext* context)
{
    if (context->document == nullptr || context->document->models == nullptr)
    {
        return nullptr;
    }
    for (uint32_t id = 1; id <= index; ++id)
    {
        const ModelData* model = GetRecord<ModelData>(id, context->document->models);
        if (model->filename != nullptr && strcmp(model->filename, filename) == 0)
        {
            return model;
        }
    }
    return nullptr;
}

bool ReadModelItem(const TiXmlElement* item, void* record, uint32_t index, ReadContext* context)
{
    ModelData* model = static_cast<ModelData*>(record);
    *model = {};
    model->mesh.faces = &model->faces;

    const char* filename = RequireAttribute(item, "filename", context->faults);
    InflatedEntry entry = {};
    if (filename == nullptr)
    {
        return false;
    }
    const ModelData* earlier = FindEarlierModel(filename, index, context);
    if (earlier != nullptr)
    {
        LookUpPackageEntry(context->package, filename); // for its lines
        model->filename = filename;
        model->mesh = earlier->mesh;
        model->mesh.faces = &model->faces;
        model->storedSize = earlier->storedSize;
        model->fileSets = earlier->fileSets;
        return true;
    }
    if (!InflatePackageEntry(context->package, filename, kModelHeaderSize, kLargestInflatedSize,
                             &entry, context->faults))
    {
        if (!HasFailed(context->faults))
        {
            AddFault(context->faults, "the package has no model \"%s\"", filename);
        }
        return false;
    }
    model->block = entry.block;
    model->storedSize = entry.storedSize;
    if (!SetModelArrays(model, entry.data, filename, context->faults))
    {
        return false;
    }
    model->filename = filename;
    return true;
}

void FreeModel(void* record)
{
    ModelData* model = static_cast<ModelData*>(record);
    free(model->block);
    free(model->faces.block);
    *model = {};
}
