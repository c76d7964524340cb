// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>

#include "engine/data/cos_table.h"
#include "engine/piece/piece.h"
#include "engine/textures/corner_masks.h"
#include "support/fault_text.h"
#include "support/package_builder.h"

#ifdef QUORVALE_SANITIZE
static constexpr bool kCountsMemory = false; // the sanitizer's own would count too
#else
static constexpr bool kCountsMemory = true;
#endif

/// Packages of some hundred kilobytes at most that ask for far more than they are worth. They are
/// opened in a process that may take 300 MB more than it has.
class ResourceLimits : public testing::Test
{
  protected:
    static void SetUpTestSuite()
    {
        BuildCosTable();
        BuildCornerMasks();
    }

    /// Opens the piece and gives it back.
    /// @return the line of its fault
    static std::string Open(const std::string& package)
    {
        FaultList faults = {};
        Piece piece = {};
        PieceState state = {};
        const PieceSource source = {nullptr, reinterpret_cast<const unsigned char*>(package.data()),
                                    package.size(), true};
        OpenPiece(&source, &piece, &state, &faults);
        const std::string text = FaultText(faults);
        FreePieceState(&state);
        ClosePiece(&piece);
        FreeFaults(&faults);
        return text;
    }

    /// Expects a fault with these words, and no more memory than a small package is worth.
    static void ExpectRefused(const std::string& package, const std::string& words)
    {
        EXPECT_LT(package.size(), 600000u);
        EXPECT_EXIT(
            {
                rusage before = {};
                getrusage(RUSAGE_SELF, &before);
                const std::string line = Open(package);
                rusage after = {};
                getrusage(RUSAGE_SELF, &after);
                const long kilobytes = after.ru_maxrss - before.ru_maxrss;
                fprintf(stderr, "%s took %ld kB\n", line.c_str(), kilobytes);
                const bool isSmall = !kCountsMemory || kilobytes < 300000;
                _exit(line.find(words) != std::string::npos && isSmall ? 0 : 1);
            },
            testing::ExitedWithCode(0), "");
    }

    static std::string PieceOf(const std::string& demo)
    {
        return MakePackage({{"demo.xmlz", MakeContainer(demo)}});
    }

    static std::string Repeated(const std::string& text, int count)
    {
        std::string all;
        for (int i = 0; i < count; ++i)
        {
            all += text;
        }
        return all;
    }

    /// A document with these items in one section.
    static std::string DocumentWith(size_t section, const std::string& items)
    {
        DocumentSource source;
        source.sections[section] = items;
        return MakeDocument(source);
    }

    static constexpr const char* kTooMuch = "may not take so much memory";
};

TEST_F(ResourceLimits, AMillionNodesAreRefused)
{
    ExpectRefused(PieceOf("<a>" + Repeated("<b c=''/>", 600000) + "</a>"), kTooMuch);
}

TEST_F(ResourceLimits, ThousandsOfAttributesAreRefused)
{
    std::string element = "<a";
    for (int i = 0; i < 1000; ++i)
    {
        element += " a" + std::to_string(i) + "=''";
    }
    ExpectRefused(PieceOf(Repeated(element + "/>", 100)), "more than 64 attributes");
}

TEST_F(ResourceLimits, TextWithoutEndIsRefused)
{
    ExpectRefused(PieceOf(std::string(80 << 20, ' ')), "larger than any document");
    ExpectRefused(PieceOf("<a>" + std::string(120 << 20, 'x')), "larger than any document");
}

TEST_F(ResourceLimits, LargeModelsAreRefused)
{
    // One vertex with one set of coordinates, and indices of it.
    const std::string model =
        MakeContainer(std::string("\x01\0\0\0\x01", 5) + std::string(100 << 20, '\0'));
    ExpectRefused(MakePackage({{"m", model},
                               {"n", model},
                               {"o", model},
                               {"demo.xmlz", DocumentWith(2, "<m filename=\"m\"/>"
                                                             "<m filename=\"n\"/>"
                                                             "<m filename=\"o\"/>")}}),
                  kTooMuch);
}

TEST_F(ResourceLimits, ALargeModelOfFourItemsCountsOnce)
{
    const std::string model =
        MakeContainer(std::string("\x01\0\0\0\x01", 5) + std::string(70 << 20, '\0'));
    DocumentSource demo;
    demo.sections[2] = Repeated("<m filename=\"m\"/>", 4);
    demo.sections[10] = "<row/>";
    EXPECT_EQ(Open(MakePackage({{"m", model}, {"demo.xmlz", MakeDocument(demo)}})), "");
}

TEST_F(ResourceLimits, ALargeImageIsRefused)
{
    // By its head a portable pixmap of 16384 x 16384 pixels.
    ExpectRefused(MakePackage({{"a", "P6 16384 16384 255\n"},
                               {"demo.xmlz", DocumentWith(6, "<b filename=\"a\"/>")}}),
                  kTooMuch);
}

/// A run-length encoded Targa image of one color, in RGB.
/// @param side   a multiple of 128
static std::string MakePlainTga(int side)
{
    std::string file(18, '\0');
    file[2] = 10;
    for (const size_t at : {size_t{12}, size_t{14}})
    {
        file[at] = static_cast<char>(side & 255);
        file[at + 1] = static_cast<char>(side >> 8);
    }
    file[16] = 24;
    for (int i = 0; i < side * (side / 128); ++i)
    {
        file += "\xFFrgb";
    }
    return file;
}

TEST_F(ResourceLimits, AnImageOf4096FitsASmallPackageAndOneOf8192DoesNot)
{
    DocumentSource demo;
    demo.sections[6] = Repeated("<b filename=\"a\"/>", 3); // decoded once
    demo.sections[10] = "<row/>";
    const std::string text = MakeDocument(demo);
    EXPECT_EQ(Open(MakePackage({{"a", MakePlainTga(4096)}, {"demo.xmlz", text}})), "");
    std::string large = MakePlainTga(128); // by its head of 8192 x 8192 pixels
    large[13] = 32;
    large[15] = 32;
    ExpectRefused(MakePackage({{"a", large}, {"demo.xmlz", text}}), kTooMuch);
}

TEST_F(ResourceLimits, ThousandsOfTexturesAreRefused)
{
    ExpectRefused(MakePackage({{"demo.xmlz", DocumentWith(1, Repeated("<t/>", 4096))}}), kTooMuch);
}

TEST_F(ResourceLimits, AnEntryThatClaimsMoreThanThePackageIsRefused)
{
    std::string package =
        MakePackage({{"a", "\xFF\xD8"}, {"demo.xmlz", DocumentWith(6, "<b filename=\"a\"/>")}});
    package.replace(3 + 36, 4, std::string("\x7F\0\0\0", 4)); // its last byte
    ExpectRefused(package, "can't be allocated");
}

TEST_F(ResourceLimits, ASizeWordAboveTheBudgetIsRefused)
{
    std::string model = MakeContainer("model");
    model[3] = 0x20; // 512 MiB
    ExpectRefused(
        MakePackage({{"m", model}, {"demo.xmlz", DocumentWith(2, "<m filename=\"m\"/>")}}),
        kTooMuch);
}
