// SPDX-License-Identifier: MIT

// The real program as a child process, watched from outside.
#pragma once

#include <functional>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

#include "support/temporary_folder.h"

struct PlayerSetting
{
    std::string program; // path of the executable
    std::string folder;  // its working directory
    std::string display; // DISPLAY; empty for none
    std::vector<std::string> arguments;
    std::vector<std::pair<std::string, std::string>> environment; // set on top of the test's own
};

/// Started by the constructor; one that still runs is killed by the destructor. Its standard output
/// and standard error go to files.
struct PlayerProcess
{
    explicit PlayerProcess(const PlayerSetting& setting);
    ~PlayerProcess();
    PlayerProcess(const PlayerProcess&) = delete;
    PlayerProcess& operator=(const PlayerProcess&) = delete;

    TemporaryFolder streams;
    pid_t pid;    // 0 once it has ended
    int exitCode; // -1 while it runs and after a signal
};

/// @return what the program has printed so far
std::string StandardOutput(const PlayerProcess& player);
std::string StandardError(const PlayerProcess& player);

/// Waits for the program's end.
/// @return false if it still runs after 100 seconds
bool WaitForEnd(PlayerProcess* player);

/// Looks whether it is the program's end, without waiting.
bool HasEnded(PlayerProcess* player);

/// Waits until `holds` gives true, asking it every 20 ms.
/// @return false if it did not within 100 seconds
bool WaitUntil(const std::function<bool()>& holds);
