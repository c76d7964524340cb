// SPDX-License-Identifier: MIT
#include "studio/build/watcher.h"

#include <cerrno>
#include <dlfcn.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

#include "support/temporary_folder.h"

/// What the system refuses from now on, as errno; 0 for nothing.
static int refusedStream = 0;
static int refusedFolder = 0;

// In the place of the system's calls.
extern "C" int inotify_init1(int flags) noexcept
{
    using Call = int (*)(int);
    if (refusedStream != 0)
    {
        errno = refusedStream;
        return -1;
    }
    return reinterpret_cast<Call>(dlsym(RTLD_NEXT, "inotify_init1"))(flags);
}

extern "C" int inotify_add_watch(int stream, const char* path, uint32_t events) noexcept
{
    using Call = int (*)(int, const char*, uint32_t);
    if (refusedFolder != 0)
    {
        errno = refusedFolder;
        return -1;
    }
    return reinterpret_cast<Call>(dlsym(RTLD_NEXT, "inotify_add_watch"))(stream, path, events);
}

class WatcherTest : public ::testing::Test
{
  protected:
    void SetUp() override
    {
        refusedStream = 0;
        refusedFolder = 0;
        std::filesystem::create_directories(folder_ + "/below");
        scratch_.Write("piece/one", "1");
    }

    void TearDown() override
    {
        StopWatching(&watcher_);
    }

    bool Poll(uint32_t nowMs = 0)
    {
        return PollWatcher(nowMs, &watcher_);
    }

    TemporaryFolder scratch_;
    std::string folder_ = scratch_.path + "/piece";
    Watcher watcher_ = {};
};

TEST_F(WatcherTest, SeesSavesOfEveryKind)
{
    EXPECT_FALSE(Poll());
    StartWatching(folder_, &watcher_);
    EXPECT_EQ(WatcherText(watcher_), "");
    EXPECT_FALSE(Poll());
    scratch_.Write("piece/one", "2"); // in place
    EXPECT_TRUE(Poll());
    EXPECT_FALSE(Poll());
    scratch_.Write("piece/below/two", "2");
    EXPECT_TRUE(Poll());
    std::filesystem::rename(folder_ + "/below/two", folder_ + "/one"); // as most editors
    EXPECT_TRUE(Poll());
    std::filesystem::create_directories(folder_ + "/later/deep");
    EXPECT_TRUE(Poll());
    EXPECT_FALSE(Poll());
    scratch_.Write("piece/later/deep/three", "3");
    EXPECT_TRUE(Poll());
    std::filesystem::remove(folder_ + "/one");
    EXPECT_TRUE(Poll());
    EXPECT_FALSE(Poll());
}

TEST_F(WatcherTest, AFolderThatIsGoneComesBack)
{
    StartWatching(folder_, &watcher_);
    std::filesystem::rename(folder_, scratch_.path + "/away");
    EXPECT_TRUE(Poll());
    EXPECT_TRUE(watcher_.isGone);
    EXPECT_FALSE(Poll());
    std::filesystem::rename(scratch_.path + "/away", folder_);
    EXPECT_TRUE(Poll());
    EXPECT_FALSE(watcher_.isGone);
    scratch_.Write("piece/below/two", "2");
    EXPECT_TRUE(Poll());
}

TEST_F(WatcherTest, WhatTheSystemDoesNotWatchIsCompared)
{
    refusedFolder = ENOSPC;
    StartWatching(folder_, &watcher_);
    EXPECT_FALSE(watcher_.isGone);
    EXPECT_EQ(WatcherText(watcher_),
              "saves are seen after half a second: the system watches no more folders, raise"
              " fs.inotify.max_user_watches");
    EXPECT_FALSE(Poll(kCompareMs - 1));
    EXPECT_TRUE(Poll(kCompareMs));
    EXPECT_FALSE(Poll(kCompareMs + 1));
    EXPECT_TRUE(Poll(2 * kCompareMs));
    // Limits can be raised.
    refusedFolder = 0;
    EXPECT_TRUE(Poll(3 * kCompareMs));
    EXPECT_EQ(WatcherText(watcher_), "");
    EXPECT_FALSE(Poll(4 * kCompareMs));
    scratch_.Write("piece/one", "2");
    EXPECT_TRUE(Poll(4 * kCompareMs));
}

TEST_F(WatcherTest, WithoutAStreamAllIsCompared)
{
    refusedStream = EMFILE;
    StartWatching(folder_, &watcher_);
    EXPECT_FALSE(watcher_.isGone);
    EXPECT_EQ(WatcherText(watcher_), "saves are seen after half a second: Too many open files");
    EXPECT_FALSE(Poll(1));
    EXPECT_TRUE(Poll(kCompareMs));
    std::filesystem::remove_all(folder_);
    EXPECT_TRUE(Poll(2 * kCompareMs));
    EXPECT_TRUE(watcher_.isGone);
}
