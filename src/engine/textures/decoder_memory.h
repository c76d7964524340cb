// The memory of the image decoder, and its way out. Only stb_image.cpp and decode_image.cpp include
// this: the decoder's macros lead here.
#pragma once

#include <cstddef>

/// Zeros: a JPEG file may name tables that it does not bring, and of those the decoder reads
/// whatever its memory held. Zeros make grey of them, the same every time.
/// Leaves the decoder without memory, so the result is never null.
void* AllocateForDecoder(size_t size);

/// The same for a block that grows. Its new part is zeros.
/// @param block   a block of the decoder, or null for a new one
void* GrowForDecoder(void* block, size_t size);

/// @param block   a block of the decoder, or null
void FreeForDecoder(void* block);

/// Leaves the decoder, whose assertion a damaged file has broken.
[[noreturn]] void FailDecoder();
