// SPDX-License-Identifier: MIT
#include "engine/check/blank_pictures.h"

#include "engine/piece/piece.h"
#include "engine/render/records/timeline.h"

static constexpr uint8_t kTolerance = 2;
static constexpr uint32_t kLongest = 2 * kTicksPerSecond; // ticks that nobody hears of

Blankness JudgePicture(const uint8_t* rgb, size_t size)
{
    bool isBlack = true;
    bool isWhite = true;
    for (size_t i = 0; i < size && (isBlack || isWhite); ++i)
    {
        isBlack = isBlack && rgb[i] <= kTolerance;
        isWhite = isWhite && rgb[i] >= 255 - kTolerance;
    }
    return isBlack ? Blankness::kBlack : isWhite ? Blankness::kWhite : Blankness::kShowsSomething;
}

/// @param first   tick of the first blank picture
/// @param last    tick of the last one
/// @param stop    tick of the next picture; past the end of the piece where it is blank to its end
static void AddStretch(Blankness blankness, uint32_t first, uint32_t last, uint32_t stop,
                       uint32_t endTick, FindingList* findings)
{
    const bool reachesEnd = stop >= endTick;
    const uint32_t known = reachesEnd ? endTick : last + 1; // the first tick that may be otherwise
    if (known - first <= kLongest)
    {
        return;
    }
    const bool isFade = blankness == Blankness::kBlack && (first == 0) != reachesEnd;
    Finding finding = {isFade ? Severity::kNote : Severity::kWarning,
                       Rule::kBlankPicture,
                       PlaceAt(kDemoDocumentName, Section::kTimeline),
                       "",
                       FormatText("the picture is all %s from %.2f to %.2f s, ticks %u to %u",
                                  blankness == Blankness::kBlack ? "black" : "white",
                                  static_cast<double>(first) / kTicksPerSecond,
                                  static_cast<double>(known) / kTicksPerSecond, first, known - 1),
                       ""};
    if (!isFade)
    {
        finding.cure = "look at the clips, the lights and the camera at that time";
    }
    findings->push_back(std::move(finding));
}

void AddBlankStretches(const std::vector<Blankness>& pictures, uint32_t step, uint32_t endTick,
                       FindingList* findings)
{
    const uint32_t count = static_cast<uint32_t>(pictures.size());
    uint32_t first = 0;
    for (uint32_t i = 0; i < count; ++i)
    {
        const bool isLast = i + 1 == count || pictures[i + 1] != pictures[i];
        if (isLast && pictures[i] != Blankness::kShowsSomething)
        {
            AddStretch(pictures[i], first * step, i * step, (i + 1) * step, endTick, findings);
        }
        first = isLast ? i + 1 : first;
    }
}
