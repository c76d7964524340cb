// SPDX-License-Identifier: MIT
#include "engine/data/fault.h"
#include "player/launcher.h"

#include <cstdio>
#include <gtest/gtest.h>

#include "support/child_run.h"
#include "support/recorded_gl.h"
#include "support/recorded_sdl.h"

static constexpr ScriptedPoll kNoEvent = {};
static constexpr ScriptedPoll kEscapeDown = {0, true, false, false};
static constexpr ScriptedPoll kQuit = {0, false, true, false};
static constexpr ScriptedPoll kKey = {0, false, false, true};

static const std::string kOpenWindow = "SDL_Init VIDEO\n"
                                       "SDL_SetVideoMode 313 384 24 HWSURFACE\n"
                                       "SDL_WM_SetCaption \"Title\" \"Title\"\n";

static const std::string kLoadImages = "SDL_RWFromMem\n"
                                       "SDL_LoadBMP_RW 313x384 free\n"
                                       "SDL_RWFromMem\n"
                                       "SDL_LoadBMP_RW 99x20 free\n"
                                       "SDL_RWFromMem\n"
                                       "SDL_LoadBMP_RW 61x22 free\n"
                                       "SDL_RWFromMem\n"
                                       "SDL_LoadBMP_RW 11x12 free\n"
                                       "SDL_RWFromMem\n"
                                       "SDL_LoadBMP_RW 77x46 free\n";

static const std::string kSetTransparency = "SDL_SetColorKey 99x20 SRCCOLORKEY 0\n"
                                            "SDL_SetColorKey 61x22 SRCCOLORKEY 0\n";

static const std::string kIgnoreMotion = "SDL_EventState MOUSEMOTION IGNORE\n";
static const std::string kClear = "SDL_FillRect window all 0\n";
static const std::string kShow = "SDL_UpdateRects window [0 0 313 384]\n";

static std::string Blit(const std::string& image, int left, int top)
{
    return "SDL_UpperBlit " + image + " to window " + std::to_string(left) + " " +
           std::to_string(top) + "\n";
}

static const std::string kBackground = Blit("313x384", 0, 0);
static const std::string kMarks = Blit("11x12", 157, 293) + Blit("11x12", 157, 315) +
                                  Blit("11x12", 157, 337) + Blit("11x12", 157, 360);
static const std::string kPressed = Blit("77x46", 188, 163);

static std::string Selectors(int resolutionTop, int aspectTop)
{
    return Blit("99x20", 21, resolutionTop) + Blit("61x22", 194, aspectTop);
}

/// The first look of the window.
static const std::string kFirstPicture = kBackground + Selectors(129, 17) + kMarks + kShow;

static const std::string kOpening =
    kOpenWindow + kLoadImages + kSetTransparency + kFirstPicture + kIgnoreMotion;

/// One look at the mouse.
static std::string Look(int x, int y, const std::string& button = "")
{
    return "SDL_PollEvent\nSDL_GetMouseState " + std::to_string(x) + " " + std::to_string(y) +
           button + "\n";
}

static const std::string kPause = "SDL_Delay 30\n";
static const std::string kClosed = "SDL_PollEvent QUIT\n> Bye!\nSDL_Quit\n";

/// A look that changes nothing.
static std::string IdleLook(int x, int y, const std::string& button = "")
{
    return Look(x, y, button) + kPause;
}

/// The drawing that follows on a look that changes something.
/// @param marks   of the switches that are on, and after them the pressed button
static std::string Redraw(const std::string& selectors, const std::string& marks)
{
    return kClear + kBackground + selectors + marks + kShow + kPause;
}

static std::string Describe(const LauncherChoice& choice)
{
    return "row " + std::to_string(choice.resolutionIndex) + " aspect " +
           std::to_string(choice.aspectIndex) + " switches " + std::to_string(choice.fullscreen) +
           " " + std::to_string(choice.antialiasing) + " " + std::to_string(choice.music) + " " +
           std::to_string(choice.vbo);
}

/// Runs the launcher. The record ends with what came of it.
static ChildRun Launch(const SdlScript& script)
{
    return RunInChild(
        [&script]()
        {
            setvbuf(stdout, nullptr, _IOLBF, 0); // as in the program
            Sdl = script;
            LauncherChoice choice = kStartChoice;
            int exitCode = 99;
            FaultList faults;
            StartFaults(&faults);
            LauncherResult result = RunLauncher("Title", &choice, &exitCode, &faults);
            if (result == LauncherResult::kFailed)
            {
                PrintFault(GetFault(&faults, 0), "quorvale");
                return 1;
            }
            if (result == LauncherResult::kQuit)
            {
                return exitCode;
            }
            RecordCall("started: " + Describe(choice));
            return 0;
        });
}

/// Plays a script of the mouse, one look after the other; then the window is closed.
static ChildRun LaunchAndClose(const std::vector<ScriptedMouse>& mouse)
{
    SdlScript script = {};
    script.mouse = mouse;
    script.polls.resize(mouse.size());
    script.polls.push_back(kQuit);
    return Launch(script);
}

static ScriptedMouse Down(int x, int y)
{
    return {.x = x, .y = y, .left = true, .right = false};
}

static ScriptedMouse Up(int x, int y)
{
    return {.x = x, .y = y, .left = false, .right = false};
}

TEST(Launcher, TheWindowIsMadeFirstThenCaptionedThenDrawn)
{
    ChildRun run = LaunchAndClose({});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.record, "SDL_Init VIDEO\n"
                          "SDL_SetVideoMode 313 384 24 HWSURFACE\n"
                          "SDL_WM_SetCaption \"Title\" \"Title\"\n"
                          "SDL_RWFromMem\n"
                          "SDL_LoadBMP_RW 313x384 free\n"
                          "SDL_RWFromMem\n"
                          "SDL_LoadBMP_RW 99x20 free\n"
                          "SDL_RWFromMem\n"
                          "SDL_LoadBMP_RW 61x22 free\n"
                          "SDL_RWFromMem\n"
                          "SDL_LoadBMP_RW 11x12 free\n"
                          "SDL_RWFromMem\n"
                          "SDL_LoadBMP_RW 77x46 free\n"
                          "SDL_SetColorKey 99x20 SRCCOLORKEY 0\n"
                          "SDL_SetColorKey 61x22 SRCCOLORKEY 0\n"
                          "SDL_UpperBlit 313x384 to window 0 0\n"
                          "SDL_UpperBlit 99x20 to window 21 129\n"
                          "SDL_UpperBlit 61x22 to window 194 17\n"
                          "SDL_UpperBlit 11x12 to window 157 293\n"
                          "SDL_UpperBlit 11x12 to window 157 315\n"
                          "SDL_UpperBlit 11x12 to window 157 337\n"
                          "SDL_UpperBlit 11x12 to window 157 360\n"
                          "SDL_UpdateRects window [0 0 313 384]\n"
                          "SDL_EventState MOUSEMOTION IGNORE\n"
                          "SDL_PollEvent QUIT\n"
                          "> Bye!\n"
                          "SDL_Quit\n");
}

TEST(Launcher, APassTakesOneEventAndOneLookAtTheMouseAndWaits30Ms)
{
    ChildRun run = LaunchAndClose({Up(5, 6), Up(70, 20), Down(300, 380)});
    EXPECT_EQ(run.record, kOpening + "SDL_PollEvent\n"
                                     "SDL_GetMouseState 5 6\n"
                                     "SDL_Delay 30\n"
                                     "SDL_PollEvent\n"
                                     "SDL_GetMouseState 70 20\n"
                                     "SDL_Delay 30\n"
                                     "SDL_PollEvent\n"
                                     "SDL_GetMouseState 300 380 left\n"
                                     "SDL_Delay 30\n"
                                     "SDL_PollEvent QUIT\n"
                                     "> Bye!\n"
                                     "SDL_Quit\n");
}

TEST(Launcher, ClosingTheWindowSaysByeAndEndsWithCode0)
{
    ChildRun run = LaunchAndClose({Down(223, 185)});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.record, kOpening + Look(223, 185, " left") +
                              Redraw(Selectors(129, 17), kMarks + kPressed) + kClosed);
}

TEST(Launcher, KeysAndOtherButtonsDoNothing)
{
    SdlScript script = {};
    script.polls = {kKey, kEscapeDown, kQuit};
    script.mouse = {{.x = 223, .y = 185, .left = false, .right = true}};
    ChildRun run = Launch(script);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.record, kOpening + "SDL_PollEvent KEYDOWN\nSDL_GetMouseState 223 185 right\n" +
                              kPause + IdleLook(223, 185, " right") + kClosed);
}

TEST(Launcher, ARedrawGoesInThisOrderAndOnlyAChangeBringsOne)
{
    ChildRun run = LaunchAndClose({Down(70, 140), Down(70, 20), Down(70, 25), Up(70, 25)});
    EXPECT_EQ(run.record, kOpening + IdleLook(70, 140, " left") + Look(70, 20, " left") +
                              "SDL_FillRect window all 0\n"
                              "SDL_UpperBlit 313x384 to window 0 0\n"
                              "SDL_UpperBlit 99x20 to window 21 17\n"
                              "SDL_UpperBlit 61x22 to window 194 17\n"
                              "SDL_UpperBlit 11x12 to window 157 293\n"
                              "SDL_UpperBlit 11x12 to window 157 315\n"
                              "SDL_UpperBlit 11x12 to window 157 337\n"
                              "SDL_UpperBlit 11x12 to window 157 360\n"
                              "SDL_UpdateRects window [0 0 313 384]\n"
                              "SDL_Delay 30\n" +
                              IdleLook(70, 25, " left") + IdleLook(70, 25) + kClosed);
}

TEST(Launcher, TheSelectorsStandWhereTheirRowsSay)
{
    const struct
    {
        int y;
        int top;
    } resolutions[] = {
        {18, 17},   {37, 40},   {60, 62},   {84, 85},   {105, 107}, {151, 152},
        {173, 174}, {196, 197}, {218, 219}, {240, 242}, {263, 264}, {286, 287},
        {308, 309}, {330, 331}, {354, 354}, {128, 129},
    };
    std::vector<ScriptedMouse> mouse;
    std::string expected = kOpening;
    for (const auto& row : resolutions)
    {
        mouse.push_back(Down(16, row.y));
        expected += Look(16, row.y, " left");
        expected += Redraw(Selectors(row.top, 17), kMarks);
    }
    for (const auto& [y, top] : {std::pair(39, 39), std::pair(62, 62), std::pair(19, 17)})
    {
        mouse.push_back(Down(195, y));
        expected += Look(195, y, " left");
        expected += Redraw(Selectors(129, top), kMarks);
    }
    ChildRun run = LaunchAndClose(mouse);
    EXPECT_EQ(run.record, expected + kClosed);
}

TEST(Launcher, OnlySwitchesThatAreOnHaveAMark)
{
    const int heights[] = {300, 320, 345, 365};
    const int tops[] = {293, 315, 337, 360};
    std::vector<ScriptedMouse> mouse;
    std::string expected = kOpening;
    std::string marks = kMarks;
    for (int i = 0; i < 4; ++i)
    {
        marks.erase(0, Blit("11x12", 157, tops[i]).size());
        mouse.push_back(Down(160, heights[i]));
        mouse.push_back(Up(160, heights[i]));
        expected += Look(160, heights[i], " left");
        expected += Redraw(Selectors(129, 17), marks);
        expected += IdleLook(160, heights[i]);
    }
    // And on again: the last one.
    mouse.push_back(Down(160, 365));
    expected += Look(160, 365, " left");
    expected += Redraw(Selectors(129, 17), Blit("11x12", 157, 360));
    ChildRun run = LaunchAndClose(mouse);
    EXPECT_EQ(run.record, expected + kClosed);
}

TEST(Launcher, TheButtonIsShownPressedWhileThePressIsOverIt)
{
    const std::string up = Redraw(Selectors(129, 17), kMarks);
    const std::string down = Redraw(Selectors(129, 17), kMarks + kPressed);
    ChildRun run = LaunchAndClose({Down(195, 165), Down(196, 165), Down(194, 165), Down(194, 160),
                                   Down(195, 165), Down(253, 165), Up(253, 165)});
    EXPECT_EQ(run.record, kOpening + Look(195, 165, " left") + down + IdleLook(196, 165, " left") +
                              Look(194, 165, " left") + up + IdleLook(194, 160, " left") +
                              Look(195, 165, " left") + down + Look(253, 165, " left") + up +
                              IdleLook(253, 165) + kClosed);
}

TEST(Launcher, TheReleaseOverTheButtonEndsItAtOnceWithSdlLeftOpen)
{
    SdlScript script = {};
    script.mouse = {Down(70, 360), Up(70, 360),    Down(220, 70),  Up(220, 70), Down(160, 300),
                    Up(160, 300),  Down(160, 370), Down(223, 185), Up(223, 185)};
    ChildRun run = Launch(script);
    EXPECT_EQ(run.exitCode, 0);
    const std::string selectors = Selectors(354, 62);
    const std::string marks = Blit("11x12", 157, 315) + Blit("11x12", 157, 337);
    const std::string end = IdleLook(160, 300) + Look(160, 370, " left") +
                            Redraw(selectors, marks) + Look(223, 185, " left") +
                            Redraw(selectors, marks + kPressed) + Look(223, 185) +
                            "started: row 15 aspect 2 switches -1 1 1 -1\n";
    ASSERT_GT(run.record.size(), end.size());
    EXPECT_EQ(run.record.substr(run.record.size() - end.size()), end);
}

TEST(Launcher, AnEventBeforeTheReleaseDoesNotKeepItBack)
{
    SdlScript script = {};
    script.polls = {kNoEvent, kKey};
    script.mouse = {Down(223, 185), Up(223, 185)};
    ChildRun run = Launch(script);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_NE(run.record.find("started: row 5 aspect 0 switches 1 1 1 1\n"), std::string::npos);
}

TEST(Launcher, AClosedWindowWinsOverAReleaseInTheSamePass)
{
    SdlScript script = {};
    script.polls = {kNoEvent, kQuit};
    script.mouse = {Down(223, 185), Up(223, 185)};
    ChildRun run = Launch(script);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.record.substr(run.record.size() - kClosed.size()), kClosed);
}

TEST(Launcher, WithoutBackgroundOrSelectorItEndsWithCode1)
{
    const std::string images[] = {"313x384", "99x20"};
    for (uint32_t image : {0u, 1u})
    {
        SdlScript script = {};
        script.imagesToFail = 1u << image;
        ChildRun run = Launch(script);
        std::string loads = kLoadImages;
        loads.insert(loads.find(" free", loads.find(images[image])) + 5, " fails");
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.record, kOpenWindow + loads + "> error creating surface :-S\n");
    }
}

TEST(Launcher, OtherImagesAreMissedOnlyWhereTheyAreDrawn)
{
    SdlScript script = {};
    script.imagesToFail = 0b11100;
    script.mouse = {Down(223, 185), Up(223, 185)};
    ChildRun run = Launch(script);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.record, kOpenWindow +
                              "SDL_RWFromMem\n"
                              "SDL_LoadBMP_RW 313x384 free\n"
                              "SDL_RWFromMem\n"
                              "SDL_LoadBMP_RW 99x20 free\n"
                              "SDL_RWFromMem\n"
                              "SDL_LoadBMP_RW 61x22 free fails\n"
                              "SDL_RWFromMem\n"
                              "SDL_LoadBMP_RW 11x12 free fails\n"
                              "SDL_RWFromMem\n"
                              "SDL_LoadBMP_RW 77x46 free fails\n"
                              "SDL_SetColorKey 99x20 SRCCOLORKEY 0\n" +
                              kBackground + Blit("99x20", 21, 129) + kShow + kIgnoreMotion +
                              Look(223, 185, " left") + kClear + kBackground +
                              Blit("99x20", 21, 129) + kShow + kPause + Look(223, 185) +
                              "started: row 5 aspect 0 switches 1 1 1 1\n");
}

TEST(Launcher, VideoThatDoesNotStartIsReported)
{
    SdlScript script = {};
    script.videoFails = true;
    script.error = "no video here";
    ChildRun run = Launch(script);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.record, "SDL_Init VIDEO\n! quorvale: can't start video: no video here\n");
}

TEST(Launcher, AWindowThatDoesNotOpenIsReported)
{
    SdlScript script = {};
    script.windowFails = true;
    script.error = "no such mode";
    ChildRun run = Launch(script);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.record, "SDL_Init VIDEO\n"
                          "SDL_SetVideoMode 313 384 24 HWSURFACE\n"
                          "! quorvale: can't open a window of 313 x 384: no such mode\n");
}

TEST(Launcher, AnotherChoiceToBeginWithIsShownAndKept)
{
    ChildRun run = RunInChild(
        []()
        {
            Sdl = {};
            Sdl.mouse = {Down(223, 185), Up(223, 185)};
            LauncherChoice choice = {0, 2, kSwitchOff, kSwitchOn, kSwitchOff, kSwitchOn};
            int exitCode = 0;
            FaultList faults;
            StartFaults(&faults);
            RunLauncher("Title", &choice, &exitCode, &faults);
            RecordCall("started: " + Describe(choice));
            return 0;
        });
    EXPECT_NE(run.record.find(kSetTransparency + kBackground + Selectors(17, 62) +
                              Blit("11x12", 157, 315) + Blit("11x12", 157, 360) + kShow),
              std::string::npos);
    EXPECT_NE(run.record.find("started: row 0 aspect 2 switches -1 1 -1 1\n"), std::string::npos);
}
