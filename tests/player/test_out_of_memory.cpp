// SPDX-License-Identifier: MIT
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>

#include "player/played_piece.h"

static size_t bytesLeft = std::numeric_limits<size_t>::max();

// The program's malloc and aligned_alloc, those behind `new` included, with an end to its memory:
// the first block past it fails, and then there is plenty again, for the words that tell it.
extern "C" void* RealMalloc(size_t size) asm("__real_malloc");
extern "C" void* WrappedMalloc(size_t size) asm("__wrap_malloc");
extern "C" void* RealAlignedAlloc(size_t alignment, size_t size) asm("__real_aligned_alloc");
extern "C" void* WrappedAlignedAlloc(size_t alignment, size_t size) asm("__wrap_aligned_alloc");

/// @return false for the block that is too much
static bool TakeBytes(size_t size)
{
    if (size > bytesLeft)
    {
        bytesLeft = std::numeric_limits<size_t>::max();
        return false;
    }
    bytesLeft -= bytesLeft == std::numeric_limits<size_t>::max() ? 0 : size;
    return true;
}

extern "C" void* WrappedMalloc(size_t size)
{
    return TakeBytes(size) ? RealMalloc(size) : nullptr;
}

extern "C" void* WrappedAlignedAlloc(size_t alignment, size_t size)
{
    return TakeBytes(size) ? RealAlignedAlloc(alignment, size) : nullptr;
}

/// Plays a piece without music whose demo has these rows, with so much memory.
static ChildRun PlayWithin(size_t bytes, const std::string& rows)
{
    DocumentSource demo = DemoSource();
    demo.sections[10] = rows;
    TemporaryFolder folder;
    folder.Write("piece.dpk", PieceOf(LoadingSource(), demo));
    PlayScript script;
    script.choice.music = kSwitchOff;
    script.sdl.error = "";

    const size_t before = bytesLeft;
    bytesLeft = bytes;
    ChildRun run = Play(folder, script);
    bytesLeft = before;
    return run;
}

/// Of a run that found no memory for the demo: one line, then the display is given back.
static void ExpectEnd(const ChildRun& run, const std::string& line)
{
    EXPECT_EQ(run.exitCode, 1);
    const size_t end = run.record.find("SDL_GetTicks 0\n");
    ASSERT_NE(end, std::string::npos);
    EXPECT_EQ(run.record.substr(end), "SDL_GetTicks 0\n"
                                      "! quorvale: demo.xmlz: " +
                                          line + "\nSDL_Quit\n");
}

TEST(OutOfMemory, ATextThatFindsNoneEndsTheProgram)
{
    // A document of one long comment: its text is one block.
    ExpectEnd(PlayWithin(9 << 20, "<row/><!--" + std::string(12 << 20, 'x') + "-->"),
              "no memory for a text (12583088 bytes)");
}

TEST(OutOfMemory, ATreeThatFindsNoneEndsTheProgram)
{
    // Text of 800 kB that becomes a hundred thousand nodes of more than 100 bytes each.
    std::string rows;
    for (int i = 0; i < 100000; ++i)
    {
        rows += "<row/>\n\n";
    }
    ExpectEnd(PlayWithin(14 << 20, rows), "no memory for the tree of a text");
}

TEST(OutOfMemory, WithEnoughOfItBothPiecesPlay)
{
    EXPECT_EQ(PlayWithin(100 << 20, "<row/>").exitCode, 0);
}
