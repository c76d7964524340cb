// SPDX-License-Identifier: MIT
#include "studio/logic/finding_lines.h"

#include <cctype>
#include <cstdlib>
#include <string_view>

/// Takes digits and a colon off the beginning of a text.
static bool TakeNumber(std::string* text, int32_t* number)
{
    size_t digits = 0;
    while (digits < text->size() && isdigit(static_cast<unsigned char>((*text)[digits])) != 0)
    {
        ++digits;
    }
    if (digits == 0 || digits > 9 || digits >= text->size() || (*text)[digits] != ':')
    {
        return false;
    }
    *number = atoi(text->c_str());
    text->erase(0, digits + 1);
    return true;
}

static bool TakeWord(std::string* text, const char* word)
{
    const std::string start = word;
    if (text->compare(0, start.size(), start) != 0)
    {
        return false;
    }
    text->erase(0, start.size());
    return true;
}

/// Takes "PATH:LINE:" or "PATH:LINE:COLUMN:" off a line. A path may have colons itself.
static bool TakePlace(std::string* text, FindingLine* finding)
{
    for (size_t colon = text->find(':'); colon != std::string::npos;
         colon = text->find(':', colon + 1))
    {
        std::string rest = text->substr(colon + 1);
        int32_t line = 0;
        if (colon != 0 && TakeNumber(&rest, &line))
        {
            int32_t column = 0;
            TakeNumber(&rest, &column);
            finding->path = text->substr(0, colon);
            finding->line = line;
            *text = rest;
            return true;
        }
    }
    return false;
}

static FindingLine ParseLine(std::string text, bool goesWell)
{
    FindingLine finding = {};
    finding.kind = goesWell ? FindingKind::kOther : FindingKind::kError;
    const bool isOurs = TakeWord(&text, "dpk: ");
    TakePlace(&text, &finding);
    TakeWord(&text, " ");
    // A path alone, of the package as a whole, may stand before the word too.
    for (const char* word : {"error: ", "warning: ", "note: "})
    {
        const size_t at = text.find(word);
        const bool isWord = at == 0 || (at != std::string::npos && finding.line == 0 && at >= 2 &&
                                        text.compare(at - 2, 2, ": ") == 0);
        if (isWord)
        {
            finding.kind = word[0] == 'e'   ? FindingKind::kError
                           : word[0] == 'w' ? FindingKind::kWarning
                                            : FindingKind::kOther;
            finding.path = at == 0 ? finding.path : text.substr(0, at - 2);
            text.erase(0, at + std::string(word).size());
            break;
        }
    }
    finding.kind = isOurs ? FindingKind::kError : finding.kind;
    finding.text = text;
    return finding;
}

/// Whether a line tells of something without a place that went well.
static bool IsRemark(const FindingLine& finding, bool goesWell)
{
    return finding.kind == FindingKind::kOther && finding.line == 0 && goesWell;
}

/// Whether a line tells of a stranger in the folder: no mistake, whatever else is one.
static bool TellsStranger(const std::string& line)
{
    static constexpr std::string_view kEnd = ": no document names it, so it is left out";
    return line.size() > kEnd.size() &&
           line.compare(line.size() - kEnd.size(), kEnd.size(), kEnd) == 0;
}

std::vector<FindingLine> ParseFindings(const std::string& text, bool goesWell)
{
    std::vector<FindingLine> findings;
    std::vector<bool> arePlain; // for each of them, whether its line could be a remark
    bool follows = false;
    for (size_t begin = 0; begin < text.size();)
    {
        const size_t end =
            text.find('\n', begin) == std::string::npos ? text.size() : text.find('\n', begin);
        const std::string line = text.substr(begin, end - begin);
        begin = end + 1;
        if (line.empty() || TellsStranger(line))
        {
            continue;
        }
        if (line[0] == ' ' && follows)
        {
            findings.back().more += line + "\n";
            continue;
        }
        const FindingLine finding = ParseLine(line, goesWell);
        follows = !IsRemark(finding, goesWell) && line[0] != ' ';
        if (follows)
        {
            findings.push_back(finding);
            arePlain.push_back(IsRemark(ParseLine(line, true), true));
        }
    }
    // A build that fails has told of its steps before: where an error is called one, they are no
    // mistakes.
    bool hasError = false;
    for (size_t i = 0; i < findings.size(); ++i)
    {
        hasError = hasError || (!arePlain[i] && findings[i].kind == FindingKind::kError);
    }
    if (hasError)
    {
        size_t kept = 0;
        for (size_t i = 0; i < findings.size(); ++i)
        {
            if (!arePlain[i])
            {
                std::swap(findings[kept], findings[i]);
                kept += 1;
            }
        }
        findings.resize(kept);
    }
    return findings;
}

/// Cuts a command at its spaces. Quotes keep spaces together.
static std::vector<std::string> CutWords(const std::string& command)
{
    std::vector<std::string> words;
    std::string word;
    bool isWord = false;
    char quote = 0;
    for (const char c : command)
    {
        if (quote != 0 ? c == quote : c == '"' || c == '\'')
        {
            quote = quote != 0 ? 0 : c;
            isWord = true;
        }
        else if (quote == 0 && isspace(static_cast<unsigned char>(c)) != 0)
        {
            if (isWord)
            {
                words.push_back(word);
            }
            word.clear();
            isWord = false;
        }
        else
        {
            word += c;
            isWord = true;
        }
    }
    if (isWord)
    {
        words.push_back(word);
    }
    return words;
}

std::vector<std::string> EditorWords(const std::string& editor, const std::string& path,
                                     int32_t line)
{
    std::vector<std::string> words = CutWords(editor);
    bool namesFile = false;
    for (std::string& word : words)
    {
        std::string made;
        for (size_t i = 0; i < word.size(); ++i)
        {
            const char next = i + 1 < word.size() && word[i] == '%' ? word[i + 1] : 0;
            namesFile = namesFile || next == 'f';
            made += next == 'f' ? path : next == 'l' ? std::to_string(line) : word.substr(i, 1);
            i += next == 'f' || next == 'l' ? 1 : 0;
        }
        word = made;
    }
    if (!words.empty() && !namesFile)
    {
        words.push_back("+" + std::to_string(line));
        words.push_back(path);
    }
    return words;
}
