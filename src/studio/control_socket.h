// SPDX-License-Identifier: MIT

// A socket that answers questions about the program: for tests, and for whoever wants the studio to
// tell where it is. It takes a line and gives one; it lets nobody change anything.
#pragma once

#include <functional>
#include <string>
#include <vector>

struct ControlClient
{
    int stream;
    std::string received; // up to a newline that is still to come
};

struct ControlSocket
{
    std::string path;
    int listener = -1;
    std::vector<ControlClient> clients;
};

/// Listens at a path, over an old socket there.
/// @return an empty text, or what is wrong
std::string OpenControl(const std::string& path, ControlSocket* control);

/// Answers what has come in, without waiting.
/// @param answer   gives the answer to a line, without a newline
void AnswerControl(ControlSocket* control,
                   const std::function<std::string(const std::string&)>& answer);

/// Closes all and removes the socket.
void CloseControl(ControlSocket* control);
