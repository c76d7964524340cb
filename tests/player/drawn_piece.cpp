#include "player/drawn_piece.h"

#include <GL/glew.h>
#include <SDL.h>
#include <cstdlib>
#include <cstring>

#include "engine/data/cos_table.h"
#include "engine/render/timeline.h"
#include "engine/textures/corner_masks.h"
#include "player/launcher.h"
#include "player/load_piece.h"

[[noreturn]] static void Fail(const char* what)
{
    fprintf(stderr, "drawn piece: %s\n", what);
    abort();
}

void OpenDrawnPiece(const std::string& package, int32_t resolutionIndex, DrawnPiece* piece)
{
    piece->package = fopen(package.c_str(), "rb");
    if (piece->package == nullptr)
    {
        Fail("can't open the package");
    }
    piece->loading = {};
    piece->loading.name = "loading.xmlz";
    piece->loading.document = &piece->loadingTree;
    piece->loading.timeline = CreateTimeline();
    InitializeTimeline(piece->loading.timeline);
    piece->demo = {};
    piece->demo.name = "demo.xmlz";
    piece->demo.document = &piece->demoTree;
    piece->demo.timeline = CreateTimeline();

    if (SDL_Init(SDL_INIT_VIDEO) < 0)
    {
        Fail(SDL_GetError());
    }
    LauncherChoice choice = kStartChoice;
    choice.resolutionIndex = resolutionIndex;
    choice.fullscreen = kSwitchOff;
    choice.music = kSwitchOff;
    BuildCosTable();
    piece->view = ChosenView(&choice);
    piece->features = OpenDisplay(&choice, &piece->view, false);
    BuildCornerMasks();
    LoadPiece(piece->package, &piece->view, piece->features, &piece->loading, &piece->demo);
}

/// OpenGL's rows come from the bottom.
static Picture ReadBackBuffer(const View* view)
{
    Picture picture = {view->width, view->height, {}};
    size_t row = static_cast<size_t>(view->width) * 3;
    size_t rows = static_cast<size_t>(view->height);
    std::vector<uint8_t> upside(row * rows);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, view->width, view->height, GL_RGB, GL_UNSIGNED_BYTE, upside.data());

    picture.rgb.resize(row * rows);
    for (size_t y = 0; y < rows; ++y)
    {
        memcpy(&picture.rgb[y * row], &upside[(rows - 1 - y) * row], row);
    }
    return picture;
}

uint32_t DrawMoment(const DrawnPiece* piece, const DemoDocument* document, uint32_t time,
                    Picture* picture)
{
    GlFeatures features = piece->features;
    if (document == &piece->loading)
    {
        features.vbo = 0;
        features.pbo = 0;
        features.npot = 0;
        // The player draws this document before any frame that binds buffers.
        glBindBuffer(GL_ARRAY_BUFFER, 0);
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
    }
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    uint32_t drawn = DrawDocument(document, &piece->view, features, time);
    *picture = ReadBackBuffer(&piece->view);
    SDL_GL_SwapBuffers();
    return drawn;
}
