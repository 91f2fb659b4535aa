// One duplex link made of two FIFOs: reads messages from one, writes messages to the other.
// A reader thread polls the read FIFO, passes replies to the threads that wait for them and
// everything else to the event sink.
//
// Life: made -> initPipeConnection (reader thread runs) -> write end open, at once or with the
// first send that finds a reader at the other end -> destroyed. docs/link.md draws it.
// Ownership: owns its descriptors and its reader thread, which StopReader joins; the sink is
// borrowed. The FIFO files stay unless DeletePipe is called.
// Threads: SendMsg_async and SendMsg_sync from any, at the same time; the rest from the one
// thread that owns the connector. Never destroyed from inside its own sink.
// Both ends are opened non-blocking, whatever flags are given: a reader thread that blocks
// could not be joined, and a sender must not hang on a peer that has stopped reading.
// Errors: false. A failed write is not reported; a peer that is gone means no reply.
#pragma once

#include "CPipeWrapper.h"
#include "IIPCConnector.h"
#include "PendingRequests.h"
#include "PollInterval.h"
#include "SinkSlot.h"
#include "StopSignal.h"

#include "CMutexLocker.h"

#include <pthread.h>

class CPipeConnector : public IIPCConnector {
public:
    // name: names the semaphores of synchronous requests; it may be empty.
    explicit CPipeConnector(const std::string &name, vx::PollInterval interval = vx::kPollInterval);
    ~CPipeConnector() override;
    CPipeConnector(const CPipeConnector &) = delete;
    CPipeConnector &operator=(const CPipeConnector &) = delete;

    // Sets the sink, or empties it with null. Messages that arrive before there is a sink wait
    // for it. On return the former sink is not running and will not be called again.
    void SetMsgHander(IIPCEvent *handler);
    // Takes the two paths and starts the reader thread; true also while the other end has no
    // reader. Already set up: true, and nothing changes. False, and nothing is set up: a path is
    // too long to be stored.
    bool initPipeConnection(const char *readName, int readFlags, const char *writeName,
                            int writeFlags);
    // Starts the reader thread unless it runs. Returns whether it was ever started.
    bool initReadMsgThread();
    // Tries once to open the write end unless it is open. Returns whether it is open.
    bool initSendMsg();
    // Ends the reader thread and waits for it, at most as long as the sink takes to return.
    // From then on every send returns false; one that waits for a reply gives up.
    void StopReader();
    // Closes both ends, which forgets their paths. The reader thread goes on without a FIFO.
    void ClosePipe();
    // Unlinks both FIFOs; returns the result of the second, the write end's.
    int DeletePipe();

    bool SendMsg_async(const char *data, int len, int msgId) override;
    bool SendMsg_sync(const char *data, int len, char *reply, int replyLen, int timeout) override;
    std::string GetName() const override { return _name; }

protected:
    // One arrived block: a message and a zero byte after it, 513 bytes.
    void HandleMessage(const char *msg, int len);
    vx::PendingRequests &Pending() { return _pending; }

private:
    static void *ReadMsgThread(void *connector);
    void ReadUntilStopped();
    bool OpenReadEnd();
    bool ReadBlock(char *buffer);
    bool IsUsable();
    bool OpenWriteEnd() VX_REQUIRES(_lock);
    bool AwaitWriteEnd(int attempts);
    void WriteBlock(const char *block, size_t len);
    bool AwaitReply(int32_t id, char *reply, int timeout);

    vx::SinkSlot _handler;
    pthread_t _readerThread VX_GUARDED_BY(_lock) = {};
    CPipeWrapper _writeEnd VX_GUARDED_BY(_lock);
    CPipeWrapper _readEnd VX_GUARDED_BY(_lock);
    const std::string _name;
    vx::StopSignal _stop;
    bool _initialised VX_GUARDED_BY(_lock) = false;
    bool _readerStarted VX_GUARDED_BY(_lock) = false;
    bool _readerJoined VX_GUARDED_BY(_lock) = false;
    vx::PendingRequests _pending;
    // Guards the ends and the state of the set-up. No call under it blocks.
    CMutexLocker _lock;
    const vx::PollInterval _interval;
};
