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
    *bitmap = {image.width, image.height, image.components, image.pixels, nullptr};
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
    return true;
}

bool ReadBitmapItem(const TiXmlElement* item, void* record, uint32_t /*index*/,
                    ReadContext* context)
{
    BitmapTexture* bitmap = static_cast<BitmapTexture*>(record);
    const char* filename = RequireAttribute(item, "filename", context->faults);
    if (filename == nullptr || !DecodeBitmap(context->package, filename, bitmap, context->faults))
    {
        return false;
    }
    if (!context->computePixels)
    {
        FreeBitmap(bitmap);
        return true;
    }
    return PadForUpload(bitmap, context->faults);
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

void FreeBitmap(void* record)
{
    BitmapTexture* bitmap = static_cast<BitmapTexture*>(record);
    free(bitmap->levels);
    bitmap->levels = nullptr;
    free(bitmap->pixels);
    bitmap->pixels = nullptr;
}
