// SPDX-License-Identifier: MIT
#include "support/child_run.h"

#include <cstdio>
#include <cstdlib>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/recorded_gl.h"

static constexpr unsigned int kTimeLimit = 60; // seconds

/// One of the child's output streams.
struct RecordedStream
{
    const char* mark;    // in front of each line
    std::string pending; // what came since the last newline
};

static ssize_t WriteToRecord(void* cookie, const char* text, size_t size)
{
    RecordedStream* stream = static_cast<RecordedStream*>(cookie);
    for (size_t i = 0; i < size; ++i)
    {
        if (text[i] != '\n')
        {
            stream->pending += text[i];
            continue;
        }
        RecordCall(stream->mark + stream->pending);
        stream->pending.clear();
    }
    return static_cast<ssize_t>(size);
}

/// A stream with the buffering that the C library gives to a pipe.
static FILE* OpenRecordedStream(RecordedStream* recorded, int buffering)
{
    cookie_io_functions_t functions = {};
    functions.write = WriteToRecord;
    FILE* stream = fopencookie(recorded, "w", functions);
    setvbuf(stream, nullptr, buffering, BUFSIZ);
    return stream;
}

static RecordedStream recordedOut = {"> ", ""};
static RecordedStream recordedErr = {"! ", ""};
static int pipeToParent;

/// The last thing that a child does, however it came to its end.
static void HandOver(int exitCode, void* /*unused*/)
{
    fflush(nullptr);
    for (RecordedStream* stream : {&recordedOut, &recordedErr})
    {
        if (!stream->pending.empty())
        {
            RecordCall(stream->mark + stream->pending + " (no newline)");
        }
    }

    std::string record = TakeGlCalls();
    for (size_t sent = 0; sent < record.size();)
    {
        ssize_t bytes = write(pipeToParent, record.data() + sent, record.size() - sent);
        if (bytes <= 0)
        {
            break;
        }
        sent += static_cast<size_t>(bytes);
    }
    // Memory that the run keeps to its end is not looked for: it is meant to go with the process.
    _exit(exitCode);
}

ChildRun RunInChild(const std::function<int()>& body)
{
    int ends[2];
    if (pipe(ends) != 0)
    {
        perror("child run: pipe");
        abort();
    }
    fflush(nullptr);
    pid_t child = fork();
    if (child < 0)
    {
        perror("child run: fork");
        abort();
    }
    if (child == 0)
    {
        close(ends[0]);
        pipeToParent = ends[1];
        on_exit(HandOver, nullptr);
        alarm(kTimeLimit);
        stdout = OpenRecordedStream(&recordedOut, _IOFBF);
        stderr = OpenRecordedStream(&recordedErr, _IONBF);
        exit(body());
    }

    close(ends[1]);
    ChildRun run = {-1, 0, ""};
    char block[65536];
    for (ssize_t got = 0; (got = read(ends[0], block, sizeof(block))) > 0;)
    {
        run.record.append(block, static_cast<size_t>(got));
    }
    close(ends[0]);

    int status = 0;
    waitpid(child, &status, 0);
    if (WIFEXITED(status))
    {
        run.exitCode = WEXITSTATUS(status);
    }
    else
    {
        run.signal = WTERMSIG(status);
    }
    return run;
}
