// SPDX-License-Identifier: MIT
#include "tools/vocabulary_command.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "engine/data/vocabulary.h"
#include "tools/report.h"

/// The shortest digits that read back as the same float: 0.00392157 and not 0.0039215698.
static std::string NumberText(float value)
{
    char text[32];
    for (int digits = 6; digits <= 9; ++digits)
    {
        snprintf(text, sizeof(text), "%.*g", digits, static_cast<double>(value));
        if (strtof(text, nullptr) == value)
        {
            break;
        }
    }
    return text;
}

// ---- Text

static std::string RangeText(const VocabularyParam& param)
{
    if (param.kind >= ParamKind::Envelope)
    {
        return "";
    }
    const bool low = std::isfinite(param.least);
    const bool high = std::isfinite(param.most);
    if (low && high)
    {
        return ", " + NumberText(param.least) + " to " + NumberText(param.most) + ", past it " +
               PastRangeWord(param.past);
    }
    return low ? ", at least " + NumberText(param.least) + ", below it " + PastRangeWord(param.past)
               : "";
}

static void PrintRowText(const VocabularyRow& row)
{
    printf("  %d %s \"%s\"", row.number, row.word, row.name);
    for (uint32_t bit = 0; bit < kTraitCount; ++bit)
    {
        if ((row.traits & (1u << bit)) != 0)
        {
            printf(" +%s", TraitWord(bit));
        }
    }
    if (row.formula != nullptr)
    {
        printf(" %s", row.formula);
    }
    printf("\n");
    for (const VocabularyParam& param : row.params)
    {
        printf("      %s \"%s\": %s, the %s%s\n", param.word, param.name, ParamKindWord(param.kind),
               param.meaning, RangeText(param).c_str());
    }
}

static std::string CountText(const VocabularyElement& element)
{
    if (element.least == element.most)
    {
        return element.most == 1 ? "" : ", " + std::to_string(element.most);
    }
    std::string text = ", " + std::to_string(element.least);
    return text + (element.most == kNoLimit ? " or more" : " to " + std::to_string(element.most));
}

static void PrintElementText(const VocabularyElement& element, int indent)
{
    printf("%*s<%s", indent, "", element.name);
    for (const VocabularyAttribute& attribute : element.attributes)
    {
        printf(" %s=%s%s", attribute.name, ContentKindWord(attribute.content),
               attribute.required ? "" : "?");
    }
    printf(">");
    if (element.text != ContentKind::Nothing)
    {
        printf(" %s", ContentKindWord(element.text));
    }
    printf("%s\n", CountText(element).c_str());
    for (const VocabularyElement& child : element.children)
    {
        PrintElementText(child, indent + 2);
    }
}

static void PrintText()
{
    for (const Catalogue& catalogue : Catalogues)
    {
        printf("%s\n", catalogue.word);
        for (const VocabularyRow& row : catalogue.rows)
        {
            PrintRowText(row);
        }
        printf("\n");
    }
    for (const VocabularySection& section : VocabularySections)
    {
        printf("section %d, %s\n", static_cast<int>(section.section), section.word);
        PrintElementText(*section.item, 2);
        printf("\n");
    }
    printf("limits\n");
    for (const VocabularyLimit& limit : VocabularyLimits)
    {
        printf("  %s %u: %s, more %s\n", limit.word, limit.most, limit.meaning,
               PastLimitWord(limit.past));
    }
}

// ---- JSON. The table's own texts need no escapes; a test parses them all.

static std::string Quoted(const char* text)
{
    return std::string("\"") + text + "\"";
}

/// null stands for no end.
static std::string EndJson(float value)
{
    return std::isfinite(value) ? NumberText(value) : "null";
}

static void PrintParamJson(const VocabularyParam& param)
{
    printf("{\"name\": %s, \"word\": %s, \"meaning\": %s, \"kind\": %s, \"least\": %s, "
           "\"most\": %s, \"usual\": %s, \"past\": %s}",
           Quoted(param.name).c_str(), Quoted(param.word).c_str(), Quoted(param.meaning).c_str(),
           Quoted(ParamKindWord(param.kind)).c_str(), EndJson(param.least).c_str(),
           EndJson(param.most).c_str(), NumberText(param.usual).c_str(),
           Quoted(PastRangeWord(param.past)).c_str());
}

static std::string TraitsJson(uint32_t traits)
{
    std::string text;
    for (uint32_t bit = 0; bit < kTraitCount; ++bit)
    {
        if ((traits & (1u << bit)) != 0)
        {
            text += (text.empty() ? "" : ", ") + Quoted(TraitWord(bit));
        }
    }
    return "[" + text + "]";
}

static void PrintRowJson(const VocabularyRow& row)
{
    printf("      {\"number\": %d, \"name\": %s, \"word\": %s, \"traits\": %s, \"formula\": %s, "
           "\"params\": [",
           row.number, Quoted(row.name).c_str(), Quoted(row.word).c_str(),
           TraitsJson(row.traits).c_str(),
           row.formula == nullptr ? "null" : Quoted(row.formula).c_str());
    const char* before = "";
    for (const VocabularyParam& param : row.params)
    {
        printf("%s\n        ", before);
        PrintParamJson(param);
        before = ",";
    }
    printf("]}");
}

static void PrintCatalogueJson(const Catalogue& catalogue)
{
    printf("    %s: {\"animated\": %s, \"absent\": %s, \"rows\": [\n",
           Quoted(catalogue.word).c_str(), catalogue.animated ? "true" : "false",
           NumberText(catalogue.absent).c_str());
    const char* before = "";
    for (const VocabularyRow& row : catalogue.rows)
    {
        printf("%s", before);
        PrintRowJson(row);
        before = ",\n";
    }
    printf("]}");
}

/// The catalogue or section that an attribute names, null for others.
static std::string TargetJson(const VocabularyAttribute& attribute)
{
    switch (attribute.content)
    {
    case ContentKind::Row:
        return Quoted(Catalogues[attribute.of].word);
    case ContentKind::Item:
        return Quoted(VocabularySections[attribute.of].word);
    default:
        return "null";
    }
}

static void PrintElementJson(const VocabularyElement& element, int indent)
{
    printf("%*s{\"name\": %s, \"name_counts\": %s, \"least\": %u, \"most\": %s, \"text\": %s,\n",
           indent, "", Quoted(element.name).c_str(), element.nameCounts ? "true" : "false",
           element.least, element.most == kNoLimit ? "null" : std::to_string(element.most).c_str(),
           Quoted(ContentKindWord(element.text)).c_str());
    printf("%*s\"attributes\": [", indent + 1, "");
    const char* before = "";
    for (const VocabularyAttribute& attribute : element.attributes)
    {
        printf("%s{\"name\": %s, \"content\": %s, \"of\": %s, \"required\": %s}", before,
               Quoted(attribute.name).c_str(), Quoted(ContentKindWord(attribute.content)).c_str(),
               TargetJson(attribute).c_str(), attribute.required ? "true" : "false");
        before = ", ";
    }
    printf("],\n%*s\"children\": [", indent + 1, "");
    before = "\n";
    for (const VocabularyElement& child : element.children)
    {
        printf("%s", before);
        PrintElementJson(child, indent + 2);
        before = ",\n";
    }
    printf("]}");
}

static void PrintJson()
{
    printf("{\n  \"catalogues\": {\n");
    const char* before = "";
    for (const Catalogue& catalogue : Catalogues)
    {
        printf("%s", before);
        PrintCatalogueJson(catalogue);
        before = ",\n";
    }
    printf("\n  },\n  \"sections\": [\n");
    before = "";
    for (const VocabularySection& section : VocabularySections)
    {
        printf("%s    {\"number\": %d, \"word\": %s, \"item\":\n", before,
               static_cast<int>(section.section), Quoted(section.word).c_str());
        PrintElementJson(*section.item, 6);
        printf("}");
        before = ",\n";
    }
    printf("\n  ],\n  \"limits\": [");
    before = "\n";
    for (const VocabularyLimit& limit : VocabularyLimits)
    {
        printf("%s    {\"word\": %s, \"most\": %u, \"past\": %s, \"meaning\": %s}", before,
               Quoted(limit.word).c_str(), limit.most, Quoted(PastLimitWord(limit.past)).c_str(),
               Quoted(limit.meaning).c_str());
        before = ",\n";
    }
    printf("\n  ],\n  \"ticks_per_second\": %u,\n  \"texture_side\": %d\n}\n", kTicksPerSecond,
           kTextureSize);
}

bool PrintVocabulary(VocabularyForm form)
{
    if (form == VocabularyForm::Json)
    {
        PrintJson();
    }
    else
    {
        PrintText();
    }
    if (fflush(stdout) != 0 || ferror(stdout) != 0)
    {
        ReportError("the vocabulary can't be written: %s", strerror(errno));
        return false;
    }
    return true;
}
