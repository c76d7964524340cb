// SPDX-License-Identifier: MIT
#include "studio/panels/panels.h"

#include <GL/glew.h>
#include <algorithm>
#include <backends/imgui_impl_opengl2.h>
#include <backends/imgui_impl_sdl.h>
#include <cstring>
#include <imgui.h>
#include <unistd.h>

static constexpr char kFont[] = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";
static constexpr char kEvenFont[] = "/usr/share/fonts/truetype/dejavu/DejaVuSansMono.ttf";
static constexpr float kFontSize = 15.0f;     // pixels, at scale 1
static constexpr float kWideWindow = 1600.0f; // the same: all texts of the transport fit in a row

static void SetQuietStyle(float scale)
{
    ImGui::StyleColorsDark();
    ImGuiStyle& style = ImGui::GetStyle();
    style.WindowRounding = 3.0f;
    style.FrameRounding = 2.0f;
    style.WindowBorderSize = 1.0f;
    const ImVec4 ground(0.11f, 0.11f, 0.12f, 1.0f);
    const ImVec4 raised(0.18f, 0.18f, 0.20f, 1.0f);
    const ImVec4 accent(0.36f, 0.45f, 0.56f, 1.0f);
    style.Colors[ImGuiCol_WindowBg] = ground;
    style.Colors[ImGuiCol_TitleBg] = ground;
    style.Colors[ImGuiCol_TitleBgActive] = raised;
    style.Colors[ImGuiCol_FrameBg] = raised;
    style.Colors[ImGuiCol_Button] = raised;
    style.Colors[ImGuiCol_ButtonHovered] = accent;
    style.Colors[ImGuiCol_ButtonActive] = accent;
    style.Colors[ImGuiCol_Header] = raised;
    style.Colors[ImGuiCol_HeaderHovered] = accent;
    style.Colors[ImGuiCol_HeaderActive] = accent;
    style.Colors[ImGuiCol_SliderGrab] = accent;
    style.Colors[ImGuiCol_CheckMark] = ImVec4(0.75f, 0.80f, 0.86f, 1.0f);
    style.Colors[ImGuiCol_NavHighlight] = ImVec4(0.75f, 0.80f, 0.86f, 0.8f);
    style.ScaleAllSizes(scale);
}

void StartPanels(Studio* studio, const char* layout)
{
    IMGUI_CHECKVERSION();
    ImGui::CreateContext();
    ImGuiIO& io = ImGui::GetIO();
    io.IniFilename = layout;
    SetQuietStyle(studio->scale);
    if (access(kFont, R_OK) == 0)
    {
        io.Fonts->AddFontFromFileTTF(kFont, kFontSize * studio->scale);
        if (access(kEvenFont, R_OK) == 0)
        {
            io.Fonts->AddFontFromFileTTF(kEvenFont, kFontSize * studio->scale);
        }
    }
    else
    {
        io.Fonts->AddFontDefault();
        io.FontGlobalScale = studio->scale;
    }
    ImGui_ImplSDL2_InitForOpenGL(studio->window.window, studio->window.context);
    ImGui_ImplOpenGL2_Init();
}

void EndPanels()
{
    ImGui_ImplOpenGL2_Shutdown();
    ImGui_ImplSDL2_Shutdown();
    ImGui::DestroyContext();
}

bool GivePanelsEvent(const Studio* studio, const SDL_Event* event)
{
    ImGui_ImplSDL2_ProcessEvent(event);
    const ImGuiIO& io = ImGui::GetIO();
    const bool isKey = event->type == SDL_KEYDOWN || event->type == SDL_KEYUP;
    constexpr ImGuiPopupFlags kAny = ImGuiPopupFlags_AnyPopupId | ImGuiPopupFlags_AnyPopupLevel;
    if (event->type == SDL_KEYDOWN && event->key.keysym.sym == SDLK_ESCAPE &&
        ImGui::IsPopupOpen(nullptr, kAny))
    {
        ImGui::SetWindowFocus(nullptr);
        return true;
    }
    // The field for a moment gets its keys some frames after it was opened.
    return isKey && (io.WantTextInput || studio->isJumping);
}

FirstPlaces FindFirstPlaces(float scale)
{
    const ImVec2 size = ImGui::GetIO().DisplaySize;
    const ImGuiStyle& style = ImGui::GetStyle();
    // The transport is as high as its title and a row of buttons: at large scales that is much.
    // Where the window is narrow its texts take a second row.
    const bool isNarrow = size.x < kWideWindow * scale;
    const float transport = 2.0f * ImGui::GetFrameHeight() + 2.0f * style.WindowPadding.y +
                            (isNarrow ? ImGui::GetTextLineHeightWithSpacing() : 0.0f);
    const float timeline = size.y * 0.32f;
    const float picture = size.y - timeline - transport;
    const float left = size.x * 0.70f;
    FirstPlaces places = {};
    places.picture = {0.0f, 0.0f, left, picture};
    places.inside = {left, 0.0f, size.x - left, picture};
    places.transport = {0.0f, picture, size.x, transport};
    places.timeline = {0.0f, picture + transport, left, timeline};
    places.changes = {left, picture + transport, size.x - left, timeline};
    places.faults = {size.x * 0.40f, picture - size.y * 0.18f, size.x * 0.30f, size.y * 0.18f};
    return places;
}

void PlaceAtFirst(const PanelRect& place)
{
    ImGui::SetNextWindowPos(ImVec2(place.left, place.top), ImGuiCond_FirstUseEver);
    ImGui::SetNextWindowSize(ImVec2(place.width, place.height), ImGuiCond_FirstUseEver);
}

bool BeginPanel(Studio* studio, const char* title, Panel panel, int flags)
{
    bool isShown = true;
    const bool isOpen = ImGui::Begin(title, &isShown, flags);
    if (!isShown)
    {
        studio->panels &= ~static_cast<uint32_t>(panel);
    }
    return isOpen;
}

/// Notes the part of a rectangle that is seen; none where it was scrolled away.
static void NoteRect(Studio* studio, const char* name, ImVec2 low, ImVec2 high)
{
    const ImDrawList* list = ImGui::GetWindowDrawList();
    const ImVec2 seenLow = list->GetClipRectMin();
    const ImVec2 seenHigh = list->GetClipRectMax();
    const float left = std::max(low.x, seenLow.x);
    const float top = std::max(low.y, seenLow.y);
    const float width = std::min(high.x, seenHigh.x) - left;
    const float height = std::min(high.y, seenHigh.y) - top;
    if (width >= 1.0f && height >= 1.0f)
    {
        studio->rects[name] = {left, top, width, height};
    }
}

bool TextSelectable(const std::string& text, int id, bool isSelected)
{
    const ImVec2 from = ImGui::GetCursorScreenPos();
    const ImVec2 size = ImGui::CalcTextSize(text.c_str());
    ImGui::PushID(id);
    const bool isClicked =
        ImGui::Selectable("##line", isSelected, ImGuiSelectableFlags_None,
                          ImVec2(std::max(ImGui::GetContentRegionAvail().x, size.x), 0.0f));
    ImGui::PopID();
    ImGui::GetWindowDrawList()->AddText(from, ImGui::GetColorU32(ImGuiCol_Text), text.c_str());
    return isClicked;
}

void NoteItem(Studio* studio, const char* name)
{
    NoteRect(studio, name, ImGui::GetItemRectMin(), ImGui::GetItemRectMax());
}

void NoteArrow(Studio* studio, const char* name)
{
    const ImVec2 from = ImGui::GetItemRectMin();
    const float side = ImGui::GetFontSize();
    NoteRect(studio, name, from, ImVec2(from.x + side, from.y + side));
}

void* WidgetTexture(uint32_t texture)
{
    const uintptr_t name = texture;
    void* taken = nullptr;
    static_assert(sizeof(taken) == sizeof(ImTextureID) && sizeof(taken) == sizeof(name));
    memcpy(&taken, &name, sizeof(taken));
    return taken;
}

PanelRect FitPicture(const Studio* studio, const PanelRect& space)
{
    const float aspect = static_cast<float>(studio->window.pictureWidth) /
                         static_cast<float>(studio->window.pictureHeight);
    const float width = std::max(1.0f, std::min(space.width, space.height * aspect));
    const float height = width / aspect;
    return {space.left + (space.width - width) / 2.0f, space.top + (space.height - height) / 2.0f,
            width, height};
}

/// Draws a text over the left edge of the picture, above or below.
static void DrawNote(const Studio* studio, const PanelRect& picture, bool isLow,
                     const std::string& text)
{
    ImDrawList* list = ImGui::GetForegroundDrawList();
    const ImVec2 size = ImGui::CalcTextSize(text.c_str());
    const float pad = 6.0f * studio->scale;
    const float height = size.y + 2.0f * pad;
    const float top = isLow ? picture.top + picture.height - height - pad : picture.top + pad;
    const ImVec2 from(picture.left + pad, top);
    list->AddRectFilled(from, ImVec2(from.x + size.x + 2.0f * pad, from.y + height),
                        IM_COL32(0, 0, 0, 170));
    list->AddText(ImVec2(from.x + pad, from.y + pad), IM_COL32(230, 230, 230, 255), text.c_str());
}

void DrawMessage(Studio* studio, const PanelRect& picture)
{
    static constexpr uint32_t kShownMs = 4000;
    if (studio->options.hasNoUi || studio->showsKeys)
    {
        return;
    }
    if (!studio->message.empty() && NowMs() - studio->messageMs <= kShownMs)
    {
        DrawNote(studio, picture, false, studio->message);
    }
    if (!studio->soughtText.empty())
    {
        DrawNote(studio, picture, true, studio->soughtText);
    }
}

/// Lets keys reach the panels, or not; the first one that is reached is the one inside the piece.
static void LetKeysReachPanels(Studio* studio)
{
    ImGuiIO& io = ImGui::GetIO();
    const bool reaches = (io.ConfigFlags & ImGuiConfigFlags_NavEnableKeyboard) != 0;
    if (reaches == studio->reachesPanels)
    {
        return;
    }
    io.ConfigFlags ^= ImGuiConfigFlags_NavEnableKeyboard;
    if (studio->reachesPanels)
    {
        ImGui::SetWindowFocus((studio->panels & kInsidePanel) != 0 ? "Inside" : "Transport");
    }
}

void DrawPanels(Studio* studio)
{
    studio->rects.clear();
    const bool hasTransport = studio->showsPanels && (studio->panels & kTransportPanel) != 0;
    studio->isJumping = studio->isJumping && hasTransport;
    ImGui_ImplOpenGL2_NewFrame();
    ImGui_ImplSDL2_NewFrame();
    LetKeysReachPanels(studio);
    ImGui::NewFrame();
    if (studio->showsPanels)
    {
        DrawPicturePanel(studio);
        if (hasTransport)
        {
            DrawTransportPanel(studio);
        }
        if ((studio->panels & kTimelinePanel) != 0)
        {
            DrawTimelinePanel(studio);
        }
        if ((studio->panels & kInsidePanel) != 0)
        {
            DrawInsidePanel(studio);
        }
        if ((studio->panels & kCostPanel) != 0)
        {
            DrawCostPanel(studio);
        }
        if ((studio->panels & kFaultsPanel) != 0)
        {
            DrawFaultsPanel(studio);
        }
        if ((studio->panels & kChangesPanel) != 0)
        {
            DrawChangesPanel(studio);
        }
    }
    else
    {
        DrawPictureAlone(studio);
    }
    // Also after a piece that could not be opened.
    const bool isOpening = studio->loader.isRunning || !studio->folder.watcher.folder.empty();
    if (studio->showsPanels && studio->active < 0 && !isOpening)
    {
        DrawStartPanel(studio);
    }
    if (studio->showsKeys)
    {
        DrawKeysPanel(studio);
    }
    ImGui::Render();

    const ImGuiIO& io = ImGui::GetIO();
    const bool hasMouse = ImGui::IsMousePosValid();
    studio->rects["mouse"] = {hasMouse ? io.MousePos.x : -1.0f, hasMouse ? io.MousePos.y : -1.0f,
                              ImGui::IsAnyMouseDown() ? 1.0f : 0.0f, 0.0f};
    glViewport(0, 0, static_cast<GLsizei>(io.DisplaySize.x * io.DisplayFramebufferScale.x),
               static_cast<GLsizei>(io.DisplaySize.y * io.DisplayFramebufferScale.y));
    glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT);
    ImGui_ImplOpenGL2_RenderDrawData(ImGui::GetDrawData());
}
