// The container of documents and models inside the package.
//
//   offset   size          content
//   0        4             size of the uncompressed data, u32, little-endian
//   4        to the end    one zlib stream
#pragma once

#include <cstdint>
#include <cstdio>

/// Bytes. What claims to be larger is damaged, and reading it would drive the machine into
/// swapping.
inline constexpr uint32_t kLargestInflatedSize = 1u << 30;

/// An uncompressed entry, for FreeInflatedEntry.
struct InflatedEntry
{
    unsigned char* data; // into block, storedSize bytes; zeros behind what the stream gave
    uint32_t storedSize; // bytes, the size word of the container
    uint32_t length;     // bytes that the stream gave, at most storedSize
    void* block;         // owned
};

/// Reads an entry of the package and uncompresses it. A size word that is smaller than what the
/// stream holds cuts the data there; one that is larger leaves zeros at the end.
/// @param lead    the data begins so that data + lead lies on a 16-byte boundary
/// @return false, with `entry` untouched, if the package has no such entry; the lookup has printed
///         its line then. A stream that does not inflate and a size that can't be allocated or is
///         above kLargestInflatedSize are fatal.
bool InflatePackageEntry(FILE* package, const char* name, uint32_t lead, InflatedEntry* entry);

void FreeInflatedEntry(InflatedEntry* entry);
