#include "NtfsJournal.h"

#include "ByteReader.h"

#include <algorithm>
#include <optional>

namespace vx {
namespace {

constexpr uint32_t kPageBytes = 4096;  // of any journal

struct RestartPage {
    uint64_t newest = 0;  // the number of its newest record
    bool isClean = false;
};

bool IsEmpty(ByteView page)
{
    return std::all_of(page.data, page.data + page.size, [](uint8_t byte) { return byte == 0xFF; });
}

// Nothing for a page that is none, or was not written as a whole.
std::optional<RestartPage> ParsePage(std::vector<uint8_t> bytes)
{
    constexpr size_t kAreaBytes = 16;
    constexpr uint16_t kNoClient = 0xFFFF;
    constexpr uint16_t kIsClean = 2;
    constexpr uint16_t kVersionInUse = 2;  // put back when the volume is taken off
    if (!HasTextAt(bytes, 0, "RSTR") || !ApplyNtfsFixups(&bytes))
        return std::nullopt;
    const uint16_t version = U16At(bytes, 28);
    const ByteView area = ByteView(bytes).From(U16At(bytes, 24));
    if (area.size < kAreaBytes)
        return std::nullopt;
    const bool isClosed = U16At(area, 12) == kNoClient || (U16At(area, 14) & kIsClean) != 0;
    return RestartPage{U64At(area, 0), isClosed && version < kVersionInUse};
}

}  // namespace

VolumeFileSystemState StateOfNtfsJournal(const ByteSource &volume, const NtfsStream &journal)
{
    if (journal.found != NtfsFound::kYes || journal.isResident || journal.Size() < 2 * kPageBytes)
        return VolumeFileSystemState::kUnknown;
    std::optional<RestartPage> newest;
    bool isEmpty = true;
    for (const uint64_t at : {uint64_t{0}, uint64_t{kPageBytes}}) {
        auto bytes = ReadExtentBytes(volume, journal.extents, at, kPageBytes);
        if (!bytes)
            return VolumeFileSystemState::kUnknown;
        isEmpty = isEmpty && IsEmpty(*bytes);
        const auto page = ParsePage(std::move(*bytes));
        if (page && (!newest || page->newest > newest->newest))
            newest = page;
    }
    if (!newest)
        return isEmpty ? VolumeFileSystemState::kClean : VolumeFileSystemState::kUnknown;
    return newest->isClean ? VolumeFileSystemState::kClean : VolumeFileSystemState::kInUse;
}

}  // namespace vx
