// The OpenGL calls that a frame makes, one routine a call, each named after its function.
//
// While a context draws, each is the call and nothing else. While it is shadowed nothing reaches
// OpenGL, and what outlives a frame is written down. Calls that are made while a piece is loaded do
// not go through here: loading always reaches OpenGL.
#pragma once

#include <GL/glew.h>

#include "engine/render/gl_context.h"
#include "engine/render/gl_shadow.h"

inline void GlEnable(GlContext* gl, GLenum capability)
{
    if (IsShadowed(gl))
    {
        ShadowSetEnabled(gl->shadow, capability, true);
        return;
    }
    glEnable(capability);
}

inline void GlDisable(GlContext* gl, GLenum capability)
{
    if (IsShadowed(gl))
    {
        ShadowSetEnabled(gl->shadow, capability, false);
        return;
    }
    glDisable(capability);
}

inline void GlEnableClientState(GlContext* gl, GLenum array)
{
    if (IsShadowed(gl))
    {
        ShadowSetArray(gl->shadow, array, true);
        return;
    }
    glEnableClientState(array);
}

inline void GlDisableClientState(GlContext* gl, GLenum array)
{
    if (IsShadowed(gl))
    {
        ShadowSetArray(gl->shadow, array, false);
        return;
    }
    glDisableClientState(array);
}

inline void GlActiveTexture(GlContext* gl, GLenum unit)
{
    if (IsShadowed(gl))
    {
        ShadowSelectServerUnit(gl->shadow, unit);
        return;
    }
    glActiveTextureARB(unit);
}

inline void GlClientActiveTexture(GlContext* gl, GLenum unit)
{
    if (IsShadowed(gl))
    {
        ShadowSelectClientUnit(gl->shadow, unit);
        return;
    }
    glClientActiveTextureARB(unit);
}

inline void GlBindTexture(GlContext* gl, GLenum target, GLuint texture)
{
    if (IsShadowed(gl))
    {
        ShadowBindTexture(gl->shadow, texture);
        return;
    }
    glBindTexture(target, texture);
}

inline void GlTexParameteri(GlContext* gl, GLenum target, GLenum name, GLint value)
{
    if (IsShadowed(gl))
    {
        ShadowSetTexParameter(gl->shadow, name, value);
        return;
    }
    glTexParameteri(target, name, value);
}

inline void GlTexParameterf(GlContext* gl, GLenum target, GLenum name, GLfloat value)
{
    if (IsShadowed(gl))
    {
        ShadowSetTexParameter(gl->shadow, name, static_cast<GLint>(value));
        return;
    }
    glTexParameterf(target, name, value);
}

inline void GlTexEnvi(GlContext* gl, GLenum target, GLenum name, GLint value)
{
    if (IsShadowed(gl))
    {
        ShadowSetTexEnv(gl->shadow, name, value);
        return;
    }
    glTexEnvi(target, name, value);
}

inline void GlBlendFunc(GlContext* gl, GLenum source, GLenum destination)
{
    if (IsShadowed(gl))
    {
        ShadowSetBlend(gl->shadow, source, destination);
        return;
    }
    glBlendFunc(source, destination);
}

inline void GlPolygonMode(GlContext* gl, GLenum face, GLenum mode)
{
    if (IsShadowed(gl))
    {
        ShadowSetPolygonMode(gl->shadow, mode);
        return;
    }
    glPolygonMode(face, mode);
}

inline void GlLineWidth(GlContext* gl, GLfloat width)
{
    if (IsShadowed(gl))
    {
        ShadowSetLineWidth(gl->shadow, width);
        return;
    }
    glLineWidth(width);
}

inline void GlColor4f(GlContext* gl, GLfloat red, GLfloat green, GLfloat blue, GLfloat alpha)
{
    if (IsShadowed(gl))
    {
        ShadowSetColor(gl->shadow, red, green, blue, alpha);
        return;
    }
    glColor4f(red, green, blue, alpha);
}

inline void GlViewport(GlContext* gl, GLint x, GLint y, GLsizei width, GLsizei height)
{
    if (IsShadowed(gl))
    {
        ShadowSetViewport(gl->shadow, width, height);
        return;
    }
    glViewport(x, y, width, height);
}

inline void GlClear(GlContext* gl, GLbitfield mask)
{
    if (!IsShadowed(gl))
    {
        glClear(mask);
    }
}

inline void GlFogi(GlContext* gl, GLenum name, GLint value)
{
    if (IsShadowed(gl))
    {
        ShadowSetFog(gl->shadow, name, static_cast<GLfloat>(value));
        return;
    }
    glFogi(name, value);
}

inline void GlFogf(GlContext* gl, GLenum name, GLfloat value)
{
    if (IsShadowed(gl))
    {
        ShadowSetFog(gl->shadow, name, value);
        return;
    }
    glFogf(name, value);
}

inline void GlFogfv(GlContext* gl, GLenum name, const GLfloat* values)
{
    if (IsShadowed(gl))
    {
        ShadowSetFogColor(gl->shadow, values);
        return;
    }
    glFogfv(name, values);
}

inline void GlHint(GlContext* gl, GLenum target, GLenum mode)
{
    if (!IsShadowed(gl))
    {
        glHint(target, mode);
    }
}

inline void GlLightfv(GlContext* gl, GLenum light, GLenum name, const GLfloat* values)
{
    if (IsShadowed(gl))
    {
        ShadowSetLight(gl->shadow, name, values);
        return;
    }
    glLightfv(light, name, values);
}

inline void GlMatrixMode(GlContext* gl, GLenum mode)
{
    if (IsShadowed(gl))
    {
        ShadowSetMatrixMode(gl->shadow, mode);
        return;
    }
    glMatrixMode(mode);
}

inline void GlLoadIdentity(GlContext* gl)
{
    if (IsShadowed(gl))
    {
        ShadowStartMatrix(gl->shadow);
        return;
    }
    glLoadIdentity();
}

inline void GlLoadMatrixf(GlContext* gl, const GLfloat* matrix)
{
    if (!IsShadowed(gl))
    {
        glLoadMatrixf(matrix);
    }
}

inline void GlTranslatef(GlContext* gl, GLfloat x, GLfloat y, GLfloat z)
{
    if (IsShadowed(gl))
    {
        ShadowAddMatrixCall(gl->shadow, MatrixCall{MatrixCallKind::kTranslate, 0.0f, x, y, z});
        return;
    }
    glTranslatef(x, y, z);
}

inline void GlRotatef(GlContext* gl, GLfloat angle, GLfloat x, GLfloat y, GLfloat z)
{
    if (IsShadowed(gl))
    {
        ShadowAddMatrixCall(gl->shadow, MatrixCall{MatrixCallKind::kRotate, angle, x, y, z});
        return;
    }
    glRotatef(angle, x, y, z);
}

inline void GlBindBuffer(GlContext* gl, GLenum target, GLuint buffer)
{
    if (IsShadowed(gl))
    {
        ShadowBindBuffer(gl->shadow, target, buffer);
        return;
    }
    glBindBufferARB(target, buffer);
}

inline void GlVertexPointer(GlContext* gl, GLint size, GLenum type, GLsizei stride,
                            const void* pointer)
{
    if (!IsShadowed(gl))
    {
        glVertexPointer(size, type, stride, pointer);
    }
}

inline void GlNormalPointer(GlContext* gl, GLenum type, GLsizei stride, const void* pointer)
{
    if (!IsShadowed(gl))
    {
        glNormalPointer(type, stride, pointer);
    }
}

inline void GlTexCoordPointer(GlContext* gl, GLint size, GLenum type, GLsizei stride,
                              const void* pointer)
{
    if (IsShadowed(gl))
    {
        ShadowSetTexCoordPointer(gl->shadow, pointer);
        return;
    }
    glTexCoordPointer(size, type, stride, pointer);
}
