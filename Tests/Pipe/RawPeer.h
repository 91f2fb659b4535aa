// The other end of a link without the library: reads and writes blocks on the bare FIFOs.
#pragma once

#include "PipeFolder.h"
#include "_MSG_DATA_PACKAGE.h"

#include <optional>

class RawPeer {
public:
    // Makes both FIFOs and opens them as a server does: reads to-server, writes to-client.
    explicit RawPeer(const PipeFolder &folder);
    ~RawPeer();
    RawPeer(const RawPeer &) = delete;
    RawPeer &operator=(const RawPeer &) = delete;

    // Waits for the reader at the other end and for room in the pipe.
    bool Write(const void *bytes, size_t count);
    bool Write(const _MSG_DATA_PACKAGE &message) { return Write(&message, sizeof(message)); }
    // The next whole message; nothing if none comes.
    std::optional<_MSG_DATA_PACKAGE> Read();
    // Whether something waits to be read.
    bool HasInput() const;
    void CloseWriteEnd();
    void CloseReadEnd();

private:
    const std::string _writePath;
    int _reader = -1;
    int _writer = -1;
};
