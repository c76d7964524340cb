// SPDX-License-Identifier: MIT

// The commands of dpk as data: manual pages and completions are written from this, so they follow
// the command line by themselves.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// An argument that is known by its place.
struct ArgumentFacts
{
    std::string name; // "FILE"
    std::string description;
    bool isRequired;
    bool repeats; // any number of them may follow each other
};

struct OptionFacts
{
    std::vector<std::string> names; // "-o", "--output": short ones first, at least one
    std::string value;              // "DIR", or "auto|always|never"; empty where it takes none
    std::string description;
    bool isRequired;
    bool repeats; // may be given several times
};

struct CommandFacts
{
    std::string name; // "list"; that of the program itself is "dpk"
    std::string summary;
    std::vector<ArgumentFacts> arguments; // in their order
    std::vector<OptionFacts> options;     // --help first
};

/// The program and its commands.
struct ProgramFacts
{
    CommandFacts program; // its options stand before a command
    std::vector<CommandFacts> commands;
};

/// Tells what the command line takes.
ProgramFacts DescribeCommandLine();

/// The kind of word that may stand at the place of an argument or value.
enum class WordKind : uint8_t
{
    kAnything,
    kFile,
    kFolder,
    kEntry,  // an entry of the package that was named before
    kRule,   // a rule of `dpk check`, or several with commas between them
    kChoice, // one of the words of ValueChoices
};

/// Tells what a name in capitals stands for: "DIR" is a folder, "FILE" a file, "a|b" a choice.
WordKind KindOfValue(const std::string& name);

/// @return the words of "auto|always|never"
std::vector<std::string> ValueChoices(const std::string& value);
