// The ends of a link without the library: reads and writes blocks on the bare FIFOs.
#pragma once

#include "PipeFolder.h"
#include "_MSG_DATA_PACKAGE.h"

#include <memory>
#include <optional>

// A read end beside the real reader's: keeps a FIFO open for writing, and sees whether a block
// still waits in it.
class FifoReader {
public:
    explicit FifoReader(const std::string &path);
    ~FifoReader();
    FifoReader(const FifoReader &) = delete;
    FifoReader &operator=(const FifoReader &) = delete;

    bool HasInput() const;
    // The next whole message; nothing if none comes.
    std::optional<_MSG_DATA_PACKAGE> Read();

private:
    const int _descriptor;
};

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
    std::optional<_MSG_DATA_PACKAGE> Read() { return _reader->Read(); }
    bool HasInput() const { return _reader->HasInput(); }
    void CloseWriteEnd();
    void CloseReadEnd() { _reader.reset(); }

private:
    const std::string _writePath;
    std::unique_ptr<FifoReader> _reader;
    int _writer = -1;
};
