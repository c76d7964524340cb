#include "engine/render/tex_coord_arrays.h"

#include <GL/glew.h>

TexCoordSource CurrentTexCoords = {nullptr, nullptr, 0, 0, 0};
TexCoordArrays CurrentTexCoordArrays = {0, {false, false}, {0, 0}};

void SelectTextureUnit(uint32_t unit)
{
    glActiveTextureARB(GL_TEXTURE0 + unit);
    glClientActiveTextureARB(GL_TEXTURE0 + unit);
    CurrentTexCoordArrays.unit = unit;
}

void EnableTexCoords()
{
    glEnableClientState(GL_TEXTURE_COORD_ARRAY);
    CurrentTexCoordArrays.enabled[CurrentTexCoordArrays.unit] = true;
}

void DisableTexCoords()
{
    glDisableClientState(GL_TEXTURE_COORD_ARRAY);
    CurrentTexCoordArrays.enabled[CurrentTexCoordArrays.unit] = false;
}

static void SetTexCoords(int32_t vbo, const float* array, uint32_t buffer)
{
    if (vbo != 0)
    {
        glBindBufferARB(GL_ARRAY_BUFFER, buffer);
        glTexCoordPointer(2, GL_FLOAT, 0, nullptr);
    }
    else
    {
        glTexCoordPointer(2, GL_FLOAT, 0, array);
    }
    CurrentTexCoordArrays.vertexCount[CurrentTexCoordArrays.unit] = CurrentTexCoords.vertexCount;
}

void SetFirstTexCoords(int32_t vbo)
{
    SetTexCoords(vbo, CurrentTexCoords.texcoord0Array, CurrentTexCoords.texcoord0Buffer);
}

void SetSecondTexCoords(int32_t vbo)
{
    SetTexCoords(vbo, CurrentTexCoords.texcoord1Array, CurrentTexCoords.texcoord1Buffer);
}

uint32_t HideShortTexCoords(uint32_t vertexCount)
{
    const TexCoordArrays* arrays = &CurrentTexCoordArrays;
    uint32_t hidden = 0;
    for (uint32_t unit = 0; unit < kTextureUnits; ++unit)
    {
        if (arrays->enabled[unit] && arrays->vertexCount[unit] < vertexCount)
        {
            glClientActiveTextureARB(GL_TEXTURE0 + unit);
            glDisableClientState(GL_TEXTURE_COORD_ARRAY);
            glClientActiveTextureARB(GL_TEXTURE0 + arrays->unit);
            hidden |= 1u << unit;
        }
    }
    return hidden;
}

void ShowTexCoords(uint32_t hidden)
{
    for (uint32_t unit = 0; unit < kTextureUnits; ++unit)
    {
        if ((hidden & (1u << unit)) != 0)
        {
            glClientActiveTextureARB(GL_TEXTURE0 + unit);
            glEnableClientState(GL_TEXTURE_COORD_ARRAY);
            glClientActiveTextureARB(GL_TEXTURE0 + CurrentTexCoordArrays.unit);
        }
    }
}
