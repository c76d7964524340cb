// SPDX-License-Identifier: MIT
#include "engine/stage/mixed_picture.h"

#include <GL/glew.h>

MixedPicture MixSamples(const EglDisplay* display)
{
    MixedPicture mixed = {};
    glGenRenderbuffers(1, &mixed.renderbuffer);
    glBindRenderbuffer(GL_RENDERBUFFER, mixed.renderbuffer);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, display->width, display->height);

    glGenFramebuffers(1, &mixed.framebuffer);
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, mixed.framebuffer);
    glFramebufferRenderbuffer(GL_DRAW_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER,
                              mixed.renderbuffer);
    glBlitFramebuffer(0, 0, display->width, display->height, 0, 0, display->width, display->height,
                      GL_COLOR_BUFFER_BIT, GL_NEAREST);

    glBindRenderbuffer(GL_RENDERBUFFER, 0);
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, 0);
    glBindFramebuffer(GL_READ_FRAMEBUFFER, mixed.framebuffer);
    return mixed;
}

void FreeMixedPicture(const MixedPicture* mixed)
{
    glBindFramebuffer(GL_READ_FRAMEBUFFER, 0);
    glDeleteFramebuffers(1, &mixed->framebuffer);
    glDeleteRenderbuffers(1, &mixed->renderbuffer);
}
