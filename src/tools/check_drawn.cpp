// SPDX-License-Identifier: MIT
#include "tools/check_drawn.h"

#include "engine/check/blank_pictures.h"
#include "tools/draw_pictures.h"

static constexpr int32_t kWidth = 64; // pixels
static constexpr int32_t kHeight = 48;
static constexpr uint32_t kStep = 25; // ticks

/// A plan of pictures at regular times.
static RenderPlan PlanSamples(uint32_t endTick)
{
    RenderPlan plan = {};
    plan.width = kWidth;
    plan.height = kHeight;
    plan.supersample = 1;
    plan.aspect = static_cast<float>(kWidth) / static_cast<float>(kHeight);
    plan.usesVbo = true;
    for (uint32_t tick = 0; tick < endTick; tick += kStep)
    {
        plan.pictures.push_back({tick, false});
    }
    return plan;
}

bool CheckDrawnPictures(const Bytes& package, Verbosity verbosity, CheckResult* result)
{
    if (CountFindings(result->findings, Severity::kError) != 0 || result->endTick == 0)
    {
        return true;
    }
    const RenderPlan plan = PlanSamples(result->endTick);
    RenderSource source = {};
    source.package = package;
    std::vector<uint32_t> indices;
    for (uint32_t i = 0; i < plan.pictures.size(); ++i)
    {
        indices.push_back(i);
    }

    std::vector<Blankness> pictures(indices.size());
    Progress progress = StartProgress("drawing", indices.size(), verbosity);
    const DrawResult drawn = DrawPictures(
        plan, source, indices,
        [&pictures, &progress](uint32_t index, const uint8_t* rgb)
        {
            pictures[index] = JudgePicture(rgb, size_t{kWidth} * kHeight * 3);
            ShowProgress(&progress, index, "pictures");
            return true;
        },
        [] { return false; });
    EndProgress(&progress);
    if (drawn != DrawResult::kDone)
    {
        return false;
    }
    AddBlankStretches(pictures, kStep, result->endTick, &result->findings);
    SortFindings(&result->findings);
    return true;
}
