// SPDX-License-Identifier: MIT
#include "player/drawn_piece.h"

#include <GL/glew.h>
#include <cstdio>
#include <cstdlib>

#include "engine/data/cos_table.h"
#include "engine/textures/corner_masks.h"

static constexpr int32_t kSamples = 2;
static constexpr float kAspect = 4.0f / 3.0f;

[[noreturn]] static void Fail(const char* text)
{
    fprintf(stderr, "drawn piece: %s\n", text);
    abort();
}

static void RequireNoFault(const FaultList* faults)
{
    if (HasFailed(faults))
    {
        char line[kFaultLineSize];
        FormatFault(GetFault(faults, 0), "fault", line, sizeof(line));
        Fail(line);
    }
}

void OpenDrawnPiece(const std::string& package, int32_t width, int32_t height, DrawnPiece* piece)
{
    const EglDisplayRequest request = {width, height, kSamples};
    StartFaults(&piece->faults);
    OpenEglDisplay(&request, &piece->display, &piece->faults);
    RequireNoFault(&piece->faults);
    BuildCosTable();
    BuildCornerMasks();

    PieceRun* run = &piece->run;
    StartRun(run, &piece->faults);
    OpenPackageFile(package.c_str(), &run->piece.package, &piece->faults);
    RequireNoFault(&piece->faults);
    run->features = piece->display.features;
    LoadRunDocument(run, RunDocument::kLoading, nullptr);
    LoadRunDocument(run, RunDocument::kDemo, nullptr);
    RequireNoFault(&piece->faults);
}

void CloseDrawnPiece(DrawnPiece* piece)
{
    CloseRun(&piece->run);
    CloseEglDisplay(&piece->display);
    FreeFaults(&piece->faults);
}

uint32_t DrawMoment(DrawnPiece* piece, RunDocument document, uint32_t time, Picture* picture)
{
    const FrameSources sources = RunSources(&piece->run, document);
    if (document == RunDocument::kLoading)
    {
        // The player draws this document before any frame that binds buffers.
        glBindBuffer(GL_ARRAY_BUFFER, 0);
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
    }
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    const FrameRequest request = {kAspect, time, piece->display.width, piece->display.height};
    const uint32_t drawn = RenderFrame(&sources, &request);
    RequireNoFault(&piece->faults);

    picture->width = piece->display.width;
    picture->height = piece->display.height;
    picture->rgb.resize(static_cast<size_t>(picture->width) * static_cast<size_t>(picture->height) *
                        3);
    ReadEglPicture(&piece->display, picture->rgb.data());
    return drawn;
}
