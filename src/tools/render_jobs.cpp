// SPDX-License-Identifier: MIT
#include "tools/render_jobs.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "engine/check/finding.h"
#include "tools/files.h"
#include "tools/report.h"

static constexpr int kEndSignals[] = {SIGINT, SIGTERM, SIGHUP};
static constexpr int kJobStopped = 3; // exit code of a drawing process
static constexpr int kPollMs = 200;
static constexpr size_t kRawTogether = 4; // pictures in a row of one process, where order matters

void HoldEndSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : kEndSignals)
    {
        sigaddset(&signals, number);
    }
    sigprocmask(SIG_BLOCK, &signals, nullptr);
}

bool IsEndAsked()
{
    sigset_t waiting;
    sigemptyset(&waiting);
    sigpending(&waiting);
    return std::any_of(std::begin(kEndSignals), std::end(kEndSignals),
                       [&waiting](int number) { return sigismember(&waiting, number) == 1; });
}

static double Now()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

/// A drawing process, as its parent sees it.
struct Job
{
    pid_t process;
    int reports;   // PictureReports as they are in memory; owned, -1 after their end
    int raw;       // pictures; owned, -1 where they go elsewhere
    Bytes partial; // of a report
};

/// The pictures of one process: a stretch of all, or rows by turns where somebody waits for them
/// in order.
static std::vector<uint32_t> IndicesOfJob(const RenderWork& work, size_t job)
{
    const size_t jobs = static_cast<size_t>(work.jobs);
    std::vector<uint32_t> own;
    if (work.plan->kind == RenderKind::kRaw)
    {
        for (size_t i = 0; i < work.indices.size(); ++i)
        {
            if (i / kRawTogether % jobs == job)
            {
                own.push_back(work.indices[i]);
            }
        }
        return own;
    }
    // Stretches end where pictures may be parted.
    const size_t together = PicturesTogether(*work.plan);
    const size_t units = (work.indices.size() + together - 1) / together;
    const size_t first = std::min(units * job / jobs * together, work.indices.size());
    const size_t end = std::min(units * (job + 1) / jobs * together, work.indices.size());
    own.assign(work.indices.begin() + static_cast<long>(first),
               work.indices.begin() + static_cast<long>(end));
    return own;
}

/// Runs in the drawing process, which ends here.
[[noreturn]] static void RunJob(const RenderWork& work, const std::vector<uint32_t>& indices,
                                int reports, int raw)
{
    RenderOutput output = work.output;
    output.plan = work.plan;
    output.raw = raw >= 0 ? raw : work.plan->rawOutput;
    Bytes memory;
    output.memory = work.finish != nullptr ? &memory : nullptr;
    const PictureTaker taker = [&output, reports](uint32_t index, const uint8_t* rgb)
    {
        PictureReport report;
        return WriteOutput(&output, index, rgb, &report) &&
               write(reports, &report, sizeof(report)) == static_cast<ssize_t>(sizeof(report));
    };
    const DrawResult result =
        indices.empty() ? DrawResult::kDone
                        : DrawPictures(*work.plan, *work.source, indices, taker, IsEndAsked);
    bool isRight = result != DrawResult::kFailed;
    if (isRight)
    {
        isRight = FinishOutput(&output);
    }
    else
    {
        StopOutput(&output);
    }
    if (isRight && result == DrawResult::kDone && work.finish != nullptr)
    {
        isRight = work.finish(output);
    }
    fflush(nullptr);
    _exit(!isRight ? EXIT_FAILURE : result == DrawResult::kStopped ? kJobStopped : EXIT_SUCCESS);
}

/// @return false after an error line: the system gives no process
static bool StartJob(const RenderWork& work, size_t number, std::vector<Job>* jobs)
{
    int reports[2] = {-1, -1};
    int raw[2] = {-1, -1};
    const bool hasRaw = work.plan->kind == RenderKind::kRaw && work.jobs > 1;
    if (pipe2(reports, O_CLOEXEC) != 0 || (hasRaw && pipe2(raw, O_CLOEXEC) != 0))
    {
        ReportError("no pipe: %s", strerror(errno));
        return false;
    }
    fflush(nullptr);
    const pid_t parent = getpid();
    const pid_t process = fork();
    if (process == 0)
    {
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        signal(SIGPIPE, SIG_IGN);
        if (getppid() != parent)
        {
            _exit(EXIT_FAILURE);
        }
        for (const Job& other : *jobs)
        {
            close(other.reports);
            close(other.raw);
        }
        close(reports[0]);
        close(raw[0]);
        RunJob(work, IndicesOfJob(work, number), reports[1], raw[1]);
    }
    const int error = errno;
    close(reports[1]);
    if (hasRaw)
    {
        close(raw[1]);
    }
    jobs->push_back({process, reports[0], raw[0], {}});
    if (process < 0)
    {
        ReportError("no process: %s", strerror(error));
        jobs->back().process = 0;
        return false;
    }
    return true;
}

/// Takes what a process tells.
/// @return false after the end of it
static bool TakeReports(Job* job, RenderOutcome* outcome)
{
    uint8_t bytes[64 * sizeof(PictureReport)];
    const ssize_t got = read(job->reports, bytes, sizeof(bytes));
    if (got < 0)
    {
        return errno == EINTR || errno == EAGAIN;
    }
    job->partial.insert(job->partial.end(), bytes, bytes + got);
    size_t at = 0;
    for (; job->partial.size() - at >= sizeof(PictureReport); at += sizeof(PictureReport))
    {
        PictureReport report;
        memcpy(&report, job->partial.data() + at, sizeof(report));
        outcome->reports.push_back(report);
        outcome->bytes += report.bytes;
    }
    job->partial.erase(job->partial.begin(), job->partial.begin() + static_cast<long>(at));
    return got != 0;
}

// ---- Progress

/// The lines of a render while it runs: one on a terminal, or objects of JSON.
struct JobProgress
{
    double start;    // seconds of the clock
    double lastJson; // the same, of the last object
    Progress line;
};

/// The pace so far.
struct JobPace
{
    size_t done; // pictures
    size_t total;
    double elapsed; // seconds
    double rate;    // pictures a second
    double left;    // seconds
};

static JobPace PaceOf(const RenderWork& work, const RenderOutcome& outcome, double elapsed)
{
    const size_t done = outcome.reports.size();
    const size_t total = work.indices.size();
    const double rate = elapsed > 0.0 ? static_cast<double>(done) / elapsed : 0.0;
    return {done, total, elapsed, rate,
            rate > 0.0 ? static_cast<double>(total - done) / rate : 0.0};
}

static void TellJson(const RenderWork& work, const RenderOutcome& outcome, double elapsed)
{
    const JobPace pace = PaceOf(work, outcome, elapsed);
    fprintf(stderr,
            "{\"pictures\":%zu,\"of\":%zu,\"seconds\":%.1f,\"rate\":%.2f,\"left\":%.0f,"
            "\"bytes\":%llu}\n",
            pace.done, pace.total, pace.elapsed, pace.rate, pace.left,
            static_cast<unsigned long long>(outcome.bytes));
}

static std::string PaceText(const JobPace& pace, uint64_t bytes)
{
    const unsigned seconds = static_cast<unsigned>(pace.left);
    return FormatText("%zu of %zu pictures, %.1f a second, %u:%02u left, %.1f MB", pace.done,
                      pace.total, pace.rate, seconds / 60, seconds % 60,
                      static_cast<double>(bytes) / 1e6);
}

static void TellProgress(const RenderWork& work, const RenderOutcome& outcome,
                         JobProgress* progress)
{
    const double now = Now();
    const double elapsed = now - progress->start;
    if (work.tellsJson && now - progress->lastJson >= 1.0)
    {
        progress->lastJson = now;
        TellJson(work, outcome, elapsed);
    }
    if (!work.tellsJson && IsProgressDue(&progress->line))
    {
        ShowProgressWords(&progress->line, PaceText(PaceOf(work, outcome, elapsed), outcome.bytes));
    }
}

// ---- Raw pictures in order

/// Hands pictures of several processes on in their order.
struct RawRelay
{
    size_t next;    // picture of the list whose bytes come next
    size_t taken;   // bytes of it that are through
    size_t size;    // bytes of a picture
    bool hasFailed; // nobody takes them
};

static size_t JobOfRaw(const RenderWork& work, size_t place)
{
    return place / kRawTogether % static_cast<size_t>(work.jobs);
}

/// Moves some bytes from the process whose turn it is.
/// @return false where that one has ended
static bool RelayRaw(const Job& job, int output, RawRelay* relay)
{
    uint8_t bytes[65536];
    const ssize_t got = read(job.raw, bytes, std::min(sizeof(bytes), relay->size - relay->taken));
    if (got <= 0)
    {
        return got < 0 && errno == EINTR;
    }
    if (!relay->hasFailed && !WriteAll(output, bytes, static_cast<size_t>(got)))
    {
        ReportError("standard output: %s", strerror(errno));
        relay->hasFailed = true;
    }
    relay->taken += static_cast<size_t>(got);
    if (relay->taken == relay->size)
    {
        relay->next += 1;
        relay->taken = 0;
    }
    return true;
}

// ---- The whole

static void EndJobs(const std::vector<Job>& jobs)
{
    for (const Job& job : jobs)
    {
        if (job.process > 0)
        {
            kill(job.process, SIGTERM);
        }
    }
}

/// Waits for a process.
/// @return its result, after a line if a signal ended it
static DrawResult WaitForJob(pid_t process)
{
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR)
    {
    }
    if (WIFSIGNALED(status))
    {
        ReportError("a drawing process was ended by signal %d (%s)", WTERMSIG(status),
                    strsignal(WTERMSIG(status)));
        return DrawResult::kFailed;
    }
    return WEXITSTATUS(status) == EXIT_SUCCESS  ? DrawResult::kDone
           : WEXITSTATUS(status) == kJobStopped ? DrawResult::kStopped
                                                : DrawResult::kFailed;
}

/// Listens to all processes until each has said its last word.
static void ListenToJobs(const RenderWork& work, std::vector<Job>* jobs, RenderOutcome* outcome)
{
    const double start = Now();
    JobProgress progress = {start, start,
                            StartProgress("drawing", work.indices.size(), work.verbosity)};
    RawRelay relay = {
        0, 0, static_cast<size_t>(work.plan->width) * 3 * static_cast<size_t>(work.plan->height),
        false};
    bool isEnding = false;
    size_t open = jobs->size();
    while (open > 0)
    {
        std::vector<pollfd> waited;
        std::vector<Job*> owners;
        for (Job& job : *jobs)
        {
            if (job.reports >= 0)
            {
                waited.push_back({job.reports, POLLIN, 0});
                owners.push_back(&job);
            }
        }
        Job* turn =
            relay.next < work.indices.size() ? &(*jobs)[JobOfRaw(work, relay.next)] : nullptr;
        const bool relays = turn != nullptr && turn->raw >= 0;
        if (relays)
        {
            waited.push_back({turn->raw, POLLIN, 0});
        }
        poll(waited.data(), waited.size(), kPollMs);
        for (size_t i = 0; i < owners.size(); ++i)
        {
            if (waited[i].revents != 0 && !TakeReports(owners[i], outcome))
            {
                close(owners[i]->reports);
                owners[i]->reports = -1;
                const DrawResult result = WaitForJob(owners[i]->process);
                owners[i]->process = 0;
                outcome->result = result == DrawResult::kFailed          ? result
                                  : outcome->result == DrawResult::kDone ? result
                                                                         : outcome->result;
                open -= 1;
            }
        }
        if (relays && waited.back().revents != 0 && !RelayRaw(*turn, work.plan->rawOutput, &relay))
        {
            close(turn->raw);
            turn->raw = -1;
        }
        if (!isEnding && (IsEndAsked() || outcome->result != DrawResult::kDone || relay.hasFailed))
        {
            isEnding = true;
            outcome->result = relay.hasFailed                        ? DrawResult::kFailed
                              : outcome->result == DrawResult::kDone ? DrawResult::kStopped
                                                                     : outcome->result;
            EndJobs(*jobs);
        }
        if (isEnding && turn != nullptr && turn->raw >= 0)
        {
            // Whoever waits with a picture in its hands shall meet an end, not wait for ever.
            for (Job& job : *jobs)
            {
                close(job.raw);
                job.raw = -1;
            }
        }
        TellProgress(work, *outcome, &progress);
    }
    // The last bytes may still be in the pipes.
    while (relay.next < work.indices.size() && !isEnding && work.jobs > 1 &&
           work.plan->kind == RenderKind::kRaw && !relay.hasFailed)
    {
        if (!RelayRaw((*jobs)[JobOfRaw(work, relay.next)], work.plan->rawOutput, &relay))
        {
            break;
        }
    }
    EndProgress(&progress.line);
    if (work.tellsJson)
    {
        // Whoever reads the lines sees the end in one of them, however short the work was.
        TellJson(work, *outcome, Now() - progress.start);
    }
}

RenderOutcome RunJobs(const RenderWork& work)
{
    RenderOutcome outcome = {DrawResult::kDone, {}, 0, 0.0};
    const double start = Now();
    std::vector<Job> jobs;
    for (size_t i = 0; i < static_cast<size_t>(work.jobs); ++i)
    {
        if (!StartJob(work, i, &jobs))
        {
            outcome.result = DrawResult::kFailed;
            break;
        }
    }
    std::erase_if(jobs, [](const Job& job) { return job.process == 0; });
    if (outcome.result == DrawResult::kFailed)
    {
        EndJobs(jobs);
    }
    ListenToJobs(work, &jobs, &outcome);
    for (const Job& job : jobs)
    {
        if (job.raw >= 0)
        {
            close(job.raw);
        }
    }
    std::sort(outcome.reports.begin(), outcome.reports.end(),
              [](const PictureReport& a, const PictureReport& b) { return a.index < b.index; });
    outcome.seconds = Now() - start;
    return outcome;
}
