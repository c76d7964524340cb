// SPDX-License-Identifier: MIT
#include "studio/fly.h"

#include <algorithm>
#include <cstring>

#include "engine/animation/animated_value.h"
#include "studio/studio.h"

static constexpr float kDegreesPerPixel = 0.25f;
static constexpr float kUnitsPerSecond = 4.0f; // of the scene
static constexpr float kFast = 4.0f;           // times, with Shift

static constexpr ClipValues Timeline::*kCameraValues[] = {
    &Timeline::cameraX,    &Timeline::cameraY,    &Timeline::cameraZ,
    &Timeline::cameraRotX, &Timeline::cameraRotY, &Timeline::cameraRotZ,
};

/// Whether a clip is seen in the window, from a place.
static bool CanFly(const Timeline* timeline, const ActiveClip& clip)
{
    const int32_t kind = timeline->passKind[clip.row][clip.clip];
    const bool isWindow = kind == kPassSimple || kind == kPassLink || kind == kPassClearDepth;
    return isWindow && timeline->projectionKind[clip.row][clip.clip] != kProjectionOrthographic;
}

static FlyCamera AuthorsCamera(const DemoDocument* document, const ActiveClip& clip)
{
    float values[6];
    for (size_t i = 0; i < 6; ++i)
    {
        const ClipValues& column = document->timeline->*kCameraValues[i];
        const uint32_t slot = column.slot[clip.row][clip.clip];
        values[i] = column.dynamic[clip.row][clip.clip] != 0 ? CurveValue(document, slot, clip.time)
                                                             : SlotFloat(slot);
    }
    return {values[0], values[1], values[2], values[3], values[4], values[5]};
}

static bool IsSamePlace(const FlyCamera& a, const FlyCamera& b)
{
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

static bool IsSameTurn(const FlyCamera& a, const FlyCamera& b)
{
    return a.rotX == b.rotX && a.rotY == b.rotY && a.rotZ == b.rotZ;
}

/// The clip whose camera is left: of those that are away from the scene's middle the first, which
/// skies are not.
static const ActiveClip* FindLeader(const DemoDocument* document,
                                    const std::vector<ActiveClip>& clips)
{
    const ActiveClip* leader = nullptr;
    bool isSky = true;
    for (const ActiveClip& clip : clips)
    {
        if (CanFly(document->timeline, clip) && (leader == nullptr || isSky))
        {
            leader = &clip;
            const FlyCamera camera = AuthorsCamera(document, clip);
            isSky = IsSamePlace(camera, FlyCamera{});
        }
    }
    return leader;
}

static void EndFlight(Studio* studio)
{
    studio->flight.isOn = false;
    if (studio->active >= 0)
    {
        studio->window.slots[studio->active].stage->stride = 0; // targets hold what was flown over
    }
    studio->mustShow = true;
    ShowMessage(studio, "back at the author's camera");
}

void ToggleFlight(Studio* studio)
{
    if (studio->flight.isOn)
    {
        EndFlight(studio);
        return;
    }
    if (studio->active < 0)
    {
        return;
    }
    const DemoDocument* document = PlayedDocument(studio);
    const uint32_t tick = TransportTick(&studio->transport);
    const std::vector<ActiveClip> clips = ListActiveClips(document->timeline, tick);
    const ActiveClip* leader = FindLeader(document, clips);
    if (leader == nullptr)
    {
        ShowMessage(studio, "nothing here is seen by a camera");
        return;
    }
    const uint32_t fov = document->timeline->fov[leader->row][leader->clip];
    const bool isMoving =
        document->timeline->projectionKind[leader->row][leader->clip] == kProjectionAnimatedFov;
    studio->flight = {true, AuthorsCamera(document, *leader),
                      isMoving ? CurveValue(document, fov, leader->time) : SlotFloat(fov),
                      leader->row, NowMs()};
    ShowMessage(studio, "flying: W A S D Q E and the mouse, C goes back, Ctrl C copies the view");
}

void FlyWithKeys(Studio* studio)
{
    Flight* flight = &studio->flight;
    if (!flight->isOn)
    {
        return;
    }
    const uint32_t now = NowMs();
    const uint32_t passed = std::min(now - flight->movedMs, 100u);
    flight->movedMs = now;
    const uint8_t* keys = SDL_GetKeyboardState(nullptr);
    if ((SDL_GetModState() & KMOD_CTRL) != 0)
    {
        return;
    }
    const auto axis = [keys](SDL_Scancode on, SDL_Scancode back)
    {
        return static_cast<float>(keys[on]) - static_cast<float>(keys[back]);
    };
    const float right = axis(SDL_SCANCODE_D, SDL_SCANCODE_A);
    const float up = axis(SDL_SCANCODE_E, SDL_SCANCODE_Q);
    const float forward = axis(SDL_SCANCODE_W, SDL_SCANCODE_S);
    if (right == 0.0f && up == 0.0f && forward == 0.0f)
    {
        return;
    }
    const float step = kUnitsPerSecond * static_cast<float>(passed) / 1000.0f *
                       ((SDL_GetModState() & KMOD_SHIFT) != 0 ? kFast : 1.0f);
    MoveCamera(right * step, up * step, forward * step, &flight->camera);
    studio->mustShow = true;
}

void FlyWithMouse(Studio* studio, float right, float down)
{
    if (studio->flight.isOn && (right != 0.0f || down != 0.0f))
    {
        TurnCamera(right * kDegreesPerPixel, down * kDegreesPerPixel, &studio->flight.camera);
        studio->mustShow = true;
    }
}

void CopyView(Studio* studio)
{
    if (studio->flight.isOn)
    {
        SDL_SetClipboardText(CameraText(studio->flight.camera, studio->flight.fieldOfView).c_str());
        ShowMessage(studio, "the view is copied as a camera");
    }
}

std::vector<KeptCamera> TakeCameras(const Studio* studio, uint32_t tick)
{
    std::vector<KeptCamera> kept;
    if (!studio->flight.isOn)
    {
        return kept;
    }
    const DemoDocument* document = PlayedDocument(studio);
    Timeline* timeline = document->timeline;
    const std::vector<ActiveClip> clips = ListActiveClips(timeline, tick);
    const auto leader =
        std::find_if(clips.begin(), clips.end(),
                     [studio](const ActiveClip& clip) { return clip.row == studio->flight.row; });
    const ActiveClip* left = leader != clips.end() ? &*leader : FindLeader(document, clips);
    if (left == nullptr)
    {
        return kept;
    }
    const FlyCamera authors = AuthorsCamera(document, *left);
    const FlyCamera& flown = studio->flight.camera;
    const float values[6] = {flown.x, flown.y, flown.z, flown.rotX, flown.rotY, flown.rotZ};
    for (const ActiveClip& clip : clips)
    {
        const FlyCamera own = AuthorsCamera(document, clip);
        if (!CanFly(timeline, clip) || !IsSameTurn(own, authors))
        {
            continue;
        }
        KeptCamera camera = {clip.row, clip.clip, {}, {}};
        for (size_t i = 0; i < 6; ++i)
        {
            ClipValues& column = timeline->*kCameraValues[i];
            camera.slots[i] = column.slot[clip.row][clip.clip];
            camera.dynamic[i] = column.dynamic[clip.row][clip.clip];
            if (i >= 3 || IsSamePlace(own, authors))
            {
                column.slot[clip.row][clip.clip] = FloatSlot(values[i]);
                column.dynamic[clip.row][clip.clip] = 0;
            }
        }
        kept.push_back(camera);
    }
    return kept;
}

void PutCamerasBack(const Studio* studio, const std::vector<KeptCamera>& kept)
{
    for (const KeptCamera& camera : kept)
    {
        for (size_t i = 0; i < 6; ++i)
        {
            ClipValues& column = PlayedDocument(studio)->timeline->*kCameraValues[i];
            column.slot[camera.row][camera.clip] = camera.slots[i];
            column.dynamic[camera.row][camera.clip] = camera.dynamic[i];
        }
    }
}
