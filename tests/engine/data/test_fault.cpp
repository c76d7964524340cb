#include "engine/data/fault.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <unistd.h>

static void PrintRestored()
{
    fprintf(stderr, "restored\n");
}

TEST(FaultDeathTest, NamesDocumentSectionItemAndPart)
{
    CurrentPlace = {"demo.xmlz", 3, 2, 5};
    EXPECT_EXIT(FatalFault("attribute \"%s\" is missing", "length"), testing::ExitedWithCode(1),
                "^quorvale: demo.xmlz, section 3 \\(envelopes\\), item 2, piece 5: "
                "attribute \"length\" is missing\n$");
}

TEST(FaultDeathTest, LeavesOutWhatIsNotKnown)
{
    CurrentPlace = {"loading.xmlz", 7, 0, 0};
    EXPECT_EXIT(FatalFault("x"), testing::ExitedWithCode(1),
                "^quorvale: loading.xmlz, section 7 \\(materials\\): x\n$");
    CurrentPlace = {"loading.xmlz", kNoSection, 0, 0};
    EXPECT_EXIT(FatalFault("x"), testing::ExitedWithCode(1), "^quorvale: loading.xmlz: x\n$");
    CurrentPlace = {nullptr, kNoSection, 0, 0};
    EXPECT_EXIT(FatalFault("x"), testing::ExitedWithCode(1), "^quorvale: x\n$");
}

TEST(FaultDeathTest, CallsTheItemsOfTheTimelineRows)
{
    CurrentPlace = {"demo.xmlz", 10, 3, 7};
    EXPECT_EXIT(FatalFault("x"), testing::ExitedWithCode(1),
                "section 10 \\(timeline\\), row 3, clip 7: x");
    CurrentPlace = {"demo.xmlz", kMusicNode, 0, 0};
    EXPECT_EXIT(FatalFault("x"), testing::ExitedWithCode(1), "demo.xmlz, music node: x");
}

TEST(FaultDeathTest, GivesTheDisplayBackBehindTheLine)
{
    CurrentPlace = {nullptr, kNoSection, 0, 0};
    SetDisplayRestorer(PrintRestored);
    EXPECT_EXIT(FatalFault("gone"), testing::ExitedWithCode(1), "^quorvale: gone\nrestored\n$");
    EXPECT_EXIT(FatalError("gone"), testing::ExitedWithCode(1), "^quorvale: gone\nrestored\n$");
    SetDisplayRestorer(nullptr);
}

TEST(FaultDeathTest, AnErrorOutsideDocumentsNamesNoPlace)
{
    CurrentPlace = {"demo.xmlz", 3, 2, 5};
    EXPECT_EXIT(FatalError("no %s", "display"), testing::ExitedWithCode(1),
                "^quorvale: no display\n$");
    CurrentPlace = {nullptr, kNoSection, 0, 0};
}

static void FaultAgain()
{
    fprintf(stderr, "restored\n");
    FatalFault("again");
}

TEST(FaultDeathTest, AFaultWhileTheDisplayIsGivenBackDoesNotComeRoundAgain)
{
    CurrentPlace = {nullptr, kNoSection, 0, 0};
    SetDisplayRestorer(FaultAgain);
    EXPECT_EXIT(FatalFault("first"), testing::ExitedWithCode(1),
                "^quorvale: first\nrestored\nquorvale: again\n$");
    SetDisplayRestorer(nullptr);
}

TEST(FaultDeathTest, TextFromDocumentsStaysOnOneLine)
{
    CurrentPlace = {nullptr, kNoSection, 0, 0};
    EXPECT_EXIT(FatalFault("no model \"%s\"", "a\nb\x1b[2J\x7f"), testing::ExitedWithCode(1),
                "^quorvale: no model \"a\\\\x0Ab\\\\x1B\\[2J\\\\x7F\"\n$");
}

TEST(FaultDeathTest, WhatWasPrintedBeforeComesBeforeTheLine)
{
    CurrentPlace = {nullptr, kNoSection, 0, 0};
    EXPECT_EXIT(
        {
            // Both streams into one file, as a shell's 2>&1 does; this one buffers.
            dup2(fileno(stderr), fileno(stdout));
            setvbuf(stdout, nullptr, _IOFBF, 4096);
            printf("a line\n");
            FatalFault("the end");
        },
        testing::ExitedWithCode(1), "^a line\nquorvale: the end\n$");
}

TEST(FaultDeathTest, AnotherProgramHasAnotherName)
{
    CurrentPlace = {nullptr, kNoSection, 0, 0};
    EXPECT_EXIT(
        {
            SetProgramName("dpk");
            FatalFault("no");
        },
        testing::ExitedWithCode(1), "^dpk: no\n$");
}
