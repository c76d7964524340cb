// SPDX-License-Identifier: MIT
#include "studio/logic/wire_mesh.h"

#include <algorithm>
#include <cmath>

#include "engine/data/numeric.h"

struct WirePoint
{
    float x, y; // pixels
    float near; // 0 for the farthest, 1 for the nearest
};

/// The box around a mesh's vertices.
struct WireBox
{
    float middle[3];
    float radius; // from the middle to a corner
};

static WireBox FindBox(const Mesh& mesh)
{
    float low[3] = {INFINITY, INFINITY, INFINITY};
    float high[3] = {-INFINITY, -INFINITY, -INFINITY};
    for (size_t i = 0; i < size_t{mesh.vertexCount} * 3; ++i)
    {
        const float value = mesh.vertices[i];
        low[i % 3] = value < low[i % 3] ? value : low[i % 3];
        high[i % 3] = value > high[i % 3] ? value : high[i % 3];
    }
    WireBox box = {};
    float square = 0.0f;
    for (int i = 0; i < 3; ++i)
    {
        box.middle[i] = (low[i] + high[i]) / 2.0f;
        square += (high[i] - low[i]) * (high[i] - low[i]) / 4.0f;
    }
    box.radius = std::isfinite(square) && square > 0.0f ? std::sqrt(square) : 1.0f;
    return box;
}

static std::vector<WirePoint> ProjectVertices(const Mesh& mesh, const WireView& view, float size)
{
    static constexpr float kDegree = 3.14159265f / 180.0f;
    const WireBox box = FindBox(mesh);
    const float cosYaw = std::cos(view.yaw * kDegree);
    const float sinYaw = std::sin(view.yaw * kDegree);
    const float cosPitch = std::cos(view.pitch * kDegree);
    const float sinPitch = std::sin(view.pitch * kDegree);
    const float scale = 0.48f * size * view.zoom / box.radius;
    std::vector<WirePoint> points(mesh.vertexCount);
    for (size_t i = 0; i < points.size(); ++i)
    {
        const float x = mesh.vertices[i * 3] - box.middle[0];
        const float y = mesh.vertices[i * 3 + 1] - box.middle[1];
        const float z = mesh.vertices[i * 3 + 2] - box.middle[2];
        const float turned = z * cosYaw - x * sinYaw;
        const float depth = turned * cosPitch + y * sinPitch;
        points[i] = {size / 2.0f + (x * cosYaw + z * sinYaw) * scale,
                     size / 2.0f - (y * cosPitch - turned * sinPitch) * scale,
                     depth / box.radius * 0.5f + 0.5f};
    }
    return points;
}

/// Draws the part of an edge that lies in the picture.
static void DrawEdge(const WirePoint& a, const WirePoint& b, int32_t size, uint8_t* rgba)
{
    const float steps = std::max(std::fabs(b.x - a.x), std::fabs(b.y - a.y));
    if (!(steps < 16384.0f)) // also without a number
    {
        return;
    }
    const int32_t count = TruncateToInt(steps) + 1;
    for (int32_t i = 0; i <= count; ++i)
    {
        const float part = static_cast<float>(i) / static_cast<float>(count);
        const int32_t x = TruncateToInt(a.x + (b.x - a.x) * part);
        const int32_t y = TruncateToInt(a.y + (b.y - a.y) * part);
        if (x < 0 || y < 0 || x >= size || y >= size)
        {
            continue;
        }
        const float near = std::clamp(a.near + (b.near - a.near) * part, 0.0f, 1.0f);
        const uint8_t light = TruncateToByte(70.0f + 160.0f * near);
        uint8_t* pixel =
            rgba +
            (static_cast<size_t>(y) * static_cast<size_t>(size) + static_cast<size_t>(x)) * 4;
        for (int channel = 0; channel < 3; ++channel)
        {
            pixel[channel] = std::max(pixel[channel], light);
        }
    }
}

std::vector<uint8_t> DrawWireMesh(const Mesh& mesh, const WireView& view, int32_t size)
{
    const size_t side = static_cast<size_t>(size);
    std::vector<uint8_t> rgba(side * side * 4);
    for (size_t i = 0; i < side * side; ++i)
    {
        rgba[i * 4 + 3] = 255;
    }
    const std::vector<WirePoint> points = ProjectVertices(mesh, view, static_cast<float>(size));
    for (uint32_t i = 0; i + 2 < mesh.indexCount; i += 3)
    {
        for (uint32_t corner = 0; corner < 3; ++corner)
        {
            const uint32_t from = mesh.indices[i + corner];
            const uint32_t to = mesh.indices[i + (corner + 1) % 3];
            if (from < points.size() && to < points.size())
            {
                DrawEdge(points[from], points[to], size, rgba.data());
            }
        }
    }
    return rgba;
}
