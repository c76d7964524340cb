// SPDX-License-Identifier: MIT

// The sample piece: its generators still write what is kept, the player reads and draws all of it
// without a fault, and it shows what the engine can do.
#include <GL/glew.h>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <gtest/gtest.h>
#include <set>
#include <string>

#include "engine/animation/envelope.h"
#include "engine/animation/light.h"
#include "engine/data/cos_table.h"
#include "engine/geometry/gen_mesh.h"
#include "engine/render/records/effect2d.h"
#include "engine/render/records/material.h"
#include "engine/render/records/scene.h"
#include "engine/render/records/timeline.h"
#include "engine/textures/bitmap_texture.h"
#include "engine/textures/corner_masks.h"
#include "engine/textures/procedural_texture.h"
#include "player/display.h"
#include "player/load_piece.h"
#include "support/fault_text.h"
#include "support/recorded_gl.h"
#include "support/recorded_sdl.h"
#include "support/temporary_folder.h"

static constexpr uint32_t kEnd = 12000; // ticks: the music's length
static constexpr View kView = {1024, 768, 1.3333334f};

/// The piece, loaded once for all tests: its records do not change while it plays.
class SamplePiece : public testing::Test
{
  protected:
    static void SetUpTestSuite()
    {
        ResetGl();
        glewInit();
        ResetSdl();
        BuildCosTable();
        BuildCornerMasks();

        StartFaults(&faults);
        ASSERT_TRUE(StartRun(&run, &faults));
        ASSERT_TRUE(OpenPackageFile(PACKAGE, &run.piece.package, &faults));
        run.features = {1, 1, 1, 1};
        run.keepPixels = true;
        last = LoadPiece(&run, &kView);
        ASSERT_EQ(FaultText(faults), "");
        MuteGl(true);
        TakeGlCalls();
    }

    static void TearDownTestSuite()
    {
        CloseRun(&run);
        FreeFaults(&faults);
        MuteGl(false);
        EXPECT_EQ(GlLiveTextures(), 0u);
        EXPECT_EQ(GlLiveBuffers(), 0u);
    }

    static const Material* MaterialOf(const Scene* scene, uint32_t n)
    {
        return GetRecord<const Material>(scene->materialId[n], demo.materials);
    }

    static uint32_t DrawDemo(uint32_t time)
    {
        return DrawDocument(&run, RunDocument::kDemo, &kView, time);
    }

    static FaultList faults;
    static PieceRun run;
    static const DemoDocument& demo;
    static const DemoDocument* last;
};

FaultList SamplePiece::faults = {};
PieceRun SamplePiece::run = {};
const DemoDocument& SamplePiece::demo = SamplePiece::run.piece.demo;
const DemoDocument* SamplePiece::last = nullptr;

/// Calls `use` for every record of a table.
template <typename Record, typename Use>
static void ForEach(const ObjectTable* table, Use use)
{
    for (uint32_t position = 1; position <= table->count; ++position)
    {
        use(GetRecord<const Record>(table->order[position - 1], table));
    }
}

/// Calls `use` for every object of every scene.
template <typename Use>
static void ForEachObject(const DemoDocument& document, Use use)
{
    ForEach<Scene>(document.scenes,
                   [&](const Scene* scene)
                   {
                       for (uint32_t n = 0; n < scene->objectCount; ++n)
                       {
                           use(scene, n);
                       }
                   });
}

/// Calls `use` for every clip.
template <typename Use>
static void ForEachClip(const DemoDocument& document, Use use)
{
    for (uint32_t row = 0; row < kTimelineRows; ++row)
    {
        for (uint32_t clip = 0; clip < document.timeline->clipCount[row]; ++clip)
        {
            use(document.timeline, row, clip);
        }
    }
}

static std::set<uint32_t> UpTo(uint32_t last)
{
    std::set<uint32_t> numbers;
    for (uint32_t number = 0; number <= last; ++number)
    {
        numbers.insert(number);
    }
    return numbers;
}

/// Names of a folder's files that end so.
static std::set<std::string> FilesOf(const std::string& folder, const std::string& ending)
{
    std::set<std::string> names;
    DIR* directory = opendir(folder.c_str());
    if (directory == nullptr)
    {
        return names;
    }
    while (const dirent* item = readdir(directory))
    {
        std::string name = item->d_name;
        if (name[0] != '.' && name.ends_with(ending))
        {
            names.insert(name);
        }
    }
    closedir(directory);
    return names;
}

static std::string ReadFile(const std::string& path)
{
    std::string bytes;
    FILE* stream = fopen(path.c_str(), "rb");
    if (stream == nullptr)
    {
        return bytes;
    }
    char block[4096];
    size_t got;
    while ((got = fread(block, 1, sizeof block, stream)) > 0)
    {
        bytes.append(block, got);
    }
    fclose(stream);
    return bytes;
}

/// Runs a generator: it has to write all files of the piece with this ending, and nothing else.
static void ExpectWritten(const std::string& generator, const std::string& ending)
{
    TemporaryFolder folder;
    std::string command = "\"" PYTHON "\" -B \"" PIECE_DIR "/";
    command += generator + "\" \"" + folder.path + "\"";
    ASSERT_EQ(system(command.c_str()), 0);

    EXPECT_EQ(FilesOf(folder.path, ""), FilesOf(PIECE_DIR, ending));
    for (const std::string& file : FilesOf(PIECE_DIR, ending))
    {
        std::string kept = PIECE_DIR "/";
        kept += file;
        EXPECT_TRUE(ReadFile(kept) == ReadFile(folder.path + "/" + file)) << file;
    }
}

TEST(PieceSources, ModelsAreByteForByteWhatTheirGeneratorWrites)
{
    ExpectWritten("make_models.py", ".obj");
}

TEST(PieceSources, BitmapsAreByteForByteWhatTheirGeneratorWrites)
{
    ExpectWritten("make_bitmaps.py", ".png");
}

TEST(PieceSources, DocumentsAreByteForByteWhatTheirGeneratorWrites)
{
    ExpectWritten("make_documents.py", ".xml");
}

TEST_F(SamplePiece, TheMusicIsTheOneBesideThePackage)
{
    EXPECT_EQ(last, &demo);
    EXPECT_STREQ(last->musicNode->ToElement()->Attribute("file"), "quorvale.xm");
}

TEST_F(SamplePiece, DrawsSomethingUpToTheEndOfTheMusic)
{
    for (uint32_t time = 0; time < kEnd; time += 13)
    {
        ASSERT_GT(DrawDemo(time), 0u) << time;
        ASSERT_EQ(GlModelviewDepth(), 1u) << time;
    }
    EXPECT_GT(DrawDemo(kEnd - 1), 0u);
    EXPECT_EQ(DrawDemo(kEnd), 0u);
    EXPECT_EQ(DrawDemo(kEnd + 100), 0u);
}

TEST_F(SamplePiece, NothingThatItDrawsIsRefusedByOpenGl)
{
    MuteGl(false);
    for (uint32_t time = 0; time < kEnd; time += 63)
    {
        DrawDemo(time);
        TakeGlCalls();
        ASSERT_EQ(GlRefusedCalls(), 0u) << time;
    }
    MuteGl(true);
}

TEST_F(SamplePiece, AMomentWithoutWaterAndEffectsIsDrawnTheSameTwice)
{
    for (uint32_t time : {300u, 1000u, 2700u, 3500u, 7700u, 8300u})
    {
        // The same frame goes before both: what its last object leaves behind is not restored.
        MuteGl(false);
        DrawDemo(time + 60);
        TakeGlCalls();
        DrawDemo(time);
        const std::string first = TakeGlCalls();
        DrawDemo(time + 60);
        TakeGlCalls();
        DrawDemo(time);
        EXPECT_TRUE(TakeGlCalls() == first) << time;
        MuteGl(true);
    }
}

TEST_F(SamplePiece, ProgressIsShownAtEveryPlaceOfTheLoadingDocument)
{
    for (uint32_t time = 0; time <= 100; ++time)
    {
        EXPECT_EQ(DrawDocument(&run, RunDocument::kLoading, &kView, time), 3u) << time;
    }
}

TEST_F(SamplePiece, UsesEveryFunctionOfEnvelopes)
{
    std::set<uint32_t> functions;
    ForEach<Envelope>(
        demo.envelopes, [&](const Envelope* envelope)
        { functions.insert(envelope->pieceType, envelope->pieceType + envelope->pieceCount); });
    EXPECT_EQ(functions, UpTo(5));
}

TEST_F(SamplePiece, UsesEveryWayToLoopAnEnvelope)
{
    std::set<uint32_t> modes;
    ForEach<Envelope>(demo.envelopes,
                      [&](const Envelope* envelope) { modes.insert(envelope->loopType); });
    EXPECT_EQ(modes, UpTo(2));
}

TEST_F(SamplePiece, HasSplinesWithUnevenKnots)
{
    uint32_t uneven = 0;
    ForEach<Envelope>(demo.envelopes,
                      [&](const Envelope* envelope)
                      {
                          const float* p = envelope->pieceParams[0];
                          uneven += envelope->pieceType[0] == kFunctionSpline && p[4] > 0.0f &&
                                            p[4] - p[2] != p[2] - p[0]
                                        ? 1
                                        : 0;
                      });
    EXPECT_GE(uneven, 5u);
}

TEST_F(SamplePiece, HasEnvelopesOfSeveralPieces)
{
    uint32_t longest = 0;
    ForEach<Envelope>(demo.envelopes, [&](const Envelope* envelope)
                      { longest = std::max<uint32_t>(longest, envelope->pieceCount); });
    EXPECT_EQ(longest, 16u);
}

TEST_F(SamplePiece, MovesItsLightsAndTheirColours)
{
    uint32_t moving = 0;
    uint32_t pulsing = 0;
    uint32_t still = 0;
    ForEach<Light>(demo.lights,
                   [&](const Light* light)
                   {
                       moving += light->flagsB != 0 ? 1 : 0;
                       pulsing += light->flagsA != 0 ? 1 : 0;
                       still += light->flagsA == 0 && light->flagsB == 0 ? 1 : 0;
                   });
    EXPECT_GE(moving, 5u);
    EXPECT_GE(pulsing, 5u);
    EXPECT_GE(still, 5u);
}

TEST_F(SamplePiece, UsesEveryPassKind)
{
    std::set<uint32_t> kinds;
    ForEachClip(demo, [&](const Timeline* timeline, uint32_t row, uint32_t clip)
                { kinds.insert(static_cast<uint32_t>(timeline->passKind[row][clip])); });
    EXPECT_EQ(kinds, UpTo(kPassTextureQuarter));
}

TEST_F(SamplePiece, DrawsIntoThreeBitmaps)
{
    std::set<float> targets;
    ForEachClip(demo,
                [&](const Timeline* timeline, uint32_t row, uint32_t clip)
                {
                    const int32_t kind = timeline->passKind[row][clip];
                    if (kind == kPassTexture || kind == kPassTextureWide ||
                        kind == kPassTextureQuarter)
                    {
                        targets.insert(timeline->passParams[row][clip][0]);
                    }
                });
    EXPECT_EQ(targets.size(), 3u);
    EXPECT_EQ(targets.count(0.0f), 0u);
}

TEST_F(SamplePiece, UsesEveryProjection)
{
    std::set<uint32_t> projections;
    ForEachClip(demo, [&](const Timeline* timeline, uint32_t row, uint32_t clip)
                { projections.insert(timeline->projectionKind[row][clip]); });
    EXPECT_EQ(projections, UpTo(kProjectionAnimatedFov));
}

TEST_F(SamplePiece, UsesWhatClipsOffer)
{
    uint32_t gaps = 0;
    uint32_t offsets = 0;
    uint32_t empty = 0;
    uint32_t fogs = 0;
    uint32_t stillCameras = 0;
    uint32_t movingCameras = 0;
    std::set<uint32_t> rows;
    ForEachClip(demo,
                [&](const Timeline* timeline, uint32_t row, uint32_t clip)
                {
                    rows.insert(row);
                    gaps += timeline->spaceBefore[row][clip] > 0 ? 1 : 0;
                    offsets += timeline->offset[row][clip] > 0 ? 1 : 0;
                    empty += timeline->sceneId[row][clip] == 0 ? 1 : 0;
                    fogs += timeline->fogMode[row][clip] > 0 ? 1 : 0;
                    (timeline->cameraX.dynamic[row][clip] != 0 ? movingCameras : stillCameras) += 1;
                });
    EXPECT_GE(rows.size(), 7u);
    EXPECT_GE(gaps, 10u);
    EXPECT_GE(offsets, 10u);
    EXPECT_GE(empty, 1u);
    EXPECT_GE(fogs, 20u);
    EXPECT_GE(stillCameras, 10u);
    EXPECT_GE(movingCameras, 20u);
}

TEST_F(SamplePiece, UsesWhatObjectsOffer)
{
    uint32_t shifted = 0;
    uint32_t switched = 0;
    uint32_t still = 0;
    uint32_t moving = 0;
    ForEachObject(demo,
                  [&](const Scene* scene, uint32_t n)
                  {
                      const uint8_t bit = static_cast<uint8_t>(0x80 >> (n % 8));
                      bool turns = (scene->rotationY.dynamicMask[n / 8] & bit) != 0;
                      (turns ? moving : still) += 1;
                      shifted += scene->timeShift[n] != 0.0f ? 1 : 0;
                      switched += scene->visibilityEnvelope[n] != 0 ? 1 : 0;
                  });
    EXPECT_GE(shifted, 7u);
    EXPECT_GE(switched, 8u);
    EXPECT_GE(still, 20u);
    EXPECT_GE(moving, 20u);
}

TEST_F(SamplePiece, UsesEveryManipulator)
{
    std::set<uint32_t> types;
    ForEachObject(demo,
                  [&](const Scene* scene, uint32_t n)
                  {
                      for (uint32_t i = 0; i < scene->manipulatorCount[n]; ++i)
                      {
                          types.insert(static_cast<uint32_t>(scene->manipulators[n][i].type));
                      }
                  });
    EXPECT_EQ(types, UpTo(kManipulatorModelPlacer));
}

TEST_F(SamplePiece, UsesEveryRecipe)
{
    std::set<uint32_t> types;
    ForEachObject(demo, [&](const Scene* scene, uint32_t n)
                  { types.insert(MaterialOf(scene, n)->type); });
    EXPECT_EQ(types, UpTo(kMaterialTypes - 1));
}

TEST_F(SamplePiece, AddsASecondLightAndBumpsByOneRecipe)
{
    uint32_t bumps = 0;
    uint32_t lights = 0;
    ForEachObject(demo,
                  [&](const Scene* scene, uint32_t n)
                  {
                      const Material* material = MaterialOf(scene, n);
                      if (material->type == 14)
                      {
                          (material->refs[1] != 0 ? bumps : lights) += 1;
                      }
                  });
    EXPECT_GE(bumps, 2u);
    EXPECT_GE(lights, 1u);
}

/// The "type" attributes of a section's items, as the tree has them: layers leave no records.
static std::set<uint32_t> TypesInSection(const DemoDocument& document, uint32_t section)
{
    const TiXmlNode* node = document.document->FirstChild()->NextSibling();
    for (uint32_t i = 0; i < section; ++i)
    {
        node = node->NextSibling();
    }
    std::set<uint32_t> types;
    for (const TiXmlElement* item = node->FirstChildElement(); item != nullptr;
         item = item->NextSiblingElement())
    {
        types.insert(static_cast<uint32_t>(strtoul(item->Attribute("type"), nullptr, 10)));
    }
    return types;
}

TEST_F(SamplePiece, UsesEveryLayerGenerator)
{
    EXPECT_EQ(TypesInSection(demo, 0), UpTo(5));
}

TEST_F(SamplePiece, UsesEveryTextureStep)
{
    std::set<int32_t> types;
    ForEach<ProceduralTexture>(
        demo.textures, [&](const ProceduralTexture* texture)
        { types.insert(texture->stepType, texture->stepType + texture->stepCount); });
    EXPECT_EQ(types, (std::set<int32_t>{101, 102, 103, 104, 201, 202, 203, 204, 205, 206, 207}));
}

TEST_F(SamplePiece, UsesEveryEffectInOneAndInThreeColours)
{
    std::set<int32_t> types;
    std::set<uint32_t> bits;
    ForEach<Effect2D>(demo.effects,
                      [&](const Effect2D* effect)
                      {
                          types.insert(effect->type);
                          bits.insert(effect->bpp);
                      });
    EXPECT_EQ(types, (std::set<int32_t>{0, 1, 2, 3}));
    EXPECT_EQ(bits, (std::set<uint32_t>{8, 24}));
}

TEST_F(SamplePiece, UsesBothWatersAndDrawsOneAndPlacesOnTheOther)
{
    std::set<uint32_t> types;
    ForEach<GenMesh>(demo.genMeshes, [&](const GenMesh* mesh) { types.insert(mesh->type); });
    EXPECT_EQ(types, UpTo(1));

    uint32_t drawn = 0;
    uint32_t placedOn = 0;
    ForEachObject(demo,
                  [&](const Scene* scene, uint32_t n)
                  {
                      drawn += scene->objectKind[n] == kObjectGenMesh ? 1 : 0;
                      for (uint32_t i = 0; i < scene->manipulatorCount[n]; ++i)
                      {
                          placedOn += scene->manipulators[n][i].placementKind == 1 ? 1 : 0;
                      }
                  });
    EXPECT_GE(drawn, 1u);
    EXPECT_GE(placedOn, 1u);
}

TEST_F(SamplePiece, HasBitmapsWithAndWithoutAlpha)
{
    std::set<int32_t> components;
    ForEach<BitmapTexture>(demo.bitmaps, [&](const BitmapTexture* bitmap)
                           { components.insert(bitmap->components); });
    EXPECT_EQ(components, (std::set<int32_t>{3, 4}));
}

/// Triangles of all that a frame draws.
static uint64_t Triangles(const std::string& calls)
{
    uint64_t corners = 0;
    const std::string name = "DrawElements TRIANGLES ";
    for (size_t at = calls.find(name); at != std::string::npos; at = calls.find(name, at + 1))
    {
        corners += strtoul(calls.c_str() + at + name.size(), nullptr, 10);
    }
    return corners / 3;
}

TEST_F(SamplePiece, NoFrameHasMoreTrianglesThanASlowMachineDraws)
{
    MuteGl(false);
    for (uint32_t time = 0; time < kEnd; time += 63)
    {
        TakeGlCalls();
        DrawDemo(time);
        EXPECT_LE(Triangles(TakeGlCalls()), 150000u) << time;
    }
    MuteGl(true);
}
