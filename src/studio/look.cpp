// SPDX-License-Identifier: MIT
#include "studio/look.h"

#include <GL/glew.h>
#include <algorithm>
#include <cstdio>
#include <unistd.h>

#include "engine/data/document_values.h"
#include "engine/data/numeric.h"
#include "engine/geometry/gen_mesh.h"
#include "engine/render/records/scene.h"
#include "engine/textures/bitmap_texture.h"
#include "studio/logic/step_pictures.h"
#include "studio/studio.h"
#include "tools/files.h"

static constexpr int32_t kWireSize = 320; // pixels
static constexpr size_t kMostDocument = size_t{64} << 20;

static Stage* PlayedStage(const Studio* studio)
{
    return studio->window.slots[studio->active].stage;
}

// ---- Time

uint32_t LookTime(const Studio* studio, const LookContext& context)
{
    const uint32_t tick = TransportTick(&studio->transport);
    if (!context.hasClip)
    {
        return tick;
    }
    const DemoDocument* document = PlayedDocument(studio);
    uint32_t time = tick;
    for (const ActiveClip& clip : ListActiveClips(document->timeline, tick))
    {
        if (clip.row == context.row)
        {
            time = clip.time;
        }
    }
    const Scene* scene = GetRecord<Scene>(context.object.item, document->scenes);
    if (scene != nullptr && context.object.part - 1 < scene->objectCount)
    {
        const float shift = scene->timeShift[context.object.part - 1];
        return TruncateToUnsigned(static_cast<float>(time) + shift);
    }
    return time;
}

std::string LookTitle(Studio* studio, const ItemRef& ref)
{
    Look* look = &studio->look;
    if (look->curveNames.empty() && ref.section == Section::kEnvelopes)
    {
        look->curveNames = NameCurves(PlayedDocument(studio));
    }
    return TitleWithUse(PlayedDocument(studio), look->curveNames, ref);
}

// ---- Pictures

static LookPicture MakePicture(const std::string& title, int32_t width, int32_t height,
                               GLenum format, const uint8_t* pixels)
{
    LookPicture picture = {title, 0, true, false, width, height};
    glGenTextures(1, &picture.texture);
    glBindTexture(GL_TEXTURE_2D, picture.texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, width, height, 0, format, GL_UNSIGNED_BYTE, pixels);
    return picture;
}

static void FreePictures(Look* look)
{
    for (const LookPicture& picture : look->pictures)
    {
        if (picture.isOwned)
        {
            glDeleteTextures(1, &picture.texture);
        }
    }
    look->pictures.clear();
}

static void AddStepPicture(const StepPicture& step, Look* look)
{
    if (!step.rgb.empty())
    {
        look->pictures.push_back(
            MakePicture(step.title, kTextureSize, kTextureSize, GL_RGB, step.rgb.data()));
    }
}

/// @return the mesh of a model or generated mesh, as it is now; without vertices for others
static Mesh FindMesh(Stage* stage, const ItemRef& ref)
{
    const DemoDocument* document = &stage->run.piece.demo;
    if (ref.section == Section::kModels)
    {
        const ModelData* model = GetRecord<ModelData>(ref.item, document->models);
        return model == nullptr ? Mesh{} : model->mesh;
    }
    const GenMesh* mesh = GetRecord<GenMesh>(ref.item, document->genMeshes);
    const bool isThere = mesh != nullptr && ref.item - 1 < stage->run.state.demo.genMeshCount;
    return isThere ? MovedMesh(mesh, &stage->run.state.demo.genMeshes[ref.item - 1]) : Mesh{};
}

static bool IsMesh(const ItemRef& ref)
{
    return ref.section == Section::kModels || ref.section == Section::kGenMeshes;
}

static void AddMeshPicture(Studio* studio)
{
    Look* look = &studio->look;
    const Mesh mesh = FindMesh(PlayedStage(studio), look->ref);
    look->drawnWire = look->wire;
    look->drawnTick = studio->shownTick;
    const std::vector<uint8_t> rgba = DrawWireMesh(mesh, look->wire, kWireSize);
    look->pictures.push_back(MakePicture(std::to_string(mesh.vertexCount) + " vertices, " +
                                             std::to_string(mesh.indexCount / 3) + " triangles",
                                         kWireSize, kWireSize, GL_RGBA, rgba.data()));
}

/// Adds the picture that the piece itself has in OpenGL.
static void AddPieceTexture(Studio* studio)
{
    Look* look = &studio->look;
    const DocumentUpload* upload = &PlayedStage(studio)->run.demo;
    const uint32_t id = look->ref.item;
    if (look->ref.section == Section::kBitmaps && id - 1 < upload->bitmapCount)
    {
        const BitmapUpload& bitmap = upload->bitmaps[id - 1];
        bool isTarget = false;
        for (const ItemRef& user : look->users)
        {
            isTarget = isTarget || user.section == Section::kTimeline;
        }
        look->pictures.push_back({isTarget ? "as it was drawn last" : "", bitmap.glTexture, false,
                                  isTarget, bitmap.width, bitmap.height});
    }
    const Effect2D* effect = GetRecord<Effect2D>(id, PlayedDocument(studio)->effects);
    if (look->ref.section == Section::kEffects && effect != nullptr && id - 1 < upload->effectCount)
    {
        look->pictures.push_back({"as it was shown last", upload->effects[id - 1].glTexture, false,
                                  false, effect->width, effect->height});
    }
}

static void MakePictures(Studio* studio)
{
    Look* look = &studio->look;
    FreePictures(look);
    const DemoDocument* document = PlayedDocument(studio);
    switch (look->ref.section)
    {
    case Section::kLayers:
        AddStepPicture(ComputeLayerPicture(document, look->ref.item), look);
        break;
    case Section::kTextures:
        for (const StepPicture& step : ComputeStepPictures(document, look->ref.item))
        {
            AddStepPicture(step, look);
        }
        break;
    case Section::kModels:
    case Section::kGenMeshes:
        AddMeshPicture(studio);
        break;
    default:
        AddPieceTexture(studio);
        break;
    }
    look->shownPicture = look->ref.section == Section::kTextures && !look->pictures.empty()
                             ? look->pictures.size() - 1
                             : 0;
}

std::string ReadPixel(const LookPicture& picture, int32_t x, int32_t y)
{
    const int32_t row = picture.isUpsideDown ? picture.height - 1 - y : y;
    if (x < 0 || row < 0 || x >= picture.width || row >= picture.height)
    {
        return "";
    }
    glBindTexture(GL_TEXTURE_2D, picture.texture);
    GLint width = 0;
    GLint height = 0;
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &width);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, &height);
    if (width != picture.width || height != picture.height)
    {
        return ""; // an effect that was not shown yet
    }
    const size_t pixels = static_cast<size_t>(width) * static_cast<size_t>(height);
    std::vector<uint8_t> rgba(pixels * 4);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
    const size_t place =
        static_cast<size_t>(row) * static_cast<size_t>(width) + static_cast<size_t>(x);
    const uint8_t* pixel = rgba.data() + place * 4;
    // OpenGL gives a gray texture's number as red alone.
    GLint grayBits = 0;
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_LUMINANCE_SIZE, &grayBits);
    const bool isGray = grayBits != 0;
    char text[80];
    snprintf(text, sizeof(text), "x %d, y %d: %u %u %u %u", x, y, unsigned{pixel[0]},
             unsigned{pixel[isGray ? 0 : 1]}, unsigned{pixel[isGray ? 0 : 2]}, unsigned{pixel[3]});
    return text;
}

// ---- The item

void LookAt(Studio* studio, const ItemRef& ref, const LookContext& context)
{
    studio->look.ref = ref;
    studio->look.context = context;
    studio->look.wire = {30.0f, 20.0f, 1.0f};
    studio->look.pixel.clear();
    studio->look.isOld = true;
}

void RefreshLook(Studio* studio)
{
    Look* look = &studio->look;
    if (studio->active < 0 || look->ref.item == 0)
    {
        return;
    }
    if (look->isOld)
    {
        look->isOld = false;
        look->users = ListUsers(PlayedDocument(studio), look->ref);
        look->hasOldPictures = false;
        MakePictures(studio);
        return;
    }
    const bool isTurned = look->wire.yaw != look->drawnWire.yaw ||
                          look->wire.pitch != look->drawnWire.pitch ||
                          look->wire.zoom != look->drawnWire.zoom;
    const bool hasMoved =
        look->ref.section == Section::kGenMeshes && look->drawnTick != studio->shownTick;
    if (look->hasOldPictures || (IsMesh(look->ref) && (isTurned || hasMoved)))
    {
        look->hasOldPictures = false;
        MakePictures(studio);
    }
}

void ReadLines(Studio* studio)
{
    studio->look.origins.clear();
    const std::string& folder = studio->folder.watcher.folder;
    Bytes text;
    if (!folder.empty() && access((folder + "/demo.xml").c_str(), R_OK) == 0 &&
        ReadWholeFile(folder + "/demo.xml", kMostDocument, &text))
    {
        studio->look.origins = ReadOrigins(
            folder + "/demo.xml", {reinterpret_cast<const char*>(text.data()), text.size()});
    }
}

void ForgetLook(Studio* studio)
{
    Look* look = &studio->look;
    FreePictures(look); // those of the piece before are gone
    look->users.clear();
    look->curveNames.clear();
    look->isOld = true;
    if (FindItem(PlayedDocument(studio), look->ref.section, look->ref.item) == nullptr)
    {
        look->ref = {Section::kNone, 0, 0};
    }
    ReadLines(studio);
}

void CloseLook(Studio* studio)
{
    FreePictures(&studio->look);
}

SourceLine FindSource(const Studio* studio, const ItemRef& ref)
{
    const Origin* origin =
        FindOrigin(studio->look.origins, static_cast<int32_t>(ref.section), ref.item, ref.part);
    if (origin != nullptr)
    {
        return {origin->lines[0].file, origin->lines[0].line};
    }
    const DemoDocument* document = PlayedDocument(studio);
    FieldPlace place = {ref.section, ref.item, {}, ""};
    if (ref.part != 0)
    {
        place.path.push_back(ref.part);
    }
    const TiXmlElement* element = FindElement(document, place);
    const std::string& folder = studio->folder.watcher.folder;
    if (element == nullptr || folder.empty() || element->Row() < 1)
    {
        return {"", 0};
    }
    return {folder + "/demo.xml", static_cast<uint32_t>(element->Row())};
}

std::vector<NamedCurve> ListCurves(const Studio* studio, const ItemRef& ref)
{
    const DemoDocument* document = PlayedDocument(studio);
    std::vector<NamedCurve> curves;
    if (ref.section == Section::kEnvelopes)
    {
        return {{"curve " + std::to_string(ref.item), ref.item}};
    }
    if (ref.part == 0 && (ref.section == Section::kScenes || ref.section == Section::kTimeline))
    {
        return curves;
    }
    const auto add = [document, &curves](const ItemRef& of, const std::string& before)
    {
        for (const Field& field : ListFields(document, of))
        {
            const uint32_t id = static_cast<uint32_t>(ParseInt(field.text.c_str()));
            const bool isCurve =
                field.kind == FieldKind::kCurve ||
                (field.kind == FieldKind::kItem && field.of == Section::kEnvelopes);
            if (isCurve && id != 0)
            {
                curves.push_back({before + field.name, id});
            }
        }
    };
    add(ref, "");
    for (const ItemRef& named : ListReferences(document, ref))
    {
        if (named.section == Section::kMaterials && ref.section == Section::kScenes)
        {
            add(named, "material ");
        }
    }
    return curves;
}
