// SPDX-License-Identifier: MIT
#include "studio/panels/panels.h"

#include <imgui.h>

void DrawKeysPanel(Studio* studio)
{
    ImGui::SetNextWindowPos(ImVec2(40.0f * studio->scale, 40.0f * studio->scale),
                            ImGuiCond_Appearing);
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
