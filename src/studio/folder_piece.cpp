// SPDX-License-Identifier: MIT
#include "studio/folder_piece.h"

#include <algorithm>
#include <cstdlib>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "studio/studio.h"

/// Editors save in several steps: a build waits until the folder is quiet for so long.
static constexpr uint32_t kQuietMs = 15;
/// A build that works for so long is given up when the author's program was saved again.
static constexpr uint32_t kPatienceMs = 2000;

void OpenFolder(Studio* studio, const std::string& folder)
{
    CloseFolder(studio);
    StartWatching(folder, &studio->folder.watcher);
    const std::string wrong = WatcherText(studio->folder.watcher);
    if (!wrong.empty())
    {
        ShowMessage(studio, wrong);
    }
    studio->folder.mustBuild = true;
    studio->folder.eventMs = NowMs() - kQuietMs;
}

void CloseFolder(Studio* studio)
{
    StopWatching(&studio->folder.watcher);
    EndBuilder(&studio->folder.builder);
    studio->folder = {};
}

static void BeginBuild(Studio* studio)
{
    FolderPiece* folder = &studio->folder;
    folder->mustBuild = false;
    folder->mustCompare = false;
    folder->isSame = false;
    folder->savedMs = folder->eventMs;
    folder->before = MarkFolder(folder->watcher.folder);
    folder->contents = ReadContents(folder->before, folder->contents);
    const std::string wrong = StartBuild(folder->watcher.folder, NowMs(), &folder->builder);
    if (!wrong.empty())
    {
        ShowMessage(studio, wrong);
    }
}

static void EndBuild(Studio* studio, BuildOutcome* outcome)
{
    FolderPiece* folder = &studio->folder;
    folder->after = folder->before;
    const bool isRepeat = folder->written.repeats != 0;
    if (HasScript(folder->watcher.folder))
    {
        folder->after = MarkFolder(folder->watcher.folder);
        const FolderContents after = ReadContents(folder->after, folder->contents);
        folder->mustBuild = MustRepeat(folder->contents, after, &folder->written);
    }
    folder->builds += 1;
    folder->hasFailed = !outcome->isGood;
    studio->findings = ParseFindings(outcome->text, outcome->isGood);
    studio->selectedFinding = 0;
    if (!outcome->isGood)
    {
        studio->panels |= kFaultsPanel;
        if (studio->findings.empty()) // whoever is killed says nothing
        {
            studio->findings.push_back(
                {FindingKind::kError, "", 0, "the build was killed, or piece.py was", ""});
        }
        return;
    }
    folder->scriptUs = outcome->scriptUs;
    folder->packUs = outcome->packUs;
    folder->checkUs = outcome->checkUs;
    folder->made = outcome->made;
    if (folder->isSame && !isRepeat)
    {
        ShowMessage(studio, "saved; the piece is the same");
    }
}

/// The package of a build is there, and may be loaded while it is checked.
static void TakePackage(Studio* studio)
{
    FolderPiece* folder = &studio->folder;
    std::vector<uint8_t> package = std::move(folder->builder.package);
    folder->builder.package = {};
    const bool comesAnother = studio->loader.isRunning || !folder->waiting.empty();
    folder->isSame = studio->active >= 0 && !comesAnother &&
                     studio->loadedPath == folder->watcher.folder &&
                     studio->window.slots[studio->active].package == package;
    if (folder->isSame)
    {
        folder->playedContents = folder->contents;
        ReadLines(studio); // they may be others, as where a comment was added
    }
    else
    {
        folder->waiting = std::move(package);
        folder->waitingContents = folder->contents;
        folder->waitingVerdict = BuildVerdict::kOpen;
    }
}

/// A build has come to an end: what was packed is good, or must not be shown.
static void Judge(FolderPiece* folder, BuildVerdict verdict)
{
    if (folder->waitingVerdict == BuildVerdict::kOpen)
    {
        folder->waitingVerdict = verdict;
    }
    if (folder->waitingVerdict == BuildVerdict::kBad)
    {
        folder->waiting = {};
    }
    if (folder->loadVerdict == BuildVerdict::kOpen)
    {
        folder->loadVerdict = verdict;
    }
}

/// Ends a build that nobody waits for any more.
static void DropBuild(FolderPiece* folder)
{
    EndBuilder(&folder->builder);
    Judge(folder, BuildVerdict::kBad);
}

/// @return the place of a file by whatever path it is called; the end for none of the folder's
static FolderContents::const_iterator FindFile(const FolderContents& contents,
                                               const std::string& path)
{
    return std::find_if(contents.begin(), contents.end(),
                        [whole = WholePath(path)](const FolderContents::value_type& file)
                        { return WholePath(file.first) == whole; });
}

bool IsAsPlayed(const FolderPiece* folder, const std::string& path)
{
    const auto file = FindFile(folder->playedContents, path);
    return file == folder->playedContents.end() || file->second.hash == HashFile(path);
}

void NoteWritten(FolderPiece* folder, const std::string& path)
{
    const auto file = FindFile(folder->playedContents, path);
    if (file != folder->playedContents.end())
    {
        folder->playedContents[file->first].hash = HashFile(path);
    }
}

/// Whether one of the author's programs was saved since a build began.
static bool HasScriptChanged(const FolderMarks& now, const FolderMarks& before)
{
    for (const auto& [path, mark] : now)
    {
        const auto found = before.find(path);
        const bool isScript = path.size() > 3 && path.compare(path.size() - 3, 3, ".py") == 0;
        if (isScript && (found == before.end() || !(found->second == mark)))
        {
            return true;
        }
    }
    return false;
}

void PollFolder(Studio* studio)
{
    FolderPiece* folder = &studio->folder;
    if (folder->watcher.folder.empty())
    {
        return;
    }
    const bool wasGone = folder->watcher.isGone;
    const uint32_t now = NowMs();
    if (PollWatcher(now, &folder->watcher))
    {
        folder->mustCompare = true;
        folder->eventMs = now;
    }
    if (folder->watcher.isGone)
    {
        if (!wasGone)
        {
            DropBuild(folder);
            folder->hasFailed = true;
            TellFaults(studio, {folder->watcher.folder + ": the folder is gone"});
        }
        return;
    }
    folder->mustBuild = folder->mustBuild || wasGone;

    BuildOutcome outcome = {};
    const bool hasEnded = PollBuild(&folder->builder, now, &outcome);
    if (!folder->builder.package.empty())
    {
        TakePackage(studio);
    }
    if (hasEnded)
    {
        Judge(folder, outcome.isGood ? BuildVerdict::kGood : BuildVerdict::kBad);
        EndBuild(studio, &outcome);
    }
    const bool isQuiet = now - folder->eventMs >= kQuietMs;
    if (folder->builder.isBuilding)
    {
        const bool isLong = now - folder->builder.startedMs > kPatienceMs;
        if (isLong && isQuiet && folder->mustCompare &&
            HasScriptChanged(MarkFolder(folder->watcher.folder), folder->before))
        {
            DropBuild(folder);
            folder->mustBuild = true;
        }
    }
    else if (isQuiet && (folder->mustBuild || folder->mustCompare))
    {
        folder->mustCompare = false;
        if (folder->mustBuild ||
            HasChanged(MarkFolder(folder->watcher.folder), folder->before, folder->after))
        {
            BeginBuild(studio);
        }
    }
    if (!folder->waiting.empty() && !studio->loader.isRunning)
    {
        LoadPackageBytes(studio, std::move(folder->waiting));
        folder->waiting = {};
        folder->loadContents = folder->waitingContents;
        folder->loadVerdict = folder->waitingVerdict;
        folder->waitingVerdict = BuildVerdict::kGood;
        folder->isTimed = true;
    }
}

void NoteShown(Studio* studio)
{
    FolderPiece* folder = &studio->folder;
    if (folder->isTimed && !studio->loader.isRunning)
    {
        folder->isTimed = false;
        folder->reloadMs = NowMs() - folder->savedMs;
        folder->reloads += 1;
    }
}

/// Starts a command that the studio does not wait for.
static void StartCommand(const std::vector<std::string>& words)
{
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (const std::string& word : words)
    {
        pointers.push_back(const_cast<char*>(word.c_str()));
    }
    pointers.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0)
    {
        // A second process, so that nobody has to wait for the editor.
        if (fork() == 0)
        {
            setsid();
            execvp(pointers[0], pointers.data());
            _exit(127);
        }
        _exit(0);
    }
    if (child > 0)
    {
        waitpid(child, nullptr, 0);
    }
}

void OpenSource(Studio* studio, const std::string& path, int32_t line)
{
    const char* visual = getenv("VISUAL");
    const std::string editor = !studio->settings.editor.empty() ? studio->settings.editor
                               : visual == nullptr              ? ""
                                                                : visual;
    const std::vector<std::string> words = EditorWords(editor, path, line);
    if (words.empty())
    {
        ShowMessage(studio, "no editor: set VISUAL, or \"editor\" in the settings");
        return;
    }
    StartCommand(words);
    ShowMessage(studio, words[0] + " opens " + path);
}

void OpenFinding(Studio* studio)
{
    if (studio->selectedFinding >= studio->findings.size())
    {
        return;
    }
    const FindingLine& finding = studio->findings[studio->selectedFinding];
    if (finding.path.empty())
    {
        return;
    }
    const bool isWhole = finding.path[0] == '/' || access(finding.path.c_str(), F_OK) == 0;
    OpenSource(studio, isWhole ? finding.path : studio->folder.watcher.folder + "/" + finding.path,
               finding.line);
}
