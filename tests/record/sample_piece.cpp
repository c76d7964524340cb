// SPDX-License-Identifier: MIT
#include "record/sample_piece.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <zlib.h>

static constexpr const char* kDemo = "demo.xmlz";
static constexpr const char* kLoading = "loading.xmlz";
static constexpr uint32_t kSampleMs = 120000;
// Frames of faulty runs: one sees the first mesh that is generated, at 67 seconds, and one the
// first clip that feeds a bitmap with its own picture, at 89 seconds.
static constexpr uint32_t kFaultStepMs = 22390;
static constexpr uint32_t kLoadingReadings = 740; // about as many as loading takes

[[noreturn]] static void Fail(const std::string& what)
{
    fprintf(stderr, "sample piece: %s\n", what.c_str());
    abort();
}

static uint32_t BigEndian(const std::string& bytes, size_t at)
{
    uint32_t value = 0;
    for (size_t i = at; i < at + 4; ++i)
    {
        value = value << 8 | static_cast<uint8_t>(bytes[i]);
    }
    return value;
}

static std::vector<PackageEntry> ReadEntries(const std::string& package)
{
    std::vector<PackageEntry> entries;
    for (size_t at = 3; package[at] != '\0'; at += 40)
    {
        uint32_t start = BigEndian(package, at + 32);
        uint32_t end = BigEndian(package, at + 36);
        std::string name = package.substr(at, 32);
        entries.push_back({name.c_str(), package.substr(start, end + 1 - start)});
    }
    return entries;
}

static std::string* FindEntry(std::vector<PackageEntry>* entries, const std::string& name)
{
    for (PackageEntry& entry : *entries)
    {
        if (entry.name == name)
        {
            return &entry.bytes;
        }
    }
    Fail("no entry " + name);
}

static void RemoveEntry(std::vector<PackageEntry>* entries, const std::string& name)
{
    FindEntry(entries, name);
    std::erase_if(*entries, [&name](const PackageEntry& entry) { return entry.name == name; });
}

static std::string OpenContainer(const std::string& container)
{
    uint32_t size;
    memcpy(&size, container.data(), sizeof(size)); // little-endian, as this machine
    std::string content(size, '\0');
    uLongf got = size;
    int result = uncompress(reinterpret_cast<Bytef*>(content.data()), &got,
                            reinterpret_cast<const Bytef*>(container.data() + sizeof(size)),
                            static_cast<uLong>(container.size() - sizeof(size)));
    if (result != Z_OK || got != size)
    {
        Fail("a damaged container");
    }
    return content;
}

/// An edit of a document's text: the first place where `from` stands in a section.
struct TextFault
{
    const char* name;
    const char* entry;
    const char* section; // the name that the document gives it
    const char* from;
    const char* to;
};

static constexpr TextFault kTextFaults[] = {
    // layers and textures
    {"fault-layer-type-unknown", kDemo, "layers", "type=\"", "type=\"9"},
    {"fault-layer-without-type", kDemo, "layers", "type=", "kind="},
    {"fault-layer-parameter-no-number", kDemo, "layers", "<p>1</p>", "<p>one</p>"},
    {"fault-layer-parameter-empty", kDemo, "layers", "<p>1</p>", "<p></p>"},
    {"fault-texture-layer-missing", kDemo, "textures", " id=\"", " id=\"9"},
    {"fault-texture-step-without-type", kDemo, "textures", "type=", "kind="},
    {"fault-texture-step-unknown", kDemo, "textures", "type=\"101\"", "type=\"105\""},
    {"fault-loading-texture-layer", kLoading, "textures", " id=\"0\"", " id=\"1\""},
    // models
    {"fault-model-not-in-package", kDemo, "models", "knot.model", "not.model"},
    {"fault-model-without-name", kDemo, "models", "filename=", "file="},
    {"fault-model-is-an-image", kDemo, "models", "knot.model", "flare.png"},
    {"fault-loading-model-missing", kLoading, "models", "wedge.model", "hedge.model"},
    // envelopes
    {"fault-envelope-without-loop", kDemo, "envelopes", "loop_end=", "loop_stop="},
    {"fault-envelope-function-unknown", kDemo, "envelopes", "<piece type=\"1\"",
     "<piece type=\"6\""},
    {"fault-envelope-piece-without-length", kDemo, "envelopes", "length=", "size="},
    {"fault-envelope-length-zero", kDemo, "envelopes", "length=\"800\"", "length=\"0\""},
    {"fault-envelope-without-piece-type", kDemo, "envelopes", "<piece type=", "<piece kind="},
    // lights
    {"fault-light-without-value", kDemo, "lights", "value=", "val="},
    {"fault-light-group-missing", kDemo, "lights", "<position>", "<diffuse/><position>"},
    {"fault-light-empty-group", kDemo, "lights", "<ambient>", "<ambient/><ambient>"},
    {"fault-light-envelope-missing", kDemo, "lights", "\"dynamic\" value=\"",
     "\"dynamic\" value=\"99"},
    // effects
    {"fault-effect-type-unknown", kDemo, "effects", "type=\"0\"", "type=\"4\""},
    {"fault-effect-envelope-missing", kDemo, "effects", "<p>1</p>", "<p>4000</p>"},
    {"fault-effect-without-resolution", kDemo, "effects", "resolution=", "size="},
    {"fault-effect-of-another-size", kDemo, "effects", "64x64", "63x64"},
    // bitmaps
    {"fault-bitmap-not-in-package", kDemo, "bitmaps", "flare.png", "glare.png"},
    {"fault-bitmap-is-a-model", kDemo, "bitmaps", "flare.png", "knot.model"},
    {"fault-bitmap-without-name", kDemo, "bitmaps", "filename=", "name="},
    // materials
    {"fault-material-type-unknown", kDemo, "materials", "type=\"0\"", "type=\"24\""},
    {"fault-material-without-type", kDemo, "materials", "<material type=", "<material kind="},
    {"fault-material-texture-missing", kDemo, "materials", "<texture value=\"",
     "<texture value=\"40"},
    {"fault-material-without-value", kDemo, "materials", "value=", "val="},
    // meshes and scenes
    {"fault-genmesh-empty", kDemo, "meshes", ">", "><genmesh type=\"0\"/>"},
    {"fault-genmesh-envelope-missing", kDemo, "meshes", "<p>", "<p>99"},
    {"fault-object-model-missing", kDemo, "scenes", "object=\"", "object=\"99"},
    {"fault-object-material-missing", kDemo, "scenes", "material=\"", "material=\"99"},
    {"fault-object-of-another-kind", kDemo, "scenes", "<object type=\"0\"", "<object type=\"2\""},
    {"fault-object-too-short", kDemo, "scenes", "<shift value=\"0\"/>", ""},
    {"fault-object-envelope-missing", kDemo, "scenes", "\"dynamic\" value=\"",
     "\"dynamic\" value=\"99"},
    {"fault-object-visible-no-number", kDemo, "scenes", "<visible value=\"0\"/>",
     "<visible value=\"no\"/>"},
    {"fault-loading-material-missing", kLoading, "scenes", "material=\"", "material=\"99"},
    // the timeline
    {"fault-clip-scene-missing", kDemo, "timeline", "<clip id=\"43", "<clip id=\"9943"},
    {"fault-clip-target-missing", kDemo, "timeline", "rtex=\"11\"", "rtex=\"14\""},
    {"fault-clip-without-target", kDemo, "timeline", " rtex=", " bitmap="},
    {"fault-clip-pass-unknown", kDemo, "timeline", "type=\"5\"", "type=\"6\""},
    {"fault-clip-without-length", kDemo, "timeline", " length=", " size="},
    {"fault-clip-fog-color-missing", kDemo, "timeline", "<colour value=\"", "<colour value=\"99"},
    {"fault-clip-camera-too-short", kDemo, "timeline", "<rz type=\"static\" value=\"0\"/>", ""},
    {"fault-timeline-loose-text", kDemo, "timeline", "<row>", "text<row>"},
    {"fault-timeline-comment", kDemo, "timeline", "<row>", "<!-- one --><row>"},
};

/// Puts a fault into a document.
static void ApplyTextFault(const TextFault& fault, std::vector<PackageEntry>* entries)
{
    std::string* container = FindEntry(entries, fault.entry);
    std::string text = OpenContainer(*container);
    size_t section = text.find("<" + std::string(fault.section) + ">");
    size_t end = text.find("</" + std::string(fault.section) + ">");
    size_t at = section == std::string::npos ? section : text.find(fault.from, section);
    if (at == std::string::npos || at > end)
    {
        Fail(std::string(fault.name) + ": nothing to spoil");
    }
    text.replace(at, strlen(fault.from), fault.to);
    *container = MakeContainer(text);
}

/// A fault of the package, or of a document as a whole.
struct FileFault
{
    const char* name;
    void (*apply)(std::vector<PackageEntry>* entries);
};

static void CutText(std::vector<PackageEntry>* entries, const char* entry, const char* from)
{
    std::string* container = FindEntry(entries, entry);
    std::string text = OpenContainer(*container);
    *container = MakeContainer(text.substr(0, text.find(from)));
}

static constexpr FileFault kFileFaults[] = {
    {"fault-no-demo",
     [](auto entries)
     {
         RemoveEntry(entries, kDemo);
     }},
    {"fault-no-loading",
     [](auto entries)
     {
         RemoveEntry(entries, kLoading);
     }},
    {"fault-no-documents",
     [](auto entries)
     {
         RemoveEntry(entries, kDemo);
         RemoveEntry(entries, kLoading);
     }},
    {"fault-package-empty",
     [](auto entries)
     {
         entries->clear();
     }},
    {"fault-demo-empty",
     [](auto entries)
     {
         FindEntry(entries, kDemo)->clear();
     }},
    {"fault-demo-cut",
     [](auto entries)
     {
         FindEntry(entries, kDemo)->resize(5000);
     }},
    {"fault-demo-damaged",
     [](auto entries)
     {
         (*FindEntry(entries, kDemo))[700] ^= 0x55;
     }},
    {"fault-demo-without-timeline",
     [](auto entries)
     {
         CutText(entries, kDemo, "<timeline>");
     }},
    {"fault-demo-without-music",
     [](auto entries)
     {
         CutText(entries, kDemo, "<music");
     }},
    {"fault-demo-does-not-parse",
     [](auto entries)
     {
         CutText(entries, kDemo, "</lights>");
     }},
    {"fault-loading-without-scenes",
     [](auto entries)
     {
         CutText(entries, kLoading, "<scenes>");
     }},
    {"fault-model-missing",
     [](auto entries)
     {
         RemoveEntry(entries, "knot.model");
     }},
    {"fault-model-cut",
     [](auto entries)
     {
         FindEntry(entries, "knot.model")->resize(100);
     }},
    {"fault-model-index-too-large",
     [](auto entries)
     {
         std::string* container = FindEntry(entries, "knot.model");
         std::string model = OpenContainer(*container);
         model[model.size() - 2] = 1; // the third byte of the last index
         *container = MakeContainer(model);
     }},
    {"fault-bitmap-missing",
     [](auto entries)
     {
         RemoveEntry(entries, "flare.png");
     }},
    {"fault-bitmap-cut",
     [](auto entries)
     {
         FindEntry(entries, "flare.png")->resize(200);
     }},
    {"fault-bitmap-empty",
     [](auto entries)
     {
         FindEntry(entries, "flare.png")->clear();
     }},
};

/// The sample as it is, with choices of the viewer.
struct SampleRun
{
    const char* name;
    uint32_t frames; // spread over the whole piece; Escape ends the run after them
    bool isSilent;
    bool hasExtensions;
    bool isBare; // without buffer objects, in another window, with another aspect
};

static constexpr SampleRun kSampleRuns[] = {
    {"sample-silent", 48, true, true, false},
    {"sample-music", 12, false, true, false},
    {"sample-bare", 24, true, true, true},
    {"sample-without-extensions", 12, true, false, false},
};

std::vector<std::string> SampleRunNames()
{
    std::vector<std::string> names;
    for (const SampleRun& run : kSampleRuns)
    {
        names.push_back(run.name);
    }
    return names;
}

std::vector<std::string> SampleFaultNames()
{
    std::vector<std::string> names;
    for (const FileFault& fault : kFileFaults)
    {
        names.push_back(fault.name);
    }
    for (const TextFault& fault : kTextFaults)
    {
        names.push_back(fault.name);
    }
    return names;
}

/// Spreads frames over the piece.
static void SetFrames(PlayerRun* run, uint32_t frames, uint32_t blocksAFrame)
{
    run->earlyReadings = kLoadingReadings;
    run->stepMs = kSampleMs / frames - 7; // no round times, and a last frame before the end
    for (uint32_t i = 0; i < frames + 2; ++i)
    {
        run->polls.push_back({blocksAFrame, false, false, false});
    }
    run->polls.push_back({0, true, false, false});
}

static void AddFiles(PlayerRun* run, const std::vector<PackageEntry>& entries)
{
    run->files.push_back({"quorvale.dpk", MakePackage(entries)});
    run->files.push_back({"music/quorvale.xm", MakeModuleHead("module")});
}

static PlayerRun MakeFaultyRun(std::vector<PackageEntry>* entries)
{
    PlayerRun run;
    run.clicks.push_back(SwitchRow(2)); // no music
    SetFrames(&run, 5, 0);
    run.stepMs = kFaultStepMs;
    run.earlyStepMs = 1; // few frames of loading, so that the many faults take little time
    AddFiles(&run, *entries);
    return run;
}

PlayerRun MakeSampleRun(const std::string& package, const std::string& name)
{
    std::vector<PackageEntry> entries = ReadEntries(package);
    for (const TextFault& fault : kTextFaults)
    {
        if (name == fault.name)
        {
            ApplyTextFault(fault, &entries);
            return MakeFaultyRun(&entries);
        }
    }
    for (const FileFault& fault : kFileFaults)
    {
        if (name == fault.name)
        {
            fault.apply(&entries);
            return MakeFaultyRun(&entries);
        }
    }
    for (const SampleRun& sample : kSampleRuns)
    {
        if (name != sample.name)
        {
            continue;
        }
        PlayerRun run;
        SetFrames(&run, sample.frames, sample.isSilent ? 0 : 1);
        run.earlyStepMs = 5;
        AddFiles(&run, entries);
        if (sample.isSilent)
        {
            run.clicks.push_back(SwitchRow(2));
        }
        if (sample.isBare)
        {
            run.clicks.push_back(SwitchRow(3));
            run.clicks.push_back(ResolutionRow(15));
            run.clicks.push_back(AspectRow(1));
        }
        if (!sample.hasExtensions)
        {
            run.gl = {false, false, false, false, false};
        }
        run.modplug.moduleBytes = 20000000;
        run.sdl.blocksAtStart = 1;
        return run;
    }
    Fail("no run " + name);
}
