#include "CPipeConnector.h"

#include "CLockerGuard.h"

#include <cstring>
#include <fcntl.h>
#include <signal.h>

namespace {

// A message and a terminating zero.
constexpr size_t kReadBufferSize = kPipeMessageSize + 1;

// A message id and as much data as a send may carry.
struct SendBlock {
    char bytes[sizeof(int32_t) + kPipeMessageSize] = {};

    SendBlock(int32_t id, const char *data, int len)
    {
        memcpy(bytes, &id, sizeof(id));
        memcpy(bytes + sizeof(id), data, static_cast<size_t>(len));
    }
};

// A null path is accepted: its end never opens, as if the peer never came.
bool IsTooLong(const char *path)
{
    return path && !CPipeWrapper::PathFits(path);
}

bool LengthFits(int len)
{
    return len >= 0 && static_cast<size_t>(len) <= kPipeMessageSize;
}

int32_t IdOf(const char *msg)
{
    int32_t id;
    memcpy(&id, msg, sizeof(id));
    return id;
}

// The program's signal handlers must not run on the library's thread. Faults stay unblocked:
// blocking them would only hide their reports.
sigset_t SignalsOfTheHost()
{
    sigset_t set;
    sigfillset(&set);
    for (int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS})
        sigdelset(&set, fault);
    return set;
}

}  // namespace

CPipeConnector::CPipeConnector(const std::string &name, vx::PollInterval interval)
    : _name(name), _interval(interval)
{
}

CPipeConnector::~CPipeConnector()
{
    StopReader();
    ClosePipe();
}

void CPipeConnector::SetMsgHander(IIPCEvent *handler)
{
    _handler.Set(handler);
}

bool CPipeConnector::initPipeConnection(const char *readName, int readFlags, const char *writeName,
                                        int writeFlags)
{
    {
        const CLockerGuard guard(_lock);
        if (_initialised)
            return true;
        if (IsTooLong(readName) || IsTooLong(writeName))
            return false;
        _readEnd.InitPipe(readName, readFlags | O_NONBLOCK);
        _writeEnd.InitPipe(writeName, writeFlags | O_NONBLOCK);
        _initialised = true;
    }
    initReadMsgThread();
    initSendMsg();
    return true;
}

bool CPipeConnector::initReadMsgThread()
{
    const CLockerGuard guard(_lock);
    if (!_initialised || _readerStarted)
        return _readerStarted;
    // A thread inherits the signal mask of the thread that starts it.
    const sigset_t blocked = SignalsOfTheHost();
    sigset_t former;
    pthread_sigmask(SIG_BLOCK, &blocked, &former);
    _readerStarted = pthread_create(&_readerThread, nullptr, ReadMsgThread, this) == 0;
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
    return _readerStarted;
}

bool CPipeConnector::initSendMsg()
{
    const CLockerGuard guard(_lock);
    return _initialised && !_stop.IsRaised() && OpenWriteEnd();
}

void CPipeConnector::StopReader()
{
    pthread_t reader;
    _stop.Raise();
    {
        const CLockerGuard guard(_lock);
        if (!_readerStarted || _readerJoined)
            return;
        _readerJoined = true;
        reader = _readerThread;
    }
    // A sink that calls exit() ends the process on the reader thread, which cannot wait for
    // itself; it takes no further message either way.
    if (pthread_equal(pthread_self(), reader))
        pthread_detach(reader);
    else
        pthread_join(reader, nullptr);
}

void CPipeConnector::ClosePipe()
{
    const CLockerGuard guard(_lock);
    _readEnd.ClosePipe();
    _writeEnd.ClosePipe();
}

int CPipeConnector::DeletePipe()
{
    const CLockerGuard guard(_lock);
    _readEnd.DeletePipe();
    return _writeEnd.DeletePipe();
}

bool CPipeConnector::SendMsg_async(const char *data, int len, int msgId)
{
    if (!data || !LengthFits(len) || !initSendMsg())
        return false;
    const SendBlock block(msgId, data, len);
    WriteBlock(block.bytes, static_cast<size_t>(len));
    return true;
}

bool CPipeConnector::SendMsg_sync(const char *data, int len, char *reply, int replyLen, int timeout)
{
    if (!data || !reply || !LengthFits(len) || replyLen < 0 || !IsUsable())
        return false;
    if (timeout != 0 && !AwaitWriteEnd(timeout))
        return false;
    const int32_t id = _pending.Begin(_name);
    if (id == vx::PendingRequests::kNoRequest)
        return false;
    const SendBlock block(id, data, len);
    WriteBlock(block.bytes, kPipeMessageSize);
    memset(reply, 0, static_cast<size_t>(replyLen));
    if (!AwaitReply(id, reply, timeout))
        memset(reply, 0, static_cast<size_t>(replyLen));
    _pending.End(id, _name);
    return true;
}

void CPipeConnector::HandleMessage(const char *msg, int len)
{
    const int32_t id = IdOf(msg);
    if (id == kNoMessageId)
        return;
    // Looked up once: a block that came before a request of its id was made is not its reply,
    // however long it then waits for a sink.
    if (_pending.Answer(id, msg + offsetof(_MSG_DATA_PACKAGE, body)))
        return;
    const int bodyLen = len - static_cast<int>(offsetof(_MSG_DATA_PACKAGE, body));
    while (!_stop.IsRaised() && !_handler.Deliver(this, msg, bodyLen))
        _stop.WaitFor(_interval);
}

void *CPipeConnector::ReadMsgThread(void *connector)
{
    static_cast<CPipeConnector *>(connector)->ReadUntilStopped();
    return nullptr;
}

void CPipeConnector::ReadUntilStopped()
{
    while (!_stop.IsRaised() && !OpenReadEnd())
        _stop.WaitFor(_interval);
    char buffer[kReadBufferSize];
    while (!_stop.IsRaised()) {
        if (ReadBlock(buffer))
            HandleMessage(buffer, static_cast<int>(kPipeMessageSize));
        _stop.WaitFor(_interval);
    }
}

bool CPipeConnector::OpenReadEnd()
{
    const CLockerGuard guard(_lock);
    return _readEnd.OpenPipe() != -1;
}

// A block cut short by its sender counts as one whose missing bytes are zero.
bool CPipeConnector::ReadBlock(char *buffer)
{
    memset(buffer, 0, kReadBufferSize);
    const CLockerGuard guard(_lock);
    return _readEnd.ReadFromPipe(buffer, kPipeMessageSize) != -1;
}

bool CPipeConnector::IsUsable()
{
    const CLockerGuard guard(_lock);
    return _initialised && !_stop.IsRaised();
}

bool CPipeConnector::OpenWriteEnd()
{
    return _writeEnd.GetPipeDescr() != -1 || _writeEnd.OpenPipe() != -1;
}

bool CPipeConnector::AwaitWriteEnd(int attempts)
{
    for (int attempt = 0; attempt < attempts; ++attempt) {
        if (attempt > 0 && _stop.WaitFor(_interval))
            return false;
        if (initSendMsg())
            return true;
    }
    return false;
}

void CPipeConnector::WriteBlock(const char *block, size_t len)
{
    const CLockerGuard guard(_lock);
    _writeEnd.WriteToPipe(block, len);
}

bool CPipeConnector::AwaitReply(int32_t id, char *reply, int timeout)
{
    if (_pending.TryTake(id, reply))
        return true;
    for (int slept = 0; slept < timeout; ++slept) {
        if (_stop.WaitFor(_interval))
            return false;
        if (_pending.TryTake(id, reply))
            return true;
    }
    return false;
}
