// SPDX-License-Identifier: MIT
#include "engine/textures/bitmap_texture.h"

#include <cstdlib>
#include <cstring>

#include "engine/data/document_values.h"
#include "engine/data/fault.h"
#include "engine/data/package_file.h"
#include "engine/textures/decode_image.h"
#include "engine/textures/mip_chain.h"

/// As many copies of its pixels a decoder holds at once: inflated, unpacked and converted.
static constexpr uint64_t kDecodedCopies = 3;

/// True if a bitmap can be made of an image of this size. Those of one and two components have no
/// mip chain, so they may be smaller.
static bool HasBitmapSize(const DecodedImage* image)
{
    const int32_t smallest = image->components < 3 ? 1 : 2;
    return image->width >= smallest && image->height >= smallest;
}

bool DecodeBitmap(PackageFile* package, const char* filename, BitmapTexture* bitmap,
                  FaultList* faults)
{
    *bitmap = {};
    int32_t size = 0;
    unsigned char* file = ReadPackageEntry(package, filename, &size, faults);
    if (file == nullptr)
    {
        if (!HasFailed(faults))
        {
            AddFault(faults, "the package has no image file \"%s\"", filename);
        }
        return false;
    }
    DecodedImage image;
    const char* reason = nullptr;
    const uint64_t largest = package->budget.bytesLeft / kDecodedCopies;
    const DecodeResult result = DecodeImage(file, size, largest, &image, &reason);
    free(file);
    if (result == DecodeResult::kRefused)
    {
        AddFault(faults, "the image file \"%s\" can't be read: %s", filename, reason);
        return false;
    }
    if (result == DecodeResult::kDamaged)
    {
        AddFault(faults, "the image file is damaged");
        return false;
    }

    // An image that is too large for the budget is not decoded, and ends here too.
    const size_t bytes = LevelBytes({image.width, image.height}, image.components);
    if (!TakeFromBudget(&package->budget, kDecodedCopies * bytes, faults))
    {
        free(image.pixels);
        return false;
    }
    ReturnToBudget(&package->budget, (kDecodedCopies - 1) * bytes);
    if (!HasBitmapSize(&image))
    {
        free(image.pixels);
        AddFault(faults, "the image file \"%s\" has %dx%d pixels, and a bitmap at least 2x2",
                 filename, image.width, image.height);
        return false;
    }
    bitmap->width = image.width;
    bitmap->height = image.height;
    bitmap->components = image.components;
    bitmap->pixels = image.pixels;
    bitmap->block = image.pixels;
    bitmap->usesLeft = 1;
    return true;
}

/// Makes the block as long as OpenGL takes it to be. It takes one or two components for four, and
/// rows that are no multiple of the unpack alignment for longer ones.
static bool PadForUpload(BitmapTexture* bitmap, FaultList* faults)
{
    const size_t bytes = LevelBytes({bitmap->width, bitmap->height}, bitmap->components);
    const size_t uploaded =
        UploadBytes(bitmap->width, bitmap->height, bitmap->components == 3 ? 3 : 4);
    if (uploaded == bytes)
    {
        return true;
    }
    uint8_t* padded = static_cast<uint8_t*>(realloc(bitmap->pixels, uploaded));
    if (padded == nullptr)
    {
        AddFault(faults, "no memory for an image of %dx%d pixels", bitmap->width, bitmap->height);
        return false;
    }
    memset(padded + bytes, 0, uploaded - bytes);
    bitmap->pixels = padded;
    bitmap->block = padded;
    return true;
}

/// @return the first of the earlier bitmaps that is of this file; null if there is none, or if its
///         pixels are wanted and gone
static BitmapTexture* FindLender(const char* filename, uint32_t index, const ReadContext* context)
{
    if (context->document == nullptr || context->document->bitmaps == nullptr)
    {
        return nullptr;
    }
    for (uint32_t id = 1; id <= index; ++id)
    {
        BitmapTexture* bitmap = GetRecord<BitmapTexture>(id, context->document->bitmaps);
        if (bitmap->filename != nullptr && strcmp(bitmap->filename, filename) == 0)
        {
            return context->computePixels && bitmap->block == nullptr ? nullptr : bitmap;
        }
    }
    return nullptr;
}

bool ReadBitmapItem(const TiXmlElement* item, void* record, uint32_t index, ReadContext* context)
{
    BitmapTexture* bitmap = static_cast<BitmapTexture*>(record);
    const char* filename = RequireAttribute(item, "filename", context->faults);
    if (filename == nullptr)
    {
        return false;
    }
    BitmapTexture* lender = FindLender(filename, index, context);
    if (lender != nullptr)
    {
        LookUpPackageEntry(context->package, filename); // for its lines
        *bitmap = {lender->width, lender->height, lender->components,
                   lender->block, lender->levels, filename,
                   lender,        nullptr,        0};
        return true;
    }

    if (!DecodeBitmap(context->package, filename, bitmap, context->faults))
    {
        return false;
    }
    if (!context->computePixels)
    {
        FreeBitmap(bitmap);
    }
    else if (!PadForUpload(bitmap, context->faults))
    {
        return false;
    }
    bitmap->filename = filename;
    if (context->files != nullptr)
    {
        bitmap->usesLeft = context->files[index].usesLeft;
    }
    return true;
}

size_t MakeBitmapLevels(BitmapTexture* bitmap)
{
    if (bitmap->components < 3)
    {
        return 0;
    }
    const MipSize size = {bitmap->width, bitmap->height};
    bitmap->levels = MakeMipChain(size, bitmap->components, bitmap->pixels);
    return bitmap->levels == nullptr ? 0 : MipChainBytes(size, bitmap->components);
}

void ReleaseBitmap(BitmapTexture* bitmap)
{
    if (bitmap->pixels == nullptr)
    {
        return;
    }
    bitmap->pixels = nullptr;
    BitmapTexture* owner = bitmap->lender == nullptr ? bitmap : bitmap->lender;
    owner->usesLeft -= 1;
    if (owner->usesLeft == 0)
    {
        FreeBitmap(owner);
    }
}

void FreeBitmap(void* record)
{
    BitmapTexture* bitmap = static_cast<BitmapTexture*>(record);
    if (bitmap->lender == nullptr)
    {
        free(bitmap->levels);
        free(bitmap->block);
    }
    bitmap->levels = nullptr;
    bitmap->block = nullptr;
    bitmap->pixels = nullptr;
}
