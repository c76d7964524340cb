// SPDX-License-Identifier: MIT
#include "tools/textures_command.h"

#include <cstdio>
#include <utility>

#include "engine/data/demo_document.h"
#include "engine/data/vocabulary.h"
#include "engine/piece/piece.h"
#include "engine/textures/bitmap_texture.h"
#include "engine/textures/layer_generator.h"
#include "engine/textures/procedural_texture.h"
#include "tools/contact_sheet.h"
#include "tools/document_items.h"
#include "tools/files.h"
#include "tools/package_listing.h"
#include "tools/report.h"

/// The sections of a document that make images.
static constexpr Section kImageSections[] = {Section::kLayers, Section::kTextures,
                                             Section::kBitmaps};

/// One document while its images are written.
struct ImageWriter
{
    std::string prefix; // folder, slash and the document's part of the files' names
    SheetGroup layers;
    SheetGroup textures;
    SheetGroup bitmaps;
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
/// @return false after an error line
static bool ShowImage(const ImageWriter* writer, const std::string& kind, uint32_t number,
                      const std::string& detail, const Picture& picture, SheetGroup* group)
{
    if (!WritePng(writer->prefix + kind + "-" + NameNumber(number) + ".png", picture))
    {
        return false;
    }
    AddTile(picture, kind + " " + std::to_string(number), detail, group);
    return true;
}

static bool ShowLayer(ImageWriter* writer, const DocumentReader* reader, uint32_t index)
{
    const LayerImage* layer = reader->context->layers[index];
    const VocabularyRow* row = FindVocabularyRow(kCatalogueGenerators, layer->type);
    const char* generator = row == nullptr ? "no such generator" : row->name;
    return ShowImage(writer, "layer", index, generator,
                     {kTextureSize, kTextureSize, 3, layer->pixels}, &writer->layers);
}

static bool ShowTexture(ImageWriter* writer, uint32_t id, ProceduralTexture* texture)
{
    const std::string steps = Count(texture->stepCount, "step", "steps");
    const bool isShown =
        ShowImage(writer, "texture", id, steps, {kTextureSize, kTextureSize, 3, texture->pixels},
                  &writer->textures);
    FreeProceduralTexture(texture);
    return isShown;
}

/// @return the element that was read last, lent by the tree
static const TiXmlElement* ReadElement(const DocumentReader* reader)
{
    const TiXmlNode* node = reader->nextItem != nullptr ? reader->nextItem->PreviousSibling()
                                                        : reader->sectionNode->LastChild();
    return node->ToElement();
}

static bool ShowBitmap(ImageWriter* writer, const DocumentReader* reader, uint32_t id,
                       BitmapTexture* bitmap)
{
    const std::string file = ReadElement(reader)->Attribute("filename");
    const std::string size = std::to_string(bitmap->width) + "x" + std::to_string(bitmap->height);
    bool isShown = false;
    if (bitmap->components >= 3)
    {
        const Picture picture = {bitmap->width, bitmap->height, bitmap->components, bitmap->pixels};
        isShown = ShowImage(writer, "bitmap", id, size + " " + file, picture, &writer->bitmaps);
    }
    else
    {
        const size_t bytes =
            3 * static_cast<size_t>(bitmap->width) * static_cast<size_t>(bitmap->height);
        const Bytes white(bytes, 0xFF);
        printf("bitmap %u: %s is grey, so players show it white\n", id, Printable(file).c_str());
        isShown = ShowImage(writer, "bitmap", id, size + " white " + file,
                            {bitmap->width, bitmap->height, 3, white.data()}, &writer->bitmaps);
    }
    ReleaseBitmap(bitmap);
    return isShown;
}

/// Shows the item that was read last, unless its section makes no images.
static bool ShowItem(ImageWriter* writer, const DocumentReader* reader, const ItemPlace& item)
{
    switch (item.section)
    {
    case Section::kLayers:
        return ShowLayer(writer, reader, item.id - 1);
    case Section::kTextures:
        return ShowTexture(writer, item.id, static_cast<ProceduralTexture*>(item.record));
    case Section::kBitmaps:
        return ShowBitmap(writer, reader, item.id, static_cast<BitmapTexture*>(item.record));
    default:
        return true;
    }
}

/// Prints how many images a document has, and adds its three groups to the sheet.
static void AddGroups(ImageWriter* writer, const std::string& entry, Verbosity verbosity,
                      std::vector<SheetGroup>* groups)
{
    const std::string layers = Count(writer->layers.tiles.size(), "layer", "layers");
    const std::string textures =
        Count(writer->textures.tiles.size(), "procedural texture", "procedural textures");
    const std::string bitmaps = Count(writer->bitmaps.tiles.size(), "bitmap", "bitmaps");
    if (verbosity != Verbosity::kQuiet)
    {
        printf("%s: %s, %s, %s\n", entry.c_str(), layers.c_str(), textures.c_str(),
               bitmaps.c_str());
    }
    writer->layers.heading = entry + ", section 0: " + layers;
    writer->textures.heading = entry + ", section 1: " + textures;
    writer->bitmaps.heading = entry + ", section 6: " + bitmaps;
    groups->push_back(std::move(writer->layers));
    groups->push_back(std::move(writer->textures));
    groups->push_back(std::move(writer->bitmaps));
}

/// Writes the images of one document.
/// @param name   an entry of the package
/// @return false after an error line
static bool WriteDocument(ListedPackage* package, const char* name, const std::string& folder,
                          Verbosity verbosity, std::vector<SheetGroup>* groups)
{
    FaultList faults;
    StartFaults(&faults);
    const std::string entry = name;
    ImageWriter writer;
    writer.prefix = folder + "/" + entry.substr(0, entry.rfind('.')) + "-";
    Progress progress = StartProgress("writing", 0, verbosity);
    size_t done = 0;
    const ItemTaker take = [&](DocumentReader* reader, const ItemPlace& item)
    {
        PrintLookupLines(&package->file);
        ShowProgress(&progress, done, writer.prefix);
        done += 1;
        return ShowItem(&writer, reader, item);
    };
    const bool isDone = ReadDocumentItems(package, name, kImageSections, take, &faults);
    EndProgress(&progress);
    PrintLookupLines(&package->file);
    ReportFaults(package->path, &faults);
    if (isDone)
    {
        AddGroups(&writer, entry, verbosity, groups);
    }
    return isDone;
}

static bool WriteDocuments(ListedPackage* package, const std::string& folder, Verbosity verbosity)
{
    static constexpr const char* kDocuments[] = {kLoadingDocumentName, kDemoDocumentName};
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

    std::vector<SheetGroup> groups;
    for (const char* name : kDocuments)
    {
        if (FindEntry(package, name) == nullptr)
        {
            printf("%s: not in the package\n", name);
            continue;
        }
        if (!WriteDocument(package, name, folder, verbosity, &groups))
        {
            return false;
        }
    }
    return WriteContactSheet(folder + "/sheet.png", groups);
}

bool WriteTextures(const std::string& path, const std::string& folder, Verbosity verbosity)
{
    ListedPackage package;
    if (!OpenPackage(path, PackageUse::kReading, &package))
    {
        return false;
    }
    const bool isDone = WriteDocuments(&package, folder, verbosity);
    ClosePackage(&package);
    return isDone;
}
