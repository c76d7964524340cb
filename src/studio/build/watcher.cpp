// SPDX-License-Identifier: MIT
#include "studio/build/watcher.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <functional>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tools/files.h"

static constexpr uint32_t kEvents = IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE |
                                    IN_CREATE | IN_DELETE_SELF | IN_MOVE_SELF;
static constexpr int kDeepest = 8;                         // folders below the one that is watched
static constexpr uint64_t kMostHashed = uint64_t{1} << 30; // bytes of a file
static constexpr uint32_t kMostRepeats = 2;                // builds after one that saw changes

static bool EndsWith(const std::string& name, const char* ending)
{
    const size_t length = strlen(ending);
    return name.size() >= length && name.compare(name.size() - length, length, ending) == 0;
}

/// Names that no build looks at.
static bool IsLeftOut(const std::string& name)
{
    return name.empty() || name[0] == '.' || EndsWith(name, "~") || EndsWith(name, ".dpk") ||
           EndsWith(name, ".pyc") || name == "__pycache__";
}

/// @param visit   gets each file and folder; folders are gone into
template <typename Visit>
static void WalkFolder(const std::string& folder, int depth, const Visit& visit)
{
    DIR* directory = opendir(folder.c_str());
    if (directory == nullptr)
    {
        return;
    }
    while (const dirent* item = readdir(directory))
    {
        const std::string path = folder + "/" + item->d_name;
        struct stat status;
        if (IsLeftOut(item->d_name) || stat(path.c_str(), &status) != 0)
        {
            continue;
        }
        visit(path, status);
        if (S_ISDIR(status.st_mode) && depth < kDeepest)
        {
            WalkFolder(path, depth + 1, visit);
        }
    }
    closedir(directory);
}

FolderMarks MarkFolder(const std::string& folder)
{
    FolderMarks marks;
    WalkFolder(folder, 0,
               [&marks](const std::string& path, const struct stat& status)
               {
                   if (S_ISREG(status.st_mode))
                   {
                       const int64_t ns =
                           int64_t{status.st_mtim.tv_sec} * 1000000000 + status.st_mtim.tv_nsec;
                       marks[path] = {status.st_ino, ns, static_cast<uint64_t>(status.st_size)};
                   }
               });
    return marks;
}

std::string WholePath(const std::string& path)
{
    char whole[PATH_MAX];
    return realpath(path.c_str(), whole) != nullptr ? whole : path;
}

uint64_t HashFile(const std::string& path)
{
    Bytes bytes;
    if (!ReadWholeFile(path, kMostHashed, &bytes))
    {
        return 0;
    }
    const char* text = reinterpret_cast<const char*>(bytes.data());
    return std::hash<std::string_view>{}({text, bytes.size()});
}

FolderContents ReadContents(const FolderMarks& marks, const FolderContents& known)
{
    FolderContents contents;
    for (const auto& [path, mark] : marks)
    {
        const auto found = known.find(path);
        const bool isKnown = found != known.end() && found->second.mark == mark;
        contents[path] = {mark, isKnown ? found->second.hash : HashFile(path)};
    }
    return contents;
}

/// @return the files whose marks differ, but for programs: those count as saved anyway
static std::set<std::string> ListTouched(const FolderContents& before, const FolderContents& after)
{
    std::set<std::string> touched;
    for (const auto& [path, content] : after)
    {
        const auto found = before.find(path);
        if (!EndsWith(path, ".py") &&
            (found == before.end() || !(found->second.mark == content.mark)))
        {
            touched.insert(path);
        }
    }
    for (const auto& [path, content] : before)
    {
        if (!EndsWith(path, ".py") && !after.contains(path))
        {
            touched.insert(path);
        }
    }
    return touched;
}

bool MustRepeat(const FolderContents& before, const FolderContents& after, WrittenFiles* written)
{
    const std::set<std::string> touched = ListTouched(before, after);
    bool isOpen = false;
    for (const std::string& path : touched)
    {
        const auto was = before.find(path);
        const auto is = after.find(path);
        const bool isSame =
            was != before.end() && is != after.end() && was->second.hash == is->second.hash;
        if (isSame)
        {
            written->paths.insert(path);
        }
        isOpen = isOpen || !written->paths.contains(path);
    }
    // A file that the program has left alone this time is the author's again.
    std::erase_if(written->paths,
                  [&touched](const std::string& path) { return !touched.contains(path); });
    if (isOpen && written->repeats < kMostRepeats)
    {
        written->repeats += 1;
        return true;
    }
    written->repeats = 0;
    written->paths.insert(touched.begin(), touched.end());
    return false;
}

bool HasScript(const std::string& folder)
{
    return access((folder + "/piece.py").c_str(), F_OK) == 0;
}

bool HasChanged(const FolderMarks& now, const FolderMarks& before, const FolderMarks& after)
{
    FolderMarks expected = before;
    for (const auto& [path, mark] : after)
    {
        if (!EndsWith(path, ".py"))
        {
            expected[path] = mark;
        }
    }
    for (const auto& [path, mark] : before)
    {
        if (!EndsWith(path, ".py") && !after.contains(path))
        {
            expected.erase(path);
        }
    }
    return now != expected;
}

/// Watches one folder, if nothing was refused before.
static void WatchOne(const std::string& folder, Watcher* watcher)
{
    if (watcher->stream < 0 || watcher->refusal != 0)
    {
        return;
    }
    // One that is removed in this moment needs no watch.
    if (inotify_add_watch(watcher->stream, folder.c_str(), kEvents) < 0 && errno != ENOENT &&
        errno != ENOTDIR)
    {
        watcher->refusal = errno;
    }
}

static void WatchAll(Watcher* watcher)
{
    struct stat status;
    watcher->isGone = stat(watcher->folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode);
    watcher->refusal = watcher->stream < 0 ? watcher->refusal : 0;
    WatchOne(watcher->folder, watcher);
    WalkFolder(watcher->folder, 0,
               [watcher](const std::string& path, const struct stat& found)
               {
                   if (S_ISDIR(found.st_mode))
                   {
                       WatchOne(path, watcher);
                   }
               });
}

void StartWatching(const std::string& folder, Watcher* watcher)
{
    watcher->folder = folder;
    watcher->stream = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    watcher->refusal = watcher->stream < 0 ? errno : 0;
    WatchAll(watcher);
}

void StopWatching(Watcher* watcher)
{
    if (watcher->stream >= 0)
    {
        close(watcher->stream);
    }
    *watcher = {};
}

bool PollWatcher(uint32_t nowMs, Watcher* watcher)
{
    if (watcher->folder.empty())
    {
        return false;
    }
    alignas(inotify_event) char events[16384];
    bool happened = false;
    for (ssize_t got = watcher->stream < 0 ? 0 : 1; got > 0;)
    {
        got = read(watcher->stream, events, sizeof(events));
        happened = happened || got > 0;
    }
    const bool isLate = watcher->refusal != 0 && nowMs - watcher->comparedMs >= kCompareMs;
    if (happened || watcher->isGone || isLate)
    {
        const bool wasGone = watcher->isGone;
        WatchAll(watcher); // folders may be new
        happened = happened || isLate || wasGone != watcher->isGone;
        watcher->comparedMs = nowMs;
    }
    return happened;
}

std::string WatcherText(const Watcher& watcher)
{
    if (watcher.refusal == 0)
    {
        return "";
    }
    const std::string limit = watcher.refusal == ENOSPC
                                  ? "the system watches no more folders, raise"
                                    " fs.inotify.max_user_watches"
                                  : strerror(watcher.refusal);
    return "saves are seen after half a second: " + limit;
}
