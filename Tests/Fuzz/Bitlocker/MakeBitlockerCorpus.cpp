// make-bitlocker-corpus FOLDER: writes the initial inputs of the fuzz targets, in a folder for
// each.
#include "FuzzVolumes.h"

#include "KeyTexts.h"
#include "Maker/MadeUpBytes.h"
#include "Maker/StartupKeyFileWriter.h"
#include "Maker/VolumeMaker.h"
#include "MemoryByteSource.h"

#include <cstdio>
#include <exception>
#include <iterator>
#include <sys/stat.h>

using namespace vx;
using namespace vx::bitlocker;

namespace {

// Enough for the metadata of a volume with one password, and short enough for quick mutation.
constexpr size_t kMetadataBytes = 1024;

// Metadata of more than 4096 bytes.
constexpr size_t kLongPadding = 6000;
constexpr size_t kLongMetadataBytes = 8192;

std::vector<uint8_t> LongMetadata()
{
    maker::VolumeRecipe recipe;
    recipe.protectors = {maker::ProtectorRecipe::Password(kFuzzPassword)};
    recipe.rounds = 1;
    recipe.padding = kLongPadding;
    maker::MemorySink sink;
    const MemoryByteSource plain(std::vector<uint8_t>(size_t{64} * 1024));
    const maker::VolumePlan plan = maker::VolumeMaker(recipe).Make(plain, sink);
    return ByteView(sink.Bytes())
        .From(static_cast<size_t>(plan.copies[0]))
        .First(kLongMetadataBytes)
        .Copy();
}

void WriteInput(const std::string &folder, size_t number, ByteView bytes)
{
    ::mkdir(folder.c_str(), 0777);
    maker::FileSink(folder + "/" + std::to_string(number)).Write(0, bytes);
}

// Texts in several languages and encodings, a list of two keys, and rings of two files.
void WriteKeyTexts(const std::string &folder)
{
    constexpr char kFirst[] = "000011-000022-000033-720885-111111-222222-333333-444444";
    constexpr char kSecond[] = "111111-222222-333333-444444-555555-666666-000011-000022";
    size_t number = 0;
    for (const std::string &saved : SavedKeys(kKeyId, kFirst)) {
        const TextEncoding encoding = kAllEncodings[number % std::size(kAllEncodings)];
        const std::string text = Encoded(saved, encoding);
        WriteInput(folder + "/recovery-text", number, BytesOf(text));
        const std::string list = std::string("list.csv\n") + kOtherKeyId + "," + kSecond + "\n";
        const std::string ring =
            "key " + std::string(kKeyId) + ".TXT\n" + text + std::string("\0\1", 2) + list;
        WriteInput(folder + "/key-ring", number++, BytesOf(ring));
    }
    const std::string wrapped = "000011-000022-000033-720885-\r\n111111-222222-333333-444444";
    WriteInput(folder + "/recovery-text", number, BytesOf(wrapped));
}

void WriteAll(const std::string &folder)
{
    ::mkdir(folder.c_str(), 0777);
    const std::vector<FuzzVolume> volumes = MakeFuzzVolumes();
    for (size_t number = 0; number < volumes.size(); ++number) {
        const ByteView image(volumes[number].image);
        const ByteView copy = image.From(static_cast<size_t>(volumes[number].plan.copies[0]));
        WriteInput(folder + "/metadata", number, copy.First(kMetadataBytes));
        const auto index = static_cast<uint8_t>(number);
        WriteInput(folder + "/search", number,
                   std::vector<uint8_t>{1,     0, index, 3,   0,     64, index, 0,  0, 128,
                                        index, 1, 0,     192, index, 2,  1,     40, 0, 1});
        WriteInput(folder + "/open", number, std::vector<uint8_t>{index, 1, 0, 0, 1, 40, 0, 1});
    }
    WriteInput(folder + "/metadata", volumes.size(), LongMetadata());
    const Guid protector = maker::MadeUpBytes(1).GuidOf("protector");
    WriteKeyTexts(folder);
    WriteInput(folder + "/key-file", 0, maker::MakeStartupKeyFile(protector, false));
    WriteInput(folder + "/key-file", 1, maker::MakeStartupKeyFile(protector, true));
}

}  // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fputs("usage: make-bitlocker-corpus FOLDER\n", stderr);
        return 2;
    }
    try {
        WriteAll(argv[1]);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
