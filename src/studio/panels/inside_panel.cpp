// SPDX-License-Identifier: MIT
#include "studio/panels/panels.h"

#include <algorithm>
#include <cmath>
#include <imgui.h>

#include "engine/data/document_values.h"
#include "engine/data/numeric.h"
#include "engine/render/records/timeline.h"

static constexpr int kDeepest = 8;                // of the tree
static constexpr float kLeastColorStep = 0.0002f; // that counts as a change
static constexpr ImU32 kCurveColors[] = {
    IM_COL32(224, 164, 96, 255),  IM_COL32(112, 176, 224, 255), IM_COL32(150, 200, 120, 255),
    IM_COL32(212, 124, 148, 255), IM_COL32(176, 152, 224, 255), IM_COL32(200, 200, 120, 255),
    IM_COL32(120, 200, 190, 255), IM_COL32(190, 190, 190, 255),
};

// ---- The tree

/// A node of the tree: an item, and the way to it.
struct TreeItem
{
    ItemRef ref;
    LookContext context;
    int depth;
};

static void DrawTreeItem(Studio* studio, const TreeItem& item);

static bool IsHidden(const Studio* studio, const TreeItem& item)
{
    for (const Field& field : ListFields(PlayedDocument(studio), item.ref))
    {
        const uint32_t id = static_cast<uint32_t>(ParseInt(field.text.c_str()));
        if (field.name == "visible" && id != 0)
        {
            const uint32_t time = LookTime(studio, item.context);
            return CurveValue(PlayedDocument(studio), id, time) < 1.0f;
        }
    }
    return false;
}

static void DrawChildren(Studio* studio, const TreeItem& item)
{
    const DemoDocument* document = PlayedDocument(studio);
    const uint32_t objects = item.ref.section == Section::kScenes && item.ref.part == 0
                                 ? CountParts(document, item.ref)
                                 : 0;
    for (uint32_t object = 1; object <= objects; ++object)
    {
        TreeItem child = {{Section::kScenes, item.ref.item, object}, item.context, item.depth + 1};
        child.context.object = child.ref;
        DrawTreeItem(studio, child);
    }
    if (objects == 0)
    {
        for (const ItemRef& ref : ListReferences(document, item.ref))
        {
            DrawTreeItem(studio, {ref, item.context, item.depth + 1});
        }
    }
}

static bool HasChildren(const Studio* studio, const TreeItem& item)
{
    const DemoDocument* document = PlayedDocument(studio);
    return item.depth < kDeepest && ((item.ref.section == Section::kScenes && item.ref.part == 0)
                                         ? CountParts(document, item.ref) != 0
                                         : !ListReferences(document, item.ref).empty());
}

static void DrawTreeItem(Studio* studio, const TreeItem& item)
{
    const std::string title = ItemTitle(PlayedDocument(studio), item.ref);
    const bool isObject = item.ref.section == Section::kScenes && item.ref.part != 0;
    const bool isHidden = isObject && IsHidden(studio, item);
    ImGuiTreeNodeFlags flags = ImGuiTreeNodeFlags_OpenOnArrow |
                               ImGuiTreeNodeFlags_OpenOnDoubleClick |
                               ImGuiTreeNodeFlags_SpanAvailWidth;
    flags |= HasChildren(studio, item) ? 0 : ImGuiTreeNodeFlags_Leaf;
    flags |= studio->look.ref == item.ref ? ImGuiTreeNodeFlags_Selected : 0;
    flags |= item.ref.section == Section::kTimeline ? ImGuiTreeNodeFlags_DefaultOpen : 0;
    if (isHidden)
    {
        ImGui::PushStyleColor(ImGuiCol_Text, ImGui::GetStyle().Colors[ImGuiCol_TextDisabled]);
    }
    const std::string text = LookTitle(studio, item.ref) + (isHidden ? " (hidden)" : "");
    // By its place, for authors' names may have signs that mean something to the toolkit.
    const uintptr_t place = (static_cast<uintptr_t>(item.ref.section) << 56) |
                            (uintptr_t{item.ref.item} << 24) | item.ref.part;
    const bool isOpen =
        ImGui::TreeNodeEx(reinterpret_cast<const void*>(place), flags, "%s", text.c_str());
    ImGui::PopStyleColor(isHidden ? 1 : 0);
    NoteItem(studio, ("node " + title).c_str());
    NoteArrow(studio, ("open " + title).c_str());
    const bool isReached = studio->reachesPanels && ImGui::IsItemFocused();
    const bool isChosen = ImGui::IsItemClicked() && !ImGui::IsItemToggledOpen();
    if (isChosen || (isReached && !(studio->look.ref == item.ref)))
    {
        LookAt(studio, item.ref, item.context);
    }
    if (isOpen)
    {
        if (item.depth < kDeepest)
        {
            DrawChildren(studio, item);
        }
        ImGui::TreePop();
    }
}

static void DrawTree(Studio* studio)
{
    const uint32_t tick = TransportTick(&studio->transport);
    const std::vector<ActiveClip> clips = ListActiveClips(PlayedDocument(studio)->timeline, tick);
    if (clips.empty())
    {
        ImGui::TextDisabled("nothing is drawn here");
    }
    for (const ActiveClip& clip : clips)
    {
        const LookContext context = {true, clip.row, clip.clip, {Section::kNone, 0, 0}};
        DrawTreeItem(studio, {{Section::kTimeline, clip.row + 1, clip.clip + 1}, context, 0});
    }
}

// ---- Values

/// A number that can be dragged; with Ctrl and a click it can be typed.
static void DrawNumber(Studio* studio, const Field& field)
{
    const bool isChanged = IsChanged(studio->tried.edits, field.place);
    if (isChanged)
    {
        ImGui::PushStyleColor(ImGuiCol_Text, ImVec4(0.95f, 0.78f, 0.45f, 1.0f));
    }
    ImGui::SetNextItemWidth(-1.0f);
    if (field.kind == FieldKind::kNumber)
    {
        float value = ParseFloat(field.text.c_str());
        const float speed = std::max(std::fabs(value) * 0.005f, 0.002f);
        if (ImGui::DragFloat("##number", &value, speed, 0.0f, 0.0f, "%.6g"))
        {
            TryValue(studio, field, NumberText(value));
        }
    }
    else
    {
        int value = ParseInt(field.text.c_str());
        if (ImGui::DragInt("##number", &value, 0.25f))
        {
            TryValue(studio, field, std::to_string(value));
        }
    }
    ImGui::PopStyleColor(isChanged ? 1 : 0);
    if (ImGui::IsItemDeactivated())
    {
        SettleValues(studio);
    }
}

/// The three numbers of a color, as a color.
static void DrawColor(Studio* studio, const std::vector<Field>& fields, size_t first)
{
    float color[3] = {};
    for (size_t i = 0; i < 3; ++i)
    {
        color[i] = ParseFloat(fields[first + i].text.c_str());
    }
    ImGui::TableNextRow();
    ImGui::TableNextColumn();
    ImGui::TableNextColumn();
    const float before[3] = {color[0], color[1], color[2]};
    if (ImGui::ColorEdit3("##color", color,
                          ImGuiColorEditFlags_NoInputs | ImGuiColorEditFlags_Float))
    {
        for (size_t i = 0; i < 3; ++i)
        {
            // On the way through hue and back, numbers that nobody has touched change a little.
            if (std::fabs(color[i] - before[i]) >= kLeastColorStep)
            {
                TryValue(studio, fields[first + i], NumberText(color[i]));
            }
        }
    }
    NoteItem(studio, ("color " + fields[first].name).c_str());
    if (ImGui::IsItemDeactivated())
    {
        SettleValues(studio);
    }
}

/// Whether three numbers in a row are a color that can be tried.
static bool IsColor(const std::vector<Field>& fields, size_t first)
{
    return first + 2 < fields.size() && fields[first].isRed && CanTry(fields[first]) &&
           fields[first + 1].kind == FieldKind::kNumber &&
           fields[first + 2].kind == FieldKind::kNumber;
}

static void DrawField(Studio* studio, const Field& field)
{
    const DemoDocument* document = PlayedDocument(studio);
    const uint32_t time = LookTime(studio, studio->look.context);
    const double value = static_cast<double>(FieldValue(document, field, time));
    ImGui::TableNextRow();
    ImGui::TableNextColumn();
    ImGui::TextUnformatted(field.name.c_str());
    ImGui::TableNextColumn();
    switch (field.kind)
    {
    case FieldKind::kCurve:
    case FieldKind::kItem:
    {
        const uint32_t id = static_cast<uint32_t>(ParseInt(field.text.c_str()));
        const ItemRef named = {field.of, field.of == Section::kLayers ? id + 1 : id, 0};
        const std::string title = named.item == 0 ? "none" : ItemTitle(document, named);
        char number[32] = "";
        if (field.kind == FieldKind::kCurve)
        {
            snprintf(number, sizeof(number), "%.6g   ", value);
        }
        if (TextSelectable(number + title, 0, false) && named.item != 0)
        {
            LookAt(studio, named, studio->look.context);
        }
        break;
    }
    default:
        CanTry(field) ? DrawNumber(studio, field) : ImGui::TextUnformatted(field.text.c_str());
        break;
    }
    NoteItem(studio,
             ("value " + field.group + (field.group.empty() ? "" : " ") + field.name).c_str());
}

/// Begins a table: names as wide as they are, and values in what is left.
/// @param i   tells tables apart
static bool BeginFields(size_t i)
{
    const bool isTable = ImGui::BeginTable(("fields " + std::to_string(i)).c_str(), 2);
    if (isTable)
    {
        ImGui::TableSetupColumn("name", ImGuiTableColumnFlags_WidthFixed);
        ImGui::TableSetupColumn("value", ImGuiTableColumnFlags_WidthStretch);
    }
    return isTable;
}

static void DrawFields(Studio* studio)
{
    const Look& look = studio->look;
    const bool isLong =
        (look.ref.section == Section::kScenes || look.ref.section == Section::kTimeline) &&
        look.ref.part == 0;
    if (isLong)
    {
        ImGui::Text("%u parts", CountParts(PlayedDocument(studio), look.ref));
        return;
    }
    std::string group;
    bool isTable = false;
    const std::vector<Field> fields = ListFields(PlayedDocument(studio), look.ref);
    for (size_t i = 0; i < fields.size(); ++i)
    {
        if (!isTable || fields[i].group != group)
        {
            if (isTable)
            {
                ImGui::EndTable();
            }
            group = fields[i].group;
            if (!group.empty())
            {
                ImGui::TextDisabled("%s", group.c_str());
            }
            isTable = BeginFields(i);
        }
        if (isTable)
        {
            ImGui::PushID(static_cast<int>(i));
            if (IsColor(fields, i))
            {
                DrawColor(studio, fields, i);
            }
            DrawField(studio, fields[i]);
            ImGui::PopID();
        }
    }
    if (isTable)
    {
        ImGui::EndTable();
    }
}

// ---- Curves

/// The ticks that a curve is shown over.
struct CurveStretch
{
    uint32_t begin, end;
};

/// The time of the clip that the item was come to by; without one the curve's own length.
static CurveStretch FindStretch(const Studio* studio, const std::vector<NamedCurve>& curves)
{
    const LookContext& context = studio->look.context;
    const DemoDocument* document = PlayedDocument(studio);
    const uint32_t now = LookTime(studio, context);
    if (context.hasClip && context.clip < document->timeline->clipCount[context.row])
    {
        const uint32_t begin = document->timeline->offset[context.row][context.clip];
        const uint32_t length = document->timeline->length[context.row][context.clip];
        if (now >= begin && now - begin <= length)
        {
            return {begin, begin + std::max(length, 1u)};
        }
    }
    uint32_t length = 1;
    for (const NamedCurve& curve : curves)
    {
        const Envelope* envelope = GetRecord<Envelope>(curve.id, document->envelopes);
        uint32_t own = 0;
        for (uint32_t i = 0; envelope != nullptr && i < envelope->pieceCount; ++i)
        {
            own += std::min(envelope->pieceLength[i], 1000000u);
        }
        length = std::max(length, own);
    }
    return {0, length};
}

/// A curve over the stretch, under all the names of values that it gives.
struct ShownCurve
{
    std::string names;
    uint32_t id;
    std::vector<float> values; // [pixel from the left]
    float low, high;           // of them; not numbers where none of them is one
};

/// @return the curves of the item, each once
static std::vector<ShownCurve> ListShownCurves(const Studio* studio)
{
    std::vector<ShownCurve> shown;
    for (const NamedCurve& curve : ListCurves(studio, studio->look.ref))
    {
        const auto same =
            std::find_if(shown.begin(), shown.end(),
                         [&curve](const ShownCurve& other) { return other.id == curve.id; });
        if (same == shown.end())
        {
            shown.push_back({curve.name, curve.id, {}, NAN, NAN});
        }
        else
        {
            same->names += ", " + curve.name;
        }
    }
    return shown;
}

static void FindValues(const DemoDocument* document, const CurveStretch& stretch, uint32_t points,
                       ShownCurve* curve)
{
    const uint64_t span = stretch.end - stretch.begin;
    for (uint32_t point = 0; point < points; ++point)
    {
        const uint32_t time = stretch.begin + static_cast<uint32_t>(span * point / points);
        const float value = CurveValue(document, curve->id, time);
        curve->values.push_back(value);
        if (std::isfinite(value))
        {
            curve->low = std::fmin(curve->low, value);
            curve->high = std::fmax(curve->high, value);
        }
    }
}

/// Draws a curve as high as the place is; one that stands still lies in its middle.
static void DrawCurve(const ShownCurve& curve, ImU32 color, float width, const PanelRect& place)
{
    const float range = curve.high - curve.low;
    std::vector<ImVec2> line;
    for (size_t point = 0; point <= curve.values.size(); ++point)
    {
        const bool isThere = point < curve.values.size() && std::isfinite(curve.values[point]);
        if (isThere)
        {
            const float part = range > 0.0f ? (curve.values[point] - curve.low) / range : 0.5f;
            line.emplace_back(place.left + static_cast<float>(point),
                              place.top + place.height * (1.0f - part));
        }
        else
        {
            ImGui::GetWindowDrawList()->AddPolyline(line.data(), static_cast<int>(line.size()),
                                                    color, ImDrawFlags_None, width);
            line.clear();
        }
    }
}

static void DrawCurves(Studio* studio)
{
    std::vector<ShownCurve> curves = ListShownCurves(studio);
    if (curves.empty())
    {
        return;
    }
    const DemoDocument* document = PlayedDocument(studio);
    const CurveStretch stretch = FindStretch(studio, ListCurves(studio, studio->look.ref));
    const float width = std::max(ImGui::GetContentRegionAvail().x, 60.0f);
    const float height = 110.0f * studio->scale;
    const ImVec2 from = ImGui::GetCursorScreenPos();
    ImDrawList* list = ImGui::GetWindowDrawList();
    ImGui::InvisibleButton("curves", ImVec2(width, height));
    NoteItem(studio, "curves");
    list->AddRectFilled(from, ImVec2(from.x + width, from.y + height), IM_COL32(22, 22, 25, 255));

    // Each has the whole height: a turn of 90 degrees would make a line of a change of size.
    const float pad = 6.0f;
    const PanelRect place = {from.x, from.y + pad, width, height - 2.0f * pad};
    for (size_t i = 0; i < curves.size(); ++i)
    {
        FindValues(document, stretch, static_cast<uint32_t>(TruncateToInt(width)) + 1, &curves[i]);
        // The last of those of one shape lies on the others: they are seen at its sides.
        const size_t above = std::min<size_t>(curves.size() - 1 - i, 3);
        const float thickness = 1.5f + 1.5f * static_cast<float>(above);
        DrawCurve(curves[i], kCurveColors[i % std::size(kCurveColors)], thickness, place);
    }

    const uint32_t now = LookTime(studio, studio->look.context);
    if (now >= stretch.begin && now <= stretch.end)
    {
        const float part = static_cast<float>(now - stretch.begin) /
                           static_cast<float>(stretch.end - stretch.begin);
        const float x = from.x + part * width;
        list->AddLine(ImVec2(x, from.y), ImVec2(x, from.y + height), IM_COL32(230, 230, 230, 160));
    }
    ImGui::TextDisabled("ticks %u to %u, each over its own range", stretch.begin, stretch.end);
    for (size_t i = 0; i < curves.size(); ++i)
    {
        const ShownCurve& curve = curves[i];
        const ImU32 color = kCurveColors[i % std::size(kCurveColors)];
        ImGui::PushStyleColor(ImGuiCol_Text, color);
        ImGui::TextWrapped("%s: curve %u, %.6g of %.4g to %.4g", curve.names.c_str(), curve.id,
                           static_cast<double>(CurveValue(document, curve.id, now)),
                           static_cast<double>(curve.low), static_cast<double>(curve.high));
        ImGui::PopStyleColor();
    }
}

// ---- Pictures

/// A picture that shows the value of the pixel under the mouse; a mesh turns.
static void DrawLarge(Studio* studio)
{
    Look* look = &studio->look;
    const LookPicture& picture = look->pictures[look->shownPicture];
    const float width = std::min(ImGui::GetContentRegionAvail().x, 320.0f * studio->scale);
    const float height =
        width * static_cast<float>(picture.height) / static_cast<float>(picture.width);
    const float top = picture.isUpsideDown ? 1.0f : 0.0f;
    const ImVec2 from = ImGui::GetCursorScreenPos();
    ImGui::Image(WidgetTexture(picture.texture), ImVec2(width, height), ImVec2(0.0f, top),
                 ImVec2(1.0f, 1.0f - top));
    NoteItem(studio, "look");
    // An invisible button holds the mouse while it drags.
    ImGui::SetCursorScreenPos(from);
    ImGui::InvisibleButton("look", ImVec2(width, height));
    const ImGuiIO& io = ImGui::GetIO();
    const bool isMesh =
        look->ref.section == Section::kModels || look->ref.section == Section::kGenMeshes;
    if (isMesh && ImGui::IsItemActive())
    {
        look->wire.yaw += io.MouseDelta.x * 0.5f;
        look->wire.pitch = std::clamp(look->wire.pitch + io.MouseDelta.y * 0.5f, -90.0f, 90.0f);
    }
    look->pixel.clear();
    look->isZooming = isMesh && ImGui::IsItemHovered();
    if (ImGui::IsItemHovered())
    {
        if (isMesh)
        {
            look->wire.zoom =
                std::clamp(look->wire.zoom * std::pow(1.1f, io.MouseWheel), 0.1f, 50.0f);
        }
        else
        {
            const float scale = static_cast<float>(picture.width) / width;
            look->pixel = ReadPixel(picture, TruncateToInt((io.MousePos.x - from.x) * scale),
                                    TruncateToInt((io.MousePos.y - from.y) * scale));
        }
    }
    ImGui::TextDisabled(
        "%s%s%s", picture.title.c_str(), picture.title.empty() ? "" : "   ",
        look->pixel.empty()
            ? (std::to_string(picture.width) + "x" + std::to_string(picture.height)).c_str()
            : look->pixel.c_str());
}

static void DrawPictures(Studio* studio)
{
    Look* look = &studio->look;
    if (look->shownPicture >= look->pictures.size())
    {
        return;
    }
    DrawLarge(studio);
    if (look->pictures.size() < 2)
    {
        return;
    }
    const float side = 64.0f * studio->scale;
    const float right = ImGui::GetWindowPos().x + ImGui::GetWindowContentRegionMax().x;
    for (size_t i = 0; i < look->pictures.size(); ++i)
    {
        ImGui::PushID(static_cast<int>(i));
        if (ImGui::ImageButton(WidgetTexture(look->pictures[i].texture), ImVec2(side, side)))
        {
            look->shownPicture = i;
        }
        NoteItem(studio, ("step " + std::to_string(i)).c_str());
        if (ImGui::IsItemHovered())
        {
            ImGui::SetTooltip("%s", look->pictures[i].title.c_str());
        }
        ImGui::PopID();
        if (ImGui::GetItemRectMax().x + side + 16.0f < right)
        {
            ImGui::SameLine();
        }
    }
    ImGui::NewLine();
}

// ---- Where it is made, and who uses it

static void DrawSource(Studio* studio)
{
    const SourceLine source = FindSource(studio, studio->look.ref);
    if (source.path.empty())
    {
        return;
    }
    const std::string name = source.path.substr(source.path.rfind('/') + 1);
    if (ImGui::SmallButton((name + ":" + std::to_string(source.line)).c_str()))
    {
        OpenSource(studio, source.path, static_cast<int32_t>(source.line));
    }
    NoteItem(studio, "source");
}

static void DrawUsers(Studio* studio)
{
    // The list may change while it is drawn, when one of them is chosen.
    const std::vector<ItemRef> users = studio->look.users;
    if (users.empty() || !ImGui::TreeNodeEx("used by", ImGuiTreeNodeFlags_DefaultOpen))
    {
        return;
    }
    for (size_t i = 0; i < users.size(); ++i)
    {
        const std::string title = ItemTitle(PlayedDocument(studio), users[i]);
        if (TextSelectable(title, static_cast<int>(i), false))
        {
            LookAt(studio, users[i], studio->look.context);
        }
        NoteItem(studio, ("user " + title).c_str());
    }
    ImGui::TreePop();
}

void DrawInsidePanel(Studio* studio)
{
    if (studio->active < 0)
    {
        return;
    }
    PlaceAtFirst(FindFirstPlaces(studio->scale).inside);
    if (BeginPanel(studio, "Inside", kInsidePanel, 0))
    {
        RefreshLook(studio);
        const float height = ImGui::GetContentRegionAvail().y;
        const float treeHeight = studio->look.ref.item == 0 ? 0.0f : height * 0.45f;
        ImGui::BeginChild("tree", ImVec2(0.0f, treeHeight), false, ImGuiWindowFlags_NavFlattened);
        DrawTree(studio);
        ImGui::EndChild();
        NoteItem(studio, "tree");
        if (studio->look.ref.item != 0)
        {
            ImGui::Separator();
            const ImGuiWindowFlags scroll =
                studio->look.isZooming ? ImGuiWindowFlags_NoScrollWithMouse : 0;
            studio->look.isZooming = false;
            ImGui::BeginChild("item", ImVec2(0.0f, 0.0f), false,
                              ImGuiWindowFlags_NavFlattened | scroll);
            if (!(studio->look.drawnRef == studio->look.ref))
            {
                studio->look.drawnRef = studio->look.ref;
                ImGui::SetScrollY(0.0f);
            }
            ImGui::TextWrapped("%s", LookTitle(studio, studio->look.ref).c_str());
            DrawSource(studio);
            RefreshLook(studio);
            DrawPictures(studio);
            DrawCurves(studio);
            DrawFields(studio);
            DrawUsers(studio);
            ImGui::EndChild();
            NoteItem(studio, "item");
        }
    }
    ImGui::End();
}
