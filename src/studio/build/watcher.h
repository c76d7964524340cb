// SPDX-License-Identifier: MIT

// A folder of sources that is watched: tells when something in it was saved, by whatever way an
// editor saves.
#pragma once

#include <cstdint>
#include <map>
#include <set>
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

/// A file's bytes as a number, and the mark that it had when they were read.
struct FileContent
{
    FileMark mark;
    uint64_t hash;
};

/// All files of a folder, by their paths.
using FolderContents = std::map<std::string, FileContent>;

/// @return the path without links and dots, so that a file has one name; as it is if it is nowhere
std::string WholePath(const std::string& path);

/// @return the hash of a file's bytes; 0 for one that can't be read
uint64_t HashFile(const std::string& path);

/// @param marks   of the files, taken before
/// @param known   contents read earlier: files with the same marks are not read again
FolderContents ReadContents(const FolderMarks& marks, const FolderContents& known);

/// Files that the author's program is known to write. A save during a build is one that such a file
/// can't explain.
struct WrittenFiles
{
    std::set<std::string> paths;
    uint32_t repeats; // builds in a row that were only to see what has happened in the one before
};

/// Looks at what has changed while a build ran. A program writes the same bytes again from the same
/// sources; so a file that was written with the bytes it had is the program's, and one with other
/// bytes is unless it is known a save that the build may have missed.
/// @param before   contents when the build began
/// @param after    contents when it had ended
/// @return whether to build once more. A program that writes something else each time is found out
///         by the third build: its files are known from then on
bool MustRepeat(const FolderContents& before, const FolderContents& after, WrittenFiles* written);

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
    int stream = -1;     // of inotify; -1 if the system refuses one
    bool isGone;         // the folder is not there
    int32_t refusal;     // errno of the system's refusal to watch a part of it; 0 for none
    uint32_t comparedMs; // when a folder that is not watched wholly was compared last
};

/// A folder that the system refuses to watch is looked at so often.
inline constexpr uint32_t kCompareMs = 500;

/// Where the system refuses to watch, saves are seen by comparing.
void StartWatching(const std::string& folder, Watcher* watcher);
void StopWatching(Watcher* watcher);

/// Takes what has happened, without waiting. A folder that comes back is watched again.
/// @return whether anything may have changed
bool PollWatcher(uint32_t nowMs, Watcher* watcher);

/// @return an empty text, or why changes of the folder are seen late
std::string WatcherText(const Watcher& watcher);
