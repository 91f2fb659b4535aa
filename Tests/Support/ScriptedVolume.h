// A volume for tests: a tree of entries that records every call and can be set to fail, to
// fall short, to stall, to lie or to leave garbage at the n-th call of an operation.
//
//   vx::ScriptedVolume volume;
//   volume.Root().File(u"a.bin", 10 << 20);
//   volume.AtCall(vx::VolumeOperation::kReadFile, 2, vx::Fault::kStall);
//   … start the export …
//   ASSERT_TRUE(volume.AwaitStall());
//   … cancel …
//   volume.Release();
//
// An empty folder lists as a handle with the record left as it was given.
// Ownership: owns its entries; handles stay known to the volume after they are closed.
// Threads: every operation, query and Release() from any thread; the tree and the faults are
// set up before another thread uses the volume.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

#include "IVolume.h"
#include "Mutex.h"
#include "ScriptedEntry.h"

namespace vx {

enum class VolumeOperation {
    kFindFirstFile,
    kFindNextFile,
    kFindClose,
    kOpenFile,
    kReadFile,
    kWriteFile,
    kSetFilePosition,
    kQueryFileSize,
    kCloseHandle,
    kReserved,  // any of the five that are never called
};

enum class Fault {
    kFail,     // null or false; no output is touched and nothing moves
    kShorten,  // ReadFile, WriteFile: success with half of the count
    kGarbage,  // success, every output byte 0xa5; ReadFile says that it did the whole count
    kLie,      // success; the count, the position or the size given back is one too large
    kStall,    // waits for Release(), then does as it should
};

// One call, in the order of arrival; what an operation does not have stays zero or empty.
struct VolumeCall {
    VolumeOperation operation = VolumeOperation::kReserved;
    std::thread::id thread;
    VolumeHandle handle = nullptr;  // as given
    std::u16string path;            // the pattern or the path
    std::array<uint32_t, 3> modes = {};
    const void *buffer = nullptr;  // the record's place for the two find operations
    uint32_t count = 0;
    int64_t distance = 0;
    uint32_t origin = 0;
    bool recordWasZero = false;  // of the two find operations
};

class ScriptedVolume final : public IVolume {
public:
    using Milliseconds = std::chrono::milliseconds;
    static constexpr Milliseconds kDeadline{20000};

    ScriptedVolume();
    ~ScriptedVolume();
    ScriptedVolume(const ScriptedVolume &) = delete;
    ScriptedVolume &operator=(const ScriptedVolume &) = delete;

    ScriptedEntry &Root() { return _entries.front(); }

    // nth counts the calls of one operation from 1.
    void AtCall(VolumeOperation operation, size_t nth, Fault fault);
    void FromCall(VolumeOperation operation, size_t nth, Fault fault);

    // Waits until a call stalls; false if none did in time.
    bool AwaitStall(Milliseconds deadline = kDeadline);
    // Lets the call that stalls, and all that would stall later, go on. A call that is not
    // released goes on by itself after the deadline.
    void Release();

    std::vector<VolumeCall> Calls() const;
    std::vector<VolumeCall> Calls(VolumeOperation operation) const;
    // Calls since the start or since ForgetCalls().
    size_t Count(VolumeOperation operation) const;
    void ForgetCalls();
    // From now on calls are only counted: a very deep tree has more path text than memory.
    void KeepNoCalls();
    // Handles returned and not yet closed; handles closed more than once.
    size_t OpenHandles() const;
    size_t HandlesClosedTwice() const;
    // Calls with a handle that the volume had not returned, or that was closed before.
    size_t CallsWithBadHandle() const;

    void Reserved1() override;
    void Reserved2() override;
    void Reserved3() override;
    void Reserved4() override;
    VolumeHandle FindFirstFile(const char16_t *pattern, VolumeFindData *record) override;
    bool FindNextFile(VolumeHandle search, VolumeFindData *record) override;
    bool FindClose(VolumeHandle search) override;
    VolumeHandle OpenFile(const char16_t *path, uint32_t mode1, uint32_t mode2,
                          uint32_t mode3) override;
    void Reserved5() override;
    bool ReadFile(VolumeHandle file, void *buffer, uint32_t count, uint32_t *done) override;
    bool WriteFile(VolumeHandle file, const void *buffer, uint32_t count, uint32_t *done) override;
    bool SetFilePosition(VolumeHandle file, uint32_t *low, uint32_t *high,
                         uint32_t origin) override;
    bool QueryFileSize(VolumeHandle file, uint32_t *low, uint32_t *high) override;
    bool CloseHandle(VolumeHandle file) override;

private:
    struct Handle {
        ScriptedEntry *entry = nullptr;
        size_t next = 0;        // of a listing
        uint64_t position = 0;  // of a file
        size_t closed = 0;
    };

    std::optional<Fault> Arrive(VolumeCall call) VX_REQUIRES(_mutex);
    std::optional<Fault> FaultOf(VolumeOperation operation, size_t nth) const VX_REQUIRES(_mutex);
    void Stall() VX_REQUIRES(_mutex);
    Handle *Used(VolumeHandle handle) VX_REQUIRES(_mutex);
    Handle &Opened(ScriptedEntry *entry) VX_REQUIRES(_mutex);
    ScriptedEntry *FolderAt(const std::u16string &path) VX_REQUIRES(_mutex);
    bool Close(VolumeOperation operation, VolumeHandle handle);
    static bool Report(Handle &search, VolumeFindData *record, std::optional<Fault> fault);

    mutable Mutex _mutex;
    Condition _changed;
    ScriptedEntry::Arena _entries;
    std::unordered_map<VolumeHandle, std::unique_ptr<Handle>> _handles VX_GUARDED_BY(_mutex);
    std::vector<VolumeCall> _calls VX_GUARDED_BY(_mutex);
    bool _keepsCalls VX_GUARDED_BY(_mutex) = true;
    std::map<VolumeOperation, size_t> _arrived VX_GUARDED_BY(_mutex);
    std::map<VolumeOperation, size_t> _counted VX_GUARDED_BY(_mutex);
    std::map<VolumeOperation, std::map<size_t, Fault>> _faults VX_GUARDED_BY(_mutex);
    std::map<VolumeOperation, std::pair<size_t, Fault>> _lastingFaults VX_GUARDED_BY(_mutex);
    std::u16string _lastPath VX_GUARDED_BY(_mutex);  // of the last listing, with its folder
    ScriptedEntry *_lastFolder VX_GUARDED_BY(_mutex) = nullptr;
    size_t _badHandles VX_GUARDED_BY(_mutex) = 0;
    bool _stalls VX_GUARDED_BY(_mutex) = false;
    bool _released VX_GUARDED_BY(_mutex) = false;
};

}  // namespace vx
