// SPDX-License-Identifier: MIT

// The OpenGL state that outlives a frame, written down beside the calls that set it.
//
// A seek runs the frames before its tick for what they leave behind, without OpenGL: each call of a
// frame (gl_calls.h) comes here, and RestoreShadow makes OpenGL agree afterwards. The state can be
// kept and gone back to. What every clip sets anew before it draws is no part of it: projection,
// depth test, fog. Neither are the vertex and normal arrays, which are off between objects.
//
// Matrices, and the light's position that goes through one, are kept as the calls that made them:
// the driver then computes the same bits as in a run that drew.
//
// A shadow also tells which bitmaps a frame showed and which it drew into, and it keeps the
// pictures of resized targets apart from the originals, so that a run can go back to before the
// resize.
#pragma once

#include <GL/glew.h>
#include <cstdint>

#include "engine/data/demo_document.h"
#include "engine/data/fault.h"
#include "engine/render/gl_context.h"
#include "engine/render/upload.h"

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

/// The most calls that make a matrix: a clip's camera is four, a turned reflection three.
inline constexpr uint32_t kMatrixCalls = 4;

/// A matrix as the calls since it was the identity.
struct CallMatrix
{
    uint32_t callCount;
    MatrixCall calls[kMatrixCalls];
};

/// Settings of a texture combiner that recipes make.
inline constexpr uint32_t kCombinerSettings = 13;

struct ShadowUnit
{
    bool texture2d;
    bool texGenS, texGenT, texGenR;
    uint32_t texture;                  // OpenGL name
    GLint combiner[kCombinerSettings]; // values, in an order of the source's own
    CallMatrix matrix;
    const void* texCoordPointer; // into a record, or an offset into texCoordBuffer
    uint32_t texCoordBuffer;     // OpenGL name; 0 where the pointer is one into memory
};

/// The state that OpenGL keeps of a texture besides its picture.
struct TextureSettings
{
    GLenum wrapS, wrapT;
    GLenum minFilter, magFilter;
};

/// A light as it was set last.
struct ShadowLight
{
    float position[4];
    CallMatrix matrix; // the modelview matrix that the position goes through
    float ambient[4];
    float diffuse[4];
};

/// The state, with two arrays of its own.
struct ShadowState
{
    ShadowUnit units[kTextureUnits];
    TexCoordArrays texCoords; // of the context, between frames
    bool lighting, light1, normalize;
    GLenum matrixMode; // GL_MODELVIEW between frames
    CallMatrix modelview;
    float color[4];
    GLenum blendSource, blendDestination;
    GLenum polygonMode;
    float lineWidth;
    int32_t viewportWidth, viewportHeight;
    ShadowLight light;
    uint32_t arrayBuffer;      // OpenGL name, of what array pointers are set in
    TextureSettings* textures; // of each of GlShadow::names; owned
    uint32_t textureCount;
    bool* resized; // [bitmap's id - 1], owned: the bitmap shows its resized picture
    uint32_t bitmapCount;
};

/// The use that a frame made of the picture of a bitmap.
struct BitmapUse
{
    uint32_t id;
    bool shownFirst; // drawn with before this frame had written to it
    bool written;    // copied to, or resized
};

/// An OpenGL texture of the document.
struct ShadowTexture
{
    uint32_t name;
    uint32_t bitmapId; // 0 for a texture that is no bitmap's
};

struct GlShadow
{
    ShadowState state;
    ShadowTexture* names;      // [state.textureCount], owned, sorted by name
    TextureSettings* inOpenGl; // the same of each, as OpenGL has them now; owned
    DocumentUpload* upload;    // of the document; borrowed
    BitmapUpload* originals;   // [bitmap's id - 1], owned: as loading made them
    BitmapUpload* resized;     // [bitmap's id - 1], owned: the other one; no texture where none may
                               // be needed
    BitmapUse* uses;           // of the frame, in order of first use; owned
    uint32_t useCount;
    uint32_t* useOf; // [bitmap's id - 1], owned: place in `uses`, counted from 1; 0 for none
};

/// The settings that a run is drawn with.
struct ShadowView
{
    int32_t width;  // pixels of the window
    int32_t height; // pixels of the window
    bool npot;      // targets may have any size
    bool mipChains; // procedural textures have them: those of the demo do
};

/// Starts the shadow of a document that was just uploaded, in the state that a context has after
/// SetBaselineState: no frame was drawn yet. Makes a second texture, black, for each bitmap that a
/// pass may resize.
/// @param shadow     all zero; for FreeShadow whatever comes back
/// @return false after a fault: no memory
bool StartShadow(const DemoDocument* document, DocumentUpload* upload, const ShadowView* view,
                 GlShadow* shadow, FaultList* faults);

/// Deletes the second textures and gives the originals back to the upload.
void FreeShadow(GlShadow* shadow);

/// Copies the state of a context between two frames.
/// @param to   all zero, or a state of the same document, whose memory is used again
/// @return false after a fault if there is no memory; `to` may be freed all the same
bool KeepShadowState(const GlContext* gl, ShadowState* to, FaultList* faults);
void FreeShadowState(ShadowState* state);

/// @return the bytes that a copy of the state takes
size_t ShadowStateBytes(const ShadowState* state);

/// Puts a context's shadow into a state that was kept of it. OpenGL is not touched.
void SetShadowState(GlContext* gl, const ShadowState* state);

/// Makes OpenGL agree with the context's shadow, all but the pictures of targets.
void RestoreShadow(GlContext* gl);

/// Begins the notes on a frame.
void StartFrameNotes(GlShadow* shadow);

// In the place of the calls, or beside them.

void ShadowSetEnabled(GlContext* gl, GLenum capability, bool enabled);
void ShadowBindTexture(GlContext* gl, GLuint texture);
void ShadowSetTexParameter(GlContext* gl, GLenum name, GLint value);
void ShadowSetTexEnv(GlContext* gl, GLenum name, GLint value);
void ShadowSetBlend(GlContext* gl, GLenum source, GLenum destination);
void ShadowSetPolygonMode(GlContext* gl, GLenum mode);
void ShadowSetLineWidth(GlContext* gl, GLfloat width);
void ShadowSetColor(GlContext* gl, const GLfloat (&color)[4]);
void ShadowSetViewport(GlContext* gl, GLsizei width, GLsizei height);
void ShadowSetLight(GlContext* gl, GLenum name, const GLfloat* values);
void ShadowSetMatrixMode(GlContext* gl, GLenum mode);
void ShadowStartMatrix(GlContext* gl);
void ShadowAddMatrixCall(GlContext* gl, const MatrixCall& call);
void ShadowBindBuffer(GlContext* gl, GLenum target, GLuint buffer);
void ShadowSetTexCoordPointer(GlContext* gl, const void* pointer);

/// A draw shows the bitmaps that are bound where texturing is on.
void ShadowNoteDraw(GlContext* gl);

/// A pass's picture goes into a bitmap.
void ShadowNoteCopy(GlContext* gl, uint32_t bitmapId);

/// In the place of a new texture for a bitmap: its entry in the upload becomes the resized one,
/// which is black now and bound to the selected unit.
/// @return false after a fault: no memory
bool ShadowResize(GlContext* gl, uint32_t bitmapId, FaultList* faults);
