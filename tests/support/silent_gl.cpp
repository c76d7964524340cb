// SPDX-License-Identifier: MIT
#include "support/silent_gl.h"

#include <GL/glew.h>
#include <cstdint>
#include <cstring>
#include <tuple>
#include <vector>

/// Calls one after the other: the routine that makes one, then its arguments.
struct KeptCalls
{
    bool isKeeping;
    size_t count;
    std::vector<uint64_t> words;
};

using Caller = size_t (*)(const uint64_t* words);

static KeptCalls kept = {};

/// Makes a call again.
/// @return the words of its arguments
template <auto kFunction, typename... Arguments>
static size_t Call(const uint64_t* words)
{
    std::tuple<Arguments...> arguments;
    memcpy(static_cast<void*>(&arguments), words, sizeof(arguments));
    std::apply(kFunction, arguments);
    return (sizeof(arguments) + sizeof(uint64_t) - 1) / sizeof(uint64_t);
}

template <auto kFunction, typename... Arguments>
static void Keep(Arguments... given)
{
    if (!kept.isKeeping)
    {
        return;
    }
    const std::tuple<Arguments...> arguments(given...);
    const Caller caller = Call<kFunction, Arguments...>;
    const size_t words = (sizeof(arguments) + sizeof(uint64_t) - 1) / sizeof(uint64_t);
    const size_t at = kept.words.size();
    kept.words.resize(at + 1 + words);
    memcpy(&kept.words[at], &caller, sizeof(caller));
    memcpy(kept.words.data() + at + 1, static_cast<const void*>(&arguments), sizeof(arguments));
    kept.count += 1;
}

void KeepCalls()
{
    kept.words.clear();
    kept.count = 0;
    kept.isKeeping = true;
}

size_t StopKeepingCalls()
{
    kept.isKeeping = false;
    return kept.count;
}

void ReplayCalls()
{
    const uint64_t* word = kept.words.data();
    const uint64_t* end = word + kept.words.size();
    while (word != end)
    {
        Caller caller = nullptr;
        memcpy(&caller, word, sizeof(caller));
        word += 1 + caller(word + 1);
    }
}

// ---- Calls without an answer

void GLAPIENTRY glBindTexture(GLenum a, GLuint b)
{
    Keep<glBindTexture>(a, b);
}

void GLAPIENTRY glBlendFunc(GLenum a, GLenum b)
{
    Keep<glBlendFunc>(a, b);
}

void GLAPIENTRY glClear(GLbitfield a)
{
    Keep<glClear>(a);
}

void GLAPIENTRY glClearColor(GLclampf a, GLclampf b, GLclampf c, GLclampf d)
{
    Keep<glClearColor>(a, b, c, d);
}

void GLAPIENTRY glColor4f(GLfloat a, GLfloat b, GLfloat c, GLfloat d)
{
    Keep<glColor4f>(a, b, c, d);
}

void GLAPIENTRY glColorMaterial(GLenum a, GLenum b)
{
    Keep<glColorMaterial>(a, b);
}

void GLAPIENTRY glCopyTexSubImage2D(GLenum a, GLint b, GLint c, GLint d, GLint e, GLint f,
                                    GLsizei g, GLsizei h)
{
    Keep<glCopyTexSubImage2D>(a, b, c, d, e, f, g, h);
}

void GLAPIENTRY glDepthFunc(GLenum a)
{
    Keep<glDepthFunc>(a);
}

void GLAPIENTRY glDisable(GLenum a)
{
    Keep<glDisable>(a);
}

void GLAPIENTRY glDisableClientState(GLenum a)
{
    Keep<glDisableClientState>(a);
}

void GLAPIENTRY glDrawElements(GLenum a, GLsizei b, GLenum c, const GLvoid* d)
{
    Keep<glDrawElements>(a, b, c, d);
}

void GLAPIENTRY glEnable(GLenum a)
{
    Keep<glEnable>(a);
}

void GLAPIENTRY glEnableClientState(GLenum a)
{
    Keep<glEnableClientState>(a);
}

void GLAPIENTRY glFogf(GLenum a, GLfloat b)
{
    Keep<glFogf>(a, b);
}

void GLAPIENTRY glFogfv(GLenum a, const GLfloat* b)
{
    Keep<glFogfv>(a, b);
}

void GLAPIENTRY glFogi(GLenum a, GLint b)
{
    Keep<glFogi>(a, b);
}

void GLAPIENTRY glHint(GLenum a, GLenum b)
{
    Keep<glHint>(a, b);
}

void GLAPIENTRY glLightfv(GLenum a, GLenum b, const GLfloat* c)
{
    Keep<glLightfv>(a, b, c);
}

void GLAPIENTRY glLineWidth(GLfloat a)
{
    Keep<glLineWidth>(a);
}

void GLAPIENTRY glLoadIdentity()
{
    Keep<glLoadIdentity>();
}

void GLAPIENTRY glLoadMatrixf(const GLfloat* a)
{
    Keep<glLoadMatrixf>(a);
}

void GLAPIENTRY glMatrixMode(GLenum a)
{
    Keep<glMatrixMode>(a);
}

void GLAPIENTRY glNormalPointer(GLenum a, GLsizei b, const GLvoid* c)
{
    Keep<glNormalPointer>(a, b, c);
}

void GLAPIENTRY glOrtho(GLdouble a, GLdouble b, GLdouble c, GLdouble d, GLdouble e, GLdouble f)
{
    Keep<glOrtho>(a, b, c, d, e, f);
}

void GLAPIENTRY glPixelStorei(GLenum a, GLint b)
{
    Keep<glPixelStorei>(a, b);
}

void GLAPIENTRY glPolygonMode(GLenum a, GLenum b)
{
    Keep<glPolygonMode>(a, b);
}

void GLAPIENTRY glPopMatrix()
{
    Keep<glPopMatrix>();
}

void GLAPIENTRY glPushMatrix()
{
    Keep<glPushMatrix>();
}

void GLAPIENTRY glRotatef(GLfloat a, GLfloat b, GLfloat c, GLfloat d)
{
    Keep<glRotatef>(a, b, c, d);
}

void GLAPIENTRY glScalef(GLfloat a, GLfloat b, GLfloat c)
{
    Keep<glScalef>(a, b, c);
}

void GLAPIENTRY glShadeModel(GLenum a)
{
    Keep<glShadeModel>(a);
}

void GLAPIENTRY glTexCoordPointer(GLint a, GLenum b, GLsizei c, const GLvoid* d)
{
    Keep<glTexCoordPointer>(a, b, c, d);
}

void GLAPIENTRY glTexEnvi(GLenum a, GLenum b, GLint c)
{
    Keep<glTexEnvi>(a, b, c);
}

void GLAPIENTRY glTexGeni(GLenum a, GLenum b, GLint c)
{
    Keep<glTexGeni>(a, b, c);
}

void GLAPIENTRY glTexImage2D(GLenum a, GLint b, GLint c, GLsizei d, GLsizei e, GLint f, GLenum g,
                             GLenum h, const GLvoid* i)
{
    Keep<glTexImage2D>(a, b, c, d, e, f, g, h, i);
}

void GLAPIENTRY glTexParameterf(GLenum a, GLenum b, GLfloat c)
{
    Keep<glTexParameterf>(a, b, c);
}

void GLAPIENTRY glTexParameteri(GLenum a, GLenum b, GLint c)
{
    Keep<glTexParameteri>(a, b, c);
}

void GLAPIENTRY glTexSubImage2D(GLenum a, GLint b, GLint c, GLint d, GLsizei e, GLsizei f, GLenum g,
                                GLenum h, const GLvoid* i)
{
    Keep<glTexSubImage2D>(a, b, c, d, e, f, g, h, i);
}

void GLAPIENTRY glTranslatef(GLfloat a, GLfloat b, GLfloat c)
{
    Keep<glTranslatef>(a, b, c);
}

void GLAPIENTRY glVertexPointer(GLint a, GLenum b, GLsizei c, const GLvoid* d)
{
    Keep<glVertexPointer>(a, b, c, d);
}

void GLAPIENTRY glViewport(GLint a, GLint b, GLsizei c, GLsizei d)
{
    Keep<glViewport>(a, b, c, d);
}

static void SilentActiveTextureARB(GLenum a)
{
    Keep<SilentActiveTextureARB>(a);
}
PFNGLACTIVETEXTUREARBPROC __glewActiveTextureARB = SilentActiveTextureARB;

static void SilentBindBuffer(GLenum a, GLuint b)
{
    Keep<SilentBindBuffer>(a, b);
}
PFNGLBINDBUFFERPROC __glewBindBuffer = SilentBindBuffer;

static void SilentBindBufferARB(GLenum a, GLuint b)
{
    Keep<SilentBindBufferARB>(a, b);
}
PFNGLBINDBUFFERARBPROC __glewBindBufferARB = SilentBindBufferARB;

static void SilentBufferDataARB(GLenum a, GLsizeiptrARB b, const void* c, GLenum d)
{
    Keep<SilentBufferDataARB>(a, b, c, d);
}
PFNGLBUFFERDATAARBPROC __glewBufferDataARB = SilentBufferDataARB;

static void SilentClientActiveTextureARB(GLenum a)
{
    Keep<SilentClientActiveTextureARB>(a);
}
PFNGLCLIENTACTIVETEXTUREARBPROC __glewClientActiveTextureARB = SilentClientActiveTextureARB;

static void SilentDeleteBuffersARB(GLsizei a, const GLuint* b)
{
    Keep<SilentDeleteBuffersARB>(a, b);
}
PFNGLDELETEBUFFERSARBPROC __glewDeleteBuffersARB = SilentDeleteBuffersARB;

// ---- Calls with one

static GLuint lastName = 0;
static std::vector<uint8_t> store; // of the buffer that was filled last

void GLAPIENTRY glGenTextures(GLsizei count, GLuint* names)
{
    for (GLsizei i = 0; i < count; ++i)
    {
        names[i] = ++lastName;
    }
}

void GLAPIENTRY glDeleteTextures(GLsizei /*count*/, const GLuint* /*names*/)
{
}

void GLAPIENTRY glGetFloatv(GLenum /*value*/, GLfloat* out)
{
    for (int i = 0; i < 16; ++i)
    {
        out[i] = i % 5 == 0 ? 1.0f : 0.0f;
    }
}

static void SilentBufferData(GLenum a, GLsizeiptr size, const void* c, GLenum d)
{
    if (c == nullptr && store.size() < static_cast<size_t>(size))
    {
        store.resize(static_cast<size_t>(size));
    }
    Keep<SilentBufferData>(a, size, c, d);
}
PFNGLBUFFERDATAPROC __glewBufferData = SilentBufferData;

static void* SilentMapBuffer(GLenum /*target*/, GLenum /*access*/)
{
    return store.data();
}
PFNGLMAPBUFFERPROC __glewMapBuffer = SilentMapBuffer;

static GLboolean SilentUnmapBuffer(GLenum /*target*/)
{
    return GL_TRUE;
}
PFNGLUNMAPBUFFERPROC __glewUnmapBuffer = SilentUnmapBuffer;

static void SilentGenBuffers(GLsizei count, GLuint* names)
{
    glGenTextures(count, names);
}
PFNGLGENBUFFERSPROC __glewGenBuffers = SilentGenBuffers;
PFNGLGENBUFFERSARBPROC __glewGenBuffersARB = SilentGenBuffers;

GLboolean __GLEW_ARB_pixel_buffer_object = 1;
GLboolean __GLEW_ARB_texture_env_dot3 = 1;
GLboolean __GLEW_ARB_texture_non_power_of_two = 1;
GLboolean __GLEW_ARB_vertex_buffer_object = 1;
GLboolean __GLEW_VERSION_2_1 = 1;
