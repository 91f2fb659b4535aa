// A file that is read ahead, and what a test sees and decides of the file below it.
#pragma once

#include "ReadAheadFile.h"

#include "Eventually.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <new>
#include <string>
#include <thread>

namespace vx {

inline constexpr uint32_t kMiB = uint32_t{1} << 20;
inline constexpr int64_t kNowhere = -1;

// Two neighbouring bytes, and two of neighbouring chunks, are never equal.
inline char ByteAt(int64_t position)
{
    return static_cast<char>(position + position / 1021);
}

struct Tried {
    int64_t position;
    uint32_t count;
    std::thread::id thread;
};

// Shared by the files of a test. Threads: any.
class Script {
public:
    // Once begun, reads from this position on wait until it is lifted.
    void HoldFrom(int64_t position)
    {
        const MutexLock lock(_mutex);
        _heldFrom = position;
    }
    void Release()
    {
        const MutexLock lock(_mutex);
        _heldFrom = kNowhere;
        _changed.NotifyAll();
    }
    void Note(const Tried &tried)
    {
        const MutexLock lock(_mutex);
        _tried.push_back(tried);
        while (_heldFrom != kNowhere && tried.position >= _heldFrom)
            _changed.Wait(_mutex);
    }
    std::vector<Tried> All()
    {
        const MutexLock lock(_mutex);
        return _tried;
    }
    size_t ByOthers()
    {
        const auto all = All();
        return static_cast<size_t>(std::count_if(all.begin(), all.end(), [](const Tried &tried) {
            return tried.thread != std::this_thread::get_id();
        }));
    }
    int64_t FurthestEnd()
    {
        int64_t end = 0;
        for (const Tried &tried : All())
            end = std::max(end, tried.position + tried.count);
        return end;
    }

    std::atomic<int64_t> bad{kNowhere};         // this byte cannot be read
    std::atomic<int64_t> throwsFrom{kNowhere};  // there is no memory from here on ...
    std::atomic<bool> throwsOnlyAhead{true};    // ... on other threads than the test's
    std::atomic<int> readers{0};
    std::atomic<bool> isClosed{false};
    std::atomic<bool> wasReadAfterClosing{false};

private:
    Mutex _mutex;
    Condition _changed;
    std::vector<Tried> _tried VX_GUARDED_BY(_mutex);
    int64_t _heldFrom VX_GUARDED_BY(_mutex) = kNowhere;
};

class ScriptedFile final : public VolumeFile {
public:
    ScriptedFile(Script &script, int64_t size) : _script(script), _size(size) {}
    ~ScriptedFile() override { _script.isClosed = true; }
    ScriptedFile(const ScriptedFile &) = delete;
    ScriptedFile &operator=(const ScriptedFile &) = delete;

    std::optional<int64_t> Size() const override { return _size; }

protected:
    int64_t KnownSize() const override { return _size; }
    uint32_t ReadAt(int64_t position, char *buffer, uint32_t count, ByteRanges *unread) override
    {
        const std::thread::id thread = std::this_thread::get_id();
        EXPECT_EQ(++_readers, 1) << "two threads read at once";
        ++_script.readers;
        _script.Note({position, count, thread});
        const int64_t from = _script.throwsFrom;
        const bool throws = from != kNowhere && position + count > from &&
                            (thread != _maker || !_script.throwsOnlyAhead);
        const auto length =
            static_cast<uint32_t>(std::min<int64_t>(count, std::max<int64_t>(0, _size - position)));
        for (uint32_t i = 0; i < length; ++i)
            buffer[i] = ByteAt(position + i);
        const int64_t bad = _script.bad;
        if (bad >= position && bad < position + length) {
            buffer[bad - position] = 0;
            AddRange(static_cast<uint64_t>(bad), 1, unread);
        }
        if (_script.isClosed)
            _script.wasReadAfterClosing = true;
        --_script.readers;
        --_readers;
        if (throws)
            throw std::bad_alloc();
        return length;
    }

private:
    Script &_script;
    const int64_t _size;
    std::atomic<int> _readers{0};
    const std::thread::id _maker = std::this_thread::get_id();
};

class ReadAhead : public testing::Test {
protected:
    static constexpr int64_t kSize = 40 * int64_t{kMiB} + 12345;

    std::unique_ptr<ReadAheadFile> Open(int64_t size = kSize)
    {
        return std::make_unique<ReadAheadFile>(std::make_unique<ScriptedFile>(script, size), &room);
    }

    // The bytes of a read that is whole, checked; how many they were.
    uint32_t ReadWell(VolumeFile &file, uint32_t count)
    {
        const int64_t position = file.Position();
        const bool isWell = Read(file, count);
        EXPECT_TRUE(isWell) << "at " << position;
        for (uint32_t i = 0; i < done; ++i) {
            if (buffer[i] != ByteAt(position + i)) {
                ADD_FAILURE() << "a wrong byte at " << position + i;
                break;
            }
        }
        return done;
    }

    bool Read(VolumeFile &file, uint32_t count)
    {
        buffer.assign(count, '?');
        return file.Read(&buffer[0], count, &done);
    }

    // Two large reads, after which the window fills.
    void BeginAhead(VolumeFile &file, uint32_t chunk = kMiB)
    {
        ReadWell(file, chunk);
        ReadWell(file, chunk);
    }

    bool WillHaveRead(int64_t end)
    {
        return Eventually([&] { return script.FurthestEnd() >= end && script.readers == 0; });
    }

    // The same for a file that is read to its end.
    int64_t ReadToEnd(VolumeFile &file, uint32_t count)
    {
        int64_t length = 0;
        while (ReadWell(file, count) > 0)
            length += done;
        return length;
    }

    Script script;
    ReadAheadRoom room;
    std::string buffer;
    uint32_t done = 0;
};

}  // namespace vx
