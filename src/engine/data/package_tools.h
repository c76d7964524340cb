// Writing, copying and unpacking packages. The player calls none of this.
//
// A package to be written is described by a list of pending entries, singly linked, with a sentinel
// at its end: an empty list is one sentinel. An entry takes its data from a file on disk, or from
// an existing package that holds an entry of the same name.
//
// Paths are made by putting prefix and name together as they stand: a prefix that is a directory
// brings its own slash. Files that are created get the permissions 0600.
//
// Nothing is reported beyond the texts told below. What can't be had is left out: a file that does
// not open, and an entry that the package lacks, count as 0 bytes when a package is written and
// make no file when one is unpacked; an output that can't be created is not written. Callers who
// want to know check before and after.
#pragma once

#include <cstdint>
#include <cstdio>

struct PendingEntry
{
    char* name;         // owned; null marks the sentinel
    char* sourceDir;    // owned, prefix of a file on disk; null takes the data from a package
    PendingEntry* next; // owned; null behind the sentinel
};

/// @return a new empty list, for FreePendingList
PendingEntry* NewPendingList();

/// Adds an entry at the end of the list. Any node of the list will do for `head`, so appending to
/// the sentinel that the last call returned takes no walk.
/// @param name        from malloc, not null; the list owns it from here on. 32 characters fit: the
///                    writers put a longer name down whole, over its own start and end, which then
///                    go over it, and from 41 characters on over what follows as well
/// @param sourceDir   from malloc, owned by the list from here on; null takes the data from the
///                    package that the writer is given
/// @return the new sentinel
PendingEntry* AppendPendingEntry(PendingEntry* head, char* name, char* sourceDir);

/// Makes the list empty. The head node stays and is the sentinel.
void ClearPendingList(PendingEntry* head);

/// Frees the list, the head too. Null is allowed.
void FreePendingList(PendingEntry* head);

/// Removes an entry.
/// @param index   counted from 0; one past the last entry prints "Error: index not found!"
/// @return the head of the list afterwards: the second node where the first was removed
PendingEntry* RemovePendingEntry(PendingEntry* head, uint32_t index);

/// Reads the directory of a package: a list of all names, without sourceDir, in directory order.
/// A directory that the file ends in ends there.
/// @param stream   an open package, binary; left at no particular position
/// @return a new list for FreePendingList. Each name is the 32 bytes of its field in a block of 33:
///         the last byte is a zero, since a name of 32 characters brings none of its own.
PendingEntry* ReadPackageDirectory(FILE* stream);

/// Writes a package that may replace the very file that `stream` reads: all that is kept is read
/// into memory first. Prints "count = %d" with the number of kept entries and "NAME: %s" for each,
/// then, in list order, "size of the file: %d" for each entry from disk and "size=%d" for each from
/// memory.
/// @param stream   an open package, binary; null where no entry comes out of one
void RewritePackage(const PendingEntry* list, const char* outputPath, FILE* stream);

/// Writes a package to another file than the one that `stream` reads. Prints nothing.
/// @param stream   an open package, binary; null where no entry comes out of one
void WritePackageCopy(const PendingEntry* list, const char* outputPath, FILE* stream);

/// Writes each entry to the file `prefix` + name, over what stands there.
/// @param stream   an open package, binary; null where no entry comes out of one
/// @param prefix   taken as it is, and names too: a name with a slash leaves the directory
void ExtractPendingEntries(const PendingEntry* list, FILE* stream, const char* prefix);

/// Writes every entry of a package to the file `prefix` + name, over what stands there.
void ExtractPackage(FILE* stream, const char* prefix);
