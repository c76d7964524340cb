// SPDX-License-Identifier: MIT
#include "engine/stage/driver_probe.h"

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <unistd.h>

class DriverProbe : public testing::Test
{
  protected:
    void SetUp() override
    {
        unsetenv("DISPLAY");
        unsetenv("WAYLAND_DISPLAY");
        StartFaults(&faults);
    }
    void TearDown() override
    {
        FreeFaults(&faults);
    }

    FaultList faults;
};

TEST_F(DriverProbe, TheSoftwareRendererPasses)
{
    EXPECT_TRUE(ProbeDriver(0, &faults)) << faults.first.text;
    EXPECT_TRUE(ProbeDriver(4, &faults)) << faults.first.text;
}

TEST_F(DriverProbe, ADriverWithoutAnythingIsAnError)
{
    EXPECT_FALSE(ProbeDriver(1000, &faults));
    EXPECT_EQ(faults.count, 1u);
    EXPECT_STREQ(faults.first.text,
                 "the driver has no picture of 8 bits a channel and 1000 samples a pixel");
}

/// Mesa reads its variables once in a process, so each of these tests probes in one of its own,
/// which ends with 0 if the driver passes and else with 1 and the fault on standard error.
class DriverProbeDeathTest : public DriverProbe
{
  protected:
    void SetUp() override
    {
        DriverProbe::SetUp();
        GTEST_FLAG_SET(death_test_style, "threadsafe");
    }

    [[noreturn]] void Probe(const char* variable, const char* value)
    {
        setenv(variable, value, 1);
        const bool passes = ProbeDriver(0, &faults);
        fputs(faults.first.text, stderr);
        _exit(passes ? 0 : 1);
    }
};

TEST_F(DriverProbeDeathTest, TheOtherSoftwareRendererPasses)
{
    EXPECT_EXIT(Probe("GALLIUM_DRIVER", "softpipe"), testing::ExitedWithCode(0), "");
}

TEST_F(DriverProbeDeathTest, ADriverThatDrawsNothingIsAnError)
{
    // Mesa leaves every draw and copy out, and reads back black.
    EXPECT_EXIT(Probe("GALLIUM_NOOP", "1"), testing::ExitedWithCode(1),
                "can't draw pieces: a triangle is \\(.*\\) and should be \\(255, 0, 0\\)");
}
