// SPDX-License-Identifier: MIT
#include "engine/render/render_target.h"

#include <cstdlib>

#include "engine/data/allocate.h"
#include "engine/data/numeric.h"
#include "engine/render/gl_calls.h"

/// @return null after a fault
static BitmapUpload* RequireBitmap(int32_t id, const FrameSources* sources)
{
    BitmapUpload* bitmap = GetBitmapUpload(sources->upload, static_cast<uint32_t>(id));
    if (bitmap == nullptr)
    {
        AddFault(sources->faults, "bitmap %d, the target of the pass, does not exist", id);
    }
    return bitmap;
}

/// Copies the picture and wipes the surface that it was drawn on.
static void FinishTarget(int32_t id, const BitmapUpload* bitmap, GlContext* gl)
{
    GlBindTexture(gl, GL_TEXTURE_2D, bitmap->glTexture);
    if (gl->shadow != nullptr)
    {
        ShadowNoteCopy(gl, static_cast<uint32_t>(id));
    }
    if (SkipsCalls(gl))
    {
        return;
    }
    const CopyPictureRoutine copy =
        gl->copyPicture != nullptr ? gl->copyPicture : glCopyTexSubImage2D;
    copy(GL_TEXTURE_2D, 0, 0, 0, 0, 0, bitmap->width, bitmap->height);
    glClearColor(0.0f, 0.0f, 0.0f, 0.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

bool CloseTarget(RenderTarget* target, const FrameSources* sources)
{
    if (target->open)
    {
        const BitmapUpload* bitmap = RequireBitmap(target->id, sources);
        if (bitmap == nullptr)
        {
            return false;
        }
        GlContext* gl = sources->gl;
        GlBindTexture(gl, GL_TEXTURE_2D, bitmap->glTexture);
        GlTexParameteri(gl, GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
        GlTexParameteri(gl, GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
        FinishTarget(target->id, bitmap, gl);
    }
    *target = {false, 0};
    return true;
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

TargetSize QuarterTargetSize(int32_t halfWidth, int32_t halfHeight, bool npot)
{
    return npot ? TargetSize{halfWidth, halfHeight}
                : TargetSize{PowerOfTwoSide(halfWidth), PowerOfTwoSide(halfHeight)};
}

bool SpecifyBlackTarget(const BitmapUpload* bitmap, FaultList* faults)
{
    // OpenGL reads rows from multiples of four bytes, so after a row of an odd width lie bytes that
    // belong to no pixel.
    const size_t rowSize = (static_cast<size_t>(bitmap->width) * 3 + 3) / 4 * 4;
    uint8_t* black =
        AllocateZeroed<uint8_t>(static_cast<size_t>(bitmap->height) * rowSize, "a target", faults);
    if (black == nullptr)
    {
        return false;
    }

    glBindTexture(GL_TEXTURE_2D, bitmap->glTexture);
    glTexImage2D(GL_TEXTURE_2D, 0, 3, bitmap->width, bitmap->height, 0, GL_RGB, GL_UNSIGNED_BYTE,
                 black);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    free(black);
    return true;
}

/// Gives the bitmap a new texture, black.
/// @return false after a fault
static bool ResizeTarget(int32_t id, BitmapUpload* bitmap, TargetSize size,
                         const FrameSources* sources)
{
    if (sources->gl->shadow != nullptr)
    {
        return ShadowResize(sources->gl, static_cast<uint32_t>(id), sources->faults);
    }
    glDeleteTextures(1, &bitmap->glTexture);
    *bitmap = {0, size.width, size.height, 3};
    glGenTextures(1, &bitmap->glTexture);
    return SpecifyBlackTarget(bitmap, sources->faults);
}

bool OpenTarget(RenderTarget* target, const TargetPass* pass, const FrameSources* sources)
{
    if (target->open)
    {
        const BitmapUpload* bitmap = RequireBitmap(target->id, sources);
        if (bitmap == nullptr)
        {
            return false;
        }
        FinishTarget(target->id, bitmap, sources->gl);
    }
    if (pass->id == 0.0f)
    {
        // The finished target stays open on purpose: the next pass that finishes it copies again.
        return true;
    }

    const int32_t bitmapId = TruncateToInt(pass->id);
    BitmapUpload* bitmap = RequireBitmap(bitmapId, sources);
    if (bitmap == nullptr)
    {
        return false;
    }
    if (pass->quarter)
    {
        const TargetSize size =
            QuarterTargetSize(pass->halfWidth, pass->halfHeight, sources->features.npot != 0);
        const bool fits = bitmap->width == size.width && bitmap->height == size.height;
        if (!fits && !ResizeTarget(bitmapId, bitmap, size, sources))
        {
            return false;
        }
    }

    GlViewport(sources->gl, 0, 0, bitmap->width, bitmap->height);
    *target = {true, bitmapId};
    return true;
}
