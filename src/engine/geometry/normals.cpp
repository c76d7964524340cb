#include "engine/geometry/normals.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <emmintrin.h>

// A vertex sums the unit normals of its faces in the order of the triangles, and each sum begins at
// 0: that is what the last bit of a normal hangs on. Going through the triangles and adding to
// three vertices each makes every addition wait for the one before it in memory. So the faces of
// each vertex are listed, and each vertex adds its own. Index lists never change, and a list of
// faces is kept for the next call with the same indices, whichever mesh they belong to: all water
// has one.

/// The faces around each vertex of an index list.
struct FaceLists
{
    uint32_t vertexCount; // 0 for a slot that is not in use
    uint32_t indexCount;  // of whole triangles
    uint32_t* block;      // owned: the three arrays below
    uint32_t* indices;    // [indexCount], what the lists were made of; into block
    uint32_t* faces;      // [indexCount], 4 * the number of a triangle, rising; into block
    uint32_t* first;      // [vertexCount + 1], where a vertex's faces begin in `faces`; into block
    uint64_t lastUse;     // by lookups
};

/// More index lists than a frame is likely to bend. With more, the one that was not used for
/// longest makes place.
static constexpr size_t kKeptLists = 32;

static FaceLists keptLists[kKeptLists];
static uint64_t lookups = 0;

static bool MakeFaceLists(const Mesh* mesh, uint32_t indexCount, FaceLists* lists)
{
    const size_t vertexCount = mesh->vertexCount;
    free(lists->block);
    lists->block = static_cast<uint32_t*>(
        malloc((2 * size_t{indexCount} + vertexCount + 1) * sizeof(uint32_t)));
    if (lists->block == nullptr)
    {
        *lists = {};
        return false;
    }
    lists->indices = lists->block;
    lists->faces = lists->indices + indexCount;
    lists->first = lists->faces + indexCount;
    lists->vertexCount = mesh->vertexCount;
    lists->indexCount = indexCount;
    std::copy_n(mesh->indices, indexCount, lists->indices);

    // An entry counts the corners of its vertex, then tells where the vertex's list ends. Filled
    // from the last corner to the first, it comes to where the list begins.
    uint32_t* ends = lists->first;
    std::fill_n(ends, vertexCount + 1, 0);
    for (size_t i = 0; i < indexCount; ++i)
    {
        ends[mesh->indices[i]] += 1;
    }
    for (size_t v = 1; v <= vertexCount; ++v)
    {
        ends[v] += ends[v - 1];
    }
    for (size_t i = indexCount; i-- > 0;)
    {
        uint32_t& end = ends[mesh->indices[i]];
        end -= 1;
        lists->faces[end] = static_cast<uint32_t>(i / 3 * 4);
    }
    return true;
}

/// @return the lists of a mesh, lent until the next call
static const FaceLists* GetFaceLists(const Mesh* mesh)
{
    const uint32_t indexCount = mesh->indexCount / 3 * 3;
    lookups += 1;
    FaceLists* oldest = keptLists;
    for (FaceLists& lists : keptLists)
    {
        if (lists.vertexCount == mesh->vertexCount && lists.indexCount == indexCount &&
            std::equal(lists.indices, lists.indices + indexCount, mesh->indices))
        {
            lists.lastUse = lookups;
            return &lists;
        }
        oldest = lists.lastUse < oldest->lastUse ? &lists : oldest;
    }
    if (!MakeFaceLists(mesh, indexCount, oldest))
    {
        return nullptr;
    }
    oldest->lastUse = lookups;
    return oldest;
}

/// Copies three floats each to four, the last of which counts for nothing.
/// @param out   [count][4], aligned
static void SpreadVertices(const float* vertices, size_t count, float* out)
{
    // A read of four takes the next vertex's x along; behind the last one there is none.
    for (size_t i = 0; i + 1 < count; ++i)
    {
        _mm_store_ps(out + 4 * i, _mm_loadu_ps(vertices + 3 * i));
    }
    const float* last = vertices + 3 * (count - 1);
    _mm_store_ps(out + 4 * (count - 1), _mm_setr_ps(last[0], last[1], last[2], 0.0f));
}

/// y, z, x of a vector.
static inline __m128 TurnAxes(__m128 v)
{
    return _mm_shuffle_ps(v, v, _MM_SHUFFLE(3, 0, 2, 1));
}

/// The cross products of the edges of each triangle.
/// @param vertices   [][4], aligned
/// @param faces      [count][4], receives z, x, y and something for each
static void CrossEdges(const float* vertices, const uint32_t* indices, size_t count, float* faces)
{
    for (size_t f = 0; f < count; ++f)
    {
        const __m128 a = _mm_load_ps(vertices + size_t{4} * indices[3 * f]);
        const __m128 b = _mm_load_ps(vertices + size_t{4} * indices[3 * f + 1]);
        const __m128 c = _mm_load_ps(vertices + size_t{4} * indices[3 * f + 2]);
        const __m128 e1 = _mm_sub_ps(a, b);
        const __m128 e2 = _mm_sub_ps(b, c);
        _mm_store_ps(faces + 4 * f,
                     _mm_sub_ps(_mm_mul_ps(e1, TurnAxes(e2)), _mm_mul_ps(TurnAxes(e1), e2)));
    }
}

/// Makes unit normals of cross products.
/// @param faces   [count][4], z, x, y before and x, y, z after; up to three behind them are worked
///                on too
static void NormaliseFaces(size_t count, float* faces)
{
    const __m128 one = _mm_set1_ps(1.0f);
    for (float* four = faces; four < faces + 4 * count; four += 16)
    {
        __m128 z = _mm_load_ps(four);
        __m128 x = _mm_load_ps(four + 4);
        __m128 y = _mm_load_ps(four + 8);
        __m128 rest = _mm_load_ps(four + 12);
        _MM_TRANSPOSE4_PS(z, x, y, rest);

        // A face of next to no area is not brought to length 1.
        const __m128 squares =
            _mm_add_ps(_mm_add_ps(_mm_mul_ps(x, x), _mm_mul_ps(y, y)), _mm_mul_ps(z, z));
        const __m128 length = _mm_sqrt_ps(squares);
        const __m128 tiny = _mm_cmplt_ps(length, _mm_set1_ps(0.001f));
        const __m128 divisor = _mm_or_ps(_mm_and_ps(tiny, one), _mm_andnot_ps(tiny, length));

        x = _mm_div_ps(x, divisor);
        y = _mm_div_ps(y, divisor);
        z = _mm_div_ps(z, divisor);
        _MM_TRANSPOSE4_PS(x, y, z, rest);
        _mm_store_ps(four, x);
        _mm_store_ps(four + 4, y);
        _mm_store_ps(four + 8, z);
        _mm_store_ps(four + 12, rest);
    }
}

/// The mean of a vertex's face normals, and something behind it.
static inline __m128 MeanNormal(const FaceLists* lists, const float* faces, size_t vertex)
{
    const uint32_t* face = lists->faces + lists->first[vertex];
    const uint32_t* end = lists->faces + lists->first[vertex + 1];
    const float count = static_cast<float>(lists->first[vertex + 1] - lists->first[vertex]);
    __m128 sum = _mm_setzero_ps();
    for (; end - face >= 6; face += 6) // what most vertices of a grid have
    {
        sum = _mm_add_ps(sum, _mm_load_ps(faces + face[0]));
        sum = _mm_add_ps(sum, _mm_load_ps(faces + face[1]));
        sum = _mm_add_ps(sum, _mm_load_ps(faces + face[2]));
        sum = _mm_add_ps(sum, _mm_load_ps(faces + face[3]));
        sum = _mm_add_ps(sum, _mm_load_ps(faces + face[4]));
        sum = _mm_add_ps(sum, _mm_load_ps(faces + face[5]));
    }
    for (; face != end; ++face)
    {
        sum = _mm_add_ps(sum, _mm_load_ps(faces + *face));
    }
    return _mm_div_ps(sum, _mm_set1_ps(std::max(count, 1.0f))); // by 1 nothing changes
}

/// Writes the normals, three floats each.
static void AverageFaces(const FaceLists* lists, const float* faces, float* normals)
{
    const size_t count = lists->vertexCount;
    size_t i = 0;
    for (; i + 4 <= count; i += 4)
    {
        // Four normals are three stores, and no store lies across another.
        const __m128 a = MeanNormal(lists, faces, i);
        const __m128 b = MeanNormal(lists, faces, i + 1);
        const __m128 c = MeanNormal(lists, faces, i + 2);
        const __m128 d = MeanNormal(lists, faces, i + 3);
        const __m128 azbx = _mm_shuffle_ps(a, b, _MM_SHUFFLE(0, 0, 2, 2));
        const __m128 czdx = _mm_shuffle_ps(c, d, _MM_SHUFFLE(0, 0, 2, 2));
        _mm_storeu_ps(normals + 3 * i, _mm_shuffle_ps(a, azbx, _MM_SHUFFLE(2, 0, 1, 0)));
        _mm_storeu_ps(normals + 3 * i + 4, _mm_shuffle_ps(b, c, _MM_SHUFFLE(1, 0, 2, 1)));
        _mm_storeu_ps(normals + 3 * i + 8, _mm_shuffle_ps(czdx, d, _MM_SHUFFLE(2, 1, 2, 0)));
    }
    for (; i < count; ++i)
    {
        alignas(16) float normal[4];
        _mm_store_ps(normal, MeanNormal(lists, faces, i));
        memcpy(normals + 3 * i, normal, 3 * sizeof(float));
    }
}

bool RecomputeNormals(const Mesh* mesh)
{
    const size_t vertexCount = mesh->vertexCount;
    if (vertexCount == 0)
    {
        return true;
    }
    const FaceLists* lists = GetFaceLists(mesh);
    if (lists == nullptr)
    {
        return false;
    }
    const size_t faceCount = lists->indexCount / 3;
    float* vertices =
        static_cast<float*>(malloc((vertexCount + faceCount + 3) * 4 * sizeof(float)));
    if (vertices == nullptr)
    {
        return false;
    }
    float* faces = vertices + 4 * vertexCount;

    SpreadVertices(mesh->vertices, vertexCount, vertices);
    std::fill_n(faces + 4 * faceCount, 12, 0.0f);
    CrossEdges(vertices, lists->indices, faceCount, faces);
    NormaliseFaces(faceCount, faces);

    AverageFaces(lists, faces, mesh->normals);
    free(vertices);
    return true;
}
