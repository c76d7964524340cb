// SPDX-License-Identifier: MIT
#include "tools/inspect_pictures.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "engine/animation/envelope.h"
#include "engine/check/finding.h"
#include "engine/data/cos_table.h"
#include "engine/data/package_tools.h"
#include "engine/piece/piece.h"
#include "engine/render/records/effect2d.h"
#include "engine/stage/egl_display.h"
#include "engine/stage/stage.h"
#include "engine/textures/bitmap_texture.h"
#include "engine/textures/corner_masks.h"
#include "engine/textures/layer_generator.h"
#include "engine/textures/procedural_texture.h"
#include "tools/base64_text.h"
#include "tools/container.h"
#include "tools/document_items.h"
#include "tools/document_trees.h"
#include "tools/png_file.h"
#include "tools/triangle_mesh.h"

static constexpr int32_t kItemSide = 128; // pixels, of a picture of an item at most
static constexpr int32_t kBallSide = 144;
static constexpr int32_t kStageWidth = 640;
static constexpr int32_t kStageHeight = 400;
static constexpr float kStageAspect = 1.6f;
static constexpr uint32_t kStride = 4; // ticks from frame to frame of the run that is shown
static constexpr uint32_t kBallTicks =
    100; // of each clip: one that lies within a second may not be found
static constexpr uint32_t kMostBalls = 1000;
static constexpr uint32_t kCurveValues = 200;

// ---- Pictures as text

/// Shrinks a picture by whole numbers, by means of the pixels' squares: 3 channels come out.
static std::vector<uint8_t> Shrink(const Picture& picture, int32_t most, int32_t* width,
                                   int32_t* height)
{
    const int32_t side = std::max(picture.width, picture.height);
    const int32_t factor = std::max((side + most - 1) / most, 1);
    *width = std::max(picture.width / factor, 1);
    *height = std::max(picture.height / factor, 1);
    const int32_t used = std::min({factor, picture.width, picture.height});
    std::vector<uint8_t> rgb;
    for (int32_t y = 0; y < *height; ++y)
    {
        for (int32_t x = 0; x < *width; ++x)
        {
            for (int32_t channel = 0; channel < 3; ++channel)
            {
                const int32_t from = picture.channels < 3 ? 0 : channel;
                int32_t sum = 0;
                for (int32_t i = 0; i < used * used; ++i)
                {
                    const int64_t pixel =
                        int64_t{y * factor + i / used} * picture.width + x * factor + i % used;
                    sum += picture.pixels[pixel * picture.channels + from];
                }
                rgb.push_back(static_cast<uint8_t>(sum / (used * used)));
            }
        }
    }
    return rgb;
}

static std::string PictureUrl(const Picture& picture, int32_t most)
{
    Picture small = {0, 0, 3, nullptr};
    const std::vector<uint8_t> rgb = Shrink(picture, most, &small.width, &small.height);
    small.pixels = rgb.data();
    Bytes file;
    return EncodeJpeg(small, &file) ? "data:image/jpeg;base64," + Base64(file) : "";
}

// ---- Documents

/// One document while its pictures are made.
struct PictureReader
{
    const ReadContext* context; // borrowed
    RandomSequence random;
    DocumentPictures* pictures; // borrowed
};

static void AddPicture(PictureReader* reader, const ItemPlace& item, uint32_t step,
                       const Picture& picture)
{
    const std::string detail = FormatText("%dx%d, %d channel%s", picture.width, picture.height,
                                          picture.channels, picture.channels == 1 ? "" : "s");
    reader->pictures->pictures.push_back(
        {item.section, item.id, step, detail, PictureUrl(picture, kItemSide)});
}

/// A texture as it stands after each of its steps.
static void AddTexture(PictureReader* reader, const ItemPlace& item)
{
    ProceduralTexture* texture = static_cast<ProceduralTexture*>(item.record);
    AddPicture(reader, item, 0, {kTextureSize, kTextureSize, 3, texture->pixels});
    ProceduralTexture part = *texture;
    std::vector<uint8_t> pixels(size_t{3} * kTextureSize * kTextureSize, 0);
    const uint8_t steps = texture->stepCount;
    for (uint8_t step = 1; step <= steps; ++step)
    {
        part.stepCount = step;
        const TextureJob job = {&part, pixels.data()};
        if (!BuildProceduralTexture(&job, reader->context->layers, kTextureSize))
        {
            return;
        }
        AddPicture(reader, item, step, {kTextureSize, kTextureSize, 3, pixels.data()});
    }
}

static void AddEffect(PictureReader* reader, const ItemPlace& item)
{
    const Effect2D* effect = static_cast<Effect2D*>(item.record);
    EffectState state = {};
    const float params[kEffectParams] = {};
    std::vector<uint8_t> pixels(EffectImageBytes(effect), 0);
    if (InitEffect2D(effect, &state, &reader->random, reader->context->faults) &&
        IsEffectType(effect->type))
    {
        RenderEffect2D(effect, params, &state, &reader->random, pixels.data());
        AddPicture(reader, item, 0,
                   {effect->width, effect->height, effect->bpp / 8, pixels.data()});
    }
    ReleaseEffect2DState(&state);
}

static void AddCurve(PictureReader* reader, const ItemPlace& item)
{
    const Envelope* envelope = static_cast<Envelope*>(item.record);
    uint32_t length = 0;
    for (uint32_t i = 0; i < envelope->pieceCount; ++i)
    {
        length += envelope->pieceLength[i];
    }
    ItemCurve curve = {item.id, length, {}};
    EnvelopeCache cache = kEmptyEnvelopeCache;
    for (uint32_t i = 0; i < kCurveValues; ++i)
    {
        const uint64_t tick = uint64_t{length} * i / (kCurveValues - 1);
        curve.values.push_back(EvaluateEnvelope(envelope, &cache, static_cast<uint32_t>(tick)));
    }
    reader->pictures->curves.push_back(std::move(curve));
}

static void AddItem(PictureReader* reader, const ItemPlace& item)
{
    switch (item.section)
    {
    case Section::kLayers:
        AddPicture(reader, item, 0,
                   {kTextureSize, kTextureSize, 3, reader->context->layers[item.id - 1]->pixels});
        break;
    case Section::kTextures:
        AddTexture(reader, item);
        FreeProceduralTexture(item.record);
        break;
    case Section::kEnvelopes:
        AddCurve(reader, item);
        break;
    case Section::kEffects:
        AddEffect(reader, item);
        break;
    case Section::kBitmaps:
    {
        BitmapTexture* bitmap = static_cast<BitmapTexture*>(item.record);
        AddPicture(reader, item, 0,
                   {bitmap->width, bitmap->height, bitmap->components, bitmap->pixels});
        ReleaseBitmap(bitmap);
        break;
    }
    default:
        break;
    }
}

void ReadDocumentPictures(ListedPackage* package, const char* name, DocumentPictures* pictures)
{
    static constexpr Section kRead[] = {Section::kLayers, Section::kTextures, Section::kEnvelopes,
                                        Section::kEffects, Section::kBitmaps};
    FaultList faults;
    StartFaults(&faults);
    PictureReader reader = {nullptr, {}, pictures};
    const ItemTaker take = [&reader](DocumentReader* document, const ItemPlace& item)
    {
        reader.context = document->context;
        AddItem(&reader, item);
        return true;
    };
    // A fault ends the pictures; the page's findings tell it.
    ReadDocumentItems(package, name, kRead, take, &faults);
    FreeFaults(&faults);
}

// ---- The stage

/// Opens a display of this size and shows ticks of a piece on it.
static std::vector<StagePicture> ShowTicks(const PieceSource& source, int32_t width, int32_t height,
                                           const std::vector<uint32_t>& ticks)
{
    std::vector<StagePicture> pictures;
    FaultList faults;
    StartFaults(&faults);
    EglDisplay display = {};
    const EglDisplayRequest request = {width, height, 0};
    static constexpr size_t kStageBytes = sizeof(Stage);
    Stage* stage = static_cast<Stage*>(calloc(1, kStageBytes));
    if (stage != nullptr && OpenEglDisplay(&request, &display, &faults))
    {
        const float aspect = width == height ? 1.0f : kStageAspect;
        const StageView view = {width, height, aspect, display.features};
        std::vector<uint8_t> rgb(size_t{3} * static_cast<size_t>(width * height));
        bool isShown = OpenStage(&source, &view, stage, &faults);
        for (size_t i = 0; isShown && i < ticks.size(); ++i)
        {
            isShown = SeekPiece(stage, ticks[i], kStride, &faults);
            if (isShown)
            {
                ReadEglPicture(&display, rgb.data());
                pictures.push_back({ticks[i], PictureUrl({width, height, 3, rgb.data()},
                                                         std::max(width, height))});
            }
        }
        CloseStage(stage);
        CloseEglDisplay(&display);
    }
    free(stage);
    FreeFaults(&faults);
    return pictures;
}

std::vector<StagePicture> DrawStoryboard(const std::string& path, uint32_t length, uint32_t count)
{
    BuildCosTable();
    BuildCornerMasks();
    std::vector<uint32_t> ticks;
    for (uint32_t i = 0; i < count; ++i)
    {
        // In the middle of each stretch, where a scene is more likely to be lit than at a cut.
        const uint64_t tick = uint64_t{length} * (2 * i + 1) / (2 * count);
        ticks.push_back(static_cast<uint32_t>(tick) / kStride * kStride);
    }
    const PieceSource source = {path.c_str(), nullptr, 0, false};
    return ShowTicks(source, kStageWidth, kStageHeight, ticks);
}

// ---- Balls

static constexpr const char* kBallName = "page of dpk: ball.model";

static bool MakeBall(Bytes* container)
{
    static constexpr uint32_t kAround = 32;
    static constexpr uint32_t kDown = 16;
    TriangleMesh ball = {{}, {}, {}, 2};
    for (uint32_t row = 0; row <= kDown; ++row)
    {
        for (uint32_t column = 0; column <= kAround; ++column)
        {
            const float u = static_cast<float>(column) / static_cast<float>(kAround);
            const float v = static_cast<float>(row) / static_cast<float>(kDown);
            // The seam lies at the back, and the half that is seen has the texture once.
            const float turn = (u - 0.5f) * 6.2831853f;
            const float across = 2.0f * u - 0.5f;
            const float tilt = v * 3.1415927f;
            const float x = std::sin(tilt) * std::sin(turn);
            const float y = std::cos(tilt);
            const float z = std::sin(tilt) * std::cos(turn);
            ball.vertices.push_back({{x, y, z}, {{across, v}, {across, v}}, {x, y, z}});
            if (row < kDown && column < kAround)
            {
                const uint32_t at = row * (kAround + 1) + column;
                const uint32_t below = at + kAround + 1;
                ball.indices.insert(ball.indices.end(),
                                    {at, below, at + 1, at + 1, below, below + 1});
            }
        }
    }
    Bytes model;
    return EncodeModel(ball, &model) && PackContainer(model, container);
}

static std::string Said(const TiXmlNode* node)
{
    TiXmlPrinter printer;
    printer.SetStreamPrinting();
    node->Accept(&printer);
    return printer.Str();
}

static std::string Values(const char* names, const char* value)
{
    std::string text;
    for (size_t i = 0; names[i] != 0; ++i)
    {
        const char axis = names[i];
        const std::string tag =
            axis < 'a' ? std::string("r") + static_cast<char>(axis + 32) : std::string(1, axis);
        text += "<" + tag + " type=\"static\" value=\"" + value + "\"/>";
    }
    return text;
}

/// A document with a scene and a clip for each material.
static std::string BallDocument(const DocumentTree& document, size_t materialCount)
{
    std::string text = "<?xml version=\"1.0\"?>";
    for (int32_t i = 0; i < static_cast<int32_t>(Section::kScenes); ++i)
    {
        const TiXmlElement* section = SectionElement(document, static_cast<Section>(i));
        TiXmlElement copy(*section);
        if (static_cast<Section>(i) == Section::kModels)
        {
            TiXmlElement model("model");
            model.SetAttribute("filename", kBallName);
            copy.InsertEndChild(model);
        }
        text += Said(&copy);
    }
    const size_t ball = ItemsOf(document, Section::kModels).size() + 1;
    std::string scenes;
    std::string clips;
    for (size_t k = 1; k <= materialCount; ++k)
    {
        scenes +=
            FormatText("<scene><object type=\"0\" object=\"%zu\" material=\"%zu\">", ball, k) +
            Values("xyzXYZ", "0") + "<sx type=\"static\" value=\"1\"/>" +
            "<sy type=\"static\" value=\"1\"/><sz type=\"static\" value=\"1\"/>" +
            "<visible value=\"0\"/><shift value=\"0\"/></object></scene>";
        clips += FormatText("<clip id=\"%zu\" space_before=\"0\" length=\"%u\" offset=\"0\" "
                            "type=\"3\">",
                            k, kBallTicks) +
                 Values("xy", "0") + Values("z", "-3") + "<rx type=\"static\" value=\"0\"/>" +
                 "<ry type=\"static\" value=\"0\"/><rz type=\"static\" value=\"0\"/>" +
                 "<fov type=\"static\" value=\"45\"/><fog type=\"0\"/></clip>";
    }
    return text + "<scenes>" + scenes + "</scenes><timeline><row>" + clips +
           "</row></timeline><music/>";
}

/// Puts a package together that has all entries of another one, but for the demo, and the ball.
/// @param demo   in a container
static bool PackBalls(const ListedPackage* package, const Bytes& demo, const Bytes& ball,
                      PackageBytes* bytes)
{
    FaultList faults;
    StartFaults(&faults);
    const uint32_t others = static_cast<uint32_t>(
        std::count_if(package->entries.begin(), package->entries.end(),
                      [](const ListedEntry& entry) { return entry.name != kDemoDocumentName; }));
    PackageWriter writer = BeginPackage(bytes, others + 2, &faults);
    PutPackageEntry(&writer, kDemoDocumentName, demo.data(), static_cast<uint32_t>(demo.size()));
    bool isRead = true;
    for (const ListedEntry& entry : package->entries)
    {
        Bytes data;
        if (entry.name != kDemoDocumentName)
        {
            isRead = isRead && ReadListedEntry(package, &entry, &data);
            PutPackageEntry(&writer, entry.name.c_str(), data.data(),
                            static_cast<uint32_t>(data.size()));
        }
    }
    PutPackageEntry(&writer, kBallName, ball.data(), static_cast<uint32_t>(ball.size()));
    const bool isPut = EndPackage(&writer);
    FreeFaults(&faults);
    return isPut && isRead;
}

std::vector<StagePicture> DrawMaterialBalls(const ListedPackage* package,
                                            const DocumentTree& document)
{
    if (SectionElement(document, Section::kScenes) == nullptr)
    {
        return {};
    }
    const size_t count =
        std::min<size_t>(ItemsOf(document, Section::kMaterials).size(), kMostBalls);
    const std::string text = BallDocument(document, count);
    Bytes container;
    Bytes ball;
    PackageBytes bytes = {};
    std::vector<StagePicture> pictures;
    if (PackContainer({text.begin(), text.end()}, &container) && MakeBall(&ball) &&
        PackBalls(package, container, ball, &bytes))
    {
        std::vector<uint32_t> ticks;
        for (uint32_t k = 0; k < count; ++k)
        {
            ticks.push_back(k * kBallTicks + kBallTicks / 2);
        }
        const PieceSource source = {nullptr, bytes.bytes, bytes.size, false};
        pictures = ShowTicks(source, kBallSide, kBallSide, ticks);
    }
    free(bytes.bytes);
    return pictures;
}
