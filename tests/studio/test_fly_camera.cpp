// SPDX-License-Identifier: MIT
#include "studio/logic/fly_camera.h"

#include <gtest/gtest.h>

TEST(FlyCamera, MovesAsTheViewIsTurned)
{
    FlyCamera camera = {};
    MoveCamera(1.0f, 2.0f, 3.0f, &camera); // the eye goes to (1, 2, -3)
    EXPECT_EQ(camera, (FlyCamera{-1.0f, -2.0f, 3.0f, 0.0f, 0.0f, 0.0f}));

    camera = {};
    TurnCamera(90.0f, 0.0f, &camera); // to the right: ahead is +x
    MoveCamera(0.0f, 0.0f, 2.0f, &camera);
    EXPECT_NEAR(camera.x, -2.0f, 1e-6f);
    EXPECT_NEAR(camera.z, 0.0f, 1e-6f);

    camera = {};
    TurnCamera(0.0f, 30.0f, &camera); // down: ahead sinks by half
    MoveCamera(0.0f, 0.0f, 2.0f, &camera);
    EXPECT_NEAR(camera.y, 1.0f, 1e-6f);
    EXPECT_NEAR(camera.z, 1.7320508f, 1e-6f);
}

TEST(FlyCamera, NeverTurnsOverTheTop)
{
    FlyCamera camera = {};
    TurnCamera(10.0f, 200.0f, &camera);
    EXPECT_EQ(camera.rotX, 89.0f);
    TurnCamera(-20.0f, -400.0f, &camera);
    EXPECT_EQ(camera.rotX, -89.0f);
    EXPECT_EQ(camera.rotY, -10.0f);
}

TEST(FlyCamera, IsTextOfBothKindsOfSources)
{
    const std::string text = CameraText({0.5f, -2.0f, 3.0f, 10.0f, 0.0f, 0.0f}, 60.0f);
    EXPECT_EQ(text.substr(0, text.find('\n')), "Camera((0.5, -2, 3), (10, 0, 0), 60)");
    EXPECT_NE(text.find("<rx type=\"static\" value=\"10\"/>\n"), std::string::npos);
    EXPECT_NE(text.find("<fov type=\"static\" value=\"60\"/>\n"), std::string::npos);
}
