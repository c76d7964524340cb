// SPDX-License-Identifier: MIT

// An OpenGL that draws nothing and writes down what it is told. Link the target `recorded_gl` where
// a program would link the driver: every OpenGL and GLEW entry point that the engine and the player
// call is here.
//
// The record. Each call becomes one line of text, ended by a newline: the function's name without
// "gl", then its arguments, each behind one space.
//
//   glEnable(GL_DEPTH_TEST)                                 Enable DEPTH_TEST
//   glBlendFunc(GL_ONE, GL_ONE)                             BlendFunc ONE ONE
//   glColor4f(0.1f, 0.5f, 1.0f, 0.0f)                       Color4f 0.1 0.5 1 0
//   glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT)      Clear COLOR_BUFFER_BIT|DEPTH_BUFFER_BIT
//   glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S,       TexParameterf TEXTURE_2D TEXTURE_WRAP_S
//                   GL_REPEAT)                                  REPEAT                 (one line)
//   glLightfv(GL_LIGHT1, GL_POSITION, v)                    Lightfv LIGHT1 POSITION 0 0 1 0
//   glGenTextures(1, &name)                                 GenTextures 1 7
//   glDeleteBuffersARB(2, names)                            DeleteBuffersARB 2 3 4
//   glewInit()                                              glewInit
//
//   enums       by name without GL_, as the argument's meaning has it; a value unknown to the
//               stand-in in hexadecimal, a value that is no enum at all (an internal format of 3)
//               in decimal
//   floats      the shortest decimal that reads back as the same bits: 1, 0.1, -0, 1e-05, nan
//   vectors     their elements, a matrix all sixteen
//   names       glGen* lists the names that it handed out, glDelete* those it was given
//   pointers    the label that NameGlPointer gave, with the offset in bytes if there is one
//               ("vertices+12"); null "0"; an address below 4096, which can only be an offset into
//               a buffer, as a number; anything else "?"
//
// Names. glGenTextures counts up from 1, and so do glGenBuffers and glGenBuffersARB together. A
// name is never handed out twice between two calls of ResetGl.
//
// State. Kept as OpenGL would: the matrix stacks, the selected unit and its bound texture, the
// images of textures, buffer bindings and the contents of buffers, the unpack alignment, the client
// arrays. Of memory that it is handed the stand-in reads exactly the bytes that a driver reads, so
// that a sanitizer sees a caller that hands over too little: of an upload the pixels and the
// padding of rows to the unpack alignment, of a draw the indices and each enabled array up to the
// highest of them. A call that OpenGL refuses is recorded, changes nothing and raises
// GlRefusedCalls; so is a draw that reads past the end of a buffer or where there is no array,
// which a driver may not survive. glCopyTexSubImage2D is only recorded: there is no framebuffer to
// copy from.
//
// Main thread only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// @return the lines since the last call of this or of ResetGl; they are gone then
std::string TakeGlCalls();

/// Writes a line among the calls, for other stand-ins that keep the same record: a test then sees
/// OpenGL's calls and theirs in one order. Muted like them, not counted.
/// @param line   without a newline
void RecordCall(const std::string& line);

/// Back to a fresh context: no lines, labels, textures or buffers, names count from 1 again,
/// matrices are identities, recording is on, and glewInit will find everything.
void ResetGl();

/// Gives a block a label for the record. A later label wins over an earlier one of the same place,
/// and null is always "0".
/// @param name    copied
/// @param bytes   addresses from pointer up to pointer + bytes - 1 are the label and an offset
void NameGlPointer(const void* pointer, const char* name, size_t bytes = 1);

/// While on, the record also holds what the calls found in memory, a line behind each call that
/// read some. Off at first. Contents are told by their hash, as HashBytes makes it:
///
///   "  pixels 0123456789abcdef"    of an upload, without the padding of rows; "  no pixels"
///   "  bytes 0123456789abcdef"     of glBufferData*; "  no bytes"
///   "  indices 0123456789abcdef"   of a draw; then "  vertices", "  normals" and "  texcoords 0",
///                                  each enabled array from its first element to the highest index
///   "  values 1 0 0 ..."           what glGetFloatv answered
///   "  refused"                    a call that OpenGL refuses
void RecordGlContents(bool on);

/// While muted nothing is written down, no image or array is kept and none is read: a null OpenGL
/// to measure the engine's own time with. It allocates for new names of buffers and for stores to
/// be mapped, and for nothing else. Matrices stay right. Of buffers that were filled while muted
/// later draws check the size alone.
void MuteGl(bool muted);

/// Calls since ResetGl, muted ones included.
uint64_t GlCallCount();

/// Calls since ResetGl that OpenGL would have refused with an error, and draws of what is not
/// there. Not counted while muted.
uint64_t GlRefusedCalls();

/// @return what glBufferData* put into a buffer, as a mapping may have changed it since; bytes that
///         nothing was written to are 0xCD. Empty for a name without a store.
std::vector<uint8_t> GlBufferBytes(uint32_t buffer);

struct GlTextureImage
{
    int32_t internalFormat;     // as given: 1, 3, 4, GL_RGB ...
    int32_t width;              // pixels
    int32_t height;             // pixels
    uint32_t format;            // GL_RGB, GL_RGBA or GL_LUMINANCE
    std::vector<uint8_t> bytes; // rows without padding; 0xCD where no pixels were given
};

/// @return a level of a texture as glTexImage2D and glTexSubImage2D left it, lent until the next
///         OpenGL call; null if it was never specified or its texture is deleted
const GlTextureImage* GlTextureLevel(uint32_t texture, int32_t level);

/// Names handed out and not deleted.
size_t GlLiveTextures();
size_t GlLiveBuffers();

/// @return the 16 elements of a current matrix, in OpenGL's column-major order, lent. Rotations by
///         multiples of 90 degrees about an axis are exact.
const float* GlModelviewMatrix();
const float* GlProjectionMatrix();
const float* GlTextureMatrix(uint32_t unit); // 0 to 7

/// Matrices on the modelview stack: 1 when all pushes were popped.
size_t GlModelviewDepth();

/// The features that glewInit will find. Until it runs, all flags of GLEW are 0.
struct GlExtensions
{
    bool vertexBufferObject;
    bool pixelBufferObject;
    bool textureNonPowerOfTwo;
    bool textureEnvDot3;
    bool version21;
    bool initFails = false; // "glewInit fails" stands in the record, and nothing is found
};
void OfferGlExtensions(const GlExtensions& extensions);
