#include "engine/data/fault.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "engine/data/vocabulary.h"

FaultPlace CurrentPlace = {nullptr, kNoSection, 0, 0};

static const char* programName = "quorvale";
static void (*restoreDisplay)() = nullptr;

static void PrintPlace()
{
    const FaultPlace& place = CurrentPlace;
    if (place.document == nullptr)
    {
        return;
    }

    fprintf(stderr, "%s", place.document);
    if (place.section >= 0 && place.section <= kMusicNode)
    {
        const VocabularySection& section = VocabularySections[place.section];
        fprintf(stderr, ", %s", section.faultName);
        if (place.item != 0)
        {
            fprintf(stderr, ", %s %u", section.faultItem, place.item);
        }
        if (place.part != 0)
        {
            fprintf(stderr, ", %s %u", section.faultPart, place.part);
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
