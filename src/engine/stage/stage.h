// SPDX-License-Identifier: MIT

// A piece on an OpenGL that shows any of its moments: forwards, backwards, in any order.
//
// **The picture at tick t of a run with stride s** is what a run shows at the last multiple of s
// that is not above t. The run starts when both documents are loaded, without any picture of the
// loading screen, and draws the demo at ticks 0, s, 2s and so on, each on a cleared picture of
// black. It goes on where a frame shows nothing, as it does in a pause of row 0 and after the end,
// until it meets a fault.
//
// SeekPiece gives that picture byte for byte. It costs little beside the run: what is simulated is
// run without being drawn, from moments that are kept; the state that OpenGL would have is written
// down instead; and of the frames before, only those are drawn whose pictures show in a target.
//
// A stage draws on the OpenGL that is current. Several stages can take turns on one.
#pragma once

#include <cstddef>
#include <cstdint>

#include "engine/data/gl_features.h"
#include "engine/piece/piece.h"
#include "engine/render/piece_run.h"
#include "engine/stage/moments.h"
#include "engine/stage/target_history.h"

/// How a piece is looked at.
struct StageView
{
    int32_t width;  // pixels of the surface that is drawn to
    int32_t height; // pixels
    float aspect;   // width by height of the picture as the viewer sees it
    GlFeatures features;
};

/// The picture of a seek, and the work that it took.
struct SeekResult
{
    uint32_t tick;           // that is shown: a multiple of the stride
    uint32_t sceneCount;     // scenes drawn; 0 where a player would end
    uint32_t drawnFrames;    // this one and those before it whose pictures it shows
    uint32_t firstDrawnTick; // of them
    uint32_t skippedFrames;  // run without being drawn
};

/// One document of a stage.
struct StageDocument
{
    GlContext gl;
    GlShadow shadow;
    uint32_t* pictures; // [bitmap's id - 1], owned: the step whose picture the bitmap holds in
                        // OpenGL, kLoadedPicture or kForeignPicture
};

/// For OpenStage. A stage must stay where it was opened: parts of it point at others.
struct Stage
{
    PieceRun run;
    StageView view;
    StageDocument loading;
    StageDocument demo;
    ShadowState loadingStart; // of the loading screen
    Moments moments;          // of the demo, as the next four
    Moment here;              // a moment between those
    bool hasHere;
    TargetHistory history;
    uint32_t stride;   // of the run that all of these are of; 0 before the first seek
    uint32_t position; // the step that the state is at, or none
    SeekResult result; // of the last seek
};

/// Loads a piece. OpenGL is as OpenEglDisplay or SetBaselineState leaves it, or another stage has
/// drawn on it. Relies on CosTable and CornerMasks.
/// @param source   its computePixels is not looked at
/// @param stage    for CloseStage whatever comes back
/// @param faults   without errors, here and in all routines below
/// @return false after a fault. A document that the package lacks is none: it shows nothing.
bool OpenStage(const PieceSource* source, const StageView* view, Stage* stage, FaultList* faults);

/// Readers of a program's own, as PieceRun has them.
struct StageReaders
{
    const SectionReader* rows; // borrowed while the piece is loaded
    void* user;                // the same
};

/// OpenStage with readers that make the same records as the engine's. One thread calls them.
bool OpenStageWith(const PieceSource* source, const StageView* view, const StageReaders* readers,
                   Stage* stage, FaultList* faults);

/// Shows the picture at a tick of a run with a stride. It stands in the back buffer then.
/// @param stride   ticks from frame to frame; another one than before begins a new run
/// @return false after a fault: one that the run meets up to there, a stride of 0, no memory. Later
///         seeks to ticks before it work.
bool SeekPiece(Stage* stage, uint32_t tick, uint32_t stride, FaultList* faults);

/// How far a seek is.
struct SeekProgress
{
    bool isDrawing;  // frames are drawn whose pictures show in the one sought; before, all are
                     // simulated alone
    uint32_t done;   // frames drawn, or simulated, since it began or was taken up again
    uint32_t frames; // all of them from there
};

/// Asked between the frames of a seek whether it goes on.
struct SeekPatience
{
    bool (*goesOn)(const SeekProgress& progress, void* user);
    void* user;
};

enum class SeekEnd : uint8_t
{
    kShown,
    kFailed, // after a fault
    kLeft,   // there was no patience any more
};

/// SeekPiece in parts. A seek that was left is taken up again by the same call; any other seek may
/// follow as well, and each gives its picture byte for byte. Each part runs a frame at least.
/// While a seek is left, the back buffer holds no picture, and targets hold those of earlier
/// frames.
/// @param patience   not asked after the last frame
SeekEnd SeekPieceInParts(Stage* stage, uint32_t tick, uint32_t stride, const SeekPatience* patience,
                         FaultList* faults);

/// Shows the loading screen at a time of its timeline, 0 to 100, as the first picture that is drawn
/// of the piece.
/// @return false after a fault
bool ShowLoadingScreen(Stage* stage, uint32_t time, FaultList* faults);

/// Writes what a run's pictures remember of pictures before them:
///   no memory
///   memory of bitmap 3 from tick 400 on, of bitmap 5 from tick 812 on
/// Bitmaps stand in the order of their ids, each with the first tick that shows it as an earlier
/// frame drew it. Runs the piece to its end without drawing.
/// @param text   receives size bytes at most, the zero at the end included
/// @return false after a fault, as of SeekPiece
bool DescribeMemory(Stage* stage, uint32_t stride, char* text, size_t size, FaultList* faults);

/// Gives everything back, OpenGL names too: the OpenGL that it was opened on must be current. The
/// stage is then all zero, and may be closed again.
void CloseStage(Stage* stage);
