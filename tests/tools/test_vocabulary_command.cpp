// SPDX-License-Identifier: MIT
#include <cctype>
#include <gtest/gtest.h>
#include <string>

#include "engine/data/vocabulary.h"
#include "tools/dpk_run.h"

/// Takes one JSON value off the front of a text. Strings have no escapes here.
/// @return false if there is none
static bool TakeJson(const std::string& text, size_t* at);

static void SkipSpaces(const std::string& text, size_t* at)
{
    while (*at < text.size() && isspace(static_cast<unsigned char>(text[*at])) != 0)
    {
        *at += 1;
    }
}

static bool TakeString(const std::string& text, size_t* at)
{
    const size_t end = text.find_first_of("\"\\\n", *at + 1);
    if (end == std::string::npos || text[end] != '"')
    {
        return false;
    }
    *at = end + 1;
    return true;
}

/// An array, or an object if `named`.
static bool TakeList(const std::string& text, size_t* at, bool named)
{
    const char close = named ? '}' : ']';
    *at += 1;
    SkipSpaces(text, at);
    if (text[*at] == close)
    {
        *at += 1;
        return true;
    }
    for (;;)
    {
        SkipSpaces(text, at);
        if (named)
        {
            if (text[*at] != '"' || !TakeString(text, at) || text[*at] != ':')
            {
                return false;
            }
            *at += 1;
        }
        if (!TakeJson(text, at))
        {
            return false;
        }
        SkipSpaces(text, at);
        const char next = *at < text.size() ? text[*at] : '\0';
        *at += 1;
        if (next != ',')
        {
            return next == close;
        }
    }
}

static bool TakeJson(const std::string& text, size_t* at)
{
    SkipSpaces(text, at);
    if (*at >= text.size())
    {
        return false;
    }
    switch (text[*at])
    {
    case '{':
        return TakeList(text, at, true);
    case '[':
        return TakeList(text, at, false);
    case '"':
        return TakeString(text, at);
    default:
        break;
    }
    const size_t end = text.find_first_of(",]} \n", *at);
    const std::string word = text.substr(*at, end - *at);
    *at = end;
    if (word == "true" || word == "false" || word == "null")
    {
        return true;
    }
    char* rest = nullptr;
    strtod(word.c_str(), &rest);
    return !word.empty() && *rest == '\0';
}

TEST(VocabularyCommand, JsonIsOneWellFormedObject)
{
    TemporaryFolder folder;
    const DpkRun run = RunDpk(folder, {"vocabulary", "--json"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "");
    size_t at = 0;
    EXPECT_TRUE(TakeJson(run.out, &at)) << run.out.substr(at, 80);
    EXPECT_EQ(run.out.substr(at), "\n");
}

TEST(VocabularyCommand, TheTextNamesEveryRowAndLimit)
{
    TemporaryFolder folder;
    const DpkRun run = RunDpk(folder, {"vocabulary"});
    EXPECT_EQ(run.exitCode, 0);
    for (const Catalogue& catalogue : Catalogues)
    {
        EXPECT_NE(run.out.find(std::string(catalogue.word) + "\n"), std::string::npos);
        for (const VocabularyRow& row : catalogue.rows)
        {
            const std::string line =
                "  " + std::to_string(row.number) + " " + row.word + " \"" + row.name + "\"";
            EXPECT_NE(run.out.find(line), std::string::npos) << line;
        }
    }
    EXPECT_NE(run.out.find("  pieces 16: pieces of an envelope, more fails\n"), std::string::npos);
}

TEST(VocabularyCommand, AParameterTellsItsKindAndRange)
{
    TemporaryFolder folder;
    const DpkRun text = RunDpk(folder, {"vocabulary"});
    EXPECT_NE(text.out.find("      size \"Maze size (1 - 7 integer)\": integer, the size of "
                            "the cells, 1 to 7, past it holds\n"),
              std::string::npos);
    const DpkRun json = RunDpk(folder, {"vocabulary", "--json"});
    EXPECT_NE(json.out.find("{\"name\": \"Maze size (1 - 7 integer)\", \"word\": \"size\", "
                            "\"meaning\": \"size of the cells\", \"kind\": \"integer\", \"least\": "
                            "1, \"most\": 7, \"usual\": 4, "
                            "\"past\": \"holds\"}"),
              std::string::npos);
    EXPECT_NE(json.out.find("\"usual\": 0.00392157,"), std::string::npos);
}

TEST(VocabularyCommand, AFullDiskIsTold)
{
    TemporaryFolder folder;
    DpkSurroundings full = kOrdinary;
    full.output = "/dev/full";
    const DpkRun run = RunDpk(folder, {"vocabulary"}, full);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(
        run.err.starts_with("dpk: the vocabulary can't be written: No space left on device\n"))
        << run.err;
}
