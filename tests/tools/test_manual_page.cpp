// SPDX-License-Identifier: MIT
#include "tools/manual_page.h"

#include <filesystem>
#include <gtest/gtest.h>

TEST(ManualPage, MarkdownBecomesTheLanguageOfMan)
{
    const struct
    {
        const char* markdown;
        const char* manual;
    } cases[] = {
        {"", ""},
        {"# dpk list\n", ""},
        {"One line,\nand another.\n\nNext.\n", ".PP\nOne line, and another.\n.PP\nNext.\n"},
        {"## Exit status\n", ".SH EXIT STATUS\n"},
        {"### Small\n", ".SS Small\n"},
        {"- one\n  goes on\n- two\n", ".IP \\(bu 2\none goes on\n.IP \\(bu 2\ntwo\n"},
        {"- one\n  - inner\n- two\n",
         ".IP \\(bu 2\none\n.RS 2\n.IP \\(bu 2\ninner\n.RE\n.IP \\(bu 2\ntwo\n"},
        {"say `--flip-v`, *NAME* and **now**\n",
         ".PP\nsay \\fB\\-\\-flip\\-v\\fR, \\fINAME\\fR and \\fBnow\\fR\n"},
        {"see [the page](page.md), 3 * 4 [5]\n", ".PP\nsee the page, 3 * 4 [5]\n"},
        {"`\\x`*NN*\n", ".PP\n\\fB\\ex\\fR\\fINN\\fR\n"},
        {".xml counts, and so\n", ".PP\n\\&.xml counts, and so\n"},
        {"```\ndpk a-b\n  .x 'y'\n```\nafter\n",
         ".PP\n.RS 4\n.nf\ndpk a\\-b\n  .x \\(aqy\\(aq\n.fi\n.RE\n.PP\nafter\n"},
    };
    for (const auto& c : cases)
    {
        EXPECT_EQ(ManualText(c.markdown), c.manual) << c.markdown;
    }
}

static const CommandFacts kPaint = {
    "paint",
    "Write all images as PNG files",
    {{"FILE", "The package", true, false}, {"NAME", "Entries", false, true}},
    {{{"-h", "--help"}, "", "Print this help", false, false},
     {{"-o", "--output"}, "DIR", "The folder", true, false},
     {{"--ignore"}, "PATTERN", "Leave out files", false, true},
     {{"--color"}, "auto|never", "Color words", false, false}}};

TEST(ManualPage, ACommandsPageFollowsItsFacts)
{
    EXPECT_EQ(
        CommandPage(kPaint, "# dpk paint\n\nPaints.\n\n## Examples\n\nNone.\n"),
        ".TH DPK-PAINT 1 \"\" \"Quorvale\" \"User Commands\"\n"
        ".SH NAME\ndpk\\-paint \\- write all images as PNG files\n"
        ".SH SYNOPSIS\n"
        "\\fBdpk paint\\fR \\fB\\-o\\fR \\fIDIR\\fR [\\fB\\-\\-ignore\\fR \\fIPATTERN\\fR]... "
        "[\\fB\\-\\-color\\fR \\fBauto|never\\fR] \\fIFILE\\fR [\\fINAME\\fR]...\n"
        ".SH DESCRIPTION\n.PP\nPaints.\n"
        ".SH ARGUMENTS\n"
        ".TP\n\\fIFILE\\fR\nThe package.\n"
        ".TP\n\\fINAME\\fR...\nEntries.\n"
        ".SH OPTIONS\n"
        ".TP\n\\fB\\-h\\fR, \\fB\\-\\-help\\fR\nPrint this help.\n"
        ".TP\n\\fB\\-o\\fR, \\fB\\-\\-output\\fR \\fIDIR\\fR\nThe folder.\n"
        ".TP\n\\fB\\-\\-ignore\\fR \\fIPATTERN\\fR\nLeave out files.\n"
        ".TP\n\\fB\\-\\-color\\fR \\fBauto|never\\fR\nColor words.\n"
        ".SH EXAMPLES\n.PP\nNone.\n"
        ".SH SEE ALSO\n.BR dpk (1),\n.BR dpk (5)\n");
}

TEST(ManualPage, WithoutATextTheSummaryDescribes)
{
    const std::string page = CommandPage(kPaint, "");
    EXPECT_NE(page.find(".SH DESCRIPTION\nWrite all images as PNG files.\n.SH ARGUMENTS\n"),
              std::string::npos)
        << page;
}

TEST(ManualPage, TheProgramsPageNamesEveryCommand)
{
    const ProgramFacts facts = DescribeCommandLine();
    const std::string page = ProgramPage(facts, "");
    EXPECT_GE(facts.commands.size(), 13u);
    for (const CommandFacts& command : facts.commands)
    {
        EXPECT_NE(page.find("\n.BR dpk-" + command.name + " (1)\n"), std::string::npos)
            << command.name;
        EXPECT_NE(page.find("\\fBdpk " + command.name + "\\fR"), std::string::npos) << command.name;
    }
}

TEST(ManualPage, EveryTextBelongsToACommand)
{
    std::string names = " dpk ";
    for (const CommandFacts& command : DescribeCommandLine().commands)
    {
        names += command.name + " ";
        EXPECT_FALSE(command.summary.empty()) << command.name;
        for (const OptionFacts& option : command.options)
        {
            EXPECT_FALSE(option.description.empty()) << command.name << " " << option.names.back();
        }
    }
    for (const auto& file : std::filesystem::directory_iterator(MANUAL_TEXTS))
    {
        EXPECT_NE(names.find(" " + file.path().stem().string() + " "), std::string::npos)
            << file.path();
    }
}
