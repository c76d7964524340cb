// SPDX-License-Identifier: MIT
#include "tools/mesh_options.h"

#include <cmath>
#include <cstdlib>
#include <fnmatch.h>
#include <sstream>
#include <sys/stat.h>

#include "tools/files.h"

/// @return false if the text is no positive number
static bool ReadPositive(const std::string& text, float* number)
{
    char* rest = nullptr;
    *number = strtof(text.c_str(), &rest);
    return rest != text.c_str() && *rest == 0 && std::isfinite(*number) && *number > 0.0f;
}

/// @return false if the word is none of them
static bool ApplyWord(const std::string& word, MeshOptions* options)
{
    if (word == "flip-v" || word == "keep-v")
    {
        options->v = word == "flip-v" ? VDirection::kFlipped : VDirection::kKept;
    }
    else if (word == "center")
    {
        options->isCentered = true;
    }
    else if (word == "cache-order")
    {
        options->isForCache = true;
    }
    else if (word == "up=y" || word == "up=z")
    {
        options->isZUp = word == "up=z";
    }
    else if (word.compare(0, 6, "scale=") == 0)
    {
        return ReadPositive(word.substr(6), &options->scale);
    }
    else if (word.compare(0, 7, "smooth=") == 0)
    {
        options->makesNormals = true;
        return ReadPositive(word.substr(7), &options->smoothAngle);
    }
    else
    {
        return false;
    }
    return true;
}

bool ReadMeshOptions(const std::string& path, const MeshOptions& usual, MeshOptionsByFile* options)
{
    static constexpr uint64_t kLargest = 1 << 20; // bytes
    *options = {usual, {}};
    struct stat status;
    if (stat(path.c_str(), &status) != 0)
    {
        return true;
    }
    Bytes bytes;
    if (!ReadWholeFile(path, kLargest, &bytes))
    {
        return false;
    }
    std::istringstream text(std::string(bytes.begin(), bytes.end()));
    int number = 0;
    for (std::string line; std::getline(text, line);)
    {
        number += 1;
        std::istringstream words(line.substr(0, line.find('#')));
        std::string pattern;
        std::string word;
        MeshOptions tried = {};
        if (!(words >> pattern))
        {
            continue;
        }
        options->lines.push_back({pattern, {}});
        while (words >> word)
        {
            if (!ApplyWord(word, &tried))
            {
                ReportError("%s:%d: \"%s\" is none of up=y, up=z, scale=FACTOR, center, "
                            "smooth=DEGREES, flip-v, keep-v, cache-order",
                            Printable(path).c_str(), number, Printable(word).c_str());
                return false;
            }
            options->lines.back().second.push_back(word);
        }
    }
    return true;
}

MeshOptions MeshOptionsOf(const MeshOptionsByFile& options, const std::string& fileName)
{
    MeshOptions found = options.usual;
    for (const auto& [pattern, words] : options.lines)
    {
        if (fnmatch(pattern.c_str(), fileName.c_str(), 0) != 0)
        {
            continue;
        }
        for (const std::string& word : words)
        {
            ApplyWord(word, &found);
        }
    }
    return found;
}
