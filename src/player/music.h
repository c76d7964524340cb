// SPDX-License-Identifier: MIT

// The music: a tracker module, rendered block by block in SDL's audio callback.
//
// The module is a plain file beside the package, an Extended Module (XM). It is loaded whole and
// plays once; after its end the device gets silence, which the clock counts on. A file that is no
// Extended Module, or no regular file, plays as silence from the start.
#pragma once

#include "engine/data/demo_document.h"
#include "player/launcher.h"

enum class MusicResult
{
    kStarted,  // a clock runs
    kNoDevice, // the sound device doesn't open: after "Couldn't open audio: %s" on standard error.
               // There is no way on without it: the silent clock is for pieces without music.
    kFailed,   // after a fault
};

/// Starts the clock of the piece, with music if there is any: the silent clock runs if the choice's
/// music is off, if the node has no "file", and if that file opens neither by its own path nor
/// below "music/" (after "Error: cannot open %s!" on standard output, the name in plain text). The
/// module and its file stay to the end of the run.
/// @param document   its music node is looked at only if music is on, and then it must be an
///                   element
/// @param choice     its music becomes kSwitchOff if no music plays
MusicResult StartMusic(const DemoDocument* document, LauncherChoice* choice, FaultList* faults);
