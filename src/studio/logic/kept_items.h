// SPDX-License-Identifier: MIT

// Textures, models and bitmaps that stay the same from one loading of a piece to the next are not
// made again.
//
// Each is kept under the hash of all that it is made of: a texture's steps with the layers that
// they take, the bytes of a model's or an image's entry. None of them depends on its place, on
// another item, or on random numbers that run on from item to item, so equal hashes give equal
// bytes. They are handed out by readers that stand in the place of the engine's, as copies of their
// own: OpenGL, faults, lines and the budget of a piece see no difference.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "engine/data/demo_document.h"

/// Two hashes of 64 bits: the items of an author don't collide.
using ContentHash = std::array<uint64_t, 2>;

inline constexpr ContentHash kHashStart = {0xCBF29CE484222325u, 0x9E3779B97F4A7C15u};

/// Adds bytes to a hash. Pieces of data that follow each other need their sizes hashed as well.
void AddToHash(const void* data, size_t size, ContentHash* hash);

struct KeptItem;

/// The items of a document by their hashes; zeros where an item can't be kept.
struct DocumentHashes
{
    std::vector<ContentHash> layers;   // [place]
    std::vector<ContentHash> textures; // [place]
};

/// @param document   with its tree; nothing of it is changed
/// @param isDemo     and not the loading screen: its textures have mip chains
/// Layers and textures after one with a fault have none.
DocumentHashes HashDocument(DemoDocument* document, PackageFile* package, bool isDemo);

/// The most bytes that are kept. What comes after them is made anew each time.
inline constexpr size_t kMostKeptBytes = size_t{512} << 20;

/// The results of the last piece. Belongs to the thread that loads.
struct KeptItems
{
    SectionReader readers[kSectionCount];
    std::map<ContentHash, std::shared_ptr<const KeptItem>> last; // of the piece loaded last
    std::map<ContentHash, std::shared_ptr<const KeptItem>> next; // of the one that is being loaded
    size_t nextBytes;                                            // in `next`

    const DemoDocument* document;  // that is being read; null before the first item
    DocumentHashes hashes;         // of it
    std::vector<uint8_t> isNeeded; // [layer], for a texture that is not kept
    uint32_t made;                 // textures, models and bitmaps that were made anew
    uint32_t kept;                 // and those that were not
};

/// Begins to load a piece with what is kept. A record that is not all zero keeps what it has.
/// The readers take the record as ReadContext::user.
void BeginKeptLoad(KeptItems* kept);

/// Ends it.
/// @param isLoaded   from now on this piece's items are kept, and no others; otherwise the last
/// ones
void EndKeptLoad(bool isLoaded, KeptItems* kept);

/// @return bytes of the items that are kept
size_t KeptBytes(const KeptItems* kept);
