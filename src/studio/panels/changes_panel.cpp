// SPDX-License-Identifier: MIT
#include "studio/panels/panels.h"

#include <imgui.h>

static void DrawChange(Studio* studio, const ValueChange& change, const std::string& number)
{
    ImGui::TextUnformatted((change.label + ": " + change.was + " -> " + change.is).c_str());
    ImGui::PushID(number.c_str());
    if (ImGui::SmallButton("write"))
    {
        WriteChange(studio, change);
    }
    NoteItem(studio, ("write " + number).c_str());
    ImGui::SameLine();
    if (ImGui::SmallButton("copy"))
    {
        CopyChanges(studio, {change});
    }
    NoteItem(studio, ("copy " + number).c_str());
    ImGui::SameLine();
    if (ImGui::SmallButton("back"))
    {
        RevertValue(studio, change);
    }
    NoteItem(studio, ("back " + number).c_str());
    ImGui::PopID();
}

void DrawChangesPanel(Studio* studio)
{
    const std::vector<ValueChange> changes = ListChanges(studio->tried.edits);
    if (changes.empty())
    {
        return;
    }
    PlaceAtFirst(FindFirstPlaces(studio->scale).changes);
    if (BeginPanel(studio, "Changed values", kChangesPanel, 0))
    {
        if (ImGui::SmallButton("copy all"))
        {
            CopyChanges(studio, changes);
        }
        NoteItem(studio, "copy all");
        for (size_t i = 0; i < changes.size(); ++i)
        {
            DrawChange(studio, changes[i], std::to_string(i));
        }
    }
    ImGui::End();
}
