#include "engine/geometry/water.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "engine/data/cos_table.h"
#include "engine/data/fault.h"
#include "engine/data/numeric.h"
#include "engine/geometry/normals.h"

static constexpr size_t kGridBytes = kWaterCells * sizeof(int32_t);

/// What a step drops into the lake.
static constexpr int32_t kDrops[] = {-6, -5, -6, -5};

void* CreateWaterState(uint32_t type)
{
    if (type == kLakeWater)
    {
        LakeWaterState* lake = static_cast<LakeWaterState*>(malloc(sizeof(LakeWaterState)));
        int32_t* older = static_cast<int32_t*>(calloc(1, kGridBytes));
        int32_t* current = static_cast<int32_t*>(calloc(1, kGridBytes));
        int32_t* next = static_cast<int32_t*>(calloc(1, kGridBytes));
        if (lake == nullptr || older == nullptr || current == nullptr || next == nullptr)
        {
            FatalFault("there is no memory for the water");
        }
        *lake = {older, current, next, 0};
        return lake;
    }
    if (type == kCenterwaveWater)
    {
        CenterwaveState* wave = static_cast<CenterwaveState*>(malloc(sizeof(CenterwaveState)));
        if (wave == nullptr)
        {
            FatalFault("there is no memory for the water");
        }
        wave->lastTime = -1.0f;
        return wave;
    }
    return nullptr;
}

void FreeWaterState(uint32_t type, void* state)
{
    if (type == kLakeWater)
    {
        LakeWaterState* lake = static_cast<LakeWaterState*>(state);
        free(lake->older);
        free(lake->current);
        free(lake->next);
        free(lake);
    }
    if (type == kCenterwaveWater)
    {
        free(state);
    }
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

/// The cell that a drop falls into. rand can come so close to its maximum that the float rounds up
/// to 1 and the index to one past the grid: such a drop falls into the last cell.
static int32_t DropCell()
{
    float place = static_cast<float>(rand()) * 0x1p-31f * 900.0f;
    int32_t cell = TruncateToInt(place);
    return cell < kWaterCells ? cell : kWaterCells - 1;
}

static void StepLake(LakeWaterState* lake, float v)
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
        int32_t sides = AddWrapped(current[e + 1], current[e - 1]);
        int32_t around =
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
    for (int32_t drop : kDrops)
    {
        lake->current[DropCell()] = drop;
    }
}

static void RenewNormals(const Mesh* mesh)
{
    if (!RecomputeNormals(mesh))
    {
        FatalFault("there is no memory for the water");
    }
}

static void SimulateLake(float v, LakeWaterState* lake, const Mesh* mesh)
{
    if (v >= static_cast<float>(AddWrapped(lake->lastStep, 2)) ||
        v <= static_cast<float>(SubtractWrapped(lake->lastStep, 2)))
    {
        lake->lastStep = TruncateToInt(v);
    }
    if (v >= static_cast<float>(AddWrapped(lake->lastStep, 1)))
    {
        StepLake(lake, v);
    }

    float f = fabsf(v - static_cast<float>(lake->lastStep));
    if (f > 1.0f)
    {
        f -= truncf(f);
    }
    float weightOlder = (1.0f - f) * 0.5f;
    float weightNext = f * 0.5f;
    for (int32_t e = 0; e < kWaterCells; ++e)
    {
        float older = static_cast<float>(lake->older[e]) * weightOlder;
        float next = static_cast<float>(lake->next[e]) * weightNext;
        double height = (static_cast<double>(older) + static_cast<double>(lake->current[e]) * 0.5 +
                         static_cast<double>(next)) /
                        5.0;
        mesh->vertices[3 * e + 1] = static_cast<float>(height);
    }
    RenewNormals(mesh);
}

/// The height of a centerwave at a place counted from its middle, which lies half a cell off the
/// middle of the grid.
static float CenterwaveHeight(int32_t row, int32_t column, float v)
{
    float d = sqrtf(static_cast<float>(column * column + row * row));
    if (d > 14.0f)
    {
        return 0.0f;
    }
    // The difference is a float; only the angle is computed in double.
    int32_t n = TruncateToInt(static_cast<double>(d - v) * kCosStepsPerRadian);
    return (14.0f - d) / 10.0f * cosLookup(n);
}

static void SimulateCenterwave(float v, CenterwaveState* wave, const Mesh* mesh)
{
    if (fabsf(v - wave->lastTime) < 0.01f)
    {
        return;
    }
    wave->lastTime = v;

    float* y = mesh->vertices + 1;
    for (int32_t row = -15; row <= 14; ++row)
    {
        for (int32_t column = -15; column <= 14; ++column)
        {
            *y = CenterwaveHeight(row, column, v);
            y += 3;
        }
    }
    RenewNormals(mesh);
}

void SimulateWater(uint32_t type, float v, void** state, const Mesh* mesh)
{
    if (type == kLakeWater)
    {
        SimulateLake(v, static_cast<LakeWaterState*>(*state), mesh);
    }
    if (type == kCenterwaveWater)
    {
        SimulateCenterwave(v, static_cast<CenterwaveState*>(*state), mesh);
    }
}
