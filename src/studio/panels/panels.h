// SPDX-License-Identifier: MIT

// The panels: each file draws one, and nobody else calls Dear ImGui.
#pragma once

#include "studio/studio.h"

/// Makes the panels ready to draw, once. Relies on the window being used.
/// @param layout   path of the file that keeps where panels are; must stay; null for none
void StartPanels(Studio* studio, const char* layout);
void EndPanels();

/// @return whether the event was meant for a panel and not for a command
bool GivePanelsEvent(const Studio* studio, const SDL_Event* event);

/// Draws all that is seen, into the back buffer of the window, which is used.
void DrawPanels(Studio* studio);

// Each between the two halves of a frame.

void DrawPicturePanel(Studio* studio);
void DrawTransportPanel(Studio* studio);
void DrawTimelinePanel(Studio* studio);
void DrawChangesPanel(Studio* studio);
void DrawCostPanel(Studio* studio);
void DrawFaultsPanel(Studio* studio);
void DrawInsidePanel(Studio* studio);
void DrawKeysPanel(Studio* studio);
void DrawStartPanel(Studio* studio);
/// The picture as large as the window, with messages over it.
void DrawPictureAlone(Studio* studio);

/// Where panels are before anybody moved them.
struct FirstPlaces
{
    PanelRect picture, inside, transport, timeline, faults, changes;
};

/// @param scale   of the user interface
FirstPlaces FindFirstPlaces(float scale);

/// Places the window that begins next, unless the layout knows it.
void PlaceAtFirst(const PanelRect& place);

/// Begins the window of a panel that can be closed. ImGui::End() follows, whatever it returns.
/// @param flags   Dear ImGui's, of the window
/// @return whether anything of it is seen
bool BeginPanel(Studio* studio, const char* title, Panel panel, int flags);

/// A line of text that can be clicked. Authors' names may have signs in them that mean something to
/// Dear ImGui, which is why it gets no label.
/// @param id   tells lines of one place apart
/// @return whether it was clicked
bool TextSelectable(const std::string& text, int id, bool isSelected);

/// Notes where the last item of Dear ImGui is seen; not at all where it was scrolled away.
void NoteItem(Studio* studio, const char* name);

/// The same for the arrow that unfolds the last item, a node of a tree.
void NoteArrow(Studio* studio, const char* name);

/// Draws the message over a part of the window, and how far a long seek is.
void DrawMessage(Studio* studio, const PanelRect& picture);

/// @param texture   a name of OpenGL's
/// @return it as Dear ImGui takes a texture
void* WidgetTexture(uint32_t texture);

/// @return the largest place for the picture in a part of the window
PanelRect FitPicture(const Studio* studio, const PanelRect& space);
