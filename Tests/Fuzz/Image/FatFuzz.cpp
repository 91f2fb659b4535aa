// Fuzz target: damaged volumes of FAT12, FAT16 and FAT32. The first byte of an input chooses one;
// the changes follow (DamagedSource.h).
#include "../HeapLimit.h"
#include "DamagedSource.h"
#include "FatFileSystem.h"
#include "VisitVolume.h"

#include <fstream>
#include <iterator>
#include <string>

using namespace vx;

namespace {

std::vector<SoundImage> LoadImages()
{
    std::vector<SoundImage> images;
    for (const char *name : {"fat12", "fat16", "fat32"}) {
        std::ifstream file(std::string(VX_FUZZ_IMAGES "/") + name, std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(file), {}};
        images.emplace_back(std::vector<uint8_t>(bytes.begin(), bytes.end()));
    }
    return images;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const std::vector<SoundImage> images = LoadImages();
    if (size == 0)
        return 0;
    const HeapLimit limit;
    const SoundImage &image = images[data[0] % images.size()];
    std::vector<std::string> notes;
    auto fileSystem = FatFileSystem::Open(
        std::make_shared<DamagedSource>(image, image.ChangesOf(data + 1, size - 1)), &notes);
    if (fileSystem)
        VisitVolume(std::move(*fileSystem));
    return 0;
}
