// SPDX-License-Identifier: MIT

// Blocks that the XML parser takes from the heap by `new`, hundreds of thousands of small ones for
// a large text. While a thread parses they come out of chunks, which is faster than the heap, and
// none stays behind when memory runs out in the middle of a text: the parser loses track of the
// node at hand then.
#pragma once

struct BlockChunk;

/// The chunks of one parse.
struct BlockNotes
{
    BlockChunk* first;   // owned, a list; null for none
    BlockChunk* current; // of the list: the one that small blocks are taken from; null for none
};

/// From here on all blocks that this thread takes by `new` are noted. Meanwhile a `new` without
/// memory throws at once, whatever handler the program has set.
void BeginNotes(BlockNotes* notes);

/// Ends the noting. The blocks stay until they are deleted, those of one parse by one thread at a
/// time.
void EndNotes(BlockNotes* notes);

/// Ends the noting and frees all blocks that were noted, whatever they hold.
void FreeNotedBlocks(BlockNotes* notes);
