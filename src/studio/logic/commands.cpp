// SPDX-License-Identifier: MIT
#include "studio/logic/commands.h"

static constexpr KeyRow kKeys[] = {
    {"Space", kNoModifier, Command::kPlayPause, true, "play, pause"},
    {"Left", kNoModifier, Command::kBackShort, true, "5 seconds back"},
    {"Right", kNoModifier, Command::kOnShort, true, "5 seconds on"},
    {"Down", kNoModifier, Command::kBackLong, true, "a minute back"},
    {"Up", kNoModifier, Command::kOnLong, true, "a minute on"},
    {"Left", kShift, Command::kBackTick, true, "a tick back, pausing"},
    {"Right", kShift, Command::kOnTick, true, "a tick on, pausing"},
    {",", kNoModifier, Command::kBackPicture, true, "a picture back, pausing"},
    {".", kNoModifier, Command::kOnPicture, true, "a picture on, pausing"},
    {"PageUp", kNoModifier, Command::kBackRow, true, "a row of the module back"},
    {"PageDown", kNoModifier, Command::kOnRow, true, "a row of the module on"},
    {"PageUp", kControl, Command::kBackBeat, true, "four rows back"},
    {"PageDown", kControl, Command::kOnBeat, true, "four rows on"},
    {"Home", kNoModifier, Command::kToStart, true, "to the start"},
    {"End", kNoModifier, Command::kToEnd, true, "to the end"},
    {"[", kNoModifier, Command::kSlower, true, "half the speed"},
    {"]", kNoModifier, Command::kFaster, true, "twice the speed"},
    {"Backspace", kNoModifier, Command::kNormalSpeed, true, "normal speed"},
    {"I", kNoModifier, Command::kRangeBegin, true, "the range to repeat begins here"},
    {"O", kNoModifier, Command::kRangeEnd, true, "the range to repeat ends here"},
    {"L", kNoModifier, Command::kRangeOff, true, "repeat the range, or not"},
    {"M", kNoModifier, Command::kMute, true, "mute, or not"},
    {"9", kNoModifier, Command::kQuieter, true, "quieter"},
    {"0", kNoModifier, Command::kLouder, true, "louder"},
    {"F", kNoModifier, Command::kFullscreen, true, "full screen, or not"},
    {"S", kNoModifier, Command::kPicture, true, "keep the picture as a PNG file"},
    {"Tab", kNoModifier, Command::kPanels, false, "show the panels, or the picture alone"},
    {"F2", kNoModifier, Command::kInside, false, "look inside: all that is drawn, as a tree"},
    {"F3", kNoModifier, Command::kCost, false, "what pictures cost"},
    {"C", kNoModifier, Command::kFly, false,
     "fly with W A S D Q E and the mouse, or go back to the author's camera"},
    {"C", kControl, Command::kCopyView, false, "copy the view that was flown to as a camera"},
    {"Z", kControl, Command::kUndo, false, "undo the last change of a value"},
    {"Z", kControl | kShift, Command::kRedo, false, "do it again"},
    {"F8", kNoModifier, Command::kNextFinding, false, "the next mistake of the list"},
    {"Return", kNoModifier, Command::kOpenFinding, false, "open the editor at the mistake"},
    {"F1", kNoModifier, Command::kKeys, true, "this list"},
    {"Escape", kNoModifier, Command::kLeave, true, "leave full screen; with --play quit"},
    {"Q", kControl, Command::kQuit, true, "quit"},
};

std::span<const KeyRow> KeyTable()
{
    return kKeys;
}
