// SPDX-License-Identifier: MIT
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "tools/command_line.h"
#include "tools/report.h"

[[noreturn]] static void EndWithoutMemory()
{
    ReportError("out of memory");
    exit(kExitFailed);
}

int main(int argc, char** argv)
{
    std::set_new_handler(EndWithoutMemory);
    // A limit on file sizes is then an error of the write like any other, and can be cleaned up.
    signal(SIGXFSZ, SIG_IGN);
    // Whoever started the program may ignore the ends of children; here they are waited for.
    signal(SIGCHLD, SIG_DFL);

    const int code = RunCommandLine(argc, argv);
    if (fflush(stdout) != 0 || ferror(stdout) != 0)
    {
        ReportError("standard output could not be written");
        return kExitFailed;
    }
    return code;
}
