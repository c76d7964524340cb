// SPDX-License-Identifier: MIT
#include "tools/child_process.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <new>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

static constexpr int kPollMs = 20;
static constexpr size_t kReadStep = 65536; // bytes

static int64_t NowMs()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

/// @return bytes of address space that this process has
static uint64_t AddressSpace()
{
    unsigned long pages = 0;
    FILE* stream = fopen("/proc/self/statm", "r");
    if (stream != nullptr)
    {
        if (fscanf(stream, "%lu", &pages) != 1)
        {
            pages = 0;
        }
        fclose(stream);
    }
    return uint64_t{pages} * static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
}

static void SetLimit(__rlimit_resource resource, uint64_t most)
{
    const rlimit limit = {most, most};
    setrlimit(resource, &limit);
}

/// The system tells the process that its time is up, and kills it a second later. With both at
/// once it would only kill, and nobody could tell that from any other kill.
static void SetTimeLimit(uint32_t seconds)
{
    const rlimit limit = {seconds, rlim_t{seconds} + 1};
    setrlimit(RLIMIT_CPU, &limit);
}

/// Runs in the child, which ends here.
[[noreturn]] static void RunWork(const ChildLimits& limits, pid_t parent, int output,
                                 const std::function<void(Bytes*)>& work)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
    {
        _exit(EXIT_FAILURE);
    }
    const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    {
        dup2(nothing, standard);
    }
    SetLimit(RLIMIT_CORE, 0);
    SetLimit(RLIMIT_FSIZE, 0);
    SetLimit(RLIMIT_AS, AddressSpace() + limits.memory);
    SetTimeLimit(limits.seconds);
    // Libraries find out by themselves that there is no memory, and a signal is a signal.
    std::set_new_handler(nullptr);
    for (const int signal : {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGXCPU})
    {
        ::signal(signal, SIG_DFL);
    }

    Bytes bytes;
    work(&bytes);
    _exit(WriteAll(output, bytes.data(), bytes.size()) ? EXIT_SUCCESS : EXIT_FAILURE);
}

/// Takes what the child writes until it closes its end.
/// @return false if there is no end before the time
static bool TakeOutput(int input, int64_t endMs, Bytes* output)
{
    while (NowMs() < endMs)
    {
        pollfd waited = {input, POLLIN, 0};
        if (poll(&waited, 1, kPollMs) <= 0)
        {
            continue;
        }
        const size_t before = output->size();
        output->resize(before + kReadStep);
        const ssize_t step = read(input, output->data() + before, kReadStep);
        output->resize(before + (step > 0 ? static_cast<size_t>(step) : 0));
        if (step == 0)
        {
            return true;
        }
    }
    return false;
}

/// Waits until the child has ended.
/// @param endMs      it is killed then
/// @param isKilled   receives whether it was
/// @return its status; that of a failure if the system does not tell
static int WaitForEnd(pid_t child, int64_t endMs, bool* isKilled)
{
    *isKilled = false;
    int status = 0;
    pid_t ended = 0;
    while (ended != child)
    {
        ended = waitpid(child, &status, WNOHANG);
        if (ended < 0 && errno != EINTR)
        {
            return W_EXITCODE(EXIT_FAILURE, 0);
        }
        if (ended != child && NowMs() >= endMs)
        {
            kill(child, SIGKILL);
            *isKilled = true;
        }
        if (ended != child)
        {
            poll(nullptr, 0, 1);
        }
    }
    return status;
}

std::string RunInChild(const ChildLimits& limits, const std::function<void(Bytes*)>& work,
                       Bytes* output)
{
    output->clear();
    int ends[2] = {};
    if (pipe2(ends, O_CLOEXEC) != 0)
    {
        return strerror(errno);
    }
    // The child would print what waits in the buffer once more.
    fflush(stdout);
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0)
    {
        close(ends[0]);
        RunWork(limits, parent, ends[1], work);
    }
    const int error = errno;
    close(ends[1]);
    if (child < 0)
    {
        close(ends[0]);
        return strerror(error);
    }

    const int64_t endMs = NowMs() + int64_t{limits.clockSeconds} * 1000;
    const bool isInTime = TakeOutput(ends[0], endMs, output);
    close(ends[0]);
    bool isKilled = false;
    const int status = WaitForEnd(child, endMs, &isKilled);
    if (WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS && isInTime)
    {
        return "";
    }
    output->clear();
    if (!isInTime || isKilled)
    {
        return "took more than " + std::to_string(limits.clockSeconds) + " s";
    }
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGXCPU)
    {
        return "took more than " + std::to_string(limits.seconds) + " s";
    }
    return WIFSIGNALED(status)
               ? std::string("ended by signal ") + std::to_string(WTERMSIG(status)) + " (" +
                     strsignal(WTERMSIG(status)) + ")"
               : "did not get to its end";
}
