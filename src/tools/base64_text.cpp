// SPDX-License-Identifier: MIT
#include "tools/base64_text.h"

std::string Base64(const Bytes& bytes)
{
    static constexpr const char* kDigits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (size_t i = 0; i < bytes.size(); i += 3)
    {
        const size_t count = bytes.size() - i < 3 ? bytes.size() - i : 3;
        uint32_t group = static_cast<uint32_t>(bytes[i]) << 16;
        group |= count > 1 ? static_cast<uint32_t>(bytes[i + 1]) << 8 : 0;
        group |= count > 2 ? bytes[i + 2] : 0;
        for (size_t k = 0; k < 4; ++k)
        {
            text += k <= count ? kDigits[group >> (18 - 6 * k) & 63] : '=';
        }
    }
    return text;
}
