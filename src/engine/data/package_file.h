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

#include <cstdint>
#include <cstdio>

inline constexpr uint32_t kPackageHeaderSize = 3;
inline constexpr uint32_t kPackageNameSize = 32;
inline constexpr uint32_t kPackageEntrySize = 40;
inline constexpr unsigned char kPackageHeader[kPackageHeaderSize] = {0x44, 0x50, 0x01};
/// Zero bytes that ReadPackageEntry keeps readable behind the entry.
inline constexpr uint32_t kEntryPadding = 4;

/// Reads one entry whole. The first of several entries with one name wins.
/// @param stream   an open package, binary; left at no particular position
/// @param name     zero-terminated, case-sensitive, 32 characters at most; an empty name takes
///                 entry 0 unseen. A name of exactly 32 characters is found only while its data
///                 starts below 16 MiB: its end is tested against the first byte of `start`.
/// @param sizeOut  receives the size in bytes as stored; not written when the result is null
/// @return a new heap block of *sizeOut bytes and kEntryPadding zero bytes, for the caller to free;
///         null if the directory lacks the name, after "End of object table reached!" on stdout.
///         Where the offsets reach past the end of the file the block holds zeros. A size that
///         can't be allocated, a negative one included, is fatal.
unsigned char* ReadPackageEntry(FILE* stream, const char* name, int32_t* sizeOut);

/// Opens the first file of the working directory, in the directory's own order, whose name ends in
/// the three letters "dpk", and prints "Found %s.".
/// @return an open binary read stream for the caller to close; null after "Sux... no dpk file."
///         when no name fits or the one that fits can't be opened
FILE* FindPackage();
