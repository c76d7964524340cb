// SPDX-License-Identifier: MIT
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "studio/build/builder.h"
#include "studio/build/musician.h"
#include "studio/logic/options.h"
#include "studio/studio.h"

static constexpr int kExitUsage = 2;

[[noreturn]] static void EndWithoutMemory()
{
    fprintf(stderr, "quorvale-studio: out of memory\n");
    exit(EXIT_FAILURE);
}

int main(int argc, char** argv)
{
    std::set_new_handler(EndWithoutMemory);
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
