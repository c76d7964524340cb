// SPDX-License-Identifier: MIT

// Each test is a process of its own for ctest: its first module is the first of the process.
#include "music/module_sound.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <libmodplug/modplug.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "music/load_module.h"
#include "support/tone_module.h"

static constexpr uint32_t kThreeMinutes = 180 * kModuleRate;

static ModuleFile FileOf(std::string* bytes)
{
    return {reinterpret_cast<uint8_t*>(bytes->data()), bytes->size()};
}

static ModuleFile PieceModule()
{
    FaultList faults;
    StartFaults(&faults);
    ModuleFile file = {};
    const int stream = OpenModuleFile(nullptr, MODULE);
    EXPECT_TRUE(stream >= 0 && ReadModuleFile(stream, MODULE, &file, &faults));
    close(stream);
    return file;
}

/// Writes what the player's callback gets, block by block, in a process of its own.
static std::vector<int16_t> PlayInChild(const ModuleFile* file)
{
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    if (child == 0)
    {
        close(ends[0]);
        ModPlugFile* module = LoadModule(file);
        std::vector<uint8_t> block(kModuleBlockFrames * kModuleFrameBytes);
        int got;
        while ((got = ModPlug_Read(module, block.data(), static_cast<int>(block.size()))) > 0)
        {
            if (write(ends[1], block.data(), static_cast<size_t>(got)) != got)
            {
                _exit(EXIT_FAILURE);
            }
        }
        _exit(EXIT_SUCCESS);
    }
    close(ends[1]);
    std::vector<int16_t> samples;
    char bytes[32768];
    std::string all;
    ssize_t step;
    while ((step = read(ends[0], bytes, sizeof(bytes))) > 0)
    {
        all.append(bytes, static_cast<size_t>(step));
    }
    close(ends[0]);
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    samples.resize(all.size() / sizeof(int16_t));
    memcpy(samples.data(), all.data(), samples.size() * sizeof(int16_t));
    return samples;
}

TEST(ModuleSound, ItsBytesAreThePlayers)
{
    ModuleFile file = PieceModule();
    const std::vector<int16_t> played = PlayInChild(&file);
    FaultList faults;
    StartFaults(&faults);
    ModuleSound sound = {};
    ASSERT_TRUE(RenderModule(&file, kThreeMinutes, &sound, &faults));
    ASSERT_EQ(size_t{sound.frameCount} * 2, played.size());
    EXPECT_GT(sound.frameCount, 119u * kModuleRate);
    EXPECT_TRUE(std::equal(played.begin(), played.end(), sound.samples));
    FreeModuleSound(&sound);
    FreeModuleFile(&file);
}

TEST(ModuleSound, ItEndsWhereItIsTold)
{
    ModuleFile file = PieceModule();
    FaultList faults;
    StartFaults(&faults);
    ModuleSound sound = {};
    ASSERT_TRUE(RenderModule(&file, 10000, &sound, &faults));
    EXPECT_EQ(sound.frameCount, 10000u);
    FreeModuleSound(&sound);
    FreeModuleFile(&file);
}

TEST(ModuleSound, AnythingElseIsSilent)
{
    std::string bytes = "no module";
    const ModuleFile file = FileOf(&bytes);
    FaultList faults;
    StartFaults(&faults);
    ModuleSound sound = {};
    EXPECT_TRUE(RenderModule(&file, kThreeMinutes, &sound, &faults));
    EXPECT_EQ(sound.frameCount, 0u);
    ModuleRows rows = {};
    EXPECT_TRUE(FindModuleRows(&file, kThreeMinutes, &rows, &faults));
    EXPECT_EQ(rows.count, 0u);
    FreeModuleSound(&sound);
    FreeModuleRows(&rows);
}

TEST(ModuleRows, ARowOfTheToneLastsTwelveTicks)
{
    // Speed 6 at tempo 125: a module tick is 20 ms.
    std::string bytes = MakeToneModule(8);
    const ModuleFile file = FileOf(&bytes);
    FaultList faults;
    StartFaults(&faults);
    ModuleRows rows = {};
    ASSERT_TRUE(FindModuleRows(&file, kThreeMinutes, &rows, &faults));
    ASSERT_GE(rows.count, 8u);
    for (uint32_t i = 0; i < 8; ++i)
    {
        EXPECT_EQ(rows.rows[i].frame, i * 12 * kModuleFramesPerTick);
        EXPECT_EQ(rows.rows[i].order, 0);
        EXPECT_EQ(rows.rows[i].row, static_cast<int32_t>(i));
        EXPECT_EQ(rows.rows[i].speed, 6);
        EXPECT_EQ(rows.rows[i].tempo, 125);
    }
    FreeModuleRows(&rows);
}

TEST(ModuleRows, TicksAndRowsLeadToEachOther)
{
    ModuleFile file = PieceModule();
    FaultList faults;
    StartFaults(&faults);
    ModuleRows rows = {};
    ASSERT_TRUE(FindModuleRows(&file, kThreeMinutes, &rows, &faults));
    // Rows take 13 and 12 module ticks of 10 ms by turns.
    const ModuleRow* third = FindRow(&rows, 0, 3);
    ASSERT_NE(third, nullptr);
    EXPECT_EQ(third->frame, 38u * kModuleFramesPerTick);
    EXPECT_EQ(TickOfRow(third), 38u);
    EXPECT_EQ(RowAtTick(&rows, 37), third - 1);
    EXPECT_EQ(RowAtTick(&rows, 38), third);
    EXPECT_EQ(RowAtTick(&rows, 49), third);
    EXPECT_EQ(RowAtTick(&rows, 50), third + 1);
    EXPECT_EQ(FindRow(&rows, 0, 64000), nullptr);
    EXPECT_EQ(RowAtTick(&rows, 100000), nullptr);
    FreeModuleRows(&rows);
    FreeModuleFile(&file);
}
