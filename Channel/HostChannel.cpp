#include "HostChannel.h"

#include "ChannelSystem.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/uio.h>

namespace vx {
namespace {

constexpr int kMostSkippedAtOnce = 64;
constexpr char kMalformed[] = "the volume library sent a report that cannot be read";
constexpr char kCut[] = "the volume library's reports end within one";

bool IsTooLong(const ChannelOpening &opening)
{
    return std::strlen(opening.volume) > kMostChannelText ||
           std::strlen(opening.kind) > kMostChannelText ||
           std::strlen(opening.secret) > kMostChannelText;
}

// The message in pieces, so that nothing is copied.
bool SendOpening(int descriptor, const ChannelOpening &opening)
{
    const char *const texts[] = {opening.volume, opening.kind, opening.secret};
    std::string lengths[3];
    size_t body = 0;
    for (size_t i = 0; i < 3; ++i) {
        AppendChannelNumber(std::strlen(texts[i]), 4, &lengths[i]);
        body += lengths[i].size() + std::strlen(texts[i]);
    }
    std::string header = ChannelHeaderBytes(ChannelMessage::kOpening, body);
    iovec pieces[7] = {{header.data(), header.size()}};
    for (size_t i = 0; i < 3; ++i) {
        pieces[1 + 2 * i] = {lengths[i].data(), lengths[i].size()};
        pieces[2 + 2 * i] = {const_cast<char *>(texts[i]), std::strlen(texts[i])};
    }
    msghdr message = {};
    message.msg_iov = pieces;
    message.msg_iovlen = 7;
    const ssize_t sent = sendmsg(descriptor, &message, kChannelSendFlags);
    if (sent >= 0 && static_cast<size_t>(sent) < header.size() + body)
        errno = ENOBUFS;
    return sent >= 0 && static_cast<size_t>(sent) == header.size() + body;
}

}  // namespace

bool HostChannel::Prepare(const ChannelOpening &opening)
{
    if (IsTooLong(opening)) {
        _error = "the volume's path, the kind of unlock or the secret is longer than " +
                 std::to_string(kMostChannelText) + " bytes";
        return false;
    }
    if (MakeChannelPair(&_own, &_child) && fcntl(_own.Get(), F_SETFL, O_NONBLOCK) != -1 &&
        SendOpening(_own.Get(), opening))
        return true;
    _error = std::string("the channel for the volume library cannot be made: ") + strerror(errno);
    _own.Close();
    _child.Close();
    _hasEnded = true;
    return false;
}

std::optional<ChannelReport> HostChannel::Read()
{
    std::optional<ChannelReport> report;
    Next next = Next::kSkipped;
    for (int i = 0; i < kMostSkippedAtOnce && next == Next::kSkipped; ++i)
        next = ReadMessage(&report);
    return report;
}

HostChannel::Next HostChannel::ReadMessage(std::optional<ChannelReport> *report)
{
    const bool hadHeader = _haveOfHeader == sizeof(_header);
    if (!Fill(_header, sizeof(_header), &_haveOfHeader))
        return Next::kNothing;
    if (!hadHeader && !BeginBody())
        return Next::kNothing;
    if (!Fill(BodyPlace(), _message.length, &_haveOfBody))
        return Next::kNothing;
    _haveOfHeader = 0;
    if (!IsChannelReport(_message.type))
        return Next::kSkipped;
    const auto *body = reinterpret_cast<const char *>(BodyPlace());
    *report = ParseChannelReport(_message.type, {body, _message.length});
    _keyBody.Wipe();
    if (*report && IsInOrder(**report))
        return Next::kReport;
    report->reset();
    End(kMalformed);
    return Next::kNothing;
}

// Whether all of it is there.
bool HostChannel::Fill(uint8_t *place, size_t size, size_t *have)
{
    while (*have < size && !_hasEnded) {
        const ssize_t got = recv(_own.Get(), place + *have, size - *have, 0);
        if (got > 0)
            *have += static_cast<size_t>(got);
        else if (got < 0 && errno == EAGAIN)
            break;
        else if (got == 0 || errno != EINTR)
            End(_haveOfHeader > 0 ? kCut : "");
    }
    return !_hasEnded && *have == size;
}

bool HostChannel::BeginBody()
{
    const std::string_view header(reinterpret_cast<const char *>(_header), sizeof(_header));
    _message = ParseChannelHeader(header);
    _haveOfBody = 0;
    const bool isKey = IsOfType(_message, ChannelMessage::kMasterKey);
    const size_t most = isKey ? kMostChannelKey : kMostChannelBody;
    if (_message.length > most || IsOfType(_message, ChannelMessage::kOpening)) {
        End(kMalformed);
        return false;
    }
    if (isKey)
        _keyBody = ProtectedBytes(_message.length);
    else
        _body.resize(_message.length);
    return true;
}

uint8_t *HostChannel::BodyPlace()
{
    return _keyBody.Size() > 0 ? _keyBody.Data() : reinterpret_cast<uint8_t *>(_body.data());
}

bool HostChannel::IsInOrder(const ChannelReport &report)
{
    const bool isOpened = std::holds_alternative<ChannelOpened>(report);
    const bool isKey = std::holds_alternative<ChannelMasterKey>(report);
    const bool isFarewell = std::holds_alternative<ChannelFarewell>(report);
    const bool needsOpened = isKey || isFarewell || std::holds_alternative<ChannelDamage>(report);
    const bool precedesOpened = isOpened || std::holds_alternative<ChannelProgress>(report);
    if ((needsOpened && !_hasOpened) || (precedesOpened && _hasOpened) || (isKey && _hasKey) ||
        (isFarewell && _hasFarewell))
        return false;
    if (const auto *opened = std::get_if<ChannelOpened>(&report))
        _isOpen = opened->status == 0;
    _hasOpened = _hasOpened || isOpened;
    _hasKey = _hasKey || isKey;
    _hasFarewell = _hasFarewell || isFarewell;
    return true;
}

void HostChannel::End(const char *error)
{
    _hasEnded = true;
    _error = error;
    _own.Close();
    _keyBody.Wipe();
}

}  // namespace vx
