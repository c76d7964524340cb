// SPDX-License-Identifier: MIT
#include "engine/render/records/timeline.h"

#include <cassert>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "engine/animation/animated_value.h"
#include "engine/data/document_values.h"
#include "engine/data/fault.h"

Timeline* CreateTimeline(FaultList* faults)
{
    Timeline* timeline = static_cast<Timeline*>(calloc(1, sizeof(Timeline)));
    if (timeline == nullptr)
    {
        AddError(faults, "there is no memory for a timeline");
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

bool FindClip(const Timeline* timeline, uint32_t row, uint32_t second, uint32_t time,
              uint32_t* clip, uint32_t* local)
{
    const uint32_t count = timeline->clipCount[row];
    uint32_t i = timeline->slotIndex[row][second];
    while (i < count && time > timeline->clipEnd[row][i])
    {
        ++i;
    }
    if (i >= count) // an empty slot's marker is as far out as it gets
    {
        return false;
    }

    const uint32_t previousEnd = i == 0 ? 0 : timeline->clipEnd[row][i - 1];
    const uint32_t space = timeline->spaceBefore[row][i];
    if (time < previousEnd + space)
    {
        return false;
    }
    *clip = i;
    *local = time - previousEnd - space;
    return true;
}

/// An animated value of a clip, and the name of the child that holds it.
struct NamedClipValues
{
    ClipValues Timeline::*values;
    const char* name;
};

static constexpr NamedClipValues kCameraValues[] = {
    {&Timeline::cameraX, "camera x"},
    {&Timeline::cameraY, "camera y"},
    {&Timeline::cameraZ, "camera z"},
    {&Timeline::cameraRotX, "camera rotation x"},
    {&Timeline::cameraRotY, "camera rotation y"},
    {&Timeline::cameraRotZ, "camera rotation z"},
};

static constexpr NamedClipValues kFogValues[] = {
    {&Timeline::fogDensity, "fog density"},
    {&Timeline::fogStart, "fog start"},
    {&Timeline::fogEnd, "fog end"},
};

/// Where a clip is read to.
struct ClipPlace
{
    uint32_t row;
    uint32_t clip;
    Timeline* timeline;
    FaultList* faults;
};

static bool ReadClipValues(const TiXmlNode** child, const NamedClipValues* rows, size_t count,
                           const ClipPlace* place)
{
    for (size_t i = 0; i < count && !HasFailed(place->faults); ++i)
    {
        ClipValues* values = &(place->timeline->*rows[i].values);
        const TiXmlElement* element = TakeElement(child, rows[i].name, place->faults);
        const bool dynamic =
            ReadAnimatedValue(element, &values->slot[place->row][place->clip], place->faults);
        values->dynamic[place->row][place->clip] = dynamic ? 1 : 0;
    }
    return !HasFailed(place->faults);
}

static bool ReadProjection(const TiXmlElement* element, const ClipPlace* place)
{
    const char* type = RequireAttribute(element, "type", place->faults);
    if (type == nullptr)
    {
        return false;
    }

    uint8_t* kind = &place->timeline->projectionKind[place->row][place->clip];
    if (strcmp(type, "ortographic") == 0) // the format's own spelling
    {
        *kind = kProjectionOrthographic;
        return true;
    }
    const bool dynamic =
        ReadAnimatedValue(element, &place->timeline->fov[place->row][place->clip], place->faults);
    *kind = dynamic ? kProjectionAnimatedFov : kProjectionPerspective;
    return !HasFailed(place->faults);
}

static bool ReadFog(const TiXmlElement* element, const ClipPlace* place)
{
    const int32_t type = ReadIntAttribute(element, "type", place->faults);
    if (HasFailed(place->faults))
    {
        return false;
    }
    const int8_t mode = static_cast<int8_t>(type);
    place->timeline->fogMode[place->row][place->clip] = mode;
    if (mode <= 0)
    {
        return true;
    }

    const TiXmlNode* child = element->FirstChild();
    if (!ReadClipValues(&child, kFogValues, std::size(kFogValues), place))
    {
        return false;
    }
    const TiXmlElement* color = TakeElement(&child, "fog colour", place->faults);
    place->timeline->fogColorMaterial[place->row][place->clip] =
        static_cast<uint32_t>(ReadIntAttribute(color, "value", place->faults));
    return !HasFailed(place->faults);
}

static bool HasTarget(int32_t passKind)
{
    return passKind == kPassTexture || passKind == kPassTextureWide ||
           passKind == kPassTextureQuarter;
}

/// Reads one integer attribute of a clip; nothing after a fault.
static int32_t ReadClipNumber(const TiXmlElement* item, const char* name, FaultList* faults)
{
    return HasFailed(faults) ? 0 : ReadIntAttribute(item, name, faults);
}

static bool ReadClip(const TiXmlElement* item, const ClipPlace* place)
{
    Timeline* timeline = place->timeline;
    FaultList* faults = place->faults;
    const uint32_t row = place->row;
    const uint32_t clip = place->clip;
    timeline->sceneId[row][clip] = static_cast<uint32_t>(ReadClipNumber(item, "id", faults));
    timeline->spaceBefore[row][clip] =
        static_cast<uint32_t>(ReadClipNumber(item, "space_before", faults));
    timeline->length[row][clip] = static_cast<uint32_t>(ReadClipNumber(item, "length", faults));
    timeline->offset[row][clip] = static_cast<uint32_t>(ReadClipNumber(item, "offset", faults));
    timeline->passKind[row][clip] = ReadClipNumber(item, "type", faults);
    if (HasTarget(timeline->passKind[row][clip]))
    {
        timeline->passParams[row][clip][0] =
            static_cast<float>(ReadClipNumber(item, "rtex", faults));
    }
    if (HasFailed(faults))
    {
        return false;
    }

    const TiXmlNode* child = item->FirstChild();
    return ReadClipValues(&child, kCameraValues, std::size(kCameraValues), place) &&
           ReadProjection(TakeElement(&child, "field of view", faults), place) &&
           ReadFog(TakeElement(&child, "fog", faults), place);
}

bool ReadTimelineRow(const TiXmlElement* item, void* /*record*/, uint32_t index,
                     ReadContext* context)
{
    assert(index < kTimelineRows); // the section's reader stops there
    Timeline* timeline = context->document->timeline;
    FaultList* faults = context->faults;
    uint32_t time = 0;
    uint32_t clip = 0;
    for (const TiXmlNode* child = item->FirstChild(); child != nullptr;
         child = child->NextSibling())
    {
        faults->place.part = clip + 1;
        if (clip == kTimelineClips)
        {
            AddFaultAt(faults, child, "the row has more than %u clips", kTimelineClips);
            return false;
        }
        const TiXmlElement* element = RequireElement(child, "clip", faults);
        const ClipPlace place = {index, clip, timeline, faults};
        if (element == nullptr || !ReadClip(element, &place))
        {
            return false;
        }

        const uint32_t end =
            time + timeline->length[index][clip] + timeline->spaceBefore[index][clip];
        AddClipToIndex(time, end, clip, index, timeline);
        time = end;
        clip += 1;
        timeline->clipCount[index] = clip;
    }
    faults->place.part = 0;
    return true;
}

bool BeginTimeline(ReadContext* context)
{
    if (context->isDemo)
    {
        InitializeTimeline(context->document->timeline);
    }
    return true;
}

bool EndTimeline(ReadContext* context)
{
    if (context->itemCount == 0)
    {
        AddFault(context->faults, "the timeline has no row");
        return false;
    }
    return true;
}
