// SPDX-License-Identifier: MIT

// The commands that tell what a package is: info, diff, rows, size, inspect.
#include <cstdlib>
#include <gtest/gtest.h>
#include <zlib.h>

#include "support/package_builder.h"
#include "tools/base64_text.h"
#include "tools/checksum.h"
#include "tools/container.h"
#include "tools/deflate_cost.h"
#include "tools/dpk_run.h"
#include "tools/treemap.h"

static DocumentSource SmallDocument()
{
    DocumentSource source;
    source.sections[3] =
        "<envelope name=\"rise\" type=\"0\" loop_type=\"0\" loop_begin=\"0\" "
        "loop_end=\"0\"><piece type=\"1\" length=\"100\"><p>0.5</p><p>2</p></piece>"
        "</envelope>";
    source.sections[7] =
        "<material type=\"0\" name=\"red\"><p type=\"static\" value=\"1\"/><p type=\"static\" "
        "value=\"0\"/><p type=\"dynamic\" value=\"1\"/><p type=\"static\" value=\"1\"/></material>";
    source.sections[9] = "<scene/>";
    source.sections[10] =
        "<row><clip id=\"1\" space_before=\"50\" length=\"500\" offset=\"0\" type=\"0\">"
        "<x type=\"static\" value=\"0\"/><y type=\"static\" value=\"0\"/>"
        "<z type=\"static\" value=\"0\"/><rx type=\"static\" value=\"0\"/>"
        "<ry type=\"static\" value=\"0\"/><rz type=\"static\" value=\"0\"/>"
        "<fov type=\"static\" value=\"60\"/><fog type=\"0\"/></clip></row>";
    source.music = "<music file=\"tune.xm\"/>";
    return source;
}

static std::string Package(const DocumentSource& demo, const std::vector<PackageEntry>& more)
{
    std::vector<PackageEntry> entries = {{"demo.xmlz", MakeDocument(demo)}};
    entries.insert(entries.end(), more.begin(), more.end());
    return MakePackage(entries);
}

static void ExpectIn(const std::string& text, const std::string& part)
{
    EXPECT_NE(text.find(part), std::string::npos) << part << "\nis not in\n" << text;
}

static std::string Replaced(std::string text, const std::string& old, const std::string& now)
{
    EXPECT_NE(text.find(old), std::string::npos);
    return text.replace(text.find(old), old.size(), now);
}

// ---- Checksums

static std::string SumOf(const std::string& text)
{
    return Sha256(Bytes(text.begin(), text.end()));
}

TEST(Checksum, IsThatOfTheStandardsExamples)
{
    EXPECT_EQ(SumOf(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(SumOf("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(SumOf("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    EXPECT_EQ(SumOf(std::string(1000000, 'a')),
              "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

// ---- info

TEST(DpkInfo, TellsLengthItemsKindsAndMusic)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", Package(SmallDocument(), {{"piece.txt", "Title: Blue: two\nno line\n"
                                                                  " author :  Ann\r\n"}}));
    const DpkRun run = RunDpk(folder, {"info", "p.dpk"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    ExpectIn(run.out, "  title            Blue: two\n");
    ExpectIn(run.out, "  author           Ann\n");
    ExpectIn(run.out, "  ticks            550\n");
    ExpectIn(run.out, "  length           0:05.50\n");
    ExpectIn(run.out, "  materials        1\n");
    ExpectIn(run.out, "  functions        linear\n");
    ExpectIn(run.out, "  recipes          color\n");
    ExpectIn(run.out, "  file             tune.xm\n  there            false\n");
    EXPECT_EQ(run.out.find("no line"), std::string::npos);
}

TEST(DpkInfo, TellsTheModuleBesideThePackage)
{
    TemporaryFolder folder;
    std::string module = "Extended Module: ";
    module.resize(76, '\0');
    module += Raw("\x06\x00\x7D\x00");
    folder.Write("p.dpk", Package(SmallDocument(), {}));
    folder.Write("music/tune.xm", module);
    const DpkRun run = RunDpk(folder, {"info", "p.dpk", "--json"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    ExpectIn(run.out, "\"there\": true,\n");
    ExpectIn(run.out, "\"speed\": 6,\n");
    ExpectIn(run.out, "\"tempo\": 125");
    ExpectIn(run.out, "\"sha256\": \"" + SumOf(module) + "\"");
    ExpectIn(run.out, "\"recipes\": [\"color\"]");
}

TEST(DpkInfo, TellsWhatItCanOfAPieceWithFaults)
{
    TemporaryFolder folder;
    DocumentSource demo = SmallDocument();
    demo.sections[2] = "<model filename=\"gone.model\"/>";
    folder.Write("p.dpk", Package(demo, {}));
    const DpkRun run = RunDpk(folder, {"info", "p.dpk"});
    EXPECT_EQ(run.exitCode, 1);
    ExpectIn(run.out, "  models           1\n");
    ExpectIn(run.err, "gone.model");
    EXPECT_EQ(RunDpk(folder, {"info", "none"}).exitCode, 1);
}

// ---- diff

static DpkRun Diff(const std::string& a, const std::string& b)
{
    TemporaryFolder folder;
    folder.Write("a.dpk", a);
    folder.Write("b.dpk", b);
    return RunDpk(folder, {"diff", "a.dpk", "b.dpk"});
}

TEST(Base64, IsPaddedToFourLetters)
{
    EXPECT_EQ(Base64({}), "");
    EXPECT_EQ(Base64({'M'}), "TQ==");
    EXPECT_EQ(Base64({'M', 'a'}), "TWE=");
    EXPECT_EQ(Base64({'M', 'a', 'n'}), "TWFu");
    EXPECT_EQ(Base64({0xFB, 0xFF, 0xFE, 0}), "+//+AA==");
}

TEST(DpkDiff, PackagesThatSayTheSameAreTheSame)
{
    DocumentSource spaced = SmallDocument();
    spaced.sections[7] = "\n  " + Replaced(spaced.sections[7], "><p", ">\n <p");
    const DpkRun run = Diff(Package(SmallDocument(), {}), Package(spaced, {}));
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "");
}

TEST(DpkDiff, TellsValuesByItemAndPart)
{
    DocumentSource other = SmallDocument();
    other.sections[3] = Replaced(other.sections[3], "<p>0.5</p>", "<p>0.75</p>");
    other.sections[7] = Replaced(other.sections[7], "value=\"0\"", "value=\"0.5\"");
    other.sections[10] = Replaced(other.sections[10], "length=\"500\"", "length=\"600\"");
    other.music = "<music file=\"other.xm\"/>";
    const DpkRun run = Diff(Package(SmallDocument(), {}), Package(other, {}));
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "demo.xmlz, envelope 1 \"rise\", piece, p 1, text: \"0.5\" is now \"0.75\"\n"
                       "demo.xmlz, material 1 \"red\", p 2: value \"0\" is now \"0.5\"\n"
                       "demo.xmlz, row 0, clip: length \"500\" is now \"600\"\n"
                       "demo.xmlz, music: file \"tune.xm\" is now \"other.xm\"\n");
}

TEST(DpkDiff, TellsAttributesInAnotherOrder)
{
    DocumentSource other = SmallDocument();
    other.sections[7] =
        Replaced(other.sections[7], "type=\"static\" value=\"0\"", "value=\"0\" type=\"static\"");
    const DpkRun run = Diff(Package(SmallDocument(), {}), Package(other, {}));
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "demo.xmlz, material 1 \"red\", p 2: attributes stand in another order\n");
}

TEST(DpkDiff, FindsItemsByTheirNames)
{
    DocumentSource other = SmallDocument();
    other.sections[7] = "<material type=\"19\" name=\"new\"><p type=\"static\" value=\"1\"/>"
                        "</material>" +
                        Replaced(other.sections[7], "type=\"0\"", "type=\"1\"");
    const DpkRun run = Diff(Package(SmallDocument(), {}), Package(other, {}));
    EXPECT_EQ(run.out, "demo.xmlz, material 1 \"red\": is now material 2 \"red\"\n"
                       "demo.xmlz, material 1 \"red\": type \"0\" is now \"1\"\n"
                       "demo.xmlz, material 1 \"new\": new: <material type=\"19\" name=\"new\">"
                       "<p type=\"static\" value=\"1\" /></material>\n");
}

TEST(DpkDiff, TellsEntries)
{
    const ModelSource triangle = {
        {0, 0, 0, 1, 0, 0, 0, 1, 0}, {{0, 0, 0, 0, 0, 0}}, {0, 0, 1, 0, 0, 1, 0, 0, 1}, {0, 1, 2}};
    ModelSource moved = triangle;
    moved.vertices[4] = 2.0f;
    ModelSource more = triangle;
    more.indices = {0, 1, 2, 2, 1, 0};
    const DpkRun run = Diff(MakePackage({{"a.png", "1"},
                                         {"b.png", "2"},
                                         {"m.model", MakeModel(triangle)},
                                         {"n.model", MakeModel(triangle)}}),
                            MakePackage({{"b.png", "33"},
                                         {"c.png", "4"},
                                         {"m.model", MakeModel(moved)},
                                         {"n.model", MakeModel(more)}}));
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "\"a.png\": gone, 1 bytes\n"
                       "\"b.png\": 1 bytes, now 2\n"
                       "\"m.model\": 1 of its numbers differ\n"
                       "\"n.model\": 3 vertices, 1 triangles, 1 sets, now 3 vertices, 2 triangles, "
                       "1 sets\n"
                       "\"c.png\": new, 1 bytes\n");
}

TEST(DpkDiff, APackageThatCantBeReadIsAnError)
{
    TemporaryFolder folder;
    folder.Write("a.dpk", MakePackage({}));
    EXPECT_EQ(RunDpk(folder, {"diff", "a.dpk", "none"}).exitCode, 2);
    EXPECT_EQ(RunDpk(folder, {"diff", "none", "a.dpk"}).exitCode, 2);
}

// ---- rows

TEST(DpkRows, TellsWhenEachRowOfTheSamplePiecePlays)
{
    TemporaryFolder folder;
    const DpkRun run = RunDpk(folder, {"rows", MODULE});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_TRUE(run.out.starts_with("order,pattern,row,ms,tick,speed,tempo\n0,")) << run.out;
    const DpkRun json = RunDpk(folder, {"rows", MODULE, "--json"});
    EXPECT_TRUE(json.out.starts_with("[\n{\"order\": 0, \"pattern\": "));
    EXPECT_TRUE(json.out.ends_with("}\n]\n"));
}

TEST(DpkRows, NoModuleIsAnError)
{
    TemporaryFolder folder;
    folder.Write("x.xm", "no module");
    EXPECT_EQ(RunDpk(folder, {"rows", "x.xm"}).err, "dpk: x.xm: not an Extended Module\n");
    EXPECT_EQ(RunDpk(folder, {"rows", "none"}).err, "dpk: none: No such file or directory\n");
}

// ---- size

/// Bits that MeasureContainer tells for data packed at a level, all of them together.
static double BitsOf(const std::string& data, int level, int strategy, size_t* size)
{
    Bytes container(4 + compressBound(data.size()) + 64);
    z_stream stream = {};
    deflateInit2(&stream, level, Z_DEFLATED, 15, 8, strategy);
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
    stream.avail_in = static_cast<uInt>(data.size());
    stream.next_out = container.data() + 4;
    stream.avail_out = static_cast<uInt>(container.size() - 4);
    deflate(&stream, Z_FINISH);
    container.resize(4 + stream.total_out);
    deflateEnd(&stream);

    std::vector<float> bits;
    EXPECT_TRUE(MeasureContainer(container, &bits));
    EXPECT_EQ(bits.size(), data.size());
    double sum = 0.0;
    for (const float bit : bits)
    {
        sum += static_cast<double>(bit);
    }
    *size = container.size();
    return sum;
}

TEST(DeflateCost, SharesOutAllButTheHeads)
{
    std::string data;
    for (int i = 0; i < 20000; ++i)
    {
        data += static_cast<char>('a' + i * i % 7 + i / 1000);
    }
    for (const int strategy : {Z_DEFAULT_STRATEGY, Z_FIXED, Z_HUFFMAN_ONLY})
    {
        size_t size = 0;
        const double bits = BitsOf(data, 9, strategy, &size);
        EXPECT_LT(bits, 8.0 * static_cast<double>(size));
        EXPECT_GT(bits, 8.0 * static_cast<double>(size) - 8.0 * 400.0);
    }
    size_t size = 0;
    EXPECT_EQ(BitsOf(data, 0, Z_DEFAULT_STRATEGY, &size), 8.0 * 20000.0);
}

TEST(DeflateCost, ADamagedStreamIsTold)
{
    std::vector<float> bits;
    EXPECT_FALSE(MeasureContainer({}, &bits));
    EXPECT_FALSE(MeasureContainer({1, 0, 0, 0, 0x78, 0xDA, 0xFF, 0xFF}, &bits));
    EXPECT_FALSE(MeasureContainer({1, 0, 0, 0, 0x78, 0xDA, 0x4B}, &bits));
}

TEST(DpkSize, SaysOneByteAndTwoBytes)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", Package(SmallDocument(), {{"one.png", "x"}, {"two.png", "xx"}}));
    const DpkRun run = RunDpk(folder, {"size", "p.dpk", "--small"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    ExpectIn(run.out, "unused: \"one.png\", 1 byte\n");
    ExpectIn(run.out, "unused: \"two.png\", 2 bytes\n");
    ExpectIn(run.out, "would go: \"one.png\", 1 byte and 40 of the directory\n");
}

TEST(DpkSize, TellsEntriesItemsAndWhatNothingUses)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", Package(SmallDocument(), {{"unused.png", std::string(5000, 'x')}}));
    const DpkRun run = RunDpk(folder, {"size", "p.dpk", "--svg", "p.svg", "--small"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    ExpectIn(run.out, "   bytes  share   unpacked  entry or record\n    5000 ");
    ExpectIn(run.out, "  demo.xmlz, row 0\n");
    ExpectIn(run.out, "  demo.xmlz, material 1 \"red\"\n");
    ExpectIn(run.out, "unused: \"unused.png\", 5000 bytes\n");
    ExpectIn(run.out, "would shrink: all of them by ");
    const std::string svg = folder.Read("p.svg");
    EXPECT_TRUE(svg.starts_with("<svg "));
    ExpectIn(svg, "<title>unused.png 5000</title>");
    ExpectIn(svg, "<title>material 1 &quot;red&quot; ");
}

TEST(Treemap, AreasAreSharesOfTheWhole)
{
    const std::string svg = DrawTreemap({{"half", 2.0, 0}, {"a", 1.0, 1}, {"b", 1.0, 1}}, 400, 200);
    ExpectIn(svg, "x=\"0.00\" y=\"0.00\" width=\"200.00\" height=\"200.00\"");
    ExpectIn(svg, "x=\"200.00\" y=\"0.00\" width=\"200.00\" height=\"100.00\"");
    ExpectIn(svg, "x=\"200.00\" y=\"100.00\" width=\"200.00\" height=\"100.00\"");
    EXPECT_TRUE(DrawTreemap({}, 10, 10).ends_with("</svg>\n"));
}

TEST(DpkInspect, WithoutADriverThePageHasNoPicturesOfTheStage)
{
    TemporaryFolder folder;
    folder.Write("p.dpk", Package(SmallDocument(), {}));
    setenv("__EGL_VENDOR_LIBRARY_DIRS", "/nonexistent", 1);
    const DpkRun run = RunDpk(folder, {"inspect", "p.dpk", "-o", "page.html"});
    unsetenv("__EGL_VENDOR_LIBRARY_DIRS");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err,
              "dpk: p.dpk: nothing can be drawn, so the page has no pictures of the stage\n");
    const std::string page = folder.Read("page.html");
    EXPECT_EQ(run.out, "page.html: " + std::to_string(page.size()) + " bytes\n");
    EXPECT_NE(page.find("\"board\":[]"), std::string::npos);
    EXPECT_NE(page.find("\"balls\":[]"), std::string::npos);
}

TEST(DpkInspect, FilesThatCantBeReadOrWrittenAreErrors)
{
    TemporaryFolder folder;
    folder.Write("text", "no package");
    DpkRun run = RunDpk(folder, {"inspect", "nowhere.dpk", "-o", "page.html"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "dpk: nowhere.dpk: No such file or directory\n");
    run = RunDpk(folder, {"inspect", "text", "-o", "page.html"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err.rfind("dpk: text: ", 0), 0u) << run.err;
    folder.Write("p.dpk", Package(SmallDocument(), {}));
    setenv("__EGL_VENDOR_LIBRARY_DIRS", "/nonexistent", 1);
    run = RunDpk(folder, {"inspect", "p.dpk", "-o", "no/page.html"});
    unsetenv("__EGL_VENDOR_LIBRARY_DIRS");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.err.find("dpk: no/page.html: No such file or directory\n"), std::string::npos)
        << run.err;
    EXPECT_EQ(FilesIn(folder), "p.dpk text");
}

// ---- Files in the way

TEST(KeepingCommands, WriteOverTheirOwnKindOfFileAlone)
{
    const struct
    {
        std::vector<std::string> arguments; // the file comes last
        const char* kind;
        const char* begin; // of a file of that kind
    } cases[] = {
        {{"inspect", "p.dpk", "-o"}, "HTML page", "\n<!doctype HTML>old"},
        {{"size", "p.dpk", "--svg"}, "SVG picture", "<svg xmlns"},
        {{"thumbnail", "p.dpk"}, "PNG picture", "\x89PNG"},
    };
    setenv("__EGL_VENDOR_LIBRARY_DIRS", "/nonexistent", 1);
    for (const auto& c : cases)
    {
        TemporaryFolder folder;
        const std::string package = Package(SmallDocument(), {});
        folder.Write("p.dpk", package);
        folder.Write("demo.xml", "<?xml version=\"1.0\"?><layers/>");
        for (const char* file : {"p.dpk", "demo.xml"})
        {
            std::vector<std::string> arguments = c.arguments;
            arguments.emplace_back(file);
            const DpkRun run = RunDpk(folder, arguments);
            EXPECT_EQ(run.exitCode, 1) << c.kind;
            EXPECT_EQ(run.err, std::string("dpk: ") + file + ": it exists and is no " + c.kind +
                                   "; --force writes over it\n");
        }
        EXPECT_TRUE(folder.Read("p.dpk") == package);

        folder.Write("old", c.begin);
        std::vector<std::string> arguments = c.arguments;
        arguments.emplace_back("old");
        EXPECT_EQ(RunDpk(folder, arguments).err.find("it exists"), std::string::npos) << c.kind;
        arguments.back() = "demo.xml";
        arguments.emplace_back("--force");
        EXPECT_EQ(RunDpk(folder, arguments).err.find("it exists"), std::string::npos) << c.kind;
    }
    unsetenv("__EGL_VENDOR_LIBRARY_DIRS");
}

TEST(KeepingCommands, FilesThatAreNoPackagesAreErrors)
{
    const std::vector<std::string> commands[] = {
        {"info"}, {"size"}, {"diff", "text"}, {"unbuild", "-o", "out"}, {"inspect", "-o", "out"}};
    TemporaryFolder folder;
    folder.Write("text", "no package");
    for (std::vector<std::string> arguments : commands)
    {
        arguments.emplace_back("nowhere");
        const bool isDiff = arguments[0] == "diff";
        const std::string no = "dpk: text: not a package: shorter than 35 bytes\n";
        DpkRun run = RunDpk(folder, arguments);
        EXPECT_EQ(run.exitCode, isDiff ? 2 : 1) << arguments[0];
        EXPECT_EQ(run.err, isDiff ? no : "dpk: nowhere: No such file or directory\n");
        arguments.back() = "text";
        run = RunDpk(folder, arguments);
        EXPECT_EQ(run.exitCode, isDiff ? 2 : 1) << arguments[0];
        EXPECT_EQ(run.err, no);
        EXPECT_EQ(FilesIn(folder), "text");
    }
}
