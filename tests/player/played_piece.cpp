#include "player/played_piece.h"

#include <GL/glew.h>
#include <algorithm>
#include <cstdio>
#include <iterator>
#include <sstream>
#include <unistd.h>

#include "engine/animation/envelope.h"
#include "engine/animation/light.h"
#include "engine/data/cos_table.h"
#include "engine/data/fault.h"
#include "engine/geometry/gen_mesh.h"
#include "engine/render/effect2d.h"
#include "engine/render/frame.h"
#include "engine/render/material.h"
#include "engine/render/scene.h"
#include "engine/textures/bitmap_texture.h"
#include "engine/textures/corner_masks.h"
#include "engine/textures/procedural_texture.h"
#include "player/inner_calls.h"
#include "player/run_demo.h"

static PlayScript running;
static uint32_t demoFramesDrawn;

LauncherResult RunLauncher(const char* title, LauncherChoice* choice, int* exitCode)
{
    RecordCall(std::string("RunLauncher ") + title);
    *choice = running.choice;
    *exitCode = running.launcherExitCode;
    return running.launcherQuits ? LauncherResult::kQuit : LauncherResult::kStart;
}

// Put in the place of recorded_gl's by the linker's --wrap.
GLenum RealGlewInit() asm("__real_glewInit");
GLenum WrappedGlewInit() asm("__wrap_glewInit");

GLenum WrappedGlewInit()
{
    if (running.glewFails)
    {
        RecordCall("glewInit fails");
        return GLEW_ERROR_NO_GL_VERSION;
    }
    return RealGlewInit();
}

static bool IsTableOf(const ObjectTable* table, size_t recordSize)
{
    return table != nullptr && table->recordSize == recordSize;
}

uint32_t RenderFrame(Timeline* timeline, ObjectTable* scenes, ObjectTable* materials,
                     ObjectTable* lights, ObjectTable* textures, ObjectTable* envelopes,
                     float aspect, ObjectTable* effects, ObjectTable* models, ObjectTable* bitmaps,
                     ObjectTable* genMeshes, uint32_t time, int32_t width, int32_t height,
                     int32_t vbo, int32_t pbo, int32_t npot, int32_t dot3)
{
    char line[256];
    snprintf(line, sizeof(line),
             "RenderFrame %s scene %u time %u %dx%d aspect %.9g vbo %d pbo %d npot %d dot3 %d",
             CurrentPlace.document, timeline->sceneId[0][0], time, width, height,
             static_cast<double>(aspect), vbo, pbo, npot, dot3);
    std::string call = line;

    if (scenes == nullptr && materials == nullptr && lights == nullptr && textures == nullptr &&
        envelopes == nullptr && effects == nullptr && models == nullptr && bitmaps == nullptr &&
        genMeshes == nullptr)
    {
        call += " no tables";
    }
    else if (!IsTableOf(scenes, sizeof(Scene)) || !IsTableOf(materials, sizeof(Material)) ||
             !IsTableOf(lights, sizeof(Light)) || !IsTableOf(textures, sizeof(ProceduralTexture)) ||
             !IsTableOf(envelopes, sizeof(Envelope)) || !IsTableOf(effects, sizeof(Effect2D)) ||
             !IsTableOf(models, sizeof(ModelData)) || !IsTableOf(bitmaps, sizeof(BitmapTexture)) ||
             !IsTableOf(genMeshes, sizeof(GenMesh)))
    {
        call += " wrong tables";
    }
    // What everything that is drawn or generated may use.
    bool masks = std::any_of(std::begin(CornerMasks), std::end(CornerMasks),
                             [](uint8_t byte) { return byte != 0; });
    if (cosLookup(0) != 1.0f || !masks)
    {
        call += " start-up tables are not built";
    }
    RecordCall(call);
    if (CurrentPlace.document == running.faultyFrames)
    {
        FatalFault("a frame is at fault");
    }

    bool isDemo = CurrentPlace.document == std::string("demo.xmlz");
    if (timeline->clipCount[0] == 0 || (isDemo && demoFramesDrawn == running.demoFrames))
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
            if (script.innerCalls)
            {
                FollowInnerCalls();
            }
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
    folder.Write("a.xm", "module");
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
