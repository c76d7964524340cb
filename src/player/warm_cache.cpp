// SPDX-License-Identifier: MIT

// Fills the driver's cache before a piece plays: the driver compiles at the first picture of each
// kind, which takes half a second at the start and is seen as stutter later.
//
//   quorvale-warm FILE         draws each clip of a package once, small and without a window
//   quorvale-warm --renderer   prints the renderer's name
//
// It says so, and does it once for each piece and driver: a file in the user's cache, named after
// both, stands for what was done. Where it can do nothing it is silent, and never a reason not to
// play: a package with a fault is the player's to tell.
#include <GL/glew.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "engine/data/cos_table.h"
#include "engine/piece/read_ahead.h"
#include "engine/render/piece_run.h"
#include "engine/render/records/timeline.h"
#include "engine/stage/egl_display.h"
#include "engine/textures/corner_masks.h"

static constexpr int32_t kWidth = 160;         // pixels
static constexpr int32_t kHeight = 100;        // pixels
static constexpr uint32_t kMostPictures = 400; // of one piece
static constexpr uint32_t kLoadingMoment = 50; // ticks, of 100
static constexpr int32_t kPlayerSamples = 2;   // that the player asks for with antialiasing

static uint64_t HashText(uint64_t hash, const void* bytes, size_t size)
{
    const unsigned char* next = static_cast<const unsigned char*>(bytes);
    for (size_t i = 0; i < size; ++i)
    {
        hash = (hash ^ next[i]) * 0x100000001B3;
    }
    return hash;
}

/// @return false if the file can't be read
static bool HashFile(const char* path, uint64_t* hash)
{
    FILE* file = fopen(path, "rb");
    if (file == nullptr)
    {
        return false;
    }
    char block[65536];
    size_t got = fread(block, 1, sizeof(block), file);
    for (; got > 0; got = fread(block, 1, sizeof(block), file))
    {
        *hash = HashText(*hash, block, got);
    }
    const bool isRead = ferror(file) == 0;
    fclose(file);
    return isRead;
}

/// @return the user's folder for it, made; empty where there is none
static std::string CacheFolder()
{
    const char* cache = getenv("XDG_CACHE_HOME");
    const char* home = getenv("HOME");
    std::string folder;
    if (cache != nullptr && cache[0] == '/')
    {
        folder = cache;
    }
    else if (home != nullptr && home[0] == '/')
    {
        folder = std::string(home) + "/.cache";
    }
    else
    {
        return "";
    }
    mkdir(folder.c_str(), 0700); // one that is there is fine, and one that fails shows at the next
    folder += "/quorvale";
    mkdir(folder.c_str(), 0700);
    return access(folder.c_str(), W_OK) == 0 ? folder : "";
}

static std::string TextOf(GLenum name)
{
    const GLubyte* text = glGetString(name);
    return text == nullptr ? "" : reinterpret_cast<const char*>(text);
}

/// Whether a renderer computes pictures on the processor.
static bool IsSoftware(const std::string& renderer)
{
    return renderer.find("llvmpipe") != std::string::npos ||
           renderer.find("softpipe") != std::string::npos;
}

/// EGL's driver need not be that of the screen: where this one is loaded, Mesa without a window
/// draws in software.
static bool HasForeignDriver()
{
    return access("/proc/driver/nvidia/version", F_OK) == 0;
}

/// Opens a display like the player's window.
/// @return false, without a word, if there is none
static bool OpenDisplay(int32_t samples, EglDisplay* display)
{
    FaultList faults;
    StartFaults(&faults);
    const EglDisplayRequest request = {kWidth, kHeight, samples, true};
    const bool isOpen = OpenEglDisplay(&request, display, &faults);
    FreeFaults(&faults);
    return isOpen;
}

static void DrawAt(PieceRun* run, RunDocument document, uint32_t time)
{
    const FrameSources sources = RunSources(run, document);
    const FrameRequest request = {1.6f, time, kWidth, kHeight};
    RenderFrame(&sources, &request);
    glFinish();
}

/// Draws the middle of each clip.
static void DrawClips(PieceRun* run)
{
    const Timeline* timeline = run->piece.demo.timeline;
    uint32_t pictures = 0;
    for (uint32_t row = 0; row < kTimelineRows; ++row)
    {
        for (uint32_t clip = 0; clip < timeline->clipCount[row]; ++clip)
        {
            if (HasFailed(run->faults) || pictures == kMostPictures)
            {
                return;
            }
            DrawAt(run, RunDocument::kDemo,
                   timeline->clipEnd[row][clip] - timeline->length[row][clip] / 2);
            pictures += 1;
        }
    }
}

/// Draws all of a piece on the display that is current.
static void DrawPiece(const char* path, const EglDisplay* display)
{
    FaultList faults;
    StartFaults(&faults);
    PieceRun run;
    if (StartRun(&run, &faults) && OpenPackageFile(path, &run.piece.package, &faults))
    {
        run.features = display->features;
        run.threads = CountLoadingThreads(getenv("QUORVALE_THREADS"));
        if (LoadRunDocument(&run, RunDocument::kLoading, nullptr) == LoadResult::kLoaded)
        {
            DrawAt(&run, RunDocument::kLoading, kLoadingMoment);
        }
        if (!HasFailed(&faults) &&
            LoadRunDocument(&run, RunDocument::kDemo, nullptr) == LoadResult::kLoaded)
        {
            DrawClips(&run);
        }
    }
    CloseRun(&run);
    FreeFaults(&faults);
}

/// Whether a file is a package with something to draw.
static bool HasDocument(const char* path)
{
    FaultList faults;
    StartFaults(&faults);
    PackageFile package;
    bool has = false;
    if (OpenPackageFile(path, &package, &faults))
    {
        for (const char* name : {kLoadingDocumentName, kDemoDocumentName})
        {
            int32_t size = 0;
            unsigned char* data = ReadPackageEntry(&package, name, &size, &faults);
            has = has || data != nullptr;
            free(data);
        }
        ClosePackage(&package);
    }
    FreeFaults(&faults);
    return has;
}

static void WarmCache(const char* path)
{
    const std::string folder = CacheFolder();
    uint64_t hash = 0xCBF29CE484222325;
    EglDisplay display = {};
    if (folder.empty() || !HasDocument(path) || !HashFile(path, &hash) || HasForeignDriver() ||
        !OpenDisplay(0, &display))
    {
        return;
    }
    const std::string renderer = TextOf(GL_RENDERER);
    const std::string driver = renderer + "\n" + TextOf(GL_VERSION);
    hash = HashText(hash, driver.data(), driver.size());
    char name[32];
    snprintf(name, sizeof(name), "/warm-%016llx", static_cast<unsigned long long>(hash));
    const std::string mark = folder + name;
    if (access(mark.c_str(), F_OK) == 0)
    {
        CloseEglDisplay(&display);
        return;
    }

    printf("Getting the driver ready for this piece, once: %s.\n", renderer.c_str());
    fflush(stdout);
    BuildCosTable();
    BuildCornerMasks();
    DrawPiece(path, &display);
    CloseEglDisplay(&display);
    if (!IsSoftware(renderer) && OpenDisplay(kPlayerSamples, &display))
    {
        DrawPiece(path, &display);
        CloseEglDisplay(&display);
    }
    const int file = open(mark.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    if (file >= 0)
    {
        close(file);
    }
}

int main(int argc, char** argv)
{
    if (argc != 2)
    {
        fprintf(stderr, "usage: quorvale-warm FILE|--renderer\n");
        return 2;
    }
    if (strcmp(argv[1], "--renderer") != 0)
    {
        WarmCache(argv[1]);
        return 0;
    }
    EglDisplay display = {};
    if (HasForeignDriver() || !OpenDisplay(0, &display))
    {
        return 1;
    }
    printf("%s\n", TextOf(GL_RENDERER).c_str());
    CloseEglDisplay(&display);
    return 0;
}
