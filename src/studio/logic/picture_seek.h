// SPDX-License-Identifier: MIT

// A picture that is sought over several rounds of the window, because what was drawn before shows
// in it. While it is sought for long, playing waits for it.
#pragma once

#include <cstdint>
#include <string>

struct Transport;

/// So long nothing is said of a seek, and nothing waits for it: most have ended by then.
inline constexpr uint32_t kQuietSeekMs = 250;

/// How much of the past is played. All zero before the first part.
struct PastPlayed
{
    bool isDrawing;  // else it is simulated alone, which comes first
    uint32_t frames; // the most that were left to play
    uint32_t left;   // of them
};

struct PictureSeek
{
    bool isOn;        // a picture is sought that is not shown yet
    uint32_t tick;    // of it
    uint32_t jumps;   // of the transport when it was begun
    uint32_t beganMs; // since when no picture was shown that was sought
    PastPlayed past;
};

/// @return the tick whose picture is to be shown. While playing it stays until it is shown, for
///         else a slow picture would be given up for the next one again and again; a jump takes
///         another at once.
uint32_t TickToShow(const PictureSeek* seek, const Transport* transport);

/// Begins to seek, or goes on with the next part. Holds the transport where it takes long.
void BeginSeekPart(uint32_t tick, uint32_t nowMs, PictureSeek* seek, Transport* transport);

/// A part was left with some frames to go.
/// @param isDrawing   they are drawn, and not only simulated
void NotePast(bool isDrawing, uint32_t left, PastPlayed* past);

/// The picture is there, or is not sought any more: playing goes on.
void EndSeek(uint32_t nowMs, PictureSeek* seek, Transport* transport);

/// @return "playing the past, 40 %"
std::string PastText(const PastPlayed& past);
