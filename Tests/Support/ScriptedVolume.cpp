#include "ScriptedVolume.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace vx {

namespace {

constexpr int kGarbage = 0xa5;
constexpr uint64_t kGarbageWord = 0xa5a5a5a5a5a5a5a5;

bool IsZero(const VolumeFindData &record)
{
    const auto *bytes = reinterpret_cast<const unsigned char *>(&record);
    return std::all_of(bytes, bytes + sizeof(record), [](unsigned char b) { return b == 0; });
}

uint64_t Joined(uint32_t low, uint32_t high)
{
    return static_cast<uint64_t>(high) << 32 | low;
}

// A 64-bit output in two halves, as the fault would have it.
void Give(uint64_t value, std::optional<Fault> fault, uint32_t *low, uint32_t *high)
{
    if (fault == Fault::kGarbage)
        value = kGarbageWord;
    if (fault == Fault::kLie)
        ++value;
    *low = static_cast<uint32_t>(value);
    *high = static_cast<uint32_t>(value >> 32);
}

uint32_t Transferred(uint32_t possible, std::optional<Fault> fault)
{
    return fault == Fault::kShorten ? possible / 2 : possible;
}

}  // namespace

ScriptedVolume::ScriptedVolume()
{
    _entries.emplace_back(_entries, u"", kVolumeAttributeDirectory);
}

ScriptedVolume::~ScriptedVolume() = default;

void ScriptedVolume::AtCall(VolumeOperation operation, size_t nth, Fault fault)
{
    const MutexLock lock(_mutex);
    _faults[operation][nth] = fault;
}

void ScriptedVolume::FromCall(VolumeOperation operation, size_t nth, Fault fault)
{
    const MutexLock lock(_mutex);
    _lastingFaults[operation] = {nth, fault};
}

bool ScriptedVolume::AwaitStall(Milliseconds deadline)
{
    const MutexLock lock(_mutex);
    const auto end = Condition::Deadline::clock::now() + deadline;
    while (!_stalls && _changed.WaitUntil(_mutex, end)) {
    }
    return _stalls;
}

void ScriptedVolume::Release()
{
    const MutexLock lock(_mutex);
    _released = true;
    _changed.NotifyAll();
}

std::vector<VolumeCall> ScriptedVolume::Calls() const
{
    const MutexLock lock(_mutex);
    return _calls;
}

std::vector<VolumeCall> ScriptedVolume::Calls(VolumeOperation operation) const
{
    const MutexLock lock(_mutex);
    std::vector<VolumeCall> found;
    for (const VolumeCall &call : _calls) {
        if (call.operation == operation)
            found.push_back(call);
    }
    return found;
}

size_t ScriptedVolume::Count(VolumeOperation operation) const
{
    const MutexLock lock(_mutex);
    const auto counted = _counted.find(operation);
    return counted == _counted.end() ? 0 : counted->second;
}

void ScriptedVolume::ForgetCalls()
{
    const MutexLock lock(_mutex);
    _calls.clear();
    _counted.clear();
}

void ScriptedVolume::KeepNoCalls()
{
    const MutexLock lock(_mutex);
    _keepsCalls = false;
}

size_t ScriptedVolume::OpenHandles() const
{
    const MutexLock lock(_mutex);
    return static_cast<size_t>(std::count_if(_handles.begin(), _handles.end(),
                                             [](auto &each) { return each.second->closed == 0; }));
}

size_t ScriptedVolume::HandlesClosedTwice() const
{
    const MutexLock lock(_mutex);
    return static_cast<size_t>(std::count_if(_handles.begin(), _handles.end(),
                                             [](auto &each) { return each.second->closed > 1; }));
}

size_t ScriptedVolume::CallsWithBadHandle() const
{
    const MutexLock lock(_mutex);
    return _badHandles;
}

std::optional<Fault> ScriptedVolume::FaultOf(VolumeOperation operation, size_t nth) const
{
    const auto once = _faults.find(operation);
    if (once != _faults.end()) {
        const auto fault = once->second.find(nth);
        if (fault != once->second.end())
            return fault->second;
    }
    const auto lasting = _lastingFaults.find(operation);
    if (lasting != _lastingFaults.end() && nth >= lasting->second.first)
        return lasting->second.second;
    return std::nullopt;
}

// Every call begins here: it is recorded, and stalls if it is to stall.
std::optional<Fault> ScriptedVolume::Arrive(VolumeCall call)
{
    call.thread = std::this_thread::get_id();
    const size_t nth = ++_arrived[call.operation];
    ++_counted[call.operation];
    const std::optional<Fault> fault = FaultOf(call.operation, nth);
    if (_keepsCalls)
        _calls.push_back(std::move(call));
    if (fault != Fault::kStall)
        return fault;
    Stall();
    return std::nullopt;
}

void ScriptedVolume::Stall()
{
    _stalls = true;
    _changed.NotifyAll();
    const auto end = Condition::Deadline::clock::now() + kDeadline;
    while (!_released && _changed.WaitUntil(_mutex, end)) {
    }
    _stalls = false;
}

// The handle as the volume knows it; null, and counted, if it may not be used.
ScriptedVolume::Handle *ScriptedVolume::Used(VolumeHandle handle)
{
    const auto known = _handles.find(handle);
    if (known != _handles.end() && known->second->closed == 0)
        return known->second.get();
    ++_badHandles;
    return nullptr;
}

ScriptedVolume::Handle &ScriptedVolume::Opened(ScriptedEntry *entry)
{
    auto handle = std::make_unique<Handle>();
    handle->entry = entry;
    Handle &kept = *handle;
    _handles.emplace(&kept, std::move(handle));
    return kept;
}

bool ScriptedVolume::Report(Handle &search, VolumeFindData *record, std::optional<Fault> fault)
{
    const auto &children = search.entry->Children();
    if (search.next >= children.size())
        return false;
    const ScriptedEntry &entry = *children[search.next++];
    if (fault == Fault::kGarbage)
        memset(static_cast<void *>(record), kGarbage, sizeof(*record));
    else
        entry.Fill(*record);
    return true;
}

// A listing mostly goes on below the last one, and in a deep nest the way from the root is long.
ScriptedEntry *ScriptedVolume::FolderAt(const std::u16string &path)
{
    const std::u16string way = _lastPath + u'/';
    const bool below = _lastFolder != nullptr && path.compare(0, way.size(), way) == 0;
    ScriptedEntry *entry =
        below ? _lastFolder->Find(path.substr(_lastPath.size())) : Root().Find(path);
    if (entry == nullptr || !entry->IsFolder())
        return nullptr;
    _lastPath = path;
    _lastFolder = entry;
    return entry;
}

VolumeHandle ScriptedVolume::FindFirstFile(const char16_t *pattern, VolumeFindData *record)
{
    const MutexLock lock(_mutex);
    VolumeCall call;
    call.operation = VolumeOperation::kFindFirstFile;
    call.path = pattern;
    call.buffer = record;
    call.recordWasZero = IsZero(*record);
    std::u16string folder = call.path;
    const std::optional<Fault> fault = Arrive(std::move(call));

    if (fault == Fault::kFail || folder.size() < 2 || folder.substr(folder.size() - 2) != u"/*")
        return nullptr;
    folder.resize(folder.size() - 2);
    ScriptedEntry *entry = FolderAt(folder);
    if (entry == nullptr)
        return nullptr;
    Handle &handle = Opened(entry);
    Report(handle, record, fault);
    return &handle;
}

bool ScriptedVolume::FindNextFile(VolumeHandle search, VolumeFindData *record)
{
    const MutexLock lock(_mutex);
    VolumeCall call;
    call.operation = VolumeOperation::kFindNextFile;
    call.handle = search;
    call.buffer = record;
    call.recordWasZero = IsZero(*record);
    const std::optional<Fault> fault = Arrive(std::move(call));
    Handle *known = Used(search);
    return known != nullptr && fault != Fault::kFail && Report(*known, record, fault);
}

bool ScriptedVolume::Close(VolumeOperation operation, VolumeHandle handle)
{
    const MutexLock lock(_mutex);
    VolumeCall call;
    call.operation = operation;
    call.handle = handle;
    const std::optional<Fault> fault = Arrive(std::move(call));
    const auto known = _handles.find(handle);
    if (known == _handles.end()) {
        ++_badHandles;
        return false;
    }
    ++known->second->closed;
    return fault != Fault::kFail;
}

bool ScriptedVolume::FindClose(VolumeHandle search)
{
    return Close(VolumeOperation::kFindClose, search);
}

bool ScriptedVolume::CloseHandle(VolumeHandle file)
{
    return Close(VolumeOperation::kCloseHandle, file);
}

VolumeHandle ScriptedVolume::OpenFile(const char16_t *path, uint32_t mode1, uint32_t mode2,
                                      uint32_t mode3)
{
    const MutexLock lock(_mutex);
    VolumeCall call;
    call.operation = VolumeOperation::kOpenFile;
    call.path = path;
    call.modes = {mode1, mode2, mode3};
    const std::u16string name = call.path;
    const std::optional<Fault> fault = Arrive(std::move(call));

    ScriptedEntry *entry = fault == Fault::kFail ? nullptr : Root().Find(name);
    if (entry == nullptr || entry->IsFolder())
        return nullptr;
    return &Opened(entry);
}

bool ScriptedVolume::ReadFile(VolumeHandle file, void *buffer, uint32_t count, uint32_t *done)
{
    const ScriptedEntry *entry = nullptr;
    uint64_t start = 0;
    uint32_t read = 0;
    {
        const MutexLock lock(_mutex);
        VolumeCall call;
        call.operation = VolumeOperation::kReadFile;
        call.handle = file;
        call.buffer = buffer;
        call.count = count;
        const std::optional<Fault> fault = Arrive(std::move(call));
        Handle *known = Used(file);
        if (known == nullptr || fault == Fault::kFail)
            return false;
        if (fault == Fault::kGarbage) {
            memset(buffer, kGarbage, count);
            known->position += count;
            *done = count;
            return true;
        }
        entry = known->entry;
        start = std::min(known->position, entry->Size());
        read = Transferred(static_cast<uint32_t>(std::min<uint64_t>(count, entry->Size() - start)),
                           fault);
        known->position += read;
        *done = fault == Fault::kLie ? read + 1 : read;
    }
    entry->Read(start, buffer, read);
    return true;
}

bool ScriptedVolume::WriteFile(VolumeHandle file, const void *buffer, uint32_t count,
                               uint32_t *done)
{
    const MutexLock lock(_mutex);
    VolumeCall call;
    call.operation = VolumeOperation::kWriteFile;
    call.handle = file;
    call.buffer = buffer;
    call.count = count;
    const std::optional<Fault> fault = Arrive(std::move(call));
    Handle *known = Used(file);
    if (known == nullptr || fault == Fault::kFail)
        return false;
    const uint32_t written = Transferred(count, fault);
    known->position += written;
    *done = fault == Fault::kLie ? written + 1 : written;
    return true;
}

bool ScriptedVolume::SetFilePosition(VolumeHandle file, uint32_t *low, uint32_t *high,
                                     uint32_t origin)
{
    const MutexLock lock(_mutex);
    VolumeCall call;
    call.operation = VolumeOperation::kSetFilePosition;
    call.handle = file;
    call.distance = static_cast<int64_t>(Joined(*low, *high));
    call.origin = origin;
    const std::optional<Fault> fault = Arrive(std::move(call));
    Handle *known = Used(file);
    if (known == nullptr || fault == Fault::kFail)
        return false;
    known->position = Joined(*low, *high) + (origin == 1 ? known->position : 0);
    Give(known->position, fault, low, high);
    return true;
}

bool ScriptedVolume::QueryFileSize(VolumeHandle file, uint32_t *low, uint32_t *high)
{
    const MutexLock lock(_mutex);
    VolumeCall call;
    call.operation = VolumeOperation::kQueryFileSize;
    call.handle = file;
    const std::optional<Fault> fault = Arrive(std::move(call));
    Handle *known = Used(file);
    if (known == nullptr || fault == Fault::kFail)
        return false;
    Give(known->entry->SizeOfHandle(), fault, low, high);
    return true;
}

void ScriptedVolume::Reserved1()
{
    const MutexLock lock(_mutex);
    Arrive(VolumeCall());
}

void ScriptedVolume::Reserved2()
{
    Reserved1();
}

void ScriptedVolume::Reserved3()
{
    Reserved1();
}

void ScriptedVolume::Reserved4()
{
    Reserved1();
}

void ScriptedVolume::Reserved5()
{
    Reserved1();
}

}  // namespace vx
