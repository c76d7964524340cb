// SPDX-License-Identifier: MIT

// Draws moments of a piece into PNG files, for whoever works on it:
//
//   draw_piece PACKAGE FOLDER WIDTH HEIGHT TIME...
//
// A TIME is in ticks, or FIRST-LAST-STEP, with an "l" in front for the loading document. The
// pictures are named after the ticks. Of each it prints how long all processors together worked on
// it, and how many screens of pixels its triangles fill: those that are not hidden when they are
// drawn, in bitmaps as well. No screen is needed.
#include <GL/glew.h>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "player/drawn_piece.h"

static void DrawRange(DrawnPiece* piece, const std::string& folder, const char* range)
{
    const bool loading = *range == 'l';
    const RunDocument document = loading ? RunDocument::kLoading : RunDocument::kDemo;
    char* rest = nullptr;
    unsigned long first = strtoul(range + (loading ? 1 : 0), &rest, 10);
    unsigned long last = *rest == '-' ? strtoul(rest + 1, &rest, 10) : first;
    unsigned long step = *rest == '-' ? strtoul(rest + 1, &rest, 10) : 1;
    GLuint query = 0;
    GLint samplesOfPixel = 0;
    glGenQueries(1, &query);
    glGetIntegerv(GL_SAMPLES, &samplesOfPixel);
    const double screen = static_cast<double>(piece->display.width) * piece->display.height *
                          std::max(samplesOfPixel, 1);
    for (unsigned long time = first; time <= last; time += std::max(step, 1ul))
    {
        Picture picture;
        GLuint samples = 0;
        clock_t start = clock();
        glBeginQuery(GL_SAMPLES_PASSED, query);
        uint32_t drawn = DrawMoment(piece, document, static_cast<uint32_t>(time), &picture);
        glEndQuery(GL_SAMPLES_PASSED);
        clock_t end = clock();
        glGetQueryObjectuiv(query, GL_QUERY_RESULT, &samples);

        char name[32];
        snprintf(name, sizeof(name), "/%s%05lu.png", loading ? "loading-" : "", time);
        WritePicture(folder + name, picture);
        printf("%lu: %u scenes, %ld ms, %.2f screens\n", time, drawn,
               static_cast<long>((end - start) * 1000 / CLOCKS_PER_SEC), samples / screen);
    }
    glDeleteQueries(1, &query);
}

int main(int argc, char** argv)
{
    if (argc < 6)
    {
        fprintf(stderr, "draw_piece PACKAGE FOLDER WIDTH HEIGHT TIME...\n");
        return 2;
    }
    static DrawnPiece piece;
    OpenDrawnPiece(argv[1], atoi(argv[3]), atoi(argv[4]), &piece);
    for (int i = 5; i < argc; ++i)
    {
        DrawRange(&piece, argv[2], argv[i]);
    }
    CloseDrawnPiece(&piece);
    return 0;
}
