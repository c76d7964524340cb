// SPDX-License-Identifier: MIT
#include "studio/panels/panels.h"

#include <algorithm>
#include <imgui.h>

void DrawKeysPanel(Studio* studio)
{
    const float edge = 20.0f * studio->scale;
    const ImVec2 size = ImGui::GetIO().DisplaySize;
    ImGui::SetNextWindowPos(ImVec2(edge, edge), ImGuiCond_Appearing);
    ImGui::SetNextWindowSizeConstraints(
        ImVec2(0.0f, 0.0f),
        ImVec2(std::max(size.x - 2.0f * edge, edge), std::max(size.y - 2.0f * edge, edge)));
    if (ImGui::Begin("Keys", &studio->showsKeys,
                     ImGuiWindowFlags_AlwaysAutoResize | ImGuiWindowFlags_NoSavedSettings) &&
        ImGui::BeginTable("keys", 2))
    {
        for (const KeyRow& row : KeyTable())
        {
            if (studio->options.isViewer && !row.inViewer)
            {
                continue;
            }
            ImGui::TableNextRow();
            ImGui::TableNextColumn();
            ImGui::Text("%s%s%s", (row.modifiers & kControl) != 0 ? "Ctrl " : "",
                        (row.modifiers & kShift) != 0 ? "Shift " : "", row.key);
            ImGui::TableNextColumn();
            ImGui::TextUnformatted(row.text);
        }
        ImGui::EndTable();
    }
    ImGui::End();
    studio->rects["keys"] = {};
}
