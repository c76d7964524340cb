#include "player/drawn_piece.h"

#include <GL/glew.h>
#include <cstdlib>

#include "engine/data/cos_table.h"
#include "engine/render/timeline.h"
#include "engine/textures/corner_masks.h"
#include "player/load_piece.h"

static constexpr int32_t kSamples = 2;
static constexpr float kAspect = 4.0f / 3.0f;

[[noreturn]] static void Fail(const char* what)
{
    fprintf(stderr, "drawn piece: %s\n", what);
    abort();
}

void OpenDrawnPiece(const std::string& package, int32_t width, int32_t height, DrawnPiece* piece)
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

    const EglDisplayRequest request = {width, height, kSamples};
    EglFault fault = {};
    if (!OpenEglDisplay(&request, &piece->display, &fault))
    {
        Fail(fault.text);
    }
    BuildCosTable();
    piece->view = {width, height, kAspect};
    BuildCornerMasks();
    LoadPiece(piece->package, &piece->view, piece->display.features, &piece->loading, &piece->demo);
}

uint32_t DrawMoment(const DrawnPiece* piece, const DemoDocument* document, uint32_t time,
                    Picture* picture)
{
    GlFeatures features = piece->display.features;
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
    picture->width = piece->display.width;
    picture->height = piece->display.height;
    picture->rgb.resize(static_cast<size_t>(picture->width) * static_cast<size_t>(picture->height) *
                        3);
    ReadEglPicture(&piece->display, picture->rgb.data());
    return drawn;
}
