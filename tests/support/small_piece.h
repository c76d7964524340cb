// SPDX-License-Identifier: MIT

// A small piece that has every kind of record, and uses each in its scenes.
#pragma once

#include <string>
#include <vector>

#include "support/package_builder.h"

/// @return a document with: three layers and two textures, two models, envelopes of all functions,
///         a light, the four effects, bitmaps of three and four components, seven materials, three
///         generated meshes (the last of no type that there is), three scenes with all manipulators
///         and objects of both kinds, and a timeline of two rows with passes to the window and to a
///         bitmap, fog and an orthographic clip
DocumentSource SmallDocument();

/// @return the package: loading.xmlz and demo.xmlz are both SmallDocument
std::string SmallPiece();

/// @return a package whose two documents are these, with the models and images that SmallDocument
///         names
std::string SmallPieceOf(const DocumentSource& loading, const DocumentSource& demo);

/// @param more   further entries of the package
std::string SmallPieceOf(const DocumentSource& loading, const DocumentSource& demo,
                         const std::vector<PackageEntry>& more);

/// @return the same of two texts, which need not parse
std::string SmallPieceOf(const std::string& loading, const std::string& demo);

/// @return SmallDocument in a hurry: one layer, textures of a step each, clips of 110 ticks
DocumentSource QuickDocument();

/// @return the package of two QuickDocuments
std::string QuickPiece();
