// SPDX-License-Identifier: MIT
#include "tools/render_command.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tools/command_line.h"
#include "tools/draw_text.h"
#include "tools/png_file.h"
#include "tools/render_jobs.h"
#include "tools/render_output.h"
#include "tools/render_parts.h"
#include "tools/report.h"
#include "tools/thumbnail_command.h"

static bool Exists(const std::string& path)
{
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0;
}

// ---- What lies there

/// Asked once before the piece is made, for the first picture alone where pictures have a file
/// each, and once when their number is known.
/// @return false after an error line: something would be written over
static bool IsPlaceFree(const RenderOptions& options, const RenderPlan& plan)
{
    const bool mayReplace = options.isForced || options.resumes || plan.partCount > 1;
    if (mayReplace || plan.kind == RenderKind::kHash || plan.kind == RenderKind::kRaw)
    {
        return true;
    }
    std::string found = Exists(plan.out) ? plan.out : "";
    if (plan.kind == RenderKind::kPictures)
    {
        found.clear();
        for (uint32_t i = plan.first; i < plan.end && found.empty(); ++i)
        {
            found = Exists(PictureFile(plan, i)) ? PictureFile(plan, i) : "";
        }
    }
    if (plan.kind == RenderKind::kFilm && Exists(FilmFolder(plan)))
    {
        found = FilmFolder(plan);
    }
    if (found.empty())
    {
        return true;
    }
    ReportError("%s: it is there already; --force writes over it%s", Printable(found).c_str(),
                plan.kind == RenderKind::kPictures ? ", --resume goes on" : "");
    return false;
}

/// The folder of files that are made.
static bool MakeOutputFolder(const RenderOptions& options, const RenderPlan& plan)
{
    if (plan.kind == RenderKind::kFilm)
    {
        if (plan.partCount == 1 && options.isForced)
        {
            RemoveFilmFolder(plan);
        }
        return MakeFolder(FilmFolder(plan));
    }
    return plan.kind != RenderKind::kPictures || MakeFolder(RecordFolder(plan));
}

/// Pictures of the part that lie there whole.
struct FoundPictures
{
    std::vector<PictureHash> hashes; // [picture of the plan]
    std::vector<bool> isFound;       // [picture of the plan]
    uint32_t count;
};

static FoundPictures FindPictures(const RenderPlan& plan)
{
    FoundPictures found = {std::vector<PictureHash>(plan.pictures.size()),
                           std::vector<bool>(plan.pictures.size(), false), 0};
    for (uint32_t i = plan.first; i < plan.end; ++i)
    {
        RgbPicture picture = {};
        if (ReadPicture(PictureFile(plan, i), &picture).empty() && picture.width == plan.width &&
            picture.height == plan.height)
        {
            found.hashes[i] = HashBytes(picture.rgb.data(), picture.rgb.size());
            found.isFound[i] = true;
            found.count += 1;
        }
    }
    return found;
}

/// Of the pictures that are found the first, the middle and the last are drawn once more, to see
/// that they belong to this render.
static std::vector<uint32_t> PicturesToResume(const RenderPlan& plan, const FoundPictures& found)
{
    std::vector<uint32_t> there;
    std::vector<uint32_t> wanted;
    for (uint32_t i = plan.first; i < plan.end; ++i)
    {
        (found.isFound[i] ? there : wanted).push_back(i);
    }
    if (!there.empty())
    {
        wanted.push_back(there.front());
        wanted.push_back(there[there.size() / 2]);
        wanted.push_back(there.back());
    }
    std::sort(wanted.begin(), wanted.end());
    wanted.erase(std::unique(wanted.begin(), wanted.end()), wanted.end());
    return wanted;
}

// ---- Contact sheets

static constexpr int32_t kGap = 8;         // pixels
static constexpr int32_t kTextHeight = 16; // pixels, below a picture
static constexpr uint8_t kGround = 48;
static constexpr uint8_t kInk = 224;

/// Draws the sheet of pictures in memory and writes it.
static bool WriteSheet(const RenderPlan& plan, const Bytes& pictures)
{
    const int32_t stepX = plan.width + kGap;
    const int32_t stepY = plan.height + kTextHeight + kGap;
    Canvas sheet = {kGap + plan.columns * stepX, kGap + plan.rows * stepY, {}};
    sheet.rows.assign(static_cast<size_t>(sheet.width) * 3 * static_cast<size_t>(sheet.height),
                      kGround);
    const size_t row = static_cast<size_t>(plan.width) * 3;
    const uint8_t* from = pictures.data();
    for (size_t i = 0; i < plan.pictures.size(); ++i)
    {
        const int32_t place = static_cast<int32_t>(i);
        const int32_t left = kGap + place % plan.columns * stepX;
        const int32_t top = kGap + place / plan.columns * stepY;
        for (int32_t y = 0; y < plan.height; ++y, from += row)
        {
            const size_t at = static_cast<size_t>(top + y) * static_cast<size_t>(sheet.width) +
                              static_cast<size_t>(left);
            memcpy(sheet.rows.data() + at * 3, from, row);
        }
        const uint32_t tick = plan.pictures[i].time;
        DrawTextLine(&sheet, {left, top + plan.height + 4, plan.width, 1, kInk},
                     TimeText(tick) + "  " + std::to_string(tick) + "t");
    }
    return WritePng(plan.out, {sheet.width, sheet.height, 3, sheet.rows.data()});
}

// ---- Telling

static std::string SizeOf(const std::string& path)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0)
    {
        return "";
    }
    char text[32];
    snprintf(text, sizeof(text), ", %.1f MB", static_cast<double>(status.st_size) / 1e6);
    return text;
}

/// The lines at the end.
static void TellResult(const RenderOptions& options, const RenderPlan& plan,
                       const std::vector<PictureHash>& pictures, const std::string& sound,
                       double seconds)
{
    if (options.isQuiet && !options.onlyHash)
    {
        return;
    }
    const bool hasPictures = plan.kind != RenderKind::kWave;
    if (!options.onlyHash)
    {
        const double length = static_cast<double>(PictureTicks(plan.rate, pictures.size())) / 100.0;
        std::string line = plan.out.empty() ? "hashed" : plan.out == "-" ? "-" : options.out;
        line = Printable(line) + ": ";
        if (plan.partCount > 1)
        {
            line += "part " + std::to_string(plan.part) + " of " + std::to_string(plan.partCount) +
                    ", ";
        }
        char text[128];
        if (hasPictures)
        {
            snprintf(text, sizeof(text), "%zu picture%s of %dx%d", pictures.size(),
                     pictures.size() == 1 ? "" : "s", plan.width, plan.height);
            line += text;
        }
        const bool hasLength = plan.kind != RenderKind::kSheet && pictures.size() > 1;
        line += hasPictures && hasLength ? ", " : "";
        if (plan.kind == RenderKind::kWave || hasLength)
        {
            const uint32_t count = plan.end - plan.first;
            const double wave = static_cast<double>(PictureFrames(plan.rate, count)) / 44100.0;
            snprintf(text, sizeof(text), "%.2f s", hasPictures ? length : wave);
            line += text;
        }
        line += plan.kind == RenderKind::kPictures || plan.out.empty() || plan.out == "-"
                    ? ""
                    : SizeOf(plan.out);
        snprintf(text, sizeof(text), ", made in %.1f s", seconds);
        printf("%s%s\n", line.c_str(), seconds > 0.0 ? text : "");
    }
    if (hasPictures)
    {
        printf("pictures %s\n", HashText(HashPictures(pictures)).c_str());
    }
    if (!sound.empty())
    {
        printf("sound %s\n", sound.c_str());
    }
}

/// @return kExitDone if all pictures are near enough to their references
static int JudgeComparison(const RenderOptions& options, const RenderPlan& plan,
                           const std::vector<PictureReport>& reports)
{
    const double pixels = static_cast<double>(plan.width) * static_cast<double>(plan.height);
    double worst = 0.0;
    uint32_t far = 0;
    uint32_t most = 0;
    double sum = 0.0;
    double different = 0.0;
    for (const PictureReport& report : reports)
    {
        const double mean = static_cast<double>(report.difference.sum) / (pixels * 3.0);
        if (mean > options.tolerance)
        {
            printf("picture %u: mean difference %.3f, maximum %u, %.2f %% of the pixels\n",
                   report.index, mean, report.difference.most,
                   100.0 * static_cast<double>(report.difference.different) / pixels);
            far += 1;
        }
        worst = std::max(worst, mean);
        most = std::max(most, report.difference.most);
        sum += mean;
        different += static_cast<double>(report.difference.different) / pixels;
    }
    const double count = static_cast<double>(reports.size());
    printf("compared %zu pictures: maximum %u, mean %.3f, worst picture's mean %.3f, %.2f %% of "
           "the pixels differ; %s\n",
           reports.size(), most, sum / count, worst, 100.0 * different / count,
           far == 0 ? "alike" : "not alike");
    return far == 0 ? kExitDone : kExitFailed;
}

// ---- Rendering

/// The pictures that have a reference.
static std::vector<uint32_t> PicturesToCompare(const RenderPlan& plan, const std::string& folder)
{
    std::vector<uint32_t> indices;
    for (uint32_t i = 0; i < plan.pictures.size(); ++i)
    {
        char name[32];
        snprintf(name, sizeof(name), "/%05u.png", i);
        if (Exists(folder + name))
        {
            indices.push_back(i);
        }
    }
    if (indices.empty())
    {
        ReportError("%s: no picture has a reference there, such as 00000.png",
                    Printable(folder).c_str());
    }
    return indices;
}

/// Makes the sound of the part's pictures, or of the whole film with its first part.
/// @return false after an error line
static bool MakeSound(const RenderPlan& plan, const RenderSource& source, std::string* hash)
{
    const bool isFilm = plan.kind == RenderKind::kFilm;
    if (!source.hasSound || (plan.part != 1 && plan.partCount > 1) ||
        plan.kind == RenderKind::kStill || plan.kind == RenderKind::kSheet)
    {
        return true;
    }
    const std::vector<int16_t> samples =
        SoundOfPictures(plan, source.sound, 0, static_cast<uint32_t>(plan.pictures.size()));
    *hash = HashText(HashBytes(samples.data(), samples.size() * sizeof(int16_t)));
    return plan.kind == RenderKind::kWave ? WriteWave(plan.out, samples)
           : isFilm                       ? WriteWave(FilmSoundFile(plan), samples)
                                          : true;
}

/// A film that was stopped: its pictures up to the first that is not there.
static bool KeepStoppedFilm(const RenderPlan& plan, const RenderSource& source,
                            const std::vector<PictureReport>& reports)
{
    uint32_t count = 0;
    while (count < reports.size() && reports[count].index == count)
    {
        count += 1;
    }
    if (count == 0)
    {
        RemoveFilmFolder(plan);
        ReportError("stopped before the first picture was whole");
        return false;
    }
    std::string sound;
    if (source.hasSound)
    {
        sound = FilmSoundFile(plan);
        if (!WriteWave(sound, SoundOfPictures(plan, source.sound, 0, count)))
        {
            return false;
        }
    }
    if (!JoinFilm(plan, count, sound, false))
    {
        return false;
    }
    ReportError("stopped; %s has the first %u pictures", Printable(plan.out).c_str(), count);
    return true;
}

/// After a Ctrl-C or a failure.
static int EndUnfinished(const RenderOptions& options, const RenderPlan& plan,
                         const RenderSource& source, const RenderOutcome& outcome)
{
    const bool isStopped = outcome.result == DrawResult::kStopped;
    if (plan.kind == RenderKind::kFilm && plan.partCount == 1)
    {
        if (isStopped && options.keeps)
        {
            return KeepStoppedFilm(plan, source, outcome.reports) ? kExitStopped : kExitFailed;
        }
        RemoveFilmFolder(plan);
    }
    if (isStopped)
    {
        ReportError("stopped%s", plan.kind == RenderKind::kPictures ? "; --resume goes on"
                                 : plan.kind == RenderKind::kFilm   ? "; no film is left"
                                                                    : "");
    }
    return isStopped ? kExitStopped : kExitFailed;
}

static bool FinishPart(const RenderPlan& plan, const RenderSource& source,
                       const std::vector<PictureHash>& hashes, const std::string& sound)
{
    PartRecord record = {SettingsText(plan, source),
                         plan.part,
                         plan.partCount,
                         plan.first,
                         plan.end,
                         static_cast<uint32_t>(plan.pictures.size()),
                         sound,
                         {}};
    for (const PictureHash& hash : hashes)
    {
        record.pictures.push_back(HashText(hash));
    }
    return WritePartRecord(plan, record);
}

/// Films need ffmpeg, so it is looked for before anything is drawn.
static bool HasFfmpeg()
{
    Ffmpeg ffmpeg = {};
    return StartFfmpeg({"-version"}, false, &ffmpeg) && FinishFfmpeg(&ffmpeg);
}

/// Draws and writes what the plan has.
static int CarryOut(const RenderOptions& options, const RenderPlan& plan,
                    const RenderSource& source)
{
    HoldEndSignals();
    if (!MakeOutputFolder(options, plan))
    {
        return kExitFailed;
    }
    std::string sound;
    if (!MakeSound(plan, source, &sound))
    {
        return kExitFailed;
    }
    RenderWork work = {&plan, &source, {}, {}, options.jobs, Verbosity::kUsual, false, nullptr};
    work.output.compare = options.compare;
    work.tellsJson = options.progress == "json";
    work.verbosity = options.isQuiet ? Verbosity::kQuiet : Verbosity::kUsual;
    FoundPictures found = {};
    if (plan.kind == RenderKind::kSheet)
    {
        work.finish = [&plan](const RenderOutput& output)
        {
            return WriteSheet(plan, *output.memory);
        };
        work.jobs = 1;
    }
    if (options.resumes)
    {
        found = FindPictures(plan);
        work.indices = PicturesToResume(plan, found);
        work.output.expected = found.hashes;
        work.output.isExpected = found.isFound;
        if (!options.isQuiet)
        {
            printf("%u of %u pictures are there\n", found.count, plan.end - plan.first);
        }
    }
    else if (!options.compare.empty())
    {
        work.indices = PicturesToCompare(plan, options.compare);
        if (work.indices.empty())
        {
            return kExitUsage;
        }
    }
    else if (plan.kind != RenderKind::kWave)
    {
        for (uint32_t i = plan.first; i < plan.end; ++i)
        {
            work.indices.push_back(i);
        }
    }

    RenderOutcome outcome = {DrawResult::kDone, {}, 0, 0.0};
    if (!work.indices.empty())
    {
        const size_t together = PicturesTogether(plan);
        const size_t units = (work.indices.size() + together - 1) / together;
        work.jobs = static_cast<int32_t>(std::min(static_cast<size_t>(work.jobs), units));
        outcome = RunJobs(work);
    }
    if (outcome.result != DrawResult::kDone)
    {
        return EndUnfinished(options, plan, source, outcome);
    }
    if (!options.compare.empty())
    {
        return JudgeComparison(options, plan, outcome.reports);
    }

    std::vector<PictureHash> hashes;
    if (options.resumes)
    {
        for (const PictureReport& report : outcome.reports)
        {
            found.hashes[report.index] = report.hash;
        }
        hashes.assign(found.hashes.begin() + plan.first, found.hashes.begin() + plan.end);
    }
    else
    {
        for (const PictureReport& report : outcome.reports)
        {
            hashes.push_back(report.hash);
        }
    }
    if (plan.partCount > 1 || !options.part.empty())
    {
        if (!FinishPart(plan, source, hashes, sound))
        {
            return kExitFailed;
        }
    }
    else if (plan.kind == RenderKind::kFilm &&
             !JoinFilm(plan, static_cast<uint32_t>(hashes.size()),
                       source.hasSound ? FilmSoundFile(plan) : "", false))
    {
        RemoveFilmFolder(plan);
        return kExitFailed;
    }
    TellResult(options, plan, hashes, sound, outcome.seconds);
    return kExitDone;
}

// ---- Joining

/// Pictures that records tell of and that are not there, or are not those.
static bool CheckJoinedPictures(const RenderPlan& plan, const std::vector<PartRecord>& records)
{
    for (const PartRecord& record : records)
    {
        for (uint32_t i = record.first; i < record.end; ++i)
        {
            const std::string path = PictureFile(plan, i);
            RgbPicture picture = {};
            std::string wrong = ReadPicture(path, &picture);
            if (wrong.empty() && HashText(HashBytes(picture.rgb.data(), picture.rgb.size())) !=
                                     record.pictures[i - record.first])
            {
                wrong = "it is not the picture that was drawn";
            }
            if (!wrong.empty())
            {
                ReportError("%s, of part %u of %u: %s", Printable(path).c_str(), record.part,
                            record.partCount, wrong.c_str());
                return false;
            }
        }
    }
    return true;
}

/// @return the hash that a text tells
static PictureHash ReadHash(const std::string& text)
{
    PictureHash hash = {};
    for (size_t i = 0; i < sizeof(hash.bytes); ++i)
    {
        unsigned byte = 0;
        if (text.size() >= 2 * i + 2 && sscanf(text.c_str() + 2 * i, "%2x", &byte) == 1)
        {
            hash.bytes[i] = static_cast<uint8_t>(byte);
        }
    }
    return hash;
}

/// Takes size and rate, which joining needs, from the settings of a part.
/// @return false after an error line
static bool ReadSettings(const std::string& settings, RenderPlan* plan)
{
    if (sscanf(settings.c_str(), "%*s %dx%d %*d %*d %*s %*s %u/%u", &plan->width, &plan->height,
               &plan->rate.numerator, &plan->rate.denominator) != 4 ||
        plan->rate.numerator == 0 || plan->rate.denominator == 0)
    {
        ReportError("the settings of the parts can't be read");
        return false;
    }
    return true;
}

static int JoinParts(const RenderOptions& options, RenderPlan* plan)
{
    if (plan->kind == RenderKind::kFilm && !options.isForced && Exists(plan->out))
    {
        ReportError("%s: it is there already; --force writes over it",
                    Printable(plan->out).c_str());
        return kExitFailed;
    }
    std::vector<PartRecord> records;
    if (!ReadPartRecords(*plan, &records) || !ReadSettings(records[0].settings, plan))
    {
        return kExitFailed;
    }
    std::vector<PictureHash> hashes;
    for (const PartRecord& record : records)
    {
        for (const std::string& hash : record.pictures)
        {
            hashes.push_back(ReadHash(hash));
        }
    }
    const std::string sound = records[0].sound;
    const bool isJoined = plan->kind == RenderKind::kFilm
                              ? JoinFilm(*plan, records[0].total,
                                         sound.empty() ? "" : FilmSoundFile(*plan), options.keeps)
                              : CheckJoinedPictures(*plan, records);
    if (!isJoined)
    {
        return kExitFailed;
    }
    if (!options.keeps)
    {
        RemovePartRecords(*plan, records);
    }
    plan->partCount = 1;
    plan->end = records[0].total;
    TellResult(options, *plan, hashes, sound, 0.0);
    return kExitDone;
}

int RenderPiece(const std::string& piece, const RenderOptions& options)
{
    RenderPlan plan = {};
    const int readable = ReadRenderOptions(options, &plan);
    if (readable != kExitDone)
    {
        return readable;
    }
    if (options.joins)
    {
        return JoinParts(options, &plan);
    }
    if (piece.empty())
    {
        ReportError("PIECE is needed: a package, or a folder of sources");
        return kExitUsage;
    }
    if (plan.kind == RenderKind::kThumbnail)
    {
        return IsPlaceFree(options, plan)
                   ? MakeThumbnailFile(piece, static_cast<uint32_t>(options.thumbnail), plan.out)
                   : kExitFailed;
    }
    if (plan.kind == RenderKind::kRaw)
    {
        // All that is printed goes to the other stream: this one is for pictures alone.
        plan.rawOutput = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
        dup2(STDERR_FILENO, STDOUT_FILENO);
    }
    if (plan.kind == RenderKind::kFilm && !HasFfmpeg())
    {
        return kExitFailed;
    }
    plan.first = 0;
    plan.end = 1;
    RenderSource source = {};
    int exitCode = kExitFailed;
    if (IsPlaceFree(options, plan) && OpenRenderSource(piece, !options.noSound, &source) &&
        PlanPictures(options, source, &plan) && IsPlaceFree(options, plan))
    {
        exitCode = CarryOut(options, plan, source);
    }
    FreeModuleSound(&source.sound);
    return exitCode;
}
