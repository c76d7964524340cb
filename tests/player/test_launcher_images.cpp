// SPDX-License-Identifier: MIT

// The launcher's pictures, decoded: their format, and whether everything lies where the launcher
// hits and draws it.
#include "player/launcher_images.h"

#include <SDL.h>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "player/launcher.h"
#include "support/temporary_folder.h"

namespace
{

/// A BMP file, taken apart. Rows come from the top.
struct Image
{
    int32_t width;
    int32_t height;
    int32_t bits;
    std::vector<int> greens;     // of the palette; all else in it is 0
    std::vector<uint8_t> pixels; // palette numbers
};

struct FileRow
{
    const char* name;
    ImageFile file;
    int32_t width;
    int32_t height;
    int32_t bits;
    std::vector<int> greens;
};

const std::vector<FileRow>& Files()
{
    static const std::vector<FileRow> files = {
        {"launcher_background",
         kLauncherBackground,
         313,
         384,
         4,
         {0, 20, 44, 76, 116, 164, 212, 255}},
        {"resolution_selector", kResolutionSelector, 99, 20, 1, {0, 255}},
        {"aspect_selector", kAspectSelector, 61, 22, 1, {0, 255}},
        {"check_mark", kCheckMark, 11, 12, 1, {20, 212}},
        {"start_pressed", kStartPressed, 77, 46, 4, {20, 76, 116, 255}},
    };
    return files;
}

uint32_t Number(ImageFile file, int32_t at, int32_t bytes)
{
    uint32_t number = 0;
    for (int32_t i = 0; i < bytes; ++i)
    {
        number |= static_cast<uint32_t>(file.bytes[at + i]) << (8 * i);
    }
    return number;
}

/// Takes a file apart that is known to be well-formed.
Image Decode(ImageFile file)
{
    Image image = {};
    image.width = static_cast<int32_t>(Number(file, 18, 4));
    image.height = static_cast<int32_t>(Number(file, 22, 4));
    image.bits = static_cast<int32_t>(Number(file, 28, 2));
    int32_t colours = static_cast<int32_t>(Number(file, 46, 4));
    for (int32_t i = 0; i < colours; ++i)
    {
        image.greens.push_back(file.bytes[54 + 4 * i + 1]);
    }

    int32_t start = static_cast<int32_t>(Number(file, 10, 4));
    int32_t rowBytes = (image.width * image.bits + 31) / 32 * 4;
    for (int32_t y = 0; y < image.height; ++y)
    {
        const uint8_t* row = file.bytes + start + (image.height - 1 - y) * rowBytes;
        for (int32_t x = 0; x < image.width; ++x)
        {
            int32_t bit = x * image.bits;
            int32_t shift = 8 - image.bits - bit % 8;
            image.pixels.push_back(
                static_cast<uint8_t>(row[bit / 8] >> shift & ((1 << image.bits) - 1)));
        }
    }
    return image;
}

int Pixel(const Image& image, int32_t x, int32_t y)
{
    return image
        .pixels[static_cast<size_t>(y) * static_cast<size_t>(image.width) + static_cast<size_t>(x)];
}

/// The shade of a pixel, 0 to 255.
int Green(const Image& image, int32_t x, int32_t y)
{
    return image.greens[static_cast<size_t>(Pixel(image, x, y))];
}

struct Area
{
    int32_t left;
    int32_t top;
    int32_t right; // the last column
    int32_t bottom;
};

constexpr int32_t kResolutionTops[] = {17,  40,  62,  85,  107, 129, 152, 174,
                                       197, 219, 242, 264, 287, 309, 331, 354};
constexpr int32_t kResolutionBands[][2] = {
    {18, 36},   {37, 59},   {60, 83},   {84, 104},  {105, 127}, {128, 150}, {151, 172}, {173, 195},
    {196, 217}, {218, 239}, {240, 262}, {263, 285}, {286, 307}, {308, 329}, {330, 353}, {354, 373},
};
constexpr int32_t kAspectTops[] = {17, 39, 62};
constexpr int32_t kAspectBands[][2] = {{19, 38}, {39, 61}, {62, 84}};
constexpr int32_t kSwitchTops[] = {293, 315, 337, 360};
constexpr int32_t kSwitchBands[][2] = {{293, 305}, {315, 325}, {338, 349}, {361, 372}};

constexpr Area kResolutionText = {16, 12, 125, 376}; // inside the frame, below its stripes
constexpr Area kAspectText = {195, 12, 252, 86};
constexpr Area kSwitchText = {170, 290, 304, 376};

/// A pixel as light as this in a text's area belongs to a letter. The glow around it is darker.
constexpr int kInk = 160;

bool IsInk(const Image& image, int32_t x, int32_t y)
{
    return Green(image, x, y) >= kInk;
}

/// The places of all letters' pixels.
std::vector<std::pair<int32_t, int32_t>> InkOf(const Image& image, Area area)
{
    std::vector<std::pair<int32_t, int32_t>> places;
    for (int32_t y = area.top; y <= area.bottom; ++y)
    {
        for (int32_t x = area.left; x <= area.right; ++x)
        {
            if (IsInk(image, x, y))
            {
                places.push_back({x, y});
            }
        }
    }
    return places;
}

/// The letters in an area of one line: pictures of them, parted where a column has no ink. A gap of
/// 5 columns is a space, an empty picture.
std::vector<std::string> CutLetters(const Image& image, Area area, int inkFrom, int inkTo)
{
    std::vector<std::string> letters;
    std::string letter;
    int32_t gap = 0;
    for (int32_t x = area.left; x <= area.right + 1; ++x)
    {
        std::string column;
        for (int32_t y = area.top; y <= area.bottom && x <= area.right; ++y)
        {
            bool ink = Green(image, x, y) >= inkFrom && Green(image, x, y) <= inkTo;
            column += ink ? '#' : '.';
        }
        if (column.find('#') != std::string::npos)
        {
            if (gap >= 5 && !letters.empty())
            {
                letters.push_back("");
            }
            letter += column + "\n";
            gap = 0;
            continue;
        }
        if (!letter.empty())
        {
            letters.push_back(letter);
            letter.clear();
        }
        ++gap;
    }
    return letters;
}

/// A reader who learns the letters: the same letter looks the same everywhere, and no other does.
struct Reader
{
    std::map<char, std::string> known;

    void Expect(const std::vector<std::string>& letters, const std::string& text)
    {
        ASSERT_EQ(letters.size(), text.size()) << text;
        for (size_t i = 0; i < text.size(); ++i)
        {
            if (text[i] == ' ')
            {
                EXPECT_EQ(letters[i], "") << text;
                continue;
            }
            ASSERT_NE(letters[i], "") << text;
            auto [place, isNew] = known.insert({text[i], letters[i]});
            EXPECT_EQ(place->second, letters[i]) << "letter " << i << " of " << text;
            for (const auto& [other, picture] : known)
            {
                EXPECT_TRUE(other == text[i] || picture != letters[i]) << other << " in " << text;
            }
        }
    }
};

/// The places of a selector's frame when it lies at a corner of the window.
std::set<std::pair<int32_t, int32_t>> FramePlaces(const Image& selector, int32_t left, int32_t top)
{
    std::set<std::pair<int32_t, int32_t>> places;
    for (int32_t y = 0; y < selector.height; ++y)
    {
        for (int32_t x = 0; x < selector.width; ++x)
        {
            if (Pixel(selector, x, y) == 1)
            {
                places.insert({left + x, top + y});
            }
        }
    }
    return places;
}

/// Nothing of a text lies on a frame or right beside it.
void ExpectClear(const Image& background, Area text,
                 const std::set<std::pair<int32_t, int32_t>>& frame)
{
    for (const auto& [x, y] : InkOf(background, text))
    {
        for (int32_t i = 0; i < 9; ++i)
        {
            ASSERT_EQ(frame.count({x + i % 3 - 1, y + i / 3 - 1}), 0u) << x << ", " << y;
        }
    }
}

SDL_Surface* LoadWithSdl(ImageFile file)
{
    return SDL_LoadBMP_RW(SDL_RWFromMem(const_cast<uint8_t*>(file.bytes), file.size), 1);
}

} // namespace

TEST(LauncherImages, EachIsAWholeWindowsBmpOfItsSizeDepthAndPalette)
{
    for (const FileRow& row : Files())
    {
        SCOPED_TRACE(row.name);
        ImageFile file = row.file;
        uint32_t rowBytes = static_cast<uint32_t>((row.width * row.bits + 31) / 32 * 4);
        uint32_t pixelBytes = rowBytes * static_cast<uint32_t>(row.height);
        uint32_t start = 54 + 4 * static_cast<uint32_t>(row.greens.size());
        ASSERT_EQ(file.size, static_cast<int32_t>(start + pixelBytes));

        EXPECT_EQ(memcmp(file.bytes, "BM", 2), 0);
        EXPECT_EQ(Number(file, 2, 4), start + pixelBytes);
        EXPECT_EQ(Number(file, 10, 4), start);
        EXPECT_EQ(Number(file, 14, 4), 40u);
        EXPECT_EQ(Number(file, 18, 4), static_cast<uint32_t>(row.width));
        EXPECT_EQ(Number(file, 22, 4), static_cast<uint32_t>(row.height)); // rows from below
        EXPECT_EQ(Number(file, 26, 2), 1u);
        EXPECT_EQ(Number(file, 28, 2), static_cast<uint32_t>(row.bits));
        EXPECT_EQ(Number(file, 30, 4), 0u); // no compression
        EXPECT_EQ(Number(file, 34, 4), pixelBytes);
        EXPECT_EQ(Number(file, 46, 4), row.greens.size());

        for (size_t i = 0; i < row.greens.size(); ++i)
        {
            const uint8_t* colour = file.bytes + 54 + 4 * i;
            EXPECT_EQ(colour[0], 0) << "blue of " << i;
            EXPECT_EQ(colour[1], row.greens[i]) << "green of " << i;
            EXPECT_EQ(colour[2], 0) << "red of " << i;
            EXPECT_EQ(colour[3], 0) << "unused of " << i;
        }
    }
}

TEST(LauncherImages, EveryColourIsUsedAndNoOther)
{
    for (const FileRow& row : Files())
    {
        Image image = Decode(row.file);
        std::set<int> used(image.pixels.begin(), image.pixels.end());
        std::set<int> all;
        for (size_t i = 0; i < row.greens.size(); ++i)
        {
            all.insert(static_cast<int>(i));
        }
        EXPECT_EQ(used, all) << row.name;
    }
}

TEST(LauncherImages, TheWindowAndItsListAreFramedByALine)
{
    Image background = Decode(kLauncherBackground);
    for (int32_t x = 0; x < 313; ++x)
    {
        ASSERT_EQ(Green(background, x, 0), 116);
        ASSERT_EQ(Green(background, x, 383), 116);
    }
    for (int32_t y = 0; y < 384; ++y)
    {
        ASSERT_EQ(Green(background, 0, y), 116);
        ASSERT_EQ(Green(background, 312, y), 116);
    }

    // The list's frame has cut corners and holds everything that can be hit there.
    for (int32_t x = 8; x <= 132; ++x)
    {
        ASSERT_EQ(Green(background, x, 6), 116);
        ASSERT_EQ(Green(background, x, 377), 116);
    }
    for (int32_t y = 8; y <= 375; ++y)
    {
        ASSERT_EQ(Green(background, 6, y), 116);
        ASSERT_EQ(Green(background, 134, y), 116);
    }
}

TEST(LauncherImages, ResolutionsAndAspectsAreInTheSameDigits)
{
    Image background = Decode(kLauncherBackground);
    Reader reader;
    for (int32_t row = 0; row < 16; ++row)
    {
        Area line = {16, kResolutionTops[row] + 5, 125, kResolutionTops[row] + 14};
        const Resolution& resolution = kResolutions[row];
        reader.Expect(CutLetters(background, line, kInk, 255),
                      std::to_string(resolution.width) + "x" + std::to_string(resolution.height));
    }
    const char* const aspects[] = {"4:3", "16:9", "16:10"};
    for (int32_t row = 0; row < 3; ++row)
    {
        Area line = {195, kAspectTops[row] + 6, 252, kAspectTops[row] + 15};
        reader.Expect(CutLetters(background, line, kInk, 255), aspects[row]);
    }
}

TEST(LauncherImages, TheSwitchesAndTheButtonSpellTheirNames)
{
    Image background = Decode(kLauncherBackground);
    Reader reader;
    const char* const names[] = {"Fullscreen", "Antialiasing", "Music", "VBO support"};
    for (int32_t row = 0; row < 4; ++row)
    {
        Area line = {170, kSwitchTops[row] + 1, 304, kSwitchTops[row] + 13};
        reader.Expect(CutLetters(background, line, kInk, 255), names[row]);
    }

    // Dark on a light face; pressed, light on a dark one, and 3 pixels further right and down.
    Image pressed = Decode(kStartPressed);
    const char* const words[] = {"Start", "demo"};
    for (int32_t word = 0; word < 2; ++word)
    {
        Area line = {188 + 2, 163 + 8 + 16 * word, 188 + 70, 163 + 20 + 16 * word};
        reader.Expect(CutLetters(background, line, 0, 0), words[word]);
        Area pressedLine = {5, 11 + 16 * word, 73, 23 + 16 * word};
        reader.Expect(CutLetters(pressed, pressedLine, 255, 255), words[word]);
        EXPECT_EQ(CutLetters(background, line, 0, 0).size(), strlen(words[word]));
    }
}

TEST(LauncherImages, EveryLabelLiesInsideItsBandAndInsideItsSelector)
{
    Image background = Decode(kLauncherBackground);
    for (const auto& [x, y] : InkOf(background, kResolutionText))
    {
        bool held = false;
        for (int32_t row = 0; row < 16; ++row)
        {
            held |= y >= kResolutionBands[row][0] && y <= kResolutionBands[row][1] &&
                    y >= kResolutionTops[row] && y < kResolutionTops[row] + 20 && x >= 21 &&
                    x < 21 + 99;
        }
        ASSERT_TRUE(held) << x << ", " << y;
    }
    for (const auto& [x, y] : InkOf(background, kAspectText))
    {
        bool held = false;
        for (int32_t row = 0; row < 3; ++row)
        {
            held |= y >= kAspectBands[row][0] && y <= kAspectBands[row][1] &&
                    y >= kAspectTops[row] && y < kAspectTops[row] + 22;
        }
        ASSERT_TRUE(held) << x << ", " << y;
    }
}

TEST(LauncherImages, OnNoRowDoesASelectorTouchALabel)
{
    Image background = Decode(kLauncherBackground);
    Image resolutionSelector = Decode(kResolutionSelector);
    Image aspectSelector = Decode(kAspectSelector);
    ASSERT_GT(InkOf(background, kResolutionText).size(), 1000u);
    for (int32_t top : kResolutionTops)
    {
        ExpectClear(background, kResolutionText, FramePlaces(resolutionSelector, 21, top));
    }
    ASSERT_GT(InkOf(background, kAspectText).size(), 100u);
    for (int32_t top : kAspectTops)
    {
        ExpectClear(background, kAspectText, FramePlaces(aspectSelector, 194, top));
    }
}

TEST(LauncherImages, ASelectorIsAClosedLineAroundATransparentMiddle)
{
    for (ImageFile file : {kResolutionSelector, kAspectSelector})
    {
        Image selector = Decode(file);
        const int32_t right = selector.width - 1;
        const int32_t bottom = selector.height - 1;
        for (int32_t x = 0; x <= right; ++x)
        {
            int line = x < 2 || x > right - 2 ? 0 : 1; // the corners are cut
            ASSERT_EQ(Pixel(selector, x, 0), line) << x;
            ASSERT_EQ(Pixel(selector, x, bottom), line) << x;
        }
        for (int32_t y = 0; y <= bottom; ++y)
        {
            int line = y < 2 || y > bottom - 2 ? 0 : 1;
            ASSERT_EQ(Pixel(selector, 0, y), line) << y;
            ASSERT_EQ(Pixel(selector, right, y), line) << y;
        }
        for (int32_t x : {1, right - 1})
        {
            EXPECT_EQ(Pixel(selector, x, 1), 1);
            EXPECT_EQ(Pixel(selector, x, bottom - 1), 1);
        }

        // An arrow head of 3 columns on either side, nothing between.
        for (int32_t y = 1; y < bottom; ++y)
        {
            for (int32_t x = 5; x <= right - 5; ++x)
            {
                ASSERT_EQ(Pixel(selector, x, y), 0) << x << ", " << y;
            }
        }
        const int32_t middle = selector.height / 2;
        for (int32_t step = 0; step < 3; ++step)
        {
            for (int32_t y = 2; y < bottom - 1; ++y)
            {
                int head = y >= middle - 3 + step && y <= middle + 2 - step ? 1 : 0;
                ASSERT_EQ(Pixel(selector, 2 + step, y), head) << y;
                ASSERT_EQ(Pixel(selector, right - 2 - step, y), head) << y;
            }
        }
    }
}

TEST(LauncherImages, TheBoxesStandEmptyFromX157To169)
{
    Image background = Decode(kLauncherBackground);
    for (int32_t row = 0; row < 4; ++row)
    {
        const int32_t top = kSwitchTops[row];
        for (int32_t y = top; y <= top + 12; ++y)
        {
            for (int32_t x = 157; x <= 169; ++x)
            {
                bool line = x == 157 || x == 169 || y == top || y == top + 12;
                ASSERT_EQ(Green(background, x, y), line ? 212 : 20) << x << ", " << y;
            }
        }
        // Whoever clicks on a line of pixels that toggles, clicks on the box.
        EXPECT_GE(kSwitchBands[row][0], top);
        EXPECT_LE(kSwitchBands[row][1], top + 12);
    }
}

TEST(LauncherImages, AMarkKeepsTheLinesOfItsBoxAndTouchesNoLabel)
{
    Image background = Decode(kLauncherBackground);
    Image mark = Decode(kCheckMark);
    for (int32_t top : kSwitchTops)
    {
        int32_t strokes = 0;
        for (int32_t y = 0; y < 12; ++y)
        {
            for (int32_t x = 0; x < 11; ++x)
            {
                int before = Green(background, 157 + x, top + y);
                int after = Green(mark, x, y);
                if (x == 0 || y == 0)
                {
                    ASSERT_EQ(after, before) << x << ", " << y; // the box
                    continue;
                }
                ASSERT_TRUE(after == 20 || after == 212);
                strokes += after == 212 ? 1 : 0;
                // Free of the box on all sides.
                ASSERT_TRUE(after == 20 || (x > 1 && y > 1)) << x << ", " << y;
            }
        }
        EXPECT_EQ(strokes, 18);
    }
    for (const auto& [x, y] : InkOf(background, kSwitchText))
    {
        ASSERT_GT(x, 171) << y;
    }
}

TEST(LauncherImages, TheButtonCoversAllThatItsHitTestTakes)
{
    Image background = Decode(kLauncherBackground);
    Image pressed = Decode(kStartPressed);
    int32_t face = 0;
    int32_t changed = 0;
    for (int32_t y = 165; y <= 206; ++y)
    {
        for (int32_t x = 195; x <= 252; ++x)
        {
            int up = Green(background, x, y);
            // A label, the face or the key's side: no screen shines through.
            ASSERT_TRUE(up == 0 || up >= 76) << x << ", " << y;
            face += up >= 164 ? 1 : 0;
            changed += up != Green(pressed, x - 188, y - 163) ? 1 : 0;
        }
    }
    EXPECT_GT(face, 58 * 42 * 3 / 4);
    EXPECT_GT(changed, 58 * 42 * 9 / 10);

    // Around the image's 77 by 46 pixels, the screen: the key ends inside.
    for (int32_t y = 163; y <= 208; ++y)
    {
        ASSERT_LT(Green(background, 265, y), 212);
        ASSERT_LT(Green(background, 187, y), 212);
    }
}

TEST(LauncherImages, SdlLoadsThemWithTheirPalettes)
{
    for (const FileRow& row : Files())
    {
        SCOPED_TRACE(row.name);
        Image image = Decode(row.file);
        SDL_Surface* surface = LoadWithSdl(row.file);
        ASSERT_NE(surface, nullptr) << SDL_GetError();
        ASSERT_EQ(surface->w, row.width);
        ASSERT_EQ(surface->h, row.height);
        ASSERT_EQ(surface->format->BitsPerPixel, 8); // one palette number a byte
        ASSERT_EQ(surface->format->palette->ncolors, static_cast<int>(row.greens.size()));
        for (size_t i = 0; i < row.greens.size(); ++i)
        {
            EXPECT_EQ(surface->format->palette->colors[i].r, 0);
            EXPECT_EQ(surface->format->palette->colors[i].g, row.greens[i]);
            EXPECT_EQ(surface->format->palette->colors[i].b, 0);
        }
        const Uint8* pixels = static_cast<const Uint8*>(surface->pixels);
        for (int32_t y = 0; y < row.height; ++y)
        {
            for (int32_t x = 0; x < row.width; ++x)
            {
                ASSERT_EQ(pixels[y * surface->pitch + x], Pixel(image, x, y)) << x << ", " << y;
            }
        }
        SDL_FreeSurface(surface);
    }
}

TEST(LauncherImages, AColourKeyOf0LeavesOutPaletteNumber0AndOnlyThat)
{
    for (ImageFile file : {kResolutionSelector, kAspectSelector})
    {
        Image selector = Decode(file);
        SDL_Surface* surface = LoadWithSdl(file);
        ASSERT_NE(surface, nullptr) << SDL_GetError();
        ASSERT_EQ(SDL_SetColorKey(surface, SDL_SRCCOLORKEY, 0), 0);

        SDL_Surface* target = SDL_CreateRGBSurface(SDL_SWSURFACE, selector.width, selector.height,
                                                   24, 0xFF0000, 0x00FF00, 0x0000FF, 0);
        ASSERT_NE(target, nullptr);
        SDL_FillRect(target, nullptr, SDL_MapRGB(target->format, 90, 60, 30));
        ASSERT_EQ(SDL_BlitSurface(surface, nullptr, target, nullptr), 0);
        const Uint8* pixels = static_cast<const Uint8*>(target->pixels);
        for (int32_t y = 0; y < selector.height; ++y)
        {
            for (int32_t x = 0; x < selector.width; ++x)
            {
                const Uint8* pixel = pixels + y * target->pitch + x * 3; // blue, green, red
                bool drawn = Pixel(selector, x, y) == 1;
                ASSERT_EQ(pixel[0], drawn ? 0 : 30) << x << ", " << y;
                ASSERT_EQ(pixel[1], drawn ? 255 : 60);
                ASSERT_EQ(pixel[2], drawn ? 0 : 90);
            }
        }
        SDL_FreeSurface(target);
        SDL_FreeSurface(surface);
    }
}

TEST(LauncherImages, TheGeneratorWritesTheBytesThatTheProgramHolds)
{
    TemporaryFolder folder;
    std::string command = std::string("'") + PYTHON + "' '" + IMAGE_DIR +
                          "/make_launcher_images.py' '" + folder.path + "'";
    ASSERT_EQ(system(command.c_str()), 0);
    for (const FileRow& row : Files())
    {
        std::string bytes(reinterpret_cast<const char*>(row.file.bytes),
                          static_cast<size_t>(row.file.size));
        EXPECT_TRUE(folder.Read(std::string(row.name) + ".bmp") == bytes) << row.name;
    }
}
