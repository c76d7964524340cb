#include "engine/geometry/deformed_mesh.h"

#include <cstdlib>
#include <gtest/gtest.h>

#include "support/recorded_gl.h"

/// Deformed arrays of two vertices, as a manipulator leaves them behind.
static void Deform(uint32_t vertexBuffer, uint32_t normalBuffer)
{
    CurrentDeformedMesh.vertices = static_cast<float*>(malloc(6 * sizeof(float)));
    CurrentDeformedMesh.normals = static_cast<float*>(malloc(6 * sizeof(float)));
    CurrentDeformedMesh.vertexBuffer = vertexBuffer;
    CurrentDeformedMesh.normalBuffer = normalBuffer;
}

static void ExpectClear()
{
    EXPECT_EQ(CurrentDeformedMesh.vertices, nullptr);
    EXPECT_EQ(CurrentDeformedMesh.normals, nullptr);
    EXPECT_EQ(CurrentDeformedMesh.vertexBuffer, 0u);
    EXPECT_EQ(CurrentDeformedMesh.normalBuffer, 0u);
}

TEST(DeformedMesh, NoArraysReleaseNothing)
{
    ResetGl();
    ReleaseDeformedMesh(true);
    EXPECT_EQ(TakeGlCalls(), "");
    ExpectClear();
}

TEST(DeformedMesh, ItsBuffersAreDeletedWhereBuffersAreInUse)
{
    ResetGl();
    Deform(11, 12);
    ReleaseDeformedMesh(true);
    EXPECT_EQ(TakeGlCalls(), "DeleteBuffersARB 1 11\n"
                             "DeleteBuffersARB 1 12\n");
    ExpectClear();
}

TEST(DeformedMesh, WithoutBuffersOnlyTheArraysGo)
{
    ResetGl();
    Deform(0, 0);
    ReleaseDeformedMesh(false);
    EXPECT_EQ(TakeGlCalls(), "");
    ExpectClear();
}
