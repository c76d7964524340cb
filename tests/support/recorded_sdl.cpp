// SPDX-License-Identifier: MIT
#include "support/recorded_sdl.h"

#include <SDL.h>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <iterator>

#include "support/recorded_gl.h"

SdlScript Sdl;

namespace
{

constexpr uint32_t kDefaultBlockBytes = 32768;
constexpr uint8_t kUnwritten = 0xEE;

struct Flag
{
    Uint32 bit;
    const char* name;
};

constexpr Flag kInitFlags[] = {
    {SDL_INIT_TIMER, "TIMER"},
    {SDL_INIT_AUDIO, "AUDIO"},
    {SDL_INIT_VIDEO, "VIDEO"},
};

constexpr Flag kVideoFlags[] = {
    {SDL_HWSURFACE, "HWSURFACE"},
    {SDL_ASYNCBLIT, "ASYNCBLIT"},
    {SDL_OPENGL, "OPENGL"},
    {SDL_FULLSCREEN, "FULLSCREEN"},
};

constexpr Flag kAttributes[] = {
    {SDL_GL_RED_SIZE, "RED_SIZE"},
    {SDL_GL_GREEN_SIZE, "GREEN_SIZE"},
    {SDL_GL_BLUE_SIZE, "BLUE_SIZE"},
    {SDL_GL_ALPHA_SIZE, "ALPHA_SIZE"},
    {SDL_GL_DEPTH_SIZE, "DEPTH_SIZE"},
    {SDL_GL_DOUBLEBUFFER, "DOUBLEBUFFER"},
    {SDL_GL_MULTISAMPLEBUFFERS, "MULTISAMPLEBUFFERS"},
    {SDL_GL_MULTISAMPLESAMPLES, "MULTISAMPLESAMPLES"},
};

size_t ticksRead;
size_t pollsMade;
size_t mouseLooks;
uint32_t imagesLoaded;
SDL_Surface window;
std::deque<SDL_Surface> images;
std::deque<SDL_RWops> streams; // closed ones have no type
Uint8 keyState[SDLK_LAST];
SDL_AudioSpec audio; // as the player wished it

/// The names of all bits, joined; bits without a name in hexadecimal behind them.
template <size_t Count>
std::string FlagNames(Uint32 flags, const Flag (&names)[Count])
{
    std::string text;
    for (const Flag& flag : names)
    {
        if ((flags & flag.bit) != 0)
        {
            text += (text.empty() ? "" : "|") + std::string(flag.name);
            flags &= ~flag.bit;
        }
    }
    if (flags != 0 || text.empty())
    {
        char rest[16];
        snprintf(rest, sizeof(rest), "0x%x", flags);
        text += (text.empty() ? "" : "|") + std::string(rest);
    }
    return text;
}

uint32_t NextTicks()
{
    if (Sdl.ticks.empty())
    {
        return 0;
    }
    size_t place = std::min(ticksRead, Sdl.ticks.size() - 1);
    ticksRead += 1;
    return Sdl.ticks[place];
}

std::string SizeName(int width, int height)
{
    return std::to_string(width) + "x" + std::to_string(height);
}

std::string SurfaceName(const SDL_Surface* surface)
{
    if (surface == nullptr)
    {
        return "null";
    }
    return surface == &window ? "window" : SizeName(surface->w, surface->h);
}

std::string RectangleName(const SDL_Rect& rectangle)
{
    return "[" + std::to_string(rectangle.x) + " " + std::to_string(rectangle.y) + " " +
           std::to_string(rectangle.w) + " " + std::to_string(rectangle.h) + "]";
}

bool IsSilent(const std::vector<uint8_t>& block)
{
    return std::all_of(block.begin(), block.end(), [](uint8_t byte) { return byte == 0; });
}

void RunAudioBlock()
{
    if (audio.callback == nullptr)
    {
        return; // a device that was never opened asks for nothing
    }
    // A block of exactly this size: a sanitizer sees a callback that writes past it.
    std::vector<uint8_t> block(Sdl.blockBytes == 0 ? kDefaultBlockBytes : Sdl.blockBytes,
                               kUnwritten);
    RecordCall("AudioBlock " + std::to_string(block.size()));
    audio.callback(audio.userdata, block.data(), static_cast<int>(block.size()));
    size_t filled = block.size();
    while (filled > 0 && block[filled - 1] == kUnwritten)
    {
        --filled;
    }
    if (filled == 0)
    {
        RecordCall("AudioBlock untouched");
    }
    else if (filled < block.size())
    {
        RecordCall("AudioBlock filled to " + std::to_string(filled));
    }
    else
    {
        RecordCall(IsSilent(block) ? "AudioBlock silent" : "AudioBlock filled");
    }
}

void RunAudioBlocks(uint32_t count)
{
    for (uint32_t i = 0; i < count; ++i)
    {
        RunAudioBlock();
    }
}

} // namespace

void ResetSdl()
{
    Sdl = {};
    ticksRead = 0;
    pollsMade = 0;
    mouseLooks = 0;
    imagesLoaded = 0;
    images.clear();
    streams.clear();
    keyState[SDLK_ESCAPE] = 0;
    audio = {};
}

extern "C"
{

    int SDL_Init(Uint32 flags)
    {
        RecordCall("SDL_Init " + FlagNames(flags, kInitFlags));
        bool fails = ((flags & SDL_INIT_VIDEO) != 0 && Sdl.videoFails) ||
                     ((flags & SDL_INIT_AUDIO) != 0 && Sdl.audioFails);
        return fails ? -1 : 0;
    }

    void SDL_Quit(void)
    {
        RecordCall("SDL_Quit");
    }

    char* SDL_GetError(void)
    {
        return Sdl.error.data();
    }

    void SDL_WM_SetCaption(const char* title, const char* icon)
    {
        RecordCall("SDL_WM_SetCaption \"" + std::string(title) + "\" \"" + icon + "\"");
    }

    int SDL_GL_SetAttribute(SDL_GLattr attribute, int value)
    {
        std::string name = std::to_string(attribute);
        for (const Flag& known : kAttributes)
        {
            if (known.bit == static_cast<Uint32>(attribute))
            {
                name = known.name;
            }
        }
        RecordCall("SDL_GL_SetAttribute " + name + " " + std::to_string(value));
        return 0;
    }

    // Only the layer over SDL 2 is asked, and its tests bring their own.
    [[gnu::weak]] void* SDL_GL_GetProcAddress(const char* name)
    {
        RecordCall(std::string("SDL_GL_GetProcAddress ") + name);
        return nullptr;
    }

    SDL_Surface* SDL_SetVideoMode(int width, int height, int bpp, Uint32 flags)
    {
        window = {};
        window.w = width;
        window.h = height;
        RecordCall("SDL_SetVideoMode " + std::to_string(width) + " " + std::to_string(height) +
                   " " + std::to_string(bpp) + " " + FlagNames(flags, kVideoFlags));
        return Sdl.windowFails ? nullptr : &window;
    }

    SDL_RWops* SDL_RWFromMem(void* memory, int size)
    {
        RecordCall("SDL_RWFromMem");
        SDL_RWops stream = {};
        stream.type = 1;
        stream.hidden.mem.base = static_cast<Uint8*>(memory);
        stream.hidden.mem.here = stream.hidden.mem.base;
        stream.hidden.mem.stop = stream.hidden.mem.base + size;
        streams.push_back(stream);
        return &streams.back();
    }

    SDL_Surface* SDL_LoadBMP_RW(SDL_RWops* stream, int freeStream)
    {
        // The image header's width and height; a positive height says that rows come from below.
        SDL_Surface image = {};
        if (stream->type == 1 && stream->hidden.mem.stop - stream->hidden.mem.base >= 26)
        {
            memcpy(&image.w, stream->hidden.mem.base + 18, 4);
            memcpy(&image.h, stream->hidden.mem.base + 22, 4);
        }
        bool fails = (Sdl.imagesToFail >> imagesLoaded & 1) != 0;
        imagesLoaded += 1;
        RecordCall("SDL_LoadBMP_RW " + SizeName(image.w, image.h) +
                   (freeStream != 0 ? " free" : "") + (fails ? " fails" : ""));
        stream->type = freeStream != 0 ? 0 : stream->type;
        images.push_back(image);
        return fails ? nullptr : &images.back();
    }

    int SDL_SetColorKey(SDL_Surface* surface, Uint32 flag, Uint32 key)
    {
        RecordCall("SDL_SetColorKey " + SurfaceName(surface) + " " +
                   (flag == SDL_SRCCOLORKEY ? "SRCCOLORKEY" : std::to_string(flag)) + " " +
                   std::to_string(key));
        return surface == nullptr ? -1 : 0;
    }

    int SDL_UpperBlit(SDL_Surface* source, SDL_Rect* part, SDL_Surface* target, SDL_Rect* place)
    {
        RecordCall(
            "SDL_UpperBlit " + SurfaceName(source) +
            (part == nullptr ? "" : " " + RectangleName(*part)) + " to " + SurfaceName(target) +
            " " +
            (place == nullptr ? "0 0" : std::to_string(place->x) + " " + std::to_string(place->y)));
        if (source == nullptr || target == nullptr)
        {
            return -1;
        }
        if (place != nullptr)
        {
            // The area that the blit covered, as SDL tells it.
            place->w = static_cast<Uint16>(source->w);
            place->h = static_cast<Uint16>(source->h);
        }
        return 0;
    }

    int SDL_FillRect(SDL_Surface* target, SDL_Rect* rectangle, Uint32 colour)
    {
        RecordCall("SDL_FillRect " + SurfaceName(target) + " " +
                   (rectangle == nullptr ? "all" : RectangleName(*rectangle)) + " " +
                   std::to_string(colour));
        return 0;
    }

    void SDL_UpdateRects(SDL_Surface* target, int count, SDL_Rect* rectangles)
    {
        std::string call = "SDL_UpdateRects " + SurfaceName(target);
        for (int i = 0; i < count; ++i)
        {
            call += " " + RectangleName(rectangles[i]);
        }
        RecordCall(call);
    }

    Uint8 SDL_EventState(Uint8 type, int state)
    {
        RecordCall("SDL_EventState " +
                   (type == SDL_MOUSEMOTION ? "MOUSEMOTION" : std::to_string(type)) + " " +
                   (state == SDL_IGNORE ? "IGNORE" : std::to_string(state)));
        return SDL_ENABLE;
    }

    Uint8 SDL_GetMouseState(int* x, int* y)
    {
        ScriptedMouse mouse = {};
        if (!Sdl.mouse.empty())
        {
            mouse = Sdl.mouse[std::min(mouseLooks, Sdl.mouse.size() - 1)];
        }
        mouseLooks += 1;
        RecordCall("SDL_GetMouseState " + std::to_string(mouse.x) + " " + std::to_string(mouse.y) +
                   (mouse.left ? " left" : "") + (mouse.right ? " right" : ""));
        *x = mouse.x;
        *y = mouse.y;
        return static_cast<Uint8>((mouse.left ? SDL_BUTTON(SDL_BUTTON_LEFT) : 0) |
                                  (mouse.right ? SDL_BUTTON(SDL_BUTTON_RIGHT) : 0));
    }

    void SDL_Delay(Uint32 ms)
    {
        RecordCall("SDL_Delay " + std::to_string(ms));
    }

    void SDL_GL_SwapBuffers(void)
    {
        RecordCall("SDL_GL_SwapBuffers");
    }

    int SDL_ShowCursor(int toggle)
    {
        RecordCall("SDL_ShowCursor " + std::to_string(toggle));
        return SDL_ENABLE;
    }

    Uint32 SDL_GetTicks(void)
    {
        uint32_t ticks = NextTicks();
        RecordCall("SDL_GetTicks " + std::to_string(ticks));
        std::function<void()> meanwhile;
        meanwhile.swap(Sdl.duringTicks);
        if (meanwhile)
        {
            meanwhile();
        }
        return ticks;
    }

    Uint8* SDL_GetKeyState(int* count)
    {
        if (count != nullptr)
        {
            *count = static_cast<int>(std::size(keyState));
        }
        RecordCall("SDL_GetKeyState");
        return keyState;
    }

    int SDL_PollEvent(SDL_Event* event)
    {
        ScriptedPoll poll = {};
        if (pollsMade < Sdl.polls.size())
        {
            poll = Sdl.polls[pollsMade];
        }
        pollsMade += 1;

        keyState[SDLK_ESCAPE] = poll.escape ? 1 : 0;
        std::string found = poll.quit ? " QUIT" : poll.key ? " KEYDOWN" : "";
        RecordCall("SDL_PollEvent" + found);
        RunAudioBlocks(poll.blocks);
        if (poll.quit || poll.key)
        {
            event->type = poll.quit ? SDL_QUIT : SDL_KEYDOWN;
            return 1;
        }
        return 0;
    }

    int SDL_OpenAudio(SDL_AudioSpec* desired, SDL_AudioSpec* obtained)
    {
        RecordCall("SDL_OpenAudio " + std::to_string(desired->freq) + " " +
                   (desired->format == AUDIO_S16LSB ? "S16LSB" : std::to_string(desired->format)) +
                   " " + std::to_string(desired->channels) + " " +
                   std::to_string(desired->samples) +
                   (desired->userdata == nullptr ? "" : " userdata") +
                   (obtained == nullptr ? " no reply" : ""));
        if (Sdl.audioFails || Sdl.openAudioFails)
        {
            return -1;
        }
        audio = *desired;
        if (obtained != nullptr)
        {
            // A device that grants something else: nothing may depend on the reply.
            *obtained = *desired;
            obtained->freq = 22050;
            obtained->samples = 1024;
        }
        return 0;
    }

    void SDL_PauseAudio(int pause)
    {
        RecordCall("SDL_PauseAudio " + std::to_string(pause));
        if (pause == 0)
        {
            RunAudioBlocks(Sdl.blocksAtStart);
        }
    }

} // extern "C"
