// SPDX-License-Identifier: MIT

// Writing, copying and unpacking packages. The player calls none of this.
//
// A package to be written is described by a list of pending entries, singly linked, with a sentinel
// at its end: an empty list is one sentinel. An entry takes its data from a file on disk, or from
// an existing package that holds an entry of the same name.
//
// Paths are made by putting prefix and name together as they stand: a prefix that is a directory
// brings its own slash. Files that are created get the permissions 0600.
//
// Going on comes before giving up: a file that can't be read, and an entry that the package lacks,
// count as 0 bytes when a package is written and make no file when one is unpacked. Each of them
// adds an error all the same, and the routine returns false at its end.
#pragma once

#include <cstdint>

#include "engine/data/fault.h"
#include "engine/data/package_file.h"

struct PendingEntry
{
    char* name;         // owned; null marks the sentinel
    char* sourceDir;    // owned, prefix of a file on disk; null takes the data from a package
    PendingEntry* next; // owned; null after the sentinel
};

/// @return a new empty list, for FreePendingList; null without memory
PendingEntry* NewPendingList();

/// Adds an entry at the end of the list. Any node of the list will do for `head`, so appending to
/// the sentinel that the last call returned takes no walk.
/// @param name        from malloc, not null; the list owns it from here on. 32 characters fit: the
///                    writers put a longer name down whole, over its own start and end, which then
///                    go over it, and from 41 characters on over what follows as well
/// @param sourceDir   from malloc, owned by the list from here on; null takes the data from the
///                    package that the writer is given
/// @return the new sentinel; null without memory, with both strings freed and the list as it was
PendingEntry* AppendPendingEntry(PendingEntry* head, char* name, char* sourceDir);

/// Makes the list empty. The head node stays and is the sentinel.
void ClearPendingList(PendingEntry* head);

/// Frees the list, the head too. Null is allowed.
void FreePendingList(PendingEntry* head);

/// Removes an entry.
/// @param index   counted from 0; one past the last entry prints "Error: index not found!"
/// @return the head of the list afterwards: the second node where the first was removed
PendingEntry* RemovePendingEntry(PendingEntry* head, uint32_t index);

/// Lists the directory of a package: all names, without sourceDir, in directory order. A name that
/// the file ends in is none.
/// @return a new list for FreePendingList; null after a fault. Each name is the 32 bytes of its
/// field
///         in a block of 33: the last byte is a zero, since a name of 32 characters brings none of
///         its own.
PendingEntry* ReadPackageDirectory(const PackageFile* package, FaultList* faults);

/// The bytes of a package, in memory.
struct PackageBytes
{
    unsigned char* bytes; // owned, from malloc
    size_t size;
    size_t capacity; // of bytes
};

/// A package while it is put together in memory, entry by entry. Offsets are unsigned 32-bit, as
/// the format has them.
struct PackageWriter
{
    PackageBytes* package;  // borrowed
    FaultList* faults;      // borrowed
    uint32_t nameOffset;    // of the directory entry that comes next
    uint32_t firstDataByte; // 40 * N + 35
    uint64_t before;        // bytes of data so far
    bool isBroken;          // it can't be put together; nothing more is put down
};

/// Puts down the header and an empty directory.
/// @param package      receives the bytes
/// @param entryCount   of the entries that will be put, neither more nor less
/// @param faults       receives that there is no memory, or too much data
PackageWriter BeginPackage(PackageBytes* package, uint32_t entryCount, FaultList* faults);

/// Puts down the next entry. A package that can't be put together takes no more.
/// @param name    see AppendPendingEntry
/// @param bytes   size bytes; not looked at if there are none
void PutPackageEntry(PackageWriter* writer, const char* name, const unsigned char* bytes,
                     uint32_t size);

/// Ends a package. The bytes are for free; null if they could not be put together.
/// @return false after a fault
bool EndPackage(PackageWriter* writer);

/// Puts a package together in memory. Prints nothing but the lines of lookups.
/// @param source   null where no entry comes out of a package
/// @param package  receives the bytes, for free; null if they can't be put together at all
bool BuildPackage(const PendingEntry* list, PackageFile* source, PackageBytes* package,
                  FaultList* faults);

/// Writes a package that may replace the very file that `source` reads: all of it is put together
/// in memory first. Prints "count = %d" with the number of kept entries and "NAME: %s" for each,
/// then, in list order, "size of the file: %d" for each entry from disk and "size=%d" for each kept
/// one.
/// @param source   null where no entry comes out of a package
bool RewritePackage(const PendingEntry* list, const char* outputPath, PackageFile* source,
                    FaultList* faults);

/// Writes a package to another file than the one that `source` reads. Prints nothing but the lines
/// of lookups.
/// @param source   null where no entry comes out of a package
bool WritePackageCopy(const PendingEntry* list, const char* outputPath, PackageFile* source,
                      FaultList* faults);

/// Writes each entry to the file `prefix` + name, over what stands there. Prints the lines of
/// lookups.
/// @param source   null where no entry comes out of a package
/// @param prefix   taken as it is, and names too: a name with a slash leaves the directory
bool ExtractPendingEntries(const PendingEntry* list, PackageFile* source, const char* prefix,
                           FaultList* faults);

/// Writes every entry of a package to the file `prefix` + name, over what stands there.
bool ExtractPackage(PackageFile* package, const char* prefix, FaultList* faults);
