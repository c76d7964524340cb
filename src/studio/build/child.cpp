// SPDX-License-Identifier: MIT
#include "studio/build/child.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tools/files.h"

static constexpr size_t kReadStep = 65536; // bytes
static constexpr int kPipeBytes = 1 << 20;
static constexpr int kCopyPriority = 10; // what the window does comes first
static constexpr int kMostSteps = 64;    // at a time: a child may write faster than this reads

std::string OwnProgram()
{
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof(path));
    return length > 0 ? std::string(path, static_cast<size_t>(length)) : "";
}

/// Leaves the group of the parent, and ends with it.
/// @return false if it has ended
static bool LeaveParent(const int (&streams)[3], pid_t parent)
{
    setpgid(0, 0);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
    {
        return false;
    }
    for (int i = 0; i < 3; ++i)
    {
        dup2(streams[i], i);
    }
    return true;
}

/// Forks with three streams between both processes.
/// @param become   what the new process does, with its ends of the streams and its parent; never
///                 returns
template <typename Become>
static bool Fork(const Become& become, Child* child)
{
    *child = {};
    int pipes[3][2] = {};
    for (int i = 0; i < 3; ++i)
    {
        if (pipe2(pipes[i], O_CLOEXEC) != 0)
        {
            child->errors = strerror(errno);
            for (; i > 0; --i)
            {
                close(pipes[i - 1][0]);
                close(pipes[i - 1][1]);
            }
            return false;
        }
    }
    const int streams[3] = {pipes[0][0], pipes[1][1], pipes[2][1]};
    const pid_t parent = getpid();
    child->pid = fork();
    if (child->pid == 0)
    {
        become(streams, parent);
        _exit(127);
    }
    const int error = errno;
    for (const int stream : streams)
    {
        close(stream);
    }
    child->toChild = pipes[0][1];
    child->fromChild = pipes[1][0];
    child->errorStream = pipes[2][0];
    if (child->pid < 0)
    {
        close(child->toChild);
        close(child->fromChild);
        close(child->errorStream);
        *child = {};
        child->errors = strerror(error);
        return false;
    }
    setpgid(child->pid, child->pid); // whichever process comes first
    // Room for a whole package: its sender need not wait for who reads it. The system may refuse.
    fcntl(child->fromChild, F_SETPIPE_SZ, kPipeBytes);
    fcntl(child->fromChild, F_SETFL, O_NONBLOCK);
    fcntl(child->errorStream, F_SETFL, O_NONBLOCK);
    return true;
}

bool StartChild(const std::vector<std::string>& arguments, Child* child)
{
    std::vector<std::string> texts = arguments;
    texts.insert(texts.begin(), OwnProgram());
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts)
    {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    // Only calls that a fork of a program with threads may make.
    const auto become = [&pointers](const int(&streams)[3], pid_t parent)
    {
        if (LeaveParent(streams, parent))
        {
            execv(pointers[0], pointers.data());
        }
    };
    return Fork(become, child);
}

bool StartCopy(const std::function<void()>& work, uint32_t seconds, Child* child)
{
    const auto become = [&work, seconds](const int(&streams)[3], pid_t parent)
    {
        if (LeaveParent(streams, parent))
        {
            close_range(STDERR_FILENO + 1, ~0u, 0);
            setpriority(PRIO_PROCESS, 0, kCopyPriority);
            signal(SIGALRM, SIG_DFL);
            alarm(seconds);
            work();
            _exit(EXIT_SUCCESS);
        }
    };
    return Fork(become, child);
}

/// @return false once the stream is closed
template <typename Bytes>
static bool ReadStream(int stream, size_t most, Bytes* bytes)
{
    for (int step = 0; step < kMostSteps && bytes->size() < most; ++step)
    {
        const size_t before = bytes->size();
        bytes->resize(before + kReadStep);
        const ssize_t got = read(stream, bytes->data() + before, kReadStep);
        bytes->resize(before + (got > 0 ? static_cast<size_t>(got) : 0));
        if (got == 0)
        {
            return false;
        }
        if (got < 0 && errno != EINTR)
        {
            return errno == EAGAIN;
        }
    }
    return true;
}

/// Whether the process itself is gone. What it started may still hold its streams open.
static bool HasExited(const Child* child)
{
    siginfo_t info = {};
    return waitid(P_PID, static_cast<id_t>(child->pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           info.si_pid == child->pid;
}

void ReadChild(Child* child, size_t most)
{
    if (child->pid == 0 || child->hasEnded)
    {
        return;
    }
    const bool hasExited = HasExited(child); // before the last bytes are read
    const bool outputStays = ReadStream(child->fromChild, most, &child->output);
    const bool errorsStay = ReadStream(child->errorStream, most, &child->errors);
    child->hasEnded = hasExited || (!outputStays && !errorsStay);
}

void TellChild(Child* child, const std::string& line)
{
    const std::string text = line + "\n";
    // SIGPIPE is ignored by the program: a child that ended is found out by its streams.
    WriteAll(child->toChild, text.data(), text.size());
}

void EndChild(Child* child)
{
    if (child->pid == 0)
    {
        return;
    }
    close(child->toChild);
    kill(-child->pid, SIGKILL);
    int status = 0;
    while (waitpid(child->pid, &status, 0) < 0 && errno == EINTR)
    {
    }
    close(child->fromChild);
    close(child->errorStream);
    *child = {};
}
