// SPDX-License-Identifier: MIT
#include "tools/child_process.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

static constexpr ChildLimits kRoomy = {1 << 30, 60, 600};

/// @return what ended the child
static std::string EndOf(const ChildLimits& limits, void (*work)(Bytes*))
{
    Bytes output = {1};
    const std::string end = RunInChild(limits, work, &output);
    EXPECT_TRUE(output.empty());
    return end;
}

TEST(ChildProcess, GivesAllBytesOfItsWork)
{
    for (const size_t size : {0u, 1u, 65536u, 3000000u})
    {
        Bytes output;
        EXPECT_EQ(RunInChild(
                      kRoomy,
                      [size](Bytes* bytes)
                      {
                          bytes->resize(size, 7);
                          if (size != 0)
                          {
                              bytes->back() = 9;
                          }
                      },
                      &output),
                  "");
        ASSERT_EQ(output.size(), size);
        EXPECT_TRUE(size == 0 || output.back() == 9);
        EXPECT_TRUE(size < 2 || output.front() == 7);
    }
}

TEST(ChildProcess, ASignalEndsTheChildAlone)
{
    EXPECT_EQ(EndOf(kRoomy, [](Bytes*) { raise(SIGSEGV); }),
              "ended by signal 11 (Segmentation fault)");
    EXPECT_EQ(EndOf(kRoomy, [](Bytes*) { abort(); }), "ended by signal 6 (Aborted)");
    EXPECT_EQ(EndOf(kRoomy, [](Bytes*) { _exit(3); }), "did not get to its end");
}

TEST(ChildProcess, ABusyChildIsEnded)
{
    const ChildLimits brief = {1 << 30, 1, 600};
    EXPECT_EQ(EndOf(brief,
                    [](Bytes*)
                    {
                        for (volatile bool isBusy = true; isBusy;)
                        {
                        }
                    }),
              "took more than 1 s");
}

// A kill at once would look like a kill from anywhere.
TEST(ChildProcess, HearsThatItsTimeIsUpBeforeItIsKilled)
{
    signal(SIGXCPU, SIG_IGN);
    Bytes output;
    EXPECT_EQ(RunInChild(
                  kRoomy,
                  [](Bytes* bytes)
                  {
                      rlimit limit = {};
                      getrlimit(RLIMIT_CPU, &limit);
                      bytes->push_back(static_cast<uint8_t>(limit.rlim_cur));
                      bytes->push_back(static_cast<uint8_t>(limit.rlim_max));
                      bytes->push_back(signal(SIGXCPU, SIG_DFL) == SIG_DFL ? 1 : 0);
                  },
                  &output),
              "");
    signal(SIGXCPU, SIG_DFL);
    EXPECT_EQ(output, (Bytes{60, 61, 1}));
    EXPECT_EQ(EndOf(kRoomy, [](Bytes*) { raise(SIGXCPU); }), "took more than 60 s");
    EXPECT_EQ(EndOf(kRoomy, [](Bytes*) { raise(SIGKILL); }), "ended by signal 9 (Killed)");
}

TEST(ChildProcess, AWaitingChildIsEnded)
{
    const ChildLimits brief = {1 << 30, 60, 1};
    EXPECT_EQ(EndOf(brief, [](Bytes*) { pause(); }), "took more than 1 s");
}

TEST(ChildProcess, MemoryHasAnEnd)
{
    const ChildLimits narrow = {64 << 20, 60, 600};
    Bytes output;
    EXPECT_EQ(RunInChild(
                  narrow,
                  [](Bytes* bytes)
                  {
                      const size_t sizes[] = {size_t{1} << 20, size_t{1} << 30};
                      for (const size_t size : sizes)
                      {
                          void* block = mmap(nullptr, size, PROT_READ | PROT_WRITE,
                                             MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
                          bytes->push_back(block == MAP_FAILED ? 0 : 1);
                      }
                  },
                  &output),
              "");
    EXPECT_EQ(output, (Bytes{1, 0}));
}

TEST(ChildProcess, ItsPrintsAndFilesAreLost)
{
    char path[] = "/tmp/quorvale-child-XXXXXX";
    const int file = mkstemp(path);
    ASSERT_GE(file, 0);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    printf("before\n");
    Bytes output;
    RunInChild(
        kRoomy,
        [file](Bytes* bytes)
        {
            signal(SIGXFSZ, SIG_IGN);
            printf("out\n");
            fprintf(stderr, "err\n");
            fflush(stdout);
            bytes->push_back(write(file, "x", 1) == 1 ? 1 : 0);
        },
        &output);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "before\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(output, Bytes{0});
    close(file);
    unlink(path);
}

TEST(ChildProcess, NoneIsLeftToWaitFor)
{
    EndOf(kRoomy, [](Bytes*) { abort(); });
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
}
