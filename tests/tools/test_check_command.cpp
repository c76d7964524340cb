// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <string>

#include "dpk_run.h"

static const char kLoading[] = "<?xml version=\"1.0\"?>\n"
                               "<a/><b/><c/><d/><e/><f/><g/><h/><i/><j/>\n"
                               "<k><row/></k>\n"
                               "<music/>\n";

/// A piece of one light and nothing to see, with a mistake in its light or none.
static std::string Demo(const std::string& value)
{
    return "<?xml version=\"1.0\"?>\n"
           "<a/><b/><c/><d/>\n"
           "<e>\n"
           "\t<light name=\"sun\"><a><r type=\"static\" value=\"" +
           value +
           "\"/><g type=\"static\" value=\"0\"/><b type=\"static\" value=\"0\"/></a>"
           "<d><r type=\"static\" value=\"1\"/><g type=\"static\" value=\"1\"/>"
           "<b type=\"static\" value=\"1\"/></d><p><x type=\"static\" value=\"1\"/>"
           "<y type=\"static\" value=\"1\"/><z type=\"static\" value=\"1\"/></p></light>\n"
           "</e><f/><g/><h/><i/><j/>\n"
           "<k><row/></k>\n"
           "<music/>\n";
}

class CheckCommandTest : public testing::Test
{
  protected:
    void WritePiece(const std::string& demo)
    {
        folder.Write("src/loading.xml", kLoading);
        folder.Write("src/demo.xml", demo);
    }

    TemporaryFolder folder;
};

TEST_F(CheckCommandTest, TellsPlaceLineAndCure)
{
    WritePiece(Demo("0,5"));
    const DpkRun run = RunDpk(folder, {"check", "--only", "comma-decimal", "src"});
    EXPECT_EQ(run.out,
              "src/demo.xml:4:43: warning: light 1 \"sun\": \"0,5\" has a comma, and counts "
              "as 0 [comma-decimal]\n"
              "    <light name=\"sun\"><a><r type=\"static\" value=\"0,5\"/><g type=\"static\" "
              "value=\"0\"/><b type=\"static\" valu\n"
              "                                          ^\n"
              "    cure: write a point: 0.5\n"
              "valid: 1 warning\n");
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.exitCode, 0);
}

TEST_F(CheckCommandTest, ExitsByTheVerdict)
{
    WritePiece(Demo("0,5"));
    EXPECT_EQ(RunDpk(folder, {"check", "src"}).exitCode, 0);
    EXPECT_EQ(RunDpk(folder, {"check", "--strict", "src"}).exitCode, 1);
    WritePiece("<?xml version=\"1.0\"?>\n<a/>\n");
    const DpkRun run = RunDpk(folder, {"check", "src"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.out.find("\nnot valid: 1 error, 0 warnings\n"), std::string::npos) << run.out;
}

TEST_F(CheckCommandTest, RefusesWhatItCantReadOrDoesNotKnow)
{
    const DpkRun missing = RunDpk(folder, {"check", "nowhere"});
    EXPECT_EQ(missing.exitCode, 2);
    EXPECT_EQ(missing.err, "dpk: nowhere: No such file or directory\n");
    WritePiece(Demo("0"));
    const DpkRun rule = RunDpk(folder, {"check", "--only", "comma-dezimal", "src"});
    EXPECT_EQ(rule.exitCode, 2);
    EXPECT_EQ(rule.err, "dpk: there is no rule \"comma-dezimal\"; the nearest is comma-decimal\n");
}

TEST_F(CheckCommandTest, PrintsJson)
{
    WritePiece(Demo("0,5"));
    const DpkRun run = RunDpk(folder, {"check", "--json", "--only", "comma-decimal", "src"});
    EXPECT_EQ(run.out,
              "{\"path\":\"src\",\"verdict\":\"valid\",\"errors\":0,\"warnings\":1,\"notes\":0,"
              "\"findings\":[\n"
              "{\"severity\":\"warning\",\"rule\":\"comma-decimal\",\"document\":\"demo.xml\","
              "\"section\":\"lights\",\"item\":1,\"name\":\"sun\",\"line\":4,\"column\":43,"
              "\"text\":\"\\\"0,5\\\" has a comma, and counts as 0\","
              "\"cure\":\"write a point: 0.5\"}]}\n");
}

TEST_F(CheckCommandTest, BuildPacksNoPieceWithErrors)
{
    WritePiece("<?xml version=\"1.0\"?>\n<a/>\n");
    const DpkRun run = RunDpk(folder, {"build", "src", "-o", "p.dpk"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.out.find("[missing-section]"), std::string::npos) << run.out;
    EXPECT_EQ(run.err, "dpk: src: it is not packed; --force packs it as it is\n");
    EXPECT_EQ(FilesIn(folder), "src");
    EXPECT_EQ(RunDpk(folder, {"build", "--force", "src", "-o", "p.dpk"}).exitCode, 0);
    EXPECT_EQ(FilesIn(folder), "p.dpk src");
}

TEST_F(CheckCommandTest, ColorsSeveritiesOnlyIfAsked)
{
    WritePiece(Demo("0,5"));
    const std::vector<std::string> check = {"check", "--only", "comma-decimal", "src"};
    EXPECT_EQ(RunDpk(folder, check).out.find('\x1b'), std::string::npos);
    std::vector<std::string> colored = check;
    colored.insert(colored.end(), {"--color", "always"});
    EXPECT_NE(RunDpk(folder, colored).out.find(": \x1b[1;35mwarning\x1b[0m: light 1"),
              std::string::npos);
    colored.back() = "sometimes";
    EXPECT_EQ(RunDpk(folder, colored).exitCode, 2);
}

TEST_F(CheckCommandTest, SaysNothingIfAsked)
{
    WritePiece("<?xml version=\"1.0\"?>\n<a/>\n");
    const DpkRun run = RunDpk(folder, {"check", "-q", "src"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out + run.err, "");
}

/// A piece of a scene without objects, so many ticks long.
static std::string BlackDemo(int ticks)
{
    std::string demo = "<?xml version=\"1.0\"?>\n<a/><b/><c/><d/><e/><f/><g/><h/><i/><j><s/></j>\n"
                       "<k><row><clip id=\"1\" space_before=\"0\" length=\"" +
                       std::to_string(ticks) + "\" offset=\"0\" type=\"0\">";
    for (const char* name : {"x", "y", "z", "rx", "ry", "rz", "fov"})
    {
        demo += std::string("<") + name + " type=\"static\" value=\"60\"/>";
    }
    return demo + "<fog type=\"0\"/></clip></row></k>\n<music/>\n";
}

TEST_F(CheckCommandTest, ABlackPieceIsToldOfItsPictures)
{
    WritePiece(BlackDemo(300));
    const DpkRun drawn = RunDpk(folder, {"check", "--pictures", "--only", "blank-picture", "src"});
    EXPECT_EQ(drawn.exitCode, 0) << drawn.err;
    EXPECT_EQ(drawn.out,
              "src/demo.xml: warning: section 10 (timeline): the picture is all black from 0.00 to "
              "3.01 s, ticks 0 to 300 [blank-picture]\n"
              "    cure: look at the clips, the lights and the camera at that time\n"
              "valid: 1 warning\n");
    EXPECT_EQ(RunDpk(folder, {"check", "--only", "blank-picture", "src"}).out, "valid\n");

    WritePiece(BlackDemo(199));
    EXPECT_EQ(RunDpk(folder, {"check", "--pictures", "--only", "blank-picture", "src"}).out,
              "valid\n");
}

TEST_F(CheckCommandTest, PicturesOfAPackageAreThoseOfItsFolder)
{
    WritePiece(BlackDemo(300));
    EXPECT_EQ(RunDpk(folder, {"build", "-q", "src", "-o", "p.dpk"}).exitCode, 0);
    const DpkRun run =
        RunDpk(folder, {"check", "--pictures", "--strict", "--only", "blank-picture", "p.dpk"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out.find("p.dpk/demo.xmlz: warning: "), 0u) << run.out;
}
