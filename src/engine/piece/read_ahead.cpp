// SPDX-License-Identifier: MIT
#include "engine/piece/read_ahead.h"

#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>

#include "engine/data/allocate.h"
#include "engine/data/model_data.h"
#include "engine/textures/bitmap_texture.h"
#include "engine/textures/layer_generator.h"
#include "engine/textures/procedural_texture.h"

enum class ItemState : uint8_t
{
    kWaiting,
    kRunning,
    kRead,
    kLeft,  // to its turn
    kTaken, // by the thread that walks
};

struct AheadItem
{
    const TiXmlElement* item; // lent by the tree
    uint32_t index;           // its place in the section
    void* record;             // owned while kRead, from calloc; null for layers
    LayerImage* layer;        // owned while kRead; null for the other sections
    uint64_t budgetBytes;     // that it takes of the package's budget
    uint64_t passingBytes;    // that it took beside them while it was read
    uint64_t heldBytes;       // that it holds until it is taken
    Section section;
    ItemState state;
};

/// A stretch of `items` that are one section's.
struct SectionStretch
{
    uint32_t first;
    uint32_t count;
};

struct ReadAhead
{
    const SectionReader* readers; // borrowed
    PackageFile package;          // a view of the context's: the same directory and descriptor
    bool isDemo;
    AheadItem* items; // [itemCount], owned, in the order of the document: the queue
    uint32_t itemCount;
    SectionStretch sections[kSectionCount];
    ItemFile* files[kSectionCount]; // [count of the section], owned; null for those without files

    std::mutex mutex;                // guards all below, and the states of items
    std::condition_variable changed; // an item was finished or taken, or it is time to stop
    uint32_t firstWaiting;           // no item before it waits
    uint32_t layersLeft;             // that are neither read nor left
    bool hasAllLayers;               // none was left
    uint64_t heldBytes;
    bool isStopping;

    std::jthread workers[kMostLoadingThreads - 1];
};

uint32_t CountLoadingThreads(const char* wish)
{
    char* end = nullptr;
    const long wished = wish == nullptr ? 0 : strtol(wish, &end, 10);
    const uint32_t found = wished > 0 && *end == 0
                               ? static_cast<uint32_t>(wished < 1000 ? wished : 1000)
                               : std::thread::hardware_concurrency();
    if (found == 0)
    {
        return 1;
    }
    return found < kMostLoadingThreads ? found : kMostLoadingThreads;
}

// ---- One item

/// The layers that textures are made of, in a context of a worker's own.
static void LendLayers(const ReadAhead* ahead, ReadContext* context)
{
    const SectionStretch& layers = ahead->sections[static_cast<int32_t>(Section::kLayers)];
    for (uint32_t i = 0; i < layers.count; ++i)
    {
        context->layers[i] = ahead->items[layers.first + i].layer;
    }
    context->layerCount = layers.count;
}

/// Makes what uploading would make.
/// @return its bytes
static uint64_t PrepareUpload(const ReadAhead* ahead, const AheadItem* item)
{
    if (item->section == Section::kTextures && ahead->isDemo)
    {
        return MakeTextureLevels(static_cast<ProceduralTexture*>(item->record));
    }
    if (item->section == Section::kBitmaps)
    {
        return MakeBitmapLevels(static_cast<BitmapTexture*>(item->record));
    }
    return 0;
}

/// Reads an item that is kRunning, without the mutex.
/// @param hasLayers   all layers of the document were read
/// @return whether its turn will find it read
static bool ReadOneItem(const ReadAhead* ahead, bool hasLayers, AheadItem* item)
{
    const SectionReader* row = &ahead->readers[static_cast<int32_t>(item->section)];
    FaultList faults;
    StartFaults(&faults);
    PackageFile package = ahead->package;
    ReadContext context = {};
    context.package = &package;
    context.isDemo = ahead->isDemo;
    context.computePixels = true;
    context.faults = &faults;
    if (item->section == Section::kTextures)
    {
        if (!hasLayers)
        {
            return false;
        }
        LendLayers(ahead, &context);
    }
    if (row->table != nullptr)
    {
        item->record = AllocateZeroedBytes(1, row->recordSize, "", nullptr);
        if (item->record == nullptr)
        {
            return false;
        }
    }

    context.files = ahead->files[static_cast<int32_t>(item->section)];
    const bool isRead = row->readItem(item->item, item->record, item->index, &context);
    if (!isRead || package.lineCount != 0)
    {
        if (item->section == Section::kLayers)
        {
            FreeLayers(&context);
        }
        else
        {
            row->freeRecord(item->record);
        }
        free(item->record);
        item->record = nullptr;
        FreeFaults(&faults);
        return false;
    }

    item->budgetBytes = kMostBytesOfAheadItem - package.budget.bytesLeft;
    item->passingBytes = package.budget.bytesLeft - package.budget.leastLeft;
    item->heldBytes = item->budgetBytes + PrepareUpload(ahead, item);
    if (item->section == Section::kLayers)
    {
        item->layer = context.layers[0];
    }
    return true;
}

// ---- The queue

/// @return the next item that can be read at once, kRunning from now on; null if there is none.
///         Needs the mutex.
static AheadItem* TakeWaiting(ReadAhead* ahead)
{
    if (ahead->isStopping || ahead->heldBytes >= kMostBytesAhead)
    {
        return nullptr;
    }
    while (ahead->firstWaiting < ahead->itemCount &&
           ahead->items[ahead->firstWaiting].state != ItemState::kWaiting)
    {
        ahead->firstWaiting += 1;
    }
    for (uint32_t i = ahead->firstWaiting; i < ahead->itemCount; ++i)
    {
        AheadItem* item = &ahead->items[i];
        const bool isReady = item->section != Section::kTextures || ahead->layersLeft == 0;
        if (item->state == ItemState::kWaiting && isReady)
        {
            item->state = ItemState::kRunning;
            return item;
        }
    }
    return nullptr;
}

/// Reads an item that is kRunning. Holds the mutex before and after.
static void RunItem(ReadAhead* ahead, AheadItem* item, std::unique_lock<std::mutex>* lock)
{
    const bool hasLayers = ahead->hasAllLayers;
    lock->unlock();
    const bool isRead = ReadOneItem(ahead, hasLayers, item);
    lock->lock();

    item->state = isRead ? ItemState::kRead : ItemState::kLeft;
    ahead->heldBytes += item->heldBytes;
    if (item->section == Section::kLayers)
    {
        ahead->layersLeft -= 1;
        ahead->hasAllLayers = ahead->hasAllLayers && isRead;
    }
    ahead->changed.notify_all();
}

/// A worker's life: until every item is at least begun.
static void Work(ReadAhead* ahead)
{
    std::unique_lock<std::mutex> lock(ahead->mutex);
    while (!ahead->isStopping)
    {
        AheadItem* item = TakeWaiting(ahead);
        if (item != nullptr)
        {
            RunItem(ahead, item, &lock);
        }
        else if (ahead->firstWaiting == ahead->itemCount)
        {
            return;
        }
        else
        {
            ahead->changed.wait(lock);
        }
    }
}

/// Waits until an item is finished, and does what there is to do meanwhile.
static void FinishItem(ReadAhead* ahead, AheadItem* item, std::unique_lock<std::mutex>* lock)
{
    if (item->state == ItemState::kWaiting)
    {
        item->state = ItemState::kRunning;
        RunItem(ahead, item, lock);
    }
    while (item->state == ItemState::kRunning)
    {
        AheadItem* other = TakeWaiting(ahead);
        if (other != nullptr)
        {
            RunItem(ahead, other, lock);
        }
        else
        {
            ahead->changed.wait(*lock);
        }
    }
}

// ---- Taking

/// Moves what was read to where the document keeps it.
static void MoveRecord(AheadItem* item, void* record, ReadContext* context)
{
    if (item->section == Section::kLayers)
    {
        // The item still points to it: it lends it to textures.
        context->layers[context->layerCount] = item->layer;
        context->layerCount += 1;
        return;
    }
    const SectionReader* row = &context->ahead->readers[static_cast<int32_t>(item->section)];
    memcpy(record, item->record, row->recordSize);
    free(item->record);
    item->record = nullptr;
    if (item->section == Section::kModels)
    {
        ModelData* model = static_cast<ModelData*>(record);
        model->mesh.faces = &model->faces;
    }
}

/// ReadContext::takeAhead.
static AheadResult TakeItem(Section section, uint32_t index, void* record, ReadContext* context)
{
    ReadAhead* ahead = context->ahead;
    const SectionStretch& stretch = ahead->sections[static_cast<int32_t>(section)];
    if (index >= stretch.count)
    {
        return AheadResult::kNone;
    }
    AheadItem* item = &ahead->items[stretch.first + index];
    std::unique_lock<std::mutex> lock(ahead->mutex);
    FinishItem(ahead, item, &lock);
    if (item->state != ItemState::kRead)
    {
        return AheadResult::kNone;
    }
    const uint64_t mostBytes = item->budgetBytes + item->passingBytes;
    if (!TakeFromBudget(&context->package->budget, mostBytes, context->faults))
    {
        return AheadResult::kFailed;
    }
    ReturnToBudget(&context->package->budget, item->passingBytes);
    MoveRecord(item, record, context);
    item->state = ItemState::kTaken;
    ahead->heldBytes -= item->heldBytes;
    ahead->changed.notify_all();
    return AheadResult::kRead;
}

// ---- Start and end

static bool IsReadAhead(int32_t section)
{
    switch (static_cast<Section>(section))
    {
    case Section::kLayers:
    case Section::kTextures:
    case Section::kModels:
    case Section::kBitmaps:
        return true;
    default:
        return false;
    }
}

/// Lists an item. One of a file that an earlier item names is left to its turn: it takes all from
/// the earlier one then.
/// @param files   of the section; null where it has none
static AheadItem ListItem(const TiXmlElement* element, Section section, uint32_t index,
                          const ItemFile* files)
{
    AheadItem item = {};
    item.item = element;
    item.index = index;
    item.section = section;
    item.state =
        files != nullptr && files[index].isRepeated ? ItemState::kLeft : ItemState::kWaiting;
    return item;
}

/// The items of a section that are read ahead: those before the first that is no element, at which
/// the walk ends.
static uint32_t CountAheadItems(const TiXmlNode* sectionNode, Section section)
{
    const uint32_t most = section == Section::kLayers ? kLayerCapacity : kObjectTableCapacity;
    uint32_t count = 0;
    for (const TiXmlNode* node = sectionNode->FirstChild();
         node != nullptr && node->ToElement() != nullptr && count < most;
         node = node->NextSibling())
    {
        count += 1;
    }
    return count;
}

/// Counts the items of a document, and tells where each section's stand.
static void CountDocument(const TiXmlNode* firstSection, ReadAhead* ahead)
{
    const TiXmlNode* node = firstSection;
    for (int32_t section = 0; section < kSectionCount && node != nullptr; ++section)
    {
        if (IsReadAhead(section))
        {
            const uint32_t count = CountAheadItems(node, static_cast<Section>(section));
            ahead->sections[section] = {ahead->itemCount, count};
            ahead->itemCount += count;
        }
        node = node->NextSibling();
    }
}

/// Lists the items of a document, all of which were counted.
/// @return false without memory
static bool ListDocument(const TiXmlNode* firstSection, ReadAhead* ahead)
{
    const TiXmlNode* node = firstSection;
    for (int32_t section = 0; section < kSectionCount && node != nullptr; ++section)
    {
        const SectionStretch& stretch = ahead->sections[section];
        if (stretch.count > 0 && HasFiles(static_cast<Section>(section)))
        {
            ahead->files[section] = ListItemFiles(node, stretch.count);
            if (ahead->files[section] == nullptr)
            {
                return false;
            }
        }
        const TiXmlNode* item = node->FirstChild();
        for (uint32_t i = 0; i < stretch.count; ++i)
        {
            ahead->items[stretch.first + i] = ListItem(
                item->ToElement(), static_cast<Section>(section), i, ahead->files[section]);
            item = item->NextSibling();
        }
        node = node->NextSibling();
    }
    return true;
}

/// Starts workers, as many as the system gives.
static void StartWorkers(ReadAhead* ahead, uint32_t count)
{
    for (uint32_t i = 0; i < count; ++i)
    {
        try
        {
            ahead->workers[i] = std::jthread(Work, ahead);
        }
        catch (const std::system_error&)
        {
            return;
        }
        catch (const std::bad_alloc&)
        {
            return;
        }
    }
}

static void FreeReadAhead(ReadAhead* ahead)
{
    for (uint32_t i = 0; i < ahead->itemCount && ahead->items != nullptr; ++i)
    {
        AheadItem* item = &ahead->items[i];
        if (item->state != ItemState::kRead)
        {
            continue;
        }
        if (item->section == Section::kLayers)
        {
            free(item->layer->pixels);
            free(item->layer);
            continue;
        }
        ahead->readers[static_cast<int32_t>(item->section)].freeRecord(item->record);
        free(item->record);
    }
    free(ahead->items);
    for (ItemFile* files : ahead->files)
    {
        free(files);
    }
    delete ahead;
}

void StartReadAhead(const SectionReader* readers, uint32_t threads, ReadContext* context)
{
    const TiXmlNode* first = context->document->document->FirstChild();
    ReadAhead* ahead = threads < 2 || first == nullptr ? nullptr : new (std::nothrow) ReadAhead();
    if (ahead == nullptr)
    {
        return;
    }
    ahead->readers = readers;
    ahead->package = *context->package;
    ahead->package.lineCount = 0;
    ahead->package.budget = {kMostBytesOfAheadItem, kMostBytesOfAheadItem};
    ahead->isDemo = context->isDemo;
    ahead->hasAllLayers = true;

    CountDocument(first->NextSibling(), ahead);
    ahead->items = AllocateZeroed<AheadItem>(ahead->itemCount, "", nullptr);
    if (ahead->items == nullptr || ahead->itemCount < 2 ||
        !ListDocument(first->NextSibling(), ahead))
    {
        FreeReadAhead(ahead);
        return;
    }
    ahead->layersLeft = ahead->sections[static_cast<int32_t>(Section::kLayers)].count;

    const uint32_t most = threads < kMostLoadingThreads ? threads : kMostLoadingThreads;
    StartWorkers(ahead, (most < ahead->itemCount ? most : ahead->itemCount) - 1);
    context->ahead = ahead;
    context->takeAhead = TakeItem;
}

void StopReadAhead(ReadContext* context)
{
    ReadAhead* ahead = context->ahead;
    if (ahead == nullptr)
    {
        return;
    }
    {
        const std::unique_lock<std::mutex> lock(ahead->mutex);
        ahead->isStopping = true;
        ahead->changed.notify_all();
    }
    for (std::jthread& worker : ahead->workers)
    {
        if (worker.joinable())
        {
            worker.join();
        }
    }
    FreeReadAhead(ahead);
    context->ahead = nullptr;
}
