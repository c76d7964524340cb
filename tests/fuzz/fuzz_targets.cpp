// SPDX-License-Identifier: MIT
#include "fuzz/fuzz_targets.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <tinyxml.h>
#include <zlib.h>

#include "engine/check/check_piece.h"
#include "engine/data/byte_order.h"
#include "engine/data/compressed_entry.h"
#include "engine/data/cos_table.h"
#include "engine/data/document_text.h"
#include "engine/data/package_file.h"
#include "engine/piece/piece.h"
#include "engine/render/piece_run.h"
#include "engine/textures/corner_masks.h"
#include "engine/textures/decode_image.h"
#include "music/load_module.h"
#include "music/module_gate.h"
#include "music/module_sound.h"
#include "played_document.h"
#include "support/package_builder.h"
#include "support/recorded_gl.h"
#include "support/small_piece.h"
#include "support/temporary_folder.h"
#include "support/tone_module.h"
#include "tools/mesh_import.h"
#include "tools/triangle_mesh.h"

/// The budget of a fuzzed piece, so that a sanitizer's shadow has room beside it.
static constexpr uint64_t kFuzzBudget = 64u << 20; // bytes

static std::string TextOf(const uint8_t* bytes, size_t size)
{
    return std::string(reinterpret_cast<const char*>(bytes), size);
}

static const uint8_t* BytesOf(const std::string& text)
{
    return reinterpret_cast<const uint8_t*>(text.data());
}

/// Ends the process where a promise does not hold.
static void Require(bool holds, const char* promise)
{
    if (!holds)
    {
        fprintf(stderr, "broken: %s\n", promise);
        abort();
    }
}

/// A container whose bytes stand in it as they are, so that a change of one changes the content.
static std::string StoredContainer(const std::string& content)
{
    uLongf size = compressBound(content.size());
    std::string container(4 + size, '\0');
    uint8_t* bytes = reinterpret_cast<uint8_t*>(container.data());
    StoreLittleEndian32(static_cast<uint32_t>(content.size()), bytes);
    Require(compress2(bytes + 4, &size, BytesOf(content), content.size(), 0) == Z_OK,
            "zlib stores");
    container.resize(4 + size);
    return container;
}

/// Opens a package in memory, with a small budget.
static bool OpenSmall(const uint8_t* bytes, size_t size, PackageFile* package, FaultList* faults)
{
    if (!OpenPackageMemory(bytes, size, package, faults))
    {
        return false;
    }
    package->budget.bytesLeft = kFuzzBudget;
    return true;
}

static void ReadEntry(PackageFile* package, const std::string& name)
{
    FaultList faults = {};
    int32_t size = 0;
    unsigned char* entry = ReadPackageEntry(package, name.c_str(), &size, &faults);
    if (entry != nullptr)
    {
        uint8_t padding = 0;
        for (uint32_t i = 0; i < kEntryPadding; ++i)
        {
            padding |= entry[size + static_cast<int32_t>(i)];
        }
        Require(size >= 0 && padding == 0, "an entry ends in zeros");
    }
    free(entry);
    FreeFaults(&faults);
}

/// The directory, and the entries that it names.
static void FuzzPackage(const uint8_t* bytes, size_t size)
{
    static constexpr uint32_t kMostRead = 16;
    FaultList faults = {};
    PackageFile package;
    if (OpenSmall(bytes, size, &package, &faults))
    {
        for (const char* name : {"", "loading.xmlz", "a"})
        {
            ReadEntry(&package, name);
        }
        for (uint32_t i = 0; i < package.entryCount && i < kMostRead; ++i)
        {
            const char* entry =
                reinterpret_cast<const char*>(package.directory) + size_t{i} * kPackageEntrySize;
            ReadEntry(&package, std::string(entry, strnlen(entry, kPackageNameSize)));
        }
        ClosePackage(&package);
    }
    FreeFaults(&faults);
}

static std::vector<std::string> PackageSeeds()
{
    return {MakePackage({}), MakePackage({{"a", "content"}, {"a", "again"}, {"", "no name"}}),
            MakePackage({{std::string(32, 'a'), "long"}, {std::string(31, 'a'), ""}})};
}

/// One entry, inflated. Its size chooses the lead.
static void FuzzContainer(const uint8_t* bytes, size_t size)
{
    const std::string file = MakePackage({{"e", TextOf(bytes, size)}});
    FaultList faults = {};
    PackageFile package;
    if (OpenSmall(BytesOf(file), file.size(), &package, &faults))
    {
        const uint32_t lead = static_cast<uint32_t>(size % 16);
        InflatedEntry entry = {};
        if (InflatePackageEntry(&package, "e", lead, kLargestText, &entry, &faults))
        {
            Require(entry.length <= entry.storedSize, "no more is inflated than is stored");
            Require(reinterpret_cast<uintptr_t>(entry.data + lead) % 16 == 0, "the lead is kept");
            FreeInflatedEntry(&entry);
        }
        ClosePackage(&package);
    }
    FreeFaults(&faults);
}

static std::vector<std::string> ContainerSeeds()
{
    return {MakeContainer(""), MakeContainer("hello hello hello"),
            StoredContainer("hello hello hello"), MakeContainer(std::string(100000, 'a'))};
}

static void FuzzText(const uint8_t* bytes, size_t size)
{
    FaultList faults = {};
    TiXmlDocument document;
    LoadFromString(&document, bytes, static_cast<long>(size), TIXML_ENCODING_UNKNOWN, &faults);
    FreeFaults(&faults);
}

static std::vector<std::string> TextSeeds()
{
    return {"<?xml version=\"1.0\" encoding=\"UTF-8\"?><a b='&#x41;'>text &amp; more</a>",
            "<a><!-- c --><![CDATA[d]]><e f=\"1\"/>\r\n\xC3\xA4</a>", "<a>\xF0"};
}

/// Opens a piece without computing pixels, which would take most of the time.
static void OpenAndClose(const std::string& file)
{
    FaultList faults = {};
    Piece piece = {};
    PieceState state = {};
    const PieceSource source = {nullptr, BytesOf(file), file.size(), false};
    OpenPiece(&source, &piece, &state, &faults);
    FreePieceState(&state);
    ClosePiece(&piece);
    FreeFaults(&faults);
}

/// The text of a document, into all its records.
static void FuzzDocument(const uint8_t* bytes, size_t size)
{
    OpenAndClose(MakePackage({{"demo.xmlz", StoredContainer(TextOf(bytes, size))}}));
}

static std::vector<std::string> DocumentSeeds()
{
    DocumentSource source = SmallDocument();
    source.sections[2].clear(); // models and bitmaps lie in no package here
    source.sections[6].clear();
    return {MakeDocumentText(source), MakeDocumentText({})};
}

/// A package with one model, in its container.
static std::string ModelPiece(const std::string& container)
{
    DocumentSource source;
    source.sections[2] = "<m filename=\"m\"/>";
    source.sections[10] = "<row/>";
    return MakePackage({{"demo.xmlz", MakeDocument(source)}, {"m", container}});
}

/// The inside of a model file, into its record.
static void FuzzModel(const uint8_t* bytes, size_t size)
{
    OpenAndClose(ModelPiece(StoredContainer(TextOf(bytes, size))));
}

static std::vector<std::string> ModelSeeds()
{
    std::string triangle("\3\0\0\0\1", 5);
    triangle.append(size_t{3} * 32, '\0');
    triangle += std::string("\0\0\0\0\1\0\0\0\2\0\0\0", 12);
    return {triangle, std::string(5, '\0')};
}

static void FuzzBitmap(const uint8_t* bytes, size_t size)
{
    static constexpr uint64_t kLargestPixels = 4u << 20; // bytes
    DecodedImage image;
    const char* reason = nullptr;
    const DecodeResult result =
        DecodeImage(bytes, static_cast<int32_t>(size), kLargestPixels, &image, &reason);
    Require((result == DecodeResult::kDecoded) == (image.pixels != nullptr),
            "pixels come with an image");
    Require((result == DecodeResult::kRefused) == (reason[0] != '\0'), "a refusal has a reason");
    free(image.pixels);
}

static std::vector<std::string> BitmapSeeds()
{
    // Two by two pixels of a PPM, and of a TGA without a signature.
    return {"P6 2 2 255\nabcdefghijkl",
            std::string("\0\0\2\0\0\0\0\0\0\0\0\0\2\0\2\0\x18\0", 18) + "abcdefghijkl"};
}

/// The first second of a module's music, and its rows up to there.
static void FuzzModule(const uint8_t* bytes, size_t size)
{
    static constexpr uint32_t kMostFrames = kModuleRate;
    std::string file = TextOf(bytes, size) + std::string(kModulePadding, '\0');
    const ModuleFile module = {reinterpret_cast<unsigned char*>(file.data()), size};
    FaultList faults = {};
    ModuleSound sound = {};
    Require(RenderModule(&module, kMostFrames, &sound, &faults), "a module is rendered");
    ModuleRows rows = {};
    Require(FindModuleRows(&module, kMostFrames, &rows, &faults), "a module's rows are found");
    FreeModuleRows(&rows);
    FreeModuleSound(&sound);
    FreeFaults(&faults);
}

static std::vector<std::string> ModuleSeeds()
{
    return {MakeToneModule(1), MakeToneModule(16)};
}

/// The model file inside a container has to be one that a piece can use.
static void RequireModel(const std::vector<unsigned char>& container)
{
    const std::string file = ModelPiece({container.begin(), container.end()});
    FaultList faults = {};
    Piece piece = {};
    PieceState state = {};
    const PieceSource opened = {nullptr, BytesOf(file), file.size(), false};
    const bool isOpen = OpenPiece(&opened, &piece, &state, &faults);
    Require(isOpen, isOpen ? "" : GetFault(&faults, 0)->text);
    FreePieceState(&state);
    ClosePiece(&piece);
    FreeFaults(&faults);
}

/// A mesh of the format that its first byte chooses.
static void FuzzMesh(const uint8_t* bytes, size_t size)
{
    static constexpr const char* kNames[] = {"mesh.ply", "mesh.dae", "mesh.obj", "mesh.stl"};
    if (size == 0)
    {
        return;
    }
    const TemporaryFolder folder;
    const std::string name = kNames[bytes[0] % 4];
    folder.Write(name, TextOf(bytes + 1, size - 1));
    std::vector<unsigned char> container;
    MeshOptions options = {};
    options.isQuiet = true;
    if (ConvertMesh(folder.path + "/" + name, options, "mesh", &container))
    {
        RequireModel(container);
    }
}

static std::vector<std::string> MeshSeeds()
{
    const std::string ply = "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\n"
                            "property float y\nproperty float z\nelement face 1\n"
                            "property list uchar int vertex_indices\nend_header\n"
                            "0 0 0\n1 0 0\n0 1 0\n3 0 1 2\n";
    const std::string stl = "solid a\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\n"
                            "vertex 1 0 0\nvertex 0 1 0\nendloop\nendfacet\nendsolid a\n";
    return {std::string(1, '\0') + ply, "\2v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n", "\3" + stl};
}

/// Vertices and triangles as an import gives them, made smooth and joined. The first byte is the
/// number of vertices; each has a byte that tells whether it has a normal.
static void FuzzTriangles(const uint8_t* bytes, size_t size)
{
    const size_t count = size == 0 ? 0 : bytes[0];
    const size_t step = sizeof(MeshVertex) + 1;
    if (count == 0 || size < 1 + count * step)
    {
        return;
    }
    TriangleMesh mesh = {};
    mesh.texCoordSets = 1 + bytes[1] % 2;
    for (size_t i = 0; i < count; ++i)
    {
        MeshVertex vertex;
        memcpy(&vertex, bytes + 1 + i * step, sizeof(vertex));
        mesh.vertices.push_back(vertex);
        mesh.hasNormal.push_back(bytes[(i + 1) * step] & 1);
    }
    for (size_t i = 1 + count * step; i + 3 <= size; i += 3)
    {
        for (size_t k = 0; k < 3; ++k)
        {
            mesh.indices.push_back(static_cast<uint32_t>(bytes[i + k] % count));
        }
    }
    MakeMissingNormals(&mesh);
    JoinIdenticalVertices(&mesh);
    Bytes model;
    Require(EncodeModel(mesh, &model), "a small mesh becomes a model");
    const std::string container = StoredContainer({model.begin(), model.end()});
    RequireModel({container.begin(), container.end()});
}

static std::vector<std::string> TriangleSeeds()
{
    std::string seed = "\4";
    for (int i = 0; i < 4; ++i)
    {
        MeshVertex vertex = {};
        vertex.position[i % 3] = static_cast<float>(i);
        vertex.normal[2] = 1.0f;
        seed.append(reinterpret_cast<const char*>(&vertex), sizeof(vertex));
        seed += static_cast<char>(i & 1);
    }
    return {seed + std::string("\0\1\2\2\1\3", 6), seed};
}

/// A whole package, opened and drawn for some ticks through an OpenGL that reads all that a driver
/// reads.
static void FuzzPiece(const uint8_t* bytes, size_t size)
{
    static constexpr uint32_t kTimes[] = {0, 1, 50, 109, 150, 399, 1000};
    ResetGl();
    FaultList faults = {};
    PieceRun run = {};
    if (StartRun(&run, &faults) && OpenSmall(bytes, size, &run.piece.package, &faults))
    {
        run.features = {1, 1, 1, 1};
        LoadRunDocument(&run, RunDocument::kLoading, nullptr);
        if (!HasFailed(&faults))
        {
            LoadRunDocument(&run, RunDocument::kDemo, nullptr);
        }
        for (const uint32_t time : kTimes)
        {
            const FrameSources sources = RunSources(&run, RunDocument::kDemo);
            const FrameRequest request = {1.6f, time, 640, 480};
            if (!HasFailed(&faults))
            {
                RenderFrame(&sources, &request);
            }
        }
    }
    CloseRun(&run);
    FreeFaults(&faults);
    Require(GlLiveTextures() == 0 && GlLiveBuffers() == 0, "a piece gives its names back");
    ResetGl();
}

static std::string StoredPiece(const std::string& loading, const std::string& demo)
{
    // Both texts as they are; models and images come from the small piece.
    const std::string small = SmallPieceOf("", "");
    FaultList faults = {};
    PackageFile package;
    Require(OpenPackageMemory(BytesOf(small), small.size(), &package, &faults),
            "the small piece opens");
    std::vector<PackageEntry> entries = {{kLoadingDocumentName, StoredContainer(loading)},
                                         {kDemoDocumentName, StoredContainer(demo)}};
    for (uint32_t i = 0; i < package.entryCount; ++i)
    {
        const std::string name =
            reinterpret_cast<const char*>(package.directory) + size_t{i} * kPackageEntrySize;
        int32_t size = 0;
        unsigned char* entry = ReadPackageEntry(&package, name.c_str(), &size, &faults);
        if (entry != nullptr && !name.ends_with(".xmlz"))
        {
            entries.push_back({name, TextOf(entry, static_cast<size_t>(size))});
        }
        free(entry);
    }
    ClosePackage(&package);
    FreeFaults(&faults);
    return MakePackage(entries);
}

static std::vector<std::string> PieceSeeds()
{
    const std::string quick = MakeDocumentText(QuickDocument());
    return {StoredPiece(MakeDocumentText({}), quick), StoredPiece(quick, MakeDocumentText({})),
            SmallPiece()};
}

/// A document, checked and played: it ends with a fault exactly where the check tells an error. The
/// first byte chooses which of the two documents of the piece it is.
static void FuzzPromise(const uint8_t* bytes, size_t size)
{
    if (size == 0)
    {
        return;
    }
    const std::string text = TextOf(bytes + 1, size - 1);
    const std::string quick = MakeDocumentText(QuickDocument());
    const std::string package =
        bytes[0] % 4 == 0 ? SmallPieceOf(text, quick) : SmallPieceOf(quick, text);

    std::string fault;
    const PlayedTo played = PlayPackage(package, &fault);
    const CheckRequest request = {nullptr, BytesOf(package), package.size(), nullptr};
    CheckResult result;
    CheckPiece(&request, &result);
    if (played == PlayedTo::kNever)
    {
        return; // too long for a test
    }
    const bool isClean = CountFindings(result.findings, Severity::kError) == 0;
    for (const Finding& finding : result.findings)
    {
        if (finding.severity == Severity::kError && played == PlayedTo::kEnd)
        {
            fprintf(stderr, "checked: %s\n", finding.text.c_str());
        }
    }
    if (isClean && played == PlayedTo::kFault)
    {
        fprintf(stderr, "played: %s\n", fault.c_str());
    }
    Require(isClean == (played == PlayedTo::kEnd), "a piece without an error plays");
}

static std::vector<std::string> PromiseSeeds()
{
    const std::string quick = MakeDocumentText(QuickDocument());
    return {"\1" + quick, std::string(1, '\0') + MakeDocumentText({})};
}

const FuzzTarget kFuzzTargets[kFuzzTargetCount] = {
    {"package", FuzzPackage, PackageSeeds},
    {"container", FuzzContainer, ContainerSeeds},
    {"text", FuzzText, TextSeeds},
    {"document", FuzzDocument, DocumentSeeds},
    {"model", FuzzModel, ModelSeeds},
    {"bitmap", FuzzBitmap, BitmapSeeds},
    {"module", FuzzModule, ModuleSeeds},
    {"mesh", FuzzMesh, MeshSeeds},
    {"triangles", FuzzTriangles, TriangleSeeds},
    {"piece", FuzzPiece, PieceSeeds},
    {"promise", FuzzPromise, PromiseSeeds},
};

void PrepareFuzzTargets()
{
    BuildCosTable();
    BuildCornerMasks();
}

const FuzzTarget* FindFuzzTarget(const std::string& name)
{
    for (const FuzzTarget& target : kFuzzTargets)
    {
        if (name == target.name)
        {
            return &target;
        }
    }
    return nullptr;
}
