// SPDX-License-Identifier: MIT
#include "studio/panels/panels.h"

#include <imgui.h>

/// @return the font whose letters are all as wide, or the usual one
static ImFont* EvenFont()
{
    return ImGui::GetIO().Fonts->Fonts.back();
}

static ImVec4 KindColor(FindingKind kind)
{
    switch (kind)
    {
    case FindingKind::kError:
        return ImVec4(0.93f, 0.53f, 0.47f, 1.0f);
    case FindingKind::kWarning:
        return ImVec4(0.87f, 0.77f, 0.50f, 1.0f);
    default:
        return ImVec4(0.70f, 0.72f, 0.75f, 1.0f);
    }
}

static void DrawFinding(Studio* studio, size_t i)
{
    const FindingLine& finding = studio->findings[i];
    const size_t slash = finding.path.rfind('/');
    std::string line = finding.text;
    if (!finding.path.empty())
    {
        line = finding.path.substr(slash == std::string::npos ? 0 : slash + 1) +
               (finding.line == 0 ? "" : ":" + std::to_string(finding.line)) + ": " + line;
    }
    ImGui::PushStyleColor(ImGuiCol_Text, KindColor(finding.kind));
    if (TextSelectable(line, static_cast<int>(i), i == studio->selectedFinding))
    {
        studio->selectedFinding = i;
        OpenFinding(studio);
    }
    NoteItem(studio, ("finding " + std::to_string(i)).c_str());
    ImGui::PopStyleColor();
    if (!finding.more.empty())
    {
        // The mark below the source stands under its letter.
        ImGui::PushFont(EvenFont());
        ImGui::TextDisabled("%s", finding.more.c_str());
        ImGui::PopFont();
    }
}

void DrawFaultsPanel(Studio* studio)
{
    if (studio->findings.empty())
    {
        return;
    }
    PlaceAtFirst(FindFirstPlaces(studio->scale).faults);
    if (BeginPanel(studio, "Mistakes", kFaultsPanel, ImGuiWindowFlags_HorizontalScrollbar))
    {
        for (size_t i = 0; i < studio->findings.size(); ++i)
        {
            DrawFinding(studio, i);
        }
    }
    ImGui::End();
}
