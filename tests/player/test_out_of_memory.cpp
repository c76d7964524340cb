#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <new>

#include "player/played_piece.h"

static size_t bytesLeft = std::numeric_limits<size_t>::max();

// All of the program's `new`, TinyXML's in its own library included, with an end to its memory. It
// asks the handler as the standard library's does.
void* operator new(size_t size)
{
    void* block = nullptr;
    while (size > bytesLeft || (block = malloc(size)) == nullptr)
    {
        bytesLeft = std::numeric_limits<size_t>::max(); // the handler's own words need some
        std::new_handler handler = std::get_new_handler();
        if (handler == nullptr)
        {
            fprintf(stderr, "new: no memory, and nobody to tell\n");
            abort();
        }
        handler();
    }
    bytesLeft -= size;
    return block;
}

void operator delete(void* block) noexcept
{
    free(block);
}

void operator delete(void* block, size_t /*size*/) noexcept
{
    free(block);
}

/// Plays a piece without music whose demo has these rows, with so much memory for `new`.
static ChildRun PlayWithin(size_t bytes, const std::string& rows)
{
    DocumentSource demo = DemoSource();
    demo.sections[10] = rows;
    TemporaryFolder folder;
    folder.Write("piece.dpk", PieceOf(LoadingSource(), demo));
    PlayScript script;
    script.choice.music = kSwitchOff;
    script.sdl.error = "";

    size_t before = bytesLeft;
    bytesLeft = bytes;
    ChildRun run = Play(folder, script);
    bytesLeft = before;
    return run;
}

static const std::string kEnd = "SDL_GetTicks 0\n"
                                "! quorvale: out of memory\n"
                                "SDL_Quit\n";

TEST(OutOfMemory, AStringThatFindsNoneEndsTheProgramWithTheDisplayGivenBack)
{
    // A document of one long comment: its text is reserved in one piece.
    std::string rows = "<row/><!--" + std::string(1 << 20, 'x') + "-->";

    ChildRun run = PlayWithin(1 << 20, rows);

    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.record.substr(run.record.size() - kEnd.size()), kEnd);
}

TEST(OutOfMemory, ATreeThatFindsNoneEndsTheProgramWithTheDisplayGivenBack)
{
    // Text of 80 kB that becomes ten thousand nodes of more than 100 bytes each.
    std::string rows;
    for (int i = 0; i < 10000; ++i)
    {
        rows += "<row/>\n\n";
    }

    ChildRun run = PlayWithin(500000, rows);

    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.record.substr(run.record.size() - kEnd.size()), kEnd);
}

TEST(OutOfMemory, WithEnoughOfItBothPiecesPlay)
{
    EXPECT_EQ(PlayWithin(100 << 20, "<row/>").exitCode, 0);
}
