// SPDX-License-Identifier: MIT

// ffmpeg as a child process. Its standard error is kept: when it fails, its last words tell why.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <sys/types.h>
#include <vector>

/// Zeros are no process.
struct Ffmpeg
{
    pid_t process;
    int input; // its standard input, owned; -1 where it gets none or got all
    int words; // what it says, owned
};

/// Starts ffmpeg, in a process group of its own: a Ctrl-C on the terminal is for dpk to act on.
/// @param arguments   without the program's name
/// @return false after an error line: there is no ffmpeg
bool StartFfmpeg(const std::vector<std::string>& arguments, bool hasInput, Ffmpeg* ffmpeg);

/// Writes to its standard input.
/// @return false if it takes no more; FinishFfmpeg tells why
bool FeedFfmpeg(const Ffmpeg* ffmpeg, const uint8_t* bytes, size_t size);

/// Ends its input and waits for it.
/// @return false after an error line with its last words
bool FinishFfmpeg(Ffmpeg* ffmpeg);

/// Ends it at once, without a word. Nothing happens if there is no process.
void StopFfmpeg(Ffmpeg* ffmpeg);

/// Divides a line into arguments at blanks, but for those between quotes, single or double.
/// @return false if a quote has no end
bool SplitArguments(const std::string& line, std::vector<std::string>* arguments);
