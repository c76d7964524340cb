// SPDX-License-Identifier: MIT
#include "engine/stage/driver_probe.h"

#include <GL/glew.h>
#include <cstdlib>
#include <vector>

#include "engine/stage/egl_display.h"

static constexpr int32_t kSide = 64; // pixels
static constexpr int kTolerance = 3; // of 255, for the driver's rounding

/// A pixel of the picture and the color that it has to have.
struct ProbePixel
{
    int32_t x; // from the left
    int32_t y; // from the top
    int rgb[3];
    const char* drawn; // that shows there
};

/// A rectangle from (left, bottom) to (right, top), from -1 to 1, with a texture over the whole.
static void DrawRectangle(float left, float bottom, float right, float top)
{
    glBegin(GL_QUADS);
    glTexCoord2f(0.0f, 0.0f);
    glVertex2f(left, bottom);
    glTexCoord2f(1.0f, 0.0f);
    glVertex2f(right, bottom);
    glTexCoord2f(1.0f, 1.0f);
    glVertex2f(right, top);
    glTexCoord2f(0.0f, 1.0f);
    glVertex2f(left, top);
    glEnd();
}

/// The lower left half red, then the left half of that picture at the right, then blue over the
/// upper half, half transparent.
static void DrawProbe()
{
    glDisable(GL_BLEND);
    glColor4f(1.0f, 0.0f, 0.0f, 1.0f);
    glBegin(GL_TRIANGLES);
    glVertex2f(-1.0f, -1.0f);
    glVertex2f(1.0f, -1.0f);
    glVertex2f(-1.0f, 1.0f);
    glEnd();

    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB, kSide, kSide, 0, GL_RGB, GL_UNSIGNED_BYTE, nullptr);
    glCopyTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 0, 0, kSide, kSide);

    glEnable(GL_TEXTURE_2D);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
    DrawRectangle(0.0f, -1.0f, 1.0f, 1.0f);
    glDisable(GL_TEXTURE_2D);
    glDeleteTextures(1, &texture);

    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glColor4f(0.0f, 0.0f, 1.0f, 0.5f);
    DrawRectangle(-1.0f, 0.0f, 1.0f, 1.0f);
}

static bool IsNear(const uint8_t* drawn, const int* wanted)
{
    for (int i = 0; i < 3; ++i)
    {
        if (abs(drawn[i] - wanted[i]) > kTolerance)
        {
            return false;
        }
    }
    return true;
}

static bool CheckProbe(const EglDisplay* display, FaultList* faults)
{
    static constexpr ProbePixel kPixels[] = {
        {4, 52, {255, 0, 0}, "a triangle"},
        {36, 52, {255, 0, 0}, "a picture copied to a texture"},
        {60, 36, {0, 0, 0}, "the ground of a copied picture"},
        {4, 20, {128, 0, 128}, "a color blended over a triangle"},
        {60, 4, {0, 0, 128}, "a color blended over the ground"},
    };
    std::vector<uint8_t> rgb(size_t{3} * kSide * kSide);
    ReadEglPicture(display, rgb.data());
    for (const ProbePixel& pixel : kPixels)
    {
        const uint8_t* drawn = &rgb[static_cast<size_t>(pixel.y * kSide + pixel.x) * 3];
        if (!IsNear(drawn, pixel.rgb))
        {
            AddError(faults,
                     "the driver \"%s\" can't draw pieces: %s is (%d, %d, %d) and should be (%d, "
                     "%d, %d)",
                     reinterpret_cast<const char*>(glGetString(GL_RENDERER)), pixel.drawn, drawn[0],
                     drawn[1], drawn[2], pixel.rgb[0], pixel.rgb[1], pixel.rgb[2]);
            return false;
        }
    }
    return true;
}

bool ProbeDriver(int32_t samples, FaultList* faults)
{
    const EglDisplayRequest request = {kSide, kSide, samples};
    EglDisplay display = {};
    if (!OpenEglDisplay(&request, &display, faults))
    {
        return false;
    }
    DrawProbe();
    const bool isRight = CheckProbe(&display, faults);
    CloseEglDisplay(&display);
    return isRight;
}
