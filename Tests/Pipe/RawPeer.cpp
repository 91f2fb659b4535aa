#include "RawPeer.h"

#include "Eventually.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

FifoReader::FifoReader(const std::string &path)
    : _descriptor(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC))
{
}

FifoReader::~FifoReader()
{
    if (_descriptor != -1)
        close(_descriptor);
}

bool FifoReader::HasInput() const
{
    struct pollfd wanted = {_descriptor, POLLIN, 0};
    return poll(&wanted, 1, 0) == 1 && (wanted.revents & POLLIN);
}

std::optional<_MSG_DATA_PACKAGE> FifoReader::Read()
{
    _MSG_DATA_PACKAGE message = {};
    const bool whole = Eventually(
        [&] { return ::read(_descriptor, &message, sizeof(message)) == sizeof(message); });
    return whole ? std::optional<_MSG_DATA_PACKAGE>(message) : std::nullopt;
}

RawPeer::RawPeer(const PipeFolder &folder) : _writePath(folder.ToClient())
{
    mkfifo(folder.ToServer().c_str(), 0600);
    mkfifo(_writePath.c_str(), 0600);
    _reader = std::make_unique<FifoReader>(folder.ToServer());
}

RawPeer::~RawPeer()
{
    CloseWriteEnd();
}

bool RawPeer::Write(const void *bytes, size_t count)
{
    const bool open = Eventually([this] {
        if (_writer == -1)
            _writer = ::open(_writePath.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        return _writer != -1;
    });
    return open && Eventually([&] {
               return ::write(_writer, bytes, count) == static_cast<ssize_t>(count);
           });
}

void RawPeer::CloseWriteEnd()
{
    if (_writer != -1)
        close(_writer);
    _writer = -1;
}
