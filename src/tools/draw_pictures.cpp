// SPDX-License-Identifier: MIT
#include "tools/draw_pictures.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include "engine/data/cos_table.h"
#include "engine/stage/driver_probe.h"
#include "engine/stage/egl_display.h"
#include "engine/stage/picture_reader.h"
#include "engine/stage/stage.h"
#include "engine/textures/corner_masks.h"
#include "tools/report.h"

static constexpr uint32_t kStride = 1;    // ticks from frame to frame of the run
static constexpr size_t kMostWaiting = 3; // pictures that are drawn and not yet taken

void ShrinkRgb(int32_t width, int32_t height, int32_t factor, const uint8_t* rgb, uint8_t* small)
{
    const size_t row = static_cast<size_t>(width) * static_cast<size_t>(factor) * 3;
    const uint32_t area = static_cast<uint32_t>(factor * factor);
    for (int32_t y = 0; y < height; ++y)
    {
        for (int32_t x = 0; x < width; ++x)
        {
            const uint8_t* square =
                rgb + static_cast<size_t>(y * factor) * row + static_cast<size_t>(x * factor) * 3;
            for (size_t channel = 0; channel < 3; ++channel)
            {
                uint32_t sum = area / 2;
                for (int32_t i = 0; i < factor * factor; ++i)
                {
                    sum += square[static_cast<size_t>(i / factor) * row +
                                  static_cast<size_t>(i % factor) * 3 + channel];
                }
                *small++ = static_cast<uint8_t>(sum / area);
            }
        }
    }
}

/// A picture on its way from the drawing thread to the taking one.
struct WaitingPicture
{
    uint32_t index;
    Bytes rgb; // as it was drawn
};

/// The pictures that one thread hands to the other.
struct Hand
{
    std::mutex mutex; // of all below
    std::condition_variable changed;
    std::deque<WaitingPicture> waiting;
    std::vector<Bytes> free; // blocks to use again
    bool isOver;             // no picture follows
    bool hasFailed;          // the taker wants no more
};

/// The taking thread.
static void TakePictures(const RenderPlan& plan, const PictureTaker& taker, Hand* hand)
{
    Bytes small(plan.supersample == 1
                    ? 0
                    : static_cast<size_t>(plan.width) * 3 * static_cast<size_t>(plan.height));
    for (;;)
    {
        WaitingPicture picture;
        {
            std::unique_lock lock(hand->mutex);
            hand->changed.wait(lock, [hand] { return hand->isOver || !hand->waiting.empty(); });
            if (hand->waiting.empty() || hand->hasFailed)
            {
                return;
            }
            picture = std::move(hand->waiting.front());
            hand->waiting.pop_front();
        }
        const uint8_t* rgb = picture.rgb.data();
        if (plan.supersample != 1)
        {
            ShrinkRgb(plan.width, plan.height, plan.supersample, rgb, small.data());
            rgb = small.data();
        }
        const bool isTaken = taker(picture.index, rgb);
        std::unique_lock lock(hand->mutex);
        hand->hasFailed = !isTaken;
        hand->free.push_back(std::move(picture.rgb));
        hand->changed.notify_all();
        if (!isTaken)
        {
            return;
        }
    }
}

/// Hands a picture over, and waits while too many do.
/// @return false if nobody takes any more
static bool HandOver(WaitingPicture picture, Hand* hand)
{
    std::unique_lock lock(hand->mutex);
    hand->changed.wait(lock,
                       [hand] { return hand->hasFailed || hand->waiting.size() < kMostWaiting; });
    hand->waiting.push_back(std::move(picture));
    hand->changed.notify_all();
    return !hand->hasFailed;
}

static Bytes FreeBlock(size_t size, Hand* hand)
{
    std::unique_lock lock(hand->mutex);
    if (hand->free.empty())
    {
        return Bytes(size);
    }
    Bytes block = std::move(hand->free.back());
    hand->free.pop_back();
    return block;
}

/// The display, stage and buffers of drawing: all that has to be closed again.
struct Easel
{
    EglDisplay display;
    Stage stage;
    PictureReader reader;
};

static bool OpenEasel(const RenderPlan& plan, const RenderSource& source, Easel* easel,
                      FaultList* faults)
{
    BuildCosTable();
    BuildCornerMasks();
    const EglDisplayRequest request = {plan.width * plan.supersample,
                                       plan.height * plan.supersample, plan.samples};
    if (!ProbeDriver(plan.samples, faults) || !OpenEglDisplay(&request, &easel->display, faults))
    {
        return false;
    }
    GlFeatures features = easel->display.features;
    features.vbo = plan.usesVbo ? features.vbo : 0;
    const PieceSource piece = {nullptr, source.package.data(), source.package.size(), false};
    const StageView view = {easel->display.width, easel->display.height, plan.aspect, features};
    return OpenStage(&piece, &view, &easel->stage, faults) &&
           OpenPictureReader(&easel->display, &easel->reader, faults);
}

static void CloseEasel(Easel* easel)
{
    if (easel->display.context != nullptr)
    {
        ClosePictureReader(&easel->reader);
        CloseStage(&easel->stage);
        CloseEglDisplay(&easel->display);
    }
}

static bool ShowPicture(const PictureRequest& request, Stage* stage, FaultList* faults)
{
    return request.isLoading ? ShowLoadingScreen(stage, request.time, faults)
                             : SeekPiece(stage, request.time, kStride, faults);
}

/// Takes the picture that was drawn before the last one, or the last one itself, and hands it over.
/// @return false after a fault, or if nobody takes any more
static bool PassOn(uint32_t index, Easel* easel, Hand* hand, FaultList* faults)
{
    const size_t size =
        static_cast<size_t>(easel->display.width) * 3 * static_cast<size_t>(easel->display.height);
    WaitingPicture picture = {index, FreeBlock(size, hand)};
    return TakePicture(&easel->reader, picture.rgb.data(), faults) &&
           HandOver(std::move(picture), hand);
}

/// Draws all pictures, each while the one before is being read.
/// @return kDone also where the taker ends it, which tells so itself
static DrawResult DrawAll(const RenderPlan& plan, const std::vector<uint32_t>& indices,
                          Easel* easel, Hand* hand, const std::function<bool()>& asksEnd)
{
    FaultList faults;
    StartFaults(&faults);
    bool goesOn = true;
    bool isStopped = false;
    for (size_t i = 0; i < indices.size() && goesOn; ++i)
    {
        goesOn = ShowPicture(plan.pictures[indices[i]], &easel->stage, &faults);
        if (goesOn)
        {
            StartPicture(&easel->reader);
            goesOn = i == 0 || PassOn(indices[i - 1], easel, hand, &faults);
        }
        isStopped = goesOn && i + 1 < indices.size() && asksEnd();
        if (goesOn && (isStopped || i + 1 == indices.size()))
        {
            PassOn(indices[i], easel, hand, &faults);
        }
        goesOn = goesOn && !isStopped;
    }
    const bool hasFailed = HasFailed(&faults);
    ReportFaults(&faults);
    return hasFailed ? DrawResult::kFailed : isStopped ? DrawResult::kStopped : DrawResult::kDone;
}

DrawResult DrawPictures(const RenderPlan& plan, const RenderSource& source,
                        const std::vector<uint32_t>& indices, const PictureTaker& taker,
                        const std::function<bool()>& asksEnd)
{
    FaultList faults;
    StartFaults(&faults);
    Easel easel = {};
    if (!OpenEasel(plan, source, &easel, &faults))
    {
        CloseEasel(&easel);
        ReportFaults(&faults);
        return DrawResult::kFailed;
    }

    Hand hand = {};
    std::thread taking(TakePictures, std::cref(plan), std::cref(taker), &hand);
    const DrawResult result = DrawAll(plan, indices, &easel, &hand, asksEnd);
    {
        std::unique_lock lock(hand.mutex);
        hand.isOver = true;
        hand.changed.notify_all();
    }
    taking.join();
    CloseEasel(&easel);
    return hand.hasFailed ? DrawResult::kFailed : result;
}
