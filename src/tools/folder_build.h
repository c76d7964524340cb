// SPDX-License-Identifier: MIT

// A folder of sources into a package.
//
//   source                                    entry
//   NAME.xml                                  NAME.xmlz, in the container; it has to parse
//   NAME.obj .ply .3ds .gltf .glb .stl .dae   NAME.model, in the container
//   others that Assimp reads                  the same, if a document names NAME.model
//   .py .md .mtl .xm .dpk, NAME~, .NAME       left out
//   a grey image                              the same image as RGB or RGBA
//   any other file                            as it is, under its own name
//
// Files that no document names are strangers and left out, if there is a demo.xml. Fonts, .ttf and
// .otf, are left out without a word: a piece.py reads them.
//
// Endings count in any case of letters. Sub-folders, pipes and the like are left out, and so is the
// package itself. Entries are sorted by the bytes of their names, so that the same folder
// gives the same package. An order file (order_file.h) gives some of them places and forms of their
// own.
#pragma once

#include <array>
#include <map>
#include <string>
#include <vector>

#include "engine/data/package_tools.h"
#include "tools/files.h"
#include "tools/mesh_options.h"
#include "tools/package_commands.h"

/// Entries that builds made before, for a program that builds a folder again and again. Only what
/// has changed is made anew.
struct EntryCache
{
    /// The hash of what an entry comes from: its name, its file, and the files that meshes may
    /// name.
    using Key = std::array<uint64_t, 2>;

    std::map<Key, Bytes> entries; // of the last build that got to its end
    uint32_t made;                // documents and meshes that the last build made anew
};

struct BuildOptions
{
    std::vector<std::string> ignored; // shell patterns of file names to leave out as well
    std::vector<std::string> also;    // shell patterns of strangers to take
    MeshOptions mesh;
    Verbosity verbosity;
    ColorChoice color;
    bool isStrict;     // refuses strangers
    bool isForced;     // packs what a check refuses
    bool isSmall;      // packs containers by zopfli, takes blanks out of documents, and takes out
                       // what nothing uses (shrink_piece.h)
    bool takesAnyText; // packs documents that do not parse as they are, for whoever tells why
    /// Borrowed; null for none. With it containers are packed quickly: whoever builds again and
    /// again shows packages and keeps none.
    EntryCache* cache;
};

/// A package in memory, made of a folder.
struct PackedFolder
{
    std::vector<PlannedEntry> plan; // where everything is
    PackageBytes package;           // owned, for free
};

/// Makes a package of a folder in memory, and prints what ImportMesh tells of each mesh.
/// @param package   a file that is left out, the package itself; empty for none
/// @return false after an error line
bool PackFolder(const std::string& folder, const std::string& package, const BuildOptions& options,
                PackedFolder* packed);

/// Builds a package, over an old one, and prints the lines of ConvertMesh for each mesh, then one
/// with the number of entries and bytes, and for a piece one on what to send and how to play it.
/// A folder with a demo is checked first: errors and warnings are printed, and errors end it.
/// @return false after an error line; the old package is untouched then
bool BuildFolder(const std::string& folder, const std::string& package,
                 const BuildOptions& options);
