// SPDX-License-Identifier: MIT
#include "studio/logic/wire_mesh.h"

#include <cmath>
#include <gtest/gtest.h>

static uint8_t Light(const std::vector<uint8_t>& picture, size_t x, size_t y)
{
    return picture[(y * 100 + x) * 4];
}

/// A mesh of three vertices and three indices, which it borrows.
static Mesh Triangle(float* vertices, uint32_t* indices)
{
    Mesh mesh = {};
    mesh.vertexCount = 3;
    mesh.indexCount = 3;
    mesh.vertices = vertices;
    mesh.indices = indices;
    return mesh;
}

TEST(WireMesh, ShowsTheEdgesOfATriangle)
{
    float vertices[] = {-1.0f, -1.0f, 0.0f, 1.0f, -1.0f, 0.0f, 1.0f, 1.0f, 0.0f};
    uint32_t indices[] = {0, 1, 2};
    const Mesh mesh = Triangle(vertices, indices);
    // The radius is the root of 2, so the corners lie 0.48 * 100 / 1.414 = 33.9 from the middle.
    const std::vector<uint8_t> front = DrawWireMesh(mesh, {0.0f, 0.0f, 1.0f}, 100);
    EXPECT_EQ(Light(front, 50, 83), 150); // the lower edge, halfway between near and far
    EXPECT_EQ(Light(front, 83, 50), 150);
    EXPECT_EQ(Light(front, 50, 49), 150); // the slope
    EXPECT_EQ(Light(front, 50, 20), 0);
    EXPECT_EQ(front[3], 255);

    // From its side it is a line, with the near end brighter than the far one.
    const std::vector<uint8_t> side = DrawWireMesh(mesh, {90.0f, 0.0f, 1.0f}, 100);
    EXPECT_EQ(Light(side, 83, 50), 0);
    EXPECT_GT(Light(side, 50, 83), 150);
}

TEST(WireMesh, TheMiddleOfTheMeshIsThatOfThePicture)
{
    // The triangle above, 5 to the right and 3 up.
    float vertices[] = {4.0f, 2.0f, 0.0f, 6.0f, 2.0f, 0.0f, 6.0f, 4.0f, 0.0f};
    uint32_t indices[] = {0, 1, 2};
    const Mesh mesh = Triangle(vertices, indices);
    const std::vector<uint8_t> front = DrawWireMesh(mesh, {0.0f, 0.0f, 1.0f}, 100);
    EXPECT_EQ(Light(front, 50, 83), 150);
    EXPECT_EQ(Light(front, 83, 50), 150);
    EXPECT_EQ(Light(front, 50, 20), 0);
}

TEST(WireMesh, EdgesEndWhereThePictureEnds)
{
    float vertices[] = {-1.0f, -1.0f, 0.0f, 1.0f, -1.0f, 0.0f, 1.0f, 1.0f, 0.0f};
    uint32_t indices[] = {0, 1, 2};
    const Mesh mesh = Triangle(vertices, indices);
    // So near that of three edges only the slope is seen, from corner to corner.
    const std::vector<uint8_t> near = DrawWireMesh(mesh, {0.0f, 0.0f, 4.0f}, 100);
    for (size_t y = 0; y < 100; ++y)
    {
        for (size_t x = 0; x < 100; ++x)
        {
            const size_t sum = x + y;
            const bool isSlope = sum >= 99 && sum <= 100;
            EXPECT_TRUE(Light(near, x, y) == 0 || isSlope) << x << ", " << y;
            EXPECT_EQ(near[(y * 100 + x) * 4 + 3], 255);
        }
    }
    EXPECT_EQ(Light(near, 1, 98) + Light(near, 1, 99), 150);
    EXPECT_EQ(Light(near, 98, 1) + Light(near, 98, 2), 150);
}

TEST(WireMesh, DrawsNothingOfAnEmptyOrBrokenMesh)
{
    Mesh mesh = {};
    EXPECT_EQ(Light(DrawWireMesh(mesh, {0.0f, 0.0f, 1.0f}, 100), 50, 50), 0);
    float vertices[] = {NAN, 0.0f, 0.0f, INFINITY, 0.0f, 0.0f, 1.0f, 1.0f, 0.0f};
    uint32_t indices[] = {0, 1, 7};
    mesh = Triangle(vertices, indices);
    DrawWireMesh(mesh, {10.0f, 10.0f, 1e30f}, 100);
}
