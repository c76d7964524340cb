// SPDX-License-Identifier: MIT
#include "studio/build/musician.h"

#include <algorithm>
#include <cstring>
#include <unistd.h>

#include "music/load_module.h"
#include "music/module_sound.h"
#include "tools/files.h"

/// Of a module that plays on for ever, so much is played: half an hour.
static constexpr uint32_t kMostFrames = 30u * 60u * static_cast<uint32_t>(kModuleRate);
static constexpr size_t kMostOutput = size_t{1} << 30; // bytes

/// Before rows and samples.
struct TrackHeader
{
    uint32_t rowCount;
    uint32_t frameCount;
};

int32_t FindTrackRow(const Track& track, uint32_t tick)
{
    const auto after =
        std::upper_bound(track.rows.begin(), track.rows.end(), tick,
                         [](uint32_t t, const TrackRow& row) { return t < row.tick; });
    return static_cast<int32_t>(after - track.rows.begin()) - 1;
}

static bool WriteTrack(const ModuleSound& sound, const ModuleRows& rows)
{
    const TrackHeader header = {rows.count, sound.frameCount};
    std::vector<TrackRow> ticks;
    for (uint32_t i = 0; i < rows.count; ++i)
    {
        const ModuleRow& row = rows.rows[i];
        ticks.push_back({TickOfRow(&row), row.order, row.row});
    }
    return WriteAll(STDOUT_FILENO, &header, sizeof(header)) &&
           WriteAll(STDOUT_FILENO, ticks.data(), ticks.size() * sizeof(TrackRow)) &&
           WriteAll(STDOUT_FILENO, sound.samples, size_t{sound.frameCount} * kModuleFrameBytes);
}

int RunMusician(const std::string& path)
{
    FaultList faults;
    StartFaults(&faults);
    ModuleFile file = {};
    ModuleSound sound = {};
    ModuleRows rows = {};
    const int stream = OpenModuleFile(nullptr, path.c_str());
    if (stream < 0)
    {
        fprintf(stderr, "there is no module \"%s\"\n", path.c_str());
        return 1;
    }
    // The sound comes first: only the first module of a process sounds as in the player.
    const bool isPlayed = ReadModuleFile(stream, path.c_str(), &file, &faults) &&
                          RenderModule(&file, kMostFrames, &sound, &faults) &&
                          FindModuleRows(&file, kMostFrames, &rows, &faults);
    close(stream);
    const bool isTold = isPlayed && WriteTrack(sound, rows);
    for (uint32_t i = 0; i < faults.count; ++i)
    {
        fprintf(stderr, "%s\n", GetFault(&faults, i)->text);
    }
    FreeModuleRows(&rows);
    FreeModuleSound(&sound);
    FreeModuleFile(&file);
    FreeFaults(&faults);
    return isTold ? 0 : 1;
}

bool StartMusician(const std::string& path, Child* child)
{
    return StartChild({"--musician", path}, child);
}

/// @return false if the bytes are no track
static bool ParseTrack(const std::vector<uint8_t>& bytes, Track* track)
{
    TrackHeader header = {};
    if (bytes.size() < sizeof(header))
    {
        return false;
    }
    memcpy(&header, bytes.data(), sizeof(header));
    const size_t rowBytes = size_t{header.rowCount} * sizeof(TrackRow);
    const size_t soundBytes = size_t{header.frameCount} * kModuleFrameBytes;
    if (bytes.size() != sizeof(header) + rowBytes + soundBytes)
    {
        return false;
    }
    track->rows.resize(header.rowCount);
    std::vector<int16_t> samples(soundBytes / sizeof(int16_t));
    if (rowBytes != 0)
    {
        memcpy(track->rows.data(), bytes.data() + sizeof(header), rowBytes);
    }
    if (soundBytes != 0)
    {
        memcpy(samples.data(), bytes.data() + sizeof(header) + rowBytes, soundBytes);
    }
    track->samples = std::make_shared<const std::vector<int16_t>>(std::move(samples));
    return true;
}

MusicianStep PollMusician(Child* child, Track* track, std::string* fault)
{
    ReadChild(child, kMostOutput);
    if (!child->hasEnded)
    {
        return MusicianStep::kWorks;
    }
    const bool isTrack = ParseTrack(child->output, track);
    *fault = child->errors.empty() ? "the module can't be played" : child->errors;
    EndChild(child);
    return isTrack ? MusicianStep::kDone : MusicianStep::kFailed;
}
