// SPDX-License-Identifier: MIT
#include "engine/render/perspective.h"

#include <gtest/gtest.h>
#include <string>

#include "support/recorded_gl.h"

/// The 16 elements as the shortest decimals that give back the same floats.
static std::string Load(float fov, float aspect, float nearPlane, float farPlane)
{
    ResetGl();
    GlContext gl = {};
    LoadPerspective(&gl, fov, aspect, nearPlane, farPlane);
    return TakeGlCalls();
}

// The numbers were worked out with sixty digits, narrowed where the computation narrows.

TEST(Perspective, ARightAngleHasACotangentOfOne)
{
    EXPECT_EQ(Load(90.0f, 1.0f, 0.1f, 1000.0f),
              "LoadMatrixf 1 0 0 0 0 1 0 0 0 0 -1.0001999 -1 0 0 -0.20002 0\n");
    EXPECT_EQ(Load(90.0f, 2.0f, 1.0f, 3.0f), "LoadMatrixf 0.5 0 0 0 0 1 0 0 0 0 -2 -1 0 0 -3 0\n");
}

TEST(Perspective, TheAspectNarrowsTheFirstElementOnly)
{
    EXPECT_EQ(Load(90.0f, 1.3333334f, 0.1f, 1000.0f),
              "LoadMatrixf 0.75 0 0 0 0 1 0 0 0 0 -1.0001999 -1 0 0 -0.20002 0\n");
    EXPECT_EQ(Load(45.0f, 1.7777778f, 0.1f, 1000.0f),
              "LoadMatrixf 1.357995 0 0 0 0 2.4142134 0 0 0 0 -1.0001999 -1 0 0 -0.20002 0\n");
    EXPECT_EQ(Load(75.0f, 1.6f, 0.1f, 1000.0f),
              "LoadMatrixf 0.8145159 0 0 0 0 1.3032254 0 0 0 0 -1.0001999 -1 0 0 -0.20002 0\n");
}

TEST(Perspective, TheTangentIsTakenInDouble)
{
    // The tangent of the product narrowed to float would give 1.7320509 and 0.008726894.
    EXPECT_EQ(Load(60.0f, 1.3333334f, 0.1f, 1000.0f),
              "LoadMatrixf 1.2990379 0 0 0 0 1.7320507 0 0 0 0 -1.0001999 -1 0 0 -0.20002 0\n");
    EXPECT_EQ(
        Load(179.0f, 1.3333334f, 0.1f, 1000.0f),
        "LoadMatrixf 0.0065451683 0 0 0 0 0.008726891 0 0 0 0 -1.0001999 -1 0 0 -0.20002 0\n");
}

TEST(Perspective, SmallAnglesMagnify)
{
    EXPECT_EQ(Load(1.0f, 1.6f, 0.1f, 1000.0f),
              "LoadMatrixf 71.617905 0 0 0 0 114.588646 0 0 0 0 -1.0001999 -1 0 0 -0.20002 0\n");
}

TEST(Perspective, ThePlanesSetTheDepthElements)
{
    EXPECT_EQ(Load(90.0f, 2.0f, 0.5f, 7.0f),
              "LoadMatrixf 0.5 0 0 0 0 1 0 0 0 0 -1.1538461 -1 0 0 -1.0769231 0\n");
}

TEST(Perspective, AnglesThatShowNothingDoNoHarm)
{
    EXPECT_EQ(Load(0.0f, 1.0f, 0.1f, 1000.0f),
              "LoadMatrixf inf 0 0 0 0 inf 0 0 0 0 -1.0001999 -1 0 0 -0.20002 0\n");
    EXPECT_EQ(Load(-60.0f, 1.0f, 0.1f, 1000.0f),
              "LoadMatrixf -1.7320507 0 0 0 0 -1.7320507 0 0 0 0 -1.0001999 -1 0 0 -0.20002 0\n");
}
