// SPDX-License-Identifier: MIT
#include "tools/piece_script.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "tools/report.h"

static bool IsFolder(const std::string& path)
{
    struct stat status;
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

/// The folder that holds the library: beside an installed dpk, else in its sources.
static std::string FindLibrary()
{
    char program[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", program, sizeof(program) - 1);
    if (length > 0)
    {
        std::string path(program, static_cast<size_t>(length));
        path.erase(path.rfind('/'));
        path += "/../share/quorvale/python";
        if (IsFolder(path + "/quorvale"))
        {
            return path;
        }
    }
    return QUORVALE_PYTHON;
}

/// This process's environment, with the library in front of what Python finds.
static std::vector<std::string> MakeEnvironment()
{
    std::string path = "PYTHONPATH=" + FindLibrary();
    std::vector<std::string> environment;
    for (char** variable = environ; *variable != nullptr; ++variable)
    {
        if (strncmp(*variable, "PYTHONPATH=", 11) == 0)
        {
            path += std::string(":") + (*variable + 11);
            continue;
        }
        environment.push_back(*variable);
    }
    environment.push_back(path);
    environment.push_back("PYTHONDONTWRITEBYTECODE=1"); // the library's folder may be anyone's
    return environment;
}

static std::vector<char*> Pointers(std::vector<std::string>* texts)
{
    std::vector<char*> pointers;
    for (std::string& text : *texts)
    {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

/// Runs the library as a command and waits for it.
/// @return its exit code, 128 and the signal that ended it; -1 after an error line
static int RunLibrary(const char* command, const std::string& argument)
{
    std::vector<std::string> arguments = {"python3", "-m", "quorvale", command, argument};
    std::vector<std::string> environment = MakeEnvironment();
    fflush(stdout);

    pid_t child = 0;
    const int error = posix_spawnp(&child, "python3", nullptr, nullptr, Pointers(&arguments).data(),
                                   Pointers(&environment).data());
    if (error != 0)
    {
        ReportError("python3, which runs pieces, can't be started: %s", strerror(error));
        return -1;
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0)
    {
        if (errno != EINTR)
        {
            ReportError("python3 can't be waited for: %s", strerror(errno));
            return -1;
        }
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

bool HasPieceScript(const std::string& folder)
{
    struct stat status;
    const std::string path = folder + "/piece.py";
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

bool RunPieceScript(const std::string& folder)
{
    const std::string path = folder + "/piece.py";
    const int code = RunLibrary("run", path);
    if (code > 0)
    {
        ReportError("\"%s\" ended with code %d; nothing is packed", Printable(path).c_str(), code);
    }
    return code == 0;
}

bool MakePieceFolder(const std::string& folder)
{
    return RunLibrary("new", folder) == 0;
}

bool WritePieceScript(const std::string& folder)
{
    return RunLibrary("unbuild", folder) == 0 &&
           (!HasPieceScript(folder) || RunPieceScript(folder));
}

std::string PackageOfFolder(const std::string& folder)
{
    char path[PATH_MAX];
    if (realpath(folder.c_str(), path) == nullptr)
    {
        return folder + "/piece.dpk"; // the build will say that there is no such folder
    }
    const char* name = strrchr(path, '/') + 1;
    return folder + "/" + (*name == 0 ? "piece" : name) + ".dpk";
}
