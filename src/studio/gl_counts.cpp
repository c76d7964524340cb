// SPDX-License-Identifier: MIT
#include "studio/gl_counts.h"

#include <GL/glew.h>
#include <algorithm>
#include <chrono>

#include "engine/geometry/gen_mesh.h"
#include "engine/render/effect_texture.h"

/// OpenGL's functions take no record of the caller's. Like its context, this belongs to the thread.
static thread_local GlCounts* counting = nullptr;
static thread_local bool isSilent = false;

uint64_t NowNs()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

static void EnterClip(uint32_t row, uint32_t clip)
{
    for (size_t i = 0; i < counting->clips.size(); ++i)
    {
        if (counting->clips[i].cost.row == row && counting->clips[i].cost.clip == clip)
        {
            counting->clip = i;
            return;
        }
    }
    counting->clip = counting->clips.size();
    counting->clips.push_back({{row, clip, 0, 0, 0, 0, 0}, {}});
}

void StartCounting(const Place* place, GlCounts* counts)
{
    *counts = {};
    counts->place = place;
    counting = counts;
    EnterClip(kNoClip, kNoClip);
}

void StopCounting()
{
    counting = nullptr;
}

void SilenceCalls()
{
    isSilent = true;
}

/// @return when the call begins; 0 where nobody counts
static uint64_t BeginCall()
{
    return counting == nullptr ? 0 : NowNs();
}

/// @return the clip that the call belongs to: the one whose place in the timeline was told last,
/// and
///         none before a frame and after it
static CountedClip* EndCall(uint64_t begun)
{
    const Place* place = counting->place;
    if (place->section == Section::kTimeline && place->item != 0 && place->part != 0)
    {
        EnterClip(place->item - 1, place->part - 1);
    }
    if (place->section == Section::kNone)
    {
        EnterClip(kNoClip, kNoClip);
    }
    CountedClip* clip = &counting->clips[counting->clip];
    const uint64_t passed = NowNs() - begun;
    counting->callNs += passed;
    clip->cost.callNs += passed;
    return clip;
}

static void EndStateCall(uint64_t begun)
{
    if (begun != 0)
    {
        EndCall(begun)->cost.stateCalls += 1;
    }
}

// The linker gives the names __wrap_X to calls of X, and __real_X to X itself.

#define COUNT_STATE(function, parameters, arguments)                           \
    extern "C" void Real##function parameters __asm__("__real_" #function);    \
    extern "C" void Counted##function parameters __asm__("__wrap_" #function); \
    void Counted##function parameters                                          \
    {                                                                          \
        const uint64_t begun = BeginCall();                                    \
        if (!isSilent)                                                         \
        {                                                                      \
            Real##function arguments;                                          \
        }                                                                      \
        EndStateCall(begun);                                                   \
    }

COUNT_STATE(glEnable, (GLenum a), (a))
COUNT_STATE(glDisable, (GLenum a), (a))
COUNT_STATE(glEnableClientState, (GLenum a), (a))
COUNT_STATE(glDisableClientState, (GLenum a), (a))
COUNT_STATE(glTexParameteri, (GLenum a, GLenum b, GLint c), (a, b, c))
COUNT_STATE(glTexParameterf, (GLenum a, GLenum b, GLfloat c), (a, b, c))
COUNT_STATE(glTexEnvi, (GLenum a, GLenum b, GLint c), (a, b, c))
COUNT_STATE(glTexGeni, (GLenum a, GLenum b, GLint c), (a, b, c))
COUNT_STATE(glBlendFunc, (GLenum a, GLenum b), (a, b))
COUNT_STATE(glDepthFunc, (GLenum a), (a))
COUNT_STATE(glPolygonMode, (GLenum a, GLenum b), (a, b))
COUNT_STATE(glLineWidth, (GLfloat a), (a))
COUNT_STATE(glColor4f, (GLfloat a, GLfloat b, GLfloat c, GLfloat d), (a, b, c, d))
COUNT_STATE(glViewport, (GLint a, GLint b, GLsizei c, GLsizei d), (a, b, c, d))
COUNT_STATE(glFogi, (GLenum a, GLint b), (a, b))
COUNT_STATE(glFogf, (GLenum a, GLfloat b), (a, b))
COUNT_STATE(glFogfv, (GLenum a, const GLfloat* b), (a, b))
COUNT_STATE(glHint, (GLenum a, GLenum b), (a, b))
COUNT_STATE(glLightfv, (GLenum a, GLenum b, const GLfloat* c), (a, b, c))
COUNT_STATE(glMatrixMode, (GLenum a), (a))
COUNT_STATE(glLoadIdentity, (), ())
COUNT_STATE(glLoadMatrixf, (const GLfloat* a), (a))
COUNT_STATE(glOrtho, (GLdouble a, GLdouble b, GLdouble c, GLdouble d, GLdouble e, GLdouble f),
            (a, b, c, d, e, f))
COUNT_STATE(glPushMatrix, (), ())
COUNT_STATE(glPopMatrix, (), ())
COUNT_STATE(glTranslatef, (GLfloat a, GLfloat b, GLfloat c), (a, b, c))
COUNT_STATE(glRotatef, (GLfloat a, GLfloat b, GLfloat c, GLfloat d), (a, b, c, d))
COUNT_STATE(glScalef, (GLfloat a, GLfloat b, GLfloat c), (a, b, c))
COUNT_STATE(glVertexPointer, (GLint a, GLenum b, GLsizei c, const void* d), (a, b, c, d))
COUNT_STATE(glNormalPointer, (GLenum a, GLsizei b, const void* c), (a, b, c))
COUNT_STATE(glTexCoordPointer, (GLint a, GLenum b, GLsizei c, const void* d), (a, b, c, d))
COUNT_STATE(glClear, (GLbitfield a), (a))
COUNT_STATE(glClearColor, (GLclampf a, GLclampf b, GLclampf c, GLclampf d), (a, b, c, d))
COUNT_STATE(glCopyTexSubImage2D,
            (GLenum a, GLint b, GLint c, GLint d, GLint e, GLint f, GLsizei g, GLsizei h),
            (a, b, c, d, e, f, g, h))
COUNT_STATE(glTexSubImage2D,
            (GLenum a, GLint b, GLint c, GLint d, GLsizei e, GLsizei f, GLenum g, GLenum h,
             const void* i),
            (a, b, c, d, e, f, g, h, i))

COUNT_STATE(glTexImage2D,
            (GLenum a, GLint b, GLint c, GLsizei d, GLsizei e, GLint f, GLenum g, GLenum h,
             const void* i),
            (a, b, c, d, e, f, g, h, i)) // a target that takes another size

#undef COUNT_STATE

extern "C" void RealGetFloatv(GLenum name, GLfloat* values) __asm__("__real_glGetFloatv");
extern "C" void CountedGetFloatv(GLenum name, GLfloat* values) __asm__("__wrap_glGetFloatv");

/// A frame asks for matrices alone.
void CountedGetFloatv(GLenum name, GLfloat* values)
{
    static constexpr uint32_t kMatrixValues = 16;
    const uint64_t begun = BeginCall();
    if (isSilent)
    {
        std::fill_n(values, kMatrixValues, 0.0f);
    }
    else
    {
        RealGetFloatv(name, values);
    }
    EndStateCall(begun);
}

extern "C" void RealBindTexture(GLenum target, GLuint texture) __asm__("__real_glBindTexture");
extern "C" void CountedBindTexture(GLenum target, GLuint texture) __asm__("__wrap_glBindTexture");

void CountedBindTexture(GLenum target, GLuint texture)
{
    const uint64_t begun = BeginCall();
    if (!isSilent)
    {
        RealBindTexture(target, texture);
    }
    if (begun == 0)
    {
        return;
    }
    CountedClip* clip = EndCall(begun);
    clip->cost.stateCalls += 1;
    if (texture != 0 &&
        std::find(clip->textures.begin(), clip->textures.end(), texture) == clip->textures.end())
    {
        clip->textures.push_back(texture);
    }
}

extern "C" void RealDrawElements(GLenum mode, GLsizei count, GLenum type,
                                 const void* indices) __asm__("__real_glDrawElements");
extern "C" void CountedDrawElements(GLenum mode, GLsizei count, GLenum type,
                                    const void* indices) __asm__("__wrap_glDrawElements");

void CountedDrawElements(GLenum mode, GLsizei count, GLenum type, const void* indices)
{
    const uint64_t begun = BeginCall();
    if (!isSilent)
    {
        RealDrawElements(mode, count, type, indices);
    }
    if (begun != 0)
    {
        CountedClip* clip = EndCall(begun);
        clip->cost.draws += 1;
        clip->cost.triangles += static_cast<uint64_t>(count) / 3;
    }
}

// GLEW keeps its functions in variables: those that the engine calls by get constants of ours in
// their place.

extern "C" PFNGLACTIVETEXTUREARBPROC RealActiveTexture __asm__("__real___glewActiveTextureARB");
extern "C" PFNGLCLIENTACTIVETEXTUREARBPROC
    RealClientActiveTexture __asm__("__real___glewClientActiveTextureARB");
extern "C" PFNGLBINDBUFFERARBPROC RealBindBuffer __asm__("__real___glewBindBufferARB");

static void GLAPIENTRY CountedActiveTexture(GLenum unit)
{
    const uint64_t begun = BeginCall();
    if (!isSilent)
    {
        RealActiveTexture(unit);
    }
    EndStateCall(begun);
}

static void GLAPIENTRY CountedClientActiveTexture(GLenum unit)
{
    const uint64_t begun = BeginCall();
    if (!isSilent)
    {
        RealClientActiveTexture(unit);
    }
    EndStateCall(begun);
}

static void GLAPIENTRY CountedBindBuffer(GLenum target, GLuint buffer)
{
    const uint64_t begun = BeginCall();
    if (!isSilent)
    {
        RealBindBuffer(target, buffer);
    }
    EndStateCall(begun);
}

extern "C" const PFNGLACTIVETEXTUREARBPROC
    WrappedActiveTexture __asm__("__wrap___glewActiveTextureARB");
const PFNGLACTIVETEXTUREARBPROC WrappedActiveTexture = CountedActiveTexture;
extern "C" const PFNGLCLIENTACTIVETEXTUREARBPROC
    WrappedClientActiveTexture __asm__("__wrap___glewClientActiveTextureARB");
const PFNGLCLIENTACTIVETEXTUREARBPROC WrappedClientActiveTexture = CountedClientActiveTexture;
extern "C" const PFNGLBINDBUFFERARBPROC WrappedBindBuffer __asm__("__wrap___glewBindBufferARB");
const PFNGLBINDBUFFERARBPROC WrappedBindBuffer = CountedBindBuffer;

// ---- What simulates, by the names that the compiler gives it

bool RealUpdateGenMesh(uint32_t id, const GenMeshSources* sources,
                       uint32_t time) __asm__("__real__Z13UpdateGenMeshjPK14GenMeshSourcesj");
bool CountedUpdateGenMesh(uint32_t id, const GenMeshSources* sources,
                          uint32_t time) __asm__("__wrap__Z13UpdateGenMeshjPK14GenMeshSourcesj");
bool RealUpdateEffect(uint32_t id, const FrameSources* sources,
                      uint32_t time) __asm__("__real__Z14UpdateEffect2DjPK12FrameSourcesj");
bool CountedUpdateEffect(uint32_t id, const FrameSources* sources,
                         uint32_t time) __asm__("__wrap__Z14UpdateEffect2DjPK12FrameSourcesj");

/// Runs a routine that simulates, and notes its time without that of OpenGL's calls in it.
template <typename Sources>
static bool Simulate(bool (*routine)(uint32_t, const Sources*, uint32_t), uint32_t id,
                     const Sources* sources, uint32_t time)
{
    if (counting == nullptr)
    {
        return routine(id, sources, time);
    }
    const uint64_t begun = NowNs();
    const uint64_t before = counting->callNs;
    const bool isDone = routine(id, sources, time);
    counting->simulationNs += NowNs() - begun - (counting->callNs - before);
    return isDone;
}

bool CountedUpdateGenMesh(uint32_t id, const GenMeshSources* sources, uint32_t time)
{
    if (isSilent)
    {
        return true; // it makes no call, and its mesh has as many vertices whatever the time
    }
    return Simulate(RealUpdateGenMesh, id, sources, time);
}

bool CountedUpdateEffect(uint32_t id, const FrameSources* sources, uint32_t time)
{
    return Simulate(RealUpdateEffect, id, sources, time);
}
