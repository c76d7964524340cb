// SPDX-License-Identifier: MIT

// Loaded before SDL, for play-with-sdl-layer: a clock that goes on by frames alone, so that a piece
// shows the same frames each time, however long they take to draw.
//
// STEPPED_CLOCK_MOMENTS has the moments to be looked at, in ticks of 10 ms, with blanks between
// them and the first of them after tick 20. Six frames, 4 ticks apart, lead to each; when the frame
// of a moment is on the screen, the process stops itself by SIGSTOP, and SIGCONT lets it go on to
// the next. After the last moment its clock stands still.
#include <SDL.h>
#include <csignal>
#include <cstdlib>
#include <dlfcn.h>
#include <vector>

static constexpr uint32_t kLead = 5; // frames before that of a moment
static constexpr uint32_t kStep = 4; // ticks from frame to frame
static constexpr uint32_t kMsPerTick = 10;

/// The new window is cleared by so many swaps. The next one shows the piece's first frame: the
/// loading screen has no frame while the clock stands still.
static constexpr uint32_t kClearingSwaps = 2;

struct Frame
{
    uint32_t tick;
    bool isMoment;
};

struct SteppedClock
{
    std::vector<Frame> frames; // that the piece shows, after its first one at tick 0
    size_t next;               // of them
    uint32_t now;              // ms
    uint32_t swaps;            // so far
    bool isMoment;             // the frame that is drawn now is one to be looked at
};

static SteppedClock MakeClock()
{
    SteppedClock clock = {};
    const char* moments = getenv("STEPPED_CLOCK_MOMENTS");
    char* rest = nullptr;
    for (const char* at = moments; at != nullptr; at = rest)
    {
        const uint32_t moment = static_cast<uint32_t>(strtoul(at, &rest, 10));
        if (rest == at)
        {
            break;
        }
        for (uint32_t i = kLead; i > 0; --i)
        {
            clock.frames.push_back({moment - i * kStep, false});
        }
        clock.frames.push_back({moment, true});
    }
    return clock;
}

static SteppedClock& Clock()
{
    static SteppedClock clock = MakeClock();
    return clock;
}

template <typename Routine>
static Routine* SdlsOwn(const char* name)
{
    return reinterpret_cast<Routine*>(dlsym(RTLD_NEXT, name));
}

extern "C"
{
    [[gnu::visibility("default")]] Uint32 SDL_GetTicks()
    {
        return Clock().now;
    }

    [[gnu::visibility("default")]] void SDL_GL_SwapBuffers()
    {
        SdlsOwn<void()>("SDL_GL_SwapBuffers")();
        SteppedClock& clock = Clock();
        if (clock.isMoment)
        {
            // The picture may wait in the buffer of the connection to the screen; this sends it.
            SdlsOwn<void()>("SDL_PumpEvents")();
            clock.isMoment = false;
            raise(SIGSTOP);
        }
        clock.swaps += 1;
        if (clock.swaps > kClearingSwaps && clock.next < clock.frames.size())
        {
            clock.now = clock.frames[clock.next].tick * kMsPerTick;
            clock.isMoment = clock.frames[clock.next].isMoment;
            clock.next += 1;
        }
    }
}
