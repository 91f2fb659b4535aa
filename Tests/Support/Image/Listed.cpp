#include "Listed.h"

#include "VolumeReader.h"

#include <algorithm>

namespace vx {

std::optional<Listed> ListAndReport(OwnedVolume &volume, const std::u16string &pattern)
{
    VolumeFindData record = {};
    const VolumeHandle search = volume.FindFirstFile(pattern.c_str(), &record);
    if (search == nullptr)
        return std::nullopt;
    Listed listed;
    bool more = record.name[0] != 0;
    while (more) {
        listed.names.emplace_back(record.name);
        more = volume.FindNextFile(search, &record);
    }
    EXPECT_TRUE(volume.DescribeListing(search, &listed.report));
    volume.FindClose(search);
    std::sort(listed.names.begin(), listed.names.end());
    return listed;
}

std::optional<ReadPrefix> ReadToBreak(IVolume &volume, const std::u16string &path, uint32_t piece)
{
    const VolumeHandle file = OpenForReading(volume, path);
    if (file == nullptr)
        return std::nullopt;
    ReadPrefix prefix;
    std::string chunk(piece, '\0');
    uint32_t done = 0;
    do {
        prefix.isWhole = volume.ReadFile(file, chunk.data(), piece, &done);
        if (prefix.isWhole)
            prefix.bytes.append(chunk, 0, done);
    } while (prefix.isWhole && done > 0);
    volume.CloseHandle(file);
    return prefix;
}

}  // namespace vx
