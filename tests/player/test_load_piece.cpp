// SPDX-License-Identifier: MIT
#include "player/load_piece.h"

#include <gtest/gtest.h>

#include "player/played_piece.h"

/// Rows without clips.
static std::string Rows(uint32_t count)
{
    std::string rows;
    for (uint32_t i = 0; i < count; ++i)
    {
        rows += "<row/>";
    }
    return rows;
}

static PlayScript LoadingScript(std::vector<uint32_t> ticks)
{
    PlayScript script;
    script.choice.music = kSwitchOff;
    script.sdl.ticks = std::move(ticks);
    return script;
}

static ChildRun PlayPackage(const std::string& package, const PlayScript& script)
{
    TemporaryFolder folder;
    folder.Write("piece.dpk", package);
    return Play(folder, script);
}

/// The readings of the clock and the loading frames of a run, up to the start of the demo.
static std::string Progress(const ChildRun& run)
{
    std::string lines =
        LinesWith(run.record, {"SDL_GetTicks", "RenderFrame", "SDL_GL_SwapBuffers", "Clear"});
    const std::string opened = "SDL_GL_SwapBuffers\nSDL_GL_SwapBuffers\n";
    size_t begin = lines.find(opened) + opened.size();
    return lines.substr(begin, lines.find("RenderFrame demo.xmlz") - begin);
}

static std::string LoadingFrame(uint32_t time, const char* flags = "vbo 0 pbo 0 npot 0 dot3 1")
{
    return "RenderFrame loading.xmlz scene 7 time " + std::to_string(time) +
           " 1024x768 aspect 1.33333337 " + flags +
           "\n"
           "SDL_GL_SwapBuffers\n"
           "Clear COLOR_BUFFER_BIT|DEPTH_BUFFER_BIT\n";
}

TEST(LoadPiece, Of7ItemsTheThirdDrawsTime42AndTheLast100)
{
    DocumentSource demo = DemoSource();
    demo.sections[10] = Rows(7);
    // Each tick that draws reads the clock once more.
    PlayScript script =
        LoadingScript({1000, 1020, 1040, 1060, 1075, 1080, 1090, 1100, 1126, 1130, 2000});

    ChildRun run = PlayPackage(PieceOf(LoadingSource(), demo), script);

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(Progress(run), "SDL_GetTicks 1000\n" // before the document is read
                             "SDL_GetTicks 1020\n"
                             "SDL_GetTicks 1040\n"
                             "SDL_GetTicks 1060\n" +
                                 LoadingFrame(42) +
                                 "SDL_GetTicks 1075\n"
                                 "SDL_GetTicks 1080\n"
                                 "SDL_GetTicks 1090\n"
                                 "SDL_GetTicks 1100\n"
                                 "SDL_GetTicks 1126\n" +
                                 LoadingFrame(100) +
                                 "SDL_GetTicks 1130\n"
                                 "SDL_GetTicks 2000\n"); // the silent start
}

TEST(LoadPiece, ATickNeedsMoreThan50Milliseconds)
{
    DocumentSource demo = DemoSource();
    demo.sections[10] = Rows(2);

    ChildRun run = PlayPackage(PieceOf(LoadingSource(), demo), LoadingScript({0, 50, 51, 52, 53}));

    EXPECT_EQ(Progress(run), "SDL_GetTicks 0\n"
                             "SDL_GetTicks 50\n"
                             "SDL_GetTicks 51\n" +
                                 LoadingFrame(100) +
                                 "SDL_GetTicks 52\n"
                                 "SDL_GetTicks 53\n");
}

TEST(LoadPiece, QuickItemsShowAFrameOnce50MillisecondsBuiltUp)
{
    DocumentSource demo = DemoSource();
    demo.sections[10] = Rows(6);
    // 20 ms an item: the third and the sixth come more than 50 ms after the frame before.
    PlayScript script = LoadingScript({0, 20, 40, 60, 60, 80, 100, 120, 120, 130});

    ChildRun run = PlayPackage(PieceOf(LoadingSource(), demo), script);

    EXPECT_EQ(LinesWith(Progress(run), {"RenderFrame"}),
              "RenderFrame loading.xmlz scene 7 time 50 1024x768 aspect 1.33333337 vbo 0 pbo 0 "
              "npot 0 dot3 1\n"
              "RenderFrame loading.xmlz scene 7 time 100 1024x768 aspect 1.33333337 vbo 0 pbo 0 "
              "npot 0 dot3 1\n");
}

TEST(LoadPiece, NoTickRunsBeforeTheFirstItemIsFinished)
{
    // All of the first item's time and the document's own has passed when the clock is first asked.
    DocumentSource demo = DemoSource();
    demo.sections[10] = Rows(4);
    PlayScript script = LoadingScript({0, 10000, 10000, 10001});

    ChildRun run = PlayPackage(PieceOf(LoadingSource(), demo), script);

    EXPECT_EQ(LinesWith(run.record, {"SDL_GetTicks", "RenderFrame loading"}),
              "SDL_GetTicks 0\n"
              "SDL_GetTicks 10000\n"
              "RenderFrame loading.xmlz scene 7 time 25 1024x768 aspect 1.33333337 vbo 0 pbo 0 "
              "npot 0 dot3 1\n"
              "SDL_GetTicks 10000\n"
              "SDL_GetTicks 10001\n"
              "SDL_GetTicks 10001\n"
              "SDL_GetTicks 10001\n"
              "SDL_GetTicks 10001\n"); // the silent start
}

TEST(LoadPiece, TimeIsTakenBeforeTheEntryIsLookedUp)
{
    ChildRun run = PlayPackage(MakePackage({{"loading.xmlz", MakeDocument(LoadingSource())}}),
                               LoadingScript({5, 1000}));

    EXPECT_EQ(LinesWith(run.record, {"> End", "SDL_GetTicks"}),
              "SDL_GetTicks 5\n"
              "> End of object table reached!\n"
              "SDL_GetTicks 1000\n"); // the silent start
}

TEST(LoadPiece, TheTimeBetweenTicksWraps)
{
    ChildRun run = PlayPackage(PieceOf(LoadingSource(), DemoSource()),
                               LoadingScript({4294967280, 35, 40, 50})); // 51 ms apart

    EXPECT_EQ(Progress(run), "SDL_GetTicks 4294967280\n"
                             "SDL_GetTicks 35\n" +
                                 LoadingFrame(100) +
                                 "SDL_GetTicks 40\n"
                                 "SDL_GetTicks 50\n");
}

TEST(LoadPiece, ItemsOfAllSectionsAndChildrenOfTheMusicNodeCount)
{
    DocumentSource demo = DemoSource();
    std::string colour = "<c><v type=\"static\" value=\"1\"/><v type=\"static\" value=\"1\"/>"
                         "<v type=\"static\" value=\"1\"/></c>";
    demo.sections[4] = "<light>" + colour + colour + colour + "</light>";
    demo.sections[10] = Rows(2);
    demo.music = "<music><author/></music>";
    PlayScript script = LoadingScript({0, 100, 100, 200, 200, 300, 300, 400});

    ChildRun run = PlayPackage(PieceOf(LoadingSource(), demo), script);

    // Four in all; the music node's child is never done.
    EXPECT_EQ(Progress(run), "SDL_GetTicks 0\n"
                             "SDL_GetTicks 100\n" +
                                 LoadingFrame(25) +
                                 "SDL_GetTicks 100\n"
                                 "SDL_GetTicks 200\n" +
                                 LoadingFrame(50) +
                                 "SDL_GetTicks 200\n"
                                 "SDL_GetTicks 300\n" +
                                 LoadingFrame(75) +
                                 "SDL_GetTicks 300\n"
                                 "SDL_GetTicks 400\n");
}

TEST(LoadPiece, ARowPastThe32ndCountsAndIsNeverDone)
{
    DocumentSource demo = DemoSource();
    demo.sections[10] = Rows(33);
    std::vector<uint32_t> ticks(32, 0); // the start and 31 rows in no time
    ticks.push_back(100);               // the 32nd

    ChildRun run = PlayPackage(PieceOf(LoadingSource(), demo), LoadingScript(ticks));

    std::string progress = Progress(run);
    EXPECT_EQ(progress.substr(32 * std::string("SDL_GetTicks 0\n").size()),
              "SDL_GetTicks 100\n" + LoadingFrame(96) + "SDL_GetTicks 100\nSDL_GetTicks 100\n");
}

TEST(LoadPiece, TicksGetDot3AsItWasFoundAndNothingElse)
{
    PlayScript script = LoadingScript({0, 100});
    script.gl.textureEnvDot3 = false;

    ChildRun run = PlayPackage(PieceOf(LoadingSource(), DemoSource()), script);

    EXPECT_EQ(Progress(run), "SDL_GetTicks 0\n"
                             "SDL_GetTicks 100\n" +
                                 LoadingFrame(100, "vbo 0 pbo 0 npot 0 dot3 0") +
                                 "SDL_GetTicks 100\n"
                                 "SDL_GetTicks 100\n");
}

TEST(LoadPiece, TheLoadingDocumentIsReadWithoutTicks)
{
    DocumentSource loading = LoadingSource();
    loading.sections[10] += Rows(5);

    ChildRun run = PlayPackage(PieceOf(loading, DemoSource()), LoadingScript({0, 0, 1000}));

    EXPECT_EQ(Progress(run), "SDL_GetTicks 0\n"
                             "SDL_GetTicks 0\n"
                             "SDL_GetTicks 1000\n");
}

TEST(LoadPiece, ALoadingTimelineThatIsOverEndsNothing)
{
    DocumentSource loading = LoadingSource();
    loading.sections[10] = "<row/>"; // a frame of it draws no scene
    DocumentSource demo = DemoSource();
    demo.sections[10] = Rows(2);

    ChildRun run = PlayPackage(PieceOf(loading, demo), LoadingScript({0, 100, 100, 200}));

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(
        LinesWith(Progress(run), {"RenderFrame"}),
        "RenderFrame loading.xmlz scene 0 time 50 1024x768 aspect 1.33333337 vbo 0 pbo 0 npot "
        "0 dot3 1\n"
        "RenderFrame loading.xmlz scene 0 time 100 1024x768 aspect 1.33333337 vbo 0 pbo 0 "
        "npot 0 dot3 1\n");
}

TEST(LoadPiece, AFaultInATickIsTheLoadingDocuments)
{
    DocumentSource demo = DemoSource();
    demo.sections[10] = Rows(2);
    PlayScript script = LoadingScript({0, 0, 100});
    script.faultyFrames = "loading.xmlz";

    ChildRun run = PlayPackage(PieceOf(LoadingSource(), demo), script);

    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(
        LinesWith(run.record, {"! ", "RenderFrame"}),
        "RenderFrame loading.xmlz scene 7 time 100 1024x768 aspect 1.33333337 vbo 0 pbo 0 npot "
        "0 dot3 1\n"
        "! quorvale: loading.xmlz: a frame is at fault\n");
}

TEST(LoadPiece, AFaultBehindATickIsTheDemosOwn)
{
    DocumentSource demo = DemoSource();
    demo.sections[10] = "<row/><row><clip/></row>";

    ChildRun run = PlayPackage(PieceOf(LoadingSource(), demo), LoadingScript({0, 100}));

    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(
        LinesWith(run.record, {"! ", "RenderFrame"}),
        "RenderFrame loading.xmlz scene 7 time 50 1024x768 aspect 1.33333337 vbo 0 pbo 0 npot "
        "0 dot3 1\n"
        "! quorvale: demo.xmlz, section 10 (timeline), row 2, clip 1: attribute \"id\" of "
        "<clip> is missing\n");
    EXPECT_EQ(run.record.substr(run.record.size() - 9), "SDL_Quit\n");
}

/// One of everything that a document brings to OpenGL, and two textures of two layers.
static DocumentSource SourceWithPixels()
{
    DocumentSource source = DemoSource();
    source.sections[0] = "<l type=\"0\"><p>1</p></l><l type=\"0\"><p>0</p></l>";
    source.sections[1] =
        "<t><layer type=\"101\" id=\"1\"/></t><t><layer type=\"101\" id=\"0\"/></t>";
    source.sections[2] = "<m filename=\"triangle\"/>";
    source.sections[5] = "<e name=\"\" type=\"3\" resolution=\"64x64\" bpp=\"8\"><p>0</p></e>";
    source.sections[6] = "<b filename=\"a.tga\"/>";
    return source;
}

static std::string Level(int level, int components, int side, const char* format,
                         const char* pixels)
{
    std::string size = std::to_string(side);
    return "TexImage2D TEXTURE_2D " + std::to_string(level) + " " + std::to_string(components) +
           " " + size + " " + size + " 0 " + format + " UNSIGNED_BYTE " + pixels + "\n";
}

static std::string Filters(const char* minification)
{
    return std::string("TexParameteri TEXTURE_2D TEXTURE_MAG_FILTER LINEAR\n") +
           "TexParameteri TEXTURE_2D TEXTURE_MIN_FILTER " + minification + "\n";
}

/// A new texture and its level 0.
static std::string NewTexture(int name, const std::string& level)
{
    std::string text = std::to_string(name) + "\n";
    return "GenTextures 1 " + text + "BindTexture TEXTURE_2D " + text + level;
}

/// A procedural texture of the demo.
static std::string MippedTexture(int name)
{
    std::string calls = NewTexture(name, Level(0, 3, 256, "RGB", "?"));
    calls += Filters("LINEAR_MIPMAP_LINEAR");
    for (int level = 1; level <= 8; ++level)
    {
        calls += Level(level, 3, 256 >> level, "RGB", "?");
    }
    return calls;
}

/// An image file of 2x2 pixels, the same in both documents.
static std::string Bitmap(int name)
{
    return NewTexture(name, Level(0, 3, 2, "RGB", "?")) + Filters("LINEAR_MIPMAP_LINEAR") +
           Level(1, 3, 1, "RGB", "?");
}

TEST(LoadPiece, OnlyTheDemoGetsBuffersMipChainsAndUnpackBuffers)
{
    // An uncompressed TGA file of 2x2 pixels in three colors.
    std::string image = {0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 0, 2, 0, 24, 0x20};
    image.append(2 * 2 * 3, '\x40');
    ModelSource model = {std::vector<float>(9, 1.0f),
                         {std::vector<float>(6, 1.0f)},
                         std::vector<float>(9, 1.0f),
                         {0, 1, 2}};
    std::string package = MakePackage({{"loading.xmlz", MakeDocument(SourceWithPixels())},
                                       {"demo.xmlz", MakeDocument(SourceWithPixels())},
                                       {"triangle", MakeModel(model)},
                                       {"a.tga", image}});
    PlayScript script = LoadingScript({});

    ChildRun run = PlayPackage(package, script);

    EXPECT_EQ(run.exitCode, 0);
    const std::string flat = Level(0, 3, 256, "RGB", "?") + Filters("LINEAR");
    const std::string buffers = "GenBuffers 1 1\n"
                                "BindBuffer ARRAY_BUFFER 1\n"
                                "BufferData ARRAY_BUFFER 36 ? STATIC_DRAW\n"
                                "GenBuffers 1 2\n"
                                "BindBuffer ARRAY_BUFFER 2\n"
                                "BufferData ARRAY_BUFFER 24 ? STATIC_DRAW\n"
                                "GenBuffers 1 3\n"
                                "BindBuffer ARRAY_BUFFER 3\n"
                                "BufferData ARRAY_BUFFER 36 ? STATIC_DRAW\n"
                                "GenBuffers 1 4\n"
                                "BindBuffer ELEMENT_ARRAY_BUFFER 4\n"
                                "BufferData ELEMENT_ARRAY_BUFFER 12 ? STATIC_DRAW\n"
                                "BindBuffer ARRAY_BUFFER 0\n"
                                "BindBuffer ELEMENT_ARRAY_BUFFER 0\n";
    EXPECT_EQ(LinesWith(run.record,
                        {"Gen", "Bind", "Buffer", "Map", "Unmap", "TexImage2D", "TexParameteri"}),
              NewTexture(1, flat) + NewTexture(2, flat) + // and no buffers for the model
                  NewTexture(3, Level(0, 1, 64, "LUMINANCE", "?")) + Filters("LINEAR") + Bitmap(4) +
                  MippedTexture(5) + MippedTexture(6) + buffers +
                  "GenTextures 1 7\n"
                  "GenBuffers 1 5\n"
                  "BindBuffer PIXEL_UNPACK_BUFFER 5\n"
                  "BufferData PIXEL_UNPACK_BUFFER 4096 0 STREAM_DRAW\n"
                  "MapBuffer PIXEL_UNPACK_BUFFER WRITE_ONLY\n"
                  "UnmapBuffer PIXEL_UNPACK_BUFFER\n"
                  "BindTexture TEXTURE_2D 7\n" +
                  Level(0, 1, 64, "LUMINANCE", "0") + Filters("LINEAR") +
                  "BindBuffer PIXEL_UNPACK_BUFFER 0\n" + Bitmap(8));
}

TEST(LoadPiece, EachSectionHasItsReader)
{
    // An item of which the reader misses something of its own.
    const struct
    {
        size_t section;
        const char* item;
        const char* fault;
    } cases[] = {
        {0, "<x/>", "section 0 (layers), item 1: "},
        {1, "<x><y/></x>", "section 1 (procedural textures), item 1, step 1: "},
        {2, "<x/>", "section 2 (models), item 1: attribute \"filename\" of <x> is missing"},
        {3, "<x/>", "section 3 (envelopes), item 1: "},
        {4, "<x/>", "section 4 (lights), item 1: "},
        {5, "<x/>", "section 5 (2D effects), item 1: "},
        {6, "<x/>", "section 6 (bitmaps), item 1: "},
        {7, "<x/>", "section 7 (materials), item 1: "},
        {8, "<x/>", "section 8 (generated meshes), item 1: "},
        {9, "<x><y/></x>", "section 9 (scenes), item 1, object 1: "},
        {10, "<x><y/></x>", "section 10 (timeline), row 1, clip 1: "},
        {10, "", "section 10 (timeline): the timeline has no row"},
    };
    for (const auto& c : cases)
    {
        DocumentSource demo = DemoSource();
        demo.sections[c.section] = c.item;

        ChildRun run = PlayPackage(PieceOf(LoadingSource(), demo), LoadingScript({}));

        EXPECT_EQ(run.exitCode, 1);
        std::string begin = "! quorvale: demo.xmlz, ";
        begin += c.fault;
        EXPECT_EQ(LinesWith(run.record, {"! "}).substr(0, begin.size()), begin);
    }
}

TEST(LoadPiece, WithoutADemoTheMusicIsTheLoadingDocuments)
{
    DocumentSource loading = LoadingSource();
    loading.music = "<music file=\"b.xm\"/>";
    TemporaryFolder folder;
    folder.Write("piece.dpk", MakePackage({{"loading.xmlz", MakeDocument(loading)}}));
    folder.Write("b.xm", MakeModuleHead("loading's"));

    ChildRun run = Play(folder, PlayScript());

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(LinesWith(run.record, {"> End", "> B", "ModPlug_Load", "RenderFrame", "SDL_Quit"}),
              "> End of object table reached!\n"
              "ModPlug_Load 9 \"loading's\"\n"
              "RenderFrame demo.xmlz scene 0 time 0 1024x768 aspect 1.33333337 vbo 1 pbo 1 npot 1 "
              "dot3 1 no tables\n"
              "> Benchmark result: -nan fps\n"
              "> Bye!\n"
              "SDL_Quit\n");
}

TEST(LoadPiece, WithoutALoadingDocumentThePiecePlays)
{
    PlayScript script = LoadingScript({0, 100, 100, 200, 210});
    script.demoFrames = 1;

    ChildRun run = PlayPackage(MakePackage({{"demo.xmlz", MakeDocument(DemoSource())}}), script);

    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(LinesWith(run.record, {"> End", "> B", "RenderFrame"}),
              "> End of object table reached!\n"
              "RenderFrame loading.xmlz scene 0 time 100 1024x768 aspect 1.33333337 vbo 0 pbo 0 "
              "npot 0 dot3 1 no tables\n"
              "RenderFrame demo.xmlz scene 8 time 0 1024x768 aspect 1.33333337 vbo 1 pbo 1 npot 1 "
              "dot3 1\n"
              "RenderFrame demo.xmlz scene 8 time 1 1024x768 aspect 1.33333337 vbo 1 pbo 1 npot 1 "
              "dot3 1\n"
              "> Benchmark result: 100.00 fps\n"
              "> Bye!\n");
}

/// @param demo   the container of demo.xmlz
static std::string PackageWith(const std::string& demo)
{
    return MakePackage({{"loading.xmlz", MakeDocument(LoadingSource())}, {"demo.xmlz", demo}});
}

TEST(LoadPiece, DamageAfterAllThatIsNeededIsNotSeen)
{
    const ChildRun whole = PlayPackage(PieceOf(LoadingSource(), DemoSource()), LoadingScript({}));
    EXPECT_EQ(whole.exitCode, 0);

    std::string demo = MakeDocument(DemoSource());
    demo.back() = static_cast<char>(demo.back() ^ 1); // of the stream's checksum
    EXPECT_EQ(PlayPackage(PackageWith(demo), LoadingScript({})).record, whole.record);

    demo = MakeContainer(MakeDocumentText(DemoSource()) + "<less");
    EXPECT_EQ(PlayPackage(PackageWith(demo), LoadingScript({})).record, whole.record);
}

TEST(LoadPiece, OfADocumentOfLength0AllSectionsAreMissing)
{
    for (const std::string& demo : {MakeContainer(""), std::string(4, '\0'), std::string()})
    {
        const ChildRun run = PlayPackage(PackageWith(demo), LoadingScript({}));
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(LinesWith(run.record, {"! "}),
                  "! quorvale: demo.xmlz, section 0 (layers): the section is missing: a document "
                  "has 11 of them\n");
    }
}

TEST(LoadPiece, WithoutAnyDocumentMusicIsAFault)
{
    ChildRun silent = PlayPackage(MakePackage({}), LoadingScript({}));
    EXPECT_EQ(silent.exitCode, 0);
    EXPECT_EQ(LinesWith(silent.record, {"> End", "> B"}), "> End of object table reached!\n"
                                                          "> End of object table reached!\n"
                                                          "> Benchmark result: -nan fps\n"
                                                          "> Bye!\n");

    ChildRun music = PlayPackage(MakePackage({}), PlayScript());
    EXPECT_EQ(music.exitCode, 1);
    EXPECT_EQ(LinesWith(music.record, {"> End", "! "}),
              "> End of object table reached!\n"
              "> End of object table reached!\n"
              "! quorvale: loading.xmlz, music node: the node is missing\n");
}
