// SPDX-License-Identifier: MIT

// Draws pictures of a run through every tick into PPM files, without a window:
//
//   stage_pictures PACKAGE FOLDER WIDTH HEIGHT TICK...
//
// The files are named after the ticks.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "engine/data/cos_table.h"
#include "engine/stage/egl_display.h"
#include "engine/stage/stage.h"
#include "engine/textures/corner_masks.h"

static void EndAfterFault(const FaultList* faults)
{
    PrintFault(GetFault(faults, 0), "stage_pictures");
    exit(EXIT_FAILURE);
}

int main(int argc, char** argv)
{
    if (argc < 6)
    {
        fprintf(stderr, "stage_pictures PACKAGE FOLDER WIDTH HEIGHT TICK...\n");
        return EXIT_FAILURE;
    }
    BuildCosTable();
    BuildCornerMasks();
    FaultList faults;
    StartFaults(&faults);
    const EglDisplayRequest request = {atoi(argv[3]), atoi(argv[4]), 0};
    EglDisplay display = {};
    if (!OpenEglDisplay(&request, &display, &faults))
    {
        EndAfterFault(&faults);
    }
    const float aspect = static_cast<float>(request.width) / static_cast<float>(request.height);
    const StageView view = {request.width, request.height, aspect, display.features};
    const PieceSource source = {argv[1], nullptr, 0, true};
    Stage* stage = new Stage{};
    if (!OpenStage(&source, &view, stage, &faults))
    {
        EndAfterFault(&faults);
    }
    for (int i = 5; i < argc; ++i)
    {
        if (!SeekPiece(stage, static_cast<uint32_t>(atol(argv[i])), 1, &faults))
        {
            EndAfterFault(&faults);
        }
        std::vector<uint8_t> pixels(static_cast<size_t>(request.width) *
                                    static_cast<size_t>(request.height) * 3);
        ReadEglPicture(&display, pixels.data());
        const std::string path = std::string(argv[2]) + "/" + argv[i] + ".ppm";
        FILE* stream = fopen(path.c_str(), "wb");
        if (stream == nullptr)
        {
            return EXIT_FAILURE;
        }
        fprintf(stream, "P6\n%d %d\n255\n", request.width, request.height);
        fwrite(pixels.data(), 1, pixels.size(), stream);
        fclose(stream);
    }
    CloseStage(stage);
    delete stage;
    CloseEglDisplay(&display);
    return EXIT_SUCCESS;
}
