// SPDX-License-Identifier: MIT
#include "tools/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string>
#include <vector>

#include "tools/check_command.h"
#include "tools/command_facts.h"
#include "tools/container.h"
#include "tools/diff_command.h"
#include "tools/folder_build.h"
#include "tools/info_command.h"
#include "tools/inspect_command.h"
#include "tools/mesh_import.h"
#include "tools/overwrite.h"
#include "tools/package_commands.h"
#include "tools/piece_script.h"
#include "tools/render_command.h"
#include "tools/report.h"
#include "tools/rows_command.h"
#include "tools/size_command.h"
#include "tools/textures_command.h"
#include "tools/thumbnail_command.h"
#include "tools/unbuild_command.h"
#include "tools/vocabulary_command.h"

/// The values of all arguments. Each command uses some of them.
struct Arguments
{
    std::string file;
    std::string out = ".";          // where nothing has to be given
    std::string package;            // of a build; empty for one named after its folder
    std::vector<std::string> names; // entries, or paths
    BuildOptions build = {};
    bool json = false;
    bool isForced = false;
    bool isQuiet = false;
    bool isVerbose = false;
    std::string color = "auto";
    std::string up = "y";
    bool flipsV = false;
    bool keepsV = false;
    bool python = false;
    CheckOptions check = {};
    RenderOptions render = {};
    uint32_t side = 256; // pixels of a thumbnail
    SizeOptions size = {};
};

/// An argument that is known by its place: FILE, NAME and so on.
template <typename Value>
static CLI::Option* AddArgument(CLI::App* command, const char* name, Value* value,
                                const char* description)
{
    return command->add_option(name, *value, description)->type_name("");
}

static void AddForceOption(CLI::App* command, Arguments* arguments, const char* description)
{
    command->add_flag("--force", arguments->isForced, description);
}

static void AddQuietOption(CLI::App* command, Arguments* arguments)
{
    command->add_flag("-q,--quiet", arguments->isQuiet, "Print nothing but errors");
}

// Checks have no descriptions here: they would stand after the value's form, and completions would
// offer them.

static void AddColorOption(CLI::App* command, Arguments* arguments)
{
    command
        ->add_option("--color", arguments->color,
                     "Color severities; auto does on a terminal, unless NO_COLOR is set")
        ->check(CLI::IsMember({"auto", "always", "never"}).description(""))
        ->type_name("auto|always|never");
}

/// How meshes are taken over.
static void AddMeshOptions(CLI::App* command, Arguments* arguments)
{
    MeshOptions* mesh = &arguments->build.mesh;
    CLI::Option* flip = command->add_flag("--flip-v", arguments->flipsV,
                                          "Store 1 - v for v, whatever the format counts from");
    command->add_flag("--keep-v", arguments->keepsV, "Store v as it stands in the source")
        ->excludes(flip);
    command->add_option("--up", arguments->up, "The axis of the source that points up")
        ->check(CLI::IsMember({"y", "z"}).description(""))
        ->type_name("y|z");
    command->add_option("--scale", mesh->scale, "Multiply all coordinates by this")
        ->check(CLI::PositiveNumber.description(""))
        ->type_name("FACTOR");
    command->add_flag("--center", mesh->isCentered,
                      "Move the middle of the bounding box to the origin");
    command->add_flag("--cache-order", mesh->isForCache,
                      "Order triangles and vertices for the caches of graphics cards");
    command
        ->add_option("--smooth", mesh->smoothAngle,
                     "Make all normals anew, with an edge where faces meet at more degrees")
        ->check(CLI::Range(0.0, 180.0).description(""))
        ->type_name("DEGREES");
}

static CLI::App* AddList(CLI::App* app, Arguments* arguments)
{
    CLI::App* command = app->add_subcommand("list", "Print name, start and size of each entry");
    AddArgument(command, "FILE", &arguments->file, "The package")->required();
    command->add_flag("--json", arguments->json, "Print a JSON array, for programs");
    return command;
}

static CLI::App* AddExtract(CLI::App* app, Arguments* arguments)
{
    CLI::App* command = app->add_subcommand("extract", "Write entries to files of their names");
    AddArgument(command, "FILE", &arguments->file, "The package")->required();
    AddArgument(command, "NAME", &arguments->names, "Entries; all if none is named");
    command
        ->add_option("-o,--output", arguments->out,
                     "The folder to write to; - writes one entry to standard output")
        ->type_name("DIR")
        ->default_str(".");
    return command;
}

static CLI::App* AddAdd(CLI::App* app, Arguments* arguments)
{
    CLI::App* command = app->add_subcommand("add", "Add files to a package");
    AddArgument(command, "FILE", &arguments->file, "The package")->required();
    AddArgument(command, "PATH", &arguments->names, "Files")->required();
    return command;
}

static CLI::App* AddRemove(CLI::App* app, Arguments* arguments)
{
    CLI::App* command = app->add_subcommand("remove", "Remove entries from a package");
    AddArgument(command, "FILE", &arguments->file, "The package")->required();
    AddArgument(command, "NAME", &arguments->names, "Entries")->required();
    return command;
}

static CLI::App* AddCreate(CLI::App* app, Arguments* arguments)
{
    CLI::App* command = app->add_subcommand("create", "Write a package of files");
    AddArgument(command, "FILE", &arguments->file, "The package")->required();
    AddArgument(command, "PATH", &arguments->names, "Files; none for an empty package");
    AddForceOption(command, arguments, "Write over a file that is no package, too");
    return command;
}

static CLI::App* AddNew(CLI::App* app, Arguments* arguments)
{
    CLI::App* command =
        app->add_subcommand("new", "Make a folder with a piece in Python that plays");
    AddArgument(command, "DIR", &arguments->file, "The folder")->required();
    return command;
}

static CLI::App* AddBuild(CLI::App* app, Arguments* arguments)
{
    CLI::App* command = app->add_subcommand("build", "Make a package of a folder of sources");
    AddArgument(command, "DIR", &arguments->file, "The folder")->required();
    command->add_option("-o,--output", arguments->package, "The package")
        ->type_name("FILE")
        ->default_str("DIR/NAME.dpk");
    command->add_option("--ignore", arguments->build.ignored, "Leave out files of this pattern")
        ->type_name("PATTERN")
        ->expected(1)
        ->allow_extra_args(false) // else it takes the names that follow
        ->take_all();
    command
        ->add_option("--also", arguments->build.also,
                     "Take files of this pattern that no document names")
        ->type_name("PATTERN")
        ->expected(1)
        ->allow_extra_args(false) // else it takes the names that follow
        ->take_all();
    command->add_flag("--strict", arguments->build.isStrict,
                      "Refuse files that no document names instead of leaving them out");
    AddForceOption(command, arguments,
                   "Pack in spite of errors, and write over a file that is no package");
    command->add_flag("--small", arguments->build.isSmall,
                      "Pack by zopfli and take out what nothing uses");
    AddMeshOptions(command, arguments);
    AddQuietOption(command, arguments);
    command->add_flag("-v,--verbose", arguments->isVerbose, "Tell of each entry");
    AddColorOption(command, arguments);
    return command;
}

static CLI::App* AddUnbuild(CLI::App* app, Arguments* arguments)
{
    CLI::App* command =
        app->add_subcommand("unbuild", "Take a package apart into sources that build it again");
    AddArgument(command, "PACKAGE", &arguments->file, "The package")->required();
    command->add_option("-o,--output", arguments->out, "The folder to write to, new or empty")
        ->type_name("DIR")
        ->required();
    command->add_flag("--python", arguments->python, "Write a piece.py instead of documents");
    return command;
}

static CLI::App* AddInfo(CLI::App* app, Arguments* arguments)
{
    CLI::App* command = app->add_subcommand("info", "Tell what a package is and what it takes");
    AddArgument(command, "PACKAGE", &arguments->file, "The package")->required();
    command->add_flag("--json", arguments->json, "Print one JSON object");
    return command;
}

static CLI::App* AddDiff(CLI::App* app, Arguments* arguments)
{
    CLI::App* command = app->add_subcommand("diff", "Tell what differs between two packages");
    AddArgument(command, "A", &arguments->file, "The one package")->required();
    AddArgument(command, "B", &arguments->out, "The other package")->required();
    return command;
}

static CLI::App* AddRows(CLI::App* app, Arguments* arguments)
{
    CLI::App* command = app->add_subcommand("rows", "Tell when each row of a module plays");
    AddArgument(command, "FILE", &arguments->file, "The module")->required();
    command->add_flag("--json", arguments->json, "Print a JSON array, and not CSV");
    return command;
}

static CLI::App* AddSize(CLI::App* app, Arguments* arguments)
{
    CLI::App* command =
        app->add_subcommand("size", "Tell where the bytes of a package are, and which could go");
    AddArgument(command, "PACKAGE", &arguments->file, "The package")->required();
    command->add_option("--svg", arguments->size.picture, "Draw the sizes as areas")
        ->type_name("FILE");
    command->add_flag("--small", arguments->size.triesSmall, "Tell what a small build would save");
    command->add_flag("--force", arguments->size.isForced,
                      "Draw over a file that is no SVG picture, too");
    return command;
}

static CLI::App* AddInspect(CLI::App* app, Arguments* arguments)
{
    CLI::App* command = app->add_subcommand("inspect", "Write a page that shows all of a package");
    AddArgument(command, "PACKAGE", &arguments->file, "The package")->required();
    command->add_option("-o,--output", arguments->out, "The page to write, such as page.html")
        ->type_name("FILE")
        ->required();
    AddForceOption(command, arguments, "Write over a file that is no HTML page, too");
    return command;
}

static CLI::App* AddModel(CLI::App* app, Arguments* arguments)
{
    CLI::App* command = app->add_subcommand("model", "Make a model file of a mesh");
    AddArgument(command, "IN", &arguments->file, "A mesh in any format that Assimp reads")
        ->required();
    AddArgument(command, "OUT", &arguments->out, "The model file")->required();
    AddMeshOptions(command, arguments);
    AddForceOption(command, arguments, "Write over a file that is no model, too");
    AddQuietOption(command, arguments);
    return command;
}

static CLI::App* AddCompress(CLI::App* app, Arguments* arguments)
{
    CLI::App* command = app->add_subcommand("compress", "Pack a text into the container");
    AddArgument(command, "TEXT", &arguments->file, "A file, such as demo.xml; - for standard input")
        ->required();
    AddArgument(command, "OUT", &arguments->out,
                "The container, such as demo.xmlz; - for standard output")
        ->required();
    AddForceOption(command, arguments, "Write over a file of another kind, too");
    return command;
}

static CLI::App* AddDecompress(CLI::App* app, Arguments* arguments)
{
    CLI::App* command = app->add_subcommand("decompress", "Unpack a container");
    AddArgument(command, "IN", &arguments->file, "The container; - for standard input")->required();
    AddArgument(command, "OUT", &arguments->out, "The file to write; - for standard output")
        ->required();
    AddForceOption(command, arguments, "Write over a file of another kind, too");
    return command;
}

static CLI::App* AddTextures(CLI::App* app, Arguments* arguments)
{
    CLI::App* command =
        app->add_subcommand("textures", "Write all layers, textures and bitmaps as PNG files");
    AddArgument(command, "PACKAGE", &arguments->file, "The package")->required();
    command->add_option("-o,--output", arguments->out, "The folder to write to")
        ->type_name("DIR")
        ->required();
    AddQuietOption(command, arguments);
    return command;
}

static CLI::App* AddVocabulary(CLI::App* app, Arguments* arguments)
{
    CLI::App* command = app->add_subcommand(
        "vocabulary", "Print what documents can say: names, numbers, parameters, limits");
    command->add_flag("--json", arguments->json, "Print one JSON object, for programs");
    return command;
}

static CLI::App* AddCheck(CLI::App* app, Arguments* arguments)
{
    CLI::App* command =
        app->add_subcommand("check", "Tell all that is wrong with packages or source folders");
    AddArgument(command, "PATH", &arguments->names,
                "Packages, or folders of sources; - for standard input")
        ->required();
    command->add_flag("--json", arguments->check.json, "Print one JSON object a path");
    command->add_flag("--strict", arguments->check.isStrict, "Count warnings like errors");
    command->add_flag("--pictures", arguments->check.drawsPictures,
                      "Draw small pictures, and tell of stretches of black or white");
    command->add_option("--only", arguments->check.only, "Tell of these rules alone")
        ->type_name("RULE,...")
        ->delimiter(',')
        ->expected(1)
        ->allow_extra_args(false) // else it takes the names that follow
        ->take_all();
    AddQuietOption(command, arguments);
    AddColorOption(command, arguments);
    return command;
}

/// An option of `dpk render` with a value of this form.
template <typename Value>
static void AddRenderOption(CLI::App* command, const char* name, Value* value, const char* form,
                            const char* description)
{
    command->add_option(name, *value, description)->type_name(form);
}

static void AddRenderTimes(CLI::App* command, RenderOptions* render)
{
    AddRenderOption(command, "--from", &render->from, "TIME",
                    "The first picture's time: 1250t, 12.5, 0:12.5, or row 3:16 of the module");
    AddRenderOption(command, "--to", &render->to, "TIME", "The time after the last picture");
    AddRenderOption(command, "--at", &render->at, "TIME", "One picture, at this time");
    AddRenderOption(command, "--fps", &render->fps, "RATE",
                    "Pictures a second: 60, 30000/1001 [60]");
    AddRenderOption(command, "--loading", &render->loading, "SECONDS",
                    "Put the loading screen in front, for so long");
}

static void AddRenderLooks(CLI::App* command, RenderOptions* render)
{
    AddRenderOption(command, "--size", &render->size, "WxH", "Pixels of the picture [1280x720]");
    AddRenderOption(command, "--aspect", &render->aspect, "ASPECT",
                    "4:3, 16:9, 16:10 or a number [the size's]");
    AddRenderOption(command, "--samples", &render->samples, "N",
                    "Antialiasing: samples of each pixel, 0 for none [2]");
    AddRenderOption(command, "--supersample", &render->supersample, "N",
                    "Draw N times as wide and high, and shrink [1]");
    command->add_flag("--no-vbo", render->noVbo, "Draw without buffer objects");
    command->add_flag("--no-sound", render->noSound, "Leave the module out");
}

static void AddRenderOutputs(CLI::App* command, RenderOptions* render)
{
    AddRenderOption(command, "-o,--output", &render->out, "OUT",
                    "A film (.mp4 .mov .mkv .webm), pictures (DIR/%05d.png or .ppm), sound (.wav), "
                    "one picture (.png), or - for raw RGB");
    AddRenderOption(command, "--sheet", &render->sheet, "COLSxROWS", "A contact sheet");
    AddRenderOption(command, "--thumbnail", &render->thumbnail, "N",
                    "The most telling picture, N pixels wide");
    AddRenderOption(command, "--ffmpeg", &render->ffmpeg, "ARGS",
                    "ffmpeg's words for pictures and sound in the place of the usual ones");
    AddRenderOption(command, "--compare", &render->compare, "DIR",
                    "Compare with reference pictures DIR/00000.png ...");
    AddRenderOption(command, "--tolerance", &render->tolerance, "MEAN",
                    "Mean difference a channel that a picture may have [10]");
    command->add_flag("--hash", render->onlyHash, "Print only the hashes of pictures and sound");
    command->add_flag("--force,-y", render->isForced, "Write over what is there");
    command->add_flag("--resume", render->resumes, "Go on with pictures that are there in part");
    command->add_flag("--keep", render->keeps,
                      "Keep the film up to a Ctrl-C, or the parts after a join");
}

static CLI::App* AddRender(CLI::App* app, Arguments* arguments)
{
    CLI::App* command = app->add_subcommand(
        "render", "Make film, pictures and sound of a piece, without a display");
    RenderOptions* render = &arguments->render;
    AddArgument(command, "PIECE", &arguments->file, "A package, or a folder of sources");
    AddRenderOutputs(command, render);
    AddRenderTimes(command, render);
    AddRenderLooks(command, render);
    AddRenderOption(command, "--jobs,-j", &render->jobs, "N", "Draw with N processes [1]");
    AddRenderOption(command, "--part", &render->part, "K/N", "Make part K of N alone");
    command->add_flag("--join", render->joins, "Join the parts of OUT, without PIECE");
    AddRenderOption(command, "--progress", &render->progress, "json",
                    "Tell the progress as one JSON line a second");
    command->add_flag("-q,--quiet", render->isQuiet, "Print errors alone");
    return command;
}

static CLI::App* AddThumbnail(CLI::App* app, Arguments* arguments)
{
    CLI::App* command =
        app->add_subcommand("thumbnail", "Write a small picture of a piece, for file managers");
    AddArgument(command, "PIECE", &arguments->file, "The package")->required();
    AddArgument(command, "OUT", &arguments->out, "The PNG file to write")->required();
    command->add_option("-s,--size", arguments->side, "Pixels of the longer side [256]")
        ->type_name("N");
    AddForceOption(command, arguments, "Write over a file that is no PNG picture, too");
    return command;
}

static CLI::App* AddHelp(CLI::App* app, Arguments* arguments)
{
    CLI::App* command = app->add_subcommand("help", "Print help on a command, or on all");
    AddArgument(command, "COMMAND", &arguments->file, "The command");
    return command;
}

static ColorChoice ChosenColor(const Arguments& arguments)
{
    return arguments.color == "always"  ? ColorChoice::kAlways
           : arguments.color == "never" ? ColorChoice::kNever
                                        : ColorChoice::kAuto;
}

/// All that the arguments say of a build.
static BuildOptions ChosenBuild(const Arguments& arguments)
{
    BuildOptions build = arguments.build;
    build.isForced = arguments.isForced;
    build.verbosity = arguments.isQuiet     ? Verbosity::kQuiet
                      : arguments.isVerbose ? Verbosity::kMuch
                                            : Verbosity::kUsual;
    build.color = ChosenColor(arguments);
    build.mesh.isQuiet = arguments.isQuiet;
    build.mesh.isZUp = arguments.up == "z";
    build.mesh.v = arguments.flipsV   ? VDirection::kFlipped
                   : arguments.keepsV ? VDirection::kKept
                                      : VDirection::kOfFormat;
    build.mesh.makesNormals = build.mesh.smoothAngle >= 0.0f;
    return build;
}

static bool RunList(const Arguments& arguments)
{
    return ListPackage(arguments.file, arguments.json);
}

static bool RunExtract(const Arguments& arguments)
{
    return ExtractFromPackage(arguments.file, arguments.out, arguments.names);
}

static bool RunAdd(const Arguments& arguments)
{
    return AddToPackage(arguments.file, arguments.names);
}

static bool RunRemove(const Arguments& arguments)
{
    return RemoveFromPackage(arguments.file, arguments.names);
}

static bool RunCreate(const Arguments& arguments)
{
    return CreatePackage(arguments.file, arguments.names, arguments.isForced);
}

static bool RunBuild(const Arguments& arguments)
{
    const std::string package =
        arguments.package.empty() ? PackageOfFolder(arguments.file) : arguments.package;
    // A script may take long, so it runs only if its package has a place.
    if (!MayOverwrite(package, FileKind::kPackage, arguments.isForced) ||
        (HasPieceScript(arguments.file) && !RunPieceScript(arguments.file)))
    {
        return false;
    }
    return BuildFolder(arguments.file, package, ChosenBuild(arguments));
}

static bool RunUnbuild(const Arguments& arguments)
{
    return UnbuildPackage(arguments.file, arguments.out,
                          arguments.python ? UnbuildForm::kPython : UnbuildForm::kDocuments);
}

static bool RunInfo(const Arguments& arguments)
{
    return PrintPackageInfo(arguments.file, arguments.json);
}

static int RunDiff(const Arguments& arguments)
{
    return PrintPackageDiff(arguments.file, arguments.out);
}

static bool RunRows(const Arguments& arguments)
{
    return PrintModuleRows(arguments.file, arguments.json);
}

static bool RunSize(const Arguments& arguments)
{
    return PrintPackageSizes(arguments.file, arguments.size);
}

static bool RunInspect(const Arguments& arguments)
{
    return WriteInspectPage(arguments.file, arguments.out, arguments.isForced);
}

static bool RunNew(const Arguments& arguments)
{
    return MakePieceFolder(arguments.file);
}

static bool RunModel(const Arguments& arguments)
{
    return ConvertMeshFile(arguments.file, arguments.out, ChosenBuild(arguments).mesh,
                           arguments.isForced);
}

static bool RunCompress(const Arguments& arguments)
{
    return CompressFile(arguments.file, arguments.out, arguments.isForced);
}

static bool RunDecompress(const Arguments& arguments)
{
    return DecompressFile(arguments.file, arguments.out, arguments.isForced);
}

static bool RunTextures(const Arguments& arguments)
{
    return WriteTextures(arguments.file, arguments.out,
                         arguments.isQuiet ? Verbosity::kQuiet : Verbosity::kUsual);
}

static bool RunVocabulary(const Arguments& arguments)
{
    return PrintVocabulary(arguments.json ? VocabularyForm::Json : VocabularyForm::Text);
}

static int RunCheck(const Arguments& arguments)
{
    CheckOptions check = arguments.check;
    check.isQuiet = arguments.isQuiet;
    check.color = ChosenColor(arguments);
    return CheckPaths(arguments.names, check);
}

static int RunRender(const Arguments& arguments)
{
    return RenderPiece(arguments.file, arguments.render);
}

static int RunThumbnail(const Arguments& arguments)
{
    return MayOverwrite(arguments.out, FileKind::kPng, arguments.isForced)
               ? MakeThumbnailFile(arguments.file, arguments.side, arguments.out)
               : kExitFailed;
}

struct CommandRow
{
    CLI::App* (*add)(CLI::App* app, Arguments* arguments);
    bool (*run)(const Arguments& arguments); // null where the exit code is not done or failed
    int (*tell)(const Arguments& arguments) = nullptr; // tells the exit code
};

static constexpr CommandRow kCommands[] = {
    {AddList, RunList},
    {AddExtract, RunExtract},
    {AddAdd, RunAdd},
    {AddRemove, RunRemove},
    {AddCreate, RunCreate},
    {AddBuild, RunBuild},
    {AddUnbuild, RunUnbuild},
    {AddInfo, RunInfo},
    {AddDiff, nullptr, RunDiff},
    {AddRows, RunRows},
    {AddSize, RunSize},
    {AddInspect, RunInspect},
    {AddNew, RunNew},
    {AddModel, RunModel},
    {AddCompress, RunCompress},
    {AddDecompress, RunDecompress},
    {AddTextures, RunTextures},
    {AddVocabulary, RunVocabulary},
    {AddCheck, nullptr, RunCheck},
    {AddRender, nullptr, RunRender},
    {AddThumbnail, nullptr, RunThumbnail},
    {AddHelp, nullptr}, // by RunCommandLine, which knows all commands
};

/// The library gives "[a,b]", "{}" and "%%" meanings of their own, and may take arguments after
/// "--" for options. Here all of these are names like any other, so a mark in front keeps them
/// apart while it parses.
static constexpr char kMark = '\x01';

static bool NeedsMark(char first)
{
    return first == '[' || first == '{' || first == '%' || first == kMark;
}

/// All arguments after the program's name, last first, as the library wants them.
static std::vector<std::string> MarkArguments(int argc, const char* const* argv)
{
    std::vector<std::string> marked;
    bool namesOnly = false;
    for (int i = 1; i < argc; ++i)
    {
        std::string argument = argv[i];
        if (!namesOnly && argument == "--")
        {
            namesOnly = true;
            continue;
        }
        marked.push_back(namesOnly || NeedsMark(argv[i][0]) ? kMark + argument : argument);
    }
    std::reverse(marked.begin(), marked.end());
    return marked;
}

static void Unmark(std::string* argument)
{
    if (!argument->empty() && argument->front() == kMark)
    {
        argument->erase(0, 1);
    }
}

static void UnmarkArguments(Arguments* arguments)
{
    Unmark(&arguments->file);
    Unmark(&arguments->out);
    Unmark(&arguments->package);
    Unmark(&arguments->render.out);
    Unmark(&arguments->render.compare);
    Unmark(&arguments->size.picture);
    for (std::string& name : arguments->names)
    {
        Unmark(&name);
    }
    for (std::vector<std::string>* patterns : {&arguments->build.ignored, &arguments->build.also})
    {
        for (std::string& pattern : *patterns)
        {
            Unmark(&pattern);
        }
    }
}

/// @param command   whose arguments make no sense; null for none
static int ReportUsage(std::string what, const CLI::App* command)
{
    std::erase(what, kMark);
    const std::string name = command == nullptr ? "" : command->get_name();
    ReportError("%s%s%s; \"dpk %s\" tells more", name.c_str(), name.empty() ? "" : ": ",
                Printable(what).c_str(), name.empty() ? "--help" : ("help " + name).c_str());
    return kExitUsage;
}

/// The arguments that no command takes, in the order in which they were given.
static std::string ExtraText(const CLI::App& app)
{
    const std::vector<std::string> extras = app.remaining(true);
    std::string text = extras.size() > 1 ? "the arguments make no sense here:"
                                         : "the argument makes no sense here:";
    for (const std::string& extra : extras)
    {
        text += " " + extra;
    }
    return text;
}

/// The command that a mistyped one was probably meant to be; null if there is none near, or if the
/// first argument is a command or an option.
static const char* MeantCommand(int argc, const char* const* argv,
                                const std::vector<CLI::App*>& commands)
{
    if (argc < 2 || argv[1][0] == '-')
    {
        return nullptr;
    }
    std::vector<const char*> names;
    for (const CLI::App* command : commands)
    {
        if (command->get_name() == argv[1])
        {
            return nullptr;
        }
        names.push_back(command->get_name().c_str());
    }
    return FindNearest(argv[1], names);
}

/// Declares what the command line takes.
/// @return the commands, in the order of kCommands
static std::vector<CLI::App*> DeclareCommands(CLI::App* app, Arguments* arguments)
{
    app->description("Writes, reads and takes apart the packages that quorvale plays.");
    app->set_version_flag("-V,--version", "dpk " DPK_VERSION, "Print the version");
    app->set_help_flag("-h,--help", "Print this help; after a command, help on that command");
    app->require_subcommand(0,
                            1); // none is met by its caller: the library's line hides unknown ones

    std::vector<CLI::App*> commands;
    for (const CommandRow& row : kCommands)
    {
        CLI::App* command = row.add(app, arguments);
        command->set_help_flag("-h,--help", "Print this help");
        commands.push_back(command);
    }
    return commands;
}

/// Prints help on one command, or on all.
static int TellHelp(const std::string& name)
{
    // Not those that were parsed: a program prints the help of the command that it met.
    Arguments arguments = {};
    CLI::App app("", "dpk");
    const std::vector<CLI::App*> commands = DeclareCommands(&app, &arguments);
    std::vector<const char*> names;
    for (const CLI::App* command : commands)
    {
        if (command->get_name() == name)
        {
            fputs(command->help("dpk").c_str(), stdout);
            return kExitDone;
        }
        names.push_back(command->get_name().c_str());
    }
    if (name.empty())
    {
        fputs(app.help().c_str(), stdout);
        return kExitDone;
    }
    const char* nearest = FindNearest(name, names);
    const std::string meant =
        nearest == nullptr ? "" : std::string(", the nearest is \"") + nearest + "\"";
    return ReportUsage("there is no command \"" + name + "\"" + meant, nullptr);
}

static OptionFacts DescribeOption(const CLI::Option* option)
{
    OptionFacts facts = {};
    for (const std::string& name : option->get_snames())
    {
        facts.names.push_back("-" + name);
    }
    for (const std::string& name : option->get_lnames())
    {
        facts.names.push_back("--" + name);
    }
    facts.value = option->get_type_size_max() == 0 ? "" : option->get_type_name();
    facts.description = option->get_description();
    facts.isRequired = option->get_required();
    facts.repeats = option->get_multi_option_policy() == CLI::MultiOptionPolicy::TakeAll;
    return facts;
}

static CommandFacts DescribeCommand(const CLI::App* command)
{
    CommandFacts facts = {};
    facts.name = command->get_name();
    facts.summary = command->get_description();
    for (const CLI::Option* option : command->get_options())
    {
        if (option->get_positional())
        {
            facts.arguments.push_back({option->get_name(true), option->get_description(),
                                       option->get_required(),
                                       option->get_items_expected_max() > 1});
        }
        else
        {
            facts.options.push_back(DescribeOption(option));
        }
    }
    return facts;
}

ProgramFacts DescribeCommandLine()
{
    Arguments arguments = {};
    CLI::App app("", "dpk");
    ProgramFacts facts = {};
    for (const CLI::App* command : DeclareCommands(&app, &arguments))
    {
        facts.commands.push_back(DescribeCommand(command));
    }
    facts.program = DescribeCommand(&app);
    return facts;
}

int RunCommandLine(int argc, const char* const* argv)
{
    Arguments arguments = {};
    arguments.build.mesh.smoothAngle = -1.0f; // until it is given
    CLI::App app("", "dpk");
    const std::vector<CLI::App*> commands = DeclareCommands(&app, &arguments);

    const char* meant = MeantCommand(argc, argv, commands);
    if (meant != nullptr)
    {
        return ReportUsage(std::string("there is no command \"") + argv[1] +
                               "\", the nearest is \"" + meant + "\"",
                           nullptr);
    }

    // The library speaks by exceptions, help and version included; no other file sees them.
    try
    {
        app.parse(MarkArguments(argc, argv));
    }
    catch (const CLI::ParseError& error)
    {
        if (error.get_exit_code() == 0)
        {
            app.exit(error);
            return kExitDone;
        }
        const std::vector<CLI::App*> parsed = app.get_subcommands();
        const CLI::App* command = parsed.empty() ? nullptr : parsed.front();
        const bool isExtra = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError);
        return ReportUsage(isExtra ? ExtraText(app) : error.what(), command);
    }

    UnmarkArguments(&arguments);
    for (size_t i = 0; i < commands.size(); ++i)
    {
        if (commands[i]->parsed())
        {
            if (kCommands[i].tell == nullptr && kCommands[i].run == nullptr)
            {
                return TellHelp(arguments.file);
            }
            if (kCommands[i].tell != nullptr)
            {
                return kCommands[i].tell(arguments);
            }
            return kCommands[i].run(arguments) ? kExitDone : kExitFailed;
        }
    }
    return ReportUsage("no command is given", nullptr);
}
