// SPDX-License-Identifier: MIT

// The program quorvale-warm as a process, on a driver without a window.
#include <cstdio>
#include <dirent.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>

#include "support/package_builder.h"
#include "support/small_piece.h"
#include "support/temporary_folder.h"

struct Said
{
    std::string text; // both streams
    int exitCode;
};

/// Runs a command of the shell.
static Said RunShell(const std::string& command)
{
    FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    Said said;
    char block[4096];
    for (size_t got = fread(block, 1, sizeof(block), pipe); got > 0;
         got = fread(block, 1, sizeof(block), pipe))
    {
        said.text.append(block, got);
    }
    said.exitCode = WEXITSTATUS(pclose(pipe));
    return said;
}

/// @return how many files of a folder begin with "warm-"; 0 without such a folder
static int CountMarks(const std::string& folder)
{
    DIR* directory = opendir(folder.c_str());
    if (directory == nullptr)
    {
        return 0;
    }
    int count = 0;
    while (const dirent* item = readdir(directory))
    {
        count += std::string(item->d_name).rfind("warm-", 0) == 0 ? 1 : 0;
    }
    closedir(directory);
    return count;
}

struct WarmFolder
{
    explicit WarmFolder(const std::string& package)
    {
        folder.Write("piece.dpk", package);
    }

    Said Warm() const
    {
        return RunShell("XDG_CACHE_HOME='" + folder.path + "/cache' '" WARM "' '" + folder.path +
                        "/piece.dpk'");
    }

    int Marks() const
    {
        return CountMarks(folder.path + "/cache/quorvale");
    }

    TemporaryFolder folder;
};

TEST(WarmCache, APieceIsDrawnOnceAndToldOnce)
{
    WarmFolder warm(SmallPiece());
    const Said first = warm.Warm();
    EXPECT_EQ(first.exitCode, 0);
    EXPECT_EQ(first.text.rfind("Getting the driver ready for this piece, once: ", 0), 0u)
        << first.text;
    EXPECT_EQ(warm.Marks(), 1);

    const Said second = warm.Warm();
    EXPECT_EQ(second.exitCode, 0);
    EXPECT_EQ(second.text, "");
    EXPECT_EQ(warm.Marks(), 1);

    warm.folder.Write("piece.dpk", SmallPiece() + "more");
    EXPECT_NE(warm.Warm().text, "");
    EXPECT_EQ(warm.Marks(), 2);
}

TEST(WarmCache, AFaultIsLeftToThePlayer)
{
    DocumentSource demo = SmallDocument();
    demo.sections[6] = "<b filename=\"missing\"/>";
    const Said said = WarmFolder(SmallPieceOf(SmallDocument(), demo)).Warm();
    EXPECT_EQ(said.exitCode, 0);
    EXPECT_EQ(said.text.find("fault"), std::string::npos) << said.text;
    EXPECT_EQ(said.text.find("missing"), std::string::npos) << said.text;
}

TEST(WarmCache, WhatHasNothingToDrawIsSilent)
{
    for (const std::string& content : {std::string(), std::string("no package"), MakePackage({})})
    {
        const WarmFolder warm(content);
        const Said said = warm.Warm();
        EXPECT_EQ(said.exitCode, 0);
        EXPECT_EQ(said.text, "");
        EXPECT_EQ(warm.Marks(), 0);
    }
    EXPECT_EQ(RunShell("'" WARM "' /nowhere.dpk").exitCode, 0);
}

TEST(WarmCache, WithoutAFolderForItNothingIsDrawn)
{
    TemporaryFolder folder;
    folder.Write("piece.dpk", SmallPiece());
    const Said said =
        RunShell("env -u HOME -u XDG_CACHE_HOME '" WARM "' '" + folder.path + "/piece.dpk'");
    EXPECT_EQ(said.exitCode, 0);
    EXPECT_EQ(said.text, "");
}

TEST(WarmCache, TheRendererIsTold)
{
    const Said said = RunShell("'" WARM "' --renderer");
    EXPECT_EQ(said.exitCode, 0);
    EXPECT_GT(said.text.size(), 1u);
}

TEST(WarmCache, WithoutAFileItTellsItsUsage)
{
    for (const char* words : {"", " a b"})
    {
        const Said said = RunShell("'" WARM "'" + std::string(words));
        EXPECT_EQ(said.exitCode, 2);
        EXPECT_EQ(said.text, "usage: quorvale-warm FILE|--renderer\n");
    }
}
