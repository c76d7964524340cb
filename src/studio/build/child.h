// SPDX-License-Identifier: MIT

// A process of the studio's own program that works beside it: whatever happens there, the picture
// plays on. It gets lines and gives bytes.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

/// All zero when there is none.
struct Child
{
    pid_t pid;
    int toChild;                 // its standard input
    int fromChild;               // its standard output
    int errorStream;             // its standard error
    std::vector<uint8_t> output; // that came and was not taken yet
    std::string errors;          // the same of its standard error
    bool hasEnded;               // it is gone, or both streams are closed; all has come
};

/// Starts this program anew, in a process group of its own. It ends with the program.
/// @return false with an error text in child->errors
bool StartChild(const std::vector<std::string>& arguments, Child* child);

/// Starts a copy of this process as it stands, in a process group of its own and of low priority.
/// It has this one thread alone and no stream but the three, does its work, and ends. It ends with
/// the program.
/// @param work      writes to standard output; may take memory, but must not touch what belongs to
///                  other threads: OpenGL, the window, the sound
/// @param seconds   of the clock, after which the copy is ended wherever it stands
/// @return false with an error text in child->errors
bool StartCopy(const std::function<void()>& work, uint32_t seconds, Child* child);

/// Takes what has come, without waiting.
/// @param most   bytes that output and errors may have; what is more stays in the pipe
void ReadChild(Child* child, size_t most);

/// Sends a line. One that ended does not get it.
void TellChild(Child* child, const std::string& line);

/// Kills the child with all that it started, and waits for it. A child that ended on its own is
/// only waited for.
void EndChild(Child* child);

/// @return the path of this program
std::string OwnProgram();
