// SPDX-License-Identifier: MIT
#include <cstring>

#include "engine/check/context.h"
#include "engine/data/document_values.h"
#include "engine/data/numeric.h"
#include "engine/render/records/material.h"
#include "engine/render/records/timeline.h"

/// The references of one document.
struct ReferenceWalk
{
    Spot spot;
    std::set<MetFault> told; // of those that playing meets
};

/// Marks what an id names, or tells that it names nothing.
/// @param node   of the attribute or text with the id
static void FollowId(ReferenceWalk* walk, const TiXmlBase* node, Section target, uint32_t id)
{
    const Spot& spot = walk->spot;
    const DemoDocument* document = &spot.checked->document;
    const ObjectTable* table = TableOf(document, target);
    if (GetObject(id, table) != nullptr)
    {
        spot.checked->used[static_cast<size_t>(target)][id - 1] = 1;
        return;
    }

    const MetFault fault = {spot.section, spot.item, spot.part, target, id};
    const bool isMet = spot.checked->played.met.count(fault) != 0;
    walk->told.insert(fault);
    std::string text =
        FormatText("%s %d does not exist; there %s %u", ItemWord(target), static_cast<int32_t>(id),
                   table->count == 1 ? "is" : "are", table->count);
    text += isMet ? "" : ", and while the piece plays nothing asks for it";
    Finding* finding = AddFinding(&spot, isMet ? Severity::kError : Severity::kWarning,
                                  Rule::kDanglingReference, node, text);
    finding->cure = table->count == 0
                        ? FormatText("add it to %s", FindVocabularySection(target)->faultName)
                        : FormatText("write an id from 1 to %u", table->count);
}

/// Follows an id that may be 0 for none.
static void FollowOptional(ReferenceWalk* walk, const TiXmlBase* node, Section target, uint32_t id)
{
    if (id != 0)
    {
        FollowId(walk, node, target, id);
    }
}

/// The id in an attribute; 0 without one.
static uint32_t AttributeId(const TiXmlElement* element, const char* name)
{
    return static_cast<uint32_t>(ParseInt(element->Attribute(name)));
}

/// An animated value: an envelope where "type" is "dynamic".
static void FollowValue(ReferenceWalk* walk, const TiXmlNode* node)
{
    const TiXmlElement* element = node == nullptr ? nullptr : node->ToElement();
    const char* type = element == nullptr ? nullptr : element->Attribute("type");
    if (type != nullptr && strcmp(type, "dynamic") == 0)
    {
        FollowId(walk, AttributeNode(element, "value"), Section::kEnvelopes,
                 AttributeId(element, "value"));
    }
}

static const TiXmlElement* NextElement(const TiXmlNode** node)
{
    const TiXmlElement* element = *node == nullptr ? nullptr : (*node)->ToElement();
    *node = *node == nullptr ? nullptr : (*node)->NextSibling();
    return element;
}

// ---- Items

static void FollowTexture(ReferenceWalk* walk, const TiXmlElement* item)
{
    std::vector<uint8_t>* used = &walk->spot.checked->usedLayers;
    for (const TiXmlNode* node = item->FirstChild(); node != nullptr; node = node->NextSibling())
    {
        const TiXmlElement* step = node->ToElement();
        if (step == nullptr || AttributeId(step, "type") >= kStepInvert)
        {
            continue;
        }
        const bool isNamed = strncmp(step->Value(), "layer", 5) == 0;
        const uint32_t layer = isNamed ? AttributeId(step, "id") : 0;
        if (layer < used->size())
        {
            (*used)[layer] = 1;
        }
    }
}

/// Items whose parameters are ids of envelopes.
static void FollowEnvelopeParams(ReferenceWalk* walk, const TiXmlElement* item, uint32_t count)
{
    const TiXmlNode* node = item->FirstChild();
    for (uint32_t i = 0; i < count && node != nullptr; ++i)
    {
        const TiXmlElement* param = NextElement(&node);
        if (param == nullptr || strcmp(param->Value(), "p") != 0 || param->FirstChild() == nullptr)
        {
            return;
        }
        walk->spot.part = i + 1;
        FollowOptional(walk, param, Section::kEnvelopes,
                       static_cast<uint32_t>(ParseInt(param->FirstChild()->Value())));
    }
    walk->spot.part = 0;
}

static void FollowEffect(ReferenceWalk* walk, const TiXmlElement* item)
{
    const VocabularyRow* row =
        FindVocabularyRow(kCatalogueEffects, static_cast<int32_t>(AttributeId(item, "type")));
    FollowEnvelopeParams(walk, item, row == nullptr ? 0 : CountParamNumbers(row));
}

static void FollowGenMesh(ReferenceWalk* walk, const TiXmlElement* item)
{
    FollowEnvelopeParams(walk, item, 1);
}

static void FollowLight(ReferenceWalk* walk, const TiXmlElement* item)
{
    uint32_t part = 1;
    const TiXmlNode* group = item->FirstChild();
    for (uint32_t i = 0; i < 3 && group != nullptr; ++i, group = group->NextSibling())
    {
        const TiXmlNode* value = group->FirstChild();
        for (uint32_t k = 0; k < 3; ++k, ++part)
        {
            walk->spot.part = part;
            FollowValue(walk, value);
            value = value == nullptr ? nullptr : value->NextSibling();
        }
    }
    walk->spot.part = 0;
}

/// One of the references that a recipe takes.
struct RecipeReference
{
    Section section;
    const char* name;
};

/// @return the references of a recipe in the order of documents: the light before all others
static std::vector<RecipeReference> RecipeReferences(const VocabularyRow* row)
{
    std::vector<RecipeReference> references;
    if ((row->traits & kTraitLit) != 0)
    {
        references.push_back({Section::kLights, "light"});
    }
    for (const VocabularyParam& param : row->params)
    {
        if (param.kind == ParamKind::Texture)
        {
            references.push_back({Section::kTextures, "procedural texture"});
        }
        else if (param.kind == ParamKind::Bitmap)
        {
            references.push_back({Section::kBitmaps, "bitmap"});
        }
    }
    return references;
}

/// @param severity   a note where the document says 0, which means none
static void TellMissingReference(ReferenceWalk* walk, Severity severity, const TiXmlBase* node,
                                 const RecipeReference& reference, const VocabularyRow* row)
{
    const char* word = reference.section == Section::kLights ? "light" : "texture";
    Finding* finding =
        AddFinding(&walk->spot, severity, Rule::kMissingReference, node,
                   FormatText("the recipe \"%s\" takes a %s, and the material names none",
                              row->name, reference.name));
    finding->cure = FormatText("add <%s value=\"ID\"/>", word);
    finding->pythonCure = FormatText("give the recipe a %s=...",
                                     reference.section == Section::kBitmaps ? "bitmap" : word);
}

/// A name of a child that says something else than its place makes of it.
static void CheckReferenceWord(ReferenceWalk* walk, const TiXmlElement* child,
                               const RecipeReference& reference)
{
    const bool saysLight = strcmp(child->Value(), "light") == 0;
    const bool saysTexture = strcmp(child->Value(), "texture") == 0;
    const bool isLight = reference.section == Section::kLights;
    if ((saysLight && !isLight) || (saysTexture && isLight))
    {
        AddFinding(&walk->spot, Severity::kWarning, Rule::kWrongReference, child,
                   FormatText("<%s> stands in the place of the %s, and counts as one",
                              child->Value(), reference.name))
            ->cure = "the light comes first, then the images in their order";
    }
}

/// The references other than parameters and effects.
static void FollowRecipe(ReferenceWalk* walk, const TiXmlElement* item, const VocabularyRow* row,
                         const std::vector<const TiXmlElement*>& children)
{
    const std::vector<RecipeReference> references = RecipeReferences(row);
    for (size_t i = 0; i < children.size(); ++i)
    {
        if (i >= references.size())
        {
            AddFinding(&walk->spot, Severity::kWarning, Rule::kWrongReference, children[i],
                       FormatText("the recipe \"%s\" takes no <%s> here, and never looks at it",
                                  row->name, children[i]->Value()));
            continue;
        }
        CheckReferenceWord(walk, children[i], references[i]);
        const uint32_t id = AttributeId(children[i], "value");
        if (id == 0)
        {
            TellMissingReference(walk, Severity::kNote, children[i], references[i], row);
            continue;
        }
        FollowId(walk, AttributeNode(children[i], "value"), references[i].section, id);
    }
    for (size_t i = children.size(); i < references.size(); ++i)
    {
        TellMissingReference(walk, Severity::kWarning, item, references[i], row);
    }
}

static void FollowEffectReferences(ReferenceWalk* walk, const TiXmlElement* item,
                                   const VocabularyRow* row,
                                   const std::vector<const TiXmlElement*>& children)
{
    const bool takesEffect = row->number == kRecipeEffect;
    for (size_t i = 0; i < children.size(); ++i)
    {
        if (!takesEffect || i != 0)
        {
            AddFinding(&walk->spot, Severity::kWarning, Rule::kWrongReference, children[i],
                       FormatText("the recipe \"%s\" takes no %s", row->name,
                                  takesEffect ? "second effect" : "effect"))
                ->cure = takesEffect ? "" : "images of other recipes stand in <texture>";
        }
        else if (AttributeId(children[i], "value") != 0)
        {
            FollowId(walk, AttributeNode(children[i], "value"), Section::kEffects,
                     AttributeId(children[i], "value"));
        }
    }
    if (takesEffect && (children.empty() || AttributeId(children[0], "value") == 0))
    {
        AddFinding(&walk->spot, Severity::kWarning, Rule::kMissingReference, item,
                   FormatText("the recipe \"%s\" takes a 2D effect, and the material names none",
                              row->name))
            ->cure = "add <effect2d value=\"ID\"/>";
        walk->spot.context->findings->back().pythonCure = "give the recipe an effect=...";
    }
}

static void FollowMaterial(ReferenceWalk* walk, const TiXmlElement* item)
{
    const VocabularyRow* row =
        FindVocabularyRow(kCatalogueRecipes, static_cast<int32_t>(AttributeId(item, "type")));
    if (row == nullptr)
    {
        return;
    }
    std::vector<const TiXmlElement*> references;
    std::vector<const TiXmlElement*> effects;
    bool inParameters = true;
    for (const TiXmlNode* node = item->FirstChild(); node != nullptr; node = node->NextSibling())
    {
        const TiXmlElement* child = node->ToElement();
        if (child == nullptr)
        {
            return; // the reader stopped here
        }
        inParameters = inParameters && strcmp(child->Value(), "p") == 0;
        if (!inParameters)
        {
            const bool isEffect = strcmp(child->Value(), "effect2d") == 0;
            (isEffect ? effects : references).push_back(child);
            continue;
        }
        const char* type = child->Attribute("type");
        if (type != nullptr && strcmp(type, "static") != 0)
        {
            FollowId(walk, AttributeNode(child, "value"), Section::kEnvelopes,
                     AttributeId(child, "value"));
        }
    }
    FollowRecipe(walk, item, row, references);
    FollowEffectReferences(walk, item, row, effects);
}

/// The mesh of an object, or the one that a manipulator places on.
static void FollowMesh(ReferenceWalk* walk, const TiXmlElement* element, const char* attribute,
                       uint32_t kind, uint32_t id)
{
    if (kind > kObjectGenMesh)
    {
        return; // told with the types
    }
    const Section section = kind == kObjectModel ? Section::kModels : Section::kGenMeshes;
    const TiXmlBase* node = AttributeNode(element, attribute);
    if (id == 0)
    {
        AddFinding(&walk->spot, Severity::kWarning, Rule::kMissingReference, node,
                   FormatText("no %s is named, so nothing comes of it", ItemWord(section)))
            ->cure = "write the id of one, counted from 1";
        return;
    }
    FollowId(walk, node, section, id);
}

static void FollowManipulator(ReferenceWalk* walk, const TiXmlElement* element)
{
    const TiXmlNode* child = element->FirstChild();
    const bool isPlacer = AttributeId(element, "type") == kManipulatorModelPlacer;
    const TiXmlElement* first = child == nullptr ? nullptr : child->ToElement();
    if (first != nullptr && strcmp(first->Value(), "manipulator") == 0)
    {
        const char* kind = first->Attribute("type");
        const char* model = first->Attribute("model");
        if (isPlacer && kind != nullptr && model != nullptr)
        {
            FollowMesh(walk, first, "model", TruncateToByte(strtod(kind, nullptr)),
                       static_cast<uint32_t>(TruncateToInt(strtod(model, nullptr))));
        }
        child = child->NextSibling();
    }
    else if (isPlacer)
    {
        AddFinding(&walk->spot, Severity::kWarning, Rule::kMissingReference, element,
                   "a \"Model placer\" without a mesh to place on does nothing")
            ->cure = "begin it with <manipulator type=\"0\" model=\"ID\"/>";
    }
    for (; child != nullptr; child = child->NextSibling())
    {
        FollowValue(walk, child);
    }
}

static void FollowObject(ReferenceWalk* walk, const TiXmlElement* object)
{
    FollowMesh(walk, object, "object", AttributeId(object, "type") & 0xFF,
               AttributeId(object, "object"));
    const uint32_t material = AttributeId(object, "material");
    if (material == 0)
    {
        AddFinding(&walk->spot, Severity::kWarning, Rule::kMissingReference,
                   AttributeNode(object, "material"),
                   "the object has no material, and looks like the one drawn before it")
            ->cure = "write the id of one, counted from 1";
    }
    FollowOptional(walk, AttributeNode(object, "material"), Section::kMaterials, material);

    const TiXmlNode* child = object->FirstChild();
    for (uint32_t i = 0; i < 9 && child != nullptr; ++i)
    {
        FollowValue(walk, NextElement(&child));
    }
    const TiXmlElement* visible = NextElement(&child);
    if (visible != nullptr)
    {
        FollowOptional(walk, AttributeNode(visible, "value"), Section::kEnvelopes,
                       AttributeId(visible, "value"));
    }
    NextElement(&child); // the time shift
    while (child != nullptr)
    {
        const TiXmlElement* manipulator = NextElement(&child);
        if (manipulator != nullptr)
        {
            FollowManipulator(walk, manipulator);
        }
    }
}

/// Children of a scene or a row, each a part of its item.
static void FollowParts(ReferenceWalk* walk, const TiXmlElement* item,
                        void (*follow)(ReferenceWalk*, const TiXmlElement*))
{
    walk->spot.part = 1;
    for (const TiXmlNode* node = item->FirstChild(); node != nullptr; node = node->NextSibling())
    {
        const TiXmlElement* part = node->ToElement();
        if (part != nullptr)
        {
            follow(walk, part);
        }
        walk->spot.part += 1;
    }
    walk->spot.part = 0;
}

static void FollowScene(ReferenceWalk* walk, const TiXmlElement* item)
{
    FollowParts(walk, item, FollowObject);
}

static void FollowFog(ReferenceWalk* walk, const TiXmlElement* fog)
{
    if (static_cast<int8_t>(AttributeId(fog, "type")) <= 0)
    {
        return;
    }
    const TiXmlNode* child = fog->FirstChild();
    for (uint32_t i = 0; i < 3 && child != nullptr; ++i)
    {
        FollowValue(walk, NextElement(&child));
    }
    const TiXmlElement* color = NextElement(&child);
    if (color != nullptr)
    {
        FollowOptional(walk, AttributeNode(color, "value"), Section::kMaterials,
                       AttributeId(color, "value"));
    }
}

static void FollowClip(ReferenceWalk* walk, const TiXmlElement* clip)
{
    FollowOptional(walk, AttributeNode(clip, "id"), Section::kScenes, AttributeId(clip, "id"));
    const VocabularyRow* pass =
        FindVocabularyRow(kCataloguePasses, static_cast<int32_t>(AttributeId(clip, "type")));
    if (pass != nullptr && (pass->traits & kTraitTarget) != 0)
    {
        // By way of a float, as players keep it.
        const float target = static_cast<float>(ParseInt(clip->Attribute("rtex")));
        if (target == 0.0f)
        {
            AddFinding(&walk->spot, Severity::kWarning, Rule::kMissingReference,
                       AttributeNode(clip, "rtex"),
                       FormatText("the pass \"%s\" names no bitmap to draw into", pass->name))
                ->cure = "write the id of a bitmap into \"rtex\"";
        }
        FollowOptional(walk, AttributeNode(clip, "rtex"), Section::kBitmaps,
                       static_cast<uint32_t>(TruncateToInt(target)));
    }

    const TiXmlNode* child = clip->FirstChild();
    for (uint32_t i = 0; i < 7 && child != nullptr; ++i) // the camera and the field of view
    {
        FollowValue(walk, NextElement(&child));
    }
    const TiXmlElement* fog = NextElement(&child);
    if (fog != nullptr)
    {
        FollowFog(walk, fog);
    }
}

static void FollowRow(ReferenceWalk* walk, const TiXmlElement* item)
{
    FollowParts(walk, item, FollowClip);
}

// ---- The whole

static void TellUnused(CheckContext* context, CheckedDocument* checked, Section section)
{
    const std::vector<uint8_t>& used = section == Section::kLayers
                                           ? checked->usedLayers
                                           : checked->used[static_cast<size_t>(section)];
    const TiXmlNode* sectionNode = SectionNode(&checked->document, section);
    const TiXmlNode* node = sectionNode == nullptr ? nullptr : sectionNode->FirstChild();
    for (size_t i = 0; i < used.size() && node != nullptr; ++i, node = node->NextSibling())
    {
        if (used[i] == 0)
        {
            const uint32_t number = static_cast<uint32_t>(i);
            const Spot spot = {context, checked, section, number + 1, 0, ItemName(node)};
            AddFinding(&spot, Severity::kNote, Rule::kUnusedItem, node,
                       FormatText("nothing uses %s %u", ItemWord(section),
                                  section == Section::kLayers ? number : number + 1));
        }
    }
}

/// Faults of playing that no reference of the tree stands for.
static void TellOtherFaults(ReferenceWalk* walk)
{
    CheckedDocument* checked = walk->spot.checked;
    for (const MetFault& fault : checked->played.met)
    {
        if (walk->told.count(fault) != 0)
        {
            continue;
        }
        const TiXmlNode* item = ChildAt(SectionNode(&checked->document, fault.section), fault.item);
        const bool hasParts =
            fault.section == Section::kScenes || fault.section == Section::kTimeline;
        const TiXmlNode* part = hasParts ? ChildAt(item, fault.part) : nullptr;
        const Spot spot = {walk->spot.context, checked,    fault.section,
                           fault.item,         fault.part, ItemName(item)};
        const TiXmlNode* node = part == nullptr ? item : part;
        if (fault.target == Section::kNone)
        {
            AddFinding(&spot, Severity::kError, Rule::kTooManyInstances, node,
                       FormatText("a manipulator makes more than %u copies", kInstanceLimit))
                ->cure = "take smaller numbers, or fewer manipulators";
            continue;
        }
        AddFinding(&spot, Severity::kError, Rule::kDanglingReference, node,
                   FormatText("%s %d does not exist", ItemWord(fault.target),
                              static_cast<int32_t>(fault.id)));
    }
}

struct Follower
{
    Section section;
    void (*follow)(ReferenceWalk* walk, const TiXmlElement* item);
};

static constexpr Follower kFollowers[] = {
    {Section::kTextures, FollowTexture},  {Section::kLights, FollowLight},
    {Section::kEffects, FollowEffect},    {Section::kMaterials, FollowMaterial},
    {Section::kGenMeshes, FollowGenMesh}, {Section::kScenes, FollowScene},
    {Section::kTimeline, FollowRow},
};

void CheckReferences(CheckContext* context, CheckedDocument* checked)
{
    checked->usedLayers.assign(checked->layerCount, 0);
    for (int32_t i = 0; i < kSectionCount; ++i)
    {
        const ObjectTable* table = TableOf(&checked->document, static_cast<Section>(i));
        checked->used[i].assign(table == nullptr ? 0 : table->count, 0);
    }

    ReferenceWalk walk = {};
    for (const Follower& row : kFollowers)
    {
        uint32_t item = 1;
        const TiXmlNode* section = SectionNode(&checked->document, row.section);
        for (const TiXmlNode* node = section->FirstChild(); node != nullptr;
             node = node->NextSibling(), ++item)
        {
            const bool isPastRows = row.section == Section::kTimeline && item > kTimelineRows;
            if (node->ToElement() != nullptr && !isPastRows)
            {
                walk.spot = {context, checked, row.section, item, 0, ItemName(node)};
                row.follow(&walk, node->ToElement());
            }
        }
    }
    walk.spot = {context, checked, Section::kNone, 0, 0, nullptr};
    TellOtherFaults(&walk);
    for (int32_t i = 0; i <= static_cast<int32_t>(Section::kScenes); ++i)
    {
        TellUnused(context, checked, static_cast<Section>(i));
    }
}
