// SPDX-License-Identifier: MIT
#include "tools/render_parts.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <unistd.h>

#include "tools/report.h"

static constexpr uint64_t kLargestRecord = uint64_t{1} << 30;

std::string SettingsText(const RenderPlan& plan, const RenderSource& source)
{
    char numbers[256];
    snprintf(numbers, sizeof(numbers), "%s %dx%d %d %d %.9g %s %u/%u %u %u %u ",
             plan.kind == RenderKind::kFilm ? "film" : "pictures", plan.width, plan.height,
             plan.samples, plan.supersample, static_cast<double>(plan.aspect),
             plan.usesVbo ? "vbo" : "no-vbo", plan.rate.numerator, plan.rate.denominator,
             plan.fromTick, plan.toTick, plan.loadingCount);
    std::string codec;
    for (const std::string& argument : plan.codec)
    {
        codec += argument + '\0';
    }
    return numbers + HashText(HashBytes(codec.data(), codec.size())).substr(0, 8) + " " +
           HashText(HashBytes(source.package.data(), source.package.size()));
}

std::string RecordFolder(const RenderPlan& plan)
{
    if (plan.kind == RenderKind::kFilm)
    {
        return FilmFolder(plan);
    }
    const size_t slash = plan.out.rfind('/');
    return slash == std::string::npos ? "." : plan.out.substr(0, slash + 1);
}

static std::string RecordFile(const RenderPlan& plan, uint32_t part, uint32_t partCount)
{
    return RecordFolder(plan) + "/part-" + std::to_string(part) + "-of-" +
           std::to_string(partCount) + ".txt";
}

bool WritePartRecord(const RenderPlan& plan, const PartRecord& record)
{
    std::string text = "quorvale-part 1\nsettings " + record.settings + "\npart " +
                       std::to_string(record.part) + " " + std::to_string(record.partCount) +
                       "\npictures " + std::to_string(record.first) + " " +
                       std::to_string(record.end) + " " + std::to_string(record.total) + "\n";
    text += record.sound.empty() ? "" : "sound " + record.sound + "\n";
    for (const std::string& hash : record.pictures)
    {
        text += "picture " + hash + "\n";
    }
    return ReplaceFile(RecordFile(plan, record.part, record.partCount),
                       reinterpret_cast<const unsigned char*>(text.data()), text.size());
}

/// Reads one line of a record.
/// @return false if it is none
static bool ReadRecordLine(const std::string& line, PartRecord* record)
{
    const size_t blank = line.find(' ');
    const std::string key = line.substr(0, blank);
    const std::string value = blank == std::string::npos ? "" : line.substr(blank + 1);
    if (key == "settings")
    {
        record->settings = value;
        return true;
    }
    if (key == "part")
    {
        return sscanf(value.c_str(), "%u %u", &record->part, &record->partCount) == 2;
    }
    if (key == "pictures")
    {
        return sscanf(value.c_str(), "%u %u %u", &record->first, &record->end, &record->total) == 3;
    }
    if (key == "sound")
    {
        record->sound = value;
        return true;
    }
    if (key == "picture")
    {
        record->pictures.push_back(value);
        return true;
    }
    return line == "quorvale-part 1";
}

static bool ReadPartRecord(const std::string& path, PartRecord* record)
{
    Bytes bytes;
    if (!ReadWholeFile(path, kLargestRecord, &bytes))
    {
        return false;
    }
    const std::string text(bytes.begin(), bytes.end());
    bool isRecord = text.starts_with("quorvale-part 1\n");
    for (size_t at = 0; at < text.size() && isRecord;)
    {
        const size_t end = text.find('\n', at);
        isRecord = end != std::string::npos && ReadRecordLine(text.substr(at, end - at), record);
        at = end + 1;
    }
    isRecord = isRecord && record->end >= record->first && record->total >= record->end &&
               record->pictures.size() == record->end - record->first;
    if (!isRecord)
    {
        ReportError("%s: it is no record of a part, or it is damaged", Printable(path).c_str());
    }
    return isRecord;
}

/// Finds any record, for the number of parts.
/// @return 0 after an error line if there is none, or if there are records of several divisions
static uint32_t FindPartCount(const RenderPlan& plan)
{
    uint32_t found = 0;
    std::error_code error;
    for (std::filesystem::directory_iterator at(RecordFolder(plan), error), end;
         !error && at != end; at.increment(error))
    {
        unsigned part = 0;
        unsigned count = 0;
        int length = 0;
        const std::string name = at->path().filename().string();
        if (sscanf(name.c_str(), "part-%u-of-%u.txt%n", &part, &count, &length) != 2 ||
            length == 0 || static_cast<size_t>(length) != name.size() || part == 0 || part > count)
        {
            continue;
        }
        if (found != 0 && found != count)
        {
            ReportError("%s: it has parts of %u and parts of %u",
                        Printable(RecordFolder(plan)).c_str(), found, count);
            return 0;
        }
        found = count;
    }
    if (found == 0)
    {
        ReportError("%s: there are no parts; dpk render --part K/N makes them",
                    Printable(RecordFolder(plan)).c_str());
    }
    return found;
}

bool ReadPartRecords(const RenderPlan& plan, std::vector<PartRecord>* records)
{
    const uint32_t count = FindPartCount(plan);
    uint32_t missing = 0;
    for (uint32_t part = 1; part <= count; ++part)
    {
        const std::string path = RecordFile(plan, part, count);
        if (access(path.c_str(), R_OK) != 0)
        {
            ReportError("part %u of %u is missing: dpk render --part %u/%u makes it", part, count,
                        part, count);
            missing += 1;
            continue;
        }
        records->emplace_back();
        if (!ReadPartRecord(path, &records->back()))
        {
            return false;
        }
    }
    if (count == 0 || missing != 0)
    {
        return false;
    }
    uint32_t next = 0;
    for (const PartRecord& record : *records)
    {
        const PartRecord& first = records->front();
        if (record.settings != first.settings || record.total != first.total)
        {
            ReportError("part %u and part %u are not of one render: other options, or another "
                        "piece",
                        first.part, record.part);
            return false;
        }
        if (record.first != next)
        {
            ReportError("part %u begins with picture %u, and not with %u", record.part,
                        record.first, next);
            return false;
        }
        next = record.end;
    }
    if (next != records->front().total)
    {
        ReportError("the parts end with picture %u of %u", next, records->front().total);
        return false;
    }
    return true;
}

void RemovePartRecords(const RenderPlan& plan, const std::vector<PartRecord>& records)
{
    for (const PartRecord& record : records)
    {
        unlink(RecordFile(plan, record.part, record.partCount).c_str());
    }
}

// ---- Films

std::string FilmSoundFile(const RenderPlan& plan)
{
    return FilmFolder(plan) + "/sound.wav";
}

void RemoveFilmFolder(const RenderPlan& plan)
{
    std::error_code error;
    std::filesystem::remove_all(FilmFolder(plan), error);
}

/// The pieces in the words of ffmpeg's concat reader, each with its length: the files' own ends are
/// rounded.
/// @return false after an error line for a piece that is missing
static bool ListChunks(const RenderPlan& plan, uint32_t count, std::string* list)
{
    *list = "ffconcat version 1.0\n";
    for (uint32_t first = 0; first < count; first += kFilmChunk)
    {
        const uint32_t chunk = first / kFilmChunk;
        if (access(ChunkFile(plan, chunk).c_str(), R_OK) != 0)
        {
            ReportError("%s: pictures %u to %u are missing",
                        Printable(ChunkFile(plan, chunk)).c_str(), first,
                        std::min(first + kFilmChunk, count) - 1);
            return false;
        }
        const uint32_t pictures = std::min(kFilmChunk, count - first);
        char line[96];
        snprintf(line, sizeof(line), "file '%07u.nut'\nduration %.6f\n", chunk,
                 static_cast<double>(pictures) * plan.rate.denominator / plan.rate.numerator);
        *list += line;
    }
    return true;
}

bool JoinFilm(const RenderPlan& plan, uint32_t count, const std::string& sound, bool keepsParts)
{
    std::string list;
    if (!ListChunks(plan, count, &list))
    {
        return false;
    }
    const std::string listFile = FilmFolder(plan) + "/list.txt";
    const std::string joined = FilmFolder(plan) + "/joined";
    if (!ReplaceFile(listFile, reinterpret_cast<const unsigned char*>(list.data()), list.size()))
    {
        return false;
    }
    std::vector<std::string> arguments = {
        "-hide_banner", "-loglevel", "error", "-nostdin",        "-y", "-f", "concat",
        "-safe",        "0",         "-i",    "file:" + listFile};
    if (!sound.empty())
    {
        arguments.insert(arguments.end(), {"-i", "file:" + sound});
    }
    arguments.insert(arguments.end(), {"-map", "0:v"});
    if (!sound.empty())
    {
        arguments.insert(arguments.end(), {"-map", "1:a"});
        arguments.insert(arguments.end(), plan.soundCodec.begin(), plan.soundCodec.end());
    }
    arguments.insert(arguments.end(), {"-c:v", "copy", "-map_metadata", "-1", "-fflags",
                                       "+bitexact", "-flags:a", "+bitexact"});
    if (plan.muxer == "mp4" || plan.muxer == "mov")
    {
        arguments.insert(arguments.end(),
                         {"-video_track_timescale", std::to_string(plan.rate.numerator),
                          "-movflags", "+faststart"});
    }
    arguments.insert(arguments.end(), {"-f", plan.muxer, "file:" + joined});
    Ffmpeg ffmpeg = {};
    if (!StartFfmpeg(arguments, false, &ffmpeg) || !FinishFfmpeg(&ffmpeg))
    {
        return false;
    }
    if (rename(joined.c_str(), plan.out.c_str()) != 0)
    {
        ReportError("%s: %s", Printable(plan.out).c_str(), strerror(errno));
        return false;
    }
    if (!keepsParts)
    {
        RemoveFilmFolder(plan);
    }
    return true;
}
