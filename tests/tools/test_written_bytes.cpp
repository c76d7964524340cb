// SPDX-License-Identifier: MIT
#include <cerrno>
#include <csignal>
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>

#include "support/temporary_folder.h"
#include "tools/files.h"
#include "tools/package_commands.h"
#include "tools/render_output.h"

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

TEST(WriteWave, RefusesMoreThanSuchAFileHolds)
{
    const TemporaryFolder folder;
    const int16_t sample = 0;
    testing::internal::CaptureStderr();
    // Only the size is looked at.
    EXPECT_FALSE(WriteWave(folder.path + "/long.wav", {&sample, (size_t{1} << 31) - 21}));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "dpk: " + folder.path + "/long.wav: a sound file of this kind holds 4 GiB at most\n");
    EXPECT_NE(access((folder.path + "/long.wav").c_str(), F_OK), 0);
}

TEST(WritePackage, RefusesSourcesThatHaveGrownMeanwhile)
{
    const TemporaryFolder folder;
    PackageBytes package = {static_cast<unsigned char*>(calloc(1, 120)), 120, 120};
    testing::internal::CaptureStderr();
    EXPECT_FALSE(WritePackage(folder.path + "/p.dpk", {{"a", 10, 75}}, &package));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "dpk: " + folder.path + "/p.dpk: a source changed while it was read\n");
    EXPECT_EQ(package.bytes, nullptr);
    EXPECT_NE(access((folder.path + "/p.dpk").c_str(), F_OK), 0);
}
