#include "engine/geometry/rippler.h"

#include <algorithm>
#include <emmintrin.h>

#include "engine/data/cos_table.h"
#include "engine/data/fault.h"
#include "engine/data/numeric.h"
#include "engine/geometry/normals.h"

/// Coordinates whose angles are computed together, before the table is read.
static constexpr size_t kRippleChunk = 64;

/// The entries of CosTable that cosLookup reads for four angles. A negative whole turn goes to
/// entry 0 instead of 4096; both are 1.
static inline __m128i CosEntries(__m128i angles)
{
    const __m128i inTurn = _mm_and_si128(angles, _mm_set1_epi32(kCosTurn - 1));
    const __m128i upper = _mm_andnot_si128(_mm_srli_epi32(angles, 31 - 12),
                                           _mm_set1_epi32(kCosTurn)); // unless it is negative
    return _mm_or_si128(inTurn, upper);
}

static inline __m128 LoadFour(const uint32_t* entries)
{
    const __m128 a = _mm_load_ss(CosTable + entries[0]);
    const __m128 b = _mm_load_ss(CosTable + entries[1]);
    const __m128 c = _mm_load_ss(CosTable + entries[2]);
    const __m128 d = _mm_load_ss(CosTable + entries[3]);
    return _mm_movelh_ps(_mm_unpacklo_ps(a, b), _mm_unpacklo_ps(c, d));
}

/// @param count   a multiple of 4, at most kRippleChunk
static void RippleChunk(float* coordinates, size_t count, float startSteps, float stepsPerUnit,
                        float amplitude)
{
    alignas(16) uint32_t entries[kRippleChunk];
    for (size_t i = 0; i < count; i += 4)
    {
        const __m128 c = _mm_loadu_ps(coordinates + i);
        const __m128 steps =
            _mm_add_ps(_mm_mul_ps(c, _mm_set1_ps(stepsPerUnit)), _mm_set1_ps(startSteps));
        _mm_store_si128(reinterpret_cast<__m128i*>(entries + i),
                        CosEntries(_mm_cvttps_epi32(steps)));
    }
    for (size_t i = 0; i < count; i += 4)
    {
        const __m128 wave = _mm_mul_ps(LoadFour(entries + i), _mm_set1_ps(amplitude));
        _mm_storeu_ps(coordinates + i, _mm_add_ps(wave, _mm_loadu_ps(coordinates + i)));
    }
}

void RippleCoordinates(float* coordinates, size_t count, float startSteps, float stepsPerUnit,
                       float amplitude)
{
    const size_t whole = count / 4 * 4;
    for (size_t i = 0; i < whole; i += kRippleChunk)
    {
        RippleChunk(coordinates + i, std::min(kRippleChunk, whole - i), startSteps, stepsPerUnit,
                    amplitude);
    }
    for (size_t i = whole; i < count; ++i)
    {
        const float c = coordinates[i];
        const int32_t angle = TruncateToInt(c * stepsPerUnit + startSteps);
        coordinates[i] = cosLookup(angle) * amplitude + c;
    }
}

bool RippleMesh(const float* params, const Mesh* mesh, DeformedMesh* deformed, Arena* arena,
                FaultList* faults)
{
    if (deformed->vertices == nullptr && !StartDeformedMesh(mesh, deformed, arena, faults))
    {
        return false;
    }

    const float startSteps =
        static_cast<float>(static_cast<double>(params[0]) * kCosStepsPerRadian);
    const float stepsPerUnit =
        static_cast<float>(static_cast<double>(params[2]) * kCosStepsPerRadian);
    RippleCoordinates(deformed->vertices, static_cast<size_t>(mesh->vertexCount) * 3, startSteps,
                      stepsPerUnit, params[1]);

    // A model's own normals no longer count, even where the amplitude is 0.
    Mesh bent = *mesh;
    bent.vertices = deformed->vertices;
    bent.normals = deformed->normals;
    if (!RecomputeNormals(&bent))
    {
        AddFault(faults, "there is no memory to bend %u vertices", mesh->vertexCount);
        return false;
    }
    return true;
}
