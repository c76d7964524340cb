// SPDX-License-Identifier: MIT

// A piece drawn at chosen moments, without a window: the engine's own loading and drawing on
// OpenGL in memory, and no clock.
#pragma once

#include <cstdint>
#include <string>

#include "engine/render/piece_run.h"
#include "engine/stage/egl_display.h"
#include "support/picture.h"

struct DrawnPiece
{
    PieceRun run;
    FaultList faults;
    EglDisplay display;
};

/// Opens a display and loads the piece, as the player does with everything on but music.
/// @param package         path; a package that can't be played ends the program
/// @param width, height   pixels of the picture; its aspect is 4:3, and it has the player's
///                        antialiasing
void OpenDrawnPiece(const std::string& package, int32_t width, int32_t height, DrawnPiece* piece);

void CloseDrawnPiece(DrawnPiece* piece);

/// Draws a moment on a cleared screen. A fault ends the program.
/// @param time      ticks; of the loading document, 0 to 100
/// @param picture   receives what was drawn
/// @return the number of scenes drawn
uint32_t DrawMoment(DrawnPiece* piece, RunDocument document, uint32_t time, Picture* picture);
