// SPDX-License-Identifier: MIT
#include "engine/textures/procedural_texture.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "engine/data/cos_table.h"
#include "engine/data/document_values.h"
#include "engine/data/fault.h"
#include "engine/textures/compare_bytes.h"
#include "engine/textures/layer_generator.h"
#include "engine/textures/plain_textures.h"
#include "support/fault_text.h"
#include "support/guarded_bytes.h"
#include "support/instruction_sets.h"

using Bytes = std::vector<uint8_t>;

static constexpr size_t kImageBytes = 256 * 256 * 3;

/// A document of which layers and textures are read.
class ProceduralTextureTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        BuildCosTable();
        BuildCornerMasks();
        StartFaults(&faults);
        package.budget.bytesLeft = kPieceBytes;
        context.package = &package;
        context.computePixels = true;
        context.faults = &faults;
    }

    void TearDown() override
    {
        FreeProceduralTexture(&texture);
        FreeLayers(&context);
        FreeFaults(&faults);
    }

    void ReadLayers(const char* items)
    {
        TiXmlDocument document;
        document.Parse(items);
        uint32_t index = 0;
        for (const TiXmlNode* node = document.FirstChild(); node != nullptr;
             node = node->NextSibling())
        {
            faults.place = PlaceAt("demo.xmlz", Section::kLayers, index + 1);
            ASSERT_TRUE(ReadLayerItem(node->ToElement(), nullptr, index, &context));
            ++index;
        }
    }

    bool ReadItem(const std::string& item)
    {
        TiXmlDocument document;
        document.Parse(item.c_str());
        FreeProceduralTexture(&texture);
        faults.place = PlaceAt("demo.xmlz", Section::kTextures, 1);
        return ReadProceduralTextureItem(document.FirstChild()->ToElement(), &texture, 0, &context);
    }

    /// Reads `texture`.
    void Read(const std::string& item)
    {
        EXPECT_TRUE(ReadItem(item));
        EXPECT_EQ(faults.place.part, 0u);
        EXPECT_EQ(FaultText(faults), "");
    }

    /// The line that a text's fault prints.
    std::string ReadFault(const std::string& item)
    {
        EXPECT_FALSE(ReadItem(item));
        const std::string line = FaultText(faults);
        FreeFaults(&faults);
        return line;
    }

    Bytes Pixels() const
    {
        return Bytes(texture.pixels, texture.pixels + kImageBytes);
    }

    FaultList faults;
    PackageFile package = {};
    ReadContext context = {};
    ProceduralTexture texture = {};
};

TEST_F(ProceduralTextureTest, ATextureWithoutStepsIsBlack)
{
    Read("<t/>");
    EXPECT_EQ(texture.stepCount, 0);
    EXPECT_EQ(Pixels(), Bytes(kImageBytes, 0));
    EXPECT_EQ(package.budget.bytesLeft, kPieceBytes - kImageBytes);
}

TEST_F(ProceduralTextureTest, PixelsAreGivenBackOnceAndTheStepsStay)
{
    Read("<t><a type=\"201\"/></t>");
    FreeProceduralTexture(&texture);
    EXPECT_EQ(texture.pixels, nullptr);
    EXPECT_EQ(texture.stepCount, 1);
    FreeProceduralTexture(&texture);
}

TEST_F(ProceduralTextureTest, NoPixelsAreComputedUnlessTheyAreWanted)
{
    context.computePixels = false;
    ReadLayers("<l type=\"5\"/>");
    Read("<t><layer type=\"101\" id=\"0\"/><a type=\"205\"/></t>");
    EXPECT_EQ(texture.stepCount, 2);
    EXPECT_EQ(texture.pixels, nullptr);
    EXPECT_EQ(package.budget.bytesLeft, kPieceBytes);
}

TEST_F(ProceduralTextureTest, PixelsPastThePiecesBudgetAreAFault)
{
    package.budget.bytesLeft = kImageBytes;
    Read("<t/>");
    EXPECT_NE(ReadFault("<t/>"), "");
    EXPECT_EQ(texture.pixels, nullptr);
}

TEST_F(ProceduralTextureTest, TheEndOfTheSectionFreesTheLayers)
{
    ReadLayers("<l type=\"0\"/><l type=\"3\"/>");
    EXPECT_TRUE(EndTextureSection(&context));
    EXPECT_EQ(context.layerCount, 0u);
    EXPECT_EQ(context.layers[1], nullptr);
}

TEST_F(ProceduralTextureTest, ParametersThatNoChildGivesAreOne)
{
    Read("<t><a type=\"201\"/><b type=\"203\"><p>2.5</p></b>"
         "<c type=\"207\"><p>1</p><p>2</p><p>3</p><p>4</p><p>5</p><p>6</p><p>7</p><p>8</p>"
         "<p>9x</p><p/><q>11</q></c></t>");
    ASSERT_EQ(texture.stepCount, 3);
    EXPECT_EQ(texture.stepType[0], 201);
    EXPECT_EQ(texture.stepType[2], 207);
    for (size_t i = 0; i < kStepParams; ++i)
    {
        EXPECT_EQ(texture.stepParams[0][i], 1.0f);
        EXPECT_EQ(texture.stepParams[1][i], i == 0 ? 2.5f : 1.0f);
        EXPECT_EQ(texture.stepParams[2][i],
                  static_cast<float>(i + 1)); // the tenth is not looked at
    }
}

TEST_F(ProceduralTextureTest, OnlyANameThatBeginsWithLayerReadsAnId)
{
    ReadLayers("<l type=\"0\"><p>0.1</p></l><l type=\"0\"><p>0.5</p></l>");
    Read("<t><layer type=\"101\" id=\"1\"/><layer2 type=\"103\" id=\"1\"/>"
         "<Layer type=\"104\" id=\"1\"/><lay type=\"101\" id=\"1\"/>"
         "<layer type=\"201\" id=\"77\"/></t>");
    EXPECT_EQ(texture.stepLayer[0], 1u);
    EXPECT_EQ(texture.stepLayer[1], 1u);
    EXPECT_EQ(texture.stepLayer[2], 0u);
    EXPECT_EQ(texture.stepLayer[3], 0u);
    EXPECT_EQ(texture.stepLayer[4], 77u); // a filter ignores it
    // 127 + 0; max 127; min with 25; 25 + 25; the complement.
    EXPECT_EQ(texture.pixels[0], 205);
}

TEST_F(ProceduralTextureTest, UnknownStepsAreSkippedAndTheNextOnesRun)
{
    Read("<t><a type=\"201\"/><a type=\"150\"/><a type=\"0\"/><a type=\"208\"/><a type=\"202\">"
         "<p>0.5</p></a></t>");
    EXPECT_EQ(Pixels(), Bytes(kImageBytes, 127));
}

TEST_F(ProceduralTextureTest, AThirtyThirdStepIsAFault)
{
    std::string steps;
    for (int i = 0; i < 32; ++i)
    {
        steps += "<s type=\"201\"/>";
    }
    Read("<t>" + steps + "</t>");
    EXPECT_EQ(texture.stepCount, 32);
    EXPECT_EQ(ReadFault("<t>" + steps + "<s type=\"201\"/></t>"),
              "quorvale: demo.xmlz, section 1 (procedural textures), item 1, step 33: more than 32 "
              "steps\n");
}

TEST_F(ProceduralTextureTest, ACombinerOfALayerOutsideTheListIsAFault)
{
    const std::string place = "quorvale: demo.xmlz, section 1 (procedural textures), item 1, ";
    EXPECT_EQ(ReadFault("<t><a type=\"201\"/><a type=\"102\"/></t>"),
              place + "step 2: there is no layer 0, the document has 0\n");
    ReadLayers("<l type=\"0\"/>");
    EXPECT_EQ(ReadFault("<t><layer type=\"101\" id=\"1\"/></t>"),
              place + "step 1: there is no layer 1, the document has 1\n");
    EXPECT_EQ(ReadFault("<t><layer type=\"104\" id=\"-1\"/></t>"),
              place + "step 1: there is no layer -1, the document has 1\n");
    EXPECT_EQ(ReadFault("<t><layer type=\"101\"/></t>"),
              place + "step 1: attribute \"id\" of <layer> is missing\n");
}

TEST_F(ProceduralTextureTest, StepsAreElementsWithATypeAndParametersHaveText)
{
    const std::string place = "quorvale: demo.xmlz, section 1 (procedural textures), item 1, ";
    EXPECT_EQ(ReadFault("<t><s/></t>"), place + "step 1: attribute \"type\" of <s> is missing\n");
    EXPECT_EQ(ReadFault("<t>words</t>"), place + "step 1: step is not an element\n");
    EXPECT_EQ(ReadFault("<t><s type=\"201\"><p>1</p><p/></s></t>"),
              place + "step 1: <p> has no text\n");
    EXPECT_EQ(ReadFault("<t><s type=\"201\"/><s type=\"201\">1</s></t>"),
              place + "step 2: parameter is not an element\n");
}

TEST_F(ProceduralTextureTest, StepsRunInOrderOverABlackImage)
{
    ReadLayers("<l type=\"0\"><p>0.2</p><p>0.4</p><p>0.6</p></l>"); // 51, 102, 153
    texture.stepCount = 3;
    texture.stepType[0] = 101;
    texture.stepParams[0][0] = 9.0f;
    texture.stepParams[0][1] = 0.5f; // 25, 51, 76
    texture.stepType[1] = 201;       // 230, 204, 179
    texture.stepType[2] = 104;
    texture.stepParams[2][0] = 0.5f; // 115, 102, 89
    texture.stepParams[2][1] = 1.0f; // against 51, 102, 153
    GuardedBytes image(kImageBytes, 0xEE);
    const TextureJob job = {&texture, image.Data()};
    EXPECT_TRUE(BuildProceduralTexture(&job, context.layers, 256));
    EXPECT_TRUE(image.GuardsAreWhole());
    for (size_t i = 0; i < kImageBytes; i += 3)
    {
        ASSERT_EQ(image.Data()[i], 51);
        ASSERT_EQ(image.Data()[i + 1], 102);
        ASSERT_EQ(image.Data()[i + 2], 89);
    }
}

// Whole textures. The layers use every generator, the stacks every step. The repeats of the plasma
// are such that no sum of sines comes near an integer, where the last bit of a sine would show.
static constexpr const char* kLayers =
    "<l type=\"0\"><p>0.8</p><p>0.45</p><p>1.3</p></l>"
    "<l type=\"1\"><p>1</p><p>0.6</p><p>0.3</p><p>1.37</p><p>2.61</p></l>"
    "<l type=\"2\"><p>1</p><p>0.9</p><p>0.2</p><p>0</p><p>0.1</p><p>0.5</p><p>1.2</p><p>20</p></l>"
    "<l type=\"3\"><p>0.9</p><p>0.5</p><p>0.7</p><p>3</p><p>1234</p><p>0.55</p></l>"
    "<l type=\"3\"><p>1</p><p>1</p><p>1</p><p>5</p><p>99</p><p>0.45</p></l>"
    "<l type=\"4\"><p>0.7</p><p>0.3</p><p>0.2</p><p>0.6</p><p>0.6</p><p>0.55</p><p>9</p><p>5</p>"
    "<p>2</p><p>3</p><p>26</p></l>"
    "<l type=\"5\"><p>1</p><p>0.8</p><p>0.6</p><p>4711</p></l>"
    "<l type=\"2\"><p>0</p><p>0</p><p>0</p><p>1.1</p><p>1</p><p>0.9</p><p>0.7</p><p>0</p></l>";

struct Stack
{
    const char* steps;
    uint64_t hash; // of level 0
};

static constexpr Stack kStacks[] = {
    {"<layer type=\"101\" id=\"6\"/><s type=\"205\"/><s type=\"205\"/><s type=\"206\"><p>1</p></s>",
     0xF553C056080780B3u},
    {"<layer type=\"101\" id=\"1\"/><layer type=\"102\" id=\"4\"><p>0.005</p></layer>"
     "<s type=\"204\"><p>0.05</p><p>0.03</p><p>3</p><p>2</p></s>",
     0x404D254EA5298E01u},
    {"<layer type=\"101\" id=\"5\"/><s type=\"206\"><p>2</p></s><layer type=\"103\" id=\"3\">"
     "<p>0.6</p><p>0.9</p></layer>",
     0x7D659F559F2A492Bu},
    {"<layer type=\"101\" id=\"2\"><p>1</p><p>0.8</p></layer><layer type=\"104\" "
     "id=\"6\"><p>1.5</p>"
     "<p>0.7</p></layer><s type=\"207\"><p>0.1</p><p>0.2</p><p>0.1</p><p>0.05</p><p>0.3</p>"
     "<p>0.05</p><p>-0.1</p><p>0.2</p><p>0.1</p></s>",
     0xAFB756344DA338F5u},
    {"<layer type=\"101\" id=\"3\"/><s type=\"201\"/><s type=\"203\"><p>17</p><p>-40</p></s>"
     "<layer type=\"101\" id=\"0\"><p>0.5</p><p>0.5</p></layer>",
     0xF814A391F0A0DF39u},
    {"<layer type=\"101\" id=\"6\"/><s type=\"202\"><p>-1.7</p></s><s type=\"205\"/>"
     "<s type=\"206\"><p>3</p></s><s type=\"202\"><p>1.9</p></s>",
     0xDC934552D5CDDC6Au},
    {"<layer type=\"101\" id=\"7\"/><layer type=\"102\" id=\"1\"><p>0.00392157</p></layer>"
     "<s type=\"204\"/><s type=\"205\"/>",
     0x18D8357CBA0C0C3Au},
    {"<layer type=\"101\" id=\"5\"/><s type=\"204\"><p>0.1</p><p>-0.2</p><p>1</p><p>5</p></s>"
     "<s type=\"206\"><p>4</p></s><s type=\"207\"/>",
     0x560386DA83BD0013u},
    {"<layer type=\"103\" id=\"4\"/><layer type=\"104\" id=\"3\"><p>-0.4</p><p>1.1</p></layer>"
     "<s type=\"203\"/><s type=\"177\"/><s type=\"205\"/>",
     0xFA859B588F41C46Au},
    {"<layer type=\"101\" id=\"2\"/><layer type=\"101\" id=\"7\"><p>-0.5</p><p>0.9</p></layer>"
     "<s type=\"207\"><p>-1</p><p>-1</p><p>-1</p><p>-1</p><p>9</p><p>-1</p><p>-1</p><p>-1</p>"
     "<p>-1</p></s>",
     0xCE0B56E123E30C4Eu},
    {"<combiner type=\"101\"/><layer type=\"102\" id=\"6\"><p>0.01</p></layer><s type=\"201\"/>"
     "<layer type=\"103\" id=\"5\"><p>0.4</p><p>0.7</p></layer>"
     "<s type=\"204\"><p>0.31</p><p>0.27</p><p>7</p><p>4</p></s>",
     0x8F2E23B0EA312271u},
    {"<layer type=\"101\" id=\"6\"/><s type=\"205\"/><s type=\"205\"/><s type=\"205\"/>"
     "<s type=\"205\"/><s type=\"202\"><p>3.3</p></s><layer type=\"104\" id=\"1\"/>"
     "<s type=\"206\"><p>0</p></s><s type=\"203\"><p>255</p><p>1</p></s>",
     0xB964CC659E4321B0u},
};

/// The same stack in the plain form, from the record that was read.
static Bytes BuildPlain(const ProceduralTexture& texture, const LayerImage* const* layers)
{
    Bytes image(kImageBytes, 0);
    for (uint32_t i = 0; i < texture.stepCount; ++i)
    {
        Bytes layer;
        if (texture.stepType[i] <= 104)
        {
            const LayerImage* source = layers[texture.stepLayer[i]];
            layer.resize(kImageBytes);
            PlainGenerateLayer(source->type, source->params, 256, layer.data());
        }
        PlainTextureStep(texture.stepType[i], texture.stepParams[i], layer.data(), 256,
                         image.data());
    }
    return image;
}

TEST_F(ProceduralTextureTest, WholeTexturesAreTheSameBytesOnEveryMachine)
{
    for (const InstructionSet set : ListInstructionSets())
    {
        const UsedInstructionSet used(set);
        FreeLayers(&context);
        ReadLayers(kLayers);
        for (const Stack& stack : kStacks)
        {
            Read(std::string("<t>") + stack.steps + "</t>");
            EXPECT_EQ(HashBytes(texture.pixels, kImageBytes), stack.hash)
                << stack.steps << ", " << InstructionSetNames[set];
            EXPECT_EQ(CompareBytes(Pixels(), BuildPlain(texture, context.layers)), "same")
                << stack.steps;
        }
    }
}

TEST_F(ProceduralTextureTest, StepsAreReadWithoutTheirLayers)
{
    TiXmlDocument document;
    document.Parse("<t><layer type=\"104\" id=\"6\"><p>0.5</p></layer><x type=\"206\"/></t>");
    memset(static_cast<void*>(&texture), 0xEE, sizeof(texture));
    ASSERT_TRUE(ReadTextureSteps(document.RootElement(), 7, &texture, &faults));
    EXPECT_EQ(texture.stepCount, 2);
    EXPECT_EQ(texture.stepType[0], 104);
    EXPECT_EQ(texture.stepLayer[0], 6u);
    EXPECT_EQ(texture.stepParams[0][0], 0.5f);
    EXPECT_EQ(texture.stepParams[0][1], 1.0f);
    EXPECT_EQ(texture.stepType[1], 206);
    EXPECT_EQ(texture.stepLayer[1], 0u);
    EXPECT_EQ(texture.pixels, nullptr);
}
