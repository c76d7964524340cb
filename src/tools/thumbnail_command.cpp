// SPDX-License-Identifier: MIT
#include "tools/thumbnail_command.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "engine/check/play_walk.h"
#include "engine/data/cos_table.h"
#include "engine/stage/driver_probe.h"
#include "engine/stage/egl_display.h"
#include "engine/stage/stage.h"
#include "engine/textures/corner_masks.h"
#include "tools/child_process.h"
#include "tools/command_line.h"
#include "tools/fast_png.h"
#include "tools/files.h"
#include "tools/report.h"

static constexpr uint32_t kSmallestSide = 16;  // pixels
static constexpr uint32_t kLargestSide = 1024; // pixels
static constexpr int32_t kSamples = 2;         // of each pixel, as the player's
static constexpr float kAspect = 1.3333334f;
static constexpr uint32_t kCandidates = 24;
static constexpr uint32_t kEndlessTicks = 6000; // looked at of a piece that never ends
static constexpr uint64_t kLargestPackage = uint64_t{1} << 30;
static constexpr ChildLimits kLimits = {uint64_t{2} << 30, 60, 600};

/// The first byte of the child's output.
static constexpr uint8_t kIsPicture = 1;
static constexpr uint8_t kIsFault = 0;

/// How much a picture tells: the spread of its brightness, and less of it where all is dark.
static double ScorePicture(const Bytes& rgb)
{
    double sum = 0.0;
    double squares = 0.0;
    for (size_t i = 0; i < rgb.size(); i += 3)
    {
        const double brightness = 0.299 * rgb[i] + 0.587 * rgb[i + 1] + 0.114 * rgb[i + 2];
        sum += brightness;
        squares += brightness * brightness;
    }
    const double count = static_cast<double>(rgb.size() / 3);
    const double mean = sum / count;
    const double spread = std::sqrt(std::max(0.0, squares / count - mean * mean));
    return spread * std::min(mean, 96.0);
}

/// Draws the candidates and keeps the best.
static bool DrawBest(const EglDisplay* display, Stage* stage, Bytes* best, FaultList* faults)
{
    PlayResult played = {};
    WalkDemo(&stage->run.piece.demo, &played);
    if (played.hasEnd && played.endTick == 0)
    {
        AddError(faults, "it shows nothing");
        return false;
    }
    const uint32_t half = (played.hasEnd ? played.endTick : kEndlessTicks) / 2;
    // A run with long steps costs nothing between the candidates.
    const uint32_t stride = std::max(1u, half / kCandidates);
    Bytes rgb(static_cast<size_t>(display->width) * 3 * static_cast<size_t>(display->height));
    double bestScore = -1.0;
    for (uint32_t i = 0; i < kCandidates && i * stride <= half; ++i)
    {
        if (!SeekPiece(stage, i * stride, stride, faults))
        {
            return false;
        }
        ReadEglPicture(display, rgb.data());
        const double score = ScorePicture(rgb);
        if (score > bestScore)
        {
            bestScore = score;
            *best = rgb;
        }
    }
    return true;
}

static bool DrawThumbnail(const Bytes& package, const EglDisplay* display, Bytes* best,
                          FaultList* faults)
{
    const PieceSource source = {nullptr, package.data(), package.size(), false};
    const StageView view = {display->width, display->height, kAspect, display->features};
    Stage stage;
    const bool isDrawn =
        OpenStage(&source, &view, &stage, faults) && DrawBest(display, &stage, best, faults);
    CloseStage(&stage);
    return isDrawn;
}

/// Runs in the child.
static void MakeThumbnailBytes(const Bytes& package, uint32_t side, Bytes* output)
{
    BuildCosTable();
    BuildCornerMasks();
    FaultList faults;
    StartFaults(&faults);
    const int32_t width = static_cast<int32_t>(side);
    const EglDisplayRequest request = {width, width * 3 / 4, kSamples};
    EglDisplay display = {};
    Bytes best;
    Bytes file;
    const bool isMade = ProbeDriver(kSamples, &faults) &&
                        OpenEglDisplay(&request, &display, &faults) &&
                        DrawThumbnail(package, &display, &best, &faults) &&
                        EncodePng(display.width, display.height, best.data(), &file);
    CloseEglDisplay(&display);
    if (isMade)
    {
        output->assign(1, kIsPicture);
        output->insert(output->end(), file.begin(), file.end());
        return;
    }
    char line[kFaultLineSize] = "no memory";
    if (HasFailed(&faults))
    {
        FormatFault(GetFault(&faults, 0), "", line, sizeof(line));
    }
    const std::string text = line + (strncmp(line, ": ", 2) == 0 ? 2 : 0);
    output->assign(1, kIsFault);
    output->insert(output->end(), text.begin(), text.end());
    FreeFaults(&faults);
}

int MakeThumbnailFile(const std::string& piece, uint32_t side, const std::string& path)
{
    if (side < kSmallestSide || side > kLargestSide)
    {
        ReportError("a thumbnail has %u to %u pixels", kSmallestSide, kLargestSide);
        return kExitUsage;
    }
    Bytes package;
    if (!ReadWholeFile(piece, kLargestPackage, &package))
    {
        return kExitFailed;
    }
    Bytes output;
    std::string ended = RunInChild(
        kLimits, [&package, side](Bytes* bytes) { MakeThumbnailBytes(package, side, bytes); },
        &output);
    if (ended.empty() && (output.empty() || output[0] == kIsFault))
    {
        ended.assign(output.begin() + (output.empty() ? 0 : 1), output.end());
    }
    if (!ended.empty())
    {
        ReportError("%s: %s", Printable(piece).c_str(), Printable(ended).c_str());
        return kExitFailed;
    }
    return ReplaceFile(path, output.data() + 1, output.size() - 1) ? kExitDone : kExitFailed;
}
