// SPDX-License-Identifier: MIT

// A system that gives no process or no pipe: CMake links calls of fork and pipe2 to the routines
// below.
#include <cerrno>
#include <gtest/gtest.h>
#include <sys/types.h>

#include "tools/child_process.h"
#include "tools/ffmpeg.h"
#include "tools/render_jobs.h"

static bool refusesFork = false;
static bool refusesPipe = false;

extern "C" pid_t __real_fork();
extern "C" int __real_pipe2(int* ends, int flags);
extern "C" pid_t __wrap_fork();
extern "C" int __wrap_pipe2(int* ends, int flags);

pid_t __wrap_fork()
{
    if (refusesFork)
    {
        errno = EAGAIN;
        return -1;
    }
    return __real_fork();
}

int __wrap_pipe2(int* ends, int flags)
{
    if (refusesPipe)
    {
        errno = EMFILE;
        return -1;
    }
    return __real_pipe2(ends, flags);
}

static constexpr const char* kNoFork = "Resource temporarily unavailable";
static constexpr const char* kNoPipe = "Too many open files";

class NoProcess : public testing::Test
{
  protected:
    NoProcess()
    {
        testing::internal::CaptureStderr();
    }
    ~NoProcess() override
    {
        refusesFork = false;
        refusesPipe = false;
        testing::internal::GetCapturedStderr();
    }

    /// The lines since the last call.
    static std::string Said()
    {
        const std::string said = testing::internal::GetCapturedStderr();
        testing::internal::CaptureStderr();
        return said;
    }
};

TEST_F(NoProcess, WorkInAChildIsNotDone)
{
    static constexpr ChildLimits kRoomy = {1 << 30, 60, 600};
    const auto work = [](Bytes* bytes)
    {
        bytes->resize(10);
    };
    Bytes output = {1};
    refusesFork = true;
    EXPECT_EQ(RunInChild(kRoomy, work, &output), kNoFork);
    EXPECT_TRUE(output.empty());
    refusesFork = false;
    refusesPipe = true;
    EXPECT_EQ(RunInChild(kRoomy, work, &output), kNoPipe);
    refusesPipe = false;
    EXPECT_EQ(RunInChild(kRoomy, work, &output), "");
    EXPECT_EQ(output.size(), 10u);
}

TEST_F(NoProcess, FfmpegIsNotStarted)
{
    Ffmpeg ffmpeg = {};
    refusesPipe = true;
    EXPECT_FALSE(StartFfmpeg({"-version"}, true, &ffmpeg));
    EXPECT_EQ(Said(), std::string("dpk: ffmpeg can't be started: ") + kNoPipe + "\n");
    refusesPipe = false;
    refusesFork = true;
    EXPECT_FALSE(StartFfmpeg({"-version"}, true, &ffmpeg));
    EXPECT_EQ(Said(), std::string("dpk: ffmpeg can't be started: ") + kNoFork + "\n");
    EXPECT_EQ(ffmpeg.process, 0);
}

TEST_F(NoProcess, NothingIsDrawn)
{
    const RenderPlan plan = {};
    const RenderSource source = {};
    RenderWork work = {};
    work.plan = &plan;
    work.source = &source;
    work.indices = {0, 1};
    work.jobs = 2;
    work.verbosity = Verbosity::kQuiet;
    refusesPipe = true;
    EXPECT_EQ(RunJobs(work).result, DrawResult::kFailed);
    EXPECT_EQ(Said(), std::string("dpk: no pipe: ") + kNoPipe + "\n");
    refusesPipe = false;
    refusesFork = true;
    EXPECT_EQ(RunJobs(work).result, DrawResult::kFailed);
    EXPECT_EQ(Said(), std::string("dpk: no process: ") + kNoFork + "\n");
}
