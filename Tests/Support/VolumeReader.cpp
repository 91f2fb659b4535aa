#include "VolumeReader.h"

#include "OpenVolume.h"

#include <algorithm>

namespace vx {

std::optional<std::vector<VolumeFindData>> ListFolder(IVolume &volume,
                                                      const std::u16string &pattern)
{
    VolumeFindData record = {};
    const VolumeHandle search = volume.FindFirstFile(pattern.c_str(), &record);
    if (search == nullptr)
        return std::nullopt;
    std::vector<VolumeFindData> entries;
    bool more = record.name[0] != 0;
    while (more) {
        entries.push_back(record);
        more = volume.FindNextFile(search, &record);
    }
    volume.FindClose(search);
    return entries;
}

std::vector<std::u16string> SortedNames(IVolume &volume, const std::u16string &pattern)
{
    std::vector<std::u16string> names;
    for (const VolumeFindData &entry :
         ListFolder(volume, pattern).value_or(std::vector<VolumeFindData>()))
        names.emplace_back(entry.name);
    std::sort(names.begin(), names.end());
    return names;
}

VolumeFindData EntryNamed(IVolume &volume, const std::u16string &pattern,
                          const std::u16string &name)
{
    for (const VolumeFindData &entry :
         ListFolder(volume, pattern).value_or(std::vector<VolumeFindData>())) {
        if (entry.name == name)
            return entry;
    }
    ADD_FAILURE() << "no such entry";
    return {};
}

uint64_t SizeOf(const VolumeFindData &record)
{
    return static_cast<uint64_t>(record.sizeHigh) << 32 | record.sizeLow;
}

VolumeHandle OpenForReading(IVolume &volume, const std::u16string &path)
{
    return volume.OpenFile(path.c_str(), 128, 3, 25);
}

bool Opens(IVolume &volume, const std::u16string &path)
{
    return volume.CloseHandle(OpenForReading(volume, path));
}

std::optional<std::string> ReadWholeFile(IVolume &volume, const std::u16string &path)
{
    const VolumeHandle file = OpenForReading(volume, path);
    return file != nullptr ? ReadToEnd(volume, file) : std::nullopt;
}

std::optional<std::string> ReadToEnd(IVolume &volume, VolumeHandle file)
{
    std::string contents;
    char chunk[4096];
    uint32_t done = 0;
    bool good = true;
    do {
        good = volume.ReadFile(file, chunk, sizeof chunk, &done);
        contents.append(chunk, done);
    } while (good && done > 0);
    volume.CloseHandle(file);
    return good ? std::optional(contents) : std::nullopt;
}

std::unique_ptr<OwnedVolume> OpenFolderVolume(const std::string &path)
{
    Result<OpenedVolume> opened = OpenVolume({path.c_str(), "none", ""});
    EXPECT_TRUE(opened) << opened.Failure().detail;
    return opened ? std::move(opened->volume) : nullptr;
}

}  // namespace vx
