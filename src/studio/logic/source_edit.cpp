// SPDX-License-Identifier: MIT
#include "studio/logic/source_edit.h"

#include <algorithm>

#include "engine/data/document_text.h"

const char kLiteralProgram[] = R"(
import ast, struct, sys
path, line, was, keyword, index = sys.argv[1], int(sys.argv[2]), sys.argv[3], sys.argv[4], int(sys.argv[5])
source = open(path, "rb").read()
starts = [0]
for at, byte in enumerate(source):
    if byte == 10:
        starts.append(at + 1)
def single(value):
    try:
        return struct.pack("<f", float(value))
    except OverflowError:
        return b""
want = single(was)
tree = ast.parse(source)
statement = None
for node in ast.walk(tree):
    if isinstance(node, ast.stmt) and node.lineno <= line <= node.end_lineno:
        if statement is None or node.lineno >= statement.lineno:
            statement = node
found = []
def number(node):
    inner = node.operand if isinstance(node, ast.UnaryOp) and isinstance(node.op, ast.USub) else node
    if isinstance(inner, ast.Constant) and type(inner.value) in (int, float):
        return -inner.value if inner is not node else inner.value
    return None
def visit(node, word, place):
    value = number(node)
    if value is not None:
        if single(value) == want:
            found.append((word == keyword and place == index, word == keyword, node))
        return
    if isinstance(node, ast.keyword):
        visit(node.value, node.arg, -1)
        return
    if isinstance(node, (ast.Tuple, ast.List)):
        for i, element in enumerate(node.elts):
            visit(element, word, i)
        return
    if isinstance(node, ast.Name):
        made = [one for one in tree.body if isinstance(one, ast.Assign) and len(one.targets) == 1
                and isinstance(one.targets[0], ast.Name) and one.targets[0].id == node.id]
        if len(made) == 1 and number(made[0].value) is not None:
            visit(made[0].value, word, place)
        return
    for child in ast.iter_child_nodes(node):
        visit(child, word if isinstance(node, ast.BinOp) else None, -1)
if statement is not None:
    visit(statement, None, -1)
places = {}
for best, better, node in found:
    at = (starts[node.lineno - 1] + node.col_offset, starts[node.end_lineno - 1] + node.end_col_offset)
    rank = 2 if best else 1 if better else 0
    places[at] = max(places.get(at, 0), rank)
top = max(places.values(), default=0)
best = [at for at, rank in places.items() if rank == top]
print(*best[0] if len(best) == 1 else ["several" if best else "none"])
)";

std::string ReplaceRange(const std::string& text, const TextRange& range, const std::string& with)
{
    return text.substr(0, range.begin) + with + text.substr(range.end);
}

/// @return the offset of a line and column, both counted from 1
static size_t OffsetOf(const std::string& text, int row, int column)
{
    size_t offset = 0;
    for (int i = 1; i < row; ++i)
    {
        const size_t end = text.find('\n', offset);
        if (end == std::string::npos)
        {
            return text.size();
        }
        offset = end + 1;
    }
    return offset + static_cast<size_t>(column - 1);
}

/// The value of the attribute that begins at an offset.
static TextRange AttributeRange(const std::string& text, size_t offset)
{
    const size_t quote = text.find_first_of("'\"", offset);
    const size_t end = quote == std::string::npos ? quote : text.find(text[quote], quote + 1);
    return end == std::string::npos ? TextRange{0, 0} : TextRange{quote + 1, end};
}

/// The text after the tag that begins at an offset, without the blanks around it.
static TextRange ContentRange(const std::string& text, size_t offset)
{
    char quote = 0;
    size_t begin = offset;
    for (; begin < text.size() && (quote != 0 || text[begin] != '>'); ++begin)
    {
        const char c = text[begin];
        quote = quote != 0 ? (c == quote ? '\0' : quote) : c == '"' || c == '\'' ? c : '\0';
    }
    size_t end = text.find('<', begin);
    if (end == std::string::npos)
    {
        return {0, 0};
    }
    begin = text.find_first_not_of(" \t\r\n", begin + 1);
    while (end > begin && std::string(" \t\r\n").find(text[end - 1]) != std::string::npos)
    {
        --end;
    }
    return begin < end ? TextRange{begin, end} : TextRange{0, 0};
}

TextRange FindXmlValue(const std::string& text, const FieldPlace& place)
{
    // Columns count bytes where no tab jumps, no line ends change and no character is longer than
    // a byte.
    std::string plain = text;
    std::replace_if(
        plain.begin(), plain.end(), [](char c) { return c == '\t' || c == '\r'; }, ' ');
    TiXmlDocument xml;
    FaultList faults;
    StartFaults(&faults);
    LoadFromString(&xml, reinterpret_cast<const unsigned char*>(plain.data()),
                   static_cast<long>(plain.size()), TIXML_ENCODING_LEGACY, &faults);
    FreeFaults(&faults);
    DemoDocument document = {};
    document.document = &xml;
    const TiXmlElement* element = FindElement(&document, place);
    if (element == nullptr)
    {
        return {0, 0};
    }
    if (place.attribute.empty())
    {
        return ContentRange(text, OffsetOf(text, element->Row(), element->Column()));
    }
    const TiXmlAttribute* attribute = element->FirstAttribute();
    while (attribute != nullptr && place.attribute != attribute->Name())
    {
        attribute = attribute->Next();
    }
    return attribute == nullptr
               ? TextRange{0, 0}
               : AttributeRange(text, OffsetOf(text, attribute->Row(), attribute->Column()));
}

LiteralHint HintOf(const std::string& fieldName)
{
    struct HintRow
    {
        const char* name;
        const char* keyword;
        int index;
    };
    constexpr HintRow kRows[] = {
        {"x", "position", 0},  {"y", "position", 1},  {"z", "position", 2},
        {"rx", "rotation", 0}, {"ry", "rotation", 1}, {"rz", "rotation", 2},
        {"sx", "scale", 0},    {"sy", "scale", 1},    {"sz", "scale", 2},
    };
    for (const HintRow& row : kRows)
    {
        if (fieldName == row.name)
        {
            return {row.keyword, row.index};
        }
    }
    const size_t blank = fieldName.rfind(' ');
    const std::string channel = blank == std::string::npos ? "" : fieldName.substr(blank + 1);
    const int index = channel == "red" ? 0 : channel == "green" ? 1 : channel == "blue" ? 2 : -1;
    return {index < 0 ? fieldName : fieldName.substr(0, blank), index};
}
