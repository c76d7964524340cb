// SPDX-License-Identifier: MIT

// The planes that cut a perspective picture, as distances from the camera.
#pragma once

inline constexpr float kNearPlane = 0.1f;
inline constexpr float kFarPlane = 1000.0f;
