// SPDX-License-Identifier: MIT
#include "studio/logic/options.h"

#include <cctype>
#include <cstdlib>

static constexpr double kTicksPerSecond = 100.0;
static constexpr double kLatestSecond = 10000000.0; // far past the end of any timeline

/// Reads digits, with a point among them or not. strtod would take signs, hexadecimals and "inf".
static bool ParseDecimal(const std::string& text, double* value)
{
    bool hasDigit = false;
    uint32_t points = 0;
    for (const char c : text)
    {
        hasDigit = hasDigit || isdigit(static_cast<unsigned char>(c)) != 0;
        points += c == '.' ? 1 : 0;
        if (c != '.' && isdigit(static_cast<unsigned char>(c)) == 0)
        {
            return false;
        }
    }
    *value = strtod(text.c_str(), nullptr);
    return hasDigit && points <= 1 && *value <= kLatestSecond;
}

bool ParseMoment(const std::string& text, uint32_t* tick)
{
    double value = 0.0;
    if (!text.empty() && text.back() == 't')
    {
        if (text.find('.') != std::string::npos ||
            !ParseDecimal(text.substr(0, text.size() - 1), &value))
        {
            return false;
        }
        *tick = static_cast<uint32_t>(value);
        return true;
    }
    const size_t colon = text.find(':');
    double minutes = 0.0;
    if (colon != std::string::npos && !ParseDecimal(text.substr(0, colon), &minutes))
    {
        return false;
    }
    if (!ParseDecimal(colon == std::string::npos ? text : text.substr(colon + 1), &value) ||
        minutes * 60.0 + value > kLatestSecond)
    {
        return false;
    }
    // Half a hundredth more: 0.29 s are 28.999... ticks in binary.
    *tick = static_cast<uint32_t>((minutes * 60.0 + value) * kTicksPerSecond + 0.005);
    return true;
}

static bool ParseSide(const std::string& text, int32_t* side)
{
    if (text.empty() || text.size() > 4 || text.find_first_not_of("0123456789") != text.npos)
    {
        return false;
    }
    *side = atoi(text.c_str());
    return *side >= 1 && *side <= kLargestPictureSide;
}

bool ParseSize(const std::string& text, int32_t* width, int32_t* height)
{
    const size_t x = text.find('x');
    return x != std::string::npos && ParseSide(text.substr(0, x), width) &&
           ParseSide(text.substr(x + 1), height);
}

struct FlagRow
{
    const char* name;
    bool StudioOptions::*flag;
};

static constexpr FlagRow kFlags[] = {
    {"--play", &StudioOptions::isViewer}, {"--fullscreen", &StudioOptions::isFullscreen},
    {"--no-ui", &StudioOptions::hasNoUi}, {"--mute", &StudioOptions::isMuted},
    {"--loop", &StudioOptions::repeats},  {"--help", &StudioOptions::wantsHelp},
    {"-h", &StudioOptions::wantsHelp},    {"--version", &StudioOptions::wantsVersion},
    {"-V", &StudioOptions::wantsVersion},
};

static bool TakeFlag(const std::string& argument, StudioOptions* options)
{
    for (const FlagRow& row : kFlags)
    {
        if (argument == row.name)
        {
            options->*row.flag = true;
            return true;
        }
    }
    return false;
}

struct TextRow
{
    const char* name;
    std::string StudioOptions::*text;
};

static constexpr TextRow kTexts[] = {
    {"--control", &StudioOptions::control},
    {"--builder", &StudioOptions::builder},
    {"--musician", &StudioOptions::musician},
};

/// Takes an option with a value.
/// @param taken   receives whether there is such an option
/// @return an empty text, or what is wrong with the value
static std::string TakeValue(const std::string& name, const std::string& value,
                             StudioOptions* options, bool* taken)
{
    *taken = true;
    for (const TextRow& row : kTexts)
    {
        if (name == row.name)
        {
            options->*row.text = value;
            return value.empty() ? name + " needs a path" : "";
        }
    }
    if (name == "--size")
    {
        return ParseSize(value, &options->width, &options->height)
                   ? ""
                   : "--size \"" + value + "\" is no size such as 1280x720";
    }
    if (name == "--from")
    {
        options->hasFrom = true;
        return ParseMoment(value, &options->fromTick)
                   ? ""
                   : "--from \"" + value + "\" is no moment such as 12.5, 1:12 or 1250t";
    }
    *taken = false;
    return "";
}

std::string ParseOptions(const std::vector<std::string>& arguments, StudioOptions* options)
{
    *options = {};
    bool namesOnly = false;
    for (size_t i = 0; i < arguments.size(); ++i)
    {
        const std::string& argument = arguments[i];
        if (namesOnly || argument.empty() || argument[0] != '-' || argument == "-")
        {
            options->pieces.push_back(argument);
            continue;
        }
        if (argument == "--")
        {
            namesOnly = true;
            continue;
        }
        if (TakeFlag(argument, options))
        {
            continue;
        }
        const size_t equals = argument.find('=');
        const std::string name = argument.substr(0, equals);
        const bool hasNext = equals != std::string::npos || i + 1 < arguments.size();
        const std::string value = equals != std::string::npos ? argument.substr(equals + 1)
                                  : hasNext                   ? arguments[i + 1]
                                                              : "";
        bool taken = false;
        std::string wrong = TakeValue(name, value, options, &taken);
        if (!taken)
        {
            return "there is no option \"" + argument + "\"";
        }
        if (!wrong.empty())
        {
            return wrong;
        }
        i += equals == std::string::npos ? 1 : 0;
    }
    if (!options->isViewer && options->pieces.size() > 1)
    {
        return "the studio opens one piece; --play takes several";
    }
    if (options->isViewer && options->pieces.empty())
    {
        return "--play needs a piece";
    }
    return "";
}

const char* OptionsHelp()
{
    return "Shows a piece while it is written, and plays packages.\n"
           "\n"
           "    quorvale-studio [OPTIONS] [PIECE]\n"
           "    quorvale-studio --play [OPTIONS] PIECE...\n"
           "\n"
           "PIECE is a folder of sources or a package. F1 lists the keys.\n"
           "\n"
           "  --play            Start at once and show the picture alone; quit after the last "
           "piece\n"
           "  --fullscreen      Fill the screen\n"
           "  --size WxH        Size of the picture in pixels (1280x720)\n"
           "  --from MOMENT     Start there, and without --play stand there: seconds 12.5,\n"
           "                    minutes 1:12.5 or ticks 1250t\n"
           "  --loop            Begin again after the end\n"
           "  --mute            Without sound; M brings it back\n"
           "  --no-ui           No text over the picture\n"
           "  --control PATH    Answer questions on a socket; see quorvale-studio(1)\n"
           "  -h, --help        Print this\n"
           "  -V, --version     Print the version\n";
}
