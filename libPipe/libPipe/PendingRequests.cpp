#include "PendingRequests.h"

#include "CLockerGuard.h"

#include <cstdio>
#include <cstring>
#include <limits>

namespace {

using SemaphoreName = char[vx::PendingRequests::kNameSize];

// False: the name is longer than the buffer.
bool FormatName(SemaphoreName &name, const std::string &connectorName, int32_t id)
{
    const int length = snprintf(name, sizeof(name), "z5_sem_%s_%d_", connectorName.c_str(), id);
    return length > 0 && static_cast<size_t>(length) < sizeof(name);
}

}  // namespace

namespace vx {

PendingRequests::~PendingRequests()
{
    const CLockerGuard guard(_lock);
    for (auto &entry : _pending)
        _semaphores.DestroySemaphore(entry.second.semaphore);
}

int32_t PendingRequests::Begin(const std::string &connectorName)
{
    const CLockerGuard guard(_lock);
    SemaphoreName name;
    if (_nextId == std::numeric_limits<int32_t>::max())
        return kNoRequest;
    if (!FormatName(name, connectorName, _nextId))
        return kNoRequest;
    // A killed process leaves its semaphores, perhaps with a count that was not taken. Opening such
    // a semaphore would report a reply that never came.
    _semaphores.ClearSemaphore(name);
    sem_t *semaphore = _semaphores.CreateSemaphore(name, 0);
    if (semaphore == SEM_FAILED)
        return kNoRequest;
    _pending[_nextId].semaphore = semaphore;
    return _nextId++;
}

bool PendingRequests::Answer(int32_t id, const char *body)
{
    const CLockerGuard guard(_lock);
    const auto found = _pending.find(id);
    if (found == _pending.end())
        return false;
    __MSG_MAPPING__ &request = found->second;
    memset(request.reply, 0, sizeof(request.reply));
    memcpy(request.reply, body, kPipeBodySize);
    _semaphores.SignalSemaphore(request.semaphore);
    return true;
}

bool PendingRequests::TryTake(int32_t id, char *reply)
{
    const CLockerGuard guard(_lock);
    const auto found = _pending.find(id);
    if (found == _pending.end() || !_semaphores.TryWaitSemaphore(found->second.semaphore))
        return false;
    memcpy(reply, found->second.reply, kPipeMessageSize);
    return true;
}

void PendingRequests::End(int32_t id, const std::string &connectorName)
{
    const CLockerGuard guard(_lock);
    const auto found = _pending.find(id);
    if (found == _pending.end())
        return;
    _semaphores.DestroySemaphore(found->second.semaphore);
    _pending.erase(found);
    SemaphoreName name;
    if (FormatName(name, connectorName, id))
        _semaphores.ClearSemaphore(name);
}

}  // namespace vx
