// SPDX-License-Identifier: MIT

// A camera that is flown by hand, in the values of a clip: the scene is moved by x, y and z, then
// turned about y, x and z.
#pragma once

#include <string>

struct FlyCamera
{
    float x, y, z;          // the eye is at their opposite
    float rotX, rotY, rotZ; // degrees

    bool operator==(const FlyCamera&) const = default;
};

/// Turns the view: degrees to the right and down. It never goes over the top.
void TurnCamera(float right, float down, FlyCamera* camera);

/// Moves the eye, in units of the scene, as the view is turned.
void MoveCamera(float right, float up, float forward, FlyCamera* camera);

/// @return the camera as Python and as elements of a document
std::string CameraText(const FlyCamera& camera, float fieldOfView);
