// SPDX-License-Identifier: MIT

// The check of a whole piece: everything that is wrong with its package and its two documents, in
// one go, without a window, OpenGL or sound.
//
// A finding is an error exactly where a player that plays each tick from the first to the last ends
// with a fault, or can't open the piece. The documents are read by the player's own readers, which
// go on after each fault here, and frames are walked through without drawing.
#pragma once

#include <cstddef>
#include <string>

#include "engine/check/finding.h"

/// One check: a package, and how its findings are named.
struct CheckRequest
{
    const char* path;           // of the package; null where it is in memory
    const unsigned char* bytes; // the package, borrowed; null with a path
    size_t size;                // of bytes
    const char* musicFolder;    // where modules are looked for, with music/ below; null for nowhere
};

struct CheckResult
{
    FindingList findings;    // in the order of the documents
    uint32_t endTick;        // ends the demo: the first tick without a scene; 0 where none plays
    std::string loadingText; // of the documents; empty where they can't be read
    std::string demoText;
};

/// Checks a piece. Relies on nothing that is built at the start of a program.
void CheckPiece(const CheckRequest* request, CheckResult* result);
