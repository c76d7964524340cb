// SPDX-License-Identifier: MIT
#include "player/run_demo.h"

#include <gtest/gtest.h>

#include "player/played_piece.h"

static const std::string kFrame = "RenderFrame demo.xmlz scene 8 time ";
static const std::string kFrameEnd = " 1024x768 aspect 1.33333337 vbo 1 pbo 1 npot 1 dot3 1\n";

/// The silent clock, with these readings: the first two are loading's.
static PlayScript SilentScript(std::vector<uint32_t> ticks, uint32_t frames)
{
    PlayScript script;
    script.choice.music = kSwitchOff;
    script.sdl.ticks = std::move(ticks);
    script.demoFrames = frames;
    return script;
}

TEST(RunDemo, AWholeRunGoesInThisOrder)
{
    PlayScript script;
    script.demoFrames = 2;
    script.modplug.moduleBytes = 1000000;
    // The two of loading, the block at the start, the first reading, the two frames.
    script.sdl.ticks = {100, 120, 500, 504, 511, 540};
    script.sdl.blocksAtStart = 1;

    ChildRun run = PlayUsualPiece(script);

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.record, "> Quorvale Engine v0.232\n"
                          "RunLauncher Quorvale Engine v0.232\n"
                          "> Found piece.dpk.\n"
                          "> Starting the demo.\n"
                          "SDL_GL_SetAttribute RED_SIZE 8\n"
                          "SDL_GL_SetAttribute GREEN_SIZE 8\n"
                          "SDL_GL_SetAttribute BLUE_SIZE 8\n"
                          "SDL_GL_SetAttribute ALPHA_SIZE 8\n"
                          "SDL_GL_SetAttribute DEPTH_SIZE 24\n"
                          "SDL_GL_SetAttribute DOUBLEBUFFER 1\n"
                          "SDL_GL_SetAttribute MULTISAMPLEBUFFERS 1\n"
                          "SDL_GL_SetAttribute MULTISAMPLESAMPLES 2\n"
                          "SDL_Init AUDIO\n"
                          "SDL_Init TIMER\n"
                          "SDL_SetVideoMode 1024 768 24 HWSURFACE|ASYNCBLIT|OPENGL|FULLSCREEN\n"
                          "glewInit\n"
                          "> ========================================\n"
                          "> VBO support detected.\n"
                          "> PBO support detected.\n"
                          "> NPOT texture support detected.\n"
                          "> DOT3 bump mapping support detected.\n"
                          "> ========================================\n"
                          "Clear COLOR_BUFFER_BIT|DEPTH_BUFFER_BIT\n"
                          "SDL_GL_SwapBuffers\n"
                          "Enable DEPTH_TEST\n"
                          "DepthFunc LEQUAL\n"
                          "ShadeModel SMOOTH\n"
                          "Enable BLEND\n"
                          "TexGeni S TEXTURE_GEN_MODE SPHERE_MAP\n"
                          "TexGeni T TEXTURE_GEN_MODE SPHERE_MAP\n"
                          "Enable COLOR_MATERIAL\n"
                          "ColorMaterial FRONT AMBIENT_AND_DIFFUSE\n"
                          "SDL_GL_SwapBuffers\n"
                          "SDL_ShowCursor 0\n"
                          "SDL_GetTicks 100\n"
                          "SDL_GetTicks 120\n"
                          "ModPlug_Load 6 \"module\"\n"
                          "ModPlug_SetMasterVolume 512\n"
                          "ModPlug_GetSettings\n"
                          "ModPlug_SetSettings flags 7 channels 2 bits 16 frequency 44100 "
                          "resampling 3 stereo 101 mix 102 reverb 20 104 bass 105 106 "
                          "surround 107 108 loops 0\n"
                          "SDL_OpenAudio 44100 S16LSB 2 8192\n"
                          "SDL_PauseAudio 0\n"
                          "AudioBlock 32768\n"
                          "SDL_GetTicks 500\n"
                          "ModPlug_Read 32768\n"
                          "AudioBlock filled\n"
                          "SDL_GetTicks 504\n" +
                              kFrame + "0" + kFrameEnd + // 4 ms
                              "SDL_GetKeyState\n"
                              "SDL_PollEvent\n"
                              "SDL_GL_SwapBuffers\n"
                              "Clear COLOR_BUFFER_BIT|DEPTH_BUFFER_BIT\n"
                              "SDL_GetTicks 511\n" +
                              kFrame + "1" + kFrameEnd + // 11 ms
                              "SDL_GetKeyState\n"
                              "SDL_PollEvent\n"
                              "SDL_GL_SwapBuffers\n"
                              "Clear COLOR_BUFFER_BIT|DEPTH_BUFFER_BIT\n"
                              "SDL_GetTicks 540\n" +
                              kFrame + "4" + kFrameEnd + // 40 ms, and nothing drawn
                              "> Benchmark result: 50.00 fps\n"
                              "> Bye!\n"
                              "SDL_Quit\n");
}

TEST(RunDemo, TheCursorGoesAfterTheSecondSwap)
{
    ChildRun run = PlayUsualPiece(SilentScript({}, 0));

    EXPECT_EQ(LinesWith(run.record,
                        {"> Starting", "SDL_SetVideoMode", "SDL_GL_SwapBuffers", "SDL_ShowCursor"}),
              "> Starting the demo.\n"
              "SDL_SetVideoMode 1024 768 24 HWSURFACE|ASYNCBLIT|OPENGL|FULLSCREEN\n"
              "SDL_GL_SwapBuffers\n"
              "SDL_GL_SwapBuffers\n"
              "SDL_ShowCursor 0\n");
}

TEST(RunDemo, ThePackageIsLookedForAfterTheLauncher)
{
    ChildRun run = PlayUsualPiece(SilentScript({}, 0));

    std::string begin = "> Quorvale Engine v0.232\n"
                        "RunLauncher Quorvale Engine v0.232\n"
                        "> Found piece.dpk.\n"
                        "> Starting the demo.\n";
    EXPECT_EQ(run.record.substr(0, begin.size()), begin);
}

TEST(RunDemo, WithoutAntialiasingNoAttributeIsSet)
{
    PlayScript script;
    script.choice.antialiasing = kSwitchOff;

    ChildRun run = PlayUsualPiece(script);

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(LinesWith(run.record, {"SDL_GL_SetAttribute", "SDL_Init", "SDL_SetVideoMode"}),
              "SDL_Init AUDIO\n"
              "SDL_Init TIMER\n"
              "SDL_SetVideoMode 1024 768 24 HWSURFACE|ASYNCBLIT|OPENGL|FULLSCREEN\n");
}

TEST(RunDemo, WithoutMusicNoAudioIsStartedAndTheClockIsSilent)
{
    ChildRun run = PlayUsualPiece(SilentScript({0, 0, 1000, 1025}, 1));

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(LinesWith(run.record, {"SDL_Init", "SDL_OpenAudio", "SDL_PauseAudio", "ModPlug"}),
              "SDL_Init TIMER\n");
    // The first frame stands at 0, and the clock is not read for it.
    EXPECT_EQ(LinesWith(run.record, {"SDL_GetTicks", "RenderFrame"}),
              "SDL_GetTicks 0\n"
              "SDL_GetTicks 0\n"
              "SDL_GetTicks 1000\n" +
                  kFrame + "0" + kFrameEnd + "SDL_GetTicks 1025\n" + kFrame + "2" + kFrameEnd);
}

TEST(RunDemo, WithTheVboSwitchOffNoVboLineIsPrinted)
{
    for (bool offered : {true, false})
    {
        PlayScript script = SilentScript({}, 0);
        script.choice.vbo = kSwitchOff;
        script.gl.vertexBufferObject = offered;

        ChildRun run = PlayUsualPiece(script);

        EXPECT_EQ(run.exitCode, 0);
        EXPECT_EQ(LinesWith(run.record, {"> VBO", "> No VBO"}), "");
        EXPECT_EQ(LinesWith(run.record, {"RenderFrame"}),
                  kFrame + "0 1024x768 aspect 1.33333337 vbo 0 pbo 1 npot 1 dot3 1\n");
    }
}

TEST(RunDemo, WithFullscreenOffTheCursorStaysVisible)
{
    PlayScript script;
    script.choice.fullscreen = kSwitchOff;

    ChildRun run = PlayUsualPiece(script);

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(LinesWith(run.record, {"SDL_SetVideoMode", "SDL_ShowCursor"}),
              "SDL_SetVideoMode 1024 768 24 HWSURFACE|ASYNCBLIT|OPENGL\n");
}

TEST(RunDemo, FeaturesAreReportedAndPassedOnAsTheyWereFound)
{
    const std::string vbo = "> VBO support detected.\n";
    const std::string pbo = "> PBO support detected.\n";
    const std::string npot = "> NPOT texture support detected.\n";
    const std::string dot3 = "> DOT3 bump mapping support detected.\n";
    const std::string slow = "> PBO support detected, but it may be slow (opengl version is lower "
                             "than 2.1), so i disable it. Use -forcepbo to enable it.\n";
    const struct
    {
        GlExtensions gl; // VBO, PBO, NPOT, DOT3, OpenGL 2.1
        std::vector<std::string> arguments;
        std::string lines; // between the separators
        const char* flags; // as frames get them
    } cases[] = {
        {{false, true, true, true, true},
         {},
         "> No VBO support.\n" + pbo + npot + dot3,
         "vbo 0 pbo 1 npot 1 dot3 1"},
        {{true, false, true, true, true},
         {},
         vbo + "> No PBO support.\n" + npot + dot3,
         "vbo 1 pbo 0 npot 1 dot3 1"},
        {{true, false, true, true, false},
         {"-forcepbo"},
         vbo + "> No PBO support.\n" + npot + dot3,
         "vbo 1 pbo 0 npot 1 dot3 1"},
        {{true, true, false, true, true},
         {},
         vbo + pbo + "> No NPOT texture support.\n" + dot3,
         "vbo 1 pbo 1 npot 0 dot3 1"},
        {{true, true, true, false, true},
         {},
         vbo + pbo + npot + "> No DOT3 bump mapping support.\n",
         "vbo 1 pbo 1 npot 1 dot3 0"},
        {{true, true, true, true, false},
         {},
         vbo + slow + npot + dot3,
         "vbo 1 pbo 0 npot 1 dot3 1"},
        {{true, true, true, true, false},
         {"-forcepbo"},
         vbo + pbo + npot + dot3,
         "vbo 1 pbo 1 npot 1 dot3 1"},
        {{true, true, true, true, false}, // more characters after the option
         {"-forcepbonow"},
         vbo + pbo + npot + dot3,
         "vbo 1 pbo 1 npot 1 dot3 1"},
        {{true, true, true, true, false}, // the option in second place
         {"-x", "-forcepbo"},
         vbo + slow + npot + dot3,
         "vbo 1 pbo 0 npot 1 dot3 1"},
        {{true, true, true, true, false}, // a character short of it
         {"-forcepb"},
         vbo + slow + npot + dot3,
         "vbo 1 pbo 0 npot 1 dot3 1"},
        {{false, false, false, false, false},
         {},
         "> No VBO support.\n> No PBO support.\n> No NPOT texture support.\n"
         "> No DOT3 bump mapping support.\n",
         "vbo 0 pbo 0 npot 0 dot3 0"},
    };
    const std::string separator = "> ========================================\n";
    const std::string frame = kFrame + "0 1024x768 aspect 1.33333337 ";
    for (const auto& c : cases)
    {
        PlayScript script = SilentScript({}, 0);
        script.gl = c.gl;
        script.arguments = c.arguments;

        ChildRun run = PlayUsualPiece(script);

        EXPECT_EQ(run.exitCode, 0);
        std::string report = separator;
        report += c.lines;
        report += separator;
        EXPECT_NE(run.record.find(report), std::string::npos) << run.record;
        EXPECT_EQ(LinesWith(run.record, {"RenderFrame"}), frame + c.flags + "\n");
    }
}

TEST(RunDemo, AGlewThatFailsIsNotReported)
{
    PlayScript script = SilentScript({}, 1);
    script.gl.initFails = true;

    ChildRun run = PlayUsualPiece(script);

    EXPECT_EQ(run.exitCode, 0);
    std::string opening = "glewInit fails\n"
                          "> ========================================\n"
                          "> No VBO support.\n"
                          "> No PBO support.\n"
                          "> No NPOT texture support.\n"
                          "> No DOT3 bump mapping support.\n"
                          "> ========================================\n"
                          "Clear COLOR_BUFFER_BIT|DEPTH_BUFFER_BIT\n";
    EXPECT_NE(run.record.find(opening), std::string::npos) << run.record;
    EXPECT_EQ(LinesWith(run.record, {"! ", "> Bye"}), "> Bye!\n");
}

TEST(RunDemo, AnAudioInitThatFailsEndsNothing)
{
    DocumentSource demo = DemoSource();
    demo.music = "<music/>"; // so that the device is never opened
    TemporaryFolder folder;
    folder.Write("piece.dpk", PieceOf(LoadingSource(), demo));
    PlayScript script;
    script.sdl.audioFails = true;
    script.sdl.error = "No available audio device";
    script.sdl.ticks = {0, 0, 1000, 1010};
    script.demoFrames = 1;

    ChildRun run = Play(folder, script);

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(LinesWith(run.record, {"SDL_Init", "! ", "> B"}), "SDL_Init AUDIO\n"
                                                                "SDL_Init TIMER\n"
                                                                "> Benchmark result: 100.00 fps\n"
                                                                "> Bye!\n");
}

TEST(RunDemo, TheOptionCountsInFirstPlaceAloneWhateverFollowsIt)
{
    const struct
    {
        std::vector<std::string> arguments;
        const char* line;
    } cases[] = {
        {{"-forcepbo"}, "> PBO support detected.\n"},
        {{"-forcepbonow"}, "> PBO support detected.\n"},
        {{"-forcepbo", "-x"}, "> PBO support detected.\n"},
        {{"-x", "-forcepbo"},
         "> PBO support detected, but it may be slow (opengl version is lower than 2.1), so i "
         "disable it. Use -forcepbo to enable it.\n"},
    };
    for (const auto& c : cases)
    {
        PlayScript script = SilentScript({}, 0);
        script.gl.version21 = false;
        script.arguments = c.arguments;

        EXPECT_EQ(LinesWith(PlayUsualPiece(script).record, {"> PBO"}), c.line);
    }
}

TEST(RunDemo, EachResolutionOpensItsWindow)
{
    const char* sizes[] = {"320x240",  "400x300",   "512x384",   "640x480",
                           "800x600",  "1024x768",  "1280x720",  "1280x800",
                           "1280x960", "1280x1024", "1366x768",  "1400x1050",
                           "1440x900", "1600x1200", "1680x1050", "1920x1080"};
    for (int32_t index = 0; index < 16; ++index)
    {
        PlayScript script = SilentScript({}, 0);
        script.choice.resolutionIndex = index;

        ChildRun run = PlayUsualPiece(script);

        std::string window = sizes[index];
        window[window.find('x')] = ' ';
        std::string expected = "SDL_SetVideoMode ";
        expected += window + " 24 HWSURFACE|ASYNCBLIT|OPENGL|FULLSCREEN\n";
        expected += kFrame + "0 " + sizes[index];
        expected += " aspect 1.33333337 vbo 1 pbo 1 npot 1 dot3 1\n";
        EXPECT_EQ(LinesWith(run.record, {"SDL_SetVideoMode", "RenderFrame"}), expected);
    }
}

TEST(RunDemo, TheAspectGoesToFramesAndDoesNotChangeTheWindow)
{
    const char* aspects[] = {"1.33333337", "1.77777779", "1.60000002"}; // the floats in full
    for (int32_t index = 0; index < 3; ++index)
    {
        PlayScript script = SilentScript({}, 0);
        script.choice.resolutionIndex = 15;
        script.choice.aspectIndex = index;

        ChildRun run = PlayUsualPiece(script);

        EXPECT_EQ(LinesWith(run.record, {"SDL_SetVideoMode", "RenderFrame"}),
                  "SDL_SetVideoMode 1920 1080 24 HWSURFACE|ASYNCBLIT|OPENGL|FULLSCREEN\n" + kFrame +
                      "0 1920x1080 aspect " + aspects[index] + " vbo 1 pbo 1 npot 1 dot3 1\n");
    }
}

TEST(RunDemo, ALauncherThatQuitsEndsTheRunWithItsExitCode)
{
    for (int exitCode : {0, 1})
    {
        PlayScript script;
        script.launcherQuits = true;
        script.launcherExitCode = exitCode;

        ChildRun run = PlayUsualPiece(script);

        EXPECT_EQ(run.exitCode, exitCode);
        EXPECT_EQ(run.record, "> Quorvale Engine v0.232\n"
                              "RunLauncher Quorvale Engine v0.232\n");
    }
}

TEST(RunDemo, WithoutAPackageTheRunEndsWithCode1AndSdlOpen)
{
    TemporaryFolder folder;
    folder.Write("piece.DPK", PieceOf(LoadingSource(), DemoSource())); // capitals do not count

    ChildRun run = Play(folder, PlayScript());

    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.record, "> Quorvale Engine v0.232\n"
                          "RunLauncher Quorvale Engine v0.232\n"
                          "> Sux... no dpk file.\n");
}

TEST(RunDemo, AWindowThatDoesNotOpenEndsTheRunWithSdlsText)
{
    PlayScript script = SilentScript({}, 0);
    script.sdl.windowFails = true;
    script.sdl.error = "No video mode large enough for 1024x768";

    ChildRun run = PlayUsualPiece(script);

    EXPECT_EQ(run.exitCode, 1);
    std::string end =
        "SDL_SetVideoMode 1024 768 24 HWSURFACE|ASYNCBLIT|OPENGL|FULLSCREEN\n"
        "! quorvale: can't open a window of 1024 x 768: No video mode large enough for 1024x768; "
        "choose a smaller one in the launcher\n"
        "SDL_Quit\n";
    EXPECT_EQ(run.record.substr(run.record.size() - end.size()), end);
}

TEST(RunDemo, EscapeEndsWithoutShowingTheFrameOrABenchmark)
{
    PlayScript script = SilentScript({0, 0, 1000, 1010, 1020}, 10);
    script.sdl.polls = {{0, false, false, false}, {0, true, false, true}};

    ChildRun run = PlayUsualPiece(script);

    EXPECT_EQ(run.exitCode, 0);
    std::string end = kFrame + "1" + kFrameEnd +
                      "SDL_GetKeyState\n"
                      "SDL_PollEvent KEYDOWN\n"
                      "> Bye!\n"
                      "SDL_Quit\n";
    EXPECT_EQ(run.record.substr(run.record.size() - end.size()), end);
}

TEST(RunDemo, EscapeCountsWithoutAnEvent)
{
    PlayScript script = SilentScript({0, 0, 1000, 1010, 1020}, 10);
    script.sdl.polls = {{0, false, false, false}, {0, true, false, false}};

    ChildRun run = PlayUsualPiece(script);

    EXPECT_EQ(run.exitCode, 0);
    std::string end = kFrame + "1" + kFrameEnd +
                      "SDL_GetKeyState\n"
                      "SDL_PollEvent\n"
                      "> Bye!\n"
                      "SDL_Quit\n";
    EXPECT_EQ(run.record.substr(run.record.size() - end.size()), end);
}

TEST(RunDemo, AnotherKeyGoesOn)
{
    PlayScript script = SilentScript({}, 2);
    script.sdl.polls = {{0, false, false, true}};

    ChildRun run = PlayUsualPiece(script);

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(LinesWith(run.record, {"SDL_PollEvent", "RenderFrame", "> B"}),
              kFrame + "0" + kFrameEnd + "SDL_PollEvent KEYDOWN\n" + kFrame + "0" + kFrameEnd +
                  "SDL_PollEvent\n" + kFrame + "0" + kFrameEnd +
                  "> Benchmark result: inf fps\n"
                  "> Bye!\n");
}

TEST(RunDemo, AnEventThatIsNoQuitGoesOn)
{
    // One event a frame is read: of two that wait, the second takes the next frame.
    PlayScript script = SilentScript({}, 10);
    script.sdl.polls = {{0, false, false, true}, {0, false, true, false}};

    ChildRun run = PlayUsualPiece(script);

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(LinesWith(run.record, {"SDL_PollEvent", "SDL_GL_Swap", "RenderFrame", "> B"}),
              "SDL_GL_SwapBuffers\n" // the two of the empty window
              "SDL_GL_SwapBuffers\n" +
                  kFrame + "0" + kFrameEnd + "SDL_PollEvent KEYDOWN\nSDL_GL_SwapBuffers\n" +
                  kFrame + "0" + kFrameEnd + "SDL_PollEvent QUIT\n");
}

TEST(RunDemo, AClosedWindowEndsTheProcessAtOnceWithCode0)
{
    PlayScript script = SilentScript({0, 0, 1000, 1010, 1020}, 10);
    script.sdl.polls = {{0, false, false, false}, {0, true, true, false}}; // Escape as well

    ChildRun run = PlayUsualPiece(script);

    EXPECT_EQ(run.exitCode, 0);
    std::string end = kFrame + "1" + kFrameEnd +
                      "SDL_GetKeyState\n"
                      "SDL_PollEvent QUIT\n";
    EXPECT_EQ(run.record.substr(run.record.size() - end.size()), end);
}

TEST(RunDemo, NoEventIsReadBeforeTheFirstFrame)
{
    PlayScript script = SilentScript({}, 1);

    ChildRun run = PlayUsualPiece(script);

    EXPECT_EQ(LinesWith(run.record, {"SDL_PollEvent", "SDL_GetKeyState", "RenderFrame"}),
              kFrame + "0" + kFrameEnd +
                  "SDL_GetKeyState\n"
                  "SDL_PollEvent\n" +
                  kFrame + "0" + kFrameEnd);
}

TEST(RunDemo, TwoFastFramesCanGetTheSameTime)
{
    ChildRun run = PlayUsualPiece(SilentScript({0, 0, 1000, 1009, 1010, 1019, 1020}, 4));

    EXPECT_EQ(LinesWith(run.record, {"RenderFrame"}), kFrame + "0" + kFrameEnd +     // 0 ms
                                                          kFrame + "0" + kFrameEnd + // 9 ms
                                                          kFrame + "1" + kFrameEnd + // 10 ms
                                                          kFrame + "1" + kFrameEnd + // 19 ms
                                                          kFrame + "2" + kFrameEnd); // 20 ms
}

TEST(RunDemo, TheFrameRateIsDividedInFloats)
{
    // 3 frames in 64 ms: 46.875 in double would print as 46.88, but 0.064 is a little more as a
    // float.
    ChildRun run = PlayUsualPiece(SilentScript({0, 0, 0, 20, 40, 64}, 3));

    EXPECT_EQ(LinesWith(run.record, {"> Benchmark"}), "> Benchmark result: 46.87 fps\n");
}

TEST(RunDemo, ADemoThatEndsAtOncePrints0By0AsTheSystemDoes)
{
    ChildRun run = PlayUsualPiece(SilentScript({0, 0, 1000}, 0));

    EXPECT_EQ(run.exitCode, 0);
    std::string end = kFrame + "0" + kFrameEnd +
                      "> Benchmark result: -nan fps\n"
                      "> Bye!\n"
                      "SDL_Quit\n";
    EXPECT_EQ(run.record.substr(run.record.size() - end.size()), end);
}

TEST(RunDemo, ADemoThatEndsAtOnceAfterSomeMusicHasARateOf0)
{
    PlayScript script;
    script.sdl.ticks = {0, 0, 500, 525};
    script.sdl.blocksAtStart = 1;

    ChildRun run = PlayUsualPiece(script);

    EXPECT_EQ(LinesWith(run.record, {"RenderFrame", "> Benchmark"}),
              kFrame + "2" + kFrameEnd + "> Benchmark result: 0.00 fps\n");
}

TEST(RunDemo, AFaultNamesItsPlaceAndGivesTheDisplayBack)
{
    DocumentSource demo = DemoSource();
    demo.sections[10] = "<row><clip/></row>";
    TemporaryFolder folder;
    folder.Write("piece.dpk", PieceOf(LoadingSource(), demo));

    ChildRun run = Play(folder, SilentScript({}, 0));

    EXPECT_EQ(run.exitCode, 1);
    std::string end = "SDL_GetTicks 0\n"
                      "! quorvale: demo.xmlz, section 10 (timeline), row 1, clip 1: attribute "
                      "\"id\" of <clip> is missing\n"
                      "SDL_Quit\n";
    EXPECT_EQ(run.record.substr(run.record.size() - end.size()), end);
}

TEST(RunDemo, ASoundDeviceThatDoesNotOpenEndsTheRunWithCode1)
{
    PlayScript script;
    script.sdl.audioFails = true;
    script.sdl.error = "No available audio device";

    ChildRun run = PlayUsualPiece(script);

    EXPECT_EQ(run.exitCode, 1);
    std::string end = "SDL_OpenAudio 44100 S16LSB 2 8192\n"
                      "! Couldn't open audio: No available audio device\n";
    EXPECT_EQ(run.record.substr(run.record.size() - end.size()), end);
}

TEST(RunDemo, ThePictureRunsOnPastTheModulesEnd)
{
    PlayScript script;
    script.modplug.moduleBytes = 32768;
    script.sdl.blocksAtStart = 1;
    script.sdl.polls = {{1, false, false, false}, {1, false, false, false}};
    // Loading, the first block, the first reading; then a block and a reading each frame.
    script.sdl.ticks = {0, 0, 1000, 1000, 1186, 1186, 1372, 1382};
    script.demoFrames = 2;

    ChildRun run = PlayUsualPiece(script);

    EXPECT_EQ(LinesWith(run.record, {"AudioBlock", "RenderFrame", "> Benchmark"}),
              "AudioBlock 32768\n"
              "AudioBlock filled\n" +
                  kFrame + "0" + kFrameEnd +
                  "AudioBlock 32768\n"
                  "AudioBlock untouched\n" + // the start of audio dropped the first block's count
                  kFrame +
                  "0" + kFrameEnd +
                  "AudioBlock 32768\n"
                  "AudioBlock untouched\n" +
                  kFrame + "19" + kFrameEnd + // 32768 / 176.4 + 10 = 195.76 ms
                  "> Benchmark result: 10.26 fps\n");
}

TEST(RunDemo, WithNoBlockAtAllTheDemoStandsAtTime0)
{
    PlayScript script;
    script.sdl.ticks = {0, 0, 1000};
    script.demoFrames = 2;

    ChildRun run = PlayUsualPiece(script);

    EXPECT_EQ(LinesWith(run.record, {"RenderFrame"}),
              kFrame + "0" + kFrameEnd + kFrame + "0" + kFrameEnd + kFrame + "0" + kFrameEnd);
}
