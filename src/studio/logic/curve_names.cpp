// SPDX-License-Identifier: MIT
#include "studio/logic/curve_names.h"

#include "engine/data/document_values.h"
#include "engine/data/numeric.h"

/// Whether values of a section are told by the parts that they belong to.
static bool HasParts(Section section)
{
    return section == Section::kScenes || section == Section::kTimeline;
}

/// The file of the mesh that an object shows, in quotes; empty for a generated one.
static std::string MeshName(const DemoDocument* document, const std::vector<Field>& fields,
                            uint32_t part)
{
    for (const Field& field : fields)
    {
        if (field.part == part && field.kind == FieldKind::kItem && field.of == Section::kModels)
        {
            const uint32_t id = static_cast<uint32_t>(ParseInt(field.text.c_str()));
            const TiXmlElement* model = FindItem(document, Section::kModels, id);
            const char* file = model == nullptr ? nullptr : model->Attribute("filename");
            return file == nullptr ? "" : std::string(" \"") + file + "\"";
        }
    }
    return "";
}

/// @return "rotation y of scene 1, object 3 "ring.obj""
static std::string UseName(const DemoDocument* document, const std::vector<Field>& fields,
                           const Field& field)
{
    const Section section = field.place.section;
    const ItemRef user = {section, field.place.item, HasParts(section) ? field.part : 0};
    const std::string group = HasParts(section) || field.group.empty() ? "" : field.group + " ";
    const std::string mesh =
        section == Section::kScenes ? MeshName(document, fields, field.part) : "";
    return group + field.name + " of " + ItemTitle(document, user) + mesh;
}

CurveNames NameCurves(const DemoDocument* document)
{
    CurveNames names(CountSectionItems(document, Section::kEnvelopes));
    std::vector<uint32_t> uses(names.size());
    for (int32_t number = 0; number < kSectionCount; ++number)
    {
        const Section section = static_cast<Section>(number);
        const uint32_t count = CountSectionItems(document, section);
        for (uint32_t item = 1; item <= count; ++item)
        {
            const std::vector<Field> fields = ListFields(document, {section, item, 0});
            for (const Field& field : fields)
            {
                const bool isCurve =
                    field.kind == FieldKind::kCurve ||
                    (field.kind == FieldKind::kItem && field.of == Section::kEnvelopes);
                const uint32_t id =
                    isCurve ? static_cast<uint32_t>(ParseInt(field.text.c_str())) : 0;
                if (id - 1 >= names.size())
                {
                    continue;
                }
                if (uses[id - 1] == 0)
                {
                    names[id - 1] = UseName(document, fields, field);
                }
                uses[id - 1] += 1;
            }
        }
    }
    for (size_t i = 0; i < names.size(); ++i)
    {
        names[i] += uses[i] > 1 ? " and " + std::to_string(uses[i] - 1) + " more" : "";
    }
    return names;
}

std::string TitleWithUse(const DemoDocument* document, const CurveNames& names, const ItemRef& ref)
{
    const std::string title = ItemTitle(document, ref);
    const bool isNamed = ref.section == Section::kEnvelopes && ref.part == 0 &&
                         ref.item - 1 < names.size() && !names[ref.item - 1].empty();
    return isNamed ? title + ": " + names[ref.item - 1] : title;
}
