// SPDX-License-Identifier: MIT

// Looking around in a piece: the author's camera is left, and nothing is written.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/render/records/timeline.h"
#include "studio/logic/fly_camera.h"

struct Studio;

struct Flight
{
    bool isOn;
    FlyCamera camera;
    float fieldOfView; // degrees, of the clip that was left
    uint32_t row;      // of that clip, from 0
    uint32_t movedMs;  // when keys moved it last
};

/// Leaves the author's camera, or goes back to it.
void ToggleFlight(Studio* studio);

/// Moves with the keys that are held.
void FlyWithKeys(Studio* studio);

/// Turns with the mouse.
/// @param right, down   pixels
void FlyWithMouse(Studio* studio, float right, float down);

/// Copies the view as a camera.
void CopyView(Studio* studio);

/// A clip's camera as the author has it.
struct KeptCamera
{
    uint32_t row, clip;
    uint32_t slots[6];
    uint8_t dynamic[6];
};

/// Gives the clips of a tick the flown camera: those that are seen from where the clip is that was
/// left, and turned as it is. Skies, which are only turned, are turned alone. Clips that are drawn
/// to bitmaps, and flat ones, stay.
/// @return what has to be put back
std::vector<KeptCamera> TakeCameras(const Studio* studio, uint32_t tick);
void PutCamerasBack(const Studio* studio, const std::vector<KeptCamera>& kept);
