// SPDX-License-Identifier: MIT
#include "engine/render/render_target.h"

#include <gtest/gtest.h>
#include <string>

#include "engine/render/frame_test.h"

using RenderTargetTest = FrameTest;

/// The copy of the back buffer into a texture, and the wiping of what it was drawn on.
static std::string Copy(int texture, int width, int height)
{
    return "BindTexture TEXTURE_2D " + std::to_string(texture) +
           "\nCopyTexSubImage2D TEXTURE_2D 0 0 0 0 0 " + std::to_string(width) + " " +
           std::to_string(height) +
           "\nClearColor 0 0 0 0\n"
           "Clear COLOR_BUFFER_BIT|DEPTH_BUFFER_BIT\n";
}

/// The calls of passes to the window alone, before the copy.
static std::string Filters(int texture)
{
    return "BindTexture TEXTURE_2D " + std::to_string(texture) +
           "\nTexParameteri TEXTURE_2D TEXTURE_MIN_FILTER LINEAR\n"
           "TexParameteri TEXTURE_2D TEXTURE_MAG_FILTER LINEAR\n";
}

static std::string Viewport(int width, int height)
{
    return "Viewport 0 0 " + std::to_string(width) + " " + std::to_string(height) + "\n";
}

TEST_F(RenderTargetTest, AWindowPassCopiesTheTargetWithItsFiltersSet)
{
    AddBitmap(256, 64);
    SetTarget(0, AddClip(timeline, 0, 0, 100, 1), kPassTexture, 1);
    AddClip(timeline, 1, 0, 100, 2);
    EXPECT_EQ(Render(10), Viewport(256, 64) + kPlainClip + Filters(1) + Copy(1, 256, 64) + kWindow +
                              kPlainClip + kFrameEnd);
    EXPECT_EQ(drawn, 2u);
}

static void CopyOfAnotherLibrary(uint32_t target, int32_t level, int32_t xOffset, int32_t yOffset,
                                 int32_t x, int32_t y, int32_t width, int32_t height)
{
    EXPECT_EQ(target, static_cast<uint32_t>(GL_TEXTURE_2D));
    for (const int32_t zero : {level, xOffset, yOffset, x, y})
    {
        EXPECT_EQ(zero, 0);
    }
    RecordCall("OtherCopy " + std::to_string(width) + " " + std::to_string(height));
}

TEST_F(RenderTargetTest, TheContextsOwnCopyRoutineIsTaken)
{
    AddBitmap(256, 64);
    SetTarget(0, AddClip(timeline, 0, 0, 100, 1), kPassTexture, 1);
    AddClip(timeline, 1, 0, 100, 2);
    piece.gl.copyPicture = CopyOfAnotherLibrary;
    const std::string calls = Render(10);
    EXPECT_NE(calls.find("OtherCopy 256 64\n"), std::string::npos);
    EXPECT_EQ(calls.find("CopyTexSubImage2D"), std::string::npos);
}

TEST_F(RenderTargetTest, AClearingPassClearsTheDepthAgainAfterTheCopy)
{
    AddBitmap(256, 64);
    SetTarget(0, AddClip(timeline, 0, 0, 100, 1), kPassTexture, 1);
    timeline->passKind[1][AddClip(timeline, 1, 0, 100, 2)] = kPassClearDepth;
    EXPECT_EQ(Render(10), Viewport(256, 64) + kPlainClip + Filters(1) + Copy(1, 256, 64) + kWindow +
                              "Clear DEPTH_BUFFER_BIT\n" + kPlainClip + kFrameEnd);
}

TEST_F(RenderTargetTest, ATexturePassCopiesAndLeavesTheFilters)
{
    AddBitmap(256, 64);
    AddBitmap(128, 128);
    SetTarget(0, AddClip(timeline, 0, 0, 100, 1), kPassTexture, 1);
    SetTarget(1, AddClip(timeline, 1, 0, 100, 1), kPassTexture, 2);
    AddClip(timeline, 2, 0, 100, 1);
    EXPECT_EQ(Render(10), Viewport(256, 64) + kPlainClip + Copy(1, 256, 64) + Viewport(128, 128) +
                              kPlainClip + Filters(2) + Copy(2, 128, 128) + kWindow + kPlainClip +
                              kFrameEnd);
}

static const std::string kWideClip =
    "Enable DEPTH_TEST\n"
    "MatrixMode PROJECTION\n"
    "LoadIdentity\n"
    "LoadMatrixf 0.625 0 0 0 0 1 0 0 0 0 -1.0001999 -1 0 0 -0.20002 0\n" +
    kNoFog + kCameraAtOrigin;

TEST_F(RenderTargetTest, AWidePassDiffersInItsAspectOnly)
{
    AddBitmap(256, 64);
    SetTarget(0, AddClip(timeline, 0, 0, 100, 1), kPassTextureWide, 1);
    EXPECT_EQ(Render(10), Viewport(256, 64) + kWideClip + kFrameEnd);
}

TEST_F(RenderTargetTest, AWidePassHasItsAspectWithAMovingFovAsWell)
{
    AddBitmap(256, 64);
    SetTarget(0, AddClip(timeline, 0, 0, 100, 1), kPassTextureWide, 1);
    timeline->projectionKind[0][0] = kProjectionAnimatedFov;
    timeline->fov[0][0] = AddLinearEnvelope(&piece, 0.0f, 90.0f);
    EXPECT_EQ(Render(10), Viewport(256, 64) + kWideClip + kFrameEnd);
}

TEST_F(RenderTargetTest, AWidePassToTextureZeroKeepsTheViewport)
{
    SetTarget(0, AddClip(timeline, 0, 0, 100, 1), kPassTextureWide, 0);
    AddClip(timeline, 1, 0, 100, 1);
    EXPECT_EQ(Render(10), kWideClip + kWindow + kPlainClip + kFrameEnd);
}

TEST_F(RenderTargetTest, ATargetsIdIsTruncated)
{
    AddBitmap(256, 64);
    AddBitmap(128, 128);
    SetTarget(0, AddClip(timeline, 0, 0, 100, 1), kPassTexture, 0);
    timeline->passParams[0][0][0] = 1.9f;
    AddClip(timeline, 1, 0, 100, 1);
    EXPECT_EQ(Render(10), Viewport(256, 64) + kPlainClip + Filters(1) + Copy(1, 256, 64) + kWindow +
                              kPlainClip + kFrameEnd);
}

TEST_F(RenderTargetTest, ALinkedPassDrawsIntoTheTargetThatIsOpen)
{
    AddBitmap(256, 64);
    SetTarget(0, AddClip(timeline, 0, 0, 100, 1), kPassTexture, 1);
    timeline->passKind[1][AddClip(timeline, 1, 0, 100, 1)] = kPassLink;
    AddClip(timeline, 2, 0, 100, 1);
    EXPECT_EQ(Render(10), Viewport(256, 64) + kPlainClip + kPlainClip + Filters(1) +
                              Copy(1, 256, 64) + kWindow + kPlainClip + kFrameEnd);
}

TEST_F(RenderTargetTest, ATextureOfZeroDrawsToTheScreenInTheCurrentViewport)
{
    const std::string expected = kPlainClip + kWindow + kPlainClip + kFrameEnd;
    for (int32_t kind : {kPassTexture, kPassTextureQuarter})
    {
        ClearTimeline();
        SetTarget(0, AddClip(timeline, 0, 0, 100, 1), kind, 0);
        AddClip(timeline, 1, 0, 100, 1);
        EXPECT_EQ(Render(10), expected) << kind;
    }
}

TEST_F(RenderTargetTest, AFinishedTargetStaysOpenAfterATextureOfZero)
{
    AddBitmap(256, 64);
    SetTarget(0, AddClip(timeline, 0, 0, 100, 1), kPassTexture, 1);
    SetTarget(1, AddClip(timeline, 1, 0, 100, 1), kPassTexture, 0);
    SetTarget(2, AddClip(timeline, 2, 0, 100, 1), kPassTextureQuarter, 0);
    AddClip(timeline, 3, 0, 100, 1);
    AddClip(timeline, 4, 0, 100, 1);
    // Copied three times: both empty passes finish it, and so does the pass to the window.
    EXPECT_EQ(Render(10), Viewport(256, 64) + kPlainClip + Copy(1, 256, 64) + kPlainClip +
                              Copy(1, 256, 64) + kPlainClip + Filters(1) + Copy(1, 256, 64) +
                              kWindow + kPlainClip + kWindow + kPlainClip + kFrameEnd);
}

TEST_F(RenderTargetTest, ATargetThatIsOpenWhenTheFrameEndsIsLost)
{
    AddBitmap(256, 64);
    SetTarget(0, AddClip(timeline, 0, 0, 150, 1), kPassTexture, 1);
    AddClip(timeline, 0, 0, 100, 1);
    EXPECT_EQ(Render(150), Viewport(256, 64) + kPlainClip + kFrameEnd);
    EXPECT_EQ(Render(151), kWindow + kPlainClip + kFrameEnd); // nothing is open any more
}

TEST_F(RenderTargetTest, ALostTargetsViewportStaysInTheNextFrame)
{
    AddBitmap(256, 64);
    SetTarget(0, AddClip(timeline, 0, 0, 150, 1), kPassTexture, 1);
    timeline->passKind[0][AddClip(timeline, 0, 0, 100, 1)] = kPassLink;
    AddClip(timeline, 0, 0, 100, 1);
    EXPECT_EQ(Render(150), Viewport(256, 64) + kPlainClip + kFrameEnd);
    EXPECT_EQ(Render(151), kPlainClip + kFrameEnd);
    EXPECT_EQ(Render(251), kWindow + kPlainClip + kFrameEnd);
}

TEST_F(RenderTargetTest, ATargetIsOpenedAnewByEachPassThatNamesIt)
{
    AddBitmap(256, 64);
    SetTarget(0, AddClip(timeline, 0, 0, 100, 1), kPassTexture, 1);
    SetTarget(1, AddClip(timeline, 1, 0, 100, 1), kPassTexture, 1);
    EXPECT_EQ(Render(10), Viewport(256, 64) + kPlainClip + Copy(1, 256, 64) + Viewport(256, 64) +
                              kPlainClip + kFrameEnd);
}

/// The calls of a resize, from one texture name to another.
static std::string Resize(int from, int to, int width, int height)
{
    const std::string name = std::to_string(to);
    return "DeleteTextures 1 " + std::to_string(from) + "\nGenTextures 1 " + name +
           "\nBindTexture TEXTURE_2D " + name + "\nTexImage2D TEXTURE_2D 0 3 " +
           std::to_string(width) + " " + std::to_string(height) +
           " 0 RGB UNSIGNED_BYTE ?\n"
           "TexParameteri TEXTURE_2D TEXTURE_MAG_FILTER LINEAR\n"
           "TexParameteri TEXTURE_2D TEXTURE_MIN_FILTER LINEAR\n";
}

TEST_F(RenderTargetTest, AQuarterTargetIsResizedToPowersOfTwo)
{
    AddBitmap(32, 32);
    SetTarget(0, AddClip(timeline, 0, 0, 100, 1), kPassTextureQuarter, 1);
    EXPECT_EQ(Render(10), Resize(1, 2, 256, 128) + Viewport(256, 128) + kPlainClip + kFrameEnd);
    EXPECT_EQ(Bitmap(1)->width, 256);
    EXPECT_EQ(Bitmap(1)->height, 128);
    EXPECT_EQ(Bitmap(1)->components, 3);
    EXPECT_EQ(Bitmap(1)->glTexture, 2u);
    EXPECT_EQ(GlLiveTextures(), 1u);

    // The size is right from then on.
    EXPECT_EQ(Render(11), Viewport(256, 128) + kPlainClip + kFrameEnd);
}

TEST_F(RenderTargetTest, AQuarterTargetIsHalfTheWindowWhereTexturesMayBe)
{
    AddBitmap(32, 32);
    SetTarget(0, AddClip(timeline, 0, 0, 100, 1), kPassTextureQuarter, 1);
    EXPECT_EQ(Render(10, 640, 480, 1),
              Resize(1, 2, 320, 240) + Viewport(320, 240) + kPlainClip + kFrameEnd);
    EXPECT_EQ(Bitmap(1)->width, 320);
    EXPECT_EQ(Bitmap(1)->height, 240);
}

TEST_F(RenderTargetTest, EachSideOfAQuarterTargetIsChosenByItself)
{
    const struct
    {
        int32_t width, height; // of the window
        int32_t expectedWidth, expectedHeight;
    } cases[] = {
        {640, 480, 256, 128}, {254, 255, 64, 64},  {256, 257, 128, 128},   {510, 511, 128, 128},
        {512, 513, 256, 256}, {320, 240, 128, 64}, {1920, 1080, 256, 256}, {1024, 200, 256, 64},
    };
    for (const auto& c : cases)
    {
        ClearTimeline();
        const uint32_t id = AddBitmap(32, 32);
        SetTarget(0, AddClip(timeline, 0, 0, 100, 1), kPassTextureQuarter, id);
        Render(10, c.width, c.height);
        EXPECT_EQ(Bitmap(id)->width, c.expectedWidth) << c.width;
        EXPECT_EQ(Bitmap(id)->height, c.expectedHeight) << c.height;
    }
}

TEST_F(RenderTargetTest, AQuarterTargetOfTheRightSizeIsLeftAlone)
{
    AddBitmap(256, 128);
    SetTarget(0, AddClip(timeline, 0, 0, 100, 1), kPassTextureQuarter, 1);
    EXPECT_EQ(Render(10), Viewport(256, 128) + kPlainClip + kFrameEnd);
    EXPECT_EQ(Bitmap(1)->components, 4);
}

TEST_F(RenderTargetTest, OneWrongSideIsEnoughForAResize)
{
    AddBitmap(256, 256);
    AddBitmap(128, 128);
    SetTarget(0, AddClip(timeline, 0, 0, 100, 1), kPassTextureQuarter, 1);
    SetTarget(1, AddClip(timeline, 1, 0, 100, 1), kPassTextureQuarter, 2);
    EXPECT_EQ(Render(10), Resize(1, 3, 256, 128) + Viewport(256, 128) + kPlainClip +
                              Copy(3, 256, 128) + Resize(2, 4, 256, 128) + Viewport(256, 128) +
                              kPlainClip + kFrameEnd);
}

TEST_F(RenderTargetTest, OtherTargetsKeepTheirSize)
{
    AddBitmap(32, 16);
    SetTarget(0, AddClip(timeline, 0, 0, 100, 1), kPassTexture, 1);
    SetTarget(1, AddClip(timeline, 1, 0, 100, 1), kPassTextureWide, 1);
    Render(10);
    EXPECT_EQ(Bitmap(1)->width, 32);
    EXPECT_EQ(Bitmap(1)->height, 16);
}

TEST_F(RenderTargetTest, AResizedTargetIsBlack)
{
    AddBitmap(32, 32);
    SetTarget(0, AddClip(timeline, 0, 0, 100, 1), kPassTextureQuarter, 1);
    Render(10);
    const GlTextureImage* image = GlTextureLevel(2, 0);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->internalFormat, 3);
    EXPECT_EQ(image->bytes, std::vector<uint8_t>(256 * 3 * 128));
    EXPECT_EQ(GetRecord<BitmapTexture>(1, piece.document.bitmaps)->width, 32); // the file's
}

TEST_F(RenderTargetTest, ARowOfAnOddWidthIsPaddedForTheUpload)
{
    // Half of 1366 by 768: OpenGL reads rows of 683 * 3 bytes from every fourth byte on, and a
    // sanitizer sees it run over the end of a block without padding.
    AddBitmap(32, 32);
    SetTarget(0, AddClip(timeline, 0, 0, 100, 1), kPassTextureQuarter, 1);
    Render(10, 1366, 768, 1);
    EXPECT_EQ(Bitmap(1)->width, 683);
    EXPECT_EQ(Bitmap(1)->height, 384);
    EXPECT_EQ(GlTextureLevel(2, 0)->bytes, std::vector<uint8_t>(683 * 3 * 384));
}

TEST_F(RenderTargetTest, ATargetIsResizedWheneverItsSizeChanges)
{
    AddBitmap(32, 32);
    SetTarget(0, AddClip(timeline, 0, 0, 100, 1), kPassTextureQuarter, 1);
    Render(10, 640, 480, 0);
    Render(10, 640, 480, 1); // a sanitizer sees what is not freed
    EXPECT_EQ(Bitmap(1)->width, 320);
    EXPECT_EQ(GlLiveTextures(), 1u);
}

TEST_F(RenderTargetTest, ATargetWithoutARecordIsAFault)
{
    AddClip(timeline, 0, 0, 100, 1);
    AddClip(timeline, 1, 0, 50, 1);
    for (int32_t kind : {kPassTexture, kPassTextureWide, kPassTextureQuarter})
    {
        SetTarget(1, 0, kind, 7);
        EXPECT_EQ(RenderToFault(10, "section 10 (timeline), row 2, clip 1",
                                "bitmap 7, the target of the pass, does not exist"),
                  kWindow + kPlainClip);
    }
}

TEST_F(RenderTargetTest, ATargetBelowZeroHasNoRecord)
{
    SetTarget(0, AddClip(timeline, 0, 0, 100, 1), kPassTexture, 0);
    timeline->passParams[0][0][0] = -1.0f;
    EXPECT_EQ(RenderToFault(10, "section 10 (timeline), row 1, clip 1",
                            "bitmap -1, the target of the pass, does not exist"),
              "");
}

TEST_F(RenderTargetTest, TheOpenTargetIsCopiedBeforeTheNextOneIsAFault)
{
    AddBitmap(256, 64);
    SetTarget(0, AddClip(timeline, 0, 0, 100, 1), kPassTexture, 1);
    SetTarget(1, AddClip(timeline, 1, 0, 100, 1), kPassTexture, 2);
    EXPECT_EQ(RenderToFault(10, "section 10 (timeline), row 2, clip 1",
                            "bitmap 2, the target of the pass, does not exist"),
              Viewport(256, 64) + kPlainClip + Copy(1, 256, 64));
}
