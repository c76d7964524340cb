// SPDX-License-Identifier: MIT
#include "engine/data/arena.h"

#include <cstdint>
#include <cstdlib>

static constexpr size_t kBlockSize = 256 * 1024; // bytes, the least that is taken from the heap
static constexpr size_t kAlignment = 16;

/// The memory of a block follows its head.
struct alignas(kAlignment) ArenaBlock
{
    ArenaBlock* next;
    size_t size; // bytes of memory, a multiple of kAlignment
};

static unsigned char* MemoryOf(ArenaBlock* block)
{
    return reinterpret_cast<unsigned char*>(block + 1);
}

/// Puts a new block after the current one.
/// @return false without memory
static bool InsertBlock(Arena* arena, size_t bytes)
{
    const size_t size = bytes < kBlockSize ? kBlockSize : bytes;
    ArenaBlock* block = static_cast<ArenaBlock*>(malloc(sizeof(ArenaBlock) + size));
    if (block == nullptr)
    {
        return false;
    }
    ArenaBlock** link = arena->current == nullptr ? &arena->first : &arena->current->next;
    block->next = *link;
    block->size = size;
    *link = block;
    return true;
}

void* ArenaAllocate(Arena* arena, size_t bytes)
{
    if (bytes > SIZE_MAX / 2)
    {
        return nullptr;
    }
    // An empty request takes room too, so that no two results are the same.
    const size_t rounded = bytes == 0 ? kAlignment : (bytes + kAlignment - 1) & ~(kAlignment - 1);

    if (arena->current == nullptr || arena->current->size - arena->used < rounded)
    {
        const ArenaBlock* next = arena->current == nullptr ? arena->first : arena->current->next;
        if ((next == nullptr || next->size < rounded) && !InsertBlock(arena, rounded))
        {
            return nullptr;
        }
        arena->current = arena->current == nullptr ? arena->first : arena->current->next;
        arena->used = 0;
    }
    unsigned char* memory = MemoryOf(arena->current) + arena->used;
    arena->used += rounded;
    return memory;
}

ArenaMark MarkArena(const Arena* arena)
{
    return {arena->current, arena->used};
}

void ResetArena(Arena* arena, ArenaMark mark)
{
    arena->current = mark.block;
    arena->used = mark.used;
}

void FreeArena(Arena* arena)
{
    for (ArenaBlock* block = arena->first; block != nullptr;)
    {
        ArenaBlock* next = block->next;
        free(block);
        block = next;
    }
    *arena = {};
}
