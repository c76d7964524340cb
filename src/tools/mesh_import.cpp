// SPDX-License-Identifier: MIT
#include "tools/mesh_import.h"

#include <algorithm>
#include <assimp/cimport.h>
#include <assimp/mesh.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "engine/data/byte_order.h"
#include "engine/data/limits.h"
#include "tools/child_process.h"
#include "tools/container.h"
#include "tools/model_ply.h"
#include "tools/overwrite.h"
#include "tools/report.h"

/// A model has at most 1 GiB, and Assimp's own form of a mesh is about as large.
static constexpr ChildLimits kImportLimits = {uint64_t{2} << 30, 60, 600};

/// Things of the source that the author hears about.
struct ImportNotes
{
    uint64_t droppedFaces;   // points and lines
    uint64_t meshes;         // with a triangle
    uint64_t lacking[2];     // of these, without this set of texture coordinates
    uint64_t withoutNormals; // of these
    uint64_t zeroNormals;    // vertices whose normal had no length
    uint64_t longNormals;    // vertices whose normal was not 1 long
    bool isUnchecked;        // something of the file was against its format's rules
    bool hasBadIndex;        // a triangle names a vertex that is not there
};

static bool HasTriangle(const aiMesh* source)
{
    for (unsigned int f = 0; f < source->mNumFaces; ++f)
    {
        if (source->mFaces[f].mNumIndices == 3)
        {
            return true;
        }
    }
    return false;
}

/// Normals are transformed by the inverse transpose. Its multiple, the matrix of cofactors, exists
/// for a flattened mesh too.
static aiMatrix3x3 NormalMatrix(const aiMatrix4x4& m)
{
    return {m.b2 * m.c3 - m.b3 * m.c2, m.b3 * m.c1 - m.b1 * m.c3, m.b1 * m.c2 - m.b2 * m.c1,
            m.c2 * m.a3 - m.c3 * m.a2, m.c3 * m.a1 - m.c1 * m.a3, m.c1 * m.a2 - m.c2 * m.a1,
            m.a2 * m.b3 - m.a3 * m.b2, m.a3 * m.b1 - m.a1 * m.b3, m.a1 * m.b2 - m.a2 * m.b1};
}

static bool IsIdentity(const aiMatrix4x4& m)
{
    // Exactly: Assimp's own test also takes what is nearly one, and bits of the source would
    // change.
    return m == aiMatrix4x4();
}

static void PutVector(const aiVector3D& vector, float* to)
{
    to[0] = vector.x;
    to[1] = vector.y;
    to[2] = vector.z;
}

/// Puts a normal of the source, 1 long.
/// @return whether it has a length
static bool PutNormal(aiVector3D normal, MeshVertex* vertex, ImportNotes* notes)
{
    static constexpr float kTolerance = 0.01f; // exporters round; what they wrote stays
    const float length = normal.Length();
    if (!(length > 0.0f) || !std::isfinite(length))
    {
        notes->zeroNormals += 1;
        return false;
    }
    if (fabsf(length - 1.0f) > kTolerance)
    {
        notes->longNormals += 1;
        normal /= length;
    }
    PutVector(normal, vertex->normal);
    return true;
}

static void AppendVertices(const aiMesh* source, const aiMatrix4x4& transform,
                           const MeshOptions& options, TriangleMesh* mesh, ImportNotes* notes)
{
    const bool moved = !IsIdentity(transform);
    const bool mirrored = transform.Determinant() < 0.0f;
    const aiMatrix3x3 normalMatrix = NormalMatrix(transform);

    for (unsigned int i = 0; i < source->mNumVertices; ++i)
    {
        MeshVertex vertex = {};
        PutVector(moved ? transform * source->mVertices[i] : source->mVertices[i], vertex.position);
        for (unsigned int set = 0; set < 2; ++set)
        {
            if (source->HasTextureCoords(set))
            {
                const aiVector3D& coords = source->mTextureCoords[set][i];
                vertex.texCoords[set][0] = coords.x;
                vertex.texCoords[set][1] =
                    options.v == VDirection::kFlipped ? 1.0f - coords.y : coords.y;
            }
        }
        bool hasNormal = false;
        if (source->HasNormals())
        {
            aiVector3D normal = source->mNormals[i];
            if (moved)
            {
                // With a mirroring the cofactors turn normals inside out.
                normal = normalMatrix * normal;
                normal = (mirrored ? -normal : normal).NormalizeSafe();
            }
            hasNormal = PutNormal(normal, &vertex, notes);
        }
        mesh->vertices.push_back(vertex);
        mesh->hasNormal.push_back(hasNormal ? 1 : 0);
    }
}

static void AppendTriangles(const aiMesh* source, uint32_t firstVertex, bool mirrored,
                            TriangleMesh* mesh, ImportNotes* notes)
{
    for (unsigned int f = 0; f < source->mNumFaces; ++f)
    {
        const aiFace& face = source->mFaces[f];
        if (face.mNumIndices != 3)
        {
            notes->droppedFaces += 1;
            continue;
        }
        for (unsigned int c = 0; c < 3; ++c)
        {
            notes->hasBadIndex = notes->hasBadIndex || face.mIndices[c] >= source->mNumVertices;
        }
        // A mirrored triangle is turned round, so that it faces the way its normals do.
        mesh->indices.push_back(firstVertex + face.mIndices[0]);
        mesh->indices.push_back(firstVertex + face.mIndices[mirrored ? 2 : 1]);
        mesh->indices.push_back(firstVertex + face.mIndices[mirrored ? 1 : 2]);
    }
}

/// @return false if there are more vertices than an index can count
static bool AppendMesh(const aiMesh* source, const aiMatrix4x4& transform,
                       const MeshOptions& options, TriangleMesh* mesh, ImportNotes* notes)
{
    if (!HasTriangle(source))
    {
        notes->droppedFaces += source->mNumFaces;
        return true;
    }
    if (mesh->vertices.size() + source->mNumVertices > UINT32_MAX)
    {
        return false;
    }

    notes->meshes += 1;
    notes->lacking[0] += source->HasTextureCoords(0) ? 0 : 1;
    notes->lacking[1] += source->HasTextureCoords(1) ? 0 : 1;
    notes->withoutNormals += source->HasNormals() ? 0 : 1;

    const uint32_t firstVertex = static_cast<uint32_t>(mesh->vertices.size());
    AppendVertices(source, transform, options, mesh, notes);
    AppendTriangles(source, firstVertex, transform.Determinant() < 0.0f, mesh, notes);
    return true;
}

/// A node's meshes, then its children, in the scene's order.
static bool AppendNode(const aiScene* scene, const aiNode* node, const aiMatrix4x4& parent,
                       const MeshOptions& options, TriangleMesh* mesh, ImportNotes* notes)
{
    // Not multiplied by the identity: 0 * -1 would change the sign of zeros.
    const bool rootOnly = IsIdentity(parent);
    const aiMatrix4x4 transform = rootOnly ? node->mTransformation : parent * node->mTransformation;

    for (unsigned int i = 0; i < node->mNumMeshes; ++i)
    {
        if (!AppendMesh(scene->mMeshes[node->mMeshes[i]], transform, options, mesh, notes))
        {
            return false;
        }
    }
    for (unsigned int i = 0; i < node->mNumChildren; ++i)
    {
        if (!AppendNode(scene, node->mChildren[i], transform, options, mesh, notes))
        {
            return false;
        }
    }
    return true;
}

/// Moves a mesh as its author asked for.
static void Arrange(const MeshOptions& options, TriangleMesh* mesh)
{
    float low[3] = {INFINITY, INFINITY, INFINITY};
    float high[3] = {-INFINITY, -INFINITY, -INFINITY};
    for (MeshVertex& vertex : mesh->vertices)
    {
        for (float* vector : {vertex.position, vertex.normal})
        {
            if (options.isZUp)
            {
                const float y = vector[1];
                vector[1] = vector[2];
                vector[2] = -y;
            }
        }
        for (int k = 0; k < 3; ++k)
        {
            vertex.position[k] *= options.scale == 0.0f ? 1.0f : options.scale;
            low[k] = fminf(low[k], vertex.position[k]);
            high[k] = fmaxf(high[k], vertex.position[k]);
        }
    }
    for (MeshVertex& vertex : mesh->vertices)
    {
        for (int k = 0; k < 3 && options.isCentered; ++k)
        {
            vertex.position[k] -= (low[k] + high[k]) * 0.5f;
        }
    }
}

static bool IsFinite(const TriangleMesh& mesh)
{
    for (const MeshVertex& vertex : mesh.vertices)
    {
        float sum = 0.0f; // of products with 0: NaN as soon as one is not finite
        for (int k = 0; k < 3; ++k)
        {
            sum += vertex.position[k] * 0.0f + vertex.normal[k] * 0.0f;
        }
        for (int k = 0; k < 2; ++k)
        {
            sum += vertex.texCoords[0][k] * 0.0f + vertex.texCoords[1][k] * 0.0f;
        }
        if (std::isnan(sum))
        {
            return false;
        }
    }
    return true;
}

/// Adds a line to a text.
/// @param format   printf format, without the label in front and the newline
[[gnu::format(printf, 3, 4)]] static void AppendLine(const std::string& label, std::string* text,
                                                     const char* format, ...)
{
    char line[512];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(line, sizeof(line), format, arguments);
    va_end(arguments);
    *text += label + ": " + line + "\n";
}

static void AppendLacking(const std::string& label, const ImportNotes& notes, int set,
                          std::string* text)
{
    static constexpr const char* kSetNames[2] = {"first", "second"};
    if (notes.lacking[set] != 0)
    {
        AppendLine(label, text,
                   "no %s set of texture coordinates in %llu of %llu meshes: zeros stand there",
                   kSetNames[set], static_cast<unsigned long long>(notes.lacking[set]),
                   static_cast<unsigned long long>(notes.meshes));
    }
}

static std::string PointText(const float* point)
{
    char text[64];
    snprintf(text, sizeof(text), "(%g, %g, %g)", static_cast<double>(point[0]),
             static_cast<double>(point[1]), static_cast<double>(point[2]));
    return text;
}

static void AppendSummary(const std::string& label, const TriangleMesh& mesh, std::string* text)
{
    MeshVertex low = mesh.vertices[0];
    MeshVertex high = mesh.vertices[0];
    for (const MeshVertex& vertex : mesh.vertices)
    {
        for (int k = 0; k < 3; ++k)
        {
            low.position[k] = fminf(low.position[k], vertex.position[k]);
            high.position[k] = fmaxf(high.position[k], vertex.position[k]);
        }
    }
    AppendLine(label, text,
               "vertices %zu, triangles %zu, texture coordinate sets %u, from %s to %s",
               mesh.vertices.size(), mesh.indices.size() / 3, mesh.texCoordSets,
               PointText(low.position).c_str(), PointText(high.position).c_str());
}

static void AppendNotes(const std::string& label, const ImportNotes& notes, uint32_t texCoordSets,
                        std::string* text)
{
    AppendLacking(label, notes, 0, text);
    if (texCoordSets == 2)
    {
        AppendLacking(label, notes, 1, text);
    }
    if (notes.withoutNormals != 0)
    {
        AppendLine(label, text, "no normals in %llu of %llu meshes: smooth ones were made",
                   static_cast<unsigned long long>(notes.withoutNormals),
                   static_cast<unsigned long long>(notes.meshes));
    }
    if (notes.zeroNormals != 0)
    {
        AppendLine(label, text, "normals without a length: %llu, smooth ones were made",
                   static_cast<unsigned long long>(notes.zeroNormals));
    }
    if (notes.longNormals != 0)
    {
        AppendLine(label, text, "normals that were not 1 long: %llu, now they are",
                   static_cast<unsigned long long>(notes.longNormals));
    }
    if (notes.isUnchecked)
    {
        AppendLine(label, text,
                   "the file breaks its format's rules somewhere; its triangles are "
                   "taken over");
    }
    if (notes.droppedFaces != 0)
    {
        AppendLine(label, text, "points and lines dropped: %llu",
                   static_cast<unsigned long long>(notes.droppedFaces));
    }
}

/// @return null, or what is wrong with the scene
static const char* TakeScene(const aiScene* scene, const MeshOptions& options, TriangleMesh* mesh,
                             ImportNotes* notes)
{
    if (scene->mRootNode == nullptr ||
        !AppendNode(scene, scene->mRootNode, aiMatrix4x4(), options, mesh, notes))
    {
        return "too many vertices";
    }
    if (notes->hasBadIndex)
    {
        return "a triangle names a vertex that is not there";
    }
    if (mesh->indices.empty())
    {
        return "no triangle in it";
    }
    mesh->texCoordSets = notes->lacking[1] < notes->meshes ? 2 : 1;

    // Unused vertices go before the bounding box is measured.
    MakeMissingNormals(mesh);
    JoinIdenticalVertices(mesh);
    if (options.makesNormals)
    {
        SmoothNormals(mesh, options.smoothAngle);
        JoinIdenticalVertices(mesh);
    }
    if (options.isForCache)
    {
        OrderForCache(mesh);
    }
    Arrange(options, mesh);
    return IsFinite(*mesh) ? nullptr : "a vertex holds a number that is not finite";
}

/// Whether a PLY file's header ends, with a line of its own. If it does not, Assimp never stops
/// reading. Other files have no such header.
static bool HasHeaderEnd(const Bytes& file)
{
    const std::string_view text(reinterpret_cast<const char*>(file.data()), file.size());
    if (!text.starts_with("ply"))
    {
        return true;
    }
    return text.find("\nend_header\n") != std::string_view::npos ||
           text.find("\nend_header\r") != std::string_view::npos ||
           text.find("\rend_header\r") != std::string_view::npos;
}

/// A mesh as a model file, and what to tell of it.
struct ImportedMesh
{
    bool isDone;
    std::string text; // lines to print; what is wrong if it is not done
    Bytes model;
};

static ImportedMesh RefuseMesh(const std::string& what)
{
    return {false, what, {}};
}

/// Whether the first lines of a mesh say that its v counts as pieces do.
static bool SaysUpperV(const Bytes& file)
{
    static constexpr size_t kHead = 1000; // bytes
    const std::string_view head(reinterpret_cast<const char*>(file.data()),
                                std::min(file.size(), kHead));
    return head.find(kUpperVRemark) != std::string_view::npos;
}

/// Assimp counts v from the lower edge in all formats, and so turns round that of glTF, which
/// counts as pieces do.
/// @return the options with what is to be done with Assimp's v
static MeshOptions OptionsFor(const std::string& path, const Bytes& file, MeshOptions options)
{
    const std::string ending = path.substr(std::min(path.rfind('.'), path.size()));
    const bool isGltf =
        strcasecmp(ending.c_str(), ".gltf") == 0 || strcasecmp(ending.c_str(), ".glb") == 0;
    if (options.v == VDirection::kOfFormat)
    {
        options.v = isGltf || SaysUpperV(file) ? VDirection::kKept : VDirection::kFlipped;
    }
    const bool isFlipped = (options.v == VDirection::kFlipped) != isGltf;
    options.v = isFlipped ? VDirection::kFlipped : VDirection::kKept;
    return options;
}

/// Reads a mesh. The library may end the process, or take all of its memory and time.
/// @param options   of OptionsFor
static ImportedMesh ImportMesh(const std::string& path, const MeshOptions& options,
                               const std::string& label)
{
    ImportNotes notes = {};
    const aiScene* scene =
        aiImportFile(path.c_str(), aiProcess_ValidateDataStructure | aiProcess_Triangulate);
    const std::string refused = scene == nullptr ? aiGetErrorString() : "";
    if (scene == nullptr)
    {
        // One empty solid, or a light without a node, is no reason to refuse all the rest.
        notes.isUnchecked = true;
        scene = aiImportFile(path.c_str(), aiProcess_Triangulate);
    }
    if (scene == nullptr)
    {
        return RefuseMesh(Printable(refused));
    }
    TriangleMesh mesh = {};
    const char* fault = TakeScene(scene, options, &mesh, &notes);
    aiReleaseImport(scene);
    if (fault != nullptr)
    {
        return RefuseMesh(fault);
    }

    ImportedMesh imported = {true, "", {}};
    AppendSummary(label, mesh, &imported.text);
    AppendNotes(label, notes, mesh.texCoordSets, &imported.text);
    return EncodeModel(mesh, &imported.model) ? imported
                                              : RefuseMesh("the model would be larger than 4 GiB");
}

/// The form in which a child process gives a mesh: whether it is done, the length of the text, the
/// text, the model.
static constexpr size_t kMessageHead = 5; // bytes

static void WriteMessage(const ImportedMesh& imported, Bytes* message)
{
    message->resize(kMessageHead);
    (*message)[0] = imported.isDone ? 1 : 0;
    StoreLittleEndian32(static_cast<uint32_t>(imported.text.size()), message->data() + 1);
    message->insert(message->end(), imported.text.begin(), imported.text.end());
    message->insert(message->end(), imported.model.begin(), imported.model.end());
}

static ImportedMesh ReadMessage(const Bytes& message)
{
    const size_t length =
        message.size() < kMessageHead ? SIZE_MAX : LoadLittleEndian32(message.data() + 1);
    if (length > message.size() - kMessageHead)
    {
        return RefuseMesh("the import gave no model");
    }
    const auto text = message.begin() + kMessageHead;
    const auto model = text + static_cast<ptrdiff_t>(length);
    return {message[0] == 1, {text, model}, {model, message.end()}};
}

static bool ConvertModelPly(const std::string& path, const Bytes& ply, Bytes* model)
{
    const std::string fault = ReadModelPly(ply, model);
    if (!fault.empty())
    {
        ReportError("%s: %s", Printable(path).c_str(), fault.c_str());
    }
    return fault.empty();
}

bool ReadMesh(const std::string& path, const MeshOptions& options, const std::string& label,
              Bytes* model)
{
    Bytes file;
    if (!ReadWholeFile(path, kLargestInflatedSize, &file))
    {
        return false;
    }
    if (IsModelPly(file))
    {
        return ConvertModelPly(path, file, model);
    }
    if (!HasHeaderEnd(file))
    {
        ReportError("%s: its header has no end", Printable(path).c_str());
        return false;
    }
    const MeshOptions made = OptionsFor(path, file, options);
    Bytes message;
    const std::string end = RunInChild(
        kImportLimits,
        [&path, &made, &label](Bytes* output)
        { WriteMessage(ImportMesh(path, made, label), output); },
        &message);
    ImportedMesh imported = end.empty() ? ReadMessage(message) : RefuseMesh("its import " + end);
    if (!imported.isDone)
    {
        ReportError("%s: %s", Printable(path).c_str(), imported.text.c_str());
        return false;
    }
    if (!options.isQuiet)
    {
        fputs(imported.text.c_str(), stdout);
    }
    model->swap(imported.model);
    return true;
}

bool ConvertMesh(const std::string& path, const MeshOptions& options, const std::string& label,
                 Bytes* container)
{
    Bytes model;
    return ReadMesh(path, options, label, &model) && PackContainer(model, container);
}

bool ConvertMeshFile(const std::string& in, const std::string& out, const MeshOptions& options,
                     bool isForced)
{
    Bytes container;
    return MayOverwrite(out, FileKind::kPackedOther, isForced) &&
           ConvertMesh(in, options, Printable(out), &container) &&
           ReplaceFile(out, container.data(), container.size());
}
