// SPDX-License-Identifier: MIT
#include "studio/logic/source_edit.h"

#include <algorithm>

#include "engine/data/document_text.h"

const char kLiteralProgram[] = R"(
import ast, io, re, struct, sys, tokenize
path, line, was, new, keyword, index = sys.argv[1:7]
line, index = int(line), int(index)
source = open(path, "rb").read()
mark = 3 if source.startswith(b"\xef\xbb\xbf") else 0
encoding = tokenize.detect_encoding(io.BytesIO(source).readline)[0].removesuffix("-sig")
# Columns count the bytes that a line has in UTF-8, whatever the file is written in.
letters = source[mark:].decode(encoding).encode()
starts = [0] + [end.end() for end in re.finditer(rb"\r\n|\r|\n", letters)]
def byte_of(line, column):
    return mark + len(letters[:starts[line - 1] + column].decode().encode(encoding))
def bytes_of(node):
    return (byte_of(node.lineno, node.col_offset),
            byte_of(node.end_lineno, node.end_col_offset))
def is_same(value):
    try:
        # Documents have seven digits.
        return ("%.7g" % value == "%.7g" % float(was)
                or struct.pack("<f", value) == struct.pack("<f", float(was)))
    except OverflowError:
        return False
tree = ast.parse(source)
statement = None
for node in ast.walk(tree):
    if isinstance(node, ast.stmt) and node.lineno <= line <= node.end_lineno:
        if statement is None or node.lineno >= statement.lineno:
            statement = node
triples = ("position", "rotation", "scale", "diffuse", "ambient")
ranks = {}
def add(at, text, word, place):
    if index >= 0 and (place != index or word in triples and word != keyword):
        return
    best = word == keyword and place == index
    rank = 3 if best else 2 if word == keyword else 1 if word is None else 0
    ranks[at, text] = max(ranks.get((at, text), 0), rank)
def number(node):
    inner = node.operand if isinstance(node, ast.UnaryOp) and isinstance(node.op, ast.USub) else node
    if isinstance(inner, ast.Constant) and type(inner.value) in (int, float):
        return -inner.value if inner is not node else inner.value
    return None
def visit_hex(node, word):
    digits = node.value.removeprefix("#")
    if not re.fullmatch("[0-9a-fA-F]{6}", digits):
        return
    begin, end = bytes_of(node)
    begin = source.find(digits.encode(), begin, end)
    if begin < 0:
        return
    for channel in range(3):
        pair = digits[2 * channel : 2 * channel + 2]
        if is_same(int(pair, 16) / 255.0):
            byte = round(float(new) * 255)
            text = "%02x" % byte if 0 <= byte <= 255 else "range"
            text = text.upper() if digits != digits.lower() else text
            at = begin + 2 * channel
            add((at, at + 2), text, word, channel)
def visit(node, word, place):
    value = number(node)
    if value is not None:
        if is_same(value):
            add(bytes_of(node), new, word, place)
    elif isinstance(node, ast.keyword):
        visit(node.value, node.arg, -1)
    elif isinstance(node, (ast.Tuple, ast.List)):
        for i, element in enumerate(node.elts):
            visit(element, word, i)
    elif isinstance(node, ast.Name):
        made = [one for one in assigned(node.id) if one in tree.body]
        if len(made) == 1 and (number(made[0].value) is not None or called(made[0].value) == "hex"):
            visit(made[0].value, word, place)
    elif called(node) == "hex" and len(node.args) == 1 and isinstance(node.args[0], ast.Constant):
        if isinstance(node.args[0].value, str):
            visit_hex(node.args[0], word)
    elif called(node) == "Color":
        for i, element in enumerate(node.args):
            visit(element, word, i)
    elif isinstance(node, ast.BinOp):
        # A number beside a layer or a curve is a value; one beside a number is computed with.
        for child, other in ((node.left, node.right), (node.right, node.left)):
            if number(child) is None and not isinstance(child, ast.Name) or is_thing(other):
                visit(child, word, -1)
    elif isinstance(node, ast.IfExp):
        visit(node.body, word, place)
        visit(node.orelse, word, place)
    elif not isinstance(node, (ast.Subscript, ast.Compare)) and called(node) not in computing:
        for child in ast.iter_child_nodes(node):
            visit(child, None, -1)
computing = {"sin", "cos", "tan", "sqrt", "hypot", "atan2", "radians", "degrees", "exp", "log", "pow",
             "floor", "ceil", "int", "float", "round", "min", "max", "abs", "len", "sum", "range",
             "random", "uniform", "randint", "Random", "seed"}
def assigned(name):
    return [one for one in ast.walk(tree) if isinstance(one, ast.Assign) and len(one.targets) == 1
            and isinstance(one.targets[0], ast.Name) and one.targets[0].id == name]
def is_thing(node):
    if isinstance(node, ast.Call):
        return called(node) not in computing
    if isinstance(node, ast.BinOp):
        return is_thing(node.left) or is_thing(node.right)
    if isinstance(node, ast.Name):
        made = assigned(node.id)
        return bool(made) and all(is_thing(one.value) for one in made
                                  if node not in ast.walk(one.value))
    return False
def called(node):
    if not isinstance(node, ast.Call):
        return None
    return node.func.attr if isinstance(node.func, ast.Attribute) else getattr(node.func, "id", None)
if statement is not None:
    visit(statement, None, -1)
top = max(ranks.values(), default=0)
best = [(*at, text) for (at, text), rank in ranks.items() if rank == top]
if len(best) == 1 and best[0][2].lower() != "range":
    print(*best[0])
else:
    print("range" if len(best) == 1 else "several" if best else "none")
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
    if (plain.starts_with("\xEF\xBB\xBF")) // the mark of UTF-8
    {
        plain.replace(0, 3, 3, ' ');
    }
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

LiteralHint HintOf(const std::string& group, const std::string& fieldName)
{
    struct HintRow
    {
        const char* name;
        const char* keyword; // null takes the group's name
        int index;
    };
    constexpr HintRow kRows[] = {
        {"x", "position", 0},  {"y", "position", 1},  {"z", "position", 2}, {"rx", "rotation", 0},
        {"ry", "rotation", 1}, {"rz", "rotation", 2}, {"sx", "scale", 0},   {"sy", "scale", 1},
        {"sz", "scale", 2},    {"r", nullptr, 0},     {"g", nullptr, 1},    {"b", nullptr, 2},
    };
    for (const HintRow& row : kRows)
    {
        if (fieldName == row.name)
        {
            return {row.keyword == nullptr ? group : row.keyword, row.index};
        }
    }
    const size_t blank = fieldName.rfind(' ');
    const std::string channel = blank == std::string::npos ? "" : fieldName.substr(blank + 1);
    const int index = channel == "red" ? 0 : channel == "green" ? 1 : channel == "blue" ? 2 : -1;
    return {index < 0 ? fieldName : fieldName.substr(0, blank), index};
}
