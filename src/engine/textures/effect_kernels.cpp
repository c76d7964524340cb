#include "engine/textures/effect_kernels.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <immintrin.h>

#include "engine/data/cos_table.h"
#include "engine/data/numeric.h"
#include "engine/data/random_sequence.h"

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

/// CosTable + 1 with its halves exchanged: entries 0 to 4095 for angles that are not negative, the
/// others for negative ones. The low 12 bits of an angle are the place in its half; a negative
/// whole turn goes to an entry 0 where cosLookup has 4096, and both are 1. The pad is for LoadFour.
static constexpr int32_t kLowerHalf = kCosTurn;
alignas(16) static float RaisedCosTable[kCosTableSize + 4];

static void PrepareRaisedCosTable()
{
    // Entry 0 tells whether this was made from the CosTable that stands there now.
    if (RaisedCosTable[0] == CosTable[kCosTurn] + 1.0f)
    {
        return;
    }
    for (int32_t i = 0; i < kCosTurn; ++i)
    {
        RaisedCosTable[i] = CosTable[kCosTurn + i] + 1.0f;
        RaisedCosTable[kLowerHalf + i] = CosTable[i] + 1.0f;
    }
}

/// The places of four angles in a half of RaisedCosTable.
static inline __m128i PlacesInHalf(__m128i angles)
{
    return _mm_and_si128(angles, _mm_set1_epi32(kCosTurn - 1));
}

/// The places of four angles in RaisedCosTable, whatever their signs.
static inline __m128i PlacesInTable(__m128i angles)
{
    const __m128i half = _mm_and_si128(_mm_srli_epi32(angles, 31 - 12), _mm_set1_epi32(kLowerHalf));
    return _mm_or_si128(PlacesInHalf(angles), half);
}

/// Four floats of a table. Each read takes its neighbour along, so the table has a float more.
static inline __m128 LoadFour(const float* table, const uint32_t* places)
{
    // Places come in pairs: reading the table is what a processor is short of, and each place that
    // is read by itself counts as much.
    uint64_t low;
    uint64_t high;
    memcpy(&low, places, sizeof(low));
    memcpy(&high, places + 2, sizeof(high));
    const float* a = table + static_cast<uint32_t>(low);
    const float* b = table + (low >> 32);
    const float* c = table + static_cast<uint32_t>(high);
    const float* d = table + (high >> 32);
    __m128 ab = _mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(a)));
    __m128 cd = _mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(c)));
    ab = _mm_loadh_pi(ab, reinterpret_cast<const __m64*>(b));
    cd = _mm_loadh_pi(cd, reinterpret_cast<const __m64*>(d));
    return _mm_shuffle_ps(ab, cd, _MM_SHUFFLE(2, 0, 2, 0));
}

static inline __m128i Angles(__m128 coordinates, __m128 gain, __m128 phase)
{
    return _mm_cvttps_epi32(_mm_add_ps(_mm_mul_ps(coordinates, gain), phase));
}

/// Four bytes of a channel, one in each lane: the product of two raised cosines, 0 to 252.
static inline __m128i WaveBytes(__m128 first, __m128 second)
{
    return _mm_cvttps_epi32(_mm_mul_ps(_mm_mul_ps(first, second), _mm_set1_ps(63.0f)));
}

/// Stores the low byte of each lane, 4 in all. Lanes are 0 to 255.
static inline void StoreGrey(__m128i pixels, uint8_t* out)
{
    __m128i words = _mm_packs_epi32(pixels, pixels);
    int32_t bytes = _mm_cvtsi128_si32(_mm_packus_epi16(words, words));
    memcpy(out, &bytes, 4);
}

/// Stores the low three bytes of each lane, 12 in all, and a 0 behind them, which the pixel that
/// comes next overwrites.
static inline void StoreColoursAndOneByte(__m128i pixels, uint8_t* out)
{
    for (int pixel = 0; pixel < 4; ++pixel)
    {
        int32_t bytes = _mm_cvtsi128_si32(pixels);
        memcpy(out + 3 * pixel, &bytes, 4);
        pixels = _mm_srli_si128(pixels, 4);
    }
}

/// Stores the low three bytes of each lane, 12 in all.
static inline void StoreColours(__m128i pixels, uint8_t* out)
{
    uint8_t bytes[16];
    StoreColoursAndOneByte(pixels, bytes);
    memcpy(out, bytes, 12);
}

/// Whether places are found eight at a time. Reading them gains nothing from it.
static bool wideEffectKernels = __builtin_cpu_supports("avx2") != 0;

void SetWideEffectKernels(bool wide)
{
    wideEffectKernels = wide && __builtin_cpu_supports("avx2") != 0;
}

/// Pixels whose places in the tables are computed together, before they are read.
static constexpr int32_t kChunk = 128;

// ---- "Effect 1"

/// One of the two coordinates of "Effect 1" over an image: column + row.
struct PlasmaAxis
{
    alignas(32) float column[kRowLimit];
    float row[kRowLimit];
    int firstFactor; // of WaveTable: 0 for u, 1 for v
};

static WaveGains PreparePlasma(int32_t side, float step, PlasmaAxis* u, PlasmaAxis* v)
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

/// Where the factors of an image are read: the table of each, and the places in it for the chunk of
/// pixels that is at hand.
struct PlasmaReads
{
    const float* table[6];
    alignas(32) uint32_t place[6][kChunk];
};

/// Chooses the tables of an axis. Where all angles of a factor have one sign, which is the rule,
/// its places count from the start of a half of RaisedCosTable, and finding them costs less.
/// @return false if the places have to count from the start of the whole table
static bool ChooseHalves(const PlasmaAxis& axis, int32_t side, const WaveGains& gains,
                         PlasmaReads* reads)
{
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
        reads->table[factor] = RaisedCosTable + (negative ? kLowerHalf : 0);
    }
    return halves;
}

/// Finds the places of a chunk of pixels on one axis.
/// @param begin   first column of the chunk
using FindPlaces = void(const PlasmaAxis& axis, float row, const WaveGains& gains, int32_t begin,
                        int32_t count, PlasmaReads* reads);

template <int channels, bool halves>
static void FindPlacesByFour(const PlasmaAxis& axis, float row, const WaveGains& gains,
                             int32_t begin, int32_t count, PlasmaReads* reads)
{
    __m128 gain[channels];
    __m128 phase[channels];
    for (int channel = 0; channel < channels; ++channel)
    {
        gain[channel] = _mm_set1_ps(gains.gain[axis.firstFactor + 2 * channel]);
        phase[channel] = _mm_set1_ps(gains.phase[axis.firstFactor + 2 * channel]);
    }
    const float* column = axis.column + begin;
    uint32_t(*place)[kChunk] = reads->place + axis.firstFactor;
    for (int32_t x = 0; x < count; x += 4)
    {
        const __m128 coordinates = _mm_add_ps(_mm_load_ps(column + x), _mm_set1_ps(row));
        for (int channel = 0; channel < channels; ++channel)
        {
            const __m128i angles = Angles(coordinates, gain[channel], phase[channel]);
            _mm_store_si128(reinterpret_cast<__m128i*>(place[2 * channel] + x),
                            halves ? PlacesInHalf(angles) : PlacesInTable(angles));
        }
    }
}

/// The same with AVX2.
template <int channels, bool halves>
[[gnu::target("avx2")]] static void FindPlacesByEight(const PlasmaAxis& axis, float row,
                                                      const WaveGains& gains, int32_t begin,
                                                      int32_t count, PlasmaReads* reads)
{
    __m256 gain[channels];
    __m256 phase[channels];
    for (int channel = 0; channel < channels; ++channel)
    {
        gain[channel] = _mm256_set1_ps(gains.gain[axis.firstFactor + 2 * channel]);
        phase[channel] = _mm256_set1_ps(gains.phase[axis.firstFactor + 2 * channel]);
    }
    const float* column = axis.column + begin;
    uint32_t(*place)[kChunk] = reads->place + axis.firstFactor;
    const __m256i inHalf = _mm256_set1_epi32(kCosTurn - 1);
    const __m256i lowerHalf = _mm256_set1_epi32(kLowerHalf);
    for (int32_t x = 0; x < count; x += 8)
    {
        const __m256 coordinates = _mm256_add_ps(_mm256_load_ps(column + x), _mm256_set1_ps(row));
        for (int channel = 0; channel < channels; ++channel)
        {
            const __m256 scaled = _mm256_mul_ps(coordinates, gain[channel]);
            const __m256i angles = _mm256_cvttps_epi32(_mm256_add_ps(scaled, phase[channel]));
            __m256i places = _mm256_and_si256(angles, inHalf);
            if (!halves)
            {
                const __m256i half =
                    _mm256_and_si256(_mm256_srli_epi32(angles, 31 - 12), lowerHalf);
                places = _mm256_or_si256(places, half);
            }
            _mm256_store_si256(reinterpret_cast<__m256i*>(place[2 * channel] + x), places);
        }
    }
}

template <int channels>
static FindPlaces* ChooseFindPlaces(bool halves)
{
    if (wideEffectKernels)
    {
        return halves ? FindPlacesByEight<channels, true> : FindPlacesByEight<channels, false>;
    }
    return halves ? FindPlacesByFour<channels, true> : FindPlacesByFour<channels, false>;
}

/// One channel of four pixels, x pixels into the chunk.
static inline __m128i ReadChannel(const PlasmaReads& reads, int channel, int32_t x)
{
    const int factor = 2 * channel;
    return WaveBytes(LoadFour(reads.table[factor], reads.place[factor] + x),
                     LoadFour(reads.table[factor + 1], reads.place[factor + 1] + x));
}

static inline __m128i ReadColours(const PlasmaReads& reads, int32_t x)
{
    const __m128i red = ReadChannel(reads, 0, x);
    const __m128i green = _mm_slli_epi32(ReadChannel(reads, 1, x), 8);
    const __m128i blue = _mm_slli_epi32(ReadChannel(reads, 2, x), 16);
    return _mm_or_si128(_mm_or_si128(red, green), blue);
}

template <int channels>
static void WriteChunk(const PlasmaReads& reads, int32_t count, uint8_t* __restrict out)
{
    if (channels == 1)
    {
        for (int32_t x = 0; x < count; x += 4)
        {
            StoreGrey(ReadChannel(reads, 0, x), out + x);
        }
        return;
    }
    for (int32_t x = 0; x < count - 4; x += 4)
    {
        StoreColoursAndOneByte(ReadColours(reads, x), out + 3 * x);
    }
    StoreColours(ReadColours(reads, count - 4), out + 3 * (count - 4));
}

template <int channels>
static void RenderPlasma(int32_t side, float step, uint8_t* out)
{
    PlasmaAxis u = {};
    PlasmaAxis v = {};
    PlasmaReads reads = {};
    const WaveGains gains = PreparePlasma(side, step, &u, &v);
    PrepareRaisedCosTable();
    const bool halves =
        ChooseHalves(u, side, gains, &reads) && ChooseHalves(v, side, gains, &reads);
    if (!halves)
    {
        std::fill_n(reads.table, 6, RaisedCosTable);
    }

    // All places of a chunk come before all its reads, so that neither waits for the other.
    FindPlaces* findPlaces = ChooseFindPlaces<channels>(halves);
    for (int32_t y = 0; y < side; ++y)
    {
        for (int32_t begin = 0; begin < side; begin += kChunk)
        {
            const int32_t count = std::min(kChunk, side - begin);
            findPlaces(u, u.row[y], gains, begin, count, &reads);
            findPlaces(v, v.row[y], gains, begin, count, &reads);
            WriteChunk<channels>(reads, count, out);
            out += channels * count;
        }
    }
}

void RenderEffect1(int32_t side, uint8_t bpp, float step, uint8_t* out)
{
    if (bpp == 8)
    {
        RenderPlasma<1>(side, step, out);
    }
    else
    {
        RenderPlasma<3>(side, step, out);
    }
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
    alignas(16) float colour[kFactorRows * 4]; // red, green, blue and one to fill up
    alignas(16) float grey[kFactorRows + 4];
};

static FactorTable uFactors;
static FactorTable vFactors;

/// One of the two angles of "Rotate" over an image, and what follows from it.
struct RotateAxis
{
    alignas(32) float column[kRowLimit]; // angle = (column + row) * scale, truncated
    float row[kRowLimit];
    float scale;
    int32_t firstAngle; // the least and the greatest of the image
    int32_t lastAngle;
    float amplitude; // coordinate = (1 - cosine of the angle) * amplitude + offset
    float offset;
    int firstRow; // of WaveTable: 0 for u, 1 for v
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
            const int32_t angle = TruncateToInt((axis->column[x] + axis->row[y]) * axis->scale);
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
        u->column[i] = place * c;
        u->row[i] = place * s;
        v->column[i] = place * s;
        v->row[i] = place * m1;
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
    u->firstRow = 0;
    v->firstRow = 1;

    // Here the constants stand outside the cosine, unlike in "Effect 1".
    return MakeWaveGains(h, static_cast<float>(cos(0.13 * d) + 6.0),
                         static_cast<float>(cos(0.17 * d) + 8.0));
}

/// Four raised cosines of one row of WaveTable.
static inline __m128 RaisedCos(const WaveGains& gains, int row, __m128 coordinates)
{
    const __m128i angles =
        Angles(coordinates, _mm_set1_ps(gains.gain[row]), _mm_set1_ps(gains.phase[row]));
    alignas(16) uint32_t places[4];
    _mm_store_si128(reinterpret_cast<__m128i*>(places), PlacesInTable(angles));
    return LoadFour(RaisedCosTable, places);
}

/// Fills what an image can read, and up to three rows behind it.
template <int channels>
static void FillFactors(const RotateAxis& axis, const WaveGains& gains, FactorTable* table)
{
    for (int32_t row = 0; row <= axis.lastAngle - axis.firstAngle; row += 4)
    {
        const int32_t angle = axis.firstAngle + row;
        const __m128 cosines = _mm_setr_ps(cosLookup(angle), cosLookup(angle + 1),
                                           cosLookup(angle + 2), cosLookup(angle + 3));
        const __m128 falls = _mm_sub_ps(_mm_set1_ps(1.0f), cosines);
        const __m128 coordinates =
            _mm_add_ps(_mm_mul_ps(falls, _mm_set1_ps(axis.amplitude)), _mm_set1_ps(axis.offset));
        __m128 red = RaisedCos(gains, axis.firstRow, coordinates);
        if (channels == 1)
        {
            _mm_store_ps(table->grey + row, red);
            continue;
        }
        __m128 green = RaisedCos(gains, axis.firstRow + 2, coordinates);
        __m128 blue = RaisedCos(gains, axis.firstRow + 4, coordinates);
        __m128 filler = _mm_setzero_ps();
        _MM_TRANSPOSE4_PS(red, green, blue, filler);
        _mm_store_ps(table->colour + 4 * row, red);
        _mm_store_ps(table->colour + 4 * row + 4, green);
        _mm_store_ps(table->colour + 4 * row + 8, blue);
        _mm_store_ps(table->colour + 4 * row + 12, filler);
    }
}

/// Where a chunk of pixels reads the factor tables, counted in floats.
struct RotateReads
{
    alignas(32) uint32_t u[kChunk];
    alignas(32) uint32_t v[kChunk];
};

/// Finds where a chunk of pixels reads the factors of one axis.
/// @param begin   first column of the chunk
using FindRows = void(const RotateAxis& axis, float row, int32_t begin, int32_t count,
                      uint32_t* places);

template <int channels>
static void FindRowsByFour(const RotateAxis& axis, float row, int32_t begin, int32_t count,
                           uint32_t* places)
{
    const float* column = axis.column + begin;
    const __m128 scale = _mm_set1_ps(axis.scale);
    const __m128i firstAngle = _mm_set1_epi32(axis.firstAngle);
    for (int32_t x = 0; x < count; x += 4)
    {
        const __m128 turned = _mm_add_ps(_mm_load_ps(column + x), _mm_set1_ps(row));
        const __m128i angles = _mm_cvttps_epi32(_mm_mul_ps(turned, scale));
        const __m128i rows = _mm_sub_epi32(angles, firstAngle);
        _mm_store_si128(reinterpret_cast<__m128i*>(places + x),
                        channels == 1 ? rows : _mm_slli_epi32(rows, 2));
    }
}

/// The same with AVX2.
template <int channels>
[[gnu::target("avx2")]] static void FindRowsByEight(const RotateAxis& axis, float row,
                                                    int32_t begin, int32_t count, uint32_t* places)
{
    const float* column = axis.column + begin;
    const __m256 scale = _mm256_set1_ps(axis.scale);
    const __m256i firstAngle = _mm256_set1_epi32(axis.firstAngle);
    for (int32_t x = 0; x < count; x += 8)
    {
        const __m256 turned = _mm256_add_ps(_mm256_load_ps(column + x), _mm256_set1_ps(row));
        const __m256i angles = _mm256_cvttps_epi32(_mm256_mul_ps(turned, scale));
        const __m256i rows = _mm256_sub_epi32(angles, firstAngle);
        _mm256_store_si256(reinterpret_cast<__m256i*>(places + x),
                           channels == 1 ? rows : _mm256_slli_epi32(rows, 2));
    }
}

/// Red, green and blue of a pixel, in a lane each.
static inline __m128i ReadPixel(const RotateReads& reads, int32_t x)
{
    return WaveBytes(_mm_load_ps(uFactors.colour + reads.u[x]),
                     _mm_load_ps(vFactors.colour + reads.v[x]));
}

static inline __m128i ReadFourPixels(const RotateReads& reads, int32_t x)
{
    const __m128i first = _mm_packs_epi32(ReadPixel(reads, x), ReadPixel(reads, x + 1));
    const __m128i second = _mm_packs_epi32(ReadPixel(reads, x + 2), ReadPixel(reads, x + 3));
    return _mm_packus_epi16(first, second);
}

template <int channels>
static void WriteRotated(const RotateReads& reads, int32_t count, uint8_t* __restrict out)
{
    if (channels == 1)
    {
        for (int32_t x = 0; x < count; x += 4)
        {
            StoreGrey(WaveBytes(LoadFour(uFactors.grey, reads.u + x),
                                LoadFour(vFactors.grey, reads.v + x)),
                      out + x);
        }
        return;
    }
    for (int32_t x = 0; x < count - 4; x += 4)
    {
        StoreColoursAndOneByte(ReadFourPixels(reads, x), out + 3 * x);
    }
    StoreColours(ReadFourPixels(reads, count - 4), out + 3 * (count - 4));
}

/// The image is walked in strips of a chunk's width: along whole rows the angles run far through
/// the factor tables at some steps and hardly at others, and in a strip they stay near.
template <int channels>
static void RenderRotated(int32_t side, float step, uint8_t* out)
{
    RotateAxis u = {};
    RotateAxis v = {};
    RotateReads reads = {};
    const WaveGains gains = PrepareRotate(side, step, &u, &v);
    PrepareRaisedCosTable();
    FillFactors<channels>(u, gains, &uFactors);
    FillFactors<channels>(v, gains, &vFactors);
    FindRows* findRows = wideEffectKernels ? FindRowsByEight<channels> : FindRowsByFour<channels>;

    for (int32_t begin = 0; begin < side; begin += kChunk)
    {
        const int32_t count = std::min(kChunk, side - begin);
        for (int32_t y = 0; y < side; ++y)
        {
            findRows(u, u.row[y], begin, count, reads.u);
            findRows(v, v.row[y], begin, count, reads.v);
            WriteRotated<channels>(reads, count, out + channels * (y * side + begin));
        }
    }
}

void RenderRotate(int32_t side, uint8_t bpp, float step, uint8_t* out)
{
    if (bpp == 8)
    {
        RenderRotated<1>(side, step, out);
    }
    else
    {
        RenderRotated<3>(side, step, out);
    }
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
