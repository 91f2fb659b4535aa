// Fuzz target: opening a damaged file system, listing its folders and reading its files.
//
// An input names one of a few sound images and how to damage it:
//   u8 image, then patches: u24 offset, u8 value. The offset's highest bit says that it counts
//   from the patch before.
#include "Image/FatFileSystem.h"
#include "Image/FileSystemVolume.h"
#include "Image/NtfsFileSystem.h"

#include "Bitlocker/ByteSource.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>

using namespace vx;

namespace {

using Bytes = std::vector<uint8_t>;

// A sound image under a few changed bytes, so that it need not be copied for each input.
class DamagedSource final : public bitlocker::ByteSource {
public:
    DamagedSource(const Bytes &image, std::map<uint64_t, uint8_t> changes)
        : _image(image), _changes(std::move(changes))
    {
    }

    uint64_t size() const override { return _image.size(); }
    bitlocker::Error readAt(uint64_t offset, void *buffer, size_t count) const override
    {
        if (bitlocker::Error error = checkRange(size(), offset, count))
            return error;
        std::memcpy(buffer, _image.data() + offset, count);
        auto change = _changes.lower_bound(offset);
        for (; change != _changes.end() && change->first - offset < count; ++change)
            static_cast<uint8_t *>(buffer)[change->first - offset] = change->second;
        return {};
    }

private:
    const Bytes &_image;
    const std::map<uint64_t, uint8_t> _changes;
};

std::vector<Bytes> LoadImages()
{
    std::vector<Bytes> images;
    for (const char *name : {"fat12", "fat16", "fat32", "exfat", "ntfs"}) {
        std::ifstream file(std::string(VX_FUZZ_IMAGES "/") + name,
                           std::ios::binary | std::ios::ate);
        images.emplace_back(file ? static_cast<size_t>(file.tellg()) : 0);
        file.seekg(0);
        file.read(reinterpret_cast<char *>(images.back().data()),
                  static_cast<std::streamsize>(images.back().size()));
        if (images.back().empty())
            std::abort();
    }
    return images;
}

std::map<uint64_t, uint8_t> Changes(const uint8_t *data, size_t size, uint64_t end)
{
    std::map<uint64_t, uint8_t> changes;
    uint64_t last = 0;
    for (; size >= 4; data += 4, size -= 4) {
        const uint64_t number = data[0] | data[1] << 8 | (data[2] & 0x7F) << 16;
        const bool isRelative = (data[2] & 0x80) != 0;
        last = isRelative ? last + number % 64 : number;
        changes[last % end] = data[3];
    }
    return changes;
}

void ReadSome(IVolume &volume, const std::u16string &path, int *budget)
{
    const VolumeHandle file = volume.OpenFile(path.c_str(), 128, 3, 25);
    if (file == nullptr)
        return;
    char bytes[9000];
    uint32_t done = 0;
    while (--*budget > 0 && volume.ReadFile(file, bytes, sizeof bytes, &done) && done > 0) {
    }
    volume.CloseHandle(file);
}

void Visit(IVolume &volume, const std::u16string &folder, int depth, int *budget)
{
    VolumeFindData record = {};
    const VolumeHandle search = volume.FindFirstFile((folder + u"/*").c_str(), &record);
    if (search == nullptr)
        return;
    bool more = record.name[0] != 0;
    while (more && --*budget > 0) {
        const std::u16string path = folder + u"/" + record.name;
        ReadSome(volume, path, budget);
        if (depth > 0)
            Visit(volume, path, depth - 1, budget);
        more = volume.FindNextFile(search, &record);
    }
    volume.FindClose(search);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const std::vector<Bytes> images = LoadImages();
    if (size == 0)
        return 0;
    const size_t chosen = data[0] % images.size();
    const Bytes &image = images[chosen];
    const auto source =
        std::make_shared<DamagedSource>(image, Changes(data + 1, size - 1, image.size()));
    std::unique_ptr<FileSystem> fileSystem;
    const bool isNtfs = chosen + 1 == images.size();
    const OpenError error = isNtfs ? NtfsFileSystem::Open(source, &fileSystem)
                                   : FatFileSystem::Open(source, &fileSystem);
    if (error)
        return 0;
    if (fileSystem == nullptr)
        std::abort();
    FileSystemVolume volume(std::move(fileSystem));
    int budget = 400;
    Visit(volume, u"", 4, &budget);
    return 0;
}
