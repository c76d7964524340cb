// SPDX-License-Identifier: MIT

// The files of a folder of sources that go into a package, and what becomes of each.
//
// Files are told by their endings. Where the folder has a demo.xml, a file goes in only if a
// document names its entry: others are strangers, such as the textures and buffers of a mesh, or
// the build files of the author's own programs. The files of an order file are no strangers, and
// neither is a file whose entry a document means by a mistyped name.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "tools/mesh_options.h"
#include "tools/order_file.h"

struct SourceFile
{
    std::string fileName;
    std::string entryName;
    SourceKind kind;
    TextLayout layout; // of a document
    MeshOptions mesh;  // of a mesh
    bool isSmall;      // packed by zopfli
    bool isOrdered;    // stands in the order file
    bool isAsked;      // of a pattern of files to take
};

/// Which files of a folder go into a package.
struct SourceChoice
{
    std::string package;              // left out, as it is what the folder becomes; may be empty
    std::vector<std::string> ignored; // shell patterns of files to leave out
    std::vector<std::string> also;    // shell patterns of files to take though nothing names them
    MeshOptions mesh;                 // of meshes of which the folder says nothing
    bool isSmall;                     // packs all containers by zopfli
};

struct FolderSources
{
    std::vector<SourceFile>
        files; // those of the order file in its order, then by their entries' names
    std::vector<std::string> strangers; // file names, sorted
    std::set<std::string> named;        // every attribute's text, of all documents
    std::set<std::string> fileNames;    // of these, those of an attribute "filename"
    bool hasDemo;
};

/// The way of a file that stands in no order file, by its name.
SourceKind KindOfSource(const std::string& name);

/// @param ending   such as ".xml"; in any case of letters
bool HasEnding(const std::string& name, const char* ending);

/// Lists the files of a folder.
/// @return false after an error line
bool ListSources(const std::string& folder, const SourceChoice& choice, FolderSources* sources);
