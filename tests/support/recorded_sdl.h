// SPDX-License-Identifier: MIT

// An SDL without a screen, a sound device or a clock: every SDL function that the player calls is
// here, does what a script says and writes its call into the record of recorded_gl, so that calls
// of OpenGL, SDL and libmodplug stand in one order.
//
//   SDL_Init(SDL_INIT_AUDIO)                           SDL_Init AUDIO
//   SDL_GL_SetAttribute(SDL_GL_DEPTH_SIZE, 24)         SDL_GL_SetAttribute DEPTH_SIZE 24
//   SDL_SetVideoMode(640, 480, 24, SDL_OPENGL)         SDL_SetVideoMode 640 480 24 OPENGL
//   SDL_GetTicks() that returns 1000                   SDL_GetTicks 1000
//   SDL_PollEvent(&event) that finds SDL_QUIT          SDL_PollEvent QUIT
//   SDL_OpenAudio(&wish, &reply)                       SDL_OpenAudio 44100 S16LSB 2 8192
//   SDL_LoadBMP_RW(stream, 1) of a 61x22 image         SDL_LoadBMP_RW 61x22 free
//   SDL_UpperBlit(image, nullptr, window, &place)      SDL_UpperBlit 61x22 to window 194 17
//   SDL_FillRect(window, nullptr, 0)                   SDL_FillRect window all 0
//   SDL_UpdateRects(window, 1, &rectangle)             SDL_UpdateRects window [0 0 313 384]
//   SDL_GetMouseState(&x, &y) with the left button     SDL_GetMouseState 70 30 left
//
// Surfaces are named by their size, but for the window. An image has no pixels: of its file only
// the size is read.
//
// The flags of SDL_SetVideoMode come in the order HWSURFACE, ASYNCBLIT, OPENGL, FULLSCREEN.
//
// An audio block is a run of the callback on the calling thread. It is written down as
// "AudioBlock 32768", then the calls of the callback, then what became of the block, which held
// 0xEE in every byte: "AudioBlock untouched", "AudioBlock silent" (all 0), "AudioBlock filled", or
// "AudioBlock filled to 7232" if 0xEE stands from there to its end.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// The answer of one SDL_PollEvent.
struct ScriptedPoll
{
    uint32_t blocks; // audio blocks that the device asks for before the call returns
    bool escape;     // the Escape entry of the key state from this call on
    bool quit;       // the call returns SDL_QUIT; otherwise no event
    bool key;        // the call returns SDL_KEYDOWN
};

/// The answer of one SDL_GetMouseState.
struct ScriptedMouse
{
    int x; // in the window
    int y;
    bool left; // buttons, whether they are down
    bool right;
};

struct SdlScript
{
    bool videoFails;     // SDL_Init(SDL_INIT_VIDEO)
    bool audioFails;     // SDL_Init(SDL_INIT_AUDIO) and SDL_OpenAudio
    bool openAudioFails; // SDL_OpenAudio alone
    bool windowFails;    // SDL_SetVideoMode
    std::string error;   // text of SDL_GetError

    std::vector<uint32_t> ticks;      // ms; one a call of SDL_GetTicks, the last one stays
    std::vector<ScriptedPoll> polls;  // one a call of SDL_PollEvent, behind them nothing happens
    std::vector<ScriptedMouse> mouse; // one a call of SDL_GetMouseState, the last one stays
    uint32_t imagesToFail;            // bit i: the i-th SDL_LoadBMP_RW gives null
    uint32_t blocksAtStart;           // audio blocks that SDL_PauseAudio(0) lets through at once
    uint32_t blockBytes;              // length of a block; 0 for 32768

    /// Runs once, inside the next SDL_GetTicks, when that has its reading: what another thread does
    /// in the meantime. May be empty.
    std::function<void()> duringTicks;
};

/// The script in force. A test writes it before it runs what it tests.
extern SdlScript Sdl;

/// Back to an empty script, of which nothing has been played.
void ResetSdl();
