// SPDX-License-Identifier: MIT

// The commands of the keys. The table is the list that F1 shows.
#pragma once

#include <cstdint>
#include <span>

enum class Command : uint8_t
{
    kPlayPause,
    kBackShort,
    kOnShort,
    kBackLong,
    kOnLong,
    kBackTick,
    kOnTick,
    kBackPicture,
    kOnPicture,
    kBackRow,
    kOnRow,
    kBackBeat,
    kOnBeat,
    kToStart,
    kToEnd,
    kJump,
    kPreviousPiece,
    kNextPiece,
    kSlower,
    kFaster,
    kNormalSpeed,
    kRangeBegin,
    kRangeEnd,
    kRangeOff,
    kMute,
    kQuieter,
    kLouder,
    kFullscreen,
    kPicture,
    kPanels,
    kInside,
    kCost,
    kTimeline,
    kTransport,
    kChanges,
    kFaults,
    kReachPanels,
    kFly,
    kCopyView,
    kUndo,
    kRedo,
    kKeys,
    kOpenFinding,
    kNextFinding,
    kLeave,
    kQuit,
};

/// Panels that can be hidden, as bits.
enum Panel : uint32_t
{
    kInsidePanel = 1,
    kCostPanel = 2,
    kTimelinePanel = 4,
    kTransportPanel = 8,
    kChangesPanel = 16,
    kFaultsPanel = 32,
};

/// The panels that are shown at first.
inline constexpr uint32_t kFirstPanels =
    kInsidePanel | kTimelinePanel | kTransportPanel | kChangesPanel | kFaultsPanel;

/// With which a key counts.
enum KeyModifier : uint8_t
{
    kNoModifier = 0,
    kShift = 1,
    kControl = 2,
};

struct KeyRow
{
    const char* key;   // by SDL's name
    uint8_t modifiers; // all that are held
    Command command;
    bool inViewer; // counts with --play too
    bool repeats;  // while it is held
    const char* text;
};

/// In the order in which F1 shows them.
std::span<const KeyRow> KeyTable();
