// SPDX-License-Identifier: MIT

// The vocabulary's ranges of layers and texture steps, held against their pixels.

#include <cmath>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "engine/data/cos_table.h"
#include "engine/data/vocabulary.h"
#include "engine/textures/corner_masks.h"
#include "engine/textures/layer_generator.h"
#include "engine/textures/texture_steps.h"

using Bytes = std::vector<uint8_t>;

/// One parameter of a row, and where it stands among the row's numbers.
struct ParamPlace
{
    const VocabularyRow* row;
    const VocabularyParam* param;
    size_t at;
};

static std::vector<float> UsualParams(const VocabularyRow& row)
{
    std::vector<float> params;
    for (const VocabularyParam& param : row.params)
    {
        params.insert(params.end(), param.kind == ParamKind::Color ? 3 : 1, param.usual);
    }
    params.resize(kLayerParams, 0.0f);
    return params;
}

static std::vector<ParamPlace> AllParams(CatalogueId catalogue)
{
    std::vector<ParamPlace> places;
    for (const VocabularyRow& row : Catalogues[catalogue].rows)
    {
        size_t at = 0;
        for (const VocabularyParam& param : row.params)
        {
            places.push_back({&row, &param, at});
            at += param.kind == ParamKind::Color ? 3 : 1;
        }
    }
    return places;
}

/// The image of a row's usual parameters, but for one.
static Bytes Render(CatalogueId catalogue, const ParamPlace& place, float value)
{
    std::vector<float> params = UsualParams(*place.row);
    params[place.at] = value;

    Bytes pixels(size_t{kTextureSize} * kTextureSize * 3);
    if (catalogue == kCatalogueGenerators)
    {
        LayerImage layer = {static_cast<uint32_t>(place.row->number), {}, pixels.data()};
        std::copy(params.begin(), params.end(), layer.params);
        EXPECT_TRUE(GenerateLayer(&layer, kTextureSize));
        return pixels;
    }
    Bytes source(pixels.size());
    for (size_t i = 0; i < pixels.size(); ++i)
    {
        pixels[i] = static_cast<uint8_t>(i * 7 + i / 11);
        source[i] = static_cast<uint8_t>(i * 5 + i / 13);
    }
    Arena scratch = {};
    EXPECT_TRUE(ApplyTextureStep(place.row->number, params.data(), source.data(), kTextureSize,
                                 pixels.data(), &scratch));
    FreeArena(&scratch);
    return pixels;
}

class VocabularyImages : public testing::Test
{
  protected:
    void SetUp() override
    {
        BuildCosTable();
        BuildCornerMasks();
    }
};

static void ExpectSame(CatalogueId catalogue, const ParamPlace& place, float one, float other)
{
    EXPECT_TRUE(Render(catalogue, place, one) == Render(catalogue, place, other))
        << place.row->name << ", " << place.param->name << ": " << one << " and " << other;
}

static void ExpectDifferent(CatalogueId catalogue, const ParamPlace& place, float one, float other)
{
    EXPECT_FALSE(Render(catalogue, place, one) == Render(catalogue, place, other))
        << place.row->name << ", " << place.param->name << ": " << one << " and " << other;
}

/// Looks at both sides of both ends.
static void ExpectRange(CatalogueId catalogue, const ParamPlace& place)
{
    const VocabularyParam& param = *place.param;
    const float step = param.kind == ParamKind::Number || param.kind == ParamKind::Color ? 0.3f : 1;
    switch (param.past)
    {
    case PastRange::Holds:
        ExpectSame(catalogue, place, param.least, param.least - step);
        ExpectSame(catalogue, place, param.most, param.most + step);
        ExpectSame(catalogue, place, param.most, 1e9f);
        ExpectDifferent(catalogue, place, param.least, param.least + step);
        ExpectDifferent(catalogue, place, param.most, param.most - step);
        break;
    case PastRange::Wraps:
        ExpectDifferent(catalogue, place, param.most, param.most + step);
        break;
    case PastRange::None:
        ExpectSame(catalogue, place, 0, -1);
        ExpectSame(catalogue, place, 0, -1e9f);
        break;
    default:
        EXPECT_FALSE(std::isfinite(param.least) || std::isfinite(param.most)) << param.name;
        break;
    }
}

TEST_F(VocabularyImages, PastItsRangeAParameterDoesWhatItsRowSays)
{
    for (const CatalogueId catalogue : {kCatalogueGenerators, kCatalogueSteps})
    {
        for (const ParamPlace& place : AllParams(catalogue))
        {
            ExpectRange(catalogue, place);
        }
    }
}

TEST_F(VocabularyImages, IntegersDropTheirFraction)
{
    for (const CatalogueId catalogue : {kCatalogueGenerators, kCatalogueSteps})
    {
        for (const ParamPlace& place : AllParams(catalogue))
        {
            if (place.param->kind == ParamKind::Integer || place.param->kind == ParamKind::Count)
            {
                ExpectSame(catalogue, place, 3.0f, 3.25f);
            }
        }
    }
}

TEST_F(VocabularyImages, AChannelPastOneComesRound)
{
    // Where 255 * c becomes the byte, the low 8 bits are the same 256 further on.
    for (const ParamPlace& place : AllParams(kCatalogueGenerators))
    {
        const bool plain =
            place.row->number == kGeneratorColor || place.row->number == kGeneratorBricks;
        if (place.param->kind == ParamKind::Color && plain)
        {
            ExpectSame(kCatalogueGenerators, place, 100.5f / 255.0f, 356.5f / 255.0f);
        }
    }
}

TEST_F(VocabularyImages, OffsetsComeRoundAfter256)
{
    for (const ParamPlace& place : AllParams(kCatalogueSteps))
    {
        if (place.row->number == kStepOffset)
        {
            ExpectSame(kCatalogueSteps, place, 5.0f, 261.0f);
            ExpectSame(kCatalogueSteps, place, -1.0f, 255.0f);
        }
    }
    for (const ParamPlace& place : AllParams(kCatalogueGenerators))
    {
        if (std::string(place.param->word) == "shift")
        {
            ExpectSame(kCatalogueGenerators, place, 5.0f, 261.0f);
        }
    }
}

TEST_F(VocabularyImages, EveryParameterMattersToItsPicture)
{
    for (const CatalogueId catalogue : {kCatalogueGenerators, kCatalogueSteps})
    {
        for (const ParamPlace& place : AllParams(catalogue))
        {
            const VocabularyParam& param = *place.param;
            const bool whole = param.kind == ParamKind::Integer || param.kind == ParamKind::Count;
            const float other = whole
                                    ? (param.usual >= 4.0f ? param.usual - 1 : param.usual + 1)
                                    : (param.usual > 0.4f ? param.usual / 2 : param.usual + 0.25f);
            ExpectDifferent(catalogue, place, param.usual, other);
        }
    }
}

TEST_F(VocabularyImages, NoParameterIsReadBehindThoseOfTheRow)
{
    for (const CatalogueId catalogue : {kCatalogueGenerators, kCatalogueSteps})
    {
        for (const VocabularyRow& row : Catalogues[catalogue].rows)
        {
            for (size_t at = CountParamNumbers(&row); at < kStepParams + 3; ++at)
            {
                const ParamPlace place = {&row, nullptr, at};
                EXPECT_TRUE(Render(catalogue, place, 0.0f) == Render(catalogue, place, 5.0f))
                    << row.name << ", number " << at;
            }
        }
    }
}
