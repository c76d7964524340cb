// SPDX-License-Identifier: MIT
#include "studio/control_socket.h"

#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

static constexpr size_t kLongestQuestion = 4096; // bytes; whoever sends more is hung up on
static constexpr int kWaitingClients = 8;

std::string OpenControl(const std::string& path, ControlSocket* control)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path))
    {
        return "the path of the control socket is too long";
    }
    struct stat status;
    if (lstat(path.c_str(), &status) == 0 && !S_ISSOCK(status.st_mode))
    {
        return path + " is there, and no socket; it is left alone";
    }
    memcpy(address.sun_path, path.c_str(), path.size());
    control->listener = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    unlink(path.c_str());
    if (control->listener < 0 ||
        bind(control->listener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) !=
            0 ||
        listen(control->listener, kWaitingClients) != 0)
    {
        return "can't listen at " + path + ": " + strerror(errno);
    }
    control->path = path;
    return "";
}

/// Sends all of a text. A client that does not read is hung up on.
static bool Send(int stream, const std::string& text)
{
    size_t sent = 0;
    while (sent < text.size())
    {
        const ssize_t step =
            send(stream, text.data() + sent, text.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (step <= 0)
        {
            return false;
        }
        sent += static_cast<size_t>(step);
    }
    return true;
}

/// Takes what a client has sent.
/// @return false if it is gone, or to be hung up on
static bool Serve(ControlClient* client,
                  const std::function<std::string(const std::string&)>& answer)
{
    char bytes[1024];
    const ssize_t got = recv(client->stream, bytes, sizeof(bytes), MSG_DONTWAIT);
    if (got == 0 || (got < 0 && errno != EAGAIN && errno != EINTR))
    {
        return false;
    }
    client->received.append(bytes, got > 0 ? static_cast<size_t>(got) : 0);
    for (size_t end = client->received.find('\n'); end != std::string::npos;
         end = client->received.find('\n'))
    {
        const std::string question = client->received.substr(0, end);
        client->received.erase(0, end + 1);
        if (!Send(client->stream, answer(question) + "\n"))
        {
            return false;
        }
    }
    return client->received.size() <= kLongestQuestion;
}

void AnswerControl(ControlSocket* control,
                   const std::function<std::string(const std::string&)>& answer)
{
    if (control->listener < 0)
    {
        return;
    }
    for (int stream = 0; stream >= 0;)
    {
        stream = accept4(control->listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (stream >= 0)
        {
            control->clients.push_back({stream, ""});
        }
    }
    std::erase_if(control->clients,
                  [&answer](ControlClient& client)
                  {
                      const bool stays = Serve(&client, answer);
                      if (!stays)
                      {
                          close(client.stream);
                      }
                      return !stays;
                  });
}

void CloseControl(ControlSocket* control)
{
    if (control->listener < 0)
    {
        return;
    }
    for (const ControlClient& client : control->clients)
    {
        close(client.stream);
    }
    control->clients.clear();
    close(control->listener);
    control->listener = -1;
    unlink(control->path.c_str());
}
