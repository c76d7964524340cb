// SPDX-License-Identifier: MIT

// The guard before a file is written over: a command replaces what it writes itself, and nothing
// else, so that an argument too few or in a wrong place costs nobody a source.
#pragma once

#include <cstdint>
#include <string>

#include "tools/files.h"

/// Kinds of files, told by their first bytes.
enum class FileKind : uint8_t
{
    kOther,
    kPackage,
    kDocument, // text that begins with "<", but for the next two
    kPage,     // HTML
    kDrawing,  // SVG
    kPng,
    kPackedDocument, // the same in the container
    kPackedOther,    // a model, or anything else in the container
};

/// @param bytes   the begin of a file, or all of it
FileKind KindOfBytes(const Bytes& bytes);

/// Asks whether a file may be written over: there is none, it is empty, or it is of the kind that
/// is written. A file of kind kOther may not be.
/// @param isForced   anything may be written over
/// @return false after an error line
bool MayOverwrite(const std::string& path, FileKind written, bool isForced);
