// SPDX-License-Identifier: MIT
#include "studio/panels/panels.h"

#include <imgui.h>

void DrawPictureAlone(Studio* studio)
{
    const ImVec2 size = ImGui::GetIO().DisplaySize;
    const PanelRect picture = FitPicture(studio, {0.0f, 0.0f, size.x, size.y});
    // The upper row of the picture is the last of the texture.
    ImGui::GetBackgroundDrawList()->AddImage(
        WidgetTexture(studio->window.picture), ImVec2(picture.left, picture.top),
        ImVec2(picture.left + picture.width, picture.top + picture.height), ImVec2(0.0f, 1.0f),
        ImVec2(1.0f, 0.0f));
    studio->rects["picture"] = picture;
    const ImGuiIO& io = ImGui::GetIO();
    if (!io.WantCaptureMouse && ImGui::IsMouseDown(ImGuiMouseButton_Left))
    {
        FlyWithMouse(studio, io.MouseDelta.x, io.MouseDelta.y);
    }
    DrawMessage(studio, picture);
}

void DrawPicturePanel(Studio* studio)
{
    PlaceAtFirst(FindFirstPlaces(studio->scale).picture);
    ImGui::PushStyleVar(ImGuiStyleVar_WindowPadding, ImVec2(0.0f, 0.0f));
    const bool isOpen = ImGui::Begin(
        "Picture", nullptr, ImGuiWindowFlags_NoScrollbar | ImGuiWindowFlags_NoScrollWithMouse);
    ImGui::PopStyleVar();
    if (isOpen)
    {
        const ImVec2 from = ImGui::GetCursorScreenPos();
        const ImVec2 space = ImGui::GetContentRegionAvail();
        const PanelRect picture = FitPicture(studio, {from.x, from.y, space.x, space.y});
        ImGui::SetCursorScreenPos(ImVec2(picture.left, picture.top));
        ImGui::Image(WidgetTexture(studio->window.picture), ImVec2(picture.width, picture.height),
                     ImVec2(0.0f, 1.0f), ImVec2(1.0f, 0.0f));
        NoteItem(studio, "picture");
        ImGui::SetCursorScreenPos(ImVec2(picture.left, picture.top));
        ImGui::InvisibleButton("fly", ImVec2(picture.width, picture.height));
        if (ImGui::IsItemActive())
        {
            FlyWithMouse(studio, ImGui::GetIO().MouseDelta.x, ImGui::GetIO().MouseDelta.y);
        }
        DrawMessage(studio, picture);
    }
    ImGui::End();
}
