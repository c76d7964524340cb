// SPDX-License-Identifier: MIT
#include "engine/stage/driver_probe.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>

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

TEST_F(DriverProbe, TheOtherSoftwareRendererPasses)
{
    setenv("GALLIUM_DRIVER", "softpipe", 1);
    EXPECT_TRUE(ProbeDriver(0, &faults)) << faults.first.text;
}

TEST_F(DriverProbe, ADriverWithoutAnythingIsAnError)
{
    EXPECT_FALSE(ProbeDriver(1000, &faults));
    EXPECT_EQ(faults.count, 1u);
    EXPECT_STREQ(faults.first.text,
                 "the driver has no picture of 8 bits a channel and 1000 samples a pixel");
}

TEST_F(DriverProbe, ADriverThatDrawsNothingIsAnError)
{
    // Mesa leaves every draw and copy out, and reads back black.
    setenv("GALLIUM_NOOP", "1", 1);
    EXPECT_FALSE(ProbeDriver(0, &faults));
    EXPECT_NE(strstr(faults.first.text, "can't draw pieces: a triangle is ("), nullptr)
        << faults.first.text;
}
