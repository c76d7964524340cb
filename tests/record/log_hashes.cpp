// SPDX-License-Identifier: MIT
#include "record/log_hashes.h"

#include <cstdint>
#include <iterator>
#include <string_view>

#include "support/content_hash.h"

static constexpr const char* kParts[] = {"start",  "loading", "playing", "printed",
                                         "system", "opengl",  "contents"};

enum Part : size_t
{
    kStart,
    kLoading,
    kPlaying,
    kPrinted,
    kSystem,
    kOpenGl,
    kContents,
};

static bool BeginsWith(std::string_view line, std::string_view beginning)
{
    return line.substr(0, beginning.size()) == beginning;
}

static Part KindOf(std::string_view line)
{
    if (BeginsWith(line, "> ") || BeginsWith(line, "! "))
    {
        return kPrinted;
    }
    if (BeginsWith(line, "SDL_") || BeginsWith(line, "ModPlug_") || BeginsWith(line, "AudioBlock"))
    {
        return kSystem;
    }
    return BeginsWith(line, "  ") ? kContents : kOpenGl;
}

std::string SummarizeLog(const std::string& log)
{
    uint64_t hashes[std::size(kParts)] = {};
    Part phase = kStart;
    size_t lines = 0;
    std::string_view last;
    std::string_view rest = log;
    while (!rest.empty())
    {
        size_t end = rest.find('\n');
        std::string_view line = rest.substr(0, end);
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
        if (phase == kStart && BeginsWith(line, "SDL_GetTicks"))
        {
            phase = kLoading;
        }
        if (phase == kLoading && BeginsWith(line, "SDL_GetKeyState"))
        {
            phase = kPlaying;
        }
        for (Part part : {phase, KindOf(line)})
        {
            hashes[part] = HashBytes(line.data(), line.size(), hashes[part]);
        }
        last = line;
        lines += 1;
    }

    std::string summary(last);
    summary += ", " + std::to_string(lines) + " lines, ";
    summary += HashText(HashBytes(log.data(), log.size(), 1));
    summary += HashText(HashBytes(log.data(), log.size(), 2));
    for (size_t part = 0; part < std::size(kParts); ++part)
    {
        summary += std::string(" ") + kParts[part] + " ";
        summary += HashText(hashes[part]).substr(0, 8);
    }
    return summary;
}
