// SPDX-License-Identifier: MIT
#include "studio/desktop_scale.h"

#include <SDL_syswm.h>
#include <algorithm>
#include <cmath>
#include <cstdlib>

static constexpr float kOrdinaryDpi = 96.0f;
static constexpr float kLargestScale = 4.0f;

/// @return dots per inch as the desktop has set them; 0 where it has not
static float DesktopDpi(SDL_Window* window)
{
    SDL_SysWMinfo info = {};
    SDL_VERSION(&info.version);
    if (SDL_GetWindowWMInfo(window, &info) == SDL_FALSE || info.subsystem != SDL_SYSWM_X11)
    {
        return 0.0f;
    }
    const char* text = XGetDefault(info.info.x11.display, "Xft", "dpi");
    return text == nullptr ? 0.0f : strtof(text, nullptr);
}

float FindDesktopScale(SDL_Window* window)
{
    const char* variable = getenv("GDK_SCALE");
    float scale = variable == nullptr ? 0.0f : strtof(variable, nullptr);
    if (!(scale >= 1.0f))
    {
        float dpi = DesktopDpi(window);
        if (!(dpi > 0.0f) && SDL_GetDisplayDPI(0, nullptr, &dpi, nullptr) != 0)
        {
            dpi = kOrdinaryDpi;
        }
        scale = dpi / kOrdinaryDpi;
    }
    return std::clamp(std::floor(scale * 4.0f) / 4.0f, 1.0f, kLargestScale);
}
