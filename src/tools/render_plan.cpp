// SPDX-License-Identifier: MIT
#include "tools/render_plan.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

#include "engine/check/play_walk.h"
#include "engine/data/cos_table.h"
#include "engine/piece/piece.h"
#include "engine/textures/corner_masks.h"
#include "music/load_module.h"
#include "tools/check_command.h"
#include "tools/command_line.h"
#include "tools/ffmpeg.h"
#include "tools/folder_build.h"
#include "tools/piece_script.h"
#include "tools/report.h"

static constexpr uint32_t kMostSeconds = 2 * 60 * 60; // of a module that never ends
static constexpr int32_t kMostSupersample = 8;
static constexpr int32_t kMostJobs = 256;
static constexpr uint32_t kMostParts = 100000;
static constexpr uint64_t kLargestPackage = uint64_t{1} << 31;

static bool HasEnding(const std::string& path, const char* ending)
{
    const size_t length = strlen(ending);
    return path.size() > length && strcasecmp(path.c_str() + path.size() - length, ending) == 0;
}

// ---- Outputs

/// How films of an ending are made.
struct FilmRow
{
    const char* ending;
    const char* muxer;
    const char* codec;      // divided by blanks
    const char* soundCodec; // the same
    bool needsEvenSides;    // a color for four pixels
};

// Threads have a fixed number where the encoder's bytes depend on it.
static constexpr const char* kH264 =
    "-c:v libx264 -preset medium -crf 16 -threads 4 -vf "
    "scale=out_color_matrix=bt709:out_range=tv:flags=accurate_rnd+full_chroma_int,format=yuv420p "
    "-colorspace bt709 -color_primaries bt709 -color_trc bt709 -color_range tv";
static constexpr const char* kVp9 =
    "-c:v libvpx-vp9 -crf 24 -b:v 0 -deadline good -cpu-used 4 -row-mt 1 -threads 4 -vf "
    "scale=out_color_matrix=bt709:out_range=tv:flags=accurate_rnd+full_chroma_int,format=yuv420p "
    "-colorspace bt709 -color_primaries bt709 -color_trc bt709 -color_range tv";
static constexpr FilmRow kFilms[] = {
    {".mp4", "mp4", kH264, "-c:a aac -b:a 256k", true},
    {".mov", "mov", kH264, "-c:a aac -b:a 256k", true},
    {".mkv", "matroska", "-c:v ffv1 -level 3 -g 1 -slices 4 -slicecrc 1 -pix_fmt bgr0", "-c:a flac",
     false},
    {".webm", "webm", kVp9, "-c:a libopus -b:a 192k", true},
};

static const FilmRow* FindFilm(const std::string& path)
{
    for (const FilmRow& film : kFilms)
    {
        if (HasEnding(path, film.ending))
        {
            return &film;
        }
    }
    return nullptr;
}

/// Divides "DIR/%05d.png" into what stands before and after the number.
/// @return false if there is no number in the file's name, or more than one
static bool SplitPattern(const std::string& out, RenderPlan* plan)
{
    const size_t percent = out.find('%');
    if (percent == std::string::npos)
    {
        return false;
    }
    size_t at = percent + 1;
    plan->outDigits = 0;
    while (at < out.size() && out[at] >= '0' && out[at] <= '9' && plan->outDigits < 10)
    {
        plan->outDigits = plan->outDigits * 10 + (out[at] - '0');
        ++at;
    }
    if (at >= out.size() || out[at] != 'd' || plan->outDigits > 9)
    {
        return false;
    }
    plan->out = out.substr(0, percent);
    plan->outEnd = out.substr(at + 1);
    return plan->outEnd.find('%') == std::string::npos &&
           plan->outEnd.find('/') == std::string::npos;
}

/// Finds out what is made, from the options and the ending.
/// @return false after an error line
static bool FindKind(const RenderOptions& options, RenderPlan* plan)
{
    plan->out = options.out;
    const bool isPng = HasEnding(options.out, ".png");
    const int singles = (options.at.empty() ? 0 : 1) + (options.sheet.empty() ? 0 : 1) +
                        (options.thumbnail == 0 ? 0 : 1);
    if (singles > 0)
    {
        if (singles > 1 || !(isPng || (HasEnding(options.out, ".ppm") && !options.at.empty())))
        {
            ReportError("--at, --sheet and --thumbnail make one picture: -o names it, with the "
                        "ending .png");
            return false;
        }
        plan->kind = !options.at.empty()      ? RenderKind::kStill
                     : !options.sheet.empty() ? RenderKind::kSheet
                                              : RenderKind::kThumbnail;
        return true;
    }
    const FilmRow* film = FindFilm(options.out);
    if (options.out.empty())
    {
        plan->kind = RenderKind::kHash;
        if (!options.onlyHash && options.compare.empty())
        {
            ReportError("-o is needed: a film (.mp4, .mkv, .webm, .mov), pictures "
                        "(DIR/%%05d.png), sound (.wav) or - for raw pictures");
            return false;
        }
    }
    else if (options.out == "-")
    {
        plan->kind = RenderKind::kRaw;
    }
    else if (HasEnding(options.out, ".wav"))
    {
        plan->kind = RenderKind::kWave;
    }
    else if (film != nullptr)
    {
        plan->kind = RenderKind::kFilm;
        plan->muxer = film->muxer;
        SplitArguments(film->codec, &plan->codec);
        SplitArguments(film->soundCodec, &plan->soundCodec);
    }
    else if ((isPng || HasEnding(options.out, ".ppm")) && SplitPattern(options.out, plan))
    {
        plan->kind = RenderKind::kPictures;
    }
    else
    {
        ReportError("%s: pictures need a number in their name, as in DIR/%%05d.png, one picture "
                    "needs --at, and films end in .mp4, .mkv, .webm or .mov",
                    Printable(options.out).c_str());
        return false;
    }
    return true;
}

/// @return false after an error line
static bool ReadSizes(const RenderOptions& options, RenderPlan* plan)
{
    plan->width = 1280;
    plan->height = 720;
    if (plan->kind == RenderKind::kSheet)
    {
        plan->width = 320;
        plan->height = 180;
    }
    if (plan->kind == RenderKind::kThumbnail)
    {
        plan->width = options.thumbnail;
        plan->height = std::max(1, options.thumbnail * 3 / 4);
    }
    if (!options.size.empty() && !ParseSize(options.size, &plan->width, &plan->height))
    {
        ReportError("--size %s: a size is written as 1280x720", Printable(options.size).c_str());
        return false;
    }
    plan->aspect = static_cast<float>(plan->width) / static_cast<float>(plan->height);
    if (!options.aspect.empty() && !ParseAspect(options.aspect, &plan->aspect))
    {
        ReportError("--aspect %s: an aspect is 4:3, 16:9, 16:10 or a number above 0",
                    Printable(options.aspect).c_str());
        return false;
    }
    const FilmRow* film = plan->kind == RenderKind::kFilm ? FindFilm(options.out) : nullptr;
    if (film != nullptr && film->needsEvenSides && options.ffmpeg.empty() &&
        (plan->width % 2 != 0 || plan->height % 2 != 0))
    {
        ReportError("--size %dx%d: films of this kind have one color for four pixels, so width and "
                    "height are even",
                    plan->width, plan->height);
        return false;
    }
    plan->samples = options.samples;
    plan->supersample = options.supersample;
    plan->usesVbo = !options.noVbo;
    if (options.samples < 0 || options.samples > 64 || options.supersample < 1 ||
        options.supersample > kMostSupersample)
    {
        ReportError("--samples is from 0 to 64 and --supersample from 1 to %d", kMostSupersample);
        return false;
    }
    return true;
}

/// Reads "3/8".
static bool ReadPart(const std::string& text, RenderPlan* plan)
{
    plan->part = 1;
    plan->partCount = 1;
    if (text.empty())
    {
        return true;
    }
    PictureRate fraction = {};
    const bool isPart = ParseRate(text, &fraction) && text.find('/') != std::string::npos &&
                        fraction.numerator <= fraction.denominator &&
                        fraction.denominator <= kMostParts;
    if (!isPart)
    {
        ReportError("--part %s: part 3 of 8 is written as 3/8", Printable(text).c_str());
        return false;
    }
    plan->part = fraction.numerator;
    plan->partCount = fraction.denominator;
    return true;
}

static bool IsNumbered(RenderKind kind)
{
    return kind == RenderKind::kFilm || kind == RenderKind::kPictures;
}

/// Options that do not fit together.
static bool CheckCombination(const RenderOptions& options, const RenderPlan& plan)
{
    const char* wrong = nullptr;
    if ((!options.part.empty() || options.joins) && !IsNumbered(plan.kind))
    {
        wrong = "--part and --join are for films and for pictures in a folder";
    }
    else if (options.resumes && plan.kind != RenderKind::kPictures)
    {
        wrong = "--resume is for pictures in a folder";
    }
    else if (!options.ffmpeg.empty() && plan.kind != RenderKind::kFilm)
    {
        wrong = "--ffmpeg is for films";
    }
    else if (!options.compare.empty() && plan.kind != RenderKind::kHash)
    {
        wrong = "--compare writes nothing, so -o has no place beside it";
    }
    else if (options.jobs < 1 || options.jobs > kMostJobs)
    {
        wrong = "--jobs is from 1 to 256";
    }
    else if (!(options.loading >= 0.0 && options.loading <= 3600.0))
    {
        wrong = "--loading is from 0 to 3600 seconds";
    }
    else if (!options.progress.empty() && options.progress != "json")
    {
        wrong = "--progress knows \"json\" alone";
    }
    if (wrong != nullptr)
    {
        ReportError("%s", wrong);
    }
    return wrong == nullptr;
}

/// Whether one of ffmpeg's options is about sound.
static bool IsSoundOption(const std::string& option)
{
    static constexpr const char* kSoundOptions[] = {"-acodec", "-ab", "-ac", "-ar", "-af", "-aq"};
    return (option.size() > 2 && option.compare(option.size() - 2, 2, ":a") == 0) ||
           std::find(std::begin(kSoundOptions), std::end(kSoundOptions), option) !=
               std::end(kSoundOptions);
}

/// Divides the user's words for ffmpeg into those on pictures and those on sound, each with the
/// value after it. Sound keeps its usual codec where nothing is said of it.
/// @return false after an error line
static bool ReadCodecs(const std::string& words, RenderPlan* plan)
{
    std::vector<std::string> all;
    if (!SplitArguments(words, &all))
    {
        ReportError("--ffmpeg: a quote has no end");
        return false;
    }
    plan->codec.clear();
    std::vector<std::string> sound;
    std::vector<std::string>* current = &plan->codec;
    for (const std::string& word : all)
    {
        if (word.size() > 1 && word[0] == '-' && (word[1] < '0' || word[1] > '9'))
        {
            current = IsSoundOption(word) ? &sound : &plan->codec;
        }
        current->push_back(word);
    }
    plan->soundCodec = sound.empty() ? plan->soundCodec : sound;
    return true;
}

int ReadRenderOptions(const RenderOptions& options, RenderPlan* plan)
{
    if (!FindKind(options, plan) || !ReadSizes(options, plan) || !ReadPart(options.part, plan) ||
        !CheckCombination(options, *plan))
    {
        return kExitUsage;
    }
    if (!ParseRate(options.fps, &plan->rate))
    {
        ReportError("--fps %s: a rate is written as 60 or 30000/1001",
                    Printable(options.fps).c_str());
        return kExitUsage;
    }
    if (!options.ffmpeg.empty() && !ReadCodecs(options.ffmpeg, plan))
    {
        return kExitUsage;
    }
    if (plan->kind == RenderKind::kSheet)
    {
        if (!ParseSize(options.sheet, &plan->columns, &plan->rows) || plan->columns > 64 ||
            plan->rows > 64)
        {
            ReportError("--sheet %s: columns and rows are written as 6x4, each up to 64",
                        Printable(options.sheet).c_str());
            return kExitUsage;
        }
    }
    return kExitDone;
}

// ---- Times

/// The module's file of an open piece.
/// @return false after a fault
static bool ReadModuleOf(const Piece* piece, const std::string& folder, ModuleFile* file,
                         FaultList* faults)
{
    const TiXmlNode* node = MusicDocument(piece)->musicNode;
    const TiXmlElement* element = node == nullptr ? nullptr : node->ToElement();
    const char* path = element == nullptr ? nullptr : element->Attribute("file");
    const int stream = path == nullptr ? -1 : OpenModuleFile(folder.c_str(), path);
    if (stream < 0)
    {
        return true;
    }
    const bool isRead = ReadModuleFile(stream, path, file, faults);
    close(stream);
    return isRead;
}

/// Reads the documents: where the piece ends, and its sound.
static bool ReadPieceOf(RenderSource* source, bool wantsSound, FaultList* faults)
{
    BuildCosTable();
    BuildCornerMasks();
    const PieceSource from = {nullptr, source->package.data(), source->package.size(), false};
    Piece piece = {};
    PieceState state = {};
    ModuleFile file = {};
    bool isRead = OpenPiece(&from, &piece, &state, faults);
    if (isRead)
    {
        PlayResult played = {};
        WalkDemo(&piece.demo, &played);
        source->endTick = played.endTick;
        source->hasEnd = played.hasEnd;
        isRead = !wantsSound || ReadModuleOf(&piece, source->musicFolder, &file, faults);
    }
    if (isRead && file.data != nullptr)
    {
        isRead = RenderModule(&file, kMostSeconds * kModuleRate, &source->sound, faults);
        source->hasSound = true;
    }
    FreeModuleFile(&file);
    FreePieceState(&state);
    ClosePiece(&piece);
    return isRead;
}

/// The folder that a path lies in.
static std::string FolderOfPath(const std::string& path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

/// Packs a folder, after its script has run.
static bool PackSources(const std::string& folder, Bytes* package)
{
    if (HasPieceScript(folder) && !RunPieceScript(folder))
    {
        return false;
    }
    PackedFolder packed = {};
    const bool isPacked =
        PackFolder(folder, PackageOfFolder(folder), {}, &packed) &&
        CheckPacked(folder, packed.package.bytes, packed.package.size, ColorChoice::kAuto);
    if (isPacked)
    {
        package->assign(packed.package.bytes, packed.package.bytes + packed.package.size);
    }
    free(packed.package.bytes);
    return isPacked;
}

bool OpenRenderSource(const std::string& path, bool wantsSound, RenderSource* source)
{
    struct stat status = {};
    const bool isFolder = stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
    source->path = path;
    source->musicFolder = isFolder ? path : FolderOfPath(path);
    const bool isOpen =
        isFolder ? PackSources(path, &source->package)
                 : ReadWholeFile(path, kLargestPackage, &source->package) &&
                       CheckPackage(path, source->package.data(), source->package.size());
    if (!isOpen)
    {
        return false;
    }
    FaultList faults;
    StartFaults(&faults);
    const bool isRead = ReadPieceOf(source, wantsSound, &faults);
    ReportFaults(&faults);
    return isRead;
}

/// Finds the tick of a written time.
/// @return false after an error line
static bool FindTick(const char* option, const std::string& text, const RenderSource& source,
                     uint32_t* tick)
{
    const WrittenTime written = ParseTime(text);
    if (written.form == TimeForm::kTick)
    {
        *tick = written.tick;
        return true;
    }
    if (written.form == TimeForm::kWrong)
    {
        ReportError("%s %s: a time is written as 1250t, 12.5, 0:12.5 or, in rows of the module, "
                    "as 3:16",
                    option, Printable(text).c_str());
        return false;
    }
    FaultList faults;
    StartFaults(&faults);
    ModuleRows rows = {};
    Piece piece = {};
    PieceState state = {};
    ModuleFile file = {};
    const PieceSource from = {nullptr, source.package.data(), source.package.size(), false};
    const bool isFound =
        OpenPiece(&from, &piece, &state, &faults) &&
        ReadModuleOf(&piece, source.musicFolder, &file, &faults) &&
        (file.data == nullptr || FindModuleRows(&file, kMostSeconds * kModuleRate, &rows, &faults));
    const ModuleRow* row = FindRow(&rows, written.order, written.row);
    if (row != nullptr)
    {
        *tick = TickOfRow(row);
    }
    else if (isFound)
    {
        ReportError(
            "%s %s: the module has no row %d in order %d; minutes and seconds have a point, "
            "as in 1:30.0",
            option, Printable(text).c_str(), written.row, written.order);
    }
    ReportFaults(&faults);
    FreeModuleRows(&rows);
    FreeModuleFile(&file);
    FreePieceState(&state);
    ClosePiece(&piece);
    return row != nullptr;
}

/// Finds the ticks that pictures are taken from.
/// @return false after an error line
static bool FindStretch(const RenderOptions& options, const RenderSource& source, RenderPlan* plan)
{
    plan->fromTick = 0;
    plan->toTick = source.endTick;
    if (!options.at.empty())
    {
        plan->toTick = 0;
        return FindTick("--at", options.at, source, &plan->fromTick);
    }
    if (!options.from.empty() && !FindTick("--from", options.from, source, &plan->fromTick))
    {
        return false;
    }
    if (!options.to.empty())
    {
        return FindTick("--to", options.to, source, &plan->toTick);
    }
    if (!source.hasEnd)
    {
        ReportError("%s: it never ends, so --to is needed", Printable(source.path).c_str());
        return false;
    }
    return true;
}

/// A contact sheet shows the middles of equal stretches.
static void PlanSheet(RenderPlan* plan)
{
    const uint64_t count = static_cast<uint64_t>(plan->columns) * static_cast<uint64_t>(plan->rows);
    const uint64_t ticks = plan->toTick - plan->fromTick;
    for (uint64_t i = 0; i < count; ++i)
    {
        const uint64_t tick = plan->fromTick + (2 * i + 1) * ticks / (2 * count);
        plan->pictures.push_back({static_cast<uint32_t>(tick), false});
    }
}

/// The loading screen, then the demo.
/// @return false after an error line
static bool PlanFilm(const RenderOptions& options, RenderPlan* plan)
{
    const uint32_t loadingTicks = static_cast<uint32_t>(options.loading * 100.0 + 0.5);
    const uint64_t loading = CountPictures(plan->rate, loadingTicks);
    const uint64_t demo = CountPictures(plan->rate, plan->toTick - plan->fromTick);
    if (loading + demo > kMostPictures)
    {
        ReportError("%llu pictures are more than the %u that one run makes",
                    static_cast<unsigned long long>(loading + demo), kMostPictures);
        return false;
    }
    plan->loadingCount = static_cast<uint32_t>(loading);
    for (uint64_t i = 0; i < loading; ++i)
    {
        plan->pictures.push_back({static_cast<uint32_t>(i * 100 / loading), true});
    }
    for (uint64_t n = 0; n < demo; ++n)
    {
        const uint64_t tick = plan->fromTick + PictureTicks(plan->rate, n);
        plan->pictures.push_back({static_cast<uint32_t>(tick), false});
    }
    return true;
}

uint32_t PicturesTogether(const RenderPlan& plan)
{
    return plan.kind == RenderKind::kFilm ? kFilmChunk : 1;
}

/// Cuts out the part that is to be made.
static void PlanPart(RenderPlan* plan)
{
    const uint64_t together = PicturesTogether(*plan);
    const uint64_t count = plan->pictures.size();
    const uint64_t units = (count + together - 1) / together;
    const uint64_t first = units * (plan->part - 1) / plan->partCount * together;
    const uint64_t end = units * plan->part / plan->partCount * together;
    plan->first = static_cast<uint32_t>(std::min(first, count));
    plan->end = static_cast<uint32_t>(std::min(end, count));
}

bool PlanPictures(const RenderOptions& options, const RenderSource& source, RenderPlan* plan)
{
    if (!FindStretch(options, source, plan))
    {
        return false;
    }
    if (plan->kind == RenderKind::kStill)
    {
        plan->pictures = {{plan->fromTick, false}};
    }
    else if (plan->fromTick >= plan->toTick)
    {
        ReportError("there is nothing from tick %u to tick %u", plan->fromTick, plan->toTick);
        return false;
    }
    else if (plan->kind == RenderKind::kSheet)
    {
        PlanSheet(plan);
    }
    else if (!PlanFilm(options, plan))
    {
        return false;
    }
    PlanPart(plan);
    return true;
}

std::string PictureFile(const RenderPlan& plan, uint32_t index)
{
    const std::string number = std::to_string(index);
    const size_t digits = static_cast<size_t>(plan.outDigits);
    const std::string zeros(digits > number.size() ? digits - number.size() : 0, '0');
    return plan.out + zeros + number + plan.outEnd;
}

std::vector<int16_t> SoundOfPictures(const RenderPlan& plan, const ModuleSound& sound,
                                     uint32_t first, uint32_t end)
{
    const uint64_t begin = PictureFrames(plan.rate, first);
    const uint64_t count = PictureFrames(plan.rate, end) - begin;
    const uint64_t silent = PictureFrames(plan.rate, plan.loadingCount);
    const uint64_t offset = uint64_t{plan.fromTick} * kModuleFramesPerTick;
    std::vector<int16_t> samples(count * 2, 0);
    for (uint64_t i = 0; i < count; ++i)
    {
        const uint64_t frame = begin + i;
        const uint64_t at = offset + frame - silent;
        if (frame >= silent && at < sound.frameCount)
        {
            samples[2 * i] = sound.samples[2 * at];
            samples[2 * i + 1] = sound.samples[2 * at + 1];
        }
    }
    return samples;
}
