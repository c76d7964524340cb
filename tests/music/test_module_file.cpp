// SPDX-License-Identifier: MIT
#include "music/module_file.h"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "music/module_gate.h"
#include "support/temporary_folder.h"

/// @return the text of a module that is found from a folder, "none" if there is none
static std::string ReadFrom(const char* folder, const std::string& path)
{
    const int stream = OpenModuleFile(folder, path.c_str());
    if (stream < 0)
    {
        return "none";
    }
    FaultList faults;
    StartFaults(&faults);
    ModuleFile file = {};
    const bool isRead = ReadModuleFile(stream, path.c_str(), &file, &faults);
    close(stream);
    std::string text = isRead ? std::string(file.data, file.data + file.size) : "fault";
    for (size_t i = 0; isRead && i < kModulePadding; ++i)
    {
        EXPECT_EQ(file.data[file.size + i], 0);
    }
    FreeModuleFile(&file);
    FreeFaults(&faults);
    return text;
}

TEST(ModuleFile, ItIsLookedForInTheFolder)
{
    TemporaryFolder folder;
    folder.Write("a.xm", "beside");
    folder.Write("music/a.xm", "below");
    EXPECT_EQ(ReadFrom(folder.path.c_str(), "a.xm"), "beside");
}

TEST(ModuleFile, ThenBelowMusic)
{
    TemporaryFolder folder;
    folder.Write("music/a.xm", "below");
    EXPECT_EQ(ReadFrom(folder.path.c_str(), "a.xm"), "below");
    EXPECT_EQ(ReadFrom(folder.path.c_str(), "b.xm"), "none");
}

TEST(ModuleFile, AnAbsolutePathNeedsNoFolder)
{
    TemporaryFolder folder;
    folder.Write("a.xm", "beside");
    EXPECT_EQ(ReadFrom("/nowhere", folder.path + "/a.xm"), "beside");
    EXPECT_EQ(ReadFrom(nullptr, folder.path + "/a.xm"), "beside");
}

TEST(ModuleFile, APipeIsEmptyAndNotWaitedFor)
{
    TemporaryFolder folder;
    ASSERT_EQ(mkfifo((folder.path + "/a.xm").c_str(), 0600), 0);
    EXPECT_EQ(ReadFrom(folder.path.c_str(), "a.xm"), "");
}

TEST(ModuleFile, AFileThatEndsEarlyIsWhatItHas)
{
    TemporaryFolder folder;
    folder.Write("a.xm", "beside");
    const int stream = OpenModuleFile(folder.path.c_str(), "a.xm");
    ASSERT_EQ(lseek(stream, 4, SEEK_SET), 4);
    FaultList faults;
    StartFaults(&faults);
    ModuleFile file = {};
    errno = EINTR; // of an earlier call: the end of a file says nothing
    EXPECT_TRUE(ReadModuleFile(stream, "a.xm", &file, &faults));
    EXPECT_EQ(std::string(file.data, file.data + file.size), "de");
    FreeModuleFile(&file);
    close(stream);
}

TEST(ModuleFile, Descriptor0IsAFileToo)
{
    TemporaryFolder folder;
    folder.Write("a.xm", "beside");
    folder.Write("music/a.xm", "below");
    const int input = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3);
    close(STDIN_FILENO);
    EXPECT_EQ(ReadFrom(folder.path.c_str(), "a.xm"), "beside");
    if (input >= 0)
    {
        dup2(input, STDIN_FILENO);
        close(input);
    }
}

TEST(ModuleFile, AFileThatIsTooLargeIsAFault)
{
    TemporaryFolder folder;
    folder.Write("a.xm", "");
    ASSERT_EQ(truncate((folder.path + "/a.xm").c_str(), kLargestModule + 1), 0);
    EXPECT_EQ(ReadFrom(folder.path.c_str(), "a.xm"), "fault");
}
