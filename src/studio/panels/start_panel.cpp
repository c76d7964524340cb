// SPDX-License-Identifier: MIT
#include "studio/panels/panels.h"

#include <imgui.h>

/// A line that opens a piece.
/// @param id   tells lines apart
static void PieceButton(Studio* studio, const std::string& label, int id, const std::string& path,
                        const std::string& name)
{
    if (TextSelectable(label, id, false))
    {
        OpenPiecePath(studio, path);
    }
    NoteItem(studio, name.c_str());
}

void DrawStartPanel(Studio* studio)
{
    const ImVec2 size = ImGui::GetIO().DisplaySize;
    ImGui::SetNextWindowPos(ImVec2(size.x * 0.5f, size.y * 0.3f), ImGuiCond_Always,
                            ImVec2(0.5f, 0.5f));
    ImGui::SetNextWindowSize(ImVec2(size.x * 0.5f, 0.0f));
    if (ImGui::Begin("Start", nullptr,
                     ImGuiWindowFlags_NoSavedSettings | ImGuiWindowFlags_NoResize |
                         ImGuiWindowFlags_NoMove | ImGuiWindowFlags_NoCollapse))
    {
        ImGui::TextUnformatted("Open a piece, or drop one on the window.");
        ImGui::Spacing();
        for (size_t i = 0; i < studio->settings.lastPlaces.size(); ++i)
        {
            const std::string path = studio->settings.lastPlaces[i].first;
            PieceButton(studio, path, static_cast<int>(i), path, "recent " + std::to_string(i));
        }
        ImGui::Separator();
        ImGui::SetNextItemWidth(-80.0f * studio->scale);
        ImGui::InputText("##folder", studio->newFolder, sizeof(studio->newFolder));
        NoteItem(studio, "new folder");
        ImGui::SameLine();
        if (ImGui::Button("New"))
        {
            MakeNewPiece(studio);
        }
        NoteItem(studio, "new piece");
        ImGui::Separator();
        const std::string sample = SamplePath();
        if (!sample.empty())
        {
            PieceButton(studio, "the sample piece", -1, sample, "sample");
        }
    }
    ImGui::End();
}
