#include "engine/data/fault.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <iterator>

FaultPlace CurrentPlace = {nullptr, kNoSection, 0, 0};

static void (*restoreDisplay)() = nullptr;

struct SectionWords
{
    const char* section; // what the section holds
    const char* part;    // what a part of an item is called
};

static constexpr SectionWords kSectionWords[] = {
    {"section 0 (layers)", "parameter"},
    {"section 1 (procedural textures)", "step"},
    {"section 2 (models)", "part"},
    {"section 3 (envelopes)", "piece"},
    {"section 4 (lights)", "value"},
    {"section 5 (2D effects)", "parameter"},
    {"section 6 (bitmaps)", "part"},
    {"section 7 (materials)", "child"},
    {"section 8 (generated meshes)", "parameter"},
    {"section 9 (scenes)", "object"},
    {"section 10 (timeline)", "clip"},
    {"music node", "part"},
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
            fprintf(stderr, ", %s %u", place.section == 10 ? "row" : "item", place.item);
        }
        if (place.part != 0)
        {
            fprintf(stderr, ", %s %u", words.part, place.part);
        }
    }
    fprintf(stderr, ": ");
}

[[noreturn, gnu::format(printf, 1, 0)]] static void End(const char* format, va_list arguments)
{
    vfprintf(stderr, format, arguments);
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
    fprintf(stderr, "quorvale: ");
    PrintPlace();

    va_list arguments;
    va_start(arguments, format);
    End(format, arguments);
}

void FatalError(const char* format, ...)
{
    fflush(stdout);
    fprintf(stderr, "quorvale: ");

    va_list arguments;
    va_start(arguments, format);
    End(format, arguments);
}

void SetDisplayRestorer(void (*restore)())
{
    restoreDisplay = restore;
}
