// SPDX-License-Identifier: MIT

// The window of the player, on a screen that nobody sees, against the pictures that `dpk render`
// makes without one: byte for byte the same.
#include <gtest/gtest.h>
#include <set>
#include <string>

#include "support/launcher_pointer.h"
#include "support/player_process.h"
#include "support/virtual_screen.h"
#include "tools/dpk_run.h"

static constexpr size_t kPictureBytes = size_t{1024} * 768 * 3;
static constexpr int kClips = 1000;

/// @return the text of a file outside the folder
static std::string ReadSource(const TemporaryFolder& folder, const std::string& name)
{
    const std::string command = "cp '" + std::string(SOURCES) + "'/*.xml '" + std::string(SOURCES) +
                                "'/*.obj '" + std::string(SOURCES) + "'/*.png '" + folder.path +
                                "/piece'";
    return system(command.c_str()) == 0 ? folder.Read("piece/" + name) : "";
}

/// Makes the sample piece play one second of a scene again and again, so that whenever the screen
/// is looked at, it shows one of a hundred pictures.
static void MakeRepeatingPiece(const TemporaryFolder& folder)
{
    folder.Write("piece/made", "");
    std::string demo = ReadSource(folder, "demo.xml");
    const size_t begin = demo.find("<timeline>");
    const size_t end = demo.find("</timeline>");
    size_t first = demo.find("<clip id=\"8\"", begin);
    ASSERT_NE(first, std::string::npos);
    std::string clip = demo.substr(first, demo.find("</clip>", first) + 7 - first);
    clip.replace(0, clip.find('>') + 1,
                 "<clip id=\"8\" space_before=\"0\" length=\"100\" offset=\"300\" type=\"0\">");
    std::string timeline = "<timeline><row>";
    for (int i = 0; i < kClips; ++i)
    {
        timeline += clip;
    }
    demo.replace(begin, end - begin, timeline + "</row>");
    demo.replace(demo.find("<music"), std::string::npos, "<music/>\n");
    folder.Write("piece/demo.xml", demo);
    const DpkRun build = RunDpk(folder, {"build", "piece", "-o", "piece.dpk", "--ignore", "made"});
    ASSERT_EQ(build.exitCode, 0) << build.out << build.err;
}

TEST(RenderWindow, ThePlayersPicturesAreAmongTheRendered)
{
    TemporaryFolder folder;
    MakeRepeatingPiece(folder);
    const DpkRun render = RunDpk(folder, {"render", "piece.dpk", "--size", "1024x768", "--aspect",
                                          "4:3", "--fps", "100", "--to", "100t", "-o", "-"});
    ASSERT_EQ(render.exitCode, 0) << render.err;
    std::set<std::string> rendered;
    for (size_t at = 0; at < render.out.size(); at += kPictureBytes)
    {
        rendered.insert(render.out.substr(at, kPictureBytes));
    }
    EXPECT_GT(rendered.size(), 50u); // it moves

    VirtualScreen screen(1024, 768);
    PlayerSetting setting;
    setting.program = PLAYER;
    setting.folder = folder.path;
    setting.display = screen.name;
    setting.environment = {{"SDL_AUDIODRIVER", "dummy"}};
    PlayerProcess player(setting);
    ASSERT_TRUE(ClickStart(screen));
    std::set<std::string> seen;
    size_t unknown = 0;
    // Each look shows a picture that was rendered, once the loading screen has gone.
    EXPECT_TRUE(WaitUntil(
        [&]()
        {
            const Picture picture = CaptureScreen(screen);
            const std::string bytes(picture.rgb.begin(), picture.rgb.end());
            if (rendered.count(bytes) != 0)
            {
                seen.insert(bytes);
            }
            else
            {
                unknown += seen.empty() ? 0 : 1;
            }
            return seen.size() >= 3;
        }))
        << seen.size() << " pictures were seen";
    EXPECT_EQ(unknown, 0u);
}
