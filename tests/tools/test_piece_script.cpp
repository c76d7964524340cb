// SPDX-License-Identifier: MIT
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

#include "tools/dpk_run.h"

static const char* const kPiece = R"(from quorvale import FLAT, Document, Scene, recipes, waters
scene = Scene()
scene.add(waters.centerwave_water(), recipes.color())
demo = Document()
demo.row(0).show(scene, FLAT, 0, 200)
demo.write("demo.xml")
demo.write("loading.xml")
)";

TEST(NewCommand, MakesAPieceThatBuilds)
{
    TemporaryFolder folder;
    DpkRun run = RunDpk(folder, {"new", "mine"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, "mine/piece.py: a piece to change; now: dpk build mine\n");

    run = RunDpk(folder, {"build", "mine"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_NE(run.out.find("mine/mine.dpk: 5 entries, "), std::string::npos) << run.out;
    EXPECT_TRUE(run.out.ends_with("send mine/mine.dpk with tune.xm beside it; play it by: "
                                  "quorvale-play mine/mine.dpk\n"))
        << run.out;
    run = RunDpk(folder, {"list", "mine/mine.dpk"});
    for (const char* name :
         {"demo.xmlz", "loading.xmlz", "ball.model", "ring.model", "screen.model"})
    {
        EXPECT_NE(run.out.find(name), std::string::npos) << name;
    }
    EXPECT_FALSE(folder.Read("mine/tune.xm").empty());
}

TEST(BuildCommand, WithoutPythonAPieceInPythonIsNotBuilt)
{
    TemporaryFolder folder;
    folder.Write("mine/piece.py", "x = 1\n");
    const std::string path = getenv("PATH");
    setenv("PATH", folder.path.c_str(), 1);
    const DpkRun run = RunDpk(folder, {"build", "mine"});
    setenv("PATH", path.c_str(), 1);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "dpk: python3, which runs pieces, can't be started: No such file or "
                       "directory\n");
}

TEST(NewCommand, LeavesAPieceThatIsThereAlone)
{
    TemporaryFolder folder;
    RunDpk(folder, {"new", "mine"});
    folder.Write("mine/piece.py", "# mine\n");
    const DpkRun run = RunDpk(folder, {"new", "mine"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err,
              "dpk: \"mine/piece.py\" is there already: build it by dpk build mine, or give "
              "another name\n");
    EXPECT_EQ(folder.Read("mine/piece.py"), "# mine\n");
}

TEST(NewCommand, TellsOfAFileInTheFoldersPlace)
{
    TemporaryFolder folder;
    folder.Write("mine", "text");
    const DpkRun run = RunDpk(folder, {"new", "mine"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "dpk: \"mine\" is a file: give another name\n");
    EXPECT_EQ(folder.Read("mine"), "text");
}

TEST(BuildOfAScript, RunsItInItsFolderFirst)
{
    TemporaryFolder folder;
    RunDpk(folder, {"new", "mine"});
    folder.Write("mine/piece.py", kPiece);
    DpkRun run = RunDpk(folder, {"build", "mine", "-o", "other.dpk"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    run = RunDpk(folder, {"list", "other.dpk"});
    EXPECT_NE(run.out.find("demo.xmlz"), std::string::npos);
    EXPECT_EQ(run.out.find("origins"), std::string::npos);
}

TEST(BuildOfAScript, RunsNothingWhereItsPackageHasNoPlace)
{
    TemporaryFolder folder;
    folder.Write("mine/piece.py", "open('ran', 'w')\n");
    folder.Write("mine.txt", "text");
    const DpkRun run = RunDpk(folder, {"build", "mine", "-o", "mine.txt"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "dpk: mine.txt: it exists and is no package; --force writes over it\n");
    EXPECT_EQ(FilesIn(folder).find("ran"), std::string::npos);
}

TEST(BuildOfAScript, ShowsTheAuthorsOwnLinesOfAnError)
{
    TemporaryFolder folder;
    RunDpk(folder, {"new", "mine"});
    folder.Write("mine/piece.py", "from quorvale import layers\n\n"
                                  "def stone():\n    return layers.maze(size=12)\n\nstone()\n");
    const DpkRun run = RunDpk(folder, {"build", "mine"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err,
              "mine/piece.py:4: ValueError: maze(): the size of the cells is 1 to 7, not 12\n"
              "  File \"mine/piece.py\", line 6, in <module>\n    stone()\n"
              "  File \"mine/piece.py\", line 4, in stone\n    return layers.maze(size=12)\n"
              "           ^^^^^^^^^^^^^^^^^^^^\n"
              "dpk: \"mine/piece.py\" ended with code 1; nothing is packed\n");
    EXPECT_EQ(FilesIn(folder).find("mine.dpk"), std::string::npos);
}

TEST(BuildOfAScript, LeadsWithTheLineThatCantBeParsed)
{
    TemporaryFolder folder;
    folder.Write("mine/piece.py", "import shapes\n");
    folder.Write("mine/shapes.py", "\ndef f(:\n");
    const DpkRun run = RunDpk(folder, {"build", "mine"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "mine/shapes.py:2: SyntaxError: invalid syntax\n"
                       "    def f(:\n          ^\n"
                       "  File \"mine/piece.py\", line 1, in <module>\n    import shapes\n"
                       "dpk: \"mine/piece.py\" ended with code 1; nothing is packed\n");
}

TEST(BuildOfAScript, LeadsWithTheLineOfAFaultFoundAtTheEnd)
{
    TemporaryFolder folder;
    folder.Write("mine/piece.py", "from quorvale import FLAT, Document\n\ndemo = Document()\n"
                                  "demo.row(0).show(None, FLAT, 0, 50)\n"
                                  "demo.row(0).show(None, FLAT, 60, 90)\n"
                                  "demo.write('demo.xml')\n");
    const DpkRun run = RunDpk(folder, {"build", "mine"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "mine/piece.py:5: ValueError: the clip from 60 to 90 lies inside one "
                       "second, and the row's clip before it ends at 50: the engine would not find "
                       "it\n"
                       "  File \"mine/piece.py\", line 6, in <module>\n"
                       "    demo.write('demo.xml')\n"
                       "dpk: \"mine/piece.py\" ended with code 1; nothing is packed\n");
}

TEST(BuildOfAScript, PrintsTheTextThatItExitsWith)
{
    TemporaryFolder folder;
    folder.Write("mine/piece.py", "raise SystemExit('no font')\n");
    const DpkRun run = RunDpk(folder, {"build", "mine"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "no font\ndpk: \"mine/piece.py\" ended with code 1; nothing is packed\n");
}

TEST(BuildOfAScript, TellsFindingsWithTheAuthorsLines)
{
    TemporaryFolder folder;
    folder.Write("mine/shapes.py", "from quorvale import Model\n\n\ndef ship():\n"
                                   "    return Model('ship.obj')\n");
    folder.Write("mine/piece.py", "from quorvale import FLAT, Document, Scene, recipes\n"
                                  "from quorvale.loading import loading_bar\n"
                                  "from shapes import ship\n"
                                  "scene = Scene(name='sea')\n"
                                  "scene.add(ship(), recipes.color())\n"
                                  "demo = Document()\n"
                                  "demo.row(0).show(scene, FLAT, 0, 200)\n"
                                  "demo.write('demo.xml')\n"
                                  "loading_bar().write('loading.xml')\n");
    DpkRun run = RunDpk(folder, {"build", "mine"});
    EXPECT_EQ(run.exitCode, 1);
    const std::string told = "mine/shapes.py:5: error: model 1: the package has no model "
                             "\"ship.model\" [missing-entry]\n"
                             "    called from mine/piece.py:5\n"
                             "    written to mine/demo.xml:5:3\n"
                             "    <model filename=\"ship.model\"/>\n"
                             "    ^\n"
                             "    cure: put a file \"ship.obj\" into the folder that is built, "
                             "beside demo.xml, or let piece.py make it: "
                             "Mesh().write(\"ship.obj\")\n";
    EXPECT_EQ(run.out, told);

    run = RunDpk(folder, {"check", "mine", "--only", "missing-entry"});
    EXPECT_EQ(run.out, told + "not valid: 1 error, 0 warnings\n");
    run = RunDpk(folder, {"check", "mine", "--only", "missing-entry", "--json"});
    EXPECT_NE(run.out.find("\"author\":[{\"file\":\"mine/shapes.py\",\"line\":5},"
                           "{\"file\":\"mine/piece.py\",\"line\":5}],\"text\":"),
              std::string::npos)
        << run.out;

    // A document that was changed by hand has no lines of a program any more.
    folder.Write("mine/demo.xml", folder.Read("mine/demo.xml") + "\n");
    run = RunDpk(folder, {"check", "mine", "--only", "missing-entry"});
    EXPECT_EQ(run.out.substr(0, 20), "mine/demo.xml:5:3: e");
}

TEST(BuildOfAScript, TellsAMissingModuleAtTheDocumentsLine)
{
    TemporaryFolder folder;
    folder.Write("mine/piece.py", "from quorvale import FLAT, Document, Scene, recipes, waters\n"
                                  "scene = Scene()\n"
                                  "scene.add(waters.centerwave_water(), recipes.color())\n"
                                  "demo = Document('gone.xm')\n"
                                  "demo.row(0).show(scene, FLAT, 0, 200)\n"
                                  "demo.write('demo.xml')\n"
                                  "demo.write('loading.xml')\n");
    const DpkRun run = RunDpk(folder, {"build", "mine"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_NE(
        run.out.find("mine/piece.py:4: warning: there is no module \"gone.xm\": the piece plays "
                     "without sound [missing-music]\n    written to mine/demo.xml:"),
        std::string::npos)
        << run.out;
}

TEST(BuildOfAScript, KeepsTheOldPackageWhenTheScriptFails)
{
    TemporaryFolder folder;
    RunDpk(folder, {"new", "mine"});
    folder.Write("mine/piece.py", "raise SystemExit(3)\n");
    RunDpk(folder, {"create", "old.dpk", "mine/piece.py"});
    const std::string old = folder.Read("old.dpk");
    const DpkRun run = RunDpk(folder, {"build", "mine", "-o", "old.dpk"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "dpk: \"mine/piece.py\" ended with code 3; nothing is packed\n");
    EXPECT_FALSE(old.empty());
    EXPECT_EQ(folder.Read("old.dpk"), old);
}

TEST(BuildOfAScript, NamesThePackageAfterItsFolder)
{
    TemporaryFolder folder;
    RunDpk(folder, {"new", "deep/down"});
    folder.Write("deep/down/piece.py", kPiece);
    const DpkRun run = RunDpk(folder, {"build", "deep/down/"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_FALSE(folder.Read("deep/down/down.dpk").empty());
}
