// SPDX-License-Identifier: MIT
#include "studio/panels/panels.h"

#include <algorithm>
#include <cstdio>
#include <imgui.h>

#include "studio/logic/piece_fields.h"

static double Milliseconds(uint64_t nanoseconds)
{
    return static_cast<double>(nanoseconds) / 1.0e6;
}

static void DrawTimes(const FrameCost& frame)
{
    ImGui::Text("tick %u, %.2f ms to the swap%s", frame.tick, Milliseconds(frame.swapNs),
                frame.parts > 1 ? ", with its past" : "");
    ImGui::Text("evaluation %.2f ms, simulation %.2f ms, calls %.2f ms",
                Milliseconds(frame.evaluationNs), Milliseconds(frame.simulationNs),
                Milliseconds(frame.callNs));
}

static void Cell(double number, int digits = 0)
{
    ImGui::TableNextColumn();
    ImGui::Text("%.*f", digits, number);
}

static void DrawClipRow(const char* name, const ClipCost& clip)
{
    ImGui::TableNextRow();
    ImGui::TableNextColumn();
    ImGui::TextUnformatted(name);
    Cell(clip.draws);
    Cell(static_cast<double>(clip.triangles));
    Cell(clip.stateCalls);
    Cell(static_cast<double>(clip.textureBytes) / 1024.0);
    Cell(Milliseconds(clip.callNs), 2);
}

static std::string ClipTitle(const Studio* studio, const ClipCost& clip)
{
    if (clip.row == kNoClip)
    {
        return "no clip";
    }
    const DemoDocument* document = PlayedDocument(studio);
    const uint32_t scene = document->timeline->sceneId[clip.row][clip.clip];
    const std::string title =
        scene == 0 ? "nothing" : ItemTitle(document, {Section::kScenes, scene, 0});
    return "row " + std::to_string(clip.row) + ": " + title;
}

static void DrawClips(const Studio* studio, const FrameCost& frame)
{
    static constexpr const char* kColumns[] = {"clip",        "draws",        "triangles",
                                               "state calls", "KiB textures", "ms of calls"};
    static constexpr int kColumnCount = 6;
    if (!ImGui::BeginTable("clips", kColumnCount,
                           ImGuiTableFlags_SizingFixedFit | ImGuiTableFlags_RowBg))
    {
        return;
    }
    for (const char* column : kColumns)
    {
        ImGui::TableSetupColumn(column);
    }
    ImGui::TableHeadersRow();
    for (const ClipCost& clip : frame.clips)
    {
        DrawClipRow(ClipTitle(studio, clip).c_str(), clip);
    }
    DrawClipRow("all", SumClips(frame));
    ImGui::EndTable();
}

/// A graph over the whole piece, as far as it is known, with the playhead. A click seeks.
/// @param scale, unit   of the number that is told
template <typename Number>
static void DrawPieceGraph(Studio* studio, const char* name, const std::vector<Number>& values,
                           float scale = 1.0f, const char* unit = "")
{
    const float most =
        values.empty() ? 0.0f : static_cast<float>(*std::max_element(values.begin(), values.end()));
    ImGui::Text("%s over the piece, up to %g%s", name, static_cast<double>(most * scale), unit);
    const ImVec2 from = ImGui::GetCursorScreenPos();
    const ImVec2 size(std::max(1.0f, ImGui::GetContentRegionAvail().x), 34.0f * studio->scale);
    ImGui::InvisibleButton(name, size);
    NoteItem(studio, name);
    ImDrawList* list = ImGui::GetWindowDrawList();
    list->AddRectFilled(from, ImVec2(from.x + size.x, from.y + size.y), IM_COL32(34, 34, 38, 255));
    const size_t count = studio->cost.piece.shownUs.size();
    const float perValue = size.x / static_cast<float>(std::max<size_t>(count, 1));
    for (size_t i = 0; i < values.size(); ++i)
    {
        const float height =
            most == 0.0f ? 0.0f : static_cast<float>(values[i]) / most * (size.y - 2.0f);
        const float left = from.x + static_cast<float>(i) * perValue;
        list->AddRectFilled(ImVec2(left, from.y + size.y - height),
                            ImVec2(left + std::max(1.0f, perValue), from.y + size.y),
                            IM_COL32(92, 115, 143, 255));
    }
    const uint32_t end = std::max(1u, studio->transport.endTick);
    const float at = from.x + size.x * static_cast<float>(TransportTick(&studio->transport)) /
                                  static_cast<float>(end);
    list->AddLine(ImVec2(at, from.y), ImVec2(at, from.y + size.y), IM_COL32(224, 164, 96, 255));
    if (ImGui::IsItemActive())
    {
        const float part = std::clamp((ImGui::GetIO().MousePos.x - from.x) / size.x, 0.0f, 1.0f);
        JumpTo(&studio->transport, static_cast<uint32_t>(part * static_cast<float>(end)), NowMs());
    }
}

static void DrawHistory(const Studio* studio)
{
    const std::vector<float> values = HistoryMs(&studio->cost.history);
    float most = 0.0f;
    for (const float value : values)
    {
        most = std::max(most, value);
    }
    char text[64];
    snprintf(text, sizeof(text), "ms to the swap, up to %.1f", static_cast<double>(most));
    ImGui::PlotLines("##history", values.data(), static_cast<int>(values.size()), 0, text, 0.0f,
                     most, ImVec2(ImGui::GetContentRegionAvail().x, 60.0f * studio->scale));
}

void DrawCostPanel(Studio* studio)
{
    const ImVec2 size = ImGui::GetIO().DisplaySize;
    ImGui::SetNextWindowPos(ImVec2(size.x * 0.50f, 0.0f), ImGuiCond_FirstUseEver);
    ImGui::SetNextWindowSize(ImVec2(size.x * 0.50f, size.y * 0.60f), ImGuiCond_FirstUseEver);
    if (BeginPanel(studio, "Cost", kCostPanel, 0) && studio->active >= 0)
    {
        const FrameCost* frame = LastCost(&studio->cost.history);
        if (frame != nullptr)
        {
            DrawTimes(*frame);
            DrawHistory(studio);
        }
        DrawPieceGraph(studio, "triangles", studio->cost.piece.triangles);
        DrawPieceGraph(studio, "draws", studio->cost.piece.draws);
        DrawPieceGraph(studio, "textures", studio->cost.piece.textureBytes, 1.0f / 1024.0f, " KiB");
        DrawPieceGraph(studio, "state calls", studio->cost.piece.stateCalls);
        DrawPieceGraph(studio, "times shown so far", studio->cost.piece.shownUs, 0.001f, " ms");
        if (frame != nullptr)
        {
            DrawClips(studio, *frame);
        }
    }
    ImGui::End();
    studio->rects["cost"] = {};
}
