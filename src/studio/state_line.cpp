#include "studio/state_line.h"

#include <cstdio>

static std::string Quoted(const std::string& text)
{
    std::string quoted = "\"";
    for (const char c : text)
    {
        if (c == '"' || c == '\\')
        {
            quoted += '\\';
        }
        if (static_cast<unsigned char>(c) >= 0x20)
        {
            quoted += c;
            continue;
        }
        char escaped[8];
        snprintf(escaped, sizeof(escaped), "\\u%04x", static_cast<unsigned>(c));
        quoted += escaped;
    }
    return quoted + "\"";
}

static std::string Member(const char* name, const std::string& value)
{
    return Quoted(name) + ": " + value;
}

static std::string Number(uint64_t number)
{
    return std::to_string(number);
}

static std::string Truth(bool truth)
{
    return truth ? "true" : "false";
}

static std::string Texts(const std::vector<std::string>& texts)
{
    std::string list;
    for (const std::string& text : texts)
    {
        list += (list.empty() ? "" : ", ") + Quoted(text);
    }
    return "[" + list + "]";
}

static std::string Rects(const Studio* studio)
{
    std::string list;
    for (const auto& [name, rect] : studio->rects)
    {
        char numbers[128];
        snprintf(numbers, sizeof(numbers), "[%d, %d, %d, %d]", static_cast<int>(rect.left),
                 static_cast<int>(rect.top), static_cast<int>(rect.width),
                 static_cast<int>(rect.height));
        list += (list.empty() ? "" : ", ") + Member(name.c_str(), numbers);
    }
    return "{" + list + "}";
}

static std::string State(const Studio* studio)
{
    const Transport& transport = studio->transport;
    int x = 0;
    int y = 0;
    SDL_GetWindowPosition(studio->window.window, &x, &y);
    const std::string members[] = {
        Member("window", "[" + std::to_string(x) + ", " + std::to_string(y) + "]"),
        Member("redraws", Number(studio->redraws)),
        Member("piece", Quoted(studio->loadedPath)),
        Member("tick", Number(TransportTick(&transport))),
        Member("shown", Number(studio->shownTick)),
        Member("end", Number(transport.endTick)),
        Member("plays", Truth(transport.plays)),
        Member("speed", Number(transport.speed)),
        Member("range", transport.hasRange ? "[" + Number(transport.rangeBegin) + ", " +
                                                 Number(transport.rangeEnd) + "]"
                                           : "null"),
        Member("frames", Number(studio->frames)),
        Member("loads", Number(studio->loads)),
        Member("loading", Truth(studio->loader.isRunning)),
        Member("load_us", Number(studio->loadUs)),
        Member("seek_us", Number(studio->seekUs)),
        Member("faults", Texts(studio->faults)),
        Member("sound", studio->sound.device == 0 ? "\"none\""
                        : studio->sound.isPlaying ? "\"plays\""
                                                  : "\"waits\""),
        Member("sound_ms", Number(studio->soundMs)),
        Member("muted", Truth(studio->sound.isMuted)),
        Member("volume", Number(static_cast<uint64_t>(studio->settings.volume))),
        Member("samples",
               Number(studio->track.samples == nullptr ? 0 : studio->track.samples->size() / 2)),
        Member("rows", Number(studio->track.rows.size())),
        Member("panels", Truth(studio->showsPanels)),
        Member("keys", Truth(studio->showsKeys)),
        Member("message", Quoted(studio->message)),
        Member("rects", Rects(studio)),
    };
    std::string line;
    for (const std::string& member : members)
    {
        line += (line.empty() ? "" : ", ") + member;
    }
    return "{" + line + "}";
}

std::string Answer(const Studio* studio, const std::string& question)
{
    return question == "state" ? State(studio)
                               : "{" + Member("error", Quoted("the question is \"state\"")) + "}";
}
