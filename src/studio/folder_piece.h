// SPDX-License-Identifier: MIT

// A piece that is a folder of sources: built beside the picture, and again whenever it is saved.
#pragma once

#include "studio/build/builder.h"
#include "studio/build/watcher.h"

struct Studio;

/// The check of a package that may be loaded before it has come to an end.
enum class BuildVerdict : uint8_t
{
    kGood, // also of what needs no check
    kBad,
    kOpen,
};

struct FolderPiece
{
    Watcher watcher;
    Builder builder;
    FolderMarks before;                 // when the last build began
    FolderMarks after;                  // when it had ended
    FolderContents contents;            // of the files in `before`
    WrittenFiles written;               // by the author's program
    bool mustBuild;                     // whatever the marks say
    bool mustCompare;                   // something has happened in the folder
    uint32_t eventMs;                   // when, the last time
    uint32_t savedMs;                   // when it happened that is being built or loaded
    bool isTimed;                       // the next picture is the one that a save was for
    std::vector<uint8_t> waiting;       // a package that is loaded as soon as the loader is free
    FolderContents waitingContents;     // of the sources that it was built from
    FolderContents loadContents;        // the same of the one that is being loaded, or was last
    FolderContents playedContents;      // the same of the one that plays
    BuildVerdict waitingVerdict;        // of it
    BuildVerdict loadVerdict;           // of the one that is being loaded, or was last
    bool hasFailed;                     // the last build, or the folder is gone
    bool isSame;                        // the build's package is that of the piece that plays
    uint32_t scriptUs, packUs, checkUs; // of the last good build
    uint32_t made;                      // entries that it made anew
    uint32_t builds;                    // that came to an end
    uint32_t reloadMs;                  // from the last save to its picture
    uint32_t reloads;                   // saves whose picture was shown
};

/// Begins with a folder, and builds it.
void OpenFolder(Studio* studio, const std::string& folder);
void CloseFolder(Studio* studio);

/// Looks after the folder: what was saved is built, and what was built is loaded.
void PollFolder(Studio* studio);

/// Whether a source is still the file that the piece was built from that plays, so that what is
/// known of its lines holds. Files outside the folder count as such.
bool IsAsPlayed(const FolderPiece* folder, const std::string& path);

/// The studio has changed a source without moving its lines.
void NoteWritten(FolderPiece* folder, const std::string& path);

/// The window shows a new picture.
void NoteShown(Studio* studio);

/// Opens the author's editor at a line.
void OpenSource(Studio* studio, const std::string& path, int32_t line);

/// Opens the author's editor at the finding that is selected.
void OpenFinding(Studio* studio);
