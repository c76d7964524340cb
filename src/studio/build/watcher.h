// SPDX-License-Identifier: MIT

// A folder of sources that is watched: tells when something in it was saved, by whatever way an
// editor saves.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

/// A file as it was seen last.
struct FileMark
{
    uint64_t node;  // inode
    int64_t timeNs; // of its last change
    uint64_t size;  // bytes

    bool operator==(const FileMark&) const = default;
};

/// All files of a folder and the folders below it, by their paths.
using FolderMarks = std::map<std::string, FileMark>;

/// Marks all files but those that no build looks at: names that begin with a point or end in "~",
/// packages, and what Python keeps for itself.
FolderMarks MarkFolder(const std::string& folder);

/// Whether the folder has an author's program.
bool HasScript(const std::string& folder);

/// Whether files of a folder differ from what they were before a build, but for those that the
/// build has written itself.
/// @param before   marks when the build began
/// @param after    marks when it had run the author's program; a file that differs from `before`
///                 counts as written by it, unless it ends in ".py"
bool HasChanged(const FolderMarks& now, const FolderMarks& before, const FolderMarks& after);

struct Watcher
{
    std::string folder;
    int stream = -1; // of inotify
    bool isGone;     // the folder is not there
};

/// @return an empty text, or why the folder can't be watched
std::string StartWatching(const std::string& folder, Watcher* watcher);
void StopWatching(Watcher* watcher);

/// Takes what has happened, without waiting. A folder that comes back is watched again.
/// @return whether anything may have changed
bool PollWatcher(Watcher* watcher);
