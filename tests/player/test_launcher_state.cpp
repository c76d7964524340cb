// SPDX-License-Identifier: MIT
#include "player/launcher_state.h"

#include <climits>
#include <cstdlib>
#include <gtest/gtest.h>

namespace
{

constexpr int32_t kLeftOfAll = -3;
constexpr int32_t kRightOfAll = 316;
constexpr int32_t kAboveAll = -3;
constexpr int32_t kBelowAll = 387;

struct TargetRows
{
    LauncherTarget target;
    int32_t index;
    int32_t left;
    int32_t right; // the last column that hits
    int32_t top;
    int32_t bottom; // the last row that hits
};

const TargetRows kTargets[] = {
    {LauncherTarget::kResolution, 0, 16, 125, 18, 36},
    {LauncherTarget::kResolution, 1, 16, 125, 37, 59},
    {LauncherTarget::kResolution, 2, 16, 125, 60, 83},
    {LauncherTarget::kResolution, 3, 16, 125, 84, 104},
    {LauncherTarget::kResolution, 4, 16, 125, 105, 127},
    {LauncherTarget::kResolution, 5, 16, 125, 128, 150},
    {LauncherTarget::kResolution, 6, 16, 125, 151, 172},
    {LauncherTarget::kResolution, 7, 16, 125, 173, 195},
    {LauncherTarget::kResolution, 8, 16, 125, 196, 217},
    {LauncherTarget::kResolution, 9, 16, 125, 218, 239},
    {LauncherTarget::kResolution, 10, 16, 125, 240, 262},
    {LauncherTarget::kResolution, 11, 16, 125, 263, 285},
    {LauncherTarget::kResolution, 12, 16, 125, 286, 307},
    {LauncherTarget::kResolution, 13, 16, 125, 308, 329},
    {LauncherTarget::kResolution, 14, 16, 125, 330, 353},
    {LauncherTarget::kResolution, 15, 16, 125, 354, 373},
    {LauncherTarget::kAspect, 0, 195, 252, 19, 38},
    {LauncherTarget::kAspect, 1, 195, 252, 39, 61},
    {LauncherTarget::kAspect, 2, 195, 252, 62, 84},
    {LauncherTarget::kStart, 0, 195, 252, 165, 206},
    {LauncherTarget::kSwitch, 0, 157, 169, 293, 305},
    {LauncherTarget::kSwitch, 1, 157, 169, 315, 325},
    {LauncherTarget::kSwitch, 2, 157, 169, 338, 349},
    {LauncherTarget::kSwitch, 3, 157, 169, 361, 372},
};

bool Holds(const TargetRows& rows, int32_t x, int32_t y)
{
    return rows.left <= x && x <= rows.right && rows.top <= y && y <= rows.bottom;
}

std::string Describe(LauncherHit hit)
{
    const char* const names[] = {"none", "resolution", "aspect", "start", "switch"};
    return names[static_cast<int>(hit.target)] + (" " + std::to_string(hit.index));
}

/// The launcher without a window: looks at the mouse, one after the other.
struct Looks
{
    LauncherState state = {kStartChoice, false, false, false};

    LauncherStep Down(int32_t x, int32_t y)
    {
        return StepLauncher(&state, x, y, true);
    }

    LauncherStep Up(int32_t x, int32_t y)
    {
        return StepLauncher(&state, x, y, false);
    }
};

constexpr LauncherStep kNothing = LauncherStep::kNothing;
constexpr LauncherStep kRedraw = LauncherStep::kRedraw;
constexpr LauncherStep kStart = LauncherStep::kStart;

bool operator==(const LauncherChoice& a, const LauncherChoice& b)
{
    return a.resolutionIndex == b.resolutionIndex && a.aspectIndex == b.aspectIndex &&
           a.fullscreen == b.fullscreen && a.antialiasing == b.antialiasing && a.music == b.music &&
           a.vbo == b.vbo;
}

/// Whether the pressed image is on screen.
bool ShowsPressed(const Looks& looks)
{
    return looks.state.armed && looks.state.wasOverStart;
}

} // namespace

TEST(LauncherHit, EveryPixelHitsWhatTheTableSays)
{
    for (int32_t y = kAboveAll; y <= kBelowAll; ++y)
    {
        for (int32_t x = kLeftOfAll; x <= kRightOfAll; ++x)
        {
            LauncherHit expected = {LauncherTarget::kNone, 0};
            for (const TargetRows& rows : kTargets)
            {
                if (Holds(rows, x, y))
                {
                    expected = {rows.target, rows.index};
                }
            }
            ASSERT_EQ(Describe(FindLauncherHit(x, y)), Describe(expected)) << x << ", " << y;
        }
    }
}

TEST(LauncherHit, RowsOfTheListsMeetWithoutAGap)
{
    EXPECT_EQ(Describe(FindLauncherHit(16, 36)), "resolution 0");
    EXPECT_EQ(Describe(FindLauncherHit(125, 37)), "resolution 1");
    EXPECT_EQ(Describe(FindLauncherHit(16, 353)), "resolution 14");
    EXPECT_EQ(Describe(FindLauncherHit(125, 354)), "resolution 15");
    EXPECT_EQ(Describe(FindLauncherHit(195, 38)), "aspect 0");
    EXPECT_EQ(Describe(FindLauncherHit(252, 39)), "aspect 1");
    EXPECT_EQ(Describe(FindLauncherHit(195, 61)), "aspect 1");
    EXPECT_EQ(Describe(FindLauncherHit(252, 62)), "aspect 2");
}

TEST(LauncherHit, TheResolutionColumnIsHitFromY18ToY373)
{
    EXPECT_EQ(Describe(FindLauncherHit(70, 17)), "none 0");
    EXPECT_EQ(Describe(FindLauncherHit(70, 18)), "resolution 0");
    EXPECT_EQ(Describe(FindLauncherHit(70, 373)), "resolution 15");
    EXPECT_EQ(Describe(FindLauncherHit(70, 374)), "none 0");
}

TEST(LauncherHit, BetweenTheColumnsNothingIsHitAtAnyHeight)
{
    for (int32_t y = kAboveAll; y <= kBelowAll; ++y)
    {
        for (int32_t x = 126; x <= 156; ++x)
        {
            ASSERT_EQ(Describe(FindLauncherHit(x, y)), "none 0") << x << ", " << y;
        }
        for (int32_t x = 170; x <= 194; ++x)
        {
            ASSERT_EQ(Describe(FindLauncherHit(x, y)), "none 0") << x << ", " << y;
        }
    }
}

TEST(LauncherHit, TheButtonsPictureIsLargerThanItsHitTest)
{
    // The image covers 188 to 264 and 163 to 208.
    for (int32_t y = 163; y <= 208; ++y)
    {
        for (int32_t x = 188; x <= 264; ++x)
        {
            bool inside = x >= 195 && x <= 252 && y >= 165 && y <= 206;
            ASSERT_EQ(Describe(FindLauncherHit(x, y)), inside ? "start 0" : "none 0");
        }
    }
}

TEST(LauncherHit, NumbersFarOutsideTheWindowHitNothing)
{
    for (int32_t number : {INT_MIN, -65536, -1, 65536, INT_MAX})
    {
        EXPECT_EQ(Describe(FindLauncherHit(number, 140)), "none 0");
        EXPECT_EQ(Describe(FindLauncherHit(70, number)), "none 0");
        EXPECT_EQ(Describe(FindLauncherHit(number, number)), "none 0");
    }
}

TEST(LauncherState, AMouseThatOnlyMovesChangesNothing)
{
    Looks looks;
    for (int32_t y = 0; y < 384; ++y)
    {
        for (int32_t x = 0; x < 313; ++x)
        {
            ASSERT_EQ(looks.Up(x, y), kNothing) << x << ", " << y;
        }
    }
    EXPECT_TRUE(looks.state.choice == kStartChoice);
}

TEST(LauncherState, APressOnARowChoosesIt)
{
    for (int32_t row = 0; row < 16; ++row)
    {
        Looks looks;
        EXPECT_EQ(looks.Down(16, kTargets[row].top), row == 5 ? kNothing : kRedraw);
        EXPECT_EQ(looks.state.choice.resolutionIndex, row);
        EXPECT_EQ(looks.Up(16, kTargets[row].top), kNothing);
        EXPECT_EQ(looks.state.choice.resolutionIndex, row);
        EXPECT_EQ(looks.state.choice.aspectIndex, 0);
    }
    for (int32_t row = 0; row < 3; ++row)
    {
        Looks looks;
        EXPECT_EQ(looks.Down(252, kTargets[16 + row].bottom), row == 0 ? kNothing : kRedraw);
        EXPECT_EQ(looks.state.choice.aspectIndex, row);
        EXPECT_EQ(looks.state.choice.resolutionIndex, 5);
    }
}

TEST(LauncherState, APressOnTheChosenRowRedrawsNothing)
{
    Looks looks;
    EXPECT_EQ(looks.Down(70, 140), kNothing);
    EXPECT_EQ(looks.Down(220, 30), kNothing);
    EXPECT_EQ(looks.Down(70, 20), kRedraw);
    EXPECT_EQ(looks.Down(70, 30), kNothing); // still row 0
}

TEST(LauncherState, DraggingOverRowsChoosesEachOfThem)
{
    Looks looks;
    EXPECT_EQ(looks.Down(300, 100), kNothing); // began on nothing
    EXPECT_EQ(looks.Down(70, 20), kRedraw);
    EXPECT_EQ(looks.state.choice.resolutionIndex, 0);
    EXPECT_EQ(looks.Down(70, 360), kRedraw);
    EXPECT_EQ(looks.state.choice.resolutionIndex, 15);
    EXPECT_EQ(looks.Down(220, 70), kRedraw);
    EXPECT_EQ(looks.state.choice.aspectIndex, 2);
    EXPECT_EQ(looks.state.choice.resolutionIndex, 15);
}

TEST(LauncherState, APressOnACheckBoxNegatesItsSwitch)
{
    const int32_t heights[] = {300, 320, 340, 370};
    for (size_t i = 0; i < 4; ++i)
    {
        Looks looks;
        LauncherChoice expected = kStartChoice;
        EXPECT_EQ(looks.Down(163, heights[i]), kRedraw);
        expected.*kLauncherSwitches[i] = -1;
        EXPECT_TRUE(looks.state.choice == expected) << i;

        EXPECT_EQ(looks.Up(163, heights[i]), kNothing);
        EXPECT_EQ(looks.Down(163, heights[i]), kRedraw);
        EXPECT_TRUE(looks.state.choice == kStartChoice) << i;
    }
}

TEST(LauncherState, TheSwitchesStandInTheOrderOfTheWindow)
{
    Looks looks;
    looks.Down(157, 305);
    EXPECT_EQ(looks.state.choice.fullscreen, kSwitchOff);
    looks.Up(157, 305);
    looks.Down(169, 325);
    EXPECT_EQ(looks.state.choice.antialiasing, kSwitchOff);
    looks.Up(169, 325);
    looks.Down(157, 338);
    EXPECT_EQ(looks.state.choice.music, kSwitchOff);
    looks.Up(157, 338);
    looks.Down(169, 361);
    EXPECT_EQ(looks.state.choice.vbo, kSwitchOff);
}

TEST(LauncherState, AClickBetweenTwoCheckBoxesChangesNothing)
{
    Looks looks;
    EXPECT_EQ(looks.Down(163, 310), kNothing);
    EXPECT_EQ(looks.Up(163, 310), kNothing);
    EXPECT_TRUE(looks.state.choice == kStartChoice);
}

TEST(LauncherState, HoldingTheButtonOnACheckBoxTogglesItOnce)
{
    Looks looks;
    EXPECT_EQ(looks.Down(163, 300), kRedraw);
    for (int i = 0; i < 100; ++i)
    {
        ASSERT_EQ(looks.Down(163, 300), kNothing);
    }
    EXPECT_EQ(looks.state.choice.fullscreen, kSwitchOff);
}

TEST(LauncherState, DraggingBetweenCheckBoxesTogglesTheFirst)
{
    Looks looks;
    EXPECT_EQ(looks.Down(163, 300), kRedraw);
    EXPECT_EQ(looks.Down(163, 310), kNothing);
    EXPECT_EQ(looks.Down(163, 320), kNothing);
    EXPECT_EQ(looks.Down(163, 300), kNothing);
    EXPECT_EQ(looks.state.choice.fullscreen, kSwitchOff);
    EXPECT_EQ(looks.state.choice.antialiasing, kSwitchOn);

    looks.Up(163, 320);
    EXPECT_EQ(looks.Down(163, 320), kRedraw);
    EXPECT_EQ(looks.state.choice.antialiasing, kSwitchOff);
}

TEST(LauncherState, AToggledSwitchDoesNotKeepRowsFromBeingChosen)
{
    Looks looks;
    EXPECT_EQ(looks.Down(163, 300), kRedraw);
    EXPECT_EQ(looks.Down(70, 20), kRedraw);
    EXPECT_EQ(looks.state.choice.resolutionIndex, 0);
    EXPECT_EQ(looks.Down(163, 345), kNothing); // the latch holds until the release
    EXPECT_EQ(looks.state.choice.music, kSwitchOn);
}

TEST(LauncherState, DraggingOntoACheckBoxTogglesIt)
{
    Looks looks;
    EXPECT_EQ(looks.Down(70, 20), kRedraw);
    EXPECT_EQ(looks.Down(163, 370), kRedraw);
    EXPECT_EQ(looks.state.choice.vbo, kSwitchOff);
}

TEST(LauncherState, ThePieceStartsOnTheReleaseAndNotOnThePress)
{
    Looks looks;
    EXPECT_EQ(looks.Down(223, 185), kRedraw);
    EXPECT_TRUE(ShowsPressed(looks));
    EXPECT_EQ(looks.Down(223, 185), kNothing);
    EXPECT_EQ(looks.Up(223, 185), kStart);
}

TEST(LauncherState, EveryCornerOfTheButtonStarts)
{
    for (int32_t x : {195, 252})
    {
        for (int32_t y : {165, 206})
        {
            Looks looks;
            EXPECT_EQ(looks.Down(x, y), kRedraw);
            EXPECT_EQ(looks.Up(x, y), kStart);
        }
    }
}

TEST(LauncherState, AReleaseOverTheButtonWithoutAPressStartsNothing)
{
    Looks looks;
    EXPECT_EQ(looks.Up(223, 185), kNothing);
    EXPECT_EQ(looks.Down(300, 100), kNothing);
    EXPECT_EQ(looks.Up(223, 185), kNothing); // never seen on the button with the mouse down
}

TEST(LauncherState, DraggingOffTheButtonCancels)
{
    Looks looks;
    EXPECT_EQ(looks.Down(223, 185), kRedraw);
    EXPECT_EQ(looks.Down(223, 207), kRedraw);
    EXPECT_FALSE(ShowsPressed(looks));
    EXPECT_TRUE(looks.state.armed);
    EXPECT_EQ(looks.Down(223, 208), kNothing);
    EXPECT_EQ(looks.Up(223, 208), kNothing);
    EXPECT_FALSE(looks.state.armed);

    EXPECT_EQ(looks.Up(223, 185), kNothing);
    EXPECT_TRUE(looks.state.choice == kStartChoice);
}

TEST(LauncherState, DraggingBackOntoTheButtonBringsThePressedLookBack)
{
    Looks looks;
    looks.Down(223, 185);
    looks.Down(194, 185);
    EXPECT_EQ(looks.Down(195, 185), kRedraw);
    EXPECT_TRUE(ShowsPressed(looks));
    EXPECT_EQ(looks.Up(195, 185), kStart);
}

TEST(LauncherState, AMouseThatIsBackOnTheButtonWithinOneLookStarts)
{
    Looks looks;
    looks.Down(223, 185);
    looks.Down(300, 185);
    EXPECT_EQ(looks.Up(223, 185), kStart); // armed stays as long as the button is down
}

TEST(LauncherState, ADragFromARowOntoTheButtonStartsWithThatRow)
{
    Looks looks;
    EXPECT_EQ(looks.Down(70, 160), kRedraw);
    EXPECT_EQ(looks.Down(160, 170), kNothing);
    EXPECT_EQ(looks.Down(223, 185), kRedraw);
    EXPECT_TRUE(ShowsPressed(looks));
    EXPECT_EQ(looks.Up(223, 185), kStart);
    EXPECT_EQ(looks.state.choice.resolutionIndex, 6);
}

TEST(LauncherState, DraggingFromTheButtonOverARowChoosesIt)
{
    Looks looks;
    looks.Down(223, 185);
    EXPECT_EQ(looks.Down(70, 360), kRedraw);
    EXPECT_EQ(looks.state.choice.resolutionIndex, 15);
    EXPECT_FALSE(ShowsPressed(looks));
    EXPECT_EQ(looks.Up(70, 360), kNothing);
}

TEST(LauncherState, AReleaseElsewhereInOneLookLeavesThePressedImage)
{
    Looks looks;
    looks.Down(223, 185);
    EXPECT_EQ(looks.Up(300, 100), kNothing); // nothing is drawn on a release
    EXPECT_TRUE(looks.state.wasOverStart);

    // Pressed on the button again, the image is on screen already.
    Looks again = looks;
    EXPECT_EQ(again.Down(223, 185), kNothing);
    EXPECT_EQ(again.Up(223, 185), kStart);

    // Pressed anywhere else, it goes.
    EXPECT_EQ(looks.Down(300, 100), kRedraw);
    EXPECT_FALSE(ShowsPressed(looks));
}

TEST(LauncherState, NoWalkOfTheMouseLeavesTheTables)
{
    srand(1);
    Looks looks;
    for (int i = 0; i < 200000; ++i)
    {
        // Mostly in the window, sometimes far from it.
        int32_t x = rand() % 50 == 0 ? rand() - RAND_MAX / 2 : rand() % 320 - 3;
        int32_t y = rand() % 50 == 0 ? rand() - RAND_MAX / 2 : rand() % 390 - 3;
        const LauncherState before = looks.state;
        bool down = rand() % 4 != 0;
        LauncherStep step = StepLauncher(&looks.state, x, y, down);

        const LauncherChoice& choice = looks.state.choice;
        ASSERT_TRUE(0 <= choice.resolutionIndex && choice.resolutionIndex < 16);
        ASSERT_TRUE(0 <= choice.aspectIndex && choice.aspectIndex < 3);
        for (int32_t LauncherChoice::*member : kLauncherSwitches)
        {
            ASSERT_EQ(abs(choice.*member), 1);
        }
        bool looksOther =
            !(before.choice == choice) || (before.wasOverStart != looks.state.wasOverStart);
        ASSERT_EQ(step == kRedraw, looksOther);
        ASSERT_FALSE(!down && step == kRedraw);
        if (looks.state.wasOverStart && down)
        {
            ASSERT_TRUE(looks.state.armed);
        }
    }
}
