// SPDX-License-Identifier: MIT

// Bitmaps: image files of the package. Documents use them as textures and as render targets.
#pragma once

#include <cstddef>
#include <cstdint>

#include "engine/data/demo_document.h"

struct BitmapTexture
{
    int32_t width;         // pixels
    int32_t height;        // pixels
    int32_t components;    // bytes per pixel, 1 to 4
    uint8_t* pixels;       // into the lender's block, or this one's: first row first, no padding
                           // between rows; null once given back
    uint8_t* levels;       // of MakeMipChain, owned by who owns the pixels; null where they are
                           // made as they are uploaded
    const char* filename;  // lent by the tree; null until the bitmap is read
    BitmapTexture* lender; // borrowed: the first bitmap of the same file; null in that one

    // Of a bitmap without a lender:
    uint8_t* block;    // owned: the pixels
    uint32_t usesLeft; // items of this file that have yet to give it back, this one included
};

/// Fills a record from an image file of the package.
/// Faults: no such entry; an entry that is no image, is wider or higher than 16384 pixels, or does
/// not fit memory; an image of three or four components that is narrower or lower than two pixels,
/// which has no mip chain.
/// @param filename   an entry of the package
/// @param bitmap     receives the image, for FreeBitmap; without pixels after a fault
bool DecodeBitmap(PackageFile* package, const char* filename, BitmapTexture* bitmap,
                  FaultList* faults);

/// Reads one item of section 6: decodes the image file that "filename" names, or takes what an
/// earlier bitmap of the document has of the same file: it is decoded once, however many items name
/// it, and the first bitmap has to outlive the others. Zeros follow the pixels, as far as OpenGL
/// reads when it is given the image: it takes one or two components for four, and rows that are no
/// multiple of the unpack alignment for longer ones. A context that computes no pixels keeps the
/// size alone. The faults are those of DecodeBitmap.
/// @param record   a BitmapTexture; after a fault too it is for FreeBitmap
/// @param index    the earlier bitmaps are those with ids 1 to index of the context's document; a
///                 context without a document, or without such a table, has none. The place in its
///                 files, by which the last item of a file is known; without them it is this one
bool ReadBitmapItem(const TiXmlElement* item, void* record, uint32_t index, ReadContext* context);

/// Makes the mip chain of a bitmap before it is uploaded, where it has one: of three and four
/// components. Without memory for it there is none.
/// @return the bytes that it takes; 0 without one
size_t MakeBitmapLevels(BitmapTexture* bitmap);

/// Gives the pixels of a bitmap back, and leaves it without: they are freed when all items of the
/// file have done so. A program that has uploaded a bitmap calls it early; a second call does
/// nothing.
void ReleaseBitmap(BitmapTexture* bitmap);

/// Frees what a record owns, its pixels, whoever still uses them: all bitmaps of a document are
/// freed together.
/// @param record   a BitmapTexture
void FreeBitmap(void* record);
