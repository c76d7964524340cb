// SPDX-License-Identifier: MIT

// Each command that writes is run again and again in a child process, and each time another
// allocation or call on a file fails. Whatever fails, a file is the old one or the new one, whole,
// the exit code tells which, and nothing else stays behind.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <new>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/failing_calls.h"
#include "support/failing_memory.h"
#include "support/package_builder.h"
#include "tools/command_line.h"
#include "tools/container.h"
#include "tools/dpk_run.h"
#include "tools/folder_build.h"
#include "tools/mesh_import.h"
#include "tools/package_commands.h"
#include "tools/textures_command.h"

static const BuildOptions kForced = []
{
    BuildOptions options = {};
    options.isForced = true;
    return options;
}();

static const char* const kCube =
    "v 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nvn 0 0 1\nf 1/1/1 2/1/1 3/1/1\n";

struct NamedFile
{
    std::string name; // in the folder, without folders of its own
    std::string bytes;
};

struct WritingCommand
{
    const char* name;
    std::vector<NamedFile> before;
    std::vector<std::string> written; // files that it makes or replaces
    bool (*run)();                    // in the folder
};

/// The cause of failures in a run.
enum class FaultSource
{
    kMemory,
    kCalls,
    kCallsWithoutUnnamed, // on a file system that has no files without a name
};

static DocumentSource OneLayer()
{
    DocumentSource source;
    source.sections[0] = "<l type=\"0\"><p>1</p></l>";
    source.sections[1] = "<t><step type=\"101\"/></t>";
    return source;
}

static const WritingCommand kCommands[] = {
    {"add",
     {{"p", MakePackage({{"a", "1"}, {"b", "2"}})}, {"c", "333"}},
     {"p"},
     []
     {
         return AddToPackage("p", {"c"});
     }},
    {"remove",
     {{"p", MakePackage({{"a", "1"}, {"b", "2"}})}},
     {"p"},
     []
     {
         return RemoveFromPackage("p", {"a"});
     }},
    {"create",
     {{"p", "old"}, {"c", "333"}},
     {"p"},
     []
     {
         return CreatePackage("p", {"c"}, true);
     }},
    {"create anew",
     {{"c", "333"}},
     {"p"},
     []
     {
         return CreatePackage("p", {"c"}, true);
     }},
    {"build",
     {{"p", "old"}, {"c", "333"}, {"d.xml", "<a><b c=\"1\"/></a>"}, {"e.obj", kCube}},
     {"p"},
     []
     {
         return BuildFolder(".", "p", kForced);
     }},
    {"extract",
     {{"p", MakePackage({{"a", "1"}, {"b", "2"}})}, {"b", "old"}},
     {"a", "b"},
     []
     {
         return ExtractFromPackage("p", ".", {});
     }},
    {"compress",
     {{"c", "text"}, {"z", "old"}},
     {"z"},
     []
     {
         return CompressFile("c", "z", true);
     }},
    {"decompress",
     {{"c", MakeContainer("text")}, {"z", "old"}},
     {"z"},
     []
     {
         return DecompressFile("c", "z", true);
     }},
    {"model",
     {{"e.obj", kCube}, {"z", "old"}},
     {"z"},
     []
     {
         return ConvertMeshFile("e.obj", "z", {}, true);
     }},
    {"textures",
     {{"p", MakePackage({{"demo.xmlz", MakeDocument(OneLayer())}})}, {"sheet.png", "old"}},
     {"demo-layer-000.png", "demo-texture-001.png", "sheet.png"},
     []
     {
         return WriteTextures("p", ".", Verbosity::kUsual);
     }},
};

static constexpr int kNothingFailed = 42;

/// Runs the command in a child process.
/// @param k   which allocation or call fails, counted from 1; 0 for none
/// @return the exit code, or kNothingFailed if there are fewer; -1 for a signal
static int RunWithFault(const TemporaryFolder& folder, const WritingCommand& command,
                        FaultSource source, uint64_t k)
{
    fflush(stdout);
    const pid_t child = fork();
    if (child == 0)
    {
        const int nothing = open("/dev/null", O_RDWR);
        dup2(nothing, STDOUT_FILENO);
        dup2(nothing, STDERR_FILENO);
        umask(022);
        std::set_new_handler([] { _exit(kExitFailed); });
        if (chdir(folder.path.c_str()) != 0)
        {
            _exit(127);
        }
        if (source == FaultSource::kCallsWithoutUnnamed)
        {
            RefuseUnnamedFiles();
        }
        source == FaultSource::kMemory ? FailAllocation(k) : FailCall(k);
        const bool isDone = command.run();
        const uint64_t asked = source == FaultSource::kMemory ? AllowAllocations() : AllowCalls();
        // The child of an import counts on by itself, and what fails there fails the command.
        _exit(!isDone ? kExitFailed : asked < k ? kNothingFailed : kExitDone);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

static void Fill(const TemporaryFolder& folder, const WritingCommand& command)
{
    for (const std::string& name : command.written)
    {
        unlink((folder.path + "/" + name).c_str());
    }
    for (const NamedFile& file : command.before)
    {
        folder.Write(file.name, file.bytes);
    }
}

/// The contents of a file, in a text that an absent file does not have.
static std::string Contents(const TemporaryFolder& folder, const std::string& name)
{
    return access((folder.path + "/" + name).c_str(), F_OK) == 0 ? "+" + folder.Read(name) : "";
}

/// Fails each allocation or call of a command in turn.
static void FailEach(const WritingCommand& command, FaultSource source)
{
    TemporaryFolder folder;
    Fill(folder, command);
    const std::string filesBefore = FilesIn(folder);
    std::vector<std::string> before;
    for (const std::string& name : command.written)
    {
        before.push_back(Contents(folder, name));
    }
    ASSERT_EQ(RunWithFault(folder, command, source, 0), kExitDone);
    const std::string filesAfter = FilesIn(folder);
    std::vector<std::string> after;
    for (const std::string& name : command.written)
    {
        after.push_back(Contents(folder, name));
    }

    uint64_t failed = 0;
    int code = 0;
    for (uint64_t k = 1; code != kNothingFailed; ++k)
    {
        SCOPED_TRACE(std::string(command.name) + ", fault " + std::to_string(k));
        Fill(folder, command);
        code = RunWithFault(folder, command, source, k);
        ASSERT_TRUE(code == kExitDone || code == kExitFailed || code == kNothingFailed) << code;
        failed += code == kExitFailed ? 1 : 0;

        bool isAllOld = true;
        for (size_t i = 0; i < command.written.size(); ++i)
        {
            const std::string now = Contents(folder, command.written[i]);
            ASSERT_TRUE(now == after[i] || (code == kExitFailed && now == before[i]))
                << command.written[i] << " is neither old nor new";
            isAllOld = isAllOld && now == before[i];
        }
        // A command that writes one file has written nothing if it failed.
        ASSERT_TRUE(code != kExitFailed || command.written.size() > 1 || isAllOld);
        const std::string there = FilesIn(folder);
        ASSERT_EQ(there.find(".dpk"), std::string::npos) << there;
        if (code != kExitFailed || isAllOld)
        {
            ASSERT_EQ(there, code == kExitFailed ? filesBefore : filesAfter);
        }
    }
    EXPECT_GT(failed, 3u) << command.name;
}

TEST(WriteFaults, AFailingAllocationLeavesTheOldFile)
{
    for (const WritingCommand& command : kCommands)
    {
        FailEach(command, FaultSource::kMemory);
    }
}

TEST(WriteFaults, AFailingCallLeavesTheOldFile)
{
    for (const WritingCommand& command : kCommands)
    {
        FailEach(command, FaultSource::kCalls);
    }
}

TEST(WriteFaults, NothingStaysBehindWithoutUnnamedFiles)
{
    for (const WritingCommand& command : kCommands)
    {
        FailEach(command, FaultSource::kCallsWithoutUnnamed);
    }
}
