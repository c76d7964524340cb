#include "engine/geometry/transform_vertices.h"

#include <GL/glew.h>
#include <cstdlib>
#include <gtest/gtest.h>
#include <random>
#include <vector>

#include "engine/geometry/plain_geometry.h"
#include "support/recorded_gl.h"

static std::vector<float> Transform(const std::vector<float>& vertices)
{
    float* result = TransformVertices(vertices.data(), static_cast<uint32_t>(vertices.size() / 3));
    std::vector<float> copy(result, result + vertices.size());
    free(result);
    return copy;
}

TEST(TransformVertices, UnderTheIdentityAreWhatTheyWere)
{
    ResetGl();
    const std::vector<float> vertices = {1, 2, 3, -0.5f, 0.25f, 1e6f};
    EXPECT_EQ(Transform(vertices), vertices);
    EXPECT_EQ(TakeGlCalls(), "GetFloatv MODELVIEW_MATRIX\n");
}

TEST(TransformVertices, ScaleComesBeforeTranslationAndWIsDropped)
{
    ResetGl();
    glTranslatef(10.0f, 20.0f, 30.0f);
    glScalef(2.0f, 3.0f, 4.0f);
    EXPECT_EQ(Transform({1, 1, 1}), (std::vector<float>{12, 23, 34}));
    glRotatef(90.0f, 0.0f, 0.0f, 1.0f); // x to y, y to -x
    EXPECT_EQ(Transform({1, 0, 0}), (std::vector<float>{10, 23, 30}));
}

TEST(TransformVertices, OfAnEmptyArrayAreABlockThatCanBeFreed)
{
    ResetGl();
    float* result = TransformVertices(nullptr, 0);
    EXPECT_NE(result, nullptr);
    free(result);
}

TEST(TransformVertices, AreThePlainOnesToTheLastBit)
{
    std::mt19937 random(8);
    auto Value = [&random]
    {
        return static_cast<float>(random() % 100000) * 0.0007f - 35.0f;
    };
    for (int round = 0; round < 200; ++round)
    {
        ResetGl();
        glTranslatef(Value(), Value(), Value());
        glRotatef(Value(), 1.0f, 0.0f, 0.0f);
        glRotatef(Value(), 0.0f, 1.0f, 0.0f);
        glScalef(Value(), Value(), Value());
        std::vector<float> vertices(3 * (random() % 50));
        for (float& v : vertices)
        {
            v = Value();
        }
        ASSERT_EQ(Transform(vertices), PlainTransform(GlModelviewMatrix(), vertices));
    }
}
