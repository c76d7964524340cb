// Blocks that the XML parser takes from the heap, noted so that none stays behind when memory runs
// out in the middle of a text: the parser loses track of the node at hand then.
#pragma once

#include <cstddef>

/// Blocks of `new` that were not deleted, an open hash table.
struct BlockNotes
{
    void** slots;    // owned; null where there is no block
    size_t capacity; // a power of two, at least twice count; 0 at first
    size_t count;
};

/// Notes from here on all blocks that this thread takes by `new`, and forgets those that it
/// deletes. Meanwhile a `new` without memory throws at once, whatever handler the program has set.
void BeginNotes(BlockNotes* notes);

/// Ends the noting. The blocks stay.
void EndNotes(BlockNotes* notes);

/// Ends the noting and frees all blocks that are noted, whatever they hold.
void FreeNotedBlocks(BlockNotes* notes);
