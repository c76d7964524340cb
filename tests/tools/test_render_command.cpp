// SPDX-License-Identifier: MIT

// `dpk render` as its users run it, on the sample piece in small pictures. No test here has a
// display.
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "support/package_builder.h"
#include "support/small_piece.h"
#include "tools/dpk_run.h"

/// A stretch in which a bitmap shows its own last picture.
static const std::vector<std::string> kStretch = {"--size", "64x48", "--fps", "25",
                                                  "--from", "1000t", "--to",  "1100t"};
// Of the sample piece, where pictures feed themselves.
static const std::vector<std::string> kFeedback = {"--size", "64x48", "--fps", "25",
                                                   "--from", "8900t", "--to",  "9000t"};

class RenderCommand : public testing::Test
{
  protected:
    void SetUp() override
    {
        unsetenv("DISPLAY");
        unsetenv("WAYLAND_DISPLAY");
        setenv("LP_NUM_THREADS", "1", 1);
    }

    DpkRun Render(std::vector<std::string> arguments,
                  const DpkSurroundings& surroundings = kOrdinary)
    {
        arguments.insert(arguments.begin(), {"render", package});
        return RunDpk(folder, arguments, surroundings);
    }

    /// Renders a stretch with more options.
    DpkRun RenderStretch(const std::vector<std::string>& more)
    {
        std::vector<std::string> arguments = package == SAMPLE ? kFeedback : kStretch;
        arguments.insert(arguments.end(), more.begin(), more.end());
        return Render(arguments);
    }

    bool Has(const std::string& name)
    {
        struct stat status = {};
        return stat((folder.path + "/" + name).c_str(), &status) == 0;
    }

    /// Puts a program of this text in ffmpeg's place.
    void ReplaceFfmpeg(const std::string& script)
    {
        folder.Write("bin/ffmpeg", "#!/bin/sh\n" + script);
        chmod((folder.path + "/bin/ffmpeg").c_str(), 0755);
        setenv("PATH", (folder.path + "/bin:" + getenv("PATH")).c_str(), 1);
    }

    /// The printed lines of a program.
    std::string Output(const std::string& command)
    {
        FILE* stream = popen(("cd '" + folder.path + "' && " + command).c_str(), "r");
        std::string text;
        char block[4096];
        for (size_t got = 0; (got = fread(block, 1, sizeof(block), stream)) > 0;)
        {
            text.append(block, got);
        }
        pclose(stream);
        return text;
    }

    // A new author's piece opens at once. It serves where pictures have only to differ.
    std::string package = NEW_PIECE;
    TemporaryFolder folder;
};

TEST_F(RenderCommand, JobsAndDriverThreadsDoNotShow)
{
    package = SAMPLE;
    const DpkRun once = RenderStretch({"--hash"});
    ASSERT_EQ(once.exitCode, 0) << once.err;
    EXPECT_EQ(once.out.substr(0, 9), "pictures ");
    EXPECT_EQ(RenderStretch({"--hash", "--jobs", "4"}).out, once.out);
    setenv("LP_NUM_THREADS", "8", 1);
    EXPECT_EQ(RenderStretch({"--hash"}).out, once.out);
    EXPECT_EQ(RenderStretch({"--hash", "--no-vbo"}).out, once.out);
}

TEST_F(RenderCommand, APictureDependsOnItsTickAlone)
{
    package = SAMPLE;
    ASSERT_EQ(RenderStretch({"-o", "p/%05d.png"}).exitCode, 0);
    // Picture 20 shows tick 8980, after 80 ticks of a picture that feeds itself.
    ASSERT_EQ(Render({"--size", "64x48", "--at", "8980t", "-o", "still.png"}).exitCode, 0);
    EXPECT_EQ(folder.Read("p/00020.png"), folder.Read("still.png"));
}

TEST_F(RenderCommand, RawPicturesComeInOrderWithAnyJobs)
{
    const DpkRun one = RenderStretch({"-o", "-"});
    EXPECT_EQ(one.exitCode, 0) << one.err;
    EXPECT_EQ(one.out.size(), size_t{25} * 64 * 48 * 3);
    const DpkRun three = RenderStretch({"-o", "-", "--jobs", "3"});
    EXPECT_EQ(three.exitCode, 0) << three.err;
    EXPECT_TRUE(three.out == one.out);
}

TEST_F(RenderCommand, PartsOfPicturesJoinToTheWhole)
{
    const DpkRun whole = RenderStretch({"-o", "whole/%05d.ppm"});
    ASSERT_EQ(whole.exitCode, 0) << whole.err;
    for (const char* part : {"3/3", "1/3"})
    {
        ASSERT_EQ(RenderStretch({"-o", "p/%05d.ppm", "--part", part}).exitCode, 0);
    }
    const DpkRun early = RunDpk(folder, {"render", "--join", "-o", "p/%05d.ppm"});
    EXPECT_EQ(early.exitCode, 1);
    EXPECT_EQ(early.err, "dpk: part 2 of 3 is missing: dpk render --part 2/3 makes it\n");

    ASSERT_EQ(RenderStretch({"-o", "p/%05d.ppm", "--part", "2/3"}).exitCode, 0);
    const DpkRun joined = RunDpk(folder, {"render", "--join", "-o", "p/%05d.ppm"});
    EXPECT_EQ(joined.exitCode, 0) << joined.err;
    EXPECT_EQ(joined.out.substr(joined.out.find("\npictures ")),
              whole.out.substr(whole.out.find("\npictures ")));
    EXPECT_EQ(Output("diff -r whole p && echo same"), "same\n");
}

TEST_F(RenderCommand, AJoinTellsADamagedPicture)
{
    ASSERT_EQ(RenderStretch({"-o", "p/%05d.png", "--part", "1/1"}).exitCode, 0);
    folder.Write("p/00007.png", "cut");
    const DpkRun joined = RunDpk(folder, {"render", "--join", "-o", "p/%05d.png"});
    EXPECT_EQ(joined.exitCode, 1);
    EXPECT_EQ(joined.err, "dpk: p/00007.png, of part 1 of 1: it is no PNG file\n");
}

TEST_F(RenderCommand, PartsOfTwoRendersAreNotJoined)
{
    ASSERT_EQ(RenderStretch({"-o", "p/%05d.png", "--part", "1/2"}).exitCode, 0);
    ASSERT_EQ(RenderStretch({"-o", "p/%05d.png", "--part", "2/2", "--aspect", "4"}).exitCode, 0);
    const DpkRun joined = RunDpk(folder, {"render", "--join", "-o", "p/%05d.png"});
    EXPECT_EQ(joined.exitCode, 1);
    EXPECT_NE(joined.err.find("part 1 and part 2 are not of one render"), std::string::npos);
}

/// The words of a join about records that somebody else wrote.
TEST_F(RenderCommand, RecordsThatDoNotFitAreTold)
{
    struct Records
    {
        std::vector<std::pair<const char*, std::string>> files;
        const char* said;
    };
    const std::string head = "quorvale-part 1\nsettings x\n";
    const Records wrong[] = {
        {{}, "p/: there are no parts; dpk render --part K/N makes them\n"},
        {{{"p/part-1-of-1.txt", "nothing\n"}},
         "p//part-1-of-1.txt: it is no record of a part, or it is damaged\n"},
        {{{"p/part-1-of-1.txt", head + "pictures 0 0 7\n"}}, "the parts end with picture 0 of 7\n"},
        {{{"p/part-1-of-1.txt", head + "part 1 1\npictures 3 3 3\n"}},
         "part 1 begins with picture 3, and not with 0\n"},
        {{{"p/part-1-of-2.txt", head}, {"p/part-1-of-3.txt", head}}, "p/: it has parts of "},
        {{{"p/part-1-of-1.txt", head + "part 1 1\npictures 0 0 0\n"}},
         "the settings of the parts can't be read\n"},
    };
    for (const Records& records : wrong)
    {
        folder.Write("p/x", "");
        for (const auto& [name, text] : records.files)
        {
            folder.Write(name, text);
        }
        const DpkRun joined = RunDpk(folder, {"render", "--join", "-o", "p/%05d.png"});
        EXPECT_EQ(joined.exitCode, 1);
        EXPECT_TRUE(joined.err.starts_with(std::string("dpk: ") + records.said)) << joined.err;
        for (const auto& [name, text] : records.files)
        {
            unlink((folder.path + "/" + name).c_str());
        }
    }
}

static const std::vector<std::string> kFilm = {"--size", "32x24", "--fps", "100",
                                               "--from", "1000t", "--to",  "1500t"};

TEST_F(RenderCommand, AFilmIsTheSameWithJobsAndInParts)
{
    std::vector<std::string> arguments = kFilm;
    arguments.insert(arguments.end(), {"-o", "one.mp4"});
    ASSERT_EQ(Render(arguments).exitCode, 0);
    arguments.back() = "jobs.mp4";
    arguments.insert(arguments.end(), {"--jobs", "4"});
    ASSERT_EQ(Render(arguments).exitCode, 0);
    for (const char* part : {"2/2", "1/2"})
    {
        std::vector<std::string> ofPart = kFilm;
        ofPart.insert(ofPart.end(), {"-o", "parts.mp4", "--part", part});
        const DpkRun run = Render(ofPart);
        ASSERT_EQ(run.exitCode, 0) << run.err;
    }
    ASSERT_EQ(RunDpk(folder, {"render", "--join", "-o", "parts.mp4"}).exitCode, 0);
    EXPECT_TRUE(folder.Read("one.mp4") == folder.Read("jobs.mp4"));
    EXPECT_TRUE(folder.Read("one.mp4") == folder.Read("parts.mp4"));
    EXPECT_EQ(FilesIn(folder), "jobs.mp4 one.mp4 parts.mp4");
}

TEST_F(RenderCommand, FfprobeAgreesOnAFilm)
{
    std::vector<std::string> arguments = kFilm;
    arguments.insert(arguments.end(), {"-o", "film.mp4"});
    ASSERT_EQ(Render(arguments).exitCode, 0);
    EXPECT_EQ(Output("ffprobe -loglevel error -show_entries stream=codec_name,width,height,"
                     "r_frame_rate,nb_frames,duration,pix_fmt -of csv=p=0 film.mp4"),
              "h264,32,24,yuv420p,100/1,5.000000,500\naac,0/0,5.000000,217\n");
    EXPECT_EQ(Output("ffprobe -loglevel error -select_streams v -show_entries packet=pts "
                     "-of csv=p=0 film.mp4 | sort -n | uniq | wc -l"),
              "500\n");
}

TEST_F(RenderCommand, TheEndingChoosesTheCodecsAndWordsChangeThem)
{
    struct Film
    {
        std::vector<std::string> options;
        const char* codecs;
    };
    const std::vector<Film> films = {
        {{"-o", "a.webm"}, "vp9\nopus\n"},
        {{"-o", "b.mov"}, "h264\naac\n"},
        {{"-o", "c.mkv"}, "ffv1\nflac\n"},
        {{"-o", "d.mkv", "--ffmpeg", "-c:v mjpeg -q:v 3 -pix_fmt yuvj420p"}, "mjpeg\nflac\n"},
        {{"-o", "e.mp4", "--no-sound"}, "h264\n"},
    };
    for (const Film& film : films)
    {
        std::vector<std::string> arguments = {"--size", "64x48", "--fps", "25",
                                              "--from", "10",    "--to",  "10.4"};
        arguments.insert(arguments.end(), film.options.begin(), film.options.end());
        const DpkRun run = Render(arguments);
        ASSERT_EQ(run.exitCode, 0) << film.options[1] << run.err;
        EXPECT_EQ(Output("ffprobe -loglevel error -show_entries stream=codec_name -of csv=p=0 " +
                         film.options[1]),
                  film.codecs);
    }
}

TEST_F(RenderCommand, SizesAboveTheLaunchersAreDrawn)
{
    package = SAMPLE;
    const DpkRun run =
        Render({"--size", "3840x2160", "--samples", "0", "--at", "30", "-o", "4k.ppm"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const std::string picture = folder.Read("4k.ppm");
    const std::string head = "P6\n3840 2160\n255\n";
    EXPECT_EQ(picture.substr(0, head.size()), head);
    ASSERT_EQ(picture.size(), head.size() + size_t{3840} * 2160 * 3);
    // Something stands in each quarter of it.
    for (size_t quarter = 0; quarter < 4; ++quarter)
    {
        size_t sum = 0;
        for (size_t i = 0; i < size_t{1920} * 1080; ++i)
        {
            const size_t x = i % 1920 + quarter % 2 * 1920;
            const size_t y = i / 1920 + quarter / 2 * 1080;
            sum += static_cast<uint8_t>(picture[head.size() + (y * 3840 + x) * 3]);
        }
        EXPECT_GT(sum, size_t{1920} * 1080) << quarter;
    }
}

TEST_F(RenderCommand, TheAspectIsThePicturesAndNotTheSizes)
{
    package = SAMPLE;
    const auto draw = [this](const char* aspect)
    {
        EXPECT_EQ(
            Render({"--size", "64x48", "--at", "30", "--aspect", aspect, "-o", "a.ppm", "--force"})
                .exitCode,
            0)
            << aspect;
        return folder.Read("a.ppm");
    };
    EXPECT_EQ(Render({"--size", "64x48", "--at", "30", "-o", "size.ppm"}).exitCode, 0);
    const std::string bySize = folder.Read("size.ppm");
    EXPECT_TRUE(draw("4:3") == bySize);
    const std::string wide = draw("16:9");
    EXPECT_FALSE(wide == bySize);
    EXPECT_TRUE(draw("1.7777778") == wide);
}

TEST_F(RenderCommand, AFilmWithoutLossHasThePicturesBytes)
{
    std::vector<std::string> arguments = kFilm;
    arguments.insert(arguments.end(), {"-o", "film.mkv"});
    ASSERT_EQ(Render(arguments).exitCode, 0);
    arguments.back() = "-";
    const DpkRun raw = Render(arguments);
    EXPECT_TRUE(Output("ffmpeg -loglevel error -i film.mkv -f rawvideo -pix_fmt rgb24 -") ==
                raw.out);
    std::vector<std::string> sound = kFilm;
    sound.insert(sound.end(), {"-o", "sound.wav"});
    ASSERT_EQ(Render(sound).exitCode, 0);
    const std::string samples = Output("ffmpeg -loglevel error -i film.mkv -f s16le -");
    EXPECT_EQ(samples.size(), size_t{5} * 44100 * 4);
    EXPECT_TRUE(folder.Read("sound.wav").substr(44) == samples);
}

TEST_F(RenderCommand, SoundOfAStretchIsAStretchOfTheSound)
{
    ASSERT_EQ(Render({"-o", "all.wav"}).exitCode, 0);
    ASSERT_EQ(Render({"-o", "some.wav", "--from", "10", "--to", "12"}).exitCode, 0);
    const std::string all = folder.Read("all.wav");
    EXPECT_EQ(all.size(), size_t{44} + size_t{16} * 44100 * 4);
    EXPECT_TRUE(folder.Read("some.wav").substr(44) ==
                all.substr(44 + size_t{10} * 44100 * 4, size_t{2} * 44100 * 4));
}

TEST_F(RenderCommand, WithoutFfmpegThereIsNoFilm)
{
    setenv("PATH", folder.path.c_str(), 1);
    const DpkRun run = RenderStretch({"-o", "film.mp4"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "dpk: ffmpeg: there is no such program; films need it (Debian: apt install "
                       "ffmpeg)\n");
    EXPECT_EQ(FilesIn(folder), "");
}

TEST_F(RenderCommand, TheLastWordsOfFfmpegAreTold)
{
    ReplaceFfmpeg(
        "[ \"$1\" = -version ] && exit 0\necho 'the disk is made of cheese' >&2\nexit 3\n");
    const DpkRun run = RenderStretch({"-o", "film.mp4"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "dpk: ffmpeg: the disk is made of cheese\ndpk: ffmpeg failed with exit code "
                       "3\n");
    EXPECT_EQ(FilesIn(folder), "bin");
}

TEST_F(RenderCommand, AFfmpegThatTakesNoMoreIsTold)
{
    // Together the pictures do not fit into the pipe that it leaves.
    ReplaceFfmpeg("exit 0\n");
    const DpkRun run = RenderStretch({"-o", "film.mp4"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "dpk: ffmpeg takes no more pictures\n");
    EXPECT_EQ(FilesIn(folder), "bin");
}

TEST_F(RenderCommand, APieceWithoutAnEndNeedsOne)
{
    DocumentSource endless = QuickDocument();
    endless.sections[10] = "<row><clip id=\"1\" space_before=\"0\" length=\"200000\" offset=\"0\" "
                           "type=\"0\"><v type=\"static\" value=\"0\"/><v type=\"static\" "
                           "value=\"0\"/><v type=\"static\" value=\"0\"/><v type=\"static\" "
                           "value=\"0\"/><v type=\"static\" value=\"0\"/><v type=\"static\" "
                           "value=\"0\"/><fov type=\"ortographic\"/><fog type=\"0\"/></clip></row>";
    folder.Write("endless.dpk", SmallPieceOf(QuickDocument(), endless));
    package = folder.path + "/endless.dpk";
    const DpkRun run = Render({"-o", "p/%d.png", "--size", "16x12"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "dpk: " + package + ": it never ends, so --to is needed\n");
    EXPECT_EQ(Render({"-o", "p/%d.png", "--size", "16x12", "--to", "4t", "--fps", "25"}).exitCode,
              0);
}

TEST_F(RenderCommand, AFfmpegThatASignalEndsIsTold)
{
    ReplaceFfmpeg("[ \"$1\" = -version ] && exit 0\ncat >/dev/null\nkill -9 $$\n");
    const DpkRun run = RenderStretch({"-o", "film.mp4"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.err.find("dpk: ffmpeg was ended by signal 9\n"), std::string::npos) << run.err;
    EXPECT_EQ(FilesIn(folder), "bin");
}

/// Starts a render of the whole piece, and ends it by a signal when a file is there.
static DpkRun StopRender(const TemporaryFolder& folder, std::vector<std::string> arguments,
                         const std::string& file)
{
    arguments.insert(arguments.begin(), {"render", SAMPLE});
    folder.Write("stop", "#!/bin/sh\nuntil [ -e \"" + folder.path + "/" + file +
                             "\" ]; do :; done\nkill -INT $1\n");
    const pid_t child = fork();
    if (child == 0)
    {
        ExecuteDpk(folder, arguments);
    }
    const std::string command = "sh '" + folder.path + "/stop' " + std::to_string(child);
    EXPECT_EQ(system(command.c_str()), 0);
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    unlink((folder.path + "/stop").c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, "", ""};
}

TEST_F(RenderCommand, AStoppedFilmIsGone)
{
    package = SAMPLE;
    const DpkRun run = StopRender(folder, {"--size", "64x48", "-o", "film.mp4", "--jobs", "2"},
                                  "film.mp4.parts/0000000.nut.new");
    EXPECT_EQ(run.exitCode, 130);
    EXPECT_EQ(FilesIn(folder), "");
}

TEST_F(RenderCommand, AStoppedFilmIsKeptWholeUpToThere)
{
    package = SAMPLE;
    // Two pieces are whole or under way when the second one begins.
    const DpkRun run = StopRender(folder, {"--size", "64x48", "-o", "film.mkv", "--keep"},
                                  "film.mkv.parts/0000001.nut.new");
    EXPECT_EQ(run.exitCode, 130);
    EXPECT_EQ(FilesIn(folder), "film.mkv");
    const std::string kept = Output("ffmpeg -loglevel error -i film.mkv -f rawvideo -pix_fmt "
                                    "rgb24 - | head -c 2211840 | sha1sum");
    const DpkRun raw = Render({"--size", "64x48", "--to", "4", "-o", "-"});
    folder.Write("raw", raw.out);
    EXPECT_EQ(raw.out.size(), 2211840u);
    EXPECT_EQ(kept, Output("sha1sum < raw"));
}

TEST_F(RenderCommand, StoppedPicturesAreGoneOnWith)
{
    package = SAMPLE;
    const DpkRun stopped =
        StopRender(folder, {"--size", "64x48", "--to", "3", "-o", "p/%d.ppm"}, "p/5.ppm");
    EXPECT_EQ(stopped.exitCode, 130);
    EXPECT_FALSE(Has("p/179.ppm"));
    const DpkRun run = Render({"--size", "64x48", "--to", "3", "-o", "p/%d.ppm", "--resume"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_TRUE(Has("p/179.ppm"));
    const DpkRun hash = Render({"--size", "64x48", "--to", "3", "--hash"});
    EXPECT_NE(run.out.find(hash.out), std::string::npos);
}

TEST_F(RenderCommand, NothingIsWrittenOverUnasked)
{
    folder.Write("still.png", "mine");
    const DpkRun run = Render({"--size", "32x24", "--at", "0", "-o", "still.png"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "dpk: still.png: it is there already; --force writes over it\n");
    EXPECT_EQ(folder.Read("still.png"), "mine");
    EXPECT_EQ(Render({"--size", "32x24", "--at", "0", "-o", "still.png", "--force"}).exitCode, 0);
}

TEST_F(RenderCommand, APlaceThatIsTakenIsToldBeforeTheBuild)
{
    folder.Write("src/piece.py", "open('ran', 'w')\n");
    folder.Write("taken.png", "mine");
    folder.Write("taken.mp4", "mine");
    folder.Write("p/0.ppm", "mine");
    package = "src";
    const std::vector<std::vector<std::string>> cases = {
        {"--at", "0", "-o", "taken.png"},
        {"--sheet", "2x2", "-o", "taken.png"},
        {"-o", "taken.mp4"},
        {"-o", "p/%d.ppm"},
        {"--thumbnail", "64", "-o", "taken.png"},
    };
    for (const std::vector<std::string>& arguments : cases)
    {
        const DpkRun run = Render(arguments);
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_NE(run.err.find("it is there already; --force writes over it"), std::string::npos)
            << run.err;
        EXPECT_FALSE(Has("src/ran"));
    }
}

TEST_F(RenderCommand, ResumingDrawsWhatIsMissing)
{
    ASSERT_EQ(RenderStretch({"-o", "p/%05d.png"}).exitCode, 0);
    const DpkRun hash = RenderStretch({"--hash"});
    const std::string fifth = folder.Read("p/00005.png");
    ASSERT_EQ(unlink((folder.path + "/p/00005.png").c_str()), 0);
    folder.Write("p/00009.png", "cut");
    const DpkRun run = RenderStretch({"-o", "p/%05d.png", "--resume"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out.substr(0, run.out.find('\n')), "23 of 25 pictures are there");
    EXPECT_NE(run.out.find(hash.out), std::string::npos);
    EXPECT_TRUE(folder.Read("p/00005.png") == fifth);
}

TEST_F(RenderCommand, PicturesOfAnotherRenderAreNotGoneOnWith)
{
    ASSERT_EQ(RenderStretch({"-o", "p/%05d.png"}).exitCode, 0);
    ASSERT_EQ(unlink((folder.path + "/p/00024.png").c_str()), 0);
    const std::string first = folder.Read("p/00000.png");
    const DpkRun run = RenderStretch({"-o", "p/%05d.png", "--resume", "--aspect", "4"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.err.find("p/00000.png: it is not the picture that is drawn now"),
              std::string::npos);
    EXPECT_TRUE(folder.Read("p/00000.png") == first);
}

TEST_F(RenderCommand, RowsOfTheModuleAreTimes)
{
    package = SAMPLE;
    // Rows take 13 and 12 ticks by turns, and a pattern has 64 of them.
    const DpkRun row = Render({"--size", "32x24", "--at", "1:3", "-o", "row.png"});
    ASSERT_EQ(row.exitCode, 0) << row.err;
    ASSERT_EQ(Render({"--size", "32x24", "--at", "838t", "-o", "tick.png"}).exitCode, 0);
    EXPECT_EQ(folder.Read("row.png"), folder.Read("tick.png"));
    const DpkRun none = Render({"--size", "32x24", "--at", "1:99", "-o", "none.png"});
    EXPECT_EQ(none.exitCode, 1);
    EXPECT_EQ(none.err, "dpk: --at 1:99: the module has no row 99 in order 1; minutes and seconds "
                        "have a point, as in 1:30.0\n");
}

TEST_F(RenderCommand, TheLoadingScreenStandsInFront)
{
    package = SAMPLE;
    ASSERT_EQ(Render({"--size", "64x48", "--fps", "4", "--loading", "1", "--from", "10", "--to",
                      "11", "-o", "p/%d.png"})
                  .exitCode,
              0);
    ASSERT_EQ(Render({"--size", "64x48", "--at", "10", "-o", "demo.png"}).exitCode, 0);
    EXPECT_EQ(FilesIn(folder), "demo.png p");
    EXPECT_FALSE(Has("p/8.png"));
    EXPECT_NE(folder.Read("p/0.png"), folder.Read("p/3.png"));
    EXPECT_EQ(folder.Read("p/4.png"), folder.Read("demo.png"));
}

TEST_F(RenderCommand, ASheetShowsManyPictures)
{
    package = SAMPLE;
    ASSERT_EQ(Render({"--size", "80x60", "--sheet", "3x2", "-o", "sheet.png"}).exitCode, 0);
    EXPECT_EQ(Output("ffprobe -loglevel error -show_entries stream=width,height -of csv=p=0 "
                     "sheet.png"),
              "272,176\n");
}

TEST_F(RenderCommand, QuietMeansQuiet)
{
    const DpkRun run = Render({"--size", "32x24", "--at", "1", "-o", "a.png", "-q"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out + run.err, "");
}

TEST_F(RenderCommand, AFolderOfSourcesIsBuiltFirst)
{
    DocumentSource demo;
    demo.music = "<music/>";
    demo.sections[9] = "<scene/>";
    demo.sections[10] =
        "<row><clip id=\"1\" space_before=\"0\" offset=\"0\" type=\"0\" length=\"10\">"
        "<x type=\"static\" value=\"0\"/><x type=\"static\" value=\"0\"/>"
        "<x type=\"static\" value=\"0\"/><x type=\"static\" value=\"0\"/>"
        "<x type=\"static\" value=\"0\"/><x type=\"static\" value=\"0\"/>"
        "<fov type=\"static\" value=\"48\"/><fog type=\"0\"/></clip></row>";
    folder.Write("piece/demo.xml", MakeDocumentText(demo));
    const DpkRun run =
        RunDpk(folder, {"render", "piece", "--size", "32x24", "--fps", "100", "-o", "p/%d.ppm"});
    EXPECT_EQ(run.exitCode, 0) << run.out << run.err;
    EXPECT_TRUE(Has("p/9.ppm"));
    EXPECT_EQ(FilesIn(folder), "p piece");
}

TEST_F(RenderCommand, APieceIsRenderedWithoutADisplayAlone)
{
    // No DISPLAY is set here, and a wrong one is not looked at.
    setenv("DISPLAY", ":12345", 1);
    EXPECT_EQ(Render({"--size", "32x24", "--at", "1", "-o", "a.png", "-q"}).exitCode, 0);
}

TEST_F(RenderCommand, SupersamplingDrawsFourPixelsForOne)
{
    package = SAMPLE;
    ASSERT_EQ(Render({"--size", "32x24", "--samples", "0", "--supersample", "2", "--at", "30", "-o",
                      "a.ppm"})
                  .exitCode,
              0);
    ASSERT_EQ(Render({"--size", "64x48", "--samples", "0", "--at", "30", "-o", "b.ppm"}).exitCode,
              0);
    const std::string small = folder.Read("a.ppm").substr(13);
    const std::string large = folder.Read("b.ppm").substr(13);
    ASSERT_EQ(large.size(), small.size() * 4);
    for (size_t i = 0; i < small.size(); ++i)
    {
        const size_t x = i / 3 % 32 * 6 + i % 3;
        const size_t y = i / 96 * 2;
        int sum = 2;
        for (const size_t at : {y * 192 + x, y * 192 + x + 3, y * 192 + 192 + x, y * 192 + 195 + x})
        {
            sum += static_cast<uint8_t>(large[at]);
        }
        ASSERT_EQ(static_cast<uint8_t>(small[i]), sum / 4) << i;
    }
}

TEST_F(RenderCommand, ErrorsOfTheCheckComeFirst)
{
    DocumentSource demo;
    demo.sections[10] = "<row><clip id=\"7\"/></row>";
    demo.music = "<music/>";
    folder.Write("bad.dpk", MakePackage({{"demo.xmlz", MakeDocument(demo)}}));
    const DpkRun run = RunDpk(folder, {"render", "bad.dpk", "-o", "p/%d.png"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.out.find(": error: "), std::string::npos) << run.out;
    EXPECT_EQ(FilesIn(folder), "bad.dpk");
}

TEST_F(RenderCommand, ProgressForProgramsEndsWithTheLastPicture)
{
    const DpkRun run = RenderStretch({"-o", "p/%d.png", "--progress", "json"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const size_t last = run.err.rfind("{\"pictures\":25,\"of\":25,\"seconds\":");
    ASSERT_NE(last, std::string::npos) << run.err;
    EXPECT_EQ(run.err.back(), '\n');
    EXPECT_EQ(run.err.find('\n', last), run.err.size() - 1);
    for (const char* key : {"\"rate\":", "\"left\":0,", "\"bytes\":"})
    {
        EXPECT_NE(run.err.find(key, last), std::string::npos) << key;
    }
    // Nothing but lines of one object each.
    for (size_t at = 0; at < run.err.size(); at = run.err.find('\n', at) + 1)
    {
        EXPECT_EQ(run.err[at], '{') << run.err;
    }
}

struct WrongOptions
{
    std::vector<std::string> options;
    const char* said; // after "dpk: "
};

TEST_F(RenderCommand, OptionsThatMakeNoSenseAreUsageErrors)
{
    const WrongOptions wrong[] = {
        {{}, "-o is needed: a film"},
        {{"-o", "film.avi"}, "film.avi: pictures need a number in their name"},
        {{"-o", "still.png"}, "still.png: pictures need a number in their name"},
        {{"-o", "p/%d%d.png"}, "p/%d%d.png: pictures need a number in their name"},
        {{"-o", "p%d/x.png"}, "p%d/x.png: pictures need a number in their name"},
        {{"-o", "film.mp4", "--size", "63x48"}, "--size 63x48: films of this kind have one color"},
        {{"-o", "film.mp4", "--size", "big"}, "--size big: a size is written as 1280x720\n"},
        {{"-o", "film.mp4", "--aspect", "flat"}, "--aspect flat: an aspect is 4:3"},
        {{"-o", "film.mp4", "--samples", "65"}, "--samples is from 0 to 64 and --supersample from"},
        {{"-o", "film.mp4", "--supersample", "0"}, "--samples is from 0 to 64 and --supersample"},
        {{"-o", "film.mp4", "--fps", "0"}, "--fps 0: a rate is written as 60 or 30000/1001\n"},
        {{"-o", "film.mp4", "--jobs", "0"}, "--jobs is from 1 to 256\n"},
        {{"-o", "film.mp4", "--part", "3/2"}, "--part 3/2: part 3 of 8 is written as 3/8\n"},
        {{"-o", "film.mp4", "--part", "0/2"}, "--part 0/2: part 3 of 8 is written as 3/8\n"},
        {{"-o", "film.mp4", "--resume"}, "--resume is for pictures in a folder\n"},
        {{"-o", "film.mp4", "--ffmpeg", "-vf 'scale"}, "--ffmpeg: a quote has no end\n"},
        {{"-o", "film.mp4", "--loading", "3601"}, "--loading is from 0 to 3600 seconds\n"},
        {{"-o", "-", "--part", "1/2"}, "--part and --join are for films and for pictures in"},
        {{"-o", "p/%d.png", "--ffmpeg", "-an"}, "--ffmpeg is for films\n"},
        {{"-o", "p/%d.png", "--compare", "p"}, "--compare writes nothing, so -o has no place"},
        {{"-o", "p/%d.png", "--progress", "bar"}, "--progress knows \"json\" alone\n"},
        {{"-o", "p.png", "--at", "1", "--sheet", "2x2"}, "--at, --sheet and --thumbnail make one"},
        {{"-o", "p.png", "--sheet", "65x1"}, "--sheet 65x1: columns and rows are written as 6x4"},
    };
    for (const WrongOptions& row : wrong)
    {
        const DpkRun run = Render(row.options);
        EXPECT_EQ(run.exitCode, 2) << run.out << run.err;
        EXPECT_TRUE(run.err.starts_with(std::string("dpk: ") + row.said)) << run.err;
    }
    EXPECT_EQ(FilesIn(folder), "");
}

TEST_F(RenderCommand, TimesThatMakeNoSenseAreErrors)
{
    const WrongOptions wrong[] = {
        {{"--at", "noon", "-o", "p.png"}, "--at noon: a time is written as 1250t, 12.5, 0:12.5"},
        {{"--from", "x", "--hash"}, "--from x: a time is written as"},
        {{"--from", "2", "--to", "1", "--hash"}, "there is nothing from tick 200 to tick 100\n"},
        {{"--fps", "1000", "--to", "9999999", "--hash"}, "9999999000 pictures are more than"},
    };
    for (const WrongOptions& row : wrong)
    {
        const DpkRun run = Render(row.options);
        EXPECT_EQ(run.exitCode, 1) << run.out << run.err;
        EXPECT_TRUE(run.err.starts_with(std::string("dpk: ") + row.said)) << run.err;
    }
    EXPECT_EQ(FilesIn(folder), "");
}

TEST_F(RenderCommand, ADriverWithoutTheSamplesIsAnError)
{
    const DpkRun run = Render({"--at", "1", "-o", "p.png", "--samples", "64"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err,
              "dpk: the driver has no picture of 8 bits a channel and 64 samples a pixel\n");
    EXPECT_EQ(FilesIn(folder), "");
}

TEST_F(RenderCommand, TheReferencePicturesAreStillThose)
{
    package = SAMPLE;
    const DpkRun run =
        Render({"--size", "160x120", "--samples", "0", "--fps", "1/5", "--compare", REFERENCES});
    EXPECT_EQ(run.exitCode, 0) << run.out << run.err;
    EXPECT_EQ(run.out.substr(0, 21), "compared 24 pictures:");
}

TEST_F(RenderCommand, AnotherDriverStaysWithinTheTolerance)
{
    package = SAMPLE;
    setenv("GALLIUM_DRIVER", "softpipe", 1);
    const DpkRun run = Render({"--size", "160x120", "--samples", "0", "--fps", "1/5", "--to", "60",
                               "--compare", REFERENCES});
    EXPECT_EQ(run.exitCode, 0) << run.out << run.err;
}

TEST_F(RenderCommand, PicturesWithoutAReferenceAreTold)
{
    folder.Write("p/x", "");
    const DpkRun run = RenderStretch({"--compare", "p"});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.err, "dpk: p: no picture has a reference there, such as 00000.png\n");
}

TEST_F(RenderCommand, AReferenceOfAnotherSizeIsTold)
{
    ASSERT_EQ(Render({"--size", "32x24", "--at", "1", "-o", "00000.png"}).exitCode, 0);
    const DpkRun run = RenderStretch({"--compare", "."});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.err.find("/00000.png: its size is 32x24 and not 64x48\n"), std::string::npos)
        << run.err;
}

TEST_F(RenderCommand, OtherPicturesAreNotAlike)
{
    package = SAMPLE;
    const DpkRun run = Render({"--size", "160x120", "--samples", "0", "--fps", "1/5", "--from", "7",
                               "--to", "40", "--compare", REFERENCES});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.out.find("not alike"), std::string::npos) << run.out;
}
