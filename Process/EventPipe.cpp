#include "EventPipe.h"

#include "PipeEnds.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <poll.h>
#include <utility>

namespace {

int MillisecondsUntil(std::optional<vx::Deadline> deadline)
{
    using std::chrono::milliseconds;
    constexpr milliseconds::rep kLongest = 60 * 1000;
    if (!deadline)
        return -1;
    const auto left = std::chrono::ceil<milliseconds>(*deadline - vx::Deadline::clock::now());
    return static_cast<int>(std::clamp<milliseconds::rep>(left.count(), 0, kLongest));
}

bool HasPassed(std::optional<vx::Deadline> deadline)
{
    return deadline && vx::Deadline::clock::now() >= *deadline;
}

}  // namespace

namespace vx {

EventPipe::EventPipe()
{
    PipeEnds ends;
    if (!MakePipe(&ends)) {
        _error = std::string("no pipe can be made to wait for signals: ") + strerror(errno);
        return;
    }
    for (const int end : {ends.out.Get(), ends.in.Get()})
        fcntl(end, F_SETFL, fcntl(end, F_GETFL) | O_NONBLOCK);
    _out = std::move(ends.out);
    _in = std::move(ends.in);
}

void EventPipe::Post(int event)
{
    const int error = errno;
    const unsigned char byte = static_cast<unsigned char>(event);
    const ssize_t written = write(_in.Get(), &byte, 1);
    (void)written;
    errno = error;
}

std::optional<int> EventPipe::Await(std::optional<Deadline> deadline, int other)
{
    AssertBoundThread(_thread);
    unsigned char byte;
    struct pollfd wanted[] = {{_out.Get(), POLLIN, 0}, {other, POLLIN, 0}};
    while (read(_out.Get(), &byte, 1) != 1) {
        if (HasPassed(deadline) || wanted[1].revents != 0)
            return std::nullopt;
        poll(wanted, std::size(wanted), MillisecondsUntil(deadline));
    }
    return byte;
}

int EventPipe::GetDescriptor() const
{
    AssertBoundThread(_thread);
    return _out.Get();
}

}  // namespace vx
