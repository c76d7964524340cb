// SPDX-License-Identifier: MIT

// The window that the piece is shown in: its mode, what its OpenGL offers, and the state that
// everything drawn builds on.
#pragma once

#include <cstdint>

#include "engine/data/fault.h"
#include "engine/data/gl_features.h"
#include "engine/render/piece_run.h"
#include "player/launcher.h"

/// The window of the piece, and what drawing is told of it.
struct View
{
    int32_t width;  // pixels of the window
    int32_t height; // pixels of the window
    float aspect;   // of the picture; the viewer's choice, and not width / height
};

/// The view of a choice. Its indices are in range.
View ChosenView(const LauncherChoice* choice);

/// Opens the window in place of the launcher's, prints what its OpenGL offers, shows it black and
/// sets the state that is never restored (SetBaselineState). Starts SDL's audio, if music is on,
/// and its timer.
/// Relies on: SDL's video started.
/// @param forcePbo   pixel buffer objects even below OpenGL 2.1
/// @param features   receives what OpenGL offers and the viewer wants
/// @return false after a fault: SDL can't open the window
bool OpenDisplay(const LauncherChoice* choice, const View* view, bool forcePbo,
                 GlFeatures* features, FaultList* faults);

/// Draws a document of a piece at a time in ticks. Buffers are neither swapped nor cleared.
/// @return the number of scenes drawn; 0 is the end of the document's timeline, or a fault
uint32_t DrawDocument(PieceRun* run, RunDocument document, const View* view, uint32_t time);

/// Swaps buffers, then clears color and depth for the next frame.
void ShowFrame();
