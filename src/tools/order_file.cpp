// SPDX-License-Identifier: MIT
#include "tools/order_file.h"

#include <cstring>
#include <set>
#include <sys/stat.h>

#include "engine/data/plain_text.h"
#include "tools/files.h"
#include "tools/report.h"

static constexpr const char* kNote =
    "# The order of the package's entries, for dpk build: entry, file, form.\n";
static constexpr uint64_t kLargestOrder = 64 << 20; // bytes

struct FormRow
{
    const char* word;
    SourceKind kind;
};

static constexpr FormRow kForms[] = {
    {"plain", SourceKind::kPlain},
    {"document", SourceKind::kDocument},
    {"mesh", SourceKind::kMesh},
};

struct LayoutRow
{
    const char* word;
    TextLayout layout;
};

static constexpr LayoutRow kLayouts[] = {
    {"bare", TextLayout::kBare},
    {"lines", TextLayout::kLines},
};

static constexpr const char* kSmall = "small";

std::string EscapeName(const std::string& name)
{
    std::string plain(PlainTextSize(name.size()), 0);
    const size_t length = FormatPlainText(name.c_str(), plain.data(), plain.size());
    const bool isPlain = length == name.size();
    std::string escaped;
    for (const char c : name)
    {
        const unsigned char byte = static_cast<unsigned char>(c);
        const bool isOdd = byte < 0x20 || byte == 0x7F || (byte >= 0x80 && !isPlain);
        if (!isOdd && c != '%' && c != '/' && c != '#')
        {
            escaped += c;
            continue;
        }
        char text[4];
        snprintf(text, sizeof(text), "%%%02X", static_cast<unsigned>(byte));
        escaped += text;
    }
    return escaped;
}

/// @return the value of a digit of %XX, which are capitals; -1 for any other character
static int HexDigit(char c)
{
    static constexpr const char* kDigits = "0123456789ABCDEF";
    const char* found = c == 0 ? nullptr : strchr(kDigits, c);
    return found == nullptr ? -1 : static_cast<int>(found - kDigits);
}

/// @return false if a "%" does not begin a %XX, or if a zero byte comes out
static bool UnescapeName(const std::string& text, std::string* name)
{
    name->clear();
    for (size_t i = 0; i < text.size(); ++i)
    {
        if (text[i] != '%')
        {
            *name += text[i];
            continue;
        }
        const int high = i + 2 < text.size() ? HexDigit(text[i + 1]) : -1;
        const int low = i + 2 < text.size() ? HexDigit(text[i + 2]) : -1;
        if (high < 0 || low < 0 || high + low == 0)
        {
            return false;
        }
        *name += static_cast<char>(16 * high + low);
        i += 2;
    }
    return true;
}

static std::string FormText(const OrderRow& row)
{
    std::string text;
    for (const FormRow& form : kForms)
    {
        text += form.kind == row.kind ? form.word : "";
    }
    for (const LayoutRow& layout : kLayouts)
    {
        text += layout.layout == row.layout ? std::string(" ") + layout.word : "";
    }
    return text + (row.isSmall ? std::string(" ") + kSmall : "");
}

std::string FormatOrder(const std::vector<OrderRow>& rows)
{
    std::string text = kNote;
    for (const OrderRow& row : rows)
    {
        text += EscapeName(row.entry) + "\t" + row.file + "\t" + FormText(row) + "\n";
    }
    return text;
}

static std::vector<std::string> Split(const std::string& text, char mark)
{
    std::vector<std::string> parts;
    size_t start = 0;
    for (size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, start))
    {
        parts.push_back(text.substr(start, at - start));
        start = at + 1;
    }
    parts.push_back(text.substr(start));
    return parts;
}

static bool ReadWord(const std::string& word, OrderRow* row)
{
    for (const LayoutRow& layout : kLayouts)
    {
        if (word == layout.word && row->kind == SourceKind::kDocument)
        {
            row->layout = layout.layout;
            return true;
        }
    }
    row->isSmall = word == kSmall && row->kind != SourceKind::kPlain;
    return row->isSmall;
}

static bool ReadForm(const std::string& text, OrderRow* row)
{
    const std::vector<std::string> words = Split(text, ' ');
    for (const FormRow& form : kForms)
    {
        row->kind = words[0] == form.word ? form.kind : row->kind;
    }
    bool isForm = row->kind != SourceKind::kLeftOut;
    for (size_t i = 1; i < words.size(); ++i)
    {
        isForm = isForm && ReadWord(words[i], row);
    }
    return isForm;
}

/// @return null, or what is wrong with the line
static const char* ReadRow(const std::string& line, OrderRow* row)
{
    const std::vector<std::string> fields = Split(line, '\t');
    if (fields.size() != 3)
    {
        return "not entry, file and form with a tab between them";
    }
    row->file = fields[1];
    if (row->file.empty() || row->file == "." || row->file == ".." ||
        row->file.find('/') != std::string::npos)
    {
        return "no name of a file of this folder";
    }
    if (!UnescapeName(fields[0], &row->entry))
    {
        return "\"%\" in a name begins no %XX";
    }
    return ReadForm(fields[2], row) ? nullptr : "no such form";
}

bool ReadOrder(const std::string& folder, std::vector<OrderRow>* rows)
{
    const std::string path = folder + "/" + kOrderFileName;
    struct stat status;
    if (stat(path.c_str(), &status) != 0)
    {
        return true;
    }
    Bytes bytes;
    if (!ReadWholeFile(path, kLargestOrder, &bytes))
    {
        return false;
    }
    std::set<std::string> entries;
    std::set<std::string> files;
    size_t number = 0;
    for (std::string line : Split({bytes.begin(), bytes.end()}, '\n'))
    {
        number += 1;
        if (!line.empty() && line.back() == '\r')
        {
            line.pop_back();
        }
        if (line.empty() || line[0] == '#')
        {
            continue;
        }
        OrderRow row = {"", "", SourceKind::kLeftOut, TextLayout::kAsItIs, false};
        const char* fault = ReadRow(line, &row);
        if (fault == nullptr &&
            (!entries.insert(row.entry).second || !files.insert(row.file).second))
        {
            fault = "its entry or its file stands in a line before";
        }
        if (fault != nullptr)
        {
            ReportError("%s:%zu: %s", Printable(path).c_str(), number, fault);
            return false;
        }
        rows->push_back(row);
    }
    return true;
}
