// SPDX-License-Identifier: MIT
#include <cstring>
#include <gtest/gtest.h>
#include <set>

#include "studio/logic/commands.h"
#include "studio/logic/options.h"
#include "studio/logic/settings.h"
#include "studio/logic/typed_moment.h"

namespace
{

struct MomentCase
{
    const char* text;
    uint32_t tick;
};

TEST(Options, AMomentIsSecondsMinutesOrTicks)
{
    const MomentCase cases[] = {
        {"0", 0},     {"12.5", 1250}, {"1:12.5", 7250}, {"1250t", 1250},
        {"0.29", 29}, {".5", 50},     {"10:00", 60000},
    };
    for (const MomentCase& c : cases)
    {
        uint32_t tick = 12345;
        EXPECT_TRUE(ParseMoment(c.text, &tick)) << c.text;
        EXPECT_EQ(tick, c.tick) << c.text;
    }
}

TEST(Options, OtherMomentsAreRefused)
{
    for (const char* text : {"", "t", "-1", "1.5t", "1:2:3", "1..2", "inf", "0x10", "99999999999"})
    {
        uint32_t tick = 0;
        EXPECT_FALSE(ParseMoment(text, &tick)) << text;
    }
}

TEST(TypedMoment, IsATickOrARow)
{
    for (const MomentCase& c : {MomentCase{"12.5", 1250}, {"1:12", 7200}, {" 1250t ", 1250}})
    {
        TypedMoment moment = {};
        EXPECT_TRUE(ParseTypedMoment(c.text, &moment)) << c.text;
        EXPECT_FALSE(moment.isRow) << c.text;
        EXPECT_EQ(moment.tick, c.tick) << c.text;
    }
    TypedMoment moment = {};
    EXPECT_TRUE(ParseTypedMoment("o3:16", &moment));
    EXPECT_TRUE(moment.isRow);
    EXPECT_EQ(moment.order, 3u);
    EXPECT_EQ(moment.row, 16u);
    EXPECT_TRUE(ParseTypedMoment("o12 ", &moment));
    EXPECT_EQ(moment.order, 12u);
    EXPECT_EQ(moment.row, 0u);
}

TEST(TypedMoment, OtherTextsAreRefused)
{
    for (const char* text : {"", "  ", "soon", "1 2", "o", "o:", "o3:", "o:4", "o3:4:5", "o-1",
                             "o1.5", "o1:2t", "o1000", "O3"})
    {
        TypedMoment moment = {};
        EXPECT_FALSE(ParseTypedMoment(text, &moment)) << text;
    }
}

TEST(Options, ASizeHasTwoSides)
{
    int32_t width = 0;
    int32_t height = 0;
    EXPECT_TRUE(ParseSize("640x360", &width, &height));
    EXPECT_EQ(width, 640);
    EXPECT_EQ(height, 360);
    for (const char* text : {"640", "x360", "640x", "0x360", "640x9000", "64ax360", "-1x2"})
    {
        EXPECT_FALSE(ParseSize(text, &width, &height)) << text;
    }
}

TEST(Options, TheViewerTakesAList)
{
    StudioOptions options;
    EXPECT_EQ(ParseOptions({"--play", "--size=320x200", "--from", "2", "--loop", "--mute",
                            "--no-ui", "--fullscreen", "a.dpk", "--", "--b.dpk"},
                           &options),
              "");
    EXPECT_TRUE(options.isViewer && options.repeats && options.isMuted && options.hasNoUi &&
                options.isFullscreen);
    EXPECT_EQ(options.width, 320);
    EXPECT_TRUE(options.hasFrom);
    EXPECT_EQ(options.fromTick, 200u);
    EXPECT_EQ(options.pieces, (std::vector<std::string>{"a.dpk", "--b.dpk"}));
}

TEST(Options, MistakesAreNamed)
{
    StudioOptions options;
    EXPECT_EQ(ParseOptions({"--plya"}, &options), "there is no option \"--plya\"");
    EXPECT_EQ(ParseOptions({"--play"}, &options), "--play needs a piece");
    EXPECT_EQ(ParseOptions({"a", "b"}, &options),
              "the studio opens one piece; --play takes several");
    EXPECT_EQ(ParseOptions({"--size", "big"}, &options),
              "--size \"big\" is no size such as 1280x720");
    EXPECT_EQ(ParseOptions({"--from"}, &options),
              "--from \"\" is no moment such as 12.5, 1:12 or 1250t");
}

TEST(Options, TheHelpTellsOfEachOption)
{
    const std::string help = OptionsHelp();
    for (const char* name : {"--play", "--fullscreen", "--size", "--from", "--loop", "--mute",
                             "--no-ui", "--control", "--help", "--version"})
    {
        EXPECT_NE(help.find(name), std::string::npos) << name;
    }
}

TEST(Commands, NoKeyStandsForTwo)
{
    std::set<std::pair<std::string, int>> keys;
    for (const KeyRow& row : KeyTable())
    {
        EXPECT_TRUE(keys.insert({row.key, row.modifiers}).second) << row.key;
    }
}

TEST(Commands, WhatIsHeldRepeatsStepsAlone)
{
    for (const KeyRow& row : KeyTable())
    {
        const bool isStep = row.command <= Command::kOnBeat && row.command != Command::kPlayPause;
        const bool isSwitch = row.command == Command::kPlayPause || row.command == Command::kMute ||
                              row.command == Command::kPanels || row.command == Command::kPicture ||
                              row.command == Command::kLeave;
        EXPECT_TRUE(!isStep || row.repeats) << row.key;
        EXPECT_FALSE(isSwitch && row.repeats) << row.key;
    }
}

TEST(Commands, EachHasAKey)
{
    std::set<Command> commands;
    for (const KeyRow& row : KeyTable())
    {
        commands.insert(row.command);
    }
    EXPECT_EQ(commands.size(), static_cast<size_t>(Command::kQuit) + 1);
}

TEST(Settings, ComeBackAsTheyWereKept)
{
    StudioSettings settings = DefaultSettings();
    settings.editor = "code -g %f:%l";
    settings.volume = 30;
    settings.panels = 5;
    NotePlace(&settings, "/a b/c.dpk", 120);
    NotePlace(&settings, "/d=e", 7);
    const StudioSettings read = ParseSettings(FormatSettings(settings));
    EXPECT_EQ(read.editor, settings.editor);
    EXPECT_EQ(read.volume, 30);
    EXPECT_EQ(read.panels, 5);
    EXPECT_EQ(read.windowWidth, settings.windowWidth);
    EXPECT_EQ(FindPlace(read, "/a b/c.dpk"), 120u);
    EXPECT_EQ(FindPlace(read, "/d=e"), 7u);
    EXPECT_TRUE(IsKnownPiece(read, "/d=e"));
    EXPECT_FALSE(IsKnownPiece(read, "/d"));
    EXPECT_EQ(read.lastPlaces.front().first, "/d=e");
}

TEST(Settings, LinesThatAreNoneLeaveTheDefault)
{
    const StudioSettings read =
        ParseSettings("volume=500\nwidth=-3\nheight\n=\npiece=12\npiece=x /a\nvolume\n");
    EXPECT_EQ(read.volume, 100);
    EXPECT_EQ(read.windowWidth, DefaultSettings().windowWidth);
    EXPECT_TRUE(read.lastPlaces.empty());
}

TEST(Settings, APieceCanStandAtItsStart)
{
    const StudioSettings read = ParseSettings("piece=0 /a\npiece=7 b\npiece=8 \n");
    ASSERT_EQ(read.lastPlaces.size(), 2u);
    EXPECT_EQ(read.lastPlaces[0].second, 0u);
    EXPECT_EQ(read.lastPlaces[1].first, "b");
}

TEST(Settings, APieceStandsOnceAndTheOldestGo)
{
    StudioSettings settings = DefaultSettings();
    for (uint32_t i = 0; i < 40; ++i)
    {
        NotePlace(&settings, "/piece" + std::to_string(i % 20), i);
    }
    ASSERT_EQ(settings.lastPlaces.size(), kMostRecentPieces);
    EXPECT_EQ(settings.lastPlaces[0].first, "/piece19");
    EXPECT_EQ(FindPlace(settings, "/piece19"), 39u);
    EXPECT_EQ(FindPlace(settings, "/piece3"), 0u);
}

TEST(Settings, LinesOfTheUserStay)
{
    const StudioSettings read = ParseSettings("# mine\n\nvolume=7\ncolor=red\nwidth=1000");
    EXPECT_EQ(FormatSettings(read).find("# mine\ncolor=red\n"),
              FormatSettings(read).size() - strlen("# mine\ncolor=red\n"));
    EXPECT_EQ(FormatSettings(ParseSettings(FormatSettings(read))), FormatSettings(read));
}

TEST(Settings, WhatOthersChangeMeanwhileStays)
{
    StudioSettings before = DefaultSettings();
    before.lastPlaces = {{"/one", 1}, {"/two", 2}, {"/three", 3}};
    StudioSettings after = before;
    after.volume = 40;
    NotePlace(&after, "/two", 20);
    NotePlace(&after, "/four", 4);
    StudioSettings file = before;
    file.editor = "vi +%l %f";
    file.volume = 60;
    file.windowHeight = 700;
    file.otherLines = "# mine\n";
    NotePlace(&file, "/one", 10);
    const StudioSettings merged = MergeSettings(before, after, file);
    EXPECT_EQ(merged.editor, "vi +%l %f");
    EXPECT_EQ(merged.volume, 40);
    EXPECT_EQ(merged.windowHeight, 700);
    EXPECT_EQ(merged.windowWidth, before.windowWidth);
    EXPECT_EQ(merged.otherLines, "# mine\n");
    const std::vector<std::pair<std::string, uint32_t>> places = {
        {"/four", 4}, {"/two", 20}, {"/one", 10}, {"/three", 3}};
    EXPECT_EQ(merged.lastPlaces, places);
    EXPECT_EQ(FormatSettings(MergeSettings(before, after, before)), FormatSettings(after));
    EXPECT_EQ(FormatSettings(MergeSettings(before, before, file)), FormatSettings(file));
}

TEST(Settings, TheFolderIsTheUsersOwn)
{
    EXPECT_EQ(SettingsFolder("/c", "/h"), "/c/quorvale-studio");
    EXPECT_EQ(SettingsFolder(nullptr, "/h"), "/h/.config/quorvale-studio");
    EXPECT_EQ(SettingsFolder("relative", "/h"), "/h/.config/quorvale-studio");
    EXPECT_EQ(SettingsFolder(nullptr, nullptr), "");
}

} // namespace
