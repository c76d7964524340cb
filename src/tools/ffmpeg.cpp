// SPDX-License-Identifier: MIT
#include "tools/ffmpeg.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tools/files.h"
#include "tools/report.h"

static constexpr int kNoProgram = 127; // the child's exit code where there is no ffmpeg
static constexpr size_t kLastWords = 600;

/// Runs in the child, which becomes ffmpeg.
[[noreturn]] static void BecomeFfmpeg(const std::vector<std::string>& arguments, int input,
                                      int words)
{
    setpgid(0, 0);
    const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
    dup2(input >= 0 ? input : nothing, STDIN_FILENO);
    dup2(nothing, STDOUT_FILENO);
    dup2(words, STDERR_FILENO);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    signal(SIGPIPE, SIG_DFL);
    signal(SIGXFSZ, SIG_DFL);

    std::vector<char*> values = {const_cast<char*>("ffmpeg")};
    for (const std::string& argument : arguments)
    {
        values.push_back(const_cast<char*>(argument.c_str()));
    }
    values.push_back(nullptr);
    execvp("ffmpeg", values.data());
    _exit(kNoProgram);
}

bool StartFfmpeg(const std::vector<std::string>& arguments, bool hasInput, Ffmpeg* ffmpeg)
{
    int ends[2] = {-1, -1};
    const int words = memfd_create("ffmpeg", MFD_CLOEXEC);
    if (words < 0 || (hasInput && pipe2(ends, O_CLOEXEC) != 0))
    {
        ReportError("ffmpeg can't be started: %s", strerror(errno));
        close(words);
        return false;
    }
    const pid_t process = fork();
    if (process == 0)
    {
        BecomeFfmpeg(arguments, ends[0], words);
    }
    const int error = errno;
    if (hasInput)
    {
        close(ends[0]);
    }
    *ffmpeg = {process, ends[1], words};
    if (process < 0)
    {
        ReportError("ffmpeg can't be started: %s", strerror(error));
        *ffmpeg = {0, ends[1], words};
        StopFfmpeg(ffmpeg);
        return false;
    }
    return true;
}

bool FeedFfmpeg(const Ffmpeg* ffmpeg, const uint8_t* bytes, size_t size)
{
    return WriteAll(ffmpeg->input, bytes, size);
}

static void CloseInput(Ffmpeg* ffmpeg)
{
    if (ffmpeg->input >= 0)
    {
        close(ffmpeg->input);
        ffmpeg->input = -1;
    }
}

/// @return the status, after the process has ended
static int WaitFor(pid_t process)
{
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR)
    {
    }
    return status;
}

/// @return the end of what it said, from the start of a line where that is not too long
static std::string LastWords(int words)
{
    const off_t size = lseek(words, 0, SEEK_END);
    const off_t first =
        size > static_cast<off_t>(kLastWords) ? size - static_cast<off_t>(kLastWords) : 0;
    std::string text(static_cast<size_t>(size < 0 ? 0 : size - first), 0);
    const ssize_t got = pread(words, text.data(), text.size(), first);
    text.resize(got < 0 ? 0 : static_cast<size_t>(got));
    if (first > 0 && text.find('\n') != std::string::npos)
    {
        text.erase(0, text.find('\n') + 1);
    }
    while (!text.empty() && text.back() == '\n')
    {
        text.pop_back();
    }
    return text;
}

/// One error line for each of its lines.
static void ReportLastWords(int words)
{
    std::string text = LastWords(words);
    while (!text.empty())
    {
        const size_t end = text.find('\n');
        ReportError("ffmpeg: %s", Printable(text.substr(0, end)).c_str());
        text.erase(0, end == std::string::npos ? end : end + 1);
    }
}

bool FinishFfmpeg(Ffmpeg* ffmpeg)
{
    CloseInput(ffmpeg);
    const int status = WaitFor(ffmpeg->process);
    const bool isDone = WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
    if (WIFEXITED(status) && WEXITSTATUS(status) == kNoProgram)
    {
        ReportError("ffmpeg: there is no such program; films need it (Debian: apt install ffmpeg)");
    }
    else if (!isDone)
    {
        ReportLastWords(ffmpeg->words);
        WIFSIGNALED(status) ? ReportError("ffmpeg was ended by signal %d", WTERMSIG(status))
                            : ReportError("ffmpeg failed with exit code %d", WEXITSTATUS(status));
    }
    close(ffmpeg->words);
    *ffmpeg = {};
    return isDone;
}

void StopFfmpeg(Ffmpeg* ffmpeg)
{
    if (ffmpeg->process != 0)
    {
        kill(ffmpeg->process, SIGKILL);
        WaitFor(ffmpeg->process);
    }
    if (ffmpeg->words > 0)
    {
        CloseInput(ffmpeg);
        close(ffmpeg->words);
    }
    *ffmpeg = {};
}

bool SplitArguments(const std::string& line, std::vector<std::string>* arguments)
{
    bool isOpen = false; // an argument is being read
    char quote = 0;
    for (const char c : line)
    {
        if (quote != 0 ? c == quote : c == '"' || c == '\'')
        {
            quote = quote != 0 ? 0 : c;
            if (!isOpen)
            {
                arguments->emplace_back();
                isOpen = true;
            }
            continue;
        }
        if (quote == 0 && (c == ' ' || c == '\t' || c == '\n'))
        {
            isOpen = false;
            continue;
        }
        if (!isOpen)
        {
            arguments->emplace_back();
            isOpen = true;
        }
        arguments->back() += c;
    }
    return quote == 0;
}
