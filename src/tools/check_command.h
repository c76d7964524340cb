// SPDX-License-Identifier: MIT

// Checks of packages and source folders, told as lines or as JSON.
//
//   demo/demo.xml:120:7: error: scene 2 "hall", object 3: material 9 does not exist; there are 8
//   [dangling-reference]
//     <object type="0" object="1" material="9">
//                                 ^
//     cure: write an id from 1 to 8
//
// (the first is one line). docs/rules.md tells of each rule, docs/check.schema.json of the JSON.
#pragma once

#include <string>
#include <vector>

#include "engine/check/finding.h"
#include "tools/report.h"

struct CheckOptions
{
    bool json;                     // one object a path, a line each
    bool isStrict;                 // warnings count like errors
    bool isQuiet;                  // prints nothing; the exit code tells
    bool drawsPictures;            // looks at pictures too
    ColorChoice color;             // of the words for severities
    std::vector<std::string> only; // names of rules; empty for all
};

/// The most findings of one rule that are printed as lines; JSON has all.
inline constexpr uint32_t kMostLinesOfARule = 20;

/// Checks packages and folders and prints what is found, each with a verdict at its end.
/// @return the exit code: kExitDone if all are valid, kExitFailed if one is not, kExitUsage after
///         an error line for a rule that there is not, a path that can't be read and pictures that
///         can't be drawn
int CheckPaths(const std::vector<std::string>& paths, const CheckOptions& options);

/// A package in memory, as `dpk build` checks it: prints errors and warnings, and no verdict.
/// @param folder   that it was made of, for the places of findings and for the module
/// @return whether it has no error
bool CheckPacked(const std::string& folder, const unsigned char* bytes, size_t size,
                 ColorChoice color);

/// The same for the bytes of a package.
/// @param path   of the package, for the places of findings and for the module
bool CheckPackage(const std::string& path, const unsigned char* bytes, size_t size);
