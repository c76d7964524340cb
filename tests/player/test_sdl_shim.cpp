// SPDX-License-Identifier: MIT
#include "player/sdl_shim.h"

#include <SDL.h>
#include <gtest/gtest.h>
#include <string>

#include "support/recorded_gl.h"
#include "support/recorded_sdl.h"

static void CopyOfTheLayer(uint32_t /*target*/, int32_t /*level*/, int32_t /*xOffset*/,
                           int32_t /*yOffset*/, int32_t /*x*/, int32_t /*y*/, int32_t /*width*/,
                           int32_t /*height*/)
{
}

// The layer over SDL 2: the routine that it is known by, and the one that hands out others.
extern "C"
{
#if SHIM_IS_LOADED
    [[gnu::visibility("default"), gnu::used]] void* SDL12COMPAT_GetWindow()
    {
        return nullptr;
    }
#endif

    void* SDL_GL_GetProcAddress(const char* name)
    {
        RecordCall(std::string("SDL_GL_GetProcAddress ") + name);
        return reinterpret_cast<void*>(CopyOfTheLayer);
    }
}

#if SHIM_IS_LOADED
TEST(SdlShimTest, TheLayersOwnCopyRoutineIsTaken)
{
    ResetGl();
    EXPECT_EQ(FindShimCopy(), CopyOfTheLayer);
    EXPECT_EQ(TakeGlCalls(), "SDL_GL_GetProcAddress glCopyTexSubImage2D\n");
}
#else
TEST(SdlShimTest, TheOldLibraryIsNotCalled)
{
    ResetGl();
    EXPECT_EQ(FindShimCopy(), nullptr);
    EXPECT_EQ(TakeGlCalls(), "");
}
#endif
