// SPDX-License-Identifier: MIT
#include "tools/dpk_run.h"

#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <set>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

/// Runs in the child; comes back only if something is missing.
static void Execute(const TemporaryFolder& folder, std::vector<std::string> arguments,
                    const DpkSurroundings& surroundings, int out, int err)
{
    arguments.insert(arguments.begin(), "dpk");
    std::vector<char*> argv(arguments.size() + 1, nullptr);
    for (size_t i = 0; i < arguments.size(); ++i)
    {
        argv[i] = arguments[i].data();
    }

    if (!surroundings.output.empty())
    {
        out = open(surroundings.output.c_str(), O_WRONLY);
    }
    if (!surroundings.workshops.empty())
    {
        setenv("TMPDIR", surroundings.workshops.c_str(), 1);
    }
    if (surroundings.fileSizeLimit != 0)
    {
        rlimit limit = {surroundings.fileSizeLimit, surroundings.fileSizeLimit};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    if (surroundings.memoryLimit != 0)
    {
        rlimit limit = {surroundings.memoryLimit, surroundings.memoryLimit};
        setrlimit(RLIMIT_DATA, &limit);
    }
    umask(surroundings.mask);
    if (chdir(folder.path.c_str()) == 0 && dup2(out, STDOUT_FILENO) >= 0 &&
        dup2(err, STDERR_FILENO) >= 0)
    {
        execv(DPK_PROGRAM, argv.data());
    }
}

static std::string ReadAll(FILE* stream)
{
    std::string text;
    char block[4096];
    rewind(stream);
    for (size_t got = 0; (got = fread(block, 1, sizeof(block), stream)) > 0;)
    {
        text.append(block, got);
    }
    fclose(stream);
    return text;
}

DpkRun RunDpk(const TemporaryFolder& folder, const std::vector<std::string>& arguments,
              const DpkSurroundings& surroundings)
{
    FILE* out = tmpfile();
    FILE* err = tmpfile();
    if (out == nullptr || err == nullptr)
    {
        fprintf(stderr, "no temporary files\n");
        abort();
    }

    pid_t child = fork();
    if (child == 0)
    {
        Execute(folder, arguments, surroundings, fileno(out), fileno(err));
        _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);

    DpkRun run;
    run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    run.out = ReadAll(out);
    run.err = ReadAll(err);
    return run;
}

void ExecuteDpk(const TemporaryFolder& folder, const std::vector<std::string>& arguments)
{
    const int nothing = open("/dev/null", O_RDWR);
    Execute(folder, arguments, kOrdinary, nothing, nothing);
    _exit(127);
}

std::string FilesIn(const TemporaryFolder& folder)
{
    std::set<std::string> names;
    DIR* directory = opendir(folder.path.c_str());
    while (const dirent* item = readdir(directory))
    {
        names.insert(item->d_name);
    }
    closedir(directory);
    names.erase(".");
    names.erase("..");

    std::string text;
    for (const std::string& name : names)
    {
        text += (text.empty() ? "" : " ") + name;
    }
    return text;
}

unsigned PermissionsOf(const TemporaryFolder& folder, const std::string& name)
{
    struct stat status = {};
    stat((folder.path + "/" + name).c_str(), &status);
    return status.st_mode & 07777;
}
