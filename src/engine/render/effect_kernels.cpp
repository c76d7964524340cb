#include "engine/render/effect_kernels.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <emmintrin.h>

#include "engine/data/cos_table.h"
#include "engine/data/numeric.h"

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

/// The places in CosTable of four angles, as cosLookup has them: the low 12 bits, and the table's
/// upper half for angles that are not negative. A negative whole turn goes to entry 0 instead of
/// 4096; both are 1.
static inline __m128i CosPlaces(__m128i n)
{
    __m128i inTurn = _mm_and_si128(n, _mm_set1_epi32(kCosTurn - 1));
    __m128i upper = _mm_andnot_si128(_mm_srli_epi32(n, 31 - 12), _mm_set1_epi32(kCosTurn));
    return _mm_or_si128(inTurn, upper);
}

/// Four entries of a table of floats.
static inline __m128 LoadFour(const float* table, __m128i places)
{
    uint64_t low = static_cast<uint64_t>(_mm_cvtsi128_si64(places));
    uint64_t high = static_cast<uint64_t>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(places, places)));
    __m128 a = _mm_load_ss(table + static_cast<uint32_t>(low));
    __m128 b = _mm_load_ss(table + (low >> 32));
    __m128 c = _mm_load_ss(table + static_cast<uint32_t>(high));
    __m128 d = _mm_load_ss(table + (high >> 32));
    return _mm_movelh_ps(_mm_unpacklo_ps(a, b), _mm_unpacklo_ps(c, d));
}

/// Four raised cosines, of one row of WaveTable.
static inline __m128 RaisedCos(const WaveGains& gains, int row, __m128 coordinate)
{
    const __m128 angle = _mm_add_ps(_mm_mul_ps(coordinate, _mm_set1_ps(gains.gain[row])),
                                    _mm_set1_ps(gains.phase[row]));
    const __m128 cosine = LoadFour(CosTable, CosPlaces(_mm_cvttps_epi32(angle)));
    return _mm_add_ps(cosine, _mm_set1_ps(1.0f));
}

/// Four bytes of a channel, one in each lane: the product of two raised cosines, 0 to 252.
static inline __m128i WaveBytes(__m128 first, __m128 second)
{
    return _mm_cvttps_epi32(_mm_mul_ps(_mm_mul_ps(first, second), _mm_set1_ps(63.0f)));
}

/// Stores the low three bytes of each lane, 12 in all.
static inline void StoreThreeBytes(__m128i pixels, uint8_t* out)
{
    uint64_t first = static_cast<uint64_t>(_mm_cvtsi128_si64(pixels));
    uint64_t second = static_cast<uint64_t>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(pixels, pixels)));
    first = (first & 0xFFFFFF) | (first >> 32 << 24);
    second = (second & 0xFFFFFF) | (second >> 32 << 24);
    uint64_t head = first | (second << 48);
    uint32_t tail = static_cast<uint32_t>(second >> 16);
    memcpy(out, &head, 8);
    memcpy(out + 8, &tail, 4);
}

/// Stores the low byte of each lane, 4 in all. Lanes are 0 to 255.
static inline void StoreOneByte(__m128i pixels, uint8_t* out)
{
    __m128i words = _mm_packs_epi32(pixels, pixels);
    int32_t bytes = _mm_cvtsi128_si32(_mm_packus_epi16(words, words));
    memcpy(out, &bytes, 4);
}

// ---- "Effect 1"

/// What one image of "Effect 1" is made of. The coordinates are u = mc * X + ms * Y and
/// v = ms * X + m1 * Y; the products stand here.
struct Effect1Image
{
    WaveGains gains;
    alignas(16) float uColumn[kRowLimit];
    alignas(16) float vColumn[kRowLimit];
    float uRow[kRowLimit];
    float vRow[kRowLimit];
};

static void PrepareEffect1(int32_t side, float step, Effect1Image* image)
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
    image->gains = MakeWaveGains(h, static_cast<float>(cos(0.13 * d + 6.0)),
                                 static_cast<float>(cos(0.17 * d + 8.0)));

    for (int32_t i = 0; i < side; ++i)
    {
        const float place = static_cast<float>(i);
        const float x = (1.0f - cosLookup(TruncateToInt(place * kx))) * 63.0f + offX;
        const float y = (1.0f - cosLookup(TruncateToInt(place * ky))) * 63.0f + offY;
        image->uColumn[i] = mc * x;
        image->vColumn[i] = ms * x;
        image->uRow[i] = ms * y;
        image->vRow[i] = m1 * y;
    }
}

/// One channel of four pixels.
static inline __m128i Effect1Channel(const WaveGains& gains, int row, __m128 u, __m128 v)
{
    return WaveBytes(RaisedCos(gains, row, u), RaisedCos(gains, row + 1, v));
}

void RenderEffect1(int32_t side, uint8_t bpp, float step, uint8_t* out)
{
    Effect1Image image;
    PrepareEffect1(side, step, &image);
    for (int32_t y = 0; y < side; ++y)
    {
        const __m128 uRow = _mm_set1_ps(image.uRow[y]);
        const __m128 vRow = _mm_set1_ps(image.vRow[y]);
        for (int32_t x = 0; x < side; x += 4)
        {
            const __m128 u = _mm_add_ps(_mm_load_ps(image.uColumn + x), uRow);
            const __m128 v = _mm_add_ps(_mm_load_ps(image.vColumn + x), vRow);
            const __m128i red = Effect1Channel(image.gains, 0, u, v);
            if (bpp == 8)
            {
                StoreOneByte(red, out);
                out += 4;
                continue;
            }
            const __m128i green = Effect1Channel(image.gains, 2, u, v);
            const __m128i blue = Effect1Channel(image.gains, 4, u, v);
            StoreThreeBytes(
                _mm_or_si128(red, _mm_or_si128(_mm_slli_epi32(green, 8), _mm_slli_epi32(blue, 16))),
                out);
            out += 12;
        }
    }
}

// ---- "Rotate"
//
// u depends on the entry of CosTable that i falls on and on nothing else, and v on that of j. So
// the raised cosines of every entry that an image can meet are computed once, and a pixel is one
// row of each of two tables, multiplied.

/// Raised cosines by entry of CosTable: of red, green and blue, or of the one channel at 8 bits. An
/// image fills the entries that it can meet.
struct FactorTable
{
    alignas(16) float colour[kCosTableSize][4]; // red, green, blue, 0
    alignas(16) float single[kCosTableSize];
};

static FactorTable uFactors;
static FactorTable vFactors;

/// One of the two angles of "Rotate" over an image, and what follows from it.
struct RotateAxis
{
    alignas(16) float column[kRowLimit]; // angle = (column + row) * scale, truncated
    float row[kRowLimit];
    float scale;
    float amplitude; // coordinate = (1 - cosine of the angle) * amplitude + offset
    float offset;
    int firstRow; // of WaveTable: 0 for u, 1 for v
};

struct EntryRange
{
    int32_t begin; // multiples of 4
    int32_t end;
};

/// The entries that the angles from first to last fall on in one half of CosTable, in one or two
/// ranges. Both angles have the same sign.
static EntryRange* AddHalf(int32_t first, int32_t last, int32_t half, EntryRange* out)
{
    const int32_t begin = half + (first & (kCosTurn - 4));
    const int32_t end = half + (last & (kCosTurn - 4)) + 4;
    if (static_cast<int64_t>(last) - first >= kCosTurn - 1)
    {
        *out++ = {half, half + kCosTurn};
    }
    else if ((first & (kCosTurn - 1)) <= (last & (kCosTurn - 1)))
    {
        *out++ = {begin, end};
    }
    else
    {
        *out++ = {half, end};
        *out++ = {begin, half + kCosTurn};
    }
    return out;
}

/// The entries that an image can meet on one axis. Every step from x and y to the angle is
/// monotonous, its rounding included, so the extremes lie in the corners.
/// @param ranges   [4]
/// @return the end of the ranges; they may overlap
static EntryRange* FindEntries(const RotateAxis& axis, int32_t side, EntryRange* ranges)
{
    int32_t first = INT32_MAX;
    int32_t last = INT32_MIN;
    for (int32_t x : {0, side - 1})
    {
        for (int32_t y : {0, side - 1})
        {
            int32_t angle = TruncateToInt((axis.column[x] + axis.row[y]) * axis.scale);
            first = std::min(first, angle);
            last = std::max(last, angle);
        }
    }

    EntryRange* end = ranges;
    if (first < 0)
    {
        end = AddHalf(first, std::min(last, -1), 0, end);
    }
    if (last >= 0)
    {
        end = AddHalf(std::max(first, 0), last, kCosTurn, end);
    }
    return end;
}

static void FillFactors(const RotateAxis& axis, int32_t side, uint8_t bpp, const WaveGains& gains,
                        FactorTable* table)
{
    EntryRange ranges[4];
    const EntryRange* rangesEnd = FindEntries(axis, side, ranges);
    const int row = axis.firstRow;
    for (const EntryRange* range = ranges; range != rangesEnd; ++range)
    {
        for (int32_t entry = range->begin; entry < range->end; entry += 4)
        {
            const __m128 fall = _mm_sub_ps(_mm_set1_ps(1.0f), _mm_loadu_ps(CosTable + entry));
            const __m128 coordinate =
                _mm_add_ps(_mm_mul_ps(fall, _mm_set1_ps(axis.amplitude)), _mm_set1_ps(axis.offset));
            __m128 red = RaisedCos(gains, row, coordinate);
            if (bpp == 8)
            {
                _mm_store_ps(table->single + entry, red);
                continue;
            }
            __m128 green = RaisedCos(gains, row + 2, coordinate);
            __m128 blue = RaisedCos(gains, row + 4, coordinate);
            __m128 none = _mm_setzero_ps();
            _MM_TRANSPOSE4_PS(red, green, blue, none);
            _mm_store_ps(table->colour[entry], red);
            _mm_store_ps(table->colour[entry + 1], green);
            _mm_store_ps(table->colour[entry + 2], blue);
            _mm_store_ps(table->colour[entry + 3], none);
        }
    }
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
        u->column[i] = place * c;
        u->row[i] = place * s;
        v->column[i] = place * s;
        v->row[i] = place * m1;
    }
    u->scale = static_cast<float>((0.0024543671875 * c0 + 0.00981746875) * kCosStepsPerRadian);
    v->scale =
        static_cast<float>((c0 * 0.0027611630859375 + 0.0064427138671875) * kCosStepsPerRadian);
    u->amplitude = a * 63.0f;
    v->amplitude = a * 63.0f;
    u->offset = static_cast<float>(d * 0.08 * static_cast<double>(a));
    v->offset = static_cast<float>(d * 0.06 * static_cast<double>(a));
    u->firstRow = 0;
    v->firstRow = 1;

    // Here the constants stand outside the cosine, unlike in "Effect 1".
    return MakeWaveGains(h, static_cast<float>(cos(0.13 * d) + 6.0),
                         static_cast<float>(cos(0.17 * d) + 8.0));
}

/// The entries of CosTable that four pixels fall on.
static inline __m128i AxisPlaces(const RotateAxis& axis, int32_t x, __m128 row)
{
    const __m128 angle =
        _mm_mul_ps(_mm_add_ps(_mm_load_ps(axis.column + x), row), _mm_set1_ps(axis.scale));
    return CosPlaces(_mm_cvttps_epi32(angle));
}

/// Red, green and blue of a pixel, in a lane each.
static inline __m128i ColourPixel(uint32_t uPlace, uint32_t vPlace)
{
    return WaveBytes(_mm_load_ps(uFactors.colour[uPlace]), _mm_load_ps(vFactors.colour[vPlace]));
}

/// Four pixels at 24 bits.
static inline void StoreColourPixels(__m128i uPlaces, __m128i vPlaces, uint8_t* out)
{
    const uint64_t u01 = static_cast<uint64_t>(_mm_cvtsi128_si64(uPlaces));
    const uint64_t v01 = static_cast<uint64_t>(_mm_cvtsi128_si64(vPlaces));
    const uint64_t u23 =
        static_cast<uint64_t>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(uPlaces, uPlaces)));
    const uint64_t v23 =
        static_cast<uint64_t>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(vPlaces, vPlaces)));
    const __m128i first = ColourPixel(static_cast<uint32_t>(u01), static_cast<uint32_t>(v01));
    const __m128i second =
        ColourPixel(static_cast<uint32_t>(u01 >> 32), static_cast<uint32_t>(v01 >> 32));
    const __m128i third = ColourPixel(static_cast<uint32_t>(u23), static_cast<uint32_t>(v23));
    const __m128i fourth =
        ColourPixel(static_cast<uint32_t>(u23 >> 32), static_cast<uint32_t>(v23 >> 32));
    StoreThreeBytes(
        _mm_packus_epi16(_mm_packs_epi32(first, second), _mm_packs_epi32(third, fourth)), out);
}

/// The image is walked in strips of this many columns: along a whole row the angles run far through
/// the factor tables at some steps and hardly at others, and in a strip they stay near.
static constexpr int32_t kStripWidth = 64;

void RenderRotate(int32_t side, uint8_t bpp, float step, uint8_t* out)
{
    RotateAxis u;
    RotateAxis v;
    const WaveGains gains = PrepareRotate(side, step, &u, &v);
    FillFactors(u, side, bpp, gains, &uFactors);
    FillFactors(v, side, bpp, gains, &vFactors);

    for (int32_t strip = 0; strip < side; strip += kStripWidth)
    {
        const int32_t stripEnd = std::min(strip + kStripWidth, side);
        for (int32_t y = 0; y < side; ++y)
        {
            const __m128 uRow = _mm_set1_ps(u.row[y]);
            const __m128 vRow = _mm_set1_ps(v.row[y]);
            for (int32_t x = strip; x < stripEnd; x += 4)
            {
                const __m128i uPlaces = AxisPlaces(u, x, uRow);
                const __m128i vPlaces = AxisPlaces(v, x, vRow);
                if (bpp == 8)
                {
                    StoreOneByte(WaveBytes(LoadFour(uFactors.single, uPlaces),
                                           LoadFour(vFactors.single, vPlaces)),
                                 out + y * side + x);
                }
                else
                {
                    StoreColourPixels(uPlaces, vPlaces, out + (y * side + x) * 3);
                }
            }
        }
    }
}

// ---- "Amoba"

/// The library's next random number, from 0 to 1. So close to its maximum that the float rounds up,
/// it is 1 itself.
static float RandomUnit()
{
    return static_cast<float>(rand()) * 0x1p-31f;
}

void SeedAmoba(int32_t side, uint8_t bpp, uint8_t* cells)
{
    const int32_t size = side * side;
    for (int32_t seed = 0; seed < size / 400; ++seed)
    {
        // A number of 1 would be one past the image: such a seed goes into the last cell.
        int32_t place = TruncateToInt(RandomUnit() * static_cast<float>(size));
        place = std::min(place, size - 1);
        if (bpp == 8)
        {
            cells[place] = TruncateToByte(RandomUnit() * 192.0f + 64.0f);
            continue;
        }
        for (int32_t channel = 0; channel < 3; ++channel)
        {
            cells[3 * place + channel] = TruncateToByte(RandomUnit() * 256.0f);
        }
    }
}

/// A row or column that has a neighbour on either side. The last one is not picked and, unless a
/// random number is 1, the one before it neither.
static int32_t RandomInside(int32_t side)
{
    return TruncateToInt(RandomUnit() * static_cast<float>(side - 3) + 1.0f);
}

void GrowAmoba(int32_t side, uint8_t bpp, uint8_t* cells)
{
    for (int32_t pick = 0; pick < side * side / 8; ++pick)
    {
        const int32_t row = RandomInside(side);
        const int32_t column = RandomInside(side);
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
