// SPDX-License-Identifier: MIT

// The sample piece as viewers see it: drawn by a real OpenGL without a window, at moments that show
// nothing of what was drawn before them.
#include <GL/glew.h>
#include <gtest/gtest.h>
#include <string>

#include "player/drawn_piece.h"
#include "support/picture.h"

static constexpr int32_t kWidth = 512;
static constexpr int32_t kHeight = 384;
static constexpr int32_t kShrink = 4;   // to 128 x 96
static constexpr uint32_t kEnd = 12000; // ticks

// Renderers may differ in edges, by the sampling, in lines, and in the last bits of a shade.
static constexpr double kMeanTolerance = 3.0;     // of 255
static constexpr double kOutlierTolerance = 0.02; // share of pixels

class PiecePictures : public testing::Test
{
  protected:
    static void SetUpTestSuite()
    {
        OpenDrawnPiece(PACKAGE, kWidth, kHeight, &piece);
    }

    static void TearDownTestSuite()
    {
        CloseDrawnPiece(&piece);
    }

    /// A moment has to look like its picture. If it does not, what it looks like is left beside the
    /// test program.
    static void ExpectPicture(RunDocument document, uint32_t time, const std::string& name)
    {
        Picture drawn;
        DrawMoment(&piece, document, time, &drawn);
        Picture small = ShrinkPicture(drawn, kShrink);
        Picture expected = ReadPicture(std::string(PICTURES) + "/" + name + ".png");
        PictureDistance distance = ComparePictures(small, expected);
        bool alike = distance.sameSize && distance.mean <= kMeanTolerance &&
                     distance.outliers <= kOutlierTolerance;
        EXPECT_TRUE(alike) << name << " is off by " << distance.mean << " in the mean, outliers "
                           << distance.outliers;
        if (!alike)
        {
            WritePicture(name + ".png", small);
        }
    }

    static DrawnPiece piece;
};

DrawnPiece PiecePictures::piece;

TEST_F(PiecePictures, MomentsLookLikeTheirPictures)
{
    for (uint32_t time :
         {150u, 640u, 2050u, 2570u, 3130u, 3560u, 4330u, 6700u, 7360u, 7880u, 8260u, 9800u, 11640u})
    {
        ExpectPicture(RunDocument::kDemo, time, "piece-" + std::to_string(time));
    }
}

TEST_F(PiecePictures, TheLoadingScreenLooksLikeItsPicture)
{
    ExpectPicture(RunDocument::kLoading, 50, "piece-loading-50");
}

/// The mean of all channels, 0 to 255.
static double Brightness(const Picture& picture)
{
    double sum = 0.0;
    for (uint8_t value : picture.rgb)
    {
        sum += value;
    }
    return sum / static_cast<double>(picture.rgb.size());
}

TEST_F(PiecePictures, ItBeginsInLightAndEndsInBlack)
{
    Picture picture;
    DrawMoment(&piece, RunDocument::kDemo, 0, &picture);
    EXPECT_GT(Brightness(picture), 100.0);
    DrawMoment(&piece, RunDocument::kDemo, kEnd - 1, &picture);
    EXPECT_LT(Brightness(picture), 0.5);
}

TEST_F(PiecePictures, UpToTheFadeItIsBrightAndNoCallIsRefused)
{
    Picture picture;
    for (uint32_t time = 11; time < kEnd - 240; time += 127)
    {
        DrawMoment(&piece, RunDocument::kDemo, time, &picture);
        EXPECT_GT(Brightness(picture), 20.0) << time;
        ASSERT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR)) << time;
    }
}
