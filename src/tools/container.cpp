// SPDX-License-Identifier: MIT
#include "tools/container.h"

#include <algorithm>
#include <cstdlib>
#include <zlib.h>
#include <zopfli/zopfli.h>

#include "engine/data/byte_order.h"
#include "engine/data/limits.h"
#include "tools/overwrite.h"
#include "tools/report.h"

static constexpr size_t kSizeWord = 4; // bytes
static constexpr size_t kStep = 65536; // bytes inflated at a time
/// A stream that makes more than that of itself is larger than what it holds.
static constexpr uint64_t kLargestContainer = uint64_t{kLargestInflatedSize} + (1 << 20);

bool FitsContainer(size_t size)
{
    if (size > kLargestInflatedSize)
    {
        ReportError("data of %zu bytes is too large for a container", size);
        return false;
    }
    return true;
}

static bool PackAtLevel(const Bytes& data, int level, Bytes* container)
{
    if (!FitsContainer(data.size()))
    {
        return false;
    }

    uLongf length = compressBound(static_cast<uLong>(data.size()));
    container->resize(kSizeWord + length);
    StoreLittleEndian32(static_cast<uint32_t>(data.size()), container->data());
    int result = compress2(container->data() + kSizeWord, &length, data.data(),
                           static_cast<uLong>(data.size()), level);
    if (result != Z_OK)
    {
        ReportError("%s", zError(result));
        return false;
    }
    container->resize(kSizeWord + length);
    return true;
}

bool PackContainer(const Bytes& data, Bytes* container)
{
    return PackAtLevel(data, Z_BEST_COMPRESSION, container);
}

bool PackQuickContainer(const Bytes& data, Bytes* container)
{
    return PackAtLevel(data, Z_BEST_SPEED, container);
}

bool PackSmallContainer(const Bytes& data, Bytes* container)
{
    if (!FitsContainer(data.size()))
    {
        return false;
    }
    ZopfliOptions options;
    ZopfliInitOptions(&options);
    unsigned char* stream = nullptr;
    size_t length = 0;
    ZopfliCompress(&options, ZOPFLI_FORMAT_ZLIB, data.data(), data.size(), &stream, &length);
    container->resize(kSizeWord);
    StoreLittleEndian32(static_cast<uint32_t>(data.size()), container->data());
    container->insert(container->end(), stream, stream + length);
    free(stream);
    // Of a few bytes zlib at times makes fewer.
    Bytes plain;
    if (PackContainer(data, &plain) && plain.size() <= container->size())
    {
        *container = plain;
    }
    return true;
}

/// Inflates to the end of the stream, step by step: the size word is not believed.
/// @param most   bytes; a longer stream ends somewhere after them
/// @param data   null to count alone
/// @param size   receives the bytes
/// @return false if the stream is damaged
static bool Inflate(const Bytes& container, size_t most, Bytes* data, size_t* size)
{
    *size = 0;
    z_stream stream = {};
    stream.next_in = const_cast<unsigned char*>(container.data()) + kSizeWord;
    stream.avail_in = static_cast<uInt>(container.size() - kSizeWord);
    if (inflateInit(&stream) != Z_OK)
    {
        return false;
    }

    Bytes step(data == nullptr ? kStep : 0);
    if (data != nullptr)
    {
        data->reserve(most + kStep); // else it would be moved as it grows, and there twice
    }
    int result = Z_OK;
    while (result == Z_OK && *size <= most)
    {
        if (data != nullptr)
        {
            data->resize(*size + kStep);
        }
        stream.next_out = data != nullptr ? data->data() + *size : step.data();
        stream.avail_out = kStep;
        result = inflate(&stream, Z_NO_FLUSH);
        *size += kStep - stream.avail_out;
    }
    inflateEnd(&stream);
    if (data != nullptr)
    {
        data->resize(*size);
    }
    return result == Z_STREAM_END || result == Z_OK;
}

const char* ContainerSizeFault(size_t size)
{
    return size < kSizeWord           ? "shorter than its size word"
           : size > kLargestContainer ? "too large for a container"
                                      : nullptr;
}

/// @param data   null to count alone
static const char* Unpack(const Bytes& container, Bytes* data, size_t* size)
{
    *size = 0;
    const char* sizeFault = ContainerSizeFault(container.size());
    if (sizeFault != nullptr)
    {
        return sizeFault;
    }
    const size_t told = LoadLittleEndian32(container.data());
    if (!Inflate(container, std::min<size_t>(told, kLargestInflatedSize), data, size))
    {
        return "the compressed data is damaged";
    }
    if (*size > kLargestInflatedSize)
    {
        return "it holds more than 1 GiB, which no reader takes";
    }
    return *size == told ? nullptr : "its size word is not the size of its data";
}

const char* UnpackContainer(const Bytes& container, Bytes* data)
{
    data->clear();
    size_t size = 0;
    return Unpack(container, data, &size);
}

const char* MeasureContainer(const Bytes& container, uint64_t* size)
{
    size_t counted = 0;
    const char* fault = Unpack(container, nullptr, &counted);
    *size = fault == nullptr ? counted : 0;
    return fault;
}

/// Writes what came out of a command.
static bool WriteOutput(const std::string& out, const Bytes& bytes, bool isForced)
{
    if (out == kStandardStream)
    {
        return WriteStandardOutput(bytes.data(), bytes.size());
    }
    return MayOverwrite(out, KindOfBytes(bytes), isForced) &&
           ReplaceFile(out, bytes.data(), bytes.size());
}

bool CompressFile(const std::string& in, const std::string& out, bool isForced)
{
    Bytes data;
    Bytes container;
    return ReadInput(in, kLargestInflatedSize, &data) && PackContainer(data, &container) &&
           WriteOutput(out, container, isForced);
}

bool DecompressFile(const std::string& in, const std::string& out, bool isForced)
{
    Bytes container;
    Bytes data;
    if (!ReadInput(in, kLargestContainer, &container))
    {
        return false;
    }
    const char* fault = UnpackContainer(container, &data);
    if (fault != nullptr)
    {
        ReportError("%s: %s", Printable(in).c_str(), fault);
        return false;
    }
    return WriteOutput(out, data, isForced);
}
