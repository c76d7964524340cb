// SPDX-License-Identifier: MIT

// Writes the documents of random pieces, for the tests of the authors' library.
//
//   random_documents FOLDER FIRST LAST    N-demo.xml and N-loading.xml for each seed N
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "record/random_piece.h"
#include "tools/container.h"
#include "tools/files.h"
#include "tools/package_listing.h"

/// A document that is damaged as a container has no text and is left out.
static bool WriteDocuments(const std::string& folder, uint32_t seed)
{
    Random random = {seed};
    const std::string package = MakeRandomPiece(&random).package;
    const std::string path = folder + "/piece.dpk";
    ListedPackage listed;
    if (!ReplaceFile(path, reinterpret_cast<const unsigned char*>(package.data()),
                     package.size()) ||
        !OpenPackage(path, PackageUse::kReading, &listed))
    {
        return false;
    }
    bool isWritten = true;
    for (const ListedEntry& entry : listed.entries)
    {
        Bytes bytes;
        Bytes text;
        if (!entry.name.ends_with(".xmlz") || !ReadListedEntry(&listed, &entry, &bytes) ||
            UnpackContainer(bytes, &text) != nullptr)
        {
            continue;
        }
        const std::string name = entry.name.substr(0, entry.name.size() - 1);
        isWritten = ReplaceFile(folder + "/" + std::to_string(seed) + "-" + name, text.data(),
                                text.size()) &&
                    isWritten;
    }
    ClosePackage(&listed);
    return isWritten;
}

int main(int argc, char** argv)
{
    if (argc != 4)
    {
        return 2;
    }
    const uint32_t last = static_cast<uint32_t>(strtoul(argv[3], nullptr, 10));
    for (uint32_t seed = static_cast<uint32_t>(strtoul(argv[2], nullptr, 10)); seed <= last; ++seed)
    {
        if (!WriteDocuments(argv[1], seed))
        {
            return 1;
        }
    }
    return 0;
}
