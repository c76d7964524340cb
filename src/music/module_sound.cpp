// SPDX-License-Identifier: MIT
#include "music/module_sound.h"

#include <algorithm>
#include <cstdlib>
#include <libmodplug/modplug.h>

#include "music/load_module.h"

static constexpr uint32_t kFirstFrames = 1u << 20;
static constexpr uint32_t kFirstRows = 1024;

/// Makes room for twice as much.
/// @return false after a fault: no memory; the block is as it was then
template <typename Item>
static bool GrowBlock(Item** block, uint32_t* capacity, uint32_t first, FaultList* faults)
{
    const uint32_t wanted = *capacity == 0 ? first : *capacity * 2;
    void* grown = realloc(*block, wanted * sizeof(Item));
    if (grown == nullptr)
    {
        AddError(faults, "no memory for the sound of the module");
        return false;
    }
    *block = static_cast<Item*>(grown);
    *capacity = wanted;
    return true;
}

bool RenderModule(const ModuleFile* file, uint32_t mostFrames, ModuleSound* sound,
                  FaultList* faults)
{
    struct StereoFrame
    {
        int16_t left;
        int16_t right;
    };
    static_assert(sizeof(StereoFrame) == kModuleFrameBytes);

    ModPlugFile* module = LoadModule(file);
    if (module == nullptr)
    {
        return true;
    }
    StereoFrame* frames = nullptr;
    uint32_t capacity = 0;
    uint32_t count = 0;
    int got = 1;
    bool hasMemory = true;
    while (got > 0 && count < mostFrames && hasMemory)
    {
        if (capacity - count < kModuleBlockFrames)
        {
            hasMemory = GrowBlock(&frames, &capacity, kFirstFrames, faults);
            continue;
        }
        got = ModPlug_Read(module, frames + count, kModuleBlockFrames * kModuleFrameBytes);
        count += got > 0 ? static_cast<uint32_t>(got) / kModuleFrameBytes : 0;
    }
    ModPlug_Unload(module);
    *sound = {reinterpret_cast<int16_t*>(frames), std::min(count, mostFrames)};
    return hasMemory;
}

void FreeModuleSound(ModuleSound* sound)
{
    free(sound->samples);
    *sound = {};
}

bool FindModuleRows(const ModuleFile* file, uint32_t mostFrames, ModuleRows* rows,
                    FaultList* faults)
{
    ModPlugFile* module = LoadModule(file);
    if (module == nullptr)
    {
        return true;
    }
    uint32_t capacity = 0;
    bool hasMemory = true;
    uint8_t heard[kModuleFrameBytes];
    while (hasMemory && rows->frameCount < mostFrames &&
           ModPlug_Read(module, heard, sizeof(heard)) > 0)
    {
        const int order = ModPlug_GetCurrentOrder(module);
        const int row = ModPlug_GetCurrentRow(module);
        const ModuleRow* last = rows->count == 0 ? nullptr : &rows->rows[rows->count - 1];
        if (last == nullptr || last->order != order || last->row != row)
        {
            hasMemory =
                rows->count < capacity || GrowBlock(&rows->rows, &capacity, kFirstRows, faults);
            if (hasMemory)
            {
                rows->rows[rows->count] = {rows->frameCount,
                                           order,
                                           ModPlug_GetCurrentPattern(module),
                                           row,
                                           ModPlug_GetCurrentSpeed(module),
                                           ModPlug_GetCurrentTempo(module)};
                rows->count += 1;
            }
        }
        rows->frameCount += 1;
    }
    ModPlug_Unload(module);
    return hasMemory;
}

void FreeModuleRows(ModuleRows* rows)
{
    free(rows->rows);
    *rows = {};
}

const ModuleRow* FindRow(const ModuleRows* rows, int32_t order, int32_t row)
{
    for (uint32_t i = 0; i < rows->count; ++i)
    {
        if (rows->rows[i].order == order && rows->rows[i].row == row)
        {
            return &rows->rows[i];
        }
    }
    return nullptr;
}

const ModuleRow* RowAtTick(const ModuleRows* rows, uint32_t tick)
{
    const uint64_t frame = uint64_t{tick} * kModuleFramesPerTick;
    if (frame >= rows->frameCount)
    {
        return nullptr;
    }
    const ModuleRow* after =
        std::upper_bound(rows->rows, rows->rows + rows->count, frame,
                         [](uint64_t at, const ModuleRow& row) { return at < row.frame; });
    return after == rows->rows ? nullptr : after - 1;
}

uint32_t TickOfRow(const ModuleRow* row)
{
    return (row->frame + kModuleFramesPerTick - 1) / kModuleFramesPerTick;
}
