// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "engine/check/context.h"
#include "engine/data/document_text.h"
#include "engine/data/document_values.h"

/// The walk through one item.
struct StructureWalk
{
    Spot spot;
    bool isRefused;  // the item's reader met a fault, so what it lacks is an error
    uint32_t errors; // told so far
};

static Finding* Tell(StructureWalk* walk, Severity severity, Rule rule, const TiXmlBase* node,
                     std::string text)
{
    walk->errors += severity == Severity::kError ? 1 : 0;
    return AddFinding(&walk->spot, severity, rule, node, std::move(text));
}

// ---- Numbers

static const char* SkipSpace(const char* text)
{
    while (isspace(static_cast<unsigned char>(*text)) != 0)
    {
        ++text;
    }
    return text;
}

static bool IsHex(const char* text)
{
    text += *text == '-' || *text == '+' ? 1 : 0;
    return text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
}

/// Tells what stands after the digits of a number.
/// @param kept   the number that counts
static void CheckRest(StructureWalk* walk, const TiXmlBase* node, const char* text,
                      const char* rest, const std::string& kept)
{
    rest = SkipSpace(rest);
    if (*rest == 0)
    {
        return;
    }
    if (rest[0] == ',' && isdigit(static_cast<unsigned char>(rest[1])) != 0)
    {
        std::string cure = text;
        cure[static_cast<size_t>(rest - text)] = '.';
        Tell(walk, Severity::kWarning, Rule::kCommaDecimal, node,
             FormatText("\"%s\" has a comma, and counts as %s", text, kept.c_str()))
            ->cure = "write a point: " + cure;
        return;
    }
    Tell(walk, Severity::kWarning, Rule::kRubbishAfterNumber, node,
         FormatText("\"%s\" goes on after its number, and counts as %s", text, kept.c_str()));
}

static void TellNoNumber(StructureWalk* walk, const TiXmlBase* node, const char* text)
{
    Tell(walk, Severity::kWarning, Rule::kNotANumber, node,
         *SkipSpace(text) == 0 ? "an empty text counts as 0"
                               : FormatText("\"%s\" is no number, and counts as 0", text));
}

static void CheckInteger(StructureWalk* walk, const TiXmlBase* node, const char* text, bool isTicks)
{
    char* rest = nullptr;
    errno = 0;
    const int64_t number = strtol(text, &rest, 10);
    const char* start = SkipSpace(text);
    if (rest == text)
    {
        TellNoNumber(walk, node, text);
        return;
    }
    if (IsHex(start))
    {
        Tell(walk, Severity::kWarning, Rule::kHexNumber, node,
             FormatText("\"%s\" counts as 0: integers are decimal", text))
            ->cure = FormatText("write %ld", strtol(start, nullptr, 16));
        return;
    }
    const int32_t kept = ParseInt(text);
    CheckRest(walk, node, text, rest, std::to_string(kept));
    const bool isKept =
        isTicks ? number >= INT32_MIN && number <= int64_t{UINT32_MAX} : number == int64_t{kept};
    if (errno == ERANGE || !isKept)
    {
        Tell(walk, Severity::kWarning, Rule::kNumberOutOfRange, node,
             FormatText("\"%s\" does not fit into 32 bits, and counts as %d", text, kept));
    }
    else if (isTicks && number < 0)
    {
        Tell(walk, Severity::kWarning, Rule::kNegativeTicks, node,
             FormatText("%d ticks count as %u", kept, static_cast<uint32_t>(kept)))
            ->cure = "times are not negative";
    }
}

static void CheckFloat(StructureWalk* walk, const TiXmlBase* node, const char* text)
{
    char* rest = nullptr;
    strtod(text, &rest);
    const float kept = ParseFloat(text);
    const char* start = SkipSpace(text);
    if (rest == text)
    {
        TellNoNumber(walk, node, text);
        return;
    }
    if (IsHex(start))
    {
        Tell(walk, Severity::kWarning, Rule::kHexNumber, node,
             FormatText("\"%s\" is read as hexadecimal: %g", text, static_cast<double>(kept)))
            ->cure = "write it in decimal digits";
        return;
    }
    CheckRest(walk, node, text, rest, FormatText("%g", static_cast<double>(kept)));
    if (!std::isfinite(kept))
    {
        Tell(walk, Severity::kWarning, Rule::kNotFinite, node,
             FormatText("\"%s\" is %s, and spoils all that is computed of it", text,
                        std::isnan(kept) ? "not a number" : "infinite"));
    }
}

// ---- Words

static void CheckWord(StructureWalk* walk, const TiXmlBase* node, const char* text,
                      const std::vector<const char*>& words, const char* effect)
{
    for (const char* word : words)
    {
        if (strcmp(word, text) == 0)
        {
            return;
        }
    }
    Finding* finding = Tell(walk, Severity::kWarning, Rule::kUnknownWord, node,
                            FormatText("\"%s\" is no word of the format: %s", text, effect));
    const char* nearest = FindNearest(text, words);
    if (nearest != nullptr)
    {
        finding->cure = FormatText("write \"%s\"", nearest);
        return;
    }
    finding->cure = "write";
    for (const char* word : words)
    {
        finding->cure += FormatText("%s \"%s\"", word == words[0] ? "" : " or", word);
    }
}

/// The catalogue's numbers as a text: "0 to 5", or "101, 102 ...".
static std::string NumbersText(CatalogueId catalogue)
{
    const std::span<const VocabularyRow> rows = Catalogues[catalogue].rows;
    const int32_t first = rows.front().number;
    const int32_t last = rows.back().number;
    if (static_cast<size_t>(last - first) + 1 == rows.size())
    {
        return FormatText("%d to %d", first, last);
    }
    std::string text;
    for (const VocabularyRow& row : rows)
    {
        text += FormatText("%s%d", text.empty() ? "" : ", ", row.number);
    }
    return text;
}

static void CheckType(StructureWalk* walk, const TiXmlBase* node, const char* text,
                      CatalogueId catalogue)
{
    CheckInteger(walk, node, text, false);
    const bool isByte = catalogue == kCatalogueFogModes || catalogue == kCatalogueObjectKinds ||
                        catalogue == kCatalogueLoops || catalogue == kCatalogueValueKinds;
    const int32_t number = ParseInt(text);
    const int32_t kept = !isByte                           ? number
                         : catalogue == kCatalogueFogModes ? static_cast<int8_t>(number)
                                                           : static_cast<uint8_t>(number);
    if (kept != number)
    {
        Tell(walk, Severity::kWarning, Rule::kNumberOutOfRange, node,
             FormatText("%d does not fit into a byte, and counts as %d", number, kept));
    }
    if (FindVocabularyRow(catalogue, kept) == nullptr)
    {
        Tell(walk, Severity::kWarning, Rule::kUnknownType, node,
             FormatText("there is no type %d of the catalogue \"%s\"", kept,
                        Catalogues[catalogue].word))
            ->cure = FormatText("its types are %s", NumbersText(catalogue).c_str());
    }
}

// ---- Attributes and texts

/// Whether an animated value is an envelope's id.
static bool IsDynamic(const StructureWalk* walk, const TiXmlElement* element)
{
    const char* type = element->Attribute("type");
    return type != nullptr &&
           (walk->spot.section == Section::kMaterials ? strcmp(type, "static") != 0
                                                      : strcmp(type, "dynamic") == 0);
}

/// @param element   around the text or attribute
static void CheckContent(StructureWalk* walk, const TiXmlElement* element, const TiXmlBase* node,
                         const VocabularyAttribute& row, const char* text)
{
    switch (row.content)
    {
    case ContentKind::Number:
        CheckFloat(walk, node, text);
        break;
    case ContentKind::Integer:
    case ContentKind::Item:
    case ContentKind::Layer:
        if (walk->spot.section == Section::kScenes && strcmp(element->Value(), "manipulator") == 0)
        {
            CheckFloat(walk, node, text);
            break;
        }
        CheckInteger(walk, node, text, false);
        break;
    case ContentKind::Ticks:
        if (strncmp(row.name, "loop_", 5) == 0)
        {
            CheckFloat(walk, node, text);
            break;
        }
        CheckInteger(walk, node, text, true);
        break;
    case ContentKind::Row:
        CheckType(walk, node, text, static_cast<CatalogueId>(row.of));
        break;
    case ContentKind::ValueType:
        CheckWord(walk, node, text, {"static", "dynamic"},
                  walk->spot.section == Section::kMaterials ? "the value counts as an envelope's id"
                                                            : "the value counts as a number");
        break;
    case ContentKind::Projection:
        CheckWord(walk, node, text, {"static", "dynamic", "ortographic"},
                  "the value counts as a number");
        break;
    case ContentKind::Value:
        IsDynamic(walk, element) ? CheckInteger(walk, node, text, false)
                                 : CheckFloat(walk, node, text);
        break;
    case ContentKind::Size:
        CheckWord(walk, node, text, {"64x64", "128x128", "256x256", "512x512"},
                  "the image has 512x512 pixels");
        break;
    case ContentKind::Bits:
        CheckWord(walk, node, text, {"8", "24"}, "the image has 24 bits a pixel");
        break;
    default:
        break;
    }
}

static const VocabularyAttribute* FindAttribute(const VocabularyElement& row, const char* name)
{
    for (const VocabularyAttribute& attribute : row.attributes)
    {
        if (strcmp(attribute.name, name) == 0)
        {
            return &attribute;
        }
    }
    return nullptr;
}

static std::vector<const char*> AttributeNames(const VocabularyElement& row)
{
    std::vector<const char*> names;
    for (const VocabularyAttribute& attribute : row.attributes)
    {
        names.push_back(attribute.name);
    }
    return names;
}

static void CheckAttributes(StructureWalk* walk, const TiXmlElement* element,
                            const VocabularyElement& row)
{
    for (const TiXmlAttribute* attribute = element->FirstAttribute(); attribute != nullptr;
         attribute = attribute->Next())
    {
        const VocabularyAttribute* known = FindAttribute(row, attribute->Name());
        if (known != nullptr)
        {
            CheckContent(walk, element, attribute, *known, attribute->Value());
        }
        else if (strcmp(attribute->Name(), "name") != 0) // authors' own names are welcome anywhere
        {
            Finding* finding = Tell(walk, Severity::kNote, Rule::kUnknownAttribute, attribute,
                                    FormatText("nothing reads the attribute \"%s\" of <%s>",
                                               attribute->Name(), element->Value()));
            const char* nearest = FindNearest(attribute->Name(), AttributeNames(row));
            finding->cure = nearest == nullptr ? "" : FormatText("write \"%s\"", nearest);
        }
    }
    for (const VocabularyAttribute& attribute : row.attributes)
    {
        if (attribute.required && walk->isRefused && element->Attribute(attribute.name) == nullptr)
        {
            Tell(
                walk, Severity::kError, Rule::kMissingAttribute, element,
                FormatText("attribute \"%s\" of <%s> is missing", attribute.name, element->Value()))
                ->cure = FormatText("add %s=\"...\"", attribute.name);
        }
    }
}

static void CheckText(StructureWalk* walk, const TiXmlElement* element,
                      const VocabularyElement& row)
{
    const TiXmlNode* child = element->FirstChild();
    if (child == nullptr)
    {
        if (walk->isRefused)
        {
            Tell(walk, Severity::kError, Rule::kMissingText, element,
                 FormatText("<%s> has no text", element->Value()))
                ->cure = "write a number between its tags";
        }
        return;
    }
    const VocabularyAttribute content = {"", row.text};
    CheckContent(walk, element, child, content, child->Value());
}

// ---- Children

/// Where the children of an element stand in its rows.
struct ChildCursor
{
    std::span<const VocabularyElement> rows;
    bool isMixed;   // children of several rows stand in any order
    size_t row;     // of the next child
    uint32_t inRow; // children that it has so far
};

/// @return the row of the next child; null if it is one too many
static const VocabularyElement* TakeRow(ChildCursor* cursor, const char* name)
{
    if (cursor->isMixed)
    {
        for (const VocabularyElement& row : cursor->rows)
        {
            if (strcmp(row.name, name) == 0)
            {
                return &row;
            }
        }
        return cursor->rows.empty() ? nullptr : &cursor->rows.back();
    }
    while (cursor->row < cursor->rows.size())
    {
        const VocabularyElement& row = cursor->rows[cursor->row];
        const bool isNamed = !row.nameCounts || strcmp(row.name, name) == 0;
        if (isNamed && cursor->inRow < row.most)
        {
            cursor->inRow += 1;
            return &row;
        }
        cursor->row += 1;
        cursor->inRow = 0;
    }
    return nullptr;
}

static void CheckElement(StructureWalk* walk, const TiXmlElement* element,
                         const VocabularyElement& row, uint32_t depth);

/// Whether the fog's children are read, and so may be missing or wrong.
static bool ReadsChildren(const StructureWalk* walk, const TiXmlElement* element,
                          const VocabularyElement& row)
{
    const bool isFog = walk->spot.section == Section::kTimeline && strcmp(row.name, "fog") == 0;
    return !isFog || static_cast<int8_t>(ParseInt(element->Attribute("type"))) > 0;
}

static std::vector<const char*> ElementNames(std::span<const VocabularyElement> rows)
{
    std::vector<const char*> names;
    for (const VocabularyElement& row : rows)
    {
        names.push_back(row.name);
    }
    return names;
}

/// A child too many is an error where its reader refuses it, and else read by nobody.
static void TellExcess(StructureWalk* walk, const TiXmlElement* element, const TiXmlElement* child,
                       std::span<const VocabularyElement> rows)
{
    const bool isLimit = !rows.empty() && rows.back().most > 1 && !rows.back().nameCounts;
    if (isLimit && walk->isRefused)
    {
        Tell(walk, Severity::kError, Rule::kTooMany, child,
             FormatText("<%s> has more than %u <%s>", element->Value(), rows.back().most,
                        rows.back().name));
        return;
    }
    Finding* finding = Tell(walk, Severity::kNote, Rule::kUnknownElement, child,
                            FormatText("nothing reads <%s> here", child->Value()));
    const char* nearest = FindNearest(child->Value(), ElementNames(rows));
    finding->cure = nearest == nullptr ? "" : FormatText("write <%s>", nearest);
}

static bool HasParts(const StructureWalk* walk)
{
    return walk->spot.section == Section::kScenes || walk->spot.section == Section::kTimeline ||
           walk->spot.section == Section::kEnvelopes || walk->spot.section == Section::kTextures;
}

static void CheckChildren(StructureWalk* walk, const TiXmlElement* element,
                          const VocabularyElement& row, uint32_t depth)
{
    const bool isMixed = depth == 0 && (walk->spot.section == Section::kTextures ||
                                        walk->spot.section == Section::kMaterials);
    ChildCursor cursor = {row.children, isMixed, 0, 0};
    uint32_t number = 0;
    bool hasExcess = false;
    for (const TiXmlNode* node = element->FirstChild(); node != nullptr; node = node->NextSibling())
    {
        number += 1;
        walk->spot.part = depth == 0 && HasParts(walk) ? number : walk->spot.part;
        const TiXmlElement* child = node->ToElement();
        if (child == nullptr)
        {
            if (walk->isRefused && !hasExcess)
            {
                Tell(walk, Severity::kError, Rule::kNotAnElement, node,
                     "a comment or a loose text stands where an element has to be")
                    ->cure = "take it out: each node counts";
            }
            continue;
        }
        const VocabularyElement* known = hasExcess ? nullptr : TakeRow(&cursor, child->Value());
        if (known != nullptr)
        {
            CheckElement(walk, child, *known, depth + 1);
        }
        else if (!hasExcess)
        {
            hasExcess = true; // all that follow are too many for the same reason
            TellExcess(walk, element, child, row.children);
        }
    }
    walk->spot.part = depth == 0 ? 0 : walk->spot.part;

    for (size_t i = cursor.row; !isMixed && walk->isRefused && i < row.children.size(); ++i)
    {
        const uint32_t has = i == cursor.row ? cursor.inRow : 0;
        if (has < row.children[i].least)
        {
            Tell(walk, Severity::kError, Rule::kMissingChild, element,
                 FormatText("<%s> has no <%s>", element->Value(), row.children[i].name))
                ->cure = FormatText("its children are counted by their places; add <%s> as number "
                                    "%zu",
                                    row.children[i].name, i + 1);
            break; // what follows moved up
        }
    }
}

static void CheckElement(StructureWalk* walk, const TiXmlElement* element,
                         const VocabularyElement& row, uint32_t depth)
{
    CheckAttributes(walk, element, row);
    if (row.text != ContentKind::Nothing)
    {
        CheckText(walk, element, row);
    }
    else if (ReadsChildren(walk, element, row))
    {
        CheckChildren(walk, element, row, depth);
    }
}

// ---- Numbers of parameters

/// Compares a count of parameters with what the type takes.
static void CheckCount(StructureWalk* walk, const TiXmlBase* node, const VocabularyRow* row,
                       uint32_t count, float absent)
{
    if (row == nullptr)
    {
        return;
    }
    // Materials give all four numbers of a color, whether the recipe looks at alpha or not.
    const uint32_t free = walk->spot.section == Section::kMaterials ? 4 : 0;
    const uint32_t wanted = CountParamNumbers(row);
    if (count < wanted)
    {
        Tell(walk, Severity::kWarning, Rule::kParameterCount, node,
             FormatText("\"%s\" takes %u numbers, and %u %s given", row->name, wanted, count,
                        count == 1 ? "is" : "are"))
            ->cure =
            FormatText("numbers that are not given count as %g", static_cast<double>(absent));
    }
    else if (count > std::max(wanted, free))
    {
        Tell(walk, Severity::kNote, Rule::kParameterCount, node,
             FormatText("\"%s\" takes %u numbers, and never looks at %u more", row->name, wanted,
                        count - wanted));
    }
}

/// A number outside the range in which it has its effect.
static void CheckRange(StructureWalk* walk, const TiXmlBase* node, const VocabularyParam& param,
                       float value)
{
    const bool isPast = value < param.least || value > param.most;
    if (!isPast || param.past == PastRange::Works || param.past == PastRange::Fails)
    {
        return;
    }
    static constexpr const char* kEffects[] = {"",
                                               "counts as the nearer end of it",
                                               "comes round",
                                               "counts as 0",
                                               "leaves the number before",
                                               ""};
    const bool isPlain =
        param.past == PastRange::Holds || // and integers that come round are offsets
        (param.past == PastRange::Wraps && param.kind != ParamKind::Color);
    Tell(walk, isPlain ? Severity::kNote : Severity::kWarning, Rule::kParameterOutOfRange, node,
         FormatText("\"%s\" is %g, outside %g to %g: it %s", param.name, static_cast<double>(value),
                    static_cast<double>(param.least), static_cast<double>(param.most),
                    kEffects[static_cast<size_t>(param.past)]));
}

/// A parameter as it stands in the document.
struct GivenNumber
{
    const TiXmlBase* node;
    bool isNumber; // and not an envelope's id
    float value;
};

static void CheckRanges(StructureWalk* walk, const VocabularyRow* row,
                        const std::vector<GivenNumber>& numbers)
{
    size_t n = 0;
    for (const VocabularyParam& param :
         row == nullptr ? std::span<const VocabularyParam>() : row->params)
    {
        const bool isNumber = param.kind < ParamKind::Envelope;
        const size_t count = !isNumber ? (param.kind == ParamKind::Envelope ? 1 : 0)
                             : param.kind == ParamKind::Color ? 3
                                                              : 1;
        for (size_t i = 0; i < count && n < numbers.size(); ++i, ++n)
        {
            if (isNumber && numbers[n].isNumber)
            {
                CheckRange(walk, numbers[n].node, param, numbers[n].value);
            }
        }
    }
}

/// The numbers in the texts of an element's children, or in their attributes.
/// @param only   the name that counts; null for any. The first of another name ends them.
static std::vector<GivenNumber> GivenNumbers(const StructureWalk* walk, const TiXmlElement* element,
                                             const char* only)
{
    std::vector<GivenNumber> numbers;
    for (const TiXmlNode* node = element->FirstChild(); node != nullptr; node = node->NextSibling())
    {
        const TiXmlElement* child = node->ToElement();
        if (child == nullptr || (only != nullptr && strcmp(only, child->Value()) != 0))
        {
            break;
        }
        const char* value = child->Attribute("value");
        const TiXmlNode* text = child->FirstChild();
        if (value != nullptr)
        {
            numbers.push_back(
                {AttributeNode(child, "value"), !IsDynamic(walk, child), ParseFloat(value)});
        }
        else
        {
            numbers.push_back({child, true, text == nullptr ? 0.0f : ParseFloat(text->Value())});
        }
    }
    return numbers;
}

static void CheckParams(StructureWalk* walk, const TiXmlElement* element, CatalogueId catalogue,
                        const char* only)
{
    const VocabularyRow* row = FindVocabularyRow(catalogue, ParseInt(element->Attribute("type")));
    const std::vector<GivenNumber> numbers = GivenNumbers(walk, element, only);
    CheckCount(walk, element, row, static_cast<uint32_t>(numbers.size()),
               Catalogues[catalogue].absent);
    CheckRanges(walk, row, numbers);
}

/// Children of an item that have types and parameters of their own.
static void CheckPartParams(StructureWalk* walk, const TiXmlElement* item, CatalogueId catalogue)
{
    uint32_t part = 0;
    for (const TiXmlNode* node = item->FirstChild(); node != nullptr; node = node->NextSibling())
    {
        walk->spot.part = ++part;
        if (node->ToElement() != nullptr)
        {
            CheckParams(walk, node->ToElement(), catalogue, nullptr);
        }
    }
    walk->spot.part = 0;
}

static void CheckManipulatorParams(StructureWalk* walk, const TiXmlElement* object)
{
    uint32_t number = 0;
    for (const TiXmlNode* node = object->FirstChild(); node != nullptr; node = node->NextSibling())
    {
        const TiXmlElement* manipulator = node->ToElement();
        if (++number <= 11 || manipulator == nullptr)
        {
            continue;
        }
        const VocabularyRow* row =
            FindVocabularyRow(kCatalogueManipulators, ParseInt(manipulator->Attribute("type")));
        std::vector<GivenNumber> numbers = GivenNumbers(walk, manipulator, nullptr);
        const TiXmlElement* first = manipulator->FirstChildElement();
        if (first != nullptr && strcmp(first->Value(), "manipulator") == 0)
        {
            numbers.erase(numbers.begin());
        }
        CheckCount(walk, manipulator, row, static_cast<uint32_t>(numbers.size()), 0.0f);
        CheckRanges(walk, row, numbers);
    }
}

static void CheckItemParams(StructureWalk* walk, const TiXmlElement* item)
{
    switch (walk->spot.section)
    {
    case Section::kLayers:
        CheckParams(walk, item, kCatalogueGenerators, nullptr);
        break;
    case Section::kTextures:
        CheckPartParams(walk, item, kCatalogueSteps);
        break;
    case Section::kEnvelopes:
        CheckPartParams(walk, item, kCatalogueFunctions);
        break;
    case Section::kEffects:
        CheckParams(walk, item, kCatalogueEffects, "p");
        break;
    case Section::kMaterials:
        CheckParams(walk, item, kCatalogueRecipes, "p");
        break;
    case Section::kScenes:
    {
        uint32_t part = 0;
        for (const TiXmlNode* node = item->FirstChild(); node != nullptr;
             node = node->NextSibling())
        {
            walk->spot.part = ++part;
            if (node->ToElement() != nullptr)
            {
                CheckManipulatorParams(walk, node->ToElement());
            }
        }
        walk->spot.part = 0;
        break;
    }
    default:
        break;
    }
}

// ---- Faults of the readers

struct FaultWords
{
    const char* words; // that the fault has
    Rule rule;
    bool isForm; // of the form of an item, which the walk through it tells better
};

/// In this order, the first that fits.
static constexpr FaultWords kFaultWords[] = {
    {"the text does not parse", Rule::kUnreadableText, false},
    {"is larger than any document", Rule::kTooLarge, false},
    {"the section is missing", Rule::kMissingSection, false},
    {"the timeline has no row", Rule::kEmptyTimeline, false},
    {"the section holds more", Rule::kTooMany, false},
    {"more than", Rule::kTooMany, true},
    {"there is no layer", Rule::kDanglingReference, false},
    {"the package has no", Rule::kMissingEntry, false},
    {"attribute \"", Rule::kMissingAttribute, true},
    {"has no text", Rule::kMissingText, true},
    {"is not an element", Rule::kNotAnElement, true},
    {"is missing", Rule::kMissingChild, true},
    {"can't be allocated", Rule::kTooLarge, false},
    {"no memory", Rule::kTooLarge, false},
    {"may not take so much", Rule::kTooLarge, false},
};

static FaultWords WordsOf(const Fault& fault)
{
    for (const FaultWords& row : kFaultWords)
    {
        if (strstr(fault.text, row.words) != nullptr)
        {
            return row;
        }
    }
    return {"", fault.place.section == Section::kNone ? Rule::kUnreadableText : Rule::kDamagedEntry,
            false};
}

/// Tells how a file comes into the package: which, where it has to lie, and how piece.py makes it.
static std::string MissingFileCure(Section section, const std::string& entry)
{
    static constexpr std::string_view kModel = ".model";
    const bool isMesh = section == Section::kModels && entry.ends_with(kModel);
    const std::string stem = entry.substr(0, entry.size() - (isMesh ? kModel.size() : 0));
    const std::string file = isMesh ? stem + ".obj" : entry;
    std::string cure = FormatText(
        "put a file \"%s\" into the folder that is built, beside demo.xml", file.c_str());
    if (isMesh)
    {
        cure += FormatText(", or let piece.py make it: Mesh().write(\"%s\")", file.c_str());
    }
    else if (section == Section::kBitmaps && entry.ends_with(".png"))
    {
        cure += FormatText(", or let piece.py make it: write_png(\"%s\", 256, 256, 3, ...)",
                           file.c_str());
    }
    return cure;
}

static std::string StemOf(const std::string& name)
{
    return name.substr(0, name.rfind('.'));
}

/// Whether two names without their endings differ in one stretch of a letter, or of a quarter of
/// them: short names are near by chance, as "ship" and "sail".
static bool IsStemNear(const std::string& wanted, const std::string& entry)
{
    const std::string a = StemOf(wanted);
    const std::string b = StemOf(entry);
    const size_t shorter = std::min(a.size(), b.size());
    size_t before = 0;
    while (before < shorter && a[before] == b[before])
    {
        ++before;
    }
    size_t after = 0;
    while (after < shorter - before && a[a.size() - 1 - after] == b[b.size() - 1 - after])
    {
        ++after;
    }
    const size_t rest = std::max(a.size(), b.size()) - before - after;
    const bool isSwapped = rest == 2 && a.size() == b.size() && a[before] == b[before + 1] &&
                           a[before + 1] == b[before];
    return isSwapped || rest <= std::max<size_t>(1, shorter / 4);
}

/// The entry whose name is nearest to the one that a fault quotes, else how to add one.
static std::string MissingEntryCure(const CheckContext* context, const Fault& fault)
{
    const char* quote = strchr(fault.text, '"');
    const char* end = quote == nullptr ? nullptr : strrchr(quote + 1, '"');
    if (end == nullptr)
    {
        return "";
    }
    const std::string wanted(quote + 1, end);
    std::vector<std::string> names;
    for (uint32_t i = 0; i < context->package.entryCount; ++i)
    {
        const char* name = reinterpret_cast<const char*>(context->package.directory) +
                           size_t{i} * kPackageEntrySize;
        names.emplace_back(name, strnlen(name, kPackageNameSize));
    }
    std::vector<const char*> candidates;
    candidates.reserve(names.size());
    for (const std::string& name : names)
    {
        candidates.push_back(name.c_str());
    }
    const char* nearest = FindNearest(wanted, candidates);
    if (nearest != nullptr && !IsStemNear(wanted, nearest))
    {
        nearest = nullptr;
    }
    return nearest == nullptr ? MissingFileCure(fault.place.section, wanted)
                              : FormatText("there is an entry \"%s\"", nearest);
}

static void TellFault(StructureWalk* walk, const Fault& fault)
{
    const FaultWords words = WordsOf(fault);
    if (words.isForm && walk->errors != 0)
    {
        return; // the walk through the item has told it
    }
    walk->errors += 1;
    Finding* finding = AddFinding(&walk->spot, Severity::kError, words.rule, nullptr, fault.text);
    finding->place = fault.place;
    finding->place.document = walk->spot.checked->document.name;
    if (words.rule == Rule::kMissingEntry)
    {
        finding->cure = MissingEntryCure(walk->spot.context, fault);
    }
    else if (words.rule == Rule::kDamagedEntry && fault.place.section == Section::kBitmaps)
    {
        finding->cure = "images are PNG, JPEG, TGA or BMP: save it as one of these";
    }
}

/// Tells the faults of an item, or those of no item.
static void TellFaults(StructureWalk* walk, Section section, uint32_t item)
{
    for (const Fault& fault : walk->spot.checked->faults)
    {
        if (fault.place.section == section && fault.place.item == item)
        {
            TellFault(walk, fault);
        }
    }
}

// ---- Sections

static void CheckItem(StructureWalk* walk, const TiXmlNode* node)
{
    walk->errors = 0;
    walk->isRefused = HasFailedItem(walk->spot.checked, walk->spot.section, walk->spot.item);
    const TiXmlElement* item = node->ToElement();
    if (item != nullptr)
    {
        CheckElement(walk, item, *FindVocabularySection(walk->spot.section)->item, 0);
        if (walk->errors == 0) // else numbers may stand in other places than they should
        {
            CheckItemParams(walk, item);
        }
    }
    if (walk->isRefused)
    {
        TellFaults(walk, walk->spot.section, walk->spot.item);
    }
}

/// A section whose name is that of another.
static void CheckSectionName(CheckContext* context, CheckedDocument* checked, Section section,
                             const TiXmlNode* node)
{
    const Spot spot = {context, checked, section, 0, 0, nullptr};
    if (node->ToElement() == nullptr)
    {
        AddFinding(&spot, Severity::kWarning, Rule::kMovedSection, node,
                   FormatText("a comment or a loose text counts as %s, and all that follows moves",
                              FindVocabularySection(section)->faultName))
            ->cure = "take it out";
        return;
    }
    for (const VocabularySection& other : VocabularySections)
    {
        if (strcmp(other.word, node->Value()) == 0 && other.section != section)
        {
            AddFinding(&spot, Severity::kWarning, Rule::kMovedSection, node,
                       FormatText("<%s> stands in the place of %s, and counts as it", node->Value(),
                                  FindVocabularySection(section)->faultName))
                ->cure = FormatText("the place of <%s> is number %d after the first node",
                                    other.word, static_cast<int32_t>(other.section) + 1);
            return;
        }
    }
}

static void CheckSection(CheckContext* context, CheckedDocument* checked, Section section,
                         const TiXmlNode* node)
{
    CheckSectionName(context, checked, section, node);
    StructureWalk walk = {{context, checked, section, 0, 0, nullptr}, false, 0};
    TellFaults(&walk, section, 0);
    for (const TiXmlNode* item = node->FirstChild(); item != nullptr; item = item->NextSibling())
    {
        walk.spot.item += 1;
        walk.spot.name = ItemName(item);
        if (section == Section::kTimeline && walk.spot.item > kTimelineRows)
        {
            Tell(&walk, Severity::kWarning, Rule::kIgnoredRows, item,
                 FormatText("rows after the first %u are not read", kTimelineRows));
            return;
        }
        CheckItem(&walk, item);
    }
}

/// A text that stops parsing after the last section: a player does not look.
static void CheckText(const Spot* spot)
{
    const TiXmlDocument* tree = spot->checked->document.document;
    if (tree == nullptr || !spot->checked->isWhole || !HasStoppedParsing(tree))
    {
        return; // a missing section tells it
    }
    Finding* finding =
        AddFinding(spot, Severity::kWarning, Rule::kUnreadableText, nullptr,
                   "the text does not parse from here on: nothing reads what follows");
    finding->place.line = tree->ErrorRow();
    finding->place.column = tree->ErrorCol();
}

void CheckStructure(CheckContext* context, CheckedDocument* checked)
{
    StructureWalk walk = {{context, checked, Section::kNone, 0, 0, nullptr}, false, 0};
    TellFaults(&walk, Section::kNone, 0);
    CheckText(&walk.spot);
    const TiXmlNode* node = SectionNode(&checked->document, Section::kLayers);
    for (int32_t i = 0; i < kSectionCount; ++i)
    {
        if (node == nullptr)
        {
            TellFaults(&walk, static_cast<Section>(i), 0);
            continue;
        }
        CheckSection(context, checked, static_cast<Section>(i), node);
        node = node->NextSibling();
    }
    const TiXmlNode* extra = node == nullptr ? nullptr : node->NextSibling();
    if (extra != nullptr)
    {
        walk.spot.section = Section::kMusic;
        AddFinding(&walk.spot, Severity::kNote, Rule::kExtraNode, extra,
                   "nothing reads what stands after the music node");
    }
}
