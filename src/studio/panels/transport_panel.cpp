// SPDX-License-Identifier: MIT
#include "studio/panels/panels.h"

#include <cstdio>
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

/// Begins a text beside the last item, or on the next line where it would be cut.
static void FlowText(const Studio* studio, const std::string& text)
{
    const float gap = 16.0f * studio->scale;
    const float edge = ImGui::GetWindowPos().x + ImGui::GetWindowContentRegionMax().x;
    const float end = ImGui::GetItemRectMax().x + gap + ImGui::CalcTextSize(text.c_str()).x;
    if (end <= edge)
    {
        ImGui::SameLine(0.0f, gap);
    }
}

static void DrawText(Studio* studio, const char* name, const std::string& text)
{
    FlowText(studio, text);
    ImGui::TextUnformatted(text.c_str());
    NoteItem(studio, name);
}

static void DrawFaintText(Studio* studio, const char* name, const std::string& text)
{
    FlowText(studio, text);
    ImGui::TextDisabled("%s", text.c_str());
    NoteItem(studio, name);
}

static void DrawReloadTime(Studio* studio)
{
    const FolderPiece& folder = studio->folder;
    const std::string passed = std::to_string(folder.reloadMs) + " ms";
    DrawFaintText(studio, "reload time",
                  folder.reloads < 2 ? "opened in " + passed
                                     : "shown " + passed + " after the save");
    if (ImGui::IsItemHovered())
    {
        ImGui::SetTooltip("piece.py %u ms, packing %u ms (%u made anew), check %u ms,\n"
                          "loading %u ms (%u textures, models and images made anew, %u kept),\n"
                          "to the moment %u ms",
                          folder.scriptUs / 1000, folder.packUs / 1000, folder.made,
                          folder.checkUs / 1000, studio->loadUs / 1000, studio->made, studio->kept,
                          studio->seekUs / 1000);
    }
}

static void DrawPlace(Studio* studio)
{
    const Transport& transport = studio->transport;
    const uint32_t tick = TransportTick(&transport);
    char text[96];
    snprintf(text, sizeof(text), "%u:%05.2f  tick %u of %u", tick / 6000,
             static_cast<double>(tick % 6000) / 100.0, tick, transport.endTick);
    DrawText(studio, "place", text);
    const int32_t row = FindTrackRow(studio->track, tick);
    if (row >= 0)
    {
        const TrackRow& at = studio->track.rows[static_cast<size_t>(row)];
        snprintf(text, sizeof(text), "order %d row %02d", at.order, at.row);
        DrawText(studio, "row", text);
    }
    if (transport.speed != kNormalSpeed)
    {
        snprintf(text, sizeof(text), "speed %g",
                 static_cast<double>(transport.speed) / kNormalSpeed);
        DrawText(studio, "speed", text);
    }
    if (transport.hasRange)
    {
        snprintf(text, sizeof(text), "repeats %u to %u", transport.rangeBegin, transport.rangeEnd);
        DrawText(studio, "range", text);
    }
    if (studio->folder.builder.isBuilding)
    {
        DrawFaintText(studio, "building", "building");
    }
    else if (studio->folder.reloadMs != 0)
    {
        DrawReloadTime(studio);
    }
    if (studio->sound.device == 0)
    {
        DrawFaintText(studio, "sound", "no sound device");
    }
    else if (studio->sound.isMuted)
    {
        DrawFaintText(studio, "sound", "muted");
    }
}

static void DrawSeekSlider(Studio* studio)
{
    int tick = static_cast<int>(TransportTick(&studio->transport));
    if (ImGui::SliderInt("##tick", &tick, 0, static_cast<int>(studio->transport.endTick), "",
                         ImGuiSliderFlags_NoInput))
    {
        JumpTo(&studio->transport, static_cast<uint32_t>(tick), NowMs());
    }
    NoteItem(studio, "seek");
}

/// Drops the letter of the key that has opened the field, which may arrive after it.
static int DropKeyLetter(ImGuiInputTextCallbackData* data)
{
    return data->EventChar == 'j' || data->EventChar == 'J' ? 1 : 0;
}

/// The field that a moment is typed into. It closes when it loses the keys.
static void DrawJumpField(Studio* studio)
{
    if (studio->startsJump)
    {
        ImGui::SetKeyboardFocusHere();
    }
    const bool isDone = ImGui::InputTextWithHint(
        "##jump", "12.5, 1:12, 1250t or o3:16", studio->jumpText, sizeof(studio->jumpText),
        ImGuiInputTextFlags_EnterReturnsTrue | ImGuiInputTextFlags_AutoSelectAll |
            ImGuiInputTextFlags_CallbackCharFilter,
        DropKeyLetter);
    if (ImGui::IsItemActive())
    {
        studio->startsJump = false;
        NoteItem(studio, "jump");
    }
    else if (isDone && !JumpToTyped(studio))
    {
        studio->startsJump = true; // Return has taken the keys from it
    }
    else if (isDone || !studio->startsJump)
    {
        studio->isJumping = false;
    }
}

void DrawTransportPanel(Studio* studio)
{
    PlaceAtFirst(FindFirstPlaces(studio->scale).transport);
    if (studio->isJumping && studio->startsJump)
    {
        ImGui::SetNextWindowCollapsed(false);
    }
    if (BeginPanel(studio, "Transport", kTransportPanel, ImGuiWindowFlags_NoScrollbar))
    {
        CommandButton(studio, "|<", "to start", Command::kToStart);
        CommandButton(studio, "<", "picture back", Command::kBackPicture);
        CommandButton(studio, studio->transport.plays ? "Pause##play" : "Play##play", "play",
                      Command::kPlayPause);
        CommandButton(studio, ">", "picture on", Command::kOnPicture);
        CommandButton(studio, ">|", "to end", Command::kToEnd);
        // Before the text, whose width changes.
        ImGui::SetNextItemWidth(ImGui::GetContentRegionAvail().x * 0.4f);
        studio->isJumping ? DrawJumpField(studio) : DrawSeekSlider(studio);
        DrawPlace(studio);
    }
    else
    {
        studio->isJumping = false;
    }
    ImGui::End();
}
