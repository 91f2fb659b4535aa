// make-bitlocker-corpus FOLDER: writes the inputs from which the fuzz targets begin, in one
// folder for each.
#include "FuzzVolumes.h"

#include "Bitlocker/MemoryByteSource.h"
#include "Maker/MadeUpBytes.h"
#include "Maker/StartupKeyFileWriter.h"
#include "Maker/VolumeMaker.h"

#include <cstdio>
#include <exception>
#include <sys/stat.h>

using namespace vx::bitlocker;

namespace {

// Enough for the metadata of a volume of one password, and short enough to be mutated quickly.
constexpr size_t kMetadataBytes = 1024;

// Metadata that goes on behind 4096 bytes.
constexpr size_t kLongPadding = 6000;
constexpr size_t kLongMetadataBytes = 8192;

std::vector<uint8_t> longMetadata()
{
    maker::VolumeRecipe recipe;
    recipe.protectors = {maker::ProtectorRecipe::password(kFuzzPassword)};
    recipe.rounds = 1;
    recipe.padding = kLongPadding;
    maker::MemorySink sink;
    const MemoryByteSource plain(std::vector<uint8_t>(size_t{64} * 1024));
    const maker::VolumePlan plan = maker::VolumeMaker(recipe).make(plain, sink);
    return ByteView(sink.bytes())
        .from(static_cast<size_t>(plan.copies[0]))
        .first(kLongMetadataBytes)
        .copy();
}

void writeInput(const std::string &folder, size_t number, ByteView bytes)
{
    ::mkdir(folder.c_str(), 0777);
    maker::FileSink(folder + "/" + std::to_string(number)).write(0, bytes);
}

void writeAll(const std::string &folder)
{
    ::mkdir(folder.c_str(), 0777);
    const std::vector<FuzzVolume> volumes = makeFuzzVolumes();
    for (size_t number = 0; number < volumes.size(); ++number) {
        const ByteView image(volumes[number].image);
        const ByteView copy = image.from(static_cast<size_t>(volumes[number].plan.copies[0]));
        writeInput(folder + "/metadata", number, copy.first(kMetadataBytes));
        const auto index = static_cast<uint8_t>(number);
        writeInput(folder + "/open", number, std::vector<uint8_t>{index, 1, 0, 0, 1, 40, 0, 1});
    }
    writeInput(folder + "/metadata", volumes.size(), longMetadata());
    const Guid protector = maker::MadeUpBytes(1).guid("protector");
    writeInput(folder + "/key-file", 0, maker::makeStartupKeyFile(protector, false));
    writeInput(folder + "/key-file", 1, maker::makeStartupKeyFile(protector, true));
}

}  // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fputs("usage: make-bitlocker-corpus FOLDER\n", stderr);
        return 2;
    }
    try {
        writeAll(argv[1]);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
