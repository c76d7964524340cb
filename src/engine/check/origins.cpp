// SPDX-License-Identifier: MIT
#include "engine/check/origins.h"

#include <cstdio>
#include <cstdlib>
#include <sys/stat.h>
#include <zlib.h>

/// "mine/" for "mine/demo.xml"; empty for a file of the working directory.
static std::string FolderOf(const std::string& document)
{
    const size_t slash = document.rfind('/');
    return slash == std::string::npos ? "" : document.substr(0, slash + 1);
}

/// ".demo.origins" for "demo.xml", in the same folder.
static std::string TablePath(const std::string& document)
{
    const std::string folder = FolderOf(document);
    const std::string name = document.substr(folder.size());
    return folder + "." + name.substr(0, name.rfind('.')) + ".origins";
}

static std::vector<std::string> SplitAtTabs(const std::string& line)
{
    std::vector<std::string> words;
    size_t start = 0;
    for (size_t tab = line.find('\t'); tab != std::string::npos; tab = line.find('\t', start))
    {
        words.push_back(line.substr(start, tab - start));
        start = tab + 1;
    }
    words.push_back(line.substr(start));
    return words;
}

/// @return false for text that is no number, or not one alone
static bool ParseNumber(const std::string& text, uint32_t* number)
{
    char* end = nullptr;
    const unsigned long value = strtoul(text.c_str(), &end, 10);
    *number = static_cast<uint32_t>(value);
    return text.find_first_not_of("0123456789") == std::string::npos && !text.empty() &&
           *end == 0 && value <= UINT32_MAX;
}

/// @param word   "FILE:LINE", the file relative to the folder or absolute
static bool ParseLine(const std::string& word, const std::string& folder, OriginLine* line)
{
    const size_t colon = word.rfind(':');
    if (colon == std::string::npos || colon == 0 ||
        !ParseNumber(word.substr(colon + 1), &line->line))
    {
        return false;
    }
    line->file = (word[0] == '/' ? "" : folder) + word.substr(0, colon);
    return true;
}

static bool ParseOrigin(const std::string& text, const std::string& folder, Origin* origin)
{
    const std::vector<std::string> words = SplitAtTabs(text);
    uint32_t section = 0;
    if (words.size() < 4 || !ParseNumber(words[0], &section) ||
        !ParseNumber(words[1], &origin->item) || !ParseNumber(words[2], &origin->part))
    {
        return false;
    }
    origin->section = static_cast<int32_t>(section);
    for (size_t i = 3; i < words.size(); ++i)
    {
        OriginLine line;
        if (!ParseLine(words[i], folder, &line))
        {
            return false;
        }
        origin->lines.push_back(line);
    }
    return true;
}

/// The table's first line: the size of the text that it belongs to, and its CRC-32.
static bool IsOfText(const std::string& line, std::string_view text)
{
    const std::vector<std::string> words = SplitAtTabs(line);
    uint32_t size = 0;
    uint32_t sum = 0;
    return words.size() == 3 && words[0] == "text" && ParseNumber(words[1], &size) &&
           ParseNumber(words[2], &sum) && size == text.size() &&
           sum == crc32_z(0, reinterpret_cast<const unsigned char*>(text.data()), text.size());
}

/// @return null if there is no such file, or nothing that can be read without waiting
static FILE* OpenTable(const std::string& path)
{
    struct stat status;
    const bool isFile = stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
    return isFile ? fopen(path.c_str(), "rb") : nullptr;
}

OriginList ReadOrigins(const std::string& document, std::string_view text)
{
    OriginList origins;
    FILE* stream = OpenTable(TablePath(document));
    if (stream == nullptr)
    {
        return origins;
    }
    const std::string folder = FolderOf(document);
    bool isFirst = true;
    char* line = nullptr;
    size_t capacity = 0;
    for (ssize_t length = 0; (length = getline(&line, &capacity, stream)) > 0; isFirst = false)
    {
        std::string entry(line, static_cast<size_t>(length));
        if (entry.back() == '\n')
        {
            entry.pop_back();
        }
        if (isFirst && !IsOfText(entry, text))
        {
            break;
        }
        Origin origin = {};
        if (!isFirst && ParseOrigin(entry, folder, &origin))
        {
            origins.push_back(origin);
        }
    }
    free(line);
    fclose(stream);
    return origins;
}

const Origin* FindOrigin(const OriginList& origins, int32_t section, uint32_t item, uint32_t part)
{
    const Origin* whole = nullptr;
    for (const Origin& origin : origins)
    {
        if (origin.section != section || origin.item != item)
        {
            continue;
        }
        if (origin.part == part)
        {
            return &origin;
        }
        if (origin.part == 0)
        {
            whole = &origin;
        }
    }
    return whole;
}
