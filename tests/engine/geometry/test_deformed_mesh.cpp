// SPDX-License-Identifier: MIT
#include "engine/geometry/deformed_mesh.h"

#include <gtest/gtest.h>
#include <vector>

#include "engine/data/arena.h"
#include "engine/data/fault.h"
#include "support/failing_memory.h"
#include "support/fault_text.h"

struct DeformedMeshTest : testing::Test
{
    DeformedMeshTest()
    {
        StartFaults(&faults);
        mesh.vertexCount = 2;
        mesh.vertices = vertices;
    }
    ~DeformedMeshTest() override
    {
        FreeArena(&arena);
        FreeFaults(&faults);
    }

    Arena arena = {};
    FaultList faults;
    float vertices[6] = {1, 2, 3, 4, 5, 6};
    Mesh mesh = {};
    DeformedMesh deformed = {};
};

TEST_F(DeformedMeshTest, StartsWithACopyOfTheVertices)
{
    ASSERT_TRUE(StartDeformedMesh(&mesh, &deformed, &arena, &faults));
    EXPECT_NE(deformed.vertices, mesh.vertices);
    EXPECT_NE(deformed.normals, nullptr);
    EXPECT_EQ(std::vector<float>(deformed.vertices, deformed.vertices + 6),
              (std::vector<float>{1, 2, 3, 4, 5, 6}));
}

TEST_F(DeformedMeshTest, AMeshWithoutVerticesHasArraysToo)
{
    Mesh empty = {};
    ASSERT_TRUE(StartDeformedMesh(&empty, &deformed, &arena, &faults));
    EXPECT_NE(deformed.vertices, nullptr);
    EXPECT_NE(deformed.normals, nullptr);
}

TEST_F(DeformedMeshTest, WithoutMemoryIsAFaultAndStaysEmpty)
{
    mesh.vertexCount = 1u << 18; // more than a block of the arena
    std::vector<float> many(size_t{3} << 18);
    mesh.vertices = many.data();
    for (uint64_t k = 1; k <= 2; ++k)
    {
        FreeArena(&arena);
        FailAllocation(k);
        const bool started = StartDeformedMesh(&mesh, &deformed, &arena, &faults);
        AllowAllocations();
        EXPECT_FALSE(started);
        EXPECT_EQ(deformed.vertices, nullptr);
        EXPECT_EQ(FaultText(faults), "quorvale: there is no memory to bend 262144 vertices\n");
        StartFaults(&faults);
    }
}
