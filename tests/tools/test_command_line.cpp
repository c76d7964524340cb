// SPDX-License-Identifier: MIT
#include <cstdio>
#include <gtest/gtest.h>

#include "tools/dpk_run.h"

/// The names of all commands, as the help lists them.
static std::vector<std::string> Commands(const TemporaryFolder& folder)
{
    const std::string help = RunDpk(folder, {"--help"}).out;
    std::vector<std::string> names;
    size_t at = help.find("\nSubcommands:\n");
    while ((at = help.find("\n  ", at)) != std::string::npos)
    {
        at += 3;
        const std::string name = help.substr(at, help.find_first_of(" \n", at) - at);
        if (!name.empty())
        {
            names.push_back(name);
        }
    }
    return names;
}

TEST(CommandLine, TellsItsVersion)
{
    TemporaryFolder folder;
    DpkRun run = RunDpk(folder, {"--version"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "dpk " DPK_VERSION "\n");
    EXPECT_EQ(run.err, "");
}

TEST(CommandLine, HelpNamesEveryCommand)
{
    TemporaryFolder folder;
    for (const char* option : {"--help", "-h"})
    {
        DpkRun run = RunDpk(folder, {option});
        EXPECT_EQ(run.exitCode, 0);
        EXPECT_EQ(run.err, "");
        for (const char* command : {"list", "build", "check"})
        {
            EXPECT_NE(run.out.find(std::string("\n  ") + command + " "), std::string::npos)
                << command;
        }
    }
    EXPECT_GE(Commands(folder).size(), 13u);
}

TEST(CommandLine, EveryCommandHasHelpOfItsOwn)
{
    TemporaryFolder folder;
    for (const std::string& command : Commands(folder))
    {
        DpkRun run = RunDpk(folder, {command, "--help"});
        EXPECT_EQ(run.exitCode, 0) << command;
        EXPECT_NE(run.out.find("Usage: dpk " + command), std::string::npos) << run.out;
        EXPECT_EQ(run.out.find(":{"), std::string::npos) << run.out; // how a form is checked
        EXPECT_EQ(run.err, "");
    }
}

TEST(CommandLine, ArgumentsThatMakeNoSenseEndWithCode2)
{
    TemporaryFolder folder;
    folder.Write("a", "data");
    const struct
    {
        std::vector<std::string> arguments;
        const char* command; // whose help is offered
        const char* what;
    } cases[] = {
        {{}, "", "no command is given"},
        {{"frobnicate"}, "", "the argument makes no sense here: frobnicate"},
        {{"lsit", "a"}, "", "there is no command \"lsit\", the nearest is \"list\""},
        {{"help", "lsit"}, "", "there is no command \"lsit\", the nearest is \"list\""},
        {{"help", "frobnicate"}, "", "there is no command \"frobnicate\""},
        {{"--frobnicate"}, "", "the argument makes no sense here: --frobnicate"},
        {{"list"}, "list", "FILE is required"},
        {{"list", "a", "b", "c"}, "list", "the arguments make no sense here: b c"},
        {{"list", "-q", "a"}, "list", "the argument makes no sense here: -q"},
        {{"extract"}, "extract", "FILE is required"},
        {{"extract", "a", "-o"}, "extract", "--output: 1 required DIR missing"},
        {{"add"}, "add", "FILE is required"},
        {{"add", "a"}, "add", "PATH is required"},
        {{"remove", "a"}, "remove", "NAME is required"},
        {{"create"}, "create", "FILE is required"},
        {{"build"}, "build", "DIR is required"},
        {{"new"}, "new", "DIR is required"},
        {{"model", "a"}, "model", "OUT is required"},
        {{"compress", "a"}, "compress", "OUT is required"},
        {{"decompress", "a"}, "decompress", "OUT is required"},
        {{"textures"}, "textures", "PACKAGE is required"},
        {{"textures", "a"}, "textures", "--output is required"},
        {{"--", "list", "a"}, "", "the arguments make no sense here: list a"},
        {{"[x]\n"}, "", "the argument makes no sense here: [x]\\x0A"},
    };
    for (const auto& c : cases)
    {
        DpkRun run = RunDpk(folder, c.arguments);
        EXPECT_EQ(run.exitCode, 2) << c.what;
        EXPECT_EQ(run.out, "");
        const std::string command = c.command;
        const std::string lead = command.empty() ? "" : command + ": ";
        const std::string help = command.empty() ? "--help" : "help " + command;
        EXPECT_EQ(run.err, "dpk: " + lead + c.what + "; \"dpk " + help + "\" tells more\n");
    }
    EXPECT_EQ(FilesIn(folder), "a");
}

TEST(CommandLine, NamesArePassedOnAsTheyAre)
{
    TemporaryFolder folder;
    const std::vector<std::string> names = {"[a]", "[b,c]", "{}", "%%", "list", "a b", "\x01x"};
    std::vector<std::string> arguments = {"create", "p.dpk"};
    for (const std::string& name : names)
    {
        folder.Write(name, "x");
        arguments.push_back(name);
    }
    EXPECT_EQ(RunDpk(folder, arguments).err, "");
    EXPECT_EQ(RunDpk(folder, {"list", "p.dpk"}).out, "[a]\t315\t1\n"
                                                     "[b,c]\t316\t1\n"
                                                     "{}\t317\t1\n"
                                                     "%%\t318\t1\n"
                                                     "list\t319\t1\n"
                                                     "a b\t320\t1\n"
                                                     "\\x01x\t321\t1\n");

    arguments[0] = "remove";
    EXPECT_EQ(RunDpk(folder, arguments).err, "");
    EXPECT_EQ(RunDpk(folder, {"list", "p.dpk"}).out, "");
}

TEST(CommandLine, BehindTwoDashesNothingIsAnOption)
{
    TemporaryFolder folder;
    folder.Write("-o", "dash");
    folder.Write("--", "two");
    folder.Write("a", "plain");
    DpkRun run = RunDpk(folder, {"create", "p.dpk", "a", "--", "-o", "--"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(RunDpk(folder, {"list", "p.dpk"}).out, "a\t155\t5\n-o\t160\t4\n--\t164\t3\n");
}

TEST(CommandLine, OutputThatCantBeWrittenIsAnError)
{
    TemporaryFolder folder;
    folder.Write("a", "data");
    EXPECT_EQ(RunDpk(folder, {"create", "p.dpk", "a"}).exitCode, 0);
    DpkSurroundings full = kOrdinary;
    full.output = "/dev/full";
    DpkRun run = RunDpk(folder, {"list", "p.dpk"}, full);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "dpk: standard output could not be written\n");
}

TEST(CommandLine, HelpIsACommandToo)
{
    TemporaryFolder folder;
    EXPECT_EQ(RunDpk(folder, {"help"}).out, RunDpk(folder, {"--help"}).out);
    EXPECT_EQ(RunDpk(folder, {"help", "build"}).out, RunDpk(folder, {"build", "--help"}).out);
    EXPECT_EQ(RunDpk(folder, {"help", "build"}).exitCode, 0);
}

TEST(CommandLine, AnOptionTakesNoNamesAfterItsOwn)
{
    TemporaryFolder folder;
    folder.Write("src/a", "data");
    folder.Write("src/b", "data");
    EXPECT_EQ(RunDpk(folder, {"build", "--ignore", "b", "src", "-o", "p.dpk"}).err, "");
    EXPECT_EQ(RunDpk(folder, {"list", "p.dpk"}).out, "a\t75\t4\n");
}

TEST(CommandLine, WritesOverWhatItWritesAlone)
{
    TemporaryFolder folder;
    const std::string source = "<?xml version=\"1.0\"?>\n<a/>\n";
    folder.Write("demo.xml", source);
    folder.Write("e.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    folder.Write("plain", "a text");
    folder.Write("src/a", "data");
    EXPECT_EQ(RunDpk(folder, {"compress", "demo.xml", "demo.xmlz"}).exitCode, 0);
    EXPECT_EQ(RunDpk(folder, {"compress", "plain", "plain.z"}).exitCode, 0);
    EXPECT_EQ(RunDpk(folder, {"model", "-q", "e.obj", "e.model"}).out, "");
    const struct
    {
        std::vector<std::string> arguments; // the last is the target
        const char* refused;
    } cases[] = {
        {{"create", "demo.xml"}, "it exists and is no package"},
        {{"build", "src", "-o", "demo.xml"}, "it exists and is no package"},
        {{"model", "-q", "e.obj", "demo.xml"}, "it exists and is no model or other packed file"},
        {{"model", "-q", "e.obj", "demo.xmlz"}, "it exists and is no model or other packed file"},
        {{"compress", "demo.xml", "e.model"}, "it exists and is no packed document"},
        {{"compress", "demo.xml", "plain"}, "it exists and is no packed document"},
        {{"decompress", "demo.xmlz", "e.obj"}, "it exists and is no document"},
        {{"decompress", "plain.z", "plain"}, "it exists"},
    };
    for (const auto& c : cases)
    {
        const std::string target = c.arguments.back();
        const std::string before = folder.Read(target);
        const DpkRun run = RunDpk(folder, c.arguments);
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.err, "dpk: " + target + ": " + c.refused + "; --force writes over it\n");
        EXPECT_EQ(folder.Read(target), before);
        std::vector<std::string> forced = c.arguments;
        forced.insert(forced.begin() + 1, "--force");
        EXPECT_EQ(RunDpk(folder, forced).err, "");
        folder.Write(target, before);
    }
    // Its own kind, and what is empty.
    folder.Write("empty", "");
    EXPECT_EQ(RunDpk(folder, {"create", "empty"}).err, "");
    EXPECT_EQ(RunDpk(folder, {"create", "empty"}).err, "");
    EXPECT_EQ(RunDpk(folder, {"decompress", "demo.xmlz", "demo.xml"}).err, "");
    EXPECT_EQ(RunDpk(folder, {"compress", "demo.xml", "demo.xmlz"}).err, "");
    EXPECT_EQ(RunDpk(folder, {"model", "-q", "e.obj", "e.model"}).err, "");
    EXPECT_EQ(folder.Read("demo.xml"), source);
}

TEST(CommandLine, ADashIsStandardOutput)
{
    TemporaryFolder folder;
    folder.Write("a", "data");
    EXPECT_EQ(RunDpk(folder, {"create", "p.dpk", "a"}).exitCode, 0);
    EXPECT_EQ(RunDpk(folder, {"extract", "p.dpk", "a", "-o", "-"}).out, "data");
    EXPECT_EQ(RunDpk(folder, {"compress", "a", "a.z"}).exitCode, 0);
    EXPECT_EQ(RunDpk(folder, {"compress", "a", "-"}).out, folder.Read("a.z"));
    EXPECT_EQ(RunDpk(folder, {"decompress", "a.z", "-"}).out, "data");
    EXPECT_EQ(FilesIn(folder), "a a.z p.dpk");
}

TEST(CommandLine, ListsAsJsonToo)
{
    TemporaryFolder folder;
    folder.Write("a\"b", "data");
    EXPECT_EQ(RunDpk(folder, {"create", "p.dpk"}).exitCode, 0);
    EXPECT_EQ(RunDpk(folder, {"list", "--json", "p.dpk"}).out, "[]\n");
    EXPECT_EQ(RunDpk(folder, {"add", "p.dpk", "a\"b"}).exitCode, 0);
    EXPECT_EQ(RunDpk(folder, {"list", "--json", "p.dpk"}).out,
              "[\n{\"name\":\"a\\\"b\",\"start\":75,\"size\":4}\n]\n");
}

TEST(CommandLine, AFileThatIsNoPackageIsToldAsSuch)
{
    TemporaryFolder folder;
    folder.Write("README.md", std::string(200, '#'));
    EXPECT_EQ(RunDpk(folder, {"list", "README.md"}).err,
              "dpk: README.md: not a package: it does not begin with the bytes 44 50 01\n");
}
