// SPDX-License-Identifier: MIT

// A folder of sources made into a package by a process of its own, which keeps what it made: the
// next build makes anew what has changed alone. An author's program runs there, with limits.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "studio/build/child.h"

struct BuildOutcome
{
    bool isGood;       // nothing in it ends a player
    std::string text;  // all that the build has printed
    uint32_t scriptUs; // running the author's program
    uint32_t packUs;
    uint32_t checkUs;
    uint32_t made; // entries that were made anew
};

/// The limits of one build.
inline constexpr uint32_t kBuildSeconds = 20;                   // of the clock
inline constexpr size_t kMostBuildText = size_t{1} << 20;       // bytes that it may print
inline constexpr uint64_t kMostScriptBytes = uint64_t{2} << 30; // of memory, for the program

/// The child's whole work: builds the folder at each line "build" until its input ends.
/// @return exit code of the process
int RunBuilder(const std::string& folder);

/// All zero when there is no builder.
struct Builder
{
    Child child;
    std::string folder;
    bool isBuilding;
    uint32_t startedMs;           // of the build
    std::vector<uint8_t> package; // of the build, from when it is packed; for whoever moves it away
};

/// Begins a build. A builder that is gone is started anew.
/// @return an empty text, or why it can't be started
std::string StartBuild(const std::string& folder, uint32_t nowMs, Builder* builder);

/// Looks after the build, and stops one that breaks its limits. The package is there before the
/// build has come to an end: nobody knows then whether it is good.
/// @return whether the build has come to an end: outcome then tells which
bool PollBuild(Builder* builder, uint32_t nowMs, BuildOutcome* outcome);

/// Ends the builder with all that it started.
void EndBuilder(Builder* builder);
