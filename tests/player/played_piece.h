// SPDX-License-Identifier: MIT

// Whole runs of the program, for tests: RunDemo in a child process and a folder of its own, with
// stand-ins for the launcher, for the drawing of frames, and for OpenGL, SDL and libmodplug, all in
// one record.
//
// The launcher's stand-in writes "RunLauncher" and the title. A frame's stand-in writes
//
//   RenderFrame demo.xmlz scene 8 time 42 1024x768 aspect 1.3333334 vbo 1 pbo 1 npot 1 dot3 1
//
// with the document that is drawn and the scene of its first clip, and after that " no tables" if
// all nine tables are null, or what else is wrong.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "player/launcher.h"
#include "support/child_run.h"
#include "support/package_builder.h"
#include "support/recorded_gl.h"
#include "support/recorded_modplug.h"
#include "support/recorded_sdl.h"
#include "support/temporary_folder.h"

/// A clip that fills ticks 0 to 100 with a scene.
std::string Clip(uint32_t scene);

/// The documents that a run plays unless a test says otherwise: a row with one clip each, of scene
/// 7 in loading.xmlz and scene 8 in demo.xmlz; the demo's music is "a.xm".
DocumentSource LoadingSource();
DocumentSource DemoSource();

/// @return a package of both documents
std::string PieceOf(const DocumentSource& loading, const DocumentSource& demo);

struct PlayScript
{
    std::vector<std::string> arguments; // argv from 1 on
    LauncherChoice choice = kStartChoice;
    bool launcherQuits = false;
    int launcherExitCode = 0;
    GlExtensions gl = {true, true, true, true, true};
    SdlScript sdl = {};
    ModPlugScript modplug = {};
    uint32_t demoFrames = 0;  // frames of the demo that draw something
    std::string faultyFrames; // a document of which every frame ends in a fault
};

/// Runs the program in `folder`.
ChildRun Play(const TemporaryFolder& folder, const PlayScript& script);

/// Runs the program in a folder with "piece.dpk", of the usual documents, and the module "a.xm"
/// that holds "module".
ChildRun PlayUsualPiece(const PlayScript& script);

/// @return the record's lines that begin with one of these, in order
std::string LinesWith(const std::string& record, const std::vector<std::string>& beginnings);
