// SPDX-License-Identifier: MIT

// Memory for what lives as long as one frame: taken piece by piece, given back all at once. The
// blocks stay with the arena, so a frame like the one before it takes nothing from the heap.
#pragma once

#include <cstddef>

struct ArenaBlock;

/// An arena of zeros is an empty one.
struct Arena
{
    ArenaBlock* first;   // owned, a list; null before the first allocation
    ArenaBlock* current; // of the list, the one that is filled; those after it are free
    size_t used;         // bytes of current
};

/// How full an arena was at some time.
struct ArenaMark
{
    ArenaBlock* block;
    size_t used;
};

/// @return bytes that begin on a 16-byte boundary, uninitialised, lent until ResetArena goes back
///         before this call; null without memory
void* ArenaAllocate(Arena* arena, size_t bytes);

/// @return an array of a type that needs no constructor; null without memory
template <typename Type>
Type* ArenaAllocateArray(Arena* arena, size_t count)
{
    return count > static_cast<size_t>(-1) / sizeof(Type)
               ? nullptr
               : static_cast<Type*>(ArenaAllocate(arena, count * sizeof(Type)));
}

ArenaMark MarkArena(const Arena* arena);

/// Gives back all that was taken since the mark. A mark of zeros gives back everything.
void ResetArena(Arena* arena, ArenaMark mark);

/// Returns the blocks to the heap and leaves an empty arena.
void FreeArena(Arena* arena);
