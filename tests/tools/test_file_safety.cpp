// SPDX-License-Identifier: MIT

// The files that dpk works on, and those that it has to leave alone, also when it is interrupted.
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <random>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "support/package_builder.h"
#include "tools/dpk_run.h"

static void ExpectError(const DpkRun& run, const std::string& text)
{
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "dpk: " + text + "\n");
}

static std::string PathIn(const TemporaryFolder& folder, const std::string& name)
{
    return folder.path + "/" + name;
}

// ---- Files that extract leaves alone

TEST(DpkExtract, NeverReplacesItsOwnPackage)
{
    TemporaryFolder folder;
    const std::string package = MakePackage({{"a", "1"}, {"p.dpk", "2"}});
    folder.Write("p.dpk", package);
    const std::string text = "\"p.dpk\" is not extracted: its file would replace the package";
    ExpectError(RunDpk(folder, {"extract", "p.dpk"}), text);
    ExpectError(RunDpk(folder, {"extract", "p.dpk", "p.dpk"}), text);
    ExpectError(RunDpk(folder, {"extract", PathIn(folder, "p.dpk"), "-o", "./."}), text);
    EXPECT_EQ(symlink("p.dpk", PathIn(folder, "link.dpk").c_str()), 0);
    ExpectError(RunDpk(folder, {"extract", "link.dpk"}), text);
    EXPECT_EQ(folder.Read("p.dpk"), package);
    EXPECT_EQ(FilesIn(folder), "link.dpk p.dpk");

    EXPECT_EQ(RunDpk(folder, {"extract", "p.dpk", "-o", "out"}).exitCode, 0);
    EXPECT_EQ(folder.Read("out/p.dpk"), "2");
}

TEST(DpkExtract, DoesNotWriteThroughLinks)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", MakePackage({{"a", "new"}, {"b", "new"}, {"c", "new"}}));
    folder.Write("victim", "old");
    folder.Write("out/b", "old");
    EXPECT_EQ(symlink("../victim", PathIn(folder, "out/a").c_str()), 0);
    EXPECT_EQ(symlink("../nowhere", PathIn(folder, "out/c").c_str()), 0);
    DpkRun run = RunDpk(folder, {"extract", "p.dpk", "-o", "out"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "dpk: out/a: a link is in the file's place\n"
                       "dpk: out/c: a link is in the file's place\n");
    EXPECT_EQ(folder.Read("victim"), "old");
    EXPECT_EQ(folder.Read("out/b"), "new");
    EXPECT_EQ(FilesIn(folder), "out p.dpk victim");
}

TEST(DpkExtract, LeavesFilesWithOtherNamesAlone)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", MakePackage({{"a", "new"}}));
    folder.Write("a", "old");
    EXPECT_EQ(link(PathIn(folder, "a").c_str(), PathIn(folder, "b").c_str()), 0);
    EXPECT_EQ(RunDpk(folder, {"extract", "p.dpk"}).exitCode, 0);
    EXPECT_EQ(folder.Read("a"), "new");
    EXPECT_EQ(folder.Read("b"), "old");
}

TEST(DpkExtract, LeavesNoHalfFiles)
{
    TemporaryFolder folder;
    folder.Write("p.dpk",
                 MakePackage({{"a", std::string(500, 'x')}, {"b", std::string(500, 'y')}}));
    folder.Write("out/b", "old");
    DpkSurroundings tight = kOrdinary;
    tight.fileSizeLimit = 100;
    DpkRun run = RunDpk(folder, {"extract", "p.dpk", "-o", "out"}, tight);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "dpk: out/a: could not be written\ndpk: out/b: could not be written\n");
    EXPECT_EQ(folder.Read("out/b"), "old");
    EXPECT_NE(access(PathIn(folder, "out/a").c_str(), F_OK), 0);
}

// ---- Pipes

TEST(DpkFiles, APipeIsNeverWaitedFor)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", MakePackage({{"pipe", "new"}}));
    folder.Write("a", "text");
    folder.Write("src/a", "text");
    folder.Write("empty.dpk", MakePackage({}));
    ASSERT_EQ(mkfifo(PathIn(folder, "pipe").c_str(), 0600), 0);
    ASSERT_EQ(mkfifo(PathIn(folder, "src/pipe.obj").c_str(), 0600), 0);
    const std::vector<std::string> commands[] = {
        {"list", "pipe"},
        {"extract", "pipe"},
        {"extract", "p.dpk"},
        {"add", "pipe", "a"},
        {"add", "empty.dpk", "pipe"},
        {"remove", "pipe", "a"},
        {"create", "pipe", "a"},
        {"create", "q.dpk", "pipe"},
        {"build", "src", "-o", "pipe"},
        {"model", "pipe", "out"},
        {"compress", "pipe", "out"},
        {"compress", "a", "pipe"},
        {"decompress", "pipe", "out"},
        {"textures", "pipe", "-o", "out"},
    };
    for (const std::vector<std::string>& command : commands)
    {
        SCOPED_TRACE(command[0] + " " + command[1]);
        DpkRun run = RunDpk(folder, command);
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_NE(run.err.find("pipe: not a regular file\n"), std::string::npos) << run.err;
    }
    EXPECT_EQ(FilesIn(folder), "a empty.dpk p.dpk pipe src");
}

// ---- Two at once

TEST(DpkAdd, ManyAtOnceLoseNothing)
{
    static constexpr int kThreads = 6;
    static constexpr int kFiles = 5; // of each thread
    TemporaryFolder folder;
    folder.Write("p.dpk", MakePackage({{"first", "1"}}));
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
    {
        for (int i = 0; i < kFiles; ++i)
        {
            folder.Write("f" + std::to_string(t) + std::to_string(i), std::to_string(t * 10 + i));
        }
        threads.emplace_back(
            [&folder, t]
            {
                for (int i = 0; i < kFiles; ++i)
                {
                    const std::string name = "f" + std::to_string(t) + std::to_string(i);
                    EXPECT_EQ(RunDpk(folder, {"add", "p.dpk", name}).exitCode, 0);
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }

    EXPECT_EQ(RunDpk(folder, {"extract", "p.dpk", "-o", "out"}).exitCode, 0);
    for (int t = 0; t < kThreads; ++t)
    {
        for (int i = 0; i < kFiles; ++i)
        {
            const std::string name = "f" + std::to_string(t) + std::to_string(i);
            ASSERT_EQ(access(PathIn(folder, "out/" + name).c_str(), F_OK), 0) << name;
            EXPECT_EQ(folder.Read("out/" + name), std::to_string(t * 10 + i));
        }
    }
}

// ---- Killed in the middle

struct KilledCommand
{
    std::vector<std::string> arguments;
    std::vector<std::string> written; // files that it makes or replaces
};

static const KilledCommand kKilledCommands[] = {
    {{"add", "p.dpk", "big"}, {"p.dpk"}},    {{"remove", "p.dpk", "x"}, {"p.dpk"}},
    {{"create", "p.dpk", "big"}, {"p.dpk"}}, {{"build", "src", "-o", "p.dpk"}, {"p.dpk"}},
    {{"extract", "q.dpk"}, {"y", "z"}},
};

static void FillForKill(const TemporaryFolder& folder)
{
    folder.Write("big", std::string(1 << 20, 'b'));
    folder.Write("src/a", std::string(1 << 20, 'a'));
    folder.Write("src/c.xml", "<a/>");
    folder.Write("p.dpk", MakePackage({{"w", std::string(1 << 20, 'w')}, {"x", "x"}}));
    folder.Write("q.dpk", MakePackage({{"y", std::string(1 << 20, 'y')}, {"z", "new"}}));
    folder.Write("z", "old");
    unlink(PathIn(folder, "y").c_str());
}

/// The contents of a file, in a text that an absent file does not have.
static std::string Contents(const TemporaryFolder& folder, const std::string& name)
{
    return access(PathIn(folder, name).c_str(), F_OK) == 0 ? "+" + folder.Read(name) : "";
}

static std::vector<std::string> AllContents(const TemporaryFolder& folder,
                                            const std::vector<std::string>& names)
{
    std::vector<std::string> contents;
    for (const std::string& name : names)
    {
        contents.push_back(Contents(folder, name));
    }
    return contents;
}

/// Starts dpk and kills it after a time.
static void RunAndKill(const TemporaryFolder& folder, const std::vector<std::string>& arguments,
                       int64_t microseconds)
{
    const pid_t child = fork();
    if (child == 0)
    {
        ExecuteDpk(folder, arguments);
    }
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
}

/// Removes new files that had no time to take the place of the old ones, and counts them.
static int RemoveLeftOver(const TemporaryFolder& folder)
{
    int count = 0;
    std::string files = FilesIn(folder);
    for (size_t at = files.find(".dpk-"); at != std::string::npos; at = files.find(".dpk-", at + 1))
    {
        unlink(PathIn(folder, files.substr(at, files.find(' ', at) - at)).c_str());
        count += 1;
    }
    return count;
}

TEST(DpkKill, LeavesWholeFilesAtAnyMoment)
{
    static constexpr int kKills = 40; // of each command
    std::minstd_rand random(1);
    int leftOver = 0;
    int old = 0;
    for (const KilledCommand& command : kKilledCommands)
    {
        TemporaryFolder folder;
        FillForKill(folder);
        const std::vector<std::string> before = AllContents(folder, command.written);
        const auto start = std::chrono::steady_clock::now();
        ASSERT_EQ(RunDpk(folder, command.arguments).exitCode, 0);
        const int64_t wholeTime = std::chrono::duration_cast<std::chrono::microseconds>(
                                      std::chrono::steady_clock::now() - start)
                                      .count();
        const std::vector<std::string> after = AllContents(folder, command.written);
        const std::string files = FilesIn(folder);

        for (int i = 0; i < kKills; ++i)
        {
            FillForKill(folder);
            RunAndKill(folder, command.arguments, static_cast<int64_t>(random()) % wholeTime);
            leftOver += RemoveLeftOver(folder);
            const std::vector<std::string> now = AllContents(folder, command.written);
            for (size_t k = 0; k < now.size(); ++k)
            {
                ASSERT_TRUE(now[k] == before[k] || now[k] == after[k]) << command.arguments[0];
                old += now[k] == before[k] ? 1 : 0;
            }
            const std::string there = FilesIn(folder);
            ASSERT_EQ(there, Contents(folder, "y").empty() && command.arguments[0] == "extract"
                                 ? files.substr(0, files.find(" y")) + " z"
                                 : files);
        }
    }
    EXPECT_GT(old, 20);
    // A file takes another's place in two steps, a few microseconds apart: a name of its own first.
    EXPECT_LE(leftOver, 3);
}
