// SPDX-License-Identifier: MIT

// The lines of a build, as a list to choose from: each finding with its file and line.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

enum class FindingKind : uint8_t
{
    kError,
    kWarning,
    kOther, // a note, or a line that says no place
};

struct FindingLine
{
    FindingKind kind;
    std::string path; // of the source; empty where none is told
    int32_t line;     // counted from 1; 0 where none is told
    std::string text; // what is wrong, without the place
    std::string more; // lines that follow: the source line, the cure
};

/// Reads the lines that `dpk` and the authors' library print:
///   demo.xml:120:7: error: material 9 does not exist [dangling-reference]
///   piece.py:12: ValueError: width is 0
/// Lines that are indented, or follow without a place after the first, belong to the finding
/// before. A remark of a build that goes well, such as a mesh's size, is left out.
/// @param goesWell   the build had no error
std::vector<FindingLine> ParseFindings(const std::string& text, bool goesWell);

/// The words of a command that opens a file at a line.
/// @param editor   a command; %f is the file and %l the line. One without %f gets "+LINE FILE".
/// @return the words for execvp; none if the command is empty
std::vector<std::string> EditorWords(const std::string& editor, const std::string& path,
                                     int32_t line);
