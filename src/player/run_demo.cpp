#include "player/run_demo.h"

#include <SDL.h>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <tinyxml.h>

#include "engine/data/cos_table.h"
#include "engine/data/fault.h"
#include "engine/data/package_file.h"
#include "engine/render/timeline.h"
#include "engine/textures/corner_masks.h"
#include "player/demo_clock.h"
#include "player/display.h"
#include "player/launcher.h"
#include "player/load_piece.h"
#include "player/music.h"

static constexpr int kVersion = 232;
static constexpr const char kForcePboOption[] = "-forcepbo";
static constexpr uint32_t kMsPerTick = 10;

/// Where `new` finds no memory it would throw, into code that is built without exceptions: strings
/// and the trees of documents allocate that way. The display is given back first, as on any fault.
static void EndOutOfMemory()
{
    FatalError("out of memory");
}

/// Whether the first argument begins with the option. Nothing else on the command line counts.
static bool WantsForcedPbo(int argc, char** argv)
{
    return argc > 1 && strncmp(argv[1], kForcePboOption, sizeof(kForcePboOption) - 1) == 0;
}

/// Frees the tables that nothing reads once a document has played; the other tables of a document,
/// and all of OpenGL, stay to the end of the process.
static void FreePlayedTables(const DemoDocument* document)
{
    ObjectTable* const played[] = {document->scenes, document->envelopes, document->materials,
                                   document->lights};
    for (ObjectTable* table : played)
    {
        if (table != nullptr) // the package had the document
        {
            FreeObjectTable(table);
        }
    }
}

/// Whether the viewer wants out. Takes one event a frame; a closed window ends the process here.
static bool PollEscape()
{
    const Uint8* keys = SDL_GetKeyState(nullptr);
    SDL_Event event;
    if (SDL_PollEvent(&event) != 0 && event.type == SDL_QUIT)
    {
        exit(0);
    }
    return keys[SDLK_ESCAPE] != 0;
}

enum class DemoEnd
{
    kEnded,   // a frame drew no scene
    kEscaped, // the viewer had enough
};

/// Plays the demo, as fast as buffers swap: time comes from the clock and not from frames.
/// @param frames   receives the number of frames that drew something
static DemoEnd PlayDemo(const DemoDocument* demo, const View* view, GlFeatures features,
                        const LauncherChoice* choice, uint32_t* frames)
{
    *frames = 0;
    while (DrawDocument(demo, view, features, DemoClock / kMsPerTick) != 0)
    {
        *frames += 1;
        if (PollEscape())
        {
            return DemoEnd::kEscaped;
        }
        ShowFrame();
        UpdateDemoClock(choice);
    }
    return DemoEnd::kEnded;
}

/// Prints the frame rate up to the last reading of the clock. A piece that ends at once has 0
/// frames in no time, printed as the system prints 0 / 0.
static void PrintBenchmark(uint32_t frames)
{
    float seconds = static_cast<float>(DemoClock) / 1000.0f;
    float rate = static_cast<float>(frames) / seconds;
    printf("Benchmark result: %.2f fps\n", static_cast<double>(rate));
}

int RunDemo(int argc, char** argv)
{
    // Line by line, so that whoever reads a pipe sees a line when it is printed.
    setvbuf(stdout, nullptr, _IOLBF, 0);
    SetDisplayRestorer(SDL_Quit);
    std::set_new_handler(EndOutOfMemory);

    char title[64];
    snprintf(title, sizeof(title), "Quorvale Engine v0.%d", kVersion);
    printf("%s\n", title);

    // Destroyed on the way out of here, the demo first.
    TiXmlDocument loadingTree;
    TiXmlDocument demoTree;
    DemoDocument loading = {};
    loading.name = "loading.xmlz";
    loading.document = &loadingTree;
    loading.timeline = CreateTimeline();
    InitializeTimeline(loading.timeline);
    DemoDocument demo = {};
    demo.name = "demo.xmlz";
    demo.document = &demoTree;
    demo.timeline = CreateTimeline();

    LauncherChoice choice = kStartChoice;
    int exitCode = 0;
    if (RunLauncher(title, &choice, &exitCode) == LauncherResult::kQuit)
    {
        free(demo.timeline);
        free(loading.timeline);
        return exitCode;
    }
    FILE* package = FindPackage();
    if (package == nullptr)
    {
        free(demo.timeline);
        free(loading.timeline);
        return 1;
    }

    printf("Starting the demo.\n");
    BuildCosTable();
    View view = ChosenView(&choice);
    GlFeatures features = OpenDisplay(&choice, &view, WantsForcedPbo(argc, argv));
    BuildCornerMasks();
    if (choice.fullscreen == kSwitchOn)
    {
        SDL_ShowCursor(SDL_DISABLE);
    }

    const DemoDocument* last = LoadPiece(package, &view, features, &loading, &demo);
    if (!StartMusic(last, &choice))
    {
        return 1;
    }
    free(loading.timeline);
    FreePlayedTables(&loading);

    uint32_t frames = 0;
    DemoEnd end = PlayDemo(&demo, &view, features, &choice, &frames);

    fclose(package);
    if (end == DemoEnd::kEnded)
    {
        PrintBenchmark(frames);
    }
    printf("Bye!\n");
    free(demo.timeline);
    FreePlayedTables(&demo);
    SDL_Quit();
    return 0;
}
