#include "engine/data/parse_blocks.h"

#include <cassert>
#include <cstdint>
#include <cstdlib>
#include <new>

static constexpr size_t kFirstCapacity = 1024;

// `new` has no argument to hand the notes over by. Each thread has its own, so documents can be
// parsed side by side, and it is null but for the time of a parse.
static thread_local BlockNotes* notesOfThread = nullptr;

static size_t SlotOf(const void* block, size_t capacity)
{
    const uint64_t mixed = (reinterpret_cast<uintptr_t>(block) >> 4) * 0x9E3779B97F4A7C15;
    return static_cast<size_t>(mixed >> 32) & (capacity - 1);
}

static void PutBlock(void* block, void** slots, size_t capacity)
{
    size_t i = SlotOf(block, capacity);
    while (slots[i] != nullptr)
    {
        i = (i + 1) & (capacity - 1);
    }
    slots[i] = block;
}

/// @return false without memory
static bool GrowNotes(BlockNotes* notes)
{
    const size_t capacity = notes->capacity == 0 ? kFirstCapacity : 2 * notes->capacity;
    void** slots = static_cast<void**>(calloc(capacity, sizeof(void*)));
    if (slots == nullptr)
    {
        return false;
    }
    for (size_t i = 0; i < notes->capacity; ++i)
    {
        if (notes->slots[i] != nullptr)
        {
            PutBlock(notes->slots[i], slots, capacity);
        }
    }
    free(notes->slots);
    notes->slots = slots;
    notes->capacity = capacity;
    return true;
}

/// @return false without memory
static bool NoteBlock(BlockNotes* notes, void* block)
{
    if (2 * (notes->count + 1) > notes->capacity && !GrowNotes(notes))
    {
        return false;
    }
    PutBlock(block, notes->slots, notes->capacity);
    notes->count += 1;
    return true;
}

static void ForgetBlock(BlockNotes* notes, const void* block)
{
    if (notes->capacity == 0)
    {
        return;
    }
    const size_t mask = notes->capacity - 1;
    size_t hole = SlotOf(block, notes->capacity);
    while (notes->slots[hole] != block)
    {
        if (notes->slots[hole] == nullptr)
        {
            return; // it was taken before
        }
        hole = (hole + 1) & mask;
    }
    notes->count -= 1;

    // Those after the hole move up, as far as their own slots allow: a search ends at an empty
    // slot.
    for (size_t i = (hole + 1) & mask; notes->slots[i] != nullptr; i = (i + 1) & mask)
    {
        const size_t home = SlotOf(notes->slots[i], notes->capacity);
        if (((i - home) & mask) >= ((i - hole) & mask))
        {
            notes->slots[hole] = notes->slots[i];
            hole = i;
        }
    }
    notes->slots[hole] = nullptr;
}

void BeginNotes(BlockNotes* notes)
{
    assert(notesOfThread == nullptr);
    *notes = {};
    notesOfThread = notes;
}

void EndNotes(BlockNotes* notes)
{
    assert(notesOfThread == notes);
    notesOfThread = nullptr;
    free(notes->slots);
    *notes = {};
}

void FreeNotedBlocks(BlockNotes* notes)
{
    for (size_t i = 0; i < notes->capacity; ++i)
    {
        free(notes->slots[i]);
    }
    EndNotes(notes);
}

// The whole program's `new` and `delete`: the parser is a library, and asks these. The forms for
// arrays and those that do not throw come here too: left to a sanitizer, they would take blocks
// that the forms here are to give back.

void* operator new(size_t size)
{
    BlockNotes* notes = notesOfThread;
    void* block = malloc(size == 0 ? 1 : size);
    while (block == nullptr && notes == nullptr)
    {
        const std::new_handler handler = std::get_new_handler();
        if (handler == nullptr)
        {
            throw std::bad_alloc();
        }
        handler();
        block = malloc(size == 0 ? 1 : size);
    }
    if (notes != nullptr && (block == nullptr || !NoteBlock(notes, block)))
    {
        free(block);
        throw std::bad_alloc();
    }
    return block;
}

void operator delete(void* block) noexcept
{
    if (block != nullptr && notesOfThread != nullptr)
    {
        ForgetBlock(notesOfThread, block);
    }
    free(block);
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
