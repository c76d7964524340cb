// SPDX-License-Identifier: MIT
#include "studio/build/builder.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tools/check_command.h"
#include "tools/files.h"
#include "tools/folder_build.h"
#include "tools/piece_script.h"

static constexpr size_t kMostOutput = size_t{1} << 30; // bytes of a package and its head

/// The child answers twice: with a package as soon as there is one, so that it can be loaded while
/// it is checked, and at the end of the build.
struct BuildHead
{
    uint32_t isEnd;
    uint32_t isGood; // at the end; the next four too
    uint32_t scriptUs;
    uint32_t packUs;
    uint32_t checkUs;
    uint32_t made;
    uint64_t size; // of the package, whose bytes follow; 0 at the end
};

// ---- The child

static uint32_t MicrosecondsSince(std::chrono::steady_clock::time_point start)
{
    const auto passed = std::chrono::steady_clock::now() - start;
    return static_cast<uint32_t>(
        std::chrono::duration_cast<std::chrono::microseconds>(passed).count());
}

/// Answers whoever asked, and ends with it.
static void SendAnswer(int stream, const void* bytes, size_t size)
{
    if (!WriteAll(stream, bytes, size))
    {
        _exit(EXIT_FAILURE);
    }
}

static void SetLimit(__rlimit_resource resource, uint64_t most)
{
    const rlimit limit = {most, most};
    setrlimit(resource, &limit);
}

/// Runs piece.py in a process with limits. They hold for all that it starts, even if nobody is left
/// who could stop it.
static bool RunScript(const std::string& folder)
{
    fflush(stdout);
    const pid_t child = fork();
    if (child == 0)
    {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        SetLimit(RLIMIT_CPU, kBuildSeconds);
        SetLimit(RLIMIT_AS, kMostScriptBytes);
        SetLimit(RLIMIT_CORE, 0);
        const bool hasRun = RunPieceScript(folder);
        fflush(stdout);
        _exit(hasRun ? EXIT_SUCCESS : EXIT_FAILURE);
    }
    int status = 0;
    while (child > 0 && waitpid(child, &status, 0) < 0 && errno == EINTR)
    {
    }
    return child > 0 && WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
}

/// Builds once, and writes the package and then the outcome.
static void Build(const std::string& folder, int output, EntryCache* cache)
{
    BuildHead head = {};
    PackedFolder packed = {};
    auto start = std::chrono::steady_clock::now();
    bool isMade = !HasPieceScript(folder) || RunScript(folder);
    head.scriptUs = MicrosecondsSince(start);

    start = std::chrono::steady_clock::now();
    BuildOptions options = {};
    options.cache = cache;
    isMade = isMade && PackFolder(folder, "", options, &packed);
    head.made = isMade ? cache->made : 0;
    head.packUs = MicrosecondsSince(start);

    start = std::chrono::steady_clock::now();
    const bool hasDemo =
        std::any_of(packed.plan.begin(), packed.plan.end(),
                    [](const PlannedEntry& entry) { return entry.name == "demo.xmlz"; });
    const bool isPacked = isMade && hasDemo; // packing tells of a document that is not there
    if (isPacked)
    {
        BuildHead first = {};
        first.size = packed.package.size;
        SendAnswer(output, &first, sizeof(first));
        SendAnswer(output, packed.package.bytes, packed.package.size);
    }
    const bool isGood = isPacked && CheckPacked(folder, packed.package.bytes, packed.package.size,
                                                ColorChoice::kNever);
    head.isEnd = 1;
    head.isGood = isGood ? 1 : 0;
    head.checkUs = MicrosecondsSince(start);

    fflush(stdout); // what was printed is there before the outcome
    SendAnswer(output, &head, sizeof(head));
    free(packed.package.bytes);
}

int RunBuilder(const std::string& folder)
{
    // Whatever a library or an author's program prints must not stand between the packages.
    const int output = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
    dup2(STDERR_FILENO, STDOUT_FILENO);
    EntryCache cache = {};
    char line[64];
    while (fgets(line, sizeof(line), stdin) != nullptr)
    {
        if (strcmp(line, "build\n") == 0)
        {
            Build(folder, output, &cache);
        }
    }
    return EXIT_SUCCESS;
}

// ---- The parent

std::string StartBuild(const std::string& folder, uint32_t nowMs, Builder* builder)
{
    if (builder->folder != folder || builder->child.pid == 0 || builder->child.hasEnded)
    {
        EndBuilder(builder);
        if (!StartChild({"--builder", folder}, &builder->child))
        {
            return builder->child.errors;
        }
        builder->folder = folder;
    }
    builder->child.output.clear();
    builder->child.errors.clear();
    builder->package = {};
    builder->isBuilding = true;
    builder->startedMs = nowMs;
    TellChild(&builder->child, "build");
    return "";
}

/// Ends a build that did not come to its end.
static bool StopBuild(Builder* builder, const std::string& why, BuildOutcome* outcome)
{
    *outcome = {};
    outcome->text = builder->child.errors.substr(0, kMostBuildText / 64) + "\n" + why + "\n";
    EndBuilder(builder);
    return true;
}

/// Takes one answer of the child.
/// @return false while it is not there as a whole
static bool TakeAnswer(Child* child, BuildHead* head, std::vector<uint8_t>* bytes)
{
    if (child->output.size() < sizeof(*head))
    {
        return false;
    }
    memcpy(head, child->output.data(), sizeof(*head));
    if (child->output.size() < sizeof(*head) + head->size)
    {
        return false;
    }
    const auto begin = child->output.begin() + sizeof(*head);
    const auto end = begin + static_cast<ptrdiff_t>(head->size);
    bytes->assign(begin, end);
    child->output.erase(child->output.begin(), end);
    return true;
}

bool PollBuild(Builder* builder, uint32_t nowMs, BuildOutcome* outcome)
{
    if (!builder->isBuilding)
    {
        return false;
    }
    Child* child = &builder->child;
    ReadChild(child, kMostOutput);
    BuildHead head = {};
    std::vector<uint8_t> bytes;
    while (TakeAnswer(child, &head, &bytes))
    {
        if (head.isEnd == 0)
        {
            builder->package = std::move(bytes);
            continue;
        }
        ReadChild(child, kMostOutput); // what was printed before
        *outcome = {head.isGood != 0, child->errors, head.scriptUs,
                    head.packUs,      head.checkUs,  head.made};
        builder->isBuilding = false;
        child->output = {};
        return true;
    }
    if (child->errors.size() > kMostBuildText)
    {
        return StopBuild(builder, "piece.py prints without end; it was stopped", outcome);
    }
    if (child->hasEnded)
    {
        return StopBuild(builder, "the build was killed", outcome);
    }
    if (nowMs - builder->startedMs > kBuildSeconds * 1000)
    {
        return StopBuild(builder,
                         "the build took more than " + std::to_string(kBuildSeconds) +
                             " s; it was stopped",
                         outcome);
    }
    return false;
}

void EndBuilder(Builder* builder)
{
    EndChild(&builder->child);
    *builder = {};
}
