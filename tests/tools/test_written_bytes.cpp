// SPDX-License-Identifier: MIT
#include <cerrno>
#include <csignal>
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>

#include "tools/files.h"

TEST(WriteAll, GoesOnUntilAPipeHasTakenAll)
{
    int ends[2] = {};
    ASSERT_EQ(pipe(ends), 0);
    Bytes bytes(1000003); // more than a pipe holds
    for (size_t i = 0; i < bytes.size(); ++i)
    {
        bytes[i] = static_cast<unsigned char>(i * 7 + i / 251);
    }
    Bytes taken;
    std::thread reader(
        [&taken, input = ends[0]]
        {
            unsigned char step[4093];
            for (ssize_t got = read(input, step, sizeof(step)); got > 0;
                 got = read(input, step, sizeof(step)))
            {
                taken.insert(taken.end(), step, step + got);
            }
        });
    EXPECT_TRUE(WriteAll(ends[1], bytes.data(), bytes.size()));
    EXPECT_TRUE(WriteAll(ends[1], nullptr, 0));
    close(ends[1]);
    reader.join();
    close(ends[0]);
    EXPECT_TRUE(taken == bytes);
}

TEST(WriteAll, TellsThatNobodyReads)
{
    int ends[2] = {};
    ASSERT_EQ(pipe(ends), 0);
    close(ends[0]);
    signal(SIGPIPE, SIG_IGN);
    EXPECT_FALSE(WriteAll(ends[1], "x", 1));
    EXPECT_EQ(errno, EPIPE);
    signal(SIGPIPE, SIG_DFL);
    close(ends[1]);
}
