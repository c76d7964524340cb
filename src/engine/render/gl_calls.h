// SPDX-License-Identifier: MIT

// The OpenGL calls that a frame makes, one routine a call, each named after its function.
//
// Each is the call and nothing else in a program that only plays. With a shadow it is written down
// as well, as far as it outlives the frame, and a context that skips calls makes none. Calls that
// are made while a piece is loaded do not go through here.
#pragma once

#include <GL/glew.h>

#include "engine/render/gl_context.h"
#include "engine/render/gl_shadow.h"

inline void GlEnable(GlContext* gl, GLenum capability)
{
    if (gl->shadow != nullptr)
    {
        ShadowSetEnabled(gl, capability, true);
    }
    if (!SkipsCalls(gl))
    {
        glEnable(capability);
    }
}

inline void GlDisable(GlContext* gl, GLenum capability)
{
    if (gl->shadow != nullptr)
    {
        ShadowSetEnabled(gl, capability, false);
    }
    if (!SkipsCalls(gl))
    {
        glDisable(capability);
    }
}

inline void GlEnableClientState(GlContext* gl, GLenum array)
{
    if (!SkipsCalls(gl))
    {
        glEnableClientState(array);
    }
}

inline void GlDisableClientState(GlContext* gl, GLenum array)
{
    if (!SkipsCalls(gl))
    {
        glDisableClientState(array);
    }
}

inline void GlActiveTexture(GlContext* gl, GLenum unit)
{
    if (!SkipsCalls(gl))
    {
        glActiveTextureARB(unit);
    }
}

inline void GlClientActiveTexture(GlContext* gl, GLenum unit)
{
    if (!SkipsCalls(gl))
    {
        glClientActiveTextureARB(unit);
    }
}

inline void GlBindTexture(GlContext* gl, GLenum target, GLuint texture)
{
    if (gl->shadow != nullptr)
    {
        ShadowBindTexture(gl, texture);
    }
    if (!SkipsCalls(gl))
    {
        glBindTexture(target, texture);
    }
}

inline void GlTexParameteri(GlContext* gl, GLenum target, GLenum name, GLint value)
{
    if (gl->shadow != nullptr)
    {
        ShadowSetTexParameter(gl, name, value);
    }
    if (!SkipsCalls(gl))
    {
        glTexParameteri(target, name, value);
    }
}

inline void GlTexParameterf(GlContext* gl, GLenum target, GLenum name, GLfloat value)
{
    if (gl->shadow != nullptr)
    {
        ShadowSetTexParameter(gl, name, static_cast<GLint>(value));
    }
    if (!SkipsCalls(gl))
    {
        glTexParameterf(target, name, value);
    }
}

inline void GlTexEnvi(GlContext* gl, GLenum target, GLenum name, GLint value)
{
    if (gl->shadow != nullptr)
    {
        ShadowSetTexEnv(gl, name, value);
    }
    if (!SkipsCalls(gl))
    {
        glTexEnvi(target, name, value);
    }
}

inline void GlBlendFunc(GlContext* gl, GLenum source, GLenum destination)
{
    if (gl->shadow != nullptr)
    {
        ShadowSetBlend(gl, source, destination);
    }
    if (!SkipsCalls(gl))
    {
        glBlendFunc(source, destination);
    }
}

inline void GlPolygonMode(GlContext* gl, GLenum face, GLenum mode)
{
    if (gl->shadow != nullptr)
    {
        ShadowSetPolygonMode(gl, mode);
    }
    if (!SkipsCalls(gl))
    {
        glPolygonMode(face, mode);
    }
}

inline void GlLineWidth(GlContext* gl, GLfloat width)
{
    if (gl->shadow != nullptr)
    {
        ShadowSetLineWidth(gl, width);
    }
    if (!SkipsCalls(gl))
    {
        glLineWidth(width);
    }
}

inline void GlColor4f(GlContext* gl, GLfloat red, GLfloat green, GLfloat blue, GLfloat alpha)
{
    if (gl->shadow != nullptr)
    {
        ShadowSetColor(gl, {red, green, blue, alpha});
    }
    if (!SkipsCalls(gl))
    {
        glColor4f(red, green, blue, alpha);
    }
}

inline void GlViewport(GlContext* gl, GLint x, GLint y, GLsizei width, GLsizei height)
{
    if (gl->shadow != nullptr)
    {
        ShadowSetViewport(gl, width, height);
    }
    if (!SkipsCalls(gl))
    {
        glViewport(x, y, width, height);
    }
}

inline void GlClear(GlContext* gl, GLbitfield mask)
{
    if (!SkipsCalls(gl))
    {
        glClear(mask);
    }
}

inline void GlFogi(GlContext* gl, GLenum name, GLint value)
{
    if (!SkipsCalls(gl))
    {
        glFogi(name, value);
    }
}

inline void GlFogf(GlContext* gl, GLenum name, GLfloat value)
{
    if (!SkipsCalls(gl))
    {
        glFogf(name, value);
    }
}

inline void GlFogfv(GlContext* gl, GLenum name, const GLfloat* values)
{
    if (!SkipsCalls(gl))
    {
        glFogfv(name, values);
    }
}

inline void GlHint(GlContext* gl, GLenum target, GLenum mode)
{
    if (!SkipsCalls(gl))
    {
        glHint(target, mode);
    }
}

inline void GlLightfv(GlContext* gl, GLenum light, GLenum name, const GLfloat* values)
{
    if (gl->shadow != nullptr)
    {
        ShadowSetLight(gl, name, values);
    }
    if (!SkipsCalls(gl))
    {
        glLightfv(light, name, values);
    }
}

inline void GlMatrixMode(GlContext* gl, GLenum mode)
{
    if (gl->shadow != nullptr)
    {
        ShadowSetMatrixMode(gl, mode);
    }
    if (!SkipsCalls(gl))
    {
        glMatrixMode(mode);
    }
}

inline void GlLoadIdentity(GlContext* gl)
{
    if (gl->shadow != nullptr)
    {
        ShadowStartMatrix(gl);
    }
    if (!SkipsCalls(gl))
    {
        glLoadIdentity();
    }
}

inline void GlLoadMatrixf(GlContext* gl, const GLfloat* matrix)
{
    if (!SkipsCalls(gl))
    {
        glLoadMatrixf(matrix);
    }
}

inline void GlTranslatef(GlContext* gl, GLfloat x, GLfloat y, GLfloat z)
{
    if (gl->shadow != nullptr)
    {
        ShadowAddMatrixCall(gl, MatrixCall{MatrixCallKind::kTranslate, 0.0f, x, y, z});
    }
    if (!SkipsCalls(gl))
    {
        glTranslatef(x, y, z);
    }
}

inline void GlRotatef(GlContext* gl, GLfloat angle, GLfloat x, GLfloat y, GLfloat z)
{
    if (gl->shadow != nullptr)
    {
        ShadowAddMatrixCall(gl, MatrixCall{MatrixCallKind::kRotate, angle, x, y, z});
    }
    if (!SkipsCalls(gl))
    {
        glRotatef(angle, x, y, z);
    }
}

inline void GlBindBuffer(GlContext* gl, GLenum target, GLuint buffer)
{
    if (gl->shadow != nullptr)
    {
        ShadowBindBuffer(gl, target, buffer);
    }
    if (!SkipsCalls(gl))
    {
        glBindBufferARB(target, buffer);
    }
}

inline void GlVertexPointer(GlContext* gl, GLint size, GLenum type, GLsizei stride,
                            const void* pointer)
{
    if (!SkipsCalls(gl))
    {
        glVertexPointer(size, type, stride, pointer);
    }
}

inline void GlNormalPointer(GlContext* gl, GLenum type, GLsizei stride, const void* pointer)
{
    if (!SkipsCalls(gl))
    {
        glNormalPointer(type, stride, pointer);
    }
}

inline void GlTexCoordPointer(GlContext* gl, GLint size, GLenum type, GLsizei stride,
                              const void* pointer)
{
    if (gl->shadow != nullptr)
    {
        ShadowSetTexCoordPointer(gl, pointer);
    }
    if (!SkipsCalls(gl))
    {
        glTexCoordPointer(size, type, stride, pointer);
    }
}
