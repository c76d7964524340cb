// SPDX-License-Identifier: MIT
#include "tools/completion.h"

#include <gtest/gtest.h>

// The shells' own reading of the scripts is tested where they are installed, by
// install.check-dpk-completion.

static const ProgramFacts kFacts = {
    {"dpk", "Works", {}, {{{"-V", "--version"}, "", "Print the version", false, false}}},
    {{"paint",
      "Write author's [images]",
      {{"DIR", "The folder", true, false}, {"FILE", "More", false, true}},
      {{{"-h", "--help"}, "", "Print this help", false, false},
       {{"--ignore"}, "PATTERN", "Leave out files", false, true},
       {{"-c", "--color"}, "auto|never", "Color words", false, false}}}}};

static void ExpectPart(const std::string& script, const std::string& part)
{
    EXPECT_NE(script.find(part), std::string::npos) << part << "\nis not in\n" << script;
}

TEST(Completion, BashKnowsCommandsOptionsAndKinds)
{
    const std::string script = BashCompletion(kFacts);
    ExpectPart(script, "    '')\n        options='-V --version'\n        arguments=(command)\n");
    ExpectPart(script, "    paint)\n"
                       "        options='-h --help --ignore -c --color'\n"
                       "        case $1 in\n"
                       "        --ignore) kind=anything ;;\n"
                       "        -c | --color) kind='choice auto never' ;;\n"
                       "        esac\n"
                       "        arguments=(folder file)\n"
                       "        repeats=yes\n");
    ExpectPart(script, "local commands='paint'\n");
    ExpectPart(script, "\ndangling-reference\n");
}

TEST(Completion, ZshKnowsCommandsOptionsAndKinds)
{
    const std::string script = ZshCompletion(kFacts);
    EXPECT_EQ(script.find("#compdef dpk\n"), 0u);
    ExpectPart(script, "'paint:Write author'\\''s \\[images\\]'\n");
    ExpectPart(script, "'(- *)'{-V,--version}'[Print the version]'");
    ExpectPart(script, "'*'--ignore'[Leave out files]:PATTERN: '");
    ExpectPart(script, "'(-c --color)'{-c,--color}'[Color words]:auto|never:(auto never)'");
    ExpectPart(script, "'1:DIR:_files -/'");
    ExpectPart(script, "'*:FILE:_files'");
}

TEST(Completion, FishKnowsCommandsOptionsAndKinds)
{
    const std::string script = FishCompletion(kFacts);
    const std::string paint = "complete -c dpk -n '__fish_seen_subcommand_from paint'";
    ExpectPart(
        script,
        "complete -c dpk -n __fish_use_subcommand -a paint -d 'Write author\\'s [images]'\n");
    ExpectPart(script, paint + " -s h -l help -d 'Print this help'\n");
    ExpectPart(script, paint + " -s c -l color -r -a 'auto never' -d 'Color words'\n");
    ExpectPart(script, paint + " -a '(__fish_complete_directories)'\n");
    ExpectPart(script, paint + " -F\n");
}

TEST(Completion, NamesOfValuesTellWhatTheyAre)
{
    EXPECT_EQ(KindOfValue("FILE"), WordKind::kFile);
    EXPECT_EQ(KindOfValue("OUTFILE"), WordKind::kFile);
    EXPECT_EQ(KindOfValue("PACKAGE"), WordKind::kFile);
    EXPECT_EQ(KindOfValue("DIR"), WordKind::kFolder);
    EXPECT_EQ(KindOfValue("NAME"), WordKind::kEntry);
    EXPECT_EQ(KindOfValue("RULE,..."), WordKind::kRule);
    EXPECT_EQ(KindOfValue("y|z"), WordKind::kChoice);
    EXPECT_EQ(KindOfValue("SECONDS"), WordKind::kAnything);
    EXPECT_EQ(ValueChoices("auto|always|never"),
              (std::vector<std::string>{"auto", "always", "never"}));
}
