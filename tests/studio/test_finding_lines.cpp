// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "studio/build/watcher.h"
#include "studio/logic/finding_lines.h"

namespace
{

TEST(FindingLines, StrangersAreNoMistakes)
{
    const std::vector<FindingLine> findings =
        ParseFindings("ball.obj: no document names it, so it is left out\n"
                      "dpk: mine/demo.xml:7:3: Error reading end tag.\n",
                      false);
    ASSERT_EQ(findings.size(), 1u);
    EXPECT_EQ(findings[0].line, 7);
}

TEST(FindingLines, AFindingHasItsPlaceAndItsCure)
{
    const std::vector<FindingLine> found =
        ParseFindings("/a/demo.xml:120:7: error: scene 2 \"hall\": no [dangling-reference]\n"
                      "    <object/>\n"
                      "    ^\n"
                      "    cure: write an id\n"
                      "/a/demo.xml:9:1: warning: unused [unused-item]\n",
                      false);
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0].kind, FindingKind::kError);
    EXPECT_EQ(found[0].path, "/a/demo.xml");
    EXPECT_EQ(found[0].line, 120);
    EXPECT_EQ(found[0].text, "scene 2 \"hall\": no [dangling-reference]");
    EXPECT_EQ(found[0].more, "    <object/>\n    ^\n    cure: write an id\n");
    EXPECT_EQ(found[1].kind, FindingKind::kWarning);
    EXPECT_EQ(found[1].line, 9);
}

TEST(FindingLines, APythonErrorHasALine)
{
    const std::vector<FindingLine> found =
        ParseFindings("piece.py:12: ValueError: width is 0\n"
                      "  File \"piece.py\", line 12, in <module>\n"
                      "dpk: \"mine/piece.py\" ended with code 1; nothing is packed\n",
                      false);
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0].path, "piece.py");
    EXPECT_EQ(found[0].line, 12);
    EXPECT_EQ(found[0].kind, FindingKind::kError);
    EXPECT_EQ(found[1].kind, FindingKind::kError);
    EXPECT_EQ(found[1].line, 0);
}

TEST(FindingLines, StepsOfABuildThatFailsAreNoMistakes)
{
    const std::vector<FindingLine> found =
        ParseFindings("gear.model: vertices 3840, triangles 1920\n"
                      "/a/demo.xml:7:3: error: scene 99 does not exist [dangling-reference]\n"
                      "    <clip/>\n",
                      false);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].line, 7);
    EXPECT_EQ(found[0].more, "    <clip/>\n");
    const char* alone = "/a: warning: unused [unused-item]\nmine: there is no demo.xml in it\n";
    EXPECT_EQ(ParseFindings(alone, false).size(), 2u);
}

TEST(FindingLines, ADocumentThatDoesNotParseHasAPlace)
{
    const std::vector<FindingLine> found =
        ParseFindings("dpk: mine/demo.xml:7:3: Error reading end tag.\n", false);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].path, "mine/demo.xml");
    EXPECT_EQ(found[0].line, 7);
    EXPECT_EQ(found[0].text, "Error reading end tag.");
}

TEST(FindingLines, ALineOfDpkItselfIsAnError)
{
    const std::vector<FindingLine> found = ParseFindings("dpk: mine: Permission denied\n", true);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].kind, FindingKind::kError);
    EXPECT_EQ(found[0].text, "mine: Permission denied");
}

TEST(FindingLines, APlaceCanBeAPathAlone)
{
    const std::vector<FindingLine> found =
        ParseFindings("/a: warning: the music \"x.xm\" is not there [missing-music]\n", true);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].kind, FindingKind::kWarning);
    EXPECT_EQ(found[0].path, "/a");
    EXPECT_EQ(found[0].line, 0);
}

TEST(FindingLines, RemarksOfAGoodBuildAreLeftOut)
{
    EXPECT_TRUE(ParseFindings("knot.model: vertices 246, triangles 190\n", true).empty());
    EXPECT_TRUE(ParseFindings("", false).empty());
}

TEST(EditorWords, NameFileAndLine)
{
    EXPECT_EQ(EditorWords("code -g %f:%l", "/a b/c.py", 12),
              (std::vector<std::string>{"code", "-g", "/a b/c.py:12"}));
    EXPECT_EQ(EditorWords("gvim", "/c.py", 3), (std::vector<std::string>{"gvim", "+3", "/c.py"}));
    EXPECT_EQ(EditorWords("'my editor' \"a b\"", "/c.py", 3),
              (std::vector<std::string>{"my editor", "a b", "+3", "/c.py"}));
    EXPECT_TRUE(EditorWords("  ", "/c.py", 3).empty());
}

TEST(FolderMarks, WhatABuildHasWrittenIsNoSave)
{
    const FolderMarks before = {{"/a/piece.py", {1, 10, 5}}, {"/a/demo.xml", {2, 10, 7}}};
    FolderMarks after = before;
    after["/a/demo.xml"] = {3, 20, 8};
    after["/a/loading.xml"] = {4, 20, 8};
    EXPECT_FALSE(HasChanged(after, before, after));

    FolderMarks now = after;
    now["/a/piece.py"].timeNs = 30;
    EXPECT_TRUE(HasChanged(now, before, after));
    now = after;
    now["/a/demo.xml"].timeNs = 30;
    EXPECT_TRUE(HasChanged(now, before, after));
    now = after;
    now.erase("/a/demo.xml");
    EXPECT_TRUE(HasChanged(now, before, after));
    now = after;
    now["/a/new.png"] = {9, 30, 1};
    EXPECT_TRUE(HasChanged(now, before, after));
}

FolderContents Contents(uint64_t demo, int64_t demoNs, uint64_t picture, int64_t pictureNs)
{
    return {{"/a/demo.xml", {{1, demoNs, 5}, demo}}, {"/a/sky.png", {{2, pictureNs, 5}, picture}}};
}

TEST(WrittenFiles, APictureSavedDuringABuildIsBuilt)
{
    WrittenFiles written = {};
    EXPECT_FALSE(MustRepeat(Contents(7, 1, 3, 1), Contents(7, 2, 3, 1), &written));
    // The program writes its document, and the author saves a picture.
    EXPECT_TRUE(MustRepeat(Contents(7, 2, 3, 1), Contents(8, 3, 4, 3), &written));
    EXPECT_FALSE(MustRepeat(Contents(8, 3, 4, 3), Contents(8, 4, 4, 3), &written));
    EXPECT_TRUE(MustRepeat(Contents(8, 4, 4, 3), Contents(8, 5, 5, 5), &written));
}

TEST(WrittenFiles, AProgramsFirstFilesAreBuiltOnceMore)
{
    WrittenFiles written = {};
    EXPECT_TRUE(MustRepeat({}, Contents(7, 1, 3, 1), &written));
    EXPECT_FALSE(MustRepeat(Contents(7, 1, 3, 1), Contents(7, 2, 3, 2), &written));
    EXPECT_FALSE(MustRepeat(Contents(7, 2, 3, 2), Contents(8, 3, 9, 3), &written));
}

TEST(WrittenFiles, AProgramOfRandomFilesIsNotBuiltForEver)
{
    WrittenFiles written = {};
    for (uint64_t round = 0; round < 6; ++round)
    {
        const int64_t ns = static_cast<int64_t>(round);
        EXPECT_EQ(
            MustRepeat(Contents(round, ns, 3, 1), Contents(round + 1, ns + 1, 3, 1), &written),
            round < 2);
    }
}

TEST(FolderMarks, AProgramThatWasSavedDuringTheBuildCounts)
{
    const FolderMarks before = {{"/a/piece.py", {1, 10, 5}}};
    const FolderMarks after = {{"/a/piece.py", {1, 20, 5}}};
    EXPECT_TRUE(HasChanged(after, before, after));
}

} // namespace
