// SPDX-License-Identifier: MIT

// Prints what the engine reads out of a document, for the tests of the authors' library.
//
//   engine_values DOCUMENT           prints the records of envelopes, materials, scenes and rows
//   engine_values DOCUMENT values    reads lines "ID TICK" and prints that envelope's value, as
//   bits
//
// A line of the records is a word, the record's id and numbers; a value is "s" and a float or "d"
// and the id of an envelope.
#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <string>
#include <tinyxml.h>

#include "engine/animation/animated_value.h"
#include "engine/animation/envelope.h"
#include "engine/animation/light.h"
#include "engine/data/document_text.h"
#include "engine/piece/piece_sections.h"
#include "engine/render/records/effect2d.h"
#include "engine/render/records/material.h"
#include "engine/render/records/scene.h"
#include "engine/render/records/timeline.h"
#include "engine/textures/procedural_texture.h"

static bool ReadFile(const char* path, std::string* text)
{
    FILE* stream = fopen(path, "rb");
    if (stream == nullptr)
    {
        return false;
    }
    char block[65536];
    for (size_t got = 0; (got = fread(block, 1, sizeof(block), stream)) > 0;)
    {
        text->append(block, got);
    }
    fclose(stream);
    return true;
}

static void PrintValue(uint32_t slot, bool dynamic)
{
    if (dynamic)
    {
        printf(" d %u", slot);
    }
    else
    {
        printf(" s %.9g", static_cast<double>(SlotFloat(slot)));
    }
}

static void PrintEnvelope(uint32_t id, const Envelope* envelope)
{
    printf("envelope %u %u %.9g %.9g", id, envelope->loopType,
           static_cast<double>(envelope->loopBegin), static_cast<double>(envelope->loopEnd));
    for (uint32_t i = 0; i < envelope->pieceCount; ++i)
    {
        printf(" piece %u %u", envelope->pieceType[i], envelope->pieceLength[i]);
        for (const float param : envelope->pieceParams[i])
        {
            printf(" %.9g", static_cast<double>(param));
        }
    }
    printf("\n");
}

static void PrintTexture(uint32_t id, const ProceduralTexture* texture)
{
    printf("texture %u", id);
    for (uint32_t i = 0; i < texture->stepCount; ++i)
    {
        printf(" step %d %u", texture->stepType[i], texture->stepLayer[i]);
        for (const float param : texture->stepParams[i])
        {
            printf(" %.9g", static_cast<double>(param));
        }
    }
    printf("\n");
}

static void PrintLight(uint32_t id, const Light* light)
{
    printf("light %u", id);
    for (uint32_t i = 0; i < 3; ++i)
    {
        PrintValue(light->ambient[i], (light->flagsA & kAmbientDynamic >> i) != 0);
    }
    for (uint32_t i = 0; i < 3; ++i)
    {
        PrintValue(light->diffuse[i], (light->flagsA & kDiffuseDynamic >> i) != 0);
    }
    for (uint32_t i = 0; i < 3; ++i)
    {
        PrintValue(light->position[i], (light->flagsB & kPositionDynamic >> i) != 0);
    }
    printf("\n");
}

static void PrintEffect(uint32_t id, const Effect2D* effect)
{
    printf("effect %u %d %d %u", id, effect->type, effect->width, effect->bpp);
    for (uint32_t i = 0; i < 4; ++i)
    {
        printf(" %u", effect->paramEnvelope[i]);
    }
    printf("\n");
}

static void PrintMaterial(uint32_t id, const Material* material)
{
    printf("material %u %u", id, material->type);
    for (uint32_t i = 0; i < 5; ++i)
    {
        PrintValue(material->params[i], MaskBit(material->dynamicMask, i));
    }
    printf(" %u %u %u %u\n", material->refs[0], material->refs[1], material->refs[2],
           material->effectRefs[0]);
}

static void PrintObject(const Scene* scene, uint32_t n)
{
    printf("object %u %u %u", scene->objectKind[n], scene->objectId[n], scene->materialId[n]);
    const ObjectValues* values[] = {&scene->positionX, &scene->positionY, &scene->positionZ,
                                    &scene->rotationX, &scene->rotationY, &scene->rotationZ,
                                    &scene->scaleX,    &scene->scaleY,    &scene->scaleZ};
    for (const ObjectValues* value : values)
    {
        PrintValue(value->slot[n], MaskBit(value->dynamicMask, n));
    }
    printf(" %u %.9g %u\n", scene->visibilityEnvelope[n], static_cast<double>(scene->timeShift[n]),
           scene->manipulatorCount[n]);
    for (uint32_t m = 0; m < scene->manipulatorCount[n]; ++m)
    {
        const Manipulator* manipulator = &scene->manipulators[n][m];
        printf("manipulator %d %u %d", manipulator->type, manipulator->placementKind,
               manipulator->placementId);
        for (uint32_t i = 0; i < ManipulatorParamCount(manipulator->type); ++i)
        {
            PrintValue(manipulator->params[i], MaskBit(manipulator->dynamicMask, i));
        }
        printf("\n");
    }
}

static void PrintClip(const Timeline* timeline, uint32_t row, uint32_t clip)
{
    printf("clip %u %u %u %u %u %d %.9g", row, timeline->sceneId[row][clip],
           timeline->spaceBefore[row][clip], timeline->length[row][clip],
           timeline->offset[row][clip], timeline->passKind[row][clip],
           static_cast<double>(timeline->passParams[row][clip][0]));
    const ClipValues* values[] = {&timeline->cameraX,    &timeline->cameraY,
                                  &timeline->cameraZ,    &timeline->cameraRotX,
                                  &timeline->cameraRotY, &timeline->cameraRotZ};
    for (const ClipValues* value : values)
    {
        PrintValue(value->slot[row][clip], value->dynamic[row][clip] != 0);
    }
    printf(" projection %u", timeline->projectionKind[row][clip]);
    if (timeline->projectionKind[row][clip] != kProjectionOrthographic)
    {
        PrintValue(timeline->fov[row][clip],
                   timeline->projectionKind[row][clip] == kProjectionAnimatedFov);
    }
    printf(" fog %d", timeline->fogMode[row][clip]);
    if (timeline->fogMode[row][clip] > 0)
    {
        PrintValue(timeline->fogStart.slot[row][clip], timeline->fogStart.dynamic[row][clip] != 0);
        PrintValue(timeline->fogEnd.slot[row][clip], timeline->fogEnd.dynamic[row][clip] != 0);
        printf(" %u", timeline->fogColorMaterial[row][clip]);
    }
    printf("\n");
}

static void PrintRecords(const DemoDocument* document)
{
    for (uint32_t id = 1; id <= document->envelopes->count; ++id)
    {
        PrintEnvelope(id, GetRecord<Envelope>(id, document->envelopes));
    }
    for (uint32_t id = 1; id <= document->textures->count; ++id)
    {
        PrintTexture(id, GetRecord<ProceduralTexture>(id, document->textures));
    }
    for (uint32_t id = 1; id <= document->lights->count; ++id)
    {
        PrintLight(id, GetRecord<Light>(id, document->lights));
    }
    for (uint32_t id = 1; id <= document->effects->count; ++id)
    {
        PrintEffect(id, GetRecord<Effect2D>(id, document->effects));
    }
    for (uint32_t id = 1; id <= document->materials->count; ++id)
    {
        PrintMaterial(id, GetRecord<Material>(id, document->materials));
    }
    for (uint32_t id = 1; id <= document->scenes->count; ++id)
    {
        const Scene* scene = GetRecord<Scene>(id, document->scenes);
        printf("scene %u %u\n", id, scene->objectCount);
        for (uint32_t n = 0; n < scene->objectCount; ++n)
        {
            PrintObject(scene, n);
        }
    }
    for (uint32_t row = 0; row < kTimelineRows; ++row)
    {
        for (uint32_t clip = 0; clip < document->timeline->clipCount[row]; ++clip)
        {
            PrintClip(document->timeline, row, clip);
        }
    }
}

/// @return false at a line that names no envelope
static bool PrintValues(const DemoDocument* document)
{
    uint32_t id = 0;
    uint32_t tick = 0;
    while (scanf("%u %u", &id, &tick) == 2)
    {
        const Envelope* envelope = GetRecord<Envelope>(id, document->envelopes);
        if (envelope == nullptr)
        {
            return false;
        }
        EnvelopeCache cache = kEmptyEnvelopeCache;
        printf("%08x\n", std::bit_cast<uint32_t>(EvaluateEnvelope(envelope, &cache, tick)));
    }
    return true;
}

int main(int argc, char** argv)
{
    std::string text;
    if (argc < 2 || !ReadFile(argv[1], &text))
    {
        fprintf(stderr, "usage: engine_values DOCUMENT [values]\n");
        return 2;
    }

    // Sections whose items lie in a package are walked over.
    SectionReader readers[kSectionCount];
    std::copy(std::begin(PieceSections), std::end(PieceSections), readers);
    readers[static_cast<size_t>(Section::kModels)] = {};
    readers[static_cast<size_t>(Section::kBitmaps)] = {};

    FaultList faults;
    StartFaults(&faults);
    DemoDocument document = {};
    document.name = argv[1];
    document.document = new TiXmlDocument;
    document.timeline = CreateTimeline(&faults);
    ReadContext context = {};
    context.document = &document;
    context.isDemo = true;
    context.faults = &faults;
    bool done =
        LoadFromString(document.document, reinterpret_cast<const unsigned char*>(text.c_str()),
                       static_cast<long>(text.size()), TIXML_ENCODING_UNKNOWN, &faults) &&
        ReadSections(readers, &context);
    if (!done)
    {
        fprintf(stderr, "%s\n", faults.first.text);
    }
    else if (argc > 2)
    {
        done = PrintValues(&document);
    }
    else
    {
        PrintRecords(&document);
    }
    FreeDocument(readers, &document);
    FreeFaults(&faults);
    return done ? 0 : 1;
}
