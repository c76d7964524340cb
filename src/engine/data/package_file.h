// SPDX-License-Identifier: MIT

// The package: one flat file with all data of a piece except its music.
//
//   offset     size   content
//   0          3      0x44 0x50 0x01; the reader never looks at them
//   3 + 40*i   40     directory entry i: name[32], start u32, end u32
//   3 + 40*N   32     terminator, all zero; it has no start and end
//   35 + 40*N         entry data, in directory order, no gaps
//
// Numbers are big-endian, offsets count from the start of the file. `end` is the offset of the
// last byte, so size = end + 1 - start, and an empty entry has end = start - 1. The directory ends
// at the first entry whose name begins with a zero byte.
#pragma once

#include <cstddef>
#include <cstdint>

#include "engine/data/fault.h"
#include "engine/data/limits.h"

inline constexpr uint32_t kPackageHeaderSize = 3;
inline constexpr uint32_t kPackageNameSize = 32;
inline constexpr uint32_t kPackageEntrySize = 40;
inline constexpr unsigned char kPackageHeader[kPackageHeaderSize] = {0x44, 0x50, 0x01};
/// Zero bytes that ReadPackageEntry keeps readable after the entry.
inline constexpr uint32_t kEntryPadding = 4;

/// Lookups that a package remembers until PrintLookupLines.
inline constexpr uint32_t kLookupLines = 32;

/// The name of a directory entry: the text from its first byte to the next zero byte, wherever that
/// is. A name of 32 characters and more runs over the entry's own numbers, and from 40 on over the
/// entries after it.
struct PackageName
{
    uint64_t hash;
    uint32_t length; // 0 for a text that never ends
    uint32_t next;   // entry with the same slot, later in the directory; kNoEntry at the end
};

/// A package that is open for reading, from a file or from memory.
struct PackageFile
{
    bool isFile;                // and not memory, nor a folder
    int file;                   // owned descriptor
    const unsigned char* bytes; // borrowed; null for a file
    size_t size;                // of bytes, or of the file

    // The directory, read once.
    unsigned char* directory; // owned; entryCount entries as they stand in the file
    uint32_t entryCount;      // the terminator is none; one that the file ends in is the last
    uint32_t lastSize;  // bytes of the file in the last entry, below 40 if the file ends there
    bool isCut;         // the file ends inside a name, or where a name should begin
    PackageName* names; // [entryCount], owned
    uint32_t* slots;    // [slotCount], owned: the first entry with such a hash
    uint32_t slotCount; // a power of two

    const char* lines[kLookupLines]; // that lookups had to say, literals
    uint32_t lineCount;

    PieceBudget budget;
};

/// Opens a package and reads its directory. What is no regular file is no package; a folder reads
/// as an empty one.
/// @return false after a fault: "%s: " and what the system says, "%s: it is no regular file", more
///         than kMostPackageEntries entries, no memory, or a file that can't be read; the record
///         needs no ClosePackage then
bool OpenPackageFile(const char* path, PackageFile* package, FaultList* faults);

/// The same for a package in memory.
/// @param bytes   size bytes, borrowed until ClosePackage
bool OpenPackageMemory(const unsigned char* bytes, size_t size, PackageFile* package,
                       FaultList* faults);

/// Closes the file and frees the directory. A record of zeros is allowed.
void ClosePackage(PackageFile* package);

/// Reads one entry whole. The first of several entries with one name wins.
/// @param name     zero-terminated, case-sensitive, 32 characters at most; an empty name takes
///                 entry 0 unseen. A name of exactly 32 characters is found only while its data
///                 starts below 16 MiB: its end is tested against the first byte of `start`.
/// @param sizeOut  receives the size in bytes as stored; not written when the result is null
/// @return a new heap block of *sizeOut bytes and kEntryPadding zero bytes, for the caller to free;
///         null without a fault if the directory lacks the name. Where the offsets reach past the
///         end of the file the block holds zeros. A size that can't be allocated, a negative one
///         included, and a file that can't be read are faults.
/// A lookup that ends without a match notes the line "End of object table reached!", and one that
/// meets the end of the file before the end of the directory "unexpected error". A name that the
/// file ends in is compared with the bytes of the name before it in the place of those that are
/// missing.
unsigned char* ReadPackageEntry(PackageFile* package, const char* name, int32_t* sizeOut,
                                FaultList* faults);

/// Looks an entry up by its name, as ReadPackageEntry does, and notes the same lines.
/// @return whether the directory has it; true for an empty name
bool LookUpPackageEntry(PackageFile* package, const char* name);

/// Prints the lines of all lookups since the last call to standard output. A program that shows
/// them calls this after each read, before it prints faults.
void PrintLookupLines(PackageFile* package);

/// Opens the first file of the working directory, in the directory's own order, whose name ends in
/// the three letters "dpk", and prints "Found %s.".
/// @return false without a fault, after "Sux... no dpk file.", when no name fits; false after a
///         fault when the one that fits can't be opened
bool FindPackage(PackageFile* package, FaultList* faults);
