// SPDX-License-Identifier: MIT
#include "studio/build/literal.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

/// A file that is gone after the test.
struct Source
{
    std::string path;
    explicit Source(const std::string& text)
    {
        char name[] = "/tmp/test_literal_XXXXXX";
        close(mkstemp(name));
        path = name;
        std::ofstream(path) << text;
    }
    ~Source()
    {
        unlink(path.c_str());
    }
};

struct LiteralCase
{
    const char* source;
    const char* group;
    const char* name;
    const char* was;
    const char* is;
    const char* written; // the source afterwards; or why nothing is written
};

TEST(Literal, AValueIsFoundWhereItStandsPlainly)
{
    const LiteralCase cases[] = {
        {"Light((0.5, 0.5, 1), position=(0, 0.5, 0))", "position", "y", "0.5", "2",
         "Light((0.5, 0.5, 1), position=(0, 2, 0))"},
        {"Light((0.5, 0.5, 1), position=(0, 0.5, 0))", "diffuse", "g", "0.5", "2",
         "Light((0.5, 2, 1), position=(0, 0.5, 0))"},
        {"Light(lamp, position=(0.5, 0, 0))", "diffuse", "r", "0.5", "2",
         "the line has no literal 0.5; copy the value"},
        {"look(fov=70, near=70)", "", "fov", "70", "-1.5", "look(fov=-1.5, near=70)"},
        {"look(70, 70)", "", "fov", "70", "60", "the line has several literals 70; copy the value"},
        {"look(fov=0.123456789)", "", "fov", "0.1234568", "1", "look(fov=1)"},
        {"Light(Color(1, 2, 3))", "diffuse", "b", "3", "4", "Light(Color(1, 2, 4))"},
        {"look(", "", "fov", "70", "60", "Python can't read the line"},
    };
    for (const LiteralCase& c : cases)
    {
        const Source source(c.source);
        LiteralEdit edit = {};
        const std::string wrong =
            FindLiteral({source.path, 1, c.was, c.is, HintOf(c.group, c.name)}, &edit);
        EXPECT_EQ(wrong.empty() ? ReplaceRange(c.source, edit.range, edit.text) : wrong, c.written);
    }
}

TEST(Literal, NumbersThatAreComputedWithAreNone)
{
    const char* none = "the line has no literal 0.5; copy the value";
    const LiteralCase cases[] = {
        {"look(fov=0.5 * 1)", "", "fov", "0.5", "2", none},
        {"wide = 1\nlook(fov=wide * 0.5)", "", "fov", "0.5", "2", none},
        {"look(fov=sizes[0.5])", "", "fov", "0.5", "2", none},
        {"look(fov=max(0.5, 0.1))", "", "fov", "0.5", "2", none},
        {"look(fov=3 if a > 0.5 else 0.1)", "", "fov", "0.5", "2", none},
        {"look(fov=0.5 if a else 0.1)", "", "fov", "0.5", "2", "look(fov=2 if a else 0.1)"},
        {"take(noise(3) * 0.5)", "", "amount", "0.5", "2", "take(noise(3) * 2)"},
        {"rain = noise(3)\ntake(0.5 * rain)", "", "amount", "0.5", "2",
         "rain = noise(3)\ntake(2 * rain)"},
    };
    for (const LiteralCase& c : cases)
    {
        const Source source(c.source);
        const uint32_t line = strchr(c.source, '\n') == nullptr ? 1 : 2;
        LiteralEdit edit = {};
        const std::string wrong =
            FindLiteral({source.path, line, c.was, c.is, HintOf(c.group, c.name)}, &edit);
        EXPECT_EQ(wrong.empty() ? ReplaceRange(c.source, edit.range, edit.text) : wrong, c.written);
    }
}

TEST(Literal, BytesAreCountedInTheFilesOwnLetters)
{
    const LiteralCase cases[] = {
        {"\xEF\xBB\xBF"
         "look('\xC3\xA4', fov=0.5)",
         "", "fov", "0.5", "2",
         "\xEF\xBB\xBF"
         "look('\xC3\xA4', fov=2)"},
        {"# coding: latin-1\nlook('\xE4\xF6', fov=0.5, at='\xFC')", "", "fov", "0.5", "2",
         "# coding: latin-1\nlook('\xE4\xF6', fov=2, at='\xFC')"},
        {"#\r\nlook('\xE2\x82\xAC', fov=0.5)\r\n", "", "fov", "0.5", "2",
         "#\r\nlook('\xE2\x82\xAC', fov=2)\r\n"},
        {"#\rlook(fov=0.5)", "", "fov", "0.5", "2", "#\rlook(fov=2)"},
    };
    for (const LiteralCase& c : cases)
    {
        const Source source(c.source);
        const uint32_t line = c.source[0] == '#' ? 2 : 1;
        LiteralEdit edit = {};
        const std::string wrong =
            FindLiteral({source.path, line, c.was, c.is, HintOf(c.group, c.name)}, &edit);
        EXPECT_EQ(wrong.empty() ? ReplaceRange(c.source, edit.range, edit.text) : wrong, c.written);
    }
}

TEST(Literal, AColorOfHexDigitsStaysOne)
{
    const char* blue = "SKY = Color.hex(\"#5090E0\")\nLight(SKY, position=(1, 2, 3))";
    const Source source(blue);
    LiteralSearch search = {source.path, 2, "0.5647059", "1", HintOf("diffuse", "g")};
    LiteralEdit edit = {};
    EXPECT_EQ(FindLiteral(search, &edit), "");
    EXPECT_EQ(ReplaceRange(blue, edit.range, edit.text),
              "SKY = Color.hex(\"#50FFE0\")\nLight(SKY, position=(1, 2, 3))");
    search.is = "1.5";
    EXPECT_EQ(FindLiteral(search, &edit), "1.5 is no channel from 0 to 1; copy the value");
}
