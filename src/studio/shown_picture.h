// SPDX-License-Identifier: MIT

// The picture of the transport's tick. One that needs long, because what was drawn before it shows
// in it, is sought a part a round, and the window answers in between.
#pragma once

#include <cstdint>
#include <string>

struct Studio;

enum class ShowStep : uint8_t
{
    kNothing, // it is shown already, or more of the past has to be played
    kNew,
    kFailed,
};

/// Draws the picture of the tick if it is not the one that is shown, or the next part of it.
/// Leaves: the window used.
ShowStep ShowPicture(Studio* studio);

/// Stops what is sought: the transport goes back to the picture that is shown, and stands there.
/// @return false if nothing is
bool CancelSeek(Studio* studio);

/// @return how much of the past is played, where that takes long; else empty
std::string SoughtText(const Studio* studio);
