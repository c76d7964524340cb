// SPDX-License-Identifier: MIT
#include "engine/textures/effect_kernels.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "engine/data/cos_table.h"
#include "engine/data/numeric.h"
#include "engine/data/random_sequence.h"
#include "engine/vectors/instruction_sets.h"

/// The longest row that a document can ask for, in pixels.
static constexpr int32_t kRowLimit = 512;

void RenderTestEffect(int32_t side, uint8_t bpp, const float* params, uint8_t* out)
{
    // Sums are unsigned: below 0 a gradient runs on from 2^32, which is no multiple of 255.
    const uint32_t size = static_cast<uint32_t>(side);
    if (bpp == 8)
    {
        uint32_t k = static_cast<uint32_t>(TruncateToInt(params[0] + params[2]));
        for (uint32_t y = 0; y < size; ++y)
        {
            for (uint32_t x = 0; x < size; ++x)
            {
                *out++ = static_cast<uint8_t>((x + y + k) % 255);
            }
        }
        return;
    }

    uint32_t k = static_cast<uint32_t>(TruncateToInt(params[0] + params[1]));
    for (uint32_t y = 0; y < size; ++y)
    {
        for (uint32_t x = 0; x < size; ++x)
        {
            *out++ = static_cast<uint8_t>((y + k) % 255);
            *out++ = static_cast<uint8_t>((x + k) % 255);
            *out++ = static_cast<uint8_t>((x + y + k) % 255);
        }
    }
}

// ---- Waves

/// Angles of the six factors, in steps of CosTable: coordinate * gain + phase.
struct WaveGains
{
    float gain[6];
    float phase[6];
};

static WaveGains MakeWaveGains(float h, float evenSwing, float oddSwing)
{
    WaveGains gains;
    for (int i = 0; i < 6; ++i)
    {
        const WaveRow& row = WaveTable[i];
        float swing = i % 2 == 0 ? evenSwing : oddSwing;
        float gain = (1.0f - row.wobble + row.wobble * swing) * row.spread;
        float phase = row.drift * h;
        gains.gain[i] = static_cast<float>(static_cast<double>(gain) * kCosStepsPerRadian);
        gains.phase[i] = static_cast<float>(static_cast<double>(phase) * kCosStepsPerRadian);
    }
    return gains;
}

/// One of two coordinates over an image: that of a pixel is column + row.
struct ImageAxis
{
    alignas(32) float column[kRowLimit];
    float row[kRowLimit];
    int firstFactor; // of WaveTable: 0 for u, 1 for v
};

/// Pixels whose places in the tables are found together, before any of them is read: so neither
/// waits for the other.
static constexpr int32_t kChunk = 128;

// ---- "Effect 1"

/// All that the loops of "Effect 1" need.
struct Plasma
{
    int32_t side;
    ImageAxis u;
    ImageAxis v;
    WaveGains gains;
    const float* table[6]; // where each factor is read
    bool halves;           // places count from the start of a half of RaisedCosTable, not the whole
};

static WaveGains PreparePlasma(int32_t side, float step, ImageAxis* u, ImageAxis* v)
{
    const float h = 0.5f * step;
    const double d = static_cast<double>(h);
    const float offX = static_cast<float>(0.06 * d);
    const float offY = static_cast<float>(0.08 * d);
    const double m = static_cast<double>(static_cast<float>(sin(0.1 * d) + 1.88));

    // Where a rotation has minus the cosine stands 1 - cos: that is how the effect looks.
    const double theta = static_cast<double>(static_cast<float>(0.01 * d));
    const float ms = static_cast<float>(sin(theta) * m);
    const float mc = static_cast<float>(m * cos(theta));
    const float m1 = static_cast<float>((1.0 - cos(theta)) * m);

    const double c0 = static_cast<double>(static_cast<float>(cos(0.11 * d)));
    const float kx = static_cast<float>((0.3 * c0 + 0.7) / 67.0205866 * kCosStepsPerRadian);
    const float ky = static_cast<float>((0.2 * c0 + 0.8) / 50.26544 * kCosStepsPerRadian);

    u->firstFactor = 0;
    v->firstFactor = 1;
    for (int32_t i = 0; i < side; ++i)
    {
        const float place = static_cast<float>(i);
        const float x = (1.0f - cosLookup(TruncateToInt(place * kx))) * 63.0f + offX;
        const float y = (1.0f - cosLookup(TruncateToInt(place * ky))) * 63.0f + offY;
        u->column[i] = mc * x;
        u->row[i] = ms * y;
        v->column[i] = ms * x;
        v->row[i] = m1 * y;
    }
    return MakeWaveGains(h, static_cast<float>(cos(0.13 * d + 6.0)),
                         static_cast<float>(cos(0.17 * d + 8.0)));
}

/// Chooses the tables of an axis. Where all angles of a factor have one sign, as most have,
/// its places count from the start of a half of RaisedCosTable, and finding them costs less.
/// @return false if the places have to count from the start of the whole table
static bool ChooseHalves(const ImageAxis& axis, int32_t side, const WaveGains& gains,
                         const float** tables)
{
    if (side < 1)
    {
        return false;
    }
    // Angles grow with column and row, rounding included, so the extremes tell for all. One too
    // great for an integer counts as negative, as its conversion does.
    const auto [columnMin, columnMax] = std::minmax_element(axis.column, axis.column + side);
    const auto [rowMin, rowMax] = std::minmax_element(axis.row, axis.row + side);
    bool halves = true;
    for (int factor = axis.firstFactor; factor < 6; factor += 2)
    {
        const float least = (*columnMin + *rowMin) * gains.gain[factor] + gains.phase[factor];
        const float most = (*columnMax + *rowMax) * gains.gain[factor] + gains.phase[factor];
        const bool negative = least <= -1.0f && most <= -1.0f;
        const bool positive =
            least > -1.0f && most > -1.0f && least < 2147483648.0f && most < 2147483648.0f;
        halves = halves && (negative || positive);
        tables[factor] = RaisedCosTable + (negative ? 0 : kCosTurn);
    }
    return halves;
}

// ---- "Rotate"
//
// u depends on the angle i and on nothing else, and v on j. So the raised cosines that each angle
// of an image leads to are computed once, and a pixel is one row of each of two tables, multiplied.

/// Angles that an axis can span. At 512 pixels i spans 511 * sqrt(2) * 8.0008 at most, which is
/// 5782, and j spans 511 * (1 + sqrt(2)) * 6.0001, which is 7402.
static constexpr int32_t kFactorRows = 8192;

/// Raised cosines by angle, counted from the least of the image.
struct FactorTable
{
    alignas(32) float color[kFactorRows * 4]; // red, green, blue and one to fill up
    alignas(32) float grey[kFactorRows + 8];
};

/// One of the two angles of "Rotate" over an image, and what follows from it.
struct RotateAxis
{
    ImageAxis place; // angle = (column + row) * scale, truncated
    float scale;
    int32_t firstAngle; // the least and the greatest of the image
    int32_t lastAngle;
    float amplitude; // coordinate = (1 - cosine of the angle) * amplitude + offset
    float offset;
};

/// All that the loops of "Rotate" need.
struct Rotation
{
    int32_t side;
    RotateAxis u;
    RotateAxis v;
    WaveGains gains;
    FactorTable uFactors; // filled by the loops
    FactorTable vFactors;
};

/// Every step from x and y to an angle is monotonous, its rounding included, so the extremes lie in
/// the corners. Where a step is no number, all angles are one.
static void FindAngleRange(int32_t side, RotateAxis* axis)
{
    axis->firstAngle = INT32_MAX;
    axis->lastAngle = INT32_MIN;
    for (int32_t x : {0, side - 1})
    {
        for (int32_t y : {0, side - 1})
        {
            const int32_t angle =
                TruncateToInt((axis->place.column[x] + axis->place.row[y]) * axis->scale);
            axis->firstAngle = std::min(axis->firstAngle, angle);
            axis->lastAngle = std::max(axis->lastAngle, angle);
        }
    }
    assert(axis->lastAngle - axis->firstAngle < kFactorRows);
}

static WaveGains PrepareRotate(int32_t side, float step, RotateAxis* u, RotateAxis* v)
{
    const float h = 0.5f * step;
    const double d = static_cast<double>(h);
    const float a = static_cast<float>((sin(0.1 * d) + 1.88) * 20.0);
    const double c0 = cos(0.11 * d);

    // Where a rotation has another term stands 1 - cos, as in "Effect 1".
    const float phi = static_cast<float>(d * 0.15);
    const float s = sinf(phi);
    const float c = cosf(phi);
    const float m1 = static_cast<float>(1.0 - cos(static_cast<double>(phi)));

    for (int32_t i = 0; i < side; ++i)
    {
        const float place = static_cast<float>(i);
        u->place.column[i] = place * c;
        u->place.row[i] = place * s;
        v->place.column[i] = place * s;
        v->place.row[i] = place * m1;
    }
    u->scale = static_cast<float>((0.0024543671875 * c0 + 0.00981746875) * kCosStepsPerRadian);
    v->scale =
        static_cast<float>((c0 * 0.0027611630859375 + 0.0064427138671875) * kCosStepsPerRadian);
    FindAngleRange(side, u);
    FindAngleRange(side, v);
    u->amplitude = a * 63.0f;
    v->amplitude = a * 63.0f;
    u->offset = static_cast<float>(d * 0.08 * static_cast<double>(a));
    v->offset = static_cast<float>(d * 0.06 * static_cast<double>(a));
    u->place.firstFactor = 0;
    v->place.firstFactor = 1;

    // Here the constants stand outside the cosine, unlike in "Effect 1".
    return MakeWaveGains(h, static_cast<float>(cos(0.13 * d) + 6.0),
                         static_cast<float>(cos(0.17 * d) + 8.0));
}

// ---- The loops

struct EffectLoops
{
    void (*plasmaGrey)(const Plasma* plasma, uint8_t* out);
    void (*plasmaColors)(const Plasma* plasma, uint8_t* out);
    void (*rotateGrey)(Rotation* rotation, uint8_t* out);
    void (*rotateColors)(Rotation* rotation, uint8_t* out);
};

#define LOOPS "engine/textures/effect_loops.inc"
#define LOOPS_READ_TABLES 1
#include "engine/vectors/each_instruction_set.inc"

static const EffectLoops* GetEffectLoops()
{
    static constexpr const EffectLoops* kTables[kInstructionSets] = {&sse2::kTable, &avx2::kTable,
                                                                     &avx2_gathers::kTable};
    return kTables[ChooseInstructionSet()];
}

void RenderEffect1(int32_t side, uint8_t bpp, float step, uint8_t* out)
{
    Plasma plasma;
    plasma.side = side;
    plasma.gains = PreparePlasma(side, step, &plasma.u, &plasma.v);
    plasma.halves = ChooseHalves(plasma.u, side, plasma.gains, plasma.table) &&
                    ChooseHalves(plasma.v, side, plasma.gains, plasma.table);
    if (!plasma.halves)
    {
        std::fill_n(plasma.table, 6, RaisedCosTable);
    }
    const EffectLoops* loops = GetEffectLoops();
    (bpp == 8 ? loops->plasmaGrey : loops->plasmaColors)(&plasma, out);
}

void RenderRotate(int32_t side, uint8_t bpp, float step, uint8_t* out)
{
    Rotation rotation;
    rotation.side = side;
    rotation.gains = PrepareRotate(side, step, &rotation.u, &rotation.v);
    const EffectLoops* loops = GetEffectLoops();
    (bpp == 8 ? loops->rotateGrey : loops->rotateColors)(&rotation, out);
}

// ---- "Amoba"

/// The next random number, from 0 to 1. So close to its maximum that the float rounds up, it is 1
/// itself.
static float RandomUnit(RandomSequence* random)
{
    return static_cast<float>(NextRandom(random)) * 0x1p-31f;
}

void SeedAmoba(int32_t side, uint8_t bpp, uint8_t* cells, RandomSequence* random)
{
    const int32_t size = side * side;
    for (int32_t seed = 0; seed < size / 400; ++seed)
    {
        // A number of 1 would be one past the image: such a seed goes into the last cell.
        int32_t place = TruncateToInt(RandomUnit(random) * static_cast<float>(size));
        place = std::min(place, size - 1);
        if (bpp == 8)
        {
            cells[place] = TruncateToByte(RandomUnit(random) * 192.0f + 64.0f);
            continue;
        }
        for (int32_t channel = 0; channel < 3; ++channel)
        {
            cells[3 * place + channel] = TruncateToByte(RandomUnit(random) * 256.0f);
        }
    }
}

/// A row or column that has a neighbour on either side. The last one is not picked and, unless a
/// random number is 1, the one before it neither.
static int32_t RandomInside(int32_t side, RandomSequence* random)
{
    return TruncateToInt(RandomUnit(random) * static_cast<float>(side - 3) + 1.0f);
}

void GrowAmoba(int32_t side, uint8_t bpp, uint8_t* cells, RandomSequence* random)
{
    for (int32_t pick = 0; pick < side * side / 8; ++pick)
    {
        const int32_t row = RandomInside(side, random);
        const int32_t column = RandomInside(side, random);
        const int32_t place = row * side + column;
        if (bpp == 8)
        {
            const uint8_t value = cells[place];
            if (value > 64)
            {
                cells[place + 1] = value;
                cells[place + side] = value;
                cells[place - 1] = value;
                cells[place - side] = value;
            }
            continue;
        }
        const uint8_t* cell = cells + 3 * place;
        if (cell[0] + cell[1] + cell[2] > 32)
        {
            memcpy(cells + 3 * (place + 1), cell, 3);
            memcpy(cells + 3 * (place + side), cell, 3);
            memcpy(cells + 3 * (place - 1), cell, 3);
            memcpy(cells + 3 * (place - side), cell, 3);
        }
    }
}
