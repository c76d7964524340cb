#include "player/display.h"

#include <GL/glew.h>
#include <SDL.h>
#include <cstdio>

#include "engine/data/fault.h"
#include "engine/render/baseline_state.h"
#include "engine/render/frame.h"

static constexpr int kBitsPerPixel = 24;
static constexpr const char* kSeparator = "========================================"; // 40

struct GlAttribute
{
    SDL_GLattr attribute;
    int value;
};

/// What antialiasing asks for. Without it SDL's defaults stand, the depth size among them.
static constexpr GlAttribute kAntialiasingAttributes[] = {
    {SDL_GL_RED_SIZE, 8},           {SDL_GL_GREEN_SIZE, 8},         {SDL_GL_BLUE_SIZE, 8},
    {SDL_GL_ALPHA_SIZE, 8},         {SDL_GL_DEPTH_SIZE, 24},        {SDL_GL_DOUBLEBUFFER, 1},
    {SDL_GL_MULTISAMPLEBUFFERS, 1}, {SDL_GL_MULTISAMPLESAMPLES, 2},
};

View ChosenView(const LauncherChoice* choice)
{
    const Resolution& resolution = kResolutions[choice->resolutionIndex];
    return {resolution.width, resolution.height, kAspects[choice->aspectIndex]};
}

static void OpenWindow(const LauncherChoice* choice, const View* view)
{
    if (choice->antialiasing == kSwitchOn)
    {
        for (const GlAttribute& wish : kAntialiasingAttributes)
        {
            SDL_GL_SetAttribute(wish.attribute, wish.value);
        }
    }

    // A sound device that is missing shows when the music opens it.
    if (choice->music == kSwitchOn)
    {
        SDL_Init(SDL_INIT_AUDIO);
    }
    SDL_Init(SDL_INIT_TIMER);

    Uint32 flags = SDL_HWSURFACE | SDL_OPENGL | SDL_ASYNCBLIT;
    if (choice->fullscreen == kSwitchOn)
    {
        flags |= SDL_FULLSCREEN;
    }
    // Without a window there is no OpenGL context, and every call from here on would be lost.
    if (SDL_SetVideoMode(view->width, view->height, kBitsPerPixel, flags) == nullptr)
    {
        FatalError("can't open a window of %d x %d: %s", view->width, view->height, SDL_GetError());
    }
}

/// Prints whether there are buffer objects, if the viewer wants them.
static int32_t TellVbo(int32_t vboSwitch, int32_t offered)
{
    if (vboSwitch != kSwitchOn)
    {
        return 0;
    }
    printf(offered != 0 ? "VBO support detected.\n" : "No VBO support.\n");
    return offered;
}

static int32_t TellPbo(bool forcePbo, int32_t offered)
{
    if (!GLEW_ARB_pixel_buffer_object)
    {
        printf("No PBO support.\n");
        return 0;
    }
    if (offered == 0 && !forcePbo)
    {
        printf("PBO support detected, but it may be slow (opengl version is lower than 2.1), "
               "so i disable it. Use -forcepbo to enable it.\n");
        return 0;
    }
    printf("PBO support detected.\n");
    return 1;
}

static void TellNpot(int32_t offered)
{
    printf(offered != 0 ? "NPOT texture support detected.\n" : "No NPOT texture support.\n");
}

static void TellDot3(int32_t offered)
{
    printf(offered != 0 ? "DOT3 bump mapping support detected.\n"
                        : "No DOT3 bump mapping support.\n");
}

GlFeatures OpenDisplay(const LauncherChoice* choice, const View* view, bool forcePbo)
{
    OpenWindow(choice, view);
    glewInit();

    printf("%s\n", kSeparator);
    GlFeatures features = DetectFeatures();
    features.vbo = TellVbo(choice->vbo, features.vbo);
    features.pbo = TellPbo(forcePbo, features.pbo);
    TellNpot(features.npot);
    TellDot3(features.dot3);
    printf("%s\n", kSeparator);

    // The new window shows black at once, not what its memory held.
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    SDL_GL_SwapBuffers();
    SetBaselineState();
    SDL_GL_SwapBuffers();
    return features;
}

uint32_t DrawDocument(const DemoDocument* document, const View* view, GlFeatures features,
                      uint32_t time)
{
    CurrentPlace = {document->name, kNoSection, 0, 0};
    return RenderFrame(document->timeline, document->scenes, document->materials, document->lights,
                       document->textures, document->envelopes, view->aspect, document->effects,
                       document->models, document->bitmaps, document->genMeshes, time, view->width,
                       view->height, features.vbo, features.pbo, features.npot, features.dot3);
}

void ShowFrame()
{
    SDL_GL_SwapBuffers();
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}
