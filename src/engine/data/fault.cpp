// SPDX-License-Identifier: MIT
#include "engine/data/fault.h"

#include <cassert>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <tinyxml.h>

#include "engine/data/plain_text.h"
#include "engine/data/vocabulary.h"

static constexpr uint32_t kFirstCapacity = 8; // faults after the first

void StartFaults(FaultList* faults)
{
    *faults = {};
    faults->place = PlaceAt(nullptr, Section::kNone);
}

void FreeFaults(FaultList* faults)
{
    free(faults->more);
    StartFaults(faults);
}

/// @return where the next fault goes; null without memory
static Fault* AppendFault(FaultList* faults)
{
    if (faults->count == 0)
    {
        faults->count = 1;
        return &faults->first;
    }
    if (faults->count - 1 == faults->capacity)
    {
        const uint32_t capacity = faults->capacity == 0 ? kFirstCapacity : 2 * faults->capacity;
        void* more = realloc(faults->more, sizeof(Fault) * capacity);
        if (more == nullptr)
        {
            return nullptr;
        }
        faults->more = static_cast<Fault*>(more);
        faults->capacity = capacity;
    }
    faults->count += 1;
    return &faults->more[faults->count - 2];
}

/// @param node   null for the list's place as it is
static Place PlaceOfNode(const FaultList* faults, const TiXmlNode* node)
{
    Place place = faults->place;
    if (node != nullptr)
    {
        place.line = node->Row();
        place.column = node->Column();
    }
    return place;
}

/// All of a fault but its words.
struct FaultHead
{
    Severity severity;
    FaultKind kind;
    Place place;
};

[[gnu::format(printf, 3, 0)]] static void Append(FaultList* faults, const FaultHead& head,
                                                 const char* format, va_list arguments)
{
    faults->errorCount += head.severity == Severity::kError ? 1 : 0;
    Fault* fault = AppendFault(faults);
    if (fault == nullptr)
    {
        return;
    }
    fault->severity = head.severity;
    fault->kind = head.kind;
    fault->place = head.place;
    vsnprintf(fault->text, sizeof(fault->text), format, arguments);
}

void AddFault(FaultList* faults, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    Append(faults, {Severity::kError, FaultKind::kDocument, faults->place}, format, arguments);
    va_end(arguments);
}

void AddFaultAt(FaultList* faults, const TiXmlNode* node, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    Append(faults, {Severity::kError, FaultKind::kDocument, PlaceOfNode(faults, node)}, format,
           arguments);
    va_end(arguments);
}

void AddError(FaultList* faults, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    Append(faults, {Severity::kError, FaultKind::kProgram, PlaceAt(nullptr, Section::kNone)},
           format, arguments);
    va_end(arguments);
}

void AddRemark(FaultList* faults, Severity severity, const TiXmlNode* node, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    Append(faults, {severity, FaultKind::kDocument, PlaceOfNode(faults, node)}, format, arguments);
    va_end(arguments);
}

const Fault* GetFault(const FaultList* faults, uint32_t i)
{
    assert(i < faults->count);
    return i == 0 ? &faults->first : &faults->more[i - 1];
}

/// Writes the place, ": " included; nothing outside documents.
static void FormatPlace(const Place& place, char* text, size_t size)
{
    text[0] = 0;
    if (place.document == nullptr)
    {
        return;
    }

    char item[64] = "";
    char part[64] = "";
    const VocabularySection* words = FindVocabularySection(place.section);
    if (words != nullptr && place.item != 0)
    {
        snprintf(item, sizeof(item), ", %s %u", words->faultItem, place.item);
    }
    if (words != nullptr && place.part != 0)
    {
        snprintf(part, sizeof(part), ", %s %u", words->faultPart, place.part);
    }
    snprintf(text, size, "%s%s%s%s%s: ", place.document, words == nullptr ? "" : ", ",
             words == nullptr ? "" : words->faultName, item, part);
}

size_t FormatFault(const Fault* fault, const char* program, char* line, size_t size)
{
    char place[kFaultTextSize] = "";
    if (fault->kind == FaultKind::kDocument)
    {
        FormatPlace(fault->place, place, sizeof(place));
    }
    char plainPlace[PlainTextSize(kFaultTextSize)];
    char plainText[PlainTextSize(kFaultTextSize)];
    FormatPlainText(place, plainPlace, sizeof(plainPlace));
    FormatPlainText(fault->text, plainText, sizeof(plainText));
    return static_cast<size_t>(snprintf(line, size, "%s: %s%s", program, plainPlace, plainText));
}

void PrintFault(const Fault* fault, const char* program)
{
    char line[kFaultLineSize];
    FormatFault(fault, program, line, sizeof(line));
    fflush(stdout);
    fprintf(stderr, "%s\n", line);
}
