// SPDX-License-Identifier: MIT
#include "tools/report.h"

#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

#include "engine/data/plain_text.h"

void ReportError(const char* format, ...)
{
    // Both may go to one place, and what was printed so far comes first there.
    fflush(stdout);
    fprintf(stderr, "dpk: ");

    va_list arguments;
    va_start(arguments, format);
    vfprintf(stderr, format, arguments);
    va_end(arguments);
    fprintf(stderr, "\n");
}

void ReportFaults(const std::string& path, FaultList* faults)
{
    const std::string program = path.empty() ? "dpk" : "dpk: " + Printable(path);
    for (uint32_t i = 0; i < faults->count; ++i)
    {
        PrintFault(GetFault(faults, i), program.c_str());
    }
    FreeFaults(faults);
}

void ReportFaults(FaultList* faults)
{
    ReportFaults("", faults);
}

bool HasColors(ColorChoice choice)
{
    const char* refused = getenv("NO_COLOR");
    const bool isRefused = refused != nullptr && *refused != 0;
    return choice == ColorChoice::kAlways ||
           (choice == ColorChoice::kAuto && !isRefused && isatty(STDOUT_FILENO) != 0);
}

static int64_t NowMs()
{
    using std::chrono::steady_clock;
    const auto now = steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

Progress StartProgress(const char* verb, size_t total, Verbosity verbosity)
{
    static constexpr int64_t kPatienceMs = 1000;
    const bool isTold = verbosity == Verbosity::kUsual && isatty(STDERR_FILENO) != 0;
    return {isTold ? verb : nullptr, total, NowMs() + kPatienceMs, false};
}

bool IsProgressDue(const Progress* progress)
{
    return progress->verb != nullptr && NowMs() >= progress->nextMs;
}

void ShowProgressWords(Progress* progress, const std::string& words)
{
    static constexpr int64_t kPauseMs = 200;
    progress->isShown = true;
    progress->nextMs = NowMs() + kPauseMs;
    fprintf(stderr, "\r\x1b[K%s", words.c_str());
}

void ShowProgress(Progress* progress, size_t done, const std::string& what)
{
    static constexpr size_t kMostOfName = 50; // letters, so that the line is one
    if (IsProgressDue(progress))
    {
        const std::string of = progress->total == 0 ? "" : "/" + std::to_string(progress->total);
        ShowProgressWords(progress, progress->verb + (" " + std::to_string(done + 1)) + of + " " +
                                        Printable(what).substr(0, kMostOfName));
    }
}

void EndProgress(Progress* progress)
{
    if (progress->isShown)
    {
        fprintf(stderr, "\r\x1b[K");
    }
    progress->isShown = false;
}

std::string Printable(const std::string& name)
{
    std::string escaped;
    for (const char c : name)
    {
        escaped += c == '\\' ? "\\x5C" : std::string(1, c);
    }
    std::string plain(PlainTextSize(escaped.size()), 0);
    plain.resize(FormatPlainText(escaped.c_str(), plain.data(), plain.size()));
    return plain;
}
