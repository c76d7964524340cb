// The window that the piece is shown in: its mode, what its OpenGL offers, and the state that
// everything drawn builds on.
#pragma once

#include <cstdint>

#include "engine/data/demo_document.h"
#include "engine/data/gl_features.h"
#include "player/launcher.h"

/// What the viewer looks at, and what drawing is told of it.
struct View
{
    int32_t width;  // pixels of the window
    int32_t height; // pixels of the window
    float aspect;   // of the picture; the viewer's choice, and not width / height
};

/// The view of a choice. Its indices are in range.
View ChosenView(const LauncherChoice* choice);

/// Opens the window in place of the launcher's, prints what its OpenGL offers, shows it black and
/// sets the baseline state. Starts SDL's audio, if music is on, and its timer.
/// Relies on: SDL's video started. Sets: what SetBaselineState does.
/// @param forcePbo   pixel buffer objects even below OpenGL 2.1
/// Ends the program through FatalError if SDL can't open the window.
GlFeatures OpenDisplay(const LauncherChoice* choice, const View* view, bool forcePbo);

/// Draws a document at a time in ticks. Buffers are neither swapped nor cleared.
/// @return the number of scenes drawn; 0 is the end of the document's timeline
uint32_t DrawDocument(const DemoDocument* document, const View* view, GlFeatures features,
                      uint32_t time);

/// Swaps buffers, then clears colour and depth for what is drawn next.
void ShowFrame();
