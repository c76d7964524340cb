// SPDX-License-Identifier: MIT

// Shared by the tests of frames: a timeline, tables, and the calls that parts of a frame come to.
#pragma once

#include <GL/glew.h>
#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "engine/render/frame.h"
#include "support/recorded_gl.h"
#include "support/test_piece.h"
#include "support/timeline_builder.h"

class FrameTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        ResetGl();
        StartTestPiece(&piece);
        timeline = piece.document.timeline;
        // Three scenes without objects, so that a frame's calls are the frame's own.
        AddRecord<Scene>(piece.document.scenes);
        AddRecord<Scene>(piece.document.scenes);
        AddRecord<Scene>(piece.document.scenes);
    }

    void TearDown() override
    {
        FreeTestPiece(&piece);
    }

    /// Takes all clips out again.
    void ClearTimeline()
    {
        memset(static_cast<void*>(timeline), 0, sizeof(Timeline));
    }

    /// A bitmap with the next texture name, from 1.
    uint32_t AddBitmap(int32_t width, int32_t height)
    {
        BitmapUpload bitmap = {0, width, height, 4};
        glGenTextures(1, &bitmap.glTexture);
        TakeGlCalls();
        ::AddBitmap(&piece, bitmap);
        return piece.document.bitmaps->count;
    }

    const BitmapUpload* Bitmap(uint32_t id) const
    {
        return GetBitmapUpload(&piece.upload, id);
    }

    Scene* GetScene(uint32_t id) const
    {
        return GetRecord<Scene>(id, piece.document.scenes);
    }

    /// Makes a clip a pass to a texture.
    void SetTarget(uint32_t row, uint32_t clip, int32_t passKind, uint32_t bitmapId)
    {
        timeline->passKind[row][clip] = passKind;
        timeline->passParams[row][clip][0] = static_cast<float>(bitmapId);
    }

    /// Draws a frame of the piece's features; `drawn` receives its result.
    void RenderPlain(const FrameRequest& request)
    {
        const FrameSources sources = TestSources(&piece);
        drawn = RenderFrame(&sources, &request);
        EXPECT_EQ(GlRefusedCalls(), 0u);
        EXPECT_EQ(piece.arena.used, 0u); // each object gives back what it took
    }

    /// Draws a frame in a square aspect and returns its calls; `drawn` receives its result.
    std::string Render(uint32_t time, int32_t width = 640, int32_t height = 480, int32_t npot = 0)
    {
        piece.features.npot = npot;
        RenderPlain({1.0f, time, width, height});
        EXPECT_EQ(TakeFaults(&piece), "");
        return TakeGlCalls();
    }

    /// Draws a frame that meets one fault.
    /// @param place   of the fault, such as "section 9 (scenes), item 3"
    /// @return its calls, up to there
    std::string RenderToFault(uint32_t time, const std::string& place, const std::string& words)
    {
        RenderPlain({1.0f, time, 640, 480});
        EXPECT_EQ(drawn, 0u);
        EXPECT_EQ(TakeFaults(&piece), "quorvale: demo.xmlz, " + place + ": " + words + "\n");
        return TakeGlCalls();
    }

    TestPiece piece = {};
    Timeline* timeline = nullptr; // of the piece
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
/// The calls of a clip of AddClip, after its pass.
inline const std::string kPlainClip = kPerspective + kNoFog + kCameraAtOrigin;
inline const std::string kFrameEnd = "Lightfv LIGHT1 POSITION 0 0 1 0\n";
