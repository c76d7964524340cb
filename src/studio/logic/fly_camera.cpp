// SPDX-License-Identifier: MIT
#include "studio/logic/fly_camera.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

static constexpr float kDegree = 3.14159265f / 180.0f;
static constexpr float kSteepest = 89.0f; // degrees up or down

void TurnCamera(float right, float down, FlyCamera* camera)
{
    camera->rotY += right;
    camera->rotX = std::clamp(camera->rotX + down, -kSteepest, kSteepest);
}

void MoveCamera(float right, float up, float forward, FlyCamera* camera)
{
    // The turns backwards, last first: about z, x and y.
    const float cosZ = std::cos(camera->rotZ * kDegree);
    const float sinZ = std::sin(camera->rotZ * kDegree);
    const float cosX = std::cos(camera->rotX * kDegree);
    const float sinX = std::sin(camera->rotX * kDegree);
    const float cosY = std::cos(camera->rotY * kDegree);
    const float sinY = std::sin(camera->rotY * kDegree);
    const float x1 = right * cosZ + up * sinZ;
    const float y1 = up * cosZ - right * sinZ;
    const float y2 = y1 * cosX - forward * sinX;
    const float z2 = -forward * cosX - y1 * sinX;
    camera->x -= x1 * cosY - z2 * sinY;
    camera->y -= y2;
    camera->z -= x1 * sinY + z2 * cosY;
}

std::string CameraText(const FlyCamera& camera, float fieldOfView)
{
    const float values[] = {camera.x, camera.y, camera.z, camera.rotX, camera.rotY, camera.rotZ};
    char text[256];
    snprintf(text, sizeof(text), "Camera((%.6g, %.6g, %.6g), (%.6g, %.6g, %.6g), %.6g)\n",
             static_cast<double>(values[0]), static_cast<double>(values[1]),
             static_cast<double>(values[2]), static_cast<double>(values[3]),
             static_cast<double>(values[4]), static_cast<double>(values[5]),
             static_cast<double>(fieldOfView));
    std::string both = text;
    const char* names[] = {"x", "y", "z", "rx", "ry", "rz"};
    for (size_t i = 0; i < 6; ++i)
    {
        snprintf(text, sizeof(text), "<%s type=\"static\" value=\"%.6g\"/>\n", names[i],
                 static_cast<double>(values[i]));
        both += text;
    }
    snprintf(text, sizeof(text), "<fov type=\"static\" value=\"%.6g\"/>\n",
             static_cast<double>(fieldOfView));
    return both + text;
}
