// SPDX-License-Identifier: MIT
#include "studio/panels/panels.h"

#include <algorithm>
#include <imgui.h>

static void DrawKeyRow(const KeyRow& row)
{
    ImGui::TableNextColumn();
    ImGui::Text("%s%s%s", (row.modifiers & kControl) != 0 ? "Ctrl " : "",
                (row.modifiers & kShift) != 0 ? "Shift " : "", row.key);
    ImGui::TableNextColumn();
    ImGui::TextUnformatted(row.text);
}

/// The rows that count here.
static std::vector<KeyRow> FindRows(const Studio* studio)
{
    std::vector<KeyRow> rows;
    for (const KeyRow& row : KeyTable())
    {
        if (row.inViewer || !studio->options.isViewer)
        {
            rows.push_back(row);
        }
    }
    return rows;
}

void DrawKeysPanel(Studio* studio)
{
    static constexpr float kTwoColumns = 900.0f; // pixels that they need, at scale 1
    const float edge = 20.0f * studio->scale;
    const ImVec2 size = ImGui::GetIO().DisplaySize;
    const float height = std::max(size.y - 2.0f * edge, edge);
    ImGui::SetNextWindowPos(ImVec2(edge, edge), ImGuiCond_Appearing);
    ImGui::SetNextWindowSizeConstraints(ImVec2(0.0f, 0.0f),
                                        ImVec2(std::max(size.x - 2.0f * edge, edge), height));
    const std::vector<KeyRow> rows = FindRows(studio);
    // Two columns where one would have to be scrolled.
    const float lineHeight = ImGui::GetTextLineHeight() + 2.0f * ImGui::GetStyle().CellPadding.y;
    const float needed = static_cast<float>(rows.size() + 2) * lineHeight;
    const bool isFolded = needed > height && size.x >= kTwoColumns * studio->scale;
    const size_t lines = isFolded ? (rows.size() + 1) / 2 : rows.size();
    if (ImGui::Begin("Keys", &studio->showsKeys,
                     ImGuiWindowFlags_AlwaysAutoResize | ImGuiWindowFlags_NoSavedSettings) &&
        ImGui::BeginTable("keys", isFolded ? 4 : 2))
    {
        for (size_t i = 0; i < lines; ++i)
        {
            ImGui::TableNextRow();
            DrawKeyRow(rows[i]);
            if (lines + i < rows.size())
            {
                DrawKeyRow(rows[lines + i]);
            }
        }
        ImGui::EndTable();
    }
    const bool scrolls = ImGui::GetScrollMaxY() > 0.0f;
    ImGui::End();
    studio->rects[scrolls ? "keys that scroll" : "keys"] = {};
}
