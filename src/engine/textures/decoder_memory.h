// SPDX-License-Identifier: MIT

// The image decoder, its memory and its way out. Only stb_image.cpp and decode_image.cpp include
// this: the decoder's macros lead here.
//
// The decoder's own functions stay inside stb_image.cpp. Other libraries bring copies of them under
// the same names, and a program that links one could take its functions, which know nothing of the
// memory here.
#pragma once

#include <cstddef>
#include <cstdint>

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

/// True for a Radiance file.
bool IsRadianceFile(const uint8_t* file, int32_t size);

/// Reads the head of an image file.
/// @return false if it can't be read; the numbers are then anything
bool ReadImageHead(const uint8_t* file, int32_t size, int* width, int* height, int* components);

/// Decodes an image file.
/// @param components   receives those that the file has
/// @param wanted       components of the pixels; 0 for those that the file has
/// @return the pixels, a block of the decoder; null if it refuses the file
uint8_t* DecodePixels(const uint8_t* file, int32_t size, int* width, int* height, int* components,
                      int wanted);

/// @return why the decoder refused the last file of this thread, a literal
const char* DecoderReason();
