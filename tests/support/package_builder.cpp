// SPDX-License-Identifier: MIT
#include "support/package_builder.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <zlib.h>

static void Check(bool holds, const char* what)
{
    if (!holds)
    {
        fprintf(stderr, "package builder: %s\n", what);
        abort();
    }
}

static void AppendBigEndian(std::string* bytes, uint32_t value)
{
    for (int shift = 24; shift >= 0; shift -= 8)
    {
        *bytes += static_cast<char>(value >> shift & 0xFF);
    }
}

static void AppendLittleEndian(std::string* bytes, uint32_t value)
{
    for (int shift = 0; shift <= 24; shift += 8)
    {
        *bytes += static_cast<char>(value >> shift & 0xFF);
    }
}

static void AppendFloats(std::string* bytes, const std::vector<float>& values)
{
    for (float value : values)
    {
        uint32_t bits = 0;
        memcpy(&bits, &value, sizeof(bits));
        AppendLittleEndian(bytes, bits);
    }
}

std::string MakePackage(const std::vector<PackageEntry>& entries)
{
    std::string package = {0x44, 0x50, 0x01};
    uint32_t start = static_cast<uint32_t>(35 + 40 * entries.size());
    for (const PackageEntry& entry : entries)
    {
        Check(entry.name.size() <= 32, "a name of more than 32 bytes");
        uint32_t size = static_cast<uint32_t>(entry.bytes.size());
        package += entry.name;
        package.append(32 - entry.name.size(), '\0');
        AppendBigEndian(&package, start);
        AppendBigEndian(&package, start + size - 1);
        start += size;
    }
    package.append(32, '\0');
    for (const PackageEntry& entry : entries)
    {
        package += entry.bytes;
    }
    return package;
}

std::string MakeContainer(const std::string& content)
{
    uLongf size = compressBound(content.size());
    std::string stream(size, '\0');
    int result = compress(reinterpret_cast<Bytef*>(stream.data()), &size,
                          reinterpret_cast<const Bytef*>(content.data()), content.size());
    Check(result == Z_OK, "zlib does not compress");
    stream.resize(size);

    std::string container;
    AppendLittleEndian(&container, static_cast<uint32_t>(content.size()));
    return container + stream;
}

std::string MakeDocumentText(const DocumentSource& source)
{
    std::string text = "<?xml version=\"1.0\"?>\n";
    for (size_t number = 0; number < source.sections.size(); ++number)
    {
        std::string tag = "s" + std::to_string(number) + ">";
        text += "<" + tag;
        text += source.sections[number];
        text += "</" + tag + "\n";
    }
    return text + source.music;
}

std::string MakeDocument(const DocumentSource& source)
{
    return MakeContainer(MakeDocumentText(source));
}

std::string MakeModel(const ModelSource& source)
{
    std::string model;
    AppendLittleEndian(&model, static_cast<uint32_t>(source.vertices.size() / 3));
    model += static_cast<char>(source.texCoords.size());
    AppendFloats(&model, source.vertices);
    for (const std::vector<float>& set : source.texCoords)
    {
        AppendFloats(&model, set);
    }
    AppendFloats(&model, source.normals);
    for (uint32_t index : source.indices)
    {
        AppendLittleEndian(&model, index);
    }
    return MakeContainer(model);
}
