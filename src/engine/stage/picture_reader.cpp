// SPDX-License-Identifier: MIT
#include "engine/stage/picture_reader.h"

#include <GL/glew.h>
#include <cassert>
#include <cstring>

#include "engine/stage/mixed_picture.h"

static size_t RowBytes(const EglDisplay* display)
{
    return static_cast<size_t>(display->width) * 3;
}

bool OpenPictureReader(const EglDisplay* display, PictureReader* reader, FaultList* faults)
{
    if (!GLEW_VERSION_2_1)
    {
        AddError(faults, "the driver has no OpenGL 2.1, and so no buffers to read pictures into");
        return false;
    }
    reader->display = display;
    glGenBuffers(2, reader->buffers);
    for (const uint32_t buffer : reader->buffers)
    {
        glBindBuffer(GL_PIXEL_PACK_BUFFER, buffer);
        glBufferData(
            GL_PIXEL_PACK_BUFFER,
            static_cast<GLsizeiptr>(RowBytes(display) * static_cast<size_t>(display->height)),
            nullptr, GL_STREAM_READ);
    }
    glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
    const GLenum error = glGetError();
    if (error != GL_NO_ERROR)
    {
        AddError(faults,
                 "the driver has no memory for two pictures of %d x %d (OpenGL error "
                 "0x%04X)",
                 display->width, display->height, error);
        return false;
    }
    return true;
}

void StartPicture(PictureReader* reader)
{
    assert(reader->started - reader->taken < 2);
    const EglDisplay* display = reader->display;
    MixedPicture mixed = {};
    if (display->samples > 0)
    {
        mixed = MixSamples(display);
    }
    glBindBuffer(GL_PIXEL_PACK_BUFFER, reader->buffers[reader->started % 2]);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, display->width, display->height, GL_RGB, GL_UNSIGNED_BYTE, nullptr);
    glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
    if (display->samples > 0)
    {
        FreeMixedPicture(&mixed);
    }
    reader->started += 1;
}

bool TakePicture(PictureReader* reader, uint8_t* rgb, FaultList* faults)
{
    assert(reader->taken < reader->started);
    glBindBuffer(GL_PIXEL_PACK_BUFFER, reader->buffers[reader->taken % 2]);
    reader->taken += 1;
    const uint8_t* rows =
        static_cast<const uint8_t*>(glMapBuffer(GL_PIXEL_PACK_BUFFER, GL_READ_ONLY));
    bool isWhole = rows != nullptr;
    if (isWhole)
    {
        // OpenGL's rows come from the bottom.
        const size_t row = RowBytes(reader->display);
        const size_t height = static_cast<size_t>(reader->display->height);
        for (size_t y = 0; y < height; ++y)
        {
            memcpy(rgb + y * row, rows + (height - 1 - y) * row, row);
        }
        isWhole = glUnmapBuffer(GL_PIXEL_PACK_BUFFER) == GL_TRUE;
    }
    glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
    if (!isWhole)
    {
        AddError(faults, "the driver does not hand out the picture (OpenGL error 0x%04X)",
                 glGetError());
    }
    return isWhole;
}

void ClosePictureReader(PictureReader* reader)
{
    if (reader->display != nullptr)
    {
        glDeleteBuffers(2, reader->buffers);
    }
    *reader = {};
}
