// SPDX-License-Identifier: MIT

// The launcher of the program itself, on a screen that nobody sees: worked with the pointer, and
// what becomes of each choice.
#include <algorithm>
#include <gtest/gtest.h>
#include <set>
#include <unistd.h>

#include "support/launcher_pointer.h"
#include "support/package_builder.h"
#include "support/player_process.h"
#include "support/virtual_screen.h"

static const std::string kTitle = "Quorvale Engine v0.232";
static const std::string kSeparator = "========================================\n";

// Places in the launcher window, in its pixels.
static constexpr int32_t kListX = 70;
static constexpr int32_t kAspectX = 223;
static constexpr int32_t kBoxX = 163;
static constexpr int32_t kAspectY[] = {28, 50, 73};
static constexpr int32_t kFullscreenY = 299;
static constexpr int32_t kAntialiasingY = 320;
static constexpr int32_t kMusicY = 343;
static constexpr int32_t kVboY = 366;

struct ResolutionRow
{
    int32_t y; // a pixel of it
    int32_t width;
    int32_t height;
};

static constexpr ResolutionRow kRows[] = {
    {27, 320, 240},   {48, 400, 300},    {71, 512, 384},    {94, 640, 480},
    {116, 800, 600},  {139, 1024, 768},  {161, 1280, 720},  {184, 1280, 800},
    {206, 1280, 960}, {228, 1280, 1024}, {251, 1366, 768},  {274, 1400, 1050},
    {296, 1440, 900}, {318, 1600, 1200}, {341, 1680, 1050}, {363, 1920, 1080},
};

static std::string Value(const std::string& value)
{
    return "<v type=\"static\" value=\"" + value + "\"/>";
}

static std::string Material(const std::string& red, const std::string& green,
                            const std::string& blue)
{
    std::string material = "<material type=\"0\">";
    for (const std::string& value : {red, green, blue, std::string("1")})
    {
        material += "<p type=\"static\" value=\"" + value + "\"/>";
    }
    return material + "</material>";
}

/// The unit square with a material, turned around its corner.
static std::string Square(int material, const std::string& rotationZ)
{
    std::string object = "<object type=\"0\" object=\"1\" material=\"";
    object += std::to_string(material) + "\">" + Value("0") + Value("0") + Value("0");
    object += Value("0") + Value("0") + Value(rotationZ);
    object += Value("1") + Value("1") + Value("1");
    return object + "<visible value=\"0\"/><shift value=\"0\"/></object>";
}

static std::string Row(int scene, const std::string& camera, const std::string& fov)
{
    return "<row><clip id=\"" + std::to_string(scene) +
           "\" space_before=\"0\" offset=\"0\" type=\"3\" length=\"60000\">" + camera + fov +
           "<fog type=\"0\"/></clip></row>";
}

/// A red window, and in front of it, in perspective, a blue square that is turned by some degrees
/// around its lower left corner. Unturned, it lies in the middle. Ten minutes long.
static std::string MakePiece(const std::string& rotation)
{
    DocumentSource loading;
    loading.sections[10] = "<row/>";
    loading.music = "<music/>";

    DocumentSource demo;
    demo.sections[2] = "<model filename=\"square\"/>";
    demo.sections[7] = Material("1", "0", "0") + Material("0", "0", "1");
    demo.sections[9] =
        "<scene>" + Square(1, "0") + "</scene><scene>" + Square(2, rotation) + "</scene>";
    std::string still;
    for (int i = 0; i < 6; ++i)
    {
        still += Value("0");
    }
    std::string inFront = Value("-0.5") + Value("-0.5") + Value("-2");
    inFront += Value("0") + Value("0") + Value("0");
    demo.sections[10] = Row(1, still, "<fov type=\"ortographic\"/>") +
                        Row(2, inFront, "<fov type=\"static\" value=\"60\"/>");
    demo.music = "<music file=\"missing.xm\"/>";

    return MakePackage({{"loading.xmlz", MakeDocument(loading)},
                        {"demo.xmlz", MakeDocument(demo)},
                        {"square", MakeModel({.vertices = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0},
                                              .texCoords = {{0, 0, 1, 0, 1, 1, 0, 1}},
                                              .normals = {0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1},
                                              .indices = {0, 1, 2, 0, 2, 3}})}});
}

struct Colour
{
    int red;
    int green;
    int blue;

    bool operator==(const Colour& other) const = default;
    bool operator<(const Colour& other) const
    {
        return std::tie(red, green, blue) < std::tie(other.red, other.green, other.blue);
    }
};

static constexpr Colour kRed = {255, 0, 0};
static constexpr Colour kBlue = {0, 0, 255};
static constexpr Colour kBlack = {0, 0, 0};

static Colour ColourAt(const Picture& picture, int32_t x, int32_t y)
{
    const uint8_t* pixel = PixelAt(picture, x, y);
    return {pixel[0], pixel[1], pixel[2]};
}

/// The width and height of what has a colour in a picture; 0 if nothing has.
static WindowPlace FindColour(const Picture& picture, Colour colour)
{
    int32_t left = picture.width;
    int32_t top = picture.height;
    int32_t right = -1;
    int32_t bottom = -1;
    for (int32_t y = 0; y < picture.height; ++y)
    {
        for (int32_t x = 0; x < picture.width; ++x)
        {
            if (ColourAt(picture, x, y) == colour)
            {
                left = std::min(left, x);
                right = std::max(right, x);
                top = std::min(top, y);
                bottom = std::max(bottom, y);
            }
        }
    }
    return right < 0 ? WindowPlace{} : WindowPlace{left, top, right + 1 - left, bottom + 1 - top};
}

class RealLauncher : public testing::TestWithParam<int>
{
  protected:
    RealLauncher() : screen(1920, 1200)
    {
        folder.Write("piece.dpk", MakePiece("0"));
        setting.program = PLAYER;
        setting.folder = folder.path;
        setting.display = screen.name;
        setting.environment = {{"SDL_AUDIODRIVER", "disk"}, {"SDL_DISKAUDIOFILE", "sound"}};
    }

    /// Waits until the launcher shows a committed picture; if it never does, what it shows instead
    /// is left beside the test program.
    void ExpectLauncher(const std::string& name)
    {
        Picture expected = ReadPicture(std::string(PICTURES) + "/" + name + ".png");
        ASSERT_FALSE(expected.rgb.empty()) << name << " is not there";
        PictureDistance distance = {};
        bool seen = WaitUntil(
            [&]()
            {
                distance = ComparePictures(CaptureLauncher(screen), expected);
                return distance.sameSize && distance.mean <= 0.1 && distance.outliers == 0.0;
            });
        EXPECT_TRUE(seen) << name << " was never shown: off by " << distance.mean
                          << " in the mean, outliers " << distance.outliers;
        if (!seen)
        {
            WritePicture(name + "-seen.png", CaptureLauncher(screen));
        }
    }

    /// Waits until the piece is shown in a window of this size, and captures it.
    Picture CapturePiece(PlayerProcess* player, int32_t width, int32_t height)
    {
        Picture piece = {};
        WindowPlace place = {};
        bool seen = WaitUntil(
            [&]()
            {
                if (HasEnded(player))
                {
                    return true;
                }
                place = FindWindowPlace(screen, kTitle);
                piece = CutPicture(CaptureScreen(screen), place);
                return place.width == width && place.height == height &&
                       ColourAt(piece, 2, 2) == kRed && ColourAt(piece, width - 3, 2) == kRed &&
                       ColourAt(piece, 2, height - 3) == kRed &&
                       ColourAt(piece, width - 3, height - 3) == kRed &&
                       ColourAt(piece, width / 2, height / 2) == kBlue;
            });
        EXPECT_FALSE(HasEnded(player)) << StandardError(*player);
        EXPECT_TRUE(seen) << "no window of " << width << "x" << height
                          << " with the piece, but one of " << place.width << "x" << place.height;
        return piece;
    }

    void ExpectEnd(PlayerProcess* player)
    {
        EXPECT_TRUE(CloseWindow(screen, kTitle));
        ASSERT_TRUE(WaitForEnd(player));
        EXPECT_EQ(player->exitCode, 0);
    }

    TemporaryFolder folder;
    VirtualScreen screen;
    PlayerSetting setting;
};

TEST_F(RealLauncher, ItShowsWhatIsChosen)
{
    PlayerProcess player(setting);
    ExpectLauncher("launcher");

    ASSERT_TRUE(ClickAt(screen, player, kListX, kRows[15].y));
    ASSERT_TRUE(ClickAt(screen, player, kAspectX, kAspectY[2]));
    ASSERT_TRUE(ClickAt(screen, player, kBoxX, kFullscreenY));
    ASSERT_TRUE(ClickAt(screen, player, kBoxX, kMusicY));
    ExpectLauncher("launcher-other");

    ASSERT_TRUE(PressStart(screen));
    ExpectLauncher("launcher-pressed");
    PointAt(screen, 300, 200);
    ExpectLauncher("launcher-other");
    ReleaseButton(screen);
    ASSERT_TRUE(WaitForLooks(player));
    ExpectLauncher("launcher-other");
    EXPECT_EQ(StandardOutput(player), kTitle + "\n");
}

TEST_F(RealLauncher, ClosingItSaysByeAndEndsWithCode0)
{
    PlayerProcess player(setting);
    ASSERT_TRUE(WaitForLauncher(screen));
    ExpectEnd(&player);
    EXPECT_EQ(StandardOutput(player), kTitle + "\nBye!\n");
    EXPECT_EQ(StandardError(player), "");
}

TEST_F(RealLauncher, EscapeAndTheReturnKeyDoNothing)
{
    PlayerProcess player(setting);
    ASSERT_TRUE(WaitForLauncher(screen));
    PointAt(screen, 223, 185); // keys go to the window below the pointer
    for (const char* key : {"Escape", "Return"})
    {
        PressKey(screen, key);
        EXPECT_TRUE(WaitForLooks(player));
        ReleaseKey(screen, key);
    }
    ExpectLauncher("launcher");
    EXPECT_FALSE(HasEnded(&player));
}

TEST_F(RealLauncher, HoldingAndDraggingTogglesOneSwitchOnce)
{
    PlayerProcess player(setting);
    ASSERT_TRUE(WaitForLauncher(screen));
    Picture allOn = CaptureLauncher(screen);

    PointAt(screen, kBoxX, kVboY);
    PressButton(screen);
    Picture vboOff = {};
    ASSERT_TRUE(WaitUntil(
        [&]()
        {
            vboOff = CaptureLauncher(screen);
            return vboOff.rgb != allOn.rgb;
        }));
    ASSERT_TRUE(WaitForLooks(player));
    PointAt(screen, kBoxX, kMusicY);
    ASSERT_TRUE(WaitForLooks(player));
    EXPECT_TRUE(CaptureLauncher(screen).rgb == vboOff.rgb);

    ReleaseButton(screen);
    ASSERT_TRUE(WaitForLooks(player));
    ASSERT_TRUE(ClickAt(screen, player, kBoxX, kVboY));
    EXPECT_TRUE(CaptureLauncher(screen).rgb == allOn.rgb);
}

TEST_F(RealLauncher, ADragFromARowOverTheButtonStartsWithThatRow)
{
    PlayerProcess player(setting);
    ASSERT_TRUE(WaitForLauncher(screen));
    ASSERT_TRUE(ClickAt(screen, player, kBoxX, kFullscreenY));

    Picture before = CaptureLauncher(screen);
    PointAt(screen, kListX, kRows[3].y);
    PressButton(screen);
    ASSERT_TRUE(WaitUntil([&]() { return CaptureLauncher(screen).rgb != before.rgb; }));
    Picture up = CaptureLauncher(screen);
    PointAt(screen, 195, 165);
    ASSERT_TRUE(WaitUntil([&]() { return CaptureLauncher(screen).rgb != up.rgb; }));
    Picture down = CaptureLauncher(screen);
    PointAt(screen, 253, 165);
    ASSERT_TRUE(WaitUntil([&]() { return CaptureLauncher(screen).rgb == up.rgb; }));
    PointAt(screen, 252, 206);
    ASSERT_TRUE(WaitUntil([&]() { return CaptureLauncher(screen).rgb == down.rgb; }));
    ReleaseButton(screen);

    CapturePiece(&player, 640, 480);
    ExpectEnd(&player);
}

TEST_P(RealLauncher, AWindowOfTheChosenResolutionOpens)
{
    const ResolutionRow& row = kRows[GetParam()];
    PlayerProcess player(setting);
    ASSERT_TRUE(WaitForLauncher(screen));
    ASSERT_TRUE(ClickAt(screen, player, kBoxX, kFullscreenY));
    if (GetParam() != 5)
    {
        ASSERT_TRUE(ClickAt(screen, player, kListX, row.y));
    }
    ASSERT_TRUE(ClickStart(screen));

    CapturePiece(&player, row.width, row.height);
    ExpectEnd(&player);
}

INSTANTIATE_TEST_SUITE_P(Row, RealLauncher, testing::Range(0, 16));

TEST_F(RealLauncher, TheChosenAspectIsThePicturesAndNotTheWindows)
{
    // The square's sides span 0.433 of the height, and of the width divided by the aspect: in
    // 1024x768, 332.6 rows, and 443.4 columns divided by the aspect.
    const double widths[] = {332.6, 249.4, 277.1};
    for (int32_t aspect = 0; aspect < 3; ++aspect)
    {
        PlayerProcess player(setting);
        ASSERT_TRUE(WaitForLauncher(screen));
        ASSERT_TRUE(ClickAt(screen, player, kBoxX, kFullscreenY));
        if (aspect != 0)
        {
            ASSERT_TRUE(ClickAt(screen, player, kAspectX, kAspectY[aspect]));
        }
        ASSERT_TRUE(ClickStart(screen));

        WindowPlace square = FindColour(CapturePiece(&player, 1024, 768), kBlue);
        EXPECT_NEAR(square.width, widths[aspect], 2.0);
        EXPECT_NEAR(square.height, 332.6, 2.0);
        ExpectEnd(&player);
    }
}

TEST_F(RealLauncher, WithEverythingOnThePieceIsShownFullscreen)
{
    PlayerProcess player(setting);
    ASSERT_TRUE(ClickStart(screen));

    // The screen has no mode of 1024x768: that size lies in its middle, black around it.
    Picture shown = {};
    EXPECT_TRUE(WaitUntil(
        [&]()
        {
            shown = CaptureScreen(screen);
            return ColourAt(shown, 960, 600) == kBlue;
        }));
    WindowPlace red = FindColour(shown, kRed);
    EXPECT_EQ(red.left, (1920 - 1024) / 2);
    EXPECT_EQ(red.top, (1200 - 768) / 2);
    EXPECT_EQ(red.width, 1024);
    EXPECT_EQ(red.height, 768);
    EXPECT_EQ(ColourAt(shown, 0, 0), kBlack);
    EXPECT_EQ(StandardOutput(player), kTitle +
                                          "\nFound piece.dpk.\n"
                                          "Starting the demo.\n" +
                                          kSeparator +
                                          "VBO support detected.\n"
                                          "PBO support detected.\n"
                                          "NPOT texture support detected.\n"
                                          "DOT3 bump mapping support detected.\n" +
                                          kSeparator + "Error: cannot open missing.xm!\n");
}

TEST_F(RealLauncher, WithVboSwitchedOffItSaysNothingOfVbo)
{
    PlayerProcess player(setting);
    ASSERT_TRUE(WaitForLauncher(screen));
    ASSERT_TRUE(ClickAt(screen, player, kBoxX, kFullscreenY));
    ASSERT_TRUE(ClickAt(screen, player, kBoxX, kVboY));
    ASSERT_TRUE(ClickStart(screen));

    CapturePiece(&player, 1024, 768);
    EXPECT_EQ(StandardOutput(player), kTitle +
                                          "\nFound piece.dpk.\n"
                                          "Starting the demo.\n" +
                                          kSeparator +
                                          "PBO support detected.\n"
                                          "NPOT texture support detected.\n"
                                          "DOT3 bump mapping support detected.\n" +
                                          kSeparator + "Error: cannot open missing.xm!\n");
    ExpectEnd(&player);
}

TEST_F(RealLauncher, WithMusicSwitchedOffTheModuleIsNotLookedFor)
{
    PlayerProcess player(setting);
    ASSERT_TRUE(WaitForLauncher(screen));
    ASSERT_TRUE(ClickAt(screen, player, kBoxX, kFullscreenY));
    ASSERT_TRUE(ClickAt(screen, player, kBoxX, kMusicY));
    ASSERT_TRUE(ClickStart(screen));

    CapturePiece(&player, 1024, 768);
    EXPECT_EQ(StandardOutput(player), kTitle +
                                          "\nFound piece.dpk.\n"
                                          "Starting the demo.\n" +
                                          kSeparator +
                                          "VBO support detected.\n"
                                          "PBO support detected.\n"
                                          "NPOT texture support detected.\n"
                                          "DOT3 bump mapping support detected.\n" +
                                          kSeparator);
    EXPECT_NE(access((folder.path + "/sound").c_str(), F_OK), 0); // no device either
    ExpectEnd(&player);
}

TEST_F(RealLauncher, ASlantedEdgeIsSmoothWithAntialiasingAndHardWithout)
{
    folder.Write("piece.dpk", MakePiece("10"));
    for (bool smooth : {true, false})
    {
        PlayerProcess player(setting);
        ASSERT_TRUE(WaitForLauncher(screen));
        ASSERT_TRUE(ClickAt(screen, player, kBoxX, kFullscreenY));
        if (!smooth)
        {
            ASSERT_TRUE(ClickAt(screen, player, kBoxX, kAntialiasingY));
        }
        ASSERT_TRUE(ClickStart(screen));

        Picture piece = CapturePiece(&player, 1024, 768);
        std::set<Colour> colours;
        for (int32_t y = 0; y < piece.height; ++y)
        {
            for (int32_t x = 0; x < piece.width; ++x)
            {
                colours.insert(ColourAt(piece, x, y));
            }
        }
        EXPECT_TRUE(smooth ? colours.size() > 2 : colours.size() == 2) << colours.size();
        ExpectEnd(&player);
    }
}
