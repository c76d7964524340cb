#include "tools/textures_command.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

#include "engine/data/cos_table.h"
#include "engine/data/demo_document.h"
#include "engine/data/document_values.h"
#include "engine/data/vocabulary.h"
#include "engine/textures/bitmap_texture.h"
#include "engine/textures/corner_masks.h"
#include "engine/textures/layer_generator.h"
#include "engine/textures/procedural_texture.h"
#include "tools/contact_sheet.h"
#include "tools/files.h"
#include "tools/package_listing.h"
#include "tools/report.h"

/// One document while its images are written.
struct ImageWriter
{
    std::string prefix; // folder, slash and the document's part of the files' names
    SheetGroup layers;
    SheetGroup textures;
    SheetGroup bitmaps;
    std::vector<uint8_t> workImage; // of the texture that is being built
};

/// Three digits, or four: files are then in order.
static std::string NameNumber(uint32_t number)
{
    char digits[16];
    snprintf(digits, sizeof(digits), "%03u", number);
    return digits;
}

static std::string Count(size_t count, const char* one, const char* many)
{
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

/// Writes one image and puts it on the sheet.
/// @param kind     "layer", "texture" or "bitmap"
/// @param number   as documents name it
static void ShowImage(const ImageWriter* writer, const std::string& kind, uint32_t number,
                      const std::string& detail, const Picture& picture, SheetGroup* group)
{
    // A reader of items can't say that it failed, so this ends as a fault of the document does.
    if (!WritePng(writer->prefix + kind + "-" + NameNumber(number) + ".png", picture))
    {
        exit(1);
    }
    AddTile(picture, kind + " " + std::to_string(number), detail, group);
}

static void ShowLayerItem(const TiXmlElement* item, void* record, uint32_t index,
                          LoadContext* context)
{
    ImageWriter* writer = static_cast<ImageWriter*>(context->user);
    ReadLayerItem(item, record, index, context);

    const LayerImage* layer = context->layers[index];
    const VocabularyRow* row = FindVocabularyRow(kCatalogueGenerators, layer->type);
    const char* generator = row == nullptr ? "no such generator" : row->name;
    ShowImage(writer, "layer", index, generator, {kTextureSize, kTextureSize, 3, layer->pixels},
              &writer->layers);
}

static void ShowTextureItem(const TiXmlElement* item, void* record, uint32_t index,
                            LoadContext* context)
{
    ImageWriter* writer = static_cast<ImageWriter*>(context->user);
    ProceduralTexture* texture = static_cast<ProceduralTexture*>(record);
    ReadTextureSteps(item, context->layerCount, texture);

    const TextureJob job = {texture, writer->workImage.data()};
    BuildProceduralTexture(&job, context->layers, kTextureSize);
    ShowImage(writer, "texture", index + 1, Count(texture->stepCount, "step", "steps"),
              {kTextureSize, kTextureSize, 3, job.pixels}, &writer->textures);
}

static void ShowBitmapItem(const TiXmlElement* item, void* record, uint32_t index,
                           LoadContext* context)
{
    ImageWriter* writer = static_cast<ImageWriter*>(context->user);
    BitmapTexture* bitmap = static_cast<BitmapTexture*>(record);
    const char* filename = RequireAttribute(item, "filename");
    DecodeBitmap(context->package, filename, bitmap);

    const std::string size = std::to_string(bitmap->width) + "x" + std::to_string(bitmap->height);
    ShowImage(writer, "bitmap", index + 1, size + " " + filename,
              {bitmap->width, bitmap->height, bitmap->components, bitmap->pixels},
              &writer->bitmaps);
    free(bitmap->pixels);
    bitmap->pixels = nullptr;
}

// clang-format off
/// A row's place is the section's number. What has no reader is walked over.
static constexpr SectionReader kImageReaders[kSectionCount] = {
    // table, recordSize, itemLimit, begin, readItem, end
    {nullptr, 0, 0, nullptr, ShowLayerItem, nullptr},
    {&DemoDocument::textures, sizeof(ProceduralTexture), 0, nullptr, ShowTextureItem, FreeLayers},
    {}, {}, {}, {},
    {&DemoDocument::bitmaps, sizeof(BitmapTexture), 0, nullptr, ShowBitmapItem, nullptr},
    {}, {}, {}, {},
};
// clang-format on

/// Writes the images of one document and adds its three groups to the sheet.
/// @param name   an entry of the package
static void WriteDocument(const ListedPackage* package, const char* name, const std::string& folder,
                          std::vector<SheetGroup>* groups)
{
    TiXmlDocument tree;
    LoadDocument(package->stream, name, &tree);

    const std::string entry = name;
    ImageWriter writer;
    writer.prefix = folder + "/" + entry.substr(0, entry.rfind('.')) + "-";
    writer.workImage.resize(size_t{3} * kTextureSize * kTextureSize);

    DemoDocument document = {};
    document.name = name;
    document.document = &tree;
    LoadContext context = {};
    context.document = &document;
    context.package = package->stream;
    context.user = &writer;
    ReadSections(kImageReaders, &context);
    FreeObjectTable(document.textures);
    FreeObjectTable(document.bitmaps);

    const std::string layers = Count(writer.layers.tiles.size(), "layer", "layers");
    const std::string textures =
        Count(writer.textures.tiles.size(), "procedural texture", "procedural textures");
    const std::string bitmaps = Count(writer.bitmaps.tiles.size(), "bitmap", "bitmaps");
    printf("%s: %s, %s, %s\n", name, layers.c_str(), textures.c_str(), bitmaps.c_str());
    writer.layers.heading = entry + ", section 0: " + layers;
    writer.textures.heading = entry + ", section 1: " + textures;
    writer.bitmaps.heading = entry + ", section 6: " + bitmaps;
    groups->push_back(std::move(writer.layers));
    groups->push_back(std::move(writer.textures));
    groups->push_back(std::move(writer.bitmaps));
}

static bool WriteDocuments(const ListedPackage* package, const std::string& folder)
{
    static constexpr const char* kDocuments[] = {"loading.xmlz", "demo.xmlz"};
    if (FindEntry(package, kDocuments[0]) == nullptr &&
        FindEntry(package, kDocuments[1]) == nullptr)
    {
        ReportError("%s: no entry \"%s\" and no entry \"%s\"", Printable(package->path).c_str(),
                    kDocuments[0], kDocuments[1]);
        return false;
    }
    if (!MakeFolder(folder))
    {
        return false;
    }

    BuildCosTable();
    BuildCornerMasks();
    std::vector<SheetGroup> groups;
    for (const char* name : kDocuments)
    {
        if (FindEntry(package, name) == nullptr)
        {
            printf("%s: not in the package\n", name);
            continue;
        }
        WriteDocument(package, name, folder, &groups);
    }
    return WriteContactSheet(folder + "/sheet.png", groups);
}

bool WriteTextures(const std::string& path, const std::string& folder)
{
    ListedPackage package;
    if (!OpenPackage(path, PackageUse::Reading, &package))
    {
        return false;
    }
    bool done = WriteDocuments(&package, folder);
    ClosePackage(&package);
    return done;
}
