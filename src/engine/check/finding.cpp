// SPDX-License-Identifier: MIT
#include "engine/check/finding.h"

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <iterator>

// clang-format off
static constexpr const char* kRuleNames[] = {
    "unreadable-package", "missing-document", "unreadable-text", "missing-section", "moved-section",
    "extra-node", "not-an-element", "missing-attribute", "missing-child", "missing-text",
    "too-many", "ignored-rows", "unknown-element", "unknown-attribute",
    "not-a-number", "rubbish-after-number", "comma-decimal", "hex-number", "not-finite",
    "number-out-of-range", "negative-ticks", "unknown-word", "unknown-type", "parameter-count",
    "parameter-out-of-range",
    "dangling-reference", "missing-reference", "wrong-reference", "unused-item", "missing-entry",
    "damaged-entry", "doubled-entry", "unreachable-entry", "unnamed-entry", "missing-music",
    "not-a-module", "music-length",
    "ignored-alpha", "bitmap-without-alpha", "grey-bitmap", "odd-sides", "no-coordinates",
    "one-coordinate-set", "no-normals", "flat-triangles", "inside-out", "no-scale",
    "target-not-shown", "target-not-drawn",
    "target-feeds-itself", "open-target", "large-target", "blank-picture",
    "empty-timeline", "early-end", "hidden-clip", "past-index", "empty-loop", "late-spline",
    "loading-length", "short-first-row", "empty-clip", "never-seen",
    "too-many-instances", "too-large", "near-limit", "dearest-tick", "size",
};
// clang-format on
static_assert(std::size(kRuleNames) == kRuleCount);

const char* RuleName(Rule rule)
{
    return kRuleNames[static_cast<size_t>(rule)];
}

bool FindRule(const char* name, Rule* rule)
{
    for (uint32_t i = 0; i < kRuleCount; ++i)
    {
        if (strcmp(kRuleNames[i], name) == 0)
        {
            *rule = static_cast<Rule>(i);
            return true;
        }
    }
    return false;
}

std::string FormatText(const char* format, ...)
{
    char text[kFaultTextSize];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    return text;
}

uint32_t CountFindings(const FindingList& findings, Severity severity)
{
    return static_cast<uint32_t>(std::count_if(findings.begin(), findings.end(),
                                               [severity](const Finding& finding)
                                               { return finding.severity == severity; }));
}

/// Loading document, demo, package.
static int32_t DocumentRank(const Finding& finding)
{
    if (finding.place.document == nullptr)
    {
        return 2;
    }
    return strncmp(finding.place.document, "loading", 7) == 0 ? 0 : 1;
}

void SortFindings(FindingList* findings)
{
    std::stable_sort(findings->begin(), findings->end(),
                     [](const Finding& a, const Finding& b)
                     {
                         const int32_t rankA = DocumentRank(a);
                         const int32_t rankB = DocumentRank(b);
                         if (rankA != rankB)
                         {
                             return rankA < rankB;
                         }
                         return a.place.line != b.place.line ? a.place.line < b.place.line
                                                             : a.place.column < b.place.column;
                     });
}

const char* SeverityWord(Severity severity)
{
    static constexpr const char* kWords[] = {"note", "warning", "error"};
    return kWords[static_cast<size_t>(severity)];
}

/// The letters to change, add, take out or swap with their neighbour to make one word of the other.
static size_t CountEdits(const std::string& a, const std::string& b)
{
    std::vector<size_t> before(b.size() + 1);
    std::vector<size_t> last(b.size() + 1);
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j)
    {
        last[j] = j;
    }
    for (size_t i = 1; i <= a.size(); ++i)
    {
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j)
        {
            const size_t change = last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, change});
            const bool isSwapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
            if (isSwapped)
            {
                row[j] = std::min(row[j], before[j - 2] + 1);
            }
        }
        before = last;
        last = row;
    }
    return last[b.size()];
}

static std::string SmallLetters(std::string text)
{
    for (char& c : text)
    {
        c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
    }
    return text;
}

const char* FindNearest(const std::string& word, const std::vector<const char*>& candidates)
{
    static constexpr size_t kLongestWord = 64;
    if (word.size() > kLongestWord)
    {
        return nullptr;
    }
    const std::string small = SmallLetters(word);
    const char* nearest = nullptr;
    size_t fewest = 1 + small.size() / 3; // more changes than that make another word of it
    for (const char* candidate : candidates)
    {
        const size_t length = strlen(candidate);
        if (length > small.size() + fewest || length + fewest < small.size())
        {
            continue;
        }
        const size_t edits = CountEdits(small, SmallLetters(candidate));
        if (edits < fewest || (edits == fewest && nearest == nullptr))
        {
            nearest = candidate;
            fewest = edits;
        }
    }
    return nearest;
}
