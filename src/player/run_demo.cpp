// SPDX-License-Identifier: MIT
#include "player/run_demo.h"

#include <SDL.h>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "engine/data/cos_table.h"
#include "engine/piece/read_ahead.h"
#include "engine/render/piece_run.h"
#include "engine/textures/corner_masks.h"
#include "player/demo_clock.h"
#include "player/display.h"
#include "player/launcher.h"
#include "player/load_piece.h"
#include "player/music.h"
#include "player/sdl_shim.h"

static constexpr const char kProgram[] = "quorvale";
static constexpr const char kTitle[] = "Quorvale Engine v" QUORVALE_VERSION;
static constexpr const char kForcePboOption[] = "-forcepbo";
static constexpr uint32_t kMsPerTick = 10;

/// Whether the first argument begins with the option. Nothing else on the command line counts.
static bool WantsForcedPbo(int argc, char** argv)
{
    return argc > 1 && strncmp(argv[1], kForcePboOption, sizeof(kForcePboOption) - 1) == 0;
}

enum class DemoEnd
{
    kEnded,   // a frame drew no scene
    kEscaped, // the viewer had enough
    kClosed,  // the viewer closed the window
    kFailed,  // after a fault
};

/// Takes one event.
/// @return whether the viewer wants out, and how
static bool PollEnd(DemoEnd* end)
{
    const Uint8* keys = SDL_GetKeyState(nullptr);
    SDL_Event event;
    if (SDL_PollEvent(&event) != 0 && event.type == SDL_QUIT)
    {
        *end = DemoEnd::kClosed;
        return true;
    }
    *end = DemoEnd::kEscaped;
    return keys[SDLK_ESCAPE] != 0;
}

/// Plays the demo, as fast as buffers swap: time comes from the clock and not from frames.
/// @param frames   receives the number of frames that drew something
static DemoEnd PlayDemo(PieceRun* run, const View* view, const LauncherChoice* choice,
                        uint32_t* frames)
{
    *frames = 0;
    while (DrawDocument(run, RunDocument::kDemo, view, DemoClock / kMsPerTick) != 0)
    {
        *frames += 1;
        DemoEnd end;
        if (PollEnd(&end))
        {
            return end;
        }
        ShowFrame();
        UpdateDemoClock(choice);
    }
    return HasFailed(run->faults) ? DemoEnd::kFailed : DemoEnd::kEnded;
}

/// Prints the frame rate up to the last reading of the clock. A piece that ends at once has 0
/// frames in no time, printed as the system prints 0 / 0.
static void PrintBenchmark(uint32_t frames)
{
    const float seconds = static_cast<float>(DemoClock) / 1000.0f;
    const float rate = static_cast<float>(frames) / seconds;
    printf("Benchmark result: %.2f fps\n", static_cast<double>(rate));
}

/// The exit codes of the program.
enum ExitCode : int
{
    kExitEnded = 0,
    kExitFailed = 1,
};

/// Tells the first fault, which is the one that ended the run, and gives the display back.
static int EndFailedRun(const FaultList* faults)
{
    PrintFault(GetFault(faults, 0), kProgram);
    SDL_Quit();
    return kExitFailed;
}

/// Plays a chosen piece to its end.
/// @param run   started
static int PlayPiece(PieceRun* run, LauncherChoice* choice, bool forcePbo)
{
    FaultList* faults = run->faults;
    run->threads = CountLoadingThreads(getenv("QUORVALE_THREADS"));
    if (!FindPackage(&run->piece.package, faults))
    {
        return HasFailed(faults) ? EndFailedRun(faults) : kExitFailed;
    }

    printf("Starting the demo.\n");
    BuildCosTable();
    const View view = ChosenView(choice);
    if (!OpenDisplay(choice, &view, forcePbo, &run->features, faults))
    {
        return EndFailedRun(faults);
    }
    run->gl.copyPicture = FindShimCopy();
    BuildCornerMasks();
    if (choice->fullscreen == kSwitchOn)
    {
        SDL_ShowCursor(SDL_DISABLE);
    }

    const DemoDocument* last = LoadPiece(run, &view);
    if (last == nullptr)
    {
        return EndFailedRun(faults);
    }
    switch (StartMusic(last, choice, faults))
    {
    case MusicResult::kStarted:
        break;
    case MusicResult::kNoDevice:
        return kExitFailed;
    case MusicResult::kFailed:
        return EndFailedRun(faults);
    }
    // The loading document stays: OpenGL may still point at the coordinates of its meshes, which
    // recipes of the demo leave on.

    uint32_t frames = 0;
    const DemoEnd end = PlayDemo(run, &view, choice, &frames);
    if (end == DemoEnd::kClosed)
    {
        return kExitEnded; // SDL is left as it is
    }
    if (end == DemoEnd::kFailed)
    {
        return EndFailedRun(faults);
    }

    ClosePackage(&run->piece.package);
    if (end == DemoEnd::kEnded)
    {
        PrintBenchmark(frames);
    }
    printf("Bye!\n");
    SDL_Quit();
    return kExitEnded;
}

/// Runs the launcher, then the piece.
/// @param run   not started yet
static int RunChosen(int argc, char** argv, PieceRun* run, FaultList* faults)
{
    printf("%s\n", kTitle);
    if (!StartRun(run, faults))
    {
        return EndFailedRun(faults);
    }

    LauncherChoice choice = kStartChoice;
    int exitCode = kExitEnded;
    switch (RunLauncher(kTitle, &choice, &exitCode, faults))
    {
    case LauncherResult::kStart:
        return PlayPiece(run, &choice, WantsForcedPbo(argc, argv));
    case LauncherResult::kQuit:
        return exitCode;
    default:
        return EndFailedRun(faults);
    }
}

int RunDemo(int argc, char** argv)
{
    // Line by line, so that whoever reads a pipe sees a line when it is printed.
    setvbuf(stdout, nullptr, _IOLBF, 0);

    FaultList faults;
    StartFaults(&faults);
    PieceRun run = {};
    const int exitCode = RunChosen(argc, argv, &run, &faults);

    // OpenGL ends with the process: not one call more is made for it.
    LeaveRun(&run);
    FreeFaults(&faults);
    return exitCode;
}
