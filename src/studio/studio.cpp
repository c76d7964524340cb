// SPDX-License-Identifier: MIT
#include "studio/studio.h"

#include <GL/glew.h>
#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>
#include <tinyxml.h>
#include <unistd.h>

#include "engine/data/cos_table.h"
#include "engine/render/records/timeline.h"
#include "engine/textures/corner_masks.h"
#include "studio/desktop_scale.h"
#include "studio/fault_lines.h"
#include "studio/logic/piece_fields.h"
#include "studio/logic/typed_moment.h"
#include "studio/panels/panels.h"
#include "studio/shown_picture.h"
#include "studio/state_line.h"
#include "tools/files.h"
#include "tools/piece_script.h"
#include "tools/png_file.h"

static constexpr int32_t kDefaultWidth = 1280;
static constexpr int32_t kDefaultHeight = 720;
static constexpr int kIdleMs = 10; // between looks at what else happens, while nothing moves
static constexpr int kBusyMs = 1;  // the same while something plays, is built or is loaded
static constexpr uint64_t kMostSettings = 1u << 20; // bytes

uint32_t NowMs()
{
    return SDL_GetTicks();
}

void ShowMessage(Studio* studio, const std::string& message)
{
    studio->message = message;
    studio->messageMs = NowMs();
}

void TellFaults(Studio* studio, const std::vector<std::string>& faults)
{
    studio->findings.clear();
    studio->selectedFinding = 0;
    studio->panels |= kFaultsPanel;
    for (const std::string& fault : faults)
    {
        studio->findings.push_back({FindingKind::kError, "", 0, fault, ""});
        fprintf(stderr, "quorvale-studio: %s\n", fault.c_str());
    }
}

DemoDocument* PlayedDocument(const Studio* studio)
{
    return &studio->window.slots[studio->active].stage->run.piece.demo;
}

std::vector<std::string> ChosenClipLines(const Studio* studio)
{
    if (studio->active < 0 || studio->chosenBar < 0)
    {
        return {};
    }
    const ClipBar& bar = studio->bars[static_cast<size_t>(studio->chosenBar)];
    const DemoDocument* document = PlayedDocument(studio);
    const uint32_t tick = std::clamp(TransportTick(&studio->transport), bar.begin, bar.end);
    const uint32_t time = tick - bar.begin + document->timeline->offset[bar.row][bar.clip];
    return ClipLines(document, bar.row, bar.clip, time);
}

// ---- Opening a piece

static std::string FolderOf(const std::string& path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash);
}

static bool IsFolder(const std::string& path)
{
    struct stat status;
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

/// Loads into the slot that does not play.
static void Load(Studio* studio, LoadRequest&& request)
{
    const int32_t width = studio->window.pictureWidth;
    const int32_t height = studio->window.pictureHeight;
    request.view = {width, height, static_cast<float>(width) / static_cast<float>(height),
                    studio->window.features};
    const uint32_t free = studio->active == 0 ? 1 : 0;
    studio->replaced = -1; // it lies there, and the loader closes it
    StartLoading(std::move(request), &studio->window.slots[free], &studio->loader);
}

std::string SamplePath()
{
    char program[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", program, sizeof(program) - 1);
    const std::string own(program, length > 0 ? static_cast<size_t>(length) : 0);
    const std::string installed =
        own.substr(0, own.rfind('/') + 1) + "../" QUORVALE_INSTALLED_SAMPLE;
    return access(installed.c_str(), R_OK) == 0 ? installed
           : access(QUORVALE_SAMPLE, R_OK) == 0 ? QUORVALE_SAMPLE
                                                : "";
}

void MakeNewPiece(Studio* studio)
{
    const std::string folder = studio->newFolder;
    if (folder.empty() || !MakePieceFolder(folder))
    {
        TellFaults(studio, {folder + ": no piece can be made there; is there one already?"});
        return;
    }
    OpenPiecePath(studio, folder);
}

/// @return the tick that a piece begins at
static uint32_t FirstTick(const Studio* studio)
{
    if (studio->loads == 0 && studio->options.hasFrom)
    {
        return studio->options.fromTick;
    }
    return studio->options.isViewer ? 0 : FindPlace(studio->settings, studio->piecePath);
}

/// Whether there is a piece to go on with if another one can't be opened.
static bool HasPiece(const Studio* studio)
{
    return studio->active >= 0 || !studio->folder.watcher.folder.empty();
}

void OpenPiecePath(Studio* studio, const std::string& path)
{
    if (studio->loader.isRunning)
    {
        ShowMessage(studio, "another piece is being opened");
        return;
    }
    // A folder that will be filled is watched where there is nothing better to show.
    const bool isEmpty =
        IsFolder(path) && !HasScript(path) && access((path + "/demo.xml").c_str(), F_OK) != 0;
    if (isEmpty && HasPiece(studio) && !studio->options.isViewer)
    {
        TellFaults(studio, {path + ": it is no piece: it has neither piece.py nor demo.xml"});
        return;
    }
    studio->piecePath = WholePath(path);
    if (IsFolder(path))
    {
        OpenFolder(studio, studio->piecePath);
        return;
    }
    LoadRequest request = {};
    request.path = studio->piecePath;
    request.tick = FirstTick(studio);
    Load(studio, std::move(request));
}

void LoadPackageBytes(Studio* studio, std::vector<uint8_t>&& package)
{
    LoadRequest request = {};
    request.package = std::move(package);
    request.tick = studio->loadedPath == studio->piecePath ? TransportTick(&studio->transport)
                                                           : FirstTick(studio);
    Load(studio, std::move(request));
}

/// @return the last tick of a piece
static uint32_t EndTick(const Timeline* timeline)
{
    uint32_t end = 0;
    for (uint32_t row = 0; row < kTimelineRows; ++row)
    {
        for (uint32_t clip = 0; clip < timeline->clipCount[row]; ++clip)
        {
            end = std::max(end, timeline->clipEnd[row][clip]);
        }
    }
    // Positions are milliseconds in 32 bits.
    return std::min(end, UINT32_MAX / kMsPerTick);
}

/// @return the module's path, in the piece's folder or below music/; empty for none
static std::string FindModule(const Piece* piece, const std::string& folder)
{
    const TiXmlNode* node = MusicDocument(piece)->musicNode;
    const TiXmlElement* element = node == nullptr ? nullptr : node->ToElement();
    const char* file = element == nullptr ? nullptr : element->Attribute("file");
    if (file == nullptr)
    {
        return "";
    }
    const std::string own = file[0] == '/' ? file : folder + "/" + file;
    const std::string below = folder + "/music/" + file;
    return access(own.c_str(), R_OK) == 0 ? own : access(below.c_str(), R_OK) == 0 ? below : "";
}

static FileMark MarkFile(const std::string& path)
{
    struct stat status;
    if (stat(path.c_str(), &status) != 0)
    {
        return {};
    }
    return {status.st_ino, int64_t{status.st_mtim.tv_sec} * 1000000000 + status.st_mtim.tv_nsec,
            static_cast<uint64_t>(status.st_size)};
}

/// Plays a module beforehand, unless that was done or is being done.
static void StartModule(Studio* studio, const std::string& path)
{
    const FileMark mark = MarkFile(path);
    if (path == studio->musicianPath && mark == studio->musicianModule.mark)
    {
        return;
    }
    const FileContent module = {mark, path.empty() ? 0 : HashFile(path)};
    const bool isSame = path == studio->musicianPath && module.hash != 0 &&
                        module.hash == studio->musicianModule.hash;
    studio->musicianModule = module;
    if (isSame)
    {
        return;
    }
    EndChild(&studio->musician);
    studio->musicianPath = path;
    studio->track = {};
    studio->peaks.clear();
    SetSamples(&studio->sound, nullptr);
    if (!path.empty() && !StartMusician(path, &studio->musician))
    {
        ShowMessage(studio, studio->musician.errors);
    }
}

void ApplyRows(Studio* studio)
{
    if (studio->active < 0)
    {
        return;
    }
    Stage* stage = studio->window.slots[studio->active].stage;
    ApplyRowMask(studio->bars, studio->rowMask, stage->run.piece.demo.timeline);
    stage->stride = 0; // what it knows of the run is of other rows
    RestartCost(studio, true);
    studio->mustShow = true;
}

/// A piece was loaded and takes over.
static void TakeOver(Studio* studio, const LoadOutcome& outcome)
{
    const bool isOther = studio->loadedPath != studio->piecePath;
    if (studio->folder.watcher.folder != studio->piecePath)
    {
        CloseFolder(studio);
    }
    const int32_t before = studio->active;
    studio->active = static_cast<int32_t>(studio->loader.slot - studio->window.slots);
    studio->replaced = before;
    studio->loadUs = outcome.loadUs;
    studio->seekUs = outcome.seekUs;
    studio->made = outcome.made;
    studio->kept = outcome.kept;
    studio->loads += 1;
    studio->failures = 0;
    if (studio->folder.watcher.folder.empty())
    {
        studio->findings.clear(); // those of a folder are its build's
    }

    const Stage* stage = studio->window.slots[studio->active].stage;
    const uint32_t end = EndTick(stage->run.piece.demo.timeline);
    studio->bars = FindClipBars(stage->run.piece.demo.timeline);
    studio->barNames.clear();
    for (const ClipBar& bar : studio->bars)
    {
        studio->barNames.push_back(SceneName(&stage->run.piece.demo, bar.scene));
    }
    studio->chosenBar = -1;
    if (isOther)
    {
        studio->rowMask = {};
        studio->timelineView = {};
        if (!studio->loadedPath.empty())
        {
            NotePlace(&studio->settings, studio->loadedPath, TransportTick(&studio->transport));
        }
        const uint32_t stretch = studio->transport.stretch;
        const bool repeats = studio->transport.repeats;
        studio->transport = StartTransport(end);
        studio->transport.repeats = repeats;
        studio->transport.stretch = stretch + 1;
        JumpTo(&studio->transport, outcome.isLeft ? 0 : studio->loader.request.tick, NowMs());
        studio->seek = {};
        studio->hasPicture = false;
        // Most pieces begin with black: one that nobody has seen yet shows itself.
        const bool standsThere = studio->loads == 1 && studio->options.hasFrom;
        studio->isWaiting =
            studio->options.isViewer ||
            (!standsThere && !outcome.isLeft && !IsKnownPiece(studio->settings, studio->piecePath));
        studio->loadedPath = studio->piecePath;
    }
    else
    {
        SetEnd(&studio->transport, end, NowMs());
    }
    studio->modulePath =
        FindModule(&stage->run.piece,
                   IsFolder(studio->piecePath) ? studio->piecePath : FolderOf(studio->piecePath));
    StartModule(studio, studio->modulePath);
    RestartCost(studio, !isOther);
    studio->folder.playedContents = studio->folder.loadContents;
    ForgetLook(studio);
    KeepTrying(studio, isOther);
    studio->flight.isOn = studio->flight.isOn && !isOther;
    studio->mustShow = true;
    const bool hasMask = studio->rowMask.hidden != 0 || studio->rowMask.solo != 0;
    if (hasMask)
    {
        ApplyRows(studio);
    }
    // The loader has drawn this very picture. Its cost was not counted, and nothing may differ.
    const bool showsCost = (studio->panels & kCostPanel) != 0;
    studio->isDrawn = !isOther && !outcome.isLeft && !hasMask && !studio->flight.isOn &&
                      !showsCost && ListChanges(studio->tried.edits).empty() &&
                      studio->loader.request.tick == TransportTick(&studio->transport);
    SDL_SetWindowTitle(studio->window.window, (studio->piecePath + " - Quorvale Studio").c_str());
}

/// Closes the piece before, which takes a while, after the picture of the new one is shown.
static void CloseReplaced(Studio* studio)
{
    if (studio->replaced >= 0)
    {
        CloseSlotStage(&studio->window.slots[studio->replaced]);
        UseWindow(&studio->window);
        studio->replaced = -1;
    }
}

/// A piece was loaded whose check found mistakes: the last good one goes on.
static void DropLoaded(Studio* studio)
{
    CloseSlotStage(studio->loader.slot);
    UseWindow(&studio->window);
    studio->folder.loadVerdict = BuildVerdict::kGood;
    studio->folder.isTimed = false;
}

/// The next piece of the list, or the end of the program. A piece that is being opened comes first.
static void PlayNext(Studio* studio)
{
    if (studio->loader.isRunning)
    {
        return;
    }
    studio->pieceIndex += 1;
    if (studio->pieceIndex < studio->options.pieces.size())
    {
        OpenPiecePath(studio, studio->options.pieces[studio->pieceIndex]);
        return;
    }
    const bool allAreBroken = studio->failures >= studio->options.pieces.size();
    if (studio->options.repeats && studio->active >= 0 && !allAreBroken)
    {
        studio->pieceIndex = 0;
        if (studio->options.pieces.size() == 1)
        {
            JumpTo(&studio->transport, 0, NowMs());
            studio->isWaiting = true;
            return;
        }
        OpenPiecePath(studio, studio->options.pieces[0]);
        return;
    }
    studio->quits = true;
    studio->exitCode = studio->active < 0 ? EXIT_FAILURE : studio->exitCode;
}

/// Goes to another piece of the list, which has no piece before the first and none after the last.
static void StepPieces(Studio* studio, int32_t step)
{
    const int64_t count = static_cast<int64_t>(studio->options.pieces.size());
    const int64_t index = int64_t{studio->pieceIndex} + step;
    if (!studio->options.isViewer || index < 0 || index >= count)
    {
        ShowMessage(studio, step < 0 ? "there is no piece before" : "there is no other piece");
        return;
    }
    if (!studio->loader.isRunning)
    {
        studio->pieceIndex = static_cast<uint32_t>(index);
        OpenPiecePath(studio, studio->options.pieces[studio->pieceIndex]);
    }
}

/// A viewer goes on to the next piece if a folder can't be built.
static void PassBrokenFolder(Studio* studio)
{
    const FolderPiece& folder = studio->folder;
    if (!studio->options.isViewer || !folder.hasFailed ||
        studio->loadedPath == folder.watcher.folder)
    {
        return;
    }
    for (const FindingLine& finding : studio->findings)
    {
        const std::string place =
            finding.line == 0 ? "" : finding.path + ":" + std::to_string(finding.line) + ": ";
        fprintf(stderr, "quorvale-studio: %s%s\n", place.c_str(), finding.text.c_str());
    }
    CloseFolder(studio);
    studio->exitCode = EXIT_FAILURE;
    studio->failures += 1;
    PlayNext(studio);
}

/// Another piece could not be opened: the one before goes on, and its folder is watched.
static void StayWithPiece(Studio* studio)
{
    if (HasPiece(studio) && !studio->options.isViewer)
    {
        const std::string& folder = studio->folder.watcher.folder;
        studio->piecePath = folder.empty() ? studio->loadedPath : folder;
    }
}

static void PollPiece(Studio* studio)
{
    PassBrokenFolder(studio);
    LoadOutcome outcome;
    const BuildVerdict verdict = studio->folder.loadVerdict;
    const bool isElsewhere = studio->loader.isRunning && !studio->transport.plays &&
                             studio->loadedPath == studio->piecePath &&
                             studio->loader.request.tick != TransportTick(&studio->transport);
    if (isElsewhere)
    {
        LeaveSeek(&studio->loader); // another picture is wanted by now
    }
    if (verdict != BuildVerdict::kOpen && TakeLoaded(&studio->loader, &outcome))
    {
        if (verdict == BuildVerdict::kBad)
        {
            DropLoaded(studio); // the check has told why
        }
        else if (outcome.isLoaded)
        {
            TakeOver(studio, outcome);
        }
        else
        {
            TellFaults(studio, outcome.faults);
            studio->exitCode = EXIT_FAILURE;
            studio->failures += 1;
            StayWithPiece(studio);
            if (studio->options.isViewer)
            {
                PlayNext(studio);
            }
        }
    }
    if (studio->musician.pid != 0)
    {
        std::string fault;
        switch (PollMusician(&studio->musician, &studio->track, &fault))
        {
        case MusicianStep::kDone:
            SetSamples(&studio->sound, studio->track.samples);
            studio->peaks = FindPeaks(*studio->track.samples);
            studio->transport.stretch += studio->transport.plays ? 1 : 0;
            break;
        case MusicianStep::kFailed:
            ShowMessage(studio, fault);
            break;
        case MusicianStep::kWorks:
            break;
        }
    }
    // One who has gone elsewhere meanwhile stays there.
    const bool hasJumped = studio->transport.jumps > 1 && !studio->options.isViewer;
    studio->isWaiting = studio->isWaiting && !hasJumped;
    if (studio->isWaiting && studio->active >= 0 && studio->musician.pid == 0)
    {
        studio->isWaiting = false;
        Play(&studio->transport, NowMs());
    }
}

// ---- Commands

static void KeepPictureFile(Studio* studio)
{
    if (studio->active < 0)
    {
        return;
    }
    const size_t slash = studio->loadedPath.rfind('/');
    std::string stem = studio->loadedPath.substr(slash == std::string::npos ? 0 : slash + 1);
    stem = stem.substr(0, stem.rfind('.'));
    char number[32];
    snprintf(number, sizeof(number), "-%06u.png", studio->shownTick);
    // A program that a desktop starts may stand in a folder that is not the user's.
    const char* home = getenv("HOME");
    const bool isOurs = access(".", W_OK) == 0 || home == nullptr;
    const std::string path = WholePath(isOurs ? "." : home) + "/" + stem + number;
    const std::vector<uint8_t> pixels = ReadShownPicture(&studio->window);
    const bool isWritten = WritePng(
        path, {studio->window.pictureWidth, studio->window.pictureHeight, 3, pixels.data()});
    ShowMessage(studio, isWritten ? path + " is written" : path + " can't be written");
}

/// Goes some rows of the module on or back.
static void StepRows(Studio* studio, int32_t rows)
{
    if (studio->track.rows.empty())
    {
        return;
    }
    Pause(&studio->transport);
    const int32_t last = static_cast<int32_t>(studio->track.rows.size()) - 1;
    const int32_t row =
        std::clamp(FindTrackRow(studio->track, TransportTick(&studio->transport)) + rows, 0, last);
    JumpTo(&studio->transport, studio->track.rows[static_cast<size_t>(row)].tick, NowMs());
}

static void StepTicks(Studio* studio, int64_t ticks)
{
    Pause(&studio->transport);
    JumpBy(&studio->transport, ticks, NowMs());
}

/// Opens the field of the transport, which may be hidden.
static void OpenJump(Studio* studio)
{
    if (studio->active < 0)
    {
        return;
    }
    studio->showsPanels = true;
    studio->panels |= kTransportPanel;
    studio->isJumping = true;
    studio->startsJump = true;
    studio->jumpText[0] = '\0';
}

bool JumpToTyped(Studio* studio)
{
    const std::string text = studio->jumpText;
    TypedMoment moment;
    if (!ParseTypedMoment(text, &moment))
    {
        ShowMessage(studio, "\"" + text + "\" is no moment such as 12.5, 1:12, 1250t or o3:16");
        return false;
    }
    if (moment.isRow)
    {
        const auto isIt = [&moment](const TrackRow& row)
        {
            return row.order == static_cast<int32_t>(moment.order) &&
                   row.row == static_cast<int32_t>(moment.row);
        };
        const std::vector<TrackRow>& rows = studio->track.rows;
        const auto found = std::find_if(rows.begin(), rows.end(), isIt);
        if (found == rows.end())
        {
            ShowMessage(studio, "no row of the module is played at \"" + text + "\"");
            return false;
        }
        moment.tick = found->tick;
    }
    if (moment.tick > studio->transport.endTick)
    {
        ShowMessage(studio, "\"" + text + "\" is past the end, which is " +
                                std::to_string(studio->transport.endTick) + "t");
        return false;
    }
    JumpTo(&studio->transport, moment.tick, NowMs());
    return true;
}

static void ToggleFullscreen(Studio* studio)
{
    SDL_Window* window = studio->window.window;
    const bool isFull = (SDL_GetWindowFlags(window) & SDL_WINDOW_FULLSCREEN_DESKTOP) != 0;
    SDL_SetWindowFullscreen(window, isFull ? 0 : SDL_WINDOW_FULLSCREEN_DESKTOP);
    studio->showsPanels = isFull && !studio->options.isViewer;
    SDL_ShowCursor(isFull || !studio->options.isViewer ? SDL_ENABLE : SDL_DISABLE);
}

static void Leave(Studio* studio)
{
    const bool isFull =
        (SDL_GetWindowFlags(studio->window.window) & SDL_WINDOW_FULLSCREEN_DESKTOP) != 0;
    if (studio->options.isViewer)
    {
        studio->quits = true;
    }
    else if (CancelSeek(studio))
    {
        return;
    }
    else if (isFull)
    {
        ToggleFullscreen(studio);
    }
    studio->showsKeys = false;
    studio->reachesPanels = false;
}

static void ChangeVolume(Studio* studio, int32_t step)
{
    studio->settings.volume = std::clamp(studio->settings.volume + step, 0, 100);
    SetVolume(&studio->sound, studio->settings.volume, studio->sound.isMuted);
    ShowMessage(studio, "volume " + std::to_string(studio->settings.volume));
}

/// The range between the marks. The other mark starts at the piece's own end, and goes back there
/// if this one passes it.
static void MarkRange(Studio* studio, bool isBegin)
{
    Transport* transport = &studio->transport;
    const uint32_t tick = TransportTick(transport);
    const bool hasBegin = transport->hasRange && transport->rangeBegin < tick;
    const bool hasEnd = transport->hasRange && transport->rangeEnd > tick;
    const uint32_t begin = isBegin ? tick : hasBegin ? transport->rangeBegin : 0;
    const uint32_t end = !isBegin ? tick : hasEnd ? transport->rangeEnd : transport->endTick;
    SetRange(transport, begin, end);
}

void RunCommand(Studio* studio, Command command)
{
    static constexpr int64_t kShortTicks = 500;
    static constexpr int64_t kLongTicks = 6000;
    static constexpr int32_t kRowsOfABeat = 4;
    Transport* transport = &studio->transport;
    const uint32_t now = NowMs();
    studio->isWaiting = studio->isWaiting && studio->options.isViewer;
    switch (command)
    {
    case Command::kPlayPause:
        transport->plays ? Pause(transport) : Play(transport, now);
        break;
    case Command::kBackShort:
        JumpBy(transport, -kShortTicks, now);
        break;
    case Command::kOnShort:
        JumpBy(transport, kShortTicks, now);
        break;
    case Command::kBackLong:
        JumpBy(transport, -kLongTicks, now);
        break;
    case Command::kOnLong:
        JumpBy(transport, kLongTicks, now);
        break;
    case Command::kBackTick:
        StepTicks(studio, -1);
        break;
    case Command::kOnTick:
        StepTicks(studio, 1);
        break;
    case Command::kBackPicture:
        StepTicks(studio, -int64_t{kPictureTicks});
        break;
    case Command::kOnPicture:
        StepTicks(studio, kPictureTicks);
        break;
    case Command::kBackRow:
        StepRows(studio, -1);
        break;
    case Command::kOnRow:
        StepRows(studio, 1);
        break;
    case Command::kBackBeat:
        StepRows(studio, -kRowsOfABeat);
        break;
    case Command::kOnBeat:
        StepRows(studio, kRowsOfABeat);
        break;
    case Command::kToStart:
        JumpTo(transport, 0, now);
        break;
    case Command::kToEnd:
        JumpTo(transport, transport->endTick, now);
        break;
    case Command::kJump:
        OpenJump(studio);
        break;
    case Command::kPreviousPiece:
        StepPieces(studio, -1);
        break;
    case Command::kNextPiece:
        StepPieces(studio, 1);
        break;
    case Command::kSlower:
        ChangeSpeed(transport, -1, now);
        break;
    case Command::kFaster:
        ChangeSpeed(transport, 1, now);
        break;
    case Command::kNormalSpeed:
        SetNormalSpeed(transport, now);
        break;
    case Command::kRangeBegin:
        MarkRange(studio, true);
        break;
    case Command::kRangeEnd:
        MarkRange(studio, false);
        break;
    case Command::kRangeOff:
        transport->hasRange = !transport->hasRange && transport->rangeBegin < transport->rangeEnd;
        break;
    case Command::kMute:
        SetVolume(&studio->sound, studio->settings.volume, !studio->sound.isMuted);
        ShowMessage(studio, studio->sound.isMuted ? "muted" : "sound on");
        break;
    case Command::kQuieter:
        ChangeVolume(studio, -10);
        break;
    case Command::kLouder:
        ChangeVolume(studio, 10);
        break;
    case Command::kFullscreen:
        ToggleFullscreen(studio);
        break;
    case Command::kPicture:
        KeepPictureFile(studio);
        break;
    case Command::kPanels:
        studio->showsPanels = !studio->showsPanels;
        break;
    case Command::kFly:
        ToggleFlight(studio);
        break;
    case Command::kCopyView:
        CopyView(studio);
        break;
    case Command::kUndo:
        UndoValue(studio);
        break;
    case Command::kRedo:
        RedoValue(studio);
        break;
    case Command::kInside:
        studio->panels ^= kInsidePanel;
        break;
    case Command::kCost:
        studio->panels ^= kCostPanel;
        break;
    case Command::kTimeline:
        studio->panels ^= kTimelinePanel;
        break;
    case Command::kTransport:
        studio->panels ^= kTransportPanel;
        break;
    case Command::kChanges:
        studio->panels ^= kChangesPanel;
        break;
    case Command::kFaults:
        studio->panels ^= kFaultsPanel;
        break;
    case Command::kReachPanels:
        studio->reachesPanels = studio->showsPanels && !studio->reachesPanels;
        ShowMessage(studio, studio->reachesPanels ? "keys go to the panels; F6 takes them back"
                                                  : "keys are commands again");
        break;
    case Command::kKeys:
        studio->showsKeys = !studio->showsKeys;
        break;
    case Command::kOpenFinding:
        OpenFinding(studio);
        break;
    case Command::kNextFinding:
        studio->selectedFinding =
            studio->findings.empty() ? 0 : (studio->selectedFinding + 1) % studio->findings.size();
        break;
    case Command::kLeave:
        Leave(studio);
        break;
    case Command::kQuit:
        studio->quits = true;
        break;
    }
}

static uint8_t Modifiers(uint16_t state)
{
    return static_cast<uint8_t>(((state & KMOD_SHIFT) != 0 ? kShift : 0) |
                                ((state & KMOD_CTRL) != 0 ? kControl : 0));
}

/// Keys that move the camera while it is flown.
static bool IsFlightKey(SDL_Keycode key)
{
    return key == SDLK_w || key == SDLK_a || key == SDLK_s || key == SDLK_d || key == SDLK_q ||
           key == SDLK_e;
}

/// Keys that are commands also while the others go to the panels.
static bool IsAlwaysCommand(const SDL_KeyboardEvent& key)
{
    const bool isFunction = key.keysym.sym >= SDLK_F1 && key.keysym.sym <= SDLK_F12;
    const bool hasControl = (key.keysym.mod & KMOD_CTRL) != 0 && key.keysym.sym != SDLK_TAB;
    return isFunction || hasControl || key.keysym.sym == SDLK_ESCAPE;
}

/// Whether a key is the one of a row. Brackets are also found by their place: many keyboards have
/// letters there, and brackets where no program reaches them.
static bool IsKeyOf(const KeyRow& row, const SDL_Keysym& key)
{
    const SDL_Keycode code = SDL_GetKeyFromName(row.key);
    return code == key.sym ||
           (code == SDLK_LEFTBRACKET && key.scancode == SDL_SCANCODE_LEFTBRACKET) ||
           (code == SDLK_RIGHTBRACKET && key.scancode == SDL_SCANCODE_RIGHTBRACKET);
}

static void TakeKey(Studio* studio, const SDL_KeyboardEvent& key)
{
    // What is written with AltGr is no command, and what has Alt is the window manager's.
    if ((key.keysym.mod & (KMOD_ALT | KMOD_MODE | KMOD_GUI)) != 0)
    {
        return;
    }
    if (studio->flight.isOn && IsFlightKey(key.keysym.sym) && (key.keysym.mod & KMOD_CTRL) == 0)
    {
        return;
    }
    if (studio->reachesPanels && !IsAlwaysCommand(key))
    {
        return;
    }
    for (const KeyRow& row : KeyTable())
    {
        if (IsKeyOf(row, key.keysym) && row.modifiers == Modifiers(key.keysym.mod) &&
            (row.inViewer || !studio->options.isViewer))
        {
            if (key.repeat == 0 || row.repeats)
            {
                RunCommand(studio, row.command);
            }
            return;
        }
    }
}

static void TakeEvent(Studio* studio, const SDL_Event* event)
{
    if (GivePanelsEvent(studio, event))
    {
        return;
    }
    switch (event->type)
    {
    case SDL_QUIT:
        studio->quits = true;
        break;
    case SDL_WINDOWEVENT:
        // SDL asks a program to end with its last window, and the hidden ones to draw on stay.
        studio->quits = studio->quits || event->window.event == SDL_WINDOWEVENT_CLOSE;
        break;
    case SDL_KEYDOWN:
        TakeKey(studio, event->key);
        break;
    case SDL_MOUSEBUTTONDOWN:
        if (studio->options.isViewer && event->button.clicks == 2)
        {
            ToggleFullscreen(studio);
        }
        break;
    case SDL_DROPFILE:
        OpenPiecePath(studio, event->drop.file);
        SDL_free(event->drop.file);
        break;
    default:
        break;
    }
}

// ---- A round

static void FollowStretch(Studio* studio)
{
    if (studio->soundStretch == studio->transport.stretch)
    {
        return;
    }
    studio->soundStretch = studio->transport.stretch;
    const bool hasSound = studio->sound.device != 0 && studio->sound.samples != nullptr;
    if (hasSound && WantsSound(&studio->transport))
    {
        StartSound(&studio->sound, studio->transport.positionMs);
    }
    else
    {
        StopSound(&studio->sound);
    }
}

/// Moves the transport to the time that it is.
static void MoveOn(Studio* studio)
{
    FollowStretch(studio);
    const bool played = studio->transport.plays;
    if (studio->sound.isPlaying)
    {
        // The count is read first: the device may ask for a block in between.
        const SoundCount count = ReadSoundCount(&studio->sound);
        const TransportClock clock = {NowMs(), &count};
        studio->soundMs = SoundPosition(&count, clock.nowMs);
        MoveTransport(&studio->transport, &clock);
    }
    else
    {
        const TransportClock clock = {NowMs(), nullptr};
        MoveTransport(&studio->transport, &clock);
    }
    FollowStretch(studio);
    const bool hasEnded = played && !studio->transport.plays;
    if (hasEnded && studio->options.isViewer)
    {
        PlayNext(studio);
    }
}

/// Whether something goes on that the next round may find done.
static bool IsBusy(const Studio* studio)
{
    return studio->seek.isOn || studio->transport.plays || studio->loader.isRunning ||
           studio->musician.pid != 0 || studio->cost.counter.pid != 0 ||
           studio->folder.builder.isBuilding || studio->folder.mustCompare;
}

/// All that comes by itself and shows in panels: the window is drawn anew when it changes.
struct Arrivals
{
    bool isBuilding, isLoading, isPlayedBeforehand;
    uint32_t builds, loads;
    size_t findings, peaks;

    bool operator==(const Arrivals&) const = default;
};

static Arrivals NoteArrivals(const Studio* studio)
{
    return {studio->folder.builder.isBuilding,
            studio->loader.isRunning,
            studio->musician.pid != 0,
            studio->folder.builds,
            studio->loads,
            studio->findings.size(),
            studio->peaks.size()};
}

static void RunRounds(Studio* studio)
{
    static constexpr uint32_t kRedrawnRounds = 3; // after the last event: panels move a frame late
    uint32_t redraws = kRedrawnRounds;
    Arrivals arrivals = {};
    while (!studio->quits)
    {
        SDL_Event event;
        const int waitMs = studio->seek.isOn ? 0 : IsBusy(studio) ? kBusyMs : kIdleMs;
        bool hasEvent = SDL_WaitEventTimeout(&event, waitMs) != 0;
        redraws = hasEvent ? kRedrawnRounds : redraws;
        for (; hasEvent; hasEvent = SDL_PollEvent(&event) != 0)
        {
            TakeEvent(studio, &event);
        }
        PollFolder(studio);
        PollPiece(studio);
        MoveOn(studio);
        FlyWithKeys(studio);
        const ShowStep step = ShowPicture(studio);
        const bool isNew = step != ShowStep::kNothing;
        if (step == ShowStep::kFailed && studio->options.isViewer)
        {
            PlayNext(studio);
        }
        const Arrivals now = NoteArrivals(studio);
        redraws = now == arrivals ? redraws : kRedrawnRounds;
        arrivals = now;
        const std::string sought = SoughtText(studio);
        redraws = std::max<uint32_t>(redraws, sought != studio->soughtText ? 1 : 0);
        studio->soughtText = sought;
        redraws = std::max<uint32_t>(redraws, CountMore(studio) ? 1 : 0);
        const bool hasMessage = NowMs() - studio->messageMs < 5000 && !studio->message.empty();
        if (isNew || hasMessage || redraws != 0)
        {
            redraws = isNew ? kRedrawnRounds : redraws - (redraws != 0 ? 1 : 0);
            DrawPanels(studio);
            studio->redraws += 1;
            SDL_GL_SwapWindow(studio->window.window);
            if (isNew)
            {
                NoteSwap(studio);
                NoteShown(studio);
                CloseReplaced(studio);
            }
        }
        // Whoever asks may have moved the pointer, and waits until the window has seen it.
        AnswerControl(&studio->control,
                      [studio, &redraws](const std::string& question)
                      {
                          redraws = kRedrawnRounds;
                          return Answer(studio, question);
                      });
    }
}

// ---- Begin and end

static std::string ReadSettingsText(const std::string& folder)
{
    const std::string path = folder + "/settings";
    Bytes bytes;
    if (access(path.c_str(), R_OK) == 0 && ReadWholeFile(path, kMostSettings, &bytes))
    {
        return std::string(bytes.begin(), bytes.end());
    }
    return "";
}

static void KeepSettings(Studio* studio, const std::string& folder)
{
    if (folder.empty() || studio->options.isViewer)
    {
        return;
    }
    NotePlace(&studio->settings, studio->loadedPath, TransportTick(&studio->transport));
    studio->settings.panels = static_cast<int32_t>(studio->panels);
    SDL_GetWindowSize(studio->window.window, &studio->settings.windowWidth,
                      &studio->settings.windowHeight);
    const StudioSettings file = ParseSettings(ReadSettingsText(folder));
    const std::string text =
        FormatSettings(MergeSettings(studio->firstSettings, studio->settings, file));
    if (MakeFolder(folder))
    {
        ReplaceFile(folder + "/settings", reinterpret_cast<const unsigned char*>(text.data()),
                    text.size());
    }
}

/// @return an empty text, or why there is no window
static std::string OpenAll(Studio* studio)
{
    if (SDL_Init(SDL_INIT_VIDEO | SDL_INIT_TIMER) != 0)
    {
        return std::string("can't open a screen: ") + SDL_GetError();
    }
    // Without a screen SDL may choose one that nobody sees.
    const std::string driver = SDL_GetCurrentVideoDriver();
    if (getenv("SDL_VIDEODRIVER") == nullptr && (driver == "offscreen" || driver == "dummy"))
    {
        return "can't open a screen: there is none";
    }
    SDL_EventState(SDL_DROPFILE, SDL_ENABLE);
    const StudioOptions& options = studio->options;
    WindowRequest request = {options.width, options.height, studio->settings.windowWidth,
                             studio->settings.windowHeight, options.isFullscreen};
    if (request.width == 0)
    {
        SDL_DisplayMode mode = {};
        const bool fills = options.isFullscreen && SDL_GetDesktopDisplayMode(0, &mode) == 0;
        request.width = fills ? mode.w : kDefaultWidth;
        request.height = fills ? mode.h : kDefaultHeight;
    }
    if (options.isViewer)
    {
        request.windowWidth = request.width;
        request.windowHeight = request.height;
    }
    SDL_Rect usable = {};
    if (!options.isViewer && SDL_GetDisplayUsableBounds(0, &usable) == 0)
    {
        request.windowWidth = std::min(request.windowWidth, usable.w);
        request.windowHeight = std::min(request.windowHeight, usable.h);
    }
    std::string wrong = OpenStudioWindow(&request, &studio->window);
    if (!wrong.empty())
    {
        return wrong;
    }
    if (!options.control.empty())
    {
        return OpenControl(options.control, &studio->control);
    }
    return "";
}

static void CloseAll(Studio* studio)
{
    EndLoading(&studio->loader);
    CloseFolder(studio);
    EndChild(&studio->musician);
    EndChild(&studio->cost.counter);
    CloseSound(&studio->sound);
    CloseControl(&studio->control);
    CloseStudioWindow(&studio->window);
    SDL_Quit();
}

int RunStudio(const StudioOptions& options)
{
    BuildCosTable();
    BuildCornerMasks();
    Studio* studio = new Studio{};
    studio->options = options;
    studio->active = -1;
    studio->replaced = -1;
    studio->chosenBar = -1;
    studio->showsPanels = !options.isViewer && !options.isFullscreen;
    studio->transport.speed = kNormalSpeed;
    const std::string folder = SettingsFolder(getenv("XDG_CONFIG_HOME"), getenv("HOME"));
    studio->settings = ParseSettings(folder.empty() ? "" : ReadSettingsText(folder));
    studio->firstSettings = studio->settings;
    studio->panels = static_cast<uint32_t>(studio->settings.panels);

    const std::string wrong = OpenAll(studio);
    if (!wrong.empty())
    {
        fprintf(stderr, "quorvale-studio: %s\n", wrong.c_str());
        CloseAll(studio);
        delete studio;
        return EXIT_FAILURE;
    }
    // A screen may be too small for the window that was kept: that is no change of the user's.
    SDL_GetWindowSize(studio->window.window, &studio->firstSettings.windowWidth,
                      &studio->firstSettings.windowHeight);
    OpenSound(&studio->sound);
    SetVolume(&studio->sound, studio->settings.volume, options.isMuted);
    studio->scale = FindDesktopScale(studio->window.window);
    const bool keepsLayout = !folder.empty() && !options.isViewer && MakeFolder(folder);
    const std::string layout = folder + "/layout.ini";
    const char* home = getenv("HOME");
    snprintf(studio->newFolder, sizeof(studio->newFolder), "%s/my-piece",
             home == nullptr ? "." : home);
    StartPanels(studio, keepsLayout ? layout.c_str() : nullptr);
    if (options.isViewer && options.isFullscreen)
    {
        SDL_ShowCursor(SDL_DISABLE);
    }
    if (!options.pieces.empty())
    {
        OpenPiecePath(studio, options.pieces[0]);
    }

    RunRounds(studio);

    KeepSettings(studio, folder);
    SDL_HideWindow(studio->window.window); // a piece that is being loaded is waited for
    EndLoading(&studio->loader);
    UseWindow(&studio->window);
    CloseLook(studio);
    EndPanels();
    const int exitCode = studio->exitCode;
    CloseAll(studio);
    delete studio;
    return exitCode;
}
