// SPDX-License-Identifier: MIT
#include "studio/panels/panels.h"

#include <imgui.h>

static void DrawChange(Studio* studio, const ValueChange& change, const std::string& number)
{
    ImGui::TextWrapped("%s: %s -> %s", change.label.c_str(), change.was.c_str(), change.is.c_str());
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

/// Tells what was written last, and opens the editor there.
static void DrawWritten(Studio* studio)
{
    const TriedValues& tried = studio->tried;
    if (tried.lastWritten.empty())
    {
        return;
    }
    ImGui::TextWrapped("written to %s", tried.lastWritten.c_str());
    NoteItem(studio, "written");
    if (ImGui::SmallButton("edit"))
    {
        OpenSource(studio, tried.lastLine.path, static_cast<int32_t>(tried.lastLine.line));
    }
    NoteItem(studio, "edit");
}

void DrawChangesPanel(Studio* studio)
{
    if (studio->active < 0)
    {
        return;
    }
    const std::vector<ValueChange> changes = ListChanges(studio->tried.edits);
    PlaceAtFirst(FindFirstPlaces(studio->scale).changes);
    if (BeginPanel(studio, "Changed values", kChangesPanel, 0))
    {
        if (changes.empty() && studio->tried.lastWritten.empty())
        {
            ImGui::PushStyleColor(ImGuiCol_Text, ImGui::GetStyle().Colors[ImGuiCol_TextDisabled]);
            ImGui::TextWrapped("Drag a number under Inside, and the picture shows it at once.");
            ImGui::PopStyleColor();
        }
        if (!changes.empty())
        {
            if (ImGui::SmallButton("copy all"))
            {
                CopyChanges(studio, changes);
            }
            NoteItem(studio, "copy all");
        }
        for (size_t i = 0; i < changes.size(); ++i)
        {
            DrawChange(studio, changes[i], std::to_string(i));
        }
        DrawWritten(studio);
    }
    ImGui::End();
}
