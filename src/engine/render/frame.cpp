// SPDX-License-Identifier: MIT
#include "engine/render/frame.h"

#include "engine/render/apply_light.h"
#include "engine/render/draw_scene.h"
#include "engine/render/gl_calls.h"
#include "engine/render/perspective.h"
#include "engine/render/records/material.h"
#include "engine/render/records/planes.h"
#include "engine/render/records/scene.h"
#include "engine/render/records/timeline.h"
#include "engine/render/render_target.h"

/// "force 16:9" forces 16:10, whatever its name says.
static constexpr float kForcedAspect = 1.6f;

/// The six camera values of a clip at its animation time.
struct Camera
{
    float x, y, z;
    float rotX, rotY, rotZ; // degrees
};

/// One clip at one moment.
struct DrawnClip
{
    const FrameSources* sources;
    const FrameRequest* request;
    uint32_t row;
    uint32_t clip; // in the row
    uint32_t time; // animation time, ticks
};

/// @return false after a fault: an envelope that does not exist
static bool ClipValue(const DrawnClip* drawn, const ClipValues* values, float* value)
{
    const Animation animation = FrameAnimation(drawn->sources);
    *value = ResolveValue(values->slot[drawn->row][drawn->clip],
                          values->dynamic[drawn->row][drawn->clip] != 0, &animation, drawn->time);
    return !HasFailed(drawn->sources->faults);
}

static bool ResolveCamera(const DrawnClip* drawn, Camera* camera)
{
    const Timeline* timeline = drawn->sources->document->timeline;
    return ClipValue(drawn, &timeline->cameraX, &camera->x) &&
           ClipValue(drawn, &timeline->cameraY, &camera->y) &&
           ClipValue(drawn, &timeline->cameraZ, &camera->z) &&
           ClipValue(drawn, &timeline->cameraRotX, &camera->rotX) &&
           ClipValue(drawn, &timeline->cameraRotY, &camera->rotY) &&
           ClipValue(drawn, &timeline->cameraRotZ, &camera->rotZ);
}

/// Decides where the clip is drawn. Sets: what CloseTarget or OpenTarget sets; of passes to the
/// window the viewport, and kPassClearDepth clears the depth. kPassLink and kinds that are none set
/// nothing.
static bool ApplyPassKind(const DrawnClip* drawn, RenderTarget* target)
{
    const FrameSources* sources = drawn->sources;
    const FrameRequest* request = drawn->request;
    const Timeline* timeline = sources->document->timeline;
    const int32_t kind = timeline->passKind[drawn->row][drawn->clip];
    switch (kind)
    {
    case kPassSimple:
    case kPassClearDepth:
        if (!CloseTarget(target, sources))
        {
            return false;
        }
        GlViewport(sources->gl, 0, 0, request->width, request->height);
        if (kind == kPassClearDepth)
        {
            GlClear(sources->gl, GL_DEPTH_BUFFER_BIT);
        }
        return true;
    case kPassTexture:
    case kPassTextureWide:
    case kPassTextureQuarter:
    {
        const TargetPass pass = {timeline->passParams[drawn->row][drawn->clip][0],
                                 kind == kPassTextureQuarter, request->width >> 1,
                                 request->height >> 1};
        return OpenTarget(target, &pass, sources);
    }
    default:
        return true;
    }
}

/// Sets: the projection matrix and GL_DEPTH_TEST. Leaves: GL_PROJECTION current.
static bool SetClipProjection(const DrawnClip* drawn)
{
    GlContext* gl = drawn->sources->gl;
    const Timeline* timeline = drawn->sources->document->timeline;
    const uint8_t kind = timeline->projectionKind[drawn->row][drawn->clip];
    if (kind == kProjectionOrthographic)
    {
        // One unit square from the upper left, whatever the window's shape.
        GlDisable(gl, GL_DEPTH_TEST);
        GlMatrixMode(gl, GL_PROJECTION);
        GlLoadIdentity(gl);
        if (!SkipsCalls(gl))
        {
            glOrtho(0.0, 1.0, 1.0, 0.0, -1.0, 1.0);
        }
        return true;
    }

    GlEnable(gl, GL_DEPTH_TEST);
    const Animation animation = FrameAnimation(drawn->sources);
    const float fov = ResolveValue(timeline->fov[drawn->row][drawn->clip],
                                   kind == kProjectionAnimatedFov, &animation, drawn->time);
    if (HasFailed(drawn->sources->faults))
    {
        return false;
    }
    GlMatrixMode(gl, GL_PROJECTION);
    GlLoadIdentity(gl);
    const bool wide = timeline->passKind[drawn->row][drawn->clip] == kPassTextureWide;
    LoadPerspective(gl, fov, wide ? kForcedAspect : drawn->request->aspect, kNearPlane, kFarPlane);
    return true;
}

/// The fog takes its color from a plain color material; anything else is white.
/// @param color   [4]
static bool ResolveFogColor(const DrawnClip* drawn, float* color)
{
    const FrameSources* sources = drawn->sources;
    for (uint32_t i = 0; i < 4; ++i)
    {
        color[i] = 1.0f;
    }
    const uint32_t materialId =
        sources->document->timeline->fogColorMaterial[drawn->row][drawn->clip];
    if (materialId == 0)
    {
        return true;
    }

    const Material* material = GetRecord<Material>(materialId, sources->document->materials);
    if (material == nullptr)
    {
        AddFault(sources->faults, "material %d, the colour of the fog, does not exist",
                 static_cast<int32_t>(materialId));
        return false;
    }
    if (material->type != 0)
    {
        return true;
    }
    const Animation animation = FrameAnimation(sources);
    for (uint32_t i = 0; i < 4; ++i)
    {
        color[i] = ResolveValue(material->params[i], MaskBit(material->dynamicMask, i), &animation,
                                drawn->time);
        if (HasFailed(sources->faults))
        {
            return false;
        }
    }
    return true;
}

/// Sets: GL_FOG; when it is on, also its mode, hint, color, density, start and end.
static bool SetClipFog(const DrawnClip* drawn)
{
    GlContext* gl = drawn->sources->gl;
    const Timeline* timeline = drawn->sources->document->timeline;
    if (timeline->fogMode[drawn->row][drawn->clip] <= 0)
    {
        GlDisable(gl, GL_FOG);
        return true;
    }

    GlEnable(gl, GL_FOG);
    GlFogi(gl, GL_FOG_MODE, GL_LINEAR);
    GlHint(gl, GL_FOG_HINT, GL_DONT_CARE);
    float color[4];
    if (!ResolveFogColor(drawn, color))
    {
        return false;
    }
    GlFogfv(gl, GL_FOG_COLOR, color);

    // Linear fog has no use for the density; it is set all the same.
    struct FogValue
    {
        GLenum name;
        const ClipValues* values;
    };
    const FogValue values[] = {{GL_FOG_DENSITY, &timeline->fogDensity},
                               {GL_FOG_START, &timeline->fogStart},
                               {GL_FOG_END, &timeline->fogEnd}};
    for (const FogValue& fog : values)
    {
        float value;
        if (!ClipValue(drawn, fog.values, &value))
        {
            return false;
        }
        GlFogf(gl, fog.name, value);
    }
    return true;
}

/// Sets: the modelview matrix. Leaves: GL_MODELVIEW current.
static void SetCameraMatrix(const Camera* camera, GlContext* gl)
{
    GlMatrixMode(gl, GL_MODELVIEW);
    GlLoadIdentity(gl);
    GlRotatef(gl, camera->rotZ, 0.0f, 0.0f, 1.0f);
    GlRotatef(gl, camera->rotX, 1.0f, 0.0f, 0.0f);
    GlRotatef(gl, camera->rotY, 0.0f, 1.0f, 0.0f);
    GlTranslatef(gl, camera->x, camera->y, camera->z);
}

/// Sets up a clip's pass, camera and fog, and draws its scene.
/// @param count   scenes that the frame has drawn; one more if this clip has one
static bool DrawClip(const DrawnClip* drawn, RenderTarget* target, uint32_t* count)
{
    const FrameSources* sources = drawn->sources;
    Camera camera;
    const bool set = ApplyPassKind(drawn, target) && ResolveCamera(drawn, &camera) &&
                     SetClipProjection(drawn) && SetClipFog(drawn);
    if (!set)
    {
        return false;
    }
    SetCameraMatrix(&camera, sources->gl);

    const uint32_t sceneId = sources->document->timeline->sceneId[drawn->row][drawn->clip];
    if (sceneId == 0)
    {
        return true;
    }
    const Scene* scene = GetRecord<Scene>(sceneId, sources->document->scenes);
    if (scene == nullptr)
    {
        AddFault(sources->faults, "scene %d does not exist", static_cast<int32_t>(sceneId));
        return false;
    }
    sources->faults->place.section = Section::kScenes;
    sources->faults->place.item = sceneId;
    sources->faults->place.part = 0;
    const SceneRequest request = {drawn->time, camera.rotY};
    if (!DrawSceneObjects(scene, sources, &request))
    {
        return false;
    }
    *count += 1;
    return true;
}

/// Draws the rows of a second of the timeline.
static bool DrawRows(const FrameSources* sources, const FrameRequest* request, uint32_t second,
                     uint32_t* count)
{
    const Timeline* timeline = sources->document->timeline;
    RenderTarget target = {false, 0};
    for (uint32_t row = 0; row < kTimelineRows; ++row)
    {
        uint32_t clip = 0;
        uint32_t local = 0;
        if (!FindClip(timeline, row, second, request->time, &clip, &local))
        {
            continue;
        }
        sources->faults->place = {
            sources->document->name, Section::kTimeline, row + 1, clip + 1, 0, 0};
        const DrawnClip drawn = {sources, request, row, clip, local + timeline->offset[row][clip]};
        if (!DrawClip(&drawn, &target, count))
        {
            return false;
        }
    }
    return true;
}

uint32_t RenderFrame(const FrameSources* sources, const FrameRequest* request)
{
    // Row 0 alone decides whether there is anything, whatever the other rows hold.
    const Timeline* timeline = sources->document->timeline;
    if (timeline->clipCount[0] == 0)
    {
        return 0;
    }
    uint32_t second = request->time / kTicksPerSecond;
    if (second > kTimelineSeconds - 1)
    {
        second = kTimelineSeconds - 1;
    }
    if (timeline->slotIndex[0][second] == kEmptySlot)
    {
        return 0;
    }

    // A frame of one document is also drawn in the middle of reading another.
    const Place caller = sources->faults->place;
    uint32_t count = 0;
    const bool complete = DrawRows(sources, request, second, &count);
    sources->faults->place = caller;
    if (!complete)
    {
        return 0;
    }
    SetLightAlongZ(sources->gl); // of the last clip's scene
    return count;
}
