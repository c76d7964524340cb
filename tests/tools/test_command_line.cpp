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
        const char* what;
    } cases[] = {
        {{}, "no command is given"},
        {{"frobnicate"}, "The following argument was not expected: frobnicate"},
        {{"lsit", "a"}, "there is no command \"lsit\", the nearest is \"list\""},
        {{"--frobnicate"}, "The following argument was not expected: --frobnicate"},
        {{"list"}, "FILE is required"},
        {{"list", "a", "b"}, "The following argument was not expected: b"},
        {{"list", "-q", "a"}, "The following argument was not expected: -q"},
        {{"extract"}, "FILE is required"},
        {{"extract", "a", "-o"}, "--output: 1 required DIR missing"},
        {{"add"}, "FILE is required"},
        {{"add", "a"}, "PATH is required"},
        {{"remove", "a"}, "NAME is required"},
        {{"create"}, "FILE is required"},
        {{"build"}, "DIR is required"},
        {{"new"}, "DIR is required"},
        {{"model", "a"}, "OUT is required"},
        {{"compress", "a"}, "OUT is required"},
        {{"decompress", "a"}, "OUT is required"},
        {{"textures"}, "PACKAGE is required"},
        {{"textures", "a"}, "--output is required"},
        {{"--", "list", "a"}, "The following arguments were not expected: a list"},
        {{"[x]\n"}, "The following argument was not expected: [x]\\x0A"},
    };
    for (const auto& c : cases)
    {
        DpkRun run = RunDpk(folder, c.arguments);
        EXPECT_EQ(run.exitCode, 2) << c.what;
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, std::string("dpk: ") + c.what + "; \"dpk --help\" tells more\n");
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
