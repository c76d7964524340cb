// SPDX-License-Identifier: MIT

// OpenGL without a window, through EGL: pictures are drawn into memory, read back and shown to
// nobody. Neither an X server nor any other screen is needed, and DISPLAY is not looked at.
//
// Mesa is asked first, which needs no device, then each device that EGL knows, in its order. The
// context is of the compatibility profile. Its buffers are 8 bits of red, green, blue and alpha
// each and at least 24 of depth, as the player asks for with antialiasing.
//
// Several displays may be open. OpenGL calls go to the one that was made current last, on the
// thread that did it.
#pragma once

#include <cstdint>

#include "engine/data/fault.h"
#include "engine/data/gl_features.h"

/// Wishes for a display.
struct EglDisplayRequest
{
    int32_t width;   // pixels, from 1 to what the driver can do
    int32_t height;  // pixels, the same
    int32_t samples; // of each pixel at least; 0 for no antialiasing
    /// As GLX chooses the player's window: of the greatest depth, and without alpha where it has no
    /// samples. Drivers compile anew for another kind of picture.
    bool isLikeWindow = false;
};

/// An open display; all zero when it is closed.
struct EglDisplay
{
    void* connection; // EGL's display; borrowed, it stays with the process
    void* surface;    // EGL's surface, owned
    void* context;    // EGL's context, owned
    int32_t width;    // pixels
    int32_t height;   // pixels
    int32_t samples;  // of each pixel; 0 without antialiasing
    GlFeatures features;
};

/// Opens a display, makes it current, clears it to black and sets the baseline state.
/// @param display   all zero; stays so when the display can't be opened
/// @return false after a fault: there is no driver, or none that can do the size and the samples
bool OpenEglDisplay(const EglDisplayRequest* request, EglDisplay* display, FaultList* faults);

/// Sends the calls of this thread to an open display.
/// @return false after a fault: the driver refuses
bool MakeEglDisplayCurrent(const EglDisplay* display, FaultList* faults);

/// Reads the picture of the display, which is current.
/// @param rgb   receives [height][width][3] bytes, the upper row first, no padding
/// Relies on: no pixel pack buffer bound, the scissor test off. Sets: GL_PACK_ALIGNMENT 1.
void ReadEglPicture(const EglDisplay* display, uint8_t* rgb);

/// Closes a display with all OpenGL names in it. If it was current, no OpenGL is current now. A
/// closed display may be closed again.
void CloseEglDisplay(EglDisplay* display);
