#include "engine/textures/procedural_texture.h"

// What needs OpenGL stands apart: a program without it can read steps and build textures.
#include <GL/glew.h>
#include <cstdlib>

#include "engine/textures/layer_generator.h"
#include "engine/textures/mipmaps.h"
#include "engine/textures/pixel_block.h"

/// Sets: the texture bound, its level 0 and filters, and its mip chain where there is one.
static void UploadWorkImage(const ProceduralTexture* texture, bool mipmapped)
{
    glBindTexture(GL_TEXTURE_2D, texture->glTexture);
    glTexImage2D(GL_TEXTURE_2D, 0, 3, kTextureSize, kTextureSize, 0, GL_RGB, GL_UNSIGNED_BYTE,
                 texture->job.pixels);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER,
                    mipmapped ? GL_LINEAR_MIPMAP_LINEAR : GL_LINEAR);
    if (mipmapped)
    {
        BuildMipmaps(kTextureSize, kTextureSize, texture->job.pixels, 3);
    }
}

void ReadProceduralTextureItem(const TiXmlElement* item, void* record, uint32_t /*index*/,
                               LoadContext* context)
{
    ProceduralTexture* texture = static_cast<ProceduralTexture*>(record);
    ReadTextureSteps(item, context->layerCount, texture);

    const size_t bytes = static_cast<size_t>(kTextureSize) * kTextureSize * 3;
    texture->job = {texture, AllocateBlock<uint8_t>(bytes, "a work image")};
    glGenTextures(1, &texture->glTexture);
    BuildProceduralTexture(&texture->job, context->layers, kTextureSize);

    UploadWorkImage(texture, context->isDemo);
    free(texture->job.pixels);
    texture->job.pixels = nullptr;
}
