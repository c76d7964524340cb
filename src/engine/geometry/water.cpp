// SPDX-License-Identifier: MIT
#include "engine/geometry/water.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "engine/data/allocate.h"
#include "engine/data/cos_table.h"
#include "engine/data/numeric.h"
#include "engine/data/random_sequence.h"
#include "engine/geometry/normals.h"

static constexpr size_t kGridBytes = kWaterCells * sizeof(int32_t);
static constexpr size_t kVertexBytes = size_t{kWaterCells} * 3 * sizeof(float);

/// The four drops of a step.
static constexpr int32_t kDrops[] = {-6, -5, -6, -5};

/// A state's block is its vertices, its normals and, for a lake, three grids.
static void SetPointers(GenMeshState* state)
{
    state->vertices = reinterpret_cast<float*>(state->block);
    state->normals = reinterpret_cast<float*>(state->block + kVertexBytes);
}

bool StartGenMeshState(uint32_t type, const Mesh* mesh, GenMeshState* state, FaultList* faults)
{
    *state = {};
    if (type != kLakeWater && type != kCenterwaveWater)
    {
        return true;
    }

    const size_t grids = type == kLakeWater ? 3 * kGridBytes : 0;
    const size_t size = 2 * kVertexBytes + grids;
    state->block = AllocateZeroed<unsigned char>(size, "the water", faults);
    if (state->block == nullptr)
    {
        return false;
    }
    state->blockSize = size;
    SetPointers(state);
    memcpy(state->vertices, mesh->vertices, kVertexBytes);
    if (type == kLakeWater)
    {
        int32_t* grid = reinterpret_cast<int32_t*>(state->block + 2 * kVertexBytes);
        state->lake = {grid, grid + kWaterCells, grid + 2 * kWaterCells, 0};
    }
    else
    {
        state->wave.lastTime = -1.0f;
    }
    return true;
}

/// The same place in another state's block.
static int32_t* MoveGrid(const int32_t* grid, const GenMeshState* from, const GenMeshState* to)
{
    const ptrdiff_t offset = reinterpret_cast<const unsigned char*>(grid) - from->block;
    return reinterpret_cast<int32_t*>(to->block + offset);
}

bool CopyGenMeshState(const GenMeshState* from, GenMeshState* to, FaultList* faults)
{
    if (to->blockSize != from->blockSize)
    {
        FreeGenMeshState(to);
        if (from->block != nullptr)
        {
            to->block = AllocateBlock<unsigned char>(from->blockSize, "the water", faults);
            if (to->block == nullptr)
            {
                return false;
            }
            to->blockSize = from->blockSize;
        }
    }
    if (from->block == nullptr)
    {
        return true;
    }

    memcpy(to->block, from->block, from->blockSize);
    SetPointers(to);
    to->wave = from->wave;
    if (from->lake.older != nullptr)
    {
        to->lake.older = MoveGrid(from->lake.older, from, to);
        to->lake.current = MoveGrid(from->lake.current, from, to);
        to->lake.next = MoveGrid(from->lake.next, from, to);
        to->lake.lastStep = from->lake.lastStep;
    }
    return true;
}

void FreeGenMeshState(GenMeshState* state)
{
    free(state->block);
    *state = {};
}

/// Crests are bounded and troughs are not, so sums of heights wrap rather than overflow.
static int32_t AddWrapped(int32_t a, int32_t b)
{
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

static int32_t SubtractWrapped(int32_t a, int32_t b)
{
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

/// The cell that a drop falls into. A number can come so close to its maximum that the float rounds
/// up to 1 and the index to one past the grid: such a drop falls into the last cell.
static int32_t DropCell(RandomSequence* random)
{
    const float place = static_cast<float>(NextRandom(random)) * 0x1p-31f * 900.0f;
    const int32_t cell = TruncateToInt(place);
    return cell < kWaterCells ? cell : kWaterCells - 1;
}

static void StepLake(LakeWaterState* lake, float v, RandomSequence* random)
{
    memcpy(lake->older, lake->current, kGridBytes);
    lake->lastStep = TruncateToInt(v);
    std::swap(lake->current, lake->next);

    // `next` holds the state before `current` and is overwritten in place. Columns 0 and 29 take
    // the row ends next door for neighbours, and are cleared afterwards.
    const int32_t* current = lake->current;
    int32_t* next = lake->next;
    for (int32_t e = kWaterSide; e < kWaterCells - kWaterSide; ++e)
    {
        const int32_t sides = AddWrapped(current[e + 1], current[e - 1]);
        const int32_t around =
            AddWrapped(AddWrapped(sides, current[e - kWaterSide]), current[e + kWaterSide]);

        // The shifts round toward minus infinity, where a division would round toward zero.
        int32_t h = SubtractWrapped(around >> 1, next[e]);
        h -= h >> 5;

        // Crests are cut off at 4 and troughs are not: that is how the lake looks.
        next[e] = static_cast<double>(h) > 4.8 ? 4 : h;
    }
    for (int32_t row = 0; row < kWaterSide; ++row)
    {
        next[row * kWaterSide] = 0;
        next[row * kWaterSide + kWaterSide - 1] = 0;
    }

    // After the new heights: a drop shows in them from the next step on.
    for (const int32_t drop : kDrops)
    {
        lake->current[DropCell(random)] = drop;
    }
}

/// Moves the vertices' heights; the normals are still to be made.
static void SimulateLake(float v, LakeWaterState* lake, float* vertices, RandomSequence* random)
{
    if (v >= static_cast<float>(AddWrapped(lake->lastStep, 2)) ||
        v <= static_cast<float>(SubtractWrapped(lake->lastStep, 2)))
    {
        lake->lastStep = TruncateToInt(v);
    }
    if (v >= static_cast<float>(AddWrapped(lake->lastStep, 1)))
    {
        StepLake(lake, v, random);
    }

    float f = fabsf(v - static_cast<float>(lake->lastStep));
    if (f > 1.0f)
    {
        f -= truncf(f);
    }
    const float weightOlder = (1.0f - f) * 0.5f;
    const float weightNext = f * 0.5f;
    for (int32_t e = 0; e < kWaterCells; ++e)
    {
        const float older = static_cast<float>(lake->older[e]) * weightOlder;
        const float next = static_cast<float>(lake->next[e]) * weightNext;
        const double height =
            (static_cast<double>(older) + static_cast<double>(lake->current[e]) * 0.5 +
             static_cast<double>(next)) /
            5.0;
        vertices[3 * e + 1] = static_cast<float>(height);
    }
}

/// The height of a centerwave at a place counted from its middle, which lies half a cell off the
/// middle of the grid.
static float CenterwaveHeight(int32_t row, int32_t column, float v)
{
    const float d = sqrtf(static_cast<float>(column * column + row * row));
    if (d > 14.0f)
    {
        return 0.0f;
    }
    // The difference is a float; only the angle is computed in double.
    const int32_t n = TruncateToInt(static_cast<double>(d - v) * kCosStepsPerRadian);
    return (14.0f - d) / 10.0f * cosLookup(n);
}

/// Moves the vertices' heights; the normals are still to be made.
/// @return false if the surface is left as it is
static bool SimulateCenterwave(float v, CenterwaveState* wave, float* vertices)
{
    if (fabsf(v - wave->lastTime) < 0.01f)
    {
        return false;
    }
    wave->lastTime = v;

    float* y = vertices + 1;
    for (int32_t row = -15; row <= 14; ++row)
    {
        for (int32_t column = -15; column <= 14; ++column)
        {
            *y = CenterwaveHeight(row, column, v);
            y += 3;
        }
    }
    return true;
}

bool SimulateWater(uint32_t type, float v, GenMeshState* state, const Mesh* mesh,
                   RandomSequence* random, Arena* arena)
{
    if (type == kLakeWater)
    {
        SimulateLake(v, &state->lake, state->vertices, random);
    }
    else if (type != kCenterwaveWater || !SimulateCenterwave(v, &state->wave, state->vertices))
    {
        return true;
    }

    Mesh moved = *mesh;
    moved.vertices = state->vertices;
    moved.normals = state->normals;
    return RecomputeNormals(&moved, arena);
}
