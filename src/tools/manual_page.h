// SPDX-License-Identifier: MIT

// Manual pages, in the language of man(7), from the facts of the command line and a text in
// Markdown.
//
// Of Markdown a page understands paragraphs, "## " headings, "- " lists (a list in a list is
// indented by two spaces), fenced blocks of code, `code`, **bold**, *italic* and [links](address),
// of which the text stays. A heading of level 1 is left out: a page has its own.
#pragma once

#include <string>

#include "tools/command_facts.h"

/// The page of one command, such as dpk-list(1).
/// @param text   Markdown: the description, and sections of its own; may be empty
std::string CommandPage(const CommandFacts& command, const std::string& text);

/// The page of the program, dpk(1): all commands with a line each, then the sections of a text.
std::string ProgramPage(const ProgramFacts& facts, const std::string& text);

/// Markdown in the language of man(7). Headings become sections.
std::string ManualText(const std::string& markdown);
