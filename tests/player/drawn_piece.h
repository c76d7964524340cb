// A piece drawn at chosen moments: the player's own display, loading and drawing, without its
// clock.
//
// There is one display a process. DISPLAY names the screen that the window opens on.
#pragma once

#include <cstdint>
#include <string>

#include "engine/data/demo_document.h"
#include "player/display.h"
#include "support/virtual_screen.h"

struct DrawnPiece
{
    FILE* package;
    TiXmlDocument loadingTree;
    TiXmlDocument demoTree;
    DemoDocument loading;
    DemoDocument demo;
    View view;
    GlFeatures features;
};

/// Opens the window and loads the piece, as the player does with everything on but music.
/// @param package           path; a package that can't be opened ends the program
/// @param resolutionIndex   a row of kResolutions; the aspect is 4:3
void OpenDrawnPiece(const std::string& package, int32_t resolutionIndex, DrawnPiece* piece);

/// Draws a moment on a cleared screen.
/// @param time   ticks; of the loading document, 0 to 100
/// @param picture   receives what was drawn
/// @return the number of scenes drawn
uint32_t DrawMoment(const DrawnPiece* piece, const DemoDocument* document, uint32_t time,
                    Picture* picture);
