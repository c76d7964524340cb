// SPDX-License-Identifier: MIT
#include "engine/stage/egl_display.h"

#include <GL/glew.h>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <sys/wait.h>
#include <vector>

using Pixel = std::array<int, 3>;

/// A display that is open while a test runs.
struct OpenDisplay
{
    OpenDisplay(int32_t width, int32_t height, int32_t samples)
    {
        const EglDisplayRequest request = {width, height, samples};
        FaultList faults;
        StartFaults(&faults);
        isOpen = OpenEglDisplay(&request, &display, &faults);
        EXPECT_TRUE(isOpen) << faults.first.text;
    }
    ~OpenDisplay()
    {
        CloseEglDisplay(&display);
    }
    OpenDisplay(const OpenDisplay&) = delete;
    OpenDisplay& operator=(const OpenDisplay&) = delete;

    EglDisplay display = {};
    bool isOpen;
};

class EglDisplays : public testing::Test
{
  protected:
    void SetUp() override
    {
        unsetenv("DISPLAY");
        unsetenv("WAYLAND_DISPLAY");
    }
};

/// Fills a rectangle, counted in pixels from the lower left, with a color.
static void FillRectangle(int x, int y, int width, int height, const Pixel& color)
{
    glEnable(GL_SCISSOR_TEST);
    glScissor(x, y, width, height);
    glClearColor(static_cast<float>(color[0]) / 255.0f, static_cast<float>(color[1]) / 255.0f,
                 static_cast<float>(color[2]) / 255.0f, 0.0f);
    glClear(GL_COLOR_BUFFER_BIT);
    glDisable(GL_SCISSOR_TEST);
}

static std::vector<uint8_t> TakePicture(const EglDisplay& display)
{
    std::vector<uint8_t> rgb(
        static_cast<size_t>(display.width) * static_cast<size_t>(display.height) * 3 + 1);
    rgb.back() = 77;
    ReadEglPicture(&display, rgb.data());
    EXPECT_EQ(rgb.back(), 77); // nothing past the end
    rgb.pop_back();
    return rgb;
}

/// @param x, y   from the upper left
static Pixel PixelOf(const EglDisplay& display, const std::vector<uint8_t>& rgb, int x, int y)
{
    const size_t at =
        (static_cast<size_t>(y) * static_cast<size_t>(display.width) + static_cast<size_t>(x)) * 3;
    return {rgb[at], rgb[at + 1], rgb[at + 2]};
}

/// One white triangle over the lower left half, and whatever else is drawn with it.
static void DrawWhiteTriangle()
{
    glColor4f(1.0f, 1.0f, 1.0f, 1.0f);
    glBegin(GL_TRIANGLES);
    glVertex2f(-1.0f, -1.0f);
    glVertex2f(0.9f, -1.0f);
    glVertex2f(-1.0f, 0.8f);
    glEnd();
}

/// A picture that is told from its mirror images.
static void DrawQuarters(int width, int height)
{
    FillRectangle(0, 0, width, height, {10, 20, 30});
    FillRectangle(0, height / 2, width / 2, height - height / 2, {255, 0, 0});
    FillRectangle(width / 2, height / 2, width - width / 2, height - height / 2, {0, 255, 0});
    FillRectangle(0, 0, width / 2, height / 2, {0, 0, 255});
}

TEST_F(EglDisplays, OpenWithoutAScreen)
{
    const OpenDisplay open(160, 120, 0);
    ASSERT_TRUE(open.isOpen);

    EXPECT_EQ(open.display.width, 160);
    EXPECT_EQ(open.display.height, 120);
    EXPECT_EQ(open.display.samples, 0);
    EXPECT_NE(strstr(reinterpret_cast<const char*>(glGetString(GL_VERSION)), "Compatibility"),
              nullptr);
    EXPECT_EQ(open.display.features.vbo, 1);
    EXPECT_EQ(open.display.features.pbo, 1);
    EXPECT_EQ(open.display.features.npot, 1);
    EXPECT_EQ(open.display.features.dot3, 1);
}

TEST_F(EglDisplays, HaveTheBuffersOfThePlayer)
{
    for (const int32_t samples : {0, 4})
    {
        const OpenDisplay open(16, 16, samples);
        for (const GLenum channel : {GL_RED_BITS, GL_GREEN_BITS, GL_BLUE_BITS, GL_ALPHA_BITS})
        {
            GLint bits = 0;
            glGetIntegerv(channel, &bits);
            EXPECT_EQ(bits, 8) << channel;
        }
        GLint depth = 0;
        glGetIntegerv(GL_DEPTH_BITS, &depth);
        EXPECT_EQ(depth, 24);
    }
}

TEST_F(EglDisplays, StartBlackInTheBaselineState)
{
    const OpenDisplay open(8, 8, 0);
    EXPECT_EQ(TakePicture(open.display), std::vector<uint8_t>(8 * 8 * 3, 0));

    EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST));
    EXPECT_TRUE(glIsEnabled(GL_BLEND));
    EXPECT_TRUE(glIsEnabled(GL_COLOR_MATERIAL));
    EXPECT_FALSE(glIsEnabled(GL_TEXTURE_GEN_S));
    GLint value = 0;
    glGetIntegerv(GL_DEPTH_FUNC, &value);
    EXPECT_EQ(value, GL_LEQUAL);
    glGetTexGeniv(GL_S, GL_TEXTURE_GEN_MODE, &value);
    EXPECT_EQ(value, GL_SPHERE_MAP);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

TEST_F(EglDisplays, AreReadWithTheUpperRowFirst)
{
    const int32_t sizes[][2] = {{2, 2}, {5, 3}, {160, 120}, {641, 481}, {31, 4200}, {8192, 64}};
    for (const auto& size : sizes)
    {
        const OpenDisplay open(size[0], size[1], 0);
        ASSERT_TRUE(open.isOpen);
        DrawQuarters(size[0], size[1]);
        const std::vector<uint8_t> rgb = TakePicture(open.display);

        const int right = size[0] - 1;
        const int bottom = size[1] - 1;
        EXPECT_EQ(PixelOf(open.display, rgb, 0, 0), (Pixel{255, 0, 0}));
        EXPECT_EQ(PixelOf(open.display, rgb, right, 0), (Pixel{0, 255, 0}));
        EXPECT_EQ(PixelOf(open.display, rgb, 0, bottom), (Pixel{0, 0, 255}));
        EXPECT_EQ(PixelOf(open.display, rgb, right, bottom), (Pixel{10, 20, 30}));
    }
}

TEST_F(EglDisplays, CanBeOnePixel)
{
    const OpenDisplay open(1, 1, 4);
    ASSERT_TRUE(open.isOpen);
    FillRectangle(0, 0, 1, 1, {1, 2, 3});
    EXPECT_EQ(TakePicture(open.display), (std::vector<uint8_t>{1, 2, 3}));
}

TEST_F(EglDisplays, SmoothEdgesOnlyWithSamples)
{
    for (const int32_t samples : {0, 1, 2, 4})
    {
        const OpenDisplay open(64, 64, samples);
        ASSERT_TRUE(open.isOpen);
        EXPECT_GE(open.display.samples, samples);
        GLint told = -1;
        glGetIntegerv(GL_SAMPLES, &told);
        EXPECT_EQ(told, open.display.samples);

        DrawWhiteTriangle();
        const std::vector<uint8_t> rgb = TakePicture(open.display);
        const std::set<uint8_t> shades(rgb.begin(), rgb.end());
        EXPECT_EQ(shades.count(0) + shades.count(255), 2u);
        EXPECT_EQ(shades.size() > 2, open.display.samples > 1) << samples;
    }
}

TEST_F(EglDisplays, CopyTheirPictureIntoTextures)
{
    for (const int32_t samples : {0, 4})
    {
        const OpenDisplay open(64, 64, samples);
        ASSERT_TRUE(open.isOpen);
        DrawWhiteTriangle();
        const std::vector<uint8_t> drawn = TakePicture(open.display);

        const std::vector<uint8_t> gray(64 * 64 * 3, 100);
        GLuint texture = 0;
        glGenTextures(1, &texture);
        glBindTexture(GL_TEXTURE_2D, texture);
        glTexImage2D(GL_TEXTURE_2D, 0, 3, 64, 64, 0, GL_RGB, GL_UNSIGNED_BYTE, gray.data());
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
        glCopyTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 0, 0, 64, 64);
        FillRectangle(0, 0, 64, 64, {1, 2, 3});

        // Drawn over the whole picture, the texture is the picture.
        glEnable(GL_TEXTURE_2D);
        glDisable(GL_DEPTH_TEST);
        glBegin(GL_QUADS);
        for (const auto& corner :
             {std::array<float, 2>{0.0f, 0.0f}, {1.0f, 0.0f}, {1.0f, 1.0f}, {0.0f, 1.0f}})
        {
            glTexCoord2f(corner[0], corner[1]);
            glVertex2f(corner[0] * 2.0f - 1.0f, corner[1] * 2.0f - 1.0f);
        }
        glEnd();
        EXPECT_EQ(TakePicture(open.display), drawn) << samples;
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    }
}

TEST_F(EglDisplays, KeepTheirPicturesAndNamesApart)
{
    const OpenDisplay first(32, 16, 0);
    const OpenDisplay second(24, 40, 4);
    ASSERT_TRUE(first.isOpen && second.isOpen);
    FaultList faults;
    StartFaults(&faults);

    ASSERT_TRUE(MakeEglDisplayCurrent(&first.display, &faults)) << faults.first.text;
    FillRectangle(0, 0, 32, 16, {200, 0, 0});
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    ASSERT_TRUE(MakeEglDisplayCurrent(&second.display, &faults)) << faults.first.text;
    FillRectangle(0, 0, 24, 40, {0, 0, 90});
    EXPECT_FALSE(glIsTexture(texture));

    ASSERT_TRUE(MakeEglDisplayCurrent(&first.display, &faults)) << faults.first.text;
    EXPECT_TRUE(glIsTexture(texture));
    EXPECT_EQ(PixelOf(first.display, TakePicture(first.display), 31, 15), (Pixel{200, 0, 0}));
    ASSERT_TRUE(MakeEglDisplayCurrent(&second.display, &faults)) << faults.first.text;
    EXPECT_EQ(PixelOf(second.display, TakePicture(second.display), 23, 39), (Pixel{0, 0, 90}));
}

TEST_F(EglDisplays, OutliveOthersThatAreClosed)
{
    const OpenDisplay stays(8, 8, 0);
    FaultList faults;
    StartFaults(&faults);
    for (int i = 0; i < 20; ++i)
    {
        const EglDisplayRequest request = {8 + i, 9, i % 2 == 0 ? 0 : 4};
        EglDisplay other = {};
        ASSERT_TRUE(OpenEglDisplay(&request, &other, &faults)) << faults.first.text;
        CloseEglDisplay(&other);
        EXPECT_EQ(other.context, nullptr);
        CloseEglDisplay(&other); // for nothing

        ASSERT_TRUE(MakeEglDisplayCurrent(&stays.display, &faults)) << faults.first.text;
        FillRectangle(0, 0, 8, 8, {i, 2, 3});
        EXPECT_EQ(PixelOf(stays.display, TakePicture(stays.display), 7, 0), (Pixel{i, 2, 3}));
    }
}

TEST_F(EglDisplays, ThatCanNotBeAreFaults)
{
    const struct
    {
        EglDisplayRequest request;
        const char* text; // how it begins
    } cases[] = {
        {{0, 10, 0}, "there are no pictures of 0 x 10 with 0 samples a pixel"},
        {{10, -1, 0}, "there are no pictures of 10 x -1 with 0 samples a pixel"},
        {{10, 10, -4}, "there are no pictures of 10 x 10 with -4 samples a pixel"},
        {{10, 10, 1000}, "the driver has no picture of 8 bits a channel and 1000 samples"},
        {{100000, 10, 0}, "the driver draws pictures up to "},
        {{10, 100000, 0}, "the driver draws pictures up to "},
    };
    for (const auto& c : cases)
    {
        EglDisplay display = {};
        FaultList faults;
        StartFaults(&faults);
        EXPECT_FALSE(OpenEglDisplay(&c.request, &display, &faults)) << c.text;
        EXPECT_EQ(faults.count, 1u);
        EXPECT_EQ(faults.first.kind, FaultKind::kProgram);
        EXPECT_EQ(std::string(faults.first.text).substr(0, strlen(c.text)), c.text);
        EXPECT_EQ(display.connection, nullptr);
        EXPECT_EQ(display.context, nullptr);
    }
    const OpenDisplay open(10, 10, 0);
    EXPECT_TRUE(open.isOpen);
}

struct ProbeRun
{
    int exitCode;
    std::string output;
};

/// Runs the probe with some words of environment.
static ProbeRun RunProbe(const std::string& environment, const std::string& arguments)
{
    // Drivers keep memory to the end of a process.
    const std::string command = "env -u DISPLAY ASAN_OPTIONS=detect_leaks=0 " + environment + " " +
                                PROBE + " " + arguments + " 2>/dev/null";
    FILE* stream = popen(command.c_str(), "r");
    if (stream == nullptr)
    {
        ADD_FAILURE() << command;
        return {-1, ""};
    }
    ProbeRun run = {};
    char block[4096];
    for (size_t count = 1; count != 0;)
    {
        count = fread(block, 1, sizeof(block), stream);
        run.output.append(block, count);
    }
    run.exitCode = WEXITSTATUS(pclose(stream));
    return run;
}

TEST_F(EglDisplays, DrawTheSameBytesOnAnyNumberOfThreads)
{
    for (const std::string samples : {"0", "4"})
    {
        const std::string arguments = "160 120 " + samples;
        const ProbeRun alone = RunProbe("LP_NUM_THREADS=0", arguments);
        ASSERT_EQ(alone.exitCode, 0) << alone.output;
        ASSERT_EQ(alone.output.size(), 160u * 120u * 3u);
        for (const std::string threads : {"1", "2"})
        {
            const ProbeRun run = RunProbe("LP_NUM_THREADS=" + threads, arguments);
            EXPECT_TRUE(run.output == alone.output) << threads << " threads";
        }
    }
}

TEST_F(EglDisplays, DoNotMindNamesOfOtherPlatforms)
{
    const ProbeRun plain = RunProbe("", "20 20 0");
    const ProbeRun bogus = RunProbe("EGL_PLATFORM=bogus", "20 20 0");
    EXPECT_EQ(bogus.exitCode, 0) << bogus.output;
    EXPECT_TRUE(bogus.output == plain.output);
}

TEST_F(EglDisplays, WithoutADriverAreFaults)
{
    const struct
    {
        const char* environment;
        const char* text; // how it begins
    } cases[] = {
        {"LIBGL_DRIVERS_PATH=/nonexistent", "the driver does not start (EGL error 0x"},
        {"GALLIUM_DRIVER=bogus", "the driver does not start (EGL error 0x"},
        {"__EGL_VENDOR_LIBRARY_DIRS=/nonexistent",
         "EGL knows no driver that draws without a window\n"},
    };
    for (const auto& c : cases)
    {
        const ProbeRun run = RunProbe(c.environment, "20 20 0");
        EXPECT_EQ(run.exitCode, 1) << c.environment;
        EXPECT_EQ(run.output.substr(0, strlen(c.text)), c.text);
    }
}
