#include "ParallelSource.h"

#include <algorithm>
#include <future>
#include <system_error>
#include <thread>
#include <vector>

namespace vx {
namespace {

// A multiple of every size of a sector.
constexpr size_t kUnit = 4096;

}  // namespace

// A range of a long read. While another thread reads it, this must stay where it is.
struct ParallelSource::Part {
    uint64_t offset = 0;
    char *place = nullptr;
    size_t count = 0;
    ByteRanges gaps;
    Error error;
    std::future<void> reading;  // destroyed first, which waits for it

    void Read(const ByteSource &source) { error = source.Salvage(offset, place, count, &gaps); }
    void Begin(const ByteSource &source)
    {
        try {
            reading = std::async(std::launch::async, [this, &source] { Read(source); });
        } catch (const std::system_error &) {  // no thread is available
        }
    }
    void End(const ByteSource &source)
    {
        if (reading.valid())
            reading.get();
        else
            Read(source);
    }
};

size_t ParallelSource::ReadersForUnpacking()
{
    return std::clamp<size_t>(std::thread::hardware_concurrency(), 2, kMostReaders);
}

Error ParallelSource::ReadAt(uint64_t offset, void *buffer, size_t count) const
{
    return ReadBySalvage(offset, buffer, count);
}

Error ParallelSource::SalvageInside(uint64_t offset, void *buffer, size_t count,
                                    ByteRanges *gaps) const
{
    const size_t readers = std::min(_readers, count / kShortestPart);
    if (readers < 2 || _isFailing.load(std::memory_order_relaxed))
        return _source->Salvage(offset, buffer, count, gaps);
    std::vector<Part> parts(readers);
    const size_t most = count / readers / kUnit * kUnit;
    for (size_t i = 0; i < readers; ++i) {
        const size_t done = i * most;
        parts[i].offset = offset + done;
        parts[i].place = static_cast<char *>(buffer) + done;
        parts[i].count = i + 1 < readers ? most : count - done;
    }
    return ReadAtTheSameTime(&parts, gaps);
}

// The caller's thread reads the first one.
Error ParallelSource::ReadAtTheSameTime(std::vector<Part> *parts, ByteRanges *gaps) const
{
    for (size_t i = 1; i < parts->size(); ++i)
        (*parts)[i].Begin(*_source);
    Error first;
    for (Part &part : *parts) {
        part.End(*_source);
        AddMoved(part.gaps, 0, 0, gaps);
        if (part.error && !first)
            first = std::move(part.error);
    }
    if (first)
        _isFailing.store(true, std::memory_order_relaxed);
    return first;
}

}  // namespace vx
