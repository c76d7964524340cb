// SPDX-License-Identifier: MIT

// Draws a heap of triangles and writes the picture to standard output, or a line that says why it
// can't:
//
//   egl_probe WIDTH HEIGHT SAMPLES
#include <GL/glew.h>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "engine/stage/egl_display.h"

/// Steps a row of numbers that look random.
/// @return the next one, 0 to 1
static float NextShare(uint32_t* seed)
{
    *seed = *seed * 1664525 + 1013904223;
    return static_cast<float>(*seed >> 8) / 16777216.0f;
}

static void DrawHeap()
{
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    uint32_t seed = 1;
    glBegin(GL_TRIANGLES);
    for (int i = 0; i < 3 * 300; ++i)
    {
        glColor4f(NextShare(&seed), NextShare(&seed), NextShare(&seed), NextShare(&seed));
        glVertex3f(NextShare(&seed) * 3.0f - 1.5f, NextShare(&seed) * 3.0f - 1.5f,
                   NextShare(&seed));
    }
    glEnd();
}

int main(int argc, char** argv)
{
    if (argc != 4)
    {
        fprintf(stderr, "egl_probe WIDTH HEIGHT SAMPLES\n");
        return 2;
    }
    const EglDisplayRequest request = {atoi(argv[1]), atoi(argv[2]), atoi(argv[3])};
    EglDisplay display = {};
    FaultList faults;
    StartFaults(&faults);
    if (!OpenEglDisplay(&request, &display, &faults))
    {
        printf("%s\n", faults.first.text);
        return 1;
    }

    DrawHeap();
    std::vector<uint8_t> picture(static_cast<size_t>(request.width) *
                                 static_cast<size_t>(request.height) * 3);
    ReadEglPicture(&display, picture.data());
    fwrite(picture.data(), 1, picture.size(), stdout);
    CloseEglDisplay(&display);
    return 0;
}
