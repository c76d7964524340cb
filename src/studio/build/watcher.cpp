// SPDX-License-Identifier: MIT
#include "studio/build/watcher.h"

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

static constexpr uint32_t kEvents = IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE |
                                    IN_CREATE | IN_DELETE_SELF | IN_MOVE_SELF;
static constexpr int kDeepest = 8; // folders below the one that is watched

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

static void WatchAll(Watcher* watcher)
{
    struct stat status;
    watcher->isGone = stat(watcher->folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode) ||
                      inotify_add_watch(watcher->stream, watcher->folder.c_str(), kEvents) < 0;
    WalkFolder(watcher->folder, 0,
               [watcher](const std::string& path, const struct stat& found)
               {
                   if (S_ISDIR(found.st_mode))
                   {
                       inotify_add_watch(watcher->stream, path.c_str(), kEvents);
                   }
               });
}

std::string StartWatching(const std::string& folder, Watcher* watcher)
{
    watcher->folder = folder;
    watcher->stream = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (watcher->stream < 0)
    {
        return "the folder can't be watched: " + std::string(strerror(errno));
    }
    WatchAll(watcher);
    return "";
}

void StopWatching(Watcher* watcher)
{
    if (watcher->stream >= 0)
    {
        close(watcher->stream);
    }
    *watcher = {};
}

bool PollWatcher(Watcher* watcher)
{
    if (watcher->stream < 0)
    {
        return false;
    }
    alignas(inotify_event) char events[16384];
    bool happened = false;
    for (ssize_t got = 1; got > 0;)
    {
        got = read(watcher->stream, events, sizeof(events));
        happened = happened || got > 0;
    }
    if (happened || watcher->isGone)
    {
        const bool wasGone = watcher->isGone;
        WatchAll(watcher); // folders may be new
        happened = happened || wasGone != watcher->isGone;
    }
    return happened;
}
