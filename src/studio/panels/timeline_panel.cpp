// SPDX-License-Identifier: MIT
#include "studio/panels/panels.h"

#include <algorithm>
#include <cmath>
#include <imgui.h>

#include "studio/logic/piece_fields.h"

static constexpr float kLabelWidth = 110.0f; // pixels at scale 1, as all here
static constexpr float kRulerHeight = 40.0f;
static constexpr float kWaveHeight = 36.0f;
static constexpr float kRowHeight = 20.0f;
static constexpr float kClipLines = 2.0f; // below the rows
static constexpr ImU32 kInk = IM_COL32(200, 204, 210, 255);
static constexpr ImU32 kFaint = IM_COL32(90, 92, 98, 255);
static constexpr ImU32 kBar = IM_COL32(66, 84, 105, 255);
static constexpr ImU32 kChosenBar = IM_COL32(104, 132, 164, 255);
static constexpr ImU32 kHiddenBar = IM_COL32(48, 50, 54, 255);
static constexpr ImU32 kWave = IM_COL32(92, 118, 108, 255);
static constexpr ImU32 kRange = IM_COL32(150, 130, 70, 60);
static constexpr ImU32 kPlayhead = IM_COL32(230, 230, 230, 255);

/// The part of the panel where ticks lie.
struct Ground
{
    ImDrawList* list;
    float left, top, right, bottom;
    float scale;
};

static float X(const Studio* studio, const Ground& ground, double tick)
{
    return ground.left + static_cast<float>(PlaceOfTick(studio->timelineView, tick));
}

/// Seconds above, rows of the module below them.
static void DrawRuler(const Studio* studio, const Ground& ground)
{
    const TimelineView& view = studio->timelineView;
    const uint32_t end = studio->transport.endTick;
    const uint32_t last = TickAtPlace(view, view.width, end);
    const uint32_t step = RulerStep(view, 70.0 * static_cast<double>(ground.scale));
    for (uint64_t tick = TickAtPlace(view, 0.0, end) / step * step; tick <= last; tick += step)
    {
        const float x = X(studio, ground, static_cast<double>(tick));
        ground.list->AddLine(ImVec2(x, ground.top), ImVec2(x, ground.bottom), kFaint);
        ground.list->AddText(ImVec2(x + 3.0f, ground.top), kInk,
                             TimeText(static_cast<uint32_t>(tick)).c_str());
    }

    static constexpr int32_t kBeatRows = 4;
    static constexpr int32_t kBarRows = 16;
    const float y = ground.top + 16.0f * ground.scale;
    float textEnd = ground.left;
    float markEnd = ground.left;
    for (const TrackRow& row : studio->track.rows)
    {
        const float x = X(studio, ground, row.tick);
        if (x < ground.left || x > ground.right)
        {
            continue;
        }
        const bool isBar = row.row % kBarRows == 0;
        const bool isBeat = row.row % kBeatRows == 0;
        if (x >= markEnd || isBar)
        {
            const float height = isBar ? 10.0f : isBeat ? 6.0f : 3.0f;
            const float low = ground.top + kRulerHeight * ground.scale;
            ground.list->AddLine(ImVec2(x, low - height * ground.scale), ImVec2(x, low), kFaint);
            markEnd = x + 4.0f;
        }
        const std::string text = std::to_string(row.order) + ":" + std::to_string(row.row);
        if (isBar && x >= textEnd)
        {
            ground.list->AddText(ImVec2(x + 3.0f, y), kFaint, text.c_str());
            textEnd = x + ImGui::CalcTextSize(text.c_str()).x + 12.0f * ground.scale;
        }
    }
}

static void DrawWave(const Studio* studio, const Ground& ground, float top)
{
    const float middle = top + kWaveHeight * ground.scale / 2.0f;
    const TimelineView& view = studio->timelineView;
    for (float x = ground.left; x < ground.right; x += 1.0f)
    {
        const double place = static_cast<double>(x - ground.left);
        const uint32_t end = studio->transport.endTick;
        const size_t from = TickAtPlace(view, place, end);
        const size_t to = std::max<size_t>(from + 1, TickAtPlace(view, place + 1.0, end));
        uint8_t peak = 0;
        for (size_t tick = from; tick < std::min(to, studio->peaks.size()); ++tick)
        {
            peak = std::max(peak, studio->peaks[tick]);
        }
        const float height = static_cast<float>(peak) / 255.0f * kWaveHeight * ground.scale / 2.0f;
        ground.list->AddLine(ImVec2(x, middle - height), ImVec2(x, middle + height + 1.0f), kWave);
    }
}

/// Buttons that hide a row or all others.
static void DrawRowLabel(Studio* studio, uint32_t row, ImVec2 place)
{
    RowMask* mask = &studio->rowMask;
    const uint32_t bit = 1u << row;
    ImGui::SetCursorScreenPos(place);
    ImGui::PushID(static_cast<int>(row));
    ImGui::Text("%u", row);
    ImGui::SetCursorScreenPos(ImVec2(place.x + 26.0f * studio->scale, place.y));
    if (ImGui::SmallButton((mask->hidden & bit) != 0 ? "show" : "hide"))
    {
        mask->hidden ^= bit;
        ApplyRows(studio);
    }
    NoteItem(studio, ("hide " + std::to_string(row)).c_str());
    ImGui::SetCursorScreenPos(ImVec2(place.x + 66.0f * studio->scale, place.y));
    const bool isSolo = (mask->solo & bit) != 0;
    if (isSolo)
    {
        ImGui::PushStyleColor(ImGuiCol_Button, ImGui::GetStyle().Colors[ImGuiCol_ButtonActive]);
    }
    if (ImGui::SmallButton("solo"))
    {
        mask->solo ^= bit;
        ApplyRows(studio);
    }
    ImGui::PopStyleColor(isSolo ? 1 : 0);
    NoteItem(studio, ("solo " + std::to_string(row)).c_str());
    ImGui::PopID();
}

static void DrawBar(Studio* studio, const Ground& ground, size_t i, float y)
{
    const ClipBar& bar = studio->bars[i];
    const float from = std::max(X(studio, ground, bar.begin), ground.left);
    const float to = std::min(X(studio, ground, bar.end + 1.0), ground.right);
    if (to <= from)
    {
        return;
    }
    const ImVec2 low(from, y + 1.0f);
    const ImVec2 high(std::max(to - 1.0f, from + 1.0f), y + kRowHeight * ground.scale - 2.0f);
    studio->rects["clip " + std::to_string(i)] = {low.x, low.y, high.x - low.x, high.y - low.y};
    const bool isChosen = studio->chosenBar == static_cast<int32_t>(i);
    ground.list->AddRectFilled(low, high,
                               !IsRowSeen(studio->rowMask, bar.row) ? kHiddenBar
                               : isChosen                           ? kChosenBar
                                                                    : kBar,
                               2.0f);
    ground.list->PushClipRect(low, high, true);
    ground.list->AddText(ImVec2(from + 4.0f, y + 1.0f), kInk, studio->barNames[i].c_str());
    ground.list->PopClipRect();
}

/// The rows that have clips, in their order.
static std::vector<uint32_t> UsedRows(const Studio* studio)
{
    std::vector<uint32_t> rows;
    for (const ClipBar& bar : studio->bars)
    {
        if (rows.empty() || rows.back() != bar.row)
        {
            rows.push_back(bar.row);
        }
    }
    return rows;
}

/// Takes the mouse on the part where ticks lie.
static void TakeMouse(Studio* studio, const Ground& ground, const std::vector<uint32_t>& rows)
{
    const ImGuiIO& io = ImGui::GetIO();
    TimelineView* view = &studio->timelineView;
    const uint32_t end = studio->transport.endTick;
    const double place = static_cast<double>(io.MousePos.x - ground.left);
    if (ImGui::IsItemActive() && ImGui::IsMouseDown(ImGuiMouseButton_Left))
    {
        const uint32_t tick = TickAtPlace(*view, place, end);
        if (tick != TransportTick(&studio->transport))
        {
            JumpTo(&studio->transport, tick, NowMs());
        }
        const float firstRow = ground.top + (kRulerHeight + kWaveHeight) * ground.scale;
        const float row = (io.MousePos.y - firstRow) / (kRowHeight * ground.scale);
        if (ImGui::IsItemActivated() && row >= 0.0f && row < static_cast<float>(rows.size()))
        {
            studio->chosenBar =
                FindBar(studio->bars, rows[static_cast<size_t>(static_cast<int>(row))], tick);
        }
    }
    if (ImGui::IsItemHovered() && io.MouseWheel != 0.0f)
    {
        const double wheel = static_cast<double>(io.MouseWheel);
        if (io.KeyCtrl)
        {
            ZoomTimeline(view, place, std::pow(0.8, wheel), end);
        }
        else
        {
            ScrollTimeline(view, -wheel * view->width / 10.0, end);
        }
    }
    if (ImGui::IsItemHovered() && ImGui::IsMouseDragging(ImGuiMouseButton_Middle, 0.0f))
    {
        ScrollTimeline(view, -static_cast<double>(io.MouseDelta.x), end);
    }
}

static void DrawTicks(Studio* studio)
{
    const std::vector<uint32_t> rows = UsedRows(studio);
    const ImVec2 from = ImGui::GetCursorScreenPos();
    const float scale = studio->scale;
    const float width = std::max(ImGui::GetContentRegionAvail().x - kLabelWidth * scale, 50.0f);
    const float height =
        (kRulerHeight + kWaveHeight + kRowHeight * static_cast<float>(rows.size())) * scale;
    const Ground ground = {ImGui::GetWindowDrawList(),
                           from.x + kLabelWidth * scale,
                           from.y,
                           from.x + kLabelWidth * scale + width,
                           from.y + height,
                           scale};

    if (studio->timelineView.ticksPerPixel <= 0.0)
    {
        studio->timelineView = WholeTimeline(studio->transport.endTick, static_cast<double>(width));
    }
    studio->timelineView.width = static_cast<double>(width);
    ZoomTimeline(&studio->timelineView, 0.0, 1.0, studio->transport.endTick);
    const uint32_t tick = TransportTick(&studio->transport);
    if (studio->transport.plays)
    {
        FollowTick(&studio->timelineView, tick, studio->transport.endTick);
    }

    DrawRuler(studio, ground);
    const float waveTop = ground.top + kRulerHeight * scale;
    DrawWave(studio, ground, waveTop);
    float y = waveTop + kWaveHeight * scale;
    for (const uint32_t row : rows)
    {
        DrawRowLabel(studio, row, ImVec2(from.x, y));
        for (size_t i = 0; i < studio->bars.size(); ++i)
        {
            if (studio->bars[i].row == row)
            {
                DrawBar(studio, ground, i, y);
            }
        }
        y += kRowHeight * scale;
    }

    ground.list->PushClipRect(ImVec2(ground.left, ground.top), ImVec2(ground.right, ground.bottom),
                              true);
    if (studio->transport.hasRange)
    {
        ground.list->AddRectFilled(
            ImVec2(X(studio, ground, studio->transport.rangeBegin), ground.top),
            ImVec2(X(studio, ground, studio->transport.rangeEnd), ground.bottom), kRange);
    }
    const float head = X(studio, ground, tick);
    ground.list->AddLine(ImVec2(head, ground.top), ImVec2(head, ground.bottom), kPlayhead);
    ground.list->PopClipRect();

    ImGui::SetCursorScreenPos(ImVec2(ground.left, ground.top));
    ImGui::InvisibleButton("ticks", ImVec2(width, height),
                           ImGuiButtonFlags_MouseButtonLeft | ImGuiButtonFlags_MouseButtonMiddle);
    NoteItem(studio, "timeline");
    TakeMouse(studio, ground, rows);
}

/// Tells of the clip that was clicked in two lines: the pass and the fog, and the camera.
static void DrawChosenClip(Studio* studio)
{
    const std::vector<std::string> lines = ChosenClipLines(studio);
    if (lines.size() < 3)
    {
        ImGui::TextDisabled("a click on a clip tells its scene, pass, fog and camera here");
        return;
    }
    ImGui::TextUnformatted((lines[0] + ", " + lines[2]).c_str());
    NoteItem(studio, "chosen clip");
    ImGui::TextUnformatted(lines[1].c_str());
    if (ImGui::IsItemHovered()) // it may be longer than the panel
    {
        ImGui::SetTooltip("%s", lines[1].c_str());
    }
}

void DrawTimelinePanel(Studio* studio)
{
    if (studio->active < 0)
    {
        return;
    }
    PlaceAtFirst(FindFirstPlaces(studio->scale).timeline);
    if (BeginPanel(studio, "Timeline", kTimelinePanel, ImGuiWindowFlags_NoScrollWithMouse))
    {
        // The lines about a clip have a place of their own: rows stay where the mouse has hit them.
        const float lines = kClipLines * ImGui::GetTextLineHeightWithSpacing();
        const float height = std::max(ImGui::GetContentRegionAvail().y - lines, lines);
        ImGui::BeginChild("rows", ImVec2(0.0f, height), false,
                          ImGuiWindowFlags_NoScrollWithMouse | ImGuiWindowFlags_NavFlattened);
        DrawTicks(studio);
        ImGui::EndChild();
        DrawChosenClip(studio);
    }
    ImGui::End();
}
