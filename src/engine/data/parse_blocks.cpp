// SPDX-License-Identifier: MIT
#include "engine/data/parse_blocks.h"

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <sys/mman.h>

static constexpr size_t kAlignment = alignof(std::max_align_t);
static constexpr size_t kFirstChunk = size_t{64} << 10; // bytes, its head included
/// Bytes of the chunks after the first: one page where the system has large ones. A page of 4 KB at
/// a time, half of the time of a parse goes into asking the system for memory.
static constexpr size_t kLaterChunk = size_t{2} << 20;
static constexpr size_t kLargeBlock =
    kFirstChunk / 8; // bytes; larger ones have a chunk of their own

/// A stretch of memory that blocks are cut from. It is given back with its last block, but the
/// current one of a parse only after the parse.
struct alignas(kAlignment) BlockChunk
{
    BlockNotes* notes; // null once the parse has ended
    BlockChunk* next;  // of the same parse
    BlockChunk* previous;
    size_t size; // bytes, the head included
    size_t used; // bytes, the head included
    size_t live; // blocks that were not deleted
};

/// Stands before every block.
struct alignas(kAlignment) BlockHead
{
    BlockChunk* chunk; // null for a block of the heap
    size_t size;       // bytes of a block of a chunk, this head included
};

// `new` has no argument to hand the notes over by. Each thread has its own, so documents can be
// parsed side by side, and it is null but for the time of a parse.
static thread_local BlockNotes* notesOfThread = nullptr;

/// @return memory for a chunk, for free; null without
static void* TakeChunkMemory(size_t size)
{
    if (size != kLaterChunk)
    {
        return malloc(size);
    }
    void* memory = aligned_alloc(kLaterChunk, size);
    if (memory != nullptr)
    {
        madvise(memory, size, MADV_HUGEPAGE); // a wish: without it all is as before, but slower
    }
    return memory;
}

/// @return a chunk at the front of the list; null without memory
static BlockChunk* AddChunk(BlockNotes* notes, size_t size)
{
    BlockChunk* chunk = static_cast<BlockChunk*>(TakeChunkMemory(size));
    if (chunk == nullptr)
    {
        return nullptr;
    }
    *chunk = {notes, notes->first, nullptr, size, sizeof(BlockChunk), 0};
    if (chunk->next != nullptr)
    {
        chunk->next->previous = chunk;
    }
    notes->first = chunk;
    return chunk;
}

static void FreeChunk(BlockChunk* chunk)
{
    if (chunk->previous != nullptr)
    {
        chunk->previous->next = chunk->next;
    }
    else if (chunk->notes != nullptr)
    {
        chunk->notes->first = chunk->next;
    }
    if (chunk->next != nullptr)
    {
        chunk->next->previous = chunk->previous;
    }
    free(chunk);
}

/// @param size   bytes, the head included
/// @return null without memory
static BlockHead* CutBlock(BlockNotes* notes, size_t size)
{
    BlockChunk* chunk = notes->current;
    if (size > kLargeBlock)
    {
        chunk = AddChunk(notes, sizeof(BlockChunk) + size);
    }
    else if (chunk == nullptr || chunk->size - chunk->used < size)
    {
        chunk = AddChunk(notes, chunk == nullptr ? kFirstChunk : kLaterChunk);
        if (chunk != nullptr)
        {
            BlockChunk* full = notes->current;
            notes->current = chunk;
            if (full != nullptr && full->live == 0)
            {
                FreeChunk(full);
            }
        }
    }
    if (chunk == nullptr)
    {
        return nullptr;
    }
    BlockHead* head =
        reinterpret_cast<BlockHead*>(reinterpret_cast<unsigned char*>(chunk) + chunk->used);
    chunk->used += size;
    chunk->live += 1;
    *head = {chunk, size};
    return head;
}

static void ReturnBlock(const BlockHead* head)
{
    BlockChunk* chunk = head->chunk;
    chunk->live -= 1;
    const bool isCurrent = chunk->notes != nullptr && chunk->notes->current == chunk;
    if (chunk->live == 0 && !isCurrent)
    {
        FreeChunk(chunk);
        return;
    }
    // Strings that grow take a block and give one back in turns: the last block makes room again.
    const unsigned char* end = reinterpret_cast<const unsigned char*>(head) + head->size;
    if (end == reinterpret_cast<const unsigned char*>(chunk) + chunk->used)
    {
        chunk->used -= head->size;
    }
}

void BeginNotes(BlockNotes* notes)
{
    assert(notesOfThread == nullptr);
    *notes = {nullptr, nullptr};
    notesOfThread = notes;
}

void EndNotes(BlockNotes* notes)
{
    assert(notesOfThread == notes);
    notesOfThread = nullptr;
    for (BlockChunk* chunk = notes->first; chunk != nullptr;)
    {
        BlockChunk* next = chunk->next;
        if (chunk->live == 0)
        {
            FreeChunk(chunk);
        }
        else
        {
            chunk->notes = nullptr;
        }
        chunk = next;
    }
    *notes = {nullptr, nullptr};
}

void FreeNotedBlocks(BlockNotes* notes)
{
    assert(notesOfThread == notes);
    notesOfThread = nullptr;
    for (BlockChunk* chunk = notes->first; chunk != nullptr;)
    {
        BlockChunk* next = chunk->next;
        free(chunk);
        chunk = next;
    }
    *notes = {nullptr, nullptr};
}

// The whole program's `new` and `delete`: the parser is a library, and asks these. The forms for
// arrays and those that do not throw come here too: left to a sanitizer, they would take blocks
// that the forms here are to give back.

/// @param size   bytes, the head included
/// @return null without memory, after asking the program's handler as long as there is one
static BlockHead* TakeHeapBlock(size_t size)
{
    BlockHead* head = static_cast<BlockHead*>(malloc(size));
    while (head == nullptr)
    {
        const std::new_handler handler = std::get_new_handler();
        if (handler == nullptr)
        {
            return nullptr;
        }
        handler();
        head = static_cast<BlockHead*>(malloc(size));
    }
    *head = {nullptr, size};
    return head;
}

void* operator new(size_t size)
{
    if (size > SIZE_MAX / 2)
    {
        throw std::bad_alloc();
    }
    const size_t bytes = sizeof(BlockHead) + (size + kAlignment - 1) / kAlignment * kAlignment;
    BlockNotes* notes = notesOfThread;
    BlockHead* head = notes != nullptr ? CutBlock(notes, bytes) : TakeHeapBlock(bytes);
    if (head == nullptr)
    {
        throw std::bad_alloc();
    }
    return head + 1;
}

void operator delete(void* block) noexcept
{
    if (block == nullptr)
    {
        return;
    }
    BlockHead* head = static_cast<BlockHead*>(block) - 1;
    if (head->chunk != nullptr)
    {
        ReturnBlock(head);
    }
    else
    {
        free(head);
    }
}

void operator delete(void* block, size_t /*size*/) noexcept
{
    operator delete(block);
}

void* operator new(size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    try
    {
        return operator new(size);
    }
    catch (const std::bad_alloc&)
    {
        return nullptr;
    }
}

void* operator new[](size_t size)
{
    return operator new(size);
}

void* operator new[](size_t size, const std::nothrow_t& tag) noexcept
{
    return operator new(size, tag);
}

void operator delete(void* block, const std::nothrow_t& /*tag*/) noexcept
{
    operator delete(block);
}

void operator delete[](void* block) noexcept
{
    operator delete(block);
}

void operator delete[](void* block, size_t /*size*/) noexcept
{
    operator delete(block);
}

void operator delete[](void* block, const std::nothrow_t& /*tag*/) noexcept
{
    operator delete(block);
}
