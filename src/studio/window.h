// SPDX-License-Identifier: MIT

// The window, and the two places where pieces are drawn.
//
// Each piece is drawn on an OpenGL of its own, that of a hidden window as large as the picture: so
// it meets the state that it would meet in the player, and one piece can be loaded by another
// thread while the other plays. All of them share textures with the window that is seen, which
// shows the picture as one of its textures.
#pragma once

#include <SDL.h>
#include <cstdint>
#include <string>
#include <vector>

#include "engine/stage/stage.h"

/// Where a piece is drawn.
struct StageSlot
{
    SDL_Window* surface;          // hidden, of the picture's size; owned
    SDL_GLContext context;        // owned
    bool hasBaseline;             // SetBaselineState was called
    Stage* stage;                 // owned; null for none
    std::vector<uint8_t> package; // of the stage
};

inline constexpr uint32_t kStageSlots = 2;

/// Ticks from frame to frame of the run whose pictures are shown: every one.
inline constexpr uint32_t kStudioStride = 1;

struct StudioWindow
{
    SDL_Window* window;    // owned
    SDL_GLContext context; // of what is seen; owned
    StageSlot slots[kStageSlots];
    GlFeatures features;
    int32_t pictureWidth;  // pixels
    int32_t pictureHeight; // pixels
    uint32_t picture;      // OpenGL name of the texture that is shown, shared by all contexts
};

struct WindowRequest
{
    int32_t width, height; // of the picture, pixels
    int32_t windowWidth, windowHeight;
    bool isFullscreen;
};

/// Opens the window with black in it. SDL's video is started.
/// @return an empty text, or what is wrong; the window is then CloseStudioWindow's all the same
std::string OpenStudioWindow(const WindowRequest* request, StudioWindow* window);

/// Closes all. No thread may be loading.
void CloseStudioWindow(StudioWindow* window);

/// Sends the calls of this thread to the window that is seen.
void UseWindow(StudioWindow* window);

/// Sends the calls of this thread to a slot.
void UseSlot(StageSlot* slot);

/// Sends the calls of this thread nowhere.
void UseNothing();

/// Closes the stage of a slot, whose OpenGL is used then.
void CloseSlotStage(StageSlot* slot);

/// Draws the picture of a tick, or a part of what it takes, and keeps it in the texture that is
/// shown. Leaves: the window used.
/// @param slot   with a stage
/// @return unless it is shown, the texture keeps the picture before
SeekEnd ShowTick(StudioWindow* window, StageSlot* slot, uint32_t tick, const SeekPatience* patience,
                 FaultList* faults);

/// Keeps what the slot drew last in the texture that is shown. Leaves: the window used.
/// Relies on: the slot's stage has drawn a whole picture, and nothing since.
void ShowDrawn(StudioWindow* window, StageSlot* slot);

/// Reads the picture that is shown.
/// @return RGB, rows from the top
std::vector<uint8_t> ReadShownPicture(const StudioWindow* window);
