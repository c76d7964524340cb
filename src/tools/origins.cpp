#include "tools/origins.h"

#include <cstdio>
#include <cstdlib>

/// ".demo.origins" for "demo.xml", in the same folder.
static std::string TablePath(const std::string& document)
{
    const size_t slash = document.rfind('/');
    const std::string folder = slash == std::string::npos ? "" : document.substr(0, slash + 1);
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

static bool ParseOrigin(const std::string& line, Origin* origin)
{
    const std::vector<std::string> words = SplitAtTabs(line);
    uint32_t section = 0;
    if (words.size() < 4 || !ParseNumber(words[0], &section) ||
        !ParseNumber(words[1], &origin->item) || !ParseNumber(words[2], &origin->part))
    {
        return false;
    }
    origin->section = static_cast<int32_t>(section);
    origin->lines.assign(words.begin() + 3, words.end());
    return true;
}

std::vector<Origin> ReadOrigins(const std::string& document)
{
    std::vector<Origin> origins;
    FILE* stream = fopen(TablePath(document).c_str(), "rb");
    if (stream == nullptr)
    {
        return origins;
    }
    char* line = nullptr;
    size_t capacity = 0;
    for (ssize_t length = 0; (length = getline(&line, &capacity, stream)) > 0;)
    {
        std::string text(line, static_cast<size_t>(length));
        if (text.back() == '\n')
        {
            text.pop_back();
        }
        Origin origin;
        if (ParseOrigin(text, &origin))
        {
            origins.push_back(origin);
        }
    }
    free(line);
    fclose(stream);
    return origins;
}

const Origin* FindOrigin(const std::vector<Origin>& origins, int32_t section, uint32_t item,
                         uint32_t part)
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
