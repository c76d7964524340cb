// The OpenGL state that outlives a frame, written down instead of being set.
//
// A seek runs the frames before its tick for what they leave behind. That needs no OpenGL: each
// routine here takes the place of one call (gl_calls.h) and keeps what the call would have set.
// Plain data, so the record can be kept and copied; RestoreShadow makes OpenGL agree with it.
//
// Matrices, and what goes through them, are kept as the calls that made them: the driver then
// computes the same bits as it did in a run that drew.
#pragma once

#include <GL/glew.h>
#include <cstdint>

#include "engine/render/gl_context.h"

enum class MatrixCallKind : uint8_t
{
    kTranslate,
    kRotate,
};

struct MatrixCall
{
    MatrixCallKind kind;
    float angle; // degrees, of a rotation
    float x, y, z;
};

/// A clip's camera is four calls, a turned reflection three.
inline constexpr uint32_t kMatrixCalls = 8;

/// A matrix as the calls since it was the identity.
struct CallMatrix
{
    uint32_t callCount;
    MatrixCall calls[kMatrixCalls];
};

/// Server capabilities that frames switch, apart from those of a texture unit.
enum GlCapability : uint32_t
{
    kCapabilityDepthTest,
    kCapabilityLighting,
    kCapabilityLight1,
    kCapabilityNormalize,
    kCapabilityFog,
    kCapabilities,
};

/// Settings of a texture combiner that recipes make.
inline constexpr uint32_t kCombinerSettings = 16;

struct ShadowUnit
{
    bool texture2d;
    bool texGenS, texGenT, texGenR;
    bool texCoordArray;
    uint32_t texture; // OpenGL name
    uint32_t combinerCount;
    GLenum combinerNames[kCombinerSettings]; // in the order of their first setting
    GLint combinerValues[kCombinerSettings];
    CallMatrix matrix;
    const void* texCoordPointer; // into a record, or an offset into texCoordBuffer
    uint32_t texCoordBuffer;
};

enum class LightKind : uint8_t
{
    kUnset,
    kSet,
};

/// A frame may leave each of these behind. Plain data.
struct GlShadow
{
    bool enabled[kCapabilities];
    ShadowUnit units[kTextureUnits];
    uint32_t serverUnit;
    uint32_t clientUnit;
    GLenum matrixMode;
    CallMatrix modelview;
    CallMatrix projection; // frames set it before they use it
    float color[4];
    GLenum blendSource;
    GLenum blendDestination;
    GLenum polygonMode;
    float lineWidth;
    int32_t viewport[2]; // width, height
    float fogColor[4];
    float fogDensity, fogStart, fogEnd;
    bool fogSet;
    LightKind light;
    float lightPosition[4];
    CallMatrix lightMatrix; // the modelview matrix that the position went through
    float lightAmbient[4];
    float lightDiffuse[4];
    bool lightColorsSet;
    uint32_t arrayBuffer;
    uint32_t elementBuffer;
};

/// Makes a record of the state that a context has after SetBaselineState and loading: one in which
/// no frame was drawn yet.
void StartShadow(GlShadow* shadow, int32_t width, int32_t height);

void ShadowSetEnabled(GlShadow* shadow, GLenum capability, bool enabled);
void ShadowSetArray(GlShadow* shadow, GLenum array, bool enabled);
void ShadowSelectServerUnit(GlShadow* shadow, GLenum unit);
void ShadowSelectClientUnit(GlShadow* shadow, GLenum unit);
void ShadowBindTexture(GlShadow* shadow, GLuint texture);
void ShadowSetTexParameter(GlShadow* shadow, GLenum name, GLint value);
void ShadowSetTexEnv(GlShadow* shadow, GLenum name, GLint value);
void ShadowSetBlend(GlShadow* shadow, GLenum source, GLenum destination);
void ShadowSetPolygonMode(GlShadow* shadow, GLenum mode);
void ShadowSetLineWidth(GlShadow* shadow, GLfloat width);
void ShadowSetColor(GlShadow* shadow, GLfloat red, GLfloat green, GLfloat blue, GLfloat alpha);
void ShadowSetViewport(GlShadow* shadow, GLsizei width, GLsizei height);
void ShadowSetFog(GlShadow* shadow, GLenum name, GLfloat value);
void ShadowSetFogColor(GlShadow* shadow, const GLfloat* values);
void ShadowSetLight(GlShadow* shadow, GLenum name, const GLfloat* values);
void ShadowSetMatrixMode(GlShadow* shadow, GLenum mode);
void ShadowStartMatrix(GlShadow* shadow);
void ShadowAddMatrixCall(GlShadow* shadow, const MatrixCall& call);
void ShadowBindBuffer(GlShadow* shadow, GLenum target, GLuint buffer);
void ShadowSetTexCoordPointer(GlShadow* shadow, const void* pointer);
/// A draw reads the textures that are bound and switched on.
void ShadowNoteDraw(GlShadow* shadow);
/// A pass's picture goes into the bitmap of an id.
void ShadowNoteCopy(GlShadow* shadow, uint32_t bitmapId, int32_t width, int32_t height);
