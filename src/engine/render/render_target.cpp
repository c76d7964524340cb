#include "engine/render/render_target.h"

#include <GL/glew.h>
#include <cstdlib>

#include "engine/data/fault.h"
#include "engine/data/numeric.h"
#include "engine/textures/bitmap_texture.h"

static BitmapTexture* RequireBitmap(int32_t id, const ObjectTable* bitmaps)
{
    BitmapTexture* bitmap = static_cast<BitmapTexture*>(GetObject(id, bitmaps));
    if (bitmap == nullptr)
    {
        FatalFault("bitmap %d, the target of the pass, does not exist", id);
    }
    return bitmap;
}

/// Copies the picture and wipes the surface that it was drawn on.
static void FinishTarget(int32_t id, const ObjectTable* bitmaps)
{
    const BitmapTexture* bitmap = RequireBitmap(id, bitmaps);
    glBindTexture(GL_TEXTURE_2D, bitmap->glTexture);
    glCopyTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 0, 0, bitmap->width, bitmap->height);
    glClearColor(0.0f, 0.0f, 0.0f, 0.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

void CloseTarget(RenderTarget* target, const ObjectTable* bitmaps)
{
    if (target->open)
    {
        glBindTexture(GL_TEXTURE_2D, RequireBitmap(target->id, bitmaps)->glTexture);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
        FinishTarget(target->id, bitmaps);
    }
    *target = {false, 0};
}

/// The side of a quarter-screen target where textures must have powers of two.
static int32_t PowerOfTwoSide(int32_t half)
{
    if (half < 128)
    {
        return 64;
    }
    return half < 256 ? 128 : 256;
}

/// The picture of a target that was never drawn: black. OpenGL reads rows from multiples of four
/// bytes, so behind a row of an odd width lie bytes that belong to no pixel.
static uint8_t* CreateBlackPixels(int32_t width, int32_t height)
{
    const size_t rowSize = (static_cast<size_t>(width) * 3 + 3) / 4 * 4;
    uint8_t* pixels = static_cast<uint8_t*>(calloc(static_cast<size_t>(height), rowSize));
    if (pixels == nullptr)
    {
        FatalFault("there is no memory for a target of %d by %d", width, height);
    }
    return pixels;
}

static void ResizeTarget(BitmapTexture* bitmap, int32_t width, int32_t height)
{
    glDeleteTextures(1, &bitmap->glTexture);
    free(bitmap->pixels);
    bitmap->width = width;
    bitmap->height = height;
    bitmap->components = 3;
    glGenTextures(1, &bitmap->glTexture);
    bitmap->pixels = CreateBlackPixels(width, height);

    glBindTexture(GL_TEXTURE_2D, bitmap->glTexture);
    glTexImage2D(GL_TEXTURE_2D, 0, 3, width, height, 0, GL_RGB, GL_UNSIGNED_BYTE, bitmap->pixels);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
}

void OpenTarget(RenderTarget* target, float id, bool quarter, int32_t halfWidth, int32_t halfHeight,
                int32_t npot, const ObjectTable* bitmaps)
{
    if (target->open)
    {
        FinishTarget(target->id, bitmaps);
    }
    if (id == 0.0f)
    {
        // The finished target stays open on purpose: the next pass that finishes it copies again.
        return;
    }

    int32_t bitmapId = TruncateToInt(id);
    BitmapTexture* bitmap = RequireBitmap(bitmapId, bitmaps);
    if (quarter)
    {
        int32_t width = npot != 0 ? halfWidth : PowerOfTwoSide(halfWidth);
        int32_t height = npot != 0 ? halfHeight : PowerOfTwoSide(halfHeight);
        if (bitmap->width != width || bitmap->height != height)
        {
            ResizeTarget(bitmap, width, height);
        }
    }

    glViewport(0, 0, bitmap->width, bitmap->height);
    *target = {true, bitmapId};
}
