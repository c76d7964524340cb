// SPDX-License-Identifier: MIT
#include "player/sdl_shim.h"

#include <SDL.h>
#include <dlfcn.h>

/// A routine that the layer has and SDL 1.2 itself has not.
static constexpr const char kShimRoutine[] = "SDL12COMPAT_GetWindow";

CopyPictureRoutine FindShimCopy()
{
    if (dlsym(RTLD_DEFAULT, kShimRoutine) == nullptr)
    {
        return nullptr;
    }
    return reinterpret_cast<CopyPictureRoutine>(SDL_GL_GetProcAddress("glCopyTexSubImage2D"));
}
