// SPDX-License-Identifier: MIT
#include "studio/build/child.h"

#include <csignal>
#include <gtest/gtest.h>
#include <poll.h>
#include <string>
#include <unistd.h>

#include "tools/files.h"

/// Waits until the child has written or ended, and takes what there is.
static void ReadMore(Child* child)
{
    pollfd streams[2] = {{child->fromChild, POLLIN, 0}, {child->errorStream, POLLIN, 0}};
    poll(streams, 2, -1);
    ReadChild(child, 1 << 20);
}

TEST(Child, ACopyKnowsWhatThisProcessKnew)
{
    const std::string known = "four";
    Child child = {};
    const auto work = [&known]
    {
        WriteAll(STDOUT_FILENO, known.data(), known.size());
        WriteAll(STDERR_FILENO, "too", 3);
    };
    ASSERT_TRUE(StartCopy(work, 600, &child)) << child.errors;
    while (!child.hasEnded)
    {
        ReadMore(&child);
    }
    EXPECT_EQ(std::string(child.output.begin(), child.output.end()), "four");
    EXPECT_EQ(child.errors, "too");
    EndChild(&child);
    EXPECT_EQ(child.pid, 0);
}

TEST(Child, ACopyThatNeverEndsIsEnded)
{
    Child child = {};
    const auto work = []
    {
        WriteAll(STDOUT_FILENO, "x", 1);
        for (;;)
        {
            pause();
        }
    };
    ASSERT_TRUE(StartCopy(work, 600, &child)) << child.errors;
    while (child.output.empty())
    {
        ReadMore(&child);
    }
    EXPECT_FALSE(child.hasEnded);
    const pid_t pid = child.pid;
    EndChild(&child);
    EXPECT_EQ(kill(pid, 0), -1); // neither running nor waiting to be asked for
}

TEST(Child, ACopyHoldsNoOtherStreamOpen)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    Child child = {};
    const auto work = []
    {
        for (;;)
        {
            pause();
        }
    };
    ASSERT_TRUE(StartCopy(work, 600, &child)) << child.errors;
    close(ends[1]);
    char byte;
    EXPECT_EQ(read(ends[0], &byte, 1), 0); // its end, though the copy lives
    close(ends[0]);
    EXPECT_FALSE(child.hasEnded);
    EndChild(&child);
}

TEST(Child, ACopyThatTakesTooLongEndsItself)
{
    Child child = {};
    const auto work = []
    {
        for (;;)
        {
            pause();
        }
    };
    ASSERT_TRUE(StartCopy(work, 1, &child)) << child.errors;
    for (int i = 0; i < 600 && !child.hasEnded; ++i)
    {
        usleep(50000);
        ReadChild(&child, 1);
    }
    EXPECT_TRUE(child.hasEnded);
    EndChild(&child);
}
