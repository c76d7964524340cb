// SPDX-License-Identifier: MIT
#include "tools/unbuild_command.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <zlib.h>

#include "record/random_piece.h"
#include "support/package_builder.h"
#include "tools/container.h"
#include "tools/dpk_run.h"
#include "tools/folder_build.h"
#include "tools/package_listing.h"
#include "tools/text_layout.h"

static std::string Pack(const std::string& text)
{
    Bytes container;
    EXPECT_TRUE(PackContainer(Bytes(text.begin(), text.end()), &container));
    return {container.begin(), container.end()};
}

/// A container that no packer of dpk makes.
static std::string PackLoosely(const std::string& text)
{
    std::string container(4 + compressBound(text.size()), '\0');
    uLongf length = container.size() - 4;
    compress2(reinterpret_cast<Bytef*>(container.data() + 4), &length,
              reinterpret_cast<const Bytef*>(text.data()), text.size(), 0);
    container.resize(4 + length);
    for (size_t i = 0; i < 4; ++i)
    {
        container[i] = static_cast<char>(text.size() >> 8 * i);
    }
    return container;
}

/// The package that a folder of the test's folder builds to.
static std::string Build(const TemporaryFolder& folder, const std::string& sources)
{
    BuildOptions options = {};
    options.mesh.isQuiet = true;
    PackedFolder packed = {};
    EXPECT_TRUE(PackFolder(folder.path + "/" + sources, "", options, &packed));
    std::string bytes(reinterpret_cast<char*>(packed.package.bytes), packed.package.size);
    free(packed.package.bytes);
    return bytes;
}

/// The records of a package, by entry: of documents and models what is in their containers, with
/// the blanks of documents taken out. Of two entries with one name the first counts.
static std::map<std::string, std::string> RecordsOf(const TemporaryFolder& folder,
                                                    const std::string& package)
{
    ListedPackage listed;
    std::map<std::string, std::string> records;
    folder.Write("records.dpk", package);
    EXPECT_TRUE(OpenPackage(folder.path + "/records.dpk", PackageUse::kReading, &listed));
    for (const ListedEntry& entry : listed.entries)
    {
        Bytes bytes;
        Bytes data;
        EXPECT_TRUE(ReadListedEntry(&listed, &entry, &bytes));
        if (UnpackContainer(bytes, &data) != nullptr)
        {
            data = bytes;
        }
        const std::string text(data.begin(), data.end());
        TiXmlDocument document;
        const std::string bare = LayOutText(text, TextLayout::kBare);
        const bool isDocument = entry.name.ends_with(".xmlz") && ParseText(text, &document) &&
                                SaysTheSame(document, bare);
        records.emplace(entry.name, isDocument ? bare : text);
    }
    ClosePackage(&listed);
    return records;
}

static void ExpectSameBytes(const std::vector<PackageEntry>& entries)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", MakePackage(entries));
    const DpkRun run = RunDpk(folder, {"unbuild", "p.dpk", "-o", "sources"});
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, "sources: " + std::to_string(entries.size()) +
                           (entries.size() == 1 ? " source" : " sources") +
                           "; a build gives the same bytes\n");
    EXPECT_EQ(Build(folder, "sources"), MakePackage(entries));
}

// ---- The same bytes

TEST(DpkUnbuild, TheSamplePieceComesBackToTheByte)
{
    TemporaryFolder folder;
    const DpkRun run = RunDpk(folder, {"unbuild", PACKAGE, "-o", "sources"});
    EXPECT_TRUE(run.out.ends_with("; a build gives the same bytes\n")) << run.out << run.err;
    std::ostringstream original;
    original << std::ifstream(PACKAGE, std::ios::binary).rdbuf();
    EXPECT_EQ(RunDpk(folder, {"build", "sources", "-o", "again.dpk"}).exitCode, 0);
    EXPECT_TRUE(folder.Read("again.dpk") == original.str());
}

TEST(DpkUnbuild, TheOrderOfTheEntriesIsKept)
{
    ExpectSameBytes({{"b.png", "1"}, {"demo.xmlz", Pack("<a/>")}, {"a.png", "2"}});
}

TEST(DpkUnbuild, AnEmptyPackageHasAnEmptyOrder)
{
    ExpectSameBytes({});
}

TEST(DpkUnbuild, ABareDocumentIsIndentedAndComesBackBare)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", MakePackage({{"demo.xmlz", Pack("<a><b/></a><c/>")}}));
    RunDpk(folder, {"unbuild", "p.dpk", "-o", "s"});
    EXPECT_EQ(folder.Read("s/demo.xml"), "<a>\n  <b/>\n</a>\n<c/>");
    EXPECT_EQ(Build(folder, "s"), folder.Read("p.dpk"));
}

TEST(DpkUnbuild, BlanksOfADocumentThatDpkPackedStay)
{
    ExpectSameBytes({{"demo.xmlz", Pack("<a> <b/>\n\n</a>")}});
}

TEST(DpkUnbuild, WhatNoSourceCanSayStaysAsItIs)
{
    ExpectSameBytes({{"broken.xmlz", Pack("<a>")},
                     {"zero.xmlz", Pack(Raw("<a/>\0"))},
                     {"no container.xmlz", "x"},
                     {"no.model", Pack("xyz")},
                     {".xmlz", Pack("<a/>")},
                     {".model", "x"}});
}

TEST(DpkUnbuild, ASmallPackageComesBackToTheByte)
{
    TemporaryFolder folder;
    folder.Write("s/demo.xml", "<a>\n <b/>\n</a>\n<c d=\"tri.model\"/>\n");
    folder.Write("s/tri.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    folder.Write("s/unused.png", "x");
    const DpkRun build = RunDpk(folder, {"build", "s", "-o", "p.dpk", "--small", "--force"});
    EXPECT_NE(build.out.find("unused.png: no document names it"), std::string::npos);
    EXPECT_NE(build.out.find("p.dpk: 2 entries, "), std::string::npos) << build.out << build.err;
    const DpkRun run = RunDpk(folder, {"unbuild", "p.dpk", "-o", "again"});
    EXPECT_EQ(run.out, "again: 2 sources; a build gives the same bytes\n") << run.err;
}

// ---- Names

TEST(DpkUnbuild, NamesThatNoFileCanBearAreEscaped)
{
    const std::vector<PackageEntry> entries = {
        {"a/b.png", "1"},        {"..", "2"},     {".", "3"},        {".hidden", "4"},
        {"100%.png", "5"},       {"x\ny", "6"},   {"\xFF.png", "7"}, {"#1", "8"},
        {"piece.py", "9"},       {"A.DPK", "10"}, {"copy~", "11"},   {"raw.xml", "12"},
        {"dpk-order.txt", "13"}, {"ö.png", "14"}, {"-o", "15"}};
    ExpectSameBytes(entries);
    TemporaryFolder folder;
    folder.Write("p.dpk", MakePackage(entries));
    RunDpk(folder, {"unbuild", "p.dpk", "-o", "s"});
    EXPECT_EQ(folder.Read("s/a%2Fb.png"), "1");
    EXPECT_EQ(folder.Read("s/%2Ehidden"), "4");
    EXPECT_EQ(folder.Read("s/100%25.png"), "5");
    EXPECT_EQ(folder.Read("s/piece%2Epy"), "9");
    EXPECT_EQ(folder.Read("s/dpk-order%2Etxt"), "13");
    EXPECT_EQ(folder.Read("s/\xC3\xB6.png"), "14");
}

TEST(DpkUnbuild, TwoEntriesNeverShareAFile)
{
    ExpectSameBytes({{"a.xmlz", Pack("<a/>")},
                     {"a.xml", "2"},
                     {"a%2Exml", "3"},
                     {"a.ply", "4"},
                     {"a.model", "5"}});
}

// ---- The same records

TEST(DpkUnbuild, OtherContainersArePackedAnew)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", MakePackage({{"demo.xmlz", PackLoosely("<a> <b/></a>")}, {"x", "y"}}));
    const DpkRun run = RunDpk(folder, {"unbuild", "p.dpk", "-o", "s"});
    EXPECT_EQ(run.out, "s: 2 sources; a build gives the same records, packed anew: demo.xmlz\n");
    EXPECT_EQ(folder.Read("s/demo.xml"), "<a>\n  <b/>\n</a>");
    EXPECT_EQ(RecordsOf(folder, Build(folder, "s")), RecordsOf(folder, folder.Read("p.dpk")));
}

TEST(DpkUnbuild, EntriesThatNobodyFindsAreToldAndLeftOut)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", MakePackage({{"a", "1"}, {"b", "2"}, {"a", "3"}}));
    const DpkRun run = RunDpk(folder, {"unbuild", "p.dpk", "-o", "s"});
    EXPECT_EQ(run.out, "\"a\" is left out: no reader finds it after the first of its name\n"
                       "s: 2 sources; a build gives the same records\n");
    EXPECT_EQ(Build(folder, "s"), MakePackage({{"a", "1"}, {"b", "2"}}));
}

/// Both ways: a random piece is taken apart and built to the same records, and that package, which
/// dpk has made, is taken apart and built to the same bytes.
static void ExpectPiecesComeBack(uint32_t first, uint32_t last)
{
    for (uint32_t seed = first; seed <= last; ++seed)
    {
        TemporaryFolder folder;
        Random random = {seed};
        const std::string package = MakeRandomPiece(&random).package;
        folder.Write("p.dpk", package);
        ASSERT_TRUE(
            UnbuildPackage(folder.path + "/p.dpk", folder.path + "/s", UnbuildForm::kDocuments))
            << seed;
        const std::string built = Build(folder, "s");
        ASSERT_TRUE(RecordsOf(folder, built) == RecordsOf(folder, package)) << seed;

        folder.Write("q.dpk", built);
        ASSERT_TRUE(
            UnbuildPackage(folder.path + "/q.dpk", folder.path + "/t", UnbuildForm::kDocuments))
            << seed;
        ASSERT_TRUE(Build(folder, "t") == built) << seed;
    }
}

/// Fifty pieces a test.
struct DpkUnbuildPieces : testing::TestWithParam<uint32_t>
{
};

TEST_P(DpkUnbuildPieces, ComeBack)
{
    ExpectPiecesComeBack(50 * GetParam() + 1, 50 * GetParam() + 50);
}

INSTANTIATE_TEST_SUITE_P(Random, DpkUnbuildPieces, testing::Range(0U, 10U));

// ---- Refusals and the order file

TEST(DpkUnbuild, AFolderWithFilesIsRefused)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", MakePackage({}));
    folder.Write("s/.old", "");
    const DpkRun run = RunDpk(folder, {"unbuild", "p.dpk", "-o", "s"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "dpk: s: it is not empty, and what lies there would be packed too\n");
    EXPECT_EQ(RunDpk(folder, {"unbuild", "none.dpk", "-o", "t"}).exitCode, 1);
    EXPECT_EQ(RunDpk(folder, {"unbuild", "p.dpk"}).exitCode, 2);
}

TEST(DpkBuild, PutsNewFilesAfterThoseOfTheOrder)
{
    TemporaryFolder folder;
    folder.Write("s/dpk-order.txt", "# note\nz\tz.png\tplain\n\nname\ta.xml\tdocument bare\r\n");
    folder.Write("s/z.png", "1");
    folder.Write("s/a.xml", "<a>\n<b/></a>");
    folder.Write("s/b.png", "2");
    EXPECT_EQ(Build(folder, "s"),
              MakePackage({{"z", "1"}, {"name", Pack("<a><b/></a>")}, {"b.png", "2"}}));
}

TEST(DpkBuild, RefusesAnOrderThatMakesNoSense)
{
    const std::map<std::string, std::string> cases = {
        {"a\ta\n", "not entry, file and form with a tab between them"},
        {"a\t../a\tplain\n", "no name of a file of this folder"},
        {"a\t\tplain\n", "no name of a file of this folder"},
        {"%4\ta\tplain\n", "\"%\" in a name begins no %XX"},
        {"%00\ta\tplain\n", "\"%\" in a name begins no %XX"},
        {"a\ta\tplain small\n", "no such form"},
        {"a\ta\tmesh bare\n", "no such form"},
        {"a\ta\timage\n", "no such form"},
        {"a\ta\tplain\nb\ta\tplain\n", "its entry or its file stands in a line before"},
    };
    for (const auto& [text, fault] : cases)
    {
        TemporaryFolder folder;
        folder.Write("s/a", "");
        folder.Write("s/dpk-order.txt", text);
        const DpkRun run = RunDpk(folder, {"build", "s"});
        EXPECT_EQ(run.exitCode, 1);
        const size_t line = std::count(text.begin(), text.end(), '\n');
        EXPECT_EQ(run.err, "dpk: s/dpk-order.txt:" + std::to_string(line) + ": " + fault + "\n");
    }
}

TEST(DpkBuild, NamesAFileOfTheOrderThatIsMissing)
{
    TemporaryFolder folder;
    folder.Write("s/dpk-order.txt", "a\tgone.png\tplain\n");
    EXPECT_EQ(
        RunDpk(folder, {"build", "s"}).err,
        "dpk: s/dpk-order.txt: it names \"gone.png\", which is not there; take its line out\n");
}
