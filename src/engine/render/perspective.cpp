// SPDX-License-Identifier: MIT
#include "engine/render/perspective.h"

#include <cmath>
#include <numbers>

#include "engine/render/gl_calls.h"

void LoadPerspective(GlContext* gl, float fov, float aspect, float nearPlane, float farPlane)
{
    // Double from the product with pi to the tangent, float before and after; the last bit of the
    // matrix shows it.
    double half = static_cast<double>(fov / 360.0f) * std::numbers::pi;
    float c = 1.0f / static_cast<float>(tan(half));

    const float matrix[16] = {
        // clang-format off
        c / aspect, 0.0f, 0.0f,                                                    0.0f,
        0.0f,       c,    0.0f,                                                    0.0f,
        0.0f,       0.0f, (nearPlane + farPlane) / (nearPlane - farPlane),        -1.0f,
        0.0f,       0.0f, 2.0f * nearPlane * farPlane / (nearPlane - farPlane),    0.0f,
        // clang-format on
    };
    GlLoadMatrixf(gl, matrix);
}
