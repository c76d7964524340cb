// SPDX-License-Identifier: MIT
#include "support/launcher_pointer.h"

#include <cstdio>
#include <optional>

static const std::string kTitle = "Quorvale Engine v0.232";
static constexpr int32_t kLauncherWidth = 313;
static constexpr int32_t kLauncherHeight = 384;

// The middle of the start button, and a pixel of its face's upper edge, which is full green while
// it is up and nearly black while it is down.
static constexpr int32_t kStartX = 226;
static constexpr int32_t kStartY = 186;
static constexpr int32_t kEdgeX = 226;
static constexpr int32_t kEdgeY = 163;
static constexpr int kUpGreen = 255;
static constexpr int kDownGreen = 20;

/// A look at the mouse ends in a sleep; a redraw brings a few more.
static constexpr int64_t kSleeps = 12;

static WindowPlace FindLauncher(const VirtualScreen& screen)
{
    WindowPlace place = FindWindowPlace(screen, kTitle);
    bool isLauncher = place.width == kLauncherWidth && place.height == kLauncherHeight;
    return isLauncher ? place : WindowPlace{};
}

Picture CaptureLauncher(const VirtualScreen& screen)
{
    return CutPicture(CaptureScreen(screen), FindLauncher(screen));
}

/// Waits until the upper edge of the start button has a shade.
static bool WaitForEdge(const VirtualScreen& screen, int green)
{
    return WaitUntil(
        [&screen, green]()
        {
            Picture picture = CaptureLauncher(screen);
            return !picture.rgb.empty() && PixelAt(picture, kEdgeX, kEdgeY)[1] == green;
        });
}

bool WaitForLauncher(const VirtualScreen& screen)
{
    return WaitForEdge(screen, kUpGreen);
}

void PointAt(const VirtualScreen& screen, int32_t x, int32_t y)
{
    WindowPlace place = FindLauncher(screen);
    MovePointer(screen, place.left + x, place.top + y);
}

/// @return how often a process went to sleep so far; nothing if it is gone
static std::optional<int64_t> CountSleeps(pid_t pid)
{
    FILE* status = fopen(("/proc/" + std::to_string(pid) + "/status").c_str(), "r");
    if (status == nullptr)
    {
        return std::nullopt;
    }
    std::optional<int64_t> count;
    char line[256];
    while (fgets(line, sizeof(line), status) != nullptr)
    {
        long long number = 0;
        if (sscanf(line, "voluntary_ctxt_switches: %lld", &number) == 1)
        {
            count = number;
        }
    }
    fclose(status);
    return count;
}

bool WaitForLooks(const PlayerProcess& player)
{
    std::optional<int64_t> before = CountSleeps(player.pid);
    return before.has_value() && WaitUntil(
                                     [&player, before]()
                                     {
                                         std::optional<int64_t> now = CountSleeps(player.pid);
                                         return now.has_value() && *now >= *before + kSleeps;
                                     });
}

bool ClickAt(const VirtualScreen& screen, const PlayerProcess& player, int32_t x, int32_t y)
{
    Picture before = CaptureLauncher(screen);
    PointAt(screen, x, y);
    PressButton(screen);
    bool changed = WaitUntil([&]() { return CaptureLauncher(screen).rgb != before.rgb; });
    ReleaseButton(screen);
    // Nothing is shown of a release, and a press that follows too soon would hide it.
    return changed && WaitForLooks(player);
}

bool PressStart(const VirtualScreen& screen)
{
    PointAt(screen, kStartX, kStartY);
    PressButton(screen);
    return WaitForEdge(screen, kDownGreen);
}

bool ClickStart(const VirtualScreen& screen)
{
    bool pressed = WaitForLauncher(screen) && PressStart(screen);
    ReleaseButton(screen);
    return pressed;
}
