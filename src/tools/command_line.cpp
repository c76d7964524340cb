#include "tools/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string>
#include <vector>

#include "tools/container.h"
#include "tools/folder_build.h"
#include "tools/mesh_import.h"
#include "tools/package_commands.h"
#include "tools/piece_script.h"
#include "tools/report.h"
#include "tools/textures_command.h"
#include "tools/vocabulary_command.h"

/// The values of all arguments. Each command uses some of them.
struct Arguments
{
    std::string file;
    std::string out = ".";          // where nothing has to be given
    std::string package;            // of a build; empty for one named after its folder
    std::vector<std::string> names; // entries, or paths
    BuildOptions build;
    bool json = false;
};

/// An argument that is known by its place: FILE, NAME and so on.
template <typename Value>
static CLI::Option* AddArgument(CLI::App* command, const char* name, Value* value,
                                const char* description)
{
    return command->add_option(name, *value, description)->type_name("");
}

static void AddFlipOption(CLI::App* command, Arguments* arguments)
{
    command->add_flag("--flip-v", arguments->build.mesh.flipV,
                      "Store 1 - v for v, for sources that count v from an image's lower edge");
}

static CLI::App* AddList(CLI::App* app, Arguments* arguments)
{
    CLI::App* command = app->add_subcommand("list", "Print name, start and size of each entry");
    AddArgument(command, "FILE", &arguments->file, "The package")->required();
    return command;
}

static CLI::App* AddExtract(CLI::App* app, Arguments* arguments)
{
    CLI::App* command = app->add_subcommand("extract", "Write entries to files of their names");
    AddArgument(command, "FILE", &arguments->file, "The package")->required();
    AddArgument(command, "NAME", &arguments->names, "Entries; all if none is named");
    command->add_option("-o,--output", arguments->out, "The folder to write to")
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
        ->take_all();
    AddFlipOption(command, arguments);
    return command;
}

static CLI::App* AddModel(CLI::App* app, Arguments* arguments)
{
    CLI::App* command = app->add_subcommand("model", "Make a model file of a mesh");
    AddArgument(command, "IN", &arguments->file, "A mesh in any format that Assimp reads")
        ->required();
    AddArgument(command, "OUT", &arguments->out, "The model file")->required();
    AddFlipOption(command, arguments);
    return command;
}

static CLI::App* AddCompress(CLI::App* app, Arguments* arguments)
{
    CLI::App* command = app->add_subcommand("compress", "Pack a text into the container");
    AddArgument(command, "TEXT", &arguments->file, "A file, such as demo.xml")->required();
    AddArgument(command, "OUT", &arguments->out, "The container, such as demo.xmlz")->required();
    return command;
}

static CLI::App* AddDecompress(CLI::App* app, Arguments* arguments)
{
    CLI::App* command = app->add_subcommand("decompress", "Unpack a container");
    AddArgument(command, "IN", &arguments->file, "The container")->required();
    AddArgument(command, "OUT", &arguments->out, "The file to write")->required();
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
    return command;
}

static CLI::App* AddVocabulary(CLI::App* app, Arguments* arguments)
{
    CLI::App* command = app->add_subcommand(
        "vocabulary", "Print what documents can say: names, numbers, parameters, limits");
    command->add_flag("--json", arguments->json, "Print one JSON object, for programs");
    return command;
}

static bool RunList(const Arguments& arguments)
{
    return ListPackage(arguments.file);
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
    return CreatePackage(arguments.file, arguments.names);
}

static bool RunBuild(const Arguments& arguments)
{
    if (HasPieceScript(arguments.file) && !RunPieceScript(arguments.file))
    {
        return false;
    }
    return BuildFolder(arguments.file,
                       arguments.package.empty() ? PackageOfFolder(arguments.file)
                                                 : arguments.package,
                       arguments.build);
}

static bool RunNew(const Arguments& arguments)
{
    return MakePieceFolder(arguments.file);
}

static bool RunModel(const Arguments& arguments)
{
    return ConvertMeshFile(arguments.file, arguments.out, arguments.build.mesh);
}

static bool RunCompress(const Arguments& arguments)
{
    return CompressFile(arguments.file, arguments.out);
}

static bool RunDecompress(const Arguments& arguments)
{
    return DecompressFile(arguments.file, arguments.out);
}

static bool RunTextures(const Arguments& arguments)
{
    return WriteTextures(arguments.file, arguments.out);
}

static bool RunVocabulary(const Arguments& arguments)
{
    return PrintVocabulary(arguments.json ? VocabularyForm::Json : VocabularyForm::Text);
}

struct CommandRow
{
    CLI::App* (*add)(CLI::App* app, Arguments* arguments);
    bool (*run)(const Arguments& arguments);
};

static constexpr CommandRow kCommands[] = {
    {AddList, RunList},         {AddExtract, RunExtract},
    {AddAdd, RunAdd},           {AddRemove, RunRemove},
    {AddCreate, RunCreate},     {AddBuild, RunBuild},
    {AddNew, RunNew},           {AddModel, RunModel},
    {AddCompress, RunCompress}, {AddDecompress, RunDecompress},
    {AddTextures, RunTextures}, {AddVocabulary, RunVocabulary},
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
    for (std::string& name : arguments->names)
    {
        Unmark(&name);
    }
    for (std::string& pattern : arguments->build.ignored)
    {
        Unmark(&pattern);
    }
}

static int ReportUsage(std::string what)
{
    std::erase(what, kMark);
    ReportError("%s; \"dpk --help\" tells more", Printable(what).c_str());
    return kExitUsage;
}

int RunCommandLine(int argc, const char* const* argv)
{
    Arguments arguments = {};
    CLI::App app("Writes, reads and takes apart the packages that quorvale plays.", "dpk");
    app.set_version_flag("--version", "dpk " DPK_VERSION);
    app.require_subcommand(0, 1); // none is met below: the library's own line hides unknown ones

    std::vector<CLI::App*> commands;
    for (const CommandRow& row : kCommands)
    {
        commands.push_back(row.add(&app, &arguments));
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
        return ReportUsage(error.what());
    }

    UnmarkArguments(&arguments);
    for (size_t i = 0; i < commands.size(); ++i)
    {
        if (commands[i]->parsed())
        {
            return kCommands[i].run(arguments) ? kExitDone : kExitFailed;
        }
    }
    return ReportUsage("no command is given");
}
