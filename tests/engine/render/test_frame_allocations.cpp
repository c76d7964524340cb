// SPDX-License-Identifier: MIT
#include "engine/render/frame.h"

#include <cstdlib>
#include <gtest/gtest.h>

#include "engine/render/frame_test.h"
#include "engine/render/set_material.h"
#include "support/scene_builder.h"

// The linker sends every allocation of the engine through here.
extern "C"
{
    void* __real_malloc(size_t size);
    void* __real_calloc(size_t count, size_t size);
    void* __real_realloc(void* block, size_t size);
    void __real_free(void* block);
    void* __wrap_malloc(size_t size);
    void* __wrap_calloc(size_t count, size_t size);
    void* __wrap_realloc(void* block, size_t size);
    void __wrap_free(void* block);
}

static int allocations;
static int frees;

void* __wrap_malloc(size_t size)
{
    allocations += 1;
    return __real_malloc(size);
}

void* __wrap_calloc(size_t count, size_t size)
{
    allocations += 1;
    return __real_calloc(count, size);
}

void* __wrap_realloc(void* block, size_t size)
{
    allocations += 1;
    return __real_realloc(block, size);
}

void __wrap_free(void* block)
{
    frees += block == nullptr ? 0 : 1;
    __real_free(block);
}

class FrameAllocationsTest : public FrameTest
{
  protected:
    void SetUp() override
    {
        FrameTest::SetUp();
        MuteGl(true);                // it keeps nothing then
        AddStillGenMesh(&piece, {}); // a mesh of nothing
    }

    void AddObjects(uint32_t sceneId, uint32_t count)
    {
        Scene* scene = GetScene(sceneId);
        for (uint32_t i = 0; i < count; ++i)
        {
            const uint32_t n = scene->objectCount;
            scene->objectCount += 1;
            scene->objectKind[n] = kObjectGenMesh;
            scene->objectId[n] = 1;
        }
    }

    /// Draws a frame; `allocations` and `frees` count what it did.
    void Count(uint32_t time, int32_t npot = 0)
    {
        piece.features.npot = npot;
        const FrameSources sources = TestSources(&piece);
        const FrameRequest request = {1.0f, time, 640, 480};
        allocations = 0;
        frees = 0;
        RenderFrame(&sources, &request);
        EXPECT_FALSE(HasFailed(&piece.faults));
    }
};

TEST_F(FrameAllocationsTest, ClipsAllocateNothing)
{
    for (uint32_t row = 0; row < kTimelineRows; ++row)
    {
        const uint32_t clip = AddClip(timeline, row, 0, 100, 1);
        timeline->fogMode[row][clip] = 1;
        SetEnvelope(&timeline->cameraX, row, clip, AddLinearEnvelope(&piece, 1.0f, 0.0f));
    }
    Count(50);
    EXPECT_EQ(allocations, 0);
    EXPECT_EQ(frees, 0);
}

TEST_F(FrameAllocationsTest, SplinesAndLoopsAllocateNothing)
{
    const uint32_t clip = AddClip(timeline, 0, 0, 5000, 1);
    ClipValues* values[] = {&timeline->cameraX, &timeline->cameraY, &timeline->cameraZ};
    for (uint8_t loopType : {kLoopOff, kLoopLoop, kLoopPingPong})
    {
        Envelope envelope = {};
        envelope.pieceCount = 1;
        envelope.pieceType[0] = kFunctionSpline;
        envelope.pieceLength[0] = 0xFFFFFFFF;
        envelope.loopType = loopType;
        envelope.loopEnd = 100.0f;
        SetEnvelope(values[loopType], 0, clip, AddEnvelope(&piece, envelope));
    }
    for (uint32_t time : {10u, 50u, 150u, 4000u})
    {
        Count(time);
        EXPECT_EQ(allocations, 0) << time;
        EXPECT_EQ(frees, 0) << time;
    }
}

TEST_F(FrameAllocationsTest, EveryRecipeAllocatesNothing)
{
    const uint32_t envelope = AddLinearEnvelope(&piece, 1.0f, 0.0f);
    AddRecord<Light>(piece.document.lights)->flagsB = 0xE0;
    for (uint32_t& slot : GetRecord<Light>(1, piece.document.lights)->position)
    {
        slot = envelope;
    }
    AddTexture(&piece, 1);
    AddBitmap(2, 2);
    Effect2D effect = {};
    effect.type = -1; // what a refresh takes is its own
    AddEffect(&piece, effect, 1, 0);
    for (uint32_t type = 0; type < kMaterialTypes; ++type)
    {
        Material* material = AddRecord<Material>(piece.document.materials);
        material->type = type;
        material->dynamicMask[0] = 0xF8;
        for (uint32_t i = 0; i < 5; ++i)
        {
            material->params[i] = envelope;
        }
        material->refs[0] = 1;
        material->refs[1] = 1;
        material->refs[2] = 1;
        material->effectRefs[0] = 1;
    }

    for (uint32_t type = 0; type < kMaterialTypes; ++type)
    {
        for (int32_t vbo : {0, 1})
        {
            piece.features = {vbo, 1, 0, 1};
            const FrameSources sources = TestSources(&piece);
            const MaterialRequest request = {50, 30.0f, {nullptr, nullptr, 1, 1, 3, vbo != 0}};
            const uint64_t callsBefore = GlCallCount();
            allocations = 0;
            frees = 0;
            EXPECT_TRUE(SetMaterial(type + 1, &sources, &request));
            EXPECT_EQ(allocations, 0) << type;
            EXPECT_EQ(frees, 0) << type;
            EXPECT_GT(GlCallCount(), callsBefore + 10) << type;
        }
    }
}

TEST_F(FrameAllocationsTest, AFrameLikeTheOneBeforeTakesNothing)
{
    AddClip(timeline, 0, 0, 100, 1);
    AddObjects(1, 512);
    Count(50);
    EXPECT_EQ(allocations, 1); // the arena's first block, which all objects share
    EXPECT_EQ(frees, 0);
    Count(51);
    EXPECT_EQ(allocations, 0);
    EXPECT_EQ(frees, 0);
}

TEST_F(FrameAllocationsTest, ListsOfAnySizeStayWithTheArena)
{
    AddClip(timeline, 0, 0, 100, 1);
    AddObjects(1, 2);
    Scene* scene = GetScene(1);
    for (uint32_t n = 0; n < 2; ++n)
    {
        scene->manipulatorCount[n] = 2;
        scene->manipulators[n][0].type = kManipulatorXMultiplier;
        scene->manipulators[n][0].params[0] = FloatSlot(10000.0f);
        scene->manipulators[n][1].type = kManipulatorXMultiplier;
        scene->manipulators[n][1].params[0] = FloatSlot(3.0f);
    }
    Count(50);
    EXPECT_EQ(allocations, 3); // one instance; 360,000 bytes; 1,080,000 bytes
    EXPECT_EQ(frees, 0);
    Count(51);
    EXPECT_EQ(allocations, 0);
    EXPECT_EQ(frees, 0);
}

TEST_F(FrameAllocationsTest, EveryManipulatorTakesItsMemoryFromTheArena)
{
    MeshArrays triangle = MakeMeshArrays(3);
    AddModel(&piece, &triangle, 1);
    AddClip(timeline, 0, 0, 100, 1);
    Scene* scene = GetScene(1);
    AddObject(scene, kObjectModel, 1, 0);
    scene->manipulatorCount[0] = 4;
    for (int32_t type = 0; type < 4; ++type)
    {
        Manipulator* manipulator = &scene->manipulators[0][type];
        manipulator->type = type;
        manipulator->placementId = 1;
        for (uint32_t& param : manipulator->params)
        {
            param = FloatSlot(2.0f);
        }
    }
    Count(50);
    EXPECT_GT(allocations, 0);
    Count(51);
    EXPECT_EQ(allocations, frees); // normals work in a block of their own
    EXPECT_LE(allocations, 1);
}

TEST_F(FrameAllocationsTest, AHiddenObjectTakesNothing)
{
    AddClip(timeline, 0, 0, 100, 1);
    AddObjects(1, 1);
    GetScene(1)->visibilityEnvelope[0] = AddLinearEnvelope(&piece, 0.0f, 0.0f);
    Count(50);
    EXPECT_EQ(allocations, 0);
}

TEST_F(FrameAllocationsTest, AQuarterTargetTakesItsPixelsWhileItIsMade)
{
    const uint32_t id = AddBitmap(32, 32);
    SetTarget(0, AddClip(timeline, 0, 0, 100, 1), kPassTextureQuarter, id);
    SetTarget(1, AddClip(timeline, 1, 0, 100, 1), kPassTexture, id);
    Count(50);
    EXPECT_EQ(allocations, 1);
    EXPECT_EQ(frees, 1);
    Count(51);
    EXPECT_EQ(allocations, 0);
    EXPECT_EQ(frees, 0);
    Count(52, 1); // now as large as it likes
    EXPECT_EQ(allocations, 1);
    EXPECT_EQ(frees, 1);
}
