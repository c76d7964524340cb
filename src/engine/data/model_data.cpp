#include "engine/data/model_data.h"

#include <GL/glew.h>
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "engine/data/byte_order.h"
#include "engine/data/compressed_entry.h"
#include "engine/data/document_values.h"
#include "engine/data/fault.h"

/// Points the record into the block. Arrays begin at offset 5, which lies on a 16-byte boundary,
/// and are all multiples of 4 bytes long, so they can be read where they are.
static void SetModelArrays(ModelData* model, uint32_t storedSize, const char* filename)
{
    if (storedSize < kModelHeaderSize)
    {
        FatalFault("model \"%s\" is shorter than its header", filename);
    }
    uint32_t v = LoadLittleEndian32(model->block);
    uint32_t t = model->block[4];
    uint64_t indexOffset = kModelHeaderSize + uint64_t{8} * (3 + t) * v;
    if (indexOffset > storedSize)
    {
        FatalFault(
            "model \"%s\" claims %u vertices with %u coordinate sets, more than its %u bytes",
            filename, v, t, storedSize);
    }

    unsigned char* arrays = model->block + kModelHeaderSize;
    Mesh* mesh = &model->mesh;
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

    for (uint32_t i = 0; i < mesh->indexCount; ++i)
    {
        if (mesh->indices[i] >= v)
        {
            FatalFault("model \"%s\": index %u names vertex %u of %u", filename, i,
                       mesh->indices[i], v);
        }
    }
}

static void UploadArray(uint32_t* buffer, GLenum target, uint32_t size, const void* source)
{
    glGenBuffers(1, buffer);
    glBindBuffer(target, *buffer);
    glBufferData(target, static_cast<GLsizeiptr>(size), source, GL_STATIC_DRAW);
}

/// The size goes by one or two sets even where the file has none or more. With none it leaves out
/// the last indices; with more it reaches behind the file, and zeros stand there.
static void UploadIndices(ModelData* model, uint32_t storedSize)
{
    uint32_t t = model->block[4];
    uint32_t v = model->mesh.vertexCount;
    uint64_t perVertex = t < 2 ? 32 : 40;
    uint64_t used = kModelHeaderSize + perVertex * v;
    uint32_t told = used > storedSize ? 0 : static_cast<uint32_t>(storedSize - used);
    model->bufferIndexCount = std::min(told / 4, model->mesh.indexCount);

    uint64_t present = storedSize - (kModelHeaderSize + uint64_t{8} * (3 + t) * v);
    if (told <= present)
    {
        UploadArray(&model->indexBuffer, GL_ELEMENT_ARRAY_BUFFER, told, model->mesh.indices);
        return;
    }
    void* padded = calloc(told, 1);
    if (padded == nullptr)
    {
        FatalFault("an index list of %u bytes can't be allocated", told);
    }
    memcpy(padded, model->mesh.indices, present);
    UploadArray(&model->indexBuffer, GL_ELEMENT_ARRAY_BUFFER, told, padded);
    free(padded);
}

/// Leaves both buffer targets bound to 0.
static void UploadModel(ModelData* model, uint32_t storedSize)
{
    const Mesh& mesh = model->mesh;
    UploadArray(&model->vertexBuffer, GL_ARRAY_BUFFER, 12 * mesh.vertexCount, mesh.vertices);
    UploadArray(&model->texCoordBuffer1, GL_ARRAY_BUFFER, 8 * mesh.vertexCount, mesh.texCoords1);
    if (model->block[4] > 1)
    {
        UploadArray(&model->texCoordBuffer2, GL_ARRAY_BUFFER, 8 * mesh.vertexCount,
                    mesh.texCoords2);
    }
    UploadArray(&model->normalBuffer, GL_ARRAY_BUFFER, 12 * mesh.vertexCount, mesh.normals);
    UploadIndices(model, storedSize);

    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
}

void ReadModelItem(const TiXmlElement* item, void* record, uint32_t /*index*/, LoadContext* context)
{
    ModelData* model = static_cast<ModelData*>(record);
    *model = {};
    model->mesh.faces = &model->faces;

    const char* filename = RequireAttribute(item, "filename");
    InflatedEntry entry;
    if (!InflatePackageEntry(context->package, filename, kModelHeaderSize, &entry))
    {
        FatalFault("the package has no model \"%s\"", filename);
    }
    model->block = entry.data;
    SetModelArrays(model, entry.storedSize, filename);

    if (context->isDemo && context->features.vbo != 0)
    {
        UploadModel(model, entry.storedSize);
    }
}
