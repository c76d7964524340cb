// SPDX-License-Identifier: MIT
#include "player/launcher.h"

#include <SDL.h>
#include <cassert>
#include <cstdio>
#include <cstdlib>
#include <iterator>

#include "engine/data/fault.h"
#include "player/launcher_images.h"
#include "player/launcher_state.h"

static constexpr int kWidth = 313;
static constexpr int kHeight = 384;
static constexpr int kBitsPerPixel = 24;
static constexpr Uint32 kPassMs = 30; // between two looks at the mouse

struct ImagePlace
{
    Sint16 left;
    Sint16 top;
};

// Where images go. The rows stand as unevenly as the lines of text in the background.
static constexpr ImagePlace kBackgroundPlace = {0, 0};
static constexpr ImagePlace kResolutionPlaces[] = {
    {21, 17},  {21, 40},  {21, 62},  {21, 85},  {21, 107}, {21, 129}, {21, 152}, {21, 174},
    {21, 197}, {21, 219}, {21, 242}, {21, 264}, {21, 287}, {21, 309}, {21, 331}, {21, 354},
};
static_assert(std::size(kResolutionPlaces) == std::size(kResolutions));
static constexpr ImagePlace kAspectPlaces[] = {{194, 17}, {194, 39}, {194, 62}};
static_assert(std::size(kAspectPlaces) == std::size(kAspects));
static constexpr ImagePlace kSwitchPlaces[] = {{157, 293}, {157, 315}, {157, 337}, {157, 360}};
static_assert(std::size(kSwitchPlaces) == std::size(kLauncherSwitches));
static constexpr ImagePlace kStartPlace = {188, 163};

/// SDL's surfaces. They stay to the end of the process; the window's is replaced with the window.
struct LauncherSurfaces
{
    SDL_Surface* window;
    SDL_Surface* background;
    SDL_Surface* resolutionSelector;
    SDL_Surface* aspectSelector; // null if it could not be loaded, as the two below: not shown then
    SDL_Surface* checkMark;
    SDL_Surface* startPressed;
};

/// @return null after a fault
static SDL_Surface* OpenLauncherWindow(const char* title, FaultList* faults)
{
    // Of SDL's video drivers on a desktop only X11 has OpenGL. Without a display the others would
    // start all the same, and one of them fills the terminal.
    setenv("SDL_VIDEODRIVER", "x11", 0);
    if (SDL_Init(SDL_INIT_VIDEO) < 0)
    {
        AddError(faults, "can't start video: %s", SDL_GetError());
        return nullptr;
    }
    SDL_Surface* window = SDL_SetVideoMode(kWidth, kHeight, kBitsPerPixel, SDL_HWSURFACE);
    if (window == nullptr)
    {
        AddError(faults, "can't open a window of %d x %d: %s", kWidth, kHeight, SDL_GetError());
        return nullptr;
    }
    SDL_WM_SetCaption(title, title);
    return window;
}

/// @return null if SDL can't make a surface of it
static SDL_Surface* LoadImage(ImageFile file)
{
    // SDL takes memory that it could write to, and only reads from it.
    SDL_RWops* stream = SDL_RWFromMem(const_cast<uint8_t*>(file.bytes), file.size);
    return stream == nullptr ? nullptr : SDL_LoadBMP_RW(stream, 1);
}

/// Pixels of palette number 0 are not drawn.
static void MakeTransparent(SDL_Surface* image)
{
    if (image != nullptr)
    {
        SDL_SetColorKey(image, SDL_SRCCOLORKEY, 0);
    }
}

static bool LoadImages(LauncherSurfaces* surfaces)
{
    surfaces->background = LoadImage(kLauncherBackground);
    surfaces->resolutionSelector = LoadImage(kResolutionSelector);
    surfaces->aspectSelector = LoadImage(kAspectSelector);
    surfaces->checkMark = LoadImage(kCheckMark);
    surfaces->startPressed = LoadImage(kStartPressed);
    if (surfaces->background == nullptr || surfaces->resolutionSelector == nullptr)
    {
        return false;
    }
    MakeTransparent(surfaces->resolutionSelector);
    MakeTransparent(surfaces->aspectSelector);
    return true;
}

static void DrawImage(SDL_Surface* window, SDL_Surface* image, ImagePlace place)
{
    if (image == nullptr)
    {
        return;
    }
    SDL_Rect rectangle = {place.left, place.top, 0, 0}; // only its corner counts
    SDL_BlitSurface(image, nullptr, window, &rectangle);
}

/// Draws everything and shows it.
static void DrawLauncher(const LauncherSurfaces* surfaces, const LauncherState* state)
{
    SDL_Surface* window = surfaces->window;
    const LauncherChoice* choice = &state->choice;
    DrawImage(window, surfaces->background, kBackgroundPlace);
    DrawImage(window, surfaces->resolutionSelector, kResolutionPlaces[choice->resolutionIndex]);
    DrawImage(window, surfaces->aspectSelector, kAspectPlaces[choice->aspectIndex]);
    for (size_t i = 0; i < std::size(kLauncherSwitches); ++i)
    {
        if (choice->*kLauncherSwitches[i] == kSwitchOn)
        {
            DrawImage(window, surfaces->checkMark, kSwitchPlaces[i]);
        }
    }
    if (state->armed && state->wasOverStart)
    {
        DrawImage(window, surfaces->startPressed, kStartPlace);
    }
    SDL_Rect all = {0, 0, kWidth, kHeight};
    SDL_UpdateRects(window, 1, &all);
}

/// Takes one event.
/// @return whether it closed the window
static bool PollQuit()
{
    SDL_Event event;
    return SDL_PollEvent(&event) != 0 && event.type == SDL_QUIT;
}

static LauncherStep LookAtMouse(LauncherState* state)
{
    int x = 0;
    int y = 0;
    Uint8 buttons = SDL_GetMouseState(&x, &y);
    return StepLauncher(state, x, y, (buttons & SDL_BUTTON(SDL_BUTTON_LEFT)) != 0);
}

LauncherResult RunLauncher(const char* title, LauncherChoice* choice, int* exitCode,
                           FaultList* faults)
{
    assert(static_cast<size_t>(choice->resolutionIndex) < std::size(kResolutions));
    assert(static_cast<size_t>(choice->aspectIndex) < std::size(kAspects));

    LauncherSurfaces surfaces;
    surfaces.window = OpenLauncherWindow(title, faults);
    if (surfaces.window == nullptr)
    {
        return LauncherResult::kFailed;
    }
    if (!LoadImages(&surfaces))
    {
        printf("error creating surface :-S\n");
        *exitCode = 1;
        return LauncherResult::kQuit;
    }
    LauncherState state = {*choice, false, false, false};
    DrawLauncher(&surfaces, &state);
    // The mouse is looked at, and its motion would only fill the queue. This stays for the piece.
    SDL_EventState(SDL_MOUSEMOTION, SDL_IGNORE);

    while (true)
    {
        if (PollQuit())
        {
            printf("Bye!\n");
            SDL_Quit();
            *exitCode = 0;
            return LauncherResult::kQuit;
        }
        LauncherStep step = LookAtMouse(&state);
        if (step == LauncherStep::kStart)
        {
            *choice = state.choice;
            return LauncherResult::kStart;
        }
        if (step == LauncherStep::kRedraw)
        {
            SDL_FillRect(surfaces.window, nullptr, 0);
            DrawLauncher(&surfaces, &state);
        }
        SDL_Delay(kPassMs);
    }
}
