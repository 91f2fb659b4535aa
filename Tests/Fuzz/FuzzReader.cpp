// Fuzz target: any bytes in the FIFO, read and handled block by block as the reader thread does,
// with two requests pending. Each block goes complete where its id says: nowhere, to its request,
// or to the sink.
#include "CPipeConnector.h"
#include "CPipeWrapper.h"
#include "CSemaphoreHelper.h"
#include "IIPCEvent.h"
#include "Require.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <limits.h>
#include <map>
#include <string>
#include <unistd.h>

namespace {

constexpr char kName[] = "fuzz";

class LastMessage : public IIPCEvent {
public:
    void OnCommand_Reply(IIPCConnector *, const char *msg, int bodyLen) override
    {
        Require(bodyLen == static_cast<int>(kPipeBodySize), "the body has its full length");
        Require(msg[kPipeMessageSize] == 0, "a zero follows the block");
        _block.assign(msg, kPipeMessageSize);
        ++_count;
    }

    std::string _block;
    size_t _count = 0;
};

// A connector without a thread, which is given its blocks.
class SteppedConnector : public CPipeConnector {
public:
    SteppedConnector() : CPipeConnector(kName)
    {
        SetMsgHander(&_sink);
        _first = Pending().Begin(kName);
        _second = Pending().Begin(kName);
        Require(_first == 16 && _second == 17, "the ids of the first requests");
        // The fuzzer ends the process without destroying anything.
        CSemaphoreHelper().ClearSemaphore("z5_sem_fuzz_16_");
        CSemaphoreHelper().ClearSemaphore("z5_sem_fuzz_17_");
    }
    ~SteppedConnector() override
    {
        Pending().End(_first, kName);
        Pending().End(_second, kName);
    }

    void Step(const char *buffer)
    {
        int32_t id;
        memcpy(&id, buffer, sizeof(id));
        const size_t heard = _sink._count;
        HandleMessage(buffer, static_cast<int>(kPipeMessageSize));
        const bool forRequest = id == _first || id == _second;
        const bool forSink = id != 0 && !forRequest;
        Require(_sink._count == heard + (forSink ? 1 : 0), "the sink hears what is its own");
        Require(!forSink || memcmp(_sink._block.data(), buffer, kPipeMessageSize) == 0, "whole");
        CheckReply(_first, id, buffer);
        CheckReply(_second, id, buffer);
    }

private:
    void CheckReply(int32_t request, int32_t id, const char *buffer)
    {
        char reply[kPipeMessageSize];
        const bool answered = Pending().TryTake(request, reply);
        Require(answered == (id == request), "a request gets its own reply and no other");
        if (!answered)
            return;
        Require(memcmp(reply, buffer + sizeof(id), kPipeBodySize) == 0, "the reply is the body");
        Require(!Pending().TryTake(request, reply), "one block answers once");
    }

    LastMessage _sink;
    int32_t _first = 0;
    int32_t _second = 0;
};

// A FIFO of this process; its name is removed as soon as both ends are open.
struct Fifo {
    Fifo()
    {
        const std::string path = "/tmp/vx-fuzz-" + std::to_string(getpid());
        reader.InitPipe(path.c_str(), O_CREAT | O_RDONLY | O_NONBLOCK);
        writer.InitPipe(path.c_str(), O_CREAT | O_WRONLY | O_NONBLOCK);
        Require(reader.OpenPipe() != -1 && writer.OpenPipe() != -1, "both ends open");
        writer.DeletePipe();
    }

    CPipeWrapper reader;
    CPipeWrapper writer;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static Fifo fifo;
    static SteppedConnector connector;
    size = std::min<size_t>(size, PIPE_BUF);
    fifo.writer.WriteToPipe(reinterpret_cast<const char *>(data), size);
    for (size_t taken = 0; taken < size;) {
        char buffer[kPipeMessageSize + 1] = {};
        const long count = fifo.reader.ReadFromPipe(buffer, kPipeMessageSize);
        Require(count > 0, "what was written can be read");
        connector.Step(buffer);
        taken += static_cast<size_t>(count);
    }
    return 0;
}
