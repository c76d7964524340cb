// SPDX-License-Identifier: MIT
#include "studio/window.h"

#include <GL/glew.h>
#include <algorithm>

#include "engine/render/baseline_state.h"

struct AttributeRow
{
    SDL_GLattr attribute;
    int value;
};

/// As the engine's other displays have them.
static constexpr AttributeRow kAttributes[] = {
    {SDL_GL_RED_SIZE, 8},     {SDL_GL_GREEN_SIZE, 8},
    {SDL_GL_BLUE_SIZE, 8},    {SDL_GL_ALPHA_SIZE, 8},
    {SDL_GL_DEPTH_SIZE, 24},  {SDL_GL_DOUBLEBUFFER, 1},
    {SDL_GL_STENCIL_SIZE, 0}, {SDL_GL_SHARE_WITH_CURRENT_CONTEXT, 1},
};

static std::string SdlFault(const char* action)
{
    return std::string(action) + ": " + SDL_GetError();
}

static void MakePictureTexture(StudioWindow* window)
{
    const std::vector<uint8_t> black(static_cast<size_t>(window->pictureWidth) *
                                     static_cast<size_t>(window->pictureHeight) * 4);
    glGenTextures(1, &window->picture);
    glBindTexture(GL_TEXTURE_2D, window->picture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB8, window->pictureWidth, window->pictureHeight, 0, GL_RGBA,
                 GL_UNSIGNED_BYTE, black.data());
}

std::string OpenStudioWindow(const WindowRequest* request, StudioWindow* window)
{
    window->pictureWidth = request->width;
    window->pictureHeight = request->height;
    for (const AttributeRow& row : kAttributes)
    {
        SDL_GL_SetAttribute(row.attribute, row.value);
    }
    const Uint32 full = request->isFullscreen ? SDL_WINDOW_FULLSCREEN_DESKTOP : 0;
    window->window = SDL_CreateWindow(
        "Quorvale Studio", SDL_WINDOWPOS_UNDEFINED, SDL_WINDOWPOS_UNDEFINED, request->windowWidth,
        request->windowHeight,
        SDL_WINDOW_OPENGL | SDL_WINDOW_RESIZABLE | SDL_WINDOW_ALLOW_HIGHDPI | full);
    if (window->window == nullptr)
    {
        return SdlFault("can't open a window");
    }
    window->context = SDL_GL_CreateContext(window->window);
    if (window->context == nullptr)
    {
        return SdlFault("can't open OpenGL");
    }
    glewInit(); // without an X server it complains, with all functions loaded
    window->features = DetectFeatures();
    SDL_GL_SetSwapInterval(1);

    for (StageSlot& slot : window->slots)
    {
        slot.surface = SDL_CreateWindow("Quorvale Studio picture", 0, 0, request->width,
                                        request->height, SDL_WINDOW_OPENGL | SDL_WINDOW_HIDDEN);
        if (slot.surface == nullptr)
        {
            return SdlFault("can't open a surface to draw on");
        }
        UseWindow(window); // the context that is shared with
        slot.context = SDL_GL_CreateContext(slot.surface);
        if (slot.context == nullptr)
        {
            return SdlFault("can't open OpenGL");
        }
        SDL_GL_SetSwapInterval(0);
    }
    UseWindow(window);
    MakePictureTexture(window);
    return "";
}

void CloseStudioWindow(StudioWindow* window)
{
    for (StageSlot& slot : window->slots)
    {
        if (slot.context != nullptr)
        {
            CloseSlotStage(&slot);
            UseNothing();
            SDL_GL_DeleteContext(slot.context);
        }
        if (slot.surface != nullptr)
        {
            SDL_DestroyWindow(slot.surface);
        }
    }
    if (window->context != nullptr)
    {
        UseWindow(window);
        glDeleteTextures(1, &window->picture);
        UseNothing();
        SDL_GL_DeleteContext(window->context);
    }
    if (window->window != nullptr)
    {
        SDL_DestroyWindow(window->window);
    }
    *window = {};
}

void UseWindow(StudioWindow* window)
{
    SDL_GL_MakeCurrent(window->window, window->context);
}

void UseSlot(StageSlot* slot)
{
    SDL_GL_MakeCurrent(slot->surface, slot->context);
    if (!slot->hasBaseline)
    {
        SetBaselineState();
        slot->hasBaseline = true;
    }
}

void UseNothing()
{
    SDL_GL_MakeCurrent(nullptr, nullptr);
}

void CloseSlotStage(StageSlot* slot)
{
    if (slot->stage == nullptr)
    {
        return;
    }
    UseSlot(slot);
    CloseStage(slot->stage);
    delete slot->stage;
    slot->stage = nullptr;
    slot->package = {};
}

/// Copies the back buffer into the texture. Changes nothing else of the state of the piece.
static void KeepPicture(const StudioWindow* window)
{
    GLint bound = 0;
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
    glBindTexture(GL_TEXTURE_2D, window->picture);
    glCopyTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 0, 0, window->pictureWidth, window->pictureHeight);
    glBindTexture(GL_TEXTURE_2D, static_cast<GLuint>(bound));
    glFlush(); // before another context shows it
}

SeekEnd ShowTick(StudioWindow* window, StageSlot* slot, uint32_t tick, const SeekPatience* patience,
                 FaultList* faults)
{
    UseSlot(slot);
    const SeekEnd end = SeekPieceInParts(slot->stage, tick, kStudioStride, patience, faults);
    if (end == SeekEnd::kShown)
    {
        KeepPicture(window);
    }
    UseWindow(window);
    return end;
}

void ShowDrawn(StudioWindow* window, StageSlot* slot)
{
    UseSlot(slot);
    KeepPicture(window);
    UseWindow(window);
}

std::vector<uint8_t> ReadShownPicture(const StudioWindow* window)
{
    const size_t rowBytes = static_cast<size_t>(window->pictureWidth) * 3;
    const size_t height = static_cast<size_t>(window->pictureHeight);
    std::vector<uint8_t> flipped(rowBytes * height);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glBindTexture(GL_TEXTURE_2D, window->picture);
    glGetTexImage(GL_TEXTURE_2D, 0, GL_RGB, GL_UNSIGNED_BYTE, flipped.data());
    std::vector<uint8_t> picture(flipped.size());
    for (size_t y = 0; y < height; ++y)
    {
        const uint8_t* row = flipped.data() + (height - 1 - y) * rowBytes;
        std::copy(row, row + rowBytes, picture.data() + y * rowBytes);
    }
    return picture;
}
