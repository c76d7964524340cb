// SPDX-License-Identifier: MIT
#include "tools/json_text.h"

#include <charconv>
#include <cmath>

#include "engine/data/plain_text.h"

std::string JsonQuoted(const std::string& text)
{
    std::string plain(PlainTextSize(text.size()), 0);
    plain.resize(FormatPlainText(text.c_str(), plain.data(), plain.size()));
    std::string quoted = "\"";
    for (const char c : plain)
    {
        quoted += c == '"' || c == '\\' ? std::string("\\") + c : std::string(1, c);
    }
    return quoted + "\"";
}

std::string JsonNumber(float number)
{
    if (!std::isfinite(number))
    {
        return "null";
    }
    char text[32];
    return {text, std::to_chars(text, text + sizeof(text), number).ptr};
}
