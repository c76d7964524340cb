// What the tests of frames share: a timeline, tables, and the calls that parts of a frame come to.
#pragma once

#include <GL/glew.h>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "engine/data/fault.h"
#include "engine/render/frame.h"
#include "engine/render/tex_coord_arrays.h"
#include "support/piece_tables.h"
#include "support/recorded_gl.h"
#include "support/timeline_builder.h"

class FrameTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        ResetGl();
        CurrentTexCoordArrays = {};
        timeline = CreateTimeline();
        tables = MakePieceTables();
        // Three scenes without objects, so that a frame's calls are the frame's own.
        AddRecord<Scene>(tables.scenes);
        AddRecord<Scene>(tables.scenes);
        AddRecord<Scene>(tables.scenes);
        CurrentPlace = {"demo.xmlz", kNoSection, 0, 0};
    }

    void TearDown() override
    {
        for (uint32_t id = 1; id <= tables.bitmaps->count; ++id)
        {
            free(GetRecord<BitmapTexture>(id, tables.bitmaps)->pixels);
        }
        FreePieceTables(&tables);
        free(timeline);
        CurrentPlace = {nullptr, kNoSection, 0, 0};
    }

    /// Takes all clips out again.
    void ClearTimeline()
    {
        memset(static_cast<void*>(timeline), 0, sizeof(Timeline));
    }

    /// A bitmap with the next texture name, from 1.
    uint32_t AddBitmap(int32_t width, int32_t height)
    {
        BitmapTexture* bitmap = AddRecord<BitmapTexture>(tables.bitmaps);
        bitmap->width = width;
        bitmap->height = height;
        bitmap->components = 4;
        glGenTextures(1, &bitmap->glTexture);
        TakeGlCalls();
        return tables.bitmaps->count;
    }

    BitmapTexture* Bitmap(uint32_t id) const
    {
        return GetRecord<BitmapTexture>(id, tables.bitmaps);
    }

    /// Makes a clip a pass to a texture.
    void SetTarget(uint32_t row, uint32_t clip, int32_t passKind, uint32_t bitmapId)
    {
        timeline->passKind[row][clip] = passKind;
        timeline->passParams[row][clip][0] = static_cast<float>(bitmapId);
    }

    /// Draws a frame in a square aspect and returns its calls; `drawn` receives its result.
    std::string Render(uint32_t time, int32_t width = 640, int32_t height = 480, int32_t npot = 0)
    {
        drawn = RenderFrame(timeline, tables.scenes, tables.materials, tables.lights,
                            tables.textures, tables.envelopes, 1.0f, tables.effects, tables.models,
                            tables.bitmaps, tables.genMeshes, time, width, height, 0, 0, npot, 0);
        EXPECT_EQ(GlRefusedCalls(), 0u);
        return TakeGlCalls();
    }

    Timeline* timeline = nullptr;
    PieceTables tables = {};
    uint32_t drawn = 0;
};

inline const std::string kWindow = "Viewport 0 0 640 480\n";
inline const std::string kPerspective =
    "Enable DEPTH_TEST\n"
    "MatrixMode PROJECTION\n"
    "LoadIdentity\n"
    "LoadMatrixf 1 0 0 0 0 1 0 0 0 0 -1.0001999 -1 0 0 -0.20002 0\n";
inline const std::string kNoFog = "Disable FOG\n";
inline const std::string kCameraAtOrigin = "MatrixMode MODELVIEW\n"
                                           "LoadIdentity\n"
                                           "Rotatef 0 0 0 1\n"
                                           "Rotatef 0 1 0 0\n"
                                           "Rotatef 0 0 1 0\n"
                                           "Translatef 0 0 0\n";
/// What a clip of AddClip comes to behind its pass.
inline const std::string kPlainClip = kPerspective + kNoFog + kCameraAtOrigin;
inline const std::string kFrameEnd = "Lightfv LIGHT1 POSITION 0 0 1 0\n";
