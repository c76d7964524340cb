// SPDX-License-Identifier: MIT

// Packages, documents and models made inside a test, so that what a test reads stands in the test.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

struct PackageEntry
{
    std::string name; // 32 bytes at most
    std::string bytes;
};

/// @return a package of these entries, in this order
std::string MakePackage(const std::vector<PackageEntry>& entries);

/// @return a container: the size word of `content` and its zlib stream
std::string MakeContainer(const std::string& content);

/// The inside of a document's top-level nodes.
struct DocumentSource
{
    std::array<std::string, 11> sections; // items of sections 0 to 10 as XML text
    std::string music;                    // the whole music node, such as <m file="a.xm"/>
};

/// @return the document as XML text: a declaration, <s0> to <s10>, the music node
std::string MakeDocumentText(const DocumentSource& source);

/// @return the same in its container, ready to be a package entry
std::string MakeDocument(const DocumentSource& source);

struct ModelSource
{
    std::vector<float> vertices;               // 3 each
    std::vector<std::vector<float>> texCoords; // sets, 2 floats each vertex
    std::vector<float> normals;                // 3 each
    std::vector<uint32_t> indices;
};

/// @return a model file in its container
std::string MakeModel(const ModelSource& source);
