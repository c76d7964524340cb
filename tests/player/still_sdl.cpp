// In the place of SDL, for programs that draw a piece without a window: the clock stands, so that
// loading finds no time for pictures of itself, and nothing else may be asked of it.
#include <SDL.h>
#include <cstdio>
#include <cstdlib>

[[noreturn]] static void Refuse(const char* call)
{
    fprintf(stderr, "%s: there is no window\n", call);
    abort();
}

extern "C" Uint32 SDL_GetTicks(void)
{
    return 0;
}

extern "C" void SDL_GL_SwapBuffers(void)
{
    Refuse("SDL_GL_SwapBuffers");
}

extern "C" int SDL_GL_SetAttribute(SDL_GLattr /*attribute*/, int /*value*/)
{
    Refuse("SDL_GL_SetAttribute");
}

extern "C" int SDL_Init(Uint32 /*flags*/)
{
    Refuse("SDL_Init");
}

extern "C" SDL_Surface* SDL_SetVideoMode(int /*width*/, int /*height*/, int /*bits*/,
                                         Uint32 /*flags*/)
{
    Refuse("SDL_SetVideoMode");
}

extern "C" char* SDL_GetError(void)
{
    Refuse("SDL_GetError");
}
