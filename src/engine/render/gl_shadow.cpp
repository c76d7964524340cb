#include "engine/render/gl_shadow.h"

#include <cstring>

void StartShadow(GlShadow* shadow, int32_t width, int32_t height)
{
    *shadow = {};
    shadow->enabled[kCapabilityDepthTest] = true;
    shadow->matrixMode = GL_MODELVIEW;
    for (float& channel : shadow->color)
    {
        channel = 1.0f;
    }
    shadow->blendSource = GL_ONE;
    shadow->blendDestination = GL_ZERO;
    shadow->polygonMode = GL_FILL;
    shadow->lineWidth = 1.0f;
    shadow->viewport[0] = width;
    shadow->viewport[1] = height;
}

static ShadowUnit* ServerUnit(GlShadow* shadow)
{
    return &shadow->units[shadow->serverUnit];
}

void ShadowSetEnabled(GlShadow* shadow, GLenum capability, bool enabled)
{
    ShadowUnit* unit = ServerUnit(shadow);
    switch (capability)
    {
    case GL_TEXTURE_2D:
        unit->texture2d = enabled;
        break;
    case GL_TEXTURE_GEN_S:
        unit->texGenS = enabled;
        break;
    case GL_TEXTURE_GEN_T:
        unit->texGenT = enabled;
        break;
    case GL_TEXTURE_GEN_R:
        unit->texGenR = enabled;
        break;
    case GL_DEPTH_TEST:
        shadow->enabled[kCapabilityDepthTest] = enabled;
        break;
    case GL_LIGHTING:
        shadow->enabled[kCapabilityLighting] = enabled;
        break;
    case GL_LIGHT1:
        shadow->enabled[kCapabilityLight1] = enabled;
        break;
    case GL_NORMALIZE:
        shadow->enabled[kCapabilityNormalize] = enabled;
        break;
    case GL_FOG:
        shadow->enabled[kCapabilityFog] = enabled;
        break;
    default:
        break;
    }
}

void ShadowSetArray(GlShadow* shadow, GLenum array, bool enabled)
{
    // Vertex and normal arrays are off whenever no object is drawn.
    if (array == GL_TEXTURE_COORD_ARRAY)
    {
        shadow->units[shadow->clientUnit].texCoordArray = enabled;
    }
}

void ShadowSelectServerUnit(GlShadow* shadow, GLenum unit)
{
    shadow->serverUnit = unit - GL_TEXTURE0;
}

void ShadowSelectClientUnit(GlShadow* shadow, GLenum unit)
{
    shadow->clientUnit = unit - GL_TEXTURE0;
}

void ShadowBindTexture(GlShadow* shadow, GLuint texture)
{
    ServerUnit(shadow)->texture = texture;
}

void ShadowSetTexEnv(GlShadow* shadow, GLenum name, GLint value)
{
    ShadowUnit* unit = ServerUnit(shadow);
    for (uint32_t i = 0; i < unit->combinerCount; ++i)
    {
        if (unit->combinerNames[i] == name)
        {
            unit->combinerValues[i] = value;
            return;
        }
    }
    if (unit->combinerCount < kCombinerSettings)
    {
        unit->combinerNames[unit->combinerCount] = name;
        unit->combinerValues[unit->combinerCount] = value;
        unit->combinerCount += 1;
    }
}

void ShadowSetBlend(GlShadow* shadow, GLenum source, GLenum destination)
{
    shadow->blendSource = source;
    shadow->blendDestination = destination;
}

void ShadowSetPolygonMode(GlShadow* shadow, GLenum mode)
{
    shadow->polygonMode = mode;
}

void ShadowSetLineWidth(GlShadow* shadow, GLfloat width)
{
    shadow->lineWidth = width;
}

void ShadowSetColor(GlShadow* shadow, GLfloat red, GLfloat green, GLfloat blue, GLfloat alpha)
{
    shadow->color[0] = red;
    shadow->color[1] = green;
    shadow->color[2] = blue;
    shadow->color[3] = alpha;
}

void ShadowSetViewport(GlShadow* shadow, GLsizei width, GLsizei height)
{
    shadow->viewport[0] = width;
    shadow->viewport[1] = height;
}

void ShadowSetFog(GlShadow* shadow, GLenum name, GLfloat value)
{
    shadow->fogSet = true;
    switch (name)
    {
    case GL_FOG_DENSITY:
        shadow->fogDensity = value;
        break;
    case GL_FOG_START:
        shadow->fogStart = value;
        break;
    case GL_FOG_END:
        shadow->fogEnd = value;
        break;
    default: // the mode, which is always the same
        break;
    }
}

void ShadowSetFogColor(GlShadow* shadow, const GLfloat* values)
{
    memcpy(shadow->fogColor, values, sizeof(shadow->fogColor));
}

void ShadowSetLight(GlShadow* shadow, GLenum name, const GLfloat* values)
{
    switch (name)
    {
    case GL_POSITION:
        shadow->light = LightKind::kSet;
        memcpy(shadow->lightPosition, values, sizeof(shadow->lightPosition));
        shadow->lightMatrix = shadow->modelview;
        break;
    case GL_AMBIENT:
        shadow->lightColorsSet = true;
        memcpy(shadow->lightAmbient, values, sizeof(shadow->lightAmbient));
        break;
    default: // GL_DIFFUSE
        memcpy(shadow->lightDiffuse, values, sizeof(shadow->lightDiffuse));
        break;
    }
}

static CallMatrix* CurrentMatrix(GlShadow* shadow)
{
    switch (shadow->matrixMode)
    {
    case GL_TEXTURE:
        return &ServerUnit(shadow)->matrix;
    case GL_PROJECTION:
        return &shadow->projection;
    default:
        return &shadow->modelview;
    }
}

void ShadowSetMatrixMode(GlShadow* shadow, GLenum mode)
{
    shadow->matrixMode = mode;
}

void ShadowStartMatrix(GlShadow* shadow)
{
    CurrentMatrix(shadow)->callCount = 0;
}

void ShadowAddMatrixCall(GlShadow* shadow, const MatrixCall& call)
{
    CallMatrix* matrix = CurrentMatrix(shadow);
    if (matrix->callCount < kMatrixCalls)
    {
        matrix->calls[matrix->callCount] = call;
        matrix->callCount += 1;
    }
}

void ShadowBindBuffer(GlShadow* shadow, GLenum target, GLuint buffer)
{
    (target == GL_ARRAY_BUFFER ? shadow->arrayBuffer : shadow->elementBuffer) = buffer;
}

void ShadowSetTexCoordPointer(GlShadow* shadow, const void* pointer)
{
    ShadowUnit* unit = &shadow->units[shadow->clientUnit];
    unit->texCoordPointer = pointer;
    unit->texCoordBuffer = shadow->arrayBuffer;
}

void ShadowSetTexParameter(GlShadow* /*shadow*/, GLenum /*name*/, GLint /*value*/)
{
}

void ShadowNoteDraw(GlShadow* /*shadow*/)
{
}

void ShadowNoteCopy(GlShadow* /*shadow*/, uint32_t /*bitmapId*/, int32_t /*width*/,
                    int32_t /*height*/)
{
}
