// SPDX-License-Identifier: MIT
#include "support/player_process.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <sys/wait.h>
#include <unistd.h>

static constexpr long kPauseNanoseconds = 20'000'000;
static constexpr double kPatience = 100.0; // seconds; far more than anything takes

/// In the child: becomes the program, or ends with 127.
[[noreturn]] static void BecomePlayer(const PlayerSetting& setting, const TemporaryFolder& streams)
{
    if (freopen("/dev/null", "r", stdin) == nullptr ||
        freopen((streams.path + "/out").c_str(), "w", stdout) == nullptr ||
        freopen((streams.path + "/err").c_str(), "w", stderr) == nullptr ||
        chdir(setting.folder.c_str()) != 0)
    {
        _exit(127);
    }
    if (setting.display.empty())
    {
        unsetenv("DISPLAY");
    }
    else
    {
        setenv("DISPLAY", setting.display.c_str(), 1);
    }
    // OpenGL drivers keep memory to the end of the process, and so does the program.
    setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
    for (const auto& [name, value] : setting.environment)
    {
        setenv(name.c_str(), value.c_str(), 1);
    }

    std::vector<char*> argv = {const_cast<char*>(setting.program.c_str())};
    for (const std::string& argument : setting.arguments)
    {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    execv(argv[0], argv.data());
    _exit(127);
}

PlayerProcess::PlayerProcess(const PlayerSetting& setting) : exitCode(-1)
{
    streams.Write("out", "");
    streams.Write("err", "");
    fflush(nullptr);
    pid = fork();
    if (pid < 0)
    {
        perror("player process: fork");
        abort();
    }
    if (pid == 0)
    {
        BecomePlayer(setting, streams);
    }
}

PlayerProcess::~PlayerProcess()
{
    if (pid != 0)
    {
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
    }
}

std::string StandardOutput(const PlayerProcess& player)
{
    return player.streams.Read("out");
}

std::string StandardError(const PlayerProcess& player)
{
    return player.streams.Read("err");
}

bool HasEnded(PlayerProcess* player)
{
    int status = 0;
    if (player->pid != 0 && waitpid(player->pid, &status, WNOHANG) == player->pid)
    {
        player->pid = 0;
        player->exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    return player->pid == 0;
}

bool WaitForEnd(PlayerProcess* player)
{
    return WaitUntil([player]() { return HasEnded(player); });
}

static double Seconds()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

bool WaitUntil(const std::function<bool()>& holds)
{
    const double start = Seconds();
    do
    {
        if (holds())
        {
            return true;
        }
        timespec pause = {0, kPauseNanoseconds};
        nanosleep(&pause, nullptr);
    } while (Seconds() - start < kPatience);
    return false;
}
