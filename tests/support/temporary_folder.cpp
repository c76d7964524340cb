// SPDX-License-Identifier: MIT
#include "support/temporary_folder.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace fs = std::filesystem;

/// A test can't go on without its files.
[[noreturn]] static void Fail(const char* what, const std::string& path)
{
    fprintf(stderr, "temporary folder: can't %s %s\n", what, path.c_str());
    abort();
}

TemporaryFolder::TemporaryFolder() : path((fs::temp_directory_path() / "quorvale-XXXXXX").string())
{
    if (mkdtemp(path.data()) == nullptr)
    {
        Fail("make", path);
    }
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    fs::remove_all(path, ignored);
}

void TemporaryFolder::Write(const std::string& name, const std::string& bytes) const
{
    fs::path file = fs::path(path) / name;
    std::error_code ignored; // the file does not open then
    fs::create_directories(file.parent_path(), ignored);

    FILE* stream = fopen(file.c_str(), "wb");
    if (stream == nullptr || fwrite(bytes.data(), 1, bytes.size(), stream) != bytes.size() ||
        fclose(stream) != 0)
    {
        Fail("write", file.string());
    }
}

std::string TemporaryFolder::Read(const std::string& name) const
{
    fs::path file = fs::path(path) / name;
    FILE* stream = fopen(file.c_str(), "rb");
    if (stream == nullptr)
    {
        Fail("read", file.string());
    }
    std::string bytes;
    char block[4096];
    for (size_t got = 0; (got = fread(block, 1, sizeof(block), stream)) > 0;)
    {
        bytes.append(block, got);
    }
    fclose(stream);
    return bytes;
}
