// The other side of a channel as bare bytes, so that a test can send anything: ends, numbers, texts
// and messages.
#pragma once

#include "ChannelSystem.h"
#include "ChannelWire.h"
#include "UniqueFd.h"

#include <poll.h>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>

namespace vx {

struct RawPair {
    RawPair()
    {
        int ends[2] = {-1, -1};
        (void)socketpair(AF_UNIX, SOCK_STREAM, 0, ends);
        one = UniqueFd(ends[0]);
        other = UniqueFd(ends[1]);
    }

    UniqueFd one;
    UniqueFd other;
};

inline bool SendAll(int descriptor, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t sent = send(descriptor, bytes.data(), bytes.size(), kChannelSendFlags);
        if (sent <= 0)
            return false;
        bytes.remove_prefix(static_cast<size_t>(sent));
    }
    return true;
}

// What is there now.
inline std::string TakeAll(int descriptor)
{
    std::string all;
    char bytes[4096];
    ssize_t got = 0;
    while ((got = recv(descriptor, bytes, sizeof(bytes), MSG_DONTWAIT)) > 0)
        all.append(bytes, static_cast<size_t>(got));
    return all;
}

inline bool IsReadable(int descriptor)
{
    pollfd polled = {descriptor, POLLIN, 0};
    return poll(&polled, 1, 0) == 1;
}

inline std::string U32(uint64_t number)
{
    std::string bytes;
    AppendChannelNumber(number, 4, &bytes);
    return bytes;
}

inline std::string U64(uint64_t number)
{
    std::string bytes;
    AppendChannelNumber(number, 8, &bytes);
    return bytes;
}

inline std::string Text(const std::string &text)
{
    return U32(text.size()) + text;
}

inline std::string Message(uint32_t type, const std::string &body)
{
    return U32(type) + U32(body.size()) + body;
}

}  // namespace vx
