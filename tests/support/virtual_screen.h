// SPDX-License-Identifier: MIT

// An X server of a test's own, with a screen that nobody sees: what the real program shows on it
// can be looked at, keys pressed and the pointer moved.
#pragma once

#include <cstdint>
#include <string>
#include <sys/types.h>

#include "support/picture.h"

/// Xvfb, started by the constructor and ended by the destructor. A server that does not start ends
/// the test program.
struct VirtualScreen
{
    VirtualScreen(int32_t width, int32_t height);
    ~VirtualScreen();
    VirtualScreen(const VirtualScreen&) = delete;
    VirtualScreen& operator=(const VirtualScreen&) = delete;

    std::string name; // for DISPLAY, such as ":3"
    pid_t server;
    void* connection; // Xlib's Display
};

/// @return what the screen shows
Picture CaptureScreen(const VirtualScreen& screen);

/// Presses a key, by its X name, until ReleaseKey.
void PressKey(const VirtualScreen& screen, const std::string& key);
void ReleaseKey(const VirtualScreen& screen, const std::string& key);

/// Puts the pointer on a pixel of the screen.
void MovePointer(const VirtualScreen& screen, int32_t x, int32_t y);

/// Presses the pointer's left button, until ReleaseButton.
void PressButton(const VirtualScreen& screen);
void ReleaseButton(const VirtualScreen& screen);

/// Where a window lies on the screen; all 0 if there is none.
struct WindowPlace
{
    int32_t left; // pixels
    int32_t top;
    int32_t width;
    int32_t height;
};

/// @return the place of the window with this title that is shown
WindowPlace FindWindowPlace(const VirtualScreen& screen, const std::string& title);

/// Asks the window with this title to close, as its close button does.
/// @return false if there is none
bool CloseWindow(const VirtualScreen& screen, const std::string& title);

/// @return a part of a picture; black where that lies outside
Picture CutPicture(const Picture& picture, const WindowPlace& part);
