// SPDX-License-Identifier: MIT
#include "studio/logic/piece_fields.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "engine/animation/animated_value.h"
#include "engine/data/document_values.h"
#include "engine/data/numeric.h"
#include "engine/data/vocabulary.h"
#include "engine/render/records/timeline.h"

// ---- Places

const TiXmlNode* FindSection(const DemoDocument* document, Section section)
{
    const TiXmlNode* node =
        document->document == nullptr ? nullptr : document->document->FirstChild();
    for (int32_t i = -1; node != nullptr && i < static_cast<int32_t>(section); ++i)
    {
        node = node->NextSibling();
    }
    return node;
}

uint32_t CountSectionItems(const DemoDocument* document, Section section)
{
    return CountChildren(FindSection(document, section));
}

/// @return the n-th child of any kind, counted from 1
static const TiXmlNode* ChildOf(const TiXmlNode* node, uint32_t n)
{
    const TiXmlNode* child = node == nullptr ? nullptr : node->FirstChild();
    for (uint32_t i = 1; child != nullptr && i < n; ++i)
    {
        child = child->NextSibling();
    }
    return child;
}

TiXmlElement* FindItem(const DemoDocument* document, Section section, uint32_t item)
{
    const TiXmlNode* section_node = FindSection(document, section);
    const TiXmlNode* node = section == Section::kMusic ? section_node : ChildOf(section_node, item);
    // The tree is the document's, whose values an author may try out.
    return node == nullptr || item == 0 ? nullptr : const_cast<TiXmlElement*>(node->ToElement());
}

TiXmlElement* FindElement(const DemoDocument* document, const FieldPlace& place)
{
    const TiXmlNode* node = FindItem(document, place.section, place.item);
    for (const uint32_t step : place.path)
    {
        node = ChildOf(node, step);
    }
    return node == nullptr ? nullptr : const_cast<TiXmlElement*>(node->ToElement());
}

static std::string ElementText(const TiXmlElement* element, const std::string& attribute)
{
    if (element == nullptr)
    {
        return "";
    }
    const char* text = !attribute.empty()                 ? element->Attribute(attribute.c_str())
                       : element->FirstChild() != nullptr ? element->FirstChild()->Value()
                                                          : nullptr;
    return text == nullptr ? "" : text;
}

std::string TextAt(const DemoDocument* document, const FieldPlace& place)
{
    return ElementText(FindElement(document, place), place.attribute);
}

bool SetTextAt(const DemoDocument* document, const FieldPlace& place, const std::string& text)
{
    TiXmlElement* element = FindElement(document, place);
    if (element == nullptr || (place.attribute.empty() && element->FirstChild() == nullptr))
    {
        return false;
    }
    if (place.attribute.empty())
    {
        element->FirstChild()->SetValue(text.c_str());
        return true;
    }
    element->SetAttribute(place.attribute.c_str(), text.c_str());
    return true;
}

// ---- Names of values

/// The names of the numbers that stand for the parameters of a vocabulary's row.
static std::vector<std::string> NumberNames(const VocabularyRow* row)
{
    std::vector<std::string> names;
    for (const VocabularyParam& param : row->params)
    {
        if (param.kind == ParamKind::Color)
        {
            for (const char* channel : {" red", " green", " blue"})
            {
                names.push_back(std::string(param.word) + channel);
            }
        }
        else if (param.kind < ParamKind::Light)
        {
            names.emplace_back(param.word);
        }
    }
    return names;
}

/// The sections of a material's references other than effects, in their order: the light is the
/// first, whatever its place in the row.
static std::vector<Section> ImageSections(const VocabularyRow* row)
{
    std::vector<Section> sections;
    for (const VocabularyParam& param : row->params)
    {
        if (param.kind == ParamKind::Light)
        {
            sections.insert(sections.begin(), Section::kLights);
        }
        else if (param.kind == ParamKind::Texture || param.kind == ParamKind::Bitmap)
        {
            sections.push_back(param.kind == ParamKind::Texture ? Section::kTextures
                                                                : Section::kBitmaps);
        }
    }
    return sections;
}

static bool EndsWith(const std::string& text, const char* ending)
{
    const size_t length = strlen(ending);
    return text.size() >= length && text.compare(text.size() - length, length, ending) == 0;
}

// ---- The walk

/// The walk through one item.
struct FieldWalk
{
    ItemRef ref;
    std::vector<Field> fields;
    std::vector<uint32_t> path;
    std::string group;
    uint32_t part;
};

/// The row of a catalogue that an element's "type" names; null if it names none.
static const VocabularyRow* TypeRow(const TiXmlElement* element, const VocabularyElement& row)
{
    for (const VocabularyAttribute& attribute : row.attributes)
    {
        if (attribute.content == ContentKind::Row && strcmp(attribute.name, "type") == 0)
        {
            return FindVocabularyRow(static_cast<CatalogueId>(attribute.of),
                                     ParseInt(element->Attribute("type")));
        }
    }
    return nullptr;
}

static bool IsDynamic(const FieldWalk* walk, const TiXmlElement* element)
{
    const char* type = element->Attribute("type");
    return type != nullptr &&
           (walk->ref.section == Section::kMaterials ? strcmp(type, "static") != 0
                                                     : strcmp(type, "dynamic") == 0);
}

static void AddField(FieldWalk* walk, const TiXmlElement* element, const char* attribute,
                     const std::string& name, FieldKind kind, Section of)
{
    Field field = {{walk->ref.section, walk->ref.item, walk->path, attribute},
                   walk->part,
                   walk->group,
                   name,
                   kind,
                   of,
                   ElementText(element, attribute),
                   kind == FieldKind::kNumber && EndsWith(name, " red")};
    walk->fields.push_back(std::move(field));
}

/// Adds an attribute of an element, or its text.
/// @param name   of the value; empty takes the attribute's own
static void AddContent(FieldWalk* walk, const TiXmlElement* element, const VocabularyAttribute& row,
                       const std::string& name)
{
    const std::string own = name.empty() ? row.name : name;
    switch (row.content)
    {
    case ContentKind::Number:
        AddField(walk, element, row.name, own, FieldKind::kNumber, Section::kNone);
        break;
    case ContentKind::Integer:
        AddField(walk, element, row.name, own, FieldKind::kInteger, Section::kNone);
        break;
    case ContentKind::Ticks:
        AddField(walk, element, row.name, own, FieldKind::kTicks, Section::kNone);
        break;
    case ContentKind::Item:
        AddField(walk, element, row.name, own, FieldKind::kItem, static_cast<Section>(row.of));
        break;
    case ContentKind::Layer:
        AddField(walk, element, row.name, "layer", FieldKind::kItem, Section::kLayers);
        break;
    case ContentKind::Value:
        if (element->Attribute(row.name) != nullptr)
        {
            const bool isDynamic = IsDynamic(walk, element);
            AddField(walk, element, row.name, own,
                     isDynamic ? FieldKind::kCurve : FieldKind::kNumber,
                     isDynamic ? Section::kEnvelopes : Section::kNone);
        }
        break;
    case ContentKind::Row:
    case ContentKind::Text:
    case ContentKind::File:
    case ContentKind::Size:
    case ContentKind::Bits:
    case ContentKind::Projection:
        if (element->Attribute(row.name) != nullptr)
        {
            AddField(walk, element, row.name, own, FieldKind::kWord, Section::kNone);
        }
        break;
    case ContentKind::Nothing:
    case ContentKind::ValueType:
        break;
    }
}

/// Whether elements of a row come again and again, each with values of its own.
static bool IsGroup(const VocabularyElement& row)
{
    return row.most != 1 && (!row.children.empty() || row.attributes.size() > 1) &&
           strcmp(row.name, "p") != 0;
}

/// The children of an element that were met so far.
struct ChildCount
{
    size_t cursor;              // of the rows that are found by place
    std::vector<uint32_t> used; // of each row
    uint32_t images;            // of a material
};

static const VocabularyElement* FindChildRow(const VocabularyElement& parent,
                                             const TiXmlElement* child, ChildCount* count)
{
    for (size_t i = 0; i < parent.children.size(); ++i)
    {
        if (parent.children[i].nameCounts && strcmp(parent.children[i].name, child->Value()) == 0)
        {
            count->used[i] += 1;
            return &parent.children[i];
        }
    }
    while (count->cursor < parent.children.size() &&
           (parent.children[count->cursor].nameCounts ||
            count->used[count->cursor] >= parent.children[count->cursor].most))
    {
        count->cursor += 1;
    }
    if (count->cursor == parent.children.size())
    {
        return nullptr;
    }
    count->used[count->cursor] += 1;
    return &parent.children[count->cursor];
}

static void WalkElement(FieldWalk* walk, const TiXmlElement* element, const VocabularyElement& row,
                        const std::string& name);

/// The name of a numbered value, or of a single element.
static std::string ChildName(const VocabularyElement& row, const std::vector<std::string>& numbers,
                             uint32_t n)
{
    if (strcmp(row.name, "p") != 0)
    {
        return row.name;
    }
    return n <= numbers.size() ? numbers[n - 1] : "parameter " + std::to_string(n);
}

static void WalkChildren(FieldWalk* walk, const TiXmlElement* element, const VocabularyElement& row)
{
    const VocabularyRow* type = TypeRow(element, row);
    const std::vector<std::string> numbers =
        type == nullptr ? std::vector<std::string>() : NumberNames(type);
    const std::vector<Section> images =
        type == nullptr ? std::vector<Section>() : ImageSections(type);
    ChildCount count = {0, std::vector<uint32_t>(row.children.size()), 0};
    uint32_t place = 0;
    for (const TiXmlNode* node = element->FirstChild(); node != nullptr; node = node->NextSibling())
    {
        place += 1;
        const TiXmlElement* child = node->ToElement();
        const VocabularyElement* childRow =
            child == nullptr ? nullptr : FindChildRow(row, child, &count);
        if (childRow == nullptr)
        {
            continue;
        }
        const bool isTop = walk->path.empty();
        if (isTop && walk->ref.part != 0 && walk->ref.part != place)
        {
            continue; // a scene may have hundreds of objects
        }
        const std::string group = walk->group;
        walk->path.push_back(place);
        walk->part = isTop ? place : walk->part;
        const uint32_t n = count.used[static_cast<size_t>(childRow - row.children.data())];
        if (IsGroup(*childRow))
        {
            walk->group += (group.empty() ? "" : ", ") + std::string(childRow->name) + " " +
                           std::to_string(isTop ? place : n);
        }
        const bool isImage = walk->ref.section == Section::kMaterials && !childRow->nameCounts;
        if (isImage)
        {
            const Section of = count.images < images.size() ? images[count.images] : Section::kNone;
            const VocabularySection* section = FindVocabularySection(of);
            count.images += 1;
            AddField(walk, child, "value", section == nullptr ? "reference" : section->word,
                     FieldKind::kItem, of);
        }
        else
        {
            WalkElement(walk, child, *childRow, ChildName(*childRow, numbers, n));
        }
        walk->group = group;
        walk->path.pop_back();
        walk->part = isTop ? 0 : walk->part;
    }
}

static void WalkElement(FieldWalk* walk, const TiXmlElement* element, const VocabularyElement& row,
                        const std::string& name)
{
    const std::string outer = walk->group;
    const bool isNest = !row.children.empty() && row.most == 1 && !name.empty();
    walk->group = isNest ? outer + (outer.empty() ? "" : ", ") + name : outer;
    for (const VocabularyAttribute& attribute : row.attributes)
    {
        const bool isValue = strcmp(attribute.name, "value") == 0;
        AddContent(walk, element, attribute, isValue ? name : "");
    }
    if (row.text != ContentKind::Nothing)
    {
        const bool isId = row.text == ContentKind::Item;
        const VocabularyAttribute text = {"", row.text, isId ? 3 : 0};
        AddContent(walk, element, text, name);
    }
    WalkChildren(walk, element, row);
    walk->group = outer;
}

/// An object's or placement's mesh is a generated one where its type says so.
static void CorrectMeshSections(const DemoDocument* document, std::vector<Field>* fields)
{
    for (Field& field : *fields)
    {
        const bool isMesh = field.kind == FieldKind::kItem && field.of == Section::kModels &&
                            field.place.section == Section::kScenes;
        const TiXmlElement* element = isMesh ? FindElement(document, field.place) : nullptr;
        if (element != nullptr && ParseInt(element->Attribute("type")) == kObjectGenMesh)
        {
            field.of = Section::kGenMeshes;
        }
    }
}

std::vector<Field> ListFields(const DemoDocument* document, const ItemRef& ref)
{
    const TiXmlElement* element = FindItem(document, ref.section, ref.item);
    const VocabularySection* section = FindVocabularySection(ref.section);
    if (element == nullptr || section == nullptr)
    {
        return {};
    }
    FieldWalk walk = {ref, {}, {}, "", 0};
    WalkElement(&walk, element, *section->item, "");
    if (ref.part != 0)
    {
        std::erase_if(walk.fields, [&ref](const Field& field) { return field.part != ref.part; });
    }
    CorrectMeshSections(document, &walk.fields);
    return walk.fields;
}

// ---- References

/// @return the item that a value names; item 0 for none
static ItemRef Named(const Field& field)
{
    if (field.kind != FieldKind::kCurve && field.kind != FieldKind::kItem)
    {
        return {Section::kNone, 0, 0};
    }
    const uint32_t id = static_cast<uint32_t>(ParseInt(field.text.c_str()));
    return {field.of, field.of == Section::kLayers ? id + 1 : id, 0};
}

std::vector<ItemRef> ListReferences(const DemoDocument* document, const ItemRef& ref)
{
    std::vector<ItemRef> references;
    for (const Field& field : ListFields(document, ref))
    {
        const ItemRef named = Named(field);
        if (named.item != 0 && FindItem(document, named.section, named.item) != nullptr &&
            std::find(references.begin(), references.end(), named) == references.end())
        {
            references.push_back(named);
        }
    }
    return references;
}

static bool HasParts(Section section)
{
    return section == Section::kScenes || section == Section::kTimeline;
}

std::vector<ItemRef> ListUsers(const DemoDocument* document, const ItemRef& ref)
{
    std::vector<ItemRef> users;
    for (int32_t number = 0; number < kSectionCount; ++number)
    {
        const Section section = static_cast<Section>(number);
        const uint32_t count = CountSectionItems(document, section);
        for (uint32_t item = 1; item <= count; ++item)
        {
            for (const Field& field : ListFields(document, {section, item, 0}))
            {
                const ItemRef user = {section, item, HasParts(section) ? field.part : 0};
                const ItemRef named = Named(field);
                if (named.section == ref.section && named.item == ref.item &&
                    (users.empty() || !(users.back() == user)))
                {
                    users.push_back(user);
                }
            }
        }
    }
    return users;
}

uint32_t CountParts(const DemoDocument* document, const ItemRef& ref)
{
    return HasParts(ref.section) ? CountChildren(FindItem(document, ref.section, ref.item)) : 0;
}

std::string ItemTitle(const DemoDocument* document, const ItemRef& ref)
{
    static constexpr const char* kWords[] = {"layer",          "texture", "model",  "curve",
                                             "light",          "effect",  "bitmap", "material",
                                             "generated mesh", "scene",   "row",    "music"};
    if (ref.section == Section::kNone)
    {
        return "nothing";
    }
    std::string title = kWords[static_cast<size_t>(ref.section)];
    title += " " + std::to_string(ItemNumber(ref.section, ref.item));
    const TiXmlElement* element = FindItem(document, ref.section, ref.item);
    if (ref.part != 0)
    {
        title += (ref.section == Section::kScenes     ? ", object "
                  : ref.section == Section::kTimeline ? ", clip "
                                                      : ", part ") +
                 std::to_string(ref.part);
        const TiXmlNode* part = ChildOf(element, ref.part);
        element = part == nullptr ? nullptr : part->ToElement();
    }
    for (const char* attribute : {"name", "filename"})
    {
        const char* name = element == nullptr ? nullptr : element->Attribute(attribute);
        if (name != nullptr && *name != 0)
        {
            return title + " \"" + name + "\"";
        }
    }
    return title;
}

std::string SceneName(const DemoDocument* document, uint32_t scene)
{
    if (scene == 0)
    {
        return "no scene";
    }
    const TiXmlElement* item = FindItem(document, Section::kScenes, scene);
    const char* name = item == nullptr ? nullptr : item->Attribute("name");
    return name == nullptr || *name == 0 ? "scene " + std::to_string(scene) : name;
}

// ---- Values

float CurveValue(const DemoDocument* document, uint32_t id, uint32_t time)
{
    const Envelope* envelope = GetRecord<Envelope>(id, document->envelopes);
    if (envelope == nullptr)
    {
        return 0.0f;
    }
    EnvelopeCache cache = kEmptyEnvelopeCache;
    return EvaluateEnvelope(envelope, &cache, time);
}

float FieldValue(const DemoDocument* document, const Field& field, uint32_t time)
{
    switch (field.kind)
    {
    case FieldKind::kNumber:
        return ParseFloat(field.text.c_str());
    case FieldKind::kInteger:
    case FieldKind::kTicks:
        return static_cast<float>(ParseInt(field.text.c_str()));
    case FieldKind::kCurve:
        return CurveValue(document, static_cast<uint32_t>(ParseInt(field.text.c_str())), time);
    default:
        return 0.0f;
    }
}

std::vector<ActiveClip> ListActiveClips(const Timeline* timeline, uint32_t tick)
{
    std::vector<ActiveClip> clips;
    const uint32_t second = std::min(tick / kTicksPerSecond, kTimelineSeconds - 1);
    if (timeline->clipCount[0] == 0 || timeline->slotIndex[0][second] == kEmptySlot)
    {
        return clips; // row 0 decides whether there is a picture
    }
    for (uint32_t row = 0; row < kTimelineRows; ++row)
    {
        uint32_t clip = 0;
        uint32_t local = 0;
        if (FindClip(timeline, row, second, tick, &clip, &local))
        {
            clips.push_back({row, clip, local + timeline->offset[row][clip]});
        }
    }
    return clips;
}

// ---- A clip in words

static std::string ClipValueText(const DemoDocument* document, const ClipValues& values,
                                 const ActiveClip& at)
{
    const uint32_t slot = values.slot[at.row][at.clip];
    const bool isDynamic = values.dynamic[at.row][at.clip] != 0;
    const float value = isDynamic ? CurveValue(document, slot, at.time) : SlotFloat(slot);
    char text[64];
    snprintf(text, sizeof(text), "%.6g", static_cast<double>(value));
    return isDynamic ? text + (" (curve " + std::to_string(slot) + ")") : text;
}

std::vector<std::string> ClipLines(const DemoDocument* document, uint32_t row, uint32_t clip,
                                   uint32_t time)
{
    static constexpr const char* kPasses[] = {
        "to the window",      "to a bitmap",
        "as the clip before", "to the window, depth cleared",
        "to a bitmap, wide",  "to a bitmap, a quarter of the window"};
    const Timeline* timeline = document->timeline;
    const ActiveClip at = {row, clip, time};
    const auto text = [document, &at](const ClipValues& values)
    {
        return ClipValueText(document, values, at);
    };
    // By the tree: the record has none while its row is hidden.
    const FieldPlace scenePlace = {Section::kTimeline, row + 1, {clip + 1}, "id"};
    const uint32_t scene = static_cast<uint32_t>(ParseInt(TextAt(document, scenePlace).c_str()));
    const uint32_t kind = static_cast<uint32_t>(timeline->passKind[row][clip]);
    const uint32_t target =
        static_cast<uint32_t>(TruncateToInt(timeline->passParams[row][clip][0]));

    std::vector<std::string> lines;
    const uint32_t end = timeline->clipEnd[row][clip];
    lines.push_back("row " + std::to_string(row) + ", clip " + std::to_string(clip + 1) + ": " +
                    (scene == 0 ? "no scene" : ItemTitle(document, {Section::kScenes, scene, 0})) +
                    ", to tick " + std::to_string(end) + ", pass " +
                    (kind < std::size(kPasses) ? kPasses[kind] : "unknown") +
                    (target != 0 ? ", bitmap " + std::to_string(target) : ""));

    std::string camera = "camera at " + text(timeline->cameraX) + ", " + text(timeline->cameraY) +
                         ", " + text(timeline->cameraZ) + ", turned by " +
                         text(timeline->cameraRotX) + ", " + text(timeline->cameraRotY) + ", " +
                         text(timeline->cameraRotZ);
    const uint32_t fov = timeline->fov[row][clip];
    char view[64];
    switch (timeline->projectionKind[row][clip])
    {
    case kProjectionOrthographic:
        camera += ", flat";
        break;
    case kProjectionAnimatedFov:
        snprintf(view, sizeof(view), ", field of view %.6g (curve %u)",
                 static_cast<double>(CurveValue(document, fov, time)), fov);
        camera += view;
        break;
    default:
        snprintf(view, sizeof(view), ", field of view %.6g", static_cast<double>(SlotFloat(fov)));
        camera += view;
        break;
    }
    lines.push_back(camera);
    lines.push_back(timeline->fogMode[row][clip] > 0
                        ? "fog from " + text(timeline->fogStart) + " to " + text(timeline->fogEnd)
                        : "no fog");
    return lines;
}
