#include "engine/render/frame.h"

#include <GL/glew.h>

#include "engine/animation/animated_value.h"
#include "engine/animation/light.h"
#include "engine/data/fault.h"
#include "engine/render/material.h"
#include "engine/render/perspective.h"
#include "engine/render/render_target.h"
#include "engine/render/scene.h"

static constexpr float kNearPlane = 0.1f;
static constexpr float kFarPlane = 1000.0f;

/// What "force 16:9" forces, whatever its name says.
static constexpr float kForcedAspect = 1.6f;

/// Where a clip's six camera values stand at its animation time.
struct Camera
{
    float x, y, z;
    float rotX, rotY, rotZ; // degrees
};

/// Finds the clip of a row at a time, through the index by second.
/// @param local   receives the ticks since the clip began
/// @return false in the gap before a clip and past the row's end
static bool FindClip(const Timeline* timeline, uint32_t row, uint32_t second, uint32_t time,
                     uint32_t* clip, uint32_t* local)
{
    uint32_t count = timeline->clipCount[row];
    uint32_t i = timeline->slotIndex[row][second];
    while (i < count && time > timeline->clipEnd[row][i])
    {
        ++i;
    }
    if (i >= count) // an empty slot's marker is as far out as it gets
    {
        return false;
    }

    uint32_t previousEnd = i == 0 ? 0 : timeline->clipEnd[row][i - 1];
    uint32_t space = timeline->spaceBefore[row][i];
    if (time < previousEnd + space)
    {
        return false;
    }
    *clip = i;
    *local = time - previousEnd - space;
    return true;
}

static float ClipValue(const ClipValues* values, uint32_t row, uint32_t clip,
                       const ObjectTable* envelopes, uint32_t time)
{
    return ResolveValue(values->slot[row][clip], values->dynamic[row][clip] != 0, envelopes, time);
}

static Camera ResolveCamera(const Timeline* timeline, uint32_t row, uint32_t clip,
                            const ObjectTable* envelopes, uint32_t time)
{
    Camera camera;
    camera.x = ClipValue(&timeline->cameraX, row, clip, envelopes, time);
    camera.y = ClipValue(&timeline->cameraY, row, clip, envelopes, time);
    camera.z = ClipValue(&timeline->cameraZ, row, clip, envelopes, time);
    camera.rotX = ClipValue(&timeline->cameraRotX, row, clip, envelopes, time);
    camera.rotY = ClipValue(&timeline->cameraRotY, row, clip, envelopes, time);
    camera.rotZ = ClipValue(&timeline->cameraRotZ, row, clip, envelopes, time);
    return camera;
}

/// Decides where the clip is drawn. Sets: what CloseTarget or OpenTarget sets; of passes to the
/// window the viewport, and kPassClearDepth clears the depth. kPassLink and kinds that are none set
/// nothing.
static void ApplyPassKind(int32_t kind, float targetId, int32_t width, int32_t height, int32_t npot,
                          const ObjectTable* bitmaps, RenderTarget* target)
{
    switch (kind)
    {
    case kPassSimple:
    case kPassClearDepth:
        CloseTarget(target, bitmaps);
        glViewport(0, 0, width, height);
        if (kind == kPassClearDepth)
        {
            glClear(GL_DEPTH_BUFFER_BIT);
        }
        break;
    case kPassTexture:
    case kPassTextureWide:
    case kPassTextureQuarter:
        OpenTarget(target, targetId, kind == kPassTextureQuarter, width >> 1, height >> 1, npot,
                   bitmaps);
        break;
    default:
        break;
    }
}

/// Sets: the projection matrix and GL_DEPTH_TEST. Leaves: GL_PROJECTION current.
static void SetClipProjection(const Timeline* timeline, uint32_t row, uint32_t clip, float aspect,
                              const ObjectTable* envelopes, uint32_t time)
{
    uint8_t kind = timeline->projectionKind[row][clip];
    if (kind == kProjectionOrthographic)
    {
        // One unit square from the upper left, whatever the window's shape.
        glDisable(GL_DEPTH_TEST);
        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        glOrtho(0.0, 1.0, 1.0, 0.0, -1.0, 1.0);
        return;
    }

    glEnable(GL_DEPTH_TEST);
    float fov =
        ResolveValue(timeline->fov[row][clip], kind == kProjectionAnimatedFov, envelopes, time);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    bool wide = timeline->passKind[row][clip] == kPassTextureWide;
    LoadPerspective(fov, wide ? kForcedAspect : aspect, kNearPlane, kFarPlane);
}

/// The fog takes its colour from a plain colour material; anything else is white.
static void ResolveFogColour(uint32_t materialId, const ObjectTable* materials,
                             const ObjectTable* envelopes, uint32_t time, float* colour)
{
    for (uint32_t i = 0; i < 4; ++i)
    {
        colour[i] = 1.0f;
    }
    if (materialId == 0)
    {
        return;
    }

    const Material* material = GetRecord<Material>(materialId, materials);
    if (material == nullptr)
    {
        FatalFault("material %d, the colour of the fog, does not exist",
                   static_cast<int32_t>(materialId));
    }
    if (material->type != 0)
    {
        return;
    }
    for (uint32_t i = 0; i < 4; ++i)
    {
        colour[i] =
            ResolveValue(material->params[i], MaskBit(material->dynamicMask, i), envelopes, time);
    }
}

/// Sets: GL_FOG; when it is on, also its mode, hint, colour, density, start and end.
static void SetClipFog(const Timeline* timeline, uint32_t row, uint32_t clip,
                       const ObjectTable* materials, const ObjectTable* envelopes, uint32_t time)
{
    if (timeline->fogMode[row][clip] <= 0)
    {
        glDisable(GL_FOG);
        return;
    }

    glEnable(GL_FOG);
    glFogi(GL_FOG_MODE, GL_LINEAR);
    glHint(GL_FOG_HINT, GL_DONT_CARE);
    float colour[4];
    ResolveFogColour(timeline->fogColourMaterial[row][clip], materials, envelopes, time, colour);
    glFogfv(GL_FOG_COLOR, colour);

    // Linear fog has no use for the density; it is set all the same.
    glFogf(GL_FOG_DENSITY, ClipValue(&timeline->fogDensity, row, clip, envelopes, time));
    glFogf(GL_FOG_START, ClipValue(&timeline->fogStart, row, clip, envelopes, time));
    glFogf(GL_FOG_END, ClipValue(&timeline->fogEnd, row, clip, envelopes, time));
}

/// Sets: the modelview matrix. Leaves: GL_MODELVIEW current.
static void SetCameraMatrix(const Camera* camera)
{
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glRotatef(camera->rotZ, 0.0f, 0.0f, 1.0f);
    glRotatef(camera->rotX, 1.0f, 0.0f, 0.0f);
    glRotatef(camera->rotY, 0.0f, 1.0f, 0.0f);
    glTranslatef(camera->x, camera->y, camera->z);
}

uint32_t RenderFrame(Timeline* timeline, ObjectTable* scenes, ObjectTable* materials,
                     ObjectTable* lights, ObjectTable* textures, ObjectTable* envelopes,
                     float aspect, ObjectTable* effects, ObjectTable* models, ObjectTable* bitmaps,
                     ObjectTable* genMeshes, uint32_t time, int32_t width, int32_t height,
                     int32_t vbo, int32_t pbo, int32_t npot, int32_t dot3)
{
    // Row 0 alone decides whether there is anything, whatever the other rows hold.
    if (timeline->clipCount[0] == 0)
    {
        return 0;
    }
    uint32_t second = time / kTicksPerSecond;
    if (second > kTimelineSeconds - 1)
    {
        second = kTimelineSeconds - 1;
    }
    if (timeline->slotIndex[0][second] == kEmptySlot)
    {
        return 0;
    }

    // A frame of one document is also drawn in the middle of reading another.
    FaultPlace callersPlace = CurrentPlace;
    RenderTarget target = {false, 0};
    uint32_t drawn = 0;
    for (uint32_t row = 0; row < kTimelineRows; ++row)
    {
        uint32_t clip = 0;
        uint32_t local = 0;
        if (!FindClip(timeline, row, second, time, &clip, &local))
        {
            continue;
        }

        CurrentPlace = {callersPlace.document, 10, row + 1, clip + 1};
        ApplyPassKind(timeline->passKind[row][clip], timeline->passParams[row][clip][0], width,
                      height, npot, bitmaps, &target);
        uint32_t at = local + timeline->offset[row][clip];
        Camera camera = ResolveCamera(timeline, row, clip, envelopes, at);
        SetClipProjection(timeline, row, clip, aspect, envelopes, at);
        SetClipFog(timeline, row, clip, materials, envelopes, at);
        SetCameraMatrix(&camera);

        uint32_t sceneId = timeline->sceneId[row][clip];
        if (sceneId == 0)
        {
            continue;
        }
        const Scene* scene = GetRecord<Scene>(sceneId, scenes);
        if (scene == nullptr)
        {
            FatalFault("scene %d does not exist", static_cast<int32_t>(sceneId));
        }
        CurrentPlace = {callersPlace.document, 9, sceneId, 0};
        DrawSceneObjects(scene, materials, lights, textures, envelopes, effects, models, bitmaps,
                         genMeshes, at, vbo, pbo, dot3, camera.rotY);
        ++drawn;
    }
    CurrentPlace = callersPlace;

    SetLightAlongZ(); // of the last clip's scene
    return drawn;
}
