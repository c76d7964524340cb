// SPDX-License-Identifier: MIT
#include "studio/build/literal.h"

#include <cerrno>
#include <cstdio>
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

std::string FindLiteral(const LiteralSearch& search, LiteralEdit* edit)
{
    const std::string answer = RunPython({"python3", "-I", "-S", "-c", kLiteralProgram, search.path,
                                          std::to_string(search.line), search.was, search.is,
                                          search.hint.keyword, std::to_string(search.hint.index)});
    size_t begin = 0;
    size_t end = 0;
    int text = 0;
    if (sscanf(answer.c_str(), "%zu %zu %n", &begin, &end, &text) == 2)
    {
        edit->range = {begin, end};
        edit->text =
            answer.substr(static_cast<size_t>(text), answer.size() - static_cast<size_t>(text) - 1);
        return "";
    }
    return answer == "several\n"
               ? "the line has several literals " + search.was + "; copy the value"
           : answer == "none\n"  ? "the line has no literal " + search.was + "; copy the value"
           : answer == "range\n" ? search.is + " is no channel from 0 to 1; copy the value"
                                 : "Python can't read the line";
}
