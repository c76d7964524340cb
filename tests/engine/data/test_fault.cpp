// SPDX-License-Identifier: MIT
#include "engine/data/fault.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <string>
#include <tinyxml.h>
#include <unistd.h>

#include "engine/data/vocabulary.h"
#include "support/fault_text.h"

class FaultTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        StartFaults(&faults);
    }

    void TearDown() override
    {
        FreeFaults(&faults);
    }

    /// The line of one fault at a place.
    std::string LineAt(const Place& place)
    {
        FreeFaults(&faults);
        faults.place = place;
        AddFault(&faults, "x");
        return FaultText(faults);
    }

    FaultList faults;
};

TEST_F(FaultTest, NamesDocumentSectionItemAndPart)
{
    faults.place = PlaceAt("demo.xmlz", Section::kEnvelopes, 2, 5);
    AddFault(&faults, "attribute \"%s\" is missing", "length");
    EXPECT_EQ(FaultText(faults), "quorvale: demo.xmlz, section 3 (envelopes), item 2, piece 5: "
                                 "attribute \"length\" is missing\n");
}

TEST_F(FaultTest, LeavesOutWhatIsNotKnown)
{
    EXPECT_EQ(LineAt(PlaceAt("loading.xmlz", Section::kMaterials)),
              "quorvale: loading.xmlz, section 7 (materials): x\n");
    EXPECT_EQ(LineAt(PlaceAt("loading.xmlz", Section::kMaterials, 0, 4)),
              "quorvale: loading.xmlz, section 7 (materials), child 4: x\n");
    EXPECT_EQ(LineAt(PlaceAt("loading.xmlz", Section::kNone, 2, 3)), "quorvale: loading.xmlz: x\n");
    EXPECT_EQ(LineAt(PlaceAt(nullptr, Section::kMaterials, 2, 3)), "quorvale: x\n");
}

TEST_F(FaultTest, EachSectionHasItsWords)
{
    const char* const words[] = {
        "section 0 (layers), item 1, parameter 2",
        "section 1 (procedural textures), item 1, step 2",
        "section 2 (models), item 1, part 2",
        "section 3 (envelopes), item 1, piece 2",
        "section 4 (lights), item 1, value 2",
        "section 5 (2D effects), item 1, parameter 2",
        "section 6 (bitmaps), item 1, part 2",
        "section 7 (materials), item 1, child 2",
        "section 8 (generated meshes), item 1, parameter 2",
        "section 9 (scenes), item 1, object 2",
        "section 10 (timeline), row 1, clip 2",
        "music node, item 1, part 2",
    };
    for (int32_t number = 0; number <= kSectionCount; ++number)
    {
        EXPECT_EQ(LineAt(PlaceAt("demo.xmlz", static_cast<Section>(number), 1, 2)),
                  std::string("quorvale: demo.xmlz, ") + words[number] + ": x\n");
    }
    EXPECT_EQ(static_cast<int32_t>(Section::kMusic), 11);
    EXPECT_EQ(FindVocabularySection(static_cast<Section>(12)), nullptr);
    EXPECT_EQ(FindVocabularySection(Section::kNone), nullptr);
}

TEST_F(FaultTest, AnErrorOutsideDocumentsNamesNoPlace)
{
    faults.place = PlaceAt("demo.xmlz", Section::kEnvelopes, 2, 5);
    AddError(&faults, "no %s", "display");
    EXPECT_EQ(FaultText(faults), "quorvale: no display\n");
    EXPECT_EQ(GetFault(&faults, 0)->kind, FaultKind::kProgram);
}

TEST_F(FaultTest, AFaultAtANodeKnowsItsLineAndColumn)
{
    TiXmlDocument document;
    document.Parse("<a>\n   <b/>\n</a>");
    faults.place = PlaceAt("demo.xmlz", Section::kLights, 3, 1);
    AddFaultAt(&faults, document.FirstChild()->FirstChild(), "x");
    const Place& place = GetFault(&faults, 0)->place;
    EXPECT_EQ(place.line, 2);
    EXPECT_EQ(place.column, 4);
    EXPECT_EQ(place.section, Section::kLights);
    EXPECT_EQ(place.item, 3u);
    EXPECT_EQ(FaultText(faults), "quorvale: demo.xmlz, section 4 (lights), item 3, value 1: x\n");

    faults.place.line = 7;
    AddFaultAt(&faults, nullptr, "y");
    EXPECT_EQ(GetFault(&faults, 1)->place.line, 7);
}

TEST_F(FaultTest, OnlyErrorsAreFailures)
{
    EXPECT_FALSE(HasFailed(&faults));
    AddRemark(&faults, Severity::kWarning, nullptr, "%d", 1);
    AddRemark(&faults, Severity::kNote, nullptr, "%d", 2);
    EXPECT_FALSE(HasFailed(&faults));
    AddFault(&faults, "%d", 3);
    EXPECT_TRUE(HasFailed(&faults));
    EXPECT_EQ(GetFault(&faults, 0)->severity, Severity::kWarning);
    EXPECT_EQ(GetFault(&faults, 1)->severity, Severity::kNote);
    EXPECT_EQ(GetFault(&faults, 2)->severity, Severity::kError);
}

TEST_F(FaultTest, ManyFaultsStayInOrder)
{
    std::string expected;
    for (int i = 0; i < 1000; ++i)
    {
        AddFault(&faults, "fault %d", i);
        expected += "quorvale: fault " + std::to_string(i) + "\n";
    }
    EXPECT_EQ(faults.count, 1000u);
    EXPECT_EQ(faults.errorCount, 1000u);
    EXPECT_EQ(FaultText(faults), expected);

    FreeFaults(&faults);
    EXPECT_EQ(faults.count, 0u);
    EXPECT_FALSE(HasFailed(&faults));
}

TEST_F(FaultTest, AListOfZerosIsEmpty)
{
    FaultList zeros = {};
    EXPECT_FALSE(HasFailed(&zeros));
    AddFault(&zeros, "x");
    EXPECT_EQ(FaultText(zeros), "quorvale: x\n");
    FreeFaults(&zeros);
}

TEST_F(FaultTest, ControlCharactersBecomeNumbers)
{
    AddFault(&faults, "no model \"%s\"", "a\nb\x1b[2J\x7f");
    EXPECT_EQ(FaultText(faults), "quorvale: no model \"a\\x0Ab\\x1B[2J\\x7F\"\n");
}

TEST_F(FaultTest, TheNameOfTheDocumentIsPrintedPlainlyToo)
{
    EXPECT_EQ(LineAt(PlaceAt("a\nb", Section::kNone)), "quorvale: a\\x0Ab: x\n");
}

TEST_F(FaultTest, WordsPastTheTextAreCutOff)
{
    AddFault(&faults, "%s", std::string(5000, 'a').c_str());
    EXPECT_EQ(FaultText(faults), "quorvale: " + std::string(1023, 'a') + "\n");
}

TEST_F(FaultTest, ALineOfControlCharactersFits)
{
    const std::string controls(5000, '\x01');
    faults.place = PlaceAt(controls.c_str(), Section::kNone);
    AddFault(&faults, "%s", controls.c_str());
    char line[kFaultLineSize];
    EXPECT_LT(FormatFault(GetFault(&faults, 0), "quorvale", line, sizeof(line)), sizeof(line));
}

TEST_F(FaultTest, ALineIsCutToTheRoomThereIs)
{
    AddFault(&faults, "abc");
    char line[8] = "???????";
    EXPECT_EQ(FormatFault(GetFault(&faults, 0), "dpk", line, sizeof(line)), 8u);
    EXPECT_STREQ(line, "dpk: ab");
}

TEST_F(FaultTest, PrintingComesAfterTheBufferedOutput)
{
    AddFault(&faults, "the end");
    EXPECT_EXIT(
        {
            // Both streams into one file, as a shell's 2>&1 does; this one buffers.
            dup2(fileno(stderr), fileno(stdout));
            setvbuf(stdout, nullptr, _IOFBF, 4096);
            printf("a line\n");
            PrintFault(GetFault(&faults, 0), "quorvale");
            _exit(1);
        },
        testing::ExitedWithCode(1), "^a line\nquorvale: the end\n$");
}

TEST_F(FaultTest, AnotherProgramHasAnotherName)
{
    AddFault(&faults, "no");
    testing::internal::CaptureStderr();
    PrintFault(GetFault(&faults, 0), "dpk");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "dpk: no\n");
}
