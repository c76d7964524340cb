#include "player/load_piece.h"

#include <SDL.h>
#include <cassert>

#include "engine/animation/envelope.h"
#include "engine/animation/light.h"
#include "engine/data/fault.h"
#include "engine/data/model_data.h"
#include "engine/geometry/gen_mesh.h"
#include "engine/render/effect2d.h"
#include "engine/render/material.h"
#include "engine/render/scene.h"
#include "engine/render/timeline.h"
#include "engine/textures/bitmap_texture.h"
#include "engine/textures/layer_generator.h"
#include "engine/textures/procedural_texture.h"

static constexpr uint32_t kTickMs = 50;              // the least time between two loading frames
static constexpr uint32_t kLoadingTimelineEnd = 100; // ticks, what a loading timeline is made for

// clang-format off
/// A row's place is the section's number.
static constexpr SectionReader kSectionReaders[kSectionCount] = {
    // table, recordSize, itemLimit, begin, readItem, end
    {nullptr, 0, 0, nullptr, ReadLayerItem, nullptr},
    {&DemoDocument::textures, sizeof(ProceduralTexture), 0, nullptr, ReadProceduralTextureItem,
     FreeLayers},
    {&DemoDocument::models, sizeof(ModelData), 0, nullptr, ReadModelItem, nullptr},
    {&DemoDocument::envelopes, sizeof(Envelope), 0, nullptr, ReadEnvelopeItem, nullptr},
    {&DemoDocument::lights, sizeof(Light), 0, nullptr, ReadLightItem, nullptr},
    {&DemoDocument::effects, sizeof(Effect2D), 0, nullptr, ReadEffect2DItem, nullptr},
    {&DemoDocument::bitmaps, sizeof(BitmapTexture), 0, nullptr, ReadBitmapItem, nullptr},
    {&DemoDocument::materials, sizeof(Material), 0, nullptr, ReadMaterialItem, nullptr},
    {&DemoDocument::genMeshes, sizeof(GenMesh), 0, nullptr, ReadGenMeshItem, nullptr},
    {&DemoDocument::scenes, sizeof(Scene), 0, nullptr, ReadSceneItem, nullptr},
    {nullptr, 0, kTimelineRows, BeginTimeline, ReadTimelineRow, EndTimeline},
};
// clang-format on

/// What is on screen while the demo is built.
struct LoadingScreen
{
    const DemoDocument* loading; // borrowed
    const View* view;            // borrowed
    GlFeatures features;
    uint32_t total;    // items of the demo
    uint32_t done;     // items finished
    uint32_t lastTick; // ms, SDL_GetTicks at the last frame
};

/// Runs after each item of the demo.
static void ShowProgress(void* user)
{
    LoadingScreen* screen = static_cast<LoadingScreen*>(user);
    screen->done += 1;
    assert(screen->done <= screen->total);
    if (SDL_GetTicks() - screen->lastTick <= kTickMs)
    {
        return;
    }

    // Drawing says where it is in the loading document, and the demo goes on where it was. The
    // frame's result does not matter: a loading timeline that is over ends nothing.
    FaultPlace place = CurrentPlace;
    DrawDocument(screen->loading, screen->view, screen->features,
                 kLoadingTimelineEnd * screen->done / screen->total);
    CurrentPlace = place;
    ShowFrame();
    screen->lastTick = SDL_GetTicks();
}

/// @return false if the package lacks the document
static bool BuildDocument(FILE* package, DemoDocument* document, GlFeatures features,
                          LoadingScreen* screen)
{
    if (!LoadDocument(package, document->name, document->document))
    {
        return false;
    }

    LoadContext context = {};
    context.document = document;
    context.package = package;
    context.features = features;
    context.isDemo = screen != nullptr;
    if (screen != nullptr)
    {
        screen->total = CountItems(document->document);
        context.itemDone = ShowProgress;
        context.user = screen;
    }
    ReadSections(kSectionReaders, &context);
    return true;
}

const DemoDocument* LoadPiece(FILE* package, const View* view, GlFeatures features,
                              DemoDocument* loading, DemoDocument* demo)
{
    BuildDocument(package, loading, features, nullptr);

    // The records of the loading document have no buffer objects, whatever the viewer chose.
    LoadingScreen screen = {loading, view, {0, 0, 0, features.dot3}, 0, 0, SDL_GetTicks()};
    if (!BuildDocument(package, demo, features, &screen))
    {
        InitializeTimeline(demo->timeline);
        return loading;
    }
    return demo;
}
