#include "player/launcher.h"

#include <SDL.h>
#include <cstdlib>

#include "engine/data/fault.h"

LauncherResult RunLauncher(const char* title, LauncherChoice* choice, int* /*exitCode*/)
{
    // Of SDL's video drivers on a desktop only X11 has OpenGL. Without a display the others would
    // start all the same, and one of them fills the terminal.
    setenv("SDL_VIDEODRIVER", "x11", 0);
    if (SDL_Init(SDL_INIT_VIDEO) < 0)
    {
        FatalError("can't start video: %s", SDL_GetError());
    }
    SDL_WM_SetCaption(title, title);
    *choice = kStartChoice;
    return LauncherResult::kStart;
}
