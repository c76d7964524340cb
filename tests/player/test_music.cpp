// SPDX-License-Identifier: MIT
#include "player/music.h"

#include <SDL.h>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <tinyxml.h>
#include <unistd.h>

#include "engine/data/fault.h"
#include "player/demo_clock.h"
#include "support/child_run.h"
#include "support/recorded_gl.h"
#include "support/recorded_modplug.h"
#include "support/recorded_sdl.h"
#include "support/temporary_folder.h"

static const std::string kSilent = "SDL_GetTicks 0\n"; // all that a silent start does

static const std::string kSettings = "ModPlug_GetSettings\n"
                                     "ModPlug_SetSettings flags 7 channels 2 bits 16 frequency "
                                     "44100 resampling 3 stereo 101 mix 102 "
                                     "reverb 20 104 bass 105 106 surround 107 108 loops 0\n";

/// The record of a start with a file that is no module, up to the audio device.
static const std::string kNotLoaded = kSettings + "SDL_OpenAudio 44100 S16LSB 2 8192\n";

/// The record of a start with a module, up to the audio device.
static std::string Loaded(const std::string& module)
{
    return "ModPlug_Load " + std::to_string(module.size()) + " \"" + module + "\"\n" +
           "ModPlug_SetMasterVolume 512\n" + kSettings + "SDL_OpenAudio 44100 S16LSB 2 8192\n";
}

/// Starts the music of a document that ends with this music node, in the folder.
static bool StartIn(const TemporaryFolder& folder, const std::string& musicNode,
                    LauncherChoice* choice)
{
    if (chdir(folder.path.c_str()) != 0)
    {
        perror("test_music: chdir");
        abort();
    }
    setvbuf(stdout, nullptr, _IOLBF, 0); // as the program does
    TiXmlDocument tree;
    tree.Parse(musicNode.c_str());
    DemoDocument document = {};
    document.name = "demo.xmlz";
    document.document = &tree;
    document.musicNode = tree.FirstChild();
    FaultList faults;
    StartFaults(&faults);
    const MusicResult result = StartMusic(&document, choice, &faults);
    if (result == MusicResult::kFailed)
    {
        PrintFault(GetFault(&faults, 0), "quorvale");
    }
    return result == MusicResult::kStarted;
}

/// @return exit code 0 with music, 1 if the device did not open, 2 for the silent clock
static ChildRun Start(const TemporaryFolder& folder, const std::string& musicNode,
                      int32_t music = kSwitchOn)
{
    return RunInChild(
        [&folder, &musicNode, music]()
        {
            LauncherChoice choice = kStartChoice;
            choice.music = music;
            if (!StartIn(folder, musicNode, &choice))
            {
                return 1;
            }
            if (AudioClock.audioStarted != (Sdl.blocksAtStart > 0 ? 1 : 0))
            {
                return 98;
            }
            return choice.music == kSwitchOn ? 0 : 2;
        });
}

/// Starts the music of "a.xm", then lets the device ask for blocks of these lengths.
/// @return exit code 0 if each of them was counted and flagged; the record of the blocks alone
static ChildRun FillBlocks(const TemporaryFolder& folder, const std::vector<uint32_t>& lengths)
{
    return RunInChild(
        [&folder, &lengths]()
        {
            LauncherChoice choice = kStartChoice;
            if (!StartIn(folder, "<music file=\"a.xm\"/>", &choice) || AudioClock.audioStarted != 0)
            {
                return 98;
            }
            TakeGlCalls();
            Sdl.polls.assign(lengths.size(), {1, false, false, false});
            uint32_t delivered = 0;
            for (uint32_t length : lengths)
            {
                Sdl.blockBytes = length;
                AudioClock.audioStarted = 0;
                SDL_Event event;
                SDL_PollEvent(&event);
                if (AudioClock.audioStarted != 1)
                {
                    return 97;
                }
                if (AudioClock.bytesBeforeBlock != delivered ||
                    AudioClock.bytesDelivered != delivered + length)
                {
                    return 96;
                }
                delivered += length;
            }
            return 0;
        });
}

class Music : public testing::Test
{
  protected:
    void SetUp() override
    {
        ResetGl();
        ResetSdl();
        ModPlug = {};
    }

    TemporaryFolder folder;
};

TEST_F(Music, AModuleBesideThePackageIsPlayed)
{
    folder.Write("a.xm", MakeModuleHead("beside"));
    folder.Write("music/a.xm", MakeModuleHead("below"));

    ChildRun run = Start(folder, "<music file=\"a.xm\"/>");

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.record, Loaded("beside") + "SDL_PauseAudio 0\n");
}

TEST_F(Music, AModuleThatIsNotThereIsPlayedFromTheMusicFolder)
{
    folder.Write("music/a.xm", MakeModuleHead("below"));

    ChildRun run = Start(folder, "<music file=\"a.xm\"/>");

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.record, Loaded("below") + "SDL_PauseAudio 0\n");
}

TEST_F(Music, APathGoesBelowTheMusicFolderAsItStands)
{
    folder.Write("music/more/a.xm", MakeModuleHead("far below"));

    ChildRun run = Start(folder, "<music file=\"more/a.xm\"/>");

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.record, Loaded("far below") + "SDL_PauseAudio 0\n");
}

TEST_F(Music, AFileInAFolderIsPlayedFromThereFirst)
{
    folder.Write("sub/a.xm", MakeModuleHead("beside"));
    folder.Write("music/sub/a.xm", MakeModuleHead("below"));

    ChildRun run = Start(folder, "<music file=\"sub/a.xm\"/>");

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.record, Loaded("beside") + "SDL_PauseAudio 0\n");
}

TEST_F(Music, AModuleInNeitherPlaceIsReportedAndTheClockIsSilent)
{
    ChildRun run = Start(folder, "<music file=\"more/a.xm\"/>");

    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.record, "> Error: cannot open more/a.xm!\n" + kSilent);
}

TEST_F(Music, WithoutAFileTheClockIsSilentAndNothingIsPrinted)
{
    ChildRun run = Start(folder, "<music volume=\"3\"/>");

    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.record, kSilent);
}

TEST_F(Music, SwitchedOffItDoesNotLookAtTheNodeWhichNeedNotExist)
{
    folder.Write("a.xm", MakeModuleHead("module"));

    for (const char* node : {"<music file=\"a.xm\"/>", ""})
    {
        ChildRun run = Start(folder, node, kSwitchOff);

        EXPECT_EQ(run.exitCode, 2);
        EXPECT_EQ(run.record, kSilent);
    }
}

TEST_F(Music, ANodeThatIsMissingOrNoElementIsAFault)
{
    ChildRun missing = Start(folder, "");
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_EQ(missing.record, "! quorvale: demo.xmlz, music node: the node is missing\n");

    ChildRun comment = Start(folder, "<!-- a.xm -->");
    EXPECT_EQ(comment.exitCode, 1);
    EXPECT_EQ(comment.record, "! quorvale: demo.xmlz, music node: the node is not an element\n");
}

TEST_F(Music, ADeviceThatDoesNotOpenStartsNoSilentClock)
{
    folder.Write("a.xm", MakeModuleHead("module"));
    Sdl.openAudioFails = true;
    Sdl.error = "No available audio device";

    ChildRun run = Start(folder, "<music file=\"a.xm\"/>");

    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.record, Loaded("module") + "! Couldn't open audio: No available audio device\n");
}

TEST_F(Music, TheFirstBlockIsCountedStampedAndThenRendered)
{
    folder.Write("a.xm", MakeModuleHead("module"));
    ModPlug.moduleBytes = 40000;
    Sdl.ticks = {500, 686, 700};
    Sdl.blocksAtStart = 2;

    ChildRun run = Start(folder, "<music file=\"a.xm\"/>");

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.record, Loaded("module") + "SDL_PauseAudio 0\n"
                                             "AudioBlock 32768\n"
                                             "SDL_GetTicks 500\n"
                                             "ModPlug_Read 32768\n"
                                             "AudioBlock filled\n"
                                             "AudioBlock 32768\n"
                                             "SDL_GetTicks 686\n"
                                             "ModPlug_Read 32768\n"
                                             "AudioBlock filled to 7232\n"
                                             "SDL_GetTicks 700\n"); // the first reading
}

TEST_F(Music, EveryBlockSetsAudioStarted)
{
    folder.Write("a.xm", MakeModuleHead("module"));
    for (bool loadFails : {false, true})
    {
        ModPlug.loadFails = loadFails;
        ModPlug.moduleBytes = 32768; // the second block comes after the module's end

        EXPECT_EQ(FillBlocks(folder, {32768, 32768, 32768}).exitCode, 0);
    }
}

TEST_F(Music, ABlockOfAnyLengthIsCountedAndFilledWhole)
{
    folder.Write("a.xm", MakeModuleHead("module"));
    ModPlug.moduleBytes = 100000;

    ChildRun run = FillBlocks(folder, {4096, 1, 65536, 1002});

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.record, "SDL_PollEvent\n"
                          "AudioBlock 4096\n"
                          "SDL_GetTicks 0\n"
                          "ModPlug_Read 4096\n"
                          "AudioBlock filled\n"
                          "SDL_PollEvent\n"
                          "AudioBlock 1\n"
                          "SDL_GetTicks 0\n"
                          "ModPlug_Read 1\n"
                          "AudioBlock filled\n"
                          "SDL_PollEvent\n"
                          "AudioBlock 65536\n"
                          "SDL_GetTicks 0\n"
                          "ModPlug_Read 65536\n"
                          "AudioBlock filled\n"
                          "SDL_PollEvent\n"
                          "AudioBlock 1002\n"
                          "SDL_GetTicks 0\n"
                          "ModPlug_Read 1002\n"
                          "AudioBlock filled\n");
}

TEST_F(Music, AFileThatIsNoModuleFillsBlocksWithSilence)
{
    folder.Write("a.xm", "no module");
    ModPlug.loadFails = true;

    ChildRun run = FillBlocks(folder, {65536, 1});

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.record, "SDL_PollEvent\n"
                          "AudioBlock 65536\n"
                          "SDL_GetTicks 0\n"
                          "AudioBlock silent\n"
                          "SDL_PollEvent\n"
                          "AudioBlock 1\n"
                          "SDL_GetTicks 0\n"
                          "AudioBlock silent\n");
}

TEST_F(Music, AModuleThatHasEndedLeavesTheBlockAlone)
{
    folder.Write("a.xm", MakeModuleHead("module"));
    ModPlug.moduleBytes = 32768;
    Sdl.blocksAtStart = 2;

    ChildRun run = Start(folder, "<music file=\"a.xm\"/>");

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.record, Loaded("module") + "SDL_PauseAudio 0\n"
                                             "AudioBlock 32768\n"
                                             "SDL_GetTicks 0\n"
                                             "ModPlug_Read 32768\n"
                                             "AudioBlock filled\n"
                                             "AudioBlock 32768\n"
                                             "SDL_GetTicks 0\n"
                                             "ModPlug_Read 32768\n"
                                             "AudioBlock untouched\n");
}

TEST_F(Music, AModuleThatDoesNotLoadIsSilenceThatTheClockCounts)
{
    folder.Write("a.xm", MakeModuleHead("module"));
    ModPlug.loadFails = true;
    Sdl.blocksAtStart = 1;
    Sdl.ticks = {500, 510};

    ChildRun run = Start(folder, "<music file=\"a.xm\"/>");

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.record, "ModPlug_Load 6 \"module\"\n" + kSettings +
                              "SDL_OpenAudio 44100 S16LSB 2 8192\n"
                              "SDL_PauseAudio 0\n"
                              "AudioBlock 32768\n"
                              "SDL_GetTicks 500\n"
                              "AudioBlock silent\n"
                              "SDL_GetTicks 510\n");
}

TEST_F(Music, AFolderInTheModulesPlaceIsSilence)
{
    folder.Write("a.xm/readme", "not a module");

    ChildRun run = Start(folder, "<music file=\"a.xm\"/>");

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.record, kNotLoaded + "SDL_PauseAudio 0\n");
}

TEST_F(Music, AnEmptyFileIsSilence)
{
    folder.Write("a.xm", "");

    ChildRun run = Start(folder, "<music file=\"a.xm\"/>");

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.record, kNotLoaded + "SDL_PauseAudio 0\n");
}

TEST_F(Music, AFileThatIsNoExtendedModuleIsNotGivenToTheLibrary)
{
    folder.Write("a.xm", "MThd" + std::string(600, '\0'));

    ChildRun run = Start(folder, "<music file=\"a.xm\"/>");

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.record, kNotLoaded + "SDL_PauseAudio 0\n");
}

TEST_F(Music, APipeInTheModulesPlaceIsSilenceAtOnce)
{
    ASSERT_EQ(mkfifo((folder.path + "/a.xm").c_str(), 0600), 0);

    ChildRun run = Start(folder, "<music file=\"a.xm\"/>");

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.record, kNotLoaded + "SDL_PauseAudio 0\n");
}

TEST_F(Music, ADeviceInTheModulesPlaceIsSilence)
{
    ChildRun run = Start(folder, "<music file=\"/dev/zero\"/>");

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.record, kNotLoaded + "SDL_PauseAudio 0\n");
}

TEST_F(Music, APathIsPrintedInPlainText)
{
    ChildRun run = Start(folder, "<music file=\"a&#x1b;[2J\"/>");

    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.record, "> Error: cannot open a\\x1B[2J!\n" + kSilent);
}

TEST_F(Music, AFileOf64MebibytesIsReadAndALargerOneIsAFault)
{
    folder.Write("a.xm", MakeModuleHead("module"));
    const std::string path = folder.path + "/a.xm";
    ASSERT_EQ(truncate(path.c_str(), 1L << 26), 0);
    EXPECT_EQ(Start(folder, "<music file=\"a.xm\"/>").record,
              Loaded("module") + "SDL_PauseAudio 0\n");

    ASSERT_EQ(truncate(path.c_str(), (1L << 26) + 1), 0);
    ChildRun run = Start(folder, "<music file=\"a.xm\"/>");

    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.record, "! quorvale: demo.xmlz, music node: \"a.xm\": a module of 67108865 "
                          "bytes is larger than any\n");
}
