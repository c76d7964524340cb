// SPDX-License-Identifier: MIT
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <malloc.h>
#include <new>

#include "studio/build/builder.h"
#include "studio/build/musician.h"
#include "studio/logic/options.h"
#include "studio/studio.h"

static constexpr int kExitUsage = 2;

/// From this size on blocks come from the system, already zero. A scene's record is a little larger
/// and hardly used: left to itself the C library would take it from memory that was used before,
/// and clear all of it.
static constexpr int kSystemBlock = 512 * 1024;

/// Memory that is free stays with the program, up to so many bytes: the next piece takes about as
/// much as the one before, and pages that come anew from the system cost as much as the work in
/// them.
static constexpr int kFreeMemory = 512 * 1024 * 1024;

[[noreturn]] static void EndWithoutMemory()
{
    fprintf(stderr, "quorvale-studio: out of memory\n");
    exit(EXIT_FAILURE);
}

int main(int argc, char** argv)
{
    std::set_new_handler(EndWithoutMemory);
    mallopt(M_MMAP_THRESHOLD, kSystemBlock);
    mallopt(M_TRIM_THRESHOLD, kFreeMemory);
    mallopt(M_ARENA_MAX, 1); // each thread that loads finds what the one before has left
    signal(SIGPIPE, SIG_IGN);
    signal(SIGCHLD, SIG_DFL);

    StudioOptions options;
    const std::string wrong = ParseOptions({argv + 1, argv + argc}, &options);
    if (!wrong.empty())
    {
        fprintf(stderr, "quorvale-studio: %s; \"quorvale-studio --help\" tells more\n",
                wrong.c_str());
        return kExitUsage;
    }
    if (options.wantsHelp)
    {
        printf("%s", OptionsHelp());
        return EXIT_SUCCESS;
    }
    if (options.wantsVersion)
    {
        printf("quorvale-studio %s\n", QUORVALE_VERSION);
        return EXIT_SUCCESS;
    }
    if (!options.builder.empty())
    {
        return RunBuilder(options.builder);
    }
    if (!options.musician.empty())
    {
        return RunMusician(options.musician);
    }
    return RunStudio(options);
}
