// SPDX-License-Identifier: MIT
#include "tools/command_facts.h"

#include <algorithm>
#include <iterator>

static const char* const kFileNames[] = {"FILE", "PATH", "PACKAGE", "PIECE", "IN",   "OUT",
                                         "TEXT", "OLD",  "NEW",     "A",     "B",    "IMAGE",
                                         "MESH", "WAV",  "FILM",    "PNG",   "PART", "REFERENCE"};

static bool EndsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

WordKind KindOfValue(const std::string& name)
{
    if (name.find('|') != std::string::npos)
    {
        return WordKind::kChoice;
    }
    if (EndsWith(name, "DIR") || EndsWith(name, "FOLDER"))
    {
        return WordKind::kFolder;
    }
    if (name.compare(0, 4, "RULE") == 0)
    {
        return WordKind::kRule;
    }
    if (name == "NAME")
    {
        return WordKind::kEntry;
    }
    if (EndsWith(name, "FILE") ||
        std::find(std::begin(kFileNames), std::end(kFileNames), name) != std::end(kFileNames))
    {
        return WordKind::kFile;
    }
    return WordKind::kAnything;
}

std::vector<std::string> ValueChoices(const std::string& value)
{
    std::vector<std::string> choices(1);
    for (char c : value)
    {
        if (c == '|')
        {
            choices.emplace_back();
        }
        else
        {
            choices.back() += c;
        }
    }
    return choices;
}
