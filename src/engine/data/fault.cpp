#include "engine/data/fault.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <iterator>

FaultPlace CurrentPlace = {nullptr, kNoSection, 0, 0};

static const char* programName = "quorvale";
static void (*restoreDisplay)() = nullptr;

struct SectionWords
{
    const char* section; // what the section holds
    const char* item;    // what an item is called
    const char* part;    // what a part of an item is called
};

static constexpr SectionWords kSectionWords[] = {
    {"section 0 (layers)", "item", "parameter"},
    {"section 1 (procedural textures)", "item", "step"},
    {"section 2 (models)", "item", "part"},
    {"section 3 (envelopes)", "item", "piece"},
    {"section 4 (lights)", "item", "value"},
    {"section 5 (2D effects)", "item", "parameter"},
    {"section 6 (bitmaps)", "item", "part"},
    {"section 7 (materials)", "item", "child"},
    {"section 8 (generated meshes)", "item", "parameter"},
    {"section 9 (scenes)", "item", "object"},
    {"section 10 (timeline)", "row", "clip"},
    {"music node", "item", "part"},
};

static void PrintPlace()
{
    const FaultPlace& place = CurrentPlace;
    if (place.document == nullptr)
    {
        return;
    }

    fprintf(stderr, "%s", place.document);
    if (place.section >= 0 && place.section < static_cast<int32_t>(std::size(kSectionWords)))
    {
        const SectionWords& words = kSectionWords[place.section];
        fprintf(stderr, ", %s", words.section);
        if (place.item != 0)
        {
            fprintf(stderr, ", %s %u", words.item, place.item);
        }
        if (place.part != 0)
        {
            fprintf(stderr, ", %s %u", words.part, place.part);
        }
    }
    fprintf(stderr, ": ");
}

/// Prints text that may come from a document: one line, and nothing that a terminal would obey.
static void PrintPlainly(const char* text)
{
    for (; *text != 0; ++text)
    {
        unsigned char byte = static_cast<unsigned char>(*text);
        if (byte < 0x20 || byte == 0x7F)
        {
            fprintf(stderr, "\\x%02X", static_cast<unsigned>(byte));
        }
        else
        {
            fputc(byte, stderr);
        }
    }
}

[[noreturn, gnu::format(printf, 1, 0)]] static void End(const char* format, va_list arguments)
{
    char text[1024];
    vsnprintf(text, sizeof(text), format, arguments);
    PrintPlainly(text);
    fprintf(stderr, "\n");

    // Taken out first: a fault while the display is given back must not come round again.
    void (*restore)() = restoreDisplay;
    restoreDisplay = nullptr;
    if (restore != nullptr)
    {
        restore();
    }
    exit(1);
}

void FatalFault(const char* format, ...)
{
    fflush(stdout);
    fprintf(stderr, "%s: ", programName);
    PrintPlace();

    va_list arguments;
    va_start(arguments, format);
    End(format, arguments);
}

void FatalError(const char* format, ...)
{
    fflush(stdout);
    fprintf(stderr, "%s: ", programName);

    va_list arguments;
    va_start(arguments, format);
    End(format, arguments);
}

void SetDisplayRestorer(void (*restore)())
{
    restoreDisplay = restore;
}

void SetProgramName(const char* name)
{
    programName = name;
}
