// SPDX-License-Identifier: MIT

// Bytes written out in a test, as an open file.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

using Bytes = std::vector<uint8_t>;

/// @return a binary read stream on a temporary file that holds `bytes`, for fclose; the file goes
///         with the stream
inline FILE* OpenBytes(const Bytes& bytes)
{
    FILE* stream = tmpfile();
    if (stream != nullptr)
    {
        fwrite(bytes.data(), 1, bytes.size(), stream);
        rewind(stream);
    }
    return stream;
}

inline FILE* OpenBytes(const std::string& bytes)
{
    return OpenBytes(Bytes(bytes.begin(), bytes.end()));
}

/// Appends text without a terminator, padded with zeros to `size` bytes (0: not padded).
inline void AppendText(Bytes* bytes, const std::string& text, size_t size = 0)
{
    bytes->insert(bytes->end(), text.begin(), text.end());
    if (text.size() < size)
    {
        bytes->insert(bytes->end(), size - text.size(), 0);
    }
}

inline void AppendBytes(Bytes* bytes, const Bytes& more)
{
    bytes->insert(bytes->end(), more.begin(), more.end());
}
