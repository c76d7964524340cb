// SPDX-License-Identifier: MIT

// The tables of docs/format.md, held against the vocabulary.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "engine/data/vocabulary.h"

using Cells = std::vector<std::string>;

static std::string ReadDescription()
{
    std::string text;
    FILE* stream = fopen(FORMAT_DESCRIPTION, "rb");
    EXPECT_NE(stream, nullptr);
    char block[4096];
    for (size_t got = 0; (got = fread(block, 1, sizeof(block), stream)) > 0;)
    {
        text.append(block, got);
    }
    fclose(stream);
    return text;
}

static std::string Trimmed(const std::string& text)
{
    const size_t first = text.find_first_not_of(' ');
    if (first == std::string::npos)
    {
        return "";
    }
    return text.substr(first, text.find_last_not_of(' ') + 1 - first);
}

static Cells SplitRow(const std::string& line)
{
    Cells cells;
    size_t at = 1;
    for (size_t bar = line.find('|', at); bar != std::string::npos; bar = line.find('|', at))
    {
        cells.push_back(Trimmed(line.substr(at, bar - at)));
        at = bar + 1;
    }
    return cells;
}

/// The rows below the table's line of dashes.
/// @param head   the first line of the table
static std::vector<Cells> Table(const std::string& head)
{
    const std::string text = ReadDescription();
    size_t at = text.find("\n" + head + "\n");
    EXPECT_NE(at, std::string::npos) << head;
    std::vector<Cells> rows;
    if (at == std::string::npos)
    {
        return rows;
    }
    at = text.find('\n', text.find('\n', at + 1) + 1) + 1;
    while (text[at] == '|')
    {
        const size_t end = text.find('\n', at);
        rows.push_back(SplitRow(text.substr(at, end - at)));
        at = end + 1;
    }
    return rows;
}

static void ReplaceAll(const std::string& from, const std::string& to, std::string* text)
{
    for (size_t at = text->find(from); at != std::string::npos; at = text->find(from, at))
    {
        text->replace(at, from.size(), to);
        at += to.size();
    }
}

static bool StartsWith(const std::string& text, const std::string& start)
{
    return text.compare(0, start.size(), start) == 0;
}

/// Parameters of a cell: they stand apart by semicolons, and within by commas.
static size_t CountNamed(std::string cell)
{
    if (cell.empty())
    {
        return 0;
    }
    const std::string separators = cell.find("m11") == 0 ? " " : ",;";
    return 1 + static_cast<size_t>(
                   std::count_if(cell.begin(), cell.end(),
                                 [&](char c) { return separators.find(c) != std::string::npos; }));
}

/// Compares numbers and names; the name begins the cell.
static void ExpectNames(CatalogueId catalogue, const std::vector<Cells>& table)
{
    const std::span<const VocabularyRow> rows = Catalogues[catalogue].rows;
    ASSERT_EQ(table.size(), rows.size());
    for (size_t i = 0; i < rows.size(); ++i)
    {
        EXPECT_EQ(table[i][0], std::to_string(rows[i].number));
        EXPECT_TRUE(StartsWith(table[i][1], rows[i].name)) << table[i][1];
    }
}

/// A range that holds is told, unless it is a color's.
static void ExpectRanges(const VocabularyRow& row, const std::string& cell)
{
    for (const VocabularyParam& param : row.params)
    {
        if (param.past == PastRange::Holds && param.kind != ParamKind::Color)
        {
            const std::string range = std::to_string(std::lround(param.least)) + " to " +
                                      std::to_string(std::lround(param.most));
            EXPECT_NE(cell.find(range), std::string::npos) << row.name << ": " << range;
        }
    }
}

TEST(FormatTables, LayersAreTheGenerators)
{
    const std::vector<Cells> table = Table("| Type | Generator | Parameters |");
    ExpectNames(kCatalogueGenerators, table);
    for (size_t i = 0; i < table.size(); ++i)
    {
        const VocabularyRow& row = Catalogues[kCatalogueGenerators].rows[i];
        EXPECT_EQ(CountNamed(table[i][2]), row.params.size()) << table[i][2];
        ExpectRanges(row, table[i][2]);
    }
}

TEST(FormatTables, StepsAreThoseOfTheVocabulary)
{
    const std::vector<Cells> table = Table("| Type | Step | Parameters | Each byte becomes |");
    ExpectNames(kCatalogueSteps, table);
    for (size_t i = 0; i < table.size(); ++i)
    {
        const VocabularyRow& row = Catalogues[kCatalogueSteps].rows[i];
        EXPECT_EQ(CountNamed(table[i][2]), row.params.size()) << table[i][2];
        ExpectRanges(row, table[i][2]);
    }
}

TEST(FormatTables, FunctionsHaveTheirFormulas)
{
    const std::vector<Cells> table = Table("| Type | Function | Parameters |");
    const std::span<const VocabularyRow> rows = Catalogues[kCatalogueFunctions].rows;
    ASSERT_EQ(table.size(), rows.size());
    for (size_t i = 0; i < rows.size(); ++i)
    {
        EXPECT_EQ(table[i][0], std::to_string(rows[i].number));
        if (rows[i].number == kFunctionSpline)
        {
            EXPECT_NE(table[i][2].find("all 24"), std::string::npos);
            continue;
        }
        std::string formula = rows[i].formula;
        ReplaceAll("f(x) = ", "", &formula);
        ReplaceAll(" * ", "·", &formula);
        ReplaceAll(" - ", " − ", &formula);
        ReplaceAll("^2", "²", &formula);
        EXPECT_EQ(table[i][1], formula);
        EXPECT_EQ(CountNamed(table[i][2]), rows[i].params.size());
    }
}

TEST(FormatTables, EffectsAreThoseOfTheVocabulary)
{
    ExpectNames(kCatalogueEffects, Table("| Type | Effect | Envelopes |"));
}

/// A recipe's references as the document has them: the light first.
static std::string References(const VocabularyRow& row)
{
    std::string light;
    std::string others;
    for (const VocabularyParam& param : row.params)
    {
        const char* word = param.kind == ParamKind::Texture  ? "procedural texture"
                           : param.kind == ParamKind::Bitmap ? "bitmap"
                           : param.kind == ParamKind::Effect ? "`effect2d`"
                                                             : "";
        if (param.kind == ParamKind::Light)
        {
            light = "light";
        }
        others += std::string(others.empty() || *word == 0 ? "" : ", ") + word;
    }
    return light + (light.empty() || others.empty() ? "" : ", ") + others;
}

TEST(FormatTables, RecipesHaveTheirReferencesAndFifthValue)
{
    const std::vector<Cells> table = Table("| Type | Recipe | References | Fifth value |");
    ExpectNames(kCatalogueRecipes, table);
    for (size_t i = 0; i < table.size(); ++i)
    {
        const VocabularyRow& row = Catalogues[kCatalogueRecipes].rows[i];
        EXPECT_EQ(table[i][2], References(row)) << row.name;
        EXPECT_EQ(!table[i][3].empty(), CountParamNumbers(&row) == 5) << row.name;
    }
}

TEST(FormatTables, ManipulatorsHaveAllTheirParameters)
{
    const std::vector<Cells> table =
        Table("| Type | Manipulator | Parameters, all of them, animated values |");
    ExpectNames(kCatalogueManipulators, table);
    for (size_t i = 0; i < table.size(); ++i)
    {
        EXPECT_EQ(CountNamed(table[i][2]),
                  Catalogues[kCatalogueManipulators].rows[i].params.size());
    }
}

TEST(FormatTables, PassesAreThoseOfTheVocabulary)
{
    ExpectNames(kCataloguePasses, Table("| Type | Pass |"));
}

TEST(FormatTables, LimitsAreThoseOfTheVocabulary)
{
    const std::vector<Cells> table = Table("| At most | Of | More |");
    ASSERT_EQ(table.size(), VocabularyLimits.size());
    for (size_t i = 0; i < table.size(); ++i)
    {
        const VocabularyLimit& limit = VocabularyLimits[i];
        EXPECT_EQ(table[i][0], std::to_string(limit.most)) << limit.word;
        EXPECT_EQ(table[i][1], limit.meaning);
        EXPECT_EQ(table[i][2], PastLimitWord(limit.past)) << limit.word;
    }
}

TEST(FormatTables, SectionsHaveHeadingsInTheirOrder)
{
    const std::string text = ReadDescription();
    size_t at = 0;
    for (int32_t i = 0; i < kSectionCount; ++i)
    {
        at = text.find("\n### " + std::to_string(i) + ": ", at);
        ASSERT_NE(at, std::string::npos) << i;
    }
}
