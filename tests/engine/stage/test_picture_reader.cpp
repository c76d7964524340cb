// SPDX-License-Identifier: MIT
#include "engine/stage/picture_reader.h"

#include <GL/glew.h>
#include <cstdlib>
#include <gtest/gtest.h>
#include <vector>

static constexpr int32_t kWidth = 7; // rows without the alignment of OpenGL's defaults
static constexpr int32_t kHeight = 5;
static constexpr size_t kBytes = size_t{3} * kWidth * kHeight;

/// A display with a reader, for a number of samples.
struct OpenReader
{
    explicit OpenReader(int32_t samples)
    {
        unsetenv("DISPLAY");
        StartFaults(&faults);
        const EglDisplayRequest request = {kWidth, kHeight, samples};
        EXPECT_TRUE(OpenEglDisplay(&request, &display, &faults)) << faults.first.text;
        EXPECT_TRUE(OpenPictureReader(&display, &reader, &faults)) << faults.first.text;
    }
    ~OpenReader()
    {
        ClosePictureReader(&reader);
        CloseEglDisplay(&display);
        FreeFaults(&faults);
    }
    OpenReader(const OpenReader&) = delete;
    OpenReader& operator=(const OpenReader&) = delete;

    FaultList faults;
    EglDisplay display = {};
    PictureReader reader = {};
};

/// Fills the window with a grey, and its lowest row with white.
static void DrawGrey(int grey)
{
    const float shade = static_cast<float>(grey) / 255.0f;
    glClearColor(shade, shade, shade, 0.0f);
    glClear(GL_COLOR_BUFFER_BIT);
    glEnable(GL_SCISSOR_TEST);
    glScissor(0, 0, kWidth, 1);
    glClearColor(1.0f, 1.0f, 1.0f, 0.0f);
    glClear(GL_COLOR_BUFFER_BIT);
    glDisable(GL_SCISSOR_TEST);
}

static std::vector<uint8_t> GreyPicture(int grey)
{
    std::vector<uint8_t> rgb(kBytes, static_cast<uint8_t>(grey));
    std::fill(rgb.end() - 3 * kWidth, rgb.end(), uint8_t{255});
    return rgb;
}

TEST(PictureReader, PicturesComeInTheirOrderWithTheUpperRowFirst)
{
    for (const int32_t samples : {0, 4})
    {
        OpenReader open(samples);
        std::vector<uint8_t> rgb(kBytes);
        DrawGrey(10);
        StartPicture(&open.reader);
        for (int i = 1; i < 6; ++i)
        {
            DrawGrey(10 + i);
            StartPicture(&open.reader);
            ASSERT_TRUE(TakePicture(&open.reader, rgb.data(), &open.faults));
            EXPECT_EQ(rgb, GreyPicture(10 + i - 1));
        }
        ASSERT_TRUE(TakePicture(&open.reader, rgb.data(), &open.faults));
        EXPECT_EQ(rgb, GreyPicture(15));
    }
}

TEST(PictureReader, ItsBytesAreThoseOfTheDisplay)
{
    OpenReader open(4);
    DrawGrey(99);
    StartPicture(&open.reader);
    std::vector<uint8_t> rgb(kBytes);
    ASSERT_TRUE(TakePicture(&open.reader, rgb.data(), &open.faults));
    std::vector<uint8_t> plain(kBytes);
    ReadEglPicture(&open.display, plain.data());
    EXPECT_EQ(rgb, plain);
}

TEST(PictureReader, NothingStaysBound)
{
    OpenReader open(4);
    StartPicture(&open.reader);
    std::vector<uint8_t> rgb(kBytes);
    ASSERT_TRUE(TakePicture(&open.reader, rgb.data(), &open.faults));
    for (const GLenum binding : {GL_PIXEL_PACK_BUFFER_BINDING, GL_READ_FRAMEBUFFER_BINDING,
                                 GL_DRAW_FRAMEBUFFER_BINDING, GL_RENDERBUFFER_BINDING})
    {
        GLint bound = -1;
        glGetIntegerv(binding, &bound);
        EXPECT_EQ(bound, 0) << binding;
    }
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

TEST(PictureReader, AClosedReaderMayBeClosedAgain)
{
    PictureReader reader = {};
    ClosePictureReader(&reader);
    EXPECT_EQ(reader.display, nullptr);
}
