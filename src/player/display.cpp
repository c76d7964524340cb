#include "player/display.h"

#include <GL/glew.h>
#include <SDL.h>
#include <cstdio>

#include "engine/data/fault.h"
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

static void SetBaselineState()
{
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LEQUAL);
    glShadeModel(GL_SMOOTH);
    glEnable(GL_BLEND);
    glTexGeni(GL_S, GL_TEXTURE_GEN_MODE, GL_SPHERE_MAP);
    glTexGeni(GL_T, GL_TEXTURE_GEN_MODE, GL_SPHERE_MAP);
    glEnable(GL_COLOR_MATERIAL);
    glColorMaterial(GL_FRONT, GL_AMBIENT_AND_DIFFUSE);
}

GlFeatures OpenDisplay(const LauncherChoice* choice, const View* view, bool forcePbo)
{
    OpenWindow(choice, view);
    glewInit();

    printf("%s\n", kSeparator);
    GlFeatures features;
    features.vbo = DetectVbo(choice->vbo);
    features.pbo = DetectPbo(forcePbo);
    features.npot = DetectNpot();
    features.dot3 = DetectDot3();
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
