// SPDX-License-Identifier: MIT

// The container of documents and models inside the package.
//
//   offset   size          content
//   0        4             size of the uncompressed data, u32, little-endian
//   4        to the end    one zlib stream
#pragma once

#include <cstdint>

#include "engine/data/package_file.h"

/// An uncompressed entry, for FreeInflatedEntry.
struct InflatedEntry
{
    unsigned char* data; // into block, storedSize bytes; zeros after those that the stream gave
    uint32_t storedSize; // bytes, the size word of the container
    uint32_t length;     // bytes that the stream gave, at most storedSize
    uint32_t taken;      // bytes of the package's budget
    void* block;         // owned
};

/// Reads an entry of the package and uncompresses it. A size word that is smaller than what the
/// stream holds cuts the data there; one that is larger leaves zeros at the end. A damaged stream
/// gives what comes before the damage, and that is no fault.
/// @param lead    the data begins so that data + lead lies on a 16-byte boundary
/// @param most    bytes after which the stream is read no further; kLargestInflatedSize for all
/// @return false, with `entry` untouched: without a fault if the package has no such entry. Faults
///         are no memory, and a size that is above kLargestInflatedSize or above what the package's
///         budget has left.
/// Takes as many bytes out of the package's budget as the stream may fill.
bool InflatePackageEntry(PackageFile* package, const char* name, uint32_t lead, uint32_t most,
                         InflatedEntry* entry, FaultList* faults);

void FreeInflatedEntry(InflatedEntry* entry);
