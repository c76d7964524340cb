#include "engine/render/frame.h"

#include <cstdlib>
#include <gtest/gtest.h>

#include "engine/render/frame_test.h"
#include "engine/render/set_material.h"

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
        MuteGl(true); // it keeps nothing then
        GenMesh* genMesh = AddRecord<GenMesh>(tables.genMeshes);
        genMesh->type = 99; // a mesh of nothing
    }

    void AddObjects(uint32_t sceneId, uint32_t count)
    {
        Scene* scene = GetRecord<Scene>(sceneId, tables.scenes);
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
        allocations = 0;
        frees = 0;
        RenderFrame(timeline, tables.scenes, tables.materials, tables.lights, tables.textures,
                    tables.envelopes, 1.0f, tables.effects, tables.models, tables.bitmaps,
                    tables.genMeshes, time, 640, 480, 0, 0, npot, 0);
    }
};

TEST_F(FrameAllocationsTest, ClipsAllocateNothing)
{
    for (uint32_t row = 0; row < kTimelineRows; ++row)
    {
        const uint32_t clip = AddClip(timeline, row, 0, 100, 1);
        timeline->fogMode[row][clip] = 1;
        SetEnvelope(&timeline->cameraX, row, clip, AddLinearEnvelope(&tables, 1.0f, 0.0f));
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
        const uint32_t id = AddLinearEnvelope(&tables, 1.0f, 0.0f);
        SetEnvelope(values[loopType], 0, clip, id);
        Envelope* envelope = GetRecord<Envelope>(id, tables.envelopes);
        envelope->pieceType[0] = kFunctionSpline;
        envelope->loopType = loopType;
        envelope->loopEnd = 100.0f;
    }
    for (uint32_t time : {10u, 50u, 150u, 4000u}) // the first makes the splines ready
    {
        Count(time);
        EXPECT_EQ(allocations, 0) << time;
        EXPECT_EQ(frees, 0) << time;
    }
    EXPECT_TRUE(GetRecord<Envelope>(3, tables.envelopes)->splinesReady);
}

TEST_F(FrameAllocationsTest, EveryRecipeAllocatesNothing)
{
    const uint32_t envelope = AddLinearEnvelope(&tables, 1.0f, 0.0f);
    AddRecord<Light>(tables.lights)->flagsB = 0xE0;
    for (uint32_t& slot : GetRecord<Light>(1, tables.lights)->position)
    {
        slot = envelope;
    }
    AddRecord<ProceduralTexture>(tables.textures);
    AddRecord<BitmapTexture>(tables.bitmaps);
    AddRecord<Effect2D>(tables.effects)->lastUpdate = 50; // what a refresh takes is its own
    for (uint32_t type = 0; type < kMaterialTypes; ++type)
    {
        Material* material = AddRecord<Material>(tables.materials);
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
            const uint64_t callsBefore = GlCallCount();
            allocations = 0;
            frees = 0;
            SetMaterial(type + 1, tables.materials, tables.lights, tables.textures,
                        tables.envelopes, tables.effects, tables.bitmaps, 50, vbo, 1, 1, 30.0f);
            EXPECT_EQ(allocations, 0) << type;
            EXPECT_EQ(frees, 0) << type;
            EXPECT_GT(GlCallCount(), callsBefore + 10) << type;
        }
    }
}

TEST_F(FrameAllocationsTest, AnObjectTakesAListAndItsInstancesAndGivesThemBack)
{
    AddClip(timeline, 0, 0, 100, 1);
    AddObjects(1, 512);
    Count(50);
    EXPECT_EQ(allocations, 1024);
    EXPECT_EQ(frees, 1024);
}

TEST_F(FrameAllocationsTest, EachMultiplierTakesAnotherList)
{
    AddClip(timeline, 0, 0, 100, 1);
    AddObjects(1, 1);
    Scene* scene = GetRecord<Scene>(1, tables.scenes);
    scene->manipulatorCount[0] = 2;
    scene->manipulators[0][0].type = kManipulatorXMultiplier;
    scene->manipulators[0][0].params[0] = FloatSlot(100.0f);
    scene->manipulators[0][1].type = kManipulatorXMultiplier;
    scene->manipulators[0][1].params[0] = FloatSlot(3.0f);
    Count(50);
    EXPECT_EQ(allocations, 6);
    EXPECT_EQ(frees, 6);
}

TEST_F(FrameAllocationsTest, AHiddenObjectTakesNothing)
{
    AddClip(timeline, 0, 0, 100, 1);
    AddObjects(1, 1);
    GetRecord<Scene>(1, tables.scenes)->visibilityEnvelope[0] =
        AddLinearEnvelope(&tables, 0.0f, 0.0f);
    Count(50);
    EXPECT_EQ(allocations, 0);
}

TEST_F(FrameAllocationsTest, AQuarterTargetTakesItsPixelsOnce)
{
    SetTarget(0, AddClip(timeline, 0, 0, 100, 1), kPassTextureQuarter, AddBitmap(32, 32));
    SetTarget(1, AddClip(timeline, 1, 0, 100, 1), kPassTexture, 1);
    Count(50);
    EXPECT_EQ(allocations, 1);
    EXPECT_EQ(frees, 0);
    Count(51);
    EXPECT_EQ(allocations, 0);
    EXPECT_EQ(frees, 0);
    Count(52, 1); // now as large as it likes
    EXPECT_EQ(allocations, 1);
    EXPECT_EQ(frees, 1);
}
