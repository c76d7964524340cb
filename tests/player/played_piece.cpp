// SPDX-License-Identifier: MIT
#include "player/played_piece.h"

#include <GL/glew.h>
#include <algorithm>
#include <cstdio>
#include <iterator>
#include <sstream>
#include <unistd.h>

#include "engine/data/cos_table.h"
#include "engine/render/frame.h"
#include "engine/render/records/timeline.h"
#include "engine/textures/corner_masks.h"
#include "player/run_demo.h"

static PlayScript running;
static uint32_t demoFramesDrawn;

LauncherResult RunLauncher(const char* title, LauncherChoice* choice, int* exitCode,
                           FaultList* /*faults*/)
{
    RecordCall(std::string("RunLauncher ") + title);
    *choice = running.choice;
    *exitCode = running.launcherExitCode;
    return running.launcherQuits ? LauncherResult::kQuit : LauncherResult::kStart;
}

/// @return whether a document has all of its tables, or none of them
static std::string TableFaults(const DemoDocument* document)
{
    const ObjectTable* const tables[] = {
        document->textures,  document->models,    document->envelopes,
        document->lights,    document->effects,   document->bitmaps,
        document->materials, document->genMeshes, document->scenes};
    const ptrdiff_t missing = std::count(std::begin(tables), std::end(tables), nullptr);
    if (missing == 0)
    {
        return "";
    }
    return missing == static_cast<ptrdiff_t>(std::size(tables)) ? " no tables" : " wrong tables";
}

uint32_t RenderFrame(const FrameSources* sources, const FrameRequest* request)
{
    const DemoDocument* document = sources->document;
    const GlFeatures& features = sources->features;
    char line[256];
    snprintf(line, sizeof(line),
             "RenderFrame %s scene %u time %u %dx%d aspect %.9g vbo %d pbo %d npot %d dot3 %d",
             document->name, document->timeline->sceneId[0][0], request->time, request->width,
             request->height, static_cast<double>(request->aspect), features.vbo, features.pbo,
             features.npot, features.dot3);
    std::string call = line + TableFaults(document);

    // Everything that is drawn or generated may use these.
    const bool masks = std::any_of(std::begin(CornerMasks), std::end(CornerMasks),
                                   [](uint8_t byte) { return byte != 0; });
    if (cosLookup(0) != 1.0f || !masks)
    {
        call += " start-up tables are not built";
    }
    if (sources->faults->place.document != document->name)
    {
        call += " another place";
    }
    RecordCall(call);
    if (document->name == running.faultyFrames)
    {
        AddFault(sources->faults, "a frame is at fault");
        return 0;
    }

    const bool isDemo = document->name == std::string("demo.xmlz");
    if (document->timeline->clipCount[0] == 0 || (isDemo && demoFramesDrawn == running.demoFrames))
    {
        return 0;
    }
    demoFramesDrawn += isDemo ? 1 : 0;
    return 1;
}

std::string Clip(uint32_t scene)
{
    std::string camera;
    for (int i = 0; i < 6; ++i)
    {
        camera += "<v type=\"static\" value=\"0\"/>";
    }
    return "<clip id=\"" + std::to_string(scene) +
           "\" space_before=\"0\" length=\"100\" offset=\"0\" type=\"0\">" + camera +
           "<fov type=\"ortographic\"/><fog type=\"0\"/></clip>";
}

DocumentSource LoadingSource()
{
    DocumentSource source;
    source.sections[10] = "<row>" + Clip(7) + "</row>";
    source.music = "<music/>";
    return source;
}

DocumentSource DemoSource()
{
    DocumentSource source;
    source.sections[10] = "<row>" + Clip(8) + "</row>";
    source.music = "<music file=\"a.xm\"/>";
    return source;
}

std::string PieceOf(const DocumentSource& loading, const DocumentSource& demo)
{
    return MakePackage(
        {{"loading.xmlz", MakeDocument(loading)}, {"demo.xmlz", MakeDocument(demo)}});
}

ChildRun Play(const TemporaryFolder& folder, const PlayScript& script)
{
    return RunInChild(
        [&folder, &script]()
        {
            running = script;
            Sdl = script.sdl;
            ModPlug = script.modplug;
            OfferGlExtensions(script.gl);
            if (chdir(folder.path.c_str()) != 0)
            {
                perror("played piece: chdir");
                return 99;
            }
            std::string program = "quorvale";
            std::vector<char*> argv = {program.data()};
            for (std::string& argument : running.arguments)
            {
                argv.push_back(argument.data());
            }
            argv.push_back(nullptr);
            return RunDemo(static_cast<int>(argv.size()) - 1, argv.data());
        });
}

ChildRun PlayUsualPiece(const PlayScript& script)
{
    TemporaryFolder folder;
    folder.Write("piece.dpk", PieceOf(LoadingSource(), DemoSource()));
    folder.Write("a.xm", MakeModuleHead("module"));
    return Play(folder, script);
}

std::string LinesWith(const std::string& record, const std::vector<std::string>& beginnings)
{
    std::istringstream lines(record);
    std::string found;
    for (std::string line; std::getline(lines, line);)
    {
        for (const std::string& beginning : beginnings)
        {
            if (line.compare(0, beginning.size(), beginning) == 0)
            {
                found += line + "\n";
                break;
            }
        }
    }
    return found;
}
