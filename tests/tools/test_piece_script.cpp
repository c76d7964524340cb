#include <gtest/gtest.h>

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
    run = RunDpk(folder, {"list", "mine/mine.dpk"});
    for (const char* name :
         {"demo.xmlz", "loading.xmlz", "ring.model", "screen.model", "sky.model"})
    {
        EXPECT_NE(run.out.find(name), std::string::npos) << name;
    }
    EXPECT_FALSE(folder.Read("mine/tune.xm").empty());
}

TEST(NewCommand, LeavesAPieceThatIsThereAlone)
{
    TemporaryFolder folder;
    RunDpk(folder, {"new", "mine"});
    folder.Write("mine/piece.py", "# mine\n");
    const DpkRun run = RunDpk(folder, {"new", "mine"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "\"mine/piece.py\" is there already\n");
    EXPECT_EQ(folder.Read("mine/piece.py"), "# mine\n");
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

TEST(BuildOfAScript, ShowsTheAuthorsOwnLinesOfAnError)
{
    TemporaryFolder folder;
    RunDpk(folder, {"new", "mine"});
    folder.Write("mine/piece.py", "from quorvale import layers\n\n"
                                  "def stone():\n    return layers.maze(size=12)\n\nstone()\n");
    const DpkRun run = RunDpk(folder, {"build", "mine"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "piece.py:4: ValueError: maze(): the size of the cells is 1 to 7, not 12\n"
                       "  File \"piece.py\", line 6, in <module>\n    stone()\n"
                       "  File \"piece.py\", line 4, in stone\n    return layers.maze(size=12)\n"
                       "           ^^^^^^^^^^^^^^^^^^^^\n"
                       "dpk: \"mine/piece.py\" ended with code 1; nothing is packed\n");
    EXPECT_EQ(FilesIn(folder).find("mine.dpk"), std::string::npos);
}

TEST(BuildOfAScript, KeepsTheOldPackageWhenTheScriptFails)
{
    TemporaryFolder folder;
    RunDpk(folder, {"new", "mine"});
    folder.Write("mine/piece.py", "raise SystemExit(3)\n");
    folder.Write("old.dpk", "old");
    const DpkRun run = RunDpk(folder, {"build", "mine", "-o", "old.dpk"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "dpk: \"mine/piece.py\" ended with code 3; nothing is packed\n");
    EXPECT_EQ(folder.Read("old.dpk"), "old");
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
