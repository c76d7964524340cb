// SPDX-License-Identifier: MIT
#include "tools/render_time.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "music/load_module.h"

static constexpr uint64_t kTicksPerSecond = 100;
static constexpr int32_t kLargestSide = 32767; // pixels, more than any driver does

uint64_t PictureTicks(const PictureRate& rate, uint64_t n)
{
    return n * kTicksPerSecond * rate.denominator / rate.numerator;
}

uint64_t CountPictures(const PictureRate& rate, uint32_t ticks)
{
    const uint64_t step = kTicksPerSecond * rate.denominator;
    return (uint64_t{ticks} * rate.numerator + step - 1) / step;
}

uint64_t PictureFrames(const PictureRate& rate, uint64_t n)
{
    // The seconds apart from the rest: their product with the rest would not fit for long films.
    const uint64_t scaled = n * rate.denominator;
    return scaled / rate.numerator * kModuleRate +
           scaled % rate.numerator * kModuleRate / rate.numerator;
}

/// Takes a number of decimal digits from the front of a text.
/// @return false if there is none, or if it is above the most
static bool TakeNumber(const char** text, uint64_t most, uint64_t* number)
{
    const char* first = *text;
    *number = 0;
    for (; **text >= '0' && **text <= '9'; ++*text)
    {
        *number = *number * 10 + static_cast<uint64_t>(**text - '0');
        if (*number > most)
        {
            return false;
        }
    }
    return *text != first;
}

bool ParseRate(const std::string& text, PictureRate* rate)
{
    const char* at = text.c_str();
    uint64_t numerator = 0;
    uint64_t denominator = 1;
    bool isRate = TakeNumber(&at, kMostOfARate, &numerator);
    if (isRate && *at == '/')
    {
        ++at;
        isRate = TakeNumber(&at, kMostOfARate, &denominator);
    }
    *rate = {static_cast<uint32_t>(numerator), static_cast<uint32_t>(denominator)};
    return isRate && *at == 0 && numerator > 0 && denominator > 0;
}

bool ParseSize(const std::string& text, int32_t* width, int32_t* height)
{
    const char* at = text.c_str();
    uint64_t sides[2] = {};
    const bool isSize = TakeNumber(&at, kLargestSide, &sides[0]) && (*at == 'x' || *at == 'X') &&
                        TakeNumber(&++at, kLargestSide, &sides[1]) && *at == 0;
    *width = static_cast<int32_t>(sides[0]);
    *height = static_cast<int32_t>(sides[1]);
    return isSize && *width > 0 && *height > 0;
}

bool ParseAspect(const std::string& text, float* aspect)
{
    struct NamedAspect
    {
        const char* name;
        float aspect;
    };
    static constexpr NamedAspect kAspects[] = {
        {"4:3", 1.3333334f}, {"16:9", 1.7777778f}, {"16:10", 1.6f}};
    for (const NamedAspect& named : kAspects)
    {
        if (text == named.name)
        {
            *aspect = named.aspect;
            return true;
        }
    }
    char* end = nullptr;
    *aspect = strtof(text.c_str(), &end);
    return !text.empty() && *end == 0 && std::isfinite(*aspect) && *aspect > 0.0f;
}

/// Takes ".25" from the front of a text.
/// @return hundredths; further digits are dropped
static uint64_t TakeHundredths(const char** text)
{
    uint64_t hundredths = 0;
    if (**text == '.')
    {
        ++*text;
        for (uint64_t worth = 10; **text >= '0' && **text <= '9'; ++*text, worth /= 10)
        {
            hundredths += static_cast<uint64_t>(**text - '0') * worth;
        }
    }
    return hundredths;
}

WrittenTime ParseTime(const std::string& text)
{
    static constexpr WrittenTime kNone = {TimeForm::kWrong, 0, 0, 0};
    const char* at = text.c_str();
    uint64_t first = 0;
    if (!TakeNumber(&at, kMostTicks, &first))
    {
        return kNone;
    }
    if (*at == 't')
    {
        return at[1] == 0 ? WrittenTime{TimeForm::kTick, static_cast<uint32_t>(first), 0, 0}
                          : kNone;
    }
    const bool hasMinutes = *at == ':';
    uint64_t seconds = first;
    if (hasMinutes)
    {
        ++at;
        uint64_t second = 0;
        if (!TakeNumber(&at, kMostTicks, &second))
        {
            return kNone;
        }
        if (*at == 0)
        {
            return {TimeForm::kRow, 0, static_cast<int32_t>(first), static_cast<int32_t>(second)};
        }
        if (second >= 60)
        {
            return kNone;
        }
        seconds = first * 60 + second;
    }
    const uint64_t ticks = seconds * kTicksPerSecond + TakeHundredths(&at);
    if (*at == 's' && !hasMinutes)
    {
        ++at;
    }
    if (*at != 0 || ticks > kMostTicks)
    {
        return kNone;
    }
    return {TimeForm::kTick, static_cast<uint32_t>(ticks), 0, 0};
}

std::string TimeText(uint64_t ticks)
{
    char text[32];
    snprintf(text, sizeof(text), "%llu:%02llu.%02llu",
             static_cast<unsigned long long>(ticks / (60 * kTicksPerSecond)),
             static_cast<unsigned long long>(ticks / kTicksPerSecond % 60),
             static_cast<unsigned long long>(ticks % kTicksPerSecond));
    return text;
}
