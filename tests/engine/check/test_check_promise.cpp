// SPDX-License-Identifier: MIT
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "changed_document.h"
#include "engine/check/check_piece.h"
#include "engine/data/cos_table.h"
#include "engine/textures/corner_masks.h"
#include "played_document.h"
#include "record/random_piece.h"
#include "support/small_piece.h"

/// All findings as lines.
static std::string FindingText(const FindingList& findings, Severity severity)
{
    std::string text;
    for (const Finding& finding : findings)
    {
        if (finding.severity == severity)
        {
            const char* document = finding.place.document;
            text += FormatText("%s:%d:%d: %s [%s]\n", document == nullptr ? "package" : document,
                               finding.place.line, finding.place.column, finding.text.c_str(),
                               RuleName(finding.rule));
        }
    }
    return text;
}

static std::string CheckErrors(const std::string& package)
{
    const CheckRequest request = {nullptr, reinterpret_cast<const unsigned char*>(package.data()),
                                  package.size(), nullptr};
    CheckResult result;
    CheckPiece(&request, &result);
    return FindingText(result.findings, Severity::kError);
}

/// Replaces every `from` in a text.
static void ReplaceAll(std::string* text, const std::string& from, const std::string& to)
{
    for (size_t at = text->find(from); at != std::string::npos;
         at = text->find(from, at + to.size()))
    {
        text->replace(at, from.size(), to);
    }
}

/// SmallDocument in a hurry, with objects that come and go.
static DocumentSource ShortDocument()
{
    DocumentSource source = SmallDocument();
    source.sections[0] = "<l type=\"0\"><p>1</p><p>0.5</p><p>0</p></l>";
    source.sections[1] = "<t><layer type=\"101\" id=\"0\"/></t><t><filter type=\"201\"/></t>";
    ReplaceAll(&source.sections[10], "length=\"400\"", "length=\"110\"");
    ReplaceAll(&source.sections[9], "<v value=\"0\"/><v value=\"3.5\"/></o>",
               "<v value=\"2\"/><v value=\"-60\"/></o>");
    return source;
}

/// @return the number of random documents that a test makes
static int DocumentCount(int usual)
{
    const char* wanted = getenv("QUORVALE_CHECK_DOCUMENTS");
    return wanted == nullptr ? usual : atoi(wanted);
}

struct Tally
{
    int played;
    int failed;
};

/// Compares what the check says of a package with what playing it comes to.
static void Compare(const std::string& package, const std::string& about, Tally* tally)
{
    std::string fault;
    const PlayedTo played = PlayPackage(package, &fault);
    const std::string errors = CheckErrors(package);
    if (played == PlayedTo::kNever)
    {
        return; // too long for a test
    }
    (played == PlayedTo::kEnd ? tally->played : tally->failed) += 1;
    EXPECT_EQ(played == PlayedTo::kFault, !errors.empty())
        << about << "\nplayed: " << fault << "\nchecked: " << errors;
}

class CheckPromiseTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        BuildCosTable();
        BuildCornerMasks();
    }
};

TEST_F(CheckPromiseTest, GoodPiecesHaveNoErrorAndPlay)
{
    Tally tally = {};
    Compare(SmallPiece(), "the small piece", &tally);
    Compare(SmallPieceOf(ShortDocument(), ShortDocument()), "the short piece", &tally);
    EXPECT_EQ(tally.played, 2);
}

TEST_F(CheckPromiseTest, AnErrorIsWhereThePlayerEnds)
{
    const std::string text = MakeDocumentText(ShortDocument());
    Tally tally = {};
    const int count = DocumentCount(300);
    for (int i = 0; i < count && !HasFailure(); ++i)
    {
        Random random = {static_cast<uint64_t>(i)};
        const std::string changed = ChangeDocument(text, Between(&random, 1, 3), &random);
        const bool isLoading = Chance(&random, 25);
        const std::string package =
            isLoading ? SmallPieceOf(changed, text) : SmallPieceOf(text, changed);
        Compare(package, "document " + std::to_string(i) + "\n" + changed, &tally);
    }
    EXPECT_GT(tally.played, count / 4);
    EXPECT_GT(tally.failed, count / 4);
}

TEST_F(CheckPromiseTest, RandomPiecesAgreeToo)
{
    Tally tally = {};
    for (uint32_t seed = 1; seed <= 60 && !HasFailure(); ++seed)
    {
        Random random = {seed};
        Compare(MakeRandomPiece(&random).package, "random piece " + std::to_string(seed), &tally);
    }
    EXPECT_GT(tally.played, 0);
}
