// SPDX-License-Identifier: MIT

// A module's sound and rows, made by a process of their own: libmodplug keeps settings and sound
// from module to module, and only the first of a process sounds as in the player.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "studio/build/child.h"

/// A row of the module.
struct TrackRow
{
    uint32_t tick; // of the piece, the first that lies in it
    int32_t order;
    int32_t row;
};

struct Track
{
    std::shared_ptr<const std::vector<int16_t>> samples; // [frames][2]; null for silence
    std::vector<TrackRow> rows;                          // in the order in which they play
};

/// @return the row that plays at a tick, as its place in the track; -1 before the first
int32_t FindTrackRow(const Track& track, uint32_t tick);

/// The child's whole work: plays the module and writes sound and rows to standard output.
/// @param path   of the module
/// @return exit code of the process
int RunMusician(const std::string& path);

/// Starts the process.
bool StartMusician(const std::string& path, Child* child);

enum class MusicianStep : uint8_t
{
    kWorks,
    kDone,   // the track is there, and the child is gone
    kFailed, // the child is gone
};

/// Looks after the process.
/// @param track   receives the track when it is done
/// @param fault   receives why it failed
MusicianStep PollMusician(Child* child, Track* track, std::string* fault);
