// SPDX-License-Identifier: MIT

// The studio as one record: window, piece, transport, sound and what the panels show.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "studio/build/child.h"
#include "studio/build/musician.h"
#include "studio/control_socket.h"
#include "studio/cost.h"
#include "studio/fly.h"
#include "studio/folder_piece.h"
#include "studio/loader.h"
#include "studio/logic/commands.h"
#include "studio/logic/finding_lines.h"
#include "studio/logic/options.h"
#include "studio/logic/picture_seek.h"
#include "studio/logic/settings.h"
#include "studio/logic/timeline_view.h"
#include "studio/logic/transport.h"
#include "studio/look.h"
#include "studio/sound.h"
#include "studio/try_values.h"
#include "studio/window.h"

/// A part of the window, in pixels from its left upper corner, told to whoever asks.
struct PanelRect
{
    float left, top, width, height;
};

/// Must stay where it is: threads and the sound device point into it.
struct Studio
{
    StudioOptions options;
    StudioSettings settings;
    StudioSettings firstSettings; // that the run began with
    StudioWindow window;
    Loader loader;
    int32_t active;   // place in window.slots of the piece that plays; -1 for none
    int32_t replaced; // the same of the one before, to be closed; -1 for none
    Transport transport;

    std::string piecePath;             // as it was named
    std::string modulePath;            // of the piece; empty for none
    uint32_t pieceIndex;               // in options.pieces, with --play
    uint32_t failures;                 // pieces in a row that could not be opened
    std::string loadedPath;            // of the piece that plays
    uint32_t loadUs, seekUs;           // of the last piece that was loaded
    uint32_t made, kept;               // items of it that were made anew, and those kept
    uint32_t loads;                    // pieces that took over
    std::vector<FindingLine> findings; // of the last build, loading or playing
    size_t selectedFinding;            // place in findings
    FolderPiece folder;                // without a folder where the piece is a package

    StudioSound sound;
    uint32_t soundStretch; // that the sound plays
    uint32_t soundMs;      // position of the sound when the transport was moved last
    Child musician;
    FileContent musicianModule; // the module then
    std::string musicianPath;   // module that is being played, or was last
    Track track;

    std::vector<ClipBar> bars;         // of the piece that plays
    std::vector<std::string> barNames; // the same
    int32_t chosenBar;                 // place in bars that was clicked; -1 for none
    RowMask rowMask;                   // of the pieces of a folder, one after the other
    TimelineView timelineView;         // without a scale until it is drawn
    std::vector<uint8_t> peaks;        // of the module, for each tick

    Look look;
    Flight flight;
    TriedValues tried;
    StudioCost cost;
    uint32_t panels; // a bit a Panel that is shown, of those that can be hidden

    uint32_t shownTick;
    bool hasPicture;        // of the piece that plays, in the window
    PictureSeek seek;       // of a picture that is not shown yet
    std::string soughtText; // of what is sought for long
    bool mustShow;          // whatever the tick
    bool isDrawn;     // the loader has drawn the picture of its tick, and nothing was drawn since
    uint64_t frames;  // pictures of the piece drawn
    uint64_t redraws; // of the window
    bool isWaiting;   // to play, until piece and sound are there

    bool showsPanels;
    bool showsKeys;
    bool reachesPanels;  // keys go to the panels
    std::string message; // over the picture
    uint32_t messageMs;  // when it came
    float scale;         // of the user interface
    std::map<std::string, PanelRect> rects;

    char newFolder[256]; // of the start page
    bool isJumping;      // a moment is typed into the transport
    bool startsJump;     // the field for it gets the keys in the next frame
    char jumpText[32];

    ControlSocket control;
    bool quits;
    int exitCode;
};

/// @return the demo of the piece that plays, lent; there is one where studio->active is 0 or more
DemoDocument* PlayedDocument(const Studio* studio);

/// @return what the clip that was clicked shows at this tick; none if no clip was
std::vector<std::string> ChosenClipLines(const Studio* studio);

/// Runs the program until it is quit.
/// @return its exit code
int RunStudio(const StudioOptions& options);

/// Does what a key or a button stands for.
void RunCommand(Studio* studio, Command command);

/// Goes to the moment that was typed, or tells why there is none.
/// @return whether it went there
bool JumpToTyped(Studio* studio);

/// Opens another piece. The one that plays goes on until it is there.
void OpenPiecePath(Studio* studio, const std::string& path);

/// Makes a piece in the folder of the start page, and opens it.
void MakeNewPiece(Studio* studio);

/// @return the package of the sample piece; empty if it is not there
std::string SamplePath();

/// Loads a package that was built, at the tick that is shown.
void LoadPackageBytes(Studio* studio, std::vector<uint8_t>&& package);

/// Draws the rows that are looked at, from now on.
void ApplyRows(Studio* studio);

/// Puts faults into the list of findings, and prints them.
void TellFaults(Studio* studio, const std::vector<std::string>& faults);

/// Shows a line over the picture for a while.
void ShowMessage(Studio* studio, const std::string& message);

/// @return milliseconds, as SDL counts them
uint32_t NowMs();
