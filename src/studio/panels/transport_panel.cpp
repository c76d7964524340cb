// SPDX-License-Identifier: MIT
#include "studio/panels/panels.h"

#include <imgui.h>

/// A button for a command.
static void CommandButton(Studio* studio, const char* label, const char* name, Command command)
{
    if (ImGui::Button(label))
    {
        RunCommand(studio, command);
    }
    NoteItem(studio, name);
    ImGui::SameLine();
}

static void DrawPlace(Studio* studio)
{
    const Transport& transport = studio->transport;
    const uint32_t tick = TransportTick(&transport);
    ImGui::Text("%u:%05.2f  tick %u of %u", tick / 6000, static_cast<double>(tick % 6000) / 100.0,
                tick, transport.endTick);
    const int32_t row = FindTrackRow(studio->track, tick);
    if (row >= 0)
    {
        const TrackRow& at = studio->track.rows[static_cast<size_t>(row)];
        ImGui::SameLine();
        ImGui::Text("  order %d row %02d", at.order, at.row);
    }
    if (transport.speed != kNormalSpeed)
    {
        ImGui::SameLine();
        ImGui::Text("  speed %g", static_cast<double>(transport.speed) / kNormalSpeed);
    }
    if (transport.hasRange)
    {
        ImGui::SameLine();
        ImGui::Text("  repeats %u to %u", transport.rangeBegin, transport.rangeEnd);
    }
    const FolderPiece& folder = studio->folder;
    if (folder.builder.isBuilding)
    {
        ImGui::SameLine();
        ImGui::TextDisabled("  building");
    }
    else if (folder.reloadMs != 0)
    {
        ImGui::SameLine();
        ImGui::TextDisabled("  shown %u ms after the save", folder.reloadMs);
        if (ImGui::IsItemHovered())
        {
            ImGui::SetTooltip("piece.py %u ms, packing %u ms (%u made anew), check %u ms,\n"
                              "loading %u ms (%u textures, models and images made anew, %u kept),\n"
                              "to the moment %u ms",
                              folder.scriptUs / 1000, folder.packUs / 1000, folder.made,
                              folder.checkUs / 1000, studio->loadUs / 1000, studio->made,
                              studio->kept, studio->seekUs / 1000);
        }
    }
    ImGui::SameLine();
    if (studio->sound.device == 0)
    {
        ImGui::TextDisabled("  no sound device");
    }
    else if (studio->sound.isMuted)
    {
        ImGui::TextDisabled("  muted");
    }
}

void DrawTransportPanel(Studio* studio)
{
    PlaceAtFirst(FindFirstPlaces().transport);
    if (BeginPanel(studio, "Transport", kTransportPanel, ImGuiWindowFlags_NoScrollbar))
    {
        CommandButton(studio, "|<", "to start", Command::kToStart);
        CommandButton(studio, "<", "picture back", Command::kBackPicture);
        CommandButton(studio, studio->transport.plays ? "Pause##play" : "Play##play", "play",
                      Command::kPlayPause);
        CommandButton(studio, ">", "picture on", Command::kOnPicture);
        CommandButton(studio, ">|", "to end", Command::kToEnd);
        int tick = static_cast<int>(TransportTick(&studio->transport));
        // Before the text, whose width changes.
        ImGui::SetNextItemWidth(ImGui::GetContentRegionAvail().x * 0.4f);
        if (ImGui::SliderInt("##tick", &tick, 0, static_cast<int>(studio->transport.endTick), "",
                             ImGuiSliderFlags_NoInput))
        {
            JumpTo(&studio->transport, static_cast<uint32_t>(tick), NowMs());
        }
        NoteItem(studio, "seek");
        ImGui::SameLine();
        DrawPlace(studio);
    }
    ImGui::End();
}
