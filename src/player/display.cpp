// SPDX-License-Identifier: MIT
#include "player/display.h"

#include <GL/glew.h>
#include <SDL.h>
#include <cstdio>

#include "engine/render/baseline_state.h"

static constexpr int kBitsPerPixel = 24;
static constexpr const char* kSeparator = "========================================"; // 40

struct GlAttribute
{
    SDL_GLattr attribute;
    int value;
};

/// The wishes of antialiasing. Without it SDL's defaults stand, the depth size among them.
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

/// @return false after a fault
static bool OpenWindow(const LauncherChoice* choice, const View* view, FaultList* faults)
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
        AddError(faults, "can't open a window of %d x %d: %s; choose a smaller one in the launcher",
                 view->width, view->height, SDL_GetError());
        return false;
    }
    return true;
}

static int32_t DetectVbo(int32_t vboSwitch)
{
    if (vboSwitch != kSwitchOn)
    {
        return 0;
    }
    if (!GLEW_ARB_vertex_buffer_object)
    {
        printf("No VBO support.\n");
        return 0;
    }
    printf("VBO support detected.\n");
    return 1;
}

static int32_t DetectPbo(bool forcePbo)
{
    if (!GLEW_ARB_pixel_buffer_object)
    {
        printf("No PBO support.\n");
        return 0;
    }
    if (!GLEW_VERSION_2_1 && !forcePbo)
    {
        printf("PBO support detected, but it may be slow (opengl version is lower than 2.1), "
               "so i disable it. Use -forcepbo to enable it.\n");
        return 0;
    }
    printf("PBO support detected.\n");
    return 1;
}

static int32_t DetectNpot()
{
    if (!GLEW_ARB_texture_non_power_of_two)
    {
        printf("No NPOT texture support.\n");
        return 0;
    }
    printf("NPOT texture support detected.\n");
    return 1;
}

static int32_t DetectDot3()
{
    if (!GLEW_ARB_texture_env_dot3)
    {
        printf("No DOT3 bump mapping support.\n");
        return 0;
    }
    printf("DOT3 bump mapping support detected.\n");
    return 1;
}

bool OpenDisplay(const LauncherChoice* choice, const View* view, bool forcePbo,
                 GlFeatures* features, FaultList* faults)
{
    if (!OpenWindow(choice, view, faults))
    {
        return false;
    }
    glewInit();

    printf("%s\n", kSeparator);
    features->vbo = DetectVbo(choice->vbo);
    features->pbo = DetectPbo(forcePbo);
    features->npot = DetectNpot();
    features->dot3 = DetectDot3();
    printf("%s\n", kSeparator);

    // The new window shows black at once, not what its memory held.
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    SDL_GL_SwapBuffers();
    SetBaselineState();
    SDL_GL_SwapBuffers();
    return true;
}

uint32_t DrawDocument(PieceRun* run, RunDocument document, const View* view, uint32_t time)
{
    const FrameSources sources = RunSources(run, document);
    const FrameRequest request = {view->aspect, time, view->width, view->height};
    run->faults->place = PlaceAt(sources.document->name, Section::kNone);
    return RenderFrame(&sources, &request);
}

void ShowFrame()
{
    SDL_GL_SwapBuffers();
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}
