// SPDX-License-Identifier: MIT

// The program itself, on a screen that nobody sees: what it prints, shows and plays, and how it
// ends.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <libmodplug/modplug.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "support/launcher_pointer.h"
#include "support/package_builder.h"
#include "support/player_process.h"
#include "support/tone_module.h"
#include "support/virtual_screen.h"

static const std::string kTitle = "Quorvale Engine v0.232";

/// All that is printed up to the start of the loading.
static const std::string kStart = kTitle + "\n"
                                           "Found piece.dpk.\n"
                                           "Starting the demo.\n"
                                           "========================================\n"
                                           "VBO support detected.\n"
                                           "PBO support detected.\n"
                                           "NPOT texture support detected.\n"
                                           "DOT3 bump mapping support detected.\n"
                                           "========================================\n";

static constexpr size_t kBlockBytes = 32768; // of sound, what SDL asks for at a time

static constexpr int32_t kShrink = 4; // 1024x768 becomes 256x192

// Renderers may differ in edges, by the sampling, and in the last bits of a shade.
static constexpr double kMeanTolerance = 2.0;     // of 255
static constexpr double kOutlierTolerance = 0.01; // share of pixels

static std::string Value(const std::string& value)
{
    return "<v type=\"static\" value=\"" + value + "\"/>";
}

static std::string ColourMaterial(const std::string& red, const std::string& green,
                                  const std::string& blue, const std::string& alpha)
{
    std::string material = "<material type=\"0\">";
    for (const std::string& value : {red, green, blue, alpha})
    {
        material += "<p type=\"static\" value=\"" + value + "\"/>";
    }
    return material + "</material>";
}

/// The unit square with a material.
static std::string Square(int material, const std::string& x, const std::string& y,
                          const std::string& width, const std::string& height,
                          const std::string& rotationZ = "0")
{
    std::string object = "<object type=\"0\" object=\"1\" material=\"";
    object += std::to_string(material) + "\">" + Value(x);
    object += Value(y) + Value("0") + Value("0") + Value("0") + Value(rotationZ);
    object += Value(width) + Value(height) + Value("1");
    return object + "<visible value=\"0\"/><shift value=\"0\"/></object>";
}

/// A clip on the unit square of the window, or in perspective, looking 40 degrees to the side.
static std::string Clip(int scene, uint32_t length, bool perspective = false)
{
    std::string clip = "<clip id=\"" + std::to_string(scene);
    clip += "\" space_before=\"0\" offset=\"0\" type=\"3\" length=\"" + std::to_string(length);
    clip += "\">";
    if (perspective)
    {
        clip += Value("0.9") + Value("-0.5") + Value("-2") + Value("0") + Value("40") + Value("0");
        clip += "<fov type=\"static\" value=\"60\"/>";
    }
    else
    {
        for (int i = 0; i < 6; ++i)
        {
            clip += Value("0");
        }
        clip += "<fov type=\"ortographic\"/>";
    }
    return clip + "<fog type=\"0\"/></clip>";
}

static std::string Row(const std::string& clips)
{
    return "<row>" + clips + "</row>";
}

static std::string SquareModel()
{
    return MakeModel({.vertices = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0},
                      .texCoords = {{0, 0, 1, 0, 1, 1, 0, 1}},
                      .normals = {0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1},
                      .indices = {0, 1, 2, 0, 2, 3}});
}

/// A blue bar across the window.
static DocumentSource LoadingSource()
{
    DocumentSource source;
    source.sections[2] = "<model filename=\"square\"/>";
    source.sections[7] = ColourMaterial("0.1", "0.2", "0.9", "1");
    source.sections[9] = "<scene>" + Square(1, "0.1", "0.45", "0.8", "0.1") + "</scene>";
    source.sections[10] = Row(Clip(1, 100));
    source.music = "<music/>";
    return source;
}

/// Two colours side by side, a tilted square that shines through, and one in perspective.
/// @param length   ticks of the piece
static DocumentSource DemoSource(uint32_t length)
{
    DocumentSource source;
    source.sections[2] = "<model filename=\"square\"/>";
    source.sections[7] =
        ColourMaterial("0.8", "0.2", "0.1", "1") + ColourMaterial("0.1", "0.6", "0.3", "1") +
        ColourMaterial("1", "1", "1", "0.5") + ColourMaterial("0.9", "0.8", "0.2", "1");
    source.sections[9] = "<scene>" + Square(1, "0", "0", "0.5", "1") +
                         Square(2, "0.5", "0", "0.5", "1") +
                         Square(3, "0.3", "0.1", "0.3", "0.3", "20") + "</scene>" + "<scene>" +
                         Square(4, "0", "0", "1", "1") + "</scene>";
    source.sections[10] = Row(Clip(1, length)) + Row(Clip(2, length, true));
    source.music = "<music file=\"tone.xm\"/>";
    return source;
}

static std::string PieceOf(const DocumentSource& loading, const DocumentSource& demo)
{
    return MakePackage({{"loading.xmlz", MakeDocument(loading)},
                        {"demo.xmlz", MakeDocument(demo)},
                        {"square", SquareModel()}});
}

/// The bytes that the sound device gets for a module: blocks as SDL asks for them, under the
/// player's settings.
static std::string RenderModule(const std::string& module, size_t bytes)
{
    ModPlugFile* file = ModPlug_Load(module.data(), static_cast<int>(module.size()));
    ModPlug_SetMasterVolume(file, 512);
    ModPlug_Settings settings;
    ModPlug_GetSettings(&settings);
    settings.mFlags |= MODPLUG_ENABLE_OVERSAMPLING | MODPLUG_ENABLE_REVERB;
    settings.mResamplingMode = MODPLUG_RESAMPLE_FIR;
    settings.mReverbDepth = 20;
    ModPlug_SetSettings(&settings);

    std::string sound(bytes, '\0');
    for (size_t at = 0; at + kBlockBytes <= bytes; at += kBlockBytes)
    {
        ModPlug_Read(file, sound.data() + at, static_cast<int>(kBlockBytes));
    }
    ModPlug_Unload(file);
    return sound;
}

/// The largest sample of some sound, either way from 0.
static int LoudestSample(const std::string& sound)
{
    int loudest = 0;
    for (size_t at = 0; at + 1 < sound.size(); at += 2)
    {
        int16_t sample = 0;
        memcpy(&sample, sound.data() + at, sizeof(sample));
        loudest = std::max(loudest, abs(sample));
    }
    return loudest;
}

/// Reads a pipe until its other end is closed.
static std::string ReadToTheEnd(const std::string& path)
{
    std::string bytes;
    const int file = open(path.c_str(), O_RDONLY);
    char block[4096];
    for (ssize_t got = 0; (got = read(file, block, sizeof(block))) > 0;)
    {
        bytes.append(block, static_cast<size_t>(got));
    }
    close(file);
    return bytes;
}

static bool EndsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

/// A piece that plays for ten minutes unless something ends it.
class RealPlayer : public testing::Test
{
  protected:
    RealPlayer() : screen(1024, 768)
    {
        folder.Write("piece.dpk", PieceOf(LoadingSource(), DemoSource(60000)));
        folder.Write("tone.xm", MakeToneModule(8));
        setting.program = PLAYER;
        setting.folder = folder.path;
        setting.display = screen.name;
        // Writes what would be heard to a file, in the pace of the sound.
        setting.environment = {{"SDL_AUDIODRIVER", "disk"},
                               {"SDL_DISKAUDIODELAY", "186"},
                               {"SDL_DISKAUDIOFILE", "sound"}};
    }

    /// Waits until the screen shows a committed picture; if it never does, the picture that it
    /// shows instead is left beside the test program.
    void ExpectPicture(const std::string& name)
    {
        Picture expected = ReadPicture(std::string(PICTURES) + "/" + name + ".png");
        ASSERT_FALSE(expected.rgb.empty()) << name << " is not there";
        PictureDistance distance = {};
        bool seen = WaitUntil(
            [&]()
            {
                distance = ComparePictures(ShrinkPicture(CaptureScreen(screen), kShrink), expected);
                return distance.sameSize && distance.mean <= kMeanTolerance &&
                       distance.outliers <= kOutlierTolerance;
            });
        EXPECT_TRUE(seen) << name << " was never shown: off by " << distance.mean
                          << " in the mean, outliers " << distance.outliers;
        if (!seen)
        {
            WritePicture(name + "-seen.png", ShrinkPicture(CaptureScreen(screen), kShrink));
        }
    }

    TemporaryFolder folder;
    VirtualScreen screen;
    PlayerSetting setting;
};

TEST_F(RealPlayer, AShortPieceIsPlayedToItsEndWithItsMusic)
{
    folder.Write("piece.dpk", PieceOf(LoadingSource(), DemoSource(200)));

    PlayerProcess player(setting);
    ASSERT_TRUE(ClickStart(screen));
    ASSERT_TRUE(WaitForEnd(&player));

    EXPECT_EQ(player.exitCode, 0);
    std::string output = StandardOutput(player);
    float rate = 0.0f;
    char rest = 0;
    ASSERT_EQ(output.substr(0, kStart.size()), kStart);
    ASSERT_EQ(
        sscanf(output.c_str() + kStart.size(), "Benchmark result: %f fps\nBye!%c", &rate, &rest), 2)
        << output;
    EXPECT_EQ(rest, '\n');
    EXPECT_TRUE(EndsWith(output, " fps\nBye!\n"));
    EXPECT_GT(rate, 0.0f);

    // The device gives silence until it is let go. From there on each byte is the module's, and
    // after its end there is silence again.
    std::string sound = folder.Read("sound");
    size_t begin = 0;
    while (begin < sound.size() && LoudestSample(sound.substr(begin, kBlockBytes)) == 0)
    {
        begin += kBlockBytes;
    }
    std::string heard = sound.substr(std::min(begin, sound.size()));
    ASSERT_GE(heard.size(), 2 * kBlockBytes);
    EXPECT_TRUE(heard == RenderModule(MakeToneModule(8), heard.size()));
}

TEST_F(RealPlayer, TheDemoIsShownInTheWholeWindowUntilEscape)
{
    PlayerProcess player(setting);
    ASSERT_TRUE(ClickStart(screen));
    ExpectPicture("demo");
    EXPECT_EQ(StandardOutput(player), kStart); // each line is out as soon as it is printed

    PressKey(screen, "Escape");
    ASSERT_TRUE(WaitForEnd(&player));
    ReleaseKey(screen, "Escape");

    EXPECT_EQ(player.exitCode, 0);
    EXPECT_EQ(StandardOutput(player), kStart + "Bye!\n");
}

TEST_F(RealPlayer, AClosedWindowEndsItAtOnceWithoutAWord)
{
    PlayerProcess player(setting);
    ASSERT_TRUE(ClickStart(screen));
    ExpectPicture("demo");

    EXPECT_TRUE(CloseWindow(screen, kTitle));
    ASSERT_TRUE(WaitForEnd(&player));

    EXPECT_EQ(player.exitCode, 0);
    EXPECT_EQ(StandardOutput(player), kStart);
}

TEST_F(RealPlayer, TheLoadingScreenIsShownWhileTheDemoIsBuilt)
{
    // A text that takes far more than 50 ms to parse, so that the first item brings a frame; then a
    // sound device that doesn't open until somebody listens, which keeps the screen as it is.
    DocumentSource demo = DemoSource(60000);
    std::string clips;
    for (int i = 0; i < 1000; ++i)
    {
        clips += Clip(0, 60);
    }
    for (int i = 0; i < 12; ++i)
    {
        demo.sections[10] += Row(clips);
    }
    demo.music = "<music file=\"pipe\"/>";
    folder.Write("piece.dpk", PieceOf(LoadingSource(), demo));
    ASSERT_EQ(mkfifo((folder.path + "/pipe").c_str(), 0600), 0);
    const std::string device = folder.path + "/device";
    ASSERT_EQ(mkfifo(device.c_str(), 0600), 0);
    setting.environment[2] = {"SDL_DISKAUDIOFILE", "device"};

    PlayerProcess player(setting);
    ASSERT_TRUE(ClickStart(screen));
    ExpectPicture("loading");

    // A pipe is no module, whether or not somebody writes it: the piece plays in silence.
    std::string sound;
    std::thread listener([&]() { sound = ReadToTheEnd(device); });
    ExpectPicture("demo");
    EXPECT_TRUE(CloseWindow(screen, kTitle));
    EXPECT_TRUE(WaitForEnd(&player));
    listener.join();
    EXPECT_GT(sound.size(), 0u);
    EXPECT_EQ(LoudestSample(sound), 0);
}

TEST_F(RealPlayer, WithoutAPackageItEndsWithCode1)
{
    setting.folder += "/empty";
    folder.Write("empty/readme", "no package here");

    PlayerProcess player(setting);
    ASSERT_TRUE(ClickStart(screen));
    ASSERT_TRUE(WaitForEnd(&player));

    EXPECT_EQ(player.exitCode, 1);
    EXPECT_EQ(StandardOutput(player), kTitle + "\nSux... no dpk file.\n");
}

TEST_F(RealPlayer, WithoutItsModuleAPiecePlaysInSilence)
{
    DocumentSource demo = DemoSource(50);
    demo.music = "<music file=\"missing.xm\"/>";
    folder.Write("piece.dpk", PieceOf(LoadingSource(), demo));

    PlayerProcess player(setting);
    ASSERT_TRUE(ClickStart(screen));
    ASSERT_TRUE(WaitForEnd(&player));

    EXPECT_EQ(player.exitCode, 0);
    std::string output = StandardOutput(player);
    std::string beginning = kStart + "Error: cannot open missing.xm!\nBenchmark result: ";
    EXPECT_EQ(output.substr(0, beginning.size()), beginning);
    EXPECT_TRUE(EndsWith(output, " fps\nBye!\n"));
}

TEST_F(RealPlayer, WithoutASoundDeviceItEndsWithCode1)
{
    setting.environment = {{"SDL_AUDIODRIVER", "none of them"}};

    PlayerProcess player(setting);
    ASSERT_TRUE(ClickStart(screen));
    ASSERT_TRUE(WaitForEnd(&player));

    EXPECT_EQ(player.exitCode, 1);
    EXPECT_EQ(StandardOutput(player), kStart);
    EXPECT_EQ(StandardError(player).substr(0, 22), "Couldn't open audio: \n");
}

TEST_F(RealPlayer, BelowOpenGl21PixelBuffersAreUsedOnlyIfForced)
{
    folder.Write("piece.dpk", PieceOf(LoadingSource(), DemoSource(10)));
    setting.environment.push_back({"MESA_GL_VERSION_OVERRIDE", "2.0"});

    PlayerProcess careful(setting);
    ASSERT_TRUE(ClickStart(screen));
    ASSERT_TRUE(WaitForEnd(&careful));
    EXPECT_EQ(careful.exitCode, 0);
    EXPECT_NE(StandardOutput(careful).find(
                  "\nPBO support detected, but it may be slow (opengl version is lower than 2.1), "
                  "so i disable it. Use -forcepbo to enable it.\n"),
              std::string::npos);

    setting.arguments = {"-forcepbo"};
    PlayerProcess forced(setting);
    ASSERT_TRUE(ClickStart(screen));
    ASSERT_TRUE(WaitForEnd(&forced));
    EXPECT_EQ(forced.exitCode, 0);
    EXPECT_EQ(StandardOutput(forced).substr(0, kStart.size()), kStart);
}

TEST_F(RealPlayer, AScreenTooSmallForTheWindowIsReported)
{
    VirtualScreen small(640, 480);
    setting.display = small.name;

    PlayerProcess player(setting);
    ASSERT_TRUE(ClickStart(small));
    ASSERT_TRUE(WaitForEnd(&player));

    EXPECT_EQ(player.exitCode, 1);
    EXPECT_EQ(StandardOutput(player), kTitle + "\nFound piece.dpk.\nStarting the demo.\n");
    EXPECT_EQ(StandardError(player), "quorvale: can't open a window of 1024 x 768: No video mode "
                                     "large enough for 1024x768; choose a smaller one in the "
                                     "launcher\n");
}

TEST_F(RealPlayer, WithoutADisplayItEndsWithCode1)
{
    setting.display = "";

    PlayerProcess player(setting);
    ASSERT_TRUE(WaitForEnd(&player));

    EXPECT_EQ(player.exitCode, 1);
    EXPECT_EQ(StandardOutput(player), kTitle + "\n");
    EXPECT_EQ(StandardError(player), "quorvale: can't start video: No available video device\n");
}

TEST_F(RealPlayer, ADamagedDocumentEndsItWithOneLineThatSaysWhere)
{
    std::string loading = MakeDocument(LoadingSource());
    std::string demo = MakeDocument(DemoSource(100));
    std::string damaged = demo;
    damaged[damaged.size() / 2] = static_cast<char>(damaged[damaged.size() / 2] ^ 0x5A);
    DocumentSource dangling = DemoSource(100);
    dangling.sections[10] = Row(Clip(3, 100));
    DocumentSource unmodelled = DemoSource(100);
    unmodelled.sections[2] = "<model/>";
    const struct
    {
        std::string demo;
        const char* line; // how it begins
    } cases[] = {
        {damaged, "quorvale: demo.xmlz, section "},
        {demo.substr(0, demo.size() / 2), "quorvale: demo.xmlz, section "},
        {MakeContainer("<?xml version=\"1.0\"?><s0>"),
         "quorvale: demo.xmlz, section 1 (procedural textures): the section is missing: the text "
         "does not parse"},
        {MakeContainer("<?xml version=\"1.0\"?><s0/><s1/>"),
         "quorvale: demo.xmlz, section 2 (models): the section is missing"},
        {MakeDocument(unmodelled), "quorvale: demo.xmlz, section 2 (models), item 1: attribute"},
        {MakeDocument(dangling),
         "quorvale: demo.xmlz, section 10 (timeline), row 1, clip 1: scene"},
    };
    for (const auto& c : cases)
    {
        folder.Write("piece.dpk", MakePackage({{"loading.xmlz", loading},
                                               {"demo.xmlz", c.demo},
                                               {"square", SquareModel()}}));

        PlayerProcess player(setting);
        ASSERT_TRUE(ClickStart(screen));
        ASSERT_TRUE(WaitForEnd(&player)) << c.line;

        EXPECT_EQ(player.exitCode, 1) << c.line;
        EXPECT_EQ(StandardOutput(player), kStart);
        std::string error = StandardError(player);
        size_t line = error.find("quorvale: "); // SDL's file driver has a word of its own
        ASSERT_NE(line, std::string::npos) << error;
        EXPECT_EQ(error.substr(line, strlen(c.line)), c.line);
        EXPECT_EQ(error.find('\n', line), error.size() - 1);
    }
}
