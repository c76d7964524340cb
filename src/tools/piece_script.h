// SPDX-License-Identifier: MIT

// Pieces that are written in Python: a folder with a piece.py in it. The authors' library runs it
// in a process of its own.
#pragma once

#include <string>

/// Whether the folder has a piece.py.
bool HasPieceScript(const std::string& folder);

/// Runs a folder's piece.py with the folder as its working directory: it writes the sources that a
/// build packs. What it prints and what is wrong with it go to this program's streams.
/// @return false after an error line
bool RunPieceScript(const std::string& folder);

/// Makes a folder with a piece.py that plays, and prints a line.
/// @return false after an error line; a piece.py that is there stays as it is
bool MakePieceFolder(const std::string& folder);

/// Turns a folder's documents into a piece.py that writes them, and runs it. Prints a line for each
/// document that can't be said so, and stays as it is, and for those that are said in part.
/// @return false after an error line
bool WritePieceScript(const std::string& folder);

/// The package of a folder when none is named: FOLDER/NAME.dpk, after the folder's own name.
std::string PackageOfFolder(const std::string& folder);
