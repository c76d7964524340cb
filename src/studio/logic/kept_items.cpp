// SPDX-License-Identifier: MIT
#include "studio/logic/kept_items.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <tinyxml.h>

#include "engine/data/allocate.h"
#include "engine/data/model_data.h"
#include "engine/piece/piece_sections.h"
#include "engine/textures/bitmap_texture.h"
#include "engine/textures/layer_generator.h"
#include "engine/textures/mip_chain.h"
#include "engine/textures/procedural_texture.h"
#include "engine/textures/texture_steps.h"

/// The result of one item.
struct KeptItem
{
    std::vector<uint8_t> pixels; // of a texture or bitmap; the block of a model
    std::vector<uint8_t> levels; // empty for none
    ModelData model;             // its arrays lie in `pixels`
    int32_t width, height;       // pixels, of a bitmap
    int32_t components;          // the same
    uint64_t budgetBytes;        // that it takes of the package's budget
    uint64_t passingBytes;       // that it took beside them while it was made
};

static constexpr ContentHash kNoHash = {};
static constexpr size_t kTextureBytes = size_t{kTextureSize} * kTextureSize * 3;

void AddToHash(const void* data, size_t size, ContentHash* hash)
{
    const uint8_t* bytes = static_cast<const uint8_t*>(data);
    while (size > 0)
    {
        uint64_t word = 0;
        const size_t taken = std::min(size, sizeof(word));
        memcpy(&word, bytes, taken);
        (*hash)[0] = ((*hash)[0] ^ word) * 0xD6E8FEB86659FD93u;
        (*hash)[0] ^= (*hash)[0] >> 32;
        (*hash)[1] = ((*hash)[1] + word) * 0xD1342543DE82EF95u + 1;
        (*hash)[1] ^= (*hash)[1] >> 29;
        bytes += taken;
        size -= taken;
    }
}

// ---- Hashes

static const TiXmlNode* SectionOf(const DemoDocument* document, Section section)
{
    const TiXmlNode* node =
        document->document == nullptr ? nullptr : document->document->FirstChild();
    for (int32_t i = 0; node != nullptr && i <= static_cast<int32_t>(section); ++i)
    {
        node = node->NextSibling();
    }
    return node;
}

static ContentHash HashLayer(const LayerImage* layer)
{
    ContentHash hash = kHashStart;
    AddToHash(&layer->type, sizeof(layer->type), &hash);
    AddToHash(layer->params, sizeof(layer->params), &hash);
    return hash;
}

/// Steps are hashed as they were read, with the layers that they take in the place of their
/// numbers.
static ContentHash HashTexture(const ProceduralTexture* texture, bool isDemo,
                               const std::vector<ContentHash>& layers)
{
    ContentHash hash = kHashStart;
    const uint32_t head[2] = {texture->stepCount, isDemo ? 1u : 0u};
    AddToHash(head, sizeof(head), &hash);
    for (uint32_t i = 0; i < texture->stepCount; ++i)
    {
        AddToHash(&texture->stepType[i], sizeof(texture->stepType[i]), &hash);
        AddToHash(texture->stepParams[i], sizeof(texture->stepParams[i]), &hash);
        if (IsCombiner(texture->stepType[i]))
        {
            AddToHash(layers[texture->stepLayer[i]].data(), sizeof(ContentHash), &hash);
        }
    }
    return hash;
}

/// A context for readers that compute nothing.
static ReadContext PlainContext(DemoDocument* document, PackageFile* package, FaultList* faults)
{
    ReadContext context = {};
    context.document = document;
    context.package = package;
    context.faults = faults;
    return context;
}

DocumentHashes HashDocument(DemoDocument* document, PackageFile* package, bool isDemo)
{
    DocumentHashes hashes;
    FaultList faults;
    StartFaults(&faults);
    ReadContext context = PlainContext(document, package, &faults);
    const TiXmlNode* node = SectionOf(document, Section::kLayers);
    bool isRead = node != nullptr;
    for (node = isRead ? node->FirstChild() : nullptr; isRead && node != nullptr;
         node = node->NextSibling())
    {
        const uint32_t place = static_cast<uint32_t>(hashes.layers.size());
        isRead = node->ToElement() != nullptr &&
                 ReadLayerItem(node->ToElement(), nullptr, place, &context);
        if (isRead)
        {
            hashes.layers.push_back(HashLayer(context.layers[place]));
        }
    }
    node = isRead ? SectionOf(document, Section::kTextures) : nullptr;
    for (node = node == nullptr ? nullptr : node->FirstChild(); isRead && node != nullptr;
         node = node->NextSibling())
    {
        ProceduralTexture texture;
        isRead = node->ToElement() != nullptr &&
                 ReadTextureSteps(node->ToElement(), context.layerCount, &texture, &faults);
        if (isRead)
        {
            hashes.textures.push_back(HashTexture(&texture, isDemo, hashes.layers));
        }
    }
    FreeLayers(&context);
    FreeFaults(&faults);
    return hashes;
}

static ContentHash HashAt(const std::vector<ContentHash>& hashes, uint32_t place)
{
    return place < hashes.size() ? hashes[place] : kNoHash;
}

/// @return null if nothing is kept under the hash
static std::shared_ptr<const KeptItem> Find(const KeptItems* kept, const ContentHash& hash)
{
    for (const auto* items : {&kept->next, &kept->last})
    {
        const auto found = items->find(hash);
        if (found != items->end())
        {
            return found->second;
        }
    }
    return nullptr;
}

/// Marks the layers that textures take which are not kept. Those that can't be hashed may take any.
static void MarkNeededLayers(const DemoDocument* document, KeptItems* kept)
{
    const size_t layers = kept->hashes.layers.size();
    kept->isNeeded.assign(layers, 0);
    const TiXmlNode* section = SectionOf(document, Section::kTextures);
    uint32_t place = 0;
    FaultList faults;
    StartFaults(&faults);
    for (const TiXmlNode* node = section == nullptr ? nullptr : section->FirstChild();
         node != nullptr; node = node->NextSibling(), ++place)
    {
        ProceduralTexture texture;
        if (place >= kept->hashes.textures.size() ||
            !ReadTextureSteps(node->ToElement(), static_cast<uint32_t>(layers), &texture, &faults))
        {
            kept->isNeeded.assign(layers, 1);
            break;
        }
        const bool isKept = Find(kept, kept->hashes.textures[place]) != nullptr;
        for (uint32_t i = 0; !isKept && i < texture.stepCount; ++i)
        {
            if (IsCombiner(texture.stepType[i]))
            {
                kept->isNeeded[texture.stepLayer[i]] = 1;
            }
        }
    }
    FreeFaults(&faults);
}

/// Hashes a document before its first layer or texture is read.
static KeptItems* KeptOf(ReadContext* context)
{
    KeptItems* kept = static_cast<KeptItems*>(context->user);
    if (kept->document != context->document)
    {
        kept->document = context->document;
        kept->hashes = HashDocument(context->document, context->package, context->isDemo);
        MarkNeededLayers(context->document, kept);
    }
    return kept;
}

// ---- Making and taking

/// @return a copy for free; null without bytes, and after a fault without memory
static uint8_t* CopyBytes(const std::vector<uint8_t>& bytes, FaultList* faults)
{
    uint8_t* copy =
        bytes.empty() ? nullptr : AllocateBlock<uint8_t>(bytes.size(), "a kept item", faults);
    if (copy != nullptr)
    {
        memcpy(copy, bytes.data(), bytes.size());
    }
    return copy;
}

static size_t ItemBytes(const KeptItem& item)
{
    return sizeof(KeptItem) + item.pixels.size() + item.levels.size();
}

static void Keep(const ContentHash& hash, KeptItem&& item, KeptItems* kept)
{
    const size_t bytes = ItemBytes(item);
    if (kept->nextBytes + bytes <= kMostKeptBytes)
    {
        kept->nextBytes += bytes;
        kept->next[hash] = std::make_shared<const KeptItem>(std::move(item));
    }
}

/// Finds an item, which is then the next piece's as well.
/// @return null if it has to be made: it is not kept, or the piece may not take its bytes; the
///         engine's reader then ends with that fault, and a texture's asks before it needs layers
static std::shared_ptr<const KeptItem> Take(const ContentHash& hash, KeptItems* kept,
                                            PieceBudget* budget)
{
    if (hash == kNoHash)
    {
        return nullptr;
    }
    std::shared_ptr<const KeptItem> item = Find(kept, hash);
    if (item == nullptr || item->budgetBytes + item->passingBytes > budget->bytesLeft)
    {
        return nullptr;
    }
    TakeFromBudget(budget, item->budgetBytes + item->passingBytes, nullptr);
    ReturnToBudget(budget, item->passingBytes);
    if (kept->next.emplace(hash, item).second)
    {
        kept->nextBytes += ItemBytes(*item);
    }
    return item;
}

/// Runs the engine's own reader, and notes what it took of the budget.
static bool Make(const TiXmlElement* item, void* record, uint32_t index, ReadContext* context,
                 Section section, KeptItem* made)
{
    PieceBudget* budget = &context->package->budget;
    const PieceBudget before = *budget;
    budget->leastLeft = budget->bytesLeft;
    const bool isRead =
        PieceSections[static_cast<int32_t>(section)].readItem(item, record, index, context);
    made->budgetBytes = before.bytesLeft - budget->bytesLeft;
    made->passingBytes = budget->bytesLeft - budget->leastLeft;
    budget->leastLeft = std::min(budget->leastLeft, before.leastLeft);
    static_cast<KeptItems*>(context->user)->made += 1;
    return isRead;
}

/// Reads the entry that an item names and hashes its bytes. The lookup's lines are noted, as the
/// engine's reader notes them.
/// @return zeros where the engine's reader has to see for itself
static ContentHash HashEntry(const char* filename, Section section, uint32_t index,
                             const ReadContext* context)
{
    if (filename == nullptr || (context->files != nullptr && context->files[index].isRepeated))
    {
        return kNoHash;
    }
    FaultList faults;
    StartFaults(&faults);
    int32_t size = 0;
    unsigned char* bytes = ReadPackageEntry(context->package, filename, &size, &faults);
    ContentHash hash = kNoHash;
    if (bytes != nullptr)
    {
        hash = kHashStart;
        const int32_t head[2] = {static_cast<int32_t>(section), size};
        AddToHash(head, sizeof(head), &hash);
        AddToHash(bytes, static_cast<size_t>(size), &hash);
        free(bytes);
    }
    FreeFaults(&faults);
    return hash;
}

// ---- The readers

static bool ReadKeptLayer(const TiXmlElement* item, void* record, uint32_t index,
                          ReadContext* context)
{
    const KeptItems* kept = KeptOf(context);
    const bool computes = context->computePixels;
    context->computePixels =
        computes && (index >= kept->isNeeded.size() || kept->isNeeded[index] != 0);
    const bool isRead = ReadLayerItem(item, record, index, context);
    context->computePixels = computes;
    return isRead;
}

static bool ReadKeptTexture(const TiXmlElement* item, void* record, uint32_t index,
                            ReadContext* context)
{
    KeptItems* kept = KeptOf(context);
    ProceduralTexture* texture = static_cast<ProceduralTexture*>(record);
    const ContentHash hash = HashAt(kept->hashes.textures, index);
    const std::shared_ptr<const KeptItem> found = Take(hash, kept, &context->package->budget);
    if (found != nullptr)
    {
        kept->kept += 1;
        // It was read for its hash, so there is no fault in it.
        ReadTextureSteps(item, context->layerCount, texture, context->faults);
        texture->pixels = CopyBytes(found->pixels, context->faults);
        texture->levels = CopyBytes(found->levels, context->faults);
        return !HasFailed(context->faults);
    }
    KeptItem made = {};
    if (!Make(item, record, index, context, Section::kTextures, &made))
    {
        return false;
    }
    if (hash != kNoHash)
    {
        if (context->isDemo && MakeTextureLevels(texture) > 0)
        {
            made.levels.assign(texture->levels,
                               texture->levels + MipChainBytes({kTextureSize, kTextureSize}, 3));
        }
        made.pixels.assign(texture->pixels, texture->pixels + kTextureBytes);
        Keep(hash, std::move(made), kept);
    }
    return true;
}

/// A pointer into a block as its place in another one.
template <typename Element>
static Element* Moved(Element* pointer, const void* from, void* to)
{
    if (pointer == nullptr)
    {
        return nullptr;
    }
    const ptrdiff_t offset =
        reinterpret_cast<const uint8_t*>(pointer) - static_cast<const uint8_t*>(from);
    return reinterpret_cast<Element*>(static_cast<uint8_t*>(to) + offset);
}

/// The arrays of a model, in another block with the same bytes. Blocks begin on a 16-byte boundary,
/// so the arrays lie as well in one as in the other.
static void MoveModel(void* block, ModelData* model)
{
    Mesh* mesh = &model->mesh;
    mesh->vertices = Moved(mesh->vertices, model->block, block);
    mesh->texCoords1 = Moved(mesh->texCoords1, model->block, block);
    mesh->texCoords2 = Moved(mesh->texCoords2, model->block, block);
    mesh->normals = Moved(mesh->normals, model->block, block);
    mesh->indices = Moved(mesh->indices, model->block, block);
    model->block = block;
}

static bool ReadKeptModel(const TiXmlElement* item, void* record, uint32_t index,
                          ReadContext* context)
{
    KeptItems* kept = static_cast<KeptItems*>(context->user);
    ModelData* model = static_cast<ModelData*>(record);
    const uint32_t lines = context->package->lineCount;
    const char* filename = item->Attribute("filename");
    const ContentHash hash = HashEntry(filename, Section::kModels, index, context);
    const std::shared_ptr<const KeptItem> found = Take(hash, kept, &context->package->budget);
    if (found != nullptr)
    {
        kept->kept += 1;
        uint8_t* block = CopyBytes(found->pixels, context->faults);
        if (block == nullptr)
        {
            return false;
        }
        *model = found->model;
        MoveModel(block, model);
        model->filename = filename;
        model->mesh.faces = &model->faces;
        return true;
    }
    context->package->lineCount = lines;
    KeptItem made = {};
    if (!Make(item, record, index, context, Section::kModels, &made))
    {
        return false;
    }
    if (hash != kNoHash && model->block != nullptr)
    {
        // Up to the end of the file: its indices, and bytes that make no whole one.
        const uint8_t* block = static_cast<const uint8_t*>(model->block);
        const size_t before = static_cast<size_t>(
            reinterpret_cast<const uint8_t*>(model->mesh.vertices) - block - kModelHeaderSize);
        made.pixels.assign(block, block + before + model->storedSize);
        made.model = *model;
        MoveModel(made.pixels.data(), &made.model);
        Keep(hash, std::move(made), kept);
    }
    return true;
}

/// Bytes of a bitmap's block, with the zeros that follow its pixels.
static size_t BitmapBytes(const BitmapTexture* bitmap)
{
    return std::max(UploadBytes(bitmap->width, bitmap->height, bitmap->components == 3 ? 3 : 4),
                    LevelBytes({bitmap->width, bitmap->height}, bitmap->components));
}

static bool ReadKeptBitmap(const TiXmlElement* item, void* record, uint32_t index,
                           ReadContext* context)
{
    KeptItems* kept = static_cast<KeptItems*>(context->user);
    BitmapTexture* bitmap = static_cast<BitmapTexture*>(record);
    const uint32_t lines = context->package->lineCount;
    const char* filename = item->Attribute("filename");
    const ContentHash hash = HashEntry(filename, Section::kBitmaps, index, context);
    const std::shared_ptr<const KeptItem> found = Take(hash, kept, &context->package->budget);
    if (found != nullptr)
    {
        kept->kept += 1;
        uint8_t* block = CopyBytes(found->pixels, context->faults);
        *bitmap = {found->width,
                   found->height,
                   found->components,
                   block,
                   CopyBytes(found->levels, context->faults),
                   filename,
                   nullptr,
                   block,
                   context->files == nullptr ? 1 : context->files[index].usesLeft};
        return !HasFailed(context->faults);
    }
    context->package->lineCount = lines;
    KeptItem made = {};
    if (!Make(item, record, index, context, Section::kBitmaps, &made))
    {
        return false;
    }
    if (hash != kNoHash && bitmap->block != nullptr)
    {
        if (bitmap->levels == nullptr)
        {
            MakeBitmapLevels(bitmap);
        }
        made.width = bitmap->width;
        made.height = bitmap->height;
        made.components = bitmap->components;
        made.pixels.assign(bitmap->block, bitmap->block + BitmapBytes(bitmap));
        if (bitmap->levels != nullptr)
        {
            made.levels.assign(bitmap->levels,
                               bitmap->levels + MipChainBytes({bitmap->width, bitmap->height},
                                                              bitmap->components));
        }
        Keep(hash, std::move(made), kept);
    }
    return true;
}

// ---- A load

void BeginKeptLoad(KeptItems* kept)
{
    std::copy(PieceSections, PieceSections + kSectionCount, kept->readers);
    kept->readers[static_cast<int32_t>(Section::kLayers)].readItem = ReadKeptLayer;
    kept->readers[static_cast<int32_t>(Section::kTextures)].readItem = ReadKeptTexture;
    kept->readers[static_cast<int32_t>(Section::kModels)].readItem = ReadKeptModel;
    kept->readers[static_cast<int32_t>(Section::kBitmaps)].readItem = ReadKeptBitmap;
    kept->next.clear();
    kept->nextBytes = 0;
    kept->document = nullptr;
    kept->hashes = {};
    kept->isNeeded.clear();
    kept->made = 0;
    kept->kept = 0;
}

void EndKeptLoad(bool isLoaded, KeptItems* kept)
{
    if (isLoaded)
    {
        kept->last = std::move(kept->next);
    }
    kept->next.clear();
    kept->nextBytes = 0;
    kept->document = nullptr;
    kept->hashes = {};
}

size_t KeptBytes(const KeptItems* kept)
{
    size_t bytes = 0;
    for (const auto& [hash, item] : kept->last)
    {
        bytes += ItemBytes(*item);
    }
    return bytes;
}
