#include "engine/render/records/timeline.h"

#include <cassert>
#include <cstdlib>
#include <cstring>

#include "engine/animation/animated_value.h"
#include "engine/data/document_values.h"
#include "engine/data/fault.h"

Timeline* CreateTimeline()
{
    Timeline* timeline = static_cast<Timeline*>(calloc(1, sizeof(Timeline)));
    if (timeline == nullptr)
    {
        FatalError("there is no memory for a timeline");
    }
    return timeline;
}

void InitializeTimeline(Timeline* timeline)
{
    memset(timeline->clipCount, 0, sizeof(timeline->clipCount));
    memset(timeline->rowEnd, 0, sizeof(timeline->rowEnd));
    memset(timeline->clipEnd, 0, sizeof(timeline->clipEnd));
    memset(timeline->slotIndex, 0, sizeof(timeline->slotIndex));
}

void AddClipToIndex(uint32_t start, uint32_t end, uint32_t clip, uint32_t row, Timeline* timeline)
{
    assert(row < kTimelineRows && clip < kTimelineClips);

    uint32_t first = start / kTicksPerSecond;
    if (start % kTicksPerSecond != 0)
    {
        // A clip inside one second that doesn't begin with it stays out of the index, and its end
        // stays 0: the search passes it over, and what follows it measures from tick 0.
        if (end - first * kTicksPerSecond <= kTicksPerSecond - 1)
        {
            return;
        }
        first += 1;
    }

    uint32_t last = end / kTicksPerSecond;
    if (last > kTimelineSeconds - 1)
    {
        last = kTimelineSeconds - 1;
    }
    for (uint32_t slot = first; slot <= last; ++slot)
    {
        timeline->slotIndex[row][slot] = clip;
    }

    timeline->clipEnd[row][clip] = end;
    if (end > timeline->rowEnd[row])
    {
        timeline->rowEnd[row] = end;
    }
}

static void ReadClipValue(const TiXmlElement* element, uint32_t row, uint32_t clip,
                          ClipValues* values)
{
    bool dynamic = ReadAnimatedValue(element, &values->slot[row][clip]);
    values->dynamic[row][clip] = dynamic ? 1 : 0;
}

static void ReadCamera(const TiXmlNode** child, uint32_t row, uint32_t clip, Timeline* timeline)
{
    ReadClipValue(TakeElement(child, "camera x"), row, clip, &timeline->cameraX);
    ReadClipValue(TakeElement(child, "camera y"), row, clip, &timeline->cameraY);
    ReadClipValue(TakeElement(child, "camera z"), row, clip, &timeline->cameraZ);
    ReadClipValue(TakeElement(child, "camera rotation x"), row, clip, &timeline->cameraRotX);
    ReadClipValue(TakeElement(child, "camera rotation y"), row, clip, &timeline->cameraRotY);
    ReadClipValue(TakeElement(child, "camera rotation z"), row, clip, &timeline->cameraRotZ);
}

static void ReadProjection(const TiXmlElement* element, uint32_t row, uint32_t clip,
                           Timeline* timeline)
{
    // The format's own spelling.
    if (strcmp(RequireAttribute(element, "type"), "ortographic") == 0)
    {
        timeline->projectionKind[row][clip] = kProjectionOrthographic;
        return;
    }

    bool dynamic = ReadAnimatedValue(element, &timeline->fov[row][clip]);
    timeline->projectionKind[row][clip] = dynamic ? kProjectionAnimatedFov : kProjectionPerspective;
}

static void ReadFog(const TiXmlElement* element, uint32_t row, uint32_t clip, Timeline* timeline)
{
    int8_t mode = static_cast<int8_t>(ReadIntAttribute(element, "type"));
    timeline->fogMode[row][clip] = mode;
    if (mode <= 0)
    {
        return;
    }

    const TiXmlNode* child = element->FirstChild();
    ReadClipValue(TakeElement(&child, "fog density"), row, clip, &timeline->fogDensity);
    ReadClipValue(TakeElement(&child, "fog start"), row, clip, &timeline->fogStart);
    ReadClipValue(TakeElement(&child, "fog end"), row, clip, &timeline->fogEnd);
    timeline->fogColourMaterial[row][clip] =
        static_cast<uint32_t>(ReadIntAttribute(TakeElement(&child, "fog colour"), "value"));
}

static bool HasTarget(int32_t passKind)
{
    return passKind == kPassTexture || passKind == kPassTextureWide ||
           passKind == kPassTextureQuarter;
}

static void ReadClip(const TiXmlElement* item, uint32_t row, uint32_t clip, Timeline* timeline)
{
    timeline->sceneId[row][clip] = static_cast<uint32_t>(ReadIntAttribute(item, "id"));
    timeline->spaceBefore[row][clip] =
        static_cast<uint32_t>(ReadIntAttribute(item, "space_before"));
    timeline->length[row][clip] = static_cast<uint32_t>(ReadIntAttribute(item, "length"));
    timeline->offset[row][clip] = static_cast<uint32_t>(ReadIntAttribute(item, "offset"));
    timeline->passKind[row][clip] = ReadIntAttribute(item, "type");
    if (HasTarget(timeline->passKind[row][clip]))
    {
        timeline->passParams[row][clip][0] = static_cast<float>(ReadIntAttribute(item, "rtex"));
    }

    const TiXmlNode* child = item->FirstChild();
    ReadCamera(&child, row, clip, timeline);
    ReadProjection(TakeElement(&child, "field of view"), row, clip, timeline);
    ReadFog(TakeElement(&child, "fog"), row, clip, timeline);
}

void ReadTimelineRow(const TiXmlElement* item, void* /*record*/, uint32_t index,
                     LoadContext* context)
{
    assert(index < kTimelineRows); // the section's reader stops there
    Timeline* timeline = context->document->timeline;
    uint32_t time = 0;
    uint32_t clip = 0;
    for (const TiXmlNode* child = item->FirstChild(); child != nullptr;
         child = child->NextSibling())
    {
        CurrentPlace.part = clip + 1;
        if (clip == kTimelineClips)
        {
            FatalFault("the row has more than %u clips", kTimelineClips);
        }
        ReadClip(RequireElement(child, "clip"), index, clip, timeline);

        uint32_t end = time + timeline->length[index][clip] + timeline->spaceBefore[index][clip];
        AddClipToIndex(time, end, clip, index, timeline);
        time = end;
        clip += 1;
        timeline->clipCount[index] = clip;
    }
    CurrentPlace.part = 0;
}

void BeginTimeline(LoadContext* context)
{
    if (context->isDemo)
    {
        InitializeTimeline(context->document->timeline);
    }
}

void EndTimeline(LoadContext* context)
{
    if (context->itemCount == 0)
    {
        FatalFault("the timeline has no row");
    }
}
