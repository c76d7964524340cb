// SPDX-License-Identifier: MIT

// The music of the piece as viewers hear it: played by libmodplug under the player's settings.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <libmodplug/modplug.h>
#include <string>
#include <vector>

#include "support/temporary_folder.h"

static constexpr int kExtendedModule = 4;              // libmodplug's number for XM
static constexpr size_t kSamplesPerSecond = 44100 * 2; // of both channels
static constexpr size_t kLength = 120 * kSamplesPerSecond;
static constexpr size_t kBlockSamples = 8192 * 2; // what the sound device asks for at a time

// libmodplug fades the last block after the module's end, and gives blocks whole.
static constexpr size_t kLongestEnd = kLength + kSamplesPerSecond / 2;

static std::string ReadFile(const std::string& path)
{
    std::string bytes;
    FILE* stream = fopen(path.c_str(), "rb");
    if (stream == nullptr)
    {
        return bytes;
    }
    char block[4096];
    size_t got;
    while ((got = fread(block, 1, sizeof block, stream)) > 0)
    {
        bytes.append(block, got);
    }
    fclose(stream);
    return bytes;
}

/// The samples of the module, left and right by turns, up to its end but never longer than two
/// minutes and a half.
struct Recording
{
    std::vector<int16_t> samples;
    bool ended; // ModPlug_Read gave 0 before that time was over
};

static Recording PlayToTheEnd(ModPlugFile* module)
{
    Recording recording = {};
    while (recording.samples.size() < 150 * kSamplesPerSecond)
    {
        int16_t block[kBlockSamples];
        int bytes = ModPlug_Read(module, block, static_cast<int>(sizeof block));
        if (bytes <= 0)
        {
            recording.ended = true;
            break;
        }
        recording.samples.insert(recording.samples.end(), block,
                                 block + static_cast<size_t>(bytes) / sizeof(int16_t));
    }
    return recording;
}

class PieceMusic : public testing::Test
{
  protected:
    void SetUp() override
    {
        // The player reads the module under the library's defaults and sets the rest after that.
        static const ModPlug_Settings defaults = GetSettings();
        ModPlug_SetSettings(&defaults);
        bytes = ReadFile(PIECE_DIR "/music/quorvale.xm");
        module = ModPlug_Load(bytes.data(), static_cast<int>(bytes.size()));
        ASSERT_NE(module, nullptr);
        ModPlug_SetMasterVolume(module, 512);
        ModPlug_Settings settings = GetSettings();
        settings.mFlags |= MODPLUG_ENABLE_OVERSAMPLING | MODPLUG_ENABLE_REVERB;
        settings.mResamplingMode = MODPLUG_RESAMPLE_FIR;
        settings.mReverbDepth = 20;
        ModPlug_SetSettings(&settings);
    }

    void TearDown() override
    {
        if (module != nullptr)
        {
            ModPlug_Unload(module);
        }
    }

    static ModPlug_Settings GetSettings()
    {
        ModPlug_Settings settings;
        ModPlug_GetSettings(&settings);
        return settings;
    }

    std::string bytes;
    ModPlugFile* module = nullptr;
};

TEST_F(PieceMusic, IsAnExtendedModule)
{
    EXPECT_EQ(bytes.substr(0, 17), "Extended Module: ");
    EXPECT_EQ(ModPlug_GetModuleType(module), kExtendedModule);
    EXPECT_STREQ(ModPlug_GetName(module), "Quorvale");
}

TEST_F(PieceMusic, HasItsInstrumentsPatternsAndChannels)
{
    EXPECT_EQ(ModPlug_NumInstruments(module), 15u);
    EXPECT_EQ(ModPlug_NumSamples(module), 15u);
    EXPECT_EQ(ModPlug_NumPatterns(module), 15u);
    EXPECT_EQ(ModPlug_NumChannels(module), 16u);
}

TEST_F(PieceMusic, LastsTwoMinutes)
{
    EXPECT_EQ(ModPlug_GetLength(module), 120000);
}

TEST_F(PieceMusic, EveryBarLastsTwoHundredTicksOfTenMilliseconds)
{
    EXPECT_EQ(ModPlug_GetCurrentTempo(module), 250); // 2500 / 250 ms a tick
    unsigned int channels = ModPlug_NumChannels(module);
    for (int pattern = 0; pattern < 15; ++pattern)
    {
        unsigned int rows = 0;
        const ModPlugNote* notes = ModPlug_GetPattern(module, pattern, &rows);
        ASSERT_NE(notes, nullptr);
        ASSERT_EQ(rows, 64u);
        for (unsigned int bar = 0; bar < 4; ++bar)
        {
            // The first channel has nothing but the speed as its effect.
            int ticks = 0;
            for (unsigned int row = 16 * bar; row < 16 * (bar + 1); ++row)
            {
                ticks += notes[row * channels].Parameter;
            }
            EXPECT_EQ(ticks, 200) << "pattern " << pattern << " bar " << bar;
        }
    }
}

TEST_F(PieceMusic, PlaysOnceAndEnds)
{
    Recording recording = PlayToTheEnd(module);
    EXPECT_TRUE(recording.ended);
    EXPECT_GE(recording.samples.size(), kLength);
    EXPECT_LE(recording.samples.size(), kLongestEnd);
}

TEST_F(PieceMusic, IsHeardInEveryTwoSecondsBeforeItsEnd)
{
    Recording recording = PlayToTheEnd(module);
    ASSERT_GE(recording.samples.size(), kLength);
    for (size_t halfSeconds = 0; halfSeconds + 4 <= 2 * 120; ++halfSeconds)
    {
        const int16_t* window = &recording.samples[halfSeconds * kSamplesPerSecond / 2];
        int64_t squares = 0;
        for (size_t i = 0; i < 2 * kSamplesPerSecond; ++i)
        {
            squares += window[i] * window[i];
        }
        // 328 is a hundredth of full scale.
        int64_t meanSquare = squares / static_cast<int64_t>(2 * kSamplesPerSecond);
        EXPECT_GT(meanSquare, 328 * 328) << "from half second " << halfSeconds;
    }
}

TEST_F(PieceMusic, HasFadedToSilenceBeforeItEnds)
{
    Recording recording = PlayToTheEnd(module);
    ASSERT_GE(recording.samples.size(), kLength);
    int loudest = 0;
    for (size_t i = kLength - kSamplesPerSecond * 2 / 5; i < recording.samples.size(); ++i)
    {
        loudest = std::max(loudest, std::abs(int{recording.samples[i]}));
    }
    EXPECT_LE(loudest, 8);
}

TEST_F(PieceMusic, IsStereoAndHasTreble)
{
    Recording recording = PlayToTheEnd(module);
    double left = 0.0;
    double right = 0.0;
    double both = 0.0;
    double all = 0.0;
    double high = 0.0;
    double low[2] = {};
    for (size_t i = 0; i + 1 < recording.samples.size(); i += 2)
    {
        const double l = recording.samples[i];
        const double r = recording.samples[i + 1];
        left += l * l;
        right += r * r;
        both += l * r;
        // Two filters of one pole, with their corners at 2500 Hz: half as loud there.
        const double middle = l + r;
        low[0] += 0.3 * (middle - low[0]);
        low[1] += 0.3 * (low[0] - low[1]);
        all += middle * middle;
        high += (middle - low[1]) * (middle - low[1]);
    }
    EXPECT_LT(both / sqrt(left * right), 0.75); // 1 is mono
    EXPECT_GT(high / all, 0.10);
}

TEST_F(PieceMusic, StaysADecibelBelowClipping)
{
    Recording recording = PlayToTheEnd(module);
    int loudest = 0;
    for (int16_t sample : recording.samples)
    {
        loudest = std::max(loudest, std::abs(int{sample}));
    }
    EXPECT_LE(loudest, 29204);     // 32768 less a decibel
    EXPECT_GT(loudest, 32768 / 2); // and the range is used
}

TEST_F(PieceMusic, IsByteForByteWhatItsGeneratorWrites)
{
    TemporaryFolder folder;
    std::string command =
        "\"" PYTHON "\" \"" PIECE_DIR "/make_music.py\" \"" + folder.path + "/quorvale.xm\"";
    ASSERT_EQ(system(command.c_str()), 0);
    std::string written = folder.Read("quorvale.xm");
    EXPECT_EQ(written.size(), bytes.size());
    EXPECT_TRUE(written == bytes);
}
