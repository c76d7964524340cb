// SPDX-License-Identifier: MIT
#include "studio/logic/typed_moment.h"

#include <cstdlib>

#include "studio/logic/options.h"

/// Reads a number of up to three digits: no module has more orders or rows.
static bool ParseShortNumber(const std::string& text, uint32_t* number)
{
    static constexpr size_t kMostDigits = 3;
    if (text.empty() || text.size() > kMostDigits ||
        text.find_first_not_of("0123456789") != std::string::npos)
    {
        return false;
    }
    *number = static_cast<uint32_t>(atoi(text.c_str()));
    return true;
}

bool ParseTypedMoment(const std::string& text, TypedMoment* moment)
{
    *moment = {};
    const size_t begin = text.find_first_not_of(' ');
    if (begin == std::string::npos)
    {
        return false;
    }
    const std::string word = text.substr(begin, text.find_last_not_of(' ') + 1 - begin);
    if (word[0] != 'o')
    {
        return ParseMoment(word, &moment->tick);
    }
    moment->isRow = true;
    const size_t colon = word.find(':');
    if (colon == std::string::npos)
    {
        return ParseShortNumber(word.substr(1), &moment->order);
    }
    return ParseShortNumber(word.substr(1, colon - 1), &moment->order) &&
           ParseShortNumber(word.substr(colon + 1), &moment->row);
}
