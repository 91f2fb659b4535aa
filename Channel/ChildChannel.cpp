#include "ChildChannel.h"

#include "ChannelSystem.h"
#include "ChannelWire.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <new>
#include <poll.h>
#include <sys/socket.h>
#include <utility>

namespace vx {
namespace {

using Clock = std::chrono::steady_clock;

constexpr size_t kMostOpeningBytes = 3 * (4 + kMostChannelText);

// -1 if it is none.
int DescriptorNumber(std::string_view text)
{
    constexpr size_t kMostDigits = 9;  // of any that an int holds
    const bool isPlain =
        !text.empty() && text.size() <= kMostDigits &&
        std::all_of(text.begin(), text.end(), [](char sign) { return sign >= '0' && sign <= '9'; });
    int number = 0;
    for (const char digit : text)
        number = isPlain ? 10 * number + (digit - '0') : -1;
    return isPlain ? number : -1;
}

bool IsStreamSocket(int descriptor)
{
    int type = 0;
    socklen_t length = sizeof(type);
    sockaddr_storage peer;
    socklen_t peerLength = sizeof(peer);
    return getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &length) == 0 &&
           type == SOCK_STREAM &&
           getpeername(descriptor, reinterpret_cast<sockaddr *>(&peer), &peerLength) == 0;
}

// False once the deadline has passed.
bool Await(int descriptor, short events, Clock::time_point deadline)
{
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0)
            return false;
        pollfd polled = {descriptor, events, 0};
        const auto most = static_cast<long long>(INT_MAX);
        const int ready =
            poll(&polled, 1, static_cast<int>(std::min<long long>(left.count(), most)));
        if (ready > 0)
            return true;
        if (ready < 0 && errno != EINTR)
            return false;
    }
}

}  // namespace

UniqueFd ChildChannel::Inherited(const char *number)
{
    const int descriptor = DescriptorNumber(number);
    const int flags = descriptor >= 0 ? fcntl(descriptor, F_GETFD) : -1;
    if (flags == -1 || (flags & FD_CLOEXEC) != 0 || !IsStreamSocket(descriptor))
        return {};
    return UniqueFd(descriptor);
}

ChildChannel::ChildChannel(UniqueFd descriptor) : _descriptor(std::move(descriptor))
{
    (void)fcntl(_descriptor.Get(), F_SETFD, FD_CLOEXEC);
    (void)fcntl(_descriptor.Get(), F_SETFL, O_NONBLOCK);
    SilenceChannelEnd(_descriptor.Get());
}

bool ChildChannel::ReadOpening(Opening *opening, std::chrono::milliseconds patience)
{
    const Clock::time_point deadline = Clock::now() + patience;
    uint8_t bytes[kChannelHeaderBytes];
    while (Receive(bytes, sizeof(bytes), deadline)) {
        const ChannelHeader header =
            ParseChannelHeader({reinterpret_cast<const char *>(bytes), sizeof(bytes)});
        if (IsOfType(header, ChannelMessage::kOpening)) {
            if (header.length > kMostOpeningBytes)
                return false;
            ProtectedBytes body(header.length + 1);  // and the zero after the last text
            return Receive(body.Data(), header.length, deadline) &&
                   opening->Parse(std::move(body), header.length);
        }
        if (IsChannelReport(header.type) || !Skip(header.length, deadline))
            return false;
    }
    return false;
}

bool ChildChannel::Receive(uint8_t *place, size_t size, Clock::time_point deadline)
{
    size_t have = 0;
    while (have < size) {
        const ssize_t got = recv(_descriptor.Get(), place + have, size - have, 0);
        const bool mayCome = got < 0 && (errno == EAGAIN || errno == EINTR);
        if (got > 0)
            have += static_cast<size_t>(got);
        else if (!mayCome || !Await(_descriptor.Get(), POLLIN, deadline))
            return false;
    }
    return true;
}

// The body of a message that is not known.
bool ChildChannel::Skip(size_t size, Clock::time_point deadline)
{
    uint8_t bytes[1024];
    bool isThere = size <= kMostChannelBody;
    for (size_t left = size; isThere && left > 0; left -= std::min(left, sizeof(bytes)))
        isThere = Receive(bytes, std::min(left, sizeof(bytes)), deadline);
    return isThere;
}

bool ChildChannel::Opening::Parse(ProtectedBytes body, size_t size)
{
    _body = std::move(body);
    const std::string_view whole(_body.Text(), size);
    ChannelBytes bytes(whole);
    const char **const texts[] = {&_texts.volume, &_texts.kind, &_texts.secret};
    size_t ends[3];
    for (size_t i = 0; i < 3; ++i) {
        const std::string_view text = bytes.TakeText(kMostChannelText);
        ends[i] = size - bytes.Left();
        *texts[i] = _body.Text() + (ends[i] - text.size());
    }
    // The length of the next text has been read, so its place can hold the zero.
    for (const size_t end : ends)
        _body.Data()[end] = 0;
    if (!bytes.IsDone())
        _texts = {};
    return bytes.IsDone();
}

void ChildChannel::Report(const ChannelReport &report) noexcept
{
    const MutexLock lock(_mutex);
    if (_isBroken)
        return;
    (void)Send();
    try {
        Keep(report);
    } catch (const std::bad_alloc &) {
        ++_dropped;
    }
    (void)Send();
}

bool ChildChannel::SendKept() noexcept
{
    const MutexLock lock(_mutex);
    return Send();
}

bool ChildChannel::SendKept(std::chrono::milliseconds patience) noexcept
{
    const Clock::time_point deadline = Clock::now() + patience;
    while (!SendKept()) {
        if (!Await(_descriptor.Get(), POLLOUT, deadline) || HasEnded())
            return SendKept();
    }
    return true;
}

void ChildChannel::SayFarewell() noexcept
{
    const MutexLock lock(_mutex);
    if (!Send() || _dropped > 0)
        return;
    try {
        Keep(ChannelFarewell{});
    } catch (const std::bad_alloc &) {
        return;
    }
    (void)Send();
}

bool ChildChannel::HasEnded()
{
    constexpr int kMostReads = 16;
    for (int i = 0; i < kMostReads; ++i) {
        char bytes[1024];  // the host has nothing more to say
        const ssize_t got = recv(_descriptor.Get(), bytes, sizeof(bytes), 0);
        if (got <= 0)
            return got == 0 || (errno != EAGAIN && errno != EINTR);
    }
    return false;
}

void ChildChannel::Keep(const ChannelReport &report)
{
    if (const auto *key = std::get_if<ChannelMasterKey>(&report))
        return KeepKey(*key);
    const bool isProgress = std::holds_alternative<ChannelProgress>(report);
    const auto bytes = ChannelReportBytes(report);
    const bool isRoom = bytes && bytes->size() <= kMostUnsentBytes - (_unsent.size() - _sent) &&
                        (_unsent.empty() || !isProgress);
    if (isRoom) {
        _unsent.erase(0, std::exchange(_sent, 0));
        _unsent += *bytes;
    } else if (!isProgress) {
        ++_dropped;
    }
}

void ChildChannel::KeepKey(const ChannelMasterKey &report)
{
    const std::string header = ChannelHeaderBytes(ChannelMessage::kMasterKey, report.key.Size());
    if (_key.Size() > 0 || report.key.Size() == 0 || report.key.Size() > kMostChannelKey) {
        ++_dropped;
        return;
    }
    _key = ProtectedBytes(header.size() + report.key.Size());
    std::copy(header.begin(), header.end(), _key.Data());
    std::copy_n(report.key.Data(), report.key.Size(), _key.Data() + header.size());
}

// What has begun to go is never interrupted.
bool ChildChannel::Send()
{
    const bool isKeyFirst = _sentOfKey > 0;
    if (isKeyFirst && !SendKey())
        return false;
    if (!SendReports() || !SendKey())
        return false;
    if (_dropped > 0)
        KeepLoss();
    return SendReports();
}

bool ChildChannel::SendReports()
{
    const bool isSent = SendFrom(_unsent.data(), _unsent.size(), &_sent);
    if (isSent) {
        _unsent.clear();
        _sent = 0;
    }
    return isSent;
}

bool ChildChannel::SendKey()
{
    if (!SendFrom(_key.Text(), _key.Size(), &_sentOfKey))
        return false;
    _key.Wipe();
    _sentOfKey = 0;
    return true;
}

// Whether all of it has gone.
bool ChildChannel::SendFrom(const char *bytes, size_t size, size_t *sent)
{
    while (*sent < size && !_isBroken) {
        const ssize_t now = send(_descriptor.Get(), bytes + *sent, size - *sent, kChannelSendFlags);
        if (now > 0)
            *sent += static_cast<size_t>(now);
        else if (errno == EAGAIN)
            return false;
        else if (errno != EINTR)
            _isBroken = true;
    }
    if (!_isBroken)
        return true;
    _unsent.clear();
    _sent = 0;
    _key.Wipe();
    _sentOfKey = 0;
    return false;
}

void ChildChannel::KeepLoss()
{
    try {
        _unsent += *ChannelReportBytes(ChannelLoss{_dropped});
        _dropped = 0;
    } catch (const std::bad_alloc &) {
        // It is counted still.
    }
}

}  // namespace vx
