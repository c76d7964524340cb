// SPDX-License-Identifier: MIT

// Frames whose objects wear real recipes: what one sets, seen by the draw calls after it.

#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

#include "engine/render/frame_test.h"
#include "support/gl_state.h"
#include "support/scene_builder.h"

/// Clips of scenes with one triangle each, and material t + 1 of each recipe t, with bitmap,
/// texture, light and effect 1.
class FrameRecipesTest : public FrameTest
{
  protected:
    void SetUp() override
    {
        FrameTest::SetUp();
        NameMeshArrays(triangle, "model");
        AddModel(&piece, &triangle, 1);
        AddBitmap(16, 16);
        Light* light = AddRecord<Light>(piece.document.lights);
        for (uint32_t i = 0; i < 3; ++i)
        {
            light->position[i] = FloatSlot(static_cast<float>(i + 1));
        }
        for (uint32_t type = 0; type < kMaterialTypes; ++type)
        {
            Material* material = AddRecord<Material>(piece.document.materials);
            material->type = type;
            material->refs[0] = 1;
        }
    }

    /// Adds an object of recipe `type` at x = 5 to a scene.
    void AddTriangle(uint32_t sceneId, uint32_t type)
    {
        Scene* scene = GetScene(sceneId);
        const uint32_t n = AddObject(scene, kObjectModel, 1, type + 1);
        scene->positionX.slot[n] = FloatSlot(5.0f);
    }

    /// The state at each call of this name in a frame.
    std::vector<GlState> StatesAt(const std::string& name, uint32_t time)
    {
        std::vector<GlState> states;
        GlState state;
        std::istringstream calls(Render(time));
        for (std::string call; std::getline(calls, call);)
        {
            if (call.rfind(name, 0) == 0)
            {
                states.push_back(state);
            }
            ApplyGlCalls(call + "\n", &state);
        }
        return states;
    }

    MeshArrays triangle = MakeMeshArrays(3);
};

TEST_F(FrameRecipesTest, DepthTestedRecipesTurnItOnInOrthographicClips)
{
    timeline->projectionKind[0][AddClip(timeline, 0, 0, 100, 1)] = kProjectionOrthographic;
    AddTriangle(1, 19);
    AddTriangle(1, 7);
    AddTriangle(1, 19);
    timeline->projectionKind[1][AddClip(timeline, 1, 0, 100, 2)] = kProjectionOrthographic;
    AddTriangle(2, 24); // no recipe: as the clip has it
    const std::vector<GlState> states = StatesAt("DrawElements", 50);
    ASSERT_EQ(states.size(), 4u);
    EXPECT_EQ(GlValue(states[0], "DEPTH_TEST"), "off");
    EXPECT_EQ(GlValue(states[1], "DEPTH_TEST"), "on");
    EXPECT_EQ(GlValue(states[2], "DEPTH_TEST"), "off");
    EXPECT_EQ(GlValue(states[3], "DEPTH_TEST"), "off");
}

TEST_F(FrameRecipesTest, ALightStandsInTheSceneAndNotInTheObjectsSpace)
{
    const uint32_t clip = AddClip(timeline, 0, 0, 100, 1);
    SetConstant(&timeline->cameraZ, 0, clip, -9.0f);
    SetConstant(&timeline->cameraRotY, 0, clip, 45.25f);
    AddTriangle(1, 1);
    const std::string camera =
        "Rotatef 0 0 0 1, Rotatef 0 1 0 0, Rotatef 45.25 0 1 0, Translatef 0 0 -9";
    const std::vector<GlState> lights = StatesAt("Lightfv LIGHT1 POSITION 1 2 3 1", 50);
    ASSERT_EQ(lights.size(), 1u);
    EXPECT_EQ(GlValue(lights[0], "MatrixMode"), "MODELVIEW");
    EXPECT_EQ(GlValue(lights[0], "MODELVIEW matrix"), camera);
    const std::vector<GlState> draws = StatesAt("DrawElements", 50);
    ASSERT_EQ(draws.size(), 1u);
    EXPECT_EQ(GlValue(draws[0], "LIGHT1 POSITION"), "1 2 3 1");
    EXPECT_EQ(GlValue(draws[0], "MODELVIEW matrix"),
              camera + ", Translatef 5 0 0, Rotatef 0 1 0 0, Rotatef 0 0 1 0, Rotatef 0 0 0 1, "
                       "Scalef 1 1 1");
}

TEST_F(FrameRecipesTest, WhereALightShinesFromDependsOnTheClipsCamera)
{
    AddTriangle(1, 1);
    SetConstant(&timeline->cameraX, 0, AddClip(timeline, 0, 0, 100, 1), 10.0f);
    SetConstant(&timeline->cameraX, 1, AddClip(timeline, 1, 0, 100, 1), 20.0f);
    const std::vector<GlState> lights = StatesAt("Lightfv LIGHT1 POSITION 1 2 3 1", 50);
    ASSERT_EQ(lights.size(), 2u);
    const std::string turned = "Rotatef 0 0 0 1, Rotatef 0 1 0 0, Rotatef 0 0 1 0, ";
    EXPECT_EQ(GlValue(lights[0], "MODELVIEW matrix"), turned + "Translatef 10 0 0");
    EXPECT_EQ(GlValue(lights[1], "MODELVIEW matrix"), turned + "Translatef 20 0 0");

    // The direction at the frame's end goes through the last clip's.
    const std::vector<GlState> ends = StatesAt("Lightfv LIGHT1 POSITION 0 0 1 0", 50);
    ASSERT_EQ(ends.size(), 1u);
    EXPECT_EQ(GlValue(ends[0], "MODELVIEW matrix"), turned + "Translatef 20 0 0");
}
