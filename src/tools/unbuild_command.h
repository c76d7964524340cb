// SPDX-License-Identifier: MIT

// A package into a folder of sources, of which `dpk build` makes it again.
//
//   entry                   source
//   NAME.xmlz               NAME.xml: the text, indented where a build can undo that
//   NAME.model              NAME.ply, with all that the model says (model_ply.h)
//   any other entry         as it is, under its own name
//                           dpk-order.txt, which says how the package is put together
//
// An entry that can't be told so stays as it is, container and all: a text that does not parse or
// holds zero bytes, a model that no PLY can say, a damaged container. A name that no file of a
// folder of sources can bear is escaped (EscapeName), and dpk-order.txt has the true one.
#pragma once

#include <cstdint>
#include <string>

/// The form that the two documents of a piece get.
enum class UnbuildForm : uint8_t
{
    kDocuments,
    kPython, // a piece.py on the authors' library, which writes them
};

/// Takes a package apart. Prints a line for each thing that a build can't bring back, and one that
/// says whether a build gives the same bytes: the folder is built in memory and compared. Packages
/// that dpk made give the same bytes. Others give the same records, since zlib packs in many ways:
/// entries that nobody can read are left out, and containers may have other bytes.
/// @param folder   made if it is not there; has to be empty
/// @return false after an error line
bool UnbuildPackage(const std::string& path, const std::string& folder, UnbuildForm form);
