// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <cstring>

#include "engine/animation/envelope.h"
#include "engine/check/context.h"
#include "engine/render/records/scene.h"
#include "engine/render/records/timeline.h"

/// A clip with its place in the text.
struct PlacedClip
{
    Spot spot;
    const TiXmlNode* node;
    uint32_t row;
    uint32_t clip;
};

static void CheckLoop(const Spot* spot, const TiXmlNode* node, const Envelope* envelope)
{
    if (envelope->loopType != kLoopLoop && envelope->loopType != kLoopPingPong)
    {
        return;
    }
    if (truncf(envelope->loopEnd) <= truncf(envelope->loopBegin))
    {
        AddFinding(spot, Severity::kWarning, Rule::kEmptyLoop, node,
                   FormatText("the loop goes from %g to %g ticks",
                              static_cast<double>(envelope->loopBegin),
                              static_cast<double>(envelope->loopEnd)))
            ->cure = "\"loop_end\" has to be later than \"loop_begin\"; type 0 does not loop";
        spot->context->findings->back().pythonCure = "looped(begin, end) ends later than it begins";
    }
}

/// A spline that begins after its piece, or with knots out of their order.
static void CheckSpline(const Spot* spot, const TiXmlNode* node, const float* params)
{
    if (params[0] > 0.0f)
    {
        AddFinding(spot, Severity::kNote, Rule::kLateSpline, node,
                   FormatText("the spline begins at tick %g, and keeps its first value until then",
                              static_cast<double>(params[0])));
    }
    uint32_t last = kSplinePoints; // the points that are no padding at the end
    while (last > 1 && params[2 * last - 2] == 0.0f)
    {
        --last;
    }
    for (uint32_t k = 1; k < last; ++k)
    {
        const bool repeatsLast = params[2 * k] == params[2 * k - 2];
        if (params[2 * k] < params[2 * k - 2] + 1.0f && !repeatsLast)
        {
            AddFinding(spot, Severity::kWarning, Rule::kLateSpline, node,
                       FormatText("point %u of the spline lies at tick %g, less than a tick after "
                                  "the one before: its value is not used",
                                  k + 1, static_cast<double>(params[2 * k])))
                ->cure = "points stand in the order of their times, a tick apart";
            return;
        }
    }
}

static void CheckEnvelopes(CheckContext* context, CheckedDocument* checked)
{
    const DemoDocument* document = &checked->document;
    const TiXmlNode* node = SectionNode(document, Section::kEnvelopes)->FirstChild();
    for (uint32_t id = 1; id <= document->envelopes->count && node != nullptr;
         ++id, node = node->NextSibling())
    {
        const Envelope* envelope = GetRecord<Envelope>(id, document->envelopes);
        Spot spot = {context, checked, Section::kEnvelopes, id, 0, ItemName(node)};
        CheckLoop(&spot, node, envelope);
        const TiXmlNode* piece = node->FirstChild();
        for (uint32_t i = 0; i < envelope->pieceCount && piece != nullptr;
             ++i, piece = piece->NextSibling())
        {
            spot.part = i + 1;
            if (envelope->pieceType[i] == kFunctionSpline)
            {
                CheckSpline(&spot, piece, envelope->pieceParams[i]);
            }
        }
    }
}

// ---- The timeline

static bool DrawsSomething(const DemoDocument* document, uint32_t sceneId)
{
    const Scene* scene = GetRecord<Scene>(sceneId, document->scenes);
    for (uint32_t n = 0; scene != nullptr && n < scene->objectCount; ++n)
    {
        const ObjectTable* table =
            scene->objectKind[n] == kObjectModel ? document->models : document->genMeshes;
        if (scene->objectKind[n] <= kObjectGenMesh &&
            GetObject(scene->objectId[n], table) != nullptr)
        {
            return true;
        }
    }
    return false;
}

/// A clip that no frame shows.
static void CheckHidden(const PlacedClip* placed, uint32_t start, uint32_t end)
{
    const CheckedDocument* checked = placed->spot.checked;
    const PlayResult& played = checked->played;
    const Timeline* timeline = checked->document.timeline;
    const uint32_t sceneId = timeline->sceneId[placed->row][placed->clip];
    if (played.seenClips[placed->row][placed->clip] != 0 || sceneId == 0)
    {
        return;
    }
    if (start == end)
    {
        AddFinding(&placed->spot, Severity::kWarning, Rule::kHiddenClip, placed->node,
                   "the clip lasts no tick");
    }
    else if (timeline->clipEnd[placed->row][placed->clip] != end)
    {
        Finding* finding =
            AddFinding(&placed->spot, Severity::kWarning, Rule::kHiddenClip, placed->node,
                       FormatText("ticks %u to %u lie inside one second, and no frame finds "
                                  "the clip",
                                  start, end));
        finding->cure = "a clip has to begin with a second, or reach into the next one";
    }
    else if (checked->isDemo && played.hasEnd && start >= played.endTick)
    {
        return; // told with the end
    }
    else if (checked->isDemo)
    {
        AddFinding(&placed->spot, Severity::kWarning, Rule::kHiddenClip, placed->node,
                   "no frame shows the clip");
    }
}

static void CheckClip(const PlacedClip* placed, uint32_t start, uint32_t end)
{
    const CheckedDocument* checked = placed->spot.checked;
    const Timeline* timeline = checked->document.timeline;
    CheckHidden(placed, start, end);
    if (end / kTicksPerSecond >= kTimelineSeconds && end < 0x80000000u)
    {
        AddFinding(&placed->spot, Severity::kWarning, Rule::kPastIndex, placed->node,
                   FormatText("the clip ends at tick %u, past the %u seconds of the timeline", end,
                              kTimelineSeconds));
    }
    const uint32_t sceneId = timeline->sceneId[placed->row][placed->clip];
    if (GetObject(sceneId, checked->document.scenes) != nullptr &&
        !HasFailedItem(checked, Section::kScenes, sceneId) &&
        !DrawsSomething(&checked->document, sceneId))
    {
        // A scene without objects fills a gap with black, and hardly by mistake.
        const Scene* scene = GetRecord<Scene>(sceneId, checked->document.scenes);
        AddFinding(&placed->spot, scene->objectCount == 0 ? Severity::kNote : Severity::kWarning,
                   Rule::kEmptyClip, placed->node,
                   FormatText("%s has nothing to draw",
                              ItemText(&checked->document, Section::kScenes, sceneId).c_str()));
    }
}

/// The end of what a document has scenes for.
struct TimelineEnd
{
    uint32_t tick;
    const TiXmlNode* node; // of the clip
    Spot spot;
};

/// Clips that begin when the piece has ended.
struct LateClips
{
    uint32_t count;
    uint32_t start;        // of the first of them, in ticks
    const TiXmlNode* node; // of the first
    Spot spot;             // of the first
};

static void CountLate(const PlacedClip* placed, uint32_t start, LateClips* late)
{
    const PlayResult& played = placed->spot.checked->played;
    const uint32_t sceneId =
        placed->spot.checked->document.timeline->sceneId[placed->row][placed->clip];
    if (sceneId == 0 || !played.hasEnd || start < played.endTick)
    {
        return;
    }
    if (late->count == 0 || start < late->start)
    {
        late->start = start;
        late->node = placed->node;
        late->spot = placed->spot;
    }
    late->count += 1;
}

static TimelineEnd CheckRows(CheckContext* context, CheckedDocument* checked, LateClips* late)
{
    const Timeline* timeline = checked->document.timeline;
    const TiXmlNode* row = SectionNode(&checked->document, Section::kTimeline)->FirstChild();
    TimelineEnd last = {0, nullptr, {context, checked, Section::kTimeline, 0, 0, nullptr}};
    for (uint32_t r = 0; r < kTimelineRows && row != nullptr; ++r, row = row->NextSibling())
    {
        uint32_t time = 0;
        const TiXmlNode* node = row->FirstChild();
        for (uint32_t c = 0; c < timeline->clipCount[r] && node != nullptr;
             ++c, node = node->NextSibling())
        {
            const PlacedClip placed = {
                {context, checked, Section::kTimeline, r + 1, c + 1, nullptr}, node, r, c};
            const uint32_t end = time + timeline->spaceBefore[r][c] + timeline->length[r][c];
            CheckClip(&placed, time + timeline->spaceBefore[r][c], end);
            CountLate(&placed, time + timeline->spaceBefore[r][c], late);
            const bool isFound = timeline->clipEnd[r][c] == end;
            if (timeline->sceneId[r][c] != 0 && isFound && end > last.tick)
            {
                last = {end, node, placed.spot};
            }
            time = end;
        }
    }
    return last;
}

/// The first of the clips that begin after the end, which stand for all of them.
static void TellLate(const LateClips& late, uint32_t end)
{
    const uint32_t others = late.count - 1;
    const double second = 1.0 / kTicksPerSecond;
    const std::string more =
        others == 0 ? ""
                    : FormatText(", nor %s %u later clip%s", others == 1 ? "is" : "are", others,
                                 others == 1 ? "" : "s");
    Finding* finding =
        AddFinding(&late.spot, Severity::kWarning, Rule::kEarlyEnd, late.node,
                   FormatText("the clip is never shown%s: it begins at tick %u (%g s), and the "
                              "piece ends at tick %u (%g s), where no row has a scene",
                              more.c_str(), late.start, late.start * second, end, end * second));
    finding->cure = FormatText("let it begin at tick %u, by a smaller \"space_before\" in its row, "
                               "or fill the gap; a scene without objects is black",
                               end);
    finding->pythonCure =
        FormatText("let it begin at tick %u, or let a clip last until it begins; Scene() without "
                   "objects is black: demo.row(0).show(Scene(), FLAT, %u, %u)",
                   end, end, late.start);
}

static void CheckEnd(CheckedDocument* checked, const TimelineEnd& last, const LateClips& late)
{
    const PlayResult& played = checked->played;
    const Timeline* timeline = checked->document.timeline;
    Spot spot = last.spot;
    if (last.node == nullptr || timeline->clipCount[0] == 0 || played.endTick == 0)
    {
        spot.part = 0;
        AddFinding(&spot, Severity::kWarning, Rule::kEmptyTimeline,
                   SectionNode(&checked->document, Section::kTimeline),
                   timeline->clipCount[0] == 0 ? "the first row has no clip, so nothing plays"
                                               : "tick 0 has no scene, so nothing plays");
        return;
    }
    if (late.count != 0)
    {
        TellLate(late, played.endTick);
    }
    else if (played.hasEnd && played.endTick < last.tick)
    {
        AddFinding(&spot, Severity::kWarning, Rule::kEarlyEnd, last.node,
                   FormatText("the piece ends at tick %u, where no row has a scene; this clip goes "
                              "on to tick %u",
                              played.endTick, last.tick))
            ->cure = "fill the gap, with a scene of nothing if it is meant to be black";
    }
}

/// The first row decides that there is anything at all, so authors mostly let it last.
static void CheckFirstRow(CheckedDocument* checked, const TimelineEnd& last)
{
    const Timeline* timeline = checked->document.timeline;
    uint32_t end = 0;
    for (uint32_t c = 0; c < timeline->clipCount[0]; ++c)
    {
        end += timeline->spaceBefore[0][c] + timeline->length[0][c];
    }
    if (last.node != nullptr && timeline->clipCount[0] != 0 && end < last.tick)
    {
        AddFinding(
            &last.spot, Severity::kNote, Rule::kShortFirstRow, last.node,
            FormatText("the first row ends at tick %u, and this clip at tick %u", end, last.tick));
    }
}

static void CheckLoadingEnd(const TimelineEnd& last)
{
    static constexpr uint32_t kEnd = 100; // ticks
    // The last picture is that of tick 100, for which clips may end one tick later.
    if (last.node != nullptr && last.tick != kEnd && last.tick != kEnd + 1)
    {
        AddFinding(&last.spot, Severity::kWarning, Rule::kLoadingLength, last.node,
                   FormatText("the loading document ends at tick %u; it is shown from 0 to %u",
                              last.tick, kEnd))
            ->cure = "let its clips end at tick 100";
    }
}

void CheckTime(CheckContext* context, CheckedDocument* checked)
{
    CheckEnvelopes(context, checked);
    LateClips late = {};
    const TimelineEnd last = CheckRows(context, checked, &late);
    if (!checked->failed[static_cast<size_t>(Section::kTimeline)].empty())
    {
        return; // rows end where their readers failed
    }
    checked->isDemo ? CheckEnd(checked, last, late) : CheckLoadingEnd(last);
    CheckFirstRow(checked, last);
}
