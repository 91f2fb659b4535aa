#include "Salvaged.h"

#include <algorithm>

namespace vx {

Salvaged Salvage(OwnedVolume &volume, const std::u16string &path, uint32_t chunk)
{
    Salvaged salvaged;
    const VolumeHandle file = OpenForReading(volume, path);
    salvaged.opened = file != nullptr;
    uint32_t low = 0;
    uint32_t high = 0;
    (void)volume.QueryFileSize(file, &low, &high);
    uint64_t left = static_cast<uint64_t>(high) << 32 | low;
    std::string buffer(chunk, '?');  // not cleared in between, as in an export
    while (left > 0) {
        const auto count = static_cast<uint32_t>(std::min<uint64_t>(left, chunk));
        uint32_t done = 0;
        salvaged.good = volume.ReadFile(file, buffer.data(), count, &done) && salvaged.good;
        salvaged.done += done;
        salvaged.bytes.append(buffer, 0, count);
        left -= count;
    }
    (void)volume.VisitUnreadRanges(
        file,
        [](void *lost, uint64_t offset, uint64_t length) {
            static_cast<Lost *>(lost)->emplace_back(offset, length);
        },
        &salvaged.lost);
    volume.CloseHandle(file);
    return salvaged;
}

std::string WithZeros(std::string contents, const Lost &lost)
{
    for (const auto &[offset, length] : lost)
        contents.replace(offset, length, length, '\0');
    return contents;
}

void ExpectLost(const Salvaged &salvaged, const std::string &contents, const Lost &lost)
{
    EXPECT_TRUE(salvaged.opened);
    EXPECT_EQ(salvaged.good, lost.empty());
    EXPECT_EQ(salvaged.lost, lost);
    EXPECT_TRUE(salvaged.bytes == WithZeros(contents, lost));
    uint64_t missing = 0;
    for (const auto &[offset, length] : lost)
        missing += length;
    EXPECT_EQ(salvaged.done, contents.size() - missing);
}

}  // namespace vx
