// SPDX-License-Identifier: MIT
#include "tools/text_layout.h"

#include <cstring>
#include <functional>
#include <string_view>
#include <vector>

#include "engine/data/document_text.h"

static constexpr std::string_view kBlanks = " \t\r\n";

enum class PieceKind : uint8_t
{
    kText,
    kOpen,
    kClose,
    kWhole, // an element without an end tag, or a declaration
};

/// A tag, or the text between two.
struct TextPiece
{
    PieceKind kind;
    std::string_view text; // into the document
};

static bool IsBlank(std::string_view text)
{
    return text.find_first_not_of(kBlanks) == std::string_view::npos;
}

/// @return the length of the tag that the text begins with; 0 if it does not end, or is no tag that
///         can be moved
static size_t TagLength(std::string_view text)
{
    if (text.starts_with("<!"))
    {
        return 0;
    }
    char quote = 0;
    for (size_t i = 1; i < text.size(); ++i)
    {
        const char c = text[i];
        if (quote != 0)
        {
            quote = c == quote ? 0 : quote;
        }
        else if (c == '"' || c == '\'')
        {
            quote = c;
        }
        else if (c == '>')
        {
            return i + 1;
        }
    }
    return 0;
}

static PieceKind KindOfTag(std::string_view tag)
{
    if (tag.starts_with("</"))
    {
        return PieceKind::kClose;
    }
    const bool isWhole = tag.starts_with("<?") || tag[tag.size() - 2] == '/';
    return isWhole ? PieceKind::kWhole : PieceKind::kOpen;
}

static bool SplitText(std::string_view text, std::vector<TextPiece>* pieces)
{
    while (!text.empty())
    {
        size_t length = text[0] == '<' ? TagLength(text) : text.find('<');
        if (length == 0)
        {
            return false;
        }
        length = length == std::string_view::npos ? text.size() : length;
        const std::string_view piece = text.substr(0, length);
        pieces->push_back({text[0] == '<' ? KindOfTag(piece) : PieceKind::kText, piece});
        text.remove_prefix(length);
    }
    return true;
}

/// Where a gap between two tags lies.
enum class Gap : uint8_t
{
    kInsideEmpty, // they open and close one element
    kBeforeClose,
    kBeforeOther,
};

static Gap GapBetween(PieceKind one, PieceKind other)
{
    if (other != PieceKind::kClose)
    {
        return Gap::kBeforeOther;
    }
    return one == PieceKind::kOpen ? Gap::kInsideEmpty : Gap::kBeforeClose;
}

/// Puts a document together again with other blanks between its tags.
/// @param between   what stands before a tag at a depth, where another tag comes before it
static std::string JoinPieces(const std::vector<TextPiece>& pieces,
                              const std::function<std::string(int32_t depth, Gap gap)>& between)
{
    std::string text;
    int32_t depth = 0;
    const TextPiece* before = nullptr; // the last tag, if no text follows it so far
    for (size_t i = 0; i < pieces.size(); ++i)
    {
        const TextPiece& piece = pieces[i];
        const bool isInside = before != nullptr && i + 1 < pieces.size();
        if (piece.kind == PieceKind::kText && isInside && IsBlank(piece.text))
        {
            continue;
        }
        depth -= piece.kind == PieceKind::kClose ? 1 : 0;
        if (piece.kind != PieceKind::kText && before != nullptr)
        {
            text += between(depth, GapBetween(before->kind, piece.kind));
        }
        depth += piece.kind == PieceKind::kOpen ? 1 : 0;
        text += piece.text;
        before = piece.kind == PieceKind::kText ? nullptr : &piece;
    }
    return text;
}

bool IndentText(const std::string& text, std::string* indented)
{
    std::vector<TextPiece> pieces;
    if (!SplitText(text, &pieces))
    {
        return false;
    }
    *indented =
        JoinPieces(pieces,
                   [](int32_t depth, Gap gap)
                   {
                       const size_t blanks = depth > 0 ? 2 * static_cast<size_t>(depth) : 0;
                       return gap == Gap::kInsideEmpty ? "" : "\n" + std::string(blanks, ' ');
                   });
    return true;
}

std::string LayOutText(const std::string& text, TextLayout layout)
{
    std::vector<TextPiece> pieces;
    if (layout == TextLayout::kAsItIs || !SplitText(text, &pieces))
    {
        return text;
    }
    return JoinPieces(pieces,
                      [layout](int32_t depth, Gap gap) -> std::string
                      {
                          const bool isLine = layout == TextLayout::kLines && depth <= 0;
                          return isLine && gap == Gap::kBeforeOther ? "\n" : "";
                      });
}

static bool HasSameAttributes(const TiXmlElement* one, const TiXmlElement* other)
{
    const TiXmlAttribute* a = one->FirstAttribute();
    const TiXmlAttribute* b = other->FirstAttribute();
    while (a != nullptr && b != nullptr && strcmp(a->Name(), b->Name()) == 0 &&
           strcmp(a->Value(), b->Value()) == 0)
    {
        a = a->Next();
        b = b->Next();
    }
    return a == nullptr && b == nullptr;
}

bool IsSameTree(const TiXmlNode* one, const TiXmlNode* other)
{
    if (one->Type() != other->Type() || strcmp(one->Value(), other->Value()) != 0)
    {
        return false;
    }
    const TiXmlElement* element = one->ToElement();
    if (element != nullptr && !HasSameAttributes(element, other->ToElement()))
    {
        return false;
    }
    const TiXmlNode* a = one->FirstChild();
    const TiXmlNode* b = other->FirstChild();
    while (a != nullptr && b != nullptr && IsSameTree(a, b))
    {
        a = a->NextSibling();
        b = b->NextSibling();
    }
    return a == nullptr && b == nullptr;
}

bool ParseText(const std::string& text, TiXmlDocument* document)
{
    FaultList faults;
    StartFaults(&faults);
    const bool isParsed =
        !text.empty() && text.size() <= kLargestText && text.find('\0') == std::string::npos &&
        LoadFromString(document, reinterpret_cast<const unsigned char*>(text.data()),
                       static_cast<long>(text.size()), TIXML_ENCODING_UNKNOWN, &faults);
    FreeFaults(&faults);
    return isParsed;
}

bool SaysTheSame(const TiXmlDocument& document, const std::string& text)
{
    TiXmlDocument other;
    return ParseText(text, &other) && IsSameTree(&document, &other);
}
