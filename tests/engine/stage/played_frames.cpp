// SPDX-License-Identifier: MIT
#include "engine/stage/played_frames.h"

#include <GL/glew.h>
#include <cstdio>
#include <cstdlib>

#include "engine/data/cos_table.h"
#include "engine/textures/corner_masks.h"

[[noreturn]] static void Fail(const char* what)
{
    fprintf(stderr, "played frames: %s\n", what);
    abort();
}

Pixels TakePixels(const EglDisplay& display)
{
    Pixels pixels(static_cast<size_t>(display.width) * static_cast<size_t>(display.height) * 3);
    ReadEglPicture(&display, pixels.data());
    return pixels;
}

std::string FaultLine(const FaultList& faults)
{
    if (faults.count == 0)
    {
        return "";
    }
    char line[kFaultLineSize];
    FormatFault(GetFault(&faults, 0), "test", line, sizeof(line));
    return line;
}

void MakeCurrent(const EglDisplay& display)
{
    FaultList faults;
    StartFaults(&faults);
    if (!MakeEglDisplayCurrent(&display, &faults))
    {
        Fail(faults.first.text);
    }
}

static void OpenDisplay(const StageView& view, int32_t samples, EglDisplay* display)
{
    const EglDisplayRequest request = {view.width, view.height, samples};
    FaultList faults;
    StartFaults(&faults);
    if (!OpenEglDisplay(&request, display, &faults))
    {
        Fail(faults.first.text);
    }
    BuildCosTable();
    BuildCornerMasks();
}

static bool LoadPlayed(const std::string& package, PieceRun* run, FaultList* faults)
{
    return OpenPackageMemory(reinterpret_cast<const unsigned char*>(package.data()), package.size(),
                             &run->piece.package, faults) &&
           LoadRunDocument(run, RunDocument::kLoading, nullptr) != LoadResult::kFailed &&
           LoadRunDocument(run, RunDocument::kDemo, nullptr) != LoadResult::kFailed;
}

PlayedFrames PlayFrames(const std::string& package, const StageView& view, int32_t samples,
                        uint32_t stride, uint32_t count)
{
    EglDisplay display = {};
    OpenDisplay(view, samples, &display);
    FaultList faults;
    StartFaults(&faults);
    PieceRun run;
    if (!StartRun(&run, &faults))
    {
        Fail("no memory");
    }
    run.features = view.features;

    PlayedFrames frames;
    const bool loaded = LoadPlayed(package, &run, &faults);
    const FrameSources sources = RunSources(&run, RunDocument::kDemo);
    for (uint32_t i = 0; loaded && i < count; ++i)
    {
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        faults.place = PlaceAt(kDemoDocumentName, Section::kNone);
        const FrameRequest request = {view.aspect, i * stride, view.width, view.height};
        const uint32_t scenes = RenderFrame(&sources, &request);
        if (HasFailed(&faults))
        {
            break;
        }
        frames.scenes.push_back(scenes);
        frames.pictures.push_back(TakePixels(display));
    }
    frames.fault = FaultLine(faults);
    CloseRun(&run);
    FreeFaults(&faults);
    CloseEglDisplay(&display);
    return frames;
}

OpenedStage::OpenedStage(const std::string& package, const StageView& stageView, int32_t samples)
    : stage(new Stage), bytes(package)
{
    OpenDisplay(stageView, samples, &display);
    FaultList faults;
    StartFaults(&faults);
    const PieceSource source = {nullptr, reinterpret_cast<const unsigned char*>(bytes.data()),
                                bytes.size(), true};
    OpenStage(&source, &stageView, stage, &faults);
    fault = FaultLine(faults);
    FreeFaults(&faults);
}

OpenedStage::~OpenedStage()
{
    MakeCurrent(display);
    CloseStage(stage);
    delete stage;
    CloseEglDisplay(&display);
}

SoughtFrame Seek(OpenedStage* opened, uint32_t tick, uint32_t stride)
{
    MakeCurrent(opened->display);
    FaultList faults;
    StartFaults(&faults);
    SoughtFrame frame;
    if (SeekPiece(opened->stage, tick, stride, &faults))
    {
        frame.picture = TakePixels(opened->display);
    }
    frame.result = opened->stage->result;
    frame.fault = FaultLine(faults);
    FreeFaults(&faults);
    return frame;
}
