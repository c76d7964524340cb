// SPDX-License-Identifier: MIT

// Each rule from both sides: a document without a mistake has no finding, and one change of it has
// that rule's finding, at its line.
#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <set>
#include <string>
#include <unistd.h>
#include <vector>

#include "base_document.h"
#include "engine/check/blank_pictures.h"
#include "engine/check/check_piece.h"
#include "engine/check/module_length.h"
#include "support/package_builder.h"
#include "support/recorded_modplug.h"
#include "support/temporary_folder.h"

static const ModelSource kSquare = {{0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0},
                                    {{0, 0, 1, 0, 1, 1, 0, 1}},
                                    {0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1},
                                    {0, 1, 2, 0, 2, 3}};

/// An uncompressed image in the Targa format.
static std::string Image(int width, int height, int components)
{
    std::string file(18, '\0');
    file[2] = components == 1 ? 3 : 2;
    file[12] = static_cast<char>(width);
    file[14] = static_cast<char>(height);
    file[16] = static_cast<char>(8 * components);
    file[17] = 0x20; // from the top
    return file + std::string(static_cast<size_t>(width * height * components), '\x40');
}

static std::vector<PackageEntry> BaseEntries()
{
    return {{"loading.xmlz", MakeContainer(kBaseDocument)},
            {"demo.xmlz", MakeContainer(kBaseDocument)},
            {"square.model", MakeModel(kSquare)},
            {"alpha.tga", Image(4, 4, 4)}};
}

static CheckResult CheckBytes(const std::string& package, const char* folder = nullptr)
{
    const CheckRequest request = {nullptr, reinterpret_cast<const unsigned char*>(package.data()),
                                  package.size(), folder};
    CheckResult result;
    CheckPiece(&request, &result);
    return result;
}

static std::string Line(const Finding& finding)
{
    return FormatText("%s:%d:%d: %s: %s [%s]",
                      finding.place.document == nullptr ? "package" : finding.place.document,
                      finding.place.line, finding.place.column, SeverityWord(finding.severity),
                      finding.text.c_str(), RuleName(finding.rule));
}

static std::string Lines(const CheckResult& result)
{
    std::string text;
    for (const Finding& finding : result.findings)
    {
        const bool isFigure = finding.rule == Rule::kSize || finding.rule == Rule::kDearestTick;
        text += isFigure ? "" : Line(finding) + "\n";
    }
    return text;
}

/// A document with its first `from` after `after` replaced.
static std::string Changed(const std::string& after, const std::string& from, const std::string& to,
                           std::string text = kBaseDocument)
{
    const size_t start = text.find(after);
    const size_t at = start == std::string::npos ? start : text.find(from, start);
    EXPECT_NE(at, std::string::npos) << after << " " << from;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

struct DocumentCase
{
    Rule rule;
    Severity severity;
    const char* after; // the change lies after this
    const char* from;
    const char* to;
    int line; // of the finding, from that of the change; kAnyLine
};

static constexpr Severity kNote = Severity::kNote;
static constexpr Severity kWarn = Severity::kWarning;
static constexpr Severity kError = Severity::kError;

// clang-format off
static constexpr int kAnyLine = 1000;

static constexpr DocumentCase kCases[] = {
    {Rule::kUnreadableText, kError, "<lights>", "<light>", "<light", kAnyLine},
    {Rule::kUnreadableText, kWarn, "<music", "/>", "/><more></less>", 0},
    {Rule::kMissingSection, kError, "<timeline>", "</timeline>\n<music file=\"song.xm\"/>", "</timeline>", kAnyLine},
    {Rule::kMissingSection, kError, "<layers>", "<layers>\n  <layer type=\"0\"><p>1</p><p>0.5</p><p>0</p></layer>\n</layers>\n<textures>\n  <texture><layer type=\"101\" id=\"0\"><p>1</p><p>1</p></layer></texture>\n</textures>\n", "", kAnyLine},
    {Rule::kMovedSection, kWarn, "<bitmaps>", "<bitmaps>\n  <bitmap filename=\"alpha.tga\"/>\n</bitmaps>", "<materials>\n  <bitmap filename=\"alpha.tga\"/>\n</materials>", 0},
    {Rule::kMovedSection, kWarn, "<layers>", "<layers>", "<!-- one --><layers>", 0},
    {Rule::kExtraNode, kNote, "<music", "/>", "/><more/>", 0},
    {Rule::kNotAnElement, kError, "<scenes>", "<rx", "<!-- turned --><rx", 0},
    {Rule::kMissingAttribute, kError, "<timeline>", " offset=\"0\"", "", 0},
    {Rule::kMissingAttribute, kError, "<models>", "filename", "file_name", 0},
    {Rule::kMissingChild, kError, "<scenes>", "<sz type=\"static\" value=\"1\"/>\n      <visible value=\"1\"/><shift value=\"0\"/>\n      <manipulator type=\"2\"><p type=\"static\" value=\"0\"/><p type=\"static\" value=\"0.1\"/><p type=\"static\" value=\"1\"/></manipulator>", "", -3},
    {Rule::kMissingText, kError, "<layers>", "<p>0.5</p>", "<p/>", 0},
    {Rule::kTooMany, kError, "<piece", "<p>1</p>", "<p>1</p><p>1</p><p>1</p><p>1</p><p>1</p><p>1</p><p>1</p><p>1</p><p>1</p><p>1</p><p>1</p><p>1</p><p>1</p><p>1</p><p>1</p><p>1</p><p>1</p><p>1</p><p>1</p><p>1</p><p>1</p><p>1</p><p>1</p><p>1</p><p>1</p>", 0},
    {Rule::kIgnoredRows, kWarn, "<timeline>", "</timeline>", "<row/><row/><row/><row/><row/><row/><row/><row/><row/><row/><row/><row/><row/><row/><row/><row/><row/><row/><row/><row/><row/><row/><row/><row/><row/><row/><row/><row/><row/><row/><row/><row/></timeline>", 0},
    {Rule::kUnknownElement, kNote, "<models>", "/>", "><colour/></model>", 0},
    {Rule::kUnknownAttribute, kNote, "<scenes>", "material=\"1\"", "material=\"1\" materiel=\"1\"", 0},
    {Rule::kNotANumber, kWarn, "<layers>", "<p>0.5</p>", "<p>half</p>", 0},
    {Rule::kNotANumber, kWarn, "<timeline>", "offset=\"0\"", "offset=\"\"", 0},
    {Rule::kRubbishAfterNumber, kWarn, "<scenes>", "<shift value=\"0\"", "<shift value=\"0s\"", 0},
    {Rule::kCommaDecimal, kWarn, "<envelopes>", "0.01", "0,01", 0},
    {Rule::kHexNumber, kWarn, "<timeline>", "offset=\"0\"", "offset=\"0x10\"", 0},
    {Rule::kNotFinite, kWarn, "<scenes>", "value=\"0\"", "value=\"nan\"", 0},
    {Rule::kNumberOutOfRange, kWarn, "<envelopes>", "length=\"200\"", "length=\"20000000000\"", 0},
    {Rule::kNumberOutOfRange, kWarn, "<envelopes>", "loop_type=\"0\"", "loop_type=\"256\"", 0},
    {Rule::kNegativeTicks, kWarn, "<timeline>", "offset=\"0\"", "offset=\"-7\"", 0},
    {Rule::kUnknownWord, kWarn, "<lights>", "\"dynamic\"", "\"Dynamic\"", 0},
    {Rule::kUnknownWord, kWarn, "<effects>", "64x64", "64x46", 0},
    {Rule::kUnknownType, kWarn, "<layers>", "type=\"0\"", "type=\"9\"", 0},
    {Rule::kUnknownType, kWarn, "<materials>", "type=\"6\"", "type=\"60\"", 0},
    {Rule::kParameterCount, kWarn, "<layers>", "<p>0</p>", "", 0},
    {Rule::kParameterCount, kNote, "<layers>", "<p>0</p>", "<p>0</p><p>0</p>", 0},
    {Rule::kParameterOutOfRange, kWarn, "<layers>", "<p>1</p>", "<p>1.5</p>", 0},
    {Rule::kDanglingReference, kError, "<scenes>", "<x type=\"static\" value=\"0\"", "<x type=\"dynamic\" value=\"9\"", 0},
    {Rule::kDanglingReference, kError, "<timeline>", "id=\"1\"", "id=\"2\"", 0},
    {Rule::kDanglingReference, kError, "<textures>", "id=\"0\"", "id=\"1\"", 0},
    {Rule::kDanglingReference, kError, "<effects>", "<p>1</p>", "<p>3</p>", 0},
    {Rule::kDanglingReference, kWarn, "<scenes>", "material=\"1\"", "material=\"42\"", 0},
    {Rule::kDanglingReference, kError, "<materials>", "<effect2d value=\"1\"/>", "<effect2d value=\"9\"/>", 0},
    {Rule::kDanglingReference, kError, "<timeline>", "<fog type=\"0\"/>", "<fog type=\"1\"><density type=\"static\" value=\"1\"/><start type=\"static\" value=\"1\"/><end type=\"static\" value=\"9\"/><colour value=\"9\"/></fog>", 0},
    {Rule::kMissingReference, kWarn, "<materials>", "<light value=\"1\"/>", "", 0},
    {Rule::kMissingReference, kNote, "<materials>", "<light value=\"1\"/>", "<light value=\"0\"/>", 0},
    {Rule::kMissingReference, kWarn, "<scenes>", "material=\"1\"", "material=\"0\"", 0},
    {Rule::kWrongReference, kWarn, "<materials>", "<effect2d value=\"1\"/>", "<texture value=\"1\"/>", 0},
    {Rule::kUnusedItem, kNote, "<scenes>", "material=\"4\"", "material=\"3\"", kAnyLine},
    {Rule::kMissingEntry, kError, "<models>", "square.model", "sqare.model", 0},
    {Rule::kDamagedEntry, kError, "<bitmaps>", "alpha.tga", "square.model", 0},
    {Rule::kMissingMusic, kWarn, "<music", "song.xm", "gone.xm", 0},
    {Rule::kNotAModule, kWarn, "<music", "song.xm", "text.xm", 0},
    {Rule::kIgnoredAlpha, kWarn, "<materials>", "type=\"2\"", "type=\"18\"", 0},
    {Rule::kNoScale, kWarn, "material=\"3\"", "<sx type=\"static\" value=\"1\"/><sy type=\"static\" value=\"1\"/>", "<sx type=\"static\" value=\"0\"/><sy type=\"static\" value=\"0\"/>", -3},
    {Rule::kOpenTarget, kWarn, "<timeline>", "type=\"3\"", "type=\"1\" rtex=\"1\"", 0},
    {Rule::kTargetFeedsItself, kNote, "<timeline>", "type=\"3\"", "type=\"1\" rtex=\"1\"", 0},
    {Rule::kEmptyTimeline, kWarn, "<timeline>", "space_before=\"0\"", "space_before=\"10\"", -2},
    {Rule::kPastIndex, kWarn, "<timeline>", "length=\"100\"", "length=\"110000\"", 0},
    {Rule::kEmptyLoop, kWarn, "<envelopes>", "loop_type=\"0\"", "loop_type=\"1\"", 0},
    {Rule::kLateSpline, kNote, "<envelopes>", "<piece type=\"1\" length=\"200\"><p>0.01</p><p>1</p>", "<piece type=\"4\" length=\"200\"><p>5</p><p>1</p><p>200</p><p>2</p>", 0},
    {Rule::kLateSpline, kWarn, "<envelopes>", "<piece type=\"1\" length=\"200\"><p>0.01</p><p>1</p>", "<piece type=\"4\" length=\"200\"><p>0</p><p>1</p><p>100</p><p>2</p><p>50</p><p>2</p>", 0},
    {Rule::kEmptyClip, kNote, "<scenes>", "<scene name=\"hall\">", "<scene/><scene>", kAnyLine},
    {Rule::kTooManyInstances, kError, "<scenes>", "<manipulator type=\"2\"><p type=\"static\" value=\"0\"/>", "<manipulator type=\"1\"><p type=\"static\" value=\"2000000\"/>", -5},
};
// clang-format on

class RulesTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        folder.Write("song.xm", MakeModuleHead("song"));
        folder.Write("text.xm", "a text");
    }

    /// Checks a package with another demo.
    CheckResult CheckDemo(const std::string& text)
    {
        std::vector<PackageEntry> entries = BaseEntries();
        entries[1].bytes = MakeContainer(text);
        return CheckBytes(MakePackage(entries), folder.path.c_str());
    }

    TemporaryFolder folder;
};

/// Whether a result has a finding of this rule, severity and line.
static bool Has(const CheckResult& result, Rule rule, Severity severity, int line)
{
    for (const Finding& finding : result.findings)
    {
        if (finding.rule == rule && finding.severity == severity &&
            (line == 0 || finding.place.line == line))
        {
            return true;
        }
    }
    return false;
}

TEST_F(RulesTest, ADocumentWithoutMistakesHasNoFinding)
{
    const CheckResult result = CheckDemo(kBaseDocument);
    EXPECT_EQ(Lines(result), "");
    EXPECT_EQ(result.demoText, kBaseDocument);
    ASSERT_EQ(result.findings.size(), 2u);
    EXPECT_EQ(result.findings[0].text, "of the pictures half a second apart that of tick 0 costs "
                                       "most: 4 objects in 4 copies with 912 vertices, 4096 pixels "
                                       "of effects");
    EXPECT_EQ(result.findings[1].rule, Rule::kSize);
}

/// The line, counted from 1, on which the change of a case begins.
static int ChangedLine(const DocumentCase& c)
{
    const std::string text = kBaseDocument;
    const size_t at = text.find(c.from, text.find(c.after));
    return 1 + static_cast<int>(
                   std::count(text.begin(), text.begin() + static_cast<ptrdiff_t>(at), '\n'));
}

TEST_F(RulesTest, EachMistakeIsToldAtItsLine)
{
    for (const DocumentCase& c : kCases)
    {
        const CheckResult result = CheckDemo(Changed(c.after, c.from, c.to));
        const int line = c.line == kAnyLine ? 0 : ChangedLine(c) + c.line;
        EXPECT_TRUE(Has(result, c.rule, c.severity, line))
            << RuleName(c.rule) << " " << c.to << "\n"
            << Lines(result);
    }
}

/// A base package with one entry changed or added.
static CheckResult CheckEntry(const PackageEntry& entry)
{
    std::vector<PackageEntry> entries = BaseEntries();
    bool isChanged = false;
    for (PackageEntry& other : entries)
    {
        isChanged = isChanged || other.name == entry.name;
        other = other.name == entry.name ? entry : other;
    }
    if (!isChanged)
    {
        entries.push_back(entry);
    }
    return CheckBytes(MakePackage(entries));
}

static std::string SquareModel(void (*change)(ModelSource*))
{
    ModelSource source = kSquare;
    change(&source);
    return MakeModel(source);
}

TEST_F(RulesTest, EntriesHaveTheirMistakesTold)
{
    const std::string three = Image(4, 4, 3);
    EXPECT_TRUE(Has(CheckEntry({"alpha.tga", three}), Rule::kBitmapWithoutAlpha, kWarn, 33));
    EXPECT_TRUE(Has(CheckEntry({"alpha.tga", Image(4, 4, 1)}), Rule::kGreyBitmap, kWarn, 27));
    EXPECT_TRUE(Has(CheckEntry({"alpha.tga", Image(5, 4, 4)}), Rule::kOddSides, kWarn, 27));
    EXPECT_TRUE(Has(CheckEntry({"alpha.tga", "damaged"}), Rule::kDamagedEntry, kError, 27));
    EXPECT_TRUE(Has(CheckEntry({"more.tga", three}), Rule::kUnnamedEntry, kNote, 0));
    const std::string noSets = SquareModel([](ModelSource* source) { source->texCoords.clear(); });
    EXPECT_TRUE(Has(CheckEntry({"square.model", noSets}), Rule::kNoCoordinates, kWarn, 0));
    const std::string noNormals =
        SquareModel([](ModelSource* source) { source->normals.assign(12, 0.0f); });
    EXPECT_TRUE(Has(CheckEntry({"square.model", noNormals}), Rule::kNoNormals, kWarn, 40));
    const std::string flat =
        SquareModel([](ModelSource* source) { source->indices = {0, 1, 1, 0, 2, 3}; });
    EXPECT_TRUE(Has(CheckEntry({"square.model", flat}), Rule::kFlatTriangles, kNote, 9));
    const std::string far =
        SquareModel([](ModelSource* source) { source->indices = {0, 1, 4, 0, 2, 3}; });
    EXPECT_TRUE(Has(CheckEntry({"square.model", far}), Rule::kDamagedEntry, kError, 9));
}

TEST_F(RulesTest, PackagesHaveTheirMistakesTold)
{
    std::vector<PackageEntry> entries = BaseEntries();
    entries.push_back(entries[3]);
    EXPECT_TRUE(Has(CheckBytes(MakePackage(entries)), Rule::kDoubledEntry, kWarn, 0));
    EXPECT_TRUE(Has(CheckBytes(MakePackage({})), Rule::kMissingDocument, kError, 0));
    entries.erase(entries.begin());
    EXPECT_TRUE(Has(CheckBytes(MakePackage(entries)), Rule::kMissingDocument, kNote, 0));
    std::string cut = MakePackage(BaseEntries());
    cut.resize(cut.size() - 8);
    EXPECT_TRUE(Has(CheckBytes(cut), Rule::kDamagedEntry, kWarn, 0));
}

TEST_F(RulesTest, WhatCantBeOpenedOrIsTooLargeIsAnError)
{
    const CheckRequest request = {"/dev/null", nullptr, 0, nullptr};
    CheckResult result;
    CheckPiece(&request, &result);
    EXPECT_TRUE(Has(result, Rule::kUnreadablePackage, kError, 0)) << Lines(result);
    const std::string claims("\xff\xff\xff\x7f", 4);
    EXPECT_TRUE(Has(CheckEntry({"square.model", claims}), Rule::kTooLarge, kError, 9));
}

TEST_F(RulesTest, AnEntryThatNoReaderFindsIsTold)
{
    std::vector<PackageEntry> entries = BaseEntries();
    entries.push_back({"large", std::string(size_t{1} << 24, 'x')});
    entries.push_back({std::string(32, 'n'), "data"});
    EXPECT_TRUE(Has(CheckBytes(MakePackage(entries)), Rule::kUnreachableEntry, kWarn, 0));
}

TEST_F(RulesTest, TwoTexturesOnOneSetAreTold)
{
    const std::string text = Changed(
        "<materials>", "type=\"15\"", "type=\"8\"",
        Changed("<materials>",
                "<p type=\"static\" value=\"1\"/><texture value=\"1\"/></material>\n</materials>",
                "<p type=\"static\" value=\"1\"/><p type=\"static\" value=\"1\"/><texture "
                "value=\"1\"/><texture value=\"1\"/></material>\n</materials>"));
    EXPECT_TRUE(Has(CheckDemo(text), Rule::kOneCoordinateSet, kNote, 0));
}

TEST_F(RulesTest, ALoadingDocumentEndsAtTick100)
{
    std::vector<PackageEntry> entries = BaseEntries();
    entries[0].bytes = MakeContainer(Changed("<timeline>", "length=\"100\"", "length=\"300\""));
    EXPECT_TRUE(Has(CheckBytes(MakePackage(entries)), Rule::kLoadingLength, kWarn, 69));
}

static std::string Clip(int space, int length)
{
    std::string text = FormatText("<clip id=\"1\" space_before=\"%d\" length=\"%d\" offset=\"0\" "
                                  "type=\"0\">",
                                  space, length);
    for (int i = 0; i < 6; ++i)
    {
        text += "<x type=\"static\" value=\"0\"/>";
    }
    return text + "<fov type=\"static\" value=\"60\"/><fog type=\"0\"/></clip>";
}

TEST_F(RulesTest, ClipsThatAreNeverSeenAreTold)
{
    const std::string hidden = "</row>\n<row>" + Clip(0, 10) + "\n" + Clip(0, 20) + "</row>";
    EXPECT_TRUE(
        Has(CheckDemo(Changed("<timeline>", "</row>", hidden)), Rule::kHiddenClip, kWarn, 77));
    const std::string late = Clip(50, 200) + "</row>";
    EXPECT_TRUE(Has(CheckDemo(Changed("<timeline>", "</row>", late)), Rule::kEarlyEnd, kWarn, 75));
}

TEST_F(RulesTest, ATimelineWithoutRowsIsAnError)
{
    std::string text = kBaseDocument;
    const size_t begin = text.find("  <row>");
    text.erase(begin, text.find("</timeline>") - begin);
    EXPECT_TRUE(Has(CheckDemo(text), Rule::kEmptyTimeline, kError, 67));
}

TEST_F(RulesTest, ATargetThatNothingShowsIsTold)
{
    const std::string hides = Changed("<scenes>", "material=\"4\"", "material=\"3\"");
    const std::string text = Changed("<timeline>", "type=\"3\"", "type=\"1\" rtex=\"1\"", hides);
    EXPECT_TRUE(Has(CheckDemo(text), Rule::kTargetNotShown, kWarn, 69));
}

TEST_F(RulesTest, TheNearestNameIsTheCure)
{
    const CheckResult entry = CheckDemo(Changed("<models>", "square.model", "sqare.model"));
    ASSERT_FALSE(entry.findings.empty());
    EXPECT_EQ(entry.findings[0].cure, "there is an entry \"square.model\"");
    const CheckResult word = CheckDemo(Changed("<lights>", "\"dynamic\"", "\"Dynamic\""));
    ASSERT_FALSE(word.findings.empty());
    EXPECT_EQ(word.findings[0].cure, "write \"dynamic\"");
}

TEST_F(RulesTest, AMissingFileIsToldWithTheWayToAddIt)
{
    const CheckResult mesh = CheckDemo(Changed("<models>", "square.model", "dragon fly.model"));
    ASSERT_FALSE(mesh.findings.empty());
    EXPECT_EQ(
        mesh.findings[0].cure,
        "put a file \"dragon fly.obj\" into the folder that is built, beside demo.xml, or let "
        "piece.py make it: Mesh().write(\"dragon fly.obj\")");
    const CheckResult image = CheckDemo(Changed("<bitmaps>", "alpha.tga", "mirror.png"));
    ASSERT_FALSE(image.findings.empty());
    EXPECT_EQ(image.findings[0].cure,
              "put a file \"mirror.png\" into the folder that is built, beside demo.xml, or let "
              "piece.py make it: write_png(\"mirror.png\", 256, 256, 3, ...)");
    const CheckResult photo = CheckDemo(Changed("<bitmaps>", "alpha.tga", "photograph.jpg"));
    ASSERT_FALSE(photo.findings.empty());
    EXPECT_EQ(photo.findings[0].cure,
              "put a file \"photograph.jpg\" into the folder that is built, beside demo.xml");
}

TEST(NearestName, LettersThatChangedPlacesAreOneChange)
{
    EXPECT_STREQ(FindNearest("abdc", {"abxy", "abcd"}), "abcd");
    EXPECT_STREQ(FindNearest("square", {"sqaure.model", "sqaure"}), "sqaure");
}

TEST_F(RulesTest, AMistakeIsToldOnce)
{
    EXPECT_EQ(Lines(CheckDemo(Changed("<timeline>", " offset=\"0\"", ""))),
              "demo.xmlz:69:5: error: attribute \"offset\" of <clip> is missing "
              "[missing-attribute]\n");
}

TEST_F(RulesTest, AllMistakesOfADocumentAreTold)
{
    std::string text = Changed("<layers>", "<p>0.5</p>", "<p/>");
    const auto change = [&text](const std::string& from, const std::string& to)
    {
        const size_t at = text.find(from);
        ASSERT_NE(at, std::string::npos) << from;
        text.replace(at, from.size(), to);
    };
    change("filename=\"square.model\"", "filename=\"cube.model\"");
    change(" loop_begin=\"0\"", "");
    change("<r type=\"static\" value=\"0\"/>", "");
    change("value=\"60\"", "value=\"6o\"");
    change("id=\"1\" space_before", "id=\"5\" space_before");
    EXPECT_EQ(Lines(CheckDemo(text)),
              "demo.xmlz:3:27: error: <p> has no text [missing-text]\n"
              "demo.xmlz:9:3: error: the package has no model \"cube.model\" [missing-entry]\n"
              "demo.xmlz:12:3: error: attribute \"loop_begin\" of <envelope> is missing "
              "[missing-attribute]\n"
              "demo.xmlz:18:5: error: <ambient> has no <b> [missing-child]\n"
              "demo.xmlz:39:3: note: nothing uses scene 1 [unused-item]\n"
              "demo.xmlz:69:11: error: scene 5 does not exist; there is 1 [dangling-reference]\n"
              "demo.xmlz:72:26: warning: \"6o\" goes on after its number, and counts as 6 "
              "[rubbish-after-number]\n");
}

/// The base document with one object, the square without copies.
static std::string OneObject()
{
    std::string text = kBaseDocument;
    const size_t copies = text.find("      <manipulator");
    text.erase(copies, text.find('\n', copies) + 1 - copies);
    const size_t second = text.find("    <object type=\"1\"");
    text.erase(second, text.find("  </scene>") - second);
    return text;
}

TEST_F(RulesTest, AClipInWhichNothingIsSeenIsTold)
{
    const std::string text = OneObject();
    EXPECT_FALSE(Has(CheckDemo(text), Rule::kNeverSeen, kWarn, 0));
    const struct
    {
        const char* after;
        const char* from;
        const char* to;
        const char* reason;
    } cases[] = {
        {"<timeline>", "value=\"-5\"", "value=\"5\"", "1 behind the camera"},
        {"<timeline>", "value=\"-5\"", "value=\"-1002\"", "1 beyond the far plane"},
        {"<timeline>", "<ry type=\"static\" value=\"0\"/>", "<ry type=\"static\" value=\"180\"/>",
         "1 behind the camera"},
        {"<scenes>", "<sx type=\"static\" value=\"1\"/><sy type=\"static\" value=\"1\"/>",
         "<sx type=\"static\" value=\"0\"/><sy type=\"static\" value=\"0\"/>", "1 of scale 0"},
        {"<envelopes>", "<p>0.01</p><p>1</p>", "<p>0</p><p>0.5</p>", "1 not visible"},
    };
    for (const auto& c : cases)
    {
        const CheckResult result = CheckDemo(Changed(c.after, c.from, c.to, text));
        EXPECT_TRUE(Has(result, Rule::kNeverSeen, kWarn, 0)) << Lines(result);
        EXPECT_NE(Lines(result).find(c.reason), std::string::npos) << Lines(result);
    }
    // A quarter turn to the right shows what lies there, and one to the left does not.
    const std::string aside = Changed("<scenes>", "value=\"0\"", "value=\"30\"", text);
    const char* unturned = "<ry type=\"static\" value=\"0\"/>";
    EXPECT_FALSE(
        Has(CheckDemo(Changed("<timeline>", unturned, "<ry type=\"static\" value=\"90\"/>", aside)),
            Rule::kNeverSeen, kWarn, 0));
    EXPECT_TRUE(Has(
        CheckDemo(Changed("<timeline>", unturned, "<ry type=\"static\" value=\"-90\"/>", aside)),
        Rule::kNeverSeen, kWarn, 0));
    // On its edge the square is still in the picture.
    const std::string edge = Changed("<timeline>", "value=\"-5\"", "value=\"-1000\"", text);
    EXPECT_FALSE(Has(CheckDemo(edge), Rule::kNeverSeen, kWarn, 0));
}

TEST_F(RulesTest, TheDearestPictureIsTold)
{
    // From tick 100 on the scene is drawn twice.
    const std::string text =
        Changed("<timeline>", "</row>", "</row>\n<row>" + Clip(100, 100) + "</row>",
                Changed("<timeline>", "length=\"100\"", "length=\"200\""));
    const CheckResult result = CheckDemo(text);
    std::string told;
    for (const Finding& finding : result.findings)
    {
        told += finding.rule == Rule::kDearestTick ? finding.text : "";
    }
    EXPECT_NE(told.find("that of tick 100 costs most: 8 objects"), std::string::npos) << told;
}

TEST_F(RulesTest, AFirstRowThatEndsEarlyIsTold)
{
    const std::string text =
        Changed("<timeline>", "</row>", "</row>\n<row>" + Clip(0, 200) + "</row>");
    EXPECT_TRUE(Has(CheckDemo(text), Rule::kShortFirstRow, kNote, 76));
}

TEST_F(RulesTest, ATargetThatNoFrameDrawsIsTold)
{
    std::string late = Clip(500, 100);
    late.replace(late.find("type=\"0\""), 8, "type=\"1\" rtex=\"1\"");
    const std::string text = Changed("<timeline>", "</row>", late + "\n</row>");
    EXPECT_TRUE(Has(CheckDemo(text), Rule::kTargetNotDrawn, kWarn, 75));
}

TEST_F(RulesTest, AMeshThatIsInsideOutIsTold)
{
    const std::string turned =
        SquareModel([](ModelSource* source) { source->indices = {0, 2, 1, 0, 3, 2}; });
    EXPECT_TRUE(Has(CheckEntry({"square.model", turned}), Rule::kInsideOut, kWarn, 9));
    const std::string half =
        SquareModel([](ModelSource* source) { source->indices = {0, 2, 1, 0, 2, 3}; });
    EXPECT_FALSE(Has(CheckEntry({"square.model", half}), Rule::kInsideOut, kWarn, 0));
}

TEST_F(RulesTest, ManyCopiesAreNearTheLimit)
{
    const std::string many =
        Changed("<scenes>", "<manipulator type=\"2\"><p type=\"static\" value=\"0\"/>",
                "<manipulator type=\"1\"><p type=\"static\" value=\"600000\"/>");
    EXPECT_TRUE(Has(CheckDemo(many), Rule::kNearLimit, kWarn, 0));
}

/// Bytes after the pattern of a module: players take no file of less than 512 bytes.
static constexpr size_t kModuleTail = 200;

/// A module of one channel and one pattern of 64 rows.
/// @param effect   two bytes, of the first row
static std::string Module(const std::string& effect, int orders)
{
    std::string file = "Extended Module: " + std::string(63, '\0') + std::string(256, '\0');
    const auto put = [&file](size_t at, int value)
    {
        file[at] = static_cast<char>(value);
        file[at + 1] = static_cast<char>(value >> 8);
    };
    put(60, 276);
    put(64, orders);
    put(68, 1);
    put(70, 1);
    put(76, 5);
    put(78, 125);
    std::string data = "\x98" + effect;
    data += std::string(63, '\x80');
    const size_t pattern = file.size();
    file += std::string(9, '\0') + data + std::string(kModuleTail, '\0');
    put(pattern, 9);
    put(pattern + 5, 64);
    put(pattern + 7, static_cast<int>(data.size()));
    return file;
}

static double SecondsOf(const std::string& file)
{
    return MeasureModule(reinterpret_cast<const uint8_t*>(file.data()), file.size());
}

TEST(ModuleLength, RowsAreFollowedInTheirOrder)
{
    // A row of 5 module ticks at 125 beats a minute lasts 0.1 s.
    EXPECT_NEAR(SecondsOf(Module(std::string(2, '\0'), 1)), 6.4, 1e-9);
    EXPECT_NEAR(SecondsOf(Module(std::string(2, '\0'), 3)), 19.2, 1e-9);
    EXPECT_NEAR(SecondsOf(Module("\x0f\x0a", 1)), 12.8, 1e-9);              // 10 module ticks a row
    EXPECT_NEAR(SecondsOf(Module("\x0f\xfa", 1)), 3.2, 1e-9);               // 250 beats a minute
    EXPECT_NEAR(SecondsOf(Module("\x0d\x10", 1)), 0.1, 1e-9);               // breaks to row 10
    EXPECT_NEAR(SecondsOf(Module("\x0d\x60", 2)), 0.5, 1e-9);               // rows 0 and 60 to 63
    EXPECT_NEAR(SecondsOf(Module(std::string("\x0b\0", 2), 2)), 0.1, 1e-9); // back to itself
    EXPECT_NEAR(SecondsOf(Module("\x0e\xe3", 1)), 6.7, 1e-9);               // the first row waits
    EXPECT_NEAR(SecondsOf(Module("\x0e\x62", 1)), 6.6, 1e-9);               // and comes twice more
    EXPECT_EQ(SecondsOf("Extended Module: "), 0.0);
}

TEST(ModuleLength, BytesPastTheEndAreZeros)
{
    const std::string file = Module("\x0f\x0a", 1);
    for (size_t size = 60; size < file.size(); ++size)
    {
        // The sanitizer sees a read past the block.
        const std::vector<uint8_t> cut(file.begin(), file.begin() + static_cast<ptrdiff_t>(size));
        std::vector<uint8_t> padded = cut;
        padded.resize(size + 64);
        EXPECT_EQ(MeasureModule(cut.data(), size), MeasureModule(padded.data(), size)) << size;
        EXPECT_EQ(IsModuleWhole(cut.data(), size), IsModuleWhole(padded.data(), size)) << size;
    }
}

TEST_F(RulesTest, AModuleOfAnotherLengthIsTold)
{
    // The piece lasts 1.01 s.
    folder.Write("song.xm", Module("\x0d\x60", 1));
    EXPECT_EQ(Lines(CheckDemo(kBaseDocument)), "");
    folder.Write("song.xm", Module(std::string(2, '\0'), 1));
    EXPECT_TRUE(Has(CheckDemo(kBaseDocument), Rule::kMusicLength, kWarn, 77));
    folder.Write("song.xm", Module("\x0d\x60", 1));
    const std::string longer = Changed("<timeline>", "length=\"100\"", "length=\"400\"");
    EXPECT_TRUE(Has(CheckDemo(longer), Rule::kMusicLength, kWarn, 77));
}

// ---- Pictures

TEST(BlankPictures, BlackAndWhiteMayBeOffByTwo)
{
    std::vector<uint8_t> pixels(30, 2);
    EXPECT_EQ(JudgePicture(pixels.data(), pixels.size()), Blankness::kBlack);
    pixels[29] = 3;
    EXPECT_EQ(JudgePicture(pixels.data(), pixels.size()), Blankness::kShowsSomething);
    pixels.assign(30, 253);
    EXPECT_EQ(JudgePicture(pixels.data(), pixels.size()), Blankness::kWhite);
    pixels[0] = 252;
    EXPECT_EQ(JudgePicture(pixels.data(), pixels.size()), Blankness::kShowsSomething);
}

/// The findings of pictures a quarter of a second apart: b black, w white, any other shows
/// something.
static std::vector<std::string> BlankLines(const std::string& pictures, uint32_t endTick)
{
    std::vector<Blankness> judged;
    for (const char c : pictures)
    {
        judged.push_back(c == 'b'   ? Blankness::kBlack
                         : c == 'w' ? Blankness::kWhite
                                    : Blankness::kShowsSomething);
    }
    FindingList findings;
    AddBlankStretches(judged, 25, endTick, &findings);
    std::vector<std::string> lines;
    for (const Finding& finding : findings)
    {
        lines.push_back(Line(finding));
    }
    return lines;
}

TEST(BlankPictures, MoreThanTwoSecondsAreTold)
{
    using Lines = std::vector<std::string>;
    EXPECT_EQ(BlankLines("xbbbbbbbbx", 250), Lines()); // ticks 25 to 200 for sure
    EXPECT_EQ(
        BlankLines("xbbbbbbbbbx", 275),
        Lines{"demo.xmlz:0:0: warning: the picture is all black from 0.25 to 2.26 s, ticks 25 "
              "to 225 [blank-picture]"});
    EXPECT_EQ(
        BlankLines("xwwwwwwwwwbbbbx", 375),
        Lines{"demo.xmlz:0:0: warning: the picture is all white from 0.25 to 2.26 s, ticks 25 "
              "to 225 [blank-picture]"});
    EXPECT_EQ(BlankLines("xwwwwbbbbbx", 275), Lines());
    EXPECT_EQ(BlankLines("", 0), Lines());
}

TEST(BlankPictures, BlackAtTheEndsIsANote)
{
    using Lines = std::vector<std::string>;
    EXPECT_EQ(
        BlankLines("bbbbbbbbbxbbbbbbbbb", 460),
        (Lines{"demo.xmlz:0:0: note: the picture is all black from 0.00 to 2.01 s, ticks 0 to "
               "200 [blank-picture]",
               "demo.xmlz:0:0: note: the picture is all black from 2.50 to 4.60 s, ticks 250 "
               "to 459 [blank-picture]"}));
    EXPECT_EQ(BlankLines("wwwwwwwwwx", 250).at(0).find("demo.xmlz:0:0: warning: "), 0u);
    EXPECT_EQ(BlankLines("bbbbbbbbb", 225).at(0).find("demo.xmlz:0:0: warning: "), 0u);
}

TEST_F(RulesTest, OnlyWhatThePlayersGateTakesIsAModule)
{
    const std::string expected = "\"song.xm\" is no module in the XM format";
    for (const std::string& file : {std::string("Extended Module: song"), std::string(600, '\0')})
    {
        folder.Write("song.xm", file);
        EXPECT_NE(Lines(CheckDemo(kBaseDocument)).find(expected), std::string::npos);
    }
    std::string channels = MakeModuleHead("song");
    channels[68] = 65; // one more than there may be
    folder.Write("song.xm", channels);
    const CheckResult result = CheckDemo(kBaseDocument);
    EXPECT_TRUE(Has(result, Rule::kNotAModule, kWarn, 77));
    EXPECT_NE(Lines(result).find(expected), std::string::npos);
}

TEST_F(RulesTest, AModuleThatDoesNotLoadIsTold)
{
    ModPlug.loadFails = true;
    const CheckResult result = CheckDemo(kBaseDocument);
    ModPlug.loadFails = false;
    EXPECT_TRUE(Has(result, Rule::kNotAModule, kWarn, 77));
    EXPECT_NE(Lines(result).find("\"song.xm\" does not load"), std::string::npos);
    EXPECT_EQ(Lines(CheckDemo(kBaseDocument)), "");
}

/// A module of one pattern without rows, and one instrument of two samples of 100 bytes each.
static std::string SampledModule()
{
    std::string file = MakeModuleHead("song");
    file.resize(336);
    file.replace(58, 2, std::string("\x04\x01", 2));
    file.replace(60, 2, std::string("\x14\x01", 2));
    file[70] = 1; // patterns
    file[72] = 1; // instruments
    file += std::string("\x09\0\0\0\0\x40\0\0\0", 9);
    std::string head(263, '\0');
    head.replace(0, 2, std::string("\x07\x01", 2));
    head[27] = 2; // samples
    std::string sample(40, '\0');
    sample[0] = 100;
    return file + head + sample + sample + std::string(200, '\x11');
}

TEST_F(RulesTest, AModuleThatWasCutIsTold)
{
    const std::string whole = SampledModule();
    folder.Write("song.xm", whole + "and more");
    const std::string other = Lines(CheckDemo(kBaseDocument));
    EXPECT_EQ(other.find("damaged"), std::string::npos) << other;
    for (const size_t cut : {size_t{1}, size_t{100}, size_t{200}, size_t{210}})
    {
        folder.Write("song.xm", whole.substr(0, whole.size() - cut));
        const CheckResult result = CheckDemo(kBaseDocument);
        EXPECT_TRUE(Has(result, Rule::kNotAModule, kWarn, 77)) << cut;
        EXPECT_NE(Lines(result).find("\"song.xm\" is damaged"), std::string::npos) << cut;
    }
}

TEST(ModuleFile, IsWholeWhereAllPatternsAndSamplesLieInIt)
{
    const auto isWhole = [](const std::string& file)
    {
        return IsModuleWhole(reinterpret_cast<const uint8_t*>(file.data()), file.size());
    };
    std::string file = SampledModule();
    EXPECT_TRUE(isWhole(file));
    EXPECT_FALSE(isWhole(file.substr(0, file.size() - 1)));
    EXPECT_FALSE(isWhole(file.substr(0, 336 + 9 + 263 + 50))); // inside the samples' heads
    EXPECT_FALSE(isWhole(file.substr(0, 336 + 9 + 28)));       // inside the instrument's head
    EXPECT_FALSE(isWhole(file.substr(0, 336 + 8)));            // inside the pattern's head
    EXPECT_TRUE(isWhole(file.substr(0, 336 + 9)));             // no heads of instruments at all

    // Packed samples: 16 bytes, and one for two steps.
    std::string packed = file;
    packed[336 + 9 + 263 + 17] = static_cast<char>(0xAD);
    EXPECT_TRUE(isWhole(packed.substr(0, file.size() - 34)));
    EXPECT_FALSE(isWhole(packed.substr(0, file.size() - 35)));

    file[58] = 3; // an older version has another order
    EXPECT_TRUE(isWhole(file.substr(0, file.size() - 1)));
}

TEST_F(RulesTest, AModuleOfMoreThan64MiBIsAnError)
{
    folder.Write("song.xm", "");
    ASSERT_EQ(truncate((folder.path + "/song.xm").c_str(), (64 << 20) + 1), 0); // no disk is taken
    EXPECT_TRUE(Has(CheckDemo(kBaseDocument), Rule::kTooLarge, kError, 77));
}

/// Rules that have a test of their own here, or in the tests of the command.
static constexpr Rule kTestedAlone[] = {
    Rule::kUnreadablePackage, Rule::kMissingDocument, Rule::kDoubledEntry,
    Rule::kUnreachableEntry,  Rule::kUnnamedEntry,    Rule::kGreyBitmap,
    Rule::kOddSides,          Rule::kNoCoordinates,   Rule::kBitmapWithoutAlpha,
    Rule::kOneCoordinateSet,  Rule::kNoNormals,       Rule::kFlatTriangles,
    Rule::kTargetNotShown,    Rule::kHiddenClip,      Rule::kEarlyEnd,
    Rule::kLoadingLength,     Rule::kTooLarge,        Rule::kSize,
    Rule::kNeverSeen,         Rule::kShortFirstRow,   Rule::kTargetNotDrawn,
    Rule::kInsideOut,         Rule::kNearLimit,       Rule::kMusicLength,
    Rule::kDearestTick,       Rule::kBlankPicture,    Rule::kLargeTarget,
};

TEST(RuleNames, AllHaveATest)
{
    std::set<Rule> tested(std::begin(kTestedAlone), std::end(kTestedAlone));
    for (const DocumentCase& c : kCases)
    {
        tested.insert(c.rule);
    }
    EXPECT_EQ(tested.size(), kRuleCount);
}

TEST(RuleNames, AreThoseOfThePage)
{
    std::ifstream page(RULES_PAGE);
    std::vector<std::string> names;
    for (std::string line; std::getline(page, line);)
    {
        if (line.rfind("### ", 0) == 0)
        {
            names.push_back(line.substr(4));
        }
    }
    ASSERT_EQ(names.size(), kRuleCount);
    for (uint32_t i = 0; i < kRuleCount; ++i)
    {
        EXPECT_EQ(names[i], RuleName(static_cast<Rule>(i)));
    }
}

TEST(RuleNames, AreAllDifferentAndFound)
{
    std::set<std::string> names;
    for (uint32_t i = 0; i < kRuleCount; ++i)
    {
        const Rule rule = static_cast<Rule>(i);
        EXPECT_TRUE(names.insert(RuleName(rule)).second);
        Rule found;
        ASSERT_TRUE(FindRule(RuleName(rule), &found));
        EXPECT_EQ(found, rule);
    }
}
