// SPDX-License-Identifier: MIT
#include <algorithm>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/package_builder.h"
#include "tools/container.h"
#include "tools/dpk_run.h"

static const std::string kTriangle =
    "v 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0.25\nvn 0 0 1\nf 1/1/1 2/1/1 3/1/1\n";
static const std::string kTriangleLine =
    "vertices 3, triangles 1, texture coordinate sets 1, from (0, 0, 0) to (1, 1, 0)\n";
static const std::string kDocument = "<?xml version=\"1.0\"?><a/>";

static std::string Pack(const std::string& text)
{
    Bytes container;
    EXPECT_TRUE(PackContainer(Bytes(text.begin(), text.end()), &container));
    return std::string(container.begin(), container.end());
}

static std::string TriangleModel(float v)
{
    std::string model = MakeModel({{0, 0, 0, 1, 0, 0, 0, 1, 0},
                                   {{0, v, 0, v, 0, v}},
                                   {0, 0, 1, 0, 0, 1, 0, 0, 1},
                                   {0, 1, 2}});
    Bytes data;
    EXPECT_EQ(UnpackContainer(Bytes(model.begin(), model.end()), &data), nullptr);
    return Pack(std::string(data.begin(), data.end()));
}

TEST(DpkBuild, SortsAndConvertsTheSources)
{
    TemporaryFolder folder;
    TemporaryFolder workshops;
    folder.Write("src/loading.xml", kDocument);
    folder.Write("src/sky.png", "picture");
    folder.Write("src/box.obj", kTriangle);
    folder.Write("src/Zed", "capital");
    folder.Write("src/box-2", "minus");

    DpkSurroundings surroundings = kOrdinary;
    surroundings.workshops = workshops.path;
    DpkRun run = RunDpk(folder, {"build", "src", "-o", "p.dpk"}, surroundings);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "");

    // By the bytes of the entries' names: capitals first, "-" before ".".
    std::string package = MakePackage({{"Zed", "capital"},
                                       {"box-2", "minus"},
                                       {"box.model", TriangleModel(0.75f)},
                                       {"loading.xmlz", Pack(kDocument)},
                                       {"sky.png", "picture"}});
    EXPECT_EQ(folder.Read("p.dpk"), package);
    EXPECT_EQ(run.out, "src: there is no demo.xml, so the package is no piece yet\nbox.model: " +
                           kTriangleLine + "p.dpk: 5 entries, " + std::to_string(package.size()) +
                           " bytes\n");
    EXPECT_EQ(FilesIn(folder), "p.dpk src");
    EXPECT_EQ(FilesIn(workshops), "");
    EXPECT_EQ(PermissionsOf(folder, "p.dpk"), 0644u);
}

TEST(DpkBuild, GivesTheSameBytesFromFilesWrittenInAnyOrder)
{
    TemporaryFolder folder;
    const char* names[] = {"c", "a", "b", "d.xml", "e.obj"};
    for (int i = 0; i < 5; ++i)
    {
        std::string name = names[i];
        std::string bytes = i == 3 ? kDocument : i == 4 ? kTriangle : name;
        folder.Write("one/" + name, bytes);
    }
    for (int i = 4; i >= 0; --i)
    {
        std::string name = names[i];
        folder.Write("two/" + name, folder.Read("one/" + name));
    }
    EXPECT_EQ(RunDpk(folder, {"build", "one", "-o", "one.dpk"}).exitCode, 0);
    EXPECT_EQ(RunDpk(folder, {"build", "two/", "-o", "two.dpk"}).exitCode, 0);
    EXPECT_EQ(folder.Read("one.dpk"), folder.Read("two.dpk"));
    EXPECT_EQ(RunDpk(folder, {"list", "one.dpk"}).out.substr(0, 24),
              "a\t235\t1\nb\t236\t1\nc\t237\t1\n");
}

TEST(DpkBuild, LeavesOutWhatIsNoPartOfAPiece)
{
    TemporaryFolder folder;
    const char* names[] = {".hidden", "make.py", "README.md", "box.mtl", "tune.xm",
                           "old.dpk", "notes~",  "MAKE.PY",   "deep/er"};
    for (const char* name : names)
    {
        folder.Write(std::string("src/") + name, "no part");
    }
    folder.Write("src/kept.py.txt", "kept");
    EXPECT_EQ(mkfifo((folder.path + "/src/pipe").c_str(), 0600), 0);
    EXPECT_EQ(symlink("nowhere", (folder.path + "/src/dangling").c_str()), 0);
    EXPECT_EQ(symlink("kept.py.txt", (folder.path + "/src/link").c_str()), 0);

    DpkRun run = RunDpk(folder, {"build", "src", "-o", "p.dpk"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "src: there is no demo.xml, so the package is no piece yet\n"
                       "p.dpk: 2 entries, 123 bytes\n");
    EXPECT_EQ(folder.Read("p.dpk"), MakePackage({{"kept.py.txt", "kept"}, {"link", "kept"}}));
}

TEST(DpkBuild, LeavesOutTheFilesOfThesePatterns)
{
    TemporaryFolder folder;
    for (const char* name : {"a.wip", "b.wip", "c", "d.xml"})
    {
        folder.Write(std::string("src/") + name, "x");
    }
    DpkRun run =
        RunDpk(folder, {"build", "src", "--ignore", "*.wip", "--ignore=[d].*", "-o", "p.dpk"});
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(folder.Read("p.dpk"), MakePackage({{"c", "x"}}));
}

TEST(DpkBuild, ThePackageMayLieAmongTheSources)
{
    TemporaryFolder folder;
    folder.Write("a", "x");
    EXPECT_EQ(RunDpk(folder, {"build", ".", "-o", "piece"}).exitCode, 0);
    EXPECT_EQ(RunDpk(folder, {"build", ".", "-o", "piece"}).exitCode, 0); // over itself
    EXPECT_EQ(folder.Read("piece"), MakePackage({{"a", "x"}}));
}

TEST(DpkBuild, OfAnEmptyFolderIsAnEmptyPackage)
{
    TemporaryFolder folder;
    DpkRun run = RunDpk(folder, {"build", ".", "-o", "p.dpk"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, ".: there is no demo.xml, so the package is no piece yet\n"
                       "p.dpk: 0 entries, 35 bytes\n");
    EXPECT_EQ(folder.Read("p.dpk"), MakePackage({}));
}

TEST(DpkBuild, KeepsTheCoordinatesOfAllMeshesIfAsked)
{
    TemporaryFolder folder;
    folder.Write("src/box.OBJ", kTriangle); // in any case of letters
    DpkRun run = RunDpk(folder, {"build", "src", "-o", "p.dpk", "--keep-v"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(folder.Read("p.dpk"), MakePackage({{"box.model", TriangleModel(0.25f)}}));
}

TEST(DpkBuild, FailsWithTheOldPackageUntouched)
{
    std::string deep;
    for (int i = 0; i < 1001; ++i)
    {
        deep += "<b>";
    }
    const struct
    {
        std::vector<std::pair<const char*, std::string>> sources;
        const char* text;
    } cases[] = {
        {{{"bad.xml", "<?xml version=\"1.0\"?>\n<a>\n<b></a>"}, {"a", "x"}},
         "src/bad.xml:3:4: Error reading end tag."},
        {{{"empty.xml", ""}}, "src/empty.xml:0:0: Error document empty."},
        {{{"deep.xml", "<a/>\n" + deep}},
         "src/deep.xml:2: the text nests deeper than 1000 elements"},
        {{{"box.obj", kTriangle}, {"box.ply", "ply"}},
         "box.obj and box.ply would both become the entry \"box.model\""},
        {{{"a.xml", kDocument}, {"a.xmlz", "x"}},
         "a.xml and a.xmlz would both become the entry \"a.xmlz\""},
        {{{"box.obj", kTriangle}, {"dots.obj", "# a dot, and no face of any kind\nv 0 0 0\np 1\n"}},
         "src/dots.obj: no triangle in it"},
        {{{"a-document-with-a-very-long-name.xml", kDocument}},
         "the name \"a-document-with-a-very-long-name.xmlz\" has 37 bytes; a package holds names "
         "of "
         "32 at most"},
    };
    for (const auto& c : cases)
    {
        TemporaryFolder folder;
        TemporaryFolder workshops;
        folder.Write("p.dpk", "old");
        for (const auto& [name, bytes] : c.sources)
        {
            folder.Write(std::string("src/") + name, bytes);
        }
        DpkSurroundings surroundings = kOrdinary;
        surroundings.workshops = workshops.path;
        DpkRun run = RunDpk(folder, {"build", "--force", "src", "-o", "p.dpk"}, surroundings);
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.err, std::string("dpk: ") + c.text + "\n");
        EXPECT_EQ(folder.Read("p.dpk"), "old");
        EXPECT_EQ(FilesIn(folder), "p.dpk src");
        EXPECT_EQ(FilesIn(workshops), "");
    }
}

TEST(DpkBuild, AFolderOrPlaceThatIsNotThereIsAnError)
{
    TemporaryFolder folder;
    folder.Write("a", "x");
    folder.Write("src/a.xml", kDocument);
    EXPECT_EQ(RunDpk(folder, {"build", "nowhere", "-o", "p.dpk"}).err,
              "dpk: nowhere: No such file or directory\n");
    EXPECT_EQ(RunDpk(folder, {"build", "a", "-o", "p.dpk"}).err, "dpk: a: Not a directory\n");
    EXPECT_EQ(RunDpk(folder, {"build", "src", "-o", "nowhere/p.dpk"}).err,
              "dpk: nowhere/p.dpk: No such file or directory\n");

    EXPECT_EQ(FilesIn(folder), "a src");
}

TEST(DpkBuild, NeedsNoFolderForTemporaryFiles)
{
    TemporaryFolder folder;
    folder.Write("src/a.xml", kDocument);
    DpkSurroundings surroundings = kOrdinary;
    surroundings.workshops = folder.path + "/nowhere";
    EXPECT_EQ(RunDpk(folder, {"build", "src", "-o", "p.dpk"}, surroundings).exitCode, 0);
    EXPECT_EQ(FilesIn(folder), "p.dpk src");
}

/// A demo that names a mesh and an image, and all other files of a folder.
static void WriteNamed(const TemporaryFolder& folder)
{
    folder.Write("src/demo.xml",
                 "<?xml version=\"1.0\"?>\n<a/><b/><c><m filename=\"box.model\"/></c><d/><e/><f/>\n"
                 "<g><b filename=\"sky.tga\"/></g><h/><i/><j/><k><r/></k><music/>\n");
    folder.Write("src/box.obj", kTriangle);
    folder.Write("src/other.obj", kTriangle);
    folder.Write("src/CMakeLists.txt", "build()");
    folder.Write("src/scene.bin", "1234");
    folder.Write("src/piece.txt", "by me");
    std::string grey = std::string("\0\0\3\0\0\0\0\0\0\0\0\0\2\0\2\0\x08\x20", 18) + "abcd";
    folder.Write("src/sky.tga", grey);
}

TEST(DpkBuild, FontsAreLeftOutWithoutAWord)
{
    TemporaryFolder folder;
    WriteNamed(folder);
    folder.Write("src/letters.ttf", "font");
    folder.Write("src/LETTERS.OTF", "font");
    const DpkRun run = RunDpk(folder, {"build", "--force", "src", "-o", "p.dpk"});
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out.find("letters.ttf"), std::string::npos) << run.out;
    EXPECT_EQ(run.out.find("LETTERS.OTF"), std::string::npos) << run.out;
    EXPECT_EQ(RunDpk(folder, {"list", "p.dpk"}).out.find("letters.ttf"), std::string::npos);
    RunDpk(folder, {"build", "--force", "--also=*.ttf", "src", "-o", "p.dpk"});
    EXPECT_NE(RunDpk(folder, {"list", "p.dpk"}).out.find("letters.ttf"), std::string::npos);
}

TEST(DpkBuild, StrangersAreLeftOutOrRefused)
{
    TemporaryFolder folder;
    WriteNamed(folder);
    const DpkRun run = RunDpk(folder, {"build", "--force", "src", "-o", "p.dpk"});
    EXPECT_EQ(run.err, "");
    for (const char* name : {"CMakeLists.txt", "other.obj", "scene.bin"})
    {
        EXPECT_NE(run.out.find(std::string(name) + ": no document names it, so it is left out\n"),
                  std::string::npos)
            << run.out;
    }
    const std::string list = RunDpk(folder, {"list", "p.dpk"}).out;
    EXPECT_EQ(std::count(list.begin(), list.end(), '\n'), 4) << list;

    const DpkRun strict = RunDpk(folder, {"build", "--strict", "src", "-o", "q.dpk"});
    EXPECT_EQ(strict.exitCode, 1);
    EXPECT_EQ(strict.err.find("dpk: src/CMakeLists.txt: no document names it; --ignore leaves it "
                              "out, --also takes it\n"),
              0u)
        << strict.err;
    EXPECT_EQ(FilesIn(folder), "p.dpk src");
    EXPECT_EQ(RunDpk(folder, {"build", "-q", "--force", "--strict", "--ignore=*.txt",
                              "--also=*.bin", "--also=o*", "src", "-o", "q.dpk"})
                  .err,
              "");
    EXPECT_NE(RunDpk(folder, {"list", "q.dpk"}).out.find("other.model\t"), std::string::npos);
}

TEST(DpkBuild, AFileOfAMistypedNameIsTheCure)
{
    TemporaryFolder folder;
    WriteNamed(folder);
    folder.Write("src/bpx.obj", folder.Read("src/box.obj"));
    EXPECT_EQ(remove((folder.path + "/src/box.obj").c_str()), 0);
    const DpkRun run = RunDpk(folder, {"build", "src", "-o", "p.dpk"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out.find("bpx.obj: no document names it"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("cure: there is an entry \"bpx.model\"\n"), std::string::npos)
        << run.out;
}

TEST(DpkBuild, GreyImagesGetColors)
{
    TemporaryFolder folder;
    WriteNamed(folder);
    const DpkRun run = RunDpk(folder, {"build", "--force", "src", "-o", "p.dpk"});
    EXPECT_NE(run.out.find("sky.tga: a grey image, stored as RGB\n"), std::string::npos) << run.out;
    EXPECT_EQ(RunDpk(folder, {"extract", "p.dpk", "sky.tga", "-o", "-"}).out.substr(1, 3), "PNG");
    EXPECT_EQ(RunDpk(folder, {"check", "--only", "grey-bitmap", "p.dpk"}).out, "valid\n");
}

TEST(DpkBuild, SingleMeshesHaveOptionsOfTheirOwn)
{
    TemporaryFolder folder;
    folder.Write("src/a.obj", kTriangle);
    folder.Write("src/b.obj", kTriangle);
    folder.Write("src/models.txt",
                 "# twice as large\n*.obj scale=2\n\nb.obj scale=3 center # here\n");
    const DpkRun run = RunDpk(folder, {"build", "src", "-o", "p.dpk"});
    EXPECT_EQ(run.err, "");
    EXPECT_NE(run.out.find("a.model: vertices 3, triangles 1, texture coordinate sets 1, from (0, "
                           "0, 0) to (2, 2, 0)\n"),
              std::string::npos)
        << run.out;
    EXPECT_NE(run.out.find("from (-1.5, -1.5, 0) to (1.5, 1.5, 0)\n"), std::string::npos)
        << run.out;
    folder.Write("src/models.txt", "*.obj flip-v cache-order\nb.obj keep-v\n");
    EXPECT_EQ(RunDpk(folder, {"build", "-q", "src", "-o", "p.dpk"}).err, "");
    EXPECT_EQ(folder.Read("p.dpk"),
              MakePackage({{"a.model", TriangleModel(0.75f)}, {"b.model", TriangleModel(0.25f)}}));
    folder.Write("src/models.txt", "a.obj\nb.obj scale=big\n");
    EXPECT_EQ(RunDpk(folder, {"build", "src", "-o", "p.dpk"}).err,
              "dpk: src/models.txt:2: \"scale=big\" is none of up=y, up=z, scale=FACTOR, center, "
              "smooth=DEGREES, flip-v, keep-v, cache-order\n");
}

TEST(DpkBuild, TellsNothingOrMuchIfAsked)
{
    TemporaryFolder folder;
    folder.Write("src/a", "data");
    EXPECT_EQ(RunDpk(folder, {"build", "-q", "src", "-o", "p.dpk"}).out, "");
    EXPECT_EQ(RunDpk(folder, {"build", "-v", "src", "-o", "p.dpk"}).out,
              "src: there is no demo.xml, so the package is no piece yet\n"
              "a: of a, 4 bytes\np.dpk: 1 entry, 79 bytes\n");
}
