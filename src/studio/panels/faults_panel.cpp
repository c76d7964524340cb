#include "studio/panels/panels.h"

#include <imgui.h>

void DrawFaultsPanel(Studio* studio)
{
    if (studio->faults.empty())
    {
        return;
    }
    const ImVec2 size = ImGui::GetIO().DisplaySize;
    ImGui::SetNextWindowPos(ImVec2(0.0f, size.y * 0.80f), ImGuiCond_FirstUseEver);
    ImGui::SetNextWindowSize(ImVec2(size.x, size.y * 0.20f), ImGuiCond_FirstUseEver);
    if (ImGui::Begin("Mistakes"))
    {
        for (const std::string& fault : studio->faults)
        {
            ImGui::TextWrapped("%s", fault.c_str());
        }
    }
    ImGui::End();
}
