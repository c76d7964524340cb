#include "player/launcher.h"

#include <SDL.h>

#include "engine/data/fault.h"

LauncherResult RunLauncher(const char* title, LauncherChoice* choice, int* /*exitCode*/)
{
    if (SDL_Init(SDL_INIT_VIDEO) < 0)
    {
        FatalError("can't start video: %s", SDL_GetError());
    }
    SDL_WM_SetCaption(title, title);
    *choice = kStartChoice;
    return LauncherResult::kStart;
}
