// SPDX-License-Identifier: MIT
#include "studio/build/literal.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

/// Runs Python and takes its first line.
static std::string RunPython(std::vector<std::string> words)
{
    int pipes[2] = {};
    if (pipe2(pipes, O_CLOEXEC) != 0)
    {
        return "";
    }
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (std::string& word : words)
    {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipes[1], STDOUT_FILENO);
    pid_t child = 0;
    const int error =
        posix_spawnp(&child, pointers[0], &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(pipes[1]);
    std::string output;
    char bytes[256];
    for (ssize_t got = 1; error == 0 && got > 0;)
    {
        got = read(pipes[0], bytes, sizeof(bytes));
        output.append(bytes, got > 0 ? static_cast<size_t>(got) : 0);
        got = got < 0 && errno == EINTR ? 1 : got;
    }
    close(pipes[0]);
    int status = 0;
    while (error == 0 && waitpid(child, &status, 0) < 0 && errno == EINTR)
    {
    }
    return error == 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0 ? output : "";
}

std::string FindLiteral(const std::string& path, uint32_t line, const std::string& number,
                        const LiteralHint& hint, TextRange* range)
{
    const std::string answer =
        RunPython({"python3", "-I", "-c", kLiteralProgram, path, std::to_string(line), number,
                   hint.keyword, std::to_string(hint.index)});
    const size_t blank = answer.find(' ');
    if (blank != std::string::npos)
    {
        *range = {strtoul(answer.c_str(), nullptr, 10),
                  strtoul(answer.c_str() + blank, nullptr, 10)};
        return "";
    }
    return answer == "several\n" ? "the line has several literals " + number + "; copy the value"
           : answer == "none\n"  ? "the line has no literal " + number + "; copy the value"
                                 : "Python can't read the line";
}
